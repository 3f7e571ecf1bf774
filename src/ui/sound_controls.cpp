#include "ui/sound_controls.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "sound/level_meter.h"
#include "ui/window_style.h"

namespace gs {

namespace {
constexpr int kMeterWidth = 34, kMeterHeight = 4, kMeterMargin = 2;
constexpr int kPadY = 5;  // as the bracket controls, so the row's baseline lines up
}  // namespace

SoundLevelMeter::SoundLevelMeter(QWidget* parent) : QWidget(parent) {
    setAccessibleName(tr("Sound level"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    QSizePolicy keepPlace = sizePolicy();
    keepPlace.setRetainSizeWhenHidden(true);
    keepPlace.setHorizontalPolicy(QSizePolicy::Fixed);
    keepPlace.setVerticalPolicy(QSizePolicy::Fixed);
    setSizePolicy(keepPlace);
}

QSize SoundLevelMeter::sizeHint() const {
    return {kMeterWidth + 2 * kMeterMargin, kMeterHeight + 2 * kMeterMargin};
}

int SoundLevelMeter::filledWidth(double level) const {
    return static_cast<int>(std::lround(level * kMeterWidth));
}

void SoundLevelMeter::follow(double level, double dt) {
    const double next = meterLevel(shown_, level, dt);
    const bool moved = filledWidth(next) != filledWidth(shown_);
    shown_ = next;
    if (moved) update();
}

void SoundLevelMeter::reset() {
    if (shown_ == 0) return;
    shown_ = 0;
    update();
}

void SoundLevelMeter::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    const QRectF track(kMeterMargin, (height() - kMeterHeight) / 2.0, kMeterWidth, kMeterHeight);
    const double radius = kMeterHeight / 2.0;
    QColor trackColour = style::kBracket;
    trackColour.setAlpha(110);
    p.setBrush(trackColour);
    p.drawRoundedRect(track, radius, radius);
    const int filled = filledWidth(shown_);
    if (filled <= 0) return;
    p.setBrush(style::kAccent);
    p.drawRoundedRect(QRectF(track.left(), track.top(), filled, kMeterHeight), radius, radius);
}

SoundInputButton::SoundInputButton(QWidget* parent) : QToolButton(parent) {
    setPopupMode(QToolButton::InstantPopup);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    setAccessibleName(tr("Sound Input"));
    setToolTip(tr("Sound input"));
}

QSize SoundInputButton::sizeHint() const {
    const QFontMetrics fm(font());
    return {fm.height(), fm.height() + 2 * kPadY};
}

void SoundInputButton::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QColor colour = isDown() ? style::kAccent : (underMouse() ? style::kTextBright : style::kText);
    const QPointF c(width() / 2.0, height() / 2.0);
    QPainterPath chevron;
    chevron.moveTo(c + QPointF(-3.5, -1.5));
    chevron.lineTo(c + QPointF(0, 2.0));
    chevron.lineTo(c + QPointF(3.5, -1.5));
    p.setPen(QPen(colour, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawPath(chevron);
    if (hasFocus()) {
        p.setPen(QPen(style::kAccent, 1));
        const int y = height() - kPadY + 1;
        p.drawLine(QPointF(c.x() - 4.5, y), QPointF(c.x() + 4.5, y));
    }
}

void SoundInputButton::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Down:
        showMenu();
        event->accept();
        return;
    default:
        QToolButton::keyPressEvent(event);
    }
}

}  // namespace gs
