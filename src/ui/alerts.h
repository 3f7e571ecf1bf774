// Titled alerts of the window: a question with two buttons, a name field, a message with one
// button. Each is window-modal and does not block (rows keep arriving while it is shown); the
// answer comes back through a callback.
#pragma once

#include <QString>
#include <functional>

class QDialog;
class QWidget;

namespace gs {

// A titled question: a button that leaves everything as it is, and one that goes ahead
// (drawn as destructive when what it does cannot be undone).
struct AlertQuestion {
    QString title;
    QString message;
    QString cancelButton;
    QString acceptButton;
    bool destructive = false;
};

// A titled one-line text field, prefilled with `text`, with a cancel and an accept button.
struct TextPrompt {
    QString title;
    QString placeholder;
    QString text;
    QString cancelButton;
    QString acceptButton;
};

// The dialogs as the window shows them, made but not yet shown: the caller opens them
// (QDialog::open) and may first watch QDialog::finished. Each is deleted when closed.
QDialog* makeQuestion(QWidget* parent, const AlertQuestion& question, std::function<void()> onAccept);
QDialog* makeTextPrompt(QWidget* parent, const TextPrompt& prompt,
                        std::function<void(const QString&)> onAccept);
QDialog* makeTitledAlert(QWidget* parent, const QString& title, const QString& message,
                         const QString& dismissButton);

}  // namespace gs
