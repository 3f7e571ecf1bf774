// Fast row colouring, and the relief pass, on Highway vectors (one pixel per lane, compiled
// for every x86-64 target and chosen at run time once per row).
//
// The colouring computes colorPixel's steps with its operations, operands and order, except
// in four per-pixel inputs that it approximates: the scaled palette position v = p * n (from
// the logarithm, and the curve's power), the trap weight w (a power), the glow amount a (an
// exponential) and the edge factor (a base-2 logarithm). There the C library's log, exp and
// pow are replaced by Highway's polynomials and divisions by products with reciprocals. Every
// pixel is then checked, and the few the check cannot vouch for are recomputed by colorPixel,
// so colorRow writes exactly colorPixel's bytes.
//
// Why the check is sound:
//  - Each approximated function is within kRel = 2^-40 (some 4000 units in the last place)
//    relative of the C library's, plus kTiny absolute where a result may underflow; Highway
//    documents at most 4 units for Log and 1 for Exp, glibc under 1, and the tests hold every
//    compiled target to 2^-46. Each input carries a bound on its distance from colorPixel's
//    value, propagated with the roundings its own steps may add.
//  - A bound of exactly zero means the input equals colorPixel's bit for bit: b = 0 (nu <= 0
//    or nu + 1 rounding to 1), q >= reach or q <= 0, d <= 0 or the glow's far tail (below
//    -746 the exponential rounds to 0), distances outside the edge's fade band (with a 2^-20
//    margin). Exact inputs keep exact results exact: flat palette stretches and saturated
//    colours cost no check.
//  - Per channel, each input's bound is carried to the 0..255 value by a factor bounding how
//    far that input moves it (planBounds), plus a slack for the roundings, which may differ
//    between the two computations once an input differs. The glow term is dropped where the
//    channel is exact before the glow and both ends of a's interval give the same sum (the
//    sum is monotonic in a).
//  - A pixel is recomputed when its table cell could differ (v within its bound of a cell
//    border or of the wrap), when an integer 1..255 lies within a channel's bound of its
//    value (the truncation could differ), or when an input is not finite.
// Unusual parameters (non-finite values, curve or sharpness <= 0, extreme scales, tables whose
// neighbouring colours differ by less than 1e-200) send the whole row to colorPixel.
//
// The relief pass needs no approximation: its 32-bit steps are written out operation by
// operation, so every target gives the bytes of the scalar description.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/shading_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>
#include <hwy/contrib/math/math-inl.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "core/shading.h"

#ifndef GS_SHADING_SIMD_SHARED
#define GS_SHADING_SIMD_SHARED
namespace gs::shading_fast {

// The row-independent inputs of the fast path, checked and widened once per call.
struct Plan {
    const ColorParams* params = nullptr;
    const double* pairs = nullptr;  // channel c, cell i: pairs[c*pairStride + 2i], the value
    std::size_t pairStride = 0;     // of colour i and of colour (i + 1) mod n
    double tableSize = 0;
    double maxIter = 0, inverseLog = 0;  // 1 / ln(maxIter + 1)
    double frequency = 0, offset = 0, shift = 0;
    double positionGain = 0, positionSlack = 0;  // from b's bound to the scaled position's
    bool curveOn = false;
    double curve = 1;
    bool traps = false;
    double trapReach = 0, inverseReach = 0, trapSharpness = 0, trapGlint = 0;
    bool glow = false;
    double inverseRadius = 0;  // 1 / r, r the clamped radius
    double glowIntensity = 0, glowStrength = 0, glowDim = 0, glowTint = 0;
    double halo[3] = {0, 0, 0};  // (1 - tint) * halo colour when tinted, else the halo colour
    bool haloOne[3] = {false, false, false};  // untinted channels whose halo value is 1
    bool edges = false;
    double inversePixel = 0, demThickness = 0, inverseSoftness = 0;
    double floorFactor = 0;  // the edge factor of d <= 0, as colorPixel computes it
    double fadeStart = 0, fadeEnd = HUGE_VAL;  // x at or beyond which the edge factor is 0 or 1
    // Factors from each bound source onto a channel's 0..255 value (see planBounds).
    double sampleScale = 0, trapScale = 0, glowScale = 0, edgeScale = 0;
    bool unitTable = false;  // every table component within [0, 1]
    double tableMax = 0;     // largest table component magnitude
    double slack = 0;        // rounding differences of a whole channel chain
    // Bounds of kept inputs (see RecallPass): relative on a bent count, on the 32-bit trap
    // weight, glow falloff and edge factor, and the edge factor's absolute part.
    double countRel = 0, weightRel = 0, falloffRel = 0, edgeRel = 0, edgeAbs = 0;
};

// What a colouring does with the palette-independent inputs of its pixels.
enum class InputUse { compute, keep, recall };

constexpr double kRel = 0x1p-40;     // relative bound of each approximated function
constexpr double kUlp = 0x1p-51;     // rounding slack per operation, times the magnitude
constexpr double kTiny = 0x1p-1000;  // absolute slack of results that may underflow

}  // namespace gs::shading_fast
#endif

HWY_BEFORE_NAMESPACE();
namespace gs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using shading_fast::kRel;
using shading_fast::kTiny;
using shading_fast::kUlp;
using shading_fast::Plan;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;
using M = hn::Mask<D>;
using DI = hn::RebindToSigned<D>;
using VI = hn::Vec<DI>;
constexpr std::size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);
constexpr PixelExtendedData kInteriorPad{HUGE_VALF, 0, 0};  // never below the ceiling

// A lane value and a bound on its distance from colorPixel's value.
struct Approx {
    V v;
    V err;
};

// The rounding slack of an operation whose operands may differ: zero when they do not.
HWY_INLINE V Slack(V err, V magnitude) {
    const D d;
    return hn::IfThenElseZero(hn::Gt(err, hn::Zero(d)), hn::Mul(magnitude, hn::Set(d, kUlp)));
}

HWY_INLINE V Clamp01(V x) {
    const D d;
    return hn::Min(hn::Max(x, hn::Zero(d)), hn::Set(d, 1.0));
}

// The bound after clamping to [0, 1]: zero where both sides clamp to the same end.
HWY_INLINE V ClampedErr(V x, V err) {
    const D d;
    const M high = hn::Gt(hn::Sub(x, err), hn::Set(d, 1.0));
    const M low = hn::Lt(hn::Add(x, err), hn::Zero(d));
    return hn::IfThenZeroElse(hn::Or(high, low), err);
}

// log for positive normal numbers.
HWY_INLINE V LogNormal(V x) {
    const D d;
    return hn::impl::Log<D, V, /*kAllowSubnormals=*/false>(d, x);
}

// base^exponent for base > 0 and exponent > 0, as exp(exponent * log(base)); its
// relative bound, from the lane's own relative bound relBase on the base.
template <bool kNormalBase>
HWY_INLINE Approx PowPositive(V base, V relBase, double exponent) {
    const D d;
    const V y = hn::Mul(hn::Set(d, exponent), kNormalBase ? LogNormal(base) : hn::Log(d, base));
    const V r = hn::Exp(d, y);
    // exponent * relBase from the base, |y| * kRel through the logarithm, kRel from exp.
    const V rel = hn::Add(hn::Mul(hn::Set(d, exponent), relBase),
                          hn::Mul(hn::Add(hn::Abs(y), hn::Set(d, 2.0)), hn::Set(d, kRel)));
    return {r, hn::Add(hn::Mul(r, rel), hn::Set(d, kTiny))};
}

