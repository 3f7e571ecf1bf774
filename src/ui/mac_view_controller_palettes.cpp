// Palettes as files: the palette browser and its commands (apply, save current, duplicate,
// rename, delete, share, import from disk), the online library screens, and the dialogs those
// commands open.
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QUrl>
#include <algorithm>
#include <initializer_list>

#include "library/bookmark_library.h"
#include "library/online_library.h"
#include "library/palette_import.h"
#include "library/palette_texts.h"
#include "ui/bracket_controls.h"
#include "ui/browser_panel.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"
#include "ui/notice_overlay.h"
#include "ui/online_library_view_controller.h"
#include "ui/picture_frame.h"

namespace gs {

namespace {

PaletteLibrary& store() { return PaletteLibrary::shared(); }

// The first of the freedesktop icons the theme has; none (the menu shows only text) otherwise.
QIcon themeIcon(std::initializer_list<const char*> names) {
    for (const char* name : names)
        if (QIcon::hasThemeIcon(QLatin1String(name))) return QIcon::fromTheme(QLatin1String(name));
    return {};
}

std::vector<QColor> stripOf(const ColorTable& colors) {
    const auto channel = [](double c) { return float(std::clamp(c, 0.0, 1.0)); };
    std::vector<QColor> strip;
    strip.reserve(colors.size());
    for (const aColor& c : colors) strip.push_back(QColor::fromRgbF(channel(c.r), channel(c.g), channel(c.b)));
    return strip;
}

// "~/.local/share/glimmerscape/Palettes" for a folder in the home directory.
QString homeRelative(const QString& path) {
    const QString home = QDir::homePath();
    if (path.startsWith(home + QLatin1Char('/'))) return QStringLiteral("~") + path.mid(home.size());
    return path;
}

// The file for pasting as a file (file managers, mail and chat programs) and its path for
// pasting as text.
QMimeData* fileForClipboard(const QString& path) {
    auto* data = new QMimeData;
    const QUrl url = QUrl::fromLocalFile(path);
    data->setUrls({url});
    data->setText(path);
    // GNOME's file managers paste copied files from this form rather than from the URL list.
    data->setData(QStringLiteral("x-special/gnome-copied-files"), "copy\n" + url.toEncoded());
    return data;
}

}  // namespace

void MacViewController::installDialogPresenters() {
    presentTitledAlert = [this](const AlertText& alert) { returnKeyboardAfter(showTitledAlert(this, alert)); };
    presentQuestion = [this](const QuestionText& question, std::function<void()> onAccept) {
        returnKeyboardAfter(showQuestion(this, question, std::move(onAccept)));
    };
    presentTextPrompt = [this](const NamePrompt& prompt, std::function<void(const QString&)> onAccept) {
        returnKeyboardAfter(showTextPrompt(this, prompt, std::move(onAccept)));
    };
    presentOpenFiles = [this](const OpenFilesRequest& request, std::function<void(const QStringList&)> onChosen) {
        returnKeyboardAfter(showOpenFilesDialog(this, request, std::move(onChosen)));
    };
    presentNotice = [this](const QString& text) { notice_->showNotice(text); };
}

void MacViewController::buildPalettes() {
    paletteBrowser_ = new BrowserPanel(tr("Palettes"), pictureFrame_);
    notice_ = new NoticeOverlay(pictureFrame_);
    notice_->freeArea = [this] {  // beside the browser, not over its actions
        QRect area = pictureFrame_->rect();
        for (const QWidget* browser : {static_cast<QWidget*>(paletteBrowser_), bookmarksPanel()})
            if (browser && browser->isVisible()) area.setRight(std::min(area.right(), browser->x() - 1));
        return area;
    };
    paletteBrowser_->setExplanations(
        paletteTexts::browserExplanations(homeRelative(store().userPalettesDirectory())));
    paletteBrowser_->addAction(paletteTexts::saveCurrentButton, [this] { saveCurrentPalette(); });
    paletteBrowser_->addAction(paletteTexts::importLocalButton, [this] { importLocalPalettes(); });
    paletteBrowser_->addAction(paletteTexts::onlineLibraryButton, [this] { showOnlinePaletteLibrary(); });
    paletteBrowser_->onActivated = [this](int section, int row) {
        if (const SavedPalette* palette = paletteAt(section, row)) applyPalette(*palette);
    };
    paletteBrowser_->onContextMenu = [this](int section, int row, const QPoint& at) {
        if (const SavedPalette* palette = paletteAt(section, row)) showPaletteMenu(*palette, at);
    };
    paletteBrowser_->onClosed = [this] { fractalView_->setFocus(Qt::OtherFocusReason); };
    addEscapeCommand(tr("Close Palette Explanations"), EscapeLayer::explanations,
                     [this] { return paletteBrowser_->explanationsOpen(); },
                     [this] { hidePaletteExplanationsOverlay(); });
    addEscapeCommand(tr("Close Palette Browser"), EscapeLayer::browser, [this] { return paletteBrowser_->isOpen(); },
                     [this] { hidePaletteBrowser(); });
    palettesControl_->setToolTip(tr("Saved, built-in and online palettes (Ctrl+P)"));
    connect(palettesControl_, &QAbstractButton::clicked, this, &MacViewController::togglePaletteBrowser);
    addShortcut(tr("Palettes"), QKeySequence(Qt::CTRL | Qt::Key_P), &MacViewController::togglePaletteBrowser);
    refreshPaletteCaches();
}

// One browser at a time: both live over the picture's right edge.
void MacViewController::showPaletteBrowser() {
    hideBookmarksBrowser();
    paletteBrowser_->openPanel();
}
void MacViewController::hidePaletteBrowser() { paletteBrowser_->closePanel(); }
void MacViewController::hidePaletteExplanationsOverlay() { paletteBrowser_->hideExplanations(); }

void MacViewController::togglePaletteBrowser() {
    if (paletteBrowser_->isOpen())
        hidePaletteBrowser();
    else
        showPaletteBrowser();
}

void MacViewController::refreshPaletteCaches() {
    userPalettesCache_ = store().loadUserPalettes();
    builtInPalettesCache_ = store().loadBuiltInPalettes();
    reloadPaletteBrowser();
}

void MacViewController::reloadPaletteBrowser() {
    paletteSections_ = paletteSections(userPalettesCache_, builtInPalettesCache_);
    std::vector<BrowserSection> sections;
    for (const PaletteSection& section : paletteSections_) {
        BrowserSection shown{section.title, {}};
        for (const SavedPalette& palette : section.palettes) {
            // A user palette names its file (numbered names come from imports); the built-in
            // section's title says enough of the others.
            const QString detail = palette.isBuiltIn ? QString() : QFileInfo(palette.filePath).fileName();
            shown.entries.push_back({palette.name, detail, stripOf(palette.colors), {}});
        }
        sections.push_back(std::move(shown));
    }
    paletteBrowser_->setSections(sections);
    paletteBrowser_->setNote(paletteBrowserNote(userPalettesCache_));
}

const SavedPalette* MacViewController::paletteAt(int section, int row) const {
    if (section < 0 || std::size_t(section) >= paletteSections_.size()) return nullptr;
    const QList<SavedPalette>& palettes = paletteSections_[std::size_t(section)].palettes;
    return row >= 0 && row < palettes.size() ? &palettes[row] : nullptr;
}

void MacViewController::showPaletteMenu(const SavedPalette& palette, const QPoint& globalPos) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(themeIcon({"document-send", "emblem-shared"}), paletteTexts::shareMenuItem, this,
                    [this, palette] { sharePalette(palette); });
    menu->addAction(themeIcon({"edit-copy"}), paletteTexts::duplicateMenuItem, this,
                    [this, palette] { duplicatePalette(palette); });
    if (!palette.isBuiltIn) {
        menu->addAction(themeIcon({"document-edit", "edit-rename"}), paletteTexts::renameMenuItem, this,
                        [this, palette] { renamePalette(palette); });
        menu->addSeparator();
        menu->addAction(themeIcon({"edit-delete"}), paletteTexts::deleteMenuItem, this,
                        [this, palette] { deletePalette(palette); });
    }
    menu->popup(globalPos);
}

