#include "ui/picture_frame.h"

#include <QPaintEvent>
#include <QPainter>
#include <cmath>

namespace gs {

PictureFrame::PictureFrame(QWidget* picture, double aspect, QWidget* parent)
    : QWidget(parent), picture_(picture), aspect_(aspect) {
    picture_->setParent(this);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(160, 120);
}

void PictureFrame::setAspect(double aspect) {
    aspect_ = aspect;
    place();
}

void PictureFrame::setPicture(QWidget* picture, double aspect) {
    picture_ = picture;
    aspect_ = aspect;
    picture_->setParent(this);
    picture_->show();
    place();
}

QRect PictureFrame::fitted(const QRect& area, double aspect) {
    if (aspect <= 0 || area.isEmpty()) return area;
    int w = area.width();
    int h = static_cast<int>(std::lround(w / aspect));
    if (h > area.height()) {
        h = area.height();
        w = static_cast<int>(std::lround(h * aspect));
    }
    return {area.x() + (area.width() - w) / 2, area.y() + (area.height() - h) / 2, w, h};
}

void PictureFrame::resizeEvent(QResizeEvent*) { place(); }

void PictureFrame::paintEvent(QPaintEvent* event) {
    QPainter(this).fillRect(event->rect(), Qt::black);
}

void PictureFrame::place() { picture_->setGeometry(fitted(rect(), aspect_)); }

}  // namespace gs
