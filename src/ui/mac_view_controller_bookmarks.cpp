// Bookmarks and share links: saving what is on screen, duplicating, renaming, deleting and
// applying bookmarks, the browser and the status labels, links copied to the clipboard and
// links received from the desktop or pasted into the window.
#include <QAction>
#include <QClipboard>
#include <QDialog>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "core/baked_palette.h"
#include "library/bookmark_library.h"
#include "library/bookmark_texts.h"
#include "library/names.h"
#include "library/share_link.h"
#include "ui/bookmarks_browser.h"
#include "ui/bracket_controls.h"
#include "ui/browser_panel.h"
#include "ui/julia_view.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"
#include "ui/picture_frame.h"
#include "ui/window_style.h"

namespace gs {

namespace texts = bookmark_texts;

namespace {

BookmarkLibrary& library() { return BookmarkLibrary::shared(); }

// Whether a weakly declared command is part of this program.
constexpr int kStatusWidth = 196;  // the sidebar's column

}  // namespace

// The name of what is on screen on a line of its own, under it the zoom with the Bookmarks…
// control beside it: two lines of text in the height of one and a half.
QLayout* MacViewController::buildBookmarkStatus(QWidget* sidebar) {
    auto label = [sidebar](QColor colour) {
        auto* l = new QLabel(sidebar);
        l->setTextFormat(Qt::PlainText);
        l->setContentsMargins(4, 0, 0, 0);
        QPalette p = l->palette();
        p.setColor(QPalette::WindowText, colour);
        l->setPalette(p);
        return l;
    };
    bookmarkStatus_ = label(style::kText);
    bookmarkZoom_ = label(style::kCaption);
    bookmarksControl_ = new BracketActionControl(tr("Bookmarks…"), sidebar);
    bookmarksControl_->setToolTip(tr("Your saved places and the built-in ones (Ctrl+B)"));
    auto* zoomRow = new QHBoxLayout;
    zoomRow->addWidget(bookmarkZoom_);
    zoomRow->addStretch(1);
    zoomRow->addWidget(bookmarksControl_);
    auto* lines = new QVBoxLayout;
    lines->setSpacing(0);
    lines->addWidget(bookmarkStatus_);
    lines->addLayout(zoomRow);
    return lines;
}

void MacViewController::setUpBookmarks() {
    bookmarksBrowser_ = new BookmarksBrowser(pictureFrame_);
    BookmarksBrowser* browser = bookmarksBrowser_;
    browser->panel()->setExplanations(bookmarksExplanations(library().fileURL()));
    browser->onApply = [this](const Bookmark& b) { applyBookmark(b); };
    browser->onShare = [this](const Bookmark& b) { shareBookmark(b); };
    browser->onDuplicate = [this](const Bookmark& b) { duplicateBookmark(b); };
    browser->onRename = [this](const Bookmark& b) { renameBookmark(b); };
    browser->onDelete = [this](const Bookmark& b) { deleteBookmark(b); };
    browser->onSaveCurrentLocation = [this] { saveCurrentLocation(); };
    browser->onOnlineLibrary = [this] { showOnlineBookmarkLibrary(); };
    browser->onClosed = [this] { fractalView_->setFocus(Qt::OtherFocusReason); };

    connect(bookmarksControl_, &QAbstractButton::clicked, this, &MacViewController::showBookmarksBrowser);

    addShortcut(tr("Bookmarks"), QKeySequence(Qt::CTRL | Qt::Key_B), &MacViewController::toggleBookmarksBrowser);
    addShortcut(tr("Open Link"), QKeySequence(Qt::CTRL | Qt::Key_V), &MacViewController::openLinkFromClipboard);
    addEscapeCommand(tr("Close Bookmarks Explanations"), EscapeLayer::explanations,
                     [browser] { return browser->explanationsOpen(); }, [this] { hideBookmarksExplanationsOverlay(); });
    addEscapeCommand(tr("Close Bookmarks"), EscapeLayer::browser, [browser] { return browser->isOpen(); },
                     [this] { hideBookmarksBrowser(); });
    refreshBookmarkCaches();
}

// --- Keeping bookmarks ---------------------------------------------------------------------

void MacViewController::saveCurrentLocation() {
    presentTextPrompt({texts::kSaveTitle, QString(), texts::kNamePlaceholder, texts::kSaveButton},
                      [this](const QString& text) { saveCurrentLocationNamed(text); });
}

void MacViewController::saveCurrentLocationNamed(const QString& text) {
    const QString name = trimBlanks(text);
    if (name.isEmpty()) return;
    std::optional<Bookmark> bookmark = currentLocationBookmark(QString());
    if (!bookmark) return;
    bookmark->name = library().uniqueName(name);
    if (!library().add(*bookmark)) {
        presentTitledAlert({texts::kCouldNotSaveTitle, texts::kCouldNotWriteMessage});
        return;
    }
    currentBookmarkName_ = bookmark->name;
    refreshBookmarkCaches();
}

std::optional<Bookmark> MacViewController::currentLocationBookmark(const QString& name) const {
    ColorTable baked = bakeColorTable(*colorTable_, settings_.frequency, settings_.cycleOffset);
    if (baked.size() != kPackedColorCount) return std::nullopt;
    const Viewport& v = history_.current();
    Bookmark b;
    b.name = name;
    b.xmin = v.xmin;
    b.xmax = v.xmax;
    b.ymin = v.ymin;
    b.ymax = v.ymax;
    b.paletteColors.colors = std::move(baked);
    b.demEnabled = settings_.demEnabled;
    b.reliefEnabled = settings_.reliefEnabled;
    b.reliefLightRawX = settings_.reliefLightRawX;
    b.reliefLightRawY = settings_.reliefLightRawY;
    b.glowEnabled = settings_.glowEnabled;
    b.trapsEnabled = settings_.trapsEnabled;
    b.soundEnabled = soundEnabled_;
    if (settings_.tuning != ShadingTuning{}) b.tuning = settings_.tuning;  // only when it matters
    return b;
}

void MacViewController::duplicateBookmark(const Bookmark& bookmark) {
    presentTextPrompt({texts::kDuplicateTitle, texts::duplicateProposal(bookmark.name), texts::kNamePlaceholder, texts::kDuplicateButton},
                      [this, bookmark](const QString& text) { duplicateBookmarkNamed(bookmark, text); });
}

// A taken name is refused, not numbered: the user chose it.
void MacViewController::duplicateBookmarkNamed(const Bookmark& original, const QString& text) {
    const QString name = trimBlanks(text);
    if (name.isEmpty()) return;
    switch (library().duplicate(original, name)) {
    case BookmarkChange::done: refreshBookmarkCaches(); return;
    case BookmarkChange::nameTaken: presentTitledAlert({texts::kCouldNotDuplicateTitle, texts::nameTakenMessage(name)}); return;
    case BookmarkChange::notFound:
    case BookmarkChange::writeFailed: presentTitledAlert({texts::kCouldNotSaveTitle, texts::kCouldNotWriteMessage}); return;
    }
}

void MacViewController::renameBookmark(const Bookmark& bookmark) {
    presentTextPrompt({texts::kRenameTitle, bookmark.name, texts::kNamePlaceholder, texts::kRenameButton},
                      [this, bookmark](const QString& text) { renameBookmarkTo(bookmark, text); });
}

void MacViewController::renameBookmarkTo(const Bookmark& bookmark, const QString& text) {
    const QString name = trimBlanks(text);
    if (name.isEmpty()) return;
    switch (library().rename(bookmark.name, name)) {
    case BookmarkChange::done:
        if (currentBookmarkName_ == bookmark.name) currentBookmarkName_ = name;
        refreshBookmarkCaches();
        return;
    case BookmarkChange::nameTaken: presentTitledAlert({texts::kCouldNotRenameTitle, texts::nameTakenMessage(name)}); return;
    case BookmarkChange::notFound: refreshBookmarkCaches(); return;  // the list shown was out of date
    case BookmarkChange::writeFailed: presentTitledAlert({texts::kCouldNotSaveTitle, texts::kCouldNotWriteMessage}); return;
    }
}

void MacViewController::deleteBookmark(const Bookmark& bookmark) {
    const QString name = bookmark.name;
    presentQuestion({{texts::deleteTitle(name), texts::kDeleteMessage}, texts::kDeleteButton, true},
                    [this, name] {
        if (!library().remove(name)) {
            presentTitledAlert({texts::kCouldNotDeleteTitle, texts::kCouldNotWriteMessage});
            return;
        }
        if (currentBookmarkName_ == name) currentBookmarkName_.reset();
        refreshBookmarkCaches();
    });
}

void MacViewController::refreshBookmarkCaches() {
    userBookmarksCache_ = library().loadUserBookmarks();
    builtInBookmarksCache_ = loadBuiltInBookmarks();
    bookmarksBrowser_->setBookmarks(userBookmarksCache_, builtInBookmarksCache_);
    refreshBookmarkLabels();
}

// --- Applying a bookmark -------------------------------------------------------------------

// One step: the view (through the history, so Back returns), the colours and shadings, sound
// through its own switch; AUTO and ANIMATE end, because a bookmark is a place, not a journey.
void MacViewController::applyBookmark(const Bookmark& bookmark) {
    if (!hasExplorableBounds(bookmark)) return;  // a record from elsewhere that cannot be shown
    stopAutoExplore();
    if (animateColorsEnabled_) {
        animateColorsEnabled_ = false;
        stopAnimationTimer();
    }
    if (!bookmark.soundEnabled) switchSoundMode(false);  // first: it restores glow and relief
    const Viewport view{bookmark.xmin, bookmark.xmax, bookmark.ymin, bookmark.ymax};
    if (view != history_.current()) {
        history_.pushNoSelection();
        history_.setBounds(view);
    }
    fractalView_->clearSelection();
    showBookmarkLook(bookmark);
    if (bookmark.soundEnabled) switchSoundMode(true);
    savePreferences();
    currentBookmarkName_ = bookmark.name;
    refreshControls();
    bookmarksBrowser_->setBookmarks(userBookmarksCache_, builtInBookmarksCache_);
    render();
}

// The table is shown as baked: smooth mode, frequency 2, phase 0. A tuning that would not colour
// gives the defaults.
void MacViewController::showBookmarkLook(const Bookmark& b) {
    colorTable_ = std::make_shared<const ColorTable>(b.paletteColors.colors);
    paletteMode_ = PaletteMode::smooth;
    currentPaletteName_.reset();
    settings_.frequency = kBookmarkFrequency;
    settings_.cycleOffset = kBookmarkCycleOffset;
    settings_.demEnabled = b.demEnabled;
    settings_.reliefEnabled = b.reliefEnabled;
    settings_.reliefLightRawX = b.reliefLightRawX;
    settings_.reliefLightRawY = b.reliefLightRawY;
    settings_.glowEnabled = b.glowEnabled;
    settings_.trapsEnabled = b.trapsEnabled;
    settings_.tuning = bookmarkTuning(b);
    fractalView_->tuning = settings_.tuning;
    juliaView_->tuning = settings_.tuning;
}

// --- Share links ---------------------------------------------------------------------------

void MacViewController::shareBookmark(const Bookmark& bookmark) {
    copyLink(bookmark, tr("Link to “%1” copied to the clipboard").arg(bookmark.name));
}

void MacViewController::copyLinkToCurrentView() {
    if (const auto bookmark = currentLocationBookmark(kLinkDefaultName))
        copyLink(*bookmark, tr("Link to this view copied to the clipboard"));
}

void MacViewController::copyLink(const Bookmark& bookmark, const QString& notice) {
    const std::optional<QString> link = makeLink(bookmark);
    if (!link) return;
    QGuiApplication::clipboard()->setText(*link);
    presentNotice(notice);
}

void MacViewController::openLinkFromClipboard() {
    receiveIncomingURL(QGuiApplication::clipboard()->text().trimmed());
}

void MacViewController::receiveIncomingURL(const QString& link) {
    std::optional<Bookmark> bookmark = readLink(link);
    if (!bookmark || !hasExplorableBounds(*bookmark)) return;
    applyBookmark(*bookmark);
    offerReceivedBookmark(std::move(*bookmark));
}

// "Cancel" keeps the view and stores nothing; "Add" keeps it under a name no bookmark of the
// user's has.
void MacViewController::offerReceivedBookmark(Bookmark bookmark) {
    bookmark.name = library().uniqueName(bookmark.name);
    presentQuestion({{texts::kAddTitle, texts::addMessage(bookmark.name)}, texts::kAddButton, false},
                    [this, bookmark] {
        if (!library().add(bookmark)) {
            presentTitledAlert({texts::kCouldNotSaveTitle, texts::kCouldNotWriteMessage});
            return;
        }
        currentBookmarkName_ = bookmark.name;
        refreshBookmarkCaches();
    });
}

void MacViewController::receivePendingURL() {
    if (!pendingIncomingURL) return;
    const QString link = *pendingIncomingURL;
    pendingIncomingURL.reset();  // first: the link is taken once, whatever it holds
    receiveIncomingURL(link);
}

// --- Browser and labels --------------------------------------------------------------------

void MacViewController::showBookmarksBrowser() {
    hidePaletteBrowser();
    bookmarksBrowser_->open();
}

QWidget* MacViewController::bookmarksPanel() const {
    return bookmarksBrowser_ ? bookmarksBrowser_->panel() : nullptr;
}

void MacViewController::hideBookmarksBrowser() { bookmarksBrowser_->close(); }

void MacViewController::hideBookmarksExplanationsOverlay() { bookmarksBrowser_->hideExplanations(); }

void MacViewController::toggleBookmarksBrowser() {
    if (bookmarksBrowser_->isOpen())
        hideBookmarksBrowser();
    else
        showBookmarksBrowser();
}

QString MacViewController::bookmarkStatusText() const {
    return texts::sidebarStatus(currentBookmarkName_, zoomLevel(history_.current()));
}

// The sidebar keeps its width: a long name is cut short there (whole in the tooltip).
void MacViewController::refreshBookmarkLabels() {
    if (!bookmarkStatus_ || !fullScreenStatus_) return;  // the interface is still being built
    QString name = texts::currentName(currentBookmarkName_);
    name.replace(u'\n', u' ');
    bookmarkStatus_->setText(bookmarkStatus_->fontMetrics().elidedText(name, Qt::ElideRight, kStatusWidth));
    bookmarkStatus_->setToolTip(name);
    bookmarkZoom_->setText(QString::fromStdString(zoomText(zoomLevel(history_.current()))));
    fullScreenStatus_->setText(fullScreenStatusLine());
}

}  // namespace gs
