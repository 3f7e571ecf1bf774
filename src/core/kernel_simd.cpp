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
#if GS_NATIVE_FMA
HWY_INLINE V FmaSub(V a, V b, V c) { return hn::MulSub(a, b, c); }     // a*b - c
HWY_INLINE V NegFma(V a, V b, V c) { return hn::NegMulAdd(a, b, c); }  // -a*b + c
#else
HWY_INLINE V FmaSub(V a, V b, V c) { return Fma(a, b, hn::Neg(c)); }
HWY_INLINE V NegFma(V a, V b, V c) { return Fma(hn::Neg(a), b, c); }
#endif
// min(|a|, |b|): one VRANGEPD on AVX-512, else two absolute values and a minimum.
HWY_INLINE V MinAbs(V a, V b) {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    return V{_mm512_range_pd(a.raw, b.raw, 0x0A)};  // min of magnitudes, sign cleared
#else
    return hn::Min(hn::Abs(a), hn::Abs(b));
#endif
}
HWY_INLINE V Magnitude(V re, V im) { return hn::Sqrt(Fma(re, re, hn::Mul(im, im))); }
HWY_INLINE V Select(M m, V yes, V no) { return hn::IfThenElse(m, yes, no); }

// The per-lane state of one group as the refill code spills and reloads it. The first slots
// are the hot state, kept in registers by the step loop; the rest changes only on a match or a
// checkpoint and stays in memory.
enum Slot {
    kZr, kZi, kDr, kDi, kTrap, kAr, kAi, kBr, kBi, kStep, kR2, kCr, kCi, kZcr, kZci, kNextEvent,
    kHotCount,
    kSr = kHotCount, kSi, kTr, kTi, kCheckpoint, kNextCheckpoint, kPeriod, kLastMatch,
    kConfirmations, kSlotCount
};

// Hot lane state, as local vectors: never address-taken, so the compiler keeps it in registers.
struct Hot {
    V zr, zi, dr, di, trap, ar, ai, br, bi, step, r2, cr, ci, zcr, zci, nextEvent;
};

struct Group {
    alignas(64) double lane[kSlotCount][kMaxLanes];  // spilled state, lane by lane
    std::int64_t pixel[kMaxLanes];                   // pixel per lane, -1 when idle
    bool anyActive = false;
};

struct Span {
    const SpanInput* in;
    EscapeResult* out;
    std::int64_t next = 0;  // next pixel to hand to a lane
    std::uint64_t iterations = 0;
};

#define GS_HOT_FIELDS(X) \
    X(zr, kZr) X(zi, kZi) X(dr, kDr) X(di, kDi) X(trap, kTrap) X(ar, kAr) X(ai, kAi) X(br, kBr) \
    X(bi, kBi) X(step, kStep) X(r2, kR2) X(cr, kCr) X(ci, kCi) X(zcr, kZcr) X(zci, kZci)      \
    X(nextEvent, kNextEvent)

HWY_INLINE void Spill(const Hot& h, Group& g) {
    const D d;
#define GS_STORE(field, slot) hn::Store(h.field, d, g.lane[slot]);
    GS_HOT_FIELDS(GS_STORE)
#undef GS_STORE
}

HWY_INLINE Hot Reload(const Group& g) {
    const D d;
    Hot h;
#define GS_LOAD(field, slot) h.field = hn::Load(d, g.lane[slot]);
    GS_HOT_FIELDS(GS_LOAD)
#undef GS_LOAD
    return h;
}

HWY_INLINE V Cold(const Group& g, Slot slot) { return hn::Load(D(), g.lane[slot]); }
HWY_INLINE void SetCold(Group& g, Slot slot, V v) { hn::Store(v, D(), g.lane[slot]); }

// Sets up lane l for the next pixel that needs iterating; pixels the interior shortcut settles
// are written directly. An exhausted span leaves the lane idle: a fixed orbit that never
// reaches a checkpoint and so never looks like a cycle, restarted whenever it hits the ceiling.
HWY_INLINE void LoadLane(Span& s, Group& g, std::size_t l) {
    const SpanInput& in = *s.in;
    const double maxIter = static_cast<double>(in.maxIter);
    auto& lane = g.lane;
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
            zr,  zi,  0.0, 0.0, std::numeric_limits<double>::infinity(), 1.0, 0.0, 1.0, 0.0,
            0.0, 0.0, cr,  ci,  zr, zi, 1.0 /* next event */,
            0.0, 0.0, 0.0, 0.0, 0.0, 1.0 /* next checkpoint */, 0.0, 0.0, 0.0};
        for (int slot = 0; slot < kSlotCount; ++slot) lane[slot][l] = init[slot];
        g.pixel[l] = i;
        return;
    }
    for (int slot = 0; slot < kSlotCount; ++slot) lane[slot][l] = 0.0;
    lane[kNextCheckpoint][l] = std::numeric_limits<double>::infinity();
    lane[kNextEvent][l] = maxIter;
    lane[kZcr][l] = std::numeric_limits<double>::infinity();
    g.pixel[l] = -1;
}

