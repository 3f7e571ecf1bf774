#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "core/palette.h"
#include "core/shading.h"

namespace gs {
namespace {

using Rgba = std::array<int, 4>;
const float kNaNf = std::nanf("");

Rgba pixel(const ColorParams& p, PixelExtendedData px) {
    std::uint8_t out[4];
    colorPixel(p, px, out);
    return {out[0], out[1], out[2], out[3]};
}

// Entry i is (i / n, 0.5, 1 - i / n): distinct and exact for n a power of two.
ColorTable ramp(int n) {
    ColorTable t;
    for (int i = 0; i < n; ++i) t.push_back({double(i) / n, 0.5, 1 - double(i) / n});
    return t;
}

ColorTable grey(double v, int n = 256) {
    return ColorTable(static_cast<std::size_t>(n), {v, v, v});
}

ColorParams plain(const ColorTable& t, std::int32_t maxIter = 255) {
    ColorParams p;
    p.maxIter = maxIter;
    p.logMaxIter = std::log(maxIter + 1.0);
    p.table = t.data();
    p.tableSize = t.size();
    p.frequency = 1;
    p.pixelSize = 1;
    return p;
}

int byteOf(double c) { return static_cast<int>(std::clamp(c, 0.0, 1.0) * 255); }
Rgba rgbaOf(const aColor& c) { return {byteOf(c.r), byteOf(c.g), byteOf(c.b), 255}; }

// ---- Palette sample and pixel colour ----

TEST(ColourSample, BlendsCyclicallyEmptyTableIsBlackValuesAreClamped) {
    const ColorTable t{{0, 0, 0}, {0.5, 1, 0}, {1, 0, 0.25}, {0.25, 0.5, 1}};
    const std::pair<double, aColor> cases[] = {{0.0, {0, 0, 0}}, {0.125, {0.25, 0.5, 0}},
                                               {0.625, {0.625, 0.25, 0.625}},
                                               {0.875, {0.125, 0.25, 0.5}},  // last into first
                                               {1.0, {0, 0, 0}}};
    for (auto [at, colour] : cases) EXPECT_EQ(sampleColor(t.data(), t.size(), at), colour) << at;
    EXPECT_EQ(sampleColor(nullptr, 0, 0.3), (aColor{0, 0, 0}));
    const ColorTable wild(2, {1.5, -0.5, 0.25});
    EXPECT_EQ(sampleColor(wild.data(), 2, 0.3), (aColor{1, 0, 0.25}));
}

TEST(ColourPixel, BlackWhenNothingToColour) {
    const ColorTable t = ramp(256), empty;
    const Rgba black{0, 0, 0, 255};
    EXPECT_EQ(pixel(plain(empty), {10, 1, 1}), black);
    EXPECT_EQ(pixel(plain(t, 0), {-5, 1, 1}), black);
    for (float nu : {255.0f, 300.0f, kNaNf, HUGE_VALF})
        EXPECT_EQ(pixel(plain(t), {nu, 1, 1}), black);
}

TEST(ColourPosition, WrapsIntoTheCycle) {
    const ColorTable t = ramp(256);
    // nu, curve, frequency, offset, shift, the expected palette position
    const std::array<double, 6> cases[] = {{0, 1, 1, -0.25, 0, 0.75},    // negative wraps
                                           {-3, 1, 1, 0, -1.25, 0.75},   // negative counts as 0
                                           {0, 1, 8, 2.75, -4.5, 0.25},  // whole cycles drop out
                                           {15, 2, 1, 0, 0, 0.25}};      // b = 0.5, squared
    for (auto [nu, curve, frequency, offset, shift, at] : cases) {
        ColorParams p = plain(t);
        p.tuning.curve = curve, p.frequency = frequency, p.cycleOffset = offset, p.colorShift = shift;
        EXPECT_EQ(pixel(p, {float(nu), 0, 0}), rgbaOf(sampleColor(t.data(), t.size(), at))) << nu;
    }
}

TEST(ColourTraps, OnlyCloserThanTheReachChangesTheColourTheTrapItselfIsTheGlint) {
    const ColorTable t = ramp(256);
    ColorParams p = plain(t), on = p;
    on.traps = true;
    const int g = byteOf(0.35);
    for (auto [q, unchanged] : {std::pair{0.4f, true}, {1e30f, true}, {0.3f, false}, {0.0f, false},
                                {-1.0f, false}}) {
        EXPECT_EQ(pixel(on, {100, 1, q}) == pixel(p, {100, 1, q}), unchanged) << q;
        if (q <= 0) { EXPECT_EQ(pixel(on, {100, 1, q}), (Rgba{g, g, g, 255})); }
    }
}

TEST(ColourGlow, FullHaloOnTheBoundaryTintedOnRequest) {
    const ColorTable t = grey(0.25);
    ColorParams p = plain(t);
    p.glow = true;
    p.glowIntensity = 0.4;
    const double a = 0.4 * 0.9;
    for (float d : {0.0f, -1.0f})
        EXPECT_EQ(pixel(p, {100, d, 0}),
                  (Rgba{byteOf(0.2 + a), byteOf(0.2 + kHaloColor.g * a), byteOf(0.2 + a), 255}));
    EXPECT_EQ(pixel(p, {100, 1000, 0}), rgbaOf({0.2, 0.2, 0.2}));  // far away: the dimmed palette
    p.tuning.glowTint = 1;                                         // h = min(1.6 * 0.25, 1) = 0.4
    EXPECT_EQ(pixel(p, {100, 0, 0}), rgbaOf({0.2 + 0.4 * a, 0.2 + 0.4 * a, 0.2 + 0.4 * a}));
}

// On the boundary (d <= 0 stands at the smallest normal, log2 = -1022) the edge is black unless
// the floor fades out; elsewhere the fade spans softness octaves around the thickness.
TEST(ColourEdges, BlackOnTheBoundaryAndFadingOverSoftnessOctaves) {
    const ColorTable t = grey(1.0);
    ColorParams p = plain(t);
    p.dem = true;
    const std::array<double, 3> cases[] = {
        {0, 2, 0}, {-2, 8, 0}, {0, 2044, 0}, {0, 2100, 3}, {-1030, 2, 255}};
    for (auto [thickness, softness, red] : cases) {
        p.tuning.demThickness = thickness;
        p.tuning.demSoftness = softness;
        for (float d : {0.0f, -3.0f}) EXPECT_EQ(pixel(p, {100, d, 0})[0], red) << thickness;
    }
    p.tuning = {};
    p.pixelSize = 0.5;
    for (auto [d, red] : {std::pair{0.25f, 0}, {0.5f, 127}, {0.70710678f, 191}, {1.0f, 255}})
        EXPECT_EQ(pixel(p, {100, d, 0})[0], red) << d;  // 0.5 .. 2 px
}

TEST(ColourPixel, EdgesDarkenTheHaloAndNeedAPositivePixelSizeLikeTheGlow) {
    const ColorTable t = ramp(256);
    ColorParams all = plain(t);
    all.glow = all.dem = all.traps = true;
    EXPECT_EQ(pixel(all, {100, 0, 0.1f}), (Rgba{0, 0, 0, 255}));  // glow first, then edges
    ColorParams traps = plain(t);
    traps.traps = true;
    for (double size : {0.0, -1.0}) {
        all.pixelSize = traps.pixelSize = size;
        EXPECT_EQ(pixel(all, {100, 0, 0.1f}), pixel(traps, {100, 0, 0.1f}));
        EXPECT_NE(pixel(all, {100, 0, 0.1f}), pixel(plain(t), {100, 0, 0.1f}));
    }
}

// colorPixel's and the relief's stops are tried with the tunings that lead to them
// (tuning_fields_test); the fast row path stops on the same pixels.
TEST(ColourPixelDeath, NotANumberWhereAnIntegerIsNeededStopsTheRowToo) {
    const ColorTable t = ramp(256);
    ColorParams p = plain(t);
    p.glow = true;
    std::uint8_t out[4 * 8];
    const PixelExtendedData row[8] = {{1, 1, 1}, {2, 1, 1}, {3, kNaNf, 1}};
    EXPECT_DEATH(colorRow(p, row, 8, out), "not a number");
}

TEST(ColourJulia, PaletteOnlyBlackForCeilingBelowOneEmptyTableAndInterior) {
    SeededRandom rng(3);
    const ColorTable t = smoothPalette(rng);
    const JuliaColorParams j{500, t.data(), t.size(), 1.3, 2.5, 0.25, 0.1};
    ColorParams m = plain(t, 500);
    m.tuning.curve = j.curve, m.frequency = j.frequency, m.cycleOffset = j.cycleOffset, m.colorShift = j.colorShift;
    std::vector<float> counts{-2, 0, 7.5f, 499.9f, 500, kNaNf};
    for (int i = 0; i < 600; ++i) counts.push_back(static_cast<float>(i) * 0.83f);
    std::vector<std::uint8_t> row(4 * counts.size());
    juliaColorRow(j, counts.data(), counts.size(), row.data());
    for (std::size_t i = 0; i < counts.size(); ++i) {
        std::uint8_t one[4];
        juliaPixelColor(j, counts[i], one);
        ASSERT_EQ((Rgba{one[0], one[1], one[2], one[3]}), pixel(m, {counts[i], 5, 5})) << i;
        ASSERT_EQ(std::memcmp(one, &row[4 * i], 4), 0) << i;
    }
    std::uint8_t out[4];
    for (JuliaColorParams q :
         {JuliaColorParams{0, t.data(), t.size()}, JuliaColorParams{500, t.data(), 0}}) {
        juliaPixelColor(q, 5, out);
        EXPECT_EQ((Rgba{out[0], out[1], out[2], out[3]}), (Rgba{0, 0, 0, 255}));
    }
}

// ---- Fast row colouring against colorPixel ----

ColorTable mapLike() {  // a .map file's k/255 steps: runs of equal entries, 0s and 255s
    ColorTable t;
    for (int i = 0; i < 256; ++i)
        t.push_back({std::min(i, 255 - i) * 2 / 255.0, (i / 7 % 2) * 1.0, (i / 3) / 255.0});
    return t;
}

ColorTable tableFor(const std::string& name) {
    SeededRandom rng(11);
    if (name == "map") return mapLike();
    if (name == "random") return randomPalette(rng);
    if (name == "seven") return randomPalette(rng, 7);
    if (name == "white") return grey(1.0);
    if (name == "single") return grey(0.6, 1);
    if (name == "empty") return {};
    if (name == "outside") return ColorTable{{1.5, -0.25, 0.5}, {0.2, 0.3, 2}, {-1, 0.5, 0.5}};
    return smoothPalette(rng, name == "thousand" ? 1000 : 256);
}

struct FastCase {
    std::string name, palette;
    bool traps = true, glow = true, dem = true;
    ShadingTuning tuning{};
    double frequency = 2, offset = 0, shift = 0, intensity = 1, pixelSize = 4.0 / 1920;
    std::int32_t maxIter = 255;
    bool wholeRows = false;  // unusual parameters: every pixel goes to colorPixel
};
void PrintTo(const FastCase& c, std::ostream* os) { *os << c.name; }

// clang-format off
const ShadingTuning kLow{0.4, -2, 0.25, 0, 0.2, 0.3, 0, 0.05, 0.15, 0, 1, 0, 1, 0.6};
const ShadingTuning kHigh{2.5, 6, 8, 2, 8, 1, 1, 1.5, 2, 0.8, 1, 0, 1, 0.6};

const FastCase kFastCases[] = {
    {.name = "Plain", .palette = "smooth", .traps = false, .glow = false, .dem = false},
    {.name = "Shaded", .palette = "smooth"},
    {.name = "MapTinted", .palette = "map", .tuning = {.curve = 2.5, .glowTint = 0.5}},
    {.name = "SevenEntries", .palette = "seven", .frequency = 8, .offset = 0.999, .shift = -3.3},
    {.name = "WhiteBright", .palette = "white", .intensity = 6},
    {.name = "SingleEntry", .palette = "single"},
    {.name = "ThousandEntries", .palette = "thousand"},
    {.name = "OutsideUnit", .palette = "outside"},
    {.name = "SlidersLow", .palette = "smooth", .tuning = kLow},
    {.name = "SlidersHigh", .palette = "random", .tuning = kHigh},
    {.name = "SoftFloor", .palette = "smooth", .tuning = {.demSoftness = 2100}},
    {.name = "MapFrequencyZero", .palette = "map", .frequency = 0, .offset = 0.5},
    {.name = "DeepCeiling", .palette = "smooth", .pixelSize = 1e-14, .maxIter = 8000},
    {.name = "EmptyTable", .palette = "empty", .wholeRows = true},
    {.name = "PixelSizeZero", .palette = "smooth", .pixelSize = 0, .wholeRows = true},
    {.name = "PixelSizeTiny", .palette = "smooth", .pixelSize = 1e-306, .wholeRows = true},
    {.name = "CurveZero", .palette = "smooth", .tuning = {.curve = 0}, .wholeRows = true},
};

// Values where a rounding decision is close: integers and their neighbours, zeros, the
// ceiling, powers of two, the reach, the glow's underflow, huge and subnormal values.
PixelExtendedData adversarial(std::mt19937_64& g, const ColorParams& p) {
    std::uniform_real_distribution<double> u(0, 1);
    const double px = p.pixelSize > 0 ? p.pixelSize : 1e-3;
    const auto scaled = [&](double f) { return static_cast<float>(px * f); };
    const auto n = static_cast<float>(std::floor(u(g) * (p.maxIter + 5)) - 3);
    const float sub = std::ldexp(1.0f, -static_cast<int>(u(g) * 149) - 1), minus = -static_cast<float>(u(g));
    const auto reach = static_cast<float>(p.tuning.trapReach);
    const float counts[] = {n, std::nextafter(n, HUGE_VALF), std::nextafter(n, -HUGE_VALF), n + 0.5f,
                            std::nextafter(static_cast<float>(p.maxIter), 0.0f), sub, -0.0f, kNaNf, -HUGE_VALF};
    const float distances[] = {0, minus, sub, 3e38f, scaled(std::ldexp(1.0, static_cast<int>(u(g) * 25) - 12)),
                               scaled(0.8 * 746 / 1.5 * (1 + (u(g) - 0.5) * 1e-3)), scaled(u(g) * 40)};
    const float traps[] = {0, minus, reach, std::nextafter(reach, 0.0f), std::nextafter(reach, 2.0f), sub, 1e30f};
    PixelExtendedData d{static_cast<float>(u(g) * (p.maxIter + 1) - 1), scaled(std::exp(u(g) * 12 - 3)),
                        static_cast<float>(u(g) * 0.7)};
    if (u(g) < 0.5) d.nu = counts[static_cast<std::size_t>(u(g) * 9)];
    if (u(g) < 0.5) d.distance = distances[static_cast<std::size_t>(u(g) * 7)];
    if (u(g) < 0.5) d.trapDistance = traps[static_cast<std::size_t>(u(g) * 7)];
    return d;
}
// clang-format on

// Routes the shading kernels to one compiled target for a scope.
struct OnTarget {
    explicit OnTarget(std::int64_t target) : available(detail::useTarget(target)) {}
    ~OnTarget() { detail::useTarget(0); }
    OnTarget(const OnTarget&) = delete;
    OnTarget& operator=(const OnTarget&) = delete;
    const bool available;
};

// Every compiled target this CPU runs, and the dispatcher's own choice (0).
std::vector<std::int64_t> targets() {
    std::vector<std::int64_t> list{0};
    for (std::int64_t bits = detail::colourTargets(); bits != 0; bits &= bits - 1)
        list.push_back(bits & -bits);
    return list;
}

// colour(at, count, rgba) on rows of rowLength against colorPixel, byte for byte; returns the
// sum of what it returns.
template <class RowFn>
std::int64_t expectRowsMatch(const ColorParams& p, const std::vector<PixelExtendedData>& data,
                             std::int64_t target, std::size_t rowLength, const std::string& what,
                             RowFn colour) {
    std::vector<std::uint8_t> want(4 * data.size()), got(4 * data.size(), 0xAB);
    for (std::size_t i = 0; i < data.size(); ++i) colorPixel(p, data[i], &want[4 * i]);
    std::int64_t redone = 0;
    const OnTarget on(target);
    EXPECT_TRUE(on.available);
    for (std::size_t at = 0; at < data.size(); at += rowLength)
        redone += colour(at, std::min(rowLength, data.size() - at), &got[4 * at]);
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (std::memcmp(&want[4 * i], &got[4 * i], 4) == 0) continue;
        ADD_FAILURE() << what << " target " << target << " pixel " << i << ": nu " << data[i].nu
                      << " d " << data[i].distance << " q " << data[i].trapDistance << " red "
                      << int(want[4 * i]) << " vs " << int(got[4 * i]);
        break;
    }
    return redone;
}

// colorRow against colorPixel; returns how many pixels the fast path handed back.
std::int64_t expectSameBytes(const ColorParams& p, const std::vector<PixelExtendedData>& data,
                             std::int64_t target, std::size_t rowLength, const std::string& what) {
    return expectRowsMatch(p, data, target, rowLength, what, [&](std::size_t at, std::size_t n, std::uint8_t* out) {
        return detail::colorRowCounted(p, &data[at], n, out);
    });
}

// Inputs kept while colouring under p (on one target), then coloured from under `later`,
// which differs in everything they do not depend on (on another target). Returns how many
// pixels the kept colouring handed back, or -1 when p takes the reference path.
std::int64_t expectKeptInputsMatch(const ColorParams& p, const ColorParams& later,
                                   const std::vector<PixelExtendedData>& data, std::int64_t keepOn,
                                   std::int64_t recallOn, const std::string& what) {
    EXPECT_EQ(colourInputKey(p), colourInputKey(later));
    std::vector<double> count(data.size());
    std::vector<float> weight(data.size()), falloff(data.size()), edge(data.size());
    const auto kept = [&](std::size_t at) {
        return ColourInputRow{&count[at], &weight[at], &falloff[at], &edge[at]};
    };
    bool all = true;
    expectRowsMatch(p, data, keepOn, 1021, what + " keeping", [&](std::size_t at, std::size_t n, std::uint8_t* out) {
        all = colorRowKeeping(p, &data[at], n, kept(at), out) && all;
        return 0;
    });
    if (!all) return -1;
    return expectRowsMatch(later, data, recallOn, 1021, what + " kept", [&](std::size_t at, std::size_t n, std::uint8_t* out) {
        return colorRowFromInputs(later, &data[at], n, kept(at), out);
    });
}

class ColourFastPath : public ::testing::TestWithParam<FastCase> {};

TEST_P(ColourFastPath, SameBytesAsColorPixel) {
    const FastCase& c = GetParam();
    const ColorTable table = tableFor(c.palette);
    ColorParams p = plain(table, c.maxIter);
    p.traps = c.traps, p.glow = c.glow, p.dem = c.dem, p.tuning = c.tuning;
    p.frequency = c.frequency, p.cycleOffset = c.offset, p.colorShift = c.shift;
    p.glowIntensity = c.intensity, p.pixelSize = c.pixelSize;
    std::mt19937_64 g(1);
    std::uniform_real_distribution<double> u(0, 1);
    std::vector<PixelExtendedData> realistic(40000), tricky(40000);
    for (auto& px : realistic)
        px = {float(u(g) * (p.maxIter + 1) - 1), float(4.0 / 1920 * std::exp(u(g) * 12 - 3)),
              float(u(g) * 0.7)};
    for (auto& px : tricky) px = adversarial(g, p);
    // Palette animation and sound move the offset, shift, glow intensity, frequency and table.
    const ColorTable other = c.palette == "empty" ? table : tableFor("random");
    ColorParams later = p;
    later.cycleOffset += 0.37, later.colorShift += 0.9, later.glowIntensity *= 0.7, later.frequency *= 1.5;
    later.table = other.data(), later.tableSize = other.size();
    const auto all = targets();
    std::int64_t redone = 0, redoneKept = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        redone += expectSameBytes(p, realistic, all[i], 4099, c.name);
        expectSameBytes(p, tricky, all[i], 1021, c.name);
        const std::int64_t next = all[(i + 1) % all.size()];
        redoneKept += expectKeptInputsMatch(p, later, realistic, all[i], next, c.name);
        const std::int64_t tricks = expectKeptInputsMatch(p, later, tricky, all[i], next, c.name);
        if (!c.wholeRows) { EXPECT_GE(tricks, 0); }
    }
    // The check turns few realistic pixels back; kept inputs, rounded to 32 bits, a few more.
    if (!c.wholeRows) {
        EXPECT_LT(double(redone) / double(realistic.size() * all.size()), 1e-3);
        EXPECT_LT(double(redoneKept) / double(realistic.size() * all.size()), 3e-3);
    }
}

