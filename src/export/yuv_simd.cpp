// BGRA to yuv420p on Highway vectors (compiled for every x86-64 target, chosen at run time once
// per call). Integer arithmetic throughout, so every target and the scalar tail give the same
// bytes.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "export/yuv_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "export/yuv_simd.h"

#ifndef GS_YUV_SIMD_SHARED
#define GS_YUV_SIMD_SHARED
namespace gs::yuv {
namespace {

// BT.709, limited range, on 8-bit values (Kr = 0.2126, Kb = 0.0722):
//   Y = 16 + 219/255 (Kr R + Kg G + Kb B)
//   U = 128 + 224/255 (B - Y') / (2 (1 - Kb)),   V = 128 + 224/255 (R - Y') / (2 (1 - Kr))
// with Y' = Kr R + Kg G + Kb B. The coefficients are scaled by 2^16 and rounded; U's green
// coefficient is rounded the other way (its error is 0.65 of a unit instead of 0.35) so that
// each chroma row sums to 0 and greys land exactly on 128. Y is rounded from 2^16, U and V
// (taken from the sum of a 2 x 2 block, four times the mean) from 2^18; the coefficients'
// rounding moves a result by at most 0.006 of a code before it is rounded.
constexpr std::int32_t kYR = 11966, kYG = 40254, kYB = 4064;
constexpr std::int32_t kUR = -6596, kUG = -22188, kUB = 28784;
constexpr std::int32_t kVR = 28784, kVG = -26145, kVB = -2639;
constexpr std::int32_t kYBias = (16 << 16) + (1 << 15);
constexpr std::int32_t kCBias = (128 << 18) + (1 << 17);

static_assert(kUR + kUG + kUB == 0 && kVR + kVG + kVB == 0, "greys must have no chroma");

}  // namespace

std::uint8_t lumaOf(int r, int g, int b) {
    return static_cast<std::uint8_t>((kYR * r + kYG * g + kYB * b + kYBias) >> 16);
}
std::uint8_t blueDifferenceOf(int r4, int g4, int b4) {
    return static_cast<std::uint8_t>((kUR * r4 + kUG * g4 + kUB * b4 + kCBias) >> 18);
}
std::uint8_t redDifferenceOf(int r4, int g4, int b4) {
    return static_cast<std::uint8_t>((kVR * r4 + kVG * g4 + kVB * b4 + kCBias) >> 18);
}

}  // namespace gs::yuv
#endif

HWY_BEFORE_NAMESPACE();
namespace gs::yuv {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::ScalableTag<std::int32_t>;
using D8 = hn::Rebind<std::uint8_t, D32>;  // as many bytes as D32 has lanes
using V32 = hn::Vec<D32>;

struct Pixels {
    V32 r, g, b;
};

// Lanes(D32) pixels from BGRA bytes.
HWY_INLINE Pixels LoadPixels(const std::uint8_t* bgra) {
    const D8 d8;
    const D32 d32;
    hn::Vec<D8> b, g, r, a;
    hn::LoadInterleaved4(d8, bgra, b, g, r, a);
    return {hn::PromoteTo(d32, r), hn::PromoteTo(d32, g), hn::PromoteTo(d32, b)};
}

HWY_INLINE V32 Weigh(V32 r, V32 g, V32 b, std::int32_t kr, std::int32_t kg, std::int32_t kb, std::int32_t bias) {
    const D32 d;
    return hn::Add(hn::Add(hn::Mul(r, hn::Set(d, kr)), hn::Mul(g, hn::Set(d, kg))),
                   hn::Add(hn::Mul(b, hn::Set(d, kb)), hn::Set(d, bias)));
}

HWY_INLINE void StoreLuma(const Pixels& p, std::uint8_t* y) {
    const D8 d8;
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<16>(Weigh(p.r, p.g, p.b, kYR, kYG, kYB, kYBias))), d8, y);
}

#if HWY_TARGET == HWY_SCALAR
// One lane a vector: the scalar loop does it all.
std::size_t RowPairImpl(const std::uint8_t*, const std::uint8_t*, std::size_t, std::uint8_t*, std::uint8_t*,
                        std::uint8_t*, std::uint8_t*) {
    return 0;
}
#else
// Sums of horizontal neighbours: lanes 2j and 2j + 1 of (lo, hi) as one vector.
HWY_INLINE V32 PairSums(V32 lo, V32 hi) {
    const D32 d;
    return hn::Add(hn::ConcatEven(d, hi, lo), hn::ConcatOdd(d, hi, lo));
}

// Two rows of `width` pixels (width even); returns how many pixels of each row it converted
// (a whole number of vector pairs), leaving the rest to the scalar loop.
std::size_t RowPairImpl(const std::uint8_t* top, const std::uint8_t* bottom, std::size_t width,
                        std::uint8_t* yTop, std::uint8_t* yBottom, std::uint8_t* u, std::uint8_t* v) {
    const D32 d32;
    const D8 d8;
    const std::size_t n = hn::Lanes(d32);
    std::size_t x = 0;
    for (; x + 2 * n <= width; x += 2 * n) {
        const Pixels t0 = LoadPixels(top + 4 * x), t1 = LoadPixels(top + 4 * (x + n));
        const Pixels b0 = LoadPixels(bottom + 4 * x), b1 = LoadPixels(bottom + 4 * (x + n));
        StoreLuma(t0, yTop + x);
        StoreLuma(t1, yTop + x + n);
        StoreLuma(b0, yBottom + x);
        StoreLuma(b1, yBottom + x + n);
        const V32 r = PairSums(hn::Add(t0.r, b0.r), hn::Add(t1.r, b1.r));
        const V32 g = PairSums(hn::Add(t0.g, b0.g), hn::Add(t1.g, b1.g));
        const V32 b = PairSums(hn::Add(t0.b, b0.b), hn::Add(t1.b, b1.b));
        hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<18>(Weigh(r, g, b, kUR, kUG, kUB, kCBias))), d8, u + x / 2);
        hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<18>(Weigh(r, g, b, kVR, kVG, kVB, kCBias))), d8, v + x / 2);
    }
    return x;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace gs::yuv
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace gs::yuv {

HWY_EXPORT(RowPairImpl);

void bgraRowPairToYuv420(const std::uint8_t* top, const std::uint8_t* bottom, int width, std::uint8_t* yTop,
                         std::uint8_t* yBottom, std::uint8_t* u, std::uint8_t* v) {
    const auto w = static_cast<std::size_t>(width);
    for (std::size_t x = HWY_DYNAMIC_DISPATCH(RowPairImpl)(top, bottom, w, yTop, yBottom, u, v); x < w; x += 2) {
        int r = 0, g = 0, b = 0;
        for (const std::uint8_t* p : {top + 4 * x, top + 4 * x + 4, bottom + 4 * x, bottom + 4 * x + 4}) {
            b += p[0];
            g += p[1];
            r += p[2];
        }
        yTop[x] = lumaOf(top[4 * x + 2], top[4 * x + 1], top[4 * x]);
        yTop[x + 1] = lumaOf(top[4 * x + 6], top[4 * x + 5], top[4 * x + 4]);
        yBottom[x] = lumaOf(bottom[4 * x + 2], bottom[4 * x + 1], bottom[4 * x]);
        yBottom[x + 1] = lumaOf(bottom[4 * x + 6], bottom[4 * x + 5], bottom[4 * x + 4]);
        u[x / 2] = blueDifferenceOf(r, g, b);
        v[x / 2] = redDifferenceOf(r, g, b);
    }
}

}  // namespace gs::yuv
#endif