HWY_INLINE void FinishLane(Span& s, const Group& g, std::size_t l, bool escaped) {
    const auto& lane = g.lane;
    const std::int64_t k = static_cast<std::int64_t>(lane[kStep][l]);
    s.iterations += static_cast<std::uint64_t>(k);
    EscapeResult& out = s.out[g.pixel[l]];
    if (escaped)
        kernel::finishEscape(k, s.in->maxIter, lane[kR2][l], lane[kDr][l], lane[kDi][l],
                             lane[kTrap][l], out);
    else
        kernel::setInterior(out, s.in->maxIter);
}

// Finishes the spilled lanes marked done and refills them with the next pixels.
HWY_NOINLINE void Refill(Span& s, Group& g, M done, M escaped) {
    const D d;
    alignas(64) std::uint8_t doneBits[8] = {}, escapedBits[8] = {};
    hn::StoreMaskBits(d, done, doneBits);
    hn::StoreMaskBits(d, escaped, escapedBits);
    g.anyActive = false;
    for (std::size_t l = 0; l < hn::Lanes(d); ++l) {
        if ((doneBits[l / 8] >> (l % 8)) & 1) {
            if (g.pixel[l] >= 0) FinishLane(s, g, l, (escapedBits[l / 8] >> (l % 8)) & 1);
            LoadLane(s, g, l);
        }
        g.anyActive = g.anyActive || g.pixel[l] >= 0;
    }
}

HWY_INLINE void InitGroup(Span& s, Group& g) {
    const D d;
    for (std::size_t l = 0; l < hn::Lanes(d); ++l) LoadLane(s, g, l);
    g.anyActive = false;
    for (std::size_t l = 0; l < hn::Lanes(d); ++l) g.anyActive = g.anyActive || g.pixel[l] >= 0;
}

// The cycle detector's match handling, for lanes whose new z came back close to the checkpoint
// (A and B already updated). Returns the lanes proven interior.
HWY_INLINE M MatchStep(Hot& h, Group& g, M near) {
    const D d;
    const V one = hn::Set(d, 1.0), zero = hn::Zero(d);
    const M match = hn::And(near, hn::Lt(Magnitude(h.ar, h.ai), one));
    if (hn::AllFalse(d, match)) return hn::FirstN(d, 0);

    const V sr = Cold(g, kSr), si = Cold(g, kSi), tr = Cold(g, kTr), ti = Cold(g, kTi);
    const V period = Cold(g, kPeriod), lastMatch = Cold(g, kLastMatch);
    const V confirmations = Cold(g, kConfirmations);
    const V floor = hn::Set(d, kernel::kToleranceFloor), rel = hn::Set(d, kernel::kRelativeTolerance);
    const V magT = Magnitude(tr, ti), magS = Magnitude(sr, si);
    const V tolT = hn::Mul(rel, Select(hn::Gt(magT, floor), magT, floor));
    const V tolS = hn::Mul(rel, Select(hn::Gt(magS, floor), magS, floor));
    const M stable = hn::And(
        hn::Lt(Magnitude(h.br, h.bi), one),
        hn::And(hn::Lt(Magnitude(hn::Sub(h.br, tr), hn::Sub(h.bi, ti)), tolT),
                hn::Lt(Magnitude(hn::Sub(h.br, sr), hn::Sub(h.bi, si)), tolS)));
    const M expected =
        hn::And(hn::Ne(period, zero), hn::Eq(h.step, hn::Add(lastMatch, period)));
    const M confirmed = hn::And(match, hn::And(expected, stable));
    const M interior = hn::And(confirmed, hn::Gt(confirmations, one));
    const M confirm = hn::AndNot(interior, confirmed);
    const M first = hn::AndNot(confirmed, match);

    SetCold(g, kConfirmations,
            Select(confirm, hn::Add(confirmations, one), Select(first, zero, confirmations)));
    SetCold(g, kTr, Select(confirm, h.br, Select(first, h.ar, tr)));
    SetCold(g, kTi, Select(confirm, h.bi, Select(first, h.ai, ti)));
    SetCold(g, kSr, Select(first, h.ar, sr));
    SetCold(g, kSi, Select(first, h.ai, si));
    SetCold(g, kPeriod, Select(first, hn::Sub(h.step, Cold(g, kCheckpoint)), period));
    const M reset = hn::Or(confirm, first);
    h.br = Select(reset, one, h.br);
    h.bi = Select(reset, zero, h.bi);
    SetCold(g, kLastMatch, Select(reset, h.step, lastMatch));
    return interior;
}

