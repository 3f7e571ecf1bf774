#include "ui/alerts.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/window_style.h"

namespace gs {

namespace {

const QColor kDestructive(0xff, 0x6b, 0x5e);

// Texts are shown as they are: a name such as "<b>" is not markup.
QLabel* plainLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

// A dialog with a bold title, an optional message and room for a field, deleted when closed.
QDialog* alertDialog(QWidget* parent, const QString& title, const QString& message) {
    auto* dialog = new QDialog(parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(title);
    dialog->setMinimumWidth(340);
    auto* column = new QVBoxLayout(dialog);
    column->setContentsMargins(22, 18, 22, 14);
    column->setSpacing(10);
    QLabel* heading = plainLabel(title, dialog);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    column->addWidget(heading);
    if (!message.isEmpty()) {
        QLabel* body = plainLabel(message, dialog);
        QPalette p = body->palette();
        p.setColor(QPalette::WindowText, style::kText);
        body->setPalette(p);
        column->addWidget(body);
    }
    return dialog;
}

// The button row: `cancel` (Escape) on the left of `accept`; accept is the default unless it is
// destructive, when Return must not trigger it by accident.
QPushButton* addButtons(QDialog* dialog, const QString& cancel, const QString& accept, bool destructive) {
    auto* buttons = new QDialogButtonBox(dialog);
    QPushButton* no = cancel.isEmpty() ? nullptr : buttons->addButton(cancel, QDialogButtonBox::RejectRole);
    QPushButton* yes = buttons->addButton(accept, destructive ? QDialogButtonBox::DestructiveRole
                                                              : QDialogButtonBox::AcceptRole);
    if (destructive) {
        QPalette warning = yes->palette();
        warning.setColor(QPalette::ButtonText, kDestructive);
        yes->setPalette(warning);
    }
    (destructive && no ? no : yes)->setDefault(true);
    QObject::connect(yes, &QPushButton::clicked, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    static_cast<QVBoxLayout*>(dialog->layout())->addWidget(buttons);
    return yes;
}

}  // namespace

QDialog* makeQuestion(QWidget* parent, const AlertQuestion& question, std::function<void()> onAccept) {
    QDialog* dialog = alertDialog(parent, question.title, question.message);
    addButtons(dialog, question.cancelButton, question.acceptButton, question.destructive);
    QObject::connect(dialog, &QDialog::accepted, dialog, [onAccept = std::move(onAccept)] { onAccept(); });
    return dialog;
}

QDialog* makeTextPrompt(QWidget* parent, const TextPrompt& prompt,
                        std::function<void(const QString&)> onAccept) {
    QDialog* dialog = alertDialog(parent, prompt.title, QString());
    auto* field = new QLineEdit(prompt.text, dialog);
    field->setPlaceholderText(prompt.placeholder);
    field->selectAll();
    dialog->layout()->addWidget(field);
    addButtons(dialog, prompt.cancelButton, prompt.acceptButton, false);
    QObject::connect(dialog, &QDialog::accepted, dialog,
                     [field, onAccept = std::move(onAccept)] { onAccept(field->text()); });
    field->setFocus();
    return dialog;
}

QDialog* makeTitledAlert(QWidget* parent, const QString& title, const QString& message,
                         const QString& dismissButton) {
    QDialog* dialog = alertDialog(parent, title, message);
    addButtons(dialog, QString(), dismissButton, false);
    return dialog;
}

}  // namespace gs
