// Sound mode's two costs. The analysis of one microphone buffer (on the audio thread; one
// buffer of 2048 frames arrives every 43 ms at 48 kHz, target under 0.2 ms of one core): CPU
// time per buffer of music-like test audio (a chord with noise) at 512, 2048 and 4096 frames.
// And a sound tick's recolour (the colour shift, glow intensity and relief drama change on
// every tick, 30 a second): the home view computed once at 1920 x 1080, then per tick the
// mapping step and a recolour from the kept colouring inputs with the relief lit again;
// "ticks_per_s" is how many such ticks the machine could run (wall clock), which must stay
// above 30; on a busy machine the CPU time per tick (33 ms at most) is the fairer figure.
#include <benchmark/benchmark.h>

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "core/budget.h"
#include "core/frame.h"
#include "core/palette.h"
#include "sound/sound_analysis.h"
#include "sound/sound_mapping.h"

namespace {

std::vector<float> chord(std::size_t frames) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> noise(-0.05, 0.05);
    std::vector<float> v(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        const double t = static_cast<double>(i) / 48000;
        v[i] = static_cast<float>(0.3 * std::sin(2 * std::numbers::pi * 110 * t) +
                                  0.2 * std::sin(2 * std::numbers::pi * 440 * t) +
                                  0.1 * std::sin(2 * std::numbers::pi * 3000 * t) + noise(rng));
    }
    return v;
}

// Argument: frames per buffer.
void BM_SoundAnalysis(benchmark::State& state) {
    const std::vector<float> buffer = chord(static_cast<std::size_t>(state.range(0)));
    gs::SoundAnalysis analysis;
    for (auto _ : state) {
        auto metrics = analysis.analyze(buffer.data(), buffer.size(), 48000);
        benchmark::DoNotOptimize(metrics);
    }
    state.SetItemsProcessed(state.iterations());
}

// A beat every fourth tick with a sung note and bright treble, quieter in between.
gs::SoundMetrics beat(std::int64_t tick) {
    if (tick % 4 == 0) return {1.0, 440.0, 0.9, 1.0};
    return {0.3, 220.0, 0.2, 0.1};
}

// Arguments: all four shadings (1) or glow and relief only (0), threads (0: all).
void BM_SoundTick(benchmark::State& state) {
    const int threads = state.range(1) == 0 ? tbb::info::default_concurrency() : static_cast<int>(state.range(1));
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads));
    gs::SeededRandom rng(7);
    gs::ColourInputs colour;
    colour.table = std::make_shared<const gs::ColorTable>(gs::smoothPalette(rng));
    colour.glow = colour.relief = true;
    colour.traps = colour.dem = state.range(0) != 0;
    colour.light = gs::lightVector(-0.5, -0.5);
    gs::Frame frame;
    gs::renderFrame(gs::mandelbrotRequest(gs::kHomeView, 1920, 1080, colour), frame);
    gs::recolorFrame(gs::mandelbrotRequest(gs::kHomeView, 1920, 1080, colour), frame, true);
    gs::SoundState sound;
    std::int64_t tick = 0;
    for (auto _ : state) {
        sound = gs::soundTick(sound, beat(tick++), gs::SoundTuning{}, 1.0 / 30);
        gs::applySoundState(sound, colour);
        gs::recolorFrame(gs::mandelbrotRequest(gs::kHomeView, 1920, 1080, colour), frame, true);
        benchmark::ClobberMemory();
    }
    state.counters["ticks_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["threads"] = threads;
    state.counters["kept"] = frame.keptInputs.key.has_value();  // 1: the ticks used kept inputs
}

BENCHMARK(BM_SoundAnalysis)->ArgName("frames")->Arg(512)->Arg(2048)->Arg(4096)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SoundTick)
    ->ArgNames({"all_shadings", "threads"})
    ->Args({0, 1})
    ->Args({0, 0})
    ->Args({1, 1})
    ->Args({1, 0})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

}  // namespace

BENCHMARK_MAIN();