INSTANTIATE_TEST_SUITE_P(Colour, ColourFastPath, ::testing::ValuesIn(kFastCases),
                         [](const auto& info) { return info.param.name; });

TEST(ColourFastPath, PositionsOnCellBordersMatch) {
    // Offsets that put the palette position within a rounding of a cell border or the wrap.
    const ColorTable t = tableFor("smooth");
    std::mt19937_64 g(3);
    std::uniform_real_distribution<float> nu(0, 255);
    const auto all = targets();
    for (int k = 0; k < 3000 && !HasFailure(); ++k) {
        ColorParams p = plain(t);
        p.traps = p.glow = p.dem = true;
        p.pixelSize = 4.0 / 1920;
        p.frequency = 1 + k % 5;
        const PixelExtendedData px{nu(g), 0.01f, 0.3f};
        const double b = std::log(double(px.nu) + 1) / p.logMaxIter;
        p.cycleOffset = (k % 257) / 256.0 - p.frequency * b + (k % 3 - 1) * 1e-17;
        expectSameBytes(p, std::vector<PixelExtendedData>(13, px),
                        all[static_cast<std::size_t>(k) % all.size()], 13, "border");
    }
}

// Pixels built so that one shading alone takes a channel of a flat grey palette to within a
// few roundings of each byte boundary: there the kept 32-bit values are most likely to
// mislead the check. A channel y is 0.5 w + glint (1 - w) on a trap, 0.5 dim + e strength
// under the glow and 0.5 f at an edge.
TEST(ColourFastPath, KeptInputsHoldOnByteBoundaries) {
    const ColorTable table = grey(0.5);
    ColorParams p = plain(table);
    p.pixelSize = 4.0 / 1920;
    const ShadingTuning& t = p.tuning;
    const struct {
        bool ColorParams::*shading;
        float PixelExtendedData::*field;
        std::function<double(double)> at;  // the field that gives channel y; NaN for none
    } shadings[] = {
        {&ColorParams::traps, &PixelExtendedData::trapDistance,
         [&](double y) {
             const double w = (y - t.trapGlint) / (0.5 - t.trapGlint);
             return w > 0 && w < 1 ? t.trapReach * std::pow(w, 1 / t.trapSharpness) : NAN;
         }},
        {&ColorParams::glow, &PixelExtendedData::distance,
         [&](double y) {
             const double e = (y - 0.5 * t.glowDim) / t.glowStrength;
             return e > 0 && e < 1 ? -std::log(e) * p.pixelSize * t.glowRadius / 1.5 : NAN;
         }},
        {&ColorParams::dem, &PixelExtendedData::distance, [&](double y) {
             const double f = 2 * y;
             return f < 1 ? p.pixelSize * std::exp2(t.demThickness + t.demSoftness * (f - 0.5))
                          : NAN;
         }}};
    for (const auto& s : shadings) {
        std::vector<PixelExtendedData> data;
        for (int n = 1; n < 255; ++n) {
            if (std::isnan(s.at(n / 255.0))) continue;
            PixelExtendedData px{100.0f, 1e3f, 1.0f};
            float v = static_cast<float>(s.at(n / 255.0));
            for (int k = 0; k < 6; ++k) v = std::nextafter(v, 0.0f);
            for (int k = 0; k < 13; ++k, v = std::nextafter(v, HUGE_VALF)) {
                px.*s.field = v;
                data.push_back(px);
            }
        }
        ColorParams on = p;
        on.*s.shading = true;
        for (std::int64_t target : targets())
            expectKeptInputsMatch(on, on, data, target, target, "byte boundaries");
    }
}

