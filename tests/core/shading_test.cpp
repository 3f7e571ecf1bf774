#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "core/palette.h"
#include "core/shading.h"

namespace gs {
namespace {

using Rgba = std::array<int, 4>;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kNaNf = std::numeric_limits<float>::quiet_NaN();

Rgba pixel(const ColorParams& p, PixelExtendedData px) {
    std::uint8_t out[4];
    colorPixel(p, px, out);
    return {out[0], out[1], out[2], out[3]};
}

// Entry i is (i / n, 0.5, 1 - i / n): distinct, exactly representable for n a power of two.
ColorTable ramp(int n) {
    ColorTable t;
    for (int i = 0; i < n; ++i) t.push_back({double(i) / n, 0.5, 1 - double(i) / n});
    return t;
}

ColorTable grey(double v, int n = 256) { return ColorTable(static_cast<std::size_t>(n), {v, v, v}); }

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

// ---- Palette sample ----

struct SampleCase {
    double t;
    aColor expected;
};

class ColourSample : public ::testing::TestWithParam<SampleCase> {};

TEST_P(ColourSample, BlendsCyclically) {
    // Four entries; the last blends back into the first.
    const ColorTable t{{0, 0, 0}, {0.5, 1, 0}, {1, 0, 0.25}, {0.25, 0.5, 1}};
    const aColor c = sampleColor(t.data(), t.size(), GetParam().t);
    EXPECT_EQ(c, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Colour, ColourSample,
    ::testing::Values(SampleCase{0.0, {0, 0, 0}}, SampleCase{0.125, {0.25, 0.5, 0}},
                      SampleCase{0.25, {0.5, 1, 0}}, SampleCase{0.625, {0.625, 0.25, 0.625}},
                      SampleCase{0.875, {0.125, 0.25, 0.5}},  // last entry half way to the first
                      SampleCase{1.0, {0, 0, 0}}));

TEST(ColourSample, EmptyTableIsBlackAndValuesAreClamped) {
    EXPECT_EQ(sampleColor(nullptr, 0, 0.3), (aColor{0, 0, 0}));
    const ColorTable wild{{1.5, -0.5, 0.25}, {1.5, -0.5, 0.25}};
    EXPECT_EQ(sampleColor(wild.data(), 2, 0.3), (aColor{1, 0, 0.25}));
}

// ---- Pixel colour ----

TEST(ColourPixel, BlackWhenNothingToColour) {
    const ColorTable t = ramp(256);
    const ColorTable empty;
    const Rgba black{0, 0, 0, 255};
    EXPECT_EQ(pixel(plain(empty), {10, 1, 1}), black);
    EXPECT_EQ(pixel(plain(t, 0), {-5, 1, 1}), black);
    for (float nu : {255.0f, 300.0f, kNaNf, HUGE_VALF}) EXPECT_EQ(pixel(plain(t), {nu, 1, 1}), black);
    EXPECT_NE(pixel(plain(t), {254.9f, 1, 1}), black);
}

TEST(ColourPixel, JustBelowTheCeilingBlendsTowardsEntryZero) {
    // Entry 255 white, all others black: the position ln(maxIter + 0.5) / ln(maxIter + 1),
    // just under 1, lies in the last cell, blending from white towards black entry 0.
    ColorTable t = grey(0.0);
    t[255] = {1, 1, 1};
    for (std::int32_t maxIter : {255, 1000, 8000}) {
        const double position = std::log(maxIter + 0.5) / std::log(maxIter + 1.0);
        const double v = position * 256;
        ASSERT_GE(v, 255.0);
        const int expected = byteOf(1 - (v - 255));
        const Rgba got = pixel(plain(t, maxIter), {maxIter - 0.5f, 0, 0});
        EXPECT_EQ(got, (Rgba{expected, expected, expected, 255})) << maxIter;
    }
}

struct PositionCase {
    float nu;
    double frequency, offset, shift, expected;  // expected palette position
};

class ColourPosition : public ::testing::TestWithParam<PositionCase> {};

TEST_P(ColourPosition, WrapsIntoTheCycle) {
    const ColorTable t = ramp(256);
    ColorParams p = plain(t);
    p.frequency = GetParam().frequency;
    p.cycleOffset = GetParam().offset;
    p.colorShift = GetParam().shift;
    const aColor c = sampleColor(t.data(), t.size(), GetParam().expected);
    EXPECT_EQ(pixel(p, {GetParam().nu, 0, 0}), (Rgba{byteOf(c.r), byteOf(c.g), byteOf(c.b), 255}));
}

INSTANTIATE_TEST_SUITE_P(
    Colour, ColourPosition,
    ::testing::Values(PositionCase{0, 1, -0.25, 0, 0.75},      // negative position wraps
                      PositionCase{-3, 1, 0, -1.25, 0.75},     // negative count counts as 0
                      PositionCase{0, 1, 0.5, 0.75, 0.25},     // shift adds to the offset
                      PositionCase{0, 8, 2.75, -4.5, 0.25}));  // whole cycles drop out

TEST(ColourPixel, CurveBendsTheNormalisedCount) {
    const ColorTable t = ramp(256);
    ColorParams p = plain(t);
    p.tuning.curve = 2;
    const double b = std::log(16.0) / std::log(256.0);  // nu = 15: b = 0.5
    const aColor c = sampleColor(t.data(), t.size(), b * b);
    EXPECT_EQ(pixel(p, {15, 0, 0}), (Rgba{byteOf(c.r), byteOf(c.g), byteOf(c.b), 255}));
}

struct TrapCase {
    double q;
    bool unchanged;
};

class ColourTraps : public ::testing::TestWithParam<TrapCase> {};

TEST_P(ColourTraps, OnlyCloserThanTheReachChangesTheColour) {
    const ColorTable t = ramp(256);
    ColorParams p = plain(t);
    const auto q = static_cast<float>(GetParam().q);
    const Rgba before = pixel(p, {100, 1, q});
    p.traps = true;
    EXPECT_EQ(pixel(p, {100, 1, q}) == before, GetParam().unchanged) << GetParam().q;
}

INSTANTIATE_TEST_SUITE_P(Colour, ColourTraps,
                         ::testing::Values(TrapCase{0.4, true}, TrapCase{0.8, true},
                                           TrapCase{1e30, true}, TrapCase{0.3, false},
                                           TrapCase{0.0, false}, TrapCase{-1.0, false}));

TEST(ColourTraps, OnTheTrapTheColourIsTheGlintGrey) {
    const ColorTable t = ramp(256);
    ColorParams p = plain(t);
    p.traps = true;
    const int g = byteOf(0.35);
    EXPECT_EQ(pixel(p, {100, 1, 0}), (Rgba{g, g, g, 255}));
    EXPECT_EQ(pixel(p, {100, 1, -2}), (Rgba{g, g, g, 255}));
}

TEST(ColourGlow, FullHaloOnTheBoundary) {
    const ColorTable t = grey(0.25);
    ColorParams p = plain(t);
    p.glow = true;
    p.glowIntensity = 0.4;
    for (float d : {0.0f, -1.0f}) {
        const double a = 0.4 * 0.9;
        EXPECT_EQ(pixel(p, {100, d, 0}),
                  (Rgba{byteOf(0.25 * 0.8 + 1.0 * a), byteOf(0.25 * 0.8 + kHaloColor.g * a),
                        byteOf(0.25 * 0.8 + 1.0 * a), 255}));
    }
    // Far away only the dimmed palette is left.
    EXPECT_EQ(pixel(p, {100, 1000, 0}), (Rgba{byteOf(0.2), byteOf(0.2), byteOf(0.2), 255}));
}

TEST(ColourGlow, TintTakesThePixelsOwnBrightenedColour) {
    const ColorTable t = grey(0.25);
    ColorParams p = plain(t);
    p.glow = true;
    p.tuning.glowTint = 1;
    const int v = byteOf(0.25 * 0.8 + 0.4 * 0.9);  // h = min(1.6 * 0.25, 1) = 0.4
    EXPECT_EQ(pixel(p, {100, 0, 0}), (Rgba{v, v, v, 255}));
}

struct EdgeCase {
    double thickness, softness;
    bool black;
};

class ColourEdges : public ::testing::TestWithParam<EdgeCase> {};

TEST_P(ColourEdges, OnTheBoundaryBlackWhenTheFloorFadesOut) {
    // d <= 0 stands at the smallest normal distance: log2 = -1022.
    const ColorTable t = grey(1.0);
    ColorParams p = plain(t);
    p.dem = true;
    p.tuning.demThickness = GetParam().thickness;
    p.tuning.demSoftness = GetParam().softness;
    const double f = std::clamp((-1022 - GetParam().thickness) / GetParam().softness + 0.5, 0.0, 1.0);
    ASSERT_EQ(f <= 0, GetParam().black);
    for (float d : {0.0f, -3.0f})
        EXPECT_EQ(pixel(p, {100, d, 0})[0], byteOf(f)) << GetParam().softness;
}

INSTANTIATE_TEST_SUITE_P(Colour, ColourEdges,
                         ::testing::Values(EdgeCase{0, 2, true}, EdgeCase{-2, 8, true},
                                           EdgeCase{0, 2044, true}, EdgeCase{0, 2100, false},
                                           EdgeCase{-1030, 2, false}));

TEST(ColourEdges, FadeSpansSoftnessOctavesAroundTheThickness) {
    const ColorTable t = grey(1.0);
    ColorParams p = plain(t);
    p.dem = true;
    p.pixelSize = 0.5;
    EXPECT_EQ(pixel(p, {100, 0.25f, 0})[0], 0);     // 0.5 px: log2 = -1 -> f = 0
    EXPECT_EQ(pixel(p, {100, 0.5f, 0})[0], 127);    // 1 px: f = 0.5
    EXPECT_EQ(pixel(p, {100, 0.70710678f, 0})[0], 191);  // sqrt(2) px: f = 0.75
    EXPECT_EQ(pixel(p, {100, 1.0f, 0})[0], 255);         // 2 px: f = 1
}

TEST(ColourPixel, GlowComesBeforeEdgesSoEdgesDarkenTheHalo) {
    const ColorTable t = grey(0.5);
    ColorParams p = plain(t);
    p.glow = p.dem = true;
    EXPECT_EQ(pixel(p, {100, 0, 0}), (Rgba{0, 0, 0, 255}));
}

TEST(ColourPixel, NonPositivePixelSizeSwitchesGlowAndEdgesOffButNotTraps) {
    const ColorTable t = ramp(256);
    ColorParams traps = plain(t);
    traps.traps = true;
    for (double size : {0.0, -1.0}) {
        ColorParams all = traps;
        all.glow = all.dem = true;
        all.pixelSize = size;
        traps.pixelSize = size;
        EXPECT_EQ(pixel(all, {100, 0, 0.1f}), pixel(traps, {100, 0, 0.1f}));
        EXPECT_NE(pixel(all, {100, 0, 0.1f}), pixel(plain(t), {100, 0, 0.1f}));
    }
}

TEST(ColourPixelDeath, NotANumberWhereAnIntegerIsNeededStops) {
    const ColorTable t = ramp(256);
    ColorParams p = plain(t);
    p.glow = true;
    std::uint8_t out[4 * 8];
    EXPECT_DEATH(colorPixel(p, {100, kNaNf, 0}, out), "not a number");
    const PixelExtendedData row[8] = {{1, 1, 1}, {2, 1, 1}, {3, kNaNf, 1}};
    EXPECT_DEATH(colorRow(p, row, 8, out), "not a number");
}

// ---- Julia colour ----

TEST(ColourJulia, BlackForCeilingBelowOneEmptyTableAndInterior) {
    const ColorTable t = ramp(256);
    JuliaColorParams p{100, t.data(), t.size(), 1, 2, 0, 0};
    std::uint8_t out[4];
    const auto black = [&](const JuliaColorParams& q, float nu) {
        juliaPixelColor(q, nu, out);
        return Rgba{out[0], out[1], out[2], out[3]} == Rgba{0, 0, 0, 255};
    };
    EXPECT_FALSE(black(p, 5));
    EXPECT_TRUE(black(p, 100));
    EXPECT_TRUE(black(p, kNaNf));
    JuliaColorParams q = p;
    q.maxIter = 0;
    EXPECT_TRUE(black(q, -1));
    q = p;
    q.tableSize = 0;
    EXPECT_TRUE(black(q, 5));
}

TEST(ColourJulia, RowMatchesThePlainMainColouring) {
    SeededRandom rng(3);
    const ColorTable t = smoothPalette(rng);
    JuliaColorParams j{500, t.data(), t.size(), 1.3, 2.5, 0.25, 0.1};
    ColorParams m = plain(t, 500);
    m.tuning.curve = j.curve;
    m.frequency = j.frequency;
    m.cycleOffset = j.cycleOffset;
    m.colorShift = j.colorShift;
    m.glow = m.dem = m.traps = false;
    std::mt19937 gen(5);
    std::uniform_real_distribution<float> nu(-2, 520);
    std::vector<float> counts(1000);
    for (float& n : counts) n = nu(gen);
    std::vector<std::uint8_t> row(4 * counts.size());
    juliaColorRow(j, counts.data(), counts.size(), row.data());
    for (std::size_t i = 0; i < counts.size(); ++i) {
        std::uint8_t one[4];
        juliaPixelColor(j, counts[i], one);
        ASSERT_EQ((Rgba{one[0], one[1], one[2], one[3]}), pixel(m, {counts[i], 0, 0})) << i;
        ASSERT_EQ(std::memcmp(one, &row[4 * i], 4), 0) << i;
    }
}

// ---- Fast row colouring against colorPixel ----

enum class Palette { smooth, random, map, white, single, seven, large, outside, empty };

ColorTable makeTable(Palette kind) {
    SeededRandom rng(11);
    switch (kind) {
        case Palette::smooth: return smoothPalette(rng);
        case Palette::random: return randomPalette(rng);
        case Palette::map: {  // a .map file's k/255 steps: runs of equal entries, 0s and 255s
            ColorTable t;
            for (int i = 0; i < 256; ++i)
                t.push_back({std::min(i, 255 - i) * 2 / 255.0, (i / 7 % 2) * 1.0, (i / 3) / 255.0});
            return t;
        }
        case Palette::white: return grey(1.0);
        case Palette::single: return grey(0.6, 1);
        case Palette::seven: return randomPalette(rng, 7);
        case Palette::large: return smoothPalette(rng, 1000);
        case Palette::outside: {  // .map values are not clamped: components beyond 0..1
            ColorTable t = randomPalette(rng);
            for (std::size_t i = 0; i < t.size(); i += 3) t[i] = {1.5, -0.25, t[i].b * 2};
            return t;
        }
        case Palette::empty: return {};
    }
    return {};
}

struct FastCase {
    std::string name;
    Palette palette;
    void (*tweak)(ColorParams&);
};

void allShadings(ColorParams& p) { p.traps = p.glow = p.dem = true; }

const FastCase kFastCases[] = {
    {"SmoothPlain", Palette::smooth, [](ColorParams&) {}},
    {"SmoothShaded", Palette::smooth, allShadings},
    {"TrapsOnly", Palette::smooth, [](ColorParams& p) { p.traps = true; }},
    {"GlowOnly", Palette::map, [](ColorParams& p) { p.glow = true; }},
    {"EdgesOnly", Palette::random, [](ColorParams& p) { p.dem = true; }},
    {"CurveLow", Palette::smooth, [](ColorParams& p) { allShadings(p); p.tuning.curve = 0.4; }},
    {"CurveHighTinted", Palette::smooth,
     [](ColorParams& p) { allShadings(p); p.tuning.curve = 2.5; p.tuning.glowTint = 0.5; }},
    {"RandomFullTint", Palette::random,
     [](ColorParams& p) {
         allShadings(p);
         p.tuning.glowTint = 1;
         p.frequency = 8;
         p.cycleOffset = 0.999;
         p.colorShift = -3.3;
     }},
    {"MapShaded", Palette::map,
     [](ColorParams& p) { allShadings(p); p.tuning.trapGlint = 0.3; p.tuning.glowDim = 1; }},
    {"MapPlain", Palette::map, [](ColorParams& p) { p.frequency = 0.1; }},
    {"WhiteSaturated", Palette::white, [](ColorParams& p) { allShadings(p); p.glowIntensity = 6; }},
    {"SingleEntry", Palette::single, allShadings},
    {"SevenEntries", Palette::seven, [](ColorParams& p) { allShadings(p); p.frequency = 3.7; }},
    {"ThousandEntries", Palette::large, allShadings},
    {"OutsideUnit", Palette::outside, allShadings},
    {"EmptyTable", Palette::empty, allShadings},
    {"ZeroPixelSize", Palette::smooth, [](ColorParams& p) { allShadings(p); p.pixelSize = 0; }},
    {"NegativePixelSize", Palette::smooth, [](ColorParams& p) { allShadings(p); p.pixelSize = -1; }},
    {"TinyPixelSize", Palette::smooth, [](ColorParams& p) { allShadings(p); p.pixelSize = 1e-306; }},
    {"CurveZero", Palette::smooth, [](ColorParams& p) { allShadings(p); p.tuning.curve = 0; }},
    {"SharpnessZero", Palette::smooth,
     [](ColorParams& p) { allShadings(p); p.tuning.trapSharpness = 0; }},
    {"SliderExtremesLow", Palette::smooth,
     [](ColorParams& p) {
         allShadings(p);
         p.tuning.trapReach = 0.05;
         p.tuning.trapSharpness = 0.15;
         p.tuning.glowRadius = 0.2;
         p.tuning.glowDim = 0.3;
         p.tuning.glowStrength = 0;
         p.tuning.demThickness = -2;
         p.tuning.demSoftness = 0.25;
     }},
    {"SliderExtremesHigh", Palette::random,
     [](ColorParams& p) {
         allShadings(p);
         p.tuning.trapReach = 1.5;
         p.tuning.trapSharpness = 2;
         p.tuning.trapGlint = 0.8;
         p.tuning.glowRadius = 8;
         p.tuning.glowStrength = 2;
         p.tuning.demThickness = 6;
         p.tuning.demSoftness = 8;
     }},
    {"SoftFloor", Palette::smooth, [](ColorParams& p) { allShadings(p); p.tuning.demSoftness = 2100; }},
    {"FrequencyZero", Palette::map, [](ColorParams& p) { allShadings(p); p.frequency = 0; p.cycleOffset = 0.5; }},
    {"CeilingOne", Palette::smooth, [](ColorParams& p) { allShadings(p); p.maxIter = 1; p.logMaxIter = std::log(2.0); }},
    {"DeepCeiling", Palette::smooth,
     [](ColorParams& p) { allShadings(p); p.maxIter = 8000; p.logMaxIter = std::log(8001.0); p.pixelSize = 1e-14; }},
    {"CeilingZero", Palette::smooth, [](ColorParams& p) { allShadings(p); p.maxIter = 0; }},
};

// Values where a rounding decision is close: integers and their neighbours, zeros, the
// ceiling, the trap reach, powers of two, halves.
float adversarialCount(std::mt19937_64& g, std::int32_t maxIter) {
    std::uniform_int_distribution<int> pick(0, 9);
    std::uniform_int_distribution<int> whole(-3, maxIter + 2);
    const auto n = static_cast<float>(whole(g));
    switch (pick(g)) {
        case 0: return n;
        case 1: return std::nextafter(n, HUGE_VALF);
        case 2: return std::nextafter(n, -HUGE_VALF);
        case 3: return static_cast<float>(maxIter) - 0.5f;
        case 4: return std::nextafter(static_cast<float>(maxIter), 0.0f);
        case 5: return std::ldexp(1.0f, -std::uniform_int_distribution<int>(1, 149)(g));
        case 6: return -0.0f;
        case 7: return n + 0.5f;
        case 8: return kNaNf;
        default: return -HUGE_VALF;
    }
}

float adversarialDistance(std::mt19937_64& g, double pixelSize) {
    std::uniform_int_distribution<int> pick(0, 8);
    std::uniform_real_distribution<double> u(0, 1);
    const double px = pixelSize > 0 ? pixelSize : 1;
    switch (pick(g)) {
        case 0: return 0.0f;
        case 1: return -static_cast<float>(u(g));
        case 2: return std::ldexp(1.0f, -std::uniform_int_distribution<int>(1, 149)(g));
        case 3: return static_cast<float>(px * std::ldexp(1.0, std::uniform_int_distribution<int>(-12, 12)(g)));
        case 4: return static_cast<float>(px * 0.8 * 746 / 1.5 * (1 + (u(g) - 0.5) * 1e-3));
        case 5: return static_cast<float>(px * 0.8 * 708 / 1.5 * (1 + (u(g) - 0.5) * 1e-3));
        case 6: return 3e38f;
        case 7: return static_cast<float>(px * u(g) * 40);
        default: return static_cast<float>(px * std::exp(u(g) * 30 - 15));
    }
}

float adversarialTrap(std::mt19937_64& g, double reach) {
    std::uniform_int_distribution<int> pick(0, 7);
    std::uniform_real_distribution<double> u(0, 1);
    const auto r = static_cast<float>(reach);
    switch (pick(g)) {
        case 0: return 0.0f;
        case 1: return -static_cast<float>(u(g));
        case 2: return r;
        case 3: return std::nextafter(r, 0.0f);
        case 4: return std::nextafter(r, 2.0f);
        case 5: return std::ldexp(1.0f, -std::uniform_int_distribution<int>(1, 149)(g));
        case 6: return 1e30f;
        default: return static_cast<float>(reach * u(g) * 1.2);
    }
}

PixelExtendedData realistic(std::mt19937_64& g, const ColorParams& p) {
    std::uniform_real_distribution<double> u(0, 1);
    const double px = p.pixelSize > 0 ? p.pixelSize : 1e-3;
    return {static_cast<float>(u(g) * (p.maxIter + 1) - 1), static_cast<float>(px * std::exp(u(g) * 12 - 3)),
            static_cast<float>(u(g) * 0.7)};
}

PixelExtendedData adversarial(std::mt19937_64& g, const ColorParams& p) {
    PixelExtendedData px = realistic(g, p);
    std::uniform_int_distribution<int> coin(0, 1);
    if (coin(g)) px.nu = adversarialCount(g, p.maxIter);
    if (coin(g)) px.distance = adversarialDistance(g, p.pixelSize);
    if (coin(g)) px.trapDistance = adversarialTrap(g, p.tuning.trapReach);
    return px;
}

// Routes the shading kernels to one compiled target for a scope.
class OnTarget {
public:
    explicit OnTarget(std::int64_t target) : available_(detail::useTarget(target)) {}
    ~OnTarget() { detail::useTarget(0); }
    OnTarget(const OnTarget&) = delete;
    OnTarget& operator=(const OnTarget&) = delete;
    bool available() const { return available_; }

private:
    bool available_;
};

// Targets to check: every compiled one this CPU runs, and the dispatcher's choice (0).
std::vector<std::int64_t> colourTargetList() {
    std::vector<std::int64_t> list{0};
    for (std::int64_t bits = detail::colourTargets(); bits != 0; bits &= bits - 1)
        list.push_back(bits & -bits);
    return list;
}

// Colours data through the fast path on target and compares with colorPixel byte for byte.
// Returns the number of pixels the fast path handed back to colorPixel.
std::int64_t expectSameBytes(const ColorParams& p, const std::vector<PixelExtendedData>& data,
                             std::int64_t target, std::size_t rowLength, const std::string& what) {
    std::vector<std::uint8_t> want(4 * data.size()), got(4 * data.size(), 0xAB);
    for (std::size_t i = 0; i < data.size(); ++i) colorPixel(p, data[i], &want[4 * i]);
    std::int64_t redone = 0;
    {
        const OnTarget on(target);
        EXPECT_TRUE(on.available());
        for (std::size_t at = 0; at < data.size(); at += rowLength) {
            const std::size_t n = std::min(rowLength, data.size() - at);
            redone += detail::colorRowCounted(p, &data[at], n, &got[4 * at]);
        }
    }
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (std::memcmp(&want[4 * i], &got[4 * i], 4) != 0) {
            ADD_FAILURE() << what << " target " << target << " pixel " << i << " nu " << data[i].nu
                          << " d " << data[i].distance << " q " << data[i].trapDistance << ": want "
                          << int(want[4 * i]) << "," << int(want[4 * i + 1]) << "," << int(want[4 * i + 2])
                          << " got " << int(got[4 * i]) << "," << int(got[4 * i + 1]) << ","
                          << int(got[4 * i + 2]) << "," << int(got[4 * i + 3]);
            return redone;
        }
    }
    return redone;
}

class ColourFastPath : public ::testing::TestWithParam<FastCase> {
protected:
    void SetUp() override {
        table_ = makeTable(GetParam().palette);
        params_ = plain(table_);
        params_.frequency = 2;
        params_.pixelSize = 4.0 / 1920;
        GetParam().tweak(params_);
    }
    ColorTable table_;
    ColorParams params_;
};

TEST_P(ColourFastPath, SameBytesAsColorPixelOnRealisticData) {
    std::mt19937_64 g(1);
    std::vector<PixelExtendedData> data(120000);
    for (auto& px : data) px = realistic(g, params_);
    std::int64_t redone = 0;
    for (std::int64_t target : colourTargetList())
        redone += expectSameBytes(params_, data, target, 4099, GetParam().name);
    const double share = double(redone) / double(data.size() * colourTargetList().size());
    RecordProperty("fallback", std::to_string(share));
    // The check may only turn a few pixels back; whole rows go back for unusual parameters.
    const std::string& name = GetParam().name;
    const bool wholeRowsBack = name.find("Zero") != std::string::npos ||
                               name == "TinyPixelSize" || name == "EmptyTable";
    if (!wholeRowsBack) {
        EXPECT_LT(share, 1e-3) << name;
    }
}

TEST_P(ColourFastPath, SameBytesAsColorPixelOnAdversarialData) {
    std::mt19937_64 g(2);
    std::vector<PixelExtendedData> data(120000);
    for (auto& px : data) px = adversarial(g, params_);
    for (std::int64_t target : colourTargetList())
        expectSameBytes(params_, data, target, 1021, GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Colour, ColourFastPath, ::testing::ValuesIn(kFastCases),
                         [](const auto& info) { return info.param.name; });

TEST(ColourFastPath, PositionsOnCellBordersMatch) {
    // The offset puts each pixel's palette position within a rounding of a cell border (or of
    // the wrap at 0 / 1), where the fast position may fall into the neighbouring cell.
    const ColorTable t = makeTable(Palette::smooth);
    std::mt19937_64 g(3);
    std::uniform_real_distribution<float> nu(0, 255);
    std::uniform_int_distribution<int> cell(0, 256);
    const auto targets = colourTargetList();
    for (int k = 0; k < 3000; ++k) {
        ColorParams p = plain(t);
        allShadings(p);
        p.pixelSize = 4.0 / 1920;
        p.frequency = 1 + k % 5;
        const PixelExtendedData px{nu(g), 0.01f, 0.3f};
        const double b = std::log(double(px.nu) + 1) / p.logMaxIter;
        p.cycleOffset = cell(g) / 256.0 - p.frequency * b + (k % 3 - 1) * 1e-17;
        const std::vector<PixelExtendedData> row(13, px);
        expectSameBytes(p, row, targets[static_cast<std::size_t>(k) % targets.size()], 13, "border");
        if (HasFailure()) return;
    }
}

TEST(ColourFastPath, ApproximationsStayFarInsideTheirBound) {
    // The check assumes each approximation within 2^-40 relative of the C library; demand
    // 2^-46 so the bound keeps a wide margin on every target.
    std::mt19937_64 g(4);
    std::uniform_real_distribution<double> u(0, 1);
    std::vector<double> logIn, expIn;
    for (int i = 0; i < 200000; ++i) {
        logIn.push_back(1 + u(g) * 1e4);
        logIn.push_back(std::exp(-u(g) * 700));                 // trap ratios and curve bases
        logIn.push_back(std::nextafter(1.0, 2.0) + i * 1e-16);  // just above 1
        logIn.push_back(std::ldexp(u(g) + 0.5, -1060));         // subnormal
        expIn.push_back(-u(g) * 708);
        expIn.push_back(-u(g) * 1e-6);
    }
    std::vector<double> out(std::max(logIn.size(), expIn.size()));
    for (std::int64_t target : colourTargetList()) {
        const OnTarget on(target);
        detail::fastLog(logIn.data(), out.data(), logIn.size());
        for (std::size_t i = 0; i < logIn.size(); ++i) {
            const double want = std::log(logIn[i]);
            ASSERT_LE(std::abs(out[i] - want), std::abs(want) * 0x1p-46) << target << " log " << logIn[i];
        }
        detail::fastExp(expIn.data(), out.data(), expIn.size());
        for (std::size_t i = 0; i < expIn.size(); ++i) {
            const double want = std::exp(expIn[i]);
            ASSERT_LE(std::abs(out[i] - want), want * 0x1p-46) << target << " exp " << expIn[i];
        }
    }
}

// ---- Relief light ----

TEST(LightVector, DefaultPositionIsUpperLeftAtModerateDrama) {
    const ReliefLight l = lightVector(-0.5, -0.5);
    EXPECT_NEAR(l.x, -0.5595, 1e-4);
    EXPECT_NEAR(l.y, -0.5595, 1e-4);
    EXPECT_NEAR(l.z, 0.6115, 1e-4);
    EXPECT_NEAR(l.drama, 0.5882, 1e-4);
    EXPECT_EQ(lightAzimuthDegrees(-0.5, -0.5), 225);
    EXPECT_NEAR(lightStrengthPercent(-0.5, -0.5), 58.8235294117647, 1e-9);
}

struct LightCase {
    double rawX, rawY;
    double clampedX, clampedY;
};

class LightClamp : public ::testing::TestWithParam<LightCase> {};

TEST_P(LightClamp, RawValuesBeyondTheLimitAreClamped) {
    const LightCase c = GetParam();
    const ReliefLight l = lightVector(c.rawX, c.rawY);
    EXPECT_EQ(l, lightVector(c.clampedX, c.clampedY));
    EXPECT_NEAR(double(l.x) * l.x + double(l.y) * l.y + double(l.z) * l.z, 1.0, 1e-6);
    EXPECT_GE(l.z, 0.24f);  // the light never drops below about 14 degrees
}

INSTANTIATE_TEST_SUITE_P(Light, LightClamp,
                         ::testing::Values(LightCase{3, -7, 0.85, -0.85}, LightCase{0.86, 0, 0.85, 0},
                                           LightCase{-100, 0.2, -0.85, 0.2},
                                           LightCase{0.85, 0.85, 0.85, 0.85}, LightCase{0, 0, 0, 0}));

TEST(LightVector, CornerIsFullDramaCentreIsOverhead) {
    EXPECT_EQ(lightVector(5, 5).drama, 1.0f);
    EXPECT_EQ(lightVector(0, 0), (ReliefLight{0, 0, 1, 0}));
    EXPECT_LT(lightVector(0.6, 0).z, lightVector(0.3, 0).z);  // further out is lower
}

struct AzimuthCase {
    double rawX, rawY, degrees;
};

class LightAzimuth : public ::testing::TestWithParam<AzimuthCase> {};

TEST_P(LightAzimuth, MeasuresFromPositiveXTowardsPositiveY) {
    EXPECT_NEAR(lightAzimuthDegrees(GetParam().rawX, GetParam().rawY), GetParam().degrees, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(Light, LightAzimuth,
                         ::testing::Values(AzimuthCase{1, 0, 0}, AzimuthCase{0, 1, 90},
                                           AzimuthCase{-1, 0, 180}, AzimuthCase{0, -1, 270},
                                           AzimuthCase{0.01, 0.01, 225},  // under 0.02: default
                                           AzimuthCase{0.015, 0.015, 45},
                                           AzimuthCase{1, -1e-30, 0}));  // never 360

TEST(LightAzimuth, SettingAzimuthAndStrengthRoundTrips) {
    double x = 0, y = 0;
    rawLightFromAzimuth(225, std::hypot(0.5, 0.5) / kLongestLightOffset * 100, x, y);
    EXPECT_NEAR(x, -0.5, 1e-12);
    EXPECT_NEAR(y, -0.5, 1e-12);
    rawLightFromAzimuth(0, 100, x, y);
    EXPECT_EQ(x, 0.85);  // clamped per axis
    EXPECT_NEAR(y, 0, 1e-15);
    for (double a : {10.0, 100.0, 190.0, 300.0}) {
        rawLightFromAzimuth(a, 40, x, y);
        EXPECT_NEAR(lightAzimuthDegrees(x, y), a, 1e-9);
        EXPECT_NEAR(lightStrengthPercent(x, y), 40, 1e-9);
    }
    EXPECT_EQ(lightStrengthPercent(5, 5), 100);
}

// ---- Relief ----

struct Picture {
    int width, height;
    std::vector<std::uint8_t> rgba;
    std::vector<float> elevation;
};

Picture picture(int w, int h, float elevation, std::uint8_t value = 100) {
    const auto n = static_cast<std::size_t>(w * h);
    Picture p{w, h, std::vector<std::uint8_t>(4 * n), std::vector<float>(n, elevation)};
    for (std::size_t i = 0; i < n; ++i) {
        p.rgba[4 * i] = value;
        p.rgba[4 * i + 1] = static_cast<std::uint8_t>(value + 50);
        p.rgba[4 * i + 2] = 7;
        p.rgba[4 * i + 3] = 77;
    }
    return p;
}

void light(Picture& p, const ReliefLight& l, const ShadingTuning& t = {}) {
    applyRelief(p.rgba.data(), p.elevation.data(), p.width, p.height, l, t);
}

// A flat area has the normal (0, 0, 1): D = B + (1 - B) * max(z, 0), S = C * max(Hz, 0)^16.
int flatLit(float v, const ReliefLight& l, float ambient, float shine) {
    const float hz = l.z + 1.0f;
    const float hv = hz / std::sqrt(l.x * l.x + l.y * l.y + hz * hz);
    float sp = std::max(hv, 0.0f);
    for (int i = 0; i < 4; ++i) sp = sp * sp;
    const float d = ambient + (1.0f - ambient) * std::max(l.z, 0.0f);
    const float lit = d * v + (v + 255.0f) * 0.5f * (shine * sp);
    return static_cast<int>(std::clamp(lit, 0.0f, 255.0f));
}

class ReliefFlat : public ::testing::TestWithParam<ReliefLight> {};

TEST_P(ReliefFlat, DramaZeroDefaultTuningGivesTheFlatFactors) {
    const ReliefLight l = GetParam();
    for (auto [w, h] : {std::pair{5, 4}, std::pair{1, 1}, std::pair{1, 3}}) {  // edges reuse themselves
        Picture p = picture(w, h, 0.5f);
        light(p, l);
        for (int i = 0; i < w * h; ++i) {
            EXPECT_EQ(p.rgba[4 * i], flatLit(100, l, 0.45f, 0.65f));
            EXPECT_EQ(p.rgba[4 * i + 1], flatLit(150, l, 0.45f, 0.65f));
            EXPECT_EQ(p.rgba[4 * i + 3], 77);  // alpha kept
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Relief, ReliefFlat,
                         ::testing::Values(ReliefLight{0.6f, 0, 0.8f, 0}, ReliefLight{0, 0.6f, -0.8f, 0},
                                           ReliefLight{-0.5595f, -0.5595f, 0.6115f, 0},
                                           ReliefLight{0, 0, 1, 0}));

TEST(Relief, InteriorPixelsKeepTheirColour) {
    Picture p = picture(4, 3, 1.0f);
    p.elevation[5] = 0.2f;  // one exterior pixel among interior ones
    const std::vector<std::uint8_t> before = p.rgba;
    light(p, lightVector(-0.5, -0.5));
    for (int i = 0; i < 12; ++i) {
        if (i == 5) continue;
        EXPECT_EQ(std::memcmp(&p.rgba[4 * i], &before[4 * i], 4), 0) << i;
    }
    EXPECT_NE(std::memcmp(&p.rgba[20], &before[20], 4), 0);
}

// A horizontal ramp of the given slope per pixel; returns the lit red of the middle pixel.
int litRamp(float slope, const ReliefLight& l, const ShadingTuning& t = {}) {
    Picture p = picture(5, 1, 0);
    for (int i = 0; i < 5; ++i) p.elevation[static_cast<std::size_t>(i)] = -5 + slope * i;
    light(p, l, t);
    return p.rgba[8];
}

TEST(Relief, SlopesFacingTheLightAreBrighter) {
    const ReliefLight left = lightVector(-0.8, 0);
    EXPECT_GT(litRamp(0.1f, left), litRamp(0.0f, left));   // rising to the right faces left
    EXPECT_LT(litRamp(-0.1f, left), litRamp(0.0f, left));
}

TEST(Relief, GradientIsCappedAtEdgeCalm) {
    const ReliefLight l = lightVector(-0.8, 0);
    ShadingTuning t;
    t.reliefEdgeCalm = 0.2;  // the central difference is twice the slope
    EXPECT_EQ(litRamp(0.2f, l, t), litRamp(0.4f, l, t));
    EXPECT_NE(litRamp(0.05f, l, t), litRamp(0.1f, l, t));
}

TEST(Relief, ShineAndShadowScaleTheirTerms) {
    const ReliefLight overhead{0, 0, 1, 0};  // D = 1 on a flat area: only the specular remains
    ShadingTuning dull;
    dull.reliefShine = 0;
    Picture p = picture(3, 3, 0.5f);
    light(p, overhead, dull);
    EXPECT_EQ(p.rgba[0], 100);
    EXPECT_EQ(p.rgba[1], 150);
    ShadingTuning shadow;
    shadow.reliefShadow = 0.3;  // ambient 0.45 + 0.3
    const ReliefLight grazing{0, 1, 0, 0};
    Picture q = picture(3, 3, 0.5f);
    light(q, grazing, shadow);
    EXPECT_EQ(q.rgba[0], flatLit(100, grazing, 0.75f, 0.65f));
}

// The relief steps transcribed one by one in 32-bit floats: the yardstick for the vector pass.
void literalRelief(Picture& p, const ReliefLight& l, const ShadingTuning& t) {
    float hx = 0, hy = 0, hz = 1;
    const float up = l.z + 1.0f;
    const float len2 = l.x * l.x + l.y * l.y + up * up;
    if (len2 > 0) {
        const float len = std::sqrt(len2);
        hx = l.x / len;
        hy = l.y / len;
        hz = up / len;
    }
    float a = 1.5f * l.drama + 2.0f;
    if (t.reliefHeight != 1) a = a * static_cast<float>(t.reliefHeight);
    float b = -0.25f * l.drama + 0.44999998807907104f;
    if (t.reliefShadow != 0) b = std::clamp(b + static_cast<float>(t.reliefShadow), 0.0f, 0.949999988079071f);
    float c = 0.550000011920929f * l.drama + 0.6499999761581421f;
    if (t.reliefShine != 1) c = c * static_cast<float>(t.reliefShine);
    const auto e = static_cast<float>(t.reliefEdgeCalm);
    const int w = p.width, h = p.height;
    auto at = [&](int r, int i) { return p.elevation[static_cast<std::size_t>(r * w + i)]; };
    for (int r = 0; r < h; ++r) {
        for (int i = 0; i < w; ++i) {
            if (!(at(r, i) < 1)) continue;
            float gx = at(r, std::min(i + 1, w - 1)) - at(r, std::max(i - 1, 0));
            float gy = at(std::min(r + 1, h - 1), i) - at(std::max(r - 1, 0), i);
            const float g = std::sqrt(gx * gx + gy * gy);
            if (g > e) {
                gx = gx * (e / g);
                gy = gy * (e / g);
            }
            const float nx = -gx * a, ny = -gy * a;
            const float n = std::sqrt(nx * nx + ny * ny + 1.0f);
            const float x = nx / n, y = ny / n, z = 1.0f / n;
            float sp = std::max(x * hx + y * hy + z * hz, 0.0f);
            for (int k = 0; k < 4; ++k) sp = sp * sp;
            const float s = c * sp;
            const float d = b + (1.0f - b) * std::max(l.x * x + l.y * y + l.z * z, 0.0f);
            for (int ch = 0; ch < 3; ++ch) {
                std::uint8_t& byte = p.rgba[static_cast<std::size_t>(4 * (r * w + i) + ch)];
                const float v = byte;
                const float lit = d * v + (v + 255.0f) * 0.5f * s;
                byte = static_cast<std::uint8_t>(static_cast<int>(std::clamp(lit, 0.0f, 255.0f)));
            }
        }
    }
}

TEST(Relief, VectorPassFollowsTheStepsBitForBit) {
    std::mt19937_64 g(9);
    std::uniform_real_distribution<float> u(0, 1);
    std::uniform_int_distribution<int> byte(0, 255);
    const std::pair<int, int> sizes[] = {{1, 1}, {1, 5}, {5, 1}, {17, 3}, {40, 7}, {67, 5}, {129, 2}};
    for (std::int64_t target : colourTargetList()) {
        const OnTarget on(target);
        for (int k = 0; k < 60; ++k) {
            const auto [w, h] = sizes[k % 7];
            Picture p = picture(w, h, 0);
            for (auto& b : p.rgba) b = static_cast<std::uint8_t>(byte(g));
            const float steep = k % 3 == 0 ? 4.0f : 0.3f;  // beyond and within the gradient cap
            for (auto& e : p.elevation) e = u(g) < 0.15f ? 1.0f : u(g) * steep - 0.5f;
            ReliefLight l = lightVector(u(g) * 2 - 1, u(g) * 2 - 1);
            l.drama = k % 4 == 0 ? 0.0f : u(g);
            ShadingTuning t;
            if (k % 2) {
                t.reliefHeight = 0.25 + u(g) * 2.75;
                t.reliefShadow = u(g) * 0.6 - 0.3;
                t.reliefShine = u(g) * 2;
                t.reliefEdgeCalm = 0.2 + u(g) * 1.2;
            }
            Picture want = p;
            literalRelief(want, l, t);
            light(p, l, t);
            ASSERT_EQ(p.rgba, want.rgba) << "target " << target << " case " << k;
        }
    }
}

TEST(ReliefDeath, LightThatIsNotANumberStops) {
    Picture p = picture(9, 2, 0.5f);
    EXPECT_DEATH(light(p, ReliefLight{std::nanf(""), 0, 1, 0.5f}), "not a number");
}

struct ElevationCase {
    std::int32_t maxIter;
    float nu;
    float height;
};

class ReliefElevation : public ::testing::TestWithParam<ElevationCase> {};

TEST_P(ReliefElevation, LogarithmicHeightInteriorPlateau) {
    std::vector<float> cache;
    const PixelExtendedData px{GetParam().nu, 0, 0};
    buildElevation(&px, 1, GetParam().maxIter, cache);
    ASSERT_EQ(cache.size(), 1u);
    EXPECT_EQ(cache[0], GetParam().height);
}

INSTANTIATE_TEST_SUITE_P(Relief, ReliefElevation,
                         ::testing::Values(ElevationCase{255, 15, 0.5f}, ElevationCase{255, -4, 0},
                                           ElevationCase{255, 0, 0}, ElevationCase{255, 255, 1},
                                           ElevationCase{255, kNaNf, 1}, ElevationCase{0, 255, 0},
                                           ElevationCase{-3, -7, 0}));

TEST(ReliefElevation, RebuiltOnlyWhenTheSizeDiffers) {
    const std::vector<PixelExtendedData> data(6, {3, 0, 0});
    std::vector<float> cache(6, 7.0f);
    buildElevation(data.data(), data.size(), 255, cache);
    EXPECT_EQ(cache, std::vector<float>(6, 7.0f));
    cache.clear();
    buildElevation(data.data(), data.size(), 255, cache);
    EXPECT_EQ(cache, std::vector<float>(6, static_cast<float>(std::log(4.0)) / static_cast<float>(std::log(256.0))));
}

}  // namespace
}  // namespace gs