// Normalised count b, bent by the curve, and its bound. Exact (bound 0) exactly where nu + 1
// rounds to 1 or nu < 0 (b = 0): elsewhere b >= 2^-58 (nu + 1 > 1 and L < 22), so the bound
// is positive.
HWY_INLINE Approx NormalisedCount(const Plan& pl, V nu) {
    const D d;
    const V ln = hn::IfThenElseZero(hn::Ge(nu, hn::Zero(d)), LogNormal(hn::Add(nu, hn::Set(d, 1.0))));
    V b = hn::Mul(ln, hn::Set(d, pl.inverseLog));  // within kRel of ln / L
    V eb = hn::Mul(b, hn::Set(d, kRel));           // b >= 0
    if (pl.curveOn) {
        const M positive = hn::Gt(b, hn::Zero(d));
        const Approx bent = PowPositive<false>(b, hn::Set(d, kRel), pl.curve);
        b = hn::IfThenElseZero(positive, bent.v);  // pow(0, curve > 0) = 0
        eb = hn::IfThenElseZero(positive, bent.err);
    }
    return {b, hn::IfThenElseZero(hn::Gt(ln, hn::Zero(d)), eb)};
}

// The palette position p in [0, 1] from the normalised count, with a bound on the scaled
// position p*n; exact where the count is.
HWY_INLINE Approx Position(const Plan& pl, V b, V eb) {
    const D d;
    const V t = hn::Add(hn::Add(hn::Mul(hn::Set(d, pl.frequency), b), hn::Set(d, pl.offset)),
                        hn::Set(d, pl.shift));
    V p = hn::Sub(t, hn::Trunc(t));  // exact
    p = hn::IfThenElse(hn::Lt(p, hn::Zero(d)), hn::Add(p, hn::Set(d, 1.0)), p);
    const V ev = hn::Add(hn::Mul(eb, hn::Set(d, pl.positionGain)), hn::Set(d, pl.positionSlack));
    return {p, hn::IfThenElseZero(hn::Gt(eb, hn::Zero(d)), ev)};
}

constexpr std::size_t kBlock = 128;  // pixels per block; a multiple of every lane count

// Per-block working arrays. Each pass below walks a block in whole vectors with a short loop
// body whose iterations are independent, so the processor overlaps many of them instead of
// waiting on one long chain (log, position, table, shadings, bytes) per vector. Vectors of
// interior pixels only are skipped by every pass.
struct Scratch {
    alignas(64) double nu[kBlock], dist[kBlock], trap[kBlock];
    alignas(64) double count[kBlock], countErr[kBlock];    // normalised count b
    alignas(64) double frac[kBlock];         // position within the table cell
    alignas(64) double fracErr[kBlock];      // bound on the scaled position, so on frac
    alignas(64) std::int64_t cell[kBlock];   // the table cell: the first colour blended
    alignas(64) double pair[3][2 * kBlock];  // per channel, per pixel: the two values blended
    alignas(64) double weight[kBlock], weightErr[kBlock];  // trap weight w
    alignas(64) double falloff[kBlock], falloffErr[kBlock];  // glow falloff e
    alignas(64) double amount[kBlock], amountErr[kBlock];  // glow amount G*e*strength
    alignas(64) double edge[kBlock], edgeErr[kBlock];      // edge factor
    alignas(64) double redo[kBlock];         // all ones where colorPixel must redo the pixel
    alignas(64) std::uint32_t word[kBlock];  // packed RGBA
    bool live[kBlock];                       // at a vector's first pixel: some pixel is exterior
};

HWY_INLINE void MarkRedo(Scratch& s, std::size_t at, M m) {
    const D d;
    hn::Store(hn::Or(hn::Load(d, s.redo + at), hn::VecFromMask(d, m)), d, s.redo + at);
}

// Widens count records (padded with interior pixels to whole vectors); marks non-finite
// distances for colorPixel and the vectors that hold exterior pixels.
HWY_INLINE void LoadPass(const Plan& pl, const PixelExtendedData* data, std::size_t count,
                         Scratch& s) {
    const D d;
    const hn::Rebind<float, D> df;
    const std::size_t lanes = hn::Lanes(d);
    for (std::size_t at = 0; at < count; at += lanes) {
        PixelExtendedData padded[kMaxLanes];
        const PixelExtendedData* src = data + at;
        if (count - at < lanes) {
            for (std::size_t l = 0; l < lanes; ++l)
                padded[l] = at + l < count ? data[at + l] : kInteriorPad;
            src = padded;
        }
        hn::Vec<decltype(df)> nu, dist, trap;
        hn::LoadInterleaved3(df, &src->nu, nu, dist, trap);
        const V vn = hn::PromoteTo(d, nu), vd = hn::PromoteTo(d, dist), vt = hn::PromoteTo(d, trap);
        hn::Store(vn, d, s.nu + at);
        hn::Store(vd, d, s.dist + at);
        hn::Store(vt, d, s.trap + at);
        const M bad = hn::Not(hn::And(hn::IsFinite(vd), hn::IsFinite(vt)));
        hn::Store(hn::VecFromMask(d, bad), d, s.redo + at);
        s.live[at] = !hn::AllFalse(d, hn::Lt(vn, hn::Set(d, pl.maxIter)));
    }
}

// One approximated input of every vector that holds an exterior pixel: fn of the per-pixel
// values in `in`, into value and err.
template <class Fn>
HWY_INLINE void InputPass(std::size_t count, Scratch& s, const double* in, double* value, double* err,
                          Fn fn) {
    const D d;
    for (std::size_t at = 0; at < count; at += hn::Lanes(d)) {
        if (!s.live[at]) continue;
        const Approx a = fn(hn::Load(d, in + at));
        hn::Store(a.v, d, value + at);
        hn::Store(a.err, d, err + at);
    }
}

// The normalised counts.
HWY_INLINE void CountPass(const Plan& pl, std::size_t count, Scratch& s) {
    InputPass(count, s, s.nu, s.count, s.countErr, [&](V nu) { return NormalisedCount(pl, nu); });
}

// Palette cells: which two colours blend and by how much; marks lanes whose cell could
// differ from colorPixel's (the scaled position within its bound of a cell border).
HWY_INLINE void CellPass(const Plan& pl, std::size_t count, Scratch& s) {
    const D d;
    const DI di;
    const V n = hn::Set(d, pl.tableSize);
    const V zero = hn::Zero(d), one = hn::Set(d, 1.0);
    for (std::size_t at = 0; at < count; at += hn::Lanes(d)) {
        if (!s.live[at]) continue;
        const Approx p = Position(pl, hn::Load(d, s.count + at), hn::Load(d, s.countErr + at));
        const V v = hn::Mul(p.v, n);
        V whole = hn::Floor(v);
        const V f = hn::Sub(v, whole);
        MarkRedo(s, at, hn::Or(hn::Lt(f, p.err), hn::Lt(hn::Sub(one, f), p.err)));
        // Lanes outside [0, n) (interior or redone lanes; v = n is p = 1) read cell 0.
        whole = hn::IfThenElseZero(hn::And(hn::Ge(whole, zero), hn::Lt(whole, n)), whole);
        hn::Store(hn::ConvertTo(di, whole), di, s.cell + at);
        hn::Store(f, d, s.frac + at);
        hn::Store(p.err, d, s.fracErr + at);
    }
}

// The two table colours of every pixel, copied as value pairs from the plan's pair table
// with plain loads: a vector gather of three channels from two cells costs several times more.
HWY_INLINE void TablePass(const Plan& pl, std::size_t count, Scratch& s) {
    const std::size_t lanes = hn::Lanes(D());
    for (std::size_t at = 0; at < count; at += lanes) {
        if (!s.live[at]) continue;
        for (std::size_t k = at; k < at + lanes; ++k) {
            const double* src = pl.pairs + 2 * s.cell[k];
            for (int ch = 0; ch < 3; ++ch)
                std::memcpy(s.pair[ch] + 2 * k, src + ch * pl.pairStride, 2 * sizeof(double));
        }
    }
}

