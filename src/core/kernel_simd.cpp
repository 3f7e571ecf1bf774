// The SIMD escape-time kernel: the scalar kernel's exact arithmetic, one pixel per vector lane.
//
// A row span is walked by two independent groups of lanes (two groups keep the FMA pipes busy
// while each group waits on its own dependency chain). When a lane's point escapes or is proven
// interior, the lane is finished in scalar code (the logarithms and square roots of the escape,
// shared with the scalar kernel) and refilled with the next pixel of the row, so no vector
// waits on one slow point. Results are bit-identical to the scalar kernel on every target.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernel_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "core/kernel.h"
#include "core/kernel_step.h"

HWY_BEFORE_NAMESPACE();
namespace gs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;
using M = hn::Mask<D>;
constexpr std::size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);

// Fused multiply-add, one rounding, on every target. Targets without FMA instructions
// (SSSE3, SSE4, scalar) would otherwise round twice, so they fuse lane by lane in software.
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
#undef GS_NATIVE_FMA
#define GS_NATIVE_FMA 1
#else
#undef GS_NATIVE_FMA
#define GS_NATIVE_FMA 0
#endif

HWY_INLINE V Fma(V a, V b, V c) {
#if GS_NATIVE_FMA
    return hn::MulAdd(a, b, c);
#else
    const D d;
    alignas(64) double x[kMaxLanes], y[kMaxLanes], z[kMaxLanes];
    hn::Store(a, d, x);
    hn::Store(b, d, y);
    hn::Store(c, d, z);
    for (std::size_t i = 0; i < hn::Lanes(d); ++i) x[i] = std::fma(x[i], y[i], z[i]);
    return hn::Load(d, x);
#endif
}
HWY_INLINE V FmaSub(V a, V b, V c) { return Fma(a, b, hn::Neg(c)); }  // a*b - c
HWY_INLINE V NegFma(V a, V b, V c) { return Fma(hn::Neg(a), b, c); }  // -a*b + c
HWY_INLINE V Magnitude(V re, V im) { return hn::Sqrt(Fma(re, re, hn::Mul(im, im))); }
HWY_INLINE V Select(M m, V yes, V no) { return hn::IfThenElse(m, yes, no); }

// The per-lane state of one group, in the order the refill code spills and reloads it.
enum Slot {
    kZr, kZi, kDr, kDi, kTrap, kCr, kCi, kAr, kAi, kBr, kBi, kZcr, kZci, kStep, kNextCheckpoint,
    kSr, kSi, kTr, kTi, kCheckpoint, kPeriod, kLastMatch, kConfirmations, kR2, kActive,
    kSlotCount
};

struct Group {
    V v[kSlotCount];
    std::int64_t pixel[kMaxLanes];  // pixel index per lane, -1 when the lane is idle
    bool anyActive = false;
};

struct Span {
    const SpanInput* in;
    EscapeResult* out;
    std::int64_t next = 0;  // next pixel to hand to a lane
    std::uint64_t iterations = 0;
};

// Sets up one lane (in the spilled arrays) for the next pixel that needs iterating; pixels the
// interior shortcut settles are written directly. Returns false when the span is exhausted.
HWY_INLINE bool LoadLane(Span& s, double (*lane)[kMaxLanes], std::size_t l, std::int64_t& pixel) {
    const SpanInput& in = *s.in;
    while (s.next < in.count) {
        const std::int64_t i = s.next++;
        const double x = in.xs[i];
        double zr = 0.0, zi = 0.0, cr = x, ci = in.y;
        if (in.julia) {
            zr = x;
            zi = in.y;
            cr = in.juliaRe;
            ci = in.juliaIm;
        } else if (kernel::cardioidOrBulb(x, in.y)) {
            kernel::setInterior(s.out[i], in.maxIter);
            continue;
        }
        const double init[kSlotCount] = {
            zr, zi, 0.0, 0.0, std::numeric_limits<double>::infinity(), cr, ci, 1.0, 0.0, 1.0,
            0.0, zr, zi, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0};
        for (int slot = 0; slot < kSlotCount; ++slot) lane[slot][l] = init[slot];
        pixel = i;
        return true;
    }
    // Idle lane: a harmless fixed orbit, kept out of the cycle detector, never read.
    for (int slot = 0; slot < kSlotCount; ++slot) lane[slot][l] = 0.0;
    lane[kNextCheckpoint][l] = 1.0;
    pixel = -1;
    return false;
}

HWY_INLINE void FinishLane(Span& s, double (*lane)[kMaxLanes], std::size_t l, bool escaped,
                           std::int64_t pixel) {
    const std::int64_t k = static_cast<std::int64_t>(lane[kStep][l]);
    s.iterations += static_cast<std::uint64_t>(k);
    if (escaped)
        kernel::finishEscape(k, s.in->maxIter, lane[kR2][l], lane[kDr][l], lane[kDi][l],
                             lane[kTrap][l], s.out[pixel]);
    else
        kernel::setInterior(s.out[pixel], s.in->maxIter);
}

