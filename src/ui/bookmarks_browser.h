// The bookmarks browser: the shared browser drawer filled with the user's bookmarks ("Mine",
// only when there are some) and the built-in ones, each with a rendered thumbnail (its palette
// as a strip until the thumbnail is ready) and its zoom; a click or Enter applies one, its
// context menu shares, duplicates, renames or deletes it; the foot saves what is on screen or
// opens the online library. The controller decides what each of these does.
#pragma once

#include <QList>
#include <QObject>
#include <functional>

#include "library/bookmark_library.h"

class QMenu;
class QWidget;

namespace gs {

class BookmarkThumbnails;
class BrowserPanel;

class BookmarksBrowser : public QObject {
    Q_OBJECT

public:
    // A drawer over the right edge of `host`, closed.
    explicit BookmarksBrowser(QWidget* host);

    BrowserPanel* panel() const { return panel_; }
    BookmarkThumbnails* thumbnails() const { return thumbnails_; }
    const QList<BookmarkSection>& sections() const { return sections_; }

    // Lists these bookmarks (the empty-state note when the user has none); thumbnails are made
    // while the browser is open.
    void setBookmarks(const QList<Bookmark>& mine, const QList<Bookmark>& builtIn);
    void open();
    void close();
    bool isOpen() const;
    bool explanationsOpen() const;
    void hideExplanations();

    // The context menu of the entry at (section, row): "Share…", "Duplicate…", and for the
    // user's own also "Rename…" and "Delete". The caller shows it and owns it.
    QMenu* contextMenu(int section, int row, QWidget* parent);

    std::function<void(const Bookmark&)> onApply;
    std::function<void(const Bookmark&)> onShare;
    std::function<void(const Bookmark&)> onDuplicate;
    std::function<void(const Bookmark&)> onRename;
    std::function<void(const Bookmark&)> onDelete;
    std::function<void()> onSaveCurrentLocation;
    std::function<void()> onOnlineLibrary;
    std::function<void()> onClosed;

private:
    const Bookmark* bookmarkAt(int section, int row) const;
    bool isUserSection(int section) const;
    void showEntries();
    void thumbnailReady(const QByteArray& key, const QImage& picture);

    BrowserPanel* panel_;
    BookmarkThumbnails* thumbnails_;
    QList<BookmarkSection> sections_;
    bool hasUserSection_ = false;
};

// The browser's explanations: what a bookmark keeps, how to share one, where they are stored.
QString bookmarksExplanations(const QString& storePath);

}  // namespace gs
