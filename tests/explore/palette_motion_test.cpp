#include <gtest/gtest.h>

#include <array>

#include "explore/palette_motion.h"

namespace gs {
namespace {

constexpr double kTick = 1.0 / 30.0;

TEST(AnimationClock, DefaultSpeedMovesFourThousandthsPerTickAndWraps) {
    AnimationClock clock;
    EXPECT_FALSE(clock.tick(100.0, false).has_value());  // the first tick only sets the mark
    double offset = 0.993;
    for (double expected : {0.997, 0.001, 0.005}) {
        const auto dt = clock.tick(clock.lastTick().value() + kTick, false);
        offset = advanceCycle(offset, dt.value(), 0.12);
        EXPECT_NEAR(offset, expected, 1e-9);
    }
}

// A stall advances at most a quarter second; a tick during a render holds the palette but moves
// the mark, so that nothing jumps after it.
TEST(AnimationClock, StallsAreCappedAndARenderHoldsThePalette) {
    AnimationClock clock;
    clock.tick(0.0, false);
    EXPECT_EQ(clock.tick(10.0, false), 0.25);
    EXPECT_FALSE(clock.tick(13.0, true).has_value());
    EXPECT_NEAR(clock.tick(13.0 + kTick, false).value(), kTick, 1e-12);
}

TEST(PaletteShift, WrapsIntoZeroToOne) {
    EXPECT_NEAR(shiftedCycleOffset(0.2, -1.5), 0.75, 1e-15);
    EXPECT_NEAR(shiftedCycleOffset(0.9, 1.0), 0.2, 1e-15);
    EXPECT_NEAR(wrapCycle(-2.75), 0.25, 1e-15);
}

TEST(FrequencyShift, StaysWithinItsRange) {
    for (auto [base, dy, expected] : {std::array<double, 3>{2.0, 0.5, 3.5}, {2.0, -1.0, 0.1},
                                      {0.4, -0.1, 0.1},  // lands just under
                                      {2.0, 3.0, 8.0}})
        EXPECT_DOUBLE_EQ(shiftedFrequency(base, dy), expected) << base << " " << dy;
}

TEST(LightShift, RawPositionIsNotClampedButTheLightIs) {
    const LightShift far = shiftedLight(-0.5, -0.5, 1.0, 0.0);
    EXPECT_DOUBLE_EQ(far.rawX, 1.0);
    EXPECT_EQ(far.light, lightVector(0.85, -0.5));
    // Scrolling back first spends the excess beyond 0.85 before the light moves.
    EXPECT_EQ(shiftedLight(far.rawX, far.rawY, -0.1, 0.0).light, far.light);
    EXPECT_NE(shiftedLight(far.rawX, far.rawY, -0.2, 0.0).light, far.light);
}

}  // namespace
}  // namespace gs
