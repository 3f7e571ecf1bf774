// Saving from the window on a full disk and into read-only folders: a bookmark and a palette say
// "Couldn't Save", preferences and the export's temporary file fail in silence, the copy to the
// user's chosen file names the file; every file written before stays byte for byte as it was.
//
// A full disk is a file size limit of 0 bytes (RLIMIT_FSIZE, SIGXFSZ ignored): every write to a
// regular file fails with EFBIG as on a full file system, without mounting anything. Read-only
// folders are made with chmod; as root, which permissions do not stop, the process instead
// takes the effective user "nobody" for the duration, so the folders it owns as root are
// read-only to it.
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStandardPaths>

#include "library/bookmark_library.h"
#include "library/palette_library.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

constexpr uid_t kNobody = 65534;

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

// Everything below root writable by its owner and readable by everyone else.
void openForReading(const QString& root) {
    const auto files = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
    const auto dirs = files | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
    QFile::setPermissions(root, dirs);
    for (QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
         it.hasNext();) {
        const QString path = it.next();
        QFile::setPermissions(path, it.fileInfo().isDir() ? dirs : files);
    }
}

struct Fault {
    const char* name;
    bool readOnly;  // else a full disk
    friend void PrintTo(const Fault& f, std::ostream* os) { *os << f.name; }
};

class SavingUnderFaults : public ::testing::TestWithParam<Fault>, public AnsweredDialogs {
protected:
    void SetUp() override {
        previousTemp = qgetenv("TMPDIR");
        const QString temp = QDir::home().filePath(QStringLiteral("tmp"));
        QDir().mkpath(temp);
        qputenv("TMPDIR", temp.toLocal8Bit());
        QFile::remove(BookmarkLibrary::shared().fileURL());
        e = std::make_unique<Explorer>();
        MacViewController& w = e->c();
        install(w);
        w.exportTime = [] { return QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC); };
        w.presentSaveDialog = [this](const MacViewController::SaveOffer&, std::function<void(const QString&)> chosen) {
            ++offers;
            choose = std::move(chosen);
        };
    }
    void TearDown() override {
        lift();
        e.reset();
        qputenv("TMPDIR", previousTemp);
    }

    // The user's files, by path.
    QStringList files() const {
        return {BookmarkLibrary::shared().fileURL(),
                PaletteLibrary::shared().userPalettesDirectory() + QStringLiteral("/Kept.map"),
                QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                    QStringLiteral("/glimmerscape/glimmerscape.conf"),
                QDir::temp().filePath(QStringLiteral("Glimmerscape-1700000000.png")), chosenFile()};
    }
    QString chosenFile() const { return QDir::home().filePath(QStringLiteral("Chosen.png")); }
    void saveEverything(const QString& name) {
        MacViewController& w = e->c();
        typed = name;
        w.saveCurrentLocation();
        typed = QStringLiteral("Kept");
        w.saveCurrentPalette();
        w.setAnimationSpeed(w.isAdvancedMode() ? 0.5 : 0.25);
        w.handleModeTagTap();  // flips advanced mode and saves the preferences
        EXPECT_TRUE(e->settle());  // an export waits for no render: one asked for meanwhile is ignored
        w.saveImage();
        QCoreApplication::processEvents();  // the settings file is written from the event loop
    }

    void apply(const Fault& fault) {
        if (!fault.readOnly) {
            signal(SIGXFSZ, SIG_IGN);
            getrlimit(RLIMIT_FSIZE, &savedLimit);
            const rlimit full{0, savedLimit.rlim_max};
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
            limited = true;
        } else if (geteuid() == 0) {
            openForReading(QDir::homePath() + QStringLiteral("/.."));
            ASSERT_EQ(seteuid(kNobody), 0);
            becameNobody = true;
        } else {
            for (const QString& file : files()) QFile::setPermissions(QFileInfo(file).path(), QFile::ReadOwner | QFile::ExeOwner);
            chmodded = true;
        }
    }
    void lift() {
        if (limited) setrlimit(RLIMIT_FSIZE, &savedLimit), signal(SIGXFSZ, SIG_DFL);
        if (becameNobody) {
            EXPECT_EQ(seteuid(0), 0);
        }
        if (chmodded) openForReading(QDir::homePath() + QStringLiteral("/.."));
        limited = becameNobody = chmodded = false;
    }

    std::unique_ptr<Explorer> e;
    QByteArray previousTemp;
    int offers = 0;
    std::function<void(const QString&)> choose;
    rlimit savedLimit{};
    bool limited = false, becameNobody = false, chmodded = false;
};

TEST_P(SavingUnderFaults, SayWhatFailedAndKeepTheOldFiles) {
    saveEverything(QStringLiteral("Before"));
    ASSERT_EQ(offers, 1);
    choose(chosenFile());
    ASSERT_TRUE(alerts.empty());
    QList<QByteArray> before;
    for (const QString& file : files()) {
        before << bytesOf(file);
        ASSERT_FALSE(before.back().isEmpty() || before.back() == "<unreadable>") << file.toStdString();
    }

    apply(GetParam());
    e->c().newRandomPalette();
    saveEverything(QStringLiteral("After"));
    choose(chosenFile());  // the earlier export, copied again over the chosen file
    QList<QByteArray> during;
    for (const QString& file : files()) during << bytesOf(file);
    lift();

    for (int i = 0; i < files().size(); ++i) EXPECT_EQ(during[i], before[i]) << files()[i].toStdString();
    ASSERT_EQ(alerts.size(), 3u) << ::testing::PrintToString(alerts);
    const QString checkStorage = QStringLiteral(" to disk. Check available storage and try again.");
    EXPECT_EQ(alerts[0], (AlertText{"Couldn't Save", "There was a problem saving this bookmark" + checkStorage}));
    EXPECT_EQ(alerts[1], (AlertText{"Couldn't Save", "There was a problem saving this palette" + checkStorage}));
    EXPECT_EQ(alerts[2].title, "Couldn't Save");
    EXPECT_TRUE(alerts[2].message.startsWith("“Chosen.png” couldn't be written: ")) << alerts[2].message.toStdString();
    EXPECT_EQ(offers, 1);  // the failed export offers nothing
    QStringList names;
    for (const Bookmark& b : BookmarkLibrary::shared().loadUserBookmarks()) names << b.name;
    EXPECT_EQ(names, QStringList{QStringLiteral("Before")});
}

INSTANTIATE_TEST_SUITE_P(Faults, SavingUnderFaults, ::testing::Values(Fault{"FullDisk", false}, Fault{"ReadOnly", true}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace gs::test