// Trap weight w = clamp(q / reach, 0, 1)^sharpness; exact where q >= reach (1) or q <= 0 (0).
HWY_INLINE void TrapPass(const Plan& pl, std::size_t count, Scratch& s) {
    const D d;
    const V one = hn::Set(d, 1.0);
    for (std::size_t at = 0; at < count; at += hn::Lanes(d)) {
        if (!s.live[at]) continue;
        const V q = hn::Load(d, s.trap + at);
        const M partial = hn::And(hn::Gt(q, hn::Zero(d)), hn::Lt(q, hn::Set(d, pl.trapReach)));
        V w = hn::IfThenElseZero(hn::Gt(q, hn::Zero(d)), one);
        V ew = hn::Zero(d);
        if (!hn::AllFalse(d, partial)) {
            // Within 2^-51 of q / reach, and a normal number (the plan keeps reach <= 1e200).
            const V k = hn::Min(hn::Mul(q, hn::Set(d, pl.inverseReach)), one);
            const Approx pw = PowPositive<true>(k, hn::Set(d, 0x1p-50), pl.trapSharpness);
            w = hn::IfThenElse(partial, pw.v, w);
            ew = hn::IfThenElseZero(partial, pw.err);
        }
        hn::Store(w, d, s.weight + at);
        hn::Store(ew, d, s.weightErr + at);
    }
}

// e = exp(-1.5*d / r): exactly 1 on and inside the boundary, exactly 0 far out in the tail.
HWY_INLINE Approx GlowFalloff(const Plan& pl, V dist) {
    const D d;
    const M inside = hn::Le(dist, hn::Zero(d));
    // Within 2^-51 relative of colorPixel's -1.5*d / r, so exp(x) within |x|*2^-51 relative.
    const V x = hn::Mul(hn::Mul(hn::Set(d, -1.5), dist), hn::Set(d, pl.inverseRadius));
    // Below -746 the exact exponential is under half the smallest subnormal: 0 on both sides.
    const M live = hn::AndNot(inside, hn::Ge(x, hn::Set(d, -746.0)));
    const V one = hn::Set(d, 1.0);
    if (hn::AllFalse(d, live)) return {hn::IfThenElseZero(inside, one), hn::Zero(d)};
    const V e = hn::IfThenElseZero(live, hn::Exp(d, x));
    const V rel = hn::Add(hn::Set(d, kRel), hn::Mul(hn::Abs(x), hn::Set(d, 0x1p-50)));
    const V ee = hn::IfThenElseZero(live, hn::Add(hn::Mul(e, rel), hn::Set(d, kTiny)));
    return {hn::IfThenElse(inside, one, e), ee};
}

// The glow falloffs.
HWY_INLINE void FalloffPass(const Plan& pl, std::size_t count, Scratch& s) {
    InputPass(count, s, s.dist, s.falloff, s.falloffErr, [&](V dist) { return GlowFalloff(pl, dist); });
}

// Glow amount a = G*e*strength.
HWY_INLINE void AmountPass(const Plan& pl, std::size_t count, Scratch& s) {
    const D d;
    const double scale = std::abs(pl.glowIntensity) * std::abs(pl.glowStrength) * (1 + 0x1p-40);
    for (std::size_t at = 0; at < count; at += hn::Lanes(d)) {
        if (!s.live[at]) continue;
        const V e = hn::Load(d, s.falloff + at);
        const V a = hn::Mul(hn::Mul(hn::Set(d, pl.glowIntensity), e), hn::Set(d, pl.glowStrength));
        V ea = hn::Mul(hn::Load(d, s.falloffErr + at), hn::Set(d, scale));
        ea = hn::Add(ea, Slack(ea, hn::Abs(a)));
        hn::Store(a, d, s.amount + at);
        hn::Store(ea, d, s.amountErr + at);
    }
}

// The edge factor in the fade band, where the logarithm is needed.
HWY_INLINE Approx FadeFactor(const Plan& pl, V x) {
    const D d;
    const V lg = hn::Mul(LogNormal(x), hn::Set(d, 1.4426950408889634));
    // kRel relative from the logarithm; 2^-49 absolute from x's own 2^-51 relative error.
    const V elg = hn::Add(hn::Mul(hn::Abs(lg), hn::Set(d, kRel)), hn::Set(d, 0x1p-49));
    const V thickness = hn::Set(d, pl.demThickness);
    const V inverse = hn::Set(d, pl.inverseSoftness);
    const V raw = hn::Add(hn::Mul(hn::Sub(lg, thickness), inverse), hn::Set(d, 0.5));
    const V absInverse = hn::Abs(inverse);
    V e = hn::Mul(elg, hn::Mul(absInverse, hn::Set(d, 1 + 0x1p-40)));
    const V spread = hn::Mul(hn::Add(hn::Abs(lg), hn::Abs(thickness)), absInverse);
    e = hn::Add(e,
                Slack(e, hn::Add(hn::Add(spread, spread), hn::Add(hn::Abs(raw), hn::Set(d, 0.5)))));
    return {Clamp01(raw), ClampedErr(raw, e)};
}

// The edge factor f = clamp((log2(x) - thickness) / softness + 0.5, 0, 1), x = d / pixelSize
// raised to the smallest normal. Exact where d <= 0 (a plan constant) and outside the fade
// band (0 below it, 1 above it, with a margin far beyond every rounding).
HWY_INLINE void EdgePass(const Plan& pl, std::size_t count, Scratch& s) {
    const D d;
    for (std::size_t at = 0; at < count; at += hn::Lanes(d)) {
        if (!s.live[at]) continue;
        const V dist = hn::Load(d, s.dist + at);
        const M inside = hn::Le(dist, hn::Zero(d));
        const V x =
            hn::Max(hn::Mul(dist, hn::Set(d, pl.inversePixel)), hn::Set(d, kSmallestNormal));
        MarkRedo(s, at, hn::Not(hn::IsFinite(x)));
        const M above = hn::Ge(x, hn::Set(d, pl.fadeEnd));
        const M below = hn::Le(x, hn::Set(d, pl.fadeStart));
        V f = hn::IfThenElseZero(above, hn::Set(d, 1.0));
        V ef = hn::Zero(d);
        const M fading = hn::Not(hn::Or(inside, hn::Or(above, below)));
        if (!hn::AllFalse(d, fading)) {
            const Approx fade = FadeFactor(pl, x);
            f = hn::IfThenElse(fading, fade.v, f);
            ef = hn::IfThenElseZero(fading, fade.err);
        }
        hn::Store(hn::IfThenElse(inside, hn::Set(d, pl.floorFactor), f), d, s.edge + at);
        hn::Store(ef, d, s.edgeErr + at);
    }
}

// The inputs of one vector that do not depend on the channel; bound terms on the 0..255 scale.
struct Shared {
    V frac;
    V position;     // scaled-position bound times the plan's gain: times |delta|
    V positionErr;  // the scaled-position bound itself, for clamp tests
    V weight, glintRest, traps;
    V amount, amountLow, amountHigh, glow;
    V edge, edges;
};

HWY_INLINE Shared LoadShared(const Plan& pl, const Scratch& s, std::size_t at) {
    const D d;
    const V zero = hn::Zero(d);
    Shared v{};
    v.frac = hn::Load(d, s.frac + at);
    v.positionErr = hn::Load(d, s.fracErr + at);
    v.position = hn::Mul(v.positionErr, hn::Set(d, pl.sampleScale));
    v.traps = v.glow = v.edges = zero;
    if (pl.traps) {
        v.weight = hn::Load(d, s.weight + at);
        v.glintRest = hn::Mul(hn::Set(d, pl.trapGlint), hn::Sub(hn::Set(d, 1.0), v.weight));
        v.traps = hn::Mul(hn::Load(d, s.weightErr + at), hn::Set(d, pl.trapScale));
    }
    if (pl.glow) {
        v.amount = hn::Load(d, s.amount + at);
        const V ea = hn::Load(d, s.amountErr + at);
        v.amountLow = hn::Sub(v.amount, ea);
        v.amountHigh = hn::Add(v.amount, ea);
        v.glow = hn::Mul(ea, hn::Set(d, pl.glowScale));
    }
    if (pl.edges) {
        v.edge = hn::Load(d, s.edge + at);
        v.edges = hn::Mul(hn::Load(d, s.edgeErr + at), hn::Set(d, pl.edgeScale));
    }
    return v;
}

