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
    PreferencesStore().setLibraryUrl(QStringLiteral("https://example.org/"));
    EXPECT_TRUE(QFile::exists(test::testHome() +
                              QStringLiteral("/.config/glimmerscape/glimmerscape.conf")));
}

TEST_F(Preferences, AStoredSpeedIsTakenOnlyFrom002To1) {
    for (const auto& [text, speed] : {std::pair{"0.02", std::optional(0.02)},
                                      {"1.0", 1.0},
                                      {"0.019", std::nullopt},
                                      {"1.5", std::nullopt},
                                      {"nan", std::nullopt}}) {
        test::writeAll(path(), QByteArray("[General]\nglimmerscape.animationSpeed=") + text + '\n');
        EXPECT_EQ(load().animationSpeed, speed) << text;
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

// Whatever the file holds, loading finishes and every value falls back; last, an unreadable
// file (a folder in its place).
TEST_F(Preferences, DamagedSettingsReadAsDefaults) {
    const QByteArray texts[] = {
        QByteArray("\x7f"
                   "ELF\x02\x01\x01\0\0\0\xff\xfe[General\n\0\0=\x80\x81",
                   21),
        QByteArray("[General]\nglimmerscape.shadingTuning=@ByteArray(\\x\n"
                   "glimmerscape.soundTuning=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x1\\xff)\n"
                   "glimmerscape.animationSpeed=@Variant(\\0\\0\\0\\x6\\x3\\xff\\xff)\n"),
        QByteArray()};
    for (const QByteArray& text : texts) {
        if (text.isEmpty())
            QFile::remove(path()), QDir().mkpath(path());
        else
            test::writeAll(path(), text);
        const LoadedPreferences p = load();
        EXPECT_FALSE(p.animationSpeed || p.shadingTuning || p.soundTuning)
            << text.toHex().constData();
        EXPECT_TRUE(PreferencesStore(path()).windowGeometry().isEmpty());
    }
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
