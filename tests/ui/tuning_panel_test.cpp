// Advanced mode in the real window: sliders driven by mouse, keyboard and assistive
// technologies, what a change does to the picture, the preferences and the amber dot, the reset
// label, the help card and its closing, and numeric entry. The panel's layouts are checked
// with the window's.
#include <QAbstractButton>
#include <QAccessible>
#include <QLineEdit>
#include <cmath>

#include "library/preferences.h"
#include "ui/advanced_mode_tag.h"
#include "ui/bracket_slider_control.h"
#include "ui/julia_view.h"
#include "ui/tuning_entry_dialog.h"
#include "ui/tuning_help_card.h"
#include "ui/tuning_panel_view.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

using Slider = BracketSliderControl;

// The explorer from the default preferences, in advanced mode.
struct Advanced : ::testing::Test {
    ClearedPreferences cleared;
    Explorer e;
    TuningPanelView& panel() { return *e.c().tuningPanel(); }
    void SetUp() override {
        e.c().handleModeTagTap();
        ASSERT_TRUE(e.c().isAdvancedMode());
        ASSERT_TRUE(e.settle());
    }
    // The slider titled `title`, after selecting its tab.
    Slider* slider(const char* title) {
        for (int t = 0; t < static_cast<int>(panel().tabs().size()); ++t)
            for (const TuningSliderSpec& info : panel().tabs()[static_cast<std::size_t>(t)].sliders)
                if (info.title == title) {
                    panel().selectTab(t);
                    for (Slider* s : panel().sliders())
                        if (s->info().title == title) return s;
                }
        ADD_FAILURE() << "no slider " << title;
        return nullptr;
    }
    bool dotShown() { return e.c().modeTag()->isDotShown(); }
};

double trackX(Slider* s, double position) { return Slider::kTrackStart + position * s->trackLength(); }

void press(QWidget* w, double x) { mouse(w, QEvent::MouseButtonPress, {x, w->height() / 2.0}, Qt::LeftButton, Qt::LeftButton); }
void release(QWidget* w, double x) { mouse(w, QEvent::MouseButtonRelease, {x, w->height() / 2.0}, Qt::LeftButton, Qt::NoButton); }

