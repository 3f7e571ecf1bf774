#include "ui/advanced_mode_tag.h"

#include <QKeyEvent>
#include <QPainter>

#include "ui/window_style.h"

namespace gs {

namespace {

constexpr int kPadY = 4, kDotGap = 6, kDotSize = 7;
const QColor kAmber{0xff, 0xb3, 0x2e};

QFont tagFont(const QFont& base) {
    QFont f = base;
    f.setPointSizeF(f.pointSizeF() * 0.78);
    f.setLetterSpacing(QFont::PercentageSpacing, 115);
    return f;
}

}  // namespace

const QString AdvancedModeTag::kHelpText = QStringLiteral(
    "ADVANCED MODE exposes the shading parameters as sliders. An amber dot means some of them are "
    "off their defaults and still applied while the panel is closed (Reset All puts everything back).");

AdvancedModeTag::AdvancedModeTag(QWidget* parent) : QAbstractButton(parent) {
    setObjectName(QStringLiteral("advancedModeTag"));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setToolTip(kHelpText);
    setAccessibleDescription(kHelpText);
    setAdvanced(false);
}

void AdvancedModeTag::setAdvanced(bool advanced) {
    const QString label = advanced ? tr("‹ STANDARD MODE") : tr("ADVANCED");
    if (label == text()) return;
    setText(label);
    setAccessibleName(label);
    updateGeometry();
    update();
}

void AdvancedModeTag::setDotShown(bool shown) {
    if (shown == dotShown_) return;
    dotShown_ = shown;
    update();
}

QSize AdvancedModeTag::sizeHint() const {
    const QFontMetrics fm(tagFont(font()));
    return {fm.horizontalAdvance(text()) + kDotGap + kDotSize + 2, fm.height() + 2 * kPadY};
}

QRect AdvancedModeTag::dotRect() const {
    const QFontMetrics fm(tagFont(font()));
    return {fm.horizontalAdvance(text()) + kDotGap, (height() - kDotSize) / 2, kDotSize, kDotSize};
}

void AdvancedModeTag::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setFont(tagFont(font()));
    const QFontMetrics fm(p.font());
    const int baseline = (height() + fm.ascent() - fm.descent()) / 2;
    p.setPen(isDown() || underMouse() ? style::kAccent : style::kCaption);
    p.drawText(0, baseline, text());
    if (hasFocus()) {
        p.setPen(QPen(style::kAccent, 1));
        p.drawLine(0, baseline + fm.descent() + 1, fm.horizontalAdvance(text()), baseline + fm.descent() + 1);
    }
    if (dotShown_) {
        p.setPen(Qt::NoPen);
        p.setBrush(kAmber);
        p.drawEllipse(dotRect());
    }
}

void AdvancedModeTag::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        animateClick();
        event->accept();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

}  // namespace gs
