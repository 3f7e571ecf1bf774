#include <gtest/gtest.h>

#include <algorithm>
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
    explicit ScriptedRandom(std::vector<std::uint64_t> words) : words_(std::move(words)) {}
    std::uint64_t next() override {
        if (used_ == words_.size()) throw std::out_of_range("more words drawn than scripted");
        return words_[used_++];
    }
    std::size_t used() const { return used_; }

private:
    std::vector<std::uint64_t> words_;
    std::size_t used_ = 0;
};

double maxChannel(const aColor& c) { return std::max({c.r, c.g, c.b}); }
double minChannel(const aColor& c) { return std::min({c.r, c.g, c.b}); }
double distance(const aColor& x, const aColor& y) {
    return std::max({std::fabs(x.r - y.r), std::fabs(x.g - y.g), std::fabs(x.b - y.b)});
}

// --- Draws from scripted words -------------------------------------------------------------

enum class Draw { closed, halfOpen };

struct DrawCase {
    const char* name;
    Draw draw;
    double a, b;
    std::vector<std::uint64_t> words;
    double expected;  // compared exactly
};

class PaletteDraw : public ::testing::TestWithParam<DrawCase> {};

TEST_P(PaletteDraw, GivesExactValueAndUsesEveryScriptedWord) {
    const DrawCase& c = GetParam();
    ScriptedRandom rng(c.words);
    const double x = c.draw == Draw::closed ? randomClosed(rng, c.a, c.b)
                                            : randomHalfOpen(rng, c.a, c.b);
    EXPECT_EQ(x, c.expected);
    EXPECT_EQ(rng.used(), c.words.size());
}

// For 2^53 + 1 outcomes Lemire rejects words whose low product is below 2^53 - 2047, such as
// 0 and 2048; the all-ones word gives k = 2^53. 0.2 + (0.9 - 0.2) is not 0.9, so only the
// special case returns b exactly.
INSTANTIATE_TEST_SUITE_P(
    Palette, PaletteDraw,
    ::testing::Values(
        DrawCase{"ClosedTopIsExactlyB", Draw::closed, 0.2, 0.9, {kAllOnes}, 0.9},
        DrawCase{"ClosedRejectsZeroWord", Draw::closed, 0.2, 0.9, {0, 1}, 0.2},
        DrawCase{"ClosedRejectsBiasedWord", Draw::closed, 0.2, 0.9, {2048, 0, 1}, 0.2},
        DrawCase{"HalfOpenUsesLow53Bits", Draw::halfOpen, 0.0, 1.0, {0xFFF0000000000000}, 0.5},
        DrawCase{"HalfOpenRedrawsWhenRoundedToB", Draw::halfOpen, 1.0, 2.0, {kLow53, 0}, 1.0},
        DrawCase{"HalfOpenKeepsValueBelowB", Draw::halfOpen, 0.0, 1.0, {kLow53},
                 1.0 - 0x1p-53}),
    [](const auto& info) { return info.param.name; });

struct BelowCase {
    std::uint64_t n;
    std::vector<std::uint64_t> words;
    std::uint64_t expected;
};

class PaletteBelow : public ::testing::TestWithParam<BelowCase> {};

TEST_P(PaletteBelow, MultipliesAndRejectsBiasedWords) {
    const BelowCase& c = GetParam();
    ScriptedRandom rng(c.words);
    EXPECT_EQ(randomBelow(rng, c.n), c.expected);
    EXPECT_EQ(rng.used(), c.words.size());
}

// 2^64 mod 3 = 1, so for n = 3 the one word with a zero low product is rejected; for n = 4
// nothing is (2^64 is a multiple of 4) even though the low product is below n.
INSTANTIATE_TEST_SUITE_P(Palette, PaletteBelow,
                         ::testing::Values(BelowCase{3, {0, kAllOnes}, 2},
                                           BelowCase{4, {0}, 0},
                                           BelowCase{4, {kAllOnes}, 3},
                                           BelowCase{1, {12345}, 0}));

