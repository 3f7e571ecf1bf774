// The explorer's user-facing settings with their defaults: how the picture is coloured and lit,
// how fast the palette animates, how sound moves it. A fresh value is the state the explorer
// starts in and the state Reset All returns to (besides the palette, which Reset All makes
// random); the command line starts from it too. The modes that run timers (animation,
// auto-explore) are the controller's own.
#pragma once

#include <memory>

#include "core/frame.h"
#include "core/shading.h"
#include "core/sound_tuning.h"

namespace gs {

struct ExplorerSettings {
    double frequency = 2.0;    // palette repeats per unit of the normalised count
    double cycleOffset = 0.0;  // where the palette starts, a fraction of its cycle in [0, 1)
    bool demEnabled = false;
    bool glowEnabled = false;
    bool trapsEnabled = false;
    bool reliefEnabled = false;
    // The relief light's position in the plane, not clamped; the light itself is derived.
    double reliefLightRawX = -0.5;
    double reliefLightRawY = -0.5;
    ShadingTuning tuning;
    double animationSpeed = 0.12;  // palette cycles per second
    SoundTuning soundTuning;

    // The light derived from the raw position (upper left, drama about 0.59 by default).
    ReliefLight reliefLight() const { return lightVector(reliefLightRawX, reliefLightRawY); }

    friend bool operator==(const ExplorerSettings&, const ExplorerSettings&) = default;

    // The colouring these settings describe, with this table and tuning (the settings' own or
    // one being tried), and no sound.
    ColourInputs colourInputs(std::shared_ptr<const ColorTable> table, const ShadingTuning& shading) const {
        ColourInputs c;
        c.table = std::move(table);
        c.frequency = frequency;
        c.cycleOffset = cycleOffset;
        c.dem = demEnabled;
        c.glow = glowEnabled;
        c.traps = trapsEnabled;
        c.relief = reliefEnabled;
        c.tuning = shading;
        c.light = reliefLight();
        return c;
    }
};

}  // namespace gs
