// A bar with two groups of controls: on one line, the trailing group at the right end, while
// the bar is wide enough for both; on a narrower bar the trailing group moves to a second
// line under the leading one, still at the right. Nothing is ever squeezed or cut.
#pragma once

#include <QLayout>

namespace gs {

class WrappingBarLayout : public QLayout {
public:
    // Takes both layouts; gap: the room between the groups on one line.
    WrappingBarLayout(QLayout* leading, QLayout* trailing, int gap, QWidget* parent);
    ~WrappingBarLayout() override;

    // Whether the groups need two lines at this width of the bar.
    bool wraps(int width) const;

    void addItem(QLayoutItem* item) override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    int count() const override;
    QSize sizeHint() const override;     // one line
    QSize minimumSize() const override;  // two lines
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    void setGeometry(const QRect& rect) override;

private:
    int contentWidth(int width) const;
    QLayoutItem* leading_ = nullptr;
    QLayoutItem* trailing_ = nullptr;
    int gap_;
};

}  // namespace gs
