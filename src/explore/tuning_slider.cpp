#include "explore/tuning_slider.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "explore/palette_motion.h"

namespace gs {

namespace {

// The largest precision a pattern may ask for; ours use at most 2.
constexpr int kMaxPrecision = 40;

struct Conversion {
    std::size_t begin = std::string_view::npos, end = 0;  // the "%…f" text
    bool sign = false;
    int precision = 6;
};

// The pattern's one "%[+].Nf" conversion (absent: begin is npos).
Conversion findConversion(std::string_view pattern) {
    for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
        if (pattern[i] != '%') continue;
        if (pattern[i + 1] == '%') {
            ++i;
            continue;
        }
        Conversion c;
        std::size_t j = i + 1;
        if (pattern[j] == '+') c.sign = true, ++j;
        if (j < pattern.size() && pattern[j] == '.') {
            c.precision = 0;
            for (++j; j < pattern.size() && pattern[j] >= '0' && pattern[j] <= '9'; ++j)
                c.precision = std::min(c.precision * 10 + (pattern[j] - '0'), kMaxPrecision);
        }
        if (j >= pattern.size() || pattern[j] != 'f') return {};
        c.begin = i;
        c.end = j + 1;
        return c;
    }
    return {};
}

// Literal pattern text, with "%%" read as "%".
void appendLiteral(std::string& out, std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        out += text[i];
        if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') ++i;
    }
}

std::string_view trimmed(std::string_view s) {
    const auto space = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    while (!s.empty() && space(s.front())) s.remove_prefix(1);
    while (!s.empty() && space(s.back())) s.remove_suffix(1);
    return s;
}

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isReliefOnly(double ShadingTuning::*member) {
    return member == &ShadingTuning::reliefHeight || member == &ShadingTuning::reliefShadow ||
           member == &ShadingTuning::reliefShine || member == &ShadingTuning::reliefEdgeCalm;
}

}  // namespace

std::string formatTuningValue(std::string_view pattern, double value) {
    const Conversion c = findConversion(pattern);
    std::string out;
    if (c.begin == std::string_view::npos) {
        appendLiteral(out, pattern);
        return out;
    }
    appendLiteral(out, pattern.substr(0, c.begin));
    if (c.sign && !std::signbit(value)) out += '+';
    char digits[400];  // fixed notation of the largest double with kMaxPrecision decimals fits
    const auto written = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, c.precision);
    out.append(digits, written.ptr);
    appendLiteral(out, pattern.substr(c.end));
    return out;
}

// --- The track -------------------------------------------------------------------------------

double tuningPosition(const TuningSliderSpec& info, double value) {
    const double lower = info.range.lower, upper = info.range.upper;
    double p = info.isLog ? (std::log(std::max(value, lower)) - std::log(lower)) / (std::log(upper) - std::log(lower))
                          : (value - lower) / (upper - lower);
    if (!(p > 0)) p = 0;  // a value below the range, or not a number
    return std::min(p, 1.0);
}

double tuningValueAt(const TuningSliderSpec& info, double position) {
    const double p = std::clamp(position, 0.0, 1.0);
    const double lower = info.range.lower, upper = info.range.upper;
    if (p == 0) return lower;  // the ends exactly, not through the logarithms
    if (p == 1) return upper;
    if (info.isLog) return std::exp(std::log(lower) + (std::log(upper) - std::log(lower)) * p);
    return lower + (upper - lower) * p;
}

double tuningStepped(const TuningSliderSpec& info, double value, int steps) {
    return tuningValueAt(info, tuningPosition(info, value) + kTuningStep * steps);
}

// --- Texts -----------------------------------------------------------------------------------

std::vector<std::string> tuningHelpLines(const TuningSliderSpec& info) {
    std::string about = info.about;
    if (!about.empty()) about[0] = upper(about[0]);
    std::vector<std::string> lines{about + ".", "Range " + info.format(info.range.lower) + " to " +
                                                    info.format(info.range.upper) + "; default " +
                                                    info.format(info.defaultValue) + "."};
    if (!info.up.empty()) lines.push_back("Up: " + info.up + ".");
    if (!info.down.empty()) lines.push_back("Down: " + info.down + ".");
    return lines;
}

