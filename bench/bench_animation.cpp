// Whether the palette animation keeps its 30 ticks a second on a large picture with traps, glow
// and distance edges on: the real window offscreen, the picture buffer at 1920 x 1080 and then
// 3840 x 2160, the animation left running for 5 s. Prints per size the ticks that arrived
// against the 150 expected, and those after the first second against 120 (the start-up: the
// first ticks recolour in full while the kept colouring inputs' memory is made ready, then one
// recolour makes them); the fraction of late ticks (more than 1.5 tick intervals after the one
// before, a missed frame); the first recolour's time, and the median and 95th percentile of
// the others. A recolour is timed from the moment its queued call
// reaches the controller to the Julia companion's new picture (the last step of a recolour);
// "picture" is the part up to the main picture's new image. Runs on the offscreen platform
// unless QT_QPA_PLATFORM says otherwise.
// Then the same for sound mode at 1920 x 1080, which turns glow and relief on: a synthetic
// microphone plays a beat (a low tone with a sung note and treble, four times a second, quieter
// in between) in real time, and every tick moves the palette, the glow and the relief drama.
#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QEventLoop>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <numbers>
#include <optional>
#include <thread>
#include <vector>

#include "explore/palette_motion.h"
#include "sound/audio_input.h"
#include "ui/julia_view.h"
#include "window_bench_support.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

namespace {

using gs::bench::Clock;
using gs::bench::ms;
using gs::bench::spin;
using gs::bench::spinUntil;

constexpr int kRunMs = 5000;
constexpr double kLateFactor = 1.5;  // an interval this many ticks long means a missed frame


enum class Motion { animate, sound };

// Music-like sound in buffers of 2048 frames at 48 kHz, delivered in real time on its own thread.
class SyntheticMicrophone final : public gs::AudioInput {
public:
    static constexpr double kRate = 48000;
    ~SyntheticMicrophone() override { stop(); }
    bool start(BufferHandler onBuffer, std::function<void()>, QString&) override {
        stop();
        running_ = true;
        thread_ = std::thread([this, onBuffer = std::move(onBuffer)] { play(onBuffer); });
        return true;
    }
    void stop() override {
        running_ = false;
        if (thread_.joinable()) thread_.join();
    }

private:
    static float sample(double t) {
        const double beat = std::fmod(t, 0.25) < 0.08 ? 1.0 : 0.15;
        const auto tone = [t](double hz) { return std::sin(2 * std::numbers::pi * hz * t); };
        return static_cast<float>(beat * (0.5 * tone(70) + 0.25 * tone(440) + 0.1 * tone(3000)));
    }
    void play(const BufferHandler& onBuffer) {
        std::vector<float> buffer(2048);
        const auto period = std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(static_cast<double>(buffer.size()) / kRate));
        Clock::time_point next = Clock::now();
        for (std::size_t frame = 0; running_; frame += buffer.size()) {
            for (std::size_t i = 0; i < buffer.size(); ++i) buffer[i] = sample(static_cast<double>(frame + i) / kRate);
            onBuffer(buffer.data(), buffer.size(), kRate);
            std::this_thread::sleep_until(next += period);
        }
    }

    std::atomic<bool> running_{false};
    std::thread thread_;
};

// Nearest rank; q in (0, 1].
double percentile(std::vector<double> v, double q) {
    if (v.empty()) return 0.0;
    std::sort(v.begin(), v.end());
    const auto rank = static_cast<std::size_t>(q * static_cast<double>(v.size()) + 0.999999);
    return v[std::min(v.size(), std::max<std::size_t>(rank, 1)) - 1];
}

// Sizes the window so that the picture buffer is exactly width x height.
bool sizePicture(gs::MacViewController& window, int width, int height) {
    window.setPictureAspect(0);
    window.resize(width + 400, height + 200);
    window.show();
    const auto buffer = [&] {
        const gs::MandelbrotView* v = window.mandelbrotView();
        return QSize(v->bufferWidth(), v->bufferHeight());
    };
    for (int i = 0; i < 6; ++i) {
        QCoreApplication::processEvents();
        const QSize b = buffer();
        if (b == QSize(width, height)) return true;
        if (b.isEmpty()) continue;
        window.resize(window.width() + width - b.width(), window.height() + height - b.height());
    }
    return buffer() == QSize(width, height);
}

bool settle(gs::MacViewController& window) {
    const bool done = spinUntil([&] { return !window.isRendering() && window.workersIdle(); });
    spin(300);  // the Julia companion and the last repaint
    return done && spinUntil([&] { return window.workersIdle() && !window.recolorPending(); });
}

// Stamps the start of a recolour: the queued call that runs it is a MetaCall event to the
// controller delivered while a recolour is still pending.
class RecolourStart : public QObject {
public:
    explicit RecolourStart(const gs::MacViewController& window) : window_(window) {}
    std::optional<Clock::time_point> start;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::MetaCall && window_.recolorPending()) start = Clock::now();
        return false;
    }