// --- Seeded generators ---------------------------------------------------------------------

TEST(PaletteSeededRandom, MatchesReferenceXoshiroFromSplitmix) {
    SeededRandom rng(0);
    EXPECT_EQ(rng.next(), 0x99ec5f36cb75f2b4u);
    EXPECT_EQ(rng.next(), 0xbf6e1f784956452au);
    EXPECT_EQ(rng.next(), 0x1a5f849d4933e6e0u);
}

TEST(PaletteSystemRandom, TwoSourcesDiffer) {
    auto one = makeSystemRandom();
    auto two = makeSystemRandom();
    EXPECT_NE(one->next(), two->next());
}

class PaletteSeeded : public ::testing::TestWithParam<std::uint64_t> {};

// Every smooth colour has value v = max(r, g, b) in 0.7..1 and saturation >= 0.7, so its
// smallest channel v(1 - s) is at most 0.3.
TEST_P(PaletteSeeded, SmoothColoursAreVivid) {
    SeededRandom rng(GetParam());
    const ColorTable table = smoothPalette(rng);
    ASSERT_EQ(table.size(), 256u);
    for (std::size_t i = 0; i < table.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_GE(minChannel(table[i]), 0.0);
        EXPECT_LE(maxChannel(table[i]), 1.0);
        EXPECT_GE(maxChannel(table[i]), 0.7 - 1e-12);
        EXPECT_LE(minChannel(table[i]), 0.3 + 1e-12);
    }
}

TEST_P(PaletteSeeded, RandomChannelsStayInUnitRange) {
    SeededRandom rng(GetParam());
    const ColorTable table = generatePalette(PaletteMode::random, rng);
    ASSERT_EQ(table.size(), 256u);
    for (const aColor& c : table) {
        EXPECT_GE(minChannel(c), 0.0);
        EXPECT_LE(maxChannel(c), 1.0);
    }
}

TEST_P(PaletteSeeded, EachRequestGivesAFreshTable) {
    SeededRandom rng(GetParam());
    for (PaletteMode mode : {PaletteMode::smooth, PaletteMode::random}) {
        EXPECT_NE(generatePalette(mode, rng), generatePalette(mode, rng));
    }
}

INSTANTIATE_TEST_SUITE_P(PaletteSeeds, PaletteSeeded, ::testing::Range<std::uint64_t>(1, 41));

TEST(PaletteGenerators, ZeroCountGivesEmptyTable) {
    SeededRandom rng(7);
    EXPECT_TRUE(smoothPalette(rng, 0).empty());
    EXPECT_TRUE(randomPalette(rng, 0).empty());
}

// The stop count is 3 + the top two bits of the first word (here 1, so 4 stops); each stop
// then takes one word per draw when no word is rejected.
TEST(PaletteGenerators, StopCountComesFromTheFirstWord) {
    std::vector<std::uint64_t> words{(std::uint64_t{1} << 62) | 3};
    for (int stop = 0; stop < 4; ++stop) words.insert(words.end(), {kAllOnes, 0, 1, 1});
    ScriptedRandom rng(words);
    EXPECT_EQ(smoothPalette(rng, 4).size(), 4u);
    EXPECT_EQ(rng.used(), words.size());
}

// --- Smooth tables from explicit stops -----------------------------------------------------

const aColor kRed{1, 0, 0};
const aColor kDarkGreen{0, 0.8, 0};

// Given out of order: red at 0.2, dark green at 0.5, blue at 0.7. After sorting and pinning,
// red sits at 0 and 1 and the blue stop has become a copy of red.
std::vector<PaletteStop> threeStops() {
    return {{0.7, 240, 1, 1}, {0.2, 0, 1, 1}, {0.5, 120, 1, 0.8}};
}

