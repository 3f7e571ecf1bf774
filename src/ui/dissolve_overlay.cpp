#include "ui/dissolve_overlay.h"

#include <QEvent>
#include <QPainter>

namespace gs {

DissolveOverlay::DissolveOverlay(const QImage& picture, QWidget* view)
    : QWidget(view), picture_(picture.copy()) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setGeometry(view->rect());
    view->installEventFilter(this);
}

void DissolveOverlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.drawImage(QRectF(rect()), picture_, QRectF(picture_.rect()));
}

// Pinned to the view's four edges.
bool DissolveOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    return QWidget::eventFilter(watched, event);
}

}  // namespace gs
