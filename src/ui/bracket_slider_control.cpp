#include "ui/bracket_slider_control.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>

#include "ui/window_style.h"

namespace gs {

namespace {

constexpr int kHeight = 24;
constexpr int kKnobWidth = 3, kKnobHeight = 11;
constexpr int kWheelNotch = 120;  // eighths of a degree per wheel notch
constexpr int kPageSteps = 4;     // Page Up / Page Down: a fifth of the travel

QFont titleFont(const QFont& base) {
    QFont f = base;
    f.setPointSizeF(f.pointSizeF() * 0.8);
    f.setLetterSpacing(QFont::PercentageSpacing, 108);
    return f;
}

// Screen readers see a slider with a value, a range and increase / decrease actions.
class BracketSliderAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit BracketSliderAccessible(QWidget* w) : QAccessibleWidget(w, QAccessible::Slider) {}
    BracketSliderControl* slider() const { return static_cast<BracketSliderControl*>(widget()); }

    void* interface_cast(QAccessible::InterfaceType t) override {
        if (t == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(t);
    }
    QString text(QAccessible::Text t) const override {
        const TuningSliderSpec& s = slider()->info();
        if (t == QAccessible::Name) return QString::fromStdString(s.title);
        if (t == QAccessible::Value) return QString::fromStdString(s.format(slider()->current()));
        if (t == QAccessible::Description) return QString::fromStdString(tuningHelpLines(s).front());
        return QAccessibleWidget::text(t);
    }
    QAccessible::State state() const override {
        QAccessible::State st = QAccessibleWidget::state();
        st.disabled = !slider()->isSliderEnabled();
        return st;
    }
    QStringList actionNames() const override {
        return {increaseAction(), decreaseAction(), QAccessibleActionInterface::pressAction()};
    }
    void doAction(const QString& name) override {
        if (name == increaseAction()) slider()->stepBy(1);
        if (name == decreaseAction()) slider()->stepBy(-1);
        if (name == pressAction() && slider()->onRequestNumericEntry) slider()->onRequestNumericEntry();
    }
    QVariant currentValue() const override { return slider()->current(); }
    void setCurrentValue(const QVariant& value) override { slider()->setValueReported(value.toDouble()); }
    QVariant maximumValue() const override { return slider()->info().range.upper; }
    QVariant minimumValue() const override { return slider()->info().range.lower; }
    QVariant minimumStepSize() const override {
        const TuningRange& r = slider()->info().range;
        return slider()->info().isLog ? QVariant(0.0) : QVariant((r.upper - r.lower) * kTuningStep);
    }
};

QAccessibleInterface* sliderAccessibility(const QString& className, QObject* object) {
    if (className == QLatin1String("gs::BracketSliderControl") && object && object->isWidgetType())
        return new BracketSliderAccessible(static_cast<QWidget*>(object));
    return nullptr;
}

}  // namespace

BracketSliderControl::BracketSliderControl(TuningSliderSpec info, QWidget* parent)
    : QWidget(parent), slider_(std::move(info)) {
    static const bool accessibilityInstalled = (QAccessible::installFactory(sliderAccessibility), true);
    (void)accessibilityInstalled;
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setAccessibleName(QString::fromStdString(slider_.title));
    refresh();
}

void BracketSliderControl::refresh() {
    const double value = slider_.get ? slider_.get() : current_;
    const bool enabled = !slider_.isEnabled || slider_.isEnabled();
    if (value == current_ && enabled == enabled_) return;
    current_ = value;
    enabled_ = enabled;
    setCursor(enabled_ ? Qt::PointingHandCursor : Qt::ArrowCursor);
    update();
    if (QAccessible::isActive()) {
        QAccessibleValueChangeEvent event(this, current_);
        QAccessible::updateAccessibility(&event);
    }
}

int BracketSliderControl::trackLength() const {
    return std::max(width() - kValueWidth - kValueGap - kTrackStart, kMinTrackLength);
}

QSize BracketSliderControl::sizeHint() const { return {kTrackStart + 160 + kValueGap + kValueWidth, kHeight}; }

QSize BracketSliderControl::minimumSizeHint() const {
    return {kTrackStart + kMinTrackLength + kValueGap + kValueWidth, kHeight};
}

void BracketSliderControl::stepBy(int steps) {
    if (!enabled_) return;
    const double value = tuningStepped(slider_, current_, steps);
    if (value != current_) report(value);
}

void BracketSliderControl::setValueReported(double value) {
    if (!enabled_) return;
    report(std::clamp(value, slider_.range.lower, slider_.range.upper));
}

// The controller applies the value; what it then holds is what the slider shows.
void BracketSliderControl::report(double value) {
    current_ = value;
    if (onChange) onChange(value);
    refresh();
    update();
}

void BracketSliderControl::dragTo(double x) {
    const double value = tuningValueAt(slider_, (x - kTrackStart) / trackLength());
    if (value == current_) return;
    pressMoved_ = true;
    report(value);
}

// --- Input -----------------------------------------------------------------------------------

void BracketSliderControl::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    const double x = event->position().x();
    pressMoved_ = false;
    if (x < kTrackStart - kTouchMargin) {
        if (onRequestHelp) onRequestHelp();
    } else if (enabled_ && x <= kTrackStart + trackLength() + kTouchMargin) {
        dragging_ = true;
        valueBeforePress_ = current_;
        dragTo(x);
    }
    event->accept();
}