// Lanes at a checkpoint (a power-of-two step) take the new z as reference and restart A.
HWY_INLINE void Checkpoint(Hot& h, Group& g, V nzr, V nzi, V maxIter) {
    const D d;
    const V nextCheckpoint = Cold(g, kNextCheckpoint);
    const M at = hn::Eq(h.step, nextCheckpoint);
    if (hn::AllFalse(d, at)) return;
    h.zcr = Select(at, nzr, h.zcr);
    h.zci = Select(at, nzi, h.zci);
    h.ar = Select(at, hn::Set(d, 1.0), h.ar);
    h.ai = Select(at, hn::Zero(d), h.ai);
    SetCold(g, kCheckpoint, Select(at, h.step, Cold(g, kCheckpoint)));
    SetCold(g, kPeriod, Select(at, hn::Zero(d), Cold(g, kPeriod)));
    const V next = Select(at, hn::Add(nextCheckpoint, nextCheckpoint), nextCheckpoint);
    SetCold(g, kNextCheckpoint, next);
    h.nextEvent = hn::Min(next, maxIter);
}

// One step of every lane of the group. The common case touches only the hot registers; matches,
// checkpoints, escapes and the ceiling take the rare paths.
HWY_INLINE void Step(Span& s, Hot& h, Group& g, V maxIter) {
    const D d;
    const V one = hn::Set(d, 1.0);
    h.step = hn::Add(h.step, one);
    const V zr = h.zr, zi = h.zi, twoRe = hn::Add(zr, zr), twoIm = hn::Add(zi, zi);

    const V nzr = Fma(zr, zr, NegFma(zi, zi, h.cr));
    const V nzi = Fma(twoRe, zi, h.ci);
    const V x = FmaSub(zr, h.dr, hn::Mul(zi, h.di));
    const V y = Fma(zr, h.di, hn::Mul(zi, h.dr));
    h.dr = hn::Add(hn::Add(x, x), one);
    h.di = hn::Add(y, y);
    // Min is safe here: the values are non-negative, and a NaN orbit never escapes, so its
    // trap distance is never read.
    h.trap = hn::Min(h.trap, MinAbs(nzr, nzi));
    h.r2 = Fma(nzr, nzr, hn::Mul(nzi, nzi));
    const M escaped = hn::Ge(h.r2, hn::Set(d, kernel::kBailout));

    const V ar = h.ar, ai = h.ai, br = h.br, bi = h.bi;
    h.ar = FmaSub(ar, twoRe, hn::Mul(ai, twoIm));
    h.ai = Fma(ar, twoIm, hn::Mul(ai, twoRe));
    h.br = FmaSub(br, twoRe, hn::Mul(bi, twoIm));
    h.bi = Fma(br, twoIm, hn::Mul(bi, twoRe));

    // An escaped lane may run the match logic too: it is finished as escaped regardless.
    const V ddr = hn::Sub(nzr, h.zcr), ddi = hn::Sub(nzi, h.zci);
    const M near = hn::Lt(Fma(ddr, ddr, hn::Mul(ddi, ddi)), hn::Set(d, kernel::kCloseness));
    M interior = hn::FirstN(d, 0);
    if (HWY_UNLIKELY(!hn::AllFalse(d, near))) interior = MatchStep(h, g, near);
    h.zr = nzr;
    h.zi = nzi;

    const M event = hn::Or(hn::Or(escaped, interior), hn::Eq(h.step, h.nextEvent));
    if (HWY_LIKELY(hn::AllFalse(d, event))) return;
    Checkpoint(h, g, nzr, nzi, maxIter);
    const M done = hn::Or(hn::Or(escaped, interior), hn::Eq(h.step, maxIter));
    if (hn::AllFalse(d, done)) return;
    Spill(h, g);
    Refill(s, g, done, escaped);
    h = Reload(g);
}

// One group of lanes measured fastest: more groups add latency hiding but spill registers.
constexpr int kGroups = 1;

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
    Group g[kGroups];
    Hot h[kGroups];
    for (int j = 0; j < kGroups; ++j) {
        InitGroup(s, g[j]);
        h[j] = Reload(g[j]);
    }
    bool all = true;
    for (int j = 0; j < kGroups; ++j) all = all && g[j].anyActive;
    while (all) {
        for (int j = 0; j < kGroups; ++j) Step(s, h[j], g[j], maxIter);
        for (int j = 0; j < kGroups; ++j) all = all && g[j].anyActive;
    }
    for (int j = 0; j < kGroups; ++j)
        while (g[j].anyActive) Step(s, h[j], g[j], maxIter);
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
