// Advanced mode in the real window: sliders driven by the mouse, the help card and its closing,
// numeric entry, and a drag's recolours. What Reset does to a tab is the slider table's test. The panel's layouts are checked with
// the window's; the keyboard, the amber dot and the saved value coming back at the next start
// are the end-to-end tuning script's, and the preferences' fallbacks the library tests'.
#include <QAbstractButton>
#include <QLineEdit>

#include "library/preferences.h"
#include "ui/bracket_slider_control.h"
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
        EXPECT_EQ(panel().helpCard()->title(), QStringLiteral("SHADOW"));
        EXPECT_EQ(e.c().offeredEscapeCommands().value(0), QStringLiteral("Close Help"));
        close();
        EXPECT_FALSE(panel().helpCard());
        ASSERT_TRUE(e.settle());
    }
}

// Double click: the first press's jump is undone and the dialog asks for an exact value; a
// number outside the range is clamped. (What reads as a number is the slider table's test.)
TEST_F(Advanced, NumericEntryUndoesTheFirstPressAndClamps) {
    Slider* calm = slider("EDGE CALM");
    const double before = e.c().tuning().reliefEdgeCalm;
    press(calm, trackX(calm, 0.9));
    release(calm, trackX(calm, 0.9));
    mouse(calm, QEvent::MouseButtonDblClick, {trackX(calm, 0.9), 12}, Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(e.c().tuning().reliefEdgeCalm, before);
    auto* dialog = e.c().findChild<TuningEntryDialog*>();
    ASSERT_TRUE(dialog && dialog->isVisible());
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

// A stored tuning that would make the colouring produce no number is not applied: the window
// starts from the defaults.
TEST(Preferences, AStoredTuningThatCannotColourFallsBackToTheDefaults) {
    ShadingTuning bad;
    bad.trapSharpness = -1;
    clearPreferences();
    PreferencesStore().save({true, 0.5, bad, SoundTuning{}});
    Explorer e;
    EXPECT_EQ(e.c().tuning(), ShadingTuning{});
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
