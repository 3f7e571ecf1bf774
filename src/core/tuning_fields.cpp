#include "core/tuning_fields.h"

#include <cmath>

namespace gs {

bool tuningKeepsColorsFinite(const ShadingTuning& t) {
    for (const TuningField& f : kTuningFields) {
        const double v = t.*f.member;
        if (!std::isfinite(v) || std::abs(v) > kTuningMagnitudeLimit) return false;
    }
    return t.curve >= 0 && t.trapSharpness >= 0 && t.demSoftness != 0 &&
           static_cast<float>(t.reliefEdgeCalm) >= 0.0f;
}

}  // namespace gs
