// How quickly the explorer window answers a new view at 1920 x 1080: the time from the render
// request to the first partial picture on screen (the first repaint, after 30 rows) and to the
// complete picture (the last row handed over, relief and status done). Then a zoom storm at
// scene B: ten requests 50 ms apart, then one more, timed from the last request to its complete
// picture, beside a single render from idle (superseded renders must not slow the last one
// down). Runs the real window on the offscreen platform unless QT_QPA_PLATFORM says otherwise.
// Prints milliseconds.
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "window_bench_support.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

namespace {

using gs::bench::Clock;
using gs::bench::ms;
using gs::bench::spin;
using gs::bench::spinUntil;

constexpr int kWidth = 1920, kHeight = 1080;
constexpr int kRuns = 7;

struct Scene {
    const char* name;
    gs::Viewport view;
};

gs::Viewport around(double re, double im, double width) {
    const double height = width * kHeight / kWidth;  // square pixels
    return {re - width / 2, re + width / 2, im - height / 2, im + height / 2};
}

// Records when the picture is first repainted after a request.
class PaintWatch : public QObject {
public:
    std::optional<Clock::time_point> firstPaint;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint && !firstPaint) firstPaint = Clock::now();
        return false;
    }
};


double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Sizes the window so that the picture is exactly kWidth x kHeight points.
bool sizePicture(gs::MacViewController& window) {
    window.setPictureAspect(0);
    window.resize(kWidth + 400, kHeight + 200);
    window.show();
    for (int i = 0; i < 4; ++i) {
        QCoreApplication::processEvents();
        const QSize v = window.mandelbrotView()->size();
        if (v == QSize(kWidth, kHeight)) return true;
        window.resize(window.width() + kWidth - v.width(), window.height() + kHeight - v.height());
    }
    return window.mandelbrotView()->size() == QSize(kWidth, kHeight);
}

void settle(gs::MacViewController& window) {
    spinUntil([&] { return !window.isRendering() && window.workersIdle(); });
    spin(300);  // the Julia companion and the last repaint
}

void measure(gs::MacViewController& window, const Scene& scene, const gs::Viewport& elsewhere) {
    std::vector<double> partial, complete;
    PaintWatch watch;
    window.mandelbrotView()->installEventFilter(&watch);
    for (int run = 0; run < kRuns; ++run) {
        window.setViewport(elsewhere);
        settle(window);
        std::optional<Clock::time_point> done;
        window.mandelbrotView()->onImageUpdated = [&](const QImage&) { done = Clock::now(); };
        watch.firstPaint.reset();
        const auto start = Clock::now();
        window.setViewport(scene.view);
        spinUntil([&] { return done && watch.firstPaint; });
        window.mandelbrotView()->onImageUpdated = nullptr;
        partial.push_back(ms(*watch.firstPaint - start));
        complete.push_back(ms(*done - start));
        settle(window);
    }
    window.mandelbrotView()->removeEventFilter(&watch);
    std::printf("%-8s first partial picture %7.1f ms (best %6.1f)   complete %7.1f ms (best %6.1f)   max iter %lld\n",
                scene.name, median(partial), *std::min_element(partial.begin(), partial.end()),
                median(complete), *std::min_element(complete.begin(), complete.end()),
                static_cast<long long>(window.lastMaxIteration()));
}

// The time from a request for `view` to its complete picture.
double timeToPicture(gs::MacViewController& window, const gs::Viewport& view) {
    std::optional<Clock::time_point> done;
    window.mandelbrotView()->onImageUpdated = [&](const QImage&) { done = Clock::now(); };
    const auto start = Clock::now();
    window.setViewport(view);
    spinUntil([&] { return done.has_value(); });
    window.mandelbrotView()->onImageUpdated = nullptr;
    return ms(*done - start);
}

void zoomStorm(gs::MacViewController& window, const gs::Viewport& elsewhere) {
    constexpr int kRequests = 10, kApartMs = 50;
    std::vector<double> single, storm;
    for (int run = 0; run < 3; ++run) {
        window.setViewport(elsewhere);
        settle(window);
        single.push_back(timeToPicture(window, around(-0.743643887037151, 0.131825904205330, 4e-6)));
        settle(window);
        window.setViewport(elsewhere);
        settle(window);
        for (int i = 0; i < kRequests; ++i) {  // zooming in step by step towards scene B
            window.setViewport(around(-0.743643887037151, 0.131825904205330, 4e-6 * (1.0 + 0.1 * (kRequests - i))));
            spin(kApartMs);
        }
        storm.push_back(timeToPicture(window, around(-0.743643887037151, 0.131825904205330, 4e-6)));
        settle(window);
    }
    const double a = median(single), b = median(storm);
    std::printf("zoom storm at scene B (%d requests %d ms apart, then one more): last picture %7.1f ms, "
                "single render from idle %7.1f ms, ratio %.2f\n",
                kRequests, kApartMs, b, a, b / a);
}

// The same with resizes: ten resizes 50 ms apart during the render of scene B, then back to
// the full size, timed from the last resize to the complete picture.
void resizeStorm(gs::MacViewController& window, const gs::Viewport& elsewhere) {
    constexpr int kResizes = 10, kApartMs = 50;
    const gs::Viewport sceneB = around(-0.743643887037151, 0.131825904205330, 4e-6);
    const QSize full = window.size();
    std::vector<double> single, storm;
    for (int run = 0; run < 3; ++run) {
        window.setViewport(elsewhere);
        settle(window);
        single.push_back(timeToPicture(window, sceneB));
        settle(window);
        for (int i = 0; i < kResizes; ++i) {
            window.resize(full.width() - 16 * (1 + i % 3), full.height() - 8 * (1 + i % 2));
            spin(kApartMs);
        }
        std::optional<Clock::time_point> done;
        window.mandelbrotView()->onImageUpdated = [&](const QImage&) { done = Clock::now(); };
        const auto start = Clock::now();
        window.resize(full);
        spinUntil([&] { return done.has_value() && window.mandelbrotView()->size() == QSize(kWidth, kHeight); });
        window.mandelbrotView()->onImageUpdated = nullptr;
        storm.push_back(ms(*done - start));
        settle(window);
    }
    const double a = median(single), b = median(storm);
    std::printf("resize storm at scene B (%d resizes %d ms apart, then back): last picture %7.1f ms, "
                "single render from idle %7.1f ms, ratio %.2f\n",
                kResizes, kApartMs, b, a, b / a);
}

}  // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    gs::MacViewController window;
    window.presentAlert = [](const QString&) {};
    if (!sizePicture(window)) {
        std::fprintf(stderr, "bench_window: could not size the picture to %dx%d\n", kWidth, kHeight);
        return 1;
    }
    settle(window);
    std::printf("window picture %dx%d, medians of %d runs\n", kWidth, kHeight, kRuns);
    const Scene home{"home", gs::kHomeView};
    const Scene sceneB{"scene B", around(-0.743643887037151, 0.131825904205330, 4e-6)};
    const gs::Viewport elsewhere = around(0.3, 0.6, 0.01);
    measure(window, home, elsewhere);
    measure(window, sceneB, elsewhere);
    zoomStorm(window, elsewhere);
    resizeStorm(window, elsewhere);
    return 0;
}
