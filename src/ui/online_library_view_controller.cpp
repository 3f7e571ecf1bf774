#include "ui/online_library_view_controller.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QVBoxLayout>
#include <utility>

#include "core/budget.h"
#include "library/online_library_texts.h"
#include "ui/activity_indicator.h"
#include "ui/alerts.h"
#include "ui/bracket_controls.h"
#include "ui/window_style.h"

namespace gs {
namespace {

enum Role { sectionRole = Qt::UserRole, rowRole, headerRole, detailRole, swatchRole, selectedRole };

constexpr int kHeaderHeight = 34;
constexpr int kCellHeight = 46;
constexpr int kMargin = 18;
constexpr int kMarkSize = 16;
constexpr int kSwatchWidth = 132, kSwatchHeight = 24;
const QSize kPreferredSize(640, 560);

QFont scaled(QFont f, double factor) {
    f.setPointSizeF(f.pointSizeF() * factor);
    return f;
}

QColor toQColor(const aColor& c) { return QColor::fromRgbF(float(c.r), float(c.g), float(c.b)); }

// Section titles in small capitals; entries as a selection mark, the swatch strip, the name and
// (for bookmarks) the zoom.
class CellDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const override {
        return {200, index.data(headerRole).toBool() ? kHeaderHeight : kCellHeight};
    }

    void paint(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        p->save();
        p->setRenderHint(QPainter::Antialiasing);
        if (index.data(headerRole).toBool())
            paintHeader(p, option, index.data(Qt::DisplayRole).toString());
        else
            paintCell(p, option, index);
        p->restore();
    }

private:
    static void paintHeader(QPainter* p, const QStyleOptionViewItem& option, const QString& title) {
        QFont f = scaled(option.font, 0.8);
        f.setLetterSpacing(QFont::PercentageSpacing, 115);
        p->setFont(f);
        p->setPen(style::kCaption);
        p->drawText(option.rect.adjusted(kMargin, 0, -kMargin, -6), Qt::AlignLeft | Qt::AlignBottom,
                    title.toUpper());
    }

    static void paintCell(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) {
        const QRect r = option.rect;
        const bool current = option.state & QStyle::State_Selected;
        const bool chosen = index.data(selectedRole).toBool();
        if (current || (option.state & QStyle::State_MouseOver))
            p->fillRect(r, current ? QColor(255, 255, 255, 16) : QColor(255, 255, 255, 8));
        if (current && (option.state & QStyle::State_HasFocus))
            p->fillRect(QRect(r.left(), r.top() + 8, 2, r.height() - 16), style::kAccent);

        const QRect mark(r.left() + kMargin, r.center().y() - kMarkSize / 2, kMarkSize, kMarkSize);
        paintMark(p, QRectF(mark).adjusted(0.5, 0.5, -0.5, -0.5), chosen);
        const QRect swatch(mark.right() + 14, r.center().y() - kSwatchHeight / 2, kSwatchWidth, kSwatchHeight);
        paintSwatch(p, swatch, index.data(swatchRole).value<QList<QColor>>());

        const QRect text(swatch.right() + 14, r.top(), r.right() - swatch.right() - 14 - kMargin, r.height());
        const QString detail = index.data(detailRole).toString();
        const QFont small = scaled(option.font, 0.85);
        const int detailWidth = detail.isEmpty() ? 0 : QFontMetrics(small).horizontalAdvance(detail) + 12;
        p->setFont(option.font);
        p->setPen(chosen || current ? style::kTextBright : style::kText);
        p->drawText(text.adjusted(0, 0, -detailWidth, 0), Qt::AlignLeft | Qt::AlignVCenter,
                    option.fontMetrics.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideRight,
                                                  text.width() - detailWidth));
        p->setFont(small);
        p->setPen(style::kCaption);
        p->drawText(text, Qt::AlignRight | Qt::AlignVCenter, detail);
    }

