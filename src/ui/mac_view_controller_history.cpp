// Zooming into the selection, the zoom history, Reset View and Reset All.
#include "ui/mac_view_controller.h"
#include "ui/julia_view.h"
#include "ui/mandelbrot_view.h"

namespace gs {

void MacViewController::zoomIntoRect(const RectF& pixels) {
    MandelbrotView* view = fractalView_;
    const SelectionBox box = view->selectionFractions();
    switch (history_.zoomIntoRect(pixels.x, pixels.y, pixels.width, pixels.height,
                                  view->bufferWidth(), view->bufferHeight(), box)) {
    case ZoomOutcome::ignored:
        return;
    case ZoomOutcome::refusedAtLimit:
        view->restoreSelection(box);  // nothing changes, the box included
        presentAlert(kZoomLimitMessage);
        return;
    case ZoomOutcome::zoomed:
        currentBookmarkName_.reset();
        render();
        refreshHistoryControls();
        return;
    }
}

void MacViewController::zoomBackAction() { applyHistoryMove(history_.back()); }

void MacViewController::zoomForwardAction() { applyHistoryMove(history_.forward()); }

// The box through which the user once zoomed in is shown again, so a click goes back in.
void MacViewController::applyHistoryMove(const HistoryMove& move) {
    if (!move.moved) return;
    currentBookmarkName_.reset();
    render();
    if (move.restore)
        fractalView_->restoreSelection(*move.restore);
    else
        fractalView_->clearSelection();
    refreshHistoryControls();
}

void MacViewController::resetViewAction() {
    if (!history_.resetView()) return;  // already home: not even the selection changes
    currentBookmarkName_.reset();
    fractalView_->clearSelection();
    render();
    refreshHistoryControls();
}

void MacViewController::resetAllAction() {
    presentConfirmation(kResetAllMessage, [this] { resetAll(); });
}

// Everything back to its start, except that the palette becomes a random one; the history is
// emptied without a way back.
void MacViewController::resetAll() {
    switchSoundMode(false);
    stopAutoExplore();
    history_.resetAll();
    currentBookmarkName_.reset();
    fractalView_->clearSelection();
    paletteMode_ = PaletteMode::random;
    colorTable_ = std::make_shared<const ColorTable>(randomPalette(*rng_));
    currentPaletteName_.reset();
    settings_ = ExplorerSettings{};
    animateColorsEnabled_ = false;
    stopAnimationTimer();
    fractalView_->tuning = settings_.tuning;
    juliaView_->tuning = settings_.tuning;
    savePreferences();
    refreshControls();
    render();
}

void MacViewController::setViewport(const Viewport& view) {
    history_.setBounds(view);
    currentBookmarkName_.reset();
    render();
}

}  // namespace gs
