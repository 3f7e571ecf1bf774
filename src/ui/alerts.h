// The window's dialogs for titled alerts, questions, one-line name prompts and picking files to
// open. Each opens window-modal without blocking (rows and downloads keep arriving), deletes
// itself when closed and calls back only when answered; each returns its dialog so the caller
// can hand the keyboard back afterwards.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>

#include "library/palette_texts.h"

class QDialog;
class QWidget;

namespace gs {

// A question answered with "Cancel" or its accepting button. A destructive one draws that
// button in warning red and leaves "Cancel" as the default.
struct QuestionText {
    AlertText text;
    QString acceptButton;
    bool destructive = false;
};

// Files to open: the dialog's title, the folder it starts in and its filters, the first chosen.
struct OpenFilesRequest {
    QString title;
    QString directory;
    QStringList nameFilters;
};

// The title in bold over the message, and "OK".
QDialog* showTitledAlert(QWidget* parent, const AlertText& alert);
QDialog* showQuestion(QWidget* parent, const QuestionText& question, std::function<void()> onAccept);
// onAccept gets the text as typed (untrimmed); Cancel and Escape end silently.
QDialog* showTextPrompt(QWidget* parent, const NamePrompt& prompt,
                        std::function<void(const QString& text)> onAccept);
// Several existing files; onChosen gets their paths in the order the dialog gives, and is not
// called when the dialog is cancelled.
QDialog* showOpenFilesDialog(QWidget* parent, const OpenFilesRequest& request,
                             std::function<void(const QStringList& paths)> onChosen);

}  // namespace gs