    static void paintMark(QPainter* p, const QRectF& r, bool chosen) {
        if (!chosen) {
            p->setPen(QPen(style::kBracket, 1.2));
            p->setBrush(Qt::NoBrush);
            p->drawEllipse(r);
            return;
        }
        p->setPen(Qt::NoPen);
        p->setBrush(style::kAccent);
        p->drawEllipse(r);
        QPainterPath tick;
        tick.moveTo(r.left() + r.width() * 0.27, r.top() + r.height() * 0.52);
        tick.lineTo(r.left() + r.width() * 0.44, r.top() + r.height() * 0.68);
        tick.lineTo(r.left() + r.width() * 0.74, r.top() + r.height() * 0.34);
        p->setPen(QPen(style::kWindow, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p->setBrush(Qt::NoBrush);
        p->drawPath(tick);
    }

    // The stops blended evenly across the strip, as a gradient.
    static void paintSwatch(QPainter* p, const QRect& r, const QList<QColor>& stops) {
        QPainterPath clip;
        clip.addRoundedRect(r, 4, 4);
        p->save();
        p->setClipPath(clip);
        if (stops.isEmpty()) {
            p->fillRect(r, style::kWindow);
        } else {
            QLinearGradient gradient(r.topLeft(), r.topRight());
            for (qsizetype i = 0; i < stops.size(); ++i)
                gradient.setColorAt(stops.size() == 1 ? 0.0 : double(i) / double(stops.size() - 1), stops[i]);
            p->fillRect(r, gradient);
        }
        p->restore();
        p->setPen(QColor(255, 255, 255, 28));
        p->setBrush(Qt::NoBrush);
        p->drawRoundedRect(QRectF(r).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    }
};

QLabel* captionLabel(QWidget* parent, double scale = 1.0) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setFont(scaled(label->font(), scale));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, style::kCaption);
    label->setPalette(palette);
    return label;
}

QString zoomDetail(const RemoteBookmarkEntry& entry) {
    return QString::fromStdString(zoomText(remoteBookmarkZoom(entry)));
}

OnlineLibraryCell cellOf(const PaletteLibraryKind::DisplayItem& item) {
    return {item.entry.name, {}, item.preview, false};
}

OnlineLibraryCell cellOf(const BookmarkLibraryKind::DisplayItem& item) {
    return {item.entry.name, zoomDetail(item.entry), item.preview, false};
}

// Rows are filled in before they join the list: a row in a list tells the view of every value
// it is given.
QListWidgetItem* headerItem(const QString& title) {
    auto* header = new QListWidgetItem(title);
    header->setData(headerRole, true);
    header->setFlags(Qt::NoItemFlags);
    return header;
}

QListWidgetItem* entryItem(const OnlineLibraryCell& cell, int section, int row) {
    auto* item = new QListWidgetItem(cell.name);
    item->setData(sectionRole, section);
    item->setData(rowRole, row);
    item->setData(detailRole, cell.detail);
    QList<QColor> swatch;
    swatch.reserve(qsizetype(cell.swatch.size()));
    for (const aColor& c : cell.swatch) swatch.append(toQColor(c));
    item->setData(swatchRole, QVariant::fromValue(swatch));
    item->setData(selectedRole, cell.selected);
    item->setData(Qt::AccessibleDescriptionRole, cell.selected ? OnlineLibraryScreen::tr("Selected") : QString());
    item->setToolTip(cell.detail.isEmpty() ? cell.name : cell.name + QStringLiteral(" · ") + cell.detail);
    return item;
}

}  // namespace

OnlineLibraryScreen::OnlineLibraryScreen(const QString& title, QWidget* parent) : QDialog(parent) {
    setWindowTitle(title);
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setAutoFillBackground(true);
    QPalette palette = this->palette();
    palette.setColor(QPalette::Window, style::kPanel);
    palette.setColor(QPalette::Base, style::kPanel);
    setPalette(palette);
    // When the alert closes the screen takes the keyboard back: without a window manager
    // nobody else gives it back.
    presentAlert = [this](const AlertText& alert) {
        connect(showTitledAlert(this, alert), &QDialog::finished, this, [this] {
            activateWindow();
            (list_->isVisible() ? static_cast<QWidget*>(list_) : this)->setFocus(Qt::OtherFocusReason);
        });
    };

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 14, 0, 12);
    column->setSpacing(8);
    column->addWidget(buildHeader(title));
    list_ = new QListWidget(this);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setItemDelegate(new CellDelegate(list_));
    list_->setMouseTracking(true);
    list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setAccessibleName(title);
    list_->installEventFilter(this);
    connect(list_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        if (!item->data(headerRole).toBool()) toggleEntry(item->data(sectionRole).toInt(), item->data(rowRole).toInt());
    });
    column->addWidget(list_, 1);
    column->addWidget(statePanel_ = buildStatePanel(), 1);
    credit_ = captionLabel(this, 0.85);
    credit_->setWordWrap(true);
    credit_->setContentsMargins(kMargin, 0, kMargin, 0);
    column->addWidget(credit_);
    column->addWidget(importBar_ = buildImportBar());
    placeOverParent();
}

