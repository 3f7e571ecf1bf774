// The window's layout at every size from its minimum up, in standard and in advanced mode.
#include <gtest/gtest.h>

#include <QAbstractButton>

#include "ui/julia_view.h"
#include "ui/tuning_help_card.h"
#include "ui/tuning_panel_view.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

std::string nameOf(const QWidget* w) {
    const auto* button = qobject_cast<const QAbstractButton*>(w);
    return (button ? button->text() : QString::fromLatin1(w->metaObject()->className())).toStdString();
}

// No visible control of the sidebar, the bottom bar or the tuning panel overlaps another or
// leaves its area; the Julia thumbnail stays square.
void expectNothingOverlaps(Explorer& e) {
    for (const char* area : {"sidebar", "statusBar", "tuningPanel"}) {
        const auto* parent = e.c().findChild<QWidget*>(QLatin1String(area));
        ASSERT_TRUE(parent) << area;
        if (!parent->isVisible()) continue;
        std::vector<const QWidget*> shown;
        for (const QWidget* child : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            if (child->isVisible()) shown.push_back(child);
        EXPECT_GT(shown.size(), 5u) << area;
        for (std::size_t i = 0; i < shown.size(); ++i) {
            EXPECT_TRUE(parent->rect().contains(shown[i]->geometry())) << area << " " << nameOf(shown[i]);
            for (std::size_t j = i + 1; j < shown.size(); ++j)
                EXPECT_FALSE(shown[i]->geometry().intersects(shown[j]->geometry()))
                    << area << " " << nameOf(shown[i]) << " / " << nameOf(shown[j]);
        }
    }
    EXPECT_EQ(e.c().juliaView()->width(), e.c().juliaView()->height());
}

// In advanced mode the panel takes the layout of the window's width and stays under the picture,
// which keeps at least 300 points of height; every docked help card fits.
void expectThePanelFits(Explorer& e, TuningPanelView::Layout layout) {
    TuningPanelView& panel = *e.c().tuningPanel();
    const QRect picture(e.view().mapTo(e.window.get(), QPoint(0, 0)), e.view().size());
    EXPECT_EQ(panel.currentLayout(), layout);
    EXPECT_FALSE(panel.geometry().intersects(picture));
    EXPECT_GE(e.view().height(), 300);
    for (int t = 0; t < static_cast<int>(panel.tabs().size()); ++t) {
        panel.selectTab(t);
        for (int s = 0; s < static_cast<int>(panel.sliders().size()); ++s) {
            panel.showHelp(s);
            const TuningHelpCard* card = panel.helpCard();
            EXPECT_GE(card->height(), card->heightForWidth(card->width())) << card->title().toStdString();
            const QRect inWindow(card->mapTo(e.window.get(), QPoint(0, 0)), card->size());
            EXPECT_TRUE(e.window->rect().contains(inWindow)) << card->title().toStdString();
        }
    }
    panel.hideHelp();
    panel.selectTab(0);
}

TEST(WindowLayout, EverythingFitsFromTheMinimumSizeUpInEitherMode) {
    clearPreferences();
    Explorer e;
    using Layout = TuningPanelView::Layout;
    const std::pair<QSize, Layout> cases[] = {{{860, 560}, Layout::overlay},
                                              {{1024, 640}, Layout::overlay},
                                              {{1240, 800}, Layout::standard},
                                              {{1920, 1080}, Layout::wide}};
    for (const auto& [size, layout] : cases) {
        for (bool advanced : {false, true}) {
            if (e.c().isAdvancedMode() != advanced) e.c().handleModeTagTap();
            e.window->resize(size);
            ASSERT_TRUE(e.settle());
            SCOPED_TRACE(testing::Message() << size.width() << "x" << size.height() << (advanced ? " advanced" : ""));
            EXPECT_EQ(e.c().tuningPanel()->isVisible(), advanced);
            expectNothingOverlaps(e);
            if (advanced) expectThePanelFits(e, layout);
        }
    }
    e.c().toggleFullScreen();  // the picture has the screen to itself
    EXPECT_FALSE(e.c().tuningPanel()->isVisible());
    e.c().toggleFullScreen();
    EXPECT_TRUE(e.c().tuningPanel()->isVisible());
}

}  // namespace
}  // namespace gs::test
