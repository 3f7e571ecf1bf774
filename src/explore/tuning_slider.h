// The tuning sliders as data: every colouring, shading and sound parameter the advanced panel
// edits, with its range, scale, default, value format and help texts, grouped in six tabs. Also
// what a slider does without a window: where a value sits on the track, how the keyboard steps
// it, the help card's lines, and the numeric entry's message and parsing. Texts are UTF-8.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/shading.h"
#include "core/sound_tuning.h"
#include "explore/explorer_settings.h"

namespace gs {

struct TuningRange {
    double lower = 0, upper = 1;  // closed
};

// What a slider edits in the explorer's settings.
struct TuningTarget {
    enum class Kind { frequency, cycleOffset, animationSpeed, shading, lightDirection, lightDrama, sound };
    Kind kind = Kind::frequency;
    double ShadingTuning::*shading = nullptr;  // Kind::shading
    double SoundTuning::*sound = nullptr;      // Kind::sound
};

// Literal text around one printf-style conversion "%.Nf" or "%+.Nf"; "%%" stands for "%".
// Formats as printf does in the C locale, whatever the user's locale.
std::string formatTuningValue(std::string_view pattern, double value);

struct TuningSliderSpec {
    std::string title;  // upper case, as shown on the slider
    TuningRange range;
    bool isLog = false;  // equal travel multiplies the value
    double defaultValue = 0;
    std::string formatPattern;
    std::function<double()> get;         // the live value
    std::function<void(double)> set;     // writes, applies and saves the value
    std::function<bool()> isEnabled;     // whether the slider can be moved now
    std::string about, up, down;         // what it does; what raising it does; lowering it
    TuningTarget target;                 // what get and set are bound to

    std::string format(double value) const { return formatTuningValue(formatPattern, value); }
};

// The effect a tab's sliders shape; the tab is "on" while that effect is switched on.
enum class TuningMode { always, distanceEstimation, glow, traps, relief, sound };

struct TuningTab {
    std::string name;
    std::vector<TuningSliderSpec> sliders;
    std::function<bool()> isModeOn;
    TuningMode mode = TuningMode::always;
};

// The six tabs in order with their sliders' fixed data. The closures (get, set, isEnabled,
// isModeOn) are left empty: whoever binds the table to an explorer fills them.
std::vector<TuningTab> tuningTable();

// --- The track ---

// One keyboard or accessibility step: a twentieth of the travel.
inline constexpr double kTuningStep = 0.05;

// Where value sits on the track, 0 to 1. A logarithmic slider raises a value below its lower
// end to that end before the logarithm; values outside the range sit at the nearer end.
double tuningPosition(const TuningSliderSpec& info, double value);
// The value at a position of the track (clamped to 0..1).
double tuningValueAt(const TuningSliderSpec& info, double position);
// The value `steps` steps from `value` (negative: down); logarithmic sliders step geometrically.
double tuningStepped(const TuningSliderSpec& info, double value, int steps);

// --- Texts ---

// The help card: the about text with a capital and a full stop; the range and default in the
// slider's own format; then "Up: …." and "Down: …." where those texts are not empty.
std::vector<std::string> tuningHelpLines(const TuningSliderSpec& info);
// "EDGE CALM" -> "Edge Calm": the title of the numeric entry.
std::string capitalizedTitle(std::string_view title);
// "Enter a value from 0.10 to 8.00."
std::string tuningEntryMessage(const TuningSliderSpec& info);
// A number typed into the numeric entry: surrounding spaces, a leading "+", the slider's own
// unit ("%", "°", "×", "/s") and a decimal comma are accepted. Absent when the text is not one
// finite number. The result is not clamped.
std::optional<double> parseTuningEntry(std::string_view text, std::string_view pattern);

// --- The explorer's values ---

// What a changed value needs before it shows.
enum class TuningRepaint {
    none,      // read on the next animation tick (speed, sound)
    recolour,  // both pictures coloured again from their stored data
    relight,   // only the relief's lighting (the light and the relief-only fields)
};

double readTuningTarget(const ExplorerSettings& settings, const TuningTarget& target);
TuningRepaint writeTuningTarget(ExplorerSettings& settings, const TuningTarget& target, double value);

// Whether the values kept across launches differ from their defaults: the shading tuning, the
// sound tuning or the animation speed. Frequency, phase and the light are not counted.
bool tuningOffDefaults(const ExplorerSettings& settings);

// Sets each enabled slider of the tab to its default, in order; a disabled one keeps its value.
void resetTuningTab(const TuningTab& tab);

}  // namespace gs
