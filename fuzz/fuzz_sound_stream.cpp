// The microphone's stream as the capture hands it on: bytes of native floats in pieces of any
// size, cut into buffers, analysed, and stepped into the sound state the colours follow.
// Input: a byte choosing the sample rate and the buffer length, then the raw stream. Buffers are
// shorter than the capture's 2048 frames as well, so that inputs of a few kilobytes fill some. Whatever the samples hold (NaN,
// infinities, denormals, clipping), every published number stays finite and within its range.
#include <array>
#include <cmath>

#include "fuzz_support.h"
#include "sound/frame_chunker.h"
#include "sound/sound_analysis.h"
#include "sound/sound_mapping.h"

namespace {

using namespace gs;

bool unit(double v) { return v >= 0 && v <= 1; }

void check(const SoundMetrics& m, const SoundState& s) {
    if (!unit(m.rms) || !unit(m.trebleEnergy) || !unit(m.bassEnergy)) fuzz::broken("a level outside 0..1");
    if (m.pitchHz && !(*m.pitchHz > 0 && *m.pitchHz <= 1000)) fuzz::broken("a pitch outside the vocal range");
    if (!std::isfinite(s.colorShift()) || !std::isfinite(s.soundGlowIntensity) || !std::isfinite(s.soundReliefDramaBoost))
        fuzz::broken("a sound state that is not finite");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Rates the desktop's inputs offer, and two that no device should: the analysis refuses them.
    constexpr std::array<double, 8> rates{8000, 16000, 22050, 44100, 48000, 96000, 0, -1};
    static SoundAnalysis analysis;  // its FFT plan is made once, as the analyzer makes it
    if (size == 0) return 0;
    constexpr std::array<std::size_t, 4> lengths{1, 64, 500, 2048};
    const double rate = rates[data[0] % rates.size()];
    const std::size_t frames = lengths[(data[0] / rates.size()) % lengths.size()];
    analysis.reset();
    SoundState state;
    FrameChunker chunker(frames);
    // Pieces of varying length, as the audio device delivers them. At most 64 buffers an input:
    // a long run of one-frame buffers would otherwise spend the fuzzer's time on thousands of
    // analyses of the same kind, without reaching anything new.
    const char* bytes = reinterpret_cast<const char*>(data + 1);
    std::size_t left = size - 1, piece = 1;
    int buffers = 0;
    while (left > 0 && buffers < 64) {
        const std::size_t n = std::min(left, piece);
        chunker.push(bytes, n, [&](const float* samples) {
            if (++buffers > 64) return;
            const auto metrics = analysis.analyze(samples, chunker.frames(), rate);
            if (!metrics) return;
            state = soundTick(state, *metrics, SoundTuning{}, 1.0 / 60);
            check(*metrics, state);
        });
        bytes += n;
        left -= n;
        piece = piece * 3 + 1;
    }
    return 0;
}
