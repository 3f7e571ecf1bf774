#include "ui/notice_view.h"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QPropertyAnimation>
#include <QTimer>
#include <algorithm>

#include "ui/window_style.h"

namespace gs {

namespace {
constexpr int kBottomMargin = 24;
constexpr int kSideMargin = 16;
}  // namespace

NoticeView::NoticeView(QWidget* host)
    : QLabel(host), host_(host), hold_(new QTimer(this)), opacity_(new QGraphicsOpacityEffect(this)),
      fade_(new QPropertyAnimation(opacity_, "opacity", this)) {
    setObjectName(QStringLiteral("notice"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setAlignment(Qt::AlignCenter);
    setMargin(10);
    setStyleSheet(QStringLiteral("QLabel#notice { background: rgba(16, 18, 22, 215); color: %1;"
                                 " border: 1px solid rgba(255, 255, 255, 28); border-radius: 9px;"
                                 " padding: 0 8px; }")
                      .arg(style::kTextBright.name()));
    setGraphicsEffect(opacity_);
    hold_->setSingleShot(true);
    connect(hold_, &QTimer::timeout, fade_, [this] { fade_->start(); });
    fade_->setDuration(kFadeMs);
    fade_->setStartValue(1.0);
    fade_->setEndValue(0.0);
    connect(fade_, &QPropertyAnimation::finished, this, &QWidget::hide);
    host_->installEventFilter(this);
    hide();
}

void NoticeView::showNotice(const QString& text) {
    fade_->stop();
    opacity_->setOpacity(1.0);
    setText(text);
    place();
    show();
    raise();
    hold_->start(kShownMs);
}

bool NoticeView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == host_ && event->type() == QEvent::Resize && isVisible()) place();
    return QLabel::eventFilter(watched, event);
}

// Centred near the bottom of what the host shows, as wide as its text.
void NoticeView::place() {
    QRect area = host_->rect();
    if (obstruction_ && obstruction_->isVisible()) area.setRight(obstruction_->x() - 1);
    const int maxWidth = std::max(1, area.width() - 2 * kSideMargin);
    const int width = std::min(maxWidth, fontMetrics().horizontalAdvance(text()) + 2 * margin() + 24);
    const int height = heightForWidth(width);
    setGeometry(area.left() + (area.width() - width) / 2, area.bottom() - height - kBottomMargin, width, height);
}

}  // namespace gs
