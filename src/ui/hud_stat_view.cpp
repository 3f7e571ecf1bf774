#include "ui/hud_stat_view.h"

#include <QLabel>
#include <QVBoxLayout>

#include "ui/window_style.h"

namespace gs {

HUDStatView::HUDStatView(const QString& caption, const QString& placeholder, QWidget* parent)
    : QWidget(parent), caption_(new QLabel(caption, this)), value_(new QLabel(placeholder, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(1);
    layout->addWidget(caption_);
    layout->addWidget(value_);

    QFont small = caption_->font();
    small.setPointSizeF(small.pointSizeF() * 0.82);
    small.setLetterSpacing(QFont::PercentageSpacing, 108);
    caption_->setFont(small);
    QPalette captionColours = caption_->palette();
    captionColours.setColor(QPalette::WindowText, style::kCaption);
    caption_->setPalette(captionColours);

    QFont big = value_->font();
    big.setPointSizeF(big.pointSizeF() * 1.18);
    value_->setFont(big);
    QPalette valueColours = value_->palette();
    valueColours.setColor(QPalette::WindowText, style::kTextBright);
    value_->setPalette(valueColours);
    value_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    setAccessibleName(caption);
}

void HUDStatView::setValue(const QString& value) {
    value_->setText(value);
    setAccessibleDescription(value);
}

QString HUDStatView::value() const { return value_->text(); }
QString HUDStatView::caption() const { return caption_->text(); }

}  // namespace gs
