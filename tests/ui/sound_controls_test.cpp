// Sound mode's controls: the Sound toggle and its full-screen copy, the level meter beside it,
// the input menu, and the tooltip that says why listening failed or stopped.
#include <QMenu>
#include <QSettings>
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

struct ClearedPreferences {
    ClearedPreferences() {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, "glimmerscape", "glimmerscape").clear();
    }
};

struct SoundControls : ::testing::Test {
    ClearedPreferences cleared;
    FakeMicrophone* microphone = new FakeMicrophone;
    Explorer e{std::unique_ptr<AudioInput>(microphone)};
    double now = 0;

    template <typename T>
    T* find(const char* name) {
        T* w = e.c().findChild<T*>(QLatin1String(name));
        EXPECT_TRUE(w) << name;
        return w;
    }
    BracketToggleControl* toggle() {
        for (auto* t : find<QWidget>("soundRow")->findChildren<BracketToggleControl*>())
            if (t->text() == QLatin1String("Sound")) return t;
        return nullptr;
    }
    BracketToggleControl* copy() { return find<BracketToggleControl>("fullScreen Sound"); }
    SoundLevelMeter* meter() { return find<SoundLevelMeter>("soundLevelMeter"); }
    QMenu* inputMenu() { return find<QToolButton>("soundInputButton")->menu(); }
    // The menu as it opens: its entries, a check mark before the chosen one.
    QStringList openMenu() {
        Q_EMIT inputMenu()->aboutToShow();
        QStringList shown;
        for (const QAction* a : inputMenu()->actions())
            if (!a->isSeparator()) shown << (a->isChecked() ? "✓ " : "") + a->text();
        return shown;
    }
    void choose(const QString& text) {
        Q_EMIT inputMenu()->aboutToShow();
        for (QAction* a : inputMenu()->actions())
            if (a->text() == text) return a->trigger();
        ADD_FAILURE() << "no entry " << text.toStdString();
    }
    // Two ticks with a loud tone playing.
    void playToneForATick() {
        e.c().animationNow = [this] { return now; };
        microphone->playLoudTone();
        e.c().animationTick();
        now += 0.1;
        e.c().animationTick();
    }
};

TEST_F(SoundControls, BothTogglesShowListeningAndTheMeterAppearsWithoutMovingAnything) {
    const QWidget* row = find<QWidget>("soundRow");
    const QRect rowAt = row->geometry(), toggleAt = toggle()->geometry();
    EXPECT_FALSE(meter()->isVisible());
    toggle()->click();
    ASSERT_TRUE(e.c().soundEnabled());
    QCoreApplication::processEvents();
    EXPECT_TRUE(toggle()->isChecked());
    EXPECT_TRUE(copy()->isChecked());
    EXPECT_TRUE(meter()->isVisible());
    EXPECT_EQ(row->geometry(), rowAt);
    EXPECT_EQ(toggle()->geometry(), toggleAt);
    EXPECT_TRUE(row->rect().contains(meter()->geometry()));
    EXPECT_FALSE(meter()->geometry().intersects(toggle()->geometry()));

    copy()->click();
    EXPECT_FALSE(e.c().soundEnabled());
    EXPECT_FALSE(toggle()->isChecked());
    EXPECT_FALSE(copy()->isChecked());
    EXPECT_FALSE(meter()->isVisible());
}

TEST_F(SoundControls, TheMeterFollowsTheLoudnessAndEmptiesWhenSoundStops) {
    e.c().switchSoundMode(true);
    playToneForATick();
    EXPECT_GT(meter()->level(), 0.5);
    e.c().switchSoundMode(false);
    EXPECT_EQ(meter()->level(), 0.0);
    ASSERT_TRUE(e.settle());
}

