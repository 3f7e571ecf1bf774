// The SIMD escape-time kernel: the scalar kernel's exact arithmetic, one pixel per vector lane.
//
// How a span is walked:
//  - A feed hands out the pixels that need iterating. For the Mandelbrot set it screens the
//    span a block at a time with a vector form of the interior shortcut and writes those pixels'
//    results directly, so lanes are only ever given real work.
//  - Two independent groups of lanes step in turn: one step's longest dependency chain (the
//    derivative: a multiply, a fused multiply-add and two additions) is longer than the time its
//    multiplies take, and the other group fills the gap.
//  - A step carries z, the derivative, the trap, the cycle detector's product A, the checkpoint
//    z, the step count and when the lane's candidate cycle has its next confirmation due, all
//    in registers. It takes its checkpoints (steps 1, 2, 4, ...) and records first matches
//    (whose A it stores with a masked store) without branching. The detector's second product
//    B (since the last match) is not carried: it is only read when a confirmation is due, and
//    is then recovered from A.
//  - A branch leaves the plain step only on a match at a confirmation's due step, an escape or
//    a lane at the ceiling. A mispredicted branch throws away the work of the steps already
//    under way, some hundreds of cycles here, so everything that happens often is done without
//    one.
//  - A finished lane takes the next pixel at once. Escapes are queued with their final values
//    and finished (logarithms, square roots) in batches, which keeps that scalar work out of the
//    vector loop and lets consecutive pixels' logarithms overlap.
// Results are bit-identical to the scalar kernel on every target.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernel_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#if HWY_ARCH_X86
#include <xmmintrin.h>
#endif

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <limits>

#include "core/kernel.h"
#include "core/kernel_confirm.h"
#include "core/kernel_step.h"

HWY_BEFORE_NAMESPACE();
namespace gs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;
using M = hn::Mask<D>;
constexpr std::size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);
constexpr double kInf = std::numeric_limits<double>::infinity();