private:
    const gs::MacViewController& window_;
};

struct Figures {
    std::vector<Clock::time_point> ticks;
    std::vector<double> recolourMs, pictureMs;
};

bool measure(int width, int height, Motion motion) {
    gs::MacViewController window(nullptr, motion == Motion::sound ? std::make_unique<SyntheticMicrophone>() : nullptr);
    window.presentAlert = [](const QString&) {};
    if (!sizePicture(window, width, height)) {
        std::fprintf(stderr, "bench_animation: could not size the picture buffer to %dx%d\n", width, height);
        return false;
    }
    if (!settle(window)) {
        std::fprintf(stderr, "bench_animation: the first render at %dx%d did not finish\n", width, height);
        return false;
    }
    if (motion == Motion::animate) {
        window.toggleOrbitTraps();
        window.toggleGlow();
        window.toggleDistanceEstimation();
        settle(window);
    }
    const auto toggle = [&] {
        if (motion == Motion::animate)
            window.toggleAnimateColors();
        else
            window.toggleSoundAction();
    };

    Figures f;
    f.ticks.reserve(400);
    const Clock::time_point epoch = Clock::now();
    window.animationNow = [&] {
        const Clock::time_point now = Clock::now();
        f.ticks.push_back(now);
        return std::chrono::duration<double>(now - epoch).count();
    };
    RecolourStart start(window);
    window.installEventFilter(&start);
    const bool juliaShown = window.juliaView()->bufferWidth() >= 1;
    const auto finish = [&](std::vector<double>& into) {
        if (start.start) into.push_back(ms(Clock::now() - *start.start));
    };
    window.mandelbrotView()->onImageUpdated = [&](const QImage&) {
        finish(f.pictureMs);
        if (!juliaShown) {
            finish(f.recolourMs);
            start.start.reset();
        }
    };
    window.juliaView()->onImageUpdated = [&](const QImage&) {
        finish(f.recolourMs);
        start.start.reset();
    };

    const Clock::time_point runStart = Clock::now();
    toggle();
    spin(kRunMs);
    toggle();
    const double ranS = std::chrono::duration<double>(Clock::now() - runStart).count();

    window.removeEventFilter(&start);
    window.mandelbrotView()->onImageUpdated = nullptr;
    window.juliaView()->onImageUpdated = nullptr;
    window.animationNow = nullptr;

    const int expected = static_cast<int>(kRunMs / 1000.0 / gs::kAnimationTickInterval + 0.5);
    int late = 0;
    for (std::size_t i = 1; i < f.ticks.size(); ++i)
        if (std::chrono::duration<double>(f.ticks[i] - f.ticks[i - 1]).count() >
            kLateFactor * gs::kAnimationTickInterval)
            ++late;
    const double lateFraction =
        f.ticks.size() > 1 ? static_cast<double>(late) / static_cast<double>(f.ticks.size() - 1) : 0.0;
    const auto afterFirstSecond = std::count_if(f.ticks.begin(), f.ticks.end(), [&](Clock::time_point t) {
        return t - runStart >= std::chrono::seconds(1);
    });
    const double first = f.recolourMs.empty() ? 0.0 : f.recolourMs.front();
    const std::vector<double> rest(f.recolourMs.begin() + (f.recolourMs.empty() ? 0 : 1), f.recolourMs.end());
    const std::vector<double> restPicture(f.pictureMs.begin() + (f.pictureMs.empty() ? 0 : 1), f.pictureMs.end());
    std::printf("%4dx%-4d  ticks %3zu of %3d (ran %.3f s), after the first second %3zd of %3d   late %4.1f %% (%d)"
                "   first recolour %6.1f ms, then median %5.1f ms  p95 %5.1f ms   (picture median %5.1f  p95 %5.1f;"
                " %zu recolours)\n",
                width, height, f.ticks.size(), expected, ranS, afterFirstSecond, expected - expected / 5,
                100.0 * lateFraction, late, first, percentile(rest, 0.5), percentile(rest, 0.95),
                percentile(restPicture, 0.5), percentile(restPicture, 0.95), f.recolourMs.size());
    std::fflush(stdout);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    std::printf("palette animation, traps + glow + distance edges, %d s at 1/30 s ticks\n", kRunMs / 1000);
    bool ok = measure(1920, 1080, Motion::animate);
    ok = measure(3840, 2160, Motion::animate) && ok;
    std::printf("sound mode (glow + relief), a synthetic beat, %d s at 1/30 s ticks\n", kRunMs / 1000);
    ok = measure(1920, 1080, Motion::sound) && ok;
    return ok ? 0 : 1;
}
