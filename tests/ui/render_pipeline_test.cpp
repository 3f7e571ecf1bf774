// The render pipeline through the real window: generations, completion, recolour merging,
// recolours deferred past a render, relighting and re-layout.
#include <gtest/gtest.h>

#include <cstring>

#include "ui/julia_view.h"
#include "ui_test_support.h"

namespace gs {
namespace {

using test::Explorer;

// A boundary region with a high ceiling: its rows are slow, so they arrive late.
constexpr Viewport kSlowView{-0.7436439, -0.7436419, 0.1318249, 0.1318264};
constexpr Viewport kFastView{-2.5, 1.5, -1.5, 1.5};

bool sameData(const Frame& a, const Frame& b) {
    return a.data.size() == b.data.size() &&
           std::memcmp(a.data.data(), b.data.data(), a.data.size() * sizeof(PixelExtendedData)) == 0;
}

Frame referenceFrame(const Viewport& v, int w, int h) {
    Frame f;
    renderFrame(mandelbrotRequest(v, w, h, ColourInputs{}), f);
    return f;
}

// Counts the pictures the view passes on from now.
int& countImages(MandelbrotView& view) {
    static int images;
    images = 0;
    view.onImageUpdated = [](const QImage& image) { images += !image.isNull(); };
    return images;
}

TEST(RenderPipeline, TwoQuickRequestsShowOnlyTheSecondAndCompleteOnce) {
    Explorer e;
    const int& images = countImages(e.view());
    const auto juliaBefore = e.c().juliaView()->recomputeGeneration();
    const auto generationBefore = e.c().renderGeneration();

    e.c().setViewport(kSlowView);
    e.c().setViewport(kFastView);  // same pass of the event loop: the first is stale at once
    EXPECT_EQ(e.c().renderGeneration(), generationBefore + 2);
    ASSERT_TRUE(e.settle());  // the slow render's rows have all arrived (and were dropped)

    EXPECT_EQ(images, 1);
    EXPECT_EQ(e.c().juliaView()->recomputeGeneration(), juliaBefore + 1);
    const Frame& shown = e.view().frame();
    EXPECT_TRUE(sameData(shown, referenceFrame(kFastView, shown.width, shown.height)));
    EXPECT_EQ(e.c().statusTexts().at(0), QStringLiteral("1.0×"));
}

TEST(RenderPipeline, RecolourRequestsMergeNeverIterateAndWaitForTheRender) {
    Explorer e;
    const int& images = countImages(e.view());
    const Frame before = e.view().frame();
    const auto generation = e.c().renderGeneration();

    e.c().requestRecolor();
    e.c().toggleGlow();
    e.c().newRandomPalette();
    e.c().requestRecolor();
    EXPECT_TRUE(e.c().recolorPending());
    ASSERT_TRUE(e.settle());

    EXPECT_EQ(images, 1);
    EXPECT_EQ(e.c().renderGeneration(), generation);
    EXPECT_TRUE(sameData(e.view().frame(), before));
    EXPECT_NE(e.view().frame().pixels, before.pixels);

    // Asked for during a render, a recolour runs once after it.
    std::vector<bool> renderingAtImage;
    e.view().onImageUpdated = [&](const QImage&) { renderingAtImage.push_back(e.c().isRendering()); };

    e.c().setViewport(kSlowView);
    e.c().newRandomPalette();
    ASSERT_TRUE(test::waitFor([&] { return !e.c().recolorPending(); }));
    ASSERT_TRUE(e.c().isRendering());
    e.c().requestRecolor();  // a second pass during the same render
    ASSERT_TRUE(e.settle());

    // The completion's picture, then exactly one recolour once the render is over.
    EXPECT_EQ(renderingAtImage, (std::vector<bool>{true, false}));
}

TEST(RenderPipeline, WheelShiftsTheFrequencyWithinItsBoundsOrWithReliefTheLight) {
    Explorer e;
    test::wheel(&e.view(), {0, 120});
    test::wheel(&e.view(), {0, 120});  // the same scroll: measured from where it began
    EXPECT_DOUBLE_EQ(e.c().frequency(), 2.0 + 6.0 / 16);
    const int h = e.view().height();
    test::wheel(&e.view(), {0, -1}, {0, -10 * h});
    EXPECT_EQ(e.c().frequency(), 0.1);
    test::wheel(&e.view(), {0, 1}, {0, 20 * h});
    EXPECT_EQ(e.c().frequency(), 8.0);

    e.c().toggle3DRelief();
    ASSERT_TRUE(e.settle());
    QTest::qWait(350);  // a new scroll
    const int& images = countImages(e.view());
    const Frame before = e.view().frame();
    test::wheel(&e.view(), {0, 120});
    test::wheel(&e.view(), {0, 120});
    EXPECT_EQ(e.c().frequency(), 8.0);
    EXPECT_DOUBLE_EQ(e.c().reliefLightRawY(), -0.5 + 2.0 / 16 * 1.5);
    EXPECT_EQ(e.c().reliefLightRawX(), -0.5);
    EXPECT_NE(e.c().reliefLight(), lightVector(-0.5, -0.5));
    EXPECT_TRUE(sameData(e.view().frame(), before));
    EXPECT_NE(e.view().frame().pixels, before.pixels);
    EXPECT_EQ(images, 0);  // the relight path passes no picture on
}

TEST(RenderPipeline, OnlyANewSizeRendersAgain) {
    Explorer e;
    const auto generation = e.c().renderGeneration();
    const int bufferWidth = e.view().bufferWidth();
    e.window->resize(e.window->size());
    QCoreApplication::processEvents();
    EXPECT_EQ(e.c().renderGeneration(), generation);

    e.window->resize(e.window->width() + 200, e.window->height() + 150);
    ASSERT_TRUE(e.settle());
    EXPECT_EQ(e.c().renderGeneration(), generation + 1);
    EXPECT_GT(e.view().bufferWidth(), bufferWidth);
    const Frame& shown = e.view().frame();
    EXPECT_TRUE(sameData(shown, referenceFrame(kHomeView, shown.width, shown.height)));
}

TEST(RenderPipeline, JuliaOfTheOriginIsTheUnitDisc) {
    Explorer e;
    JuliaView* julia = e.c().juliaView();
    QImage picture;
    std::int64_t pictureGeneration = -1;
    julia->onImageUpdated = [&](const QImage& image) {
        picture = image.copy();
        pictureGeneration = julia->recomputeGeneration();
    };
    e.c().setViewport({-1, 1, -1, 1});
    ASSERT_TRUE(e.settle());
    const std::int64_t latest = julia->recomputeGeneration();  // asked for by that render
    ASSERT_TRUE(test::waitFor([&] { return pictureGeneration == latest; }));
    auto isBlack = [&](double re, double im) {
        const QColor c = picture.pixelColor(int((re + 1.6) / 3.2 * picture.width()),
                                            int((1.6 - im) / 3.2 * picture.height()));
        return c.red() == 0 && c.green() == 0 && c.blue() == 0;
    };
    EXPECT_TRUE(isBlack(0, 0) && isBlack(0.9, 0));
    EXPECT_FALSE(isBlack(1.1, 0) || isBlack(-0.8, 0.8));
}

}  // namespace
}  // namespace gs
