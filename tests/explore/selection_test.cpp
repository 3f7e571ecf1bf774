#include <gtest/gtest.h>

#include <tuple>

#include "explore/selection.h"

namespace gs {
namespace {

constexpr double kViewW = 400, kViewH = 300;

PinchSelection pinched(double x, double y, double viewW = kViewW, double viewH = kViewH) {
    PinchSelection s;
    s.pinchBegan(x, y, 1.0, viewW, viewH);
    s.pinchEnded(1.0, viewW, viewH);
    return s;
}

TEST(PinchSelection, BoxNearAnEdgeIsClippedAndZoomsAsClipped) {
    // 0.12 of 400 x 300 is 48 x 36 points, centred 10 points from the left edge.
    PinchSelection s = pinched(10, 150);
    EXPECT_EQ(s.rect(kViewW, kViewH), (RectF{0, 132, 34, 36}));
    const ClickResult r = s.click(5, 140, kViewW, kViewH, 2.0);
    EXPECT_TRUE(r.dismissed);
    EXPECT_EQ(r.zoomRequest, (RectF{0, 264, 68, 72}));
    EXPECT_FALSE(s.shownRect(kViewW, kViewH).has_value());
}

TEST(PinchSelection, ClickOutsideOnlyDismissesAndASecondClickDoesNothing) {
    PinchSelection s = pinched(200, 150);
    const ClickResult first = s.click(10, 10, kViewW, kViewH, 2.0);
    EXPECT_TRUE(first.dismissed);
    EXPECT_FALSE(first.zoomRequest.has_value());
    const ClickResult second = s.click(200, 150, kViewW, kViewH, 2.0);
    EXPECT_FALSE(second.dismissed || second.zoomRequest);
}

// A pinched box in a 100 x 250 view (12 x 30, clipped at the left when the pinch is near it)
// and a restored box centred in 400 x 300 (0.04 is 16 x 12 points): 12 x 12 points are needed
// to show it, and the restored one is remembered even when not shown.
TEST(SelectionMinimum, NeedsTwelveByTwelvePoints) {
    for (auto [pinchX, restoredBox, kept] : {std::tuple{5.0, 0.039, false},  // 11 x 30; 15.6 x 11.7
                                             std::tuple{6.0, 0.04, true},    // 12 x 30; 16 x 12
                                             std::tuple{50.0, 0.12, true}}) {
        SCOPED_TRACE(pinchX);
        EXPECT_EQ(pinched(pinchX, 125, 100, 250).hasSelection(), kept);
        PinchSelection restored = pinched(200, 150);
        restored.restoreFromHistory({0.5, 0.5, restoredBox}, kViewW, kViewH);
        EXPECT_EQ(restored.shownRect(kViewW, kViewH).has_value(), kept);
        EXPECT_EQ(restored.boxFraction(), restoredBox);
    }
}

}  // namespace
}  // namespace gs
