// Escape-time kernel throughput: Mpixel/s and iterations/s (iterations actually made) of the
// scalar and SIMD kernels, on one thread and on all threads, over three 1920x1080 scenes at the
// budget rule's ceiling:
//   A  home view
//   B  centre -0.743643887037151 + 0.131825904205330i, width 4e-6
//   C  same centre, width 4e-13
#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>

#include <atomic>
#include <vector>

#include "core/budget.h"
#include "core/kernel.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

gs::Viewport scene(int which) {
    if (which == 0) return gs::kHomeView;
    const double cx = -0.743643887037151, cy = 0.131825904205330;
    const double w = which == 1 ? 4e-6 : 4e-13, h = w * 0.75;
    return {cx - w / 2, cx + w / 2, cy - h / 2, cy + h / 2};
}

std::uint64_t renderScene(const gs::Viewport& v, gs::KernelKind kind) {
    const auto maxIter = static_cast<std::int32_t>(gs::iterationCeiling(v));
    const double dx = v.width() / kWidth, dy = v.height() / kHeight;
    std::atomic<std::uint64_t> total{0};
    tbb::parallel_for(0, kHeight, [&](int row) {
        thread_local std::vector<double> xs(kWidth);
        thread_local std::vector<gs::EscapeResult> out(kWidth);
        for (int i = 0; i < kWidth; ++i) xs[static_cast<std::size_t>(i)] = v.xmin + dx * i;
        const gs::SpanInput in{maxIter, xs.data(), v.ymax - dy * row, kWidth, false, 0, 0};
        std::uint64_t n = 0;
        gs::escapeSpan(kind, in, out.data(), &n);
        total.fetch_add(n, std::memory_order_relaxed);
    });
    return total.load();
}

void BM_Kernel(benchmark::State& state) {
    const int which = static_cast<int>(state.range(0));
    const auto kind = state.range(1) ? gs::KernelKind::simd : gs::KernelKind::scalar;
    const int threads = state.range(2) ? tbb::info::default_concurrency() : 1;
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                              static_cast<std::size_t>(threads));
    std::uint64_t iterations = 0;
    for (auto _ : state) iterations += renderScene(scene(which), kind);
    const double pixels = static_cast<double>(kWidth) * kHeight * static_cast<double>(state.iterations());
    state.counters["Mpixel/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
    state.counters["Giter/s"] =
        benchmark::Counter(static_cast<double>(iterations) / 1e9, benchmark::Counter::kIsRate);
    state.counters["ceiling"] = static_cast<double>(gs::iterationCeiling(scene(which)));
    state.SetLabel(std::string("scene ") + "ABC"[which] + (kind == gs::KernelKind::simd ? " simd " : " scalar ") +
                   (threads == 1 ? "1 thread" : std::to_string(threads) + " threads") +
                   (kind == gs::KernelKind::simd ? " [" + gs::simdTargetName() + "]" : ""));
}

BENCHMARK(BM_Kernel)
    ->ArgsProduct({{0, 1, 2}, {0, 1}, {0, 1}})
    ->ArgNames({"scene", "simd", "allThreads"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
