#include "ui/activity_indicator.h"

#include <QPainter>
#include <QTimer>

#include "ui/window_style.h"

namespace gs {
namespace {

constexpr int kFrameMs = 33;      // 30 frames a second
constexpr int kDegreesPerFrame = 12;

}  // namespace

ActivityIndicator::ActivityIndicator(QWidget* parent, int diameter)
    : QWidget(parent), diameter_(diameter), timer_(new QTimer(this)) {
    setFixedSize(diameter, diameter);
    setAccessibleName(tr("Working"));
    timer_->setInterval(kFrameMs);
    connect(timer_, &QTimer::timeout, this, &ActivityIndicator::step);
    hide();
}

void ActivityIndicator::startAnimating() {
    animating_ = true;
    show();
    timer_->start();
}

void ActivityIndicator::stopAnimating() {
    animating_ = false;
    timer_->stop();
    hide();
}

void ActivityIndicator::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (animating_) timer_->start();
}

void ActivityIndicator::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    timer_->stop();
}

void ActivityIndicator::step() {
    angle_ = (angle_ + kDegreesPerFrame) % 360;
    update();
}

void ActivityIndicator::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF ring = QRectF(rect()).adjusted(2, 2, -2, -2);
    p.setPen(QPen(QColor(255, 255, 255, 30), 2));
    p.drawEllipse(ring);
    p.setPen(QPen(style::kAccent, 2, Qt::SolidLine, Qt::RoundCap));
    // Qt counts sixteenths of a degree, anticlockwise; the arc turns clockwise.
    p.drawArc(ring, -angle_ * 16, 100 * 16);
}

}  // namespace gs
