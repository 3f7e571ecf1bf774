// How the analyzer's numbers move the picture: four smoothed values, stepped once per animation
// tick, that every colouring uses (a palette shift from loudness and pitch, a glow factor from
// treble, a relief drama boost from bass), and what switching sound mode on does to the
// shading flags and the palette. Plain C++.
#pragma once

#include <optional>

#include "core/frame.h"
#include "core/palette.h"
#include "core/sound_tuning.h"
#include "sound/sound_analysis.h"

namespace gs {

inline constexpr double soundSpinAttackRate = 7.0;    // per second, while loudness rises
inline constexpr double soundSpinReleaseRate = 2.2;   // per second, while it falls
inline constexpr FrequencyRange soundVocalPitchRange{80, 1000};  // Hz mapped onto 0..1
inline constexpr double soundHueSmoothingRate = 4.0;     // per second, pitch term
inline constexpr double soundGlowExponent = 1.6;         // curve on treble
inline constexpr double soundGlowSmoothingRate = 6.0;    // per second, glow term
inline constexpr double soundReliefSmoothingRate = 8.0;  // per second, relief term

// The sound state; a fresh one is neutral (it leaves the colours as they are).
struct SoundState {
    double soundVolumeDisplacement = 0;  // loudness term of the palette shift, palette cycles
    double soundHueAnchorShift = 0;      // pitch term of the palette shift, palette cycles
    double soundGlowIntensity = 1.0;     // factor on the glow term
    double soundReliefDramaBoost = 0;    // added to the relief light's drama

    // The palette shift: pitch term plus loudness term.
    double colorShift() const { return soundHueAnchorShift + soundVolumeDisplacement; }

    friend bool operator==(const SoundState&, const SoundState&) = default;
};

// A pitch mapped logarithmically from 80..1000 Hz onto 0..1 (octaves evenly); at or below
// 80 Hz it is 0, above 1000 Hz it is 1.
double vocalPitchPosition(double pitchHz);

// The state after a tick of dt seconds (at most 0.25, so no term passes its target) towards
// the targets the metrics and tuning set. Loudness rises 7/2.2 times faster than it falls; an
// absent pitch leaves the pitch term where the last note put it. A term that would stop being
// finite (from absurd tuning) keeps its value.
SoundState soundTick(const SoundState& state, const SoundMetrics& metrics,
                     const SoundTuning& tuning, double dt);

// Hands the state to a colouring.
void applySoundState(const SoundState& state, ColourInputs& colour);

// Switching sound mode on: the glow and relief flags to restore when it ends, and whether the
// palette must become a new smooth one (relief is being turned on over a random palette; a
// random palette under relief that was already on stays). Glow and relief are on afterwards.
struct SoundSwitchOn {
    bool soundGlowStateBeforeSound = false;
    bool soundReliefStateBeforeSound = false;
    bool makeSmoothPalette = false;
    friend bool operator==(const SoundSwitchOn&, const SoundSwitchOn&) = default;
};
SoundSwitchOn soundSwitchOn(bool glowEnabled, bool reliefEnabled, PaletteMode mode);

}  // namespace gs
