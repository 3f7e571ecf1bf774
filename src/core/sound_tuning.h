// The six user parameters of sound mode: how strongly loudness, pitch, treble and bass move the
// colours, and how quickly the picture follows them. Field order and defaults are part of the
// preferences format (a JSON object whose keys are the field names).
#pragma once

namespace gs {

struct SoundTuning {
    double sensitivity = 1.0;  // gain on loudness, treble and bass before they are clipped to 1
    double spin = 0.12;        // palette swing at full loudness, in palette cycles
    double hue = 1.0;          // palette shift at the top of the vocal range
    double glowBoost = 2.5;    // extra glow factor at full treble
    double shockwave = 0.6;    // relief drama added at full bass
    double response = 1.0;     // multiplies every smoothing rate (higher is snappier)

    friend bool operator==(const SoundTuning&, const SoundTuning&) = default;
};

}  // namespace gs