// The check assumes each approximation within 2^-40 relative of the C library's.
TEST(ColourFastPath, ApproximationsStayFarInsideTheirBound) {
    std::mt19937_64 g(4);
    std::uniform_real_distribution<double> u(0, 1);
    std::vector<double> logIn, expIn;
    for (int i = 0; i < 200000; ++i) {
        logIn.insert(logIn.end(),
                     {1 + u(g) * 1e4, std::exp(-u(g) * 700), std::nextafter(1.0, 2.0) + i * 1e-16,
                      std::ldexp(u(g) + 0.5, -1060)});
        expIn.insert(expIn.end(), {-u(g) * 708, -u(g) * 1e-6});
    }
    const auto expectClose = [](auto fast, auto exact, const std::vector<double>& in) {
        std::vector<double> out(in.size());
        fast(in.data(), out.data(), in.size());
        for (std::size_t i = 0; i < in.size(); ++i)
            ASSERT_LE(std::abs(out[i] - exact(in[i])), std::abs(exact(in[i])) * 0x1p-46) << in[i];
    };
    for (std::int64_t target : targets()) {
        const OnTarget on(target);
        expectClose(
            detail::fastLog, [](double x) { return std::log(x); }, logIn);
        expectClose(
            detail::fastExp, [](double x) { return std::exp(x); }, expIn);
    }
}

