#include "ui/notice_overlay.h"

#include <QEvent>
#include <algorithm>
#include <QGraphicsOpacityEffect>
#include <QPainter>
#include <QPropertyAnimation>
#include <QTimer>

#include "ui/window_style.h"

namespace gs {
namespace {

constexpr int kPadX = 16, kPadY = 9, kBottomGap = 18, kSideGap = 12;

}  // namespace

NoticeOverlay::NoticeOverlay(QWidget* host) : QWidget(host), hold_(new QTimer(this)) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(tr("Notice"));
    auto* opacity = new QGraphicsOpacityEffect(this);
    setGraphicsEffect(opacity);
    fade_ = new QPropertyAnimation(opacity, "opacity", this);
    fade_->setDuration(kFadeMs);
    fade_->setStartValue(1.0);
    fade_->setEndValue(0.0);
    connect(fade_, &QPropertyAnimation::finished, this, &QWidget::hide);
    hold_->setSingleShot(true);
    connect(hold_, &QTimer::timeout, fade_, [this] { fade_->start(); });
    host->installEventFilter(this);
    hide();
}

void NoticeOverlay::showNotice(const QString& text) {
    text_ = text;
    setAccessibleDescription(text);
    fade_->stop();
    static_cast<QGraphicsOpacityEffect*>(graphicsEffect())->setOpacity(1.0);
    place();
    show();
    raise();
    update();
    hold_->start(kShownMs);
}

// Centred near the bottom of the free area, as wide as the text needs (wrapping at the area's
// width).
void NoticeOverlay::place() {
    const QRect area = freeArea ? freeArea() : parentWidget()->rect();
    const int most = std::max(40, area.width() - 2 * kSideGap);
    const QRect text = fontMetrics().boundingRect(QRect(0, 0, most - 2 * kPadX, 1000),
                                                  Qt::AlignCenter | Qt::TextWordWrap, text_);
    const QSize size(text.width() + 2 * kPadX, text.height() + 2 * kPadY);
    setGeometry(area.left() + (area.width() - size.width()) / 2,
                area.bottom() + 1 - size.height() - kBottomGap, size.width(), size.height());
}

void NoticeOverlay::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QColor(255, 255, 255, 30));
    p.setBrush(QColor(16, 18, 22, 225));
    p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    p.setPen(style::kTextBright);
    p.drawText(rect().adjusted(kPadX, kPadY, -kPadX, -kPadY), Qt::AlignCenter | Qt::TextWordWrap, text_);
}

bool NoticeOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible()) place();
    return QWidget::eventFilter(watched, event);
}

}  // namespace gs