void MacViewController::applyPalette(const SavedPalette& palette) {
    stopAutoExplore();
    const ExplorerSettings defaults;
    colorTable_ = std::make_shared<const ColorTable>(palette.colors);
    currentPaletteName_ = palette.name;
    paletteMode_ = PaletteMode::smooth;
    currentBookmarkName_.reset();
    settings_.frequency = defaults.frequency;
    settings_.cycleOffset = defaults.cycleOffset;
    fullScreenStatus_->setText(fullScreenStatusLine());
    requestRecolor();
    refreshControls();
}

void MacViewController::saveCurrentPalette() {
    presentTextPrompt(paletteTexts::savePrompt(), [this](const QString& text) {
        const std::optional<QString> name = paletteTexts::enteredName(text);
        if (!name) return;
        const std::optional<SavedPalette> saved = store().save(*name, *colorTable_);
        if (!saved) {
            presentTitledAlert(paletteTexts::saveFailed());
            return;
        }
        currentPaletteName_ = saved->name;
        refreshPaletteCaches();
    });
}

void MacViewController::duplicatePalette(const SavedPalette& palette) {
    presentTextPrompt(paletteTexts::duplicatePrompt(palette.name), [this, palette](const QString& text) {
        const std::optional<QString> name = paletteTexts::enteredName(text);
        if (!name) return;
        switch (store().duplicate(palette, *name)) {
        case PaletteChange::nameTaken: presentTitledAlert(paletteTexts::duplicateClash(*name)); return;
        case PaletteChange::failed: presentTitledAlert(paletteTexts::duplicateFailed()); return;
        case PaletteChange::done: refreshPaletteCaches(); return;
        }
    });
}

