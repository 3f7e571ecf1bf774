// Palette animation: a 1/30 s timer on the GUI thread moves the palette's cycle offset.
#include <QElapsedTimer>
#include <QTimer>

#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

namespace gs {

namespace {

// Seconds of a monotonic clock shared by every controller.
double uptimeSeconds() {
    static const QElapsedTimer clock = [] {
        QElapsedTimer t;
        t.start();
        return t;
    }();
    return static_cast<double>(clock.nsecsElapsed()) * 1e-9;
}

}  // namespace

void MacViewController::toggleAnimateColors() {
    animateColorsEnabled_ = !animateColorsEnabled_;
    if (animateColorsEnabled_) {
        switchSoundMode(false);  // the two never run together
        keptInputsReady();  // their memory gets ready while the first ticks come
        startAnimationTimer();
    } else {
        stopAnimationTimer();
    }
    refreshControls();
}

bool MacViewController::animationTimerRunning() const {
    return animationTimer_ && animationTimer_->isActive();
}

void MacViewController::startAnimationTimer() {
    if (animationTimerRunning()) return;
    if (!animationTimer_) {
        animationTimer_ = new QTimer(this);
        animationTimer_->setTimerType(Qt::PreciseTimer);
        animationTimer_->setInterval(static_cast<int>(kAnimationTickInterval * 1000.0 + 0.5));
        connect(animationTimer_, &QTimer::timeout, this, &MacViewController::animationTick);
    }
    animationClock_.reset();
    animationTimer_->start();
}

void MacViewController::stopAnimationTimer() {
    if (animationTimer_) animationTimer_->stop();
    animationClock_.reset();
    fractalView_->frame().keptInputs.release();
}

// While a render runs the time mark moves but the palette does not, so it does not jump ahead
// when the render ends.
void MacViewController::animationTick() {
    const double now = animationNow ? animationNow() : uptimeSeconds();
    const std::optional<double> dt = animationClock_.tick(now, isRendering_);
    if (!dt) return;
    if (soundEnabled_) {
        soundTickStep(*dt);  // sound mode moves the colours instead
        return;
    }
    settings_.cycleOffset = advanceCycle(settings_.cycleOffset, *dt, settings_.animationSpeed);
    requestRecolor();
    refreshTuningControls();  // PHASE moves with it
}

}  // namespace gs