// The halo colour of one channel: fixed, or tinted towards the pixel's own brightened colour.
HWY_INLINE V Halo(const Plan& pl, int ch, V c) {
    const D d;
    if (!(pl.glowTint > 0)) return hn::Set(d, pl.halo[ch]);
    const V own = hn::Min(hn::Mul(hn::Set(d, 1.6), c), hn::Set(d, 1.0));
    return hn::Add(hn::Set(d, pl.halo[ch]), hn::Mul(hn::Set(d, pl.glowTint), own));
}

// Glow on one channel: c*dim + h*a, and its bound. With c exact (err 0) the sum is monotonic
// in a: where both ends of a's interval give the same double, so does colorPixel's a, and the
// glow adds no error at all.
HWY_INLINE void GlowChannel(const Plan& pl, int ch, const Shared& v, V& c, V& err) {
    const D d;
    const V h = Halo(pl, ch, c);
    const V base = hn::Mul(c, hn::Set(d, pl.glowDim));
    const bool one = pl.haloOne[ch];  // x * 1.0 is x: skip the products
    const M exact = hn::Eq(err, hn::Zero(d));
    if (hn::AllFalse(d, exact)) {
        err = hn::Add(err, v.glow);
    } else {
        const V low = hn::Add(base, one ? v.amountLow : hn::Mul(h, v.amountLow));
        const V high = hn::Add(base, one ? v.amountHigh : hn::Mul(h, v.amountHigh));
        err = hn::Add(err, hn::IfThenZeroElse(hn::And(exact, hn::Eq(low, high)), v.glow));
    }
    c = hn::Add(base, one ? v.amount : hn::Mul(h, v.amount));
}

// One channel: colorPixel's operations in its order, then the check of its truncation.
// Returns the byte value (0..255, as a double); marks the lane unsure when the bound
// straddles an integer. A bound is zero exactly when every input of the channel is exact
// (the plan rules out bounds that could underflow to zero).
template <bool kTraps, bool kGlow, bool kEdges>
HWY_INLINE V Channel(const Plan& pl, int ch, const Scratch& s, std::size_t at, const Shared& v,
                     M& unsure) {
    const D d;
    const V zero = hn::Zero(d);
    V a, next;
    hn::LoadInterleaved2(d, s.pair[ch] + 2 * at, a, next);
    const V delta = hn::Sub(next, a);
    const V raw = hn::Add(a, hn::Mul(v.frac, delta));
    V c = Clamp01(raw);
    V err = hn::Mul(v.position, hn::Abs(delta));
    if (!pl.unitTable) {  // clamped to the same end on both sides: exact
        // The bound on raw, with the roundings of f*delta and the sum on either side.
        const V e = hn::Add(hn::Mul(v.positionErr, hn::Abs(delta)),
                            hn::Mul(hn::Add(hn::Abs(a), hn::Abs(delta)), hn::Set(d, 0x1p-50)));
        const M clamped =
            hn::Or(hn::Gt(hn::Sub(raw, e), hn::Set(d, 1.0)), hn::Lt(hn::Add(raw, e), zero));
        err = hn::IfThenZeroElse(clamped, err);
    }
    if (kTraps) {
        c = hn::Add(hn::Mul(c, v.weight), v.glintRest);
        err = hn::Add(err, v.traps);
    }
    if (kGlow) GlowChannel(pl, ch, v, c, err);
    if (kEdges) {
        c = hn::Mul(c, v.edge);
        err = hn::Add(err, v.edges);
    }
    err = hn::Add(err, hn::IfThenElseZero(hn::Gt(err, zero), hn::Set(d, pl.slack)));
    // colorPixel's value lies in [y - err, y + err] (clamped to [0, 255] it is clamp01(c)*255,
    // with the same bits where c is exact). Its truncation is settled unless an integer n in
    // 1..255 lies in (y - err, y + err]; the slack's last term outweighs the roundings of
    // y -+ err. Where settled, the byte is that of the upper end.
    const V top = hn::Set(d, 255.0);
    const V y = hn::Mul(c, top);
    const V n = hn::Min(hn::Floor(hn::Add(y, err)), top);
    const M straddles = hn::And(hn::Gt(n, hn::Sub(y, err)), hn::Ge(n, hn::Set(d, 1.0)));
    unsure = hn::Or(unsure, straddles);
    return hn::Max(n, zero);
}

// Every pixel of the block: the three channels into packed RGBA words.
template <bool kTraps, bool kGlow, bool kEdges>
HWY_NOINLINE void ColourPass(const Plan& pl, std::size_t count, Scratch& s) {
    const D d;
    const hn::Rebind<std::int32_t, D> di32;
    const hn::Rebind<std::uint32_t, D> du32;
    const auto alpha = hn::Set(du32, 0xFF000000u);
    for (std::size_t at = 0; at < count; at += hn::Lanes(d)) {
        if (!s.live[at]) {
            hn::Store(alpha, du32, s.word + at);
            continue;
        }
        const Shared v = LoadShared(pl, s, at);
        M unsure = hn::Lt(hn::Zero(d), hn::Zero(d));
        const V r = Channel<kTraps, kGlow, kEdges>(pl, 0, s, at, v, unsure);
        const V g = Channel<kTraps, kGlow, kEdges>(pl, 1, s, at, v, unsure);
        const V b = Channel<kTraps, kGlow, kEdges>(pl, 2, s, at, v, unsure);
        V word =
            hn::Add(hn::Add(r, hn::Mul(g, hn::Set(d, 256.0))), hn::Mul(b, hn::Set(d, 65536.0)));
        word = hn::IfThenElseZero(hn::Lt(hn::Load(d, s.nu + at), hn::Set(d, pl.maxIter)), word);
        hn::Store(hn::Or(hn::BitCast(du32, hn::DemoteTo(di32, word)), alpha), du32, s.word + at);
        MarkRedo(s, at, unsure);
    }
}

// Hands the exterior pixels the check rejected to colorPixel; returns how many.
HWY_INLINE std::int64_t RedoPass(const Plan& pl, const PixelExtendedData* data, std::size_t count,
                                 Scratch& s, std::uint8_t* rgba) {
    const D d;
    std::int64_t redone = 0;
    for (std::size_t at = 0; at < count; at += hn::Lanes(d)) {
        if (!s.live[at]) continue;
        const M redo = hn::And(hn::MaskFromVec(hn::Load(d, s.redo + at)),
                               hn::Lt(hn::Load(d, s.nu + at), hn::Set(d, pl.maxIter)));
        if (hn::AllFalse(d, redo)) continue;
        alignas(8) std::uint8_t bits[8] = {};
        hn::StoreMaskBits(d, redo, bits);
        for (std::size_t l = 0; l < hn::Lanes(d) && at + l < count; ++l) {
            if (((bits[l / 8] >> (l % 8)) & 1) == 0) continue;
            colorPixel(*pl.params, data[at + l], rgba + 4 * (at + l));
            ++redone;
        }
    }
    return redone;
}

// ---- Kept inputs ----
//
// Codes of a kept count: +inf for an interior pixel, NaN for one colorPixel always redoes (a
// distance that is not finite), else b, negated where it is approximate (-0 included). The
// shadings' values are in [0, 1] and kept in 32 bits, negated where approximate; the edge
// factor of a pixel on or inside the boundary is kept as 2 (the plan's exact floor factor).
// Exact values (0, 1, the count 0) are 32-bit numbers, so they come back exact.

constexpr float kFloorCode = 2.0f;

HWY_INLINE M SignBit(V v) {
    const D d;
    const DI di;
    return hn::RebindMask(d, hn::Lt(hn::BitCast(di, v), hn::Zero(di)));
}

// v where exact (bound zero), -v where approximate.
HWY_INLINE V Signed(Approx a) {
    const D d;
    return hn::IfThenElse(hn::Gt(a.err, hn::Zero(d)), hn::Neg(a.v), a.v);
}

