// Zooming, the history, the zoom limit and the resets through the window, with the selection box
// drawn and clicked the way a user does it; the history's arithmetic has tests of its own.
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

// Pinches a box at the centre and clicks into it; returns the new bounds.
Viewport zoomThroughBox(Explorer& e) {
    test::pinch(&e.view(), e.centre(), 2.0);
    EXPECT_TRUE(e.view().selection().hasSelection());
    clickSelection(e);
    return e.c().viewport();
}

TEST(ZoomHistoryInWindow, HundredAndOneZoomsKeepTheNewestHundred) {
    Explorer e;
    const auto generation = e.c().renderGeneration();
    Viewport afterFirst;
    for (int i = 0; i < 101; ++i) {
        e.c().zoomIntoRect({e.bw() * 0.05, e.bh() * 0.05, e.bw() * 0.9, e.bh() * 0.9});
        if (i == 0) afterFirst = e.c().viewport();
    }
    EXPECT_EQ(e.c().renderGeneration(), generation + 101);
    ASSERT_EQ(e.c().history().backStack().size(), 100u);
    EXPECT_EQ(e.c().history().backStack().front().view(), afterFirst);
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

// Back shows the recorded box only if it measures 12 x 12 points in the view; otherwise it is
// only remembered. Pinch scales on the minimum window: 0.2 gives a box about 15 x 11 points.
TEST(ZoomHistoryInWindow, RestoredSelectionIsShownOnlyWhenTwelveByTwelvePoints) {
    for (const auto& [scale, shown] : {std::pair{0.2, false}, std::pair{0.25, true}}) {
        SCOPED_TRACE(scale);
        Explorer e;
        ASSERT_EQ(e.view().height() * 0.12 * scale >= 12.0, shown);
        test::pinch(&e.view(), e.centre(), scale);
        const SelectionBox recorded = e.view().selectionFractions();
        e.c().zoomIntoRect({e.bw() / 4, e.bh() / 4, e.bw() / 2, e.bh() / 2});
        e.view().clearSelection();
        e.c().zoomBackAction();
        EXPECT_EQ(e.view().selection().hasSelection(), shown);
        EXPECT_EQ(e.c().history().outgoingSelection(), recorded);
    }
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
    zoomThroughBox(e);
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