// Keeping the name as it is changes nothing (rather than clashing with itself).
void MacViewController::renamePalette(const SavedPalette& palette) {
    if (palette.isBuiltIn) return;
    presentTextPrompt(paletteTexts::renamePrompt(palette.name), [this, palette](const QString& text) {
        const std::optional<QString> name = paletteTexts::enteredName(text);
        if (!name || PaletteLibrary::safeFileName(*name) == palette.name) return;
        SavedPalette renamed;
        switch (store().rename(palette, *name, &renamed)) {
        case PaletteChange::nameTaken: presentTitledAlert(paletteTexts::renameClash(*name)); return;
        case PaletteChange::failed: presentTitledAlert(paletteTexts::renameFailed()); return;
        case PaletteChange::done:
            if (currentPaletteName_ == palette.name) currentPaletteName_ = renamed.name;
            refreshPaletteCaches();
            return;
        }
    });
}

void MacViewController::deletePalette(const SavedPalette& palette) {
    if (palette.isBuiltIn) return;
    const QuestionText question{paletteTexts::deleteQuestion(palette.name), paletteTexts::deleteButton, true};
    presentQuestion(question, [this, palette] {
        if (!store().remove(palette)) presentTitledAlert(paletteTexts::deleteFailed());
        refreshPaletteCaches();
    });
}

// There is no share sheet: the file goes on the clipboard. A built-in lives inside the program,
// so a copy of it is written to a real file first.
void MacViewController::sharePalette(const SavedPalette& palette) {
    const std::optional<QString> path = store().shareableFilePath(palette);
    if (!path) {
        presentTitledAlert(paletteTexts::shareFailed());
        return;
    }
    QGuiApplication::clipboard()->setMimeData(fileForClipboard(*path));
    presentNotice(paletteTexts::sharedNotice(QFileInfo(*path).fileName()));
}

void MacViewController::importLocalPalettes() {
    const OpenFilesRequest request{tr("Import Palettes"), QDir::homePath(),
                                   {tr("Palette files (*.map *.MAP)"), tr("All files (*)")}};
    presentOpenFiles(request, [this](const QStringList& paths) { importPaletteFiles(paths); });
}

void MacViewController::importPaletteFiles(const QStringList& paths) {
    if (paths.isEmpty()) return;
    if (!paletteTexts::importNeedsQuestion(paths.size())) {
        importPaletteFilesNow(paths);
        return;
    }
    const QuestionText question{paletteTexts::importQuestion(paths.size()), paletteTexts::importButton, false};
    presentQuestion(question, [this, paths] { importPaletteFilesNow(paths); });
}

// Synchronous, like the other store operations; hundreds of files take a moment.
void MacViewController::importPaletteFilesNow(const QStringList& paths) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const PaletteImportCounts counts = gs::importPaletteFiles(store(), paths);
    refreshPaletteCaches();
    QApplication::restoreOverrideCursor();
    presentTitledAlert(paletteTexts::importReport(counts.imported, counts.rejected));
}

void MacViewController::showOnlinePaletteLibrary() {
    auto* screen = new OnlinePaletteLibraryViewController(makeOnlinePaletteLibrary(store()), this);
    screen->onFinishedImporting = [this](int imported) {
        if (imported > 0) refreshPaletteCaches();
    };
    returnKeyboardAfter(screen);
    screen->open();
}

void MacViewController::showOnlineBookmarkLibrary() {
    auto* screen = new OnlineBookmarkLibraryViewController(
        makeOnlineBookmarkLibrary(bookmarkStoreStep(BookmarkLibrary::shared())), this);
    screen->onFinishedImporting = [this](int imported) {
        if (imported > 0) refreshBookmarkCaches();
    };
    returnKeyboardAfter(screen);
    screen->open();
}

}  // namespace gs