// Spills the group, finishes the lanes marked done, refills them, and reloads the group.
HWY_NOINLINE void Refill(Span& s, Group& g, M done, M escaped, bool initial) {
    const D d;
    const std::size_t n = hn::Lanes(d);
    alignas(64) double lane[kSlotCount][kMaxLanes];
    for (int slot = 0; slot < kSlotCount; ++slot) hn::Store(g.v[slot], d, lane[slot]);
    alignas(64) std::uint8_t doneBits[8] = {}, escapedBits[8] = {};
    hn::StoreMaskBits(d, done, doneBits);
    hn::StoreMaskBits(d, escaped, escapedBits);
    g.anyActive = false;
    for (std::size_t l = 0; l < n; ++l) {
        const bool isDone = initial || ((doneBits[l / 8] >> (l % 8)) & 1);
        if (isDone) {
            if (!initial && g.pixel[l] >= 0)
                FinishLane(s, lane, l, (escapedBits[l / 8] >> (l % 8)) & 1, g.pixel[l]);
            LoadLane(s, lane, l, g.pixel[l]);
        }
        g.anyActive = g.anyActive || g.pixel[l] >= 0;
    }
    for (int slot = 0; slot < kSlotCount; ++slot) g.v[slot] = hn::Load(d, lane[slot]);
}

// The cycle detector's match handling, for lanes whose new z came back close to the checkpoint.
// Returns the lanes proven interior.
HWY_INLINE M MatchStep(Group& g, M near) {
    const D d;
    const V one = hn::Set(d, 1.0), zero = hn::Zero(d);
    V* v = g.v;
    const M match = hn::And(near, hn::Lt(Magnitude(v[kAr], v[kAi]), one));
    if (hn::AllFalse(d, match)) return hn::FirstN(d, 0);

    const V floor = hn::Set(d, kernel::kToleranceFloor), rel = hn::Set(d, kernel::kRelativeTolerance);
    const V magT = Magnitude(v[kTr], v[kTi]), magS = Magnitude(v[kSr], v[kSi]);
    const V tolT = hn::Mul(rel, Select(hn::Gt(magT, floor), magT, floor));
    const V tolS = hn::Mul(rel, Select(hn::Gt(magS, floor), magS, floor));
    const M stable = hn::And(
        hn::Lt(Magnitude(v[kBr], v[kBi]), one),
        hn::And(hn::Lt(Magnitude(hn::Sub(v[kBr], v[kTr]), hn::Sub(v[kBi], v[kTi])), tolT),
                hn::Lt(Magnitude(hn::Sub(v[kBr], v[kSr]), hn::Sub(v[kBi], v[kSi])), tolS)));
    const M expected = hn::And(hn::Ne(v[kPeriod], zero),
                               hn::Eq(v[kStep], hn::Add(v[kLastMatch], v[kPeriod])));
    const M confirmed = hn::And(match, hn::And(expected, stable));
    const M interior = hn::And(confirmed, hn::Gt(v[kConfirmations], one));
    const M confirm = hn::AndNot(interior, confirmed);
    const M first = hn::AndNot(confirmed, match);

    v[kConfirmations] =
        Select(confirm, hn::Add(v[kConfirmations], one), Select(first, zero, v[kConfirmations]));
    v[kTr] = Select(confirm, v[kBr], Select(first, v[kAr], v[kTr]));
    v[kTi] = Select(confirm, v[kBi], Select(first, v[kAi], v[kTi]));
    v[kSr] = Select(first, v[kAr], v[kSr]);
    v[kSi] = Select(first, v[kAi], v[kSi]);
    v[kPeriod] = Select(first, hn::Sub(v[kStep], v[kCheckpoint]), v[kPeriod]);
    const M reset = hn::Or(confirm, first);
    v[kBr] = Select(reset, one, v[kBr]);
    v[kBi] = Select(reset, zero, v[kBi]);
    v[kLastMatch] = Select(reset, v[kStep], v[kLastMatch]);
    return interior;
}

HWY_INLINE void Checkpoint(Group& g, V nzr, V nzi) {
    const D d;
    V* v = g.v;
    const M at = hn::Eq(v[kStep], v[kNextCheckpoint]);
    if (hn::AllFalse(d, at)) return;
    v[kZcr] = Select(at, nzr, v[kZcr]);
    v[kZci] = Select(at, nzi, v[kZci]);
    v[kCheckpoint] = Select(at, v[kStep], v[kCheckpoint]);
    v[kAr] = Select(at, hn::Set(d, 1.0), v[kAr]);
    v[kAi] = Select(at, hn::Zero(d), v[kAi]);
    v[kPeriod] = Select(at, hn::Zero(d), v[kPeriod]);
    v[kNextCheckpoint] = Select(at, hn::Add(v[kNextCheckpoint], v[kNextCheckpoint]),
                                v[kNextCheckpoint]);
}

