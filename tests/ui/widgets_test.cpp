// The window's widgets on their own, only their callbacks watched: the fractal view's input
// mapping from synthetic mouse, wheel, touchpad and key events to its requests, and the browser
// drawer, whose keyboard and mouse reach every entry and only entries and which follows its host.
#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QListWidget>
#include <cmath>
#include <optional>
#include <vector>

#include "ui/browser_panel.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

// Box sizes pass through fractions of the view, so compare them to a millionth of a point.
bool near(const std::optional<RectF>& got, const RectF& want) {
    return got && std::abs(got->x - want.x) + std::abs(got->y - want.y) +
                          std::abs(got->width - want.width) + std::abs(got->height - want.height) <
                      1e-6;
}

// A 400 x 300 point view recording every request.
struct Recorder {
    MandelbrotView view;
    std::vector<RectF> zooms;
    std::vector<std::optional<RectF>> selections;
    std::vector<double> paletteShifts;
    int paletteShiftStarts = 0, frequencyShiftStarts = 0;
    int colourCycles = 0, backs = 0, forwards = 0, menus = 0;

    Recorder() {
        view.onZoomRequested = [this](const RectF& r) { zooms.push_back(r); };
        view.onSelectionChanged = [this](const std::optional<RectF>& r) { selections.push_back(r); };
        view.onPaletteShiftBegan = [this] { ++paletteShiftStarts; };
        view.onPaletteShiftChanged = [this](double a) { paletteShifts.push_back(a); };
        view.onFrequencyShiftBegan = [this] { ++frequencyShiftStarts; };
        view.onFrequencyShiftChanged = [](double, double) {};
        view.onColorCycleRequested = [this] { ++colourCycles; };
        view.onZoomHistoryBackRequested = [this] { ++backs; };
        view.onZoomHistoryForwardRequested = [this] { ++forwards; };
        view.onContextMenuRequested = [this](const QPoint&) { ++menus; };
        view.resize(400, 300);
        view.show();
    }
    std::optional<RectF> box() const { return view.shownSelectionRect(); }
    // Clicks and waits out the double-click interval.
    void clickAndWait(QPointF at) {
        const auto before = selections.size();
        click(&view, at);
        ASSERT_TRUE(waitFor([&] { return selections.size() > before; }));
    }
};

TEST(ViewGestures, ClicksOutsideDismissAndDoubleClicksAskForAPaletteNeverZooming) {
    Recorder r;
    pinch(&r.view, {200, 150}, 1.0);
    ASSERT_TRUE(r.box());
    EXPECT_EQ(r.selections.back(), r.box());  // the new box is announced
    click(&r.view, {200, 150});  // a double click inside the box keeps it
    mouse(&r.view, QEvent::MouseButtonDblClick, {200, 150}, Qt::LeftButton, Qt::LeftButton);
    mouse(&r.view, QEvent::MouseButtonRelease, {200, 150}, Qt::LeftButton, Qt::NoButton);
    QTest::qWait(QApplication::doubleClickInterval() + 50);
    EXPECT_EQ(r.colourCycles, 1);
    EXPECT_TRUE(r.box());

    r.clickAndWait({20, 20});
    EXPECT_FALSE(r.box());
    EXPECT_EQ(r.selections.back(), std::nullopt);
    const auto notifications = r.selections.size();
    click(&r.view, {200, 150});  // no box: a click does nothing
    QTest::qWait(QApplication::doubleClickInterval() + 50);
    EXPECT_TRUE(r.zooms.empty());
    EXPECT_EQ(r.selections.size(), notifications);
}

TEST(ViewGestures, MouseDragsDrawABoxFromTheirCornerOrShiftThePalette) {
    for (const auto& [button, mods] : {std::pair{Qt::RightButton, Qt::KeyboardModifiers{}},
                                       std::pair{Qt::LeftButton, Qt::KeyboardModifiers{Qt::ShiftModifier}}}) {
        Recorder r;
        drag(&r.view, {100, 100}, {180, 120}, button, mods);  // 80 wide decides: 0.2 of the view
        EXPECT_TRUE(near(r.box(), {100, 100, 80, 60}));
        drag(&r.view, {100, 100}, {20, 90}, button, mods);  // up and left of the corner
        EXPECT_TRUE(near(r.box(), {20, 40, 80, 60}));
        EXPECT_EQ(r.menus + r.paletteShiftStarts, 0);
    }
    Recorder r;
    click(&r.view, {50, 50}, Qt::RightButton);  // a right click without moving: the menu
    EXPECT_EQ(r.menus, 1);
    EXPECT_FALSE(r.box());

    // Only a vertical left drag shifts the palette.
    drag(&r.view, {200, 250}, {205, 100}, Qt::LeftButton);  // up by half the height
    EXPECT_EQ(r.paletteShiftStarts, 1);
    ASSERT_GE(r.paletteShifts.size(), 2u);
    EXPECT_EQ(r.paletteShifts.front(), 0.0);
    EXPECT_DOUBLE_EQ(r.paletteShifts.back(), 0.5);

    drag(&r.view, {100, 100}, {300, 150}, Qt::LeftButton);  // more sideways than vertical
    EXPECT_EQ(r.paletteShiftStarts, 1);
    EXPECT_EQ(r.backs + r.forwards, 0);
}

