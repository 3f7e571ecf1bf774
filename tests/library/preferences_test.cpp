#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>
#include <clocale>
#include <limits>

#include "library/preferences.h"
#include "library/tuning_json.h"
#include "library_test_support.h"

namespace gs {
namespace {

const QByteArray kSoundDefaults =
    R"({"sensitivity":1,"spin":0.12,"hue":1,"glowBoost":2.5,"shockwave":0.6,"response":1})";
const QByteArray kShadingDefaults = encodeShadingTuning(ShadingTuning{});

// Each test gets its own settings file, written as text the way a new process would read it.
class Preferences : public ::testing::Test {
protected:
    QString path() const { return dir_.filePath(QStringLiteral("glimmerscape.conf")); }
    void writeIni(const QByteArray& text) { test::writeAll(path(), text); }
    LoadedPreferences load(const ShadingTuningCheck& check = {}) { return PreferencesStore(path()).load(check); }

    QTemporaryDir dir_;
};

TEST_F(Preferences, FirstLaunchReadsDefaultsAndWritesNothing) {
    const LoadedPreferences p = load();
    EXPECT_FALSE(p.advancedMode);
    EXPECT_FALSE(p.animationSpeed);
    EXPECT_FALSE(p.shadingTuning);
    EXPECT_FALSE(p.soundTuning);
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(Preferences, TheUsersStoreLivesInTheConfigFolder) {
    {
        PreferencesStore store;
        store.setLibraryUrl(QStringLiteral("https://example.org/"));
    }
    EXPECT_TRUE(QFile::exists(test::testHome() + QStringLiteral("/.config/glimmerscape/glimmerscape.conf")));
}

struct SpeedCase {
    const char* stored;  // nullptr: no key
    std::optional<double> loaded;
};

class StoredSpeed : public Preferences, public ::testing::WithParamInterface<SpeedCase> {};

TEST_P(StoredSpeed, IsTakenOnlyWithinTheRange) {
    if (GetParam().stored)
        writeIni(QByteArray("[General]\nglimmerscape.animationSpeed=") + GetParam().stored + '\n');
    EXPECT_EQ(load().animationSpeed, GetParam().loaded);
}

INSTANTIATE_TEST_SUITE_P(Preferences, StoredSpeed,
                         ::testing::Values(SpeedCase{"0.02", 0.02}, SpeedCase{"1", 1.0}, SpeedCase{"1.0", 1.0},
                                           SpeedCase{"0.5", 0.5}, SpeedCase{"0.019", std::nullopt},
                                           SpeedCase{"1.5", std::nullopt}, SpeedCase{"fast", std::nullopt},
                                           SpeedCase{"nan", std::nullopt}, SpeedCase{nullptr, std::nullopt}));

TEST_F(Preferences, ATuningMissingOneKeyFallsBackWholeWhileTheOtherLoads) {
    PreferenceValues v;
    v.soundTuning.spin = 0.3;
    PreferencesStore(path()).save(v);
    QByteArray shading = kShadingDefaults;
    shading.replace(R"("curve":1,)", "");
    QSettings(path(), QSettings::IniFormat).setValue(QStringLiteral("glimmerscape.shadingTuning"), shading);

    const LoadedPreferences p = load();
    EXPECT_FALSE(p.shadingTuning);
    ASSERT_TRUE(p.soundTuning);
    EXPECT_EQ(p.soundTuning->spin, 0.3);
}

TEST_F(Preferences, TuningsOutsideTheSliderRangesLoadAsTheyAre) {
    writeIni(R"ini([General]
glimmerscape.shadingTuning="@ByteArray({\"reliefEdgeCalm\":0.6,\"curve\":-40,\"demThickness\":0,\"demSoftness\":2,\"glowStrength\":0.9,\"glowRadius\":0.8,\"glowDim\":0.8,\"glowTint\":0,\"trapReach\":0.4,\"trapSharpness\":0.45,\"trapGlint\":0.35,\"reliefHeight\":1,\"reliefShadow\":0,\"reliefShine\":1e9})"
glimmerscape.soundTuning="{\"response\":0,\"sensitivity\":-3,\"spin\":0.12,\"hue\":1,\"glowBoost\":2.5,\"shockwave\":0.6}"
)ini");
    const LoadedPreferences p = load();
    ASSERT_TRUE(p.shadingTuning && p.soundTuning);
    EXPECT_EQ(p.shadingTuning->curve, -40);
    EXPECT_EQ(p.shadingTuning->reliefShine, 1e9);
    EXPECT_EQ(p.soundTuning->sensitivity, -3);
    EXPECT_EQ(p.soundTuning->response, 0);
}

TEST_F(Preferences, TheColouringsCheckRefusesAStoredShadingTuning) {
    PreferencesStore(path()).save(PreferenceValues{});
    EXPECT_FALSE(load([](const ShadingTuning&) { return false; }).shadingTuning);
    EXPECT_TRUE(load([](const ShadingTuning&) { return true; }).shadingTuning);
}

TEST_F(Preferences, SaveWritesAllFourAsLocaleFreeTextThatReadsBack) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    PreferenceValues v;
    v.advancedMode = true;
    v.animationSpeed = 0.1 + 0.2;
    v.shadingTuning.trapGlint = 0.7;
    {
        PreferencesStore(path()).save(v);
    }
    std::setlocale(LC_ALL, "C");
    QLocale::setDefault(before);

    const QByteArray text = test::readAll(path());
    EXPECT_TRUE(text.contains("glimmerscape.animationSpeed=0.30000000000000004")) << text.constData();
    EXPECT_TRUE(text.contains(QByteArray(kSoundDefaults).replace("\"", "\\\""))) << text.constData();
    const LoadedPreferences p = load();
    EXPECT_TRUE(p.advancedMode);
    EXPECT_EQ(p.animationSpeed, v.animationSpeed);
    EXPECT_EQ(p.shadingTuning, v.shadingTuning);
    EXPECT_EQ(p.soundTuning, SoundTuning{});
}

TEST_F(Preferences, ATuningThatCannotBeEncodedIsSkippedAndTheRestWritten) {
    PreferenceValues v;
    v.shadingTuning.glowRadius = std::numeric_limits<double>::infinity();
    v.soundTuning.hue = 0.5;
    PreferencesStore(path()).save(v);
    const LoadedPreferences p = load();
    EXPECT_FALSE(p.shadingTuning);
    ASSERT_TRUE(p.soundTuning);
    EXPECT_EQ(p.soundTuning->hue, 0.5);
    EXPECT_EQ(p.animationSpeed, kDefaultAnimationSpeed);
}

TEST_F(Preferences, TheWindowSoundAndLibrarySettingsRoundTrip) {
    {
        PreferencesStore store(path());
        store.setWindowGeometry(QByteArray("\x01\xd9\xd0\xcb\0\x03", 6));
        store.setWindowFullScreen(true);
        store.setSoundInputDevice("alsa_input.usb-mic");
        store.setLibraryUrl(QStringLiteral("https://example.org/library/"));
    }
    const PreferencesStore store(path());
    EXPECT_EQ(store.windowGeometry(), QByteArray("\x01\xd9\xd0\xcb\0\x03", 6));
    EXPECT_TRUE(store.windowFullScreen());
    EXPECT_EQ(store.soundInputDevice(), "alsa_input.usb-mic");
    EXPECT_EQ(store.libraryUrl(), QStringLiteral("https://example.org/library/"));
}

// Whatever is in the file, loading finishes and every refused value falls back.
class DamagedSettings : public Preferences, public ::testing::WithParamInterface<QByteArray> {};

TEST_P(DamagedSettings, ReadAsDefaults) {
    writeIni(GetParam());
    const LoadedPreferences p = load();
    EXPECT_FALSE(p.animationSpeed);
    EXPECT_FALSE(p.shadingTuning);
    EXPECT_FALSE(p.soundTuning);
    PreferencesStore store(path());
    (void)store.windowGeometry();
    (void)store.libraryUrl();
}

INSTANTIATE_TEST_SUITE_P(
    Preferences, DamagedSettings,
    ::testing::Values(QByteArray("\x7f" "ELF\x02\x01\x01\0\0\0\xff\xfe[General\n\0\0=\x80\x81", 21),
                      QByteArray("[General]\nglimmerscape.shadingTuning=@ByteArray(\\x\n"
                                 "glimmerscape.soundTuning=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x1\\xff)\n"
                                 "glimmerscape.animationSpeed=@Variant(\\0\\0\\0\\x6\\x3\\xff\\xff\\xff\\xff)\n"
                                 "window/geometry=@Variant(\\0\\0\\0\\x30\\x1)\n"),
                      QByteArray("[General]\nglimmerscape.shadingTuning=[1,2]\nglimmerscape.soundTuning=null\n"
                                 "glimmerscape.animationSpeed=1e999\n")));

TEST_F(Preferences, AnUnreadableFileReadsAsDefaults) {
    QDir().mkpath(path());  // a folder where the file should be
    const LoadedPreferences p = load();
    EXPECT_FALSE(p.advancedMode);
    EXPECT_FALSE(p.animationSpeed);
}

}  // namespace
}  // namespace gs