// A failed start says why until the next start succeeds; a lost input says it went away.
TEST_F(SoundControls, TheTooltipSaysWhySoundIsOff) {
    microphone->fail = true;
    e.c().toggleSoundAction();
    EXPECT_FALSE(e.c().soundEnabled());
    EXPECT_FALSE(toggle()->isChecked());
    for (const QWidget* control : {static_cast<QWidget*>(toggle()), static_cast<QWidget*>(copy())})
        EXPECT_TRUE(control->toolTip().startsWith("No microphone or other audio input was found.\n"))
            << control->toolTip().toStdString();

    microphone->fail = false;
    e.c().toggleSoundAction();
    ASSERT_TRUE(e.c().soundEnabled());
    EXPECT_EQ(toggle()->toolTip(), "Listening (Ctrl+Shift+M)");

    microphone->lost();
    ASSERT_TRUE(waitFor([&] { return !e.c().soundEnabled(); }));
    EXPECT_FALSE(toggle()->isChecked());
    EXPECT_FALSE(copy()->isChecked());
    EXPECT_TRUE(toggle()->toolTip().startsWith("The audio input went away, so sound mode stopped.\n"));
    ASSERT_TRUE(e.settle());
}

// The menu lists the inputs afresh, checks the chosen one, remembers a choice and listens to
// it at once; an input that cannot be opened ends sound mode.
TEST_F(SoundControls, TheInputMenuChoosesRemembersAndRestartsListening) {
    QList<AudioInputChoice> inputs{{"mic.usb", "USB Microphone"}};
    e.c().listSoundInputs = [&] { return inputs; };
    EXPECT_EQ(openMenu(), QStringList({"✓ System Default", "USB Microphone"}));
    inputs.append(AudioInputChoice{"mic.pci", "Built-in Audio & Line"});
    EXPECT_EQ(openMenu(), QStringList({"✓ System Default", "USB Microphone", "Built-in Audio && Line"}));

    e.c().switchSoundMode(true);
    ASSERT_EQ(microphone->starts, 1);
    choose("Built-in Audio && Line");
    EXPECT_EQ(e.c().soundInputDevice(), "mic.pci");
    EXPECT_EQ(PreferencesStore().soundInputDevice(), "mic.pci");
    EXPECT_EQ(microphone->starts, 2);
    EXPECT_TRUE(e.c().soundEnabled());
    EXPECT_EQ(openMenu(), QStringList({"System Default", "USB Microphone", "✓ Built-in Audio && Line"}));

    inputs.removeLast();  // unplugged: the default is in use until it comes back
    EXPECT_EQ(openMenu(), QStringList({"✓ System Default", "USB Microphone"}));

    microphone->fail = true;
    choose("USB Microphone");
    EXPECT_FALSE(e.c().soundEnabled());
    EXPECT_TRUE(toggle()->toolTip().startsWith("No microphone"));
    ASSERT_TRUE(e.settle());
}

TEST(SoundInput, TheRememberedInputIsGivenToTheCaptureAtStartAndOnChange) {
    ClearedPreferences cleared;
    PreferencesStore().setSoundInputDevice("mic.usb");
    Explorer e;
    ASSERT_TRUE(e.c().soundCapture());
    EXPECT_EQ(e.c().soundCapture()->inputDeviceId(), "mic.usb");
    e.c().chooseSoundInput("");
    EXPECT_EQ(e.c().soundCapture()->inputDeviceId(), "");
    EXPECT_EQ(PreferencesStore().soundInputDevice(), "");
}

// The Julia companion's colours take the same shift from the sound as the main picture.
TEST_F(SoundControls, TheJuliaPictureMovesWithTheSound) {
    e.c().switchSoundMode(true);
    ASSERT_TRUE(e.settle());
    const QImage before = e.c().juliaView()->makeImage().copy();  // the view paints over its own
    playToneForATick();
    ASSERT_TRUE(e.settle());
    EXPECT_NE(e.c().juliaView()->makeImage(), before);
}

}  // namespace
}  // namespace gs::test
