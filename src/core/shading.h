// Colour mapping: from a pixel's stored escape data to RGBA, through the palette and the four
// exterior shadings (orbit traps, glow, distance-estimation edges, lit relief).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "palette.h"
#include "populated_allocator.h"

namespace gs {

// The per-pixel record kept for recolouring: the kernel's three results narrowed to float.
struct PixelExtendedData {
    float nu = 0;
    float distance = 0;
    float trapDistance = 0;
};
static_assert(sizeof(PixelExtendedData) == 12, "records are packed, three floats each");

// The fixed glow halo colour: the pale pink-white (255, 240, 255).
inline constexpr aColor kHaloColor{1.0, 0.9411764705882353, 1.0};
// The smallest normal double: the floor of the glow radius and of the distance in pixels.
inline constexpr double kSmallestNormal = 2.2250738585072014e-308;
// The raw light position is clamped to +-0.85 per axis before the light is made from it.
inline constexpr double kLightRawLimit = 0.85;
// Length of (0.85, 0.85): the longest light offset, at which the drama reaches 1.
inline constexpr double kLongestLightOffset = 1.2020815280171306;

// Parameters of the shadings. Field order and defaults are part of the file formats.
struct ShadingTuning {
    double curve = 1.0;           // exponent on the normalised count
    double demThickness = 0.0;    // edge offset on log2(distance in pixels)
    double demSoftness = 2.0;     // width of the edge fade, in octaves
    double glowStrength = 0.9;    // halo amount
    double glowRadius = 0.8;      // halo fall-off length, pixels
    double glowDim = 0.8;         // factor on the base colour under the halo
    double glowTint = 0.0;        // 0: fixed pale halo colour, 1: the pixel's own colour
    double trapReach = 0.4;       // trap distance at which the vein effect ends
    double trapSharpness = 0.45;  // exponent of the vein fade
    double trapGlint = 0.35;      // grey level on the trap
    double reliefHeight = 1.0;    // factor on the relief height scale
    double reliefShadow = 0.0;    // added to the ambient floor
    double reliefShine = 1.0;     // factor on the specular amount
    double reliefEdgeCalm = static_cast<double>(0.6f);  // cap on the elevation gradient (float 0.6)

