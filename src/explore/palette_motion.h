// Palette animation and the live shifts of palette phase, colour frequency and relief light.
#pragma once

#include <optional>

#include "core/shading.h"

namespace gs {

inline constexpr double kAnimationTickInterval = 1.0 / 30.0;  // seconds between ticks
inline constexpr double kMaxTickStep = 0.25;                  // seconds; longer stalls are cut
inline constexpr double kPaletteShiftCyclesPerViewHeight = 0.3;
inline constexpr double kFrequencyShiftPerViewHeight = 3.0;
inline constexpr double kLightShiftPerViewDimension = 1.5;
inline constexpr double kMinFrequency = 0.1;
inline constexpr double kMaxFrequency = 8.0;

// The fractional part of v moved into [0, 1): v - trunc(v), plus 1 if that is negative. (A
// negative v within half an ulp of an integer gives exactly 1.)
double wrapCycle(double v);

// The time base of the animation tick. Times are seconds of a monotonic clock.
class AnimationClock {
public:
    // Forgets the last tick; the next tick then only sets the time mark. Called when the timer
    // starts and stops.
    void reset() { lastTick_.reset(); }

    // The time step to apply at `now`: absent on the first tick after a reset and while a render
    // is running (the mark still moves, so the palette does not jump when the render ends),
    // otherwise now - last tick, at most 0.25 s.
    std::optional<double> tick(double now, bool rendering);

    const std::optional<double>& lastTick() const { return lastTick_; }

private:
    std::optional<double> lastTick_;
};

// The cycle offset after dt seconds at `speed` palette cycles per second, wrapped into [0, 1).
double advanceCycle(double cycleOffset, double dt, double speed);

// One-finger drag: amount is the upward drag in view heights (+1 for the full height); the
// palette moves 0.3 of a cycle per view height from the offset at the start of the drag.
double shiftedCycleOffset(double baseOffset, double amount);

// Two-finger scroll with relief off: dy in view heights (up positive) adds 3 per view height to
// the frequency at the start of the scroll; the result is held in (0.1, 8.0] with 0.1 included.
double shiftedFrequency(double baseFrequency, double dy);

// Two-finger scroll with relief on: the raw light position moves 1.5 per view dimension and is
// not clamped (only the light derived from it is).
struct LightShift {
    double rawX = 0, rawY = 0;
    ReliefLight light;
};
LightShift shiftedLight(double baseRawX, double baseRawY, double dx, double dy);

}  // namespace gs
