// The render pipeline: full renders with row hand-over, recolouring, relighting, the status
// display and the Julia companion's updates.
#include <QLabel>
#include <QMetaObject>
#include <cstdio>

#include "core/fatal.h"
#include "core/render_rows.h"
#include "ui/hud_stat_view.h"
#include "ui/julia_view.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

namespace gs {

// One computed and coloured row on its way from a worker to the GUI thread.
struct MacViewController::FinishedRow {
    int row = 0;
    std::vector<std::uint8_t> rgba;
    std::vector<PixelExtendedData> data;
};

ColourInputs MacViewController::colourInputs(const ShadingTuning& tuning) const {
    ColourInputs c = settings_.colourInputs(colorTable_, tuning);
    applySoundState(soundState_, c);  // neutral outside sound mode
    return c;
}

void MacViewController::render() {
    refreshBookmarkLabels();  // the name and zoom of the view being drawn
    MandelbrotView* view = fractalView_;
    const int w = view->bufferWidth(), h = view->bufferHeight();
    if (w < 1 || h < 1) return;
    view->frame().elevation.clear();
    const auto start = std::chrono::steady_clock::now();
    const Viewport& v = history_.current();
    pixelSize_ = pixelSizeFor(v, w);
    lastMaxIteration_ = iterationCeiling(v);
    if (__builtin_add_overflow(renderGeneration_, 1, &renderGeneration_))
        fatal("render generation overflows");
    isRendering_ = true;
    auto request = std::make_shared<RenderRequest>(
        mandelbrotRequest(v, w, h, colourInputs(settings_.tuning), lastMaxIteration_));
    request->generation = renderGeneration_;
    active_ = ActiveRender{request, start, 0, 0};
    startRenderWork(request);
}

// One work item per render; inside it a parallel loop over the rows, which stops taking rows
// once a newer render has started. Each finished row goes to the GUI thread by value. The stop
// flag is only raised when the controller is destroyed.
void MacViewController::startRenderWork(const std::shared_ptr<const RenderRequest>& request) {
    auto stop = stopWorkers_;
    const RenderTicket ticket = renderGenerations_.start(request->generation);
    renderPool_.start([this, request, stop, ticket] {
        const auto w = static_cast<std::size_t>(request->width);
        forEachCurrentRow(request->height, ticket, [&](int row) {
            if (stop->load(std::memory_order_relaxed)) return;
            auto out = std::make_shared<FinishedRow>();
            out->row = row;
            out->rgba.resize(w * 4);
            out->data.resize(w);
            renderRow(*request, row, out->rgba.data(), out->data.data());
            QMetaObject::invokeMethod(
                this, [this, generation = request->generation, out] { deliverRow(generation, *out); },
                Qt::QueuedConnection);
        });
    });
}

void MacViewController::deliverRow(std::int64_t generation, const FinishedRow& row) {
    if (generation != renderGeneration_ || !active_.request) return;  // a newer render runs
    fractalView_->writeRow(row.row, row.rgba.data(), row.data.data());
    ++active_.rowsDone;
    ++active_.rowsSinceDisplay;
    if (active_.rowsDone == active_.request->height) {
        finishRender();
    } else if (active_.rowsSinceDisplay >= kRowsPerPartialDisplay) {
        active_.rowsSinceDisplay = 0;
        fractalView_->presentImage();  // rows still to come show the previous picture
    }
}

void MacViewController::finishRender() {
    const RenderRequest& r = *active_.request;
    MandelbrotView* view = fractalView_;
    if (r.relief) reliefPass(view->frame(), r.maxIter, r.light, r.colour.tuning);
    view->presentImage();
    if (view->onImageUpdated) view->onImageUpdated(view->makeImage());
    fadeOutDissolve();
    isRendering_ = false;
    if (recolorAfterRender_) {
        recolorAfterRender_ = false;
        recolorAll();
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - active_.start;
    updateStatus(took.count());
    updateJulia();
    if (autoEnabled_ && !juliaFullscreen_) scheduleAutoStep();  // the interval runs from the end of the render
    if (trace_) traceCompletedPicture();
}

void MacViewController::updateStatus(double seconds) {
    const Viewport& v = history_.current();
    hudZoomStat_->setValue(QString::fromStdString(zoomText(zoomLevel(v))));
    hudIterStat_->setValue(QString::fromStdString(iterationsText(lastMaxIteration_)));
    hudCenterStat_->setValue(QString::fromStdString(centerText(v)));
    hudRenderStat_->setValue(QString::fromStdString(renderTimeText(seconds)));
    const QStringList texts = statusTexts();
    for (std::size_t i = 0; i < fullScreenStats_.size(); ++i)
        fullScreenStats_[i]->setValue(texts[static_cast<qsizetype>(i)]);
    fullScreenStatus_->setText(fullScreenStatusLine());
}

// The end-to-end test reads this line: the status texts and where the picture is on screen.
void MacViewController::traceCompletedPicture() const {
    const QPoint origin = fractalView_->mapToGlobal(QPoint(0, 0));
    const QStringList s = statusTexts();
    std::printf("picture complete zoom=%s iter=%s center=%s time=%s picture=%d,%d,%d,%d\n",
                qPrintable(s[0]), qPrintable(s[1]), qPrintable(s[2]), qPrintable(s[3]),
                origin.x(), origin.y(), fractalView_->width(), fractalView_->height());
    std::fflush(stdout);
    traceTuning();
}

// --- Recolouring ----------------------------------------------------------------------------

// Requests made within one pass of the event loop are merged; one made during a render waits
// for its completion.
void MacViewController::requestRecolor() {
    if (recolorPending_) return;
    recolorPending_ = true;
    QMetaObject::invokeMethod(this, [this] {
        recolorPending_ = false;
        if (isRendering_)
            recolorAfterRender_ = true;
        else
            recolorAll();
    }, Qt::QueuedConnection);
}

void MacViewController::recolorAll() {
    MandelbrotView* view = fractalView_;
    const int w = view->bufferWidth(), h = view->bufferHeight();
    if (w >= 1 && h >= 1) {
        const RenderRequest colours = mandelbrotColours();
        // A moving palette recolours 30 times a second: keep what does not move.
        recolorFrame(colours, view->frame(), (animateColorsEnabled_ || soundEnabled_) && keptInputsReady());
        view->presentImage();
    }
    if (view->onImageUpdated) {
        const QImage image = view->makeImage();
        if (!image.isNull()) view->onImageUpdated(image);
    }
    if (juliaView_->bufferWidth() >= 1 && juliaView_->bufferHeight() >= 1)
        juliaView_->recolor(juliaColours());
}

// The recolour path reads the view's copy of the tuning.
RenderRequest MacViewController::mandelbrotColours() const {
    const MandelbrotView* view = fractalView_;
    RenderRequest colours = mandelbrotRequest(history_.current(), view->bufferWidth(), view->bufferHeight(),
                                              colourInputs(view->tuning), lastMaxIteration_);
    colours.colour.pixelSize = pixelSize_;
    return colours;
}

// The kept inputs of a 4K picture take over 160 MB; their memory is made ready on a worker so
// that the animation's first ticks recolour as usual instead of waiting for it.
bool MacViewController::keptInputsReady() {
    const Frame& frame = fractalView_->frame();
    if (frame.keptInputs.sizedFor(frame.pixelCount())) return true;
    if (keptAllocationPending_) return false;
    keptAllocationPending_ = true;
    const std::size_t count = frame.pixelCount();
    renderPool_.start([this, count] {
        auto made = std::make_shared<KeptColourInputs>();
        made->allocate(count);
        QMetaObject::invokeMethod(this, [this, made, count] {
            keptAllocationPending_ = false;
            Frame& f = fractalView_->frame();
            if ((animateColorsEnabled_ || soundEnabled_) && f.pixelCount() == count) f.keptInputs = std::move(*made);
        }, Qt::QueuedConnection);
    });
    return false;
}

void MacViewController::requestRelight() {
    if (!settings_.reliefEnabled) return;
    if (isRendering_) {
        recolorAfterRender_ = true;
        return;
    }
    MandelbrotView* view = fractalView_;
    if (relight(view->frame(), effectiveLight(settings_.reliefLight(), soundState_.soundReliefDramaBoost), view->tuning))
        view->presentImage();
}

// --- Julia companion ------------------------------------------------------------------------

RenderRequest MacViewController::juliaColours() const {
    const Viewport& v = history_.current();
    return juliaRequest(v.centerX(), v.centerY(), juliaView_->bufferWidth(),
                        juliaView_->bufferHeight(), colourInputs(juliaView_->tuning),
                        lastMaxIteration_);
}

void MacViewController::updateJulia() {
    if (juliaView_->bufferWidth() < 1 || juliaView_->bufferHeight() < 1) return;
    juliaView_->requestRender(juliaColours());
}

}  // namespace gs
