// The explorer window as a whole: its layout at every size from its minimum up in either mode;
// the render pipeline (generations, completion, recolour merging, recolours deferred past a
// render, relighting); the zoom limit and Reset All with the selection box drawn and clicked the
// way a user does it. The history and the box have tests of their own; zooming through the box
// and rendering anew at a new size are the end-to-end scripts' (e2e_window.sh, e2e_storm.sh).
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <cstring>

#include "library/preferences.h"
#include "ui/julia_view.h"
#include "ui/tuning_panel_view.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

std::string nameOf(const QWidget* w) {
    const auto* button = qobject_cast<const QAbstractButton*>(w);
    return (button ? button->text() : QString::fromLatin1(w->metaObject()->className())).toStdString();
}

// No visible control of the sidebar, the bottom bar or the tuning panel overlaps another or
// leaves its area; the Julia thumbnail stays square.
void expectNothingOverlaps(Explorer& e) {
    for (const char* area : {"sidebar", "statusBar", "tuningPanel"}) {
        const auto* parent = e.c().findChild<QWidget*>(QLatin1String(area));
        ASSERT_TRUE(parent) << area;
        if (!parent->isVisible()) continue;
        std::vector<const QWidget*> shown;
        for (const QWidget* child : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            if (child->isVisible()) shown.push_back(child);
        EXPECT_GT(shown.size(), 5u) << area;
        for (std::size_t i = 0; i < shown.size(); ++i) {
            EXPECT_TRUE(parent->rect().contains(shown[i]->geometry())) << area << " " << nameOf(shown[i]);
            for (std::size_t j = i + 1; j < shown.size(); ++j)
                EXPECT_FALSE(shown[i]->geometry().intersects(shown[j]->geometry()))
                    << area << " " << nameOf(shown[i]) << " / " << nameOf(shown[j]);
        }
    }
    EXPECT_EQ(e.c().juliaView()->width(), e.c().juliaView()->height());
}

TEST(WindowLayout, EverythingFitsFromTheMinimumSizeUpInEitherMode) {
    clearPreferences();
    Explorer e;
    for (const QSize size : {QSize(860, 560), QSize(1024, 640), QSize(1240, 800), QSize(1920, 1080)}) {
        for (bool advanced : {false, true}) {
            if (e.c().isAdvancedMode() != advanced) e.c().handleModeTagTap();
            e.window->resize(size);
            ASSERT_TRUE(e.settle());
            SCOPED_TRACE(testing::Message() << size.width() << "x" << size.height() << (advanced ? " advanced" : ""));
            EXPECT_EQ(e.c().tuningPanel()->isVisible(), advanced);
            expectNothingOverlaps(e);
        }
    }
    e.c().toggleFullScreen();  // the picture has the screen to itself
    EXPECT_FALSE(e.c().tuningPanel()->isVisible());
    e.c().toggleFullScreen();
    EXPECT_TRUE(e.c().tuningPanel()->isVisible());
}

// A boundary region with a high ceiling: its rows are slow, so they arrive late.
constexpr Viewport kSlowView{-0.7436439, -0.7436419, 0.1318249, 0.1318264};
constexpr Viewport kFastView{-2.5, 1.5, -1.5, 1.5};

bool sameData(const Frame& a, const Frame& b) {
    return a.data.size() == b.data.size() &&
           std::memcmp(a.data.data(), b.data.data(), a.data.size() * sizeof(PixelExtendedData)) == 0;
}

// Counts the pictures the view passes on from now.
int& countImages(MandelbrotView& view) {
    static int images;
    images = 0;
    view.onImageUpdated = [](const QImage& image) { images += !image.isNull(); };
    return images;
}

// That the picture shown is then a fresh render of the second view is the end-to-end storm
// script's check.
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

TEST(RenderPipeline, WheelShiftsTheFrequencyOrWithReliefTheLight) {
    Explorer e;
    test::wheel(&e.view(), {0, 120});
    test::wheel(&e.view(), {0, 120});  // the same scroll: measured from where it began
    EXPECT_DOUBLE_EQ(e.c().frequency(), 2.0 + 6.0 / 16);

    e.c().toggle3DRelief();
    ASSERT_TRUE(e.settle());
    QTest::qWait(350);  // a new scroll
    const int& images = countImages(e.view());
    const Frame before = e.view().frame();
    test::wheel(&e.view(), {0, 120});
    test::wheel(&e.view(), {0, 120});
    EXPECT_DOUBLE_EQ(e.c().frequency(), 2.0 + 6.0 / 16);
    EXPECT_DOUBLE_EQ(e.c().reliefLightRawY(), -0.5 + 2.0 / 16 * 1.5);
    EXPECT_TRUE(sameData(e.view().frame(), before));
    EXPECT_NE(e.view().frame().pixels, before.pixels);
    EXPECT_EQ(images, 0);  // the relight path passes no picture on
}

// The Julia picture is that of the view's centre: for the origin, the unit disc. It is made on its
// own worker, which settle() does not wait for.
TEST(RenderPipeline, JuliaOfTheOriginIsTheUnitDisc) {
    Explorer e;
    JuliaView* julia = e.c().juliaView();
    e.c().setViewport({-1, 1, -1, 1});
    ASSERT_TRUE(e.settle() && test::waitFor([&] { return !julia->isComputing(); }));
    const QImage picture = julia->makeImage();
    auto isBlack = [&](double re, double im) {
        const QColor c = picture.pixelColor(int((re + 1.6) / 3.2 * picture.width()),
                                            int((1.6 - im) / 3.2 * picture.height()));
        return c.red() == 0 && c.green() == 0 && c.blue() == 0;
    };
    EXPECT_TRUE(isBlack(0, 0) && isBlack(0.9, 0));
    EXPECT_FALSE(isBlack(1.1, 0) || isBlack(-0.8, 0.8));
}

// A click waits for the double-click interval; wait until it has been handled.
void clickSelection(Explorer& e) {
    test::click(&e.view(), e.centre());
    ASSERT_TRUE(test::waitFor([&] { return !e.view().selection().hasSelection(); }));
}

TEST(ZoomLimit, RefusesFiveTimesTenToTheFifteenAndKeepsEverything) {
    Explorer e;
    // Far outside the set, so that the deep render is quick: every point escapes at once.
    const Viewport deep{3.0, 3.0 + 1.2e-15, 0.0, 0.9e-15};
    e.c().setViewport(deep);
    ASSERT_TRUE(e.settle());
    const auto generation = e.c().renderGeneration();

    test::pinch(&e.view(), e.centre(), 0.5 / 0.12);  // half the view: zoom 6.7e15
    test::click(&e.view(), e.centre());
    ASSERT_TRUE(test::waitFor([&] { return !e.alerts.isEmpty(); }));
    EXPECT_EQ(e.alerts, QStringList{"You have reached the current limits of the zoom - it is as if you had zoomed "
                                    "10 thousand times inside an atom!"});
    EXPECT_EQ(e.c().viewport(), deep);
    EXPECT_EQ(e.c().renderGeneration(), generation);
    EXPECT_TRUE(e.view().selection().hasSelection());
}

TEST(ResetAll, AsksFirstThenRestoresTheDefaultsWithARandomPalette) {
    Explorer e;
    test::pinch(&e.view(), e.centre(), 2.0);
    clickSelection(e);
    e.c().zoomBackAction();
    e.c().toggleGlow();
    e.c().toggleDistanceEstimation();
    test::drag(&e.view(), {100, 300}, {100, 200}, Qt::LeftButton);  // palette shift
    test::wheel(&e.view(), {0, 120});
    e.c().toggle3DRelief();
    test::wheel(&e.view(), {0, 120});  // moves the light
    e.c().setAnimationSpeed(0.5);
    e.c().toggleAnimateColors();

    e.c().resetAllAction();
    ASSERT_EQ(e.confirmations, QStringList{"This will clear your zoom history and reset the color palette, frequency, "
                                           "and shading effects to their defaults. Are you sure?"});
    EXPECT_TRUE(e.c().glowEnabled());  // "No": nothing happens

    e.answerYes = true;
    PreferencesStore().save({false, 0.5, ShadingTuning{}, SoundTuning{}});
    e.c().resetAllAction();
    EXPECT_TRUE(e.c().history().backStack().empty() && e.c().history().forwardStack().empty());
    EXPECT_EQ(e.c().viewport(), kHomeView);
    EXPECT_FALSE(e.view().selection().hasSelection());
    EXPECT_EQ(e.c().paletteMode(), PaletteMode::random);
    EXPECT_EQ(e.c().colorTable()->size(), 256u);
    EXPECT_EQ(e.c().settings(), ExplorerSettings{});
    EXPECT_EQ(e.c().reliefLight(), lightVector(-0.5, -0.5));
    EXPECT_FALSE(e.c().animateColorsEnabled() || e.c().animationTimerRunning());
    EXPECT_EQ(e.view().tuning, ShadingTuning{});
    EXPECT_EQ(PreferencesStore().load().animationSpeed, 0.12);  // and the defaults are saved
}

}  // namespace
}  // namespace gs::test