// Fused multiply-add, one rounding, on every target. Targets without FMA instructions
// (SSSE3, SSE4, scalar) would otherwise round twice, so they fuse lane by lane in software.
HWY_INLINE V Fma(V a, V b, V c) {
#if HWY_NATIVE_FMA
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
#if HWY_NATIVE_FMA
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
// The squared magnitude as the scalar kernel forms it.
HWY_INLINE V Norm(V re, V im) { return Fma(re, re, hn::Mul(im, im)); }
HWY_INLINE V Select(M m, V yes, V no) { return hn::IfThenElse(m, yes, no); }
HWY_INLINE M None() { return hn::FirstN(D(), 0); }
// Writes `value` into the lanes `m` of a vector in memory with a whole-vector store: a load of
// it soon after then takes the data straight from the store, where after a masked store it
// would wait some fifty cycles for the store to complete.
HWY_INLINE void Merge(V value, M m, double* field) {
    const D d;
    hn::Store(Select(m, value, hn::Load(d, field)), d, field);
}

// Writes the lanes `m` of v one after another from `to` and returns how many there are. On
// AVX-512 it packs them in a register and stores the whole vector, so every buffer written this
// way keeps a vector's room past its last pixel: the packing store straight to memory is
// microcoded on some CPUs (Zen 4), where it took nearly half of the home view's time.
HWY_INLINE std::size_t Pack(V v, M m, double* to) {
    const D d;
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    hn::StoreU(V{_mm512_maskz_compress_pd(m.raw, v.raw)}, d, to);
    return hn::CountTrue(d, m);
#else
    return hn::CompressStore(v, m, d, to);
#endif
}

// Mask bits, one per lane.
struct LaneBits {
    alignas(8) std::uint8_t bits[8] = {};
    explicit LaneBits(M m) { hn::StoreMaskBits(D(), m, bits); }
    bool operator[](std::size_t l) const { return (bits[l / 8] >> (l % 8)) & 1; }
};

// The orbit part of a lane's state.
struct Orbit {
    V zr, zi, dr, di, trap, ar, ai;
};

// One group's loop-carried state, as local variables: never address-taken, so it stays in
// registers. The group also counts down the steps until its next lane reaches the ceiling
// (`left`), to know that without looking at the lanes: a whole number, so that the count and
// its test stay in a general register. (The lanes' c, which a step only reads, stays in memory.)
struct Hot {
    Orbit o;
    V zcr, zci, step;
    // The candidate cycle: `due2`, from which a step k finds whether a confirmation is due:
    // when k = due2 - (the last checkpoint before k). A first match at step j sets due2 = 2j,
    // so it is due one period (j - checkpoint) later while the checkpoint is the same; a held
    // confirmation at k with period p sets due2 = k + p + checkpoint. Once a checkpoint has
    // passed, due2 - checkpoint falls below the step and never meets it again, as a checkpoint
    // voids the candidate. -2 (no candidate) never meets a step either.
    V due2;
    std::int64_t left, start;  // `start`: the count at the last reload
};

// The hot state's copy in memory, while lanes are finished and refilled, and the lanes' c
// (Mandelbrot).
struct HotCopy {
    alignas(64) double zr[kMaxLanes], zi[kMaxLanes], dr[kMaxLanes], di[kMaxLanes];
    alignas(64) double trap[kMaxLanes], ar[kMaxLanes], ai[kMaxLanes], zcr[kMaxLanes];
    alignas(64) double zci[kMaxLanes], step[kMaxLanes], due2[kMaxLanes];
    alignas(64) double r2[kMaxLanes], cr[kMaxLanes];
    // A at the candidate's first match (S): written without a branch at every first match, and
    // read only when a confirmation is due, so it stays in memory.
    alignas(64) double sr[kMaxLanes], si[kMaxLanes];
};

#define GS_HOT_FIELDS(X)                                                                  \
    X(o.zr, zr) X(o.zi, zi) X(o.dr, dr) X(o.di, di) X(o.trap, trap) X(o.ar, ar) X(o.ai, ai) \
    X(zcr, zcr) X(zci, zci) X(step, step) X(due2, due2)

// The rest of a group's lane state, read and written only on events. Step and pixel numbers
// are whole numbers held exactly in doubles.
struct Group {
    HotCopy hot;
    alignas(64) double ceilingTime[kMaxLanes];  // group time at which the lane reaches the ceiling
    // The candidate's confirmations, written when one holds: the due2 it set (while the lane's
    // due2 still equals it, no first match came since, and the candidate is the same), the
    // step of the candidate's first match, the number of confirmations, the last one's step,
    // its multiplier T (with an error bound) and A.
    alignas(64) double confirmedDue2[kMaxLanes], firstMatch[kMaxLanes], confirmations[kMaxLanes];
    alignas(64) double lastMatch[kMaxLanes], tr[kMaxLanes], ti[kMaxLanes], tError[kMaxLanes];
    alignas(64) double lastAr[kMaxLanes], lastAi[kMaxLanes];
    std::int64_t pixel[kMaxLanes];                      // -1 when the lane is idle
    double time = 0;         // steps taken by the group
    double nextCeiling = 0;  // the earliest ceilingTime
    bool active = false;     // some lane has a pixel
};

HWY_INLINE void Spill(const Hot& h, Group& g) {
#define GS_STORE(f, slot) hn::Store(h.f, D(), g.hot.slot);
    GS_HOT_FIELDS(GS_STORE)
#undef GS_STORE
    g.time += static_cast<double>(h.start - h.left);
}

HWY_INLINE void Reload(Hot& h, const Group& g) {
#define GS_LOAD(f, slot) h.f = hn::Load(D(), g.hot.slot);
    GS_HOT_FIELDS(GS_LOAD)
#undef GS_LOAD
    // With no lane to reach the ceiling (nextCeiling infinite), a count that never runs out.
    h.left = h.start = static_cast<std::int64_t>(std::min(g.nextCeiling - g.time, 0x1p62));
}

// After lanes were refilled: when the group next has a lane at the ceiling.
HWY_INLINE void ScheduleCeiling(Group& g) {
    g.nextCeiling = hn::GetLane(hn::MinOfLanes(D(), hn::Load(D(), g.ceilingTime)));
}

// Pixels waiting for a lane: a block of the span at a time, screened and warmed up (see
// WarmUp), each with its state at its step number (0, or the power of two it was warmed up to).
struct Feed {
    static constexpr std::size_t kBlock = 16 * kMaxLanes;
    static constexpr std::size_t kRoom = kBlock + 2 * kMaxLanes;  // for whole vectors
    // The pixel's x and number; its z, derivative and trap at `step`.
    alignas(64) double x[kRoom], index[kRoom], zr[kRoom], zi[kRoom];
    alignas(64) double dr[kRoom], di[kRoom], trap[kRoom], step[kRoom];
    std::size_t count = 0, taken = 0;
    std::int64_t screened = 0;  // pixels of the span looked at so far
    // The block's pixels that need iterating, before the warm-up.
    alignas(64) double candidateX[kRoom], candidateIndex[kRoom];
};

// Escaped lanes' final values, finished in batches.
struct Escapes {
    static constexpr std::size_t kCapacity = 8 * kMaxLanes;
    alignas(64) double index[kCapacity + kMaxLanes], step[kCapacity + kMaxLanes];
    alignas(64) double r2[kCapacity + kMaxLanes], dr[kCapacity + kMaxLanes];
    alignas(64) double di[kCapacity + kMaxLanes], trap[kCapacity + kMaxLanes];
    alignas(64) double zMag[kCapacity + kMaxLanes], dMag[kCapacity + kMaxLanes];
    std::size_t count = 0;
};

struct Span {
    const SpanInput* in;
    EscapeResult* out;
    V cr, ci;  // Julia: the parameter; Mandelbrot: ci is the row's y
    V maxIter;
    bool mayEstimate;  // confirmations may be decided on estimates of B (else always replayed)
    bool warmUp;       // pixels are warmed up in lockstep (the ceiling is above the warm-up)
    Feed feed;
    Escapes escapes;
    std::uint64_t iterations = 0;
};

// --- One step ------------------------------------------------------------------------------

// One iteration of every lane: z, the derivative, the trap and A move on (A with the old z).
// Returns the new |z|^2.
HWY_INLINE V Iterate(Orbit& o, V cr, V ci) {
    const D d;
    const V one = hn::Set(d, 1.0);
    const V zr = o.zr, zi = o.zi, twoRe = hn::Add(zr, zr), twoIm = hn::Add(zi, zi);
    const V nzr = Fma(zr, zr, NegFma(zi, zi, cr));
    const V nzi = Fma(twoRe, zi, ci);
    const V x = FmaSub(zr, o.dr, hn::Mul(zi, o.di));
    const V y = Fma(zr, o.di, hn::Mul(zi, o.dr));
    o.dr = hn::Add(hn::Add(x, x), one);
    o.di = hn::Add(y, y);
    // Min is safe here: the values are non-negative, and a NaN orbit never escapes, so its
    // trap distance is never read.
    o.trap = hn::Min(o.trap, MinAbs(nzr, nzi));
    const V ar = o.ar, ai = o.ai;
    o.ar = FmaSub(ar, twoRe, hn::Mul(ai, twoIm));
    o.ai = Fma(ar, twoIm, hn::Mul(ai, twoRe));
    o.zr = nzr;
    o.zi = nzi;
    return Norm(nzr, nzi);
}

// A match: the new z back within 1e-9 (squared) of the checkpoint z with |A| < 1. (sqrt(q) < 1
// holds exactly when q < 1, since sqrt(1 - 2^-53) rounds below 1: no square root is needed.)
HWY_INLINE M Matching(const Orbit& o, V zcr, V zci) {
    const D d;
    const M near = hn::Lt(Norm(hn::Sub(o.zr, zcr), hn::Sub(o.zi, zci)), hn::Set(d, kernel::kCloseness));
    return hn::And(near, hn::Lt(Norm(o.ar, o.ai), hn::Set(d, 1.0)));
}

// --- Finishing escapes ------------------------------------------------------------------------

// The escape results of the queued lanes: the scalar kernel's finishEscape, with everything but
// the logarithms (which must be the C library's, as there) done a vector at a time.
HWY_NOINLINE void FinishEscapes(Span& s) {
    const D d;
    Escapes& e = s.escapes;
    const std::size_t n = hn::Lanes(d);
    for (std::size_t j = e.count; j % n != 0; ++j) e.r2[j] = e.dr[j] = e.di[j] = e.step[j] = 1.0;
    for (std::size_t j = 0; j < e.count; j += n) {  // the last vector runs into the room
        hn::Store(hn::Sqrt(hn::Load(d, e.r2 + j)), d, e.zMag + j);
        hn::Store(hn::Sqrt(Norm(hn::Load(d, e.dr + j), hn::Load(d, e.di + j))), d, e.dMag + j);
    }
    // The logarithms in independent streams, so that consecutive calls overlap: ln(r2) and
    // ln|z| first, then ln(ln(r2) / 2), the count's fraction before scaling.
    const std::size_t count = e.count;
    double* HWY_RESTRICT lnR2 = e.dr;
    double* HWY_RESTRICT lnZ = e.di;
    const double* HWY_RESTRICT r2 = e.r2;
    const double* HWY_RESTRICT zMag = e.zMag;
    for (std::size_t j = 0; j < count; ++j) {
        lnR2[j] = std::log(r2[j]);
        lnZ[j] = std::log(zMag[j]);
    }
    for (std::size_t j = 0; j < count; ++j) lnR2[j] = std::log(lnR2[j] * 0.5);
    std::uint64_t iterations = 0;
    for (std::size_t j = 0; j < count; ++j) iterations += static_cast<std::uint64_t>(e.step[j]);
    s.iterations += iterations;
    const V maxIter = s.maxIter, one = hn::Set(d, 1.0);
    for (std::size_t j = 0; j < e.count; j += n) {
        const V k = hn::Load(d, e.step + j), zMag = hn::Load(d, e.zMag + j);
        const V dMag = hn::Load(d, e.dMag + j);
        const V nu = Select(hn::Lt(k, maxIter),
                            hn::Add(hn::Add(k, one), hn::Div(hn::Load(d, e.dr + j), hn::Set(d, kernel::kNegLn2))),
                            hn::Sub(maxIter, hn::Set(d, 0.5)));
        const V distance = hn::Div(hn::Mul(hn::Add(zMag, zMag), hn::Load(d, e.di + j)),
                                   hn::Add(dMag, hn::Set(d, kernel::kDerivativeGuard)));
        hn::Store(nu, d, e.dr + j);
        hn::Store(hn::IfThenElseZero(hn::IsFinite(dMag), distance), d, e.di + j);
    }
    for (std::size_t j = 0; j < e.count; ++j)
        s.out[static_cast<std::int64_t>(e.index[j])] = {e.dr[j], e.di[j], e.trap[j]};
    e.count = 0;
}

// Queues the escapes of the lanes in `escaped`: their pixels and final values.
HWY_INLINE void QueueEscapes(Span& s, M escaped, V index, V step, V r2, V dr, V di, V trap) {
    const D d;
    Escapes& e = s.escapes;
    Pack(index, escaped, e.index + e.count);
    Pack(step, escaped, e.step + e.count);
    Pack(r2, escaped, e.r2 + e.count);
    Pack(dr, escaped, e.dr + e.count);
    Pack(di, escaped, e.di + e.count);
    e.count += Pack(trap, escaped, e.trap + e.count);
    if (e.count + hn::Lanes(d) > Escapes::kCapacity) FinishEscapes(s);
}

// --- The feed ---------------------------------------------------------------------------------

// The interior shortcut, lane by lane, with the scalar kernel's operations in its order.
HWY_INLINE M CardioidOrBulb(V x, V y) {
    const D d;
    const V a = hn::Sub(x, hn::Set(d, 0.25));
    const V yy = hn::Mul(y, y);
    const V q = Fma(a, a, yy);
    const M cardioid = hn::Lt(hn::Mul(q, hn::Add(q, a)), hn::Mul(hn::Mul(hn::Set(d, 0.25), y), y));
    const V x1 = hn::Add(x, hn::Set(d, 1.0));
    const M bulb = hn::Lt(hn::Add(hn::Mul(x1, x1), yy), hn::Set(d, 0.0625));
    return hn::Or(cardioid, bulb);
}

// The next block of the span's pixels into the candidates. Mandelbrot pixels in the cardioid or
// the period-2 bulb get their result now instead.
template <bool kJulia>
HWY_INLINE std::size_t Screen(Span& s, std::int64_t begin, std::int64_t end) {
    const D d;
    const auto n = static_cast<std::int64_t>(hn::Lanes(d));
    const SpanInput& in = *s.in;
    Feed& f = s.feed;
    std::size_t count = 0;
    const V y = hn::Set(d, in.y);
    std::int64_t i = begin;
    for (; i + n <= end; i += n) {
        const V x = hn::LoadU(d, in.xs + i);
        M keep = hn::FirstN(d, hn::Lanes(d));
        if constexpr (!kJulia) {
            const M inside = CardioidOrBulb(x, y);
            if (!hn::AllFalse(d, inside)) {
                const LaneBits bits(inside);
                for (std::int64_t l = 0; l < n; ++l)
                    if (bits[static_cast<std::size_t>(l)]) kernel::setInterior(s.out[i + l], in.maxIter);
            }
            keep = hn::Not(inside);
        }
        const V index = hn::Add(hn::Iota(d, 0.0), hn::Set(d, static_cast<double>(i)));
        Pack(index, keep, f.candidateIndex + count);
        count += Pack(x, keep, f.candidateX + count);
    }
    for (; i < end; ++i) {
        if (!kJulia && kernel::cardioidOrBulb(in.xs[i], in.y)) {
            kernel::setInterior(s.out[i], in.maxIter);
        } else {
            f.candidateX[count] = in.xs[i];
            f.candidateIndex[count++] = static_cast<double>(i);
        }
    }
    return count;
}

// Steps of the lockstep warm-up, at most; it stops early at step 8 or 16 once at most two of
// its pixels in each vector still need iterating.
constexpr int kWarmUpSteps = 32;

// Whether the new z may have come back close to the checkpoint z: within 1e-9 (squared) means
// within sqrt(1e-9) < 3.17e-5 on each axis. A cheap test that lets through a few more lanes
// than the match test would; the warm-up only uses it to send lanes to the full detector.
HWY_INLINE M MayMatch(const Orbit& o, V zcr, V zci) {
    const D d;
    const V dr = hn::Abs(hn::Sub(o.zr, zcr)), di = hn::Abs(hn::Sub(o.zi, zci));
    return hn::Lt(hn::Max(dr, di), hn::Set(d, 3.17e-5));
}

// Up to one vector of candidates (`count` from `first`) taken through their first steps
// together, with no lane refilled: most pixels of a wide view escape within a handful of
// steps, and this finishes them without the refills and mispredicted branches of the main
// loop. A lane that escapes keeps its final values (and its step count) from then on.
struct Warm {
    std::size_t first;
    Orbit o;
    V zcr, zci, step;
    M alive, matched;
};

template <bool kJulia>
HWY_INLINE Warm WarmStart(const Span& s, std::size_t first, std::size_t count) {
    const D d;
    Warm w;
    w.first = first;
    w.alive = hn::FirstN(d, count);
    w.matched = None();
    const V x = hn::LoadU(d, s.feed.candidateX + first), zero = hn::Zero(d);
    const V zr = kJulia ? x : zero, zi = kJulia ? hn::Set(d, s.in->y) : zero;
    w.o = Orbit{zr, zi, zero, zero, hn::Set(d, kInf), hn::Set(d, 1.0), zero};
    w.zcr = zr;
    w.zci = zi;
    w.step = zero;
    return w;
}

// Step k of the warm-up; a power of two is every lane's checkpoint.
template <bool kJulia>
HWY_INLINE void WarmStep(const Span& s, Warm& w, int k) {
    const D d;
    Orbit n = w.o;
    const V r2 = Iterate(n, kJulia ? s.cr : hn::LoadU(d, s.feed.candidateX + w.first), s.ci);
    w.o.zr = Select(w.alive, n.zr, w.o.zr);
    w.o.zi = Select(w.alive, n.zi, w.o.zi);
    w.o.dr = Select(w.alive, n.dr, w.o.dr);
    w.o.di = Select(w.alive, n.di, w.o.di);
    w.o.trap = Select(w.alive, n.trap, w.o.trap);
    w.o.ar = n.ar;
    w.o.ai = n.ai;
    w.step = hn::Add(w.step, hn::IfThenElseZero(w.alive, hn::Set(d, 1.0)));
    w.alive = hn::AndNot(hn::Ge(r2, hn::Set(d, kernel::kBailout)), w.alive);
    w.matched = hn::Or(w.matched, hn::And(w.alive, MayMatch(n, w.zcr, w.zci)));
    if ((k & (k - 1)) == 0) {
        w.zcr = n.zr;
        w.zci = n.zi;
        w.o.ar = hn::Set(d, 1.0);
        w.o.ai = hn::Zero(d);
    }
}

HWY_INLINE bool WarmEnough(const Warm& w) {
    return hn::CountTrue(D(), hn::AndNot(w.matched, w.alive)) <= 2;
}

// Queues the warm-up's escapes; the others join the feed at the power of two it reached (their
// checkpoint: z becomes the reference, A restarts, no candidate cycle), except those that
// matched on the way, which start again from step 0 in a lane, where the cycle detector runs
// in full.
template <bool kJulia>
HWY_INLINE void WarmFinish(Span& s, const Warm& w, std::size_t count) {
    const D d;
    Feed& f = s.feed;
    const M real = hn::FirstN(d, count);
    const V x = hn::IfThenElseZero(real, hn::LoadU(d, f.candidateX + w.first));
    const V index = hn::LoadU(d, f.candidateIndex + w.first);
    const M escaped = hn::AndNot(w.alive, real);
    QueueEscapes(s, hn::AndNot(w.matched, escaped), index, w.step, Norm(w.o.zr, w.o.zi), w.o.dr,
                 w.o.di, w.o.trap);
    const auto add = [&](M which, V zr, V zi, V dr, V di, V trap, V step) {
        const std::size_t at = f.count;
        Pack(x, which, f.x + at);
        Pack(index, which, f.index + at);
        Pack(zr, which, f.zr + at);
        Pack(zi, which, f.zi + at);
        Pack(dr, which, f.dr + at);
        Pack(di, which, f.di + at);
        Pack(trap, which, f.trap + at);
        f.count += Pack(step, which, f.step + at);
    };
    add(hn::AndNot(w.matched, w.alive), w.o.zr, w.o.zi, w.o.dr, w.o.di, w.o.trap, w.step);
    if (HWY_UNLIKELY(!hn::AllFalse(d, w.matched))) {
        const V zero = hn::Zero(d);
        add(w.matched, kJulia ? x : zero, kJulia ? hn::Set(d, s.in->y) : zero, zero, zero,
            hn::Set(d, kInf), zero);
    }
}

// Warms up two vectors of candidates at once: their steps are independent, so each fills the
// other's waits.
template <bool kJulia>
HWY_INLINE void WarmUp(Span& s, std::size_t first, std::size_t count) {
    const std::size_t n = hn::Lanes(D());
    const std::size_t count0 = std::min(n, count), count1 = count - count0;
    Warm w0 = WarmStart<kJulia>(s, first, count0), w1 = WarmStart<kJulia>(s, first + n, count1);
    for (int k = 1;; ++k) {
        WarmStep<kJulia>(s, w0, k);
        WarmStep<kJulia>(s, w1, k);
        if ((k & (k - 1)) == 0 && k >= 8 && (k == kWarmUpSteps || (WarmEnough(w0) && WarmEnough(w1))))
            break;
    }
    WarmFinish<kJulia>(s, w0, count0);
    if (count1 > 0) WarmFinish<kJulia>(s, w1, count1);
}

// Refills the feed with the next block of the span; false when the span is done.
template <bool kJulia>
HWY_NOINLINE bool FillFeed(Span& s) {
    Feed& f = s.feed;
    const SpanInput& in = *s.in;
    f.count = f.taken = 0;
    while (f.count == 0 && f.screened < in.count) {
        const std::int64_t end =
            std::min<std::int64_t>(in.count, f.screened + static_cast<std::int64_t>(Feed::kBlock));
        const std::size_t candidates = Screen<kJulia>(s, f.screened, end);
        f.screened = end;
        const std::size_t n = hn::Lanes(D());
        for (std::size_t j = candidates; j < candidates + 2 * n; ++j)  // calm idle lanes
            f.candidateX[j] = f.candidateIndex[j] = 0.0;
        for (std::size_t i = 0; i < candidates; i += 2 * n) {
            const std::size_t group = std::min(2 * n, candidates - i);
            if (s.warmUp) {
                WarmUp<kJulia>(s, i, group);
                continue;
            }
            for (std::size_t j = i; j < i + group; ++j) {  // straight into the lanes
                const double x = f.candidateX[j];
                f.x[f.count] = x;
                f.index[f.count] = f.candidateIndex[j];
                f.zr[f.count] = kJulia ? x : 0.0;
                f.zi[f.count] = kJulia ? in.y : 0.0;
                f.dr[f.count] = f.di[f.count] = f.step[f.count] = 0.0;
                f.trap[f.count++] = kInf;
            }
        }
    }
    return f.count > 0;
}

// --- Lanes ------------------------------------------------------------------------------------

// Lanes that ended without escaping (proven interior, or at the ceiling).
HWY_INLINE void FinishInterior(Span& s, const Group& g, M ended) {
    const LaneBits bits(ended);
    for (std::size_t l = 0; l < hn::Lanes(D()); ++l) {
        if (!bits[l] || g.pixel[l] < 0) continue;
        s.iterations += static_cast<std::uint64_t>(g.hot.step[l]);
        kernel::setInterior(s.out[g.pixel[l]], s.in->maxIter);
    }
}

// Gives every lane in `done` the feed's next pixel (or makes it idle) and sets its state. An
// idle lane holds a NaN orbit, which never escapes or matches, and never reaches the ceiling.
template <bool kJulia>
HWY_INLINE void Refill(Span& s, Group& g, M done) {
    const D d;
    const LaneBits doneBits(done);
    alignas(8) std::uint8_t freshBits[8] = {};
    alignas(64) double x[kMaxLanes] = {}, zr[kMaxLanes] = {}, zi[kMaxLanes] = {};
    alignas(64) double dr[kMaxLanes] = {}, di[kMaxLanes] = {}, trap[kMaxLanes] = {};
    alignas(64) double step[kMaxLanes] = {};
    Feed& f = s.feed;
    g.active = false;
    for (std::size_t l = 0; l < hn::Lanes(d); ++l) {
        if (doneBits[l]) {
            g.pixel[l] = -1;
            if (f.taken < f.count || FillFeed<kJulia>(s)) {
                const std::size_t e = f.taken++;
                g.pixel[l] = static_cast<std::int64_t>(f.index[e]);
                x[l] = f.x[e];
                zr[l] = f.zr[e];
                zi[l] = f.zi[e];
                dr[l] = f.dr[e];
                di[l] = f.di[e];
                trap[l] = f.trap[e];
                step[l] = f.step[e];
                freshBits[l / 8] |= static_cast<std::uint8_t>(1u << (l % 8));
            }
        }
        g.active = g.active || g.pixel[l] >= 0;
    }
    const M fresh = hn::LoadMaskBits(d, freshBits);
    const V zero = hn::Zero(d), one = hn::Set(d, 1.0), idle = hn::NaN(d);
    const auto reset = [&](double* field, V value) { Merge(value, done, field); };
    const V steps = hn::Load(d, step), z0r = Select(fresh, hn::Load(d, zr), idle);
    const V z0i = Select(fresh, hn::Load(d, zi), idle);
    HotCopy& c = g.hot;
    reset(c.zr, z0r);
    reset(c.zi, z0i);
    reset(c.zcr, z0r);  // step 0, or a checkpoint
    reset(c.zci, z0i);
    if constexpr (!kJulia) reset(c.cr, hn::Load(d, x));
    reset(c.dr, hn::Load(d, dr));
    reset(c.di, hn::Load(d, di));
    reset(c.trap, hn::Load(d, trap));
    reset(c.ar, one);
    reset(c.ai, zero);
    reset(c.step, steps);
    reset(c.sr, zero);
    reset(c.si, zero);
    reset(c.due2, hn::Set(d, -2.0));
    const V ceiling = hn::Add(hn::Set(d, g.time), hn::Sub(s.maxIter, steps));
    reset(g.ceilingTime, Select(fresh, ceiling, hn::Set(d, kInf)));
    reset(g.confirmedDue2, idle);
}

// Finishes the lanes that escaped or ended and refills them, on the group's spilled state.
template <bool kJulia>
HWY_NOINLINE void Retire(Span& s, Group& g, M escaped, M ended) {
    const D d;
    if (!hn::AllFalse(d, escaped)) {
        const HotCopy& c = g.hot;
        alignas(64) double pixel[kMaxLanes];
        for (std::size_t l = 0; l < hn::Lanes(d); ++l) pixel[l] = static_cast<double>(g.pixel[l]);
        QueueEscapes(s, escaped, hn::Load(d, pixel), hn::Load(d, c.step), hn::Load(d, c.r2),
                     hn::Load(d, c.dr), hn::Load(d, c.di), hn::Load(d, c.trap));
    }
    const M quiet = hn::AndNot(escaped, ended);
    if (!hn::AllFalse(d, quiet)) FinishInterior(s, g, quiet);
    Refill<kJulia>(s, g, hn::Or(escaped, ended));
    ScheduleCeiling(g);
}

// --- Cycle confirmations ----------------------------------------------------------------------
//
// A confirmation is due when a match falls exactly one period after the last one; the scalar
// kernel then compares its product B (of 2z since the last match) with the multiplier T of the
// last confirmation (or S, A at the first match) and with S. This kernel does not carry B.
// Since A and B multiply the same factors, B is A / A_last up to rounding, where A_last is A
// at the last match: with fused products and no underflow each complex product strays by at
// most 2u (u = 2^-53) in norm, so over the n products since the last match A's chain and the
// scalar kernel's B chain are each within about 2nu of the exact product, and the division adds
// a few u. The tests are decided on that estimate wherever twice this bound cannot change them;
// the rest (and everything after an underflow has been flagged, which voids the bound) is
// replayed exactly (kernel_confirm.h).

constexpr double kUnit = 0x1p-53;

// True while no underflow has been flagged since the span started (it clears the flag).
HWY_INLINE bool NoUnderflowSoFar() {
#if HWY_ARCH_X86
    return (_mm_getcsr() & 0x10) == 0;  // the sticky underflow flag, without a library call
#else
    return !std::fetestexcept(FE_UNDERFLOW);
#endif
}

// x < y decided on estimates within xErr and yErr of the values compared: yes, no, or neither.
struct Decision {
    M yes, no;
};
HWY_INLINE Decision Less(V x, V xErr, V y, V yErr) {
    const D d;
    const V err = hn::Add(hn::Mul(hn::Add(xErr, yErr), hn::Set(d, 1.0001)),
                          hn::Mul(hn::Set(d, 16 * kUnit), hn::Add(hn::Abs(x), hn::Abs(y))));
    return {hn::Lt(hn::Add(x, err), y), hn::Ge(hn::Sub(x, err), y)};
}

HWY_INLINE V Magnitude(V re, V im) { return hn::Sqrt(Norm(re, im)); }
HWY_INLINE V Tolerance(V magnitude) {  // 0.1 * max(magnitude, 1e-9)
    const D d;
    const V floor = hn::Set(d, kernel::kToleranceFloor);
    return hn::Mul(hn::Set(d, kernel::kRelativeTolerance), Select(hn::Gt(magnitude, floor), magnitude, floor));
}

// What a due confirmation found: lanes where it certainly holds or certainly fails, and the
// estimate of B with its error bound.
struct Estimate {
    M holds, fails;
    V br, bi, error;
};

// `period` is the number of products since the last match, (sr, si) the candidate's S and
// `firstConfirmation` the lanes without a counted confirmation yet (their T and A at the last
// match are S itself).
HWY_INLINE Estimate EstimateConfirmations(const Span& s, const Group& g, M due, V ar, V ai,
                                          V sr, V si, V period, M firstConfirmation) {
    const D d;
    const V tr = Select(firstConfirmation, sr, hn::Load(d, g.tr));
    const V ti = Select(firstConfirmation, si, hn::Load(d, g.ti));
    const V tError = Select(firstConfirmation, hn::Zero(d), hn::Load(d, g.tError));
    const V lr = Select(firstConfirmation, sr, hn::Load(d, g.lastAr));
    const V li = Select(firstConfirmation, si, hn::Load(d, g.lastAi));
    const V lastNorm = Norm(lr, li);
    const V br = hn::Div(Fma(ar, lr, hn::Mul(ai, li)), lastNorm);
    const V bi = hn::Div(FmaSub(ai, lr, hn::Mul(ar, li)), lastNorm);
    const V n = period;
    const V bMag = Magnitude(br, bi);
    const V bErr = hn::Mul(hn::Mul(Fma(n, hn::Set(d, 8.0), hn::Set(d, 16.0)), hn::Set(d, kUnit)), bMag);
    const V slack = hn::Set(d, 8 * kUnit);  // the scalar kernel's own roundings in the tests

    const V dt = Magnitude(hn::Sub(br, tr), hn::Sub(bi, ti));
    const V ds = Magnitude(hn::Sub(br, sr), hn::Sub(bi, si));
    const V tTol = Tolerance(Magnitude(tr, ti)), sTol = Tolerance(Magnitude(sr, si));
    const V dtErr = hn::Add(bErr, tError);
    const Decision unit = Less(bMag, Fma(slack, bMag, bErr), hn::Set(d, 1.0), hn::Zero(d));
    const Decision nearT = Less(dt, Fma(slack, hn::Add(dt, dtErr), dtErr), tTol,
                                Fma(hn::Set(d, kernel::kRelativeTolerance), tError, hn::Mul(slack, tTol)));
    const Decision nearS = Less(ds, Fma(slack, hn::Add(ds, bErr), bErr), sTol, hn::Zero(d));

    const V tiny = hn::Set(d, 0x1p-900);
    M trusted = hn::And(hn::Ge(lastNorm, tiny), hn::Ge(Norm(ar, ai), tiny));
    trusted = hn::And(trusted, hn::Le(n, hn::Set(d, 1e6)));
    if (!s.mayEstimate || !NoUnderflowSoFar()) trusted = None();
    trusted = hn::And(trusted, due);
    const M holds = hn::And(trusted, hn::And(unit.yes, hn::And(nearT.yes, nearS.yes)));
    const M fails = hn::And(trusted, hn::Or(unit.no, hn::Or(nearT.no, nearS.no)));
    return {holds, fails, br, bi, bErr};
}

// A due confirmation's lanes, stored for the exact replay: z at the checkpoint and its step,
// the candidate's first match and period, S, c, and the step of the confirmation.
struct Due {
    alignas(64) double zcr[kMaxLanes], zci[kMaxLanes], checkpoint[kMaxLanes];
    alignas(64) double firstMatch[kMaxLanes], period[kMaxLanes], sr[kMaxLanes], si[kMaxLanes];
    alignas(64) double cr[kMaxLanes], step[kMaxLanes];
};

// Replays the due confirmations the estimate left open; returns the lanes where they hold,
// with B (exact) in br, bi. The orbit is run from the checkpoint to the first match first.
HWY_NOINLINE void ReplayConfirmations(const Span& s, const Due& due, const LaneBits& open,
                                      double* br, double* bi, std::uint8_t* holdBits) {
    const double ci = hn::GetLane(s.ci);
    for (std::size_t l = 0; l < hn::Lanes(D()); ++l) {
        if (!open[l]) continue;
        kernel::CycleCandidate cand;
        cand.zr = due.zcr[l];
        cand.zi = due.zci[l];
        kernel::advanceOrbit(cand.zr, cand.zi,
                             static_cast<std::int64_t>(due.firstMatch[l] - due.checkpoint[l]),
                             due.cr[l], ci);
        cand.sr = due.sr[l];
        cand.si = due.si[l];
        cand.firstMatch = static_cast<std::int64_t>(due.firstMatch[l]);
        cand.period = static_cast<std::int64_t>(due.period[l]);
        const auto step = static_cast<std::int64_t>(due.step[l]);
        const kernel::Confirmation r = kernel::replayConfirmation(cand, step, due.cr[l], ci);
        br[l] = r.br;
        bi[l] = r.bi;
        if (r.stable) holdBits[l / 8] |= static_cast<std::uint8_t>(1u << (l % 8));
    }
}

// Decides the confirmations due in `due` (at the checkpoint `checkpoint`, before this step's
// own). Returns the lanes where they hold; records them (a counted confirmation, due again one
// period later), except for those that complete the proof (returned in `interior`).
HWY_INLINE M Confirm(const Span& s, Hot& h, Group& g, M due, V ar, V ai, V c, V checkpoint,
                     M& interior) {
    const D d;
    const V step = h.step;
    // The same candidate as at its last held confirmation, or a new one (first match at due2/2).
    const M continuing = hn::Eq(h.due2, hn::Load(d, g.confirmedDue2));
    const M firstConfirmation = hn::Not(continuing);
    const V firstMatch = Select(continuing, hn::Load(d, g.firstMatch), hn::Mul(h.due2, hn::Set(d, 0.5)));
    const V confirmations = hn::IfThenElseZero(continuing, hn::Load(d, g.confirmations));
    const V lastMatch = Select(continuing, hn::Load(d, g.lastMatch), firstMatch);
    const V period = hn::Sub(step, lastMatch);
    const V sr = hn::Load(d, g.hot.sr), si = hn::Load(d, g.hot.si);
    Estimate e = EstimateConfirmations(s, g, due, ar, ai, sr, si, period, firstConfirmation);
    M holds = e.holds;
    V error = e.error;
    const M open = hn::AndNot(hn::Or(e.holds, e.fails), due);
    if (HWY_UNLIKELY(!hn::AllFalse(d, open))) {
        Due r;
        hn::Store(h.zcr, d, r.zcr);
        hn::Store(h.zci, d, r.zci);
        hn::Store(checkpoint, d, r.checkpoint);
        hn::Store(firstMatch, d, r.firstMatch);
        hn::Store(period, d, r.period);
        hn::Store(sr, d, r.sr);
        hn::Store(si, d, r.si);
        hn::Store(c, d, r.cr);
        hn::Store(step, d, r.step);
        alignas(64) double br[kMaxLanes], bi[kMaxLanes];
        alignas(8) std::uint8_t holdBits[8] = {};
        hn::Store(e.br, d, br);
        hn::Store(e.bi, d, bi);
        ReplayConfirmations(s, r, LaneBits(open), br, bi, holdBits);
        e.br = hn::Load(d, br);
        e.bi = hn::Load(d, bi);
        holds = hn::Or(holds, hn::LoadMaskBits(d, holdBits));
        error = Select(open, hn::Zero(d), error);  // replayed values are exact
    }
    interior = hn::And(holds, hn::Gt(confirmations, hn::Set(d, 1.0)));
    const M counted = hn::AndNot(interior, holds);
    const V again = hn::Add(hn::Add(step, period), checkpoint);
    h.due2 = Select(counted, again, h.due2);
    Merge(again, counted, g.confirmedDue2);
    Merge(firstMatch, counted, g.firstMatch);
    Merge(hn::Add(confirmations, hn::Set(d, 1.0)), counted, g.confirmations);
    Merge(e.br, counted, g.tr);
    Merge(e.bi, counted, g.ti);
    Merge(error, counted, g.tError);
    Merge(ar, counted, g.lastAr);
    Merge(ai, counted, g.lastAi);
    Merge(step, counted, g.lastMatch);
    return holds;
}

// The last checkpoint before step k + 1, given k: the highest power of two not above k (0 for
// k = 0). Steps are whole numbers held exactly, so this is k with its mantissa bits cleared.
HWY_INLINE V CheckpointBefore(V previousStep) {
    const D d;
    const hn::RebindToUnsigned<D> du;
    return hn::And(previousStep, hn::BitCast(d, hn::Set(du, 0xFFF0000000000000ull)));
}

// A first match at this step, for the lanes in `first`: a new candidate, A as the match saw it.
HWY_INLINE void FirstMatches(Hot& h, Group& g, M first, V ar, V ai) {
    h.due2 = Select(first, hn::Add(h.step, h.step), h.due2);
    hn::BlendedStore(ar, first, D(), g.hot.sr);
    hn::BlendedStore(ai, first, D(), g.hot.si);
}

// Checkpoints (steps 1, 2, 4, 8, ...), after the match test: the new z becomes the reference
// and A restarts. Done on every step without a branch: checkpoints come too often, and too
// irregularly, for a branch on them to be cheaper.
HWY_INLINE void Checkpoints(Hot& h) {
    const D d;
    const M at = hn::Eq(h.step, CheckpointBefore(h.step));  // a power of two
    h.zcr = Select(at, h.o.zr, h.zcr);
    h.zci = Select(at, h.o.zi, h.zci);
    h.o.ar = Select(at, hn::Set(d, 1.0), h.o.ar);
    h.o.ai = Select(at, hn::Zero(d), h.o.ai);
}

// Everything that is not the plain step: matches on a due step (`dueMatch`: confirmations),
// escapes and the ceiling. A confirmation that fails (or is void) makes a first match.
template <bool kJulia>
HWY_INLINE void OnEvents(Span& s, Hot& h, Group& g, V r2, M escaped, M dueMatch, V checkpoint) {
    const D d;
    M interior = None();
    if (!hn::AllFalse(d, dueMatch)) {
        const V ar = h.o.ar, ai = h.o.ai;
        const M held = Confirm(s, h, g, dueMatch, ar, ai, kJulia ? s.cr : hn::Load(d, g.hot.cr),
                               checkpoint, interior);
        FirstMatches(h, g, hn::AndNot(held, dueMatch), ar, ai);
    }
    Checkpoints(h);
    const M ended = hn::Or(interior, hn::Eq(h.step, s.maxIter));
    if (HWY_LIKELY(hn::AllFalse(d, hn::Or(escaped, ended)))) return;
    Spill(h, g);
    hn::Store(r2, d, g.hot.r2);
    Retire<kJulia>(s, g, escaped, ended);
    Reload(h, g);
}

// One step of every lane of a group.
template <bool kJulia>
HWY_INLINE void Step(Span& s, Hot& h, Group& g) {
    const D d;
    const V checkpoint = CheckpointBefore(h.step);
    h.step = hn::Add(h.step, hn::Set(d, 1.0));
    --h.left;
    const V r2 = Iterate(h.o, kJulia ? s.cr : hn::Load(d, g.hot.cr), s.ci);
    const M escaped = hn::Ge(r2, hn::Set(d, kernel::kBailout));
    // An escaped lane may match too: it is finished as escaped regardless.
    const M match = Matching(h.o, h.zcr, h.zci);
    const M onDue = hn::Eq(h.step, hn::Sub(h.due2, checkpoint));
    // Most matches are first matches: recorded here, without a branch.
    FirstMatches(h, g, hn::AndNot(onDue, match), h.o.ar, h.o.ai);
    const M dueMatch = hn::And(onDue, match);
    if (HWY_UNLIKELY(!hn::AllFalse(d, hn::Or(escaped, dueMatch)) || h.left == 0))
        OnEvents<kJulia>(s, h, g, r2, escaped, dueMatch, checkpoint);
    else
        Checkpoints(h);
}

template <bool kJulia>
HWY_INLINE void StartGroup(Span& s, Hot& h, Group& g) {
    const D d;
    for (std::size_t l = 0; l < hn::Lanes(d); ++l) g.pixel[l] = -1;
    Refill<kJulia>(s, g, hn::FirstN(d, hn::Lanes(d)));
    ScheduleCeiling(g);
    Reload(h, g);
}

template <bool kJulia>
void WalkSpan(Span& s) {
    Group g0{}, g1{};
    Hot h0, h1;
    StartGroup<kJulia>(s, h0, g0);
    StartGroup<kJulia>(s, h1, g1);
    while (g0.active && g1.active) {
        Step<kJulia>(s, h0, g0);
        Step<kJulia>(s, h1, g1);
    }
    while (g0.active) Step<kJulia>(s, h0, g0);
    while (g1.active) Step<kJulia>(s, h1, g1);
    FinishEscapes(s);
}

void EscapeSpanImpl(const SpanInput& in, EscapeResult* out, std::uint64_t* iterations,
                    bool mayEstimate) {
    if (in.count <= 0) return;
    if (in.maxIter < 1) {
        // No iteration at all: every pixel (shortcut or not) is the interior result.
        for (std::int64_t i = 0; i < in.count; ++i) kernel::setInterior(out[i], in.maxIter);
        return;
    }
    // Confirmations trust their estimates only while no underflow has been flagged since here.
    std::feclearexcept(FE_UNDERFLOW);
    const D d;
    Span s{&in,
           out,
           hn::Set(d, in.juliaRe),
           hn::Set(d, in.julia ? in.juliaIm : in.y),
           hn::Set(d, static_cast<double>(in.maxIter)),
           mayEstimate,
           in.maxIter > kWarmUpSteps,
           {},
           {},
           0};
    if (in.julia)
        WalkSpan<true>(s);
    else
        WalkSpan<false>(s);
    if (iterations) *iterations += s.iterations;
}

}  // namespace HWY_NAMESPACE
}  // namespace gs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace gs {
HWY_EXPORT(EscapeSpanImpl);

void escapeSpanSimd(const SpanInput& in, EscapeResult* out, std::uint64_t* iterations) {
    HWY_DYNAMIC_DISPATCH(EscapeSpanImpl)(in, out, iterations, true);
}

namespace detail {
std::int64_t compiledTargets() { return HWY_TARGETS & hwy::SupportedTargets(); }

std::string targetName(std::int64_t target) { return hwy::TargetName(target); }

bool escapeSpanOnTarget(std::int64_t target, const SpanInput& in, EscapeResult* out,
                        bool replayConfirmations) {
    if ((compiledTargets() & target) == 0) return false;
    hwy::SetSupportedTargetsForTest(target);
    HWY_DYNAMIC_DISPATCH(EscapeSpanImpl)(in, out, nullptr, !replayConfirmations);
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
