#include "export/recording.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QRegularExpression>
#include <numeric>

#include "export_test_support.h"
#include "palette_movie_support.h"

namespace gs {
namespace {

class Recording : public test::PrivateTempDir {};

// One palette cycle at speed 1.0 of an 801 x 601 picture with every shading and sound on:
// an 800 x 600 H.264 movie of 30 frames at 30 fps in the temporary directory, whose frame i
// decodes (within the yuv420p round trip) to the picture recoloured at phase + i / 30 — and
// is nearer to that than to its neighbours' phases, so no frame is shifted or repeated.
TEST_F(Recording, RecordsOnePaletteCycleThatDecodesBackToItsFrames) {
    const test::MoviePicture picture = test::moviePictureWithSource("sound", 801, 601, 1.0, 4.0);
    std::vector<std::int64_t> progress;
    RecordingOptions options;
    options.progress = [&](std::int64_t done, std::int64_t total) {
        EXPECT_EQ(total, 30);
        progress.push_back(done);
    };
    const RecordingResult result = recordPaletteAnimation(picture.snapshot, options);
    ASSERT_EQ(result.status, RecordingResult::Status::recorded) << result.error.toStdString();
    EXPECT_EQ(QFileInfo(result.path).absolutePath(), QFileInfo(tempPath()).absoluteFilePath());
    EXPECT_TRUE(QRegularExpression("^Glimmerscape-[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\\.mov$")
                    .match(QFileInfo(result.path).fileName())
                    .hasMatch());
    EXPECT_EQ(tempFiles(), QStringList{QFileInfo(result.path).fileName()});
    std::vector<std::int64_t> oneToThirty(30);
    std::iota(oneToThirty.begin(), oneToThirty.end(), 1);
    EXPECT_EQ(progress, oneToThirty);

    // Every frame's presentation time, then the video track's codec, size, pixel format, colour
    // matrix, rate and frame count, then the container.
    QStringList probed = {"h264",  "800",  "600", "yuv420p",
                          "bt709", "30/1", "30",  "mov,mp4,m4a,3gp,3g2,mj2"};
    for (int i = 0; i < 30; ++i) probed.insert(i, QString::number(i / 30.0, 'f', 6));
    const QByteArray info = test::runProgram(
        "ffprobe", {"-v", "error", "-select_streams", "v:0", "-count_frames", "-show_entries",
                    "frame=pts_time:stream=codec_name,width,height,pix_fmt,color_space,"
                    "r_frame_rate,nb_read_frames:format=format_name",
                    "-of", "default=noprint_wrappers=1:nokey=1", result.path});
    EXPECT_EQ(QString::fromUtf8(info).split('\n', Qt::SkipEmptyParts).join(' '), probed.join(' '));

    const auto movie = test::decodeMovie(result.path, QSize(800, 600));
    ASSERT_EQ(movie.size(), 30u);
    std::vector<QImage> expected;
    for (std::int64_t i = 0; i < 30; ++i) {
        std::vector<std::uint8_t> bgra = test::expectedFrame(picture, i);  // ARGB32 in memory order
        expected.push_back(QImage(bgra.data(), 800, 600, QImage::Format_ARGB32).copy());
    }
    for (std::size_t i = 0; i < 30; ++i) {
        const double own = test::meanDifference(movie[i], expected[i]);
        EXPECT_LT(own, 2.0) << "frame " << i;
        for (const std::size_t other : {(i + 29) % 30, (i + 1) % 30}) {
            const double d = test::meanDifference(movie[i], expected[other]);
            EXPECT_LT(own * 2, d) << "frame " << i << " against " << other;
        }
    }
}

// Whatever stops a recording, nothing is left in the temporary directory.
TEST_F(Recording, FailuresAndCancellationsLeaveNoFile) {
    const PaletteAnimationSnapshot snapshot = test::moviePicture("plain", 64, 48, 1.0);
    std::atomic<bool> cancel{false};
    const struct {
        const char* what;
        std::function<void(RecordingOptions&)> set;
        RecordingResult::Status status;
        const char* error;
    } cases[] = {
        {"missing encoder", [](RecordingOptions& o) { o.encoder.encoder = "libnothing264"; },
         RecordingResult::Status::failed,
         "the H.264 encoder 'libnothing264' is not available in this FFmpeg"},
        {"refused frame", [](RecordingOptions& o) { o.encoder.refuseFrame = 5; },
         RecordingResult::Status::failed, "the encoder refused frame 5 (forced)"},
        {"unwritable place",
         [&](RecordingOptions& o) { o.path = tempPath() + "/missing/movie.mov"; },
         RecordingResult::Status::failed, "cannot create"},
        {"no temporary directory",
         [&](RecordingOptions&) { qputenv("TMPDIR", QByteArray("/nonexistent/tmp")); },
         RecordingResult::Status::failed, "there is no temporary directory"},
        {"cancelled",
         [&](RecordingOptions& o) {
             o.cancel = &cancel;
             o.progress = [&](std::int64_t done, std::int64_t) {
                 if (done == 3) cancel = true;
             };
         },
         RecordingResult::Status::cancelled, ""},
    };
    for (const auto& c : cases) {
        RecordingOptions options;
        c.set(options);
        const RecordingResult result = recordPaletteAnimation(snapshot, options);
        EXPECT_EQ(result.status, c.status) << c.what;
        EXPECT_TRUE(*c.error ? result.error.startsWith(c.error) : result.error.isEmpty())
            << c.what << ": " << result.error.toStdString();
        EXPECT_TRUE(result.path.isEmpty()) << c.what;
        EXPECT_EQ(tempFiles(), QStringList{}) << c.what;
        restoreTempDir();
    }
}

}  // namespace
}  // namespace gs