QWidget* OnlineLibraryScreen::buildHeader(const QString& title) {
    auto* header = new QWidget(this);
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(kMargin, 0, kMargin - 8, 0);
    auto* name = new QLabel(title.toUpper(), header);
    QFont f = name->font();
    f.setBold(true);
    f.setLetterSpacing(QFont::PercentageSpacing, 112);
    name->setFont(scaled(f, 0.95));
    QPalette palette = name->palette();
    palette.setColor(QPalette::WindowText, style::kTextBright);
    name->setPalette(palette);
    row->addWidget(name, 1);
    auto* close = new QPushButton(QStringLiteral("×"), header);
    close->setFlat(true);
    close->setFixedSize(28, 28);
    close->setToolTip(tr("Close (Esc)"));
    close->setAccessibleName(tr("Close"));
    close->setAutoDefault(false);
    close->setFocusPolicy(Qt::TabFocus);
    connect(close, &QPushButton::clicked, this, &OnlineLibraryScreen::handleClose);
    row->addWidget(close);
    return header;
}

// In the middle while nothing is listed: the activity indicator while loading, or the status
// with "TRY AGAIN" after a failure, or the empty library's line.
QWidget* OnlineLibraryScreen::buildStatePanel() {
    auto* panel = new QWidget(this);
    auto* column = new QVBoxLayout(panel);
    column->setContentsMargins(kMargin * 2, 0, kMargin * 2, 0);
    column->setSpacing(14);
    column->addStretch(1);
    loadingIndicator_ = new ActivityIndicator(panel, 26);
    column->addWidget(loadingIndicator_, 0, Qt::AlignHCenter);
    status_ = captionLabel(panel);
    status_->setWordWrap(true);
    status_->setAlignment(Qt::AlignCenter);
    column->addWidget(status_);
    auto* retry = new BracketActionControl(onlineLibraryTexts::tryAgainButton, panel);
    connect(retry, &QAbstractButton::clicked, this, &OnlineLibraryScreen::handleRetry);
    retryButton_ = retry;
    column->addWidget(retry, 0, Qt::AlignHCenter);
    column->addStretch(2);
    return panel;
}

QWidget* OnlineLibraryScreen::buildImportBar() {
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(kMargin, 8, kMargin - 4, 0);
    row->setSpacing(10);
    selection_ = new QLabel(bar);
    QFont f = scaled(selection_->font(), 0.85);
    f.setLetterSpacing(QFont::PercentageSpacing, 112);
    selection_->setFont(f);
    row->addWidget(selection_, 1);
    importingIndicator_ = new ActivityIndicator(bar);
    row->addWidget(importingIndicator_);
    auto* import = new BracketActionControl(onlineLibraryTexts::importSelectedButton, bar);
    connect(import, &QAbstractButton::clicked, this, &OnlineLibraryScreen::handleImportSelected);
    importButton_ = import;
    row->addWidget(import);
    return bar;
}

// Most of the window, centred over it.
void OnlineLibraryScreen::placeOverParent() {
    const QWidget* host = parentWidget() ? parentWidget()->window() : nullptr;
    QSize size = kPreferredSize;
    if (host) size = size.boundedTo(host->size() - QSize(60, 40)).expandedTo(QSize(420, 360));
    resize(size);
    if (host) move(host->mapToGlobal(host->rect().center()) - QPoint(size.width() / 2, size.height() / 2));
}

void OnlineLibraryScreen::handleRetry() { modelLoad(); }

void OnlineLibraryScreen::handleImportSelected() { modelImport(); }

void OnlineLibraryScreen::toggleEntry(int section, int row) { modelToggle(section, row); }

