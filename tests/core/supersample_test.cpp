#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "core/palette.h"
#include "core/supersample.h"

namespace gs {
namespace {

TEST(SrgbTransfer, RoundTripsEveryByteAndAveragesInLinearLight) {
    for (int v = 0; v < 256; ++v)
        EXPECT_EQ(linearToSrgb(srgbToLinear(static_cast<std::uint8_t>(v))), v) << v;
    EXPECT_EQ(srgbToLinear(255), 1.0);
    // Black and white mixed half and half: linear 0.5 encodes to 0.7354 (187.5 -> 188), not
    // the 128 a naive byte average gives.
    EXPECT_EQ(linearToSrgb((srgbToLinear(0) + srgbToLinear(255)) / 2), 188);
    EXPECT_EQ(linearToSrgb(-0.1), 0);
    EXPECT_EQ(linearToSrgb(1.5), 255);
}

// Scenes: "plain" (palette only), "edges" (glow and distance edges), "relief", "all" (traps
// too) and "julia"; the whole set with its exterior bands.
RenderRequest request(const std::string& scene, int w, int h) {
    SeededRandom rng(5);
    ColourInputs c;
    c.table = std::make_shared<const ColorTable>(smoothPalette(rng));
    c.light = lightVector(-0.5, -0.5);
    c.dem = c.glow = scene == "edges" || scene == "all";
    c.relief = scene == "relief" || scene == "all";
    c.traps = scene == "all";
    if (scene == "julia") return juliaRequest(-0.8, 0.156, w, h, c, 300);
    return mandelbrotRequest(kHomeView, w, h, c, 400);
}

class Poster : public testing::TestWithParam<std::string> {};

TEST_P(Poster, OneSamplePerPixelIsThePlainRender) {
    const RenderRequest r = request(GetParam() == "plain" ? "all" : GetParam(), 61, 35);
    Frame plain, poster;
    renderFrame(r, plain);
    renderSupersampled(r, 1, poster);
    EXPECT_EQ(poster.pixels, plain.pixels);
    ASSERT_EQ(poster.data.size(), plain.data.size());
    EXPECT_EQ(0, std::memcmp(poster.data.data(), plain.data.data(), plain.data.size() * sizeof(PixelExtendedData)));
}

// Away from edges (where the plain picture varies little over five pixels around a pixel)
// the samples around a pixel's point average to its colour within rounding; only along the
// set's boundary and the edges of colour bands does anti-aliasing change a pixel much. A
// sampling grid off by a quarter pixel, or averages taken in the wrong light, would change
// the smooth gradients too. (Orbit traps draw thin veins of their own, edges in this sense
// almost everywhere, so they stay out of this comparison.)
TEST_P(Poster, FourSamplesPerPixelDifferOnlyAlongEdges) {
    constexpr int kW = 120, kH = 90, kReach = 2, kSmooth = 32, kChanged = 10;
    const RenderRequest r = request(GetParam(), kW, kH);
    Frame plain, poster;
    renderFrame(r, plain);
    renderSupersampled(r, 2, poster);
    const auto at = [&](const Frame& f, int x, int y, int c) {
        return static_cast<int>(f.pixels[static_cast<std::size_t>((y * kW + x) * 4 + c)]);
    };
    int changed = 0, smooth = 0;
    for (int y = kReach; y + kReach < kH; ++y)
        for (int x = kReach; x + kReach < kW; ++x) {
            int variation = 0, difference = 0;
            for (int c = 0; c < 3; ++c) {
                for (int dy = -kReach; dy <= kReach; ++dy)
                    for (int dx = -kReach; dx <= kReach; ++dx)
                        variation = std::max(variation, std::abs(at(plain, x + dx, y + dy, c) - at(plain, x, y, c)));
                difference = std::max(difference, std::abs(at(poster, x, y, c) - at(plain, x, y, c)));
            }
            ASSERT_EQ(at(poster, x, y, 3), 255);
            if (difference > kChanged) ++changed;
            if (variation > kSmooth) continue;
            ++smooth;
            EXPECT_LE(difference, 1) << "smooth pixel " << x << "," << y << " changed";
        }
    EXPECT_GT(changed, 0) << "nothing was anti-aliased";
    EXPECT_GT(smooth, kW * kH / 4) << "the scene has too few smooth areas to judge";
}

INSTANTIATE_TEST_SUITE_P(Scenes, Poster, testing::Values("plain", "edges", "relief", "julia"));

TEST(Poster, ReliefLightsTheAveragedPictureAndCanBeRelit) {
    const RenderRequest r = request("all", 50, 40);
    Frame poster;
    renderSupersampled(r, 3, poster);
    ASSERT_EQ(poster.elevation.size(), poster.pixelCount());
    EXPECT_NE(poster.pixels, poster.reliefBase);
    // Moving the light works from the poster's unlit colours, as on a plain picture.
    Frame moved;
    RenderRequest other = r;
    other.light = lightVector(0.6, -0.2);
    renderSupersampled(other, 3, moved);
    ASSERT_TRUE(relight(poster, other.light, other.colour.tuning));
    EXPECT_EQ(poster.pixels, moved.pixels);
}

}  // namespace
}  // namespace gs
