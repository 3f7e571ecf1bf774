#include "ui/alerts.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace gs {
namespace {

const QColor kWarning(0xff, 0x6b, 0x5e);

// A message box whose title is its first, bold line (the window manager's title bar may show
// only the program's name).
QMessageBox* titledBox(QWidget* parent, const AlertText& alert) {
    auto* box = new QMessageBox(QMessageBox::NoIcon, alert.title, alert.title, QMessageBox::NoButton, parent);
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(alert.message);
    box->setStyleSheet(QStringLiteral("QLabel#qt_msgbox_label { font-weight: bold; }"
                                      "QLabel#qt_msgbox_informativelabel { min-width: 320px; }"));
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    return box;
}

// When the dialog finishes, `answer` says what to run (nothing unless it was accepted), and that
// runs on the next turn of the event loop: whatever else happens when a dialog finishes (handing
// the keyboard back) is done before the answer opens the next dialog.
void answerAfterClosing(QDialog* dialog, std::function<std::function<void()>()> answer) {
    QPointer<QWidget> parent = dialog->parentWidget();
    QObject::connect(dialog, &QDialog::finished, dialog, [parent, answer = std::move(answer)](int) {
        std::function<void()> then = answer();
        if (!then) return;
        if (parent)
            QTimer::singleShot(0, parent, std::move(then));
        else
            then();
    });
}

QLabel* boldLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    QFont f = label->font();
    f.setBold(true);
    label->setFont(f);
    return label;
}

}  // namespace

QDialog* showTitledAlert(QWidget* parent, const AlertText& alert) {
    QMessageBox* box = titledBox(parent, alert);
    box->setDefaultButton(box->addButton(QMessageBox::tr("OK"), QMessageBox::AcceptRole));
    box->open();
    return box;
}

QDialog* showQuestion(QWidget* parent, const QuestionText& question, std::function<void()> onAccept) {
    QMessageBox* box = titledBox(parent, question.text);
    QPushButton* cancel = box->addButton(paletteTexts::cancelButton, QMessageBox::RejectRole);
    QPushButton* accept = box->addButton(
        question.acceptButton, question.destructive ? QMessageBox::DestructiveRole : QMessageBox::AcceptRole);
    if (question.destructive) {
        QPalette warning = accept->palette();
        warning.setColor(QPalette::ButtonText, kWarning);
        accept->setPalette(warning);
    }
    box->setDefaultButton(question.destructive ? cancel : accept);
    box->setEscapeButton(cancel);
    answerAfterClosing(box, [box, accept, onAccept = std::move(onAccept)] {
        return box->clickedButton() == accept ? onAccept : std::function<void()>();
    });
    box->open();
    return box;
}

QDialog* showTextPrompt(QWidget* parent, const NamePrompt& prompt,
                        std::function<void(const QString& text)> onAccept) {
    auto* dialog = new QDialog(parent);
    dialog->setWindowTitle(prompt.title);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* field = new QLineEdit(prompt.text, dialog);
    field->setPlaceholderText(prompt.placeholder);
    field->setClearButtonEnabled(true);
    field->setAccessibleName(prompt.title);
    field->selectAll();
    field->setMinimumWidth(300);
    auto* buttons = new QDialogButtonBox(dialog);
    buttons->addButton(paletteTexts::cancelButton, QDialogButtonBox::RejectRole);
    QPushButton* accept = buttons->addButton(prompt.acceptButton, QDialogButtonBox::AcceptRole);
    accept->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    answerAfterClosing(dialog, [dialog, field, onAccept = std::move(onAccept)]() -> std::function<void()> {
        if (dialog->result() != QDialog::Accepted) return {};
        return [onAccept, text = field->text()] { onAccept(text); };
    });
    auto* column = new QVBoxLayout(dialog);
    column->setContentsMargins(20, 18, 20, 14);
    column->setSpacing(12);
    column->addWidget(boldLabel(prompt.title, dialog));
    column->addWidget(field);
    column->addWidget(buttons);
    dialog->open();
    field->setFocus();
    return dialog;
}

QDialog* showOpenFilesDialog(QWidget* parent, const OpenFilesRequest& request,
                             std::function<void(const QStringList& paths)> onChosen) {
    auto* dialog = new QFileDialog(parent, request.title, request.directory);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setNameFilters(request.nameFilters);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    answerAfterClosing(dialog, [dialog, onChosen = std::move(onChosen)]() -> std::function<void()> {
        if (dialog->result() != QDialog::Accepted) return {};
        return [onChosen, paths = dialog->selectedFiles()] { onChosen(paths); };
    });
    dialog->open();
    return dialog;
}

}  // namespace gs