void OnlineLibraryScreen::handleClose() {
    if (closed_) return;
    closed_ = true;
    modelClose();  // reports the visit's total through visitFinished
    QDialog::done(QDialog::Accepted);
}

void OnlineLibraryScreen::done(int) { handleClose(); }

void OnlineLibraryScreen::visitFinished(int imported) {
    if (onFinishedImporting) onFinishedImporting(imported);
}

void OnlineLibraryScreen::importFinished(const AlertText& alert) {
    if (presentAlert) presentAlert(alert);
}

void OnlineLibraryScreen::modelChanged() {
    const LoadState& state = modelState();
    const bool loaded = state.phase == LoadState::Phase::loaded && modelStatus().isEmpty();
    if (state.phase != shownPhase_) {
        shownPhase_ = state.phase;
        listBuilt_ = false;
    }
    if (loaded && !listBuilt_) buildListSoon();
    const bool listed = loaded && listBuilt_;
    list_->setVisible(listed);
    statePanel_->setVisible(!listed);
    importBar_->setVisible(listed);
    if (state.phase == LoadState::Phase::loading || (loaded && !listBuilt_))
        loadingIndicator_->startAnimating();
    else
        loadingIndicator_->stopAnimating();
    status_->setText(modelStatus());
    status_->setVisible(!status_->text().isEmpty());
    retryButton_->setVisible(state.phase == LoadState::Phase::failed);
    credit_->setText(modelCredit());
    credit_->setVisible(!credit_->text().isEmpty());
    refreshSelectionMarks();
    refreshBar();
    if (state.phase == LoadState::Phase::failed && !retryButton_->hasFocus()) retryButton_->setFocus();
}

// The list is built on the next turn of the event loop, not in the one that read the manifest:
// a large library then takes two short turns instead of one long one. The loading indicator
// keeps turning until the list is there.
void OnlineLibraryScreen::buildListSoon() {
    if (listScheduled_) return;
    listScheduled_ = true;
    QTimer::singleShot(0, this, [this] {
        listScheduled_ = false;
        const bool loaded = modelState().phase == LoadState::Phase::loaded && modelStatus().isEmpty();
        if (closed_ || listBuilt_ || !loaded) return;
        rebuildList();
        modelChanged();  // shows the list
        // Only a shown widget takes the keyboard: a hidden one given focus may never get it.
        list_->setFocus(Qt::OtherFocusReason);
    });
}

void OnlineLibraryScreen::rebuildList() {
    list_->clear();
    std::vector<QListWidgetItem*> rows;
    const std::vector<OnlineLibrarySection> sections = modelSections();
    for (std::size_t s = 0; s < sections.size(); ++s) {
        rows.push_back(headerItem(sections[s].title));
        for (std::size_t r = 0; r < sections[s].cells.size(); ++r)
            rows.push_back(entryItem(sections[s].cells[r], int(s), int(r)));
    }
    {
        // Joining one by one, every row would tell the view and the selection of its arrival;
        // they join quietly and the view starts over once from the whole list.
        const QSignalBlocker quiet(list_->model());
        for (QListWidgetItem* row : rows) list_->addItem(row);
    }
    list_->reset();
    listBuilt_ = true;
    marksInSync_ = true;  // the rows were made with the model's selection
    for (int i = 0; i < list_->count(); ++i) {
        if (list_->item(i)->data(headerRole).toBool()) continue;
        list_->setCurrentRow(i);
        break;
    }
}

// Asks the model entry by entry and touches only the marks that changed: a library of thousands
// of entries must not rebuild its cells on every click.
void OnlineLibraryScreen::refreshSelectionMarks() {
    if (!listBuilt_ || std::exchange(marksInSync_, false)) return;
    for (int i = 0; i < list_->count(); ++i) {
        QListWidgetItem* item = list_->item(i);
        if (item->data(headerRole).toBool()) continue;
        const bool selected = modelSelected(item->data(sectionRole).toInt(), item->data(rowRole).toInt());
        if (item->data(selectedRole).toBool() == selected) continue;
        item->setData(selectedRole, selected);
        item->setData(Qt::AccessibleDescriptionRole, selected ? tr("Selected") : QString());
    }
}

void OnlineLibraryScreen::refreshBar() {
    selection_->setText(modelSelection());
    const bool importing = modelImporting();
    if (importing)
        importingIndicator_->startAnimating();
    else
        importingIndicator_->stopAnimating();
    importButton_->setEnabled(modelCanImport());
}

