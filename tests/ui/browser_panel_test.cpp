// The browser drawer: keyboard and mouse reach every entry and only entries; it follows its host.
#include <QListWidget>

#include "ui/browser_panel.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

struct Browser : ::testing::Test {
    QWidget host;
    BrowserPanel panel{QStringLiteral("Bookmarks"), &host};
    std::vector<std::pair<int, int>> applied, menus;

    Browser() {
        host.resize(900, 600);
        host.show();
        panel.setSections({{QStringLiteral("Mine"), {{QStringLiteral("Spiral"), QStringLiteral("1.2×10⁵×"), {}, {}}}},
                           {QStringLiteral("Built-in"),
                            {{QStringLiteral("Needle"), {}, {Qt::red, Qt::blue}, {}},
                             {QStringLiteral("Seahorse"), {}, {}, QImage(40, 30, QImage::Format_RGB32)}}}});
        panel.onActivated = [this](int s, int r) { applied.emplace_back(s, r); };
        panel.onContextMenu = [this](int s, int r, const QPoint&) { menus.emplace_back(s, r); };
        panel.openPanel();
    }
    void key(int k, Qt::KeyboardModifiers m = Qt::NoModifier) { QTest::keyClick(panel.list(), Qt::Key(k), m); }
};

TEST_F(Browser, TheKeyboardWalksTheEntriesAndSkipsTheSectionTitles) {
    EXPECT_EQ(panel.currentEntry(), std::make_pair(0, 0));
    key(Qt::Key_Down);  // over the "Built-in" title
    EXPECT_EQ(panel.currentEntry(), std::make_pair(1, 0));
    key(Qt::Key_Return);
    key(Qt::Key_Down);
    key(Qt::Key_Space);
    key(Qt::Key_Menu);
    key(Qt::Key_Up);
    key(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(applied, (std::vector<std::pair<int, int>>{{1, 0}, {1, 1}}));
    EXPECT_EQ(menus, (std::vector<std::pair<int, int>>{{1, 1}, {1, 0}}));
}

TEST_F(Browser, AClickAppliesAndAClickOnATitleDoesNothing) {
    QListWidget* list = panel.list();
    for (int i = 0; i < list->count(); ++i)
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(i)).center());
    EXPECT_EQ(applied, (std::vector<std::pair<int, int>>{{0, 0}, {1, 0}, {1, 1}}));
}

TEST_F(Browser, ItStaysOnTheHostsRightEdgeAndClosesWithItsExplanations) {
    host.resize(1200, 700);
    EXPECT_EQ(panel.geometry(), QRect(1200 - BrowserPanel::kWidth, 0, BrowserPanel::kWidth, 700));
    bool closed = false;
    panel.onClosed = [&] { closed = true; };
    panel.showExplanations();
    EXPECT_TRUE(panel.explanationsOpen());
    panel.closePanel();
    EXPECT_TRUE(closed);
    EXPECT_FALSE(panel.isOpen());
    EXPECT_FALSE(panel.explanationsOpen());
}

}  // namespace
}  // namespace gs::test