// ---- Relief light ----

// Raw values are clamped per axis. The azimuth runs from +x towards +y (the tuning sliders'
// tests pin its quadrants) and round-trips with the strength.
TEST(Light, VectorAzimuthAndStrength) {
    EXPECT_EQ(lightVector(0, 0), (ReliefLight{0, 0, 1, 0}));
    for (auto [x, y, cx, cy] :
         {std::array<double, 4>{3, -7, 0.85, -0.85}, {0.86, 0, 0.85, 0}, {-100, 0.2, -0.85, 0.2}})
        EXPECT_EQ(lightVector(x, y), lightVector(cx, cy));
    EXPECT_EQ(lightStrengthPercent(5, 5), 100);
    EXPECT_NEAR(lightAzimuthDegrees(1, -1e-30), 0, 1e-12);  // just below the axis is 0, not 360
    EXPECT_EQ(lightAzimuthDegrees(0.01, 0.01), 225);  // too short for a direction: the default
    EXPECT_NEAR(lightAzimuthDegrees(0.015, 0.015), 45, 1e-12);
    double x = 0, y = 0;
    rawLightFromAzimuth(0, 100, x, y);
    EXPECT_EQ(x, 0.85);  // clamped per axis
    for (double a : {10.0, 100.0, 225.0, 300.0}) {
        rawLightFromAzimuth(a, 40, x, y);
        EXPECT_NEAR(lightAzimuthDegrees(x, y), a, 1e-9);
        EXPECT_NEAR(lightStrengthPercent(x, y), 40, 1e-9);
    }
}