std::string capitalizedTitle(std::string_view title) {
    std::string out(title);
    bool wordStart = true;
    for (char& c : out) {
        c = wordStart ? upper(c) : lower(c);
        wordStart = c == ' ';
    }
    return out;
}

std::string tuningEntryMessage(const TuningSliderSpec& info) {
    return "Enter a value from " + info.format(info.range.lower) + " to " + info.format(info.range.upper) + ".";
}

std::optional<double> parseTuningEntry(std::string_view text, std::string_view pattern) {
    std::string_view s = trimmed(text);
    const Conversion c = findConversion(pattern);
    std::string unit;
    if (c.begin != std::string_view::npos) appendLiteral(unit, trimmed(pattern.substr(c.end)));
    if (!unit.empty() && s.size() > unit.size() && s.substr(s.size() - unit.size()) == unit)
        s = trimmed(s.substr(0, s.size() - unit.size()));
    if (s.size() > 1 && s[0] == '+' && s[1] != '-') s.remove_prefix(1);
    std::string number(s);
    if (number.find('.') == std::string::npos) std::replace(number.begin(), number.end(), ',', '.');
    double value = 0;
    const char* end = number.data() + number.size();
    const auto parsed = std::from_chars(number.data(), end, value, std::chars_format::general);
    if (number.empty() || parsed.ec != std::errc() || parsed.ptr != end || !std::isfinite(value)) return std::nullopt;
    return value;
}

// --- The explorer's values -------------------------------------------------------------------

double readTuningTarget(const ExplorerSettings& s, const TuningTarget& target) {
    switch (target.kind) {
    case TuningTarget::Kind::frequency: return s.frequency;
    case TuningTarget::Kind::cycleOffset: return s.cycleOffset;
    case TuningTarget::Kind::animationSpeed: return s.animationSpeed;
    case TuningTarget::Kind::shading: return s.tuning.*target.shading;
    case TuningTarget::Kind::lightDirection: return lightAzimuthDegrees(s.reliefLightRawX, s.reliefLightRawY);
    case TuningTarget::Kind::lightDrama: return lightStrengthPercent(s.reliefLightRawX, s.reliefLightRawY);
    case TuningTarget::Kind::sound: return s.soundTuning.*target.sound;
    }
    return 0;
}

TuningRepaint writeTuningTarget(ExplorerSettings& s, const TuningTarget& target, double value) {
    switch (target.kind) {
    case TuningTarget::Kind::frequency:
        s.frequency = value;
        return TuningRepaint::recolour;
    case TuningTarget::Kind::cycleOffset:
        // The offset stays below one cycle; the end of the track is the last value before it.
        s.cycleOffset = value == 1.0 ? std::nextafter(1.0, 0.0) : wrapCycle(value);
        return TuningRepaint::recolour;
    case TuningTarget::Kind::animationSpeed:
        s.animationSpeed = value;
        return TuningRepaint::none;
    case TuningTarget::Kind::shading:
        s.tuning.*target.shading = value;
        return isReliefOnly(target.shading) ? TuningRepaint::relight : TuningRepaint::recolour;
    case TuningTarget::Kind::lightDirection:
        // Rotates the offset, keeping its length.
        rawLightFromAzimuth(value, lightStrengthPercent(s.reliefLightRawX, s.reliefLightRawY), s.reliefLightRawX,
                            s.reliefLightRawY);
        return TuningRepaint::relight;
    case TuningTarget::Kind::lightDrama:
        // Rescales the offset along its current direction.
        rawLightFromAzimuth(lightAzimuthDegrees(s.reliefLightRawX, s.reliefLightRawY), value, s.reliefLightRawX,
                            s.reliefLightRawY);
        return TuningRepaint::relight;
    case TuningTarget::Kind::sound:
        s.soundTuning.*target.sound = value;
        return TuningRepaint::none;
    }
    return TuningRepaint::none;
}

bool tuningOffDefaults(const ExplorerSettings& s) {
    const ExplorerSettings defaults;
    return s.tuning != defaults.tuning || s.soundTuning != defaults.soundTuning ||
           s.animationSpeed != defaults.animationSpeed;
}

void resetTuningTab(const TuningTab& tab) {
    for (const TuningSliderSpec& info : tab.sliders)
        if (info.set && (!info.isEnabled || info.isEnabled())) info.set(info.defaultValue);
}

}  // namespace gs
