// Sound mode through the window: its switch and what it turns on and off, its tick, the Sound
// toggle and its full-screen copy, the level meter beside it, the input menu, and the tooltip
// that says why listening failed.
#include <QToolButton>

#include "fake_microphone.h"
#include "library/preferences.h"
#include "sound/audio_capture.h"
#include "ui/bracket_controls.h"
#include "ui/julia_view.h"
#include "ui/sound_controls.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

struct SoundControls : ::testing::Test {
    ClearedPreferences cleared;
    FakeMicrophone* microphone = new FakeMicrophone;
    Explorer e{std::unique_ptr<AudioInput>(microphone)};
    QWidget* row = e.c().findChild<QWidget*>("soundRow");
    BracketToggleControl* toggle = row->findChild<BracketToggleControl*>();
    BracketToggleControl* copy = e.c().findChild<BracketToggleControl*>("fullScreen Sound");
    SoundLevelMeter* meter = row->findChild<SoundLevelMeter*>();
    QMenu* menu = row->findChild<QToolButton*>("soundInputButton")->menu();

    // The menu as it opens, a check mark before the chosen entry.
    QStringList openMenu() {
        Q_EMIT menu->aboutToShow();
        QStringList shown;
        for (const QAction* a : menu->actions())
            if (!a->isSeparator()) shown << (a->isChecked() ? "✓ " : "") + a->text();
        return shown;
    }
    void choose(const QString& text) {
        for (QAction* a : menu->actions())
            if (a->text() == text) a->trigger();
    }
    // Two ticks a tenth of a second apart while a loud tone plays.
    void playTone() {
        double now = 0;
        e.c().animationNow = [&] { return now; };
        microphone->playLoudTone();
        e.c().animationTick();
        now = 0.1;
        e.c().animationTick();
        e.c().animationNow = nullptr;
    }
};

// On, sound mode lights glow and relief (a random palette under relief turns smooth), checks both
// toggles and shows the meter; its tick moves the sound's terms instead of the
// palette, in the Julia picture too. Off puts glow and relief back as they were.
TEST_F(SoundControls, OnListensLightsTheShadingsAndMovesTheColoursOffRestoresThem) {
    e.c().toggleGlow();  // glow on, relief off
    e.c().useRandomColors();
    toggle->click();
    ASSERT_TRUE(e.c().soundEnabled());
    EXPECT_TRUE(e.c().glowEnabled() && e.c().reliefEnabled() && e.c().animationTimerRunning());
    EXPECT_EQ(e.c().paletteMode(), PaletteMode::smooth);
    QCoreApplication::processEvents();
    EXPECT_TRUE(toggle->isChecked() && copy->isChecked() && meter->isVisible());

    // The Julia picture is computed and recoloured on its own worker, which settle() does not
    // wait for.
    JuliaView* julia = e.c().juliaView();
    ASSERT_TRUE(e.settle() && waitFor([&] { return !julia->isComputing(); }));
    const QImage juliaBefore = julia->makeImage().copy();  // the view paints over its own
    playTone();
    EXPECT_GT(meter->level(), 0.5);
    EXPECT_EQ(e.c().cycleOffset(), 0.0);
    const SoundState& state = e.c().soundState();  // the tone has a pitch
    EXPECT_TRUE(state.soundVolumeDisplacement > 0.0 && state.soundHueAnchorShift != 0.0);
    EXPECT_TRUE(waitFor([&] { return julia->makeImage() != juliaBefore; }));
    ASSERT_TRUE(e.settle());

    copy->click();
    EXPECT_FALSE(e.c().soundEnabled() || e.c().reliefEnabled() || e.c().animationTimerRunning());
    EXPECT_TRUE(e.c().glowEnabled());
    EXPECT_FALSE(toggle->isChecked() || copy->isChecked() || meter->isVisible());
    EXPECT_EQ(meter->level(), 0.0);
    ASSERT_TRUE(e.settle());
}

// A random palette under relief already on stays as it is. Animate and Reset All end sound mode.
TEST_F(SoundControls, ARandomPaletteUnderReliefStaysAndAnimateAndResetAllSwitchItOff) {
    e.c().toggle3DRelief();
    e.c().useRandomColors();
    const auto table = e.c().colorTable();
    for (const auto& end : std::vector<std::function<void()>>{[&] { e.c().toggleAnimateColors(); },
                                                              [&] { e.c().resetAll(); }}) {
        if (e.c().animateColorsEnabled()) e.c().toggleAnimateColors();
        e.c().switchSoundMode(true);
        ASSERT_TRUE(e.c().soundEnabled());
        EXPECT_EQ(e.c().colorTable(), table);
        end();
        EXPECT_FALSE(e.c().soundEnabled());
    }
    EXPECT_FALSE(e.c().animationTimerRunning());
}

// A failed start changes nothing and says why until the next start succeeds. (A lost input, its
// message and the toggle going off are the end-to-end sound script's.)
TEST_F(SoundControls, AFailedStartChangesNothingAndTheTooltipSaysWhySoundIsOff) {
    microphone->fail = true;
    e.c().toggleSoundAction();
    EXPECT_FALSE(toggle->isChecked() || e.c().soundEnabled() || e.c().glowEnabled());
    EXPECT_FALSE(e.c().animationTimerRunning());
    for (const QWidget* control : {static_cast<QWidget*>(toggle), static_cast<QWidget*>(copy)})
        EXPECT_TRUE(control->toolTip().startsWith("No microphone or other audio input was found.\n"));
    microphone->fail = false;
    e.c().toggleSoundAction();
    EXPECT_EQ(toggle->toolTip(), "Listening (Ctrl+Shift+M)");
}

// The menu lists the inputs afresh, remembers a choice and listens to it at once; an input
// that cannot be opened ends sound mode.
TEST_F(SoundControls, TheInputMenuChoosesRemembersAndRestartsListening) {
    QList<AudioInputChoice> inputs{{"mic.usb", "USB Microphone"}};
    e.c().listSoundInputs = [&] { return inputs; };
    EXPECT_EQ(openMenu().size(), 2);
    inputs.append(AudioInputChoice{"mic.pci", "Built-in Audio & Line"});
    EXPECT_EQ(openMenu(), QStringList({"✓ System Default", "USB Microphone", "Built-in Audio && Line"}));

    e.c().switchSoundMode(true);
    choose("Built-in Audio && Line");
    EXPECT_EQ(PreferencesStore().soundInputDevice(), "mic.pci");
    EXPECT_TRUE(microphone->starts == 2 && e.c().soundEnabled());
    EXPECT_EQ(openMenu(), QStringList({"System Default", "USB Microphone", "✓ Built-in Audio && Line"}));

    microphone->fail = true;
    choose("USB Microphone");
    EXPECT_FALSE(e.c().soundEnabled());
    EXPECT_TRUE(toggle->toolTip().startsWith("No microphone"));
    ASSERT_TRUE(e.settle());
}

}  // namespace
}  // namespace gs::test
