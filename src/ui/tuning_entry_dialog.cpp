#include "ui/tuning_entry_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

namespace gs {

TuningEntryDialog::TuningEntryDialog(const TuningSliderSpec& info, double current, QWidget* parent)
    : QDialog(parent), slider_(info) {
    setWindowTitle(QString::fromStdString(capitalizedTitle(info.title)));
    auto* message = new QLabel(QString::fromStdString(tuningEntryMessage(info)), this);
    field_ = new QLineEdit(QString::fromStdString(info.format(current)), this);
    field_->setInputMethodHints(Qt::ImhFormattedNumbersOnly);
    field_->selectAll();
    refusal_ = new QLabel(tr("That is not a number."), this);
    QPalette warning = refusal_->palette();
    warning.setColor(QPalette::WindowText, QColor(0xff, 0x6b, 0x5e));
    refusal_->setPalette(warning);
    refusal_->hide();
    connect(field_, &QLineEdit::textEdited, refusal_, &QWidget::hide);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    QPushButton* set = buttons->addButton(tr("Set"), QDialogButtonBox::AcceptRole);
    set->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    // Not QDialog::accept: the dialog closes only once the text is a number.
    connect(set, &QPushButton::clicked, this, [this] { submit(); });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 12);
    layout->addWidget(message);
    layout->addWidget(field_);
    layout->addWidget(refusal_);
    layout->addWidget(buttons);
    setMinimumWidth(320);
}

bool TuningEntryDialog::submit() {
    const std::optional<double> value = parseTuningEntry(field_->text().toStdString(), slider_.formatPattern);
    if (!value) {
        refusal_->show();
        field_->selectAll();
        field_->setFocus();
        return false;
    }
    if (onSet) onSet(std::clamp(*value, slider_.range.lower, slider_.range.upper));
    accept();
    return true;
}

}  // namespace gs
