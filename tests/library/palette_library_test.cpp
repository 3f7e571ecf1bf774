#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>

#include "library/palette_import.h"
#include "library/palette_library.h"
#include "library_test_support.h"

namespace gs {
namespace {

// 256 colour lines, the first one `first`, the rest "1 2 3", joined by `between`.
QByteArray mapText(const QByteArray& first = "0 128 255", const QByteArray& between = "\n",
                   int lines = 256) {
    QByteArray text = first + between;
    for (int i = 1; i < lines; ++i) text += "1 2 3" + between;
    return text;
}

ColorTable ramp(double red) {
    ColorTable colors(256);
    for (int i = 0; i < 256; ++i) colors[i] = {red, i / 255.0, 0};
    return colors;
}

class PaletteStore : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.isValid()); }

    QString userFile(const QString& fileName) const { return folder + QLatin1Char('/') + fileName; }

    QStringList listedNames() {
        QStringList names;
        for (const SavedPalette& p : library.loadUserPalettes()) names << p.name;
        return names;
    }

    QTemporaryDir home;
    QString folder = home.filePath(QStringLiteral("data/Palettes"));
    PaletteLibrary library{folder, QStringLiteral(":/BuiltInPalettes")};
};

// Which .map texts read is the parser's to say (mapfile_test); one that does not is skipped.
TEST_F(PaletteStore, ListsValidFilesLikeAFileBrowserAndSkipsTheRest) {
    for (const char* file : {"Spot 10.map", "spot 2.map", ".Hidden.map", "Shout.MAP", "Text.txt"})
        test::writeAll(userFile(QLatin1String(file)), mapText());
    test::writeAll(userFile(QStringLiteral("Short.map")), mapText("0 0 0", "\n", 255));
    QDir(folder).mkdir(QStringLiteral("Folder.map"));
    QFile::link(userFile(QStringLiteral("nowhere")), userFile(QStringLiteral("Dangling.map")));
    EXPECT_EQ(listedNames(), (QStringList{QStringLiteral(".Hidden"), QStringLiteral("Shout"),
                                          QStringLiteral("spot 2"), QStringLiteral("Spot 10")}));
    for (const SavedPalette& p : library.loadUserPalettes()) {
        EXPECT_FALSE(p.isBuiltIn);
        EXPECT_EQ(p.colors, readPaletteFile(userFile(QStringLiteral("Spot 10.map"))));
    }
}

// Save writes the safe name, replaces a file of that name, and gives nothing when the disk
// refuses.
TEST_F(PaletteStore, SaveWritesTheSafeNameAndReplacesAnExistingFile) {
    for (const auto& [name, safe] : {std::pair{"a/b:c", "a-b-c"}, {"\\*?\"<>|", "-------"},
                                     {"  Deep Sea \n", "Deep Sea"}, {"   ", "Untitled"}, {"", "Untitled"}})
        EXPECT_EQ(PaletteLibrary::safeFileName(QString::fromUtf8(name)), QString::fromUtf8(safe)) << name;
    ASSERT_TRUE(library.save(QStringLiteral("a/b:c"), ramp(0)));
    ASSERT_TRUE(library.save(QStringLiteral("   "), ramp(0)));
    const auto saved = library.save(QStringLiteral(" a/b:c"), ramp(1));
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->name, QStringLiteral("a-b-c"));
    const QList<SavedPalette> palettes = library.loadUserPalettes();
    ASSERT_EQ(palettes.size(), 2);
    EXPECT_EQ(palettes[0].name, QStringLiteral("a-b-c"));
    EXPECT_EQ(palettes[0].colors, ramp(1));
    EXPECT_EQ(palettes[1].name, QStringLiteral("Untitled"));

    test::writeAll(home.filePath(QStringLiteral("blocked")), "a file where the folder should be");
    PaletteLibrary blocked(home.filePath(QStringLiteral("blocked/Palettes")), QString());
    EXPECT_FALSE(blocked.save(QStringLiteral("x"), ramp(0)));
    EXPECT_EQ(blocked.duplicate(palettes[0], QStringLiteral("y")), PaletteChange::failed);
    EXPECT_FALSE(library.save(QStringLiteral("short"), ColorTable(255)));
}