// Stores a block's inputs after the passes that make them, before the passes that may mark
// further pixels for colorPixel (cell borders, truncations): those depend on the palette.
HWY_INLINE void KeepPass(const Plan& pl, std::size_t count, const Scratch& s,
                         const ColourInputRow& out) {
    const D d;
    const hn::Rebind<float, D> df;
    const std::size_t lanes = hn::Lanes(d);
    const V inf = hn::Set(d, HUGE_VAL);
    alignas(64) double codes[kMaxLanes];
    alignas(64) float values[3][kMaxLanes];
    for (std::size_t at = 0; at < count; at += lanes) {
        const std::size_t n = count - at < lanes ? count - at : lanes;
        V code = inf;
        auto w = hn::Zero(df), e = hn::Zero(df), f = hn::Zero(df);
        if (s.live[at]) {
            const M interior = hn::Not(hn::Lt(hn::Load(d, s.nu + at), hn::Set(d, pl.maxIter)));
            const M redo = hn::MaskFromVec(hn::Load(d, s.redo + at));
            code = Signed({hn::Load(d, s.count + at), hn::Load(d, s.countErr + at)});
            code = hn::IfThenElse(interior, inf, hn::IfThenElse(redo, hn::Set(d, NAN), code));
            if (pl.traps)
                w = hn::DemoteTo(df, Signed({hn::Load(d, s.weight + at), hn::Load(d, s.weightErr + at)}));
            if (pl.glow)
                e = hn::DemoteTo(df, Signed({hn::Load(d, s.falloff + at), hn::Load(d, s.falloffErr + at)}));
            if (pl.edges) {
                const M inside = hn::Le(hn::Load(d, s.dist + at), hn::Zero(d));
                const V edge = Signed({hn::Load(d, s.edge + at), hn::Load(d, s.edgeErr + at)});
                f = hn::DemoteTo(df, hn::IfThenElse(inside, hn::Set(d, kFloorCode), edge));
            }
        }
        hn::Store(code, d, codes);
        std::memcpy(out.count + at, codes, n * sizeof(double));
        if (pl.traps) {
            hn::Store(w, df, values[0]);
            std::memcpy(out.weight + at, values[0], n * sizeof(float));
        }
        if (pl.glow) {
            hn::Store(e, df, values[1]);
            std::memcpy(out.falloff + at, values[1], n * sizeof(float));
        }
        if (pl.edges) {
            hn::Store(f, df, values[2]);
            std::memcpy(out.edge + at, values[2], n * sizeof(float));
        }
    }
}

// A kept 32-bit value and its bound: |v| times rel plus abs where approximate.
HWY_INLINE Approx RecallValue(const float* src, double rel, double abs) {
    const D d;
    const hn::Rebind<float, D> df;
    const V v = hn::PromoteTo(d, hn::LoadU(df, src));
    const V a = hn::Abs(v);
    return {a, hn::IfThenElseZero(SignBit(v), hn::Add(hn::Mul(a, hn::Set(d, rel)), hn::Set(d, abs)))};
}

// Loads a block's kept inputs where LoadPass and the input passes would have computed them.
// Every bound covers the original one plus the rounding to 32 bits (see the plan).
HWY_INLINE void RecallPass(const Plan& pl, const ColourInputRow& in, std::size_t count,
                           Scratch& s) {
    const D d;
    const std::size_t lanes = hn::Lanes(d);
    const V inf = hn::Set(d, HUGE_VAL);
    alignas(64) double codes[kMaxLanes];
    alignas(64) float values[3][kMaxLanes] = {};
    for (std::size_t at = 0; at < count; at += lanes) {
        const std::size_t n = count - at < lanes ? count - at : lanes;
        const bool whole = n == lanes;
        V code;
        if (whole) {
            code = hn::LoadU(d, in.count + at);
        } else {
            for (std::size_t l = 0; l < lanes; ++l) codes[l] = l < n ? in.count[at + l] : HUGE_VAL;
            code = hn::Load(d, codes);
        }
        const M interior = hn::Eq(code, inf);
        const M redo = hn::IsNaN(code);
        hn::Store(hn::IfThenElseZero(interior, inf), d, s.nu + at);  // 0 is below every ceiling
        hn::Store(hn::VecFromMask(d, redo), d, s.redo + at);
        s.live[at] = !hn::AllTrue(d, interior);
        if (!s.live[at]) continue;
        const M special = hn::Or(interior, redo);
        const V b = hn::IfThenZeroElse(special, hn::Abs(code));
        const V eb = pl.curveOn ? hn::Add(hn::Mul(b, hn::Set(d, pl.countRel)), hn::Set(d, kTiny))
                                : hn::Mul(b, hn::Set(d, kRel));
        hn::Store(b, d, s.count + at);
        hn::Store(hn::IfThenElseZero(hn::AndNot(special, SignBit(code)), eb), d, s.countErr + at);
        const auto source = [&](const float* row, float* staged) {
            if (whole) return row + at;
            std::memcpy(staged, row + at, n * sizeof(float));
            return static_cast<const float*>(staged);
        };
        if (pl.traps) {
            const Approx w = RecallValue(source(in.weight, values[0]), pl.weightRel, 0x1p-140);
            hn::Store(w.v, d, s.weight + at);
            hn::Store(w.err, d, s.weightErr + at);
        }
        if (pl.glow) {
            const Approx e = RecallValue(source(in.falloff, values[1]), pl.falloffRel, 0x1p-140);
            hn::Store(e.v, d, s.falloff + at);
            hn::Store(e.err, d, s.falloffErr + at);
        }
        if (pl.edges) {
            const Approx f = RecallValue(source(in.edge, values[2]), pl.edgeRel, pl.edgeAbs);
            const M floor = hn::Eq(f.v, hn::Set(d, static_cast<double>(kFloorCode)));
            hn::Store(hn::IfThenElse(floor, hn::Set(d, pl.floorFactor), f.v), d, s.edge + at);
            hn::Store(f.err, d, s.edgeErr + at);
        }
    }
}

using ColourFn = void (*)(const Plan&, std::size_t, Scratch&);

// The colour pass compiled for the plan's shadings, so no flag is tested per channel.
ColourFn ColourPassFor(const Plan& pl) {
    static constexpr ColourFn kPasses[8] = {
        ColourPass<false, false, false>, ColourPass<false, false, true>,
        ColourPass<false, true, false>,  ColourPass<false, true, true>,
        ColourPass<true, false, false>,  ColourPass<true, false, true>,
        ColourPass<true, true, false>,   ColourPass<true, true, true>};
    return kPasses[(pl.traps ? 4 : 0) + (pl.glow ? 2 : 0) + (pl.edges ? 1 : 0)];
}

// Colours count pixels; with InputUse::keep also stores their inputs in `row`, with
// InputUse::recall takes them from there instead of computing them from data.
std::int64_t ColorSpanImpl(const Plan& pl, const PixelExtendedData* data, std::size_t count,
                           std::uint8_t* rgba, shading_fast::InputUse use, const ColourInputRow& row) {
    using shading_fast::InputUse;
    const ColourFn colour = ColourPassFor(pl);
    Scratch s;
    std::int64_t redone = 0;
    for (std::size_t at = 0; at < count; at += kBlock) {
        const std::size_t n = count - at < kBlock ? count - at : kBlock;
        const auto from = [at](auto* p) { return p ? p + at : p; };
        const ColourInputRow here{from(row.count), from(row.weight), from(row.falloff), from(row.edge)};
        if (use == InputUse::recall) {
            RecallPass(pl, here, n, s);
        } else {
            LoadPass(pl, data + at, n, s);
            CountPass(pl, n, s);
            if (pl.traps) TrapPass(pl, n, s);
            if (pl.glow) FalloffPass(pl, n, s);
            if (pl.edges) EdgePass(pl, n, s);
            if (use == InputUse::keep) KeepPass(pl, n, s, here);
        }
        CellPass(pl, n, s);
        TablePass(pl, n, s);
        if (pl.glow) AmountPass(pl, n, s);
        colour(pl, n, s);
        std::memcpy(rgba + 4 * at, s.word, 4 * n);
        redone += RedoPass(pl, data + at, n, s, rgba + 4 * at);
    }
    return redone;
}

// ---- Relief ----

