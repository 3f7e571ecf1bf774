// Input of the main fractal view. Linux has no gesture recognisers for touchpads, so the
// desktop equivalents are mapped here onto the view's requests:
//   touchpad pinch (native zoom gesture), right-drag or Shift+left-drag  -> selection box
//   left click inside / outside the box                                  -> zoom / dismiss
//   double click                                                         -> new palette
//   plain left vertical drag                                             -> palette shift
//   vertical wheel or two-finger scroll                                  -> frequency (light)
//   horizontal wheel, 3-4 finger swipe, mouse back/forward buttons       -> history
// The keyboard reaches the same requests (see keyPressEvent).
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "ui/mandelbrot_view.h"

namespace gs {

namespace {

constexpr qint64 kWheelSessionGapMs = 300;    // a pause this long starts a new scroll gesture
constexpr double kWheelNotchesPerView = 16;   // one wheel notch moves 1/16 of the view
constexpr double kSwipeDistance = 60;         // points of sideways travel that make a swipe
constexpr double kKeyPaletteStep = 1.0 / 20;  // view heights per Up/Down press
constexpr double kKeyBoxStep = 0.05;          // view fractions per arrow press
constexpr double kKeyBoxStartFraction = 0.5;  // the box that + shows first

}  // namespace

bool MandelbrotView::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture)
        return nativeGesture(static_cast<QNativeGestureEvent*>(event));
    // Esc dismisses a shown box before any window command bound to it (leaving full screen).
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Escape && key->modifiers() == Qt::NoModifier &&
            selection_.hasSelection()) {
            event->accept();
            return true;
        }
    }
    return QWidget::event(event);
}

// --- Touchpad -------------------------------------------------------------------------------

bool MandelbrotView::nativeGesture(QNativeGestureEvent* event) {
    switch (event->gestureType()) {
    case Qt::BeginNativeGesture:
        gesture_ = {};
        gesture_.fingers = event->fingerCount();
        break;
    case Qt::ZoomNativeGesture:
        nativeZoom(event->position(), event->value());
        break;
    case Qt::PanNativeGesture:
        gesture_.swipeTravel += event->delta();
        gesture_.fingers = std::max(gesture_.fingers, event->fingerCount());
        break;
    case Qt::EndNativeGesture:
        nativeGestureEnded();
        break;
    default:
        return QWidget::event(event);
    }
    event->accept();
    return true;
}

// Each event carries the change of scale since the previous one.
void MandelbrotView::nativeZoom(QPointF pos, double value) {
    if (!gesture_.pinching) {
        gesture_.pinching = true;
        gesture_.scale = 1.0 + value;
        wheel_.active = false;  // a scroll never runs together with a pinch
        selection_.pinchBegan(pos.x(), pos.y(), gesture_.scale, width(), height());
    } else {
        gesture_.scale *= 1.0 + value;
        selection_.pinchChanged(gesture_.scale);
    }
    redrawSelection(true);
}

// A pinch becomes a finished selection (or none if too small); a sideways pan of three or more
// fingers is a swipe through the history: to the right goes back.
void MandelbrotView::nativeGestureEnded() {
    const NativeGesture g = gesture_;
    gesture_ = {};
    if (g.pinching) {
        selection_.pinchEnded(g.scale, width(), height());
        redrawSelection(true);
        return;
    }
    const QPointF t = g.swipeTravel;
    if (g.fingers >= 3 && std::abs(t.x()) > std::abs(t.y()))
        horizontalHistoryStep(t.x(), kSwipeDistance);
}

void MandelbrotView::horizontalHistoryStep(double travel, double threshold) {
    if (std::abs(travel) < threshold || travel == 0) return;
    const auto& request = travel > 0 ? onZoomHistoryBackRequested : onZoomHistoryForwardRequested;
    if (request) request();
}

// --- Mouse ----------------------------------------------------------------------------------

void MandelbrotView::mousePressEvent(QMouseEvent* event) {
    const Qt::MouseButton button = event->button();
    if (button == Qt::BackButton || button == Qt::ForwardButton) {
        horizontalHistoryStep(button == Qt::BackButton ? 1 : -1, 0);
        return;
    }
    if ((button != Qt::LeftButton && button != Qt::RightButton) || drag_ != DragMode::none) {
        QWidget::mousePressEvent(event);
        return;
    }
    drag_ = DragMode::pending;
    dragButton_ = button;
    pressPos_ = event->position();
    dragDrawsBox_ = button == Qt::RightButton || event->modifiers().testFlag(Qt::ShiftModifier);
}

void MandelbrotView::mouseMoveEvent(QMouseEvent* event) {
    if (drag_ == DragMode::none || !event->buttons().testFlag(dragButton_)) return;
    const QPointF pos = event->position();
    if (drag_ == DragMode::pending) {
        if ((pos - pressPos_).manhattanLength() < QApplication::startDragDistance()) return;
        beginMouseDrag(pos);
    }
    if (drag_ == DragMode::box) {
        pinchBoxBetween(pressPos_, pos);
        redrawSelection(true);
    } else if (drag_ == DragMode::paletteShift) {
        paletteShiftTo(pos);
    }
}

