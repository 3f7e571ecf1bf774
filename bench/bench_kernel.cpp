// Escape-time kernel throughput over three 1920x1080 scenes (square pixels) at the budget rule's
// ceiling:
//   A  home view (ceiling 255)
//   B  centre -0.743643887037151 + 0.131825904205330i, width 4e-6 (ceiling 2248)
//   C  same centre, width 4e-13 (ceiling 4573)
// Kernels: the scalar reference, the SIMD kernel, and the plain AVX-512 loop of plain_loop.h
// (no cycle detector), which is checked against the SIMD kernel before anything is timed.
// One-thread rows run on the calling thread and report CPU time; all-thread rows report wall
// time. Compare ratios within one run. Counters:
//   Giter       iterations actually made (per picture)
//   ns/pixel    time per pixel
//   cycles/vstep  CPU cycles per vector step (8 iterations), at the clock measured at start
//   cpu ms      (all-thread rows) CPU time of all threads: on a busy machine the wall time
//               says little, this says whether the rows split without waste
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>

#include <atomic>
#include <cstdio>
#include <ctime>
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
    const double w = which == 1 ? 4e-6 : 4e-13, h = w * kHeight / kWidth;
    return {cx - w / 2, cx + w / 2, cy - h / 2, cy + h / 2};
}

std::int32_t ceilingOf(const gs::Viewport& v) {
    return static_cast<std::int32_t>(gs::iterationCeiling(v));
}

std::uint64_t renderRowOf(const gs::Viewport& v, int row, Kind kind, gs::EscapeResult* out) {
    thread_local std::vector<double> xs(kWidth);
    const double dx = v.width() / kWidth, dy = v.height() / kHeight;
    for (int i = 0; i < kWidth; ++i) xs[static_cast<std::size_t>(i)] = v.xmin + dx * i;
    const gs::SpanInput in{ceilingOf(v), xs.data(), v.ymax - dy * row, kWidth, false, 0, 0};
    if (kind == kPlain) return gs::bench::plainSpan(in, out);
    std::uint64_t n = 0;
    gs::escapeSpan(kind == kSimd ? gs::KernelKind::simd : gs::KernelKind::scalar, in, out, &n);
    return n;
}

std::uint64_t renderScene(const gs::Viewport& v, Kind kind, bool parallel) {
    thread_local std::vector<gs::EscapeResult> out(kWidth);
    if (!parallel) {
        std::uint64_t n = 0;
        for (int row = 0; row < kHeight; ++row) n += renderRowOf(v, row, kind, out.data());
        return n;
    }
    std::atomic<std::uint64_t> total{0};
    tbb::parallel_for(0, kHeight, [&](int row) {
        thread_local std::vector<gs::EscapeResult> rowOut(kWidth);
        total.fetch_add(renderRowOf(v, row, kind, rowOut.data()), std::memory_order_relaxed);
    });
    return total.load();
}

// The clock of this core, from a chain of dependent additions (one a cycle).
double measureGHz() {
    const auto cpuSeconds = [] {
        timespec t{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
    };
    double best = 0;
    for (int run = 0; run < 5; ++run) {
        std::uint64_t x = 0;
        constexpr std::uint64_t kAdds = 200'000'000;
        const double start = cpuSeconds();
        for (std::uint64_t i = 0; i < kAdds / 4; ++i)
            asm volatile("add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0" : "+r"(x));
        best = std::max(best, static_cast<double>(kAdds) / (cpuSeconds() - start) / 1e9);
    }
    return best;
}

const double kGHz = measureGHz();

// The plain loop must compute what the kernel computes wherever the kernel sees an escape.
bool plainLoopAgrees() {
    std::vector<gs::EscapeResult> simd(kWidth), plain(kWidth);
    for (int which = 0; which < 3; ++which) {
        for (int row = 0; row < kHeight; row += 97) {
            renderRowOf(scene(which), row, kSimd, simd.data());
            renderRowOf(scene(which), row, kPlain, plain.data());
            for (int i = 0; i < kWidth; ++i) {
                const auto at = static_cast<std::size_t>(i);
                if (simd[at].nu != ceilingOf(scene(which)) && !(simd[at] == plain[at])) return false;
            }
        }
    }
    return true;
}

// CPU time of all the process's threads, seconds.
double processCpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    const auto sec = [](const timeval& t) { return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6; };
    return sec(u.ru_utime) + sec(u.ru_stime);
}

double nowSeconds(bool cpu) {
    timespec t{};
    clock_gettime(cpu ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

void BM_Kernel(benchmark::State& state) {
    const int which = static_cast<int>(state.range(0));
    const auto kind = static_cast<Kind>(state.range(1));
    const bool parallel = state.range(2) != 0;
    const int threads = parallel ? tbb::info::default_concurrency() : 1;
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                              static_cast<std::size_t>(threads));
    std::uint64_t iterations = 0;
    double seconds = 0, cpu = 0;
    for (auto _ : state) {
        const double start = nowSeconds(!parallel), cpuStart = processCpuSeconds();
        iterations += renderScene(scene(which), kind, parallel);
        seconds += nowSeconds(!parallel) - start;
        cpu += processCpuSeconds() - cpuStart;
    }
    const auto runs = static_cast<double>(state.iterations());
    state.counters["Giter"] = static_cast<double>(iterations) / 1e9 / runs;
    state.counters["ns/pixel"] = seconds * 1e9 / (static_cast<double>(kWidth) * kHeight * runs);
    if (!parallel)
        state.counters["cycles/vstep"] = seconds * kGHz * 1e9 / (static_cast<double>(iterations) / 8);
    else  // all threads' CPU: against the one-thread time it shows what splitting the rows costs
        state.counters["cpu ms"] = cpu * 1e3 / runs;
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

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    std::printf("clock %.2f GHz; plain loop %s the SIMD kernel's escapes\n", kGHz,
                plainLoopAgrees() ? "agrees with" : "DISAGREES with");
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
