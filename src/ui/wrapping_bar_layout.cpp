#include "ui/wrapping_bar_layout.h"

#include <QWidget>
#include <algorithm>

namespace gs {

WrappingBarLayout::WrappingBarLayout(QLayout* leading, QLayout* trailing, int gap, QWidget* parent)
    : QLayout(parent), leading_(leading), trailing_(trailing), gap_(gap) {
    addChildLayout(leading);
    addChildLayout(trailing);
}

WrappingBarLayout::~WrappingBarLayout() {
    delete leading_;
    delete trailing_;
}

// The two groups are fixed; nothing else is taken.
void WrappingBarLayout::addItem(QLayoutItem* item) { delete item; }

QLayoutItem* WrappingBarLayout::itemAt(int index) const {
    return index == 0 ? leading_ : index == 1 ? trailing_ : nullptr;
}

QLayoutItem* WrappingBarLayout::takeAt(int index) {
    QLayoutItem* item = itemAt(index);
    if (index == 0) leading_ = nullptr;
    if (index == 1) trailing_ = nullptr;
    return item;
}

int WrappingBarLayout::count() const { return (leading_ ? 1 : 0) + (trailing_ ? 1 : 0); }

int WrappingBarLayout::contentWidth(int width) const {
    const QMargins m = contentsMargins();
    return width - m.left() - m.right();
}

bool WrappingBarLayout::wraps(int width) const {
    if (!leading_ || !trailing_) return false;
    return leading_->sizeHint().width() + gap_ + trailing_->sizeHint().width() > contentWidth(width);
}

QSize WrappingBarLayout::sizeHint() const {
    const QMargins m = contentsMargins();
    const QSize a = leading_ ? leading_->sizeHint() : QSize(), b = trailing_ ? trailing_->sizeHint() : QSize();
    return {a.width() + gap_ + b.width() + m.left() + m.right(),
            std::max(a.height(), b.height()) + m.top() + m.bottom()};
}

QSize WrappingBarLayout::minimumSize() const {
    const QMargins m = contentsMargins();
    const QSize a = leading_ ? leading_->minimumSize() : QSize(), b = trailing_ ? trailing_->minimumSize() : QSize();
    const int width = std::max(a.width(), b.width()) + m.left() + m.right();
    return {width, heightForWidth(width)};
}

int WrappingBarLayout::heightForWidth(int width) const {
    const QMargins m = contentsMargins();
    const int a = leading_ ? leading_->sizeHint().height() : 0, b = trailing_ ? trailing_->sizeHint().height() : 0;
    return m.top() + m.bottom() + (wraps(width) ? a + spacing() + b : std::max(a, b));
}

void WrappingBarLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    if (!leading_ || !trailing_) return;
    const QRect area = rect.marginsRemoved(contentsMargins());
    const QSize b = trailing_->sizeHint();
    if (!wraps(rect.width())) {
        leading_->setGeometry(QRect(area.left(), area.top(), area.width() - gap_ - b.width(), area.height()));
        trailing_->setGeometry(QRect(area.right() + 1 - b.width(), area.top(), b.width(), area.height()));
        return;
    }
    const int a = leading_->sizeHint().height();
    leading_->setGeometry(QRect(area.left(), area.top(), area.width(), a));
    trailing_->setGeometry(QRect(area.right() + 1 - b.width(), area.top() + a + spacing(), b.width(), b.height()));
}

}  // namespace gs
