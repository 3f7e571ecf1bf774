// Recolouring and relief timings on realistic data: the escape data of the home view computed
// by the SIMD escape kernel (bit-identical to the scalar one) at the full picture size, ceiling
// 255, with a seeded smooth palette and default tuning. Times are milliseconds per frame, wall
// clock; "fallback" is the share of pixels the fast colouring handed to colorPixel.
#include <benchmark/benchmark.h>

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "core/budget.h"
#include "core/frame.h"
#include "core/kernel.h"
#include "core/palette.h"
#include "core/shading.h"

namespace {

constexpr std::int32_t kMaxIter = 255;

struct Picture {
    int width = 0, height = 0;
    std::vector<gs::PixelExtendedData> data;
    std::vector<std::uint8_t> pixels;
    gs::PictureBuffer<float> elevation;
};

template <class Fn>
void forRows(int height, Fn fn) {
    tbb::parallel_for(tbb::blocked_range<int>(0, height), [&](const tbb::blocked_range<int>& r) {
        for (int row = r.begin(); row != r.end(); ++row) fn(row);
    });
}

Picture makePicture(int width, int height) {
    Picture p{width, height, {}, {}, {}};
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    p.data.resize(count);
    p.pixels.assign(count * 4, 0);
    const gs::Viewport v = gs::kHomeView;
    forRows(height, [&](int row) {
        std::vector<double> xs(static_cast<std::size_t>(width));
        for (int i = 0; i < width; ++i)
            xs[static_cast<std::size_t>(i)] = v.xmin + v.width() / width * i;
        std::vector<gs::EscapeResult> out(xs.size());
        gs::SpanInput in{kMaxIter, xs.data(), v.ymax - v.height() / height * row, width, false,
                         0,        0};
        gs::escapeSpanSimd(in, out.data());
        for (std::size_t i = 0; i < xs.size(); ++i) {
            auto& d = p.data[static_cast<std::size_t>(row) * xs.size() + i];
            d = {static_cast<float>(out[i].nu), static_cast<float>(out[i].distance),
                 static_cast<float>(out[i].trapDistance)};
        }
    });
    return p;
}

Picture& picture(int width, int height) {
    static std::map<std::pair<int, int>, Picture> cache;
    auto it = cache.find({width, height});
    if (it == cache.end())
        it = cache.emplace(std::make_pair(width, height), makePicture(width, height)).first;
    return it->second;
}

const gs::ColorTable& palette() {
    static const gs::ColorTable table = [] {
        gs::SeededRandom rng(7);
        return gs::smoothPalette(rng);
    }();
    return table;
}

gs::ColorParams params(int width, bool shaded) {
    gs::ColorParams p;
    p.maxIter = kMaxIter;
    p.logMaxIter = std::log(kMaxIter + 1.0);
    p.table = palette().data();
    p.tableSize = palette().size();
    p.pixelSize = gs::pixelSizeFor(gs::kHomeView, width);
    p.dem = p.glow = p.traps = shaded;
    return p;
}

// The thread count is the last argument; 0 means all the cores TBB sees.
int threadsFor(const benchmark::State& state, int argument) {
    const auto n = static_cast<int>(state.range(argument));
    return n == 0 ? tbb::info::default_concurrency() : n;
}

// The share of pixels handed to colorPixel over all iterations, and the thread count.
void countFallback(benchmark::State& state, std::int64_t redone, std::size_t pixelsPerFrame, int threads) {
    const double pixels = static_cast<double>(state.iterations()) * static_cast<double>(pixelsPerFrame);
    state.counters["fallback"] = static_cast<double>(redone) / pixels;
    state.counters["threads"] = threads;
}

// Arguments: width, height, shaded (0/1), threads (0: all). With `kept`, colours from kept
// inputs (made once, before timing) with the cycle offset moving by one animation tick each
// time: the palette animation's recolour.
void recolour(benchmark::State& state, bool kept) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    Picture& pic = picture(w, h);
    gs::ColorParams p = params(w, state.range(2) != 0);
    const int threads = threadsFor(state, 3);
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                              static_cast<std::size_t>(threads));
    const auto row = static_cast<std::size_t>(w);
    gs::KeptColourInputs inputs;
    if (kept) {
        inputs.prepare(gs::colourInputKey(p), pic.data.size());
        forRows(h, [&](int r) {
            const std::size_t at = static_cast<std::size_t>(r) * row;
            gs::colorRowKeeping(p, pic.data.data() + at, row, inputs.row(at), pic.pixels.data() + at * 4);
        });
    }
    std::atomic<std::int64_t> redone{0};
    for (auto _ : state) {
        if (kept) p.cycleOffset = std::fmod(p.cycleOffset + 0.004, 1.0);
        forRows(h, [&](int r) {
            const std::size_t at = static_cast<std::size_t>(r) * row;
            const gs::PixelExtendedData* data = pic.data.data() + at;
            std::uint8_t* out = pic.pixels.data() + at * 4;
            redone += kept ? gs::colorRowFromInputs(p, data, row, inputs.row(at), out)
                           : gs::detail::colorRowCounted(p, data, row, out);
        });
        benchmark::ClobberMemory();
    }
    countFallback(state, redone.load(), pic.data.size(), threads);
}