// ---- Relief ----

struct Picture {
    int width, height;
    std::vector<std::uint8_t> rgba;
    std::vector<float> elevation;
};

Picture picture(int w, int h, float elevation) {
    const auto n = static_cast<std::size_t>(w * h);
    Picture p{w, h, std::vector<std::uint8_t>(4 * n), std::vector<float>(n, elevation)};
    for (std::size_t i = 0; i < 4 * n; ++i)
        p.rgba[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 77 : 100 + 25 * (i % 4));
    return p;
}

void light(Picture& p, const ReliefLight& l, const ShadingTuning& t = {}) {
    applyRelief(p.rgba.data(), p.elevation.data(), p.width, p.height, l, t);
}

// Every compiled target lights a varied picture exactly as the dispatcher's choice does.
TEST(Relief, EveryTargetGivesTheSameBytes) {
    std::mt19937_64 g(9);
    std::uniform_real_distribution<float> u(0, 1);
    const std::pair<int, int> sizes[] = {{1, 1},  {1, 5},  {5, 1},  {17, 3},
                                         {40, 7}, {67, 5}, {129, 2}};
    for (int k = 0; k < 60; ++k) {
        Picture p = picture(sizes[k % 7].first, sizes[k % 7].second, 0);
        for (auto& b : p.rgba) b = static_cast<std::uint8_t>(u(g) * 256);
        const float steep = k % 3 == 0 ? 4.0f : 0.3f;  // beyond and within the gradient cap
        for (auto& e : p.elevation) e = u(g) < 0.15f ? 1.0f : u(g) * steep - 0.5f;  // some interior
        ReliefLight l = lightVector(u(g) * 2 - 1, u(g) * 2 - 1);
        l.drama = k % 4 == 0 ? 0.0f : u(g);
        ShadingTuning t;
        if (k % 2)
            t = {.reliefHeight = 0.25 + u(g) * 2.75,
                 .reliefShadow = u(g) * 0.6 - 0.3,
                 .reliefShine = u(g) * 2,
                 .reliefEdgeCalm = 0.2 + u(g) * 1.2};
        Picture want = p;
        light(want, l, t);
        for (std::int64_t target : targets()) {
            const OnTarget on(target);
            Picture got = p;
            light(got, l, t);
            ASSERT_EQ(got.rgba, want.rgba) << "target " << target << " case " << k;
        }
    }
}

