// The fourteen shading parameters as data: each one's JSON key, its field, and the range and
// scale of the slider that edits it. The tuning's file format, the command line's checks and
// help, and the tuning sliders all walk this one table.
#pragma once

#include <array>

#include "core/shading.h"

namespace gs {

struct TuningField {
    const char* key;                 // the JSON key: the field's name
    double ShadingTuning::*member;
    double lower, upper;             // the slider's closed range
    bool isLog;                      // the slider moves geometrically (equal travel multiplies)
};

// In the order of ShadingTuning's fields.
inline constexpr std::array<TuningField, 14> kTuningFields = {{
    {"curve", &ShadingTuning::curve, 0.4, 2.5, false},
    {"demThickness", &ShadingTuning::demThickness, -2.0, 6.0, false},
    {"demSoftness", &ShadingTuning::demSoftness, 0.25, 8.0, true},
    {"glowStrength", &ShadingTuning::glowStrength, 0.0, 2.0, false},
    {"glowRadius", &ShadingTuning::glowRadius, 0.2, 8.0, true},
    {"glowDim", &ShadingTuning::glowDim, 0.3, 1.0, false},
    {"glowTint", &ShadingTuning::glowTint, 0.0, 1.0, false},
    {"trapReach", &ShadingTuning::trapReach, 0.05, 1.5, true},
    {"trapSharpness", &ShadingTuning::trapSharpness, 0.15, 2.0, true},
    {"trapGlint", &ShadingTuning::trapGlint, 0.0, 0.8, false},
    {"reliefHeight", &ShadingTuning::reliefHeight, 0.25, 3.0, false},
    {"reliefShadow", &ShadingTuning::reliefShadow, -0.3, 0.3, false},
    {"reliefShine", &ShadingTuning::reliefShine, 0.0, 2.0, false},
    {"reliefEdgeCalm", &ShadingTuning::reliefEdgeCalm, 0.2, 1.4, false},
}};

}  // namespace gs
