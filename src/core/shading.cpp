// The reference colouring, the relief light and the relief set-up.
//
// colorPixel computes in double precision, one step after the other, exactly as the colouring
// is defined; it is the yardstick for the fast row colouring in shading_simd.cpp, which also
// holds the relief pass's row kernel. The relief set-up here is 32-bit, operation by operation
// (the build never fuses or reorders floating-point arithmetic).
#include "core/shading.h"

#include <oneapi/tbb/blocked_range.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "core/fatal.h"
#include "core/parallel_for.h"

namespace gs {
namespace {


// Clamp to [0, 1]. NaN passes through so that the byte conversion can stop on it.
double clamp01(double x) { return x < 0 ? 0.0 : (x > 1 ? 1.0 : x); }

// Clamp to [0, 1], times 255, truncated toward zero.
std::uint8_t channelByte(double c) {
    const double v = clamp01(c) * 255;
    if (!(v > -1 && v < 256)) fatal("colour channel is not a number");
    return static_cast<std::uint8_t>(v);
}

void writeBlack(std::uint8_t* rgba) {
    rgba[0] = rgba[1] = rgba[2] = 0;
    rgba[3] = 255;
}

void writeColour(const double c[3], std::uint8_t* rgba) {
    for (int i = 0; i < 3; ++i) rgba[i] = channelByte(c[i]);
    rgba[3] = 255;
}

// Where an exterior count falls in the palette cycle, in [0, 1]: the logarithmic normalised
// count, bent by the curve, scaled and shifted; negative positions wrap.
double palettePosition(double nu, double logMaxIter, double curve, double frequency, double offset,
                       double shift) {
    double b = nu >= 0 ? std::log(nu + 1) / logMaxIter : 0.0;
    if (curve != 1) b = std::pow(b, curve);
    const double t = frequency * b + offset + shift;
    double p = t - std::trunc(t);  // keeps the sign of t
    if (p < 0) p += 1;
    return p;
}

// Orbit traps: towards the glint grey as the orbit passes closer to an axis.
void applyTraps(const ShadingTuning& s, double q, double c[3]) {
    double k = q / s.trapReach;
    k = k > 0 ? std::min(k, 1.0) : 0.0;  // a negative ratio counts as 0
    const double w = std::pow(k, s.trapSharpness);
    for (int i = 0; i < 3; ++i) c[i] = c[i] * w + s.trapGlint * (1 - w);
}

// Glow: dims the palette and adds a halo that falls off with the distance in pixels.
void applyGlow(const ColorParams& p, double d, double c[3]) {
    const ShadingTuning& s = p.tuning;
    const double r = std::max(p.pixelSize * s.glowRadius, kSmallestNormal);
    const double numerator = d <= 0 ? -0.0 : -1.5 * d;  // full halo on and inside the boundary
    const double e = std::exp(numerator / r);
    double h[3] = {kHaloColor.r, kHaloColor.g, kHaloColor.b};
    if (s.glowTint > 0) {
        for (int i = 0; i < 3; ++i)
            h[i] = (1 - s.glowTint) * h[i] + s.glowTint * std::min(1.6 * c[i], 1.0);
    }
    const double a = p.glowIntensity * e * s.glowStrength;
    for (int i = 0; i < 3; ++i) c[i] = c[i] * s.glowDim + h[i] * a;
}

// Distance edges: darkens pixels within a few pixels of the boundary, fading over
// demSoftness octaves of the distance.
void applyEdges(const ColorParams& p, double d, double c[3]) {
    const ShadingTuning& s = p.tuning;
    const double x = d <= 0 ? kSmallestNormal : std::max(d / p.pixelSize, kSmallestNormal);
    const double f = clamp01((std::log2(x) - s.demThickness) / s.demSoftness + 0.5);
    for (int i = 0; i < 3; ++i) c[i] *= f;
}

}  // namespace

aColor sampleColor(const aColor* table, std::size_t n, double t) {
    if (n == 0) return {};
    const double count = static_cast<double>(n);
    const double v = t * count;
    if (!std::isfinite(v)) fatal("palette position is not finite");
    double whole = std::fmod(std::trunc(v), count);  // exact
    if (whole < 0) whole += count;
    const auto i = static_cast<std::size_t>(whole);
    const std::size_t j = i + 1 == n ? 0 : i + 1;
    const double f = v - std::floor(v);
    const aColor& a = table[i];
    const aColor& b = table[j];
    return {clamp01(a.r + f * (b.r - a.r)), clamp01(a.g + f * (b.g - a.g)),
            clamp01(a.b + f * (b.b - a.b))};
}

void colorPixel(const ColorParams& p, const PixelExtendedData& px, std::uint8_t* rgba) {
    const double nu = px.nu;
    if (p.maxIter < 1 || p.tableSize == 0 || !(nu < p.maxIter)) {
        writeBlack(rgba);
        return;
    }
    const double position =
        palettePosition(nu, p.logMaxIter, p.tuning.curve, p.frequency, p.cycleOffset, p.colorShift);
    const aColor s = sampleColor(p.table, p.tableSize, position);
    double c[3] = {s.r, s.g, s.b};
    if (p.traps) applyTraps(p.tuning, px.trapDistance, c);
    if (p.glow && p.pixelSize > 0) applyGlow(p, px.distance, c);
    if (p.dem && p.pixelSize > 0) applyEdges(p, px.distance, c);
    writeColour(c, rgba);
}

void juliaPixelColor(const JuliaColorParams& p, float nu, std::uint8_t* rgba) {
    const double n = nu;
    if (p.maxIter < 1 || p.tableSize == 0 || !(n < p.maxIter)) {
        writeBlack(rgba);
        return;
    }
    const double logMaxIter = std::log(static_cast<double>(p.maxIter) + 1);
    const double position =
        palettePosition(n, logMaxIter, p.curve, p.frequency, p.cycleOffset, p.colorShift);
    const aColor s = sampleColor(p.table, p.tableSize, position);
    const double c[3] = {s.r, s.g, s.b};
    writeColour(c, rgba);
}

void juliaColorRow(const JuliaColorParams& p, const float* nu, std::size_t count,
                   std::uint8_t* rgba) {
    // The Julia colour is the main colouring with every shading off, so the fast row path
    // serves it too; records are staged in small blocks.
    ColorParams c;
    c.maxIter = p.maxIter;
    c.logMaxIter = std::log(static_cast<double>(p.maxIter) + 1);
    c.table = p.table;
    c.tableSize = p.tableSize;
    c.frequency = p.frequency;
    c.cycleOffset = p.cycleOffset;
    c.colorShift = p.colorShift;
    c.tuning.curve = p.curve;
    constexpr std::size_t kBlock = 256;
    PixelExtendedData block[kBlock];
    for (std::size_t at = 0; at < count; at += kBlock) {
        const std::size_t n = std::min(kBlock, count - at);
        for (std::size_t i = 0; i < n; ++i) block[i] = {nu[at + i], 0.0f, 0.0f};
        colorRow(c, block, n, rgba + 4 * at);
    }
}

// ---- Relief light ----

ReliefLight lightVector(double rawX, double rawY) {
    const double x = std::clamp(rawX, -kLightRawLimit, kLightRawLimit);
    const double y = std::clamp(rawY, -kLightRawLimit, kLightRawLimit);
    const double r = std::sqrt(x * x + y * y);
    double z = 0.9 - 0.5 * r;
    z = z < 0.25 ? 0.25 : std::min(z, 0.95);
    const double q = r * r + z * z;
    if (!(q > 0)) return {0, 0, 1, 0};
    const double n = std::sqrt(q);
    return {static_cast<float>(x / n), static_cast<float>(y / n), static_cast<float>(z / n),
            static_cast<float>(std::min(r / kLongestLightOffset, 1.0))};
}

double lightAzimuthDegrees(double rawX, double rawY) {
    if (std::hypot(rawX, rawY) < 0.02) return 225;
    double degrees = std::atan2(rawY, rawX) * 180 / std::numbers::pi;
    if (degrees < 0) degrees += 360;
    // A tiny negative angle plus 360 rounds to 360 itself; the range is [0, 360).
    return degrees >= 360 ? 0.0 : degrees;
}

double lightStrengthPercent(double rawX, double rawY) {
    return std::min(std::hypot(rawX, rawY) / kLongestLightOffset * 100, 100.0);
}

void rawLightFromAzimuth(double azimuthDegrees, double strengthPercent, double& rawX,
                         double& rawY) {
    const double radians = azimuthDegrees * std::numbers::pi / 180;
    const double length = strengthPercent / 100 * kLongestLightOffset;
    rawX = std::clamp(length * std::cos(radians), -kLightRawLimit, kLightRawLimit);
    rawY = std::clamp(length * std::sin(radians), -kLightRawLimit, kLightRawLimit);
}

// ---- Relief elevation ----

void buildElevation(const PixelExtendedData* data, std::size_t count, std::int32_t maxIter,
                    PictureBuffer<float>& cache) {
    if (cache.size() == count) return;
    cache.assign(count, 0.0f);
    const double logMaxIter = std::log(static_cast<double>(maxIter) + 1);
    if (maxIter < 1 || !(logMaxIter > 0)) return;
    const auto denominator = static_cast<float>(logMaxIter);
    float* out = cache.data();
    parallelFor(tbb::blocked_range<std::size_t>(0, count, 4096),
                [&](const tbb::blocked_range<std::size_t>& range) {
        for (std::size_t i = range.begin(); i != range.end(); ++i) {
            const double nu = data[i].nu;
            if (!(nu < maxIter)) {
                out[i] = 1.0f;  // interior: the plateau
                continue;
            }
            out[i] = static_cast<float>(std::log(std::max(nu, 0.0) + 1)) / denominator;
        }
    });
}

// ---- Relief pass ----

namespace detail {

ReliefFactors reliefFactors(const ReliefLight& l, const ShadingTuning& t) {
    ReliefFactors s{};
    s.lx = l.x;
    s.ly = l.y;
    s.lz = l.z;
    const float hz = l.z + 1.0f;
    const float len2 = l.x * l.x + l.y * l.y + hz * hz;
    if (len2 > 0) {
        const float len = std::sqrt(len2);
        s.hx = l.x / len;
        s.hy = l.y / len;
        s.hz = hz / len;
    } else {
        s.hx = 0;
        s.hy = 0;
        s.hz = 1;
    }
    s.height = 1.5f * l.drama + 2.0f;
    if (t.reliefHeight != 1) s.height = s.height * static_cast<float>(t.reliefHeight);
    s.ambient = -0.25f * l.drama + 0.44999998807907104f;
    if (t.reliefShadow != 0)
        s.ambient =
            std::clamp(s.ambient + static_cast<float>(t.reliefShadow), 0.0f, 0.949999988079071f);
    s.shine = 0.550000011920929f * l.drama + 0.6499999761581421f;
    if (t.reliefShine != 1) s.shine = s.shine * static_cast<float>(t.reliefShine);
    s.edgeCalm = static_cast<float>(t.reliefEdgeCalm);
    return s;
}

}  // namespace detail

void applyReliefRow(std::uint8_t* pixels, const float* elevation, int width, int height, int row,
                    const ReliefLight& light, const ShadingTuning& tuning) {
    if (width < 1 || row < 0 || row >= height) return;
    const auto w = static_cast<std::size_t>(width);
    const float* here = elevation + static_cast<std::size_t>(row) * w;
    const float* above = elevation + static_cast<std::size_t>(row > 0 ? row - 1 : 0) * w;
    const float* below = elevation + static_cast<std::size_t>(row + 1 < height ? row + 1 : row) * w;
    std::uint8_t* out = pixels + static_cast<std::size_t>(row) * w * 4;
    if (!detail::lightRow(detail::reliefFactors(light, tuning), above, here, below, width, out))
        fatal("relief light gave a channel that is not a number");
}

void applyRelief(std::uint8_t* pixels, const float* elevation, int width, int height,
                 const ReliefLight& light, const ShadingTuning& tuning) {
    if (width < 1 || height < 1) return;
    parallelFor(tbb::blocked_range<int>(0, height), [&](const tbb::blocked_range<int>& rows) {
        for (int row = rows.begin(); row != rows.end(); ++row)
            applyReliefRow(pixels, elevation, width, height, row, light, tuning);
    });
}

}  // namespace gs
