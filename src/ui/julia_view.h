// The Julia companion: a small view showing the Julia set whose parameter is the centre of the
// main view. It keeps only the smooth count per pixel, so it shows palette colours without the
// exterior shadings. Each request is computed whole on a worker and shown whole; a newer
// request (a resize makes one) stops an older computation at its next row.
#pragma once

#include <QImage>
#include <QThreadPool>
#include <QWidget>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "core/frame.h"
#include "core/render_rows.h"

namespace gs {

class JuliaView : public QWidget {
    Q_OBJECT

public:
    explicit JuliaView(QWidget* parent = nullptr);
    ~JuliaView() override;

    int bufferWidth() const { return width_; }
    int bufferHeight() const { return height_; }
    std::int64_t recomputeGeneration() const { return generation_; }
    // Device pixels for the widget's size, each side at least 1.
    QSize bufferSizeForWidget() const;
    // Reallocates zero-filled buffers; false when the size is unchanged.
    bool resizeBuffers(int width, int height);

    // Computes the Julia picture described by `request` (a Julia request of this view's buffer
    // size) in the background and shows it when it arrives, unless it has become stale; then
    // calls `completion`. Nothing happens without buffers.
    void requestRender(const RenderRequest& request, std::function<void()> completion = {});
    // Colours the stored counts again with the table, frequency, offset, shift and ceiling of
    // `colours`, then shows and passes on the picture. Nothing happens without buffers.
    void recolor(const RenderRequest& colours);

    // An image over the live buffer (valid until a resize), or null without buffers.
    QImage makeImage() const;
    // The smooth count of every pixel of the picture on screen (width x height, rows from the
    // top), or null until a computed picture has arrived at the current size.
    const float* counts() const { return hasPicture_ ? nu_.data() : nullptr; }
    // A requested picture has not arrived yet.
    bool isComputing() const { return deliveredGeneration_ != generation_; }

    ShadingTuning tuning;  // only `curve` is used here
    std::function<void(const QImage&)> onImageUpdated;
    std::function<void()> onLayoutSubviewsChanged;
    std::function<void(const QPoint& globalPos)> onContextMenuRequested;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    // The context menu: a right click, or the Menu key or Shift+F10 while the view has the
    // keyboard focus (reached with Tab; a click leaves the keyboard with the main picture).
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Result;
    void deliver(const std::shared_ptr<Result>& result);
    void colourAll(const RenderRequest& colours);
    void showPicture();

    int width_ = 0, height_ = 0;
    std::vector<std::uint8_t> pixels_;
    std::vector<float> nu_;
    std::int64_t generation_ = 0;
    RenderGenerations generations_;  // lets a superseded computation's workers stop
    std::int64_t deliveredGeneration_ = 0;
    bool hasPicture_ = false;

    QThreadPool pool_;
    std::shared_ptr<std::atomic<bool>> stopping_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace gs
