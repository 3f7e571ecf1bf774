// The online library screens, one for palettes and one for bookmarks: a modal dialog over the
// window that loads the library's manifest, lists its collections with a swatch strip for each
// entry (and, for bookmarks, its zoom), lets the user select entries across collections and
// imports the selection. Each visit wraps a fresh model (library/online_library.h); everything
// arrives through the event loop, so the window keeps drawing meanwhile.
//
// Keyboard: the arrows move through the entries, Space or Enter selects or deselects one, Tab
// reaches "IMPORT SELECTED" (and "TRY AGAIN" after a failure), Escape closes the screen.
#pragma once

#include <QDialog>
#include <QString>
#include <functional>
#include <memory>
#include <vector>

#include "library/online_library.h"

class QAbstractButton;
class QLabel;
class QListWidget;
class QListWidgetItem;

namespace gs {

class ActivityIndicator;

// One entry as the screen draws it.
struct OnlineLibraryCell {
    QString name;
    QString detail;  // the bookmark's zoom; empty for palettes
    std::vector<aColor> swatch;
    bool selected = false;
};

struct OnlineLibrarySection {
    QString title;
    std::vector<OnlineLibraryCell> cells;
};

class OnlineLibraryScreen : public QDialog {
    Q_OBJECT

public:
    // Called once, when the screen closes, with the number imported during this visit.
    std::function<void(int imported)> onFinishedImporting;
    // How the result of an import is shown (a titled alert over the screen); tests replace it.
    std::function<void(const AlertText& alert)> presentAlert;

    void handleRetry();           // "TRY AGAIN"
    void handleImportSelected();  // "IMPORT SELECTED"
    void handleClose();           // the close button, Escape, or closing the dialog's window
    void toggleEntry(int section, int row);  // a click, Space or Enter on an entry

    // What the screen shows now.
    QString statusText() const;
    QString creditText() const;
    QString selectionText() const;
    bool isRetryOffered() const;
    bool isLoadingIndicated() const;
    bool isImportingIndicated() const;
    QListWidget* list() const { return list_; }
    QAbstractButton* importButton() const { return importButton_; }
    QAbstractButton* retryButton() const { return retryButton_; }

protected:
    OnlineLibraryScreen(const QString& title, QWidget* parent);

    // The model, as the subclass holds it.
    virtual const LoadState& modelState() const = 0;
    virtual std::vector<OnlineLibrarySection> modelSections() const = 0;
    virtual bool modelSelected(int section, int row) const = 0;  // false when out of range
    virtual QString modelStatus() const = 0;
    virtual QString modelCredit() const = 0;
    virtual QString modelSelection() const = 0;
    virtual bool modelCanImport() const = 0;
    virtual bool modelImporting() const = 0;
    virtual void modelLoad() = 0;
    virtual void modelToggle(int section, int row) = 0;
    virtual void modelImport() = 0;
    virtual void modelClose() = 0;

    // The model's callbacks end here.
    void modelChanged();
    void importFinished(const AlertText& alert);
    void visitFinished(int imported);

    void done(int result) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildHeader(const QString& title);
    QWidget* buildStatePanel();
    QWidget* buildImportBar();
    void buildListSoon();
    void rebuildList();
    void refreshSelectionMarks();
    void refreshBar();
    void placeOverParent();

    QListWidget* list_ = nullptr;
    QWidget* statePanel_ = nullptr;
    ActivityIndicator* loadingIndicator_ = nullptr;
    QLabel* status_ = nullptr;
    QAbstractButton* retryButton_ = nullptr;
    QLabel* credit_ = nullptr;
    QWidget* importBar_ = nullptr;
    QLabel* selection_ = nullptr;
    ActivityIndicator* importingIndicator_ = nullptr;
    QAbstractButton* importButton_ = nullptr;
    LoadState::Phase shownPhase_ = LoadState::Phase::loading;
    bool listBuilt_ = false;
    bool listScheduled_ = false;
    bool marksInSync_ = false;
    bool closed_ = false;
};

// The screen over one kind of library; the model is made by the caller, so tests can point it
// at a server of their own.
template <class Kind>
class OnlineLibraryScreenOf : public OnlineLibraryScreen {
public:
    using Model = OnlineLibrary<Kind>;
    OnlineLibraryScreenOf(const QString& title, std::unique_ptr<Model> model, QWidget* parent);
    ~OnlineLibraryScreenOf() override;
    Model& model() { return *model_; }

protected:
    const LoadState& modelState() const override { return model_->loadState(); }
    std::vector<OnlineLibrarySection> modelSections() const override;
    bool modelSelected(int section, int row) const override;
    QString modelStatus() const override { return model_->statusText(); }
    QString modelCredit() const override { return model_->creditLine(); }
    QString modelSelection() const override { return model_->selectionText(); }
    bool modelCanImport() const override { return model_->canImport(); }
    bool modelImporting() const override { return model_->isImporting(); }
    void modelLoad() override { model_->load(); }
    void modelToggle(int section, int row) override;
    void modelImport() override { model_->importSelected(); }
    void modelClose() override { model_->close(); }

private:
    std::unique_ptr<Model> model_;
};

extern template class OnlineLibraryScreenOf<PaletteLibraryKind>;
extern template class OnlineLibraryScreenOf<BookmarkLibraryKind>;

class OnlinePaletteLibraryViewController final : public OnlineLibraryScreenOf<PaletteLibraryKind> {
    Q_OBJECT

public:
    OnlinePaletteLibraryViewController(std::unique_ptr<OnlinePaletteLibrary> model, QWidget* parent);
};

class OnlineBookmarkLibraryViewController final : public OnlineLibraryScreenOf<BookmarkLibraryKind> {
    Q_OBJECT

public:
    OnlineBookmarkLibraryViewController(std::unique_ptr<OnlineBookmarkLibrary> model, QWidget* parent);
};

}  // namespace gs
