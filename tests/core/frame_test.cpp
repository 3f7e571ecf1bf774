#include <gtest/gtest.h>

#include <memory>

#include "core/frame.h"
#include "core/palette.h"

namespace gs {
namespace {

ColourInputs colours(std::uint64_t seed = 1) {
    SeededRandom rng(seed);
    ColourInputs c;
    c.table = std::make_shared<const ColorTable>(smoothPalette(rng));
    return c;
}

const Viewport kSeahorse{-0.76, -0.72, 0.09, 0.12};

// The frame's rows come from the vector kernel, whose lanes take the next pixel of the row.
TEST(FrameRender, RowsHoldTheKernelResultsNarrowedToFloat) {
    for (int width : {1, 2, 7, 63}) {
        const RenderRequest r = mandelbrotRequest(kSeahorse, width, 3, colours(), 400);
        Frame f;
        renderFrame(r, f);
        for (int row = 0; row < 3; ++row)
            for (int col = 0; col < width; ++col) {
                EscapeResult e;
                mandelbrotPoint(400, e, r.xmin + r.dx * col, r.ymax - r.dy * row, 0, 0);
                const PixelExtendedData& p = f.data[static_cast<std::size_t>(row * width + col)];
                EXPECT_EQ(p.nu, static_cast<float>(e.nu)) << width << " " << row << " " << col;
                EXPECT_EQ(p.distance, static_cast<float>(e.distance));
                EXPECT_EQ(p.trapDistance, static_cast<float>(e.trapDistance));
            }
    }
}

// A recolour gives the picture a fresh render with the new colours would; kept inputs follow
// their key and the data.
TEST(FrameRecolor, MatchesAFreshRenderKeepingInputsOrNot) {
    ColourInputs c = colours();
    const auto request = [&](const Viewport& v) { return mandelbrotRequest(v, 40, 30, c, 400); };
    Frame f;
    renderFrame(request(kSeahorse), f);
    const auto expectFresh = [&](const char* what, const Viewport& v = kSeahorse) {
        Frame fresh;
        renderFrame(request(v), fresh);
        EXPECT_EQ(f.pixels, fresh.pixels) << what;
    };
    c.traps = c.glow = c.dem = true;
    c.frequency = 5.0;
    c.table = colours(9).table;
    recolorFrame(request(kSeahorse), f);
    expectFresh("shadings on, nothing kept");
    const auto recolour = [&] { recolorFrame(request(kSeahorse), f, true); };
    recolour();
    ASSERT_TRUE(f.keptInputs.key.has_value());
    EXPECT_TRUE(f.keptInputs.weight.size() == 1200 && f.keptInputs.edge.size() == 1200);
    c.cycleOffset = 0.5, c.colorShift = 0.2, c.glowIntensity = 1.7, c.table = colours(4).table;
    recolour();  // from the kept inputs
    expectFresh("offset moved");
    c.tuning.glowRadius = 2.5;  // another key: made anew
    recolour();
    EXPECT_EQ(f.keptInputs.key, colourInputKey(request(kSeahorse).colour));
    expectFresh("radius changed");
    c.traps = false;  // unused arrays are let go
    recolour();
    EXPECT_TRUE(f.keptInputs.weight.empty());
    expectFresh("traps off");
    // New data under the same key: the renderer lets the kept inputs go.
    const Viewport below{-0.76, -0.72, 0.19, 0.22};
    ASSERT_EQ(f.keptInputs.key, colourInputKey(request(below).colour));
    renderFrame(request(below), f);
    EXPECT_FALSE(f.keptInputs.key.has_value());
    c.cycleOffset = 0.9;
    recolorFrame(request(below), f, true);
    expectFresh("moved", below);
}

TEST(FrameRelief, RelightingEqualsRenderingWithTheNewLight) {
    ColourInputs c = colours();
    c.relief = true;
    Frame f;
    renderFrame(mandelbrotRequest(kSeahorse, 50, 40, c), f);
    ASSERT_EQ(f.elevation.size(), f.pixelCount());
    c.light = lightVector(0.6, -0.2);
    ASSERT_TRUE(relight(f, c.light, c.tuning));
    Frame fresh;
    renderFrame(mandelbrotRequest(kSeahorse, 50, 40, c), fresh);
    EXPECT_EQ(f.pixels, fresh.pixels);
    // Without a lit picture to start from there is nothing to relight: a picture rendered
    // without relief has none until a recolour with relief lights it.
    Frame empty;
    EXPECT_FALSE(relight(empty, c.light, c.tuning));
    Frame unlit;
    renderFrame(mandelbrotRequest(kSeahorse, 50, 40, colours()), unlit);
    EXPECT_FALSE(relight(unlit, c.light, c.tuning));
    recolorFrame(mandelbrotRequest(kSeahorse, 50, 40, c), unlit);
    ASSERT_TRUE(relight(unlit, c.light, c.tuning));
    EXPECT_EQ(unlit.pixels, fresh.pixels);
}

TEST(FrameRelief, SoundBoostRaisesDramaWithinZeroToOne) {
    const ReliefLight l = lightVector(-0.5, -0.5);
    EXPECT_EQ(effectiveLight(l, 0.0), l);
    EXPECT_EQ(effectiveLight(l, 5.0).drama, 1.0f);
    EXPECT_EQ(effectiveLight(l, -5.0).drama, 0.0f);
    EXPECT_EQ(effectiveLight(l, 0.1).x, l.x);
}

TEST(FrameBuffers, ResizeKeepsSameSizeAndZeroSizeAllocatesNothing) {
    Frame f;
    EXPECT_TRUE(f.resize(4, 3));
    f.pixels[5] = 77;
    EXPECT_FALSE(f.resize(4, 3));
    EXPECT_EQ(f.pixels[5], 77);
    EXPECT_TRUE(f.resize(0, 3));
    EXPECT_TRUE(f.pixels.empty());
    EXPECT_EQ(renderFrame(mandelbrotRequest(kHomeView, 0, 0, colours()), f), 0u);
    EXPECT_TRUE(f.pixels.empty());
}

TEST(FrameJulia, OriginGivesTheUnitDisc) {
    Frame f;
    renderFrame(juliaRequest(0, 0, 33, 33, colours(), 100), f);
    const auto at = [&](int row, int col) { return f.pixels.data() + (row * 33 + col) * 4; };
    EXPECT_EQ(at(16, 16)[0] | at(16, 16)[1] | at(16, 16)[2], 0);  // z = 0: interior
    EXPECT_EQ(at(16, 16)[3], 255);
    EXPECT_NE(at(0, 0)[0] | at(0, 0)[1] | at(0, 0)[2], 0);         // corner: escapes
    EXPECT_EQ(f.data[0].distance, 0.0f);                            // only nu is kept
}

}  // namespace
}  // namespace gs