// A press on the track, within 10 points of its ends, takes the value there; a press further
// left asks for help and changes nothing; a drag follows the pointer absolutely.
TEST_F(Advanced, PressesAndDragsMapTheTrackAbsolutely) {
    Slider* frequency = slider("FREQUENCY");
    ASSERT_TRUE(frequency);
    press(frequency, trackX(frequency, 0.5));
    EXPECT_NEAR(e.c().frequency(), 0.894427191, 1e-9);
    mouse(frequency, QEvent::MouseMove, {trackX(frequency, 1.5), 12}, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(e.c().frequency(), 8.0);
    release(frequency, trackX(frequency, 1.5));
    press(frequency, Slider::kTrackStart - 9);  // inside the margin: the lower end
    release(frequency, Slider::kTrackStart - 9);
    EXPECT_TRUE(e.c().frequency() == 0.1 && !panel().helpCard());
    press(frequency, Slider::kTrackStart - 11);
    EXPECT_EQ(e.c().frequency(), 0.1);
    EXPECT_EQ(panel().helpCard() ? panel().helpCard()->title() : QString(), QStringLiteral("FREQUENCY"));
    // The window goes away with the card open: hiding the panel then must not call back into the
    // half-destroyed window (caught by the sanitizer build).
    e.window.reset();
}

// The step's size is the slider table's test; here the keys and assistive technologies reach it.
TEST_F(Advanced, KeyboardAndAccessibilityStepTheSlider) {
    Slider* frequency = slider("FREQUENCY");
    ASSERT_TRUE(frequency);
    QTest::keyClick(frequency, Qt::Key_Right);
    EXPECT_NEAR(e.c().frequency(), 2.0 * std::pow(80.0, 0.05), 1e-12);
    QAccessibleInterface* a = QAccessible::queryAccessibleInterface(frequency);
    ASSERT_TRUE(a && a->valueInterface() && a->actionInterface() && a->role() == QAccessible::Slider);
    a->actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
    a->actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
    EXPECT_NEAR(e.c().frequency(), 2.0 / std::pow(80.0, 0.05), 1e-12);
    EXPECT_EQ(a->text(QAccessible::Value), QStringLiteral("1.61"));
}

// The values of a tab whose effect is off still change, are applied to both views and saved,
// and once back in standard mode the amber dot says so.
TEST_F(Advanced, ASliderOfATabWhoseEffectIsOffChangesSavesAndLightsTheDot) {
    ASSERT_FALSE(e.c().glowEnabled());
    Slider* strength = slider("STRENGTH");
    EXPECT_FALSE(panel().tabButton(panel().selectedIndex())->toolTip().isEmpty());  // says glow is off
    QTest::keyClick(strength, Qt::Key_End);
    EXPECT_EQ(e.c().tuning().glowStrength, 2.0);
    EXPECT_TRUE(e.view().tuning == e.c().tuning() && e.c().juliaView()->tuning == e.c().tuning());
    EXPECT_EQ(PreferencesStore().load().shadingTuning->glowStrength, 2.0);
    EXPECT_FALSE(dotShown());  // hidden while the panel is open
    e.c().handleModeTagTap();
    EXPECT_FALSE(PreferencesStore().load().advancedMode);
    EXPECT_TRUE(dotShown());
    e.c().resetAll();
    EXPECT_FALSE(dotShown());
}

// Reset acts on the selected tab's enabled sliders: SPEED keeps its value while Animate is off.
TEST_F(Advanced, ResetLeavesOtherTabsAndADisabledSpeed) {
    e.c().toggleAnimateColors();
    QTest::keyClick(slider("SPEED"), Qt::Key_End);
    e.c().toggleAnimateColors();
    Slider* speed = slider("SPEED");
    EXPECT_FALSE(speed->isSliderEnabled());
    QTest::keyClick(speed, Qt::Key_Home);  // refused while disabled
    press(speed, trackX(speed, 0.0));
    EXPECT_EQ(e.c().animationSpeed(), 1.0);
    QTest::keyClick(slider("TINT"), Qt::Key_End);
    QTest::keyClick(slider("CURVE"), Qt::Key_End);
    panel().resetControl()->click();
    EXPECT_EQ(std::tuple(e.c().tuning().curve, e.c().tuning().glowTint, e.c().animationSpeed()),
              std::tuple(1.0, 1.0, 1.0));
    EXPECT_EQ(PreferencesStore().load().shadingTuning->curve, 1.0);
}

// The card explains the slider whose name was pressed; Escape closes it first, and so does
// every gesture that begins on the picture.
TEST_F(Advanced, HelpCardClosesWithEscapeAndThePictureGestures) {
    MandelbrotView& v = e.view();
    const std::vector<std::pair<const char*, std::function<void()>>> closers = {
        {"Escape", [&] { EXPECT_TRUE(e.c().handleEscape()); }},
        {"palette shift", [&] { v.onPaletteShiftBegan(); }},
        {"frequency shift", [&] { v.onFrequencyShiftBegan(); }},
        {"history", [&] { v.onZoomHistoryBackRequested(); }},
        {"new palette", [&] { v.onColorCycleRequested(); }},
        {"selection", [&] { v.onSelectionChanged(std::nullopt); }},
        {"zoom", [&] { v.onZoomRequested(RectF{10, 10, 40, 30}); }},
    };
    for (const auto& [name, close] : closers) {
        SCOPED_TRACE(name);
        Slider* shadow = slider("SHADOW");
        press(shadow, 4);
        ASSERT_TRUE(panel().helpCard());
        EXPECT_EQ(panel().helpCard()->lines().value(1), QStringLiteral("Range -0.30 to +0.30; default +0.00."));
        EXPECT_EQ(e.c().offeredEscapeCommands().value(0), QStringLiteral("Close Help"));
        close();
        EXPECT_FALSE(panel().helpCard());
        ASSERT_TRUE(e.settle());
    }
}

// Double click: the first press's jump is undone and the dialog asks for an exact value; text
// that is not a number keeps it open, a number outside the range is clamped.
TEST_F(Advanced, NumericEntryClampsAndRefusesText) {
    Slider* calm = slider("EDGE CALM");
    const double before = e.c().tuning().reliefEdgeCalm;
    press(calm, trackX(calm, 0.9));
    release(calm, trackX(calm, 0.9));
    mouse(calm, QEvent::MouseButtonDblClick, {trackX(calm, 0.9), 12}, Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(e.c().tuning().reliefEdgeCalm, before);
    auto* dialog = e.c().findChild<TuningEntryDialog*>();
    ASSERT_TRUE(dialog && dialog->isVisible());
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Edge Calm"));
    dialog->field()->setText(QStringLiteral("soft"));
    EXPECT_TRUE(!dialog->submit() && dialog->isVisible());
    EXPECT_EQ(e.c().tuning().reliefEdgeCalm, before);
    dialog->field()->setText(QStringLiteral("9"));
    EXPECT_TRUE(dialog->submit() && !dialog->isVisible());
    EXPECT_EQ(std::pair(e.c().tuning().reliefEdgeCalm, calm->current()), std::pair(1.4, 1.4));
}

// Every slider event of a drag arriving in one pass of the event loop makes one recolour.
TEST_F(Advanced, ABurstOfDragStepsIsOneRecolour) {
    e.c().toggleDistanceEstimation();
    e.c().toggleGlow();
    e.c().toggleOrbitTraps();
    e.c().toggle3DRelief();
    ASSERT_TRUE(e.settle());
    int recolours = 0;
    e.view().onImageUpdated = [&](const QImage&) { ++recolours; };
    Slider* curve = slider("CURVE");
    press(curve, trackX(curve, 0.1));
    for (int i = 2; i <= 20; ++i)
        mouse(curve, QEvent::MouseMove, {trackX(curve, i / 20.0), 12}, Qt::NoButton, Qt::LeftButton);
    release(curve, trackX(curve, 1.0));
    ASSERT_TRUE(e.settle());
    EXPECT_EQ(recolours, 1);
    EXPECT_EQ(e.view().tuning.curve, 2.5);
}

// Stored preferences apply before the first picture, a stored tuning that would make the
// colouring produce no number falls back whole, and Reset All writes the defaults, but not the
// mode.
TEST(Preferences, LoadBeforeTheFirstPictureAndResetAllWritesTheDefaults) {
    ShadingTuning good, bad;
    good.curve = 1.5;
    bad.trapSharpness = -1;
    SoundTuning sound;
    sound.spin = 0.3;
    for (const ShadingTuning& stored : {good, bad}) {
        clearPreferences();
        PreferencesStore().save({true, 0.5, stored, sound});
        Explorer e;
        const ShadingTuning shown = stored == bad ? ShadingTuning{} : stored;
        EXPECT_TRUE(e.c().isAdvancedMode() && e.c().animationSpeed() == 0.5);
        for (const ShadingTuning& t : {e.c().tuning(), e.view().tuning, e.c().juliaView()->tuning})
            EXPECT_EQ(t, shown);
        EXPECT_EQ(e.c().settings().soundTuning, sound);
        e.c().resetAll();
        const LoadedPreferences after = PreferencesStore().load();
        EXPECT_TRUE(after.advancedMode && after.animationSpeed == 0.12 && after.soundTuning == SoundTuning{});
        EXPECT_EQ(after.shadingTuning, ShadingTuning{});
    }
    clearPreferences();
}

TEST_F(Advanced, AccessorsHoldTheControllerWeakly) {
    std::vector<TuningTab> tabs = e.c().buildTuningTabs();
    e.window.reset();
    const TuningSliderSpec& curve = tabs[0].sliders[3];
    EXPECT_EQ(curve.get(), 1.0);  // the slider's default
    curve.set(2.0);               // nothing to set
    EXPECT_FALSE(tabs[0].isModeOn());
}

}  // namespace
}  // namespace gs::test
