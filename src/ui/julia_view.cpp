#include "ui/julia_view.h"

#include <oneapi/tbb/blocked_range.h>

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QResizeEvent>
#include <algorithm>
#include <cmath>

#include "core/fatal.h"
#include "core/parallel_for.h"

namespace gs {

// One finished computation on its way to the GUI thread.
struct JuliaView::Result {
    std::int64_t generation = 0;
    RenderRequest request;
    std::vector<float> nu;
    std::function<void()> completion;
};

namespace {

template <class RowFn>
void forEachRow(int height, RowFn&& fn) {
    parallelFor(tbb::blocked_range<int>(0, height), [&](const tbb::blocked_range<int>& rows) {
        for (int row = rows.begin(); row != rows.end(); ++row) fn(row);
    });
}

// Worker thread: the smooth count of every pixel, row by row in parallel, while the request is
// the newest one. Returns whether every row was computed.
bool computeCounts(const RenderRequest& r, const RenderTicket& ticket, std::vector<float>& nu,
                   const std::atomic<bool>& stop) {
    const auto w = static_cast<std::size_t>(r.width);
    nu.assign(w * static_cast<std::size_t>(r.height), 0.0f);
    return forEachCurrentRow(r.height, ticket, [&](int row) {
        if (stop.load(std::memory_order_relaxed)) return;
        thread_local std::vector<std::uint8_t> rgba;
        thread_local std::vector<PixelExtendedData> data;
        rgba.resize(w * 4);
        data.resize(w);
        renderRow(r, row, rgba.data(), data.data());
        float* out = nu.data() + static_cast<std::size_t>(row) * w;
        for (std::size_t i = 0; i < w; ++i) out[i] = data[i].nu;
    });
}

}  // namespace

JuliaView::JuliaView(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(tr("Julia set of the centre"));
    setFocusPolicy(Qt::TabFocus);
    pool_.setMaxThreadCount(4);
}

// Workers finish (quickly: they stop at the next row) before the buffers go away.
JuliaView::~JuliaView() {
    stopping_->store(true);
    pool_.waitForDone();
}

QSize JuliaView::bufferSizeForWidget() const {
    const double scale = devicePixelRatioF();
    return {std::max(static_cast<int>(std::trunc(scale * width())), 1),
            std::max(static_cast<int>(std::trunc(scale * height())), 1)};
}

bool JuliaView::resizeBuffers(int width, int height) {
    if (width == width_ && height == height_) return false;
    std::size_t count = 0, bytes = 0;
    if (width < 0 || height < 0 ||
        __builtin_mul_overflow(static_cast<std::size_t>(width), static_cast<std::size_t>(height), &count) ||
        __builtin_mul_overflow(count, std::size_t{4}, &bytes))
        fatal("Julia picture size overflows");
    width_ = width;
    height_ = height;
    pixels_.assign(bytes, 0);
    nu_.assign(count, 0.0f);
    hasPicture_ = false;
    return true;
}

void JuliaView::requestRender(const RenderRequest& request, std::function<void()> completion) {
    if (width_ < 1 || height_ < 1) return;
    if (__builtin_add_overflow(generation_, 1, &generation_)) fatal("Julia generation overflows");
    auto result = std::make_shared<Result>();
    result->generation = generation_;
    result->request = request;
    result->completion = std::move(completion);
    auto stop = stopping_;
    const RenderTicket ticket = generations_.start(generation_);
    pool_.start([this, result, stop, ticket] {
        if (!computeCounts(result->request, ticket, result->nu, *stop) || stop->load()) return;
        QMetaObject::invokeMethod(this, [this, result] { deliver(result); }, Qt::QueuedConnection);
    });
}

void JuliaView::deliver(const std::shared_ptr<Result>& result) {
    const RenderRequest& r = result->request;
    if (result->generation != generation_ || r.width != width_ || r.height != height_) return;
    deliveredGeneration_ = result->generation;
    hasPicture_ = true;
    nu_ = std::move(result->nu);
    colourAll(r);
    showPicture();
    if (result->completion) result->completion();
}

void JuliaView::recolor(const RenderRequest& colours) {
    if (width_ < 1 || height_ < 1 || pixels_.empty() || nu_.empty()) return;
    colourAll(colours);
    showPicture();
}

void JuliaView::colourAll(const RenderRequest& colours) {
    const JuliaColorParams p = juliaColourParams(colours, tuning.curve);
    const auto w = static_cast<std::size_t>(width_);
    forEachRow(height_, [&](int row) {
        const std::size_t at = static_cast<std::size_t>(row) * w;
        juliaColorRow(p, nu_.data() + at, w, pixels_.data() + at * 4);
    });
}

void JuliaView::showPicture() {
    update();
    if (onImageUpdated) onImageUpdated(makeImage());
}

QImage JuliaView::makeImage() const {
    if (pixels_.empty() || width_ < 1 || height_ < 1) return {};
    return QImage(pixels_.data(), width_, height_, width_ * 4, QImage::Format_RGBX8888);
}

void JuliaView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), Qt::black);
    const QImage image = makeImage();
    if (image.isNull()) return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.drawImage(QRectF(rect()), image, QRectF(image.rect()));
}

void JuliaView::contextMenuEvent(QContextMenuEvent* event) {
    if (!onContextMenuRequested) return;
    onContextMenuRequested(event->reason() == QContextMenuEvent::Mouse ? event->globalPos()
                                                                       : mapToGlobal(rect().center()));
    event->accept();
}

void JuliaView::keyPressEvent(QKeyEvent* event) {
    const Qt::KeyboardModifiers mods = event->modifiers() & ~Qt::KeypadModifier;
    if (onContextMenuRequested &&
        (event->key() == Qt::Key_Menu || (event->key() == Qt::Key_F10 && mods == Qt::ShiftModifier))) {
        onContextMenuRequested(mapToGlobal(rect().center()));
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

void JuliaView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (onLayoutSubviewsChanged) onLayoutSubviewsChanged();
}

}  // namespace gs