// The lit middle pixel of a five-pixel ramp along x (or, for a height of 1, along y).
Rgba litMiddle(int w, int h, float slope, ReliefLight l, double heightFactor = 1) {
    Picture p = picture(w, h, 0);
    for (int i = 0; i < 5; ++i) p.elevation[std::size_t(i)] = -5 + slope * float(i);
    ShadingTuning t;
    t.reliefHeight = heightFactor;
    light(p, l, t);
    return Rgba{p.rgba[8], p.rgba[9], p.rgba[10], p.rgba[11]};
}

// Light straight down at drama 0 (A = 2, B = 0.45, C = 0.65): a slope of 3/16 per pixel has the
// central gradient 0.375 and the normal z = 1 / sqrt(1 + 0.75^2) = 0.8, so D = 0.89 and
// S = 0.65 * 0.8^16; each channel becomes D * v + (v + 255) / 2 * S. Beyond the gradient cap
// (0.6) steeper slopes light alike. Lit from the left, slopes facing it are brighter.
TEST(Relief, HandLitSlopes) {
    const ReliefLight down = lightVector(0, 0), left = lightVector(-0.8, 0);
    const Rgba lit{92, 114, 137, 77};
    EXPECT_EQ(litMiddle(5, 1, 0.1875f, down), lit);       // along x
    EXPECT_EQ(litMiddle(1, 5, -0.1875f, down), lit);      // along y, falling
    EXPECT_EQ(litMiddle(5, 1, 0.09375f, down, 2), lit);   // half the slope at twice the height
    EXPECT_EQ(litMiddle(5, 1, 1, down), litMiddle(5, 1, 2, down));
    EXPECT_LT(litMiddle(5, 1, 1, down)[0], 92);
    EXPECT_GT(litMiddle(5, 1, 0.1f, left)[0], litMiddle(5, 1, 0, left)[0]);  // rising to the right faces the left
    EXPECT_LT(litMiddle(5, 1, -0.1f, left)[0], litMiddle(5, 1, 0, left)[0]);
}

