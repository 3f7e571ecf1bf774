#include "palette_animation.h"

#include <oneapi/tbb/blocked_range.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <vector>

#include "core/fatal.h"
#include "core/parallel_for.h"

namespace gs {
namespace {

// 2^63: the first double past the 64-bit integers.
constexpr double kTwoTo63 = 9223372036854775808.0;
// Runs of black pixels shorter than this are coloured with their neighbours: one call for a
// longer span costs less than breaking it up.
constexpr int kShortestSkippedRun = 32;

// Opaque black, which every interior pixel is in every frame (the same in RGBA and BGRA).
void fillBlack(std::uint8_t* pixels, int count) {
    for (int i = 0; i < count; ++i) {
        pixels[4 * i] = pixels[4 * i + 1] = pixels[4 * i + 2] = 0;
        pixels[4 * i + 3] = 255;
    }
}

// RGBA to BGRA: the red and blue bytes of each pixel change places (to may be from).
void copySwappingRedAndBlue(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t v;
        std::memcpy(&v, from + 4 * i, 4);
        v = (v & 0xFF00FF00u) | ((v & 0xFFu) << 16) | ((v >> 16) & 0xFFu);
        std::memcpy(to + 4 * i, &v, 4);
    }
}

PaletteAnimationSnapshot commonSnapshot(const RenderRequest& colours, double animationSpeed) {
    PaletteAnimationSnapshot s;
    s.colorTable = colours.table;
    s.frequency = colours.colour.frequency;
    s.cycleOffset = colours.colour.cycleOffset;
    s.colorShift = colours.colour.colorShift;
    s.maxIter = colours.maxIter;
    s.frameCount = paletteAnimationFrameCount(animationSpeed);
    return s;
}

// The colouring of frame 0. The Julia colouring is the main one with every shading off and
// the Julia picture's own curve.
ColorParams baseColours(const PaletteAnimationSnapshot& s) {
    ColorParams p;
    p.maxIter = s.maxIter;
    p.logMaxIter = std::log(static_cast<double>(s.maxIter) + 1.0);
    p.table = s.colorTable ? s.colorTable->data() : nullptr;
    p.tableSize = s.colorTable ? s.colorTable->size() : 0;
    p.frequency = s.frequency;
    p.cycleOffset = s.cycleOffset;
    p.colorShift = s.colorShift;
    if (s.julia) {
        p.tuning.curve = s.tuning.curve;
        return p;
    }
    p.glowIntensity = s.soundGlowIntensity;
    p.pixelSize = s.pixelSize;
    p.dem = s.demEnabled;
    p.traps = s.trapsEnabled;
    p.glow = s.glowEnabled;
    p.tuning = s.tuning;
    return p;
}

}  // namespace

std::int64_t paletteAnimationFrameCount(double animationSpeed) {
    const double frames = std::round((1.0 / animationSpeed) * 30.0);
    if (!std::isfinite(frames) || frames >= kTwoTo63 || frames < -kTwoTo63)
        fatal("palette animation frame count is not a finite 64-bit number");
    return std::max(static_cast<std::int64_t>(frames), std::int64_t{2});
}

MovieSize evenMovieSize(int width, int height) {
    return {width - width % 2, height - height % 2};
}

PaletteAnimationSnapshot snapshotMandelbrotPicture(const RenderRequest& colours, const Frame& picture,
                                                   double animationSpeed) {
    PaletteAnimationSnapshot s = commonSnapshot(colours, animationSpeed);
    s.demEnabled = colours.colour.dem;
    s.glowEnabled = colours.colour.glow;
    s.trapsEnabled = colours.colour.traps;
    s.reliefEnabled = colours.relief;
    s.reliefLight = colours.light;
    s.soundGlowIntensity = colours.colour.glowIntensity;
    s.tuning = colours.colour.tuning;
    s.pixelSize = colours.colour.pixelSize;
    s.width = picture.width;
    s.height = picture.height;
    s.data = std::make_shared<const PictureBuffer<PixelExtendedData>>(picture.data);
    return s;
}

PaletteAnimationSnapshot snapshotJuliaPicture(const RenderRequest& colours, const float* counts,
                                              int width, int height, double animationSpeed) {
    PaletteAnimationSnapshot s = commonSnapshot(colours, animationSpeed);
    s.julia = true;
    s.tuning.curve = colours.juliaCurve;
    s.width = width;
    s.height = height;
    auto data = std::make_shared<PictureBuffer<PixelExtendedData>>(
        static_cast<std::size_t>(std::max(width, 0)) * static_cast<std::size_t>(std::max(height, 0)));
    for (std::size_t i = 0; i < data->size(); ++i) (*data)[i].nu = counts[i];
    s.data = std::move(data);
    return s;
}

bool PaletteCycleFrames::valid(const PaletteAnimationSnapshot& s) {
    const MovieSize size = evenMovieSize(s.width, s.height);
    return size.width >= 2 && size.height >= 2 && s.frameCount > 0 && s.data &&
           s.data->size() == static_cast<std::size_t>(s.width) * static_cast<std::size_t>(s.height);
}

