// Every text the palette browser shows: buttons, sections, prompts and alerts, in one place so
// the window only lays them out.
#pragma once

#include <QString>
#include <optional>

namespace gs {

struct AlertText {
    QString title;
    QString message;
    friend bool operator==(const AlertText&, const AlertText&) = default;
};

// A one-line text prompt: its title, the text it starts with or the placeholder it shows when
// empty, and the label of its accepting button (the other button is `cancelButton`).
struct NamePrompt {
    QString title;
    QString text;
    QString placeholder;
    QString acceptButton;
};

namespace paletteTexts {

// The browser's actions, in the sidebar's title case (the empty note names the first).
inline const QString saveCurrentButton = QStringLiteral("Save Current…");
inline const QString importLocalButton = QStringLiteral("Import Local…");
inline const QString onlineLibraryButton = QStringLiteral("Online Library…");
inline const QString mineSection = QStringLiteral("Mine");
inline const QString builtInSection = QStringLiteral("Built-in");
inline const QString emptyNote =
    QStringLiteral("No saved palettes yet — Save Current… stores whatever's on screen now.");
inline const QString shareMenuItem = QStringLiteral("Share…");
inline const QString duplicateMenuItem = QStringLiteral("Duplicate…");
inline const QString renameMenuItem = QStringLiteral("Rename…");
inline const QString deleteMenuItem = QStringLiteral("Delete");
inline const QString cancelButton = QStringLiteral("Cancel");
inline const QString importButton = QStringLiteral("Import");
inline const QString deleteButton = QStringLiteral("Delete");

NamePrompt savePrompt();
NamePrompt duplicatePrompt(const QString& name);
NamePrompt renamePrompt(const QString& name);

// The name typed into a prompt with blanks trimmed; empty (the prompt ends silently) when
// nothing is left.
std::optional<QString> enteredName(const QString& text);

AlertText saveFailed();
AlertText duplicateClash(const QString& name);
AlertText renameClash(const QString& name);
AlertText deleteQuestion(const QString& name);
// When the disk refuses a change: the copy, the new name, the removal, the file to share.
AlertText duplicateFailed();
AlertText renameFailed();
AlertText deleteFailed();
AlertText shareFailed();
// The notice after Share…: the file (named by its file name) is on the clipboard.
QString sharedNotice(const QString& fileName);
// The browser's explanations; userFolder is where the user's palettes are kept.
QString browserExplanations(const QString& userFolder);

// More files than this at once are imported only after the question below.
constexpr qsizetype kImportWithoutAsking = 200;
bool importNeedsQuestion(qsizetype pickedFiles);
AlertText importQuestion(qsizetype pickedFiles);

// The alert after importing files from disk: how many were added and how many were not valid.
AlertText importReport(int imported, int rejected);

}  // namespace paletteTexts
}  // namespace gs