void MandelbrotView::mouseReleaseEvent(QMouseEvent* event) {
    if (drag_ == DragMode::none || event->button() != dragButton_) return;
    const DragMode mode = drag_;
    drag_ = DragMode::none;
    const QPointF pos = event->position();
    if (mode == DragMode::box) {
        selection_.pinchEnded(selection_.boxFraction() / PinchSelection::kPinchBaseBoxFraction,
                              width(), height());
        redrawSelection(true);
    } else if (mode == DragMode::paletteShift) {
        paletteShiftTo(pos);
    } else if (mode == DragMode::pending && dragButton_ == Qt::RightButton) {
        if (onContextMenuRequested) onContextMenuRequested(mapToGlobal(pos.toPoint()));
    } else if (mode == DragMode::pending && selection_.hasSelection()) {
        // Wait until a double click is no longer possible: a double click never zooms.
        pendingClickPos_ = pos;
        singleClickTimer_.start(QApplication::doubleClickInterval());
    }
}

void MandelbrotView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        mousePressEvent(event);
        return;
    }
    singleClickTimer_.stop();
    drag_ = DragMode::ignored;  // the release that follows belongs to the double click
    dragButton_ = Qt::LeftButton;
    if (onColorCycleRequested) onColorCycleRequested();
}

// A drag decides what it is once it has moved: a box when asked for, a palette shift when it is
// more vertical than horizontal; a sideways left drag does nothing.
void MandelbrotView::beginMouseDrag(QPointF pos) {
    singleClickTimer_.stop();
    const QPointF d = pos - pressPos_;
    if (dragDrawsBox_) {
        drag_ = DragMode::box;
    } else if (std::abs(d.x()) < std::abs(d.y()) && height() > 0) {
        drag_ = DragMode::paletteShift;
        if (onPaletteShiftBegan) onPaletteShiftBegan();
        if (onPaletteShiftChanged) onPaletteShiftChanged(0.0);
    } else {
        drag_ = DragMode::ignored;
    }
}

// A box with the view's proportions from the press point (one corner) towards the cursor; the
// larger of the two relative extents sets its size.
void MandelbrotView::pinchBoxBetween(QPointF corner, QPointF cursor) {
    const double w = width(), h = height();
    if (w <= 0 || h <= 0) return;
    const QPointF d = cursor - corner;
    const double s = std::max(std::abs(d.x()) / w, std::abs(d.y()) / h);
    const double cx = corner.x() + std::copysign(s * w / 2, d.x());
    const double cy = corner.y() + std::copysign(s * h / 2, d.y());
    selection_.pinchBegan(cx, cy, s / PinchSelection::kPinchBaseBoxFraction, w, h);
}

void MandelbrotView::paletteShiftTo(QPointF pos) {
    if (height() <= 0 || !onPaletteShiftChanged) return;
    onPaletteShiftChanged(-(pos.y() - pressPos_.y()) / height());
}

// --- Wheel ----------------------------------------------------------------------------------

// Touchpads send pixel deltas; wheels send notches (angleDelta / 120), each worth 1/16 of the
// view. Positive deltas mean up and right. A run of events is one gesture: vertical runs shift
// the frequency (or the light) from where the run began, sideways runs step the history once
// (X11 touchpads send small angle deltas rather than pixels); each click of a tilting wheel
// steps once.
void MandelbrotView::wheelEvent(QWheelEvent* event) {
    event->accept();
    if (event->phase() == Qt::ScrollEnd) wheel_.active = false;
    if (gesture_.pinching || event->phase() == Qt::ScrollMomentum) return;
    const bool notched = event->pixelDelta().isNull();
    const QPointF delta = notched ? QPointF(event->angleDelta().x() / 120.0 * width(),
                                            event->angleDelta().y() / 120.0 * height()) /
                                        kWheelNotchesPerView
                                  : QPointF(event->pixelDelta());
    if (delta.isNull()) return;
    const QPoint angle = event->angleDelta();
    if (notched && angle.y() == 0 && angle.x() != 0 && angle.x() % 120 == 0) {  // a tilt click
        horizontalHistoryStep(angle.x(), 0);
        return;
    }
    const bool fresh = !wheel_.active || event->phase() == Qt::ScrollBegin ||
                       wheel_.lastEvent.elapsed() > kWheelSessionGapMs;
    wheel_.lastEvent.start();
    if (fresh) {
        wheel_.active = true;
        wheel_.vertical = std::abs(delta.x()) < std::abs(delta.y());
        wheel_.travel = {};
        wheel_.historyStepped = false;
    }
    if (wheel_.vertical) {
        frequencyShiftBy(delta, !fresh);
    } else if (!wheel_.historyStepped) {
        wheel_.travel += delta;
        wheel_.historyStepped = std::abs(wheel_.travel.x()) >= kSwipeDistance;
        horizontalHistoryStep(wheel_.travel.x(), kSwipeDistance);
    }
}

