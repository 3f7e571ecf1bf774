#include "ui/mandelbrot_view.h"

#include <QPaintEvent>
#include <QPainter>
#include <QResizeEvent>
#include <algorithm>
#include <cmath>
#include <cstring>

namespace gs {

namespace {

const QColor kSelectionFill(255, 255, 255, 38);   // white at alpha 0.15
const QColor kSelectionStroke(255, 204, 0);       // the system yellow
constexpr double kSelectionLineWidth = 1.5;

}  // namespace

MandelbrotView::MandelbrotView(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::PreventContextMenu);  // right-drag draws the box; release opens the menu
    setAccessibleName(tr("Mandelbrot picture"));
    singleClickTimer_.setSingleShot(true);
    connect(&singleClickTimer_, &QTimer::timeout, this,
            [this] { handleSingleClick(pendingClickPos_); });
}

double MandelbrotView::deviceScale() const { return devicePixelRatioF(); }

QSize MandelbrotView::bufferSizeForWidget() const {
    const double scale = deviceScale();
    const int w = std::max(static_cast<int>(std::trunc(scale * width())), 1);
    const int h = std::max(static_cast<int>(std::trunc(scale * height())), 1);
    return {w, h};
}

bool MandelbrotView::resizeBuffers(int width, int height) { return frame_.resize(width, height); }

void MandelbrotView::writeRow(int row, const std::uint8_t* rgba, const PixelExtendedData* data) {
    if (frame_.pixels.empty() || row < 0 || row >= frame_.height) return;
    const std::size_t w = static_cast<std::size_t>(frame_.width);
    const std::size_t at = static_cast<std::size_t>(row) * w;
    std::memcpy(frame_.pixels.data() + at * 4, rgba, w * 4);
    std::memcpy(frame_.data.data() + at, data, w * sizeof(PixelExtendedData));
    frame_.elevation.clear();
    frame_.keptInputs.invalidate();
}

QImage MandelbrotView::makeImage() const {
    if (frame_.pixels.empty() || frame_.width < 1 || frame_.height < 1) return {};
    // Every alpha byte is 255, so the buffer reads the same as opaque RGBX.
    return QImage(frame_.pixels.data(), frame_.width, frame_.height, frame_.width * 4,
                  QImage::Format_RGBX8888);
}

void MandelbrotView::presentImage() { update(); }

void MandelbrotView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), Qt::black);
    const QImage image = makeImage();
    if (!image.isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);  // nearest neighbour
        painter.drawImage(QRectF(rect()), image, QRectF(image.rect()));
    }
    if (const auto box = shownSelectionRect()) {
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.setPen(QPen(kSelectionStroke, kSelectionLineWidth));
        painter.setBrush(kSelectionFill);
        painter.drawRect(QRectF(box->x, box->y, box->width, box->height));
    }
}

void MandelbrotView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (onLayoutSubviewsChanged) onLayoutSubviewsChanged();
}

std::optional<RectF> MandelbrotView::shownSelectionRect() const {
    return selection_.shownRect(width(), height());
}

void MandelbrotView::clearSelection() {
    if (selection_.clear()) redrawSelection(false);
}

void MandelbrotView::restoreSelection(const SelectionBox& box) {
    selection_.restoreFromHistory(box, width(), height());
    redrawSelection(false);
}

void MandelbrotView::redrawSelection(bool notify) {
    update();
    if (notify && onSelectionChanged) onSelectionChanged(shownSelectionRect());
}

void MandelbrotView::handleSingleClick(QPointF pos) {
    if (!selection_.hasSelection()) return;
    const ClickResult result = selection_.click(pos.x(), pos.y(), width(), height(), deviceScale());
    // The controller may put the box back (a refused zoom leaves the selection as it was), so
    // the redraw comes after the request.
    if (result.zoomRequest && onZoomRequested) onZoomRequested(*result.zoomRequest);
    redrawSelection(true);
}

}  // namespace gs