// Space and Enter select or deselect the current entry.
bool OnlineLibraryScreen::eventFilter(QObject* watched, QEvent* event) {
    if (watched == list_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool plain = key->modifiers() == Qt::NoModifier || key->modifiers() == Qt::KeypadModifier;
        const bool toggles = key->key() == Qt::Key_Space || key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        if (plain && toggles) {
            if (QListWidgetItem* item = list_->currentItem(); item && !item->data(headerRole).toBool())
                toggleEntry(item->data(sectionRole).toInt(), item->data(rowRole).toInt());
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

QString OnlineLibraryScreen::statusText() const { return status_->isHidden() ? QString() : status_->text(); }
QString OnlineLibraryScreen::creditText() const { return credit_->text(); }
QString OnlineLibraryScreen::selectionText() const { return selection_->text(); }
bool OnlineLibraryScreen::isRetryOffered() const { return !retryButton_->isHidden(); }
bool OnlineLibraryScreen::isLoadingIndicated() const { return loadingIndicator_->isAnimating(); }
bool OnlineLibraryScreen::isImportingIndicated() const { return importingIndicator_->isAnimating(); }

template <class Kind>
OnlineLibraryScreenOf<Kind>::OnlineLibraryScreenOf(const QString& title, std::unique_ptr<Model> model,
                                                  QWidget* parent)
    : OnlineLibraryScreen(title, parent), model_(std::move(model)) {
    model_->onChanged = [this] { modelChanged(); };
    model_->onImportFinished = [this](const AlertText& alert) { importFinished(alert); };
    model_->onFinishedImporting = [this](int imported) { visitFinished(imported); };
    modelChanged();
    model_->load();
}

template <class Kind>
OnlineLibraryScreenOf<Kind>::~OnlineLibraryScreenOf() {
    model_->onChanged = nullptr;  // the widgets go after the model; nothing may redraw them
    model_->onImportFinished = nullptr;
    model_->onFinishedImporting = nullptr;
}

template <class Kind>
std::vector<OnlineLibrarySection> OnlineLibraryScreenOf<Kind>::modelSections() const {
    std::vector<OnlineLibrarySection> sections;
    const auto& items = model_->sections();
    const auto& collections = model_->collections();
    for (std::size_t s = 0; s < items.size(); ++s) {
        OnlineLibrarySection section{s < std::size_t(collections.size()) ? collections[qsizetype(s)].title : QString(), {}};
        for (const auto& item : items[s]) {
            section.cells.push_back(cellOf(item));
            section.cells.back().selected = model_->isSelected(item);
        }
        sections.push_back(std::move(section));
    }
    return sections;
}

template <class Kind>
bool OnlineLibraryScreenOf<Kind>::modelSelected(int section, int row) const {
    const auto& items = model_->sections();
    if (section < 0 || row < 0 || std::size_t(section) >= items.size() || std::size_t(row) >= items[std::size_t(section)].size())
        return false;
    return model_->isSelected(items[std::size_t(section)][std::size_t(row)]);
}

template <class Kind>
void OnlineLibraryScreenOf<Kind>::modelToggle(int section, int row) {
    const auto& items = model_->sections();
    if (section < 0 || row < 0 || std::size_t(section) >= items.size() || std::size_t(row) >= items[std::size_t(section)].size())
        return;
    model_->toggleSelection(items[std::size_t(section)][std::size_t(row)]);
}

template class OnlineLibraryScreenOf<PaletteLibraryKind>;
template class OnlineLibraryScreenOf<BookmarkLibraryKind>;

OnlinePaletteLibraryViewController::OnlinePaletteLibraryViewController(
    std::unique_ptr<OnlinePaletteLibrary> model, QWidget* parent)
    : OnlineLibraryScreenOf(tr("Online Palettes"), std::move(model), parent) {}

OnlineBookmarkLibraryViewController::OnlineBookmarkLibraryViewController(
    std::unique_ptr<OnlineBookmarkLibrary> model, QWidget* parent)
    : OnlineLibraryScreenOf(tr("Online Bookmarks"), std::move(model), parent) {}

}  // namespace gs