void BM_Recolour(benchmark::State& state) { recolour(state, false); }
void BM_RecolourKept(benchmark::State& state) { recolour(state, true); }

// Arguments: width, height, threads (0: all). Lights the unlit home view again and again (the
// cost does not depend on the colours).
void BM_Relief(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    Picture& pic = picture(w, h);
    const gs::ColorParams p = params(w, false);
    forRows(h, [&](int r) {
        const std::size_t at = static_cast<std::size_t>(r) * static_cast<std::size_t>(w);
        gs::colorRow(p, pic.data.data() + at, static_cast<std::size_t>(w),
                     pic.pixels.data() + at * 4);
    });
    pic.elevation.clear();
    gs::buildElevation(pic.data.data(), pic.data.size(), kMaxIter, pic.elevation);
    const gs::ReliefLight light = gs::lightVector(-0.5, -0.5);
    const int threads = threadsFor(state, 2);
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                              static_cast<std::size_t>(threads));
    for (auto _ : state) {
        gs::applyRelief(pic.pixels.data(), pic.elevation.data(), w, h, light, gs::ShadingTuning{});
        benchmark::ClobberMemory();
    }
    state.counters["threads"] = threads;
}

// Arguments: width, height, threads (0: all).
void BM_Elevation(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    Picture& pic = picture(w, h);
    const int threads = threadsFor(state, 2);
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                              static_cast<std::size_t>(threads));
    for (auto _ : state) {
        pic.elevation.clear();
        gs::buildElevation(pic.data.data(), pic.data.size(), kMaxIter, pic.elevation);
        benchmark::ClobberMemory();
    }
    state.counters["threads"] = threads;
}

// Both picture sizes, one thread and all threads; recolouring also without and with traps,
// glow and edges.
void sizes(benchmark::internal::Benchmark* b, bool shadedAxis) {
    for (auto [w, h] : {std::pair{1920, 1080}, std::pair{3840, 2160}})
        for (int shaded : {0, 1})
            for (int threads : {1, 0}) {
                if (shadedAxis)
                    b->Args({w, h, shaded, threads});
                else if (shaded == 0)
                    b->Args({w, h, threads});
            }
    if (shadedAxis)
        b->ArgNames({"w", "h", "shaded", "threads"});
    else
        b->ArgNames({"w", "h", "threads"});
    b->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(BM_Recolour)->Apply([](benchmark::internal::Benchmark* b) { sizes(b, true); });
BENCHMARK(BM_RecolourKept)->Apply([](benchmark::internal::Benchmark* b) { sizes(b, true); });
BENCHMARK(BM_Relief)->Apply([](benchmark::internal::Benchmark* b) { sizes(b, false); });
BENCHMARK(BM_Elevation)->Apply([](benchmark::internal::Benchmark* b) { sizes(b, false); });

}  // namespace

BENCHMARK_MAIN();