TEST(ViewGestures, WheelButtonsSwipesAndScrollsStepThroughTheHistory) {
    Recorder r;
    wheel(&r.view, {120, 0});  // tilted left, like a swipe to the right
    wheel(&r.view, {-120, 0});
    mouse(&r.view, QEvent::MouseButtonPress, {10, 10}, Qt::BackButton, Qt::BackButton);
    mouse(&r.view, QEvent::MouseButtonPress, {10, 10}, Qt::ForwardButton, Qt::ForwardButton);
    EXPECT_EQ(r.backs, 2);
    EXPECT_EQ(r.forwards, 2);

    // Two-finger sideways scroll: one step however far it goes; then X11 touchpads' small angle
    // deltas without pixels.
    QTest::qWait(350);
    for (int i = 0; i < 6; ++i) wheel(&r.view, {40, 0}, {30, 2});
    QTest::qWait(350);
    for (int i = 0; i < 12; ++i) wheel(&r.view, {30, 0});
    EXPECT_EQ(r.backs, 4);

    // Three-finger swipe to the left.
    gesture(&r.view, Qt::BeginNativeGesture, {200, 150}, 0, {}, 3);
    for (int i = 0; i < 5; ++i) gesture(&r.view, Qt::PanNativeGesture, {200, 150}, 0, {-20, 3}, 3);
    gesture(&r.view, Qt::EndNativeGesture, {200, 150}, 0, {}, 3);
    EXPECT_EQ(r.forwards, 3);

    // A scroll while pinching changes nothing.
    gesture(&r.view, Qt::BeginNativeGesture, {200, 150});
    gesture(&r.view, Qt::ZoomNativeGesture, {200, 150}, 0.1);
    QTest::qWait(350);
    wheel(&r.view, {0, 120});
    gesture(&r.view, Qt::EndNativeGesture, {200, 150});
    EXPECT_EQ(r.frequencyShiftStarts, 0);
    EXPECT_TRUE(r.view.selection().hasSelection());
}

TEST(ViewGestures, TheKeyboardDrawsMovesAndZoomsTheBox) {
    Recorder r;
    QTest::keyClick(&r.view, Qt::Key_Plus);
    EXPECT_TRUE(near(r.box(), {100, 75, 200, 150}));
    QTest::keyClick(&r.view, Qt::Key_Right);
    QTest::keyClick(&r.view, Qt::Key_Minus);
    EXPECT_TRUE(near(r.box(), {95, 56.25, 250, 187.5}));
    QTest::keyClick(&r.view, Qt::Key_Return);
    ASSERT_EQ(r.zooms.size(), 1u);
    EXPECT_FALSE(r.box());

    QTest::keyClick(&r.view, Qt::Key_Up);  // no box: the palette moves
    EXPECT_EQ(r.paletteShifts, (std::vector<double>{1.0 / 20}));
    QTest::keyClick(&r.view, Qt::Key_Plus);
    QTest::keyClick(&r.view, Qt::Key_Escape);
    EXPECT_FALSE(r.box());
    EXPECT_EQ(r.zooms.size(), 1u);
}

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

TEST_F(Browser, KeysAndClicksReachTheEntriesAndSkipTheSectionTitles) {
    EXPECT_EQ(panel.currentEntry(), std::make_pair(0, 0));
    key(Qt::Key_Down);  // over the "Built-in" title
    EXPECT_EQ(panel.currentEntry(), std::make_pair(1, 0));
    key(Qt::Key_Return);
    key(Qt::Key_Down);
    key(Qt::Key_Space);
    key(Qt::Key_Menu);
    key(Qt::Key_Up);
    key(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(menus, (std::vector<std::pair<int, int>>{{1, 1}, {1, 0}}));
    // A click applies; a click on a title does nothing.
    QListWidget* list = panel.list();
    for (int i = 0; i < list->count(); ++i)
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(i)).center());
    EXPECT_EQ(applied, (std::vector<std::pair<int, int>>{{1, 0}, {1, 1}, {0, 0}, {1, 0}, {1, 1}}));
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
