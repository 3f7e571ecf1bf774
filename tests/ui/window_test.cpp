// The window's layout at every size from its minimum up.
#include <gtest/gtest.h>

#include <QAbstractButton>

#include "ui/julia_view.h"
#include "ui_test_support.h"

namespace gs {
namespace {

// No two visible widgets of the sidebar or the bottom bar overlap or leave their area, and the
// Julia thumbnail stays square.
TEST(WindowLayout, NothingOverlapsFromTheMinimumSizeUp) {
    test::Explorer e;
    for (const QSize size : {QSize(860, 560), QSize(1024, 640), QSize(1280, 800), QSize(1920, 1080)}) {
        e.window->resize(size);
        ASSERT_TRUE(e.settle());
        for (const char* area : {"sidebar", "statusBar"}) {
            SCOPED_TRACE(testing::Message() << size.width() << "x" << size.height() << " " << area);
            const auto* parent = e.c().findChild<QWidget*>(QLatin1String(area));
            ASSERT_TRUE(parent);
            std::vector<const QWidget*> shown;
            for (const QWidget* child : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
                if (child->isVisible()) shown.push_back(child);
            EXPECT_GT(shown.size(), 5u);
            auto name = [](const QWidget* w) {
                const auto* button = qobject_cast<const QAbstractButton*>(w);
                return (button ? button->text() : QString::fromLatin1(w->metaObject()->className())).toStdString();
            };
            for (std::size_t i = 0; i < shown.size(); ++i) {
                EXPECT_TRUE(parent->rect().contains(shown[i]->geometry())) << name(shown[i]);
                for (std::size_t j = i + 1; j < shown.size(); ++j)
                    EXPECT_FALSE(shown[i]->geometry().intersects(shown[j]->geometry()))
                        << name(shown[i]) << " / " << name(shown[j]);
            }
        }
        EXPECT_EQ(e.c().juliaView()->width(), e.c().juliaView()->height());
    }
}

}  // namespace
}  // namespace gs
