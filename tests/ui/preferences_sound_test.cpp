// The window's preferences (loaded before the first picture, saved by Reset All) and sound mode
// (its switch, its tick and every caller that ends it).
#include "fake_microphone.h"
#include "library/preferences.h"
#include "library/tuning_json.h"
#include "sound/sound_analyzer.h"
#include "ui/julia_view.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

TEST(Preferences, LoadBeforeTheFirstPictureAndResetAllWritesTheDefaults) {
    clearPreferences();
    ShadingTuning stored;
    stored.curve = 1.5;
    SoundTuning sound;
    sound.spin = 0.3;
    PreferencesStore().save({true, 0.5, stored, sound});

    Explorer e;
    EXPECT_TRUE(e.c().isAdvancedMode());
    EXPECT_EQ(e.c().animationSpeed(), 0.5);
    EXPECT_EQ(e.c().tuning(), stored);
    EXPECT_EQ(e.view().tuning, stored);
    EXPECT_EQ(e.c().juliaView()->tuning, stored);
    EXPECT_EQ(e.c().settings().soundTuning, sound);

    e.c().resetAll();
    const LoadedPreferences after = PreferencesStore().load();
    EXPECT_TRUE(after.advancedMode);  // not one of Reset All's values
    EXPECT_EQ(after.animationSpeed, 0.12);
    EXPECT_EQ(after.shadingTuning, ShadingTuning{});
    EXPECT_EQ(after.soundTuning, SoundTuning{});
    clearPreferences();
}

// A stored tuning that would make the colouring produce no number falls back whole.
TEST(Preferences, ATuningThatCannotColourFallsBackToTheDefaults) {
    clearPreferences();
    ShadingTuning bad;
    bad.trapSharpness = -1;
    PreferencesStore().save({false, 0.12, bad, SoundTuning{}});
    Explorer e;
    EXPECT_EQ(e.c().tuning(), ShadingTuning{});
    clearPreferences();
}

struct SoundMode : ::testing::Test {
    FakeMicrophone* microphone = new FakeMicrophone;
    Explorer e{std::unique_ptr<AudioInput>(microphone)};
};

TEST_F(SoundMode, OnTurnsGlowAndReliefOnAndOffRestoresThem) {
    e.c().toggleGlow();  // glow was on, relief off
    e.c().useRandomColors();
    e.c().toggleSoundAction();
    ASSERT_TRUE(e.c().soundEnabled());
    EXPECT_TRUE(e.c().glowEnabled());
    EXPECT_TRUE(e.c().reliefEnabled());
    EXPECT_EQ(e.c().paletteMode(), PaletteMode::smooth);  // relief came on over a random palette
    EXPECT_TRUE(e.c().animationTimerRunning());
    e.c().toggleSoundAction();
    EXPECT_FALSE(e.c().soundEnabled());
    EXPECT_TRUE(e.c().glowEnabled());
    EXPECT_FALSE(e.c().reliefEnabled());
    EXPECT_FALSE(e.c().animationTimerRunning());
}

TEST_F(SoundMode, ARandomPaletteUnderReliefAlreadyOnStaysRandom) {
    e.c().toggle3DRelief();
    e.c().useRandomColors();
    const auto table = e.c().colorTable();
    e.c().switchSoundMode(true);
    EXPECT_EQ(e.c().paletteMode(), PaletteMode::random);
    EXPECT_EQ(e.c().colorTable(), table);
}

// Animate, Reset All and a lost microphone each end sound mode.
TEST_F(SoundMode, EveryOtherCallerSwitchesItOff) {
    const std::vector<std::function<void()>> enders = {
        [&] { e.c().toggleAnimateColors(); },
        [&] { e.c().resetAll(); },
        [&] { microphone->lost(); QCoreApplication::processEvents(); },
    };
    for (const auto& end : enders) {
        if (e.c().animateColorsEnabled()) e.c().toggleAnimateColors();
        e.c().switchSoundMode(true);
        ASSERT_TRUE(e.c().soundEnabled());
        end();
        ASSERT_TRUE(waitFor([&] { return !e.c().soundEnabled(); }));
    }
    EXPECT_TRUE(e.c().animateColorsEnabled() || !e.c().animationTimerRunning());
}

// While listening the tick moves the sound terms, never the cycle offset.
TEST_F(SoundMode, TheTickFeedsTheSoundMappingInsteadOfThePalette) {
    double now = 0;
    e.c().animationNow = [&] { return now; };
    e.c().switchSoundMode(true);
    microphone->playLoudTone();
    e.c().animationTick();  // sets the time mark
    now = 0.2;
    e.c().animationTick();
    EXPECT_EQ(e.c().cycleOffset(), 0.0);
    EXPECT_GT(e.c().soundState().soundVolumeDisplacement, 0.0);
    EXPECT_NE(e.c().soundState().soundHueAnchorShift, 0.0);  // the tone has a pitch
    ASSERT_TRUE(e.settle());
}

}  // namespace
}  // namespace gs::test
