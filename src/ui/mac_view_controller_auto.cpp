// Auto-explore: every few seconds after a render completes, zoom towards a point near the
// boundary of the set in the current picture; past the deepest level start again from home.
#include <QTimer>

#include "explore/auto_explore.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

namespace gs {

void MacViewController::toggleAutoAction() {
    autoEnabled_ = !autoEnabled_;
    if (autoEnabled_) {
        // Cleared directly: the view's selection-changed notification would stop the flight.
        history_.clearOutgoingSelection();
        fractalView_->clearSelection();
        scheduleAutoStep();  // the first step comes one interval from now
    } else {
        if (autoTimer_) autoTimer_->stop();
        removeDissolve();
    }
    refreshControls();
}

void MacViewController::stopAutoExplore() {
    if (autoEnabled_) toggleAutoAction();
}

bool MacViewController::autoStepScheduled() const { return autoTimer_ && autoTimer_->isActive(); }

void MacViewController::scheduleAutoStep() {
    if (!autoTimer_) {
        autoTimer_ = new QTimer(this);
        autoTimer_->setSingleShot(true);
        connect(autoTimer_, &QTimer::timeout, this, &MacViewController::autoStep);
    }
    const int ms = autoStepIntervalMs
                       ? autoStepIntervalMs(chromeHidden_)
                       : static_cast<int>(autoStepInterval(chromeHidden_) * 1000.0);
    autoTimer_->start(ms);
}

// A busy renderer, a missing picture or one without boundary points only postpones the flight.
void MacViewController::autoStep() {
    if (!autoEnabled_ || juliaFullscreen_) return;  // paused until the Julia view swaps back
    if (autoTimer_) autoTimer_->stop();  // a step may also be asked for before the timer fires
    const Frame& frame = fractalView_->frame();
    const bool hasData = frame.width >= 1 && frame.height >= 1 && !frame.data.empty();
    std::optional<Viewport> target;
    if (!isRendering_ && hasData)
        target = autoExploreTarget(frame.data.data(), frame.width, frame.height, lastMaxIteration_,
                                   history_.current(), *rng_);
    if (!target) {
        scheduleAutoStep();
        return;
    }
    history_.pushNoSelection();
    currentBookmarkName_.reset();
    fractalView_->clearSelection();
    history_.setBounds(*target);
    prepareDissolve();
    render();
    refreshHistoryControls();
}

}  // namespace gs
