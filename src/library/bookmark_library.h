// The user's bookmarks, kept in "Bookmarks.json" (a JSON array of bookmarks) in the per-user
// data folder (~/.local/share/glimmerscape), and the read-only built-in bookmarks. GUI thread
// only; every operation reads the file afresh, so the window's lists are only a display copy.
#pragma once

#include <QList>
#include <QString>

#include "bookmark.h"

namespace gs {

// Where the application compiles in its built-in bookmarks, one record per ".json" file.
inline const QString kBuiltInBookmarksFolder = QStringLiteral(":/BuiltInBookmarks");

// The outcome of duplicate and rename, so a name clash is told apart from a failed write.
enum class BookmarkChange { done, nameTaken, notFound, writeFailed };

class BookmarkLibrary {
public:
    // The user's file: "Bookmarks.json" in QStandardPaths::AppDataLocation, found on first use.
    BookmarkLibrary() = default;
    explicit BookmarkLibrary(const QString& filePath);
    static BookmarkLibrary& shared();

    // The file's path; the folder is created when missing (a failure shows when writing).
    QString fileURL() const;

    // The records sorted by name (localizedStandardLess). A missing, unreadable or corrupt
    // file, or one with a single bad record, reads as no bookmarks.
    QList<Bookmark> loadUserBookmarks() const;
    // Replaces the file atomically; false when it could not be written (the old file stays).
    // A file there that does not decode is first copied to "Bookmarks.json.damaged".
    bool saveUserBookmarks(const QList<Bookmark>& bookmarks) const;

    // `proposed` when no user bookmark has it, else the first free "proposed (n)", n from 1.
    QString uniqueName(const QString& proposed) const;
    // Appends the record as it is (its name is the caller's to choose).
    bool add(const Bookmark& bookmark) const;
    // Stores a copy of `original` as `newName`; refused (nameTaken) when a user bookmark has it.
    BookmarkChange duplicate(const Bookmark& original, const QString& newName) const;
    // Renames the first user bookmark called oldName; refused when another one has newName.
    BookmarkChange rename(const QString& oldName, const QString& newName) const;
    // Removes every user bookmark called name.
    bool remove(const QString& name) const;

private:
    mutable QString filePath_;
};

// Sorts in place by name, in the order a file browser uses.
void sortBookmarksByName(QList<Bookmark>& bookmarks);

// One titled section of the bookmarks browser.
struct BookmarkSection {
    QString title;
    QList<Bookmark> bookmarks;
};

// "Mine" with the user's bookmarks when there are any, then always "Built-in".
QList<BookmarkSection> bookmarkSections(const QList<Bookmark>& mine, const QList<Bookmark>& builtIn);

// The bookmarks of the ".json" files in folder, sorted by name; files that do not decode are
// left out.
QList<Bookmark> loadBuiltInBookmarks(const QString& folder = kBuiltInBookmarksFolder);

}  // namespace gs