TEST(PaletteFromStops, KeyColoursLandOnTheirPositions) {
    const ColorTable table = detail::smoothFromStops(threeStops(), 256);
    EXPECT_EQ(table[0], kRed);
    EXPECT_LT(distance(table[128], kDarkGreen), 1e-12);
    // Hue runs 0 -> 120 -> 0 only: the overwritten blue stop never shows.
    for (const aColor& c : table) EXPECT_EQ(c.b, 0.0);
}

TEST(PaletteFromStops, CycleClosesWithoutSeam) {
    const ColorTable table = detail::smoothFromStops(threeStops(), 256);
    double largestStep = 0;
    for (std::size_t i = 1; i < table.size(); ++i) {
        largestStep = std::max(largestStep, distance(table[i - 1], table[i]));
    }
    EXPECT_LT(distance(table[255], table[0]), 1e-3);
    EXPECT_LE(distance(table[255], table[0]), largestStep);
}

TEST(PaletteFromStops, EqualPositionsKeepTheirDrawnOrder) {
    // Red and green share 0.5: red, drawn first, stays before green, so green is the stop that
    // becomes the copy of the first and red is the colour met at 0.5.
    const ColorTable table = detail::smoothFromStops(
        {{0.5, 0, 1, 1}, {0.5, 120, 1, 1}, {0.1, 240, 1, 1}}, 256);
    EXPECT_LT(distance(table[128], kRed), 1e-12);
}

TEST(PaletteFromStops, HueCrossesZeroBetween350And10) {
    // 350 -> 10 -> 350 must stay among reds; through 180 red would drop to 0 on the way.
    const ColorTable table = detail::smoothFromStops({{0, 350, 1, 1}, {0.5, 10, 1, 1},
                                                      {1, 200, 1, 1}}, 256);
    for (const aColor& c : table) {
        EXPECT_DOUBLE_EQ(c.r, 1.0);
        EXPECT_LE(std::max(c.g, c.b), 10.0 / 60.0 + 1e-12);
    }
}

// --- Hue interpolation and HSV conversion --------------------------------------------------

struct HueCase {
    double a, b, w, expected;
};

class PaletteHue : public ::testing::TestWithParam<HueCase> {};

TEST_P(PaletteHue, TakesTheShorterArc) {
    const HueCase& c = GetParam();
    EXPECT_NEAR(detail::interpolateHue(c.a, c.b, c.w), c.expected, 1e-9);
}

// Exactly half a turn apart, the difference is kept as it is (+180 or -180).
INSTANTIATE_TEST_SUITE_P(Palette, PaletteHue,
                         ::testing::Values(HueCase{350, 10, 0.5, 0}, HueCase{350, 10, 0.25, 355},
                                           HueCase{10, 350, 0.75, 355},
                                           HueCase{10, 350, 0.5, 0}, HueCase{0, 180, 0.5, 90},
                                           HueCase{180, 0, 0.5, 90},
                                           HueCase{0, 359.5, 1, 359.5}));

struct HsvCase {
    double h, s, v;
    aColor expected;
};

class PaletteHsv : public ::testing::TestWithParam<HsvCase> {};

TEST_P(PaletteHsv, ConvertsBySector) {
    const HsvCase& c = GetParam();
    EXPECT_LT(distance(detail::hsvToRgb(c.h, c.s, c.v), c.expected), 1e-12);
}

INSTANTIATE_TEST_SUITE_P(
    Palette, PaletteHsv,
    ::testing::Values(HsvCase{0, 1, 1, {1, 0, 0}}, HsvCase{60, 1, 1, {1, 1, 0}},
                      HsvCase{90, 1, 1, {0.5, 1, 0}}, HsvCase{120, 1, 1, {0, 1, 0}},
                      HsvCase{180, 1, 1, {0, 1, 1}}, HsvCase{240, 1, 1, {0, 0, 1}},
                      HsvCase{300, 1, 1, {1, 0, 1}}, HsvCase{-60, 1, 1, {1, 0, 1}},
                      HsvCase{30, 0.5, 0.8, {0.8, 0.6, 0.4}}));

}  // namespace
}  // namespace gs
