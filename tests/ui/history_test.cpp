// Zooming, the history, the zoom limit and the resets through the window, with the selection box
// drawn and clicked the way a user does it.
#include <gtest/gtest.h>

#include "ui_test_support.h"

namespace gs {
namespace {

using test::Explorer;

QPointF centre(const QWidget& w) { return {w.width() / 2.0, w.height() / 2.0}; }

// A click waits for the double-click interval; wait until it has been handled.
void clickSelection(Explorer& e, QPointF at) {
    test::click(&e.view(), at);
    ASSERT_TRUE(test::waitFor([&] { return !e.view().selection().hasSelection(); }));
}

// Pinches a box at the centre and clicks into it; returns the new bounds.
Viewport zoomThroughBox(Explorer& e, double scale = 2.0) {
    test::pinch(&e.view(), centre(e.view()), scale);
    EXPECT_TRUE(e.view().selection().hasSelection());
    clickSelection(e, centre(e.view()));
    return e.c().viewport();
}

TEST(ZoomHistoryInWindow, HundredAndOneZoomsKeepTheNewestHundred) {
    Explorer e;
    ASSERT_TRUE(e.settle());
    const double w = e.view().bufferWidth(), h = e.view().bufferHeight();
    const auto generation = e.c().renderGeneration();
    Viewport afterFirst;
    for (int i = 0; i < 101; ++i) {
        e.c().zoomIntoRect({w * 0.05, h * 0.05, w * 0.9, h * 0.9});
        if (i == 0) afterFirst = e.c().viewport();
    }
    EXPECT_EQ(e.c().renderGeneration(), generation + 101);
    ASSERT_EQ(e.c().history().backStack().size(), 100u);
    EXPECT_EQ(e.c().history().backStack().front().view(), afterFirst);
}

TEST(ZoomHistoryInWindow, BackAndForwardRoundTripAndTheBoxLeadsBackIn) {
    Explorer e;
    ASSERT_TRUE(e.settle());
    const Viewport zoomed = zoomThroughBox(e);
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
    clickSelection(e, centre(e.view()));
    EXPECT_EQ(e.c().viewport(), zoomed);
    EXPECT_TRUE(e.c().history().forwardStack().empty());  // a new zoom forgets the way forward
    EXPECT_EQ(e.c().history().backStack().size(), 1u);
}

TEST(ZoomHistoryInWindow, ResetViewAtHomeDoesNothingElsewhereItCanBeUndone) {
    Explorer e;
    ASSERT_TRUE(e.settle());
    test::pinch(&e.view(), centre(e.view()), 2.0);
    const auto generation = e.c().renderGeneration();
    e.c().resetViewAction();
    EXPECT_EQ(e.c().renderGeneration(), generation);
    EXPECT_TRUE(e.c().history().backStack().empty());
    EXPECT_TRUE(e.view().selection().hasSelection());  // not even the box goes

    const Viewport zoomed = zoomThroughBox(e);
    e.c().resetViewAction();
    EXPECT_EQ(e.c().viewport(), kHomeView);
    EXPECT_EQ(e.c().history().backStack().size(), 2u);
    e.c().zoomBackAction();
    EXPECT_EQ(e.c().viewport(), zoomed);
}

// Back shows the recorded box only if it measures 12 x 12 points in the view; otherwise it is
// only remembered. Pinch scales on the minimum window: 0.2 gives a box about 15 x 11 points.
class RestoredSelection : public ::testing::TestWithParam<std::pair<double, bool>> {};

TEST_P(RestoredSelection, IsShownOnlyWhenTwelveByTwelvePoints) {
    const auto [scale, shown] = GetParam();
    Explorer e;
    ASSERT_TRUE(e.settle());
    ASSERT_LT(e.view().height() * 0.12 * 0.2, 12.0);
    ASSERT_GE(e.view().height() * 0.12 * 0.25, 12.0);
    test::pinch(&e.view(), centre(e.view()), scale);
    const SelectionBox recorded = e.view().selectionFractions();
    const double w = e.view().bufferWidth(), h = e.view().bufferHeight();
    e.c().zoomIntoRect({w / 4, h / 4, w / 2, h / 2});
    e.view().clearSelection();

    e.c().zoomBackAction();
    EXPECT_EQ(e.view().selection().hasSelection(), shown);
    EXPECT_EQ(e.c().history().outgoingSelection(), recorded);
}

INSTANTIATE_TEST_SUITE_P(Sizes, RestoredSelection,
                         ::testing::Values(std::pair{0.2, false}, std::pair{0.25, true}));

TEST(ZoomLimit, RefusesFiveTimesTenToTheFifteenAndKeepsEverything) {
    Explorer e;
    ASSERT_TRUE(e.settle());
    // Far outside the set, so that the deep render is quick: every point escapes at once.
    const Viewport deep{3.0, 3.0 + 1.2e-15, 0.0, 0.9e-15};
    e.c().setViewport(deep);
    ASSERT_TRUE(e.settle());
    const auto generation = e.c().renderGeneration();

    test::pinch(&e.view(), centre(e.view()), 0.5 / 0.12);  // half the view: zoom 6.7e15
    test::click(&e.view(), centre(e.view()));
    ASSERT_TRUE(test::waitFor([&] { return !e.alerts.isEmpty(); }));

    EXPECT_EQ(e.alerts, QStringList{MacViewController::kZoomLimitMessage});
    EXPECT_EQ(e.c().viewport(), deep);
    EXPECT_TRUE(e.c().history().backStack().empty());
    EXPECT_EQ(e.c().renderGeneration(), generation);
    EXPECT_TRUE(e.view().selection().hasSelection());

    const double w = e.view().bufferWidth(), h = e.view().bufferHeight();
    e.c().zoomIntoRect({0, 0, w * 0.9, h * 0.9});  // zoom 3.7e15 is still allowed
    EXPECT_EQ(e.c().history().backStack().size(), 1u);
    EXPECT_EQ(e.alerts.size(), 1);
}

TEST(ResetAll, AsksFirstThenRestoresTheDefaultsWithARandomPalette) {
    Explorer e;
    ASSERT_TRUE(e.settle());
    zoomThroughBox(e);
    e.c().zoomBackAction();
    e.c().toggleGlow();
    e.c().toggle3DRelief();
    e.c().toggleDistanceEstimation();
    test::drag(&e.view(), {100, 300}, {100, 200}, Qt::LeftButton);  // palette shift
    ASSERT_NE(e.c().cycleOffset(), 0.0);
    e.c().toggle3DRelief();
    test::wheel(&e.view(), {0, 120});
    ASSERT_NE(e.c().frequency(), 2.0);

    e.c().resetAllAction();
    ASSERT_EQ(e.confirmations, QStringList{MacViewController::kResetAllMessage});
    EXPECT_TRUE(e.c().glowEnabled());  // "No": nothing happens

    e.answerYes = true;
    e.c().resetAllAction();
    EXPECT_TRUE(e.c().history().backStack().empty());
    EXPECT_TRUE(e.c().history().forwardStack().empty());
    EXPECT_EQ(e.c().viewport(), kHomeView);
    EXPECT_FALSE(e.view().selection().hasSelection());
    EXPECT_EQ(e.c().paletteMode(), PaletteMode::random);
    EXPECT_EQ(e.c().colorTable()->size(), 256u);
    EXPECT_EQ(e.c().frequency(), 2.0);
    EXPECT_EQ(e.c().cycleOffset(), 0.0);
    EXPECT_FALSE(e.c().glowEnabled() || e.c().demEnabled() || e.c().reliefEnabled() ||
                 e.c().trapsEnabled());
    EXPECT_EQ(e.c().reliefLight(), lightVector(-0.5, -0.5));
}

TEST(PaletteCommands, EveryCommandMakesAFreshTableAndForgetsTheNames) {
    Explorer e;
    ASSERT_TRUE(e.settle());
    auto table = e.c().colorTable();
    auto freshAfter = [&](void (MacViewController::*command)(), PaletteMode mode) {
        (e.c().*command)();
        EXPECT_NE(*e.c().colorTable(), *table);
        EXPECT_EQ(e.c().paletteMode(), mode);
        EXPECT_FALSE(e.c().currentPaletteName() || e.c().currentBookmarkName());
        table = e.c().colorTable();
    };
    freshAfter(&MacViewController::useSmoothColors, PaletteMode::smooth);  // already smooth
    freshAfter(&MacViewController::useRandomColors, PaletteMode::random);
    freshAfter(&MacViewController::useRandomColors, PaletteMode::random);
    freshAfter(&MacViewController::newRandomPalette, PaletteMode::random);
    freshAfter(&MacViewController::useSmoothColors, PaletteMode::smooth);
}

}  // namespace
}  // namespace gs
