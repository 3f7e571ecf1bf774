#include <gtest/gtest.h>

#include "library/bookmark_texts.h"
#include "library_test_support.h"

namespace gs {
namespace {

using namespace bookmark_texts;

TEST(BookmarkTexts, NameWhatIsOnScreenAndQuoteNamesInCurlyQuotes) {
    EXPECT_EQ(sidebarStatus(QStringLiteral("Spiral"), 2.5), QStringLiteral("Spiral\n2.5×"));
    EXPECT_EQ(fullScreenStatus(QString(), 1.0), QStringLiteral("CURRENTLY VIEWING: Unsaved Location  (1.0×)"));
    EXPECT_EQ(nameTakenMessage(QStringLiteral("Spiral")), QStringLiteral("A bookmark named “Spiral” already exists."));
    EXPECT_EQ(deleteTitle(QStringLiteral("%1")), QStringLiteral("Delete “%1”?"));
    EXPECT_EQ(addMessage(QStringLiteral("Bookmark (1)")), QStringLiteral("Save “Bookmark (1)” to My Bookmarks."));
}

}  // namespace
}  // namespace gs
