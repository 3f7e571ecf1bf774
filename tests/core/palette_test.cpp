#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "core/palette.h"

namespace gs {

// Readable failures: gtest finds this by argument-dependent lookup.
[[maybe_unused]] static void PrintTo(const aColor& c, std::ostream* out) {
    *out << "(" << c.r << ", " << c.g << ", " << c.b << ")";
}

namespace {

using detail::PaletteStop;

constexpr std::uint64_t kAllOnes = ~std::uint64_t{0};
constexpr std::uint64_t kLow53 = (std::uint64_t{1} << 53) - 1;

// Hands out the given words in order. Asking for more than were scripted fails the test by
// throwing, since any word returned instead could make a draw loop for ever.
class ScriptedRandom final : public RandomSource {
public:
    explicit ScriptedRandom(std::vector<std::uint64_t> words) : words(std::move(words)) {}
    std::uint64_t next() override {
        if (used == words.size()) throw std::out_of_range("more words drawn than scripted");
        return words[used++];
    }
    std::vector<std::uint64_t> words;
    std::size_t used = 0;
};

double maxChannel(const aColor& c) { return std::max({c.r, c.g, c.b}); }
double minChannel(const aColor& c) { return std::min({c.r, c.g, c.b}); }
double distance(const aColor& x, const aColor& y) {
    return std::max({std::fabs(x.r - y.r), std::fabs(x.g - y.g), std::fabs(x.b - y.b)});
}

// --- Draws from scripted words -------------------------------------------------------------

// The all-ones word gives the top of a closed range: 0.2 + (0.9 - 0.2) is not 0.9, so only the
// special case returns b exactly. The word 0 would bias the draw and is rejected. Half-open draws
// use the low 53 bits and redraw at b.
TEST(PaletteDraw, GivesExactValueAndUsesEveryScriptedWord) {
    struct Case { bool closed; double a, b; std::vector<std::uint64_t> words; double want; };
    const Case cases[] = {{true, 0.2, 0.9, {kAllOnes}, 0.9},
                          {true, 0.2, 0.9, {0, 1}, 0.2},
                          {false, 0.0, 1.0, {0xFFF0000000000000}, 0.5},
                          {false, 1.0, 2.0, {kLow53, 0}, 1.0},
                          {false, 0.0, 1.0, {kLow53}, 1.0 - 0x1p-53}};
    for (const Case& c : cases) {
        ScriptedRandom rng(c.words);
        EXPECT_EQ(c.closed ? randomClosed(rng, c.a, c.b) : randomHalfOpen(rng, c.a, c.b), c.want);
        EXPECT_EQ(rng.used, c.words.size()) << c.want;
    }
}

// --- Seeded generators ---------------------------------------------------------------------

TEST(PaletteSeededRandom, MatchesReferenceXoshiroFromSplitmixSystemSourcesDiffer) {
    SeededRandom rng(0);
    for (std::uint64_t want : {0x99ec5f36cb75f2b4u, 0xbf6e1f784956452au, 0x1a5f849d4933e6e0u})
        EXPECT_EQ(rng.next(), want);
    EXPECT_NE(makeSystemRandom()->next(), makeSystemRandom()->next());
}

// Every smooth colour has value v = max(r, g, b) in 0.7..1 and saturation >= 0.7, so its
// smallest channel v(1 - s) is at most 0.3; random channels stay in 0..1; every request is fresh.
TEST(PaletteGenerators, SmoothIsVividRandomInRangeEachRequestFresh) {
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SeededRandom rng(seed);
        const ColorTable smooth = smoothPalette(rng), random = generatePalette(PaletteMode::random, rng);
        ASSERT_EQ(smooth.size(), 256u);
        ASSERT_EQ(random.size(), 256u);
        for (const aColor& c : smooth) {
            EXPECT_GE(minChannel(c), 0.0);
            EXPECT_LE(minChannel(c), 0.3 + 1e-12);
            EXPECT_GE(maxChannel(c), 0.7 - 1e-12);
            EXPECT_LE(maxChannel(c), 1.0);
        }
        for (const aColor& c : random) EXPECT_TRUE(minChannel(c) >= 0 && maxChannel(c) <= 1) << seed;
        EXPECT_NE(generatePalette(PaletteMode::smooth, rng), smooth);
        EXPECT_NE(generatePalette(PaletteMode::random, rng), random);
    }
    SeededRandom rng(7);
    EXPECT_TRUE(smoothPalette(rng, 0).empty());
    EXPECT_TRUE(randomPalette(rng, 0).empty());
}

// --- Smooth tables from explicit stops -----------------------------------------------------

const aColor kRed{1, 0, 0};
const aColor kDarkGreen{0, 0.8, 0};

// Given out of order: red at 0.2, dark green at 0.5, blue at 0.7. After sorting and pinning,
// red sits at 0 and 1 and the blue stop has become a copy of red.
std::vector<PaletteStop> threeStops() {
    return {{0.7, 240, 1, 1}, {0.2, 0, 1, 1}, {0.5, 120, 1, 0.8}};
}

// Hue runs 0 -> 120 -> 0 only: the overwritten blue stop never shows, and the cycle closes
// without a seam.
TEST(PaletteFromStops, KeyColoursLandOnTheirPositionsAndTheCycleCloses) {
    const ColorTable table = detail::smoothFromStops(threeStops(), 256);
    EXPECT_EQ(table[0], kRed);
    EXPECT_LT(distance(table[128], kDarkGreen), 1e-12);
    double largestStep = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        EXPECT_EQ(table[i].b, 0.0);
        if (i > 0) largestStep = std::max(largestStep, distance(table[i - 1], table[i]));
    }
    EXPECT_LT(distance(table[255], table[0]), 1e-3);
    EXPECT_LE(distance(table[255], table[0]), largestStep);
}

