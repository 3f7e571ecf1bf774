// Palette animation recording against the encoder alone: 250 frames (the default speed, 0.12
// cycles a second) of a 1920 x 1080 picture with orbit traps, glow and distance edges on.
//
//   colouring     the frames coloured (rows in parallel, kept inputs) into one BGRA picture
//   conversion    that picture to yuv420p (YuvConverter), whole, on one thread
//   frame maker   both as the recording does them: in bands of rows, on a third of the cores,
//                 each band converted while it is in the cache
//   encoder alone the same frames, made beforehand and held in memory, through x264 and the
//                 .mov writer
//   recording     the whole job as the window runs it (frames made while others encode)
//
// Prints wall and processor time (all threads) for each, per frame and in total, and the
// recording's ratio to the encoder alone; the arguments name x264 presets to compare (default:
// the recording's own). The encoder alone and the recording run three times in turn and the
// best of each counts. Processor time is the steadier figure on a shared machine.
//
// The picture is a typical loop subject: the seahorse valley at width 0.01, spirals and
// filaments over wide coloured bands. With --deep it is scene B of bench_kernel instead (width
// 4e-6), a mostly black picture that gives the encoder the least work: the worst case for the
// ratio.
#include <QFileInfo>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "core/budget.h"
#include "core/frame.h"
#include "core/palette.h"
#include "export/movie_encoder.h"
#include "export/palette_animation.h"
#include "export/recording.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr double kSpeed = 0.12;  // 250 frames
constexpr int kRounds = 3;

struct Times {
    double wall = 0, cpu = 0;  // seconds
};

Times best(Times a, Times b) { return {std::min(a.wall, b.wall), std::min(a.cpu, b.cpu)}; }

double processSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

class Stopwatch {
public:
    void start() {
        wall0_ = std::chrono::steady_clock::now();
        cpu0_ = processSeconds();
    }
    void stop() {
        total_.wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0_).count();
        total_.cpu += processSeconds() - cpu0_;
    }
    Times total() const { return total_; }

private:
    std::chrono::steady_clock::time_point wall0_;
    double cpu0_ = 0;
    Times total_;
};

gs::PaletteAnimationSnapshot snapshot(bool deep) {
    gs::SeededRandom rng(7);
    gs::ColourInputs c;
    c.table = std::make_shared<const gs::ColorTable>(gs::smoothPalette(rng));
    c.traps = c.glow = c.dem = true;
    const double cx = deep ? -0.743643887037151 : -0.7453, cy = deep ? 0.131825904205330 : 0.1050;
    const double w = deep ? 4e-6 : 0.01, h = w * kHeight / kWidth;
    const gs::Viewport view{cx - w / 2, cx + w / 2, cy - h / 2, cy + h / 2};
    const gs::RenderRequest request = gs::mandelbrotRequest(view, kWidth, kHeight, c);
    gs::Frame picture;
    gs::renderFrame(request, picture);
    return gs::snapshotMandelbrotPicture(request, picture, kSpeed);
}

void print(const char* what, Times t, std::int64_t frames) {
    std::printf("%-26s wall %7.2f s (%6.1f ms/frame)   cpu %7.2f s (%6.1f ms/frame)\n", what, t.wall,
                t.wall * 1000 / static_cast<double>(frames), t.cpu, t.cpu * 1000 / static_cast<double>(frames));
}

