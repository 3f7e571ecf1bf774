// SIGKILL at random moments while the save loop writes bookmarks, a palette, preferences and an
// export: after every kill each file is whole and of the last finished round or the one being
// written, no temporary file is left where a store would list it, and every store loads.
// GS_KILLS sets the number of kills (200 by default); the seed is printed and GS_KILL_SEED
// repeats a run.
#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <chrono>
#include <random>

#include "export/image_export.h"
#include "fault_rounds.h"
#include "library/bookmark_library.h"
#include "library/palette_library.h"

namespace gs::test {
namespace {

// The round every bookmark of the file belongs to; nothing when any is missing or differs.
std::optional<qint64> bookmarksRound(const QString& file) {
    const QList<Bookmark> list = BookmarkLibrary(file).loadUserBookmarks();
    if (list.size() != kRoundBookmarkCount) return std::nullopt;
    const qint64 round = list[0].name.section(QLatin1Char(' '), 1, 1).toLongLong();
    QList<Bookmark> want = roundBookmarks(round);
    sortBookmarksByName(want);
    return list == want ? std::optional(round) : std::nullopt;
}

// Rounds read from colours are known modulo 65536; `near` picks the one close to the last.
qint64 unwrap(int low16, qint64 near) {
    qint64 d = (low16 - near) & 0xffff;
    if (d >= 0x8000) d -= 0x10000;
    return near + d;
}

std::optional<qint64> colorRound(const QColor& c, qint64 near) {
    if (c.blue() != 7) return std::nullopt;
    return unwrap(c.red() | c.green() << 8, near);
}

std::optional<qint64> paletteRound(PaletteLibrary& store, qint64 near) {
    const QList<SavedPalette> palettes = store.loadUserPalettes();
    if (palettes.size() != 1 || palettes[0].name != kRoundPaletteName) return std::nullopt;
    const aColor c = palettes[0].colors.at(0);
    const auto round = colorRound(QColor::fromRgbF(float(c.r), float(c.g), float(c.b)), near);
    return round && palettes[0].colors == roundColors(*round) ? round : std::nullopt;
}

std::optional<qint64> preferencesRound(const QString& file) {
    PreferencesStore store(file);
    const QString url = store.libraryUrl();
    const qint64 round = url.section(QLatin1Char('/'), -1).toLongLong();
    const LoadedPreferences loaded = store.load();
    const PreferenceValues want = roundPreferences(round);
    const bool whole = url == roundLibraryUrl(round) && loaded.advancedMode == want.advancedMode &&
                       loaded.animationSpeed == want.animationSpeed && loaded.shadingTuning == want.shadingTuning &&
                       loaded.soundTuning == want.soundTuning;
    return whole ? std::optional(round) : std::nullopt;
}

std::optional<qint64> exportRound(const QString& file, qint64 near) {
    const QImage picture(file);
    if (picture.isNull()) return std::nullopt;
    const auto round = colorRound(picture.pixelColor(0, 0), near);
    return round && picture.convertToFormat(QImage::Format_RGB32) == roundPicture(*round) ? round : std::nullopt;
}

class KillDuringSave : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString folder() const { return dir.filePath(QStringLiteral("data")); }
    QString temp() const { return dir.filePath(QStringLiteral("tmp")); }
    QString exportFile() const { return temp() + QLatin1Char('/') + imageExportFileName(kRoundExportTime); }

    // Runs the loop from `first` until it has finished a round, then kills it `delay` later.
    // Returns the last round it finished.
    qint64 runAndKill(qint64 first, std::chrono::microseconds delay) {
        QProcess loop;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("TMPDIR"), temp());
        loop.setProcessEnvironment(env);
        loop.start(QStringLiteral(GS_SAVE_LOOP), {folder(), QString::number(first)});
        EXPECT_TRUE(loop.waitForReadyRead(20000)) << loop.readAllStandardError().toStdString();
        QThread::usleep(static_cast<unsigned long>(delay.count()));
        loop.kill();
        loop.waitForFinished();
        const QList<QByteArray> lines = loop.readAllStandardOutput().trimmed().split('\n');
        return lines.back().toLongLong();
    }

    // The files that are there besides the ones the loop writes. A kill can leave the temporary
    // file of a save behind, named after its target plus a dot and six characters: those are
    // counted apart, as no store lists them.
    QStringList strays(int* leftTemporaries) const {
        static const QStringList expected{"Bookmarks.json", "Palettes/Round.map", "glimmerscape.conf",
                                          "glimmerscape.conf.lock", "tmp/" + imageExportFileName(kRoundExportTime)};
        QStringList found;
        *leftTemporaries = 0;
        for (QDirIterator it(dir.path(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
             it.hasNext();) {
            QString name = QDir(dir.path()).relativeFilePath(it.next());
            if (name.startsWith(QStringLiteral("data/"))) name.remove(0, 5);
            if (expected.contains(name)) continue;
            const bool temporary = name.size() > 7 && name[name.size() - 7] == QLatin1Char('.') &&
                                   expected.contains(name.left(name.size() - 7));
            if (temporary)
                ++*leftTemporaries;
            else
                found << name;
        }
        return found;
    }
};

TEST_F(KillDuringSave, EveryFileIsAWholeRoundAndEveryStoreLoads) {
    const int kills = qEnvironmentVariableIsSet("GS_KILLS") ? qEnvironmentVariableIntValue("GS_KILLS") : 200;
    const unsigned seed = qEnvironmentVariableIsSet("GS_KILL_SEED") ? qEnvironmentVariable("GS_KILL_SEED").toUInt()
                                                                   : std::random_device{}();
    std::printf("[ seed     ] GS_KILL_SEED=%u, %d kills\n", seed, kills);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> delayUs(0, 20000);
    ASSERT_TRUE(QDir().mkpath(folder()) && QDir().mkpath(temp()));
    PaletteLibrary palettes(folder() + QStringLiteral("/Palettes"), QString());

    qint64 finished = 0;
    int caughtMidRound = 0, leftTemporaries = 0;
    for (int kill = 0; kill < kills; ++kill) {
        finished = runAndKill(finished + 1, std::chrono::microseconds(delayUs(random)));
        ASSERT_GT(finished, 0) << "kill " << kill << ": the loop finished no round";
        const std::optional<qint64> rounds[] = {bookmarksRound(folder() + QStringLiteral("/Bookmarks.json")),
                                                paletteRound(palettes, finished),
                                                preferencesRound(folder() + QStringLiteral("/glimmerscape.conf")),
                                                exportRound(exportFile(), finished)};
        bool mixed = false;
        for (int store = 0; store < 4; ++store) {
            ASSERT_TRUE(rounds[store].has_value()) << "kill " << kill << ": file " << store << " is not whole";
            ASSERT_TRUE(*rounds[store] == finished || *rounds[store] == finished + 1)
                << "kill " << kill << ": file " << store << " holds round " << *rounds[store] << " after round "
                << finished;
            mixed |= *rounds[store] != *rounds[0];
        }
        caughtMidRound += mixed;
        ASSERT_EQ(strays(&leftTemporaries), QStringList()) << "kill " << kill;
    }
    std::printf("[ figures  ] %d kills, %lld rounds finished, %d kills left the stores at different rounds, "
                "%d temporary files left unlisted\n",
                kills, static_cast<long long>(finished), caughtMidRound, leftTemporaries);
    EXPECT_GT(caughtMidRound, 0) << "no kill landed between two saves of a round";
}

}  // namespace
}  // namespace gs::test
