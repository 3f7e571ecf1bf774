// Which stored tunings the colouring can take: every tuning the check accepts colours the most
// extreme pixels without stopping, and each condition it refuses on really stops the program.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
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

ColorParams allShadings(const ColorTable& table, const ShadingTuning& t, double pixelSize, double glow) {
    ColorParams p;
    p.maxIter = kMaxIter;
    p.logMaxIter = std::log(kMaxIter + 1.0);
    p.table = table.data();
    p.tableSize = table.size();
    p.frequency = 8;
    p.cycleOffset = 0.99;
    p.pixelSize = pixelSize;
    p.glowIntensity = glow;
    p.dem = p.traps = p.glow = true;
    p.tuning = t;
    return p;
}

// Tunings at the edges of what the check accepts: every field at its largest, at its lowest,
// at the smallest magnitude, then seeded mixtures of those.
std::vector<ShadingTuning> edgeTunings() {
    auto lowest = [](const TuningField& f) {
        const bool nonNegative = f.member == &ShadingTuning::curve || f.member == &ShadingTuning::trapSharpness ||
                                 f.member == &ShadingTuning::reliefEdgeCalm;
        return nonNegative ? 0.0 : -kLimit;
    };
    std::vector<ShadingTuning> tunings;
    std::mt19937_64 g(8);
    for (int k = 0; k < 200; ++k) {
        ShadingTuning t;
        for (const TuningField& f : kTuningFields) {
            const double choices[] = {kLimit, lowest(f), kTiny, -kTiny, 1.0};
            t.*f.member = choices[k < 3 ? k : g() % 5];
        }
        if (t.demSoftness == 0) t.demSoftness = kTiny;
        if (tuningKeepsColorsFinite(t)) tunings.push_back(t);  // not a negative curve or sharpness
    }
    return tunings;
}

TEST(TuningDomain, AcceptedTuningsColourAndLightTheMostExtremePixels) {
    // Counts from -inf (an escape at an overflowing |z|) to just below the ceiling; distances and
    // trap distances from 0 to +inf (overflowing the float record).
    std::vector<PixelExtendedData> pixels;
    for (float nu : {-HUGE_VALF, -7.5f, 0.0f, 1e-30f, kMaxIter - 0.5f, std::nextafter(float(kMaxIter), 0.0f)})
        for (float d : {0.0f, 1e-38f, 1.0f, FLT_MAX, HUGE_VALF})
            for (float q : {0.0f, 1e-38f, 1.0f, FLT_MAX, HUGE_VALF}) pixels.push_back({nu, d, q});
    const std::vector<ShadingTuning> tunings = edgeTunings();
    ASSERT_GT(tunings.size(), 100u);
    EXPECT_TRUE(tuningKeepsColorsFinite(ShadingTuning{}));
    const ColorTable table{{-5, 0.5, 5}, {1, 0, 0.25}, {0, 1, 1}};  // components of any size
    // Steep cliffs, flat land and the interior plateau, 11 x 2.
    const std::vector<float> elevation = {0, 1, 0, 1, 0.3f, 0.3f, 0.3f, 1, 1e-30f, 0.999f, 0,
                                          0.5f, 0, 1, 0.3f, 0.3f, 1, 1, 0, 1, 0.3f, 0.3f};
    std::vector<std::uint8_t> row(4 * pixels.size()), one(4), lit(4 * elevation.size(), 200);
    for (const ShadingTuning& t : tunings) {
        for (const auto& [pixelSize, glow] : {std::pair{1e-300, 1.0}, std::pair{1e290, -1e200}}) {
            const ColorParams p = allShadings(table, t, pixelSize, glow);
            colorRow(p, pixels.data(), pixels.size(), row.data());
            for (std::size_t i = 0; i < pixels.size(); ++i) {
                colorPixel(p, pixels[i], one.data());
                ASSERT_EQ(std::vector(row.begin() + 4 * i, row.begin() + 4 * i + 4), one);
            }
        }
        for (const ReliefLight light : {lightVector(0, 0), lightVector(-0.85, 0.85)})
            applyRelief(lit.data(), elevation.data(), 11, 2, light, t);
    }
}

// Each condition of the check guards a real failure: one step past it stops the colouring or
// the relief with a fatal error.
TEST(TuningDomain, EachRefusedConditionWouldStopTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const ColorTable table(256, aColor{0.5, 0.5, 0.5});
    struct Case {
        const char* what;
        std::function<void(ShadingTuning&)> change;
        PixelExtendedData pixel;
        const char* message;
    };
    const Case cases[] = {
        {"a count of 0 to a negative curve", [](ShadingTuning& t) { t.curve = -1; }, {-1, 1, 1}, "palette position"},
        {"a trap distance of 0 to a negative power", [](ShadingTuning& t) { t.trapSharpness = -1; }, {10, 1, 0}, "channel"},
        {"0 / 0 at the centre of the edge fade",
         [](ShadingTuning& t) { t.demSoftness = 0, t.demThickness = -1022; }, {10, 0, 1}, "channel"},
        {"not finite", [](ShadingTuning& t) { t.glowDim = NAN; }, {10, 1, 1}, "channel"},
        {"an overflowing halo times no glow", [](ShadingTuning& t) { t.trapGlint = -1e300, t.glowTint = 1e300; },
         {10, HUGE_VALF, 0}, "channel"},
    };
    std::uint8_t out[4];
    for (const Case& c : cases) {
        ShadingTuning t;
        c.change(t);
        EXPECT_FALSE(tuningKeepsColorsFinite(t)) << c.what;
        EXPECT_DEATH(colorPixel(allShadings(table, t, 1e-3, 1), c.pixel, out), c.message) << c.what;
    }
    // A negative edge calm on flat land; a height beyond 32 bits.
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

}  // namespace
}  // namespace gs
