#include "ui/bookmarks_browser.h"

#include <QDir>
#include <QIcon>
#include <QMenu>

#include "core/budget.h"
#include "library/bookmark_texts.h"
#include "ui/bookmark_thumbnails.h"
#include "ui/browser_panel.h"

namespace gs {

namespace {

// The desktop theme's icon, or the second choice, or none: the menu reads well without.
QIcon themeIcon(const char* name, const char* fallback = nullptr) {
    const QIcon second = fallback ? QIcon::fromTheme(QString::fromLatin1(fallback)) : QIcon();
    return QIcon::fromTheme(QString::fromLatin1(name), second);
}

BrowserEntry entryFor(const Bookmark& b, const QImage& thumbnail) {
    BrowserEntry e;
    e.name = b.name;
    e.detail = QString::fromStdString(zoomText(bookmarkZoomFactor(b)));
    for (const aColor& c : b.paletteColors.colors) e.strip.push_back(QColor::fromRgbF(float(c.r), float(c.g), float(c.b)));
    e.thumbnail = thumbnail;
    return e;
}

QString homeRelative(const QString& path) {
    const QString home = QDir::homePath();
    return path.startsWith(home + u'/') ? QStringLiteral("~") + path.mid(home.size()) : path;
}

}  // namespace

QString bookmarksExplanations(const QString& storePath) {
    return QStringLiteral(
               "A bookmark keeps one exact picture: the place in the set, the colours just as they "
               "were on screen (with their repeat and shift), the shadings with their light, and "
               "any fine tuning.\n\n"
               "Click a bookmark, or press Enter on it, to go there; Back returns to where you "
               "were. Save Current Location keeps what is on screen now under a name of your "
               "choosing.\n\n"
               "Right-click a bookmark (or press the Menu key) to share, duplicate, rename or "
               "delete it. The built-in ones can be duplicated, then changed as your own.\n\n"
               "Share copies a glimmerscape:// link to the clipboard. Paste it into a message: "
               "whoever opens it with Glimmerscape sees the same picture (fine tuning stays with "
               "you). Ctrl+V in the window opens a link you have copied.\n\n"
               "Your bookmarks live in %1; they stay on this computer unless you share them.")
        .arg(homeRelative(storePath));
}

BookmarksBrowser::BookmarksBrowser(QWidget* host)
    : QObject(host), panel_(new BrowserPanel(tr("Bookmarks"), host)), thumbnails_(new BookmarkThumbnails(this)) {
    panel_->setObjectName(QStringLiteral("bookmarksBrowser"));
    panel_->onActivated = [this](int section, int row) {
        if (const Bookmark* b = bookmarkAt(section, row); b && onApply) onApply(*b);
    };
    panel_->onContextMenu = [this](int section, int row, const QPoint& at) {
        if (QMenu* menu = contextMenu(section, row, panel_)) {
            menu->setAttribute(Qt::WA_DeleteOnClose);
            menu->popup(at);
        }
    };
    panel_->onClosed = [this] {
        thumbnails_->dropPending();  // nobody will see them now
        if (onClosed) onClosed();
    };
    panel_->addAction(tr("Save Current Location…"), [this] { if (onSaveCurrentLocation) onSaveCurrentLocation(); });
    panel_->addAction(tr("Online Library…"), [this] { if (onOnlineLibrary) onOnlineLibrary(); });
    thumbnails_->onReady = [this](const QByteArray& key, const QImage& picture) { thumbnailReady(key, picture); };
}

void BookmarksBrowser::setBookmarks(const QList<Bookmark>& mine, const QList<Bookmark>& builtIn) {
    sections_ = bookmarkSections(mine, builtIn);
    hasUserSection_ = !mine.isEmpty();
    panel_->setNote(hasUserSection_ ? QString() : bookmark_texts::kNoBookmarksNote);
    showEntries();
}

void BookmarksBrowser::showEntries() {
    std::vector<BrowserSection> shown;
    QList<Bookmark> all;
    for (const BookmarkSection& section : sections_) {
        BrowserSection s{section.title, {}};
        for (const Bookmark& b : section.bookmarks) s.entries.push_back(entryFor(b, thumbnails_->cached(b)));
        shown.push_back(std::move(s));
        all += section.bookmarks;
    }
    panel_->setSections(shown);
    if (isOpen()) thumbnails_->request(all);
}

void BookmarksBrowser::open() {
    panel_->openPanel();
    showEntries();  // asks for the thumbnails still missing
}

void BookmarksBrowser::close() { panel_->closePanel(); }

bool BookmarksBrowser::isOpen() const { return panel_->isOpen(); }

bool BookmarksBrowser::explanationsOpen() const { return panel_->explanationsOpen(); }

void BookmarksBrowser::hideExplanations() { panel_->hideExplanations(); }

QMenu* BookmarksBrowser::contextMenu(int section, int row, QWidget* parent) {
    const Bookmark* found = bookmarkAt(section, row);
    if (!found) return nullptr;
    const Bookmark b = *found;
    auto* menu = new QMenu(parent);
    using Callback = std::function<void(const Bookmark&)> BookmarksBrowser::*;
    auto item = [&](const QString& text, const QIcon& icon, Callback callback) {
        menu->addAction(icon, text, this, [this, b, callback] { if (this->*callback) (this->*callback)(b); });
    };
    item(bookmark_texts::kShareItem, themeIcon("document-send", "emblem-shared"), &BookmarksBrowser::onShare);
    item(bookmark_texts::kDuplicateItem, themeIcon("edit-copy"), &BookmarksBrowser::onDuplicate);
    if (isUserSection(section)) {
        item(bookmark_texts::kRenameItem, themeIcon("document-edit", "edit-rename"), &BookmarksBrowser::onRename);
        menu->addSeparator();  // the one that cannot be undone stands apart
        item(bookmark_texts::kDeleteItem, themeIcon("edit-delete"), &BookmarksBrowser::onDelete);
    }
    return menu;
}

const Bookmark* BookmarksBrowser::bookmarkAt(int section, int row) const {
    if (section < 0 || section >= sections_.size()) return nullptr;
    const QList<Bookmark>& list = sections_[section].bookmarks;
    return row >= 0 && row < list.size() ? &list[row] : nullptr;
}

bool BookmarksBrowser::isUserSection(int section) const { return hasUserSection_ && section == 0; }

void BookmarksBrowser::thumbnailReady(const QByteArray& key, const QImage& picture) {
    for (int s = 0; s < sections_.size(); ++s)
        for (int r = 0; r < sections_[s].bookmarks.size(); ++r)
            if (BookmarkThumbnails::keyOf(sections_[s].bookmarks[r]) == key) panel_->setThumbnail(s, r, picture);
}

}  // namespace gs
