#include "library/preferences.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>
#include <clocale>
#include <limits>

#include "library/tuning_json.h"
#include "library_test_support.h"

namespace gs {
namespace {

using namespace Qt::StringLiterals;

// Each test has its own settings file, written as text the way a new process reads it.
class Preferences : public ::testing::Test {
protected:
    QString path() const { return dir_.filePath(QStringLiteral("glimmerscape.conf")); }
    LoadedPreferences load(const ShadingTuningCheck& check = {}) {
        return PreferencesStore(path()).load(check);
    }
    QTemporaryDir dir_;
};

TEST_F(Preferences, FirstLaunchReadsDefaultsAndWritesNothing) {
    const LoadedPreferences p = load();
    EXPECT_FALSE(p.advancedMode || p.animationSpeed || p.shadingTuning || p.soundTuning);
    EXPECT_FALSE(QFile::exists(path()));
}

// Both ends of the range are taken; that nothing outside it is, fuzz_settings_file checks.
TEST_F(Preferences, AStoredSpeedIsTakenAtBothEndsOfItsRange) {
    for (const double speed : {0.02, 1.0}) {
        test::writeAll(path(), "[General]\nglimmerscape.animationSpeed=" +
                                   QByteArray::number(speed) + '\n');
        EXPECT_EQ(load().animationSpeed, speed);
    }
}

// Tunings outside the sliders' ranges load as they are unless the colouring refuses them; one
// missing a key falls back whole while the other loads.
TEST_F(Preferences, TuningsLoadAsStoredUnlessRefusedOrIncomplete) {
    PreferenceValues v;
    v.shadingTuning.curve = -40;
    v.soundTuning.sensitivity = 1e9;
    PreferencesStore(path()).save(v);
    EXPECT_EQ(load().shadingTuning, v.shadingTuning);
    EXPECT_EQ(load().soundTuning, v.soundTuning);
    EXPECT_FALSE(load([](const ShadingTuning& t) { return t.curve > 0; }).shadingTuning);
    QSettings(path(), QSettings::IniFormat)
        .setValue(u"glimmerscape.shadingTuning"_s,
                  encodeShadingTuning({}).replace(R"("curve":1,)", ""));
    const LoadedPreferences p = load();
    EXPECT_FALSE(p.shadingTuning);
    EXPECT_EQ(p.soundTuning, v.soundTuning);
}

TEST_F(Preferences, SaveWritesLocaleFreeTextAndSkipsOnlyATuningItCannotEncode) {
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    PreferenceValues v{true, 0.1 + 0.2, {}, {}};
    v.shadingTuning.glowRadius = std::numeric_limits<double>::infinity();
    PreferencesStore(path()).save(v);
    std::setlocale(LC_ALL, "C");
    QLocale::setDefault(QLocale::c());

    const QByteArray text = test::readAll(path());
    EXPECT_TRUE(text.contains("glimmerscape.animationSpeed=0.30000000000000004"))
        << text.constData();
    EXPECT_TRUE(text.contains(
        R"(@ByteArray({\"sensitivity\":1,\"spin\":0.12,\"hue\":1,\"glowBoost\":2.5,\"shockwave\":0.6,\"response\":1}))"));
    const LoadedPreferences p = load();
    EXPECT_TRUE(p.advancedMode);
    EXPECT_EQ(p.animationSpeed, v.animationSpeed);
    EXPECT_FALSE(p.shadingTuning);
}

// A write killed right after creating its lock file leaves the lock empty; the next store must
// neither wait for it to age (QSettings takes half a minute) nor fail to write.
TEST_F(Preferences, AnEmptyLockLeftByAKilledWriteIsTakenOverAtOnce) {
    test::writeAll(path() + QStringLiteral(".lock"), QByteArray());
    QElapsedTimer clock;
    clock.start();
    {
        PreferencesStore store(path());
        store.setLibraryUrl(QStringLiteral("https://example.org/"));
        store.sync();
    }
    EXPECT_LT(clock.elapsed(), 5000);
    EXPECT_EQ(PreferencesStore(path()).libraryUrl(), QStringLiteral("https://example.org/"));
}

// A settings file that cannot be read (a folder in its place) reads as defaults. What a damaged
// file's contents do is fuzz_settings_file's to check.
TEST_F(Preferences, AnUnreadableSettingsFileReadsAsDefaults) {
    QDir().mkpath(path());
    const LoadedPreferences p = load();
    EXPECT_FALSE(p.animationSpeed || p.shadingTuning || p.soundTuning);
    EXPECT_TRUE(PreferencesStore(path()).windowGeometry().isEmpty());
}

// Found by fuzz_settings_file: a "@Variant(" value whose stream asks for 56 GB.
TEST_F(Preferences, AVariantAskingForGigabytesIsSetAsideNotDecoded) {
    const QByteArray text(
        "\nglimmerscape.animationSpeed=@Variant(\\0\\0\\0\\tionSpeed=@Variant(\\0\\0\\0\\x1)\n");
    test::writeAll(path(), text);
    EXPECT_FALSE(load().animationSpeed);
    EXPECT_EQ(test::readAll(path() + QStringLiteral(".damaged")), text);
}

}  // namespace
}  // namespace gs
