// Escape-time kernel: smooth count, distance estimate and orbit-trap distance for one point.
//
// Two implementations give bit-identical results:
//  - the scalar entry points below, the reference;
//  - the SIMD span kernels (kernel_simd.cpp), compiled for every x86-64 target Highway offers
//    and chosen at run time, which walk a row of pixels with vector lanes refilled as their
//    points finish.
// Everything here is pure: no allocation, no shared state, callable from any thread.
#pragma once

#include <bit>
#include <cstdint>
#include <string>

namespace gs {

struct EscapeResult {
    double nu = 0;            // smooth iteration count, or maxIter when taken as interior
    double distance = 0;      // exterior distance estimate; 0 for interior or overflowed derivative
    double trapDistance = 0;  // min over the orbit of min(|Re z|, |Im z|); 0 for interior
};

inline bool operator==(const EscapeResult& a, const EscapeResult& b) {
    // Bitwise equality (NaN never occurs in a result; -0 and +0 are told apart on purpose).
    auto bits = [](double v) { return std::bit_cast<std::uint64_t>(v); };
    return bits(a.nu) == bits(b.nu) && bits(a.distance) == bits(b.distance) &&
           bits(a.trapDistance) == bits(b.trapDistance);
}

// Scalar entry points. maxIter < 1 gives the interior result (maxIter, 0, 0) at once.
void iterateOrbit(std::int32_t maxIter, EscapeResult& out, double cRe, double cIm, double z0Re,
                  double z0Im);
// Cardioid and period-2 bulb shortcut on c (applied whatever z0 is), then iterateOrbit.
void mandelbrotPoint(std::int32_t maxIter, EscapeResult& out, double cRe, double cIm, double z0Re,
                     double z0Im);
// z is the starting point (the pixel), c the Julia parameter.
void juliaPoint(std::int32_t maxIter, EscapeResult& out, double zRe, double zIm, double cRe,
                double cIm);
void mandelbrotPointPair(std::int32_t maxIter, EscapeResult& out1, EscapeResult& out2, double c1Re,
                         double c1Im, double c2Re, double c2Im, double z0Re, double z0Im);
void juliaPointPair(std::int32_t maxIter, EscapeResult& out1, EscapeResult& out2, double z1Re,
                    double z1Im, double z2Re, double z2Im, double cRe, double cIm);

// True when c lies strictly inside the main cardioid or the period-2 bulb.
bool inInteriorShortcut(double x, double y);

// Which implementation walks the rows.
enum class KernelKind { scalar, simd };

// A row span: count pixels at x = xs[i] on the line Im = y.
//  Mandelbrot: c = (xs[i], y), z0 = 0, with the interior shortcut.
//  Julia:      z0 = (xs[i], y), c = juliaC.
struct SpanInput {
    std::int32_t maxIter = 0;
    const double* xs = nullptr;
    double y = 0;
    std::int64_t count = 0;
    bool julia = false;
    double juliaRe = 0, juliaIm = 0;
};

// Same results as calling the scalar entry points pixel by pixel, through the best SIMD target
// of this CPU. Also reports the number of iterations actually made (for benchmarks).
void escapeSpanSimd(const SpanInput& in, EscapeResult* out, std::uint64_t* iterations = nullptr);
// The scalar reference over a span, pixel by pixel.
void escapeSpanScalar(const SpanInput& in, EscapeResult* out, std::uint64_t* iterations = nullptr);
void escapeSpan(KernelKind kind, const SpanInput& in, EscapeResult* out,
                std::uint64_t* iterations = nullptr);

// Names of the SIMD targets compiled in and the one this CPU would run.
std::string simdTargetName();

namespace detail {
// For tests: run the span kernel on a specific compiled target (a Highway target bit), with
// every due cycle confirmation replayed exactly when asked (never decided on an estimate).
// Returns false when that target was not compiled or this CPU cannot run it.
bool escapeSpanOnTarget(std::int64_t target, const SpanInput& in, EscapeResult* out,
                        bool replayConfirmations = false);
// Highway target bits compiled into this build that this CPU supports.
std::int64_t compiledTargets();
std::string targetName(std::int64_t target);
}  // namespace detail

}  // namespace gs
