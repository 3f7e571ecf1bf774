#include "frame.h"

#include <oneapi/tbb/blocked_range.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/parallel_for.h"
#include "fatal.h"

namespace gs {
namespace {

constexpr double kJuliaHalfExtent = 1.6;

void fillColourParams(RenderRequest& r, const ColourInputs& c) {
    r.table = c.table;
    r.colour.maxIter = r.maxIter;
    r.colour.logMaxIter = std::log(static_cast<double>(r.maxIter) + 1.0);
    r.colour.table = c.table ? c.table->data() : nullptr;
    r.colour.tableSize = c.table ? c.table->size() : 0;
    r.colour.frequency = c.frequency;
    r.colour.cycleOffset = c.cycleOffset;
    r.colour.colorShift = c.colorShift;
    r.colour.glowIntensity = c.glowIntensity;
    r.colour.dem = c.dem;
    r.colour.traps = c.traps;
    r.colour.glow = c.glow;
    r.colour.tuning = c.tuning;
    r.juliaCurve = c.tuning.curve;
    r.relief = c.relief;
    r.light = effectiveLight(c.light, c.dramaBoost);
}

std::int32_t kernelCeiling(std::int64_t maxIter) {
    if (maxIter > std::numeric_limits<std::int32_t>::max() ||
        maxIter < std::numeric_limits<std::int32_t>::min())
        fatal("iteration ceiling does not fit 32 bits");
    return static_cast<std::int32_t>(maxIter);
}

// Per-thread scratch rows, grown once and reused: no allocation per pixel or per row.
struct RowScratch {
    std::vector<double> xs;
    std::vector<EscapeResult> results;
    std::vector<float> nu;
};
RowScratch& scratch(std::size_t width) {
    thread_local RowScratch s;
    if (s.xs.size() < width) {
        s.xs.resize(width);
        s.results.resize(width);
        s.nu.resize(width);
    }
    return s;
}

void colourRow(const RenderRequest& r, const PixelExtendedData* data, std::uint8_t* rgba,
               float* nuScratch) {
    const auto w = static_cast<std::size_t>(r.width);
    if (!r.julia) {
        colorRow(r.colour, data, w, rgba);
        return;
    }
    for (std::size_t i = 0; i < w; ++i) nuScratch[i] = data[i].nu;
    juliaColorRow(juliaColourParams(r, r.juliaCurve), nuScratch, w, rgba);
}

template <class RowFn>
void forEachRow(int height, RowFn&& fn) {
    parallelFor(tbb::blocked_range<int>(0, height), [&](const tbb::blocked_range<int>& rows) {
        for (int row = rows.begin(); row != rows.end(); ++row) fn(row);
    });
}

}  // namespace

JuliaColorParams juliaColourParams(const RenderRequest& r, double curve) {
    JuliaColorParams j;
    j.maxIter = r.maxIter;
    j.table = r.colour.table;
    j.tableSize = r.colour.tableSize;
    j.curve = curve;
    j.frequency = r.colour.frequency;
    j.cycleOffset = r.colour.cycleOffset;
    j.colorShift = r.colour.colorShift;
    return j;
}

ReliefLight effectiveLight(const ReliefLight& light, double dramaBoost) {
    ReliefLight l = light;
    if (dramaBoost != 0.0)
        l.drama = static_cast<float>(std::clamp(static_cast<double>(light.drama) + dramaBoost, 0.0, 1.0));
    return l;
}

RenderRequest mandelbrotRequest(const Viewport& view, int width, int height,
                                const ColourInputs& colour, std::int64_t maxIter) {
    RenderRequest r;
    r.width = width;
    r.height = height;
    r.maxIter = kernelCeiling(maxIter >= 0 ? maxIter : iterationCeiling(view));
    r.xmin = view.xmin;
    r.ymax = view.ymax;
    r.dx = view.width() / width;
    r.dy = view.height() / height;
    fillColourParams(r, colour);
    r.colour.pixelSize = pixelSizeFor(view, width);
    return r;
}

RenderRequest juliaRequest(double cRe, double cIm, int width, int height,
                           const ColourInputs& colour, std::int64_t maxIter) {
    RenderRequest r;
    r.width = width;
    r.height = height;
    r.maxIter = kernelCeiling(maxIter);
    r.julia = true;
    r.juliaRe = cRe;
    r.juliaIm = cIm;
    r.xmin = -kJuliaHalfExtent;
    r.ymax = kJuliaHalfExtent;
    r.dx = 2 * kJuliaHalfExtent / width;
    r.dy = 2 * kJuliaHalfExtent / height;
    fillColourParams(r, colour);
    r.relief = false;  // the Julia picture shows the palette only
    r.colour.dem = r.colour.traps = r.colour.glow = false;
    return r;
}

bool Frame::resize(int newWidth, int newHeight) {
    if (newWidth == width && newHeight == height) return false;
    if (newWidth < 0 || newHeight < 0) fatal("negative picture size");
    std::size_t count = 0;
    if (__builtin_mul_overflow(static_cast<std::size_t>(newWidth),
                               static_cast<std::size_t>(newHeight), &count) ||
        count > std::numeric_limits<std::size_t>::max() / sizeof(PixelExtendedData))
        fatal("picture size overflows");
    width = newWidth;
    height = newHeight;
    pixels.assign(count * 4, 0);
    data.assign(count, PixelExtendedData{});
    reliefBase = {};  // made by the first relief pass
    elevation.clear();
    keptInputs.release();
    return true;
}

std::size_t Frame::pixelCount() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

void renderRow(const RenderRequest& r, int row, std::uint8_t* rgba, PixelExtendedData* data,
               std::uint64_t* iterations) {
    const auto w = static_cast<std::size_t>(r.width);
    RowScratch& s = scratch(w);
    // Julia columns sit at dx * i - 1.6; Mandelbrot columns at xmin + dx * i. Both forms are
    // kept literally so that every path computes the same coordinates.
    const double dx = r.dx, xmin = r.xmin;  // locals: the stores below cannot change them
    double* xs = s.xs.data();
    if (r.julia) {
        for (std::size_t i = 0; i < w; ++i) xs[i] = dx * static_cast<double>(i) - kJuliaHalfExtent;
    } else {
        for (std::size_t i = 0; i < w; ++i) xs[i] = xmin + dx * static_cast<double>(i);
    }
    SpanInput in;
    in.maxIter = r.maxIter;
    in.xs = s.xs.data();
    in.y = r.ymax - r.dy * row;
    in.count = static_cast<std::int64_t>(w);
    in.julia = r.julia;
    in.juliaRe = r.juliaRe;
    in.juliaIm = r.juliaIm;
    escapeSpan(r.kernel, in, s.results.data(), iterations);
    for (std::size_t i = 0; i < w; ++i) {
        const EscapeResult& e = s.results[i];
        data[i].nu = static_cast<float>(e.nu);
        data[i].distance = r.julia ? 0.0f : static_cast<float>(e.distance);
        data[i].trapDistance = r.julia ? 0.0f : static_cast<float>(e.trapDistance);
    }
    colourRow(r, data, rgba, s.nu.data());
}

std::uint64_t renderFrame(const RenderRequest& r, Frame& frame, std::atomic<int>* rowsDone) {
    frame.resize(r.width, r.height);
    frame.elevation.clear();
    frame.keptInputs.invalidate();
    if (r.width < 1 || r.height < 1) return 0;
    std::atomic<std::uint64_t> total{0};
    const auto w = static_cast<std::size_t>(r.width);
    forEachRow(r.height, [&](int row) {
        std::uint64_t n = 0;
        const std::size_t at = static_cast<std::size_t>(row) * w;
        renderRow(r, row, frame.pixels.data() + at * 4, frame.data.data() + at, &n);
        total.fetch_add(n, std::memory_order_relaxed);
        if (rowsDone) rowsDone->fetch_add(1, std::memory_order_relaxed);
    });
    if (r.relief) reliefPass(frame, r.maxIter, r.light, r.colour.tuning);
    return total.load();
}

void KeptColourInputs::release() {
    key.reset();
    count = {};
    weight = {};
    falloff = {};
    edge = {};
}

void KeptColourInputs::prepare(const ColourInputKey& forKey, std::size_t pixelCount) {
    key.reset();
    const auto size = [&](auto& v, bool used) {
        if (!used)
            v = {};
        else if (v.size() != pixelCount)
            v.resize(pixelCount);
    };
    size(count, true);
    size(weight, forKey.traps);
    size(falloff, forKey.glow);
    size(edge, forKey.edges);
}

void KeptColourInputs::allocate(std::size_t pixelCount) {
    ColourInputKey all;
    all.traps = all.glow = all.edges = true;
    prepare(all, pixelCount);
}

ColourInputRow KeptColourInputs::row(std::size_t at) {
    const auto from = [at](auto& v) { return v.empty() ? nullptr : v.data() + at; };
    return {from(count), from(weight), from(falloff), from(edge)};
}

void recolorFrame(const RenderRequest& r, Frame& frame, bool keepInputs) {
    if (frame.width < 1 || frame.height < 1) return;
    RenderRequest sized = r;
    sized.width = frame.width;
    const auto w = static_cast<std::size_t>(frame.width);
    KeptColourInputs& kept = frame.keptInputs;
    const ColourInputKey key = colourInputKey(r.colour);
    if (!keepInputs || r.julia) {
        forEachRow(frame.height, [&](int row) {
            const std::size_t at = static_cast<std::size_t>(row) * w;
            colourRow(sized, frame.data.data() + at, frame.pixels.data() + at * 4, scratch(w).nu.data());
        });
    } else if (kept.key == key) {
        forEachRow(frame.height, [&](int row) {
            const std::size_t at = static_cast<std::size_t>(row) * w;
            colorRowFromInputs(r.colour, frame.data.data() + at, w, kept.row(at), frame.pixels.data() + at * 4);
        });
    } else {
        kept.prepare(key, frame.pixelCount());
        std::atomic<bool> all{true};
        forEachRow(frame.height, [&](int row) {
            const std::size_t at = static_cast<std::size_t>(row) * w;
            if (!colorRowKeeping(r.colour, frame.data.data() + at, w, kept.row(at), frame.pixels.data() + at * 4))
                all.store(false, std::memory_order_relaxed);
        });
        if (all.load()) kept.key = key;
    }
    if (r.relief && !r.julia)
        reliefPass(frame, r.maxIter, r.light, r.colour.tuning);
    else
        frame.elevation.clear();
}

void reliefPass(Frame& frame, std::int32_t maxIter, const ReliefLight& light,
                const ShadingTuning& tuning) {
    if (frame.pixels.empty()) return;
    frame.reliefBase.resize(frame.pixels.size());
    std::memcpy(frame.reliefBase.data(), frame.pixels.data(), frame.pixels.size());
    buildElevation(frame.data.data(), frame.pixelCount(), maxIter, frame.elevation);
    applyRelief(frame.pixels.data(), frame.elevation.data(), frame.width, frame.height, light,
                tuning);
}

bool relight(Frame& frame, const ReliefLight& light, const ShadingTuning& tuning) {
    if (frame.pixels.empty() || frame.reliefBase.size() != frame.pixels.size() ||
        frame.elevation.size() != frame.pixelCount())
        return false;
    std::memcpy(frame.pixels.data(), frame.reliefBase.data(), frame.pixels.size());
    applyRelief(frame.pixels.data(), frame.elevation.data(), frame.width, frame.height, light,
                tuning);
    return true;
}

}  // namespace gs
