// The main fractal view: shows the picture held in its frame buffers and turns mouse, wheel,
// touchpad and keyboard input into requests through its on… callbacks. It decides nothing about
// the fractal itself; the controller owns the viewport, the palette and the render pipeline.
#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QPointF>
#include <QTimer>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <optional>

#include "core/frame.h"
#include "explore/selection.h"

class QNativeGestureEvent;

namespace gs {

class MandelbrotView : public QWidget {
    Q_OBJECT

public:
    explicit MandelbrotView(QWidget* parent = nullptr);

    // --- Buffers (device pixels), written only on the GUI thread. ---
    int bufferWidth() const { return frame_.width; }
    int bufferHeight() const { return frame_.height; }
    Frame& frame() { return frame_; }
    const Frame& frame() const { return frame_; }
    // The buffer size for the widget's current size: points times the device pixel ratio,
    // truncated, each side at least 1.
    QSize bufferSizeForWidget() const;
    // Reallocates zero-filled buffers; false (contents kept) when the size is unchanged.
    bool resizeBuffers(int width, int height);
    // Copies one finished row into place and empties the relief elevation cache. Ignored when a
    // buffer is missing or the row is out of range.
    void writeRow(int row, const std::uint8_t* rgba, const PixelExtendedData* data);
    // An image over the live RGBA buffer (no copy; valid until the buffers are resized), or a
    // null image before the first layout. Listeners that keep it must copy it.
    QImage makeImage() const;
    // Shows the buffer as it is now (the repaint happens on the next pass of the event loop).
    void presentImage();

    // The shading parameters used when this view's picture is recoloured.
    ShadingTuning tuning;

    // --- Selection box (points). ---
    const PinchSelection& selection() const { return selection_; }
    // The box through which a zoom leaves the current view, as recorded in the history.
    SelectionBox selectionFractions() const { return selection_.fractions(); }
    // Hides the box (no notification).
    void clearSelection();
    // Shows a box from history again; it counts as shown only when at least 12 x 12 points.
    void restoreSelection(const SelectionBox& box);
    // The box as drawn, or absent when none is shown.
    std::optional<RectF> shownSelectionRect() const;
    double deviceScale() const;

    // --- Callbacks (unset ones make their gesture do nothing). ---
    std::function<void(const RectF& pixels)> onZoomRequested;  // box in picture pixels
    std::function<void()> onColorCycleRequested;
    std::function<void()> onZoomHistoryBackRequested;
    std::function<void()> onZoomHistoryForwardRequested;
    std::function<void()> onLayoutSubviewsChanged;
    std::function<void(const QImage&)> onImageUpdated;  // raised by the render pipeline
    std::function<void()> onPaletteShiftBegan;
    std::function<void(double amount)> onPaletteShiftChanged;  // view heights, upward positive
    std::function<void()> onFrequencyShiftBegan;
    std::function<void(double dx, double dy)> onFrequencyShiftChanged;  // view sizes, right/up +
    std::function<void(const std::optional<RectF>& rect)> onSelectionChanged;  // points
    std::function<void(const QPoint& globalPos)> onContextMenuRequested;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // What the current mouse press turned into.
    enum class DragMode { none, pending, box, paletteShift, ignored };
    // A run of wheel events handled as one two-finger pan.
    struct WheelSession {
        QElapsedTimer lastEvent;
        QPointF travel;  // points; x rightward, y upward
        bool active = false, vertical = true, historyStepped = false;
    };
    // The touchpad gesture in progress (Begin ... End).
    struct NativeGesture {
        bool pinching = false;
        double scale = 1.0;
        QPointF swipeTravel;
        int fingers = 0;
    };

    void redrawSelection(bool notify);
    void handleSingleClick(QPointF pos);
    void pinchBoxBetween(QPointF corner, QPointF cursor);

    // Input handlers (mandelbrot_view_input.cpp).
    bool nativeGesture(QNativeGestureEvent* event);
    void nativeZoom(QPointF pos, double value);
    void nativeGestureEnded();
    void beginMouseDrag(QPointF pos);
    void paletteShiftTo(QPointF pos);
    void frequencyShiftBy(QPointF deltaPoints, bool continuing);
    void horizontalHistoryStep(double travel, double threshold);
    bool selectionKey(int key, Qt::KeyboardModifiers modifiers);
    bool colourKey(int key, Qt::KeyboardModifiers modifiers);
    void keyboardBox(double anchorX, double anchorY, double box);

    Frame frame_;
    PinchSelection selection_;

    DragMode drag_ = DragMode::none;
    Qt::MouseButton dragButton_ = Qt::NoButton;
    bool dragDrawsBox_ = false;
    QPointF pressPos_;
    QTimer singleClickTimer_;  // a single click waits until a double click has become impossible
    QPointF pendingClickPos_;
    WheelSession wheel_;
    NativeGesture gesture_;
};

}  // namespace gs