void MandelbrotView::frequencyShiftBy(QPointF deltaPoints, bool continuing) {
    const double w = width(), h = height();
    if (w <= 0 || h <= 0) return;
    if (!continuing) {
        wheel_.travel = {};
        if (onFrequencyShiftBegan) onFrequencyShiftBegan();
        if (onFrequencyShiftChanged) onFrequencyShiftChanged(0, 0);
    }
    wheel_.travel += deltaPoints;
    if (onFrequencyShiftChanged) onFrequencyShiftChanged(wheel_.travel.x() / w, wheel_.travel.y() / h);
}

// --- Keyboard -------------------------------------------------------------------------------
//   +/=  show a box in the middle, or shrink the shown box    -  enlarge it
//   arrows move the shown box          Enter zoom into it      Esc dismiss it
//   Up/Down (no box) palette shift     PageUp/PageDown frequency (Shift: light sideways)
//   Menu or Shift+F10 the context menu

void MandelbrotView::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    const Qt::KeyboardModifiers mods = event->modifiers() & ~Qt::KeypadModifier;
    if (selectionKey(key, mods) || colourKey(key, mods)) {
        event->accept();
        return;
    }
    if (key == Qt::Key_Menu || (key == Qt::Key_F10 && mods == Qt::ShiftModifier)) {
        if (onContextMenuRequested) onContextMenuRequested(mapToGlobal(rect().center()));
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

bool MandelbrotView::selectionKey(int key, Qt::KeyboardModifiers mods) {
    const bool shown = selection_.hasSelection();
    const double ax = selection_.anchorX(), ay = selection_.anchorY();
    const double box = selection_.boxFraction();
    if (mods != Qt::NoModifier && mods != Qt::ShiftModifier) return false;
    switch (key) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        shown ? keyboardBox(ax, ay, box * 0.8) : keyboardBox(0.5, 0.5, kKeyBoxStartFraction);
        return true;
    case Qt::Key_Minus:
        if (shown) keyboardBox(ax, ay, std::min(box * 1.25, 1.0));
        return shown;
    case Qt::Key_Enter:
    case Qt::Key_Return:
        if (const auto r = shownSelectionRect(); r && shown)
            handleSingleClick({r->x + r->width / 2, r->y + r->height / 2});
        return shown;
    case Qt::Key_Escape:
        if (selection_.clear()) redrawSelection(true);
        return shown;
    default:
        break;
    }
    if (!shown || mods != Qt::NoModifier) return false;
    const double step = kKeyBoxStep;
    switch (key) {
    case Qt::Key_Left: keyboardBox(std::max(ax - step, 0.0), ay, box); return true;
    case Qt::Key_Right: keyboardBox(std::min(ax + step, 1.0), ay, box); return true;
    case Qt::Key_Up: keyboardBox(ax, std::max(ay - step, 0.0), box); return true;
    case Qt::Key_Down: keyboardBox(ax, std::min(ay + step, 1.0), box); return true;
    default: return false;
    }
}

bool MandelbrotView::colourKey(int key, Qt::KeyboardModifiers mods) {
    const double sign = (key == Qt::Key_Up || key == Qt::Key_PageUp) ? 1.0 : -1.0;
    if ((key == Qt::Key_Up || key == Qt::Key_Down) && mods == Qt::NoModifier) {
        if (height() <= 0) return true;
        if (onPaletteShiftBegan) onPaletteShiftBegan();
        if (onPaletteShiftChanged) onPaletteShiftChanged(sign * kKeyPaletteStep);
        return true;
    }
    if (key != Qt::Key_PageUp && key != Qt::Key_PageDown) return false;
    if (width() <= 0 || height() <= 0) return true;
    const double step = sign / kWheelNotchesPerView;
    if (onFrequencyShiftBegan) onFrequencyShiftBegan();
    if (!onFrequencyShiftChanged) return true;
    if (mods.testFlag(Qt::ShiftModifier))
        onFrequencyShiftChanged(step, 0);
    else
        onFrequencyShiftChanged(0, step);
    return true;
}

// A finished box from the keyboard: goes through the same states as a pinch.
void MandelbrotView::keyboardBox(double anchorX, double anchorY, double box) {
    const double w = width(), h = height();
    const double scale = box / PinchSelection::kPinchBaseBoxFraction;
    selection_.pinchBegan(anchorX * w, anchorY * h, scale, w, h);
    selection_.pinchEnded(scale, w, h);
    redrawSelection(true);
}

}  // namespace gs
