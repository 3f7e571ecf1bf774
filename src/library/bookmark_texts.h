// Every text the window shows about bookmarks: the status lines, the browser's headings and
// menu, and the alerts of save, duplicate, rename, delete and a received link.
#pragma once

#include <QString>
#include <optional>

namespace gs::bookmark_texts {

// The name shown for what is on screen: the current bookmark's, else "Unsaved Location".
QString currentName(const std::optional<QString>& currentBookmarkName);
// Sidebar: the name, a line break, the zoom text ("Spiral\n2.5×").
QString sidebarStatus(const std::optional<QString>& currentBookmarkName, double zoomLevel);
// Full screen: "CURRENTLY VIEWING: Spiral  (2.5×)".
QString fullScreenStatus(const std::optional<QString>& currentBookmarkName, double zoomLevel);

// The browser.
inline const QString kMineSection = QStringLiteral("Mine");
inline const QString kBuiltInSection = QStringLiteral("Built-in");
inline const QString kNoBookmarksNote =
    QStringLiteral("No saved bookmarks yet — Save Current Location captures whatever's on screen now.");
inline const QString kShareItem = QStringLiteral("Share…");
inline const QString kDuplicateItem = QStringLiteral("Duplicate…");
inline const QString kRenameItem = QStringLiteral("Rename…");
inline const QString kDeleteItem = QStringLiteral("Delete");
inline const QString kSaveCommand = QStringLiteral("SAVE CURRENT LOCATION…");

// Buttons.
inline const QString kCancelButton = QStringLiteral("Cancel");
inline const QString kSaveButton = QStringLiteral("Save");
inline const QString kDuplicateButton = QStringLiteral("Duplicate");
inline const QString kRenameButton = QStringLiteral("Rename");
inline const QString kDeleteButton = QStringLiteral("Delete");
inline const QString kAddButton = QStringLiteral("Add");
inline const QString kDismissButton = QStringLiteral("OK");

// Save Current Location: a name field with this placeholder.
inline const QString kSaveTitle = QStringLiteral("Save Current Location");
inline const QString kNamePlaceholder = QStringLiteral("Name");
// A failed write (save, a received link's Add, and the other changes of the file).
inline const QString kCouldNotSaveTitle = QStringLiteral("Couldn't Save");
inline const QString kCouldNotWriteMessage =
    QStringLiteral("There was a problem saving this bookmark to disk. Check available storage and try again.");

// Duplicate and rename: the field's first text, and the refusal of a taken name.
inline const QString kDuplicateTitle = QStringLiteral("Duplicate Bookmark");
QString duplicateProposal(const QString& name);  // "Spiral copy"
inline const QString kCouldNotDuplicateTitle = QStringLiteral("Couldn't Duplicate");
inline const QString kRenameTitle = QStringLiteral("Rename Bookmark");
inline const QString kCouldNotRenameTitle = QStringLiteral("Couldn't Rename");
QString nameTakenMessage(const QString& name);  // A bookmark named “Spiral” already exists.

// Delete.
QString deleteTitle(const QString& name);  // Delete “Spiral”?
inline const QString kDeleteMessage = QStringLiteral("This can't be undone.");
inline const QString kCouldNotDeleteTitle = QStringLiteral("Couldn't Delete");

// A received link, applied and offered for keeping.
inline const QString kAddTitle = QStringLiteral("Add Bookmark?");
QString addMessage(const QString& uniqueName);  // Save “Spiral” to My Bookmarks.

}  // namespace gs::bookmark_texts
