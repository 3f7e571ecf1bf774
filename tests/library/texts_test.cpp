// The texts of the palette browser, the bookmarks and the online libraries (alerts for every
// count that reads differently), and how typed names are trimmed.
#include <gtest/gtest.h>

#include "library/bookmark_texts.h"
#include "library/names.h"
#include "library/online_library_texts.h"
#include "library/palette_texts.h"
#include "library_test_support.h"

namespace gs {
namespace {

struct ReportCase {
    int imported;
    int rejected;
    const char* title;
    const char* message;
};

TEST(PaletteTexts, ImportReportReadsRightForEveryCount) {
    const ReportCase cases[] = {
        {1, 0, "Imported", "1 palette added to My Palettes."},
        {0, 0, "Imported", "None of those files are valid 256-color .map palettes."},
        {0, 1, "Imported 0 of 1", "That file isn't a valid 256-color .map palette."},
        {0, 4, "Imported 0 of 4", "None of those files are valid 256-color .map palettes."},
        {1, 1, "Imported 1 of 2",
         "1 palette added to My Palettes. 1 wasn't a valid 256-color .map file."},
        {2, 3, "Imported 2 of 5",
         "2 palettes added to My Palettes. 3 weren't a valid 256-color .map file."},
    };
    for (const ReportCase& c : cases) {
        EXPECT_EQ(paletteTexts::importReport(c.imported, c.rejected),
                  (AlertText{QString::fromUtf8(c.title), QString::fromUtf8(c.message)}))
            << c.imported << " imported, " << c.rejected << " rejected";
    }
}

TEST(PaletteTexts, TwoHundredFilesImportWithoutAsking) {
    EXPECT_FALSE(paletteTexts::importNeedsQuestion(200));
    EXPECT_TRUE(paletteTexts::importNeedsQuestion(201));
    EXPECT_EQ(paletteTexts::importQuestion(201),
              (AlertText{QStringLiteral("Import 201 Palettes?"),
                         QStringLiteral(
                             "That's a lot of files at once — this will add up to 201 entries to "
                             "My Palettes and may take a moment.")}));
}

TEST(PaletteTexts, AlertsQuoteTheNameInCurlyQuotesAndPromptsTrimBlanks) {
    EXPECT_EQ(paletteTexts::duplicateClash(QStringLiteral("Ice")).message,
              QStringLiteral("A palette named “Ice” already exists."));
    EXPECT_EQ(paletteTexts::deleteQuestion(QStringLiteral("Ice")).title,
              QStringLiteral("Delete “Ice”?"));
    EXPECT_EQ(paletteTexts::enteredName(QStringLiteral(" \tDeep Sea  ")),
              QStringLiteral("Deep Sea"));
    EXPECT_EQ(paletteTexts::enteredName(QStringLiteral("  \t ")), std::nullopt);
}

struct OnlineCase {
    LibraryKind kind;
    int imported;
    int failed;
    const char* title;
    const char* message;
};

TEST(OnlineLibraryTexts, ImportReportReadsRightForEveryCount) {
    const OnlineCase cases[] = {
        {LibraryKind::palettes, 5, 0, "Imported", "5 palettes added to My Palettes."},
        {LibraryKind::bookmarks, 1, 0, "Imported", "1 bookmark added to My Bookmarks."},
        {LibraryKind::bookmarks, 2, 0, "Imported", "2 bookmarks added to My Bookmarks."},
        {LibraryKind::bookmarks, 0, 4, "Imported 0 of 4",
         "4 couldn't be downloaded — check your connection and try again."},
    };
    for (const OnlineCase& c : cases) {
        EXPECT_EQ(onlineLibraryTexts::importReport(c.kind, c.imported, c.failed),
                  (AlertText{QString::fromUtf8(c.title), QString::fromUtf8(c.message)}))
            << c.imported << " imported, " << c.failed << " failed";
    }
    EXPECT_EQ(onlineLibraryTexts::selectedCount(0), QStringLiteral("0 SELECTED"));
}

TEST(BookmarkTexts, NameWhatIsOnScreenAndQuoteNamesOnce) {
    using namespace bookmark_texts;
    EXPECT_EQ(sidebarStatus(QStringLiteral("Spiral"), 2.5), QStringLiteral("Spiral\n2.5×"));
    EXPECT_EQ(fullScreenStatus(QString(), 1.0),
              QStringLiteral("CURRENTLY VIEWING: Unsaved Location  (1.0×)"));
    EXPECT_EQ(deleteTitle(QStringLiteral("%1")), QStringLiteral("Delete “%1”?"));
}

// Names are ordered and numbered through the stores (bookmark_library_test, palette_library_test).
TEST(Names, OnlyBlanksAreTrimmed) {
    EXPECT_EQ(trimBlanks(QStringLiteral(" \t\u00a0Spiral \u3000")), QStringLiteral("Spiral"));
    EXPECT_EQ(trimBlanks(QStringLiteral("\nSpiral\n")), QStringLiteral("\nSpiral\n"));
}

}  // namespace
}  // namespace gs
