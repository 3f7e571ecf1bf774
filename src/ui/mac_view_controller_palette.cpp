// Palette commands and the live shifts of palette phase, frequency and relief light.
#include "explore/palette_motion.h"
#include "ui/mac_view_controller.h"

namespace gs {

// Choosing Smooth or Random always makes a fresh table, even in the mode already chosen.
void MacViewController::useSmoothColors() {
    paletteMode_ = PaletteMode::smooth;
    regenerate();
}

void MacViewController::useRandomColors() {
    paletteMode_ = PaletteMode::random;
    regenerate();
}

void MacViewController::newRandomPalette() { regenerate(); }

void MacViewController::regenerate() {
    colorTable_ = std::make_shared<const ColorTable>(generatePalette(paletteMode_, *rng_));
    currentPaletteName_.reset();
    currentBookmarkName_.reset();
    requestRecolor();
    refreshControls();
}

// The pans remove the tuning help card when they begin; the panel follows the values they move.
void MacViewController::paletteShiftBegan() {
    hideTuningHelp();
    paletteShiftBaseCycleOffset_ = settings_.cycleOffset;
}

void MacViewController::paletteShiftChanged(double amount) {
    settings_.cycleOffset = shiftedCycleOffset(paletteShiftBaseCycleOffset_, amount);
    requestRecolor();
    refreshTuningControls();
}

void MacViewController::frequencyShiftBegan() {
    hideTuningHelp();
    frequencyShiftBaseFrequency_ = settings_.frequency;
    reliefLightShiftBaseX_ = settings_.reliefLightRawX;
    reliefLightShiftBaseY_ = settings_.reliefLightRawY;
}

// With relief on the same gesture moves the light and leaves the frequency alone.
void MacViewController::frequencyShiftChanged(double dx, double dy) {
    if (!settings_.reliefEnabled) {
        settings_.frequency = shiftedFrequency(frequencyShiftBaseFrequency_, dy);
        requestRecolor();
        refreshTuningControls();
        return;
    }
    const LightShift shift = shiftedLight(reliefLightShiftBaseX_, reliefLightShiftBaseY_, dx, dy);
    settings_.reliefLightRawX = shift.rawX;
    settings_.reliefLightRawY = shift.rawY;
    requestRelight();
    refreshTuningControls();
}

}  // namespace gs
