// A whole picture as the command line renders it: `glimmerscape render --size 1920x1080` times
// exactly this (a fresh frame, every row computed and coloured on all cores), from the request
// to the finished frame, in wall-clock milliseconds. Like the command line, each run starts in
// a fresh process state: run the program several times and take the best, e.g.
//   for i in 1 2 3 4 5; do build/bench/bench_render; done
// The parts are reported as counters: `alloc` (the frame's buffers), `rows` (kernel and
// colouring), and `cpu`, the CPU time of all threads, in milliseconds: on a busy machine it
// is the fairer figure to compare.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <chrono>

#include "core/budget.h"
#include "core/frame.h"
#include "core/palette.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

gs::Viewport scene(int which) {
    if (which == 0) return gs::kHomeView;
    const double cx = -0.743643887037151, cy = 0.131825904205330;
    const double w = 4e-6, h = w * kHeight / kWidth;
    return {cx - w / 2, cx + w / 2, cy - h / 2, cy + h / 2};
}

// CPU time of the whole process (all threads), milliseconds.
double processCpuMs() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    const auto ms = [](const timeval& t) { return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_usec) * 1e-3; };
    return ms(u.ru_utime) + ms(u.ru_stime);
}

double msSince(std::chrono::steady_clock::time_point t) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t).count();
}

void BM_CommandLineRender(benchmark::State& state) {
    const int which = static_cast<int>(state.range(0));
    gs::SeededRandom rng(7);
    gs::ColourInputs colour;
    colour.table = std::make_shared<const gs::ColorTable>(gs::smoothPalette(rng));
    colour.light = gs::lightVector(-0.5, -0.5);
    double alloc = 0, rows = 0, cpu = 0;
    for (auto _ : state) {
        const double cpuStart = processCpuMs();
        const auto start = std::chrono::steady_clock::now();
        const gs::RenderRequest request = gs::mandelbrotRequest(scene(which), kWidth, kHeight, colour);
        gs::Frame frame;
        frame.resize(kWidth, kHeight);
        alloc = msSince(start);
        gs::renderFrame(request, frame);
        rows = msSince(start) - alloc;
        state.SetIterationTime(msSince(start) / 1000);
        cpu = processCpuMs() - cpuStart;
    }
    state.counters["alloc"] = alloc;
    state.counters["rows"] = rows;
    state.counters["cpu"] = cpu;  // all threads; on an idle machine the wall time is about half
    state.SetLabel(std::string("scene ") + "AB"[which] + ", 1920x1080, all cores");
}

BENCHMARK(BM_CommandLineRender)
    ->Arg(0)
    ->ArgName("scene")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