void BracketSliderControl::mouseMoveEvent(QMouseEvent* event) {
    if (dragging_) dragTo(event->position().x());
}

void BracketSliderControl::mouseReleaseEvent(QMouseEvent* event) {
    if (dragging_) dragTo(event->position().x());
    dragging_ = false;
    update();
}

// The first press of a double click may have moved the value: it goes back before the entry.
void BracketSliderControl::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !enabled_) return;
    dragging_ = false;
    if (pressMoved_) report(valueBeforePress_);
    pressMoved_ = false;
    if (onRequestNumericEntry) onRequestNumericEntry();
}

void BracketSliderControl::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left: case Qt::Key_Down: stepBy(-1); break;
    case Qt::Key_Right: case Qt::Key_Up: stepBy(1); break;
    case Qt::Key_PageDown: stepBy(-kPageSteps); break;
    case Qt::Key_PageUp: stepBy(kPageSteps); break;
    case Qt::Key_Home: if (enabled_) report(slider_.range.lower); break;
    case Qt::Key_End: if (enabled_) report(slider_.range.upper); break;
    case Qt::Key_Return: case Qt::Key_Enter:
        if (enabled_ && onRequestNumericEntry) onRequestNumericEntry();
        break;
    default: return QWidget::keyPressEvent(event);
    }
    event->accept();
}

void BracketSliderControl::wheelEvent(QWheelEvent* event) {
    wheelTravel_ += event->angleDelta().y();
    const int steps = wheelTravel_ / kWheelNotch;
    wheelTravel_ -= steps * kWheelNotch;
    if (steps) stepBy(steps);
    event->accept();
}

// --- Drawing ---------------------------------------------------------------------------------

void BracketSliderControl::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const int centreY = height() / 2;
    const bool active = hasFocus() || dragging_ || underMouse();

    p.setFont(titleFont(font()));
    const QFontMetrics fm(p.font());
    const int baseline = (height() + fm.ascent() - fm.descent()) / 2;
    const QString title = fm.elidedText(QString::fromStdString(slider_.title), Qt::ElideRight, kTrackStart - kTouchMargin);
    p.setPen(!enabled_ ? style::kTextDim : active ? style::kTextBright : style::kText);
    p.drawText(0, baseline, title);
    if (hasFocus()) {
        p.setPen(QPen(style::kAccent, 1));
        p.drawLine(0, baseline + fm.descent() + 1, fm.horizontalAdvance(title), baseline + fm.descent() + 1);
    }
    paintTrack(p, centreY);

    p.setFont(font());
    const QRect valueBox(width() - kValueWidth, 0, kValueWidth, height());
    p.setPen(enabled_ ? style::kTextBright : style::kTextDim);
    p.drawText(valueBox, Qt::AlignRight | Qt::AlignVCenter, QString::fromStdString(slider_.format(current_)));
}

// A hairline track, lit in the accent colour up to the knob.
void BracketSliderControl::paintTrack(QPainter& p, int centreY) const {
    const double start = kTrackStart, length = trackLength();
    const double knob = start + length * tuningPosition(slider_, current_);
    p.setPen(QPen(style::kBracket, 1));
    p.drawLine(QPointF(start, centreY + 0.5), QPointF(start + length, centreY + 0.5));
    p.setPen(QPen(enabled_ ? style::kAccent : style::kTextDim, 2));
    p.drawLine(QPointF(start, centreY + 0.5), QPointF(knob, centreY + 0.5));
    p.setPen(Qt::NoPen);
    p.setBrush(!enabled_ ? style::kTextDim : dragging_ ? style::kAccent : style::kTextBright);
    p.drawRoundedRect(QRectF(knob - kKnobWidth / 2.0, centreY + 0.5 - kKnobHeight / 2.0, kKnobWidth, kKnobHeight), 1, 1);
}

}  // namespace gs