using DF = hn::ScalableTag<float>;
using VF = hn::Vec<DF>;
using MF = hn::Mask<DF>;
constexpr std::size_t kMaxFloatLanes = HWY_MAX_BYTES / sizeof(float);

// Diffuse factor D and specular amount S from the elevation gradient: the relief steps in
// 32-bit floats, operation by operation and in their order (nothing fused). Marks lanes whose
// dot products are not a number (a non-finite light or tuning).
HWY_INLINE void LitFactors(const detail::ReliefFactors& f, VF gx, VF gy, VF& diffuse, VF& specular,
                           MF& notANumber) {
    const DF df;
    const VF zero = hn::Zero(df), one = hn::Set(df, 1.0f);
    const VF calm = hn::Set(df, f.edgeCalm);
    const VF g = hn::Sqrt(hn::Add(hn::Mul(gx, gx), hn::Mul(gy, gy)));
    const MF capped = hn::Gt(g, calm);
    const VF scale = hn::Div(calm, g);
    gx = hn::IfThenElse(capped, hn::Mul(gx, scale), gx);
    gy = hn::IfThenElse(capped, hn::Mul(gy, scale), gy);
    const VF nx = hn::Mul(hn::Neg(gx), hn::Set(df, f.height));
    const VF ny = hn::Mul(hn::Neg(gy), hn::Set(df, f.height));
    const VF n = hn::Sqrt(hn::Add(hn::Add(hn::Mul(nx, nx), hn::Mul(ny, ny)), one));
    const VF normalX = hn::Div(nx, n), normalY = hn::Div(ny, n), normalZ = hn::Div(one, n);
    const VF half =
        hn::Add(hn::Add(hn::Mul(normalX, hn::Set(df, f.hx)), hn::Mul(normalY, hn::Set(df, f.hy))),
                hn::Mul(normalZ, hn::Set(df, f.hz)));
    const VF light =
        hn::Add(hn::Add(hn::Mul(hn::Set(df, f.lx), normalX), hn::Mul(hn::Set(df, f.ly), normalY)),
                hn::Mul(hn::Set(df, f.lz), normalZ));
    notANumber = hn::Or(notANumber, hn::Or(hn::IsNaN(half), hn::IsNaN(light)));
    VF sp = hn::Max(half, zero);
    sp = hn::Mul(sp, sp);
    sp = hn::Mul(sp, sp);
    sp = hn::Mul(sp, sp);
    sp = hn::Mul(sp, sp);  // ^16
    specular = hn::Mul(hn::Set(df, f.shine), sp);
    const VF ambient = hn::Set(df, f.ambient);
    diffuse = hn::Add(ambient, hn::Mul(hn::Sub(one, ambient), hn::Max(light, zero)));
}

// One channel: D*v + (v + 255)*0.5*S clamped to [0, 255], truncated. D = 1, S = 0 keep v.
template <class DU8, class VU8>
HWY_INLINE VU8 LitChannel(DU8 du8, VU8 bytes, VF diffuse, VF specular, MF& notANumber) {
    const DF df;
    const hn::Rebind<std::int32_t, DF> di;
    const VF v = hn::ConvertTo(df, hn::PromoteTo(di, bytes));
    const VF lit =
        hn::Add(hn::Mul(diffuse, v),
                hn::Mul(hn::Mul(hn::Add(v, hn::Set(df, 255.0f)), hn::Set(df, 0.5f)), specular));
    notANumber = hn::Or(notANumber, hn::IsNaN(lit));
    const VF clamped = hn::Min(hn::Max(lit, hn::Zero(df)), hn::Set(df, 255.0f));
    return hn::DemoteTo(du8, hn::ConvertTo(di, clamped));  // truncates
}

// Lights the lanes of one vector of columns whose elevation rows are given lane by lane.
HWY_INLINE void LightLanes(const detail::ReliefFactors& f, VF above, VF here, VF below, VF left,
                           VF right, std::uint8_t* pixels, MF& notANumber) {
    const DF df;
    const hn::Rebind<std::uint8_t, DF> du8;
    VF diffuse, specular;
    MF factorsNaN = hn::Lt(hn::Zero(df), hn::Zero(df));
    LitFactors(f, hn::Sub(right, left), hn::Sub(below, above), diffuse, specular, factorsNaN);
    const MF exterior = hn::Lt(here, hn::Set(df, 1.0f));  // interior pixels keep their colour
    diffuse = hn::IfThenElse(exterior, diffuse, hn::Set(df, 1.0f));
    specular = hn::IfThenElseZero(exterior, specular);
    notANumber = hn::Or(notANumber, hn::And(factorsNaN, exterior));
    hn::Vec<decltype(du8)> r, g, b, a;
    hn::LoadInterleaved4(du8, pixels, r, g, b, a);
    r = LitChannel(du8, r, diffuse, specular, notANumber);
    g = LitChannel(du8, g, diffuse, specular, notANumber);
    b = LitChannel(du8, b, diffuse, specular, notANumber);
    hn::StoreInterleaved4(r, g, b, a, du8, pixels);
}

// A vector of columns at the row's ends: neighbours clamped to the row, lanes past its end
// padded, pixels staged.
HWY_INLINE void LightEdge(const detail::ReliefFactors& f, const float* above, const float* here,
                          const float* below, int width, int from, std::uint8_t* pixels,
                          MF& notANumber) {
    const DF df;
    const int lanes = static_cast<int>(hn::Lanes(df));
    alignas(64) float rows[5][kMaxFloatLanes];
    alignas(64) std::uint8_t staged[4 * kMaxFloatLanes] = {};
    const int count = std::min(lanes, width - from);
    for (int l = 0; l < lanes; ++l) {
        const int i = std::min(from + l, width - 1);
        rows[0][l] = above[i];
        rows[1][l] = here[i];
        rows[2][l] = below[i];
        rows[3][l] = here[i > 0 ? i - 1 : 0];
        rows[4][l] = here[i + 1 < width ? i + 1 : width - 1];
    }
    std::memcpy(staged, pixels + 4 * from, 4 * static_cast<std::size_t>(count));
    LightLanes(f, hn::Load(df, rows[0]), hn::Load(df, rows[1]), hn::Load(df, rows[2]),
               hn::Load(df, rows[3]), hn::Load(df, rows[4]), staged, notANumber);
    std::memcpy(pixels + 4 * from, staged, 4 * static_cast<std::size_t>(count));
}

bool LightRowImpl(const detail::ReliefFactors& f, const float* above, const float* here,
                  const float* below, int width, std::uint8_t* pixels) {
    const DF df;
    const int lanes = static_cast<int>(hn::Lanes(df));
    MF notANumber = hn::Lt(hn::Zero(df), hn::Zero(df));
    for (int from = 0; from < width; from += lanes) {
        if (from == 0 || from + lanes + 1 > width) {
            LightEdge(f, above, here, below, width, from, pixels, notANumber);
            continue;
        }
        LightLanes(f, hn::LoadU(df, above + from), hn::LoadU(df, here + from),
                   hn::LoadU(df, below + from), hn::LoadU(df, here + from - 1),
                   hn::LoadU(df, here + from + 1), pixels + 4 * from, notANumber);
    }
    return hn::AllFalse(df, notANumber);
}

// The approximated functions on their own, for accuracy tests.
template <class Fn>
HWY_INLINE void MapLanes(const double* in, double* out, std::size_t count, Fn fn) {
    const D d;
    const std::size_t lanes = hn::Lanes(d);
    alignas(64) double buf[kMaxLanes];
    for (std::size_t at = 0; at < count; at += lanes) {
        const std::size_t n = count - at < lanes ? count - at : lanes;
        for (std::size_t l = 0; l < lanes; ++l) buf[l] = l < n ? in[at + l] : 1.0;
        hn::Store(fn(hn::Load(d, buf)), d, buf);
        std::memcpy(out + at, buf, n * sizeof(double));
    }
}

void FastLogImpl(const double* in, double* out, std::size_t count) {
    MapLanes(in, out, count, [](V x) { return hn::Log(D(), x); });
}

