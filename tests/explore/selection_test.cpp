#include <gtest/gtest.h>

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

// Restored boxes centred in 400 x 300: the height decides (0.04 is 16 x 12 points).
struct MinimumCase {
    double pinchX;  // the pinch's x in a 100 x 250 view: a 12 x 30 box clipped at the left
    double restoredBox;
    bool kept;
};

class SelectionMinimum : public ::testing::TestWithParam<MinimumCase> {};

TEST_P(SelectionMinimum, NeedsTwelveByTwelvePoints) {
    const MinimumCase c = GetParam();
    EXPECT_EQ(pinched(c.pinchX, 125, 100, 250).hasSelection(), c.kept);

    PinchSelection restored = pinched(200, 150);
    restored.restoreFromHistory({0.5, 0.5, c.restoredBox}, kViewW, kViewH);
    EXPECT_EQ(restored.shownRect(kViewW, kViewH).has_value(), c.kept);
    EXPECT_EQ(restored.boxFraction(), c.restoredBox);  // remembered even when not shown
}

INSTANTIATE_TEST_SUITE_P(Sizes, SelectionMinimum,
                         ::testing::Values(MinimumCase{5, 0.039, false},  // 11 x 30; 15.6 x 11.7
                                           MinimumCase{6, 0.04, true},    // 12 x 30; 16 x 12
                                           MinimumCase{50, 0.12, true}));

}  // namespace
}  // namespace gs