TEST(PaletteFromStops, EqualPositionsKeepDrawnOrderHueCrossesZero) {
    // Red and green share 0.5: red, drawn first, stays before green, so green is the stop that
    // becomes the copy of the first and red is the colour met at 0.5.
    const ColorTable tied = detail::smoothFromStops({{0.5, 0, 1, 1}, {0.5, 120, 1, 1}, {0.1, 240, 1, 1}}, 256);
    EXPECT_LT(distance(tied[128], kRed), 1e-12);
    // 350 -> 10 -> 350 must stay among reds; through 180 red would drop to 0 on the way.
    for (const aColor& c : detail::smoothFromStops({{0, 350, 1, 1}, {0.5, 10, 1, 1}, {1, 200, 1, 1}}, 256)) {
        EXPECT_DOUBLE_EQ(c.r, 1.0);
        EXPECT_LE(std::max(c.g, c.b), 10.0 / 60.0 + 1e-12);
    }
}

// --- Hue interpolation and HSV conversion --------------------------------------------------

TEST(PaletteHsv, ConvertsBySector) {
    const std::pair<std::array<double, 3>, aColor> cases[] = {
        {{0, 1, 1}, {1, 0, 0}},   {{60, 1, 1}, {1, 1, 0}},  {{90, 1, 1}, {0.5, 1, 0}},
        {{120, 1, 1}, {0, 1, 0}}, {{180, 1, 1}, {0, 1, 1}}, {{240, 1, 1}, {0, 0, 1}},
        {{300, 1, 1}, {1, 0, 1}}, {{-60, 1, 1}, {1, 0, 1}}, {{30, 0.5, 0.8}, {0.8, 0.6, 0.4}}};
    for (auto [hsv, rgb] : cases)
        EXPECT_LT(distance(detail::hsvToRgb(hsv[0], hsv[1], hsv[2]), rgb), 1e-12) << hsv[0];
}

}  // namespace
}  // namespace gs
