#include "ui/tuning_help_card.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include "ui/window_style.h"

namespace gs {

namespace {

constexpr int kPadX = 12, kPadY = 8, kSpacing = 3;

void colour(QLabel* label, const QColor& c) {
    QPalette p = label->palette();
    p.setColor(QPalette::WindowText, c);
    label->setPalette(p);
}

}  // namespace

TuningHelpCard::TuningHelpCard(const TuningSliderSpec& info, QWidget* parent)
    : QFrame(parent), title_(QString::fromStdString(info.title)) {
    for (const std::string& line : tuningHelpLines(info)) lines_ << QString::fromStdString(line);
    setObjectName(QStringLiteral("tuningHelpCard"));
    setFrameShape(QFrame::NoFrame);
    setCursor(Qt::PointingHandCursor);
    setToolTip(tr("Esc or a click closes this help"));

    heading_ = new QLabel(title_, this);
    QFont small = heading_->font();
    small.setPointSizeF(small.pointSizeF() * 0.8);
    small.setLetterSpacing(QFont::PercentageSpacing, 110);
    heading_->setFont(small);
    colour(heading_, style::kAccent);
    text_ = new QLabel(lines_.join(QLatin1Char('\n')), this);
    text_->setWordWrap(true);
    text_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    colour(text_, style::kTextBright);
    setAccessibleName(title_);
    setAccessibleDescription(lines_.join(QLatin1Char(' ')));

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kPadX, kPadY, kPadX, kPadY);
    column->setSpacing(kSpacing);
    column->addWidget(heading_);
    column->addWidget(text_, 1);
}

int TuningHelpCard::heightForWidth(int width) const {
    return 2 * kPadY + kSpacing + heading_->sizeHint().height() + text_->heightForWidth(width - 2 * kPadX);
}

// A dark, nearly opaque card with a hairline edge: readable over the picture too.
void TuningHelpCard::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QColor ground = style::kPanel;
    ground.setAlpha(240);
    p.setBrush(ground);
    p.setPen(QPen(style::kBracket, 1));
    p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
}

void TuningHelpCard::mousePressEvent(QMouseEvent* event) {
    event->accept();
    if (onCloseRequested) onCloseRequested();
}

}  // namespace gs
