// The ballistics of the sound level meter: it rises quickly to a louder level and falls back
// slowly, so it reads as a calm gauge rather than a flicker of every buffer. Plain C++.
#pragma once

#include <algorithm>

namespace gs {

inline constexpr double kMeterRiseRate = 14.0;      // share of the gap closed per second, rising
inline constexpr double kMeterFallPerSecond = 1.2;  // full scale per second, falling

// The level a meter shows dt seconds after showing `shown`, following `level` (both 0..1; a
// level outside that, or not a number, counts as its nearest bound or 0).
inline double meterLevel(double shown, double level, double dt) {
    level = level > 0 ? std::min(level, 1.0) : 0.0;
    dt = dt > 0 ? dt : 0.0;
    if (level > shown) return shown + (level - shown) * std::min(dt * kMeterRiseRate, 1.0);
    return std::max(level, shown - dt * kMeterFallPerSecond);
}

}  // namespace gs
