#include <gtest/gtest.h>

#include "explore/selection.h"
#include "explore/zoom_history.h"

namespace gs {
namespace {

constexpr SelectionBox kBox{0.25, 0.5, 0.12};

TEST(ZoomHistory, ZoomMapsPixelsWithRowZeroAtTheTop) {
    ZoomHistory h;
    ASSERT_EQ(h.zoomIntoRect(100, 75, 200, 150, 400, 300, kBox), ZoomOutcome::zoomed);
    EXPECT_DOUBLE_EQ(h.current().xmin, -1.5);
    EXPECT_DOUBLE_EQ(h.current().xmax, 0.5);
    EXPECT_DOUBLE_EQ(h.current().ymin, -0.75);
    EXPECT_DOUBLE_EQ(h.current().ymax, 0.75);
    EXPECT_EQ(h.backStack().at(0), (ZoomBounds{-2.5, 1.5, -1.5, 1.5, kBox}));
}

TEST(ZoomHistory, KeepsTheNewestHundredEntries) {
    ZoomHistory h;
    Viewport afterFirst;
    for (int i = 0; i < 101; ++i) {
        ASSERT_EQ(h.zoomIntoRect(1, 1, 98, 98, 100, 100, kBox), ZoomOutcome::zoomed);
        if (i == 0) afterFirst = h.current();
    }
    ASSERT_EQ(h.backStack().size(), 100u);
    EXPECT_EQ(h.backStack().front().view(), afterFirst);  // the home entry is gone
}

// Back shows the box the user zoomed through; a click inside it zooms into the same bounds.
TEST(ZoomHistory, BackForwardAndBackInThroughTheRestoredBox) {
    const double viewW = 400, viewH = 300, scale = 2;
    ZoomHistory h;
    PinchSelection sel;
    sel.pinchBegan(100, 200, 1.5, viewW, viewH);
    sel.pinchEnded(1.5, viewW, viewH);
    const auto first = sel.click(100, 200, viewW, viewH, scale).zoomRequest.value();
    h.zoomIntoRect(first.x, first.y, first.width, first.height, 800, 600, sel.fractions());
    const Viewport zoomed = h.current();

    EXPECT_EQ(h.back().restore, sel.fractions());
    EXPECT_EQ(h.current(), kHomeView);
    EXPECT_FALSE(h.forward().restore.has_value());
    EXPECT_EQ(h.current(), zoomed);

    sel.restoreFromHistory(h.back().restore.value(), viewW, viewH);
    const auto again = sel.click(100, 200, viewW, viewH, scale).zoomRequest.value();
    h.zoomIntoRect(again.x, again.y, again.width, again.height, 800, 600, sel.fractions());
    EXPECT_EQ(h.current(), zoomed);
    EXPECT_TRUE(h.forwardStack().empty());  // a new zoom after Back drops the way forward
}

TEST(ZoomHistory, ResetViewAtHomeDoesNothingAtAll) {
    ZoomHistory h;
    h.zoomIntoRect(10, 10, 20, 20, 100, 100, kBox);
    h.back();  // home again, with a way forward and the box to show
    EXPECT_FALSE(h.resetView());
    EXPECT_TRUE(h.backStack().empty());
    EXPECT_EQ(h.forwardStack().size(), 1u);
    EXPECT_EQ(h.outgoingSelection(), kBox);
}

TEST(ZoomHistory, ResetViewElsewhereIsUndoneByBack) {
    ZoomHistory h;
    h.zoomIntoRect(10, 10, 20, 20, 100, 100, kBox);
    const Viewport zoomed = h.current();
    ASSERT_TRUE(h.resetView());
    EXPECT_EQ(h.current(), kHomeView);
    ASSERT_TRUE(h.back().moved);
    EXPECT_EQ(h.current(), zoomed);
}

struct LimitCase {
    double zoomLevel;
    ZoomOutcome outcome;
};

class ZoomLimit : public ::testing::TestWithParam<LimitCase> {};

TEST_P(ZoomLimit, RefusalLeavesEverythingAsItWas) {
    ZoomHistory h;
    h.zoomIntoRect(10, 10, 20, 20, 100, 100, kBox);
    h.back();  // forward stack and outgoing selection now hold something
    // Pixel (0, 0) of a 2 x 2 buffer over a view 2w wide is exactly w wide.
    const double w = kInitialWidth / GetParam().zoomLevel;
    h.setBounds({0.0, 2 * w, 0.0, 2 * w});
    const ZoomHistory before = h;

    ASSERT_EQ(h.zoomIntoRect(0, 0, 1, 1, 2, 2, kBox), GetParam().outcome);
    if (GetParam().outcome != ZoomOutcome::refusedAtLimit) return;
    EXPECT_EQ(h.current(), before.current());
    EXPECT_EQ(h.backStack(), before.backStack());
    EXPECT_EQ(h.forwardStack(), before.forwardStack());
    EXPECT_EQ(h.outgoingSelection(), before.outgoingSelection());
}

INSTANTIATE_TEST_SUITE_P(Levels, ZoomLimit,
                         ::testing::Values(LimitCase{5e15, ZoomOutcome::refusedAtLimit},
                                           LimitCase{4.9e15, ZoomOutcome::zoomed}));

struct IgnoredCase {
    double rw, rh;
    int bufferW, bufferH;
};

class ZoomIgnored : public ::testing::TestWithParam<IgnoredCase> {};

TEST_P(ZoomIgnored, TooSmallOrEmptyChangesNothing) {
    const IgnoredCase c = GetParam();
    ZoomHistory h;
    EXPECT_EQ(h.zoomIntoRect(0, 0, c.rw, c.rh, c.bufferW, c.bufferH, kBox), ZoomOutcome::ignored);
    EXPECT_TRUE(h.backStack().empty());
}

INSTANTIATE_TEST_SUITE_P(Rects, ZoomIgnored,
                         ::testing::Values(IgnoredCase{0.99, 10, 100, 100},
                                           IgnoredCase{10, 0.5, 100, 100},
                                           IgnoredCase{10, 10, 0, 100}));

}  // namespace
}  // namespace gs
