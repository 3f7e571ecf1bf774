#include "supersample.h"

#include <oneapi/tbb/blocked_range.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <vector>

#include "core/parallel_for.h"
#include "fatal.h"

namespace gs {
namespace {

double decodeSrgb(double c) {
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

// Linear light of every byte, and of the midpoints between neighbouring bytes (the rounding
// thresholds of linearToSrgb).
struct SrgbTables {
    std::array<double, 256> linear;
    std::array<double, 255> midpoint;  // midpoint[b] = decode((b + 0.5) / 255)
};

const SrgbTables& srgbTables() {
    static const SrgbTables tables = [] {
        SrgbTables t;
        for (int v = 0; v < 256; ++v) t.linear[static_cast<std::size_t>(v)] = decodeSrgb(v / 255.0);
        for (int b = 0; b < 255; ++b)
            t.midpoint[static_cast<std::size_t>(b)] = decodeSrgb((b + 0.5) / 255.0);
        return t;
    }();
    return tables;
}

// Per-thread rows of samples, grown once and reused.
struct SampleScratch {
    std::vector<double> xs;
    std::vector<EscapeResult> results;
    std::vector<PixelExtendedData> data;
    std::vector<float> nu;
    std::vector<std::uint8_t> rgba;
    PictureBuffer<float> elevation;
    std::vector<double> sum;      // linear light per output channel
    std::vector<float> height;    // summed sample elevation per output pixel
};

SampleScratch& sampleScratch(std::size_t samples, std::size_t width) {
    thread_local SampleScratch s;
    if (s.xs.size() < samples) {
        s.xs.resize(samples);
        s.results.resize(samples);
        s.data.resize(samples);
        s.nu.resize(samples);
        s.rgba.resize(samples * 4);
    }
    if (s.sum.size() < width * 3) {
        s.sum.resize(width * 3);
        s.height.resize(width);
    }
    return s;
}

// Offset of sample s of n from the pixel's own point, in pixel steps: centred on it.
double sampleOffset(int s, int n) { return (s + 0.5) / n - 0.5; }

// One line of samples (width x n of them) at row + offset: computed and coloured as plain
// pixels are.
void sampleLine(const RenderRequest& r, int n, double rowOffset, SampleScratch& s,
                std::uint64_t& iterations) {
    const auto w = static_cast<std::size_t>(r.width);
    const std::size_t count = w * static_cast<std::size_t>(n);
    // The left edge is xmin for both pictures (-1.6 for Julia).
    for (std::size_t k = 0; k < count; ++k) {
        const double col = static_cast<double>(k / static_cast<std::size_t>(n));
        s.xs[k] = r.xmin + r.dx * (col + sampleOffset(static_cast<int>(k % static_cast<std::size_t>(n)), n));
    }
    SpanInput in;
    in.maxIter = r.maxIter;
    in.xs = s.xs.data();
    in.y = r.ymax - r.dy * rowOffset;
    in.count = static_cast<std::int64_t>(count);
    in.julia = r.julia;
    in.juliaRe = r.juliaRe;
    in.juliaIm = r.juliaIm;
    std::uint64_t n0 = 0;
    escapeSpan(r.kernel, in, s.results.data(), &n0);
    iterations += n0;
    for (std::size_t k = 0; k < count; ++k) {
        const EscapeResult& e = s.results[k];
        s.data[k].nu = static_cast<float>(e.nu);
        s.data[k].distance = r.julia ? 0.0f : static_cast<float>(e.distance);
        s.data[k].trapDistance = r.julia ? 0.0f : static_cast<float>(e.trapDistance);
    }
    if (!r.julia) {
        colorRow(r.colour, s.data.data(), count, s.rgba.data());
        return;
    }
    for (std::size_t k = 0; k < count; ++k) s.nu[k] = s.data[k].nu;
    juliaColorRow(juliaColourParams(r, r.juliaCurve), s.nu.data(), count, s.rgba.data());
}

// Adds a line of samples to the pixels' sums of linear light (and of elevation for relief).
void accumulateLine(const RenderRequest& r, int n, SampleScratch& s) {
    const auto& linear = srgbTables().linear;
    const auto w = static_cast<std::size_t>(r.width);
    const auto per = static_cast<std::size_t>(n);
    if (r.relief) {
        s.elevation.clear();
        buildElevation(s.data.data(), w * per, r.maxIter, s.elevation);
    }
    for (std::size_t col = 0; col < w; ++col)
        for (std::size_t k = col * per; k < (col + 1) * per; ++k) {
            for (std::size_t c = 0; c < 3; ++c) s.sum[col * 3 + c] += linear[s.rgba[k * 4 + c]];
            if (r.relief) s.height[col] += s.elevation[k];
        }
}

void writeAverages(const RenderRequest& r, int n, const SampleScratch& s, std::uint8_t* rgba,
                   float* elevation) {
    const auto w = static_cast<std::size_t>(r.width);
    const double samples = static_cast<double>(n) * n;
    for (std::size_t col = 0; col < w; ++col) {
        for (std::size_t c = 0; c < 3; ++c) rgba[col * 4 + c] = linearToSrgb(s.sum[col * 3 + c] / samples);
        rgba[col * 4 + 3] = 255;
        if (elevation) elevation[col] = s.height[col] / static_cast<float>(samples);
    }
}

}  // namespace

double srgbToLinear(std::uint8_t v) { return srgbTables().linear[v]; }

std::uint8_t linearToSrgb(double linear) {
    const auto& mid = srgbTables().midpoint;
    return static_cast<std::uint8_t>(std::upper_bound(mid.begin(), mid.end(), linear) - mid.begin());
}

std::uint64_t renderSupersampled(const RenderRequest& r, int samplesPerSide, Frame& frame,
                                 std::atomic<int>* rowsDone) {
    const int n = samplesPerSide;
    if (n < 1 || n > kMaxSamplesPerSide) fatal("samples per side out of range");
    if (n == 1) return renderFrame(r, frame, rowsDone);
    frame.resize(r.width, r.height);
    frame.keptInputs.invalidate();
    std::fill(frame.data.begin(), frame.data.end(), PixelExtendedData{});
    frame.elevation.clear();
    if (r.width < 1 || r.height < 1) return 0;
    const auto w = static_cast<std::size_t>(r.width);
    if (r.relief) frame.elevation.assign(frame.pixelCount(), 0.0f);
    std::atomic<std::uint64_t> total{0};
    parallelFor(tbb::blocked_range<int>(0, r.height), [&](const tbb::blocked_range<int>& rows) {
        std::uint64_t iterations = 0;
        SampleScratch& s = sampleScratch(w * static_cast<std::size_t>(n), w);
        for (int row = rows.begin(); row != rows.end(); ++row) {
            std::fill_n(s.sum.begin(), w * 3, 0.0);
            std::fill_n(s.height.begin(), w, 0.0f);
            for (int t = 0; t < n; ++t) {
                sampleLine(r, n, row + sampleOffset(t, n), s, iterations);
                accumulateLine(r, n, s);
            }
            const std::size_t at = static_cast<std::size_t>(row) * w;
            writeAverages(r, n, s, frame.pixels.data() + at * 4,
                          r.relief ? frame.elevation.data() + at : nullptr);
            if (rowsDone) rowsDone->fetch_add(1, std::memory_order_relaxed);
        }
        total.fetch_add(iterations, std::memory_order_relaxed);
    });
    if (r.relief) {
        frame.reliefBase.resize(frame.pixels.size());  // made only for pictures lit by relief
        std::memcpy(frame.reliefBase.data(), frame.pixels.data(), frame.pixels.size());
        applyRelief(frame.pixels.data(), frame.elevation.data(), frame.width, frame.height,
                    r.light, r.colour.tuning);
    }
    return total.load();
}

}  // namespace gs