void FastExpImpl(const double* in, double* out, std::size_t count) {
    MapLanes(in, out, count, [](V x) { return hn::Exp(D(), x); });
}

}  // namespace HWY_NAMESPACE
}  // namespace gs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace gs {
namespace {

HWY_EXPORT(ColorSpanImpl);
HWY_EXPORT(FastLogImpl);
HWY_EXPORT(FastExpImpl);
HWY_EXPORT(LightRowImpl);

bool allFinite(std::initializer_list<double> values) {
    for (double v : values)
        if (!std::isfinite(v)) return false;
    return true;
}

// Within [1e-300, 1e300] in magnitude: safe to replace a division by a multiplication with
// the reciprocal (no overflow, no subnormal reciprocal).
bool moderate(double x) { return std::abs(x) >= 1e-300 && std::abs(x) <= 1e300; }

// What the fast path needs to know about a colour table. Kept per thread while the table's
// contents stay the same (the rows of a picture share one table), so rows pay only a compare.
struct TableFacts {
    std::vector<aColor> copy;   // the contents described
    bool finite = false;        // every component finite
    bool unit = false;          // every component within [0, 1]
    double largest = 0;         // largest component magnitude
    double smallestStep = 0;    // smallest non-zero difference between neighbouring colours
    std::vector<double> pairs;  // see Plan::pairs
};

void describe(TableFacts& f) {
    const std::size_t n = f.copy.size();
    f.finite = f.unit = true;
    f.largest = 0;
    f.smallestStep = HUGE_VAL;
    f.pairs.assign(6 * n, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        const aColor& a = f.copy[i];
        const aColor& b = f.copy[(i + 1) % n];
        const double here[3] = {a.r, a.g, a.b}, next[3] = {b.r, b.g, b.b};
        for (std::size_t ch = 0; ch < 3; ++ch) {
            f.finite = f.finite && std::isfinite(here[ch]);
            f.unit = f.unit && here[ch] >= 0 && here[ch] <= 1;
            f.largest = std::max(f.largest, std::abs(here[ch]));
            const double step = std::abs(next[ch] - here[ch]);
            if (step > 0) f.smallestStep = std::min(f.smallestStep, step);
            f.pairs[ch * 2 * n + 2 * i] = here[ch];
            f.pairs[ch * 2 * n + 2 * i + 1] = next[ch];
        }
    }
}

const TableFacts& tableFacts(const aColor* table, std::size_t n) {
    thread_local TableFacts facts;
    if (facts.copy.size() != n || std::memcmp(facts.copy.data(), table, n * sizeof(aColor)) != 0) {
        facts.copy.assign(table, table + n);
        describe(facts);
    }
    return facts;
}

// The palette part of the plan; false when the row is better left to colorPixel.
bool planPalette(const ColorParams& p, shading_fast::Plan& pl) {
    if (p.maxIter < 1 || p.tableSize == 0 || p.table == nullptr) return false;
    if (!allFinite({p.logMaxIter, p.frequency, p.cycleOffset, p.colorShift, p.tuning.curve}))
        return false;
    if (!(p.logMaxIter > 0) || !moderate(p.logMaxIter)) return false;
    const TableFacts& facts = tableFacts(p.table, p.tableSize);
    // A bound must not underflow to zero while its source is inexact (zero means exact).
    if (!facts.finite || facts.smallestStep < 1e-200) return false;
    pl.params = &p;
    pl.pairs = facts.pairs.data();
    pl.pairStride = 2 * p.tableSize;
    pl.unitTable = facts.unit;
    pl.tableMax = facts.largest;
    pl.tableSize = static_cast<double>(p.tableSize);
    pl.maxIter = p.maxIter;
    pl.inverseLog = 1 / p.logMaxIter;
    pl.frequency = p.frequency;
    pl.offset = p.cycleOffset;
    pl.shift = p.colorShift;
    pl.curveOn = p.tuning.curve != 1;
    pl.curve = p.tuning.curve;
    // A bent count's bound is b*rel + kTiny with rel = (curve + |y| + 2) * kRel, y = curve *
    // ln(unbent count); the unbent count lies in [2^-58, 1 + 2^-40], so |y| <= 41 * curve.
    pl.countRel = (pl.curve * 748 + 2) * shading_fast::kRel;
    return !pl.curveOn || pl.curve > 0;
}

// The relative bound of an approximated input in [0, 1] kept in 32 bits: its own relative
// bound rel, plus 2^-24 for the rounding to float, widened for the rounding of the bound
// itself. The absolute parts (kTiny, and 2^-150 for a float underflow) fit under 2^-140.
double keptRel(double rel) { return (rel + 0x1p-24) * (1 + 0x1p-20); }

bool planTraps(const ShadingTuning& t, shading_fast::Plan& pl) {
    pl.trapReach = t.trapReach;
    pl.inverseReach = 1 / t.trapReach;
    pl.trapSharpness = t.trapSharpness;
    pl.trapGlint = t.trapGlint;
    // w = k^s with k >= 2^-149 / 1e200 a normal number: |s ln k| <= 566 s.
    pl.weightRel = keptRel(t.trapSharpness * 0x1p-50 + (t.trapSharpness * 566 + 2) * shading_fast::kRel);
    return allFinite({t.trapSharpness, t.trapGlint}) && moderate(t.trapReach) && t.trapReach > 0 &&
           t.trapReach <= 1e200 && t.trapSharpness > 0;
}

bool planGlow(const ColorParams& p, shading_fast::Plan& pl) {
    const ShadingTuning& t = p.tuning;
    if (!allFinite(
            {p.pixelSize, t.glowRadius, t.glowStrength, t.glowDim, t.glowTint, p.glowIntensity}))
        return false;
    const double radius = std::max(p.pixelSize * t.glowRadius, kSmallestNormal);
    if (radius > 1e300) return false;
    pl.inverseRadius = 1 / radius;
    pl.falloffRel = keptRel(shading_fast::kRel + 746 * 0x1p-50);  // exp(x) for x in [-746, 0]
    pl.glowIntensity = p.glowIntensity;
    pl.glowStrength = t.glowStrength;
    pl.glowDim = t.glowDim;
    pl.glowTint = t.glowTint;
    const double halo[3] = {kHaloColor.r, kHaloColor.g, kHaloColor.b};
    for (int i = 0; i < 3; ++i) {
        pl.halo[i] = t.glowTint > 0 ? (1 - t.glowTint) * halo[i] : halo[i];
        pl.haloOne[i] = !(t.glowTint > 0) && halo[i] == 1.0;
    }
    return true;
}

bool planEdges(const ColorParams& p, shading_fast::Plan& pl) {
    const ShadingTuning& t = p.tuning;
    if (!allFinite({t.demThickness}) || !moderate(p.pixelSize) || !moderate(t.demSoftness))
        return false;
    pl.inversePixel = 1 / p.pixelSize;
    pl.demThickness = t.demThickness;
    pl.inverseSoftness = 1 / t.demSoftness;
    // The fade factor's own bound (FadeFactor) at its largest: |log2 x| <= 1100 for every double
    // x >= the smallest normal; doubled for the roundings of the bound. Then 2^-24 relative
    // for the rounding to float, 2^-140 for its underflow.
    const double inverse = std::abs(pl.inverseSoftness);
    const double lg = 1100, thickness = std::abs(t.demThickness);
    pl.edgeAbs = 2 * ((lg * shading_fast::kRel + 0x1p-49) * inverse * (1 + 0x1p-40) +
                      shading_fast::kUlp * (3 * (lg + thickness) * inverse + 1)) + 0x1p-140;
    pl.edgeRel = keptRel(0);
    // colorPixel's factor for d <= 0: log2 of the smallest normal is exactly -1022.
    const double raw = (-1022.0 - t.demThickness) / t.demSoftness + 0.5;
    pl.floorFactor = raw < 0 ? 0.0 : (raw > 1 ? 1.0 : raw);
    // log2(x) beyond thickness -+ softness/2 clamps the factor; the 2^-20 margin on x is far
    // beyond the roundings of either side (x, log2, the subtraction and division).
    if (t.demSoftness > 0) {
        pl.fadeStart = std::exp2(t.demThickness - t.demSoftness / 2) * (1 - 0x1p-20);
        pl.fadeEnd = std::exp2(t.demThickness + t.demSoftness / 2) * (1 + 0x1p-20);
    }
    return true;
}

// How errors in the four approximated inputs of a channel (scaled position, trap weight w,
// glow amount a, edge factor fe) reach its 0..255 value. Writing each product's difference
// as (x_f - x_r)*y_f + x_r*(y_f - y_r), every step is bounded exactly by the factors below
// (no second-order terms): c0 = sample in [0, 1]; c1 = c0*w + g*(1 - w), |c1| <= c1max;
// h = halo, |h| <= hmax; c2 = c1*dim + h*a, |a| <= amax, so dc2/dc1 <= gain = |dim| + 1.6
// tint amax and |c2| <= c2max; c3 = c2*fe with fe in [0, 1]; value = 255*c3.
// The slack covers the roundings, which may differ on the two sides once an input differs:
// each operation's two results differ by at most the difference of the exact results plus
// one unit in the last place, at most 2^-52 of the result's magnitude bound, carried to the
// value by the gain after it; doubled, plus an absolute term for subnormal results.
bool planBounds(shading_fast::Plan& pl) {
    const double tableMax = pl.tableMax;
    const double glint = pl.traps ? std::abs(pl.trapGlint) : 0.0;
    const double c1max = std::max(1.0, glint);
    const double amax =
        pl.glow ? std::abs(pl.glowIntensity * pl.glowStrength) * (1 + 0x1p-40) : 0.0;
    const double tint = pl.glow && pl.glowTint > 0 ? pl.glowTint : 0.0;
    const double hmax = pl.glow ? std::abs(1 - tint) + tint * 1.6 * c1max : 0.0;
    const double dim = pl.glow ? std::abs(pl.glowDim) : 1.0;
    const double gain = pl.glow ? dim + 1.6 * tint * amax : 1.0;
    const double c2max = pl.glow ? c1max * dim + hmax * amax : c1max;
    const double scale = 255 * (1 + 0x1p-10);
    pl.sampleScale = gain * scale;
    pl.trapScale = (1 + glint) * gain * scale;
    pl.glowScale = hmax * scale;
    pl.edgeScale = c2max * scale;
    const double sample = 5 * tableMax * gain;
    const double traps = (1 + 2 * glint + c1max) * gain;
    const double glow = 3.2 * tint * c1max * amax + 2 * hmax * amax + c1max * dim + c2max;
    const double rest = 3 * c2max;  // edges, 255 * c3, the clamp
    // Plus 2^-42 on the 0..255 scale, more than twice the rounding of y -+ err (y <= 255).
    pl.slack = 2 * scale * 0x1p-52 * (sample + traps + glow + rest) + 0x1p-42;
    // A bound must not underflow to zero while its source is inexact (zero means exact).
    return gain == 0 || gain >= 1e-10;
}

// From b's bound to the bound on the scaled position v = p*n: the frequency carries it, and
// the roundings of frequency*b + offset + shift, of p + 1 and of p*n add at most one unit in
// the last place each of their magnitudes (b <= bMax), doubled. False when the position could
// overflow (a ceiling far beyond ln(maxIter + 1) bent by a steep curve).
bool planPosition(const ColorParams& p, shading_fast::Plan& pl) {
    double bMax = std::log(p.maxIter + 1.0) * pl.inverseLog * (1 + 0x1p-30);
    if (pl.curveOn) bMax = std::pow(bMax, pl.curve) * (1 + 0x1p-30);
    const double f = std::abs(pl.frequency);
    if (!(bMax < 1e300) || !(f * bMax < 1e300)) return false;
    const double magnitudes = 3 * f * bMax + 2 * std::abs(pl.offset) + std::abs(pl.shift) + 1;
    pl.positionGain = f * pl.tableSize * (1 + 0x1p-39);
    pl.positionSlack = (0x1p-51 * magnitudes * (1 + 0x1p-40) + 0x1p-51) * pl.tableSize;
    if (f == 0) pl.positionGain = pl.positionSlack = 0;  // 0 * b: the position is exact
    return true;
}

bool makePlan(const ColorParams& p, shading_fast::Plan& pl) {
    if (!planPalette(p, pl)) return false;
    pl.traps = p.traps;
    if (pl.traps && !planTraps(p.tuning, pl)) return false;
    pl.glow = p.glow && p.pixelSize > 0;
    if (pl.glow && !planGlow(p, pl)) return false;
    pl.edges = p.dem && p.pixelSize > 0;
    if (pl.edges && !planEdges(p, pl)) return false;
    return planPosition(p, pl) && planBounds(pl);
}

// Returns the pixels handed to colorPixel, or -1 when the whole span went to it (nothing kept).
std::int64_t colourSpan(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
                        std::uint8_t* rgba, shading_fast::InputUse use = shading_fast::InputUse::compute,
                        const ColourInputRow& row = {}) {
    shading_fast::Plan plan;
    if (!makePlan(p, plan)) {
        for (std::size_t i = 0; i < count; ++i) colorPixel(p, data[i], rgba + 4 * i);
        return -1;
    }
    return HWY_DYNAMIC_DISPATCH(ColorSpanImpl)(plan, data, count, rgba, use, row);
}

}  // namespace

