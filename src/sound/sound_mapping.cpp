#include "sound/sound_mapping.h"

#include <algorithm>
#include <cmath>

namespace gs {

namespace {

double clip1(double x) { return std::min(x, 1.0); }

// current moved by a share of the way to target; the old value when the result is not finite.
double approach(double current, double target, double share) {
    const double next = current + share * (target - current);
    return std::isfinite(next) ? next : current;
}

}  // namespace

double vocalPitchPosition(double pitchHz) {
    const auto [low, high] = soundVocalPitchRange;
    if (pitchHz <= low) return 0;
    return std::log(std::min(pitchHz, high) / low) / std::log(high / low);
}

SoundState soundTick(const SoundState& state, const SoundMetrics& m, const SoundTuning& t,
                     double dt) {
    SoundState next = state;
    // Loudness: a faster rate while rising than while falling, so beats kick the palette
    // forward and it drifts back.
    const double spin = t.spin * clip1(m.rms * t.sensitivity);
    const double current = state.soundVolumeDisplacement;
    const double spinRate =
        t.response * (current < spin ? soundSpinAttackRate : soundSpinReleaseRate);
    next.soundVolumeDisplacement = approach(current, spin, clip1(dt * spinRate));
    if (m.pitchHz)
        next.soundHueAnchorShift =
            approach(state.soundHueAnchorShift, vocalPitchPosition(*m.pitchHz) * t.hue,
                     clip1(dt * soundHueSmoothingRate * t.response));
    const double glow =
        t.glowBoost * std::pow(clip1(m.trebleEnergy * t.sensitivity), soundGlowExponent) + 1.0;
    next.soundGlowIntensity = approach(state.soundGlowIntensity, glow,
                                       clip1(dt * soundGlowSmoothingRate * t.response));
    const double drama = clip1(m.bassEnergy * t.sensitivity) * t.shockwave;
    next.soundReliefDramaBoost = approach(state.soundReliefDramaBoost, drama,
                                          clip1(dt * soundReliefSmoothingRate * t.response));
    return next;
}

void applySoundState(const SoundState& state, ColourInputs& colour) {
    colour.colorShift = state.colorShift();
    colour.glowIntensity = state.soundGlowIntensity;
    colour.dramaBoost = state.soundReliefDramaBoost;
}

SoundSwitchOn soundSwitchOn(bool glowEnabled, bool reliefEnabled, PaletteMode mode) {
    return {glowEnabled, reliefEnabled, !reliefEnabled && mode == PaletteMode::random};
}

}  // namespace gs
