// The window's widgets on their own, only their callbacks watched: the fractal view's input
// mapping from synthetic mouse, wheel, touchpad and key events to its requests, and the browser
// drawer, whose keyboard and mouse reach every entry and only entries.
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

// A 400 x 300 point view recording every request in order: "zoom", "box" or "no box" (the box
// announced), "shift" (a palette shift began), "frequency" (a frequency shift began), "palette"
// (a new one), "back", "forward", "menu"; and the palette shifts' amounts.
struct Recorder {
    MandelbrotView view;
    QStringList requests;
    std::optional<RectF> announced;
    std::vector<double> paletteShifts;

    Recorder() {
        const auto note = [this](const char* what) { return [this, what] { requests << what; }; };
        view.onZoomRequested = [this](const RectF&) { requests << "zoom"; };
        view.onSelectionChanged = [this](const std::optional<RectF>& r) {
            requests << (r ? "box" : "no box");
            announced = r;
        };
        view.onPaletteShiftBegan = note("shift");
        view.onPaletteShiftChanged = [this](double a) { paletteShifts.push_back(a); };
        view.onFrequencyShiftBegan = note("frequency");
        view.onFrequencyShiftChanged = [](double, double) {};
        view.onColorCycleRequested = note("palette");
        view.onZoomHistoryBackRequested = note("back");
        view.onZoomHistoryForwardRequested = note("forward");
        view.onContextMenuRequested = [this](const QPoint&) { requests << "menu"; };
        view.resize(400, 300);
        view.show();
    }
    std::optional<RectF> box() const { return view.shownSelectionRect(); }
};

// A click outside dismissing the box is the selection's own test.
TEST(ViewGestures, DoubleClicksAskForAPaletteNeverZooming) {
    Recorder r;
    pinch(&r.view, {200, 150}, 1.0);
    ASSERT_TRUE(r.box());
    EXPECT_EQ(r.announced, r.box());  // the new box is announced
    r.requests.clear();
    click(&r.view, {200, 150});  // a double click inside the box keeps it
    mouse(&r.view, QEvent::MouseButtonDblClick, {200, 150}, Qt::LeftButton, Qt::LeftButton);
    mouse(&r.view, QEvent::MouseButtonRelease, {200, 150}, Qt::LeftButton, Qt::NoButton);
    QTest::qWait(QApplication::doubleClickInterval() + 50);
    EXPECT_TRUE(r.box());
    EXPECT_EQ(r.requests, QStringList{"palette"});
}

TEST(ViewGestures, MouseDragsDrawABoxFromTheirCornerOrShiftThePalette) {
    for (const auto& [button, mods] : {std::pair{Qt::RightButton, Qt::KeyboardModifiers{}},
                                       std::pair{Qt::LeftButton, Qt::KeyboardModifiers{Qt::ShiftModifier}}}) {
        Recorder r;
        drag(&r.view, {100, 100}, {180, 120}, button, mods);  // 80 wide decides: 0.2 of the view
        EXPECT_TRUE(near(r.box(), {100, 100, 80, 60}));
        drag(&r.view, {100, 100}, {20, 90}, button, mods);  // up and left of the corner
        EXPECT_TRUE(near(r.box(), {20, 40, 80, 60}));
        EXPECT_FALSE(r.requests.contains("menu") || r.requests.contains("shift"));
    }
    Recorder r;
    click(&r.view, {50, 50}, Qt::RightButton);  // a right click without moving: the menu
    EXPECT_FALSE(r.box());

    // Only a vertical left drag shifts the palette.
    drag(&r.view, {200, 250}, {205, 100}, Qt::LeftButton);  // up by half the height
    ASSERT_GE(r.paletteShifts.size(), 2u);
    EXPECT_EQ(r.paletteShifts.front(), 0.0);
    EXPECT_DOUBLE_EQ(r.paletteShifts.back(), 0.5);
    drag(&r.view, {100, 100}, {300, 150}, Qt::LeftButton);  // more sideways than vertical
    EXPECT_EQ(r.requests, (QStringList{"menu", "shift"}));
}

TEST(ViewGestures, WheelButtonsSwipesAndScrollsStepThroughTheHistory) {
    Recorder r;
    wheel(&r.view, {120, 0});  // tilted left, like a swipe to the right
    wheel(&r.view, {-120, 0});
    mouse(&r.view, QEvent::MouseButtonPress, {10, 10}, Qt::BackButton, Qt::BackButton);
    mouse(&r.view, QEvent::MouseButtonPress, {10, 10}, Qt::ForwardButton, Qt::ForwardButton);

    // Two-finger sideways scroll: one step however far it goes; then X11 touchpads' small angle
    // deltas without pixels.
    QTest::qWait(350);
    for (int i = 0; i < 6; ++i) wheel(&r.view, {40, 0}, {30, 2});
    QTest::qWait(350);
    for (int i = 0; i < 12; ++i) wheel(&r.view, {30, 0});

    // Three-finger swipe to the left.
    gesture(&r.view, Qt::BeginNativeGesture, {200, 150}, 0, {}, 3);
    for (int i = 0; i < 5; ++i) gesture(&r.view, Qt::PanNativeGesture, {200, 150}, 0, {-20, 3}, 3);
    gesture(&r.view, Qt::EndNativeGesture, {200, 150}, 0, {}, 3);
    EXPECT_EQ(r.requests, (QStringList{"back", "forward", "back", "forward", "back", "back", "forward"}));

    // A scroll while pinching changes nothing.
    gesture(&r.view, Qt::BeginNativeGesture, {200, 150});
    gesture(&r.view, Qt::ZoomNativeGesture, {200, 150}, 0.1);
    QTest::qWait(350);
    wheel(&r.view, {0, 120});
    gesture(&r.view, Qt::EndNativeGesture, {200, 150});
    EXPECT_FALSE(r.requests.contains("frequency"));
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
    EXPECT_TRUE(r.requests.contains("zoom") && !r.box());

    QTest::keyClick(&r.view, Qt::Key_Up);  // no box: the palette moves
    EXPECT_EQ(r.paletteShifts, (std::vector<double>{1.0 / 20}));
    QTest::keyClick(&r.view, Qt::Key_Plus);
    QTest::keyClick(&r.view, Qt::Key_Escape);
    EXPECT_FALSE(r.box());
    EXPECT_EQ(r.requests.count("zoom"), 1);
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
    for (int i = 0; i < panel.list()->count(); ++i) clickRow(*panel.list(), i);
    EXPECT_EQ(applied, (std::vector<std::pair<int, int>>{{1, 0}, {1, 1}, {0, 0}, {1, 0}, {1, 1}}));
}

}  // namespace
}  // namespace gs::test