// Times the stages alone and returns every frame made, for the encoder alone.
std::vector<std::unique_ptr<gs::YuvFrame>> makeFrames(const gs::PaletteAnimationSnapshot& s) {
    gs::PaletteCycleFrames frames(s);
    gs::PictureBuffer<std::uint8_t> bgra(static_cast<std::size_t>(kWidth) * kHeight * 4);
    gs::YuvFrame converted(kWidth, kHeight);
    gs::YuvConverter converter;
    Stopwatch colour, convert, make;
    for (std::int64_t i = 0; i < frames.frameCount(); ++i) {
        colour.start();
        frames.colourFrame(i, bgra.data());
        colour.stop();
        convert.start();
        converter.convert(bgra.data(), kWidth * 4, 0, kHeight, converted);
        convert.stop();
    }
    gs::MovieFrameMaker maker(frames);
    for (std::int64_t i = 0; i < frames.frameCount(); ++i) {
        make.start();
        maker.make(i, converted);
        make.stop();
    }
    std::vector<std::unique_ptr<gs::YuvFrame>> made;
    for (std::int64_t i = 0; i < frames.frameCount(); ++i) {
        made.push_back(std::make_unique<gs::YuvFrame>(kWidth, kHeight));
        maker.make(i, *made.back());
    }
    print("colouring", colour.total(), frames.frameCount());
    print("conversion", convert.total(), frames.frameCount());
    print("frame maker", make.total(), frames.frameCount());
    return made;
}

Times encoderAlone(const std::vector<std::unique_ptr<gs::YuvFrame>>& yuv, const QString& path,
                   const QString& preset) {
    gs::MovieSettings settings;
    settings.width = kWidth;
    settings.height = kHeight;
    settings.preset = preset;
    QString error;
    Stopwatch watch;
    watch.start();
    auto encoder = gs::MovieEncoder::open(path, settings, &error);
    bool ok = encoder != nullptr;
    for (std::size_t i = 0; ok && i < yuv.size(); ++i) ok = encoder->encode(*yuv[i], &error);
    ok = ok && encoder->finish(&error);
    watch.stop();
    if (!ok) std::printf("encoder alone failed: %s\n", qPrintable(error));
    return watch.total();
}

Times recording(const gs::PaletteAnimationSnapshot& s, const QString& path, const QString& preset) {
    gs::RecordingOptions options;
    options.path = path;
    options.encoder.preset = preset;
    Stopwatch watch;
    watch.start();
    const gs::RecordingResult result = gs::recordPaletteAnimation(s, options);
    watch.stop();
    if (result.status != gs::RecordingResult::Status::recorded)
        std::printf("recording failed: %s\n", qPrintable(result.error));
    return watch.total();
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<QString> presets;
    bool deep = false;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg == "--deep")
            deep = true;
        else
            presets.push_back(arg);
    }
    if (presets.empty()) presets.push_back(gs::MovieSettings().preset);
    QTemporaryDir dir;
    const gs::PaletteAnimationSnapshot s = snapshot(deep);
    std::printf("%s, %d x %d, %lld frames, traps + glow + edges, crf %d\n", deep ? "scene B" : "seahorse valley",
                kWidth, kHeight, static_cast<long long>(s.frameCount), gs::MovieSettings().crf);
    const std::vector<std::unique_ptr<gs::YuvFrame>> yuv = makeFrames(s);
    for (const QString& preset : presets) {
        const QString alonePath = dir.path() + "/alone-" + preset + ".mov";
        const QString recordedPath = dir.path() + "/recorded-" + preset + ".mov";
        std::printf("-- preset %s\n", qPrintable(preset));
        Times alone{1e9, 1e9}, recorded{1e9, 1e9};
        for (int round = 0; round < kRounds; ++round) {
            const Times a = encoderAlone(yuv, alonePath, preset);
            print("encoder alone", a, s.frameCount);
            const Times r = recording(s, recordedPath, preset);
            print("recording", r, s.frameCount);
            alone = best(alone, a);
            recorded = best(recorded, r);
        }
        print("best: encoder alone", alone, s.frameCount);
        print("best: recording", recorded, s.frameCount);
        std::printf("recording / encoder alone: wall %.3f, cpu %.3f;  movie %.1f MB (%.1f Mbit/s)\n",
                    recorded.wall / alone.wall, recorded.cpu / alone.cpu,
                    static_cast<double>(QFileInfo(recordedPath).size()) / 1e6,
                    static_cast<double>(QFileInfo(recordedPath).size()) * 8 / 1e6 /
                        (static_cast<double>(s.frameCount) / gs::kMovieFramesPerSecond));
        std::fflush(stdout);
    }
    return 0;
}
