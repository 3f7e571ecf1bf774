// Whether dragging a tuning slider over a 1920 x 1080 picture with every shading on (traps,
// glow, distance edges, relief) stays fluid: the real window offscreen in advanced mode, a drag
// along CURVE (a full recolour per step) and along HEIGHT (a relight per step) fed as mouse
// moves every 8 ms (a 125 Hz mouse) for 3 s. Prints per slider the moves sent, the pictures made
// (recolours, counted at the view's image hand-over, or relights, counted at its repaints), the
// moves per picture, the pictures per second, and the process CPU time per picture (all
// threads). Each picture serves every move that arrived before it began, so when a recolour
// takes longer than a move's interval the pictures thin out instead of queueing up.
#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <ctime>

#include "ui/bracket_slider_control.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"
#include "ui/tuning_panel_view.h"
#include "window_bench_support.h"

namespace {

using gs::bench::spin;
using gs::bench::spinUntil;

constexpr int kWidth = 1920, kHeight = 1080;
constexpr int kMoveIntervalMs = 8;
constexpr int kDragMs = 3000;

double cpuSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

bool sizePicture(gs::MacViewController& window) {
    window.setPictureAspect(0);
    window.resize(kWidth + 400, kHeight + 400);
    window.show();
    for (int i = 0; i < 6; ++i) {
        QCoreApplication::processEvents();
        const gs::MandelbrotView* v = window.mandelbrotView();
        const QSize b(v->bufferWidth(), v->bufferHeight());
        if (b == QSize(kWidth, kHeight)) return true;
        if (!b.isEmpty()) window.resize(window.width() + kWidth - b.width(), window.height() + kHeight - b.height());
    }
    return false;
}

void settle(gs::MacViewController& window) {
    spinUntil([&] { return !window.isRendering() && window.workersIdle() && !window.recolorPending(); });
    spin(300);
}

// Counts the main view's repaints (a relight repaints without handing an image on).
class PaintCounter : public QObject {
public:
    int paints = 0;
    bool eventFilter(QObject*, QEvent* event) override {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

gs::BracketSliderControl* findSlider(gs::TuningPanelView& panel, const char* title) {
    for (int t = 0; t < static_cast<int>(panel.tabs().size()); ++t) {
        panel.selectTab(t);
        for (gs::BracketSliderControl* s : panel.sliders())
            if (s->info().title == title) return s;
    }
    return nullptr;
}

void drag(gs::MacViewController& window, const char* title) {
    gs::BracketSliderControl* slider = findSlider(*window.tuningPanel(), title);
    const double y = slider->height() / 2.0;
    auto send = [&](QEvent::Type type, double position, Qt::MouseButtons held) {
        const QPointF at(gs::BracketSliderControl::kTrackStart + position * slider->trackLength(), y);
        QMouseEvent e(type, at, slider->mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
        QCoreApplication::sendEvent(slider, &e);
    };
    int images = 0;
    qint64 moves = 0;
    PaintCounter paints;
    window.mandelbrotView()->onImageUpdated = [&](const QImage&) { ++images; };
    window.mandelbrotView()->installEventFilter(&paints);
    QTimer mover;
    mover.setTimerType(Qt::PreciseTimer);
    QElapsedTimer clock;
    // The moves a 125 Hz mouse made since the last pass of the event loop all arrive now, as
    // the window system's queued events do after a long recolour.
    QObject::connect(&mover, &QTimer::timeout, [&] {
        const qint64 due = clock.elapsed() / kMoveIntervalMs;
        for (; moves < due; ++moves) {
            const double t = static_cast<double>(moves) * kMoveIntervalMs / kDragMs;  // there and back
            send(QEvent::MouseMove, t < 0.5 ? 0.2 + 1.2 * t : 1.4 - 1.2 * t, Qt::LeftButton);
        }
    });
    send(QEvent::MouseButtonPress, 0.2, Qt::LeftButton);
    const double cpu0 = cpuSeconds();
    clock.start();
    mover.start(kMoveIntervalMs);
    spin(kDragMs);
    mover.stop();
    send(QEvent::MouseButtonRelease, 0.2, Qt::NoButton);
    settle(window);
    const double cpu = cpuSeconds() - cpu0, seconds = static_cast<double>(clock.elapsed()) / 1000.0;
    window.mandelbrotView()->removeEventFilter(&paints);
    window.mandelbrotView()->onImageUpdated = nullptr;
    const int pictures = std::string(title) == "HEIGHT" ? paints.paints : images;
    const double events = static_cast<double>(moves) + 2;  // with the press and the release
    std::printf("%-7s %4.0f events  %4d %-9s %5.1f events each  %5.1f per s  CPU %6.1f ms each\n", title, events,
                pictures, std::string(title) == "HEIGHT" ? "relights" : "recolours", events / std::max(pictures, 1),
                pictures / seconds, 1000.0 * cpu / std::max(pictures, 1));
}

}  // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // The sliders save what they set: into a home of the benchmark's own, not the user's.
    QTemporaryDir home;
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(name, home.path().toUtf8() + "/" + name);
    QApplication app(argc, argv);
    gs::MacViewController window;
    window.presentAlert = [](const QString&) {};
    window.handleModeTagTap();  // the panel takes its band before the picture is sized
    if (!sizePicture(window)) {
        std::fprintf(stderr, "bench_tuning: could not size the picture to %dx%d\n", kWidth, kHeight);
        return 1;
    }
    window.toggleDistanceEstimation();
    window.toggleGlow();
    window.toggleOrbitTraps();
    window.toggle3DRelief();
    settle(window);
    std::printf("picture %dx%d, traps, glow, distance edges and relief on; a move every %d ms for %d ms\n", kWidth,
                kHeight, kMoveIntervalMs, kDragMs);
    drag(window, "CURVE");
    drag(window, "HEIGHT");
    return 0;
}