    friend bool operator==(const ShadingTuning&, const ShadingTuning&) = default;
};

// The relief light: a unit vector towards the light and how low it is (0..1).
struct ReliefLight {
    float x = 0, y = 0, z = 1, drama = 0;
    friend bool operator==(const ReliefLight&, const ReliefLight&) = default;
};

// Light from the user's raw position (clamped to +-0.85 per axis; lower light, more drama).
ReliefLight lightVector(double rawX, double rawY);
// The azimuth shown to the user, degrees in [0, 360); 225 when the offset is under 0.02.
double lightAzimuthDegrees(double rawX, double rawY);
// The strength shown to the user, percent, capped at 100.
double lightStrengthPercent(double rawX, double rawY);
// Raw position from an azimuth (degrees) and a strength (percent), each axis clamped to +-0.85.
void rawLightFromAzimuth(double azimuthDegrees, double strengthPercent, double& rawX, double& rawY);

// Everything one colouring pass needs besides the pixel's own data.
struct ColorParams {
    std::int32_t maxIter = 0;
    double logMaxIter = 0;  // L = ln(maxIter + 1)
    const aColor* table = nullptr;
    std::size_t tableSize = 0;
    double frequency = 2.0;
    double cycleOffset = 0.0;
    double colorShift = 0.0;     // added to the palette position
    double glowIntensity = 1.0;  // factor on the glow amount
    double pixelSize = 0.0;      // complex-plane width of one pixel
    bool dem = false, traps = false, glow = false;
    ShadingTuning tuning;
};

// Cyclic, linearly blended lookup at t in [0, 1); black for an empty table.
aColor sampleColor(const aColor* table, std::size_t n, double t);

// The reference colouring of one pixel: palette, traps, glow, edges, in that order; RGBA bytes
// with alpha 255. Interior pixels (not nu < maxIter) are black.
void colorPixel(const ColorParams& p, const PixelExtendedData& px, std::uint8_t* rgba);

// Colours count pixels; the same bytes as colorPixel on each, computed faster where it can.
// Callable from any thread (each thread keeps a description of the last table it coloured).
void colorRow(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
              std::uint8_t* rgba);

// The per-pixel colouring inputs that do not depend on the palette, its frequency, cycle
// offset or shift, nor on the glow intensity: the normalised count, the trap weight, the glow
// falloff and the edge factor. Palette animation changes only those, so a picture coloured
// again and again keeps these and skips the logarithms, powers and exponentials that make them.
// One value per pixel in each array, in the fast colouring's own encoding (which also says
// which values are exact); an array is used only when its shading is on.
struct ColourInputRow {
    double* count = nullptr;
    float* weight = nullptr;
    float* falloff = nullptr;
    float* edge = nullptr;
};

// Everything the kept inputs depend on besides the pixel data; kept inputs serve a colouring
// whose key is equal. Fields of shadings that are off stay at their defaults.
struct ColourInputKey {
    std::int32_t maxIter = 0;
    double logMaxIter = 0, curve = 1;
    bool traps = false, glow = false, edges = false;
    double trapReach = 0, trapSharpness = 0;
    double pixelSize = 0, glowRadius = 0, demThickness = 0, demSoftness = 0;
    friend bool operator==(const ColourInputKey&, const ColourInputKey&) = default;
};
ColourInputKey colourInputKey(const ColorParams& p);

// colorRow that also stores the row's inputs in `keep`; false when these parameters take the
// reference colouring, which stores nothing.
bool colorRowKeeping(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
                     const ColourInputRow& keep, std::uint8_t* rgba);
// colorRow from inputs kept under the same key (colourInputKey(p)); data serves the few pixels
// that colorPixel recomputes. The same bytes as colorRow; returns how many pixels went to
// colorPixel.
std::int64_t colorRowFromInputs(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
                        const ColourInputRow& kept, std::uint8_t* rgba);

// The Julia companion's colour: palette only (no shadings); `curve` is the Julia view's own.
struct JuliaColorParams {
    std::int32_t maxIter = 0;
    const aColor* table = nullptr;
    std::size_t tableSize = 0;
    double curve = 1.0;
    double frequency = 2.0;
    double cycleOffset = 0.0;
    double colorShift = 0.0;
};
void juliaPixelColor(const JuliaColorParams& p, float nu, std::uint8_t* rgba);
void juliaColorRow(const JuliaColorParams& p, const float* nu, std::size_t count,
                   std::uint8_t* rgba);

// Relief elevation H per pixel: ln(max(nu, 0) + 1) / ln(maxIter + 1) in float; interior 1.
// Rebuilt only when cache.size() differs from count.
void buildElevation(const PixelExtendedData* data, std::size_t count, std::int32_t maxIter,
                    PictureBuffer<float>& cache);

// Blinn-Phong relief over a width x height RGBA picture, in place: pixels holds the unlit
// colours on entry and the lit ones on return. Rows run in parallel.
void applyRelief(std::uint8_t* pixels, const float* elevation, int width, int height,
                 const ReliefLight& light, const ShadingTuning& tuning);
// One row of the relief pass (rows are independent given the elevation).
void applyReliefRow(std::uint8_t* pixels, const float* elevation, int width, int height, int row,
                    const ReliefLight& light, const ShadingTuning& tuning);

namespace detail {
// Highway target bits compiled into the shading kernels that this CPU supports.
std::int64_t colourTargets();
// For tests: routes every dispatched kernel to one of those targets (0: back to the best this
// CPU runs). False when the target is not available here. Not thread-safe.
bool useTarget(std::int64_t target);
// colorRow, returning how many pixels the fast path handed to colorPixel.
std::int64_t colorRowCounted(const ColorParams& p, const PixelExtendedData* data, std::size_t count,
                             std::uint8_t* rgba);
// The fast logarithm and exponential of the colour kernel, for accuracy tests.
void fastLog(const double* in, double* out, std::size_t count);
void fastExp(const double* in, double* out, std::size_t count);

// The light-dependent constants of the relief pass, all 32-bit.
struct ReliefFactors {
    float lx, ly, lz;  // the light as given (not normalised), for the diffuse term
    float hx, hy, hz;  // Blinn-Phong half vector
    float height;      // A: gradient to normal slope
    float ambient;     // B: the floor of the diffuse factor
    float shine;       // C: specular amount
    float edgeCalm;    // E: cap on the gradient length
};
ReliefFactors reliefFactors(const ReliefLight& light, const ShadingTuning& tuning);
// Lights width pixels in place from the elevation rows above, here and below (the same row at
// the picture's edges). False when a channel came out not a number.
bool lightRow(const ReliefFactors& f, const float* above, const float* here, const float* below,
              int width, std::uint8_t* pixels);
}  // namespace detail

}  // namespace gs
