#include "palette_motion.h"

#include <algorithm>
#include <cmath>

namespace gs {

double wrapCycle(double v) {
    const double f = v - std::trunc(v);
    return f < 0 ? f + 1 : f;
}

std::optional<double> AnimationClock::tick(double now, bool rendering) {
    const std::optional<double> last = lastTick_;
    lastTick_ = now;
    if (rendering || !last) return std::nullopt;
    return std::min(now - *last, kMaxTickStep);
}

double advanceCycle(double cycleOffset, double dt, double speed) {
    return wrapCycle(cycleOffset + dt * speed);
}

double shiftedCycleOffset(double baseOffset, double amount) {
    return wrapCycle(baseOffset + amount * kPaletteShiftCyclesPerViewHeight);
}

double shiftedFrequency(double baseFrequency, double dy) {
    const double f = baseFrequency + dy * kFrequencyShiftPerViewHeight;
    if (f <= kMinFrequency) return kMinFrequency;
    if (f > kMaxFrequency) return kMaxFrequency;
    return f;
}

LightShift shiftedLight(double baseRawX, double baseRawY, double dx, double dy) {
    LightShift s;
    s.rawX = baseRawX + dx * kLightShiftPerViewDimension;
    s.rawY = baseRawY + dy * kLightShiftPerViewDimension;
    s.light = lightVector(s.rawX, s.rawY);
    return s;
}

}  // namespace gs