// One step of every lane of the group; lanes that finished are finished and refilled.
HWY_INLINE void Step(Span& s, Group& g, V maxIter) {
    const D d;
    const V one = hn::Set(d, 1.0), two = hn::Set(d, 2.0);
    V* v = g.v;
    v[kStep] = hn::Add(v[kStep], one);
    const V zr = v[kZr], zi = v[kZi], dr = v[kDr], di = v[kDi];

    const V nzr = Fma(zr, zr, NegFma(zi, zi, v[kCr]));
    const V nzi = Fma(hn::Add(zr, zr), zi, v[kCi]);
    v[kDr] = Fma(two, FmaSub(zr, dr, hn::Mul(zi, di)), one);
    v[kDi] = hn::Mul(two, Fma(zr, di, hn::Mul(zi, dr)));

    const V absRe = hn::Abs(nzr), absIm = hn::Abs(nzi);
    const V nearAxis = Select(hn::Lt(absIm, absRe), absIm, absRe);
    v[kTrap] = Select(hn::Lt(nearAxis, v[kTrap]), nearAxis, v[kTrap]);

    v[kR2] = Fma(nzr, nzr, hn::Mul(nzi, nzi));
    const M escaped = hn::Ge(v[kR2], hn::Set(d, kernel::kBailout));

    const V twoRe = hn::Add(zr, zr), twoIm = hn::Add(zi, zi);
    const V ar = v[kAr], ai = v[kAi], br = v[kBr], bi = v[kBi];
    v[kAr] = FmaSub(ar, twoRe, hn::Mul(ai, twoIm));
    v[kAi] = Fma(ar, twoIm, hn::Mul(ai, twoRe));
    v[kBr] = FmaSub(br, twoRe, hn::Mul(bi, twoIm));
    v[kBi] = Fma(br, twoIm, hn::Mul(bi, twoRe));

    const V ddr = hn::Sub(nzr, v[kZcr]), ddi = hn::Sub(nzi, v[kZci]);
    const M near = hn::AndNot(
        escaped, hn::And(hn::Lt(Fma(ddr, ddr, hn::Mul(ddi, ddi)), hn::Set(d, kernel::kCloseness)),
                         hn::Eq(v[kActive], one)));
    M interior = hn::FirstN(d, 0);
    if (!hn::AllFalse(d, near)) interior = MatchStep(g, near);
    Checkpoint(g, nzr, nzi);
    v[kZr] = nzr;
    v[kZi] = nzi;

    const M done = hn::Or(escaped, hn::Or(interior, hn::Eq(v[kStep], maxIter)));
    if (!hn::AllFalse(d, done)) Refill(s, g, done, escaped, false);
}

void EscapeSpanImpl(const SpanInput& in, EscapeResult* out, std::uint64_t* iterations) {
    if (in.count <= 0) return;
    Span s{&in, out};
    if (in.maxIter < 1) {
        // No iteration at all: every pixel (shortcut or not) is the interior result.
        for (std::int64_t i = 0; i < in.count; ++i) kernel::setInterior(out[i], in.maxIter);
        return;
    }
    const D d;
    const V maxIter = hn::Set(d, static_cast<double>(in.maxIter));
    const M none = hn::FirstN(d, 0);
    Group a, b;
    Refill(s, a, none, none, true);
    Refill(s, b, none, none, true);
    while (a.anyActive && b.anyActive) {
        Step(s, a, maxIter);
        Step(s, b, maxIter);
    }
    while (a.anyActive) Step(s, a, maxIter);
    while (b.anyActive) Step(s, b, maxIter);
    if (iterations) *iterations += s.iterations;
}

}  // namespace HWY_NAMESPACE
}  // namespace gs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace gs {
HWY_EXPORT(EscapeSpanImpl);

void escapeSpanSimd(const SpanInput& in, EscapeResult* out, std::uint64_t* iterations) {
    HWY_DYNAMIC_DISPATCH(EscapeSpanImpl)(in, out, iterations);
}

namespace detail {
std::int64_t compiledTargets() { return HWY_TARGETS & hwy::SupportedTargets(); }

std::string targetName(std::int64_t target) { return hwy::TargetName(target); }

bool escapeSpanOnTarget(std::int64_t target, const SpanInput& in, EscapeResult* out) {
    if ((compiledTargets() & target) == 0) return false;
    hwy::SetSupportedTargetsForTest(target);
    HWY_DYNAMIC_DISPATCH(EscapeSpanImpl)(in, out, nullptr);
    hwy::SetSupportedTargetsForTest(0);
    return true;
}
}  // namespace detail

std::string simdTargetName() {
    // Highway prefers the lowest set bit: the most capable target this CPU runs.
    const std::int64_t targets = detail::compiledTargets();
    return targets ? hwy::TargetName(targets & -targets) : "none";
}
}  // namespace gs
#endif
