// Which stored tunings the colouring can take: every tuning the check accepts colours the most
// extreme pixels without stopping, and each condition it refuses on really stops the program.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "core/shading.h"
#include "core/tuning_fields.h"

namespace gs {
namespace {

constexpr double kLimit = kTuningMagnitudeLimit;
constexpr double kTiny = 4.9406564584124654e-324;  // the smallest subnormal
constexpr std::int32_t kMaxIter = 5000;

// Every combination of the counts, distances and trap distances the kernel can produce at
// their ends: counts from -inf (an escape at an overflowing |z|) to just below the ceiling,
// distances and trap distances from 0 to +inf (overflowing the float record).
std::vector<PixelExtendedData> extremePixels() {
    const float inf = HUGE_VALF;
    const float counts[] = {-inf, -7.5f, 0.0f, 1e-30f, kMaxIter - 0.5f, std::nextafter(float(kMaxIter), 0.0f)};
    const float lengths[] = {0.0f, 1e-38f, 1.0f, FLT_MAX, inf};
    std::vector<PixelExtendedData> pixels;
    for (float nu : counts)
        for (float d : lengths)
            for (float q : lengths) pixels.push_back({nu, d, q});
    return pixels;
}

// Tunings at the edges of what the check accepts: every field at its largest, at its lowest,
// at the smallest magnitudes, and seeded mixtures of those.
std::vector<ShadingTuning> edgeTunings() {
    auto lowest = [](const TuningField& f) {
        const bool nonNegative = f.member == &ShadingTuning::curve ||
                                 f.member == &ShadingTuning::trapSharpness ||
                                 f.member == &ShadingTuning::reliefEdgeCalm;
        return nonNegative ? 0.0 : -kLimit;
    };
    std::vector<std::function<double(const TuningField&, std::mt19937_64&)>> pickers = {
        [](const TuningField&, std::mt19937_64&) { return kLimit; },
        [&](const TuningField& f, std::mt19937_64&) { return lowest(f); },
        [](const TuningField&, std::mt19937_64&) { return kTiny; },
        [&](const TuningField& f, std::mt19937_64& g) {
            const double choices[] = {lowest(f), -kTiny, kTiny, 1.0, kLimit};
            const double v = choices[g() % 5];
            return f.member == &ShadingTuning::demSoftness && v == 0 ? kTiny : v;
        },
    };
    std::vector<ShadingTuning> tunings;
    std::mt19937_64 g(8);
    for (std::size_t k = 0; k < 3 + 200; ++k) {
        ShadingTuning t;
        for (const TuningField& f : kTuningFields) t.*f.member = pickers[std::min<std::size_t>(k, 3)](f, g);
        if (t.demSoftness == 0) t.demSoftness = kTiny;
        if (tuningKeepsColorsFinite(t)) tunings.push_back(t);  // not a negative curve or sharpness
    }
    return tunings;
}

TEST(TuningDomain, AcceptedTuningsColourAndLightTheMostExtremePixels) {
    const std::vector<PixelExtendedData> pixels = extremePixels();
    const std::vector<ShadingTuning> tunings = edgeTunings();
    ASSERT_GT(tunings.size(), 100u);
    const ColorTable table{{-5, 0.5, 5}, {1, 0, 0.25}, {0, 1, 1}};  // components of any size
    std::vector<std::uint8_t> row(4 * pixels.size()), one(4);
    for (const ShadingTuning& t : tunings) {
        for (const auto& [pixelSize, intensity] : {std::pair{1e-300, 1.0}, std::pair{1e290, -1e200}}) {
            ColorParams p;
            p.maxIter = kMaxIter;
            p.logMaxIter = std::log(kMaxIter + 1.0);
            p.table = table.data();
            p.tableSize = table.size();
            p.frequency = 8;
            p.cycleOffset = 0.99;
            p.pixelSize = pixelSize;
            p.glowIntensity = intensity;
            p.dem = p.traps = p.glow = true;
            p.tuning = t;
            colorRow(p, pixels.data(), pixels.size(), row.data());
            for (std::size_t i = 0; i < pixels.size(); ++i) {
                colorPixel(p, pixels[i], one.data());
                ASSERT_EQ(std::vector(row.begin() + 4 * i, row.begin() + 4 * i + 4), one);
            }
        }
        // Steep cliffs, flat land and the interior plateau, under the flattest and the most
        // raking light.
        const std::vector<float> elevation = {0, 1, 0, 1, 0.3f, 0.3f, 0.3f, 1, 1e-30f, 0.999f, 0,
                                              0.5f, 0, 1, 0.3f, 0.3f, 1, 1, 0, 1, 0.3f, 0.3f};
        std::vector<std::uint8_t> rgba(4 * elevation.size(), 200);
        for (const ReliefLight light : {lightVector(0, 0), lightVector(-0.85, 0.85)})
            applyRelief(rgba.data(), elevation.data(), 11, 2, light, t);
    }
}

// Each condition of the check guards a real failure: the smallest step past it stops the
// colouring or the relief with a fatal error.
TEST(TuningDomain, EachRefusedConditionWouldStopTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const ColorTable table(256, aColor{0.5, 0.5, 0.5});
    auto params = [&](auto change) {
        ColorParams p;
        p.maxIter = kMaxIter;
        p.logMaxIter = std::log(kMaxIter + 1.0);
        p.table = table.data();
        p.tableSize = table.size();
        p.pixelSize = 1e-3;
        p.dem = p.traps = p.glow = true;
        change(p.tuning, p);
        EXPECT_FALSE(tuningKeepsColorsFinite(p.tuning));
        return p;
    };
    std::uint8_t out[4];
    // A count of 0 (b = 0) raised to a negative curve.
    const ColorParams curve = params([](ShadingTuning& t, ColorParams&) { t.curve = -1; });
    EXPECT_DEATH(colorPixel(curve, {-1, 1, 1}, out), "palette position is not finite");
    // A trap distance of 0 raised to a negative sharpness.
    const ColorParams sharp = params([](ShadingTuning& t, ColorParams&) { t.trapSharpness = -1; });
    EXPECT_DEATH(colorPixel(sharp, {10, 1, 0}, out), "colour channel is not a number");
    // A zero softness on the fade's centre: 0 / 0.
    const ColorParams soft = params([](ShadingTuning& t, ColorParams&) {
        t.demSoftness = 0;
        t.demThickness = -1022;  // log2 of the floor a distance of 0 is raised to
    });
    EXPECT_DEATH(colorPixel(soft, {10, 0, 1}, out), "colour channel is not a number");
    // Not finite, or so large that a product overflows: an infinite halo times no glow.
    const ColorParams notFinite = params([](ShadingTuning& t, ColorParams&) { t.glowDim = NAN; });
    EXPECT_DEATH(colorPixel(notFinite, {10, 1, 1}, out), "colour channel is not a number");
    const ColorParams huge = params([](ShadingTuning& t, ColorParams&) {
        t.trapGlint = -1e300;
        t.glowTint = 1e300;
    });
    EXPECT_DEATH(colorPixel(huge, {10, HUGE_VALF, 0}, out), "colour channel is not a number");

    // A negative edge calm on flat land, and a height beyond 32 bits.
    const float flat[3] = {0.3f, 0.3f, 0.3f};
    std::uint8_t rgba[12] = {};
    for (const auto& [field, value] : {std::pair{&ShadingTuning::reliefEdgeCalm, -0.5},
                                       std::pair{&ShadingTuning::reliefHeight, 1e39}}) {
        ShadingTuning t;
        t.*field = value;
        EXPECT_FALSE(tuningKeepsColorsFinite(t));
        EXPECT_DEATH(applyReliefRow(rgba, flat, 3, 1, 0, lightVector(-0.5, -0.5), t), "not a number");
    }
}

TEST(TuningDomain, TheDefaultsAndTheSliderRangesAreAccepted) {
    EXPECT_TRUE(tuningKeepsColorsFinite(ShadingTuning{}));
    ShadingTuning low, high;
    for (const TuningField& f : kTuningFields) {
        low.*f.member = f.lower;
        high.*f.member = f.upper;
        EXPECT_LE(f.lower, ShadingTuning{}.*f.member) << f.key;
        EXPECT_GE(f.upper, ShadingTuning{}.*f.member) << f.key;
    }
    EXPECT_TRUE(tuningKeepsColorsFinite(low));
    EXPECT_TRUE(tuningKeepsColorsFinite(high));
}

}  // namespace
}  // namespace gs
