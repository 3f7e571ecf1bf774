#include "library/palette_library.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>

#include "library/palette_import.h"
#include "library_test_support.h"

namespace gs {
namespace {

using namespace Qt::StringLiterals;

// `lines` colour lines, the first one `first`, the rest "1 2 3".
QByteArray mapText(const QByteArray& first = "0 128 255", int lines = 256) {
    return first + '\n' + QByteArray("1 2 3\n").repeated(lines - 1);
}

ColorTable ramp(double red) {
    ColorTable colors(256);
    for (int i = 0; i < 256; ++i) colors[i] = {red, i / 255.0, 0};
    return colors;
}

class PaletteStore : public ::testing::Test {
protected:
    QString userFile(const char* fileName) const { return folder + u'/' + QLatin1String(fileName); }

    QStringList listedNames() {
        QStringList names;
        for (const SavedPalette& p : library.loadUserPalettes()) names << p.name;
        return names;
    }

    QTemporaryDir home;
    QString folder = home.filePath(u"data/Palettes"_s);
    PaletteLibrary library{folder, u":/BuiltInPalettes"_s};
};

// Which .map texts read is the parser's to say (mapfile_test); one that does not is skipped.
TEST_F(PaletteStore, ListsValidFilesLikeAFileBrowserAndSkipsTheRest) {
    for (const char* file : {"Spot 10.map", "spot 2.map", ".Hidden.map", "Shout.MAP", "Text.txt"})
        test::writeAll(userFile(file), mapText());
    test::writeAll(userFile("Short.map"), mapText("0 0 0", 255));
    QDir(folder).mkdir(u"Folder.map"_s);
    QFile::link(userFile("nowhere"), userFile("Dangling.map"));
    EXPECT_EQ(listedNames(), (QStringList{u".Hidden"_s, u"Shout"_s, u"spot 2"_s, u"Spot 10"_s}));
    for (const SavedPalette& p : library.loadUserPalettes()) {
        EXPECT_FALSE(p.isBuiltIn);
        EXPECT_EQ(p.colors, readPaletteFile(userFile("Spot 10.map")));
    }
}

// Save writes the safe name, replaces a file of that name, and gives nothing when the disk
// refuses.
TEST_F(PaletteStore, SaveWritesTheSafeNameAndReplacesAnExistingFile) {
    for (const auto& [name, safe] : {std::pair{"a/b:c", "a-b-c"},
                                     {"\\*?\"<>|", "-------"},
                                     {"  Deep Sea \n", "Deep Sea"},
                                     {"   ", "Untitled"}})
        EXPECT_EQ(PaletteLibrary::safeFileName(QString::fromUtf8(name)), QString::fromUtf8(safe));
    ASSERT_TRUE(library.save(u"a/b:c"_s, ramp(0)));
    ASSERT_TRUE(library.save(u"   "_s, ramp(0)));
    const auto saved = library.save(u" a/b:c"_s, ramp(1));
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->name, u"a-b-c"_s);
    const QList<SavedPalette> palettes = library.loadUserPalettes();
    ASSERT_EQ(palettes.size(), 2);
    EXPECT_EQ(palettes[0].colors, ramp(1));
    EXPECT_EQ(palettes[1].name, u"Untitled"_s);

    test::writeAll(home.filePath(u"blocked"_s), "a file where the folder should be");
    PaletteLibrary blocked(home.filePath(u"blocked/Palettes"_s), QString());
    EXPECT_FALSE(blocked.save(u"x"_s, ramp(0)));
    EXPECT_EQ(blocked.duplicate(palettes[0], u"y"_s), PaletteChange::failed);
    EXPECT_FALSE(library.save(u"short"_s, ColorTable(255)));
}

// Which contents are taken, and under which name, fuzz_palette_import checks; here, a name
// already taken and a file that cannot be read.
TEST_F(PaletteStore, ImportNumbersTakenNamesAndCountsUnreadableFiles) {
    ASSERT_TRUE(library.save(u"blue"_s, ramp(0)));
    const QString picked = home.filePath(u"picked/"_s);
    test::writeAll(picked + u"blue.map"_s, mapText());
    QStringList paths;
    for (const char* file : {"blue.map", "missing.map", "blue.map"})
        paths << picked + QLatin1String(file);
    const PaletteImportCounts counts = importPaletteFiles(library, paths);
    EXPECT_EQ(counts.imported, 2);
    EXPECT_EQ(counts.rejected, 1);
    EXPECT_EQ(listedNames(), (QStringList{u"blue"_s, u"blue (1)"_s, u"blue (2)"_s}));
}

TEST_F(PaletteStore, DuplicateAndRenameRefuseTakenNamesAndBuiltInsStay) {
    const auto blue = library.save(u"Blue"_s, ramp(0));
    const auto red = library.save(u"Red"_s, ramp(1));
    ASSERT_TRUE(blue && red);

    EXPECT_EQ(library.duplicate(*blue, u"Red"_s), PaletteChange::nameTaken);
    EXPECT_EQ(library.rename(*blue, u"Red "_s), PaletteChange::nameTaken);
    SavedPalette copy, renamed;
    EXPECT_EQ(library.duplicate(*blue, u"Blue copy"_s, &copy), PaletteChange::done);
    EXPECT_EQ(copy.colors, ramp(0));
    EXPECT_EQ(library.rename(*red, u"Crimson"_s, &renamed), PaletteChange::done);
    EXPECT_EQ(renamed.name, u"Crimson"_s);
    EXPECT_TRUE(library.remove(*blue));
    EXPECT_EQ(listedNames(), (QStringList{u"Blue copy"_s, u"Crimson"_s}));

    const SavedPalette fire = library.loadBuiltInPalettes().front();
    EXPECT_EQ(library.rename(fire, u"Mine now"_s), PaletteChange::failed);
    EXPECT_FALSE(library.remove(fire));
    EXPECT_EQ(library.duplicate(fire, u"Mine now"_s), PaletteChange::done);
    const auto shared = library.shareableFilePath(fire);
    ASSERT_TRUE(shared);
    EXPECT_FALSE(shared->startsWith(u':'));
    EXPECT_EQ(readPaletteFile(*shared), fire.colors);
}

// Our palettes: at least twenty, each a valid 256-line file, and seamless where the cycle
// wraps (the step from the last colour to the first is no larger than the largest step inside
// the palette).
TEST(BuiltInPalettes, AreValidSeamlessAndMany) {
    PaletteLibrary library(QString(), u":/BuiltInPalettes"_s);
    const QList<SavedPalette> palettes = library.loadBuiltInPalettes();
    EXPECT_GE(palettes.size(), 20);
    EXPECT_EQ(palettes.size(), QDir(u":/BuiltInPalettes"_s).entryList(QDir::Files).size());
    const auto step = [](const aColor& a, const aColor& b) {
        return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
    };
    for (const SavedPalette& p : palettes) {
        EXPECT_TRUE(p.isBuiltIn);
        ASSERT_EQ(p.colors.size(), 256u) << p.name.toStdString();
        double largest = 0;
        for (std::size_t i = 1; i < 256; ++i)
            largest = std::max(largest, step(p.colors[i - 1], p.colors[i]));
        EXPECT_LE(step(p.colors[255], p.colors[0]), largest + 1e-9) << p.name.toStdString();
    }
}

}  // namespace
}  // namespace gs
