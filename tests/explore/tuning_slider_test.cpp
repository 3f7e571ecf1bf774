// The tuning sliders without a window: the table's values, the value formats under any locale,
// the help cards, the track mapping, numeric entry, and how the sliders read and write the
// explorer's settings.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>
#include <set>
#include <stdexcept>

#include "explore/tuning_slider.h"

namespace gs {
namespace {

const std::vector<TuningTab> kTabs = tuningTable();

const TuningSliderSpec& find(std::string_view title) {
    for (const TuningTab& tab : kTabs)
        for (const TuningSliderSpec& info : tab.sliders)
            if (info.title == title) return info;
    throw std::runtime_error("no slider " + std::string(title));
}

// Every slider: a value of its own to edit, a range its scale can map, a default inside it that
// a fresh explorer holds (the light's two views to display precision), help texts, and a format
// the entry reads back.
TEST(TuningTable, EverySliderIsConsistent) {
    const ExplorerSettings fresh;
    std::set<std::string> titles;
    std::vector<TuningTarget> edited;
    for (const TuningTab& tab : kTabs) {
        for (const TuningSliderSpec& s : tab.sliders) {
            SCOPED_TRACE(s.title);
            titles.insert(s.title);
            for (const TuningTarget& t : edited)
                EXPECT_FALSE(t.kind == s.target.kind && t.shading == s.target.shading && t.sound == s.target.sound);
            edited.push_back(s.target);
            EXPECT_TRUE(s.range.lower < s.range.upper && (!s.isLog || s.range.lower > 0));
            EXPECT_TRUE(s.defaultValue >= s.range.lower && s.defaultValue <= s.range.upper);
            const bool light = s.title == "DIRECTION" || s.title == "DRAMA";
            EXPECT_NEAR(readTuningTarget(fresh, s.target), s.defaultValue, light ? 1e-3 : 0);
            EXPECT_FALSE(s.about.empty() || s.up.empty() || s.down.empty());
            EXPECT_EQ(parseTuningEntry(s.format(s.range.upper), s.formatPattern), s.range.upper);
        }
    }
    EXPECT_EQ(titles.size(), edited.size());  // titles are unique
}

// Formats agree with printf in the C locale on rounding and signs, and stay so under a
// comma-decimal locale.
TEST(TuningFormat, AgreesWithPrintfInTheCLocaleUnderAnyLocale) {
    const double values[] = {0.0, -0.0, 0.125, 0.135, 2.675, -0.005, 0.005, 0.5, 1.5, 2.5, 58.82296529141268,
                             359.6, 1e-9, -0.3, 0.3, 8.0, 1234567.891, -2.0};
    std::set<std::string> patterns;
    for (const TuningTab& tab : kTabs)
        for (const TuningSliderSpec& s : tab.sliders) patterns.insert(s.formatPattern);
    std::vector<std::string> expected;  // printf's texts
    for (const std::string& pattern : patterns)
        for (double v : values) {
            char text[64];
            std::snprintf(text, sizeof text, pattern.c_str(), v);
            expected.emplace_back(text);
        }
    const bool german = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    std::size_t i = 0;
    for (const std::string& pattern : patterns)
        for (double v : values) EXPECT_EQ(formatTuningValue(pattern, v), expected[i++]) << pattern << " " << v;
    std::setlocale(LC_ALL, "C");
    if (!german) GTEST_SKIP() << "de_DE.UTF-8 is not installed; checked in the C locale only";
}

TEST(TuningHelpCard, FourLinesInTheSlidersOwnFormat) {
    EXPECT_EQ(tuningHelpLines(find("SHADOW")),
              (std::vector<std::string>{"How dark the shaded side gets.", "Range -0.30 to +0.30; default +0.00.",
                                        "Up: lighter shadows.", "Down: deeper shadows."}));
    EXPECT_EQ(tuningHelpLines(find("DRAMA"))[1], "Range 0% to 100%; default 59%.");
    TuningSliderSpec bare = find("HEIGHT");
    bare.up.clear();
    bare.down.clear();
    EXPECT_EQ(tuningHelpLines(bare),
              (std::vector<std::string>{"How tall the terrain looks.", "Range 0.25× to 3.00×; default 1.00×."}));
}

struct TrackCase {
    const char* title;
    double value;
    double position;
    double tolerance;
};

// value -> position, and back where the value lies inside the range.
TEST(TuningTrack, MapsValuesToPositionsAndBack) {
    const TrackCase cases[] = {
        {"FREQUENCY", 0.894427191, 0.5, 1e-9},  // half travel is the geometric mean
        {"FREQUENCY", 0.05, 0.0, 0},            // under a logarithmic slider's lower end
        {"THICKNESS", 2.0, 0.5, 1e-15},
        {"DRAMA", 150.0, 1.0, 0},
    };
    for (const TrackCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.title << " " << c.value);
        const TuningSliderSpec& s = find(c.title);
        EXPECT_NEAR(tuningPosition(s, c.value), c.position, c.tolerance);
        if (c.value >= s.range.lower && c.value <= s.range.upper) {
            EXPECT_NEAR(tuningValueAt(s, c.position), c.value, std::max(c.tolerance * 10, 1e-12) * s.range.upper);
        }
    }
    EXPECT_EQ(tuningPosition(find("CURVE"), std::nan("")), 0.0);
}

TEST(TuningTrack, StepsAreATwentiethOfTheTravelAndGeometricOnLogSliders) {
    const TuningSliderSpec& frequency = find("FREQUENCY");
    const double ratio = std::pow(80.0, kTuningStep);
    EXPECT_NEAR(tuningStepped(frequency, 2.0, 1), 2.0 * ratio, 1e-12);
    EXPECT_NEAR(tuningStepped(frequency, 2.0, -2), 2.0 / ratio / ratio, 1e-12);
    EXPECT_EQ(tuningStepped(frequency, 7.9, 1), 8.0);  // held at the end
    EXPECT_NEAR(tuningStepped(find("DIRECTION"), 225, -1), 207, 1e-12);
}

TEST(TuningEntry, TitleMessageAndWhatIsANumber) {
    EXPECT_EQ(capitalizedTitle("EDGE CALM"), "Edge Calm");
    EXPECT_EQ(tuningEntryMessage(find("FREQUENCY")), "Enter a value from 0.10 to 8.00.");
    EXPECT_EQ(tuningEntryMessage(find("SHADOW")), "Enter a value from -0.30 to +0.30.");
    const struct {
        const char* text;
        const char* pattern;
        std::optional<double> value;
    } cases[] = {
        {"2.5", "%.2f", 2.5},       {" +0,75 ", "%.2f", 0.75}, {"-0.3", "%+.2f", -0.3},
        {"59%", "%.0f%%", 59.0},    {"225 °", "%.0f°", 225.0},  {"1.5×", "%.2f×", 1.5},
        {"0.2/s", "%.2f/s", 0.2},   {"1e-1", "%.2f", 0.1},      {"abc", "%.2f", {}},
        {"", "%.2f", {}},           {"%", "%.0f%%", {}},        {"nan", "%.2f", {}},
        {"inf", "%.2f", {}},        {"1e400", "%.2f", {}},      {"2.5.1", "%.2f", {}},
        {"1,000.5", "%.2f", {}},    {"+-1", "%.2f", {}},        {"3 4", "%.2f", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(parseTuningEntry(c.text, c.pattern), c.value) << c.text;
}

// The light sliders are two views of the raw light position.
TEST(TuningSettings, DirectionAndDramaRotateAndRescaleTheLightOffset) {
    const TuningTarget direction = find("DIRECTION").target, drama = find("DRAMA").target;
    ExplorerSettings s;
    EXPECT_NEAR(readTuningTarget(s, direction), 225.0, 1e-12);
    EXPECT_NEAR(readTuningTarget(s, drama), 58.8235, 1e-4);
    const double length = std::hypot(s.reliefLightRawX, s.reliefLightRawY);
    EXPECT_EQ(writeTuningTarget(s, direction, 90), TuningRepaint::relight);
    EXPECT_NEAR(s.reliefLightRawX, 0, 1e-12);
    EXPECT_NEAR(s.reliefLightRawY, length, 1e-12);
    writeTuningTarget(s, drama, 25);
    EXPECT_NEAR(s.reliefLightRawY, 0.25 * kLongestLightOffset, 1e-12);
    EXPECT_NEAR(readTuningTarget(s, direction), 90, 1e-9);
    s.reliefLightRawX = s.reliefLightRawY = -3;  // a drag can take the raw pair past the clamp
    EXPECT_EQ(readTuningTarget(s, drama), 100.0);
}

TEST(TuningSettings, EachValueAsksForTheRepaintItNeeds) {
    ExplorerSettings s;
    const std::pair<const char*, TuningRepaint> cases[] = {
        {"FREQUENCY", TuningRepaint::recolour}, {"CURVE", TuningRepaint::recolour},
        {"THICKNESS", TuningRepaint::recolour}, {"HEIGHT", TuningRepaint::relight},
        {"EDGE CALM", TuningRepaint::relight},  {"SPEED", TuningRepaint::none},
        {"RESPONSE", TuningRepaint::none},
    };
    for (const auto& [title, repaint] : cases) {
        const TuningTarget& t = find(title).target;
        EXPECT_EQ(writeTuningTarget(s, t, 0.5), repaint) << title;
        EXPECT_EQ(readTuningTarget(s, t), 0.5) << title;
    }
    writeTuningTarget(s, find("PHASE").target, 1.0);  // the offset stays below one cycle
    EXPECT_LT(s.cycleOffset, 1.0);
    EXPECT_EQ(find("PHASE").format(s.cycleOffset), "1.00");
}

TEST(TuningSettings, OffDefaultsIgnoresFrequencyPhaseAndLight) {
    ExplorerSettings s;
    s.frequency = 5;
    s.cycleOffset = 0.4;
    s.reliefLightRawX = 0.3;
    EXPECT_FALSE(tuningOffDefaults(s));
    for (auto change : std::vector<std::function<void(ExplorerSettings&)>>{
             [](ExplorerSettings& e) { e.tuning.reliefEdgeCalm = 0.6; },  // the double, not the float
             [](ExplorerSettings& e) { e.soundTuning.spin = 0.2; },
             [](ExplorerSettings& e) { e.animationSpeed = 0.5; }}) {
        ExplorerSettings changed;
        change(changed);
        EXPECT_TRUE(tuningOffDefaults(changed));
    }
}

TEST(TuningReset, SetsEnabledSlidersToTheirDefaultsAndKeepsDisabledOnes) {
    std::vector<TuningTab> tabs = tuningTable();
    TuningTab& color = tabs[0];
    ExplorerSettings s;
    s.frequency = 5;
    s.animationSpeed = 0.5;
    s.tuning.curve = 2;
    bool animating = false;
    for (TuningSliderSpec& info : color.sliders) {
        info.set = [&s, t = info.target](double v) { writeTuningTarget(s, t, v); };
        info.isEnabled = [&animating, speed = info.title == "SPEED"] { return !speed || animating; };
    }
    resetTuningTab(color);
    EXPECT_EQ(s.frequency, 2.0);
    EXPECT_EQ(s.tuning.curve, 1.0);
    EXPECT_EQ(s.animationSpeed, 0.5);  // SPEED was disabled
    animating = true;
    resetTuningTab(color);
    EXPECT_EQ(s.animationSpeed, 0.12);
}

}  // namespace
}  // namespace gs