void colorRow(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
              std::uint8_t* rgba) {
    colourSpan(p, data, count, rgba);
}

ColourInputKey colourInputKey(const ColorParams& p) {
    ColourInputKey k;
    k.maxIter = p.maxIter;
    k.logMaxIter = p.logMaxIter;
    k.curve = p.tuning.curve;
    k.traps = p.traps;
    if (k.traps) {
        k.trapReach = p.tuning.trapReach;
        k.trapSharpness = p.tuning.trapSharpness;
    }
    k.glow = p.glow && p.pixelSize > 0;
    k.edges = p.dem && p.pixelSize > 0;
    if (k.glow || k.edges) k.pixelSize = p.pixelSize;
    if (k.glow) k.glowRadius = p.tuning.glowRadius;
    if (k.edges) {
        k.demThickness = p.tuning.demThickness;
        k.demSoftness = p.tuning.demSoftness;
    }
    return k;
}

bool colorRowKeeping(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
                     const ColourInputRow& keep, std::uint8_t* rgba) {
    return colourSpan(p, data, count, rgba, shading_fast::InputUse::keep, keep) >= 0;
}

std::int64_t colorRowFromInputs(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
                                const ColourInputRow& kept, std::uint8_t* rgba) {
    const std::int64_t redone = colourSpan(p, data, count, rgba, shading_fast::InputUse::recall, kept);
    return redone < 0 ? static_cast<std::int64_t>(count) : redone;
}

namespace detail {

std::int64_t colourTargets() { return HWY_TARGETS & hwy::SupportedTargets(); }

bool useTarget(std::int64_t target) {
    if (target != 0 && (colourTargets() & target) == 0) return false;
    hwy::SetSupportedTargetsForTest(target);
    return true;
}

std::int64_t colorRowCounted(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
                             std::uint8_t* rgba) {
    const std::int64_t redone = colourSpan(p, data, count, rgba);
    return redone < 0 ? static_cast<std::int64_t>(count) : redone;
}

bool lightRow(const ReliefFactors& f, const float* above, const float* here, const float* below,
              int width, std::uint8_t* pixels) {
    return HWY_DYNAMIC_DISPATCH(LightRowImpl)(f, above, here, below, width, pixels);
}

void fastLog(const double* in, double* out, std::size_t count) {
    HWY_DYNAMIC_DISPATCH(FastLogImpl)(in, out, count);
}

void fastExp(const double* in, double* out, std::size_t count) {
    HWY_DYNAMIC_DISPATCH(FastExpImpl)(in, out, count);
}

}  // namespace detail
}  // namespace gs
#endif