PaletteCycleFrames::PaletteCycleFrames(const PaletteAnimationSnapshot& s)
    : size_(evenMovieSize(s.width, s.height)),
      sourceWidth_(s.width),
      sourceHeight_(s.height),
      frameCount_(s.frameCount),
      table_(s.colorTable),
      relief_(s.reliefEnabled && !s.julia),
      light_(s.reliefLight),
      data_(s.data) {
    if (!valid(s)) fatal("palette animation snapshot is not recordable");
    base_ = baseColours(s);
    if (relief_) {
        buildElevation(data_->data(), data_->size(), s.maxIter, elevation_);
        unlit_.resize(static_cast<std::size_t>(sourceWidth_) * static_cast<std::size_t>(size_.height) * 4);
    }
    findSpans();
    keepInputs();
}

// A pixel the palette never changes: black in every frame (as colorPixel makes it).
void PaletteCycleFrames::findSpans() {
    const bool allBlack = base_.maxIter < 1 || base_.tableSize == 0;
    rowSpans_.assign(1, 0);
    for (int row = 0; row < size_.height; ++row) {
        const PixelExtendedData* data = data_->data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(sourceWidth_);
        const auto black = [&](int x) { return allBlack || !(data[x].nu < base_.maxIter); };
        int x = 0;
        while (x < size_.width) {
            while (x < size_.width && black(x)) ++x;
            if (x == size_.width) break;
            int end = x;
            for (int run = 0; end < size_.width; ++end) {  // up to a long enough run of black
                run = black(end) ? run + 1 : 0;
                if (run == kShortestSkippedRun) {
                    end -= kShortestSkippedRun - 1;
                    break;
                }
            }
            spans_.push_back({x, end - x});
            x = end;
        }
        rowSpans_.push_back(spans_.size());
    }
}

ColorParams PaletteCycleFrames::frameColours(std::int64_t i) const {
    ColorParams p = base_;
    p.cycleOffset = base_.cycleOffset + static_cast<double>(i) / static_cast<double>(frameCount_);
    return p;
}

// One colouring pass that keeps every row's palette-independent inputs; when some row takes
// the reference colouring (which keeps nothing), every frame is coloured in full instead.
void PaletteCycleFrames::keepInputs() {
    const ColorParams colours = frameColours(0);
    kept_.prepare(colourInputKey(colours), data_->size());
    const auto w = static_cast<std::size_t>(size_.width);
    std::atomic<bool> allKept{true};
    parallelFor(tbb::blocked_range<int>(0, size_.height), [&](const tbb::blocked_range<int>& rows) {
        std::vector<std::uint8_t> scratch(w * 4);
        for (int row = rows.begin(); row != rows.end(); ++row) {
            const std::size_t at = static_cast<std::size_t>(row) * static_cast<std::size_t>(sourceWidth_);
            for (std::size_t k = rowSpans_[static_cast<std::size_t>(row)]; k < rowSpans_[static_cast<std::size_t>(row) + 1]; ++k) {
                const Span& span = spans_[k];
                const std::size_t from = at + static_cast<std::size_t>(span.start);
                if (!colorRowKeeping(colours, data_->data() + from, static_cast<std::size_t>(span.count),
                                     kept_.row(from), scratch.data()))
                    allKept.store(false, std::memory_order_relaxed);
            }
        }
    });
    if (allKept.load())
        kept_.key = colourInputKey(colours);
    else
        kept_.release();
}

// Colours the first width() pixels of a source row: its spans, and black between them. With
// relief they go to the unlit rows at the source's stride, where the relief pass reads the
// elevation of the whole picture, and are copied out; without, they are coloured in place.
void PaletteCycleFrames::colourRow(const ColorParams& colours, int row, std::uint8_t* out) {
    const auto w = static_cast<std::size_t>(size_.width);
    const std::size_t at = static_cast<std::size_t>(row) * static_cast<std::size_t>(sourceWidth_);
    std::uint8_t* rgba = relief_ ? unlit_.data() + at * 4 : out;
    int x = 0;
    for (std::size_t k = rowSpans_[static_cast<std::size_t>(row)]; k < rowSpans_[static_cast<std::size_t>(row) + 1]; ++k) {
        const Span& span = spans_[k];
        fillBlack(rgba + 4 * x, span.start - x);
        const std::size_t from = at + static_cast<std::size_t>(span.start);
        const auto count = static_cast<std::size_t>(span.count);
        std::uint8_t* to = rgba + 4 * span.start;
        if (kept_.key)
            colorRowFromInputs(colours, data_->data() + from, count, kept_.row(from), to);
        else
            colorRow(colours, data_->data() + from, count, to);
        x = span.start + span.count;
    }
    fillBlack(rgba + 4 * x, size_.width - x);
    if (relief_)
        applyReliefRow(unlit_.data(), elevation_.data(), sourceWidth_, sourceHeight_, row, light_, base_.tuning);
    copySwappingRedAndBlue(rgba, out, w);
}

void PaletteCycleFrames::colourRows(std::int64_t i, int row, int count, std::uint8_t* bgra,
                                    std::ptrdiff_t stride) {
    const ColorParams colours = frameColours(i);
    for (int k = 0; k < count; ++k) colourRow(colours, row + k, bgra + k * stride);
}

void PaletteCycleFrames::colourFrame(std::int64_t i, std::uint8_t* bgra) {
    const ColorParams colours = frameColours(i);
    const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(size_.width) * 4;
    parallelFor(tbb::blocked_range<int>(0, size_.height), [&](const tbb::blocked_range<int>& rows) {
        for (int row = rows.begin(); row != rows.end(); ++row) colourRow(colours, row, bgra + row * stride);
    });
}

}  // namespace gs
