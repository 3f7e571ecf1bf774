// The fixed data of the tuning sliders: six tabs, their sliders in order, each with its range,
// scale, default, format and help texts. The shading sliders take their ranges and scales from
// the tuning field table and their defaults from a fresh ShadingTuning, so those live in one
// place; the sound sliders take their defaults from a fresh SoundTuning.
#include <algorithm>

#include "core/tuning_fields.h"
#include "explore/palette_motion.h"
#include "explore/tuning_slider.h"

namespace gs {

namespace {

using Kind = TuningTarget::Kind;

struct HelpTexts {
    const char* about;
    const char* up;
    const char* down;
};

TuningSliderSpec slider(const char* title, TuningRange range, bool isLog, double defaultValue,
                        const char* pattern, TuningTarget target, const HelpTexts& help) {
    TuningSliderSpec s;
    s.title = title;
    s.range = range;
    s.isLog = isLog;
    s.defaultValue = defaultValue;
    s.formatPattern = pattern;
    s.about = help.about;
    s.up = help.up;
    s.down = help.down;
    s.target = target;
    return s;
}

TuningSliderSpec shading(const char* title, double ShadingTuning::*member, const char* pattern,
                         const HelpTexts& help) {
    const auto field = std::find_if(kTuningFields.begin(), kTuningFields.end(),
                                    [&](const TuningField& f) { return f.member == member; });
    return slider(title, {field->lower, field->upper}, field->isLog, ShadingTuning{}.*member, pattern,
                  {Kind::shading, member, nullptr}, help);
}

TuningSliderSpec sound(const char* title, TuningRange range, bool isLog, double SoundTuning::*member,
                       const char* pattern, const HelpTexts& help) {
    return slider(title, range, isLog, SoundTuning{}.*member, pattern, {Kind::sound, nullptr, member}, help);
}

TuningTab colorTab() {
    const ExplorerSettings start;
    return {"COLOR",
            {slider("FREQUENCY", {kMinFrequency, kMaxFrequency}, true, start.frequency, "%.2f", {Kind::frequency},
                    {"how many times the palette repeats across the picture (the same as a two-finger drag)",
                     "more, thinner color bands", "fewer, broader bands"}),
             slider("PHASE", {0.0, 1.0}, false, start.cycleOffset, "%.2f", {Kind::cycleOffset},
                    {"where the palette starts (the same as a one-finger drag)",
                     "shifts every color forward around the palette", "shifts them back"}),
             slider("SPEED", {0.02, 1.0}, true, start.animationSpeed, "%.2f/s", {Kind::animationSpeed},
                    {"how fast ANIMATE cycles the colors, and how long Record Animation lasts. Only active "
                     "while ANIMATE is on",
                     "faster cycling, shorter recordings", "slower cycling, longer recordings"}),
             shading("CURVE", &ShadingTuning::curve, "%.2f",
                     {"how escape time is spread over the palette",
                      "colors flatten out in the far field while the set's edge gets more variety",
                      "the variety spreads out into the far field"})},
            {},
            TuningMode::always};
}

TuningTab distanceTab() {
    return {"DISTANCE ESTIMATION",
            {shading("THICKNESS", &ShadingTuning::demThickness, "%.1f",
                     {"where the dark outline around the set sits, measured in pixels of distance on a log "
                      "scale (0 is the usual one-pixel edge)",
                      "a thicker dark outline that reveals fine filaments", "a thinner outline, down to none"}),
             shading("SOFTNESS", &ShadingTuning::demSoftness, "%.1f",
                     {"how gradually the outline fades from color to black", "a soft, wide fade",
                      "a crisp ink line"})},
            {},
            TuningMode::distanceEstimation};
}

TuningTab glowTab() {
    return {"GLOW",
            {shading("STRENGTH", &ShadingTuning::glowStrength, "%.2f",
                     {"how bright the glow around the set's edge is", "a brighter halo", "a fainter one"}),
             shading("RADIUS", &ShadingTuning::glowRadius, "%.1f",
                     {"how far the glow spreads from the edge, in screen pixels", "a wider halo",
                      "a tighter one"}),
             shading("DIM", &ShadingTuning::glowDim, "%.2f",
                     {"how much of the palette stays visible outside the halo",
                      "more of the palette shows through", "the palette darkens so the glow stands out"}),
             shading("TINT", &ShadingTuning::glowTint, "%.2f",
                     {"the glow's color", "the halo takes on each pixel's own color",
                      "back to the pale pink-white halo"})},
            {},
            TuningMode::glow};
}

TuningTab trapsTab() {
    return {"TRAPS",
            {shading("REACH", &ShadingTuning::trapReach, "%.2f",
                     {"how close to the horizontal or vertical axis an orbit must pass to pick up a vein",
                      "wider veins that cover more of the picture", "only the closest passes show"}),
             shading("SHARPNESS", &ShadingTuning::trapSharpness, "%.2f",
                     {"the profile of the veins", "broad, soft veins", "thin, crisp ones"}),
             shading("GLINT", &ShadingTuning::trapGlint, "%.2f",
                     {"how bright the veins are", "whiter, more obvious veins", "subtler ones"})},
            {},
            TuningMode::traps};
}

TuningTab reliefTab() {
    // The light's default direction and length: the upper left, at 0.7071 of the longest offset
    // (0.7071 / 1.2020815280171306 * 100, written out so that it never moves).
    return {"RELIEF",
            {slider("DIRECTION", {0.0, 360.0}, false, 225.0, "%.0f°", {Kind::lightDirection},
                    {"where the light comes from, in degrees around the picture (225° is the upper left; the "
                     "same as a two-finger drag)",
                     "turns the light one way around the picture", "the other way"}),
             slider("DRAMA", {0.0, 100.0}, false, 58.82296529141268, "%.0f%%", {Kind::lightDrama},
                    {"how low the light sits; a lower light casts longer shadows and exaggerates the terrain",
                     "longer shadows, a more sculpted look", "a flatter, more overhead light"}),
             shading("HEIGHT", &ShadingTuning::reliefHeight, "%.2f×",
                     {"how tall the terrain looks", "steeper, more three-dimensional relief", "flatter relief"}),
             shading("SHADOW", &ShadingTuning::reliefShadow, "%+.2f",
                     {"how dark the shaded side gets", "lighter shadows", "deeper shadows"}),
             shading("SHINE", &ShadingTuning::reliefShine, "%.2f×",
                     {"how glossy the surface looks", "stronger highlights", "a matte finish"}),
             shading("EDGE CALM", &ShadingTuning::reliefEdgeCalm, "%.2f",
                     {"a cap on how steep the cliff at the set's edge can look",
                      "a starker, whiter line along the edge", "a calmer edge"})},
            {},
            TuningMode::relief};
}

TuningTab soundTab() {
    return {"SOUND",
            {sound("SENSITIVITY", {0.25, 4.0}, true, &SoundTuning::sensitivity, "%.2f×",
                   {"input gain: how strongly a given loudness moves the picture",
                    "quieter sounds already have a full effect (good for a distant or quiet source)",
                    "only loud sounds register (good for a noisy room)"}),
             sound("SPIN", {0.0, 0.5}, false, &SoundTuning::spin, "%.2f",
                   {"how far volume can push the palette around (a pulse with the loudness)",
                    "a stronger, more visible pulse", "a subtler one, or none at zero"}),
             sound("HUE", {0.0, 1.0}, false, &SoundTuning::hue, "%.2f",
                   {"how much of the palette a voice's pitch can sweep", "pitch changes shift the colors further",
                    "the hue stays closer to where it is"}),
             sound("GLOW BOOST", {0.0, 6.0}, false, &SoundTuning::glowBoost, "%.1f",
                   {"how much high sounds (treble) make the glow flare", "brighter neon flares on treble",
                    "a steadier glow"}),
             sound("SHOCKWAVE", {0.0, 1.0}, false, &SoundTuning::shockwave, "%.2f",
                   {"how much low sounds (bass) raise the relief drama, the light and shadow depth",
                    "bigger relief shockwaves on bass", "calmer relief"}),
             sound("RESPONSE", {0.25, 4.0}, true, &SoundTuning::response, "%.2f×",
                   {"how closely the picture follows the sound over time", "snappier, follows every beat",
                    "smoother, slower to react"})},
            {},
            TuningMode::sound};
}

}  // namespace

std::vector<TuningTab> tuningTable() {
    return {colorTab(), distanceTab(), glowTab(), trapsTab(), reliefTab(), soundTab()};
}

}  // namespace gs
