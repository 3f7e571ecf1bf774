// Zooming, the history, the zoom limit and the resets through the window, with the selection box
// drawn and clicked the way a user does it; the history's arithmetic and the box's minimum size
// have tests of their own.
#include <gtest/gtest.h>

#include "ui_test_support.h"

namespace gs {
namespace {

using test::Explorer;

// A click waits for the double-click interval; wait until it has been handled.
void clickSelection(Explorer& e) {
    test::click(&e.view(), e.centre());
    ASSERT_TRUE(test::waitFor([&] { return !e.view().selection().hasSelection(); }));
}

TEST(ZoomHistoryInWindow, BackAndForwardRoundTripAndResetView) {
    Explorer e;
    test::pinch(&e.view(), e.centre(), 2.0);
    const auto generation = e.c().renderGeneration();
    e.c().resetViewAction();  // at home: nothing at all, not even the box goes
    EXPECT_EQ(e.c().renderGeneration(), generation);
    EXPECT_TRUE(e.c().history().backStack().empty());
    EXPECT_TRUE(e.view().selection().hasSelection());

    clickSelection(e);
    const Viewport zoomed = e.c().viewport();
    ASSERT_NE(zoomed, kHomeView);
    ASSERT_TRUE(e.settle());
    EXPECT_EQ(e.c().statusTexts().at(0), QStringLiteral("4.2×"));  // a box of 0.24 of the view

    e.c().zoomBackAction();
    EXPECT_EQ(e.c().viewport(), kHomeView);
    EXPECT_TRUE(e.view().selection().hasSelection());  // the box we came through
    e.c().zoomForwardAction();
    EXPECT_EQ(e.c().viewport(), zoomed);
    EXPECT_FALSE(e.view().selection().hasSelection());

    e.c().zoomBackAction();
    clickSelection(e);
    EXPECT_EQ(e.c().viewport(), zoomed);
    EXPECT_TRUE(e.c().history().forwardStack().empty());  // a new zoom forgets the way forward
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
    EXPECT_EQ(e.alerts, QStringList{MacViewController::kZoomLimitMessage});
    EXPECT_EQ(e.c().viewport(), deep);
    EXPECT_TRUE(e.c().history().backStack().empty());
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
    ASSERT_NE(e.c().cycleOffset(), 0.0);
    test::wheel(&e.view(), {0, 120});
    ASSERT_NE(e.c().frequency(), 2.0);
    e.c().toggle3DRelief();
    test::wheel(&e.view(), {0, 120});  // moves the light
    e.c().setAnimationSpeed(0.5);
    e.c().toggleAnimateColors();

    e.c().resetAllAction();
    ASSERT_EQ(e.confirmations, QStringList{MacViewController::kResetAllMessage});
    EXPECT_TRUE(e.c().glowEnabled());  // "No": nothing happens

    e.answerYes = true;
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
}

TEST(PaletteCommands, EveryCommandMakesAFreshTableAndForgetsTheNames) {
    Explorer e;
    using C = MacViewController;
    // Smooth when already smooth and random when already random still make a new table.
    for (const auto& [command, mode] :
         {std::pair{&C::useSmoothColors, PaletteMode::smooth},
          std::pair{&C::useRandomColors, PaletteMode::random},
          std::pair{&C::useRandomColors, PaletteMode::random},
          std::pair{&C::newRandomPalette, PaletteMode::random},
          std::pair{&C::useSmoothColors, PaletteMode::smooth}}) {
        const auto table = e.c().colorTable();
        (e.c().*command)();
        EXPECT_NE(*e.c().colorTable(), *table);
        EXPECT_EQ(e.c().paletteMode(), mode);
        EXPECT_FALSE(e.c().currentPaletteName() || e.c().currentBookmarkName());
    }
}

}  // namespace
}  // namespace gs
