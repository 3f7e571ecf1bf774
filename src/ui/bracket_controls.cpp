#include "ui/bracket_controls.h"

#include <QKeyEvent>
#include <QPainter>

#include "ui/window_style.h"

namespace gs {

namespace {

constexpr int kPadX = 4, kPadY = 5, kGap = 7;

}  // namespace

BracketControl::BracketControl(const QString& label, QWidget* parent) : QAbstractButton(parent) {
    setText(label);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setAccessibleName(label);
}

QSize BracketControl::sizeHint() const {
    const QFontMetrics fm(font());
    const int brackets = 2 * (fm.horizontalAdvance(QLatin1Char('[')) + kGap);
    return {fm.horizontalAdvance(text()) + brackets + 2 * kPadX, fm.height() + 2 * kPadY};
}

void BracketControl::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QFontMetrics fm(font());
    const int bracketW = fm.horizontalAdvance(QLatin1Char('['));
    const int baseline = (height() + fm.ascent() - fm.descent()) / 2;
    const bool hover = underMouse();

    QColor bracket = lit() ? style::kAccent : style::kBracket;
    QColor label = lit() ? style::kTextBright : (hover ? style::kTextBright : style::kText);
    if (dimmed()) bracket = label = style::kTextDim;

    int x = kPadX;
    p.setPen(bracket);
    p.drawText(x, baseline, QStringLiteral("["));
    x += bracketW + kGap;
    p.setPen(label);
    p.drawText(x, baseline, text());
    const int labelEnd = x + fm.horizontalAdvance(text());
    p.setPen(bracket);
    p.drawText(labelEnd + kGap, baseline, QStringLiteral("]"));
    if (hasFocus()) {
        p.setPen(QPen(style::kAccent, 1));
        p.drawLine(x, baseline + fm.descent() + 1, labelEnd, baseline + fm.descent() + 1);
    }
}

void BracketControl::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        animateClick();
        event->accept();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

BracketToggleControl::BracketToggleControl(const QString& label, QWidget* parent)
    : BracketControl(label, parent) {
    setCheckable(true);
}

ZoomHistoryControl::ZoomHistoryControl(const QString& label, Direction direction, QWidget* parent)
    : BracketControl(label, parent) {
    setAccessibleDescription(direction == Direction::backward ? tr("Back to the previous view")
                                                              : tr("Forward to the next view"));
}

void ZoomHistoryControl::setAvailable(bool available) {
    if (available_ == available) return;
    available_ = available;
    update();
}

}  // namespace gs
