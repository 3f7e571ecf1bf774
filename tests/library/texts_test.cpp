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

using namespace Qt::StringLiterals;

QString both(const AlertText& alert) { return alert.title + u'|' + alert.message; }

// Alerts read as "title|message"; every count that reads differently.
TEST(Texts, ReadRightForEveryCountAndQuoteNamesOnce) {
    using LibraryKind::bookmarks, LibraryKind::palettes;
    const std::pair<QString, const char*> cases[] = {
        {both(paletteTexts::importReport(1, 0)), "Imported|1 palette added to My Palettes."},
        {both(paletteTexts::importReport(0, 0)),
         "Imported|None of those files are valid 256-color .map palettes."},
        {both(paletteTexts::importReport(0, 1)),
         "Imported 0 of 1|That file isn't a valid 256-color .map palette."},
        {both(paletteTexts::importReport(0, 4)),
         "Imported 0 of 4|None of those files are valid 256-color .map palettes."},
        {both(paletteTexts::importReport(1, 1)),
         "Imported 1 of 2|1 palette added to My Palettes. 1 wasn't a valid 256-color .map file."},
        {both(paletteTexts::importReport(2, 3)),
         "Imported 2 of 5|2 palettes added to My Palettes. 3 weren't a valid 256-color .map file."},
        {both(paletteTexts::importQuestion(201)),
         "Import 201 Palettes?|That's a lot of files at once — this will add up to 201 entries "
         "to My Palettes and may take a moment."},
        {paletteTexts::duplicateClash(u"Ice"_s).message, "A palette named “Ice” already exists."},
        {both(onlineLibraryTexts::importReport(palettes, 5, 0)),
         "Imported|5 palettes added to My Palettes."},
        {both(onlineLibraryTexts::importReport(bookmarks, 1, 0)),
         "Imported|1 bookmark added to My Bookmarks."},
        {both(onlineLibraryTexts::importReport(bookmarks, 2, 0)),
         "Imported|2 bookmarks added to My Bookmarks."},
        {both(onlineLibraryTexts::importReport(bookmarks, 0, 4)),
         "Imported 0 of 4|4 couldn't be downloaded — check your connection and try again."},
        {onlineLibraryTexts::selectedCount(0), "0 SELECTED"},
        {bookmark_texts::sidebarStatus(u"Spiral"_s, 2.5), "Spiral\n2.5×"},
        {bookmark_texts::fullScreenStatus(QString(), 1.0),
         "CURRENTLY VIEWING: Unsaved Location  (1.0×)"},
        {bookmark_texts::deleteTitle(u"%1"_s), "Delete “%1”?"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(text, QString::fromUtf8(expected));
}

TEST(PaletteTexts, TwoHundredFilesImportWithoutAskingAndPromptsTrimBlanks) {
    EXPECT_FALSE(paletteTexts::importNeedsQuestion(200));
    EXPECT_TRUE(paletteTexts::importNeedsQuestion(201));
    EXPECT_EQ(paletteTexts::enteredName(u" \tDeep Sea  "_s), u"Deep Sea"_s);
    EXPECT_EQ(paletteTexts::enteredName(u"  \t "_s), std::nullopt);
}

// Names are ordered and numbered through the stores (bookmark_library_test, palette_library_test).
TEST(Names, OnlyBlanksAreTrimmed) {
    EXPECT_EQ(trimBlanks(u" \t\u00a0Spiral \u3000"_s), u"Spiral"_s);
    EXPECT_EQ(trimBlanks(u"\nSpiral\n"_s), u"\nSpiral\n"_s);
}

}  // namespace
}  // namespace gs
