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

// The largest magnitude a tuning value may have: far beyond any useful setting, and small
// enough that no product of the colouring or the 32-bit relief overflows.
inline constexpr double kTuningMagnitudeLimit = 1e15;

// Whether colouring and relief under `t` keep every colour channel a number: for any data the
// kernel produces (counts down to -inf, distances and trap distances from 0 to +inf), palettes
// of any components, pixel sizes up to 1e290 and glow intensities up to 1e200 in magnitude.
// That holds when every field is finite and at most kTuningMagnitudeLimit in magnitude, and
//  - curve >= 0 and trapSharpness >= 0: a count of 0 or a trap distance of 0 raised to a
//    negative power is infinite;
//  - demSoftness != 0: the edge fade divides by it (0/0 on the fade's centre);
//  - reliefEdgeCalm, as a 32-bit float, >= 0: a negative cap scales a flat gradient by
//    cap / 0.
// Values outside the slider ranges pass: a stored tuning may hold them and still colour.
bool tuningKeepsColorsFinite(const ShadingTuning& t);

}  // namespace gs