// The interior (elevation 1) keeps its colour, alpha included. A light from below adds no
// shine and only the ambient 0.45 of the diffuse term.
TEST(Relief, InteriorKeepsItsColourLightFromBelowOnlyTheAmbient) {
    Picture p = picture(4, 3, 1.0f);
    const std::vector<std::uint8_t> before = p.rgba;
    light(p, lightVector(-0.5, -0.5));
    EXPECT_EQ(p.rgba, before);
    Picture flat = picture(1, 1, 0.5f);
    light(flat, ReliefLight{0, 0.6f, -0.8f, 0});
    EXPECT_EQ(flat.rgba, (std::vector<std::uint8_t>{45, 56, 67, 77}));
}

TEST(ReliefElevation, LogarithmicHeightInteriorPlateauRebuiltOnlyOnNewSize) {
    const std::tuple<std::int32_t, float, float> cases[] = {
        {255, 15, 0.5f}, {255, -4, 0}, {255, 255, 1}, {255, kNaNf, 1}, {0, 255, 0}, {-3, -7, 0}};
    for (auto [maxIter, nu, height] : cases) {
        PictureBuffer<float> cache;
        const PixelExtendedData px{nu, 0, 0};
        buildElevation(&px, 1, maxIter, cache);
        EXPECT_EQ(cache, PictureBuffer<float>{height}) << maxIter << " " << nu;
    }
    const std::vector<PixelExtendedData> data(6, {3, 0, 0});
    PictureBuffer<float> cache(6, 7.0f);
    buildElevation(data.data(), data.size(), 255, cache);
    EXPECT_EQ(cache, PictureBuffer<float>(6, 7.0f));
}

}  // namespace
}  // namespace gs