TEST_F(PaletteStore, ImportNumbersTakenNamesAndCountsInvalidFiles) {
    ASSERT_TRUE(library.save(QStringLiteral("blue"), ramp(0)));
    const QString picked = home.filePath(QStringLiteral("picked/"));
    test::writeAll(picked + QStringLiteral("blue.map"), mapText());
    test::writeAll(picked + QStringLiteral("junk.map"), "not a palette");
    test::writeAll(picked + QStringLiteral("cafe.map"), mapText("0 128 255 caf\xE9"));  // Latin-1
    QStringList paths;
    for (const char* file : {"blue.map", "junk.map", "missing.map", "cafe.map", "blue.map"})
        paths << picked + QLatin1String(file);
    const PaletteImportCounts counts = importPaletteFiles(library, paths);
    EXPECT_EQ(counts.imported, 3);
    EXPECT_EQ(counts.rejected, 2);
    EXPECT_EQ(listedNames(), (QStringList{QStringLiteral("blue"), QStringLiteral("blue (1)"),
                                          QStringLiteral("blue (2)"), QStringLiteral("cafe")}));
}

TEST_F(PaletteStore, DuplicateAndRenameRefuseTakenNamesAndBuiltInsStay) {
    const auto blue = library.save(QStringLiteral("Blue"), ramp(0));
    const auto red = library.save(QStringLiteral("Red"), ramp(1));
    ASSERT_TRUE(blue && red);

    EXPECT_EQ(library.duplicate(*blue, QStringLiteral("Red")), PaletteChange::nameTaken);
    EXPECT_EQ(library.rename(*blue, QStringLiteral("Red ")), PaletteChange::nameTaken);
    SavedPalette copy;
    EXPECT_EQ(library.duplicate(*blue, QStringLiteral("Blue copy"), &copy), PaletteChange::done);
    EXPECT_EQ(copy.colors, ramp(0));
    SavedPalette renamed;
    EXPECT_EQ(library.rename(*red, QStringLiteral("Crimson"), &renamed), PaletteChange::done);
    EXPECT_EQ(renamed.name, QStringLiteral("Crimson"));
    EXPECT_TRUE(library.remove(*blue));
    EXPECT_EQ(listedNames(), (QStringList{QStringLiteral("Blue copy"), QStringLiteral("Crimson")}));

    const SavedPalette fire = library.loadBuiltInPalettes().front();
    EXPECT_EQ(library.rename(fire, QStringLiteral("Mine now")), PaletteChange::failed);
    EXPECT_FALSE(library.remove(fire));
    EXPECT_EQ(library.duplicate(fire, QStringLiteral("Mine now")), PaletteChange::done);
    const auto shared = library.shareableFilePath(fire);
    ASSERT_TRUE(shared);
    EXPECT_FALSE(shared->startsWith(QLatin1Char(':')));
    EXPECT_EQ(readPaletteFile(*shared), fire.colors);
}

// Our palettes: at least twenty, each a valid 256-line file, named, and seamless where the
// cycle wraps (the step from the last colour to the first is no larger than the largest step
// inside the palette).
TEST(BuiltInPalettes, AreValidSeamlessAndMany) {
    PaletteLibrary library(QString(), QStringLiteral(":/BuiltInPalettes"));
    const QList<SavedPalette> palettes = library.loadBuiltInPalettes();
    EXPECT_GE(palettes.size(), 20);
    EXPECT_EQ(palettes.size(), QDir(QStringLiteral(":/BuiltInPalettes")).entryList(QDir::Files).size());
    const auto step = [](const aColor& a, const aColor& b) {
        return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
    };
    QStringList names;
    for (const SavedPalette& p : palettes) {
        names << p.name;
        EXPECT_TRUE(p.isBuiltIn);
        ASSERT_EQ(p.colors.size(), 256u) << p.name.toStdString();
        double largest = 0;
        for (std::size_t i = 1; i < 256; ++i) largest = std::max(largest, step(p.colors[i - 1], p.colors[i]));
        EXPECT_LE(step(p.colors[255], p.colors[0]), largest + 1e-9) << p.name.toStdString();
    }
    for (const char* wanted : {"Fire", "Ice", "Ocean", "Aurora", "Neon", "Pastel", "Monochrome"})
        EXPECT_TRUE(names.contains(QLatin1String(wanted))) << wanted;
}

TEST(SharedPaletteLibrary, LivesInThePerUserDataFolder) {
    QTemporaryDir home;
    qputenv("XDG_DATA_HOME", home.path().toUtf8());
    QCoreApplication::setApplicationName(QStringLiteral("glimmerscape"));
    const QString expected = home.path() + QStringLiteral("/glimmerscape/Palettes");
    EXPECT_EQ(PaletteLibrary::shared().userPalettesDirectory(), expected);
    EXPECT_TRUE(QFileInfo(expected).isDir());
}

}  // namespace
}  // namespace gs
