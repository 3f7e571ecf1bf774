// Palette animation and auto-explore through the real window: the tick's time base, everything
// that ends the flight, and full screen. The flight's steps zooming in once each picture is
// complete are the end-to-end motion script's; their size is the exploration tests'.
#include <gtest/gtest.h>

#include "fake_microphone.h"
#include "ui/bracket_controls.h"
#include "ui/dissolve_overlay.h"
#include "ui/julia_view.h"
#include "ui_test_support.h"

namespace gs {
namespace {

using test::Explorer;

// The clock's arithmetic is the exploration tests'; here the window holds the palette during a
// render and moves it after.
TEST(PaletteAnimation, TicksHoldDuringARenderAndColourFromKeptInputsUntilItStops) {
    Explorer e;
    double now = 100.0;
    e.c().animationNow = [&now] { return now; };
    e.c().toggleAnimateColors();
    EXPECT_TRUE(e.c().animateColorsEnabled() && e.c().animationTimerRunning());
    auto tick = [&] {
        now += kAnimationTickInterval;
        e.c().animationTick();
        return e.c().cycleOffset();
    };
    const double start = tick();  // the first tick sets the time mark only
    e.c().render();
    EXPECT_EQ(tick(), start);  // the mark moves, the palette does not
    ASSERT_TRUE(e.settle());
    EXPECT_NEAR(tick(), wrapCycle(start + 0.004), 1e-12);
    // The moving palette colours from kept inputs, made anew after a render's new rows; they
    // give the picture a plain recolour gives, and are let go when the animation stops.
    ASSERT_TRUE(e.settle());
    const Frame& frame = e.c().mandelbrotView()->frame();
    EXPECT_TRUE(frame.keptInputs.key.has_value());
    const Viewport v = e.c().viewport();  // moved by half its height: the same key, new data
    e.c().setViewport({v.xmin, v.xmax, v.ymin + v.height() / 2, v.ymax + v.height() / 2});
    ASSERT_TRUE(e.settle());
    tick();
    ASSERT_TRUE(e.settle());
    const auto animated = frame.pixels;
    e.c().toggleAnimateColors();
    EXPECT_TRUE(!e.c().animationTimerRunning() && frame.keptInputs.count.empty());
    e.c().recolorAll();
    EXPECT_EQ(frame.pixels, animated);
}

// The interval is long, so only the steps the test asks for happen.
struct Flight : Explorer {
    std::optional<bool> askedForFullScreenInterval;
    Flight() : Explorer(std::make_unique<test::FakeMicrophone>()) {
        c().autoStepIntervalMs = [this](bool chromeHidden) {
            askedForFullScreenInterval = chromeHidden;
            return 60000;
        };
    }
};

// Each gesture, and every key, button and mouse equivalent of one, ends the flight. (The mouse's
// back button and a tilted wheel are the view's history requests: the view's own test maps them.)
TEST(AutoExplore, EveryGestureItsEquivalentsAndResetAllEndTheFlight) {
    Flight f;
    f.window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(f.window.get()));
    QWidget* window = f.window.get();
    MandelbrotView* view = &f.view();
    auto button = [&](const char* label) {
        for (auto* control : f.c().findChildren<BracketControl*>())
            if (control->text() == QLatin1String(label)) return control;
        return static_cast<BracketControl*>(nullptr);
    };
    const std::vector<std::pair<const char*, std::function<void()>>> enders = {
        {"zoom", [&] { view->onZoomRequested(RectF{10, 10, 40, 30}); }},
        {"selection", [&] { view->onSelectionChanged(std::nullopt); }},
        {"swipe back", [&] { view->onZoomHistoryBackRequested(); }},
        {"swipe forward", [&] { view->onZoomHistoryForwardRequested(); }},
        {"Alt+Left", [&] { QTest::keyClick(window, Qt::Key_Left, Qt::AltModifier); }},
        {"Ctrl+Right", [&] { QTest::keyClick(window, Qt::Key_Right, Qt::ControlModifier); }},
        {"Zoom backward button", [&] { button("Zoom backward")->click(); }},
        {"Zoom forward button", [&] { button("Zoom forward")->click(); }},
        {"+ key", [&] { QTest::keyClick(view, Qt::Key_Plus); }},
        {"double click", [&] { QTest::mouseDClick(view, Qt::LeftButton, {}, {20, 20}); }},
        {"Ctrl+Shift+R", [&] { QTest::keyClick(window, Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier); }},
        {"reset all", [&] { f.c().resetAll(); }},
    };
    for (const auto& [name, end] : enders) {
        SCOPED_TRACE(name);
        view->setFocus();
        view->restoreSelection(SelectionBox{0.2, 0.2, 0.3});
        if (!f.c().autoEnabled()) f.c().toggleAutoAction();  // removes the box and stays on
        EXPECT_TRUE(!view->shownSelectionRect() && f.c().autoEnabled() && f.c().autoStepScheduled());
        end();
        EXPECT_FALSE(f.c().autoEnabled() || f.c().autoStepScheduled());
        ASSERT_TRUE(f.settle());
    }
}

TEST(FullScreen, EveryCopyOfAToggleShowsTheStateOfItsTwin) {
    Flight f;
    f.c().toggleFullScreen();
    ASSERT_TRUE(f.c().isChromeHidden());
    std::vector<std::pair<BracketToggleControl*, BracketToggleControl*>> pairs;
    for (auto* copy : f.c().findChildren<BracketToggleControl*>())
        if (copy->objectName().startsWith(QStringLiteral("fullScreen ")))
            for (auto* windowed : f.c().findChildren<BracketToggleControl*>())
                if (windowed != copy && windowed->text() == copy->text())
                    pairs.emplace_back(windowed, copy);
    ASSERT_EQ(pairs.size(), 9u);
    auto allAgree = [&] {
        return std::all_of(pairs.begin(), pairs.end(),
                           [](auto p) { return p.first->isChecked() == p.second->isChecked(); });
    };
    EXPECT_TRUE(allAgree());
    for (const auto& [windowed, copy] : pairs) {
        SCOPED_TRACE(copy->text().toStdString());
        const bool before = windowed->isChecked();
        copy->click();
        EXPECT_TRUE(allAgree());
        // Smooth and Random stay on when chosen again; every other toggle flips.
        const bool mode = copy->text() == "Smooth" || copy->text() == "Random";
        EXPECT_TRUE(mode || windowed->isChecked() != before);
        ASSERT_TRUE(f.settle());
    }

    // Esc first dismisses a shown box, then leaves full screen, the one command it offers.
    EXPECT_EQ(f.c().offeredEscapeCommands(), QStringList{QStringLiteral("Exit Full Screen")});
    f.view().restoreSelection(SelectionBox{0.2, 0.2, 0.3});
    f.view().setFocus();
    QTest::keyClick(&f.view(), Qt::Key_Escape);
    EXPECT_TRUE(!f.view().shownSelectionRect() && f.c().isChromeHidden());
    QTest::keyClick(&f.view(), Qt::Key_Escape);
    EXPECT_TRUE(!f.c().isChromeHidden() && f.c().offeredEscapeCommands().isEmpty());
}

// In full screen the Julia picture keeps its square and fills the screen's width or height (the
// main picture's fit is the end-to-end motion script's).
void expectFitted(const QWidget* screen, const QWidget* picture, double aspect) {
    EXPECT_NEAR(double(picture->width()) / picture->height(), aspect, 0.01);
    EXPECT_TRUE(picture->width() == screen->width() || picture->height() == screen->height());
}

TEST(FullScreen, TheJuliaSwapPausesTheFlightAndSwappingBackResumesIt) {
    Flight f;
    f.c().toggleFullScreen();
    ASSERT_TRUE(f.settle());
    f.c().toggleAutoAction();
    EXPECT_EQ(f.askedForFullScreenInterval, true);
    f.c().autoStep();  // in full screen the pictures cross-fade
    ASSERT_TRUE(f.c().autoDissolveOverlay());
    ASSERT_TRUE(f.settle());
    EXPECT_TRUE(test::waitFor([&] { return !f.c().autoDissolveOverlay(); }, 4000));

    f.c().handleFullScreenSwapTap();
    ASSERT_TRUE(f.c().isShowingJuliaFullscreen());
    expectFitted(f.window.get(), f.c().juliaView(), 1.0);
    EXPECT_FALSE(f.c().autoStepScheduled());
    const Viewport before = f.c().viewport();
    f.c().autoStep();  // paused: neither moves nor reschedules
    EXPECT_EQ(f.c().viewport(), before);
    EXPECT_TRUE(!f.c().autoStepScheduled() && f.c().autoEnabled());

    // Swapping back, or leaving full screen with the Julia view in the big place, resumes it.
    using C = MacViewController;
    for (auto leave : {&C::handleFullScreenSwapTap, &C::handleHideChromeTagTap}) {
        if (!f.c().isShowingJuliaFullscreen()) f.c().handleFullScreenSwapTap();
        (f.c().*leave)();
        EXPECT_TRUE(!f.c().isShowingJuliaFullscreen() && f.c().autoStepScheduled());
    }
}

// The cross-fade's snapshot is magnified like the picture (every pixel one of the picture's
// colours) and keeps covering the view when the view changes size during the fade.
TEST(FullScreen, TheDissolveSnapshotIsBlockyAndPinnedToTheView) {
    QWidget view;
    view.resize(120, 90);
    QImage picture(2, 2, QImage::Format_RGBX8888);
    const QList<QRgb> colours = {qRgb(255, 0, 0), qRgb(0, 255, 0), qRgb(0, 0, 255), qRgb(255, 255, 255)};
    for (int i = 0; i < 4; ++i) picture.setPixel(i % 2, i / 2, colours[i]);
    auto* overlay = new DissolveOverlay(picture, &view);
    view.show();
    for (const QSize size : {QSize(120, 90), QSize(317, 163)}) {
        view.resize(size);
        EXPECT_EQ(overlay->geometry(), view.rect());
        const QImage shown = overlay->grab().toImage().convertToFormat(QImage::Format_RGB32);
        ASSERT_EQ(shown.size(), size * overlay->devicePixelRatioF());
        int blended = 0;
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x) blended += !colours.contains(shown.pixel(x, y));
        EXPECT_EQ(blended, 0);
    }
}

}  // namespace
}  // namespace gs
