#include <gtest/gtest.h>

#include <array>

#include "explore/selection.h"
#include "explore/zoom_history.h"

namespace gs {
namespace {

constexpr SelectionBox kBox{0.25, 0.5, 0.12};

TEST(ZoomHistory, ZoomMapsPixelsWithRowZeroAtTheTop) {
    ZoomHistory h;
    ASSERT_EQ(h.zoomIntoRect(100, 75, 200, 150, 400, 300, kBox), ZoomOutcome::zoomed);
    EXPECT_EQ(h.current(), (Viewport{-1.5, 0.5, -0.75, 0.75}));
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

// Reset View at home does nothing at all, not even forgetting the way forward; elsewhere Back
// undoes it.
TEST(ZoomHistory, ResetViewAtHomeDoesNothingElsewhereBackUndoesIt) {
    ZoomHistory h;
    h.zoomIntoRect(10, 10, 20, 20, 100, 100, kBox);
    const Viewport zoomed = h.current();
    h.back();  // home again, with a way forward and the box to show
    EXPECT_FALSE(h.resetView());
    EXPECT_TRUE(h.backStack().empty());
    EXPECT_EQ(h.forwardStack().size(), 1u);
    EXPECT_EQ(h.outgoingSelection(), kBox);

    h.forward();
    ASSERT_TRUE(h.resetView());
    EXPECT_EQ(h.current(), kHomeView);
    ASSERT_TRUE(h.back().moved);
    EXPECT_EQ(h.current(), zoomed);
}

// At 5e15 the zoom is refused and leaves everything as it was; just below it zooms.
TEST(ZoomHistory, TheLimitRefusesAndLeavesEverythingAsItWas) {
    for (const auto& [zoomLevel, outcome] : {std::pair{5e15, ZoomOutcome::refusedAtLimit}, {4.9e15, ZoomOutcome::zoomed}}) {
        SCOPED_TRACE(zoomLevel);
        ZoomHistory h;
        h.zoomIntoRect(10, 10, 20, 20, 100, 100, kBox);
        h.back();  // forward stack and outgoing selection now hold something
        // Pixel (0, 0) of a 2 x 2 buffer over a view 2w wide is exactly w wide.
        const double w = kInitialWidth / zoomLevel;
        h.setBounds({0.0, 2 * w, 0.0, 2 * w});
        const ZoomHistory before = h;
        ASSERT_EQ(h.zoomIntoRect(0, 0, 1, 1, 2, 2, kBox), outcome);
        if (outcome != ZoomOutcome::refusedAtLimit) continue;
        EXPECT_EQ(h.current(), before.current());
        EXPECT_EQ(h.backStack(), before.backStack());
        EXPECT_EQ(h.forwardStack(), before.forwardStack());
        EXPECT_EQ(h.outgoingSelection(), before.outgoingSelection());
    }
}

// A box under a pixel wide or high, or an empty buffer, changes nothing.
TEST(ZoomHistory, TooSmallOrEmptyChangesNothing) {
    for (auto [rw, rh, bufferW] : {std::array<double, 3>{0.99, 10, 100}, {10, 0.5, 100}, {10, 10, 0}}) {
        ZoomHistory h;
        EXPECT_EQ(h.zoomIntoRect(0, 0, rw, rh, int(bufferW), 100, kBox), ZoomOutcome::ignored) << rw << " " << rh;
        EXPECT_TRUE(h.backStack().empty());
    }
}

}  // namespace
}  // namespace gs
