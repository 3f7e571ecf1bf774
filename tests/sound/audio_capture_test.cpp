#include <gtest/gtest.h>

#include <QByteArray>
#include <QList>

#include <cstring>
#include <numeric>
#include <vector>

#include "sound/audio_capture.h"
#include "sound/frame_chunker.h"

namespace gs {
namespace {

// Bytes arriving in awkward pieces (split inside samples, across buffers) come out as whole
// buffers of the stream's samples, in order; the unfinished rest waits.
TEST(FrameChunker, CutsAnyPiecesIntoWholeBuffers) {
    std::vector<float> stream(3 * 2048 + 100);
    std::iota(stream.begin(), stream.end(), 0.0f);
    const auto* bytes = reinterpret_cast<const char*>(stream.data());
    const std::size_t total = stream.size() * sizeof(float);
    FrameChunker chunker(2048);
    std::vector<float> out;
    int buffers = 0;
    const auto collect = [&](const float* s) {
        ++buffers;
        out.insert(out.end(), s, s + 2048);
    };
    std::size_t at = 0;
    for (std::size_t piece : {3u, 5u, 8189u, 1u, 4096u, 12000u}) {
        chunker.push(bytes + at, piece, collect);
        at += piece;
    }
    chunker.push(bytes + at, total - at, collect);
    EXPECT_EQ(buffers, 3);
    ASSERT_EQ(out.size(), 3u * 2048);
    EXPECT_EQ(0, std::memcmp(out.data(), stream.data(), out.size() * sizeof(float)));
}

TEST(InputChoice, ChosenThenSystemDefaultThenFirst) {
    const QList<QByteArray> ids{"alsa_input.usb", "alsa_input.pci", "bluez_input.headset"};
    const struct {
        const char *chosen, *systemDefault;
        qsizetype want;
    } cases[] = {{"bluez_input.headset", "alsa_input.pci", 2}, {"gone", "alsa_input.pci", 1},
                 {"", "alsa_input.pci", 1}, {"gone", "also.gone", 0}, {"", "", 0}};
    for (const auto& c : cases) EXPECT_EQ(chooseInputDevice(ids, c.chosen, c.systemDefault), c.want) << c.chosen;
    EXPECT_EQ(chooseInputDevice({}, "mic", "mic"), -1);  // nothing to choose from
}

}  // namespace
}  // namespace gs
