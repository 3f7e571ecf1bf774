#include <gtest/gtest.h>

#include "library/bookmark_texts.h"
#include "library_test_support.h"

namespace gs {
namespace {

using namespace bookmark_texts;

TEST(BookmarkTexts, StatusLinesNameWhatIsOnScreen) {
    EXPECT_EQ(sidebarStatus(QStringLiteral("Spiral"), 2.5), QStringLiteral("Spiral\n2.5×"));
    EXPECT_EQ(sidebarStatus(std::nullopt, 1.0), QStringLiteral("Unsaved Location\n1.0×"));
    EXPECT_EQ(fullScreenStatus(QString(), 1.0), QStringLiteral("CURRENTLY VIEWING: Unsaved Location  (1.0×)"));
    EXPECT_EQ(fullScreenStatus(QStringLiteral("%1 Spiral"), 2.5), QStringLiteral("CURRENTLY VIEWING: %1 Spiral  (2.5×)"));
}

TEST(BookmarkTexts, AlertsQuoteTheNameInCurlyQuotes) {
    EXPECT_EQ(nameTakenMessage(QStringLiteral("Spiral")), QStringLiteral("A bookmark named “Spiral” already exists."));
    EXPECT_EQ(deleteTitle(QStringLiteral("Spiral")), QStringLiteral("Delete “Spiral”?"));
    EXPECT_EQ(addMessage(QStringLiteral("Bookmark (1)")), QStringLiteral("Save “Bookmark (1)” to My Bookmarks."));
    EXPECT_EQ(duplicateProposal(QStringLiteral("Spiral")), QStringLiteral("Spiral copy"));
}

}  // namespace
}  // namespace gs
