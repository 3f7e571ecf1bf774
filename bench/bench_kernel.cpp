// Escape-time kernel throughput over three 1920x1080 scenes at the budget rule's ceiling:
//   A  home view
//   B  centre -0.743643887037151 + 0.131825904205330i, width 4e-6
//   C  same centre, width 4e-13
// Kernels: the scalar reference, the SIMD kernel, and the plain AVX-512 loop of plain_loop.h
// (no cycle detector). One-thread rows run on the calling thread and report CPU time; compare
// ratios within one run. Counters: Mpixel/s and Giter/s (iterations actually made).
#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>

#include <atomic>
#include <cstdio>
#include <vector>

#include "core/budget.h"
#include "core/kernel.h"
#include "plain_loop.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

enum Kind { kScalar, kSimd, kPlain };
const char* const kKindNames[] = {"scalar", "simd", "plain AVX-512"};

gs::Viewport scene(int which) {
    if (which == 0) return gs::kHomeView;
    const double cx = -0.743643887037151, cy = 0.131825904205330;
    const double w = which == 1 ? 4e-6 : 4e-13, h = w * 0.75;
    return {cx - w / 2, cx + w / 2, cy - h / 2, cy + h / 2};
}

std::uint64_t renderRowOf(const gs::Viewport& v, std::int32_t maxIter, int row, Kind kind) {
    thread_local std::vector<double> xs(kWidth);
    thread_local std::vector<gs::EscapeResult> out(kWidth);
    const double dx = v.width() / kWidth, dy = v.height() / kHeight;
    for (int i = 0; i < kWidth; ++i) xs[static_cast<std::size_t>(i)] = v.xmin + dx * i;
    const gs::SpanInput in{maxIter, xs.data(), v.ymax - dy * row, kWidth, false, 0, 0};
    if (kind == kPlain) return gs::bench::plainSpan(in, out.data());
    std::uint64_t n = 0;
    gs::escapeSpan(kind == kSimd ? gs::KernelKind::simd : gs::KernelKind::scalar, in, out.data(), &n);
    return n;
}

std::uint64_t renderScene(const gs::Viewport& v, Kind kind, bool parallel) {
    const auto maxIter = static_cast<std::int32_t>(gs::iterationCeiling(v));
    if (!parallel) {
        std::uint64_t n = 0;
        for (int row = 0; row < kHeight; ++row) n += renderRowOf(v, maxIter, row, kind);
        return n;
    }
    std::atomic<std::uint64_t> total{0};
    tbb::parallel_for(0, kHeight, [&](int row) {
        total.fetch_add(renderRowOf(v, maxIter, row, kind), std::memory_order_relaxed);
    });
    return total.load();
}

void BM_Kernel(benchmark::State& state) {
    const int which = static_cast<int>(state.range(0));
    const auto kind = static_cast<Kind>(state.range(1));
    const bool parallel = state.range(2) != 0;
    const int threads = parallel ? tbb::info::default_concurrency() : 1;
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                              static_cast<std::size_t>(threads));
    std::uint64_t iterations = 0;
    for (auto _ : state) iterations += renderScene(scene(which), kind, parallel);
    const double pixels = static_cast<double>(kWidth) * kHeight * static_cast<double>(state.iterations());
    state.counters["Mpixel/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
    state.counters["Giter/s"] =
        benchmark::Counter(static_cast<double>(iterations) / 1e9, benchmark::Counter::kIsRate);
    state.counters["Giter"] = static_cast<double>(iterations) / 1e9 / static_cast<double>(state.iterations());
    state.SetLabel(std::string("scene ") + "ABC"[which] + " " + kKindNames[kind] + " " +
                   (threads == 1 ? "1 thread" : std::to_string(threads) + " threads") +
                   (kind == kSimd ? " [" + gs::simdTargetName() + "]" : ""));
}

BENCHMARK(BM_Kernel)
    ->ArgsProduct({{0, 1, 2}, {kScalar, kSimd, kPlain}, {0}})
    ->ArgNames({"scene", "kernel", "allThreads"})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(BM_Kernel)
    ->ArgsProduct({{0, 1, 2}, {kSimd, kPlain}, {1}})
    ->ArgNames({"scene", "kernel", "allThreads"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
