// The window's layout at every size from its minimum up.
#include <gtest/gtest.h>

#include <QAbstractButton>

#include "ui/julia_view.h"
#include "ui_test_support.h"

namespace gs {
namespace {

using test::Explorer;

// The visible widgets directly inside `parent`, in its coordinates.
std::vector<std::pair<QString, QRect>> visibleChildren(const QWidget* parent) {
    std::vector<std::pair<QString, QRect>> out;
    for (const QWidget* child : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (child->isVisible()) {
            const auto* button = qobject_cast<const QAbstractButton*>(child);
            out.emplace_back(button ? button->text() : QString::fromLatin1(child->metaObject()->className()),
                             child->geometry());
        }
    return out;
}

TEST(WindowLayout, NothingOverlapsFromTheMinimumSizeUp) {
    Explorer e;
    for (const QSize size : {QSize(860, 560), QSize(1024, 640), QSize(1280, 800), QSize(1920, 1080)}) {
        e.window->resize(size);
        ASSERT_TRUE(e.settle());
        for (const char* area : {"sidebar", "statusBar"}) {
            SCOPED_TRACE(testing::Message() << size.width() << "x" << size.height() << " " << area);
            const auto* parent = e.c().findChild<QWidget*>(QLatin1String(area));
            ASSERT_TRUE(parent);
            const auto children = visibleChildren(parent);
            EXPECT_GT(children.size(), 5u);
            for (std::size_t i = 0; i < children.size(); ++i) {
                EXPECT_TRUE(parent->rect().contains(children[i].second)) << children[i].first.toStdString();
                for (std::size_t j = i + 1; j < children.size(); ++j)
                    EXPECT_FALSE(children[i].second.intersects(children[j].second))
                        << children[i].first.toStdString() << " / " << children[j].first.toStdString();
            }
        }
        const QSize julia = e.c().juliaView()->size();
        EXPECT_EQ(julia.width(), julia.height());
    }
}

}  // namespace
}  // namespace gs
