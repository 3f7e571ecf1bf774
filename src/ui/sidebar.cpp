#include "ui/sidebar.h"

#include <QVBoxLayout>
#include <algorithm>

namespace gs {

Sidebar::Sidebar(QWidget* parent) : QWidget(parent), column_(new QVBoxLayout(this)) {}

void Sidebar::setThumbnail(QWidget* thumbnail) {
    thumbnail_ = thumbnail;
    thumbnail->setParent(this);
    thumbnail->setFixedSize(kMaxThumbnail, kMaxThumbnail);
    column_->insertWidget(0, thumbnail);
    thumbnail->show();
    fitThumbnail();
}

void Sidebar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitThumbnail();
}

// The column's minimum height less the thumbnail's is what the controls need.
void Sidebar::fitThumbnail() {
    if (!thumbnail_ || thumbnail_->parentWidget() != this) return;
    const int controls = column_->minimumSize().height() - thumbnail_->height();
    const int side = std::clamp(height() - controls, kMinThumbnail, kMaxThumbnail);
    if (thumbnail_->height() != side) thumbnail_->setFixedSize(side, side);
}

}  // namespace gs
