#include "ui/browser_panel.h"

#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include "ui/bracket_controls.h"
#include "ui/window_style.h"

namespace gs {

namespace {

enum Role { sectionRole = Qt::UserRole, rowRole, headerRole, detailRole, stripRole };

constexpr int kHeaderHeight = 30;
constexpr int kEntryHeight = 52;
constexpr int kMargin = 14;

QFont scaled(QFont f, double factor) {
    f.setPointSizeF(f.pointSizeF() * factor);
    return f;
}

// Draws section titles as small capitals and entries as preview, name and detail.
class EntryDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const override {
        return {BrowserPanel::kWidth - 2, index.data(headerRole).toBool() ? kHeaderHeight : kEntryHeight};
    }

    void paint(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        p->save();
        p->setRenderHint(QPainter::Antialiasing);
        if (index.data(headerRole).toBool())
            paintHeader(p, option.rect, index.data(Qt::DisplayRole).toString(), option.font);
        else
            paintEntry(p, option, index);
        p->restore();
    }

private:
    static void paintHeader(QPainter* p, const QRect& r, const QString& title, const QFont& font) {
        QFont f = scaled(font, 0.78);
        f.setLetterSpacing(QFont::PercentageSpacing, 115);
        p->setFont(f);
        p->setPen(style::kCaption);
        p->drawText(r.adjusted(kMargin, 0, -kMargin, -4), Qt::AlignLeft | Qt::AlignBottom, title.toUpper());
    }

    static void paintEntry(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) {
        const QRect r = option.rect;
        const bool current = option.state & QStyle::State_Selected;
        const bool focused = option.state & QStyle::State_HasFocus;
        if (current || (option.state & QStyle::State_MouseOver))
            p->fillRect(r, current ? QColor(255, 255, 255, 18) : QColor(255, 255, 255, 9));
        if (current) p->fillRect(QRect(r.left(), r.top() + 8, 2, r.height() - 16), focused ? style::kAccent : style::kBracket);

        const QRect preview(r.left() + kMargin, r.top() + (r.height() - BrowserPanel::kPreviewHeight) / 2,
                            BrowserPanel::kPreviewWidth, BrowserPanel::kPreviewHeight);
        QPainterPath clip;
        clip.addRoundedRect(preview, 4, 4);
        p->setClipPath(clip);
        const QImage thumbnail = index.data(Qt::DecorationRole).value<QImage>();
        if (!thumbnail.isNull()) {
            p->setRenderHint(QPainter::SmoothPixmapTransform);
            // Fill the preview, cropping the thumbnail's longer side evenly.
            const QSize fill = thumbnail.size().scaled(preview.size(), Qt::KeepAspectRatioByExpanding);
            p->drawImage(QRect(preview.center() - QPoint(fill.width() / 2, fill.height() / 2), fill), thumbnail);
        } else {
            paintStrip(p, preview, index.data(stripRole).value<QList<QColor>>());
        }
        p->setClipping(false);
        p->setPen(QColor(255, 255, 255, 28));
        p->setBrush(Qt::NoBrush);
        p->drawRoundedRect(QRectF(preview).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);

        const QRect text(preview.right() + 12, r.top() + 7, r.right() - preview.right() - 12 - kMargin, r.height() - 14);
        p->setFont(option.font);
        p->setPen(current ? style::kTextBright : style::kText);
        const QString name = option.fontMetrics.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideRight, text.width());
        const bool oneLine = index.data(detailRole).toString().isEmpty();  // the name alone sits in the middle
        p->drawText(text, Qt::AlignLeft | (oneLine ? Qt::AlignVCenter : Qt::AlignTop), name);
        const QFont small = scaled(option.font, 0.85);
        p->setFont(small);
        p->setPen(style::kCaption);
        const QString detail = QFontMetrics(small).elidedText(index.data(detailRole).toString(), Qt::ElideRight, text.width());
        p->drawText(text, Qt::AlignLeft | Qt::AlignBottom, detail);
    }

    // The colours side by side across the preview, as the palette runs.
    static void paintStrip(QPainter* p, const QRect& r, const QList<QColor>& colours) {
        if (colours.isEmpty()) {
            p->fillRect(r, style::kWindow);
            return;
        }
        for (int x = 0; x < r.width(); ++x) {
            const qsizetype i = qsizetype(x) * colours.size() / r.width();
            p->fillRect(QRect(r.left() + x, r.top(), 1, r.height()), colours[i]);
        }
    }
};

QWidget* headerButton(const QString& text, const QString& tip, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setFlat(true);
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setFixedSize(26, 26);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

}  // namespace

BrowserPanel::BrowserPanel(const QString& title, QWidget* host) : QWidget(host), host_(host) {
    setAttribute(Qt::WA_StyledBackground);
    setAutoFillBackground(false);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 10, 0, 10);
    column->setSpacing(6);

    auto* header = new QHBoxLayout;
    header->setContentsMargins(kMargin, 0, 8, 0);
    title_ = new QLabel(title.toUpper(), this);
    QFont f = title_->font();
    f.setLetterSpacing(QFont::PercentageSpacing, 112);
    f.setBold(true);
    title_->setFont(scaled(f, 0.9));
    QPalette titlePalette = title_->palette();
    titlePalette.setColor(QPalette::WindowText, style::kTextBright);
    title_->setPalette(titlePalette);
    header->addWidget(title_, 1);
    QWidget* about = headerButton(QStringLiteral("?"), tr("What is this?"), this);
    QWidget* close = headerButton(QStringLiteral("×"), tr("Close"), this);
    connect(static_cast<QPushButton*>(about), &QPushButton::clicked, this, &BrowserPanel::showExplanations);
    connect(static_cast<QPushButton*>(close), &QPushButton::clicked, this, &BrowserPanel::closePanel);
    header->addWidget(about);
    header->addWidget(close);
    column->addLayout(header);

    note_ = new QLabel(this);
    note_->setObjectName(QStringLiteral("note"));
    note_->setWordWrap(true);
    note_->setContentsMargins(kMargin, 4, kMargin, 4);
    QPalette notePalette = note_->palette();
    notePalette.setColor(QPalette::WindowText, style::kCaption);
    note_->setPalette(notePalette);
    note_->hide();
    column->addWidget(note_);

    list_ = new QListWidget(this);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setItemDelegate(new EntryDelegate(list_));
    list_->setMouseTracking(true);
    list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    list_->setAccessibleName(title);
    QPalette listPalette = list_->palette();
    listPalette.setColor(QPalette::Base, style::kPanel);
    list_->setPalette(listPalette);
    list_->installEventFilter(this);
    connect(list_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) { activate(item); });
    connect(list_, &QListWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        requestMenu(list_->itemAt(at), list_->viewport()->mapToGlobal(at));
    });
    column->addWidget(list_, 1);

    actions_ = new QVBoxLayout;  // one action a line, as in the sidebar
    actions_->setContentsMargins(kMargin - 4, 6, kMargin, 0);
    actions_->setSpacing(0);
    column->addLayout(actions_);

    // The explanations cover the panel below its header until closed.
    explanations_ = new QWidget(this);
    explanations_->setAutoFillBackground(true);
    QPalette cardPalette = explanations_->palette();
    cardPalette.setColor(QPalette::Window, style::kWindow);
    explanations_->setPalette(cardPalette);
    auto* card = new QVBoxLayout(explanations_);
    card->setContentsMargins(kMargin + 4, 14, kMargin + 4, 14);
    explanationsText_ = new QLabel(explanations_);
    explanationsText_->setWordWrap(true);
    explanationsText_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    explanationsText_->setTextFormat(Qt::PlainText);
    card->addWidget(explanationsText_, 1);
    auto* done = new BracketActionControl(tr("Done"), explanations_);
    connect(done, &QAbstractButton::clicked, this, &BrowserPanel::hideExplanations);
    card->addWidget(done, 0, Qt::AlignRight);
    explanations_->hide();

    host_->installEventFilter(this);
    hide();
    followHost();
}

void BrowserPanel::setSections(const std::vector<BrowserSection>& sections) {
    const auto [currentSection, currentRow] = currentEntry();
    list_->clear();
    for (std::size_t s = 0; s < sections.size(); ++s) {
        auto* header = new QListWidgetItem(sections[s].title, list_);
        header->setData(headerRole, true);
        header->setFlags(Qt::NoItemFlags);
        for (std::size_t r = 0; r < sections[s].entries.size(); ++r) {
            const BrowserEntry& e = sections[s].entries[r];
            auto* item = new QListWidgetItem(e.name, list_);
            item->setData(sectionRole, int(s));
            item->setData(rowRole, int(r));
            item->setData(detailRole, e.detail);
            item->setData(stripRole, QVariant::fromValue(QList<QColor>(e.strip.begin(), e.strip.end())));
            if (!e.thumbnail.isNull()) item->setData(Qt::DecorationRole, e.thumbnail);
            item->setToolTip(e.detail.isEmpty() ? e.name : e.name + QLatin1Char('\n') + e.detail);
        }
    }
    setCurrentEntry(currentSection, currentRow);
}

void BrowserPanel::setNote(const QString& note) {
    note_->setText(note);
    note_->setVisible(!note.isEmpty());
}

void BrowserPanel::setExplanations(const QString& text) { explanationsText_->setText(text); }

void BrowserPanel::setThumbnail(int section, int row, const QImage& thumbnail) {
    if (QListWidgetItem* item = itemFor(section, row)) item->setData(Qt::DecorationRole, thumbnail);
}

BracketActionControl* BrowserPanel::addAction(const QString& label, std::function<void()> run) {
    auto* action = new BracketActionControl(label, this);
    connect(action, &QAbstractButton::clicked, this, [run = std::move(run)] { run(); });
    actions_->addWidget(action, 0, Qt::AlignLeft);
    return action;
}

void BrowserPanel::openPanel() {
    followHost();
    show();
    raise();
    if (list_->currentRow() < 0) setCurrentEntry(0, 0);
    list_->setFocus(Qt::OtherFocusReason);
}

void BrowserPanel::closePanel() {
    if (!isVisible()) return;
    hideExplanations();
    hide();
    if (onClosed) onClosed();
}

void BrowserPanel::showExplanations() {
    explanations_->setGeometry(0, title_->geometry().bottom() + 8, width(), height() - title_->geometry().bottom() - 8);
    explanations_->show();
    explanations_->raise();
    explanations_->setFocus();
}

void BrowserPanel::hideExplanations() {
    if (!explanations_->isVisible()) return;
    explanations_->hide();
    list_->setFocus(Qt::OtherFocusReason);
}

bool BrowserPanel::explanationsOpen() const { return isVisible() && explanations_->isVisible(); }

std::pair<int, int> BrowserPanel::currentEntry() const {
    const QListWidgetItem* item = list_->currentItem();
    return item && !item->data(headerRole).toBool() ? entryOf(item) : std::pair{-1, -1};
}

void BrowserPanel::setCurrentEntry(int section, int row) {
    QListWidgetItem* item = itemFor(section, row);
    if (!item) {  // the first entry of any section
        for (int i = 0; i < list_->count() && !item; ++i)
            if (!list_->item(i)->data(headerRole).toBool()) item = list_->item(i);
    }
    if (item) list_->setCurrentItem(item);
}

bool BrowserPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == host_ && (event->type() == QEvent::Resize || event->type() == QEvent::Show)) {
        followHost();
    } else if (watched == list_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool plain = key->modifiers() == Qt::NoModifier || key->modifiers() == Qt::KeypadModifier;
        if (plain && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter || key->key() == Qt::Key_Space)) {
            activate(list_->currentItem());
            return true;
        }
        if ((plain && key->key() == Qt::Key_Menu) ||
            (key->key() == Qt::Key_F10 && key->modifiers() == Qt::ShiftModifier)) {
            menuForCurrent();
            return true;
        }
    } else if (watched == list_ && event->type() == QEvent::ContextMenu &&
               static_cast<QContextMenuEvent*>(event)->reason() == QContextMenuEvent::Keyboard) {
        menuForCurrent();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void BrowserPanel::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), style::kPanel);
    p.fillRect(QRect(0, 0, 1, height()), QColor(255, 255, 255, 22));  // the edge against the picture
}

void BrowserPanel::followHost() {
    const int w = std::min(kWidth, host_->width());
    setGeometry(host_->width() - w, 0, w, host_->height());
    if (explanations_->isVisible()) showExplanations();
}

QListWidgetItem* BrowserPanel::itemFor(int section, int row) const {
    for (int i = 0; i < list_->count(); ++i) {
        QListWidgetItem* item = list_->item(i);
        if (!item->data(headerRole).toBool() && entryOf(item) == std::pair{section, row}) return item;
    }
    return nullptr;
}

std::pair<int, int> BrowserPanel::entryOf(const QListWidgetItem* item) const {
    return {item->data(sectionRole).toInt(), item->data(rowRole).toInt()};
}

void BrowserPanel::activate(QListWidgetItem* item) {
    if (!item || item->data(headerRole).toBool() || !onActivated) return;
    const auto [section, row] = entryOf(item);
    onActivated(section, row);
}

// The keyboard's context menu opens under the current entry, not at the pointer.
void BrowserPanel::menuForCurrent() {
    QListWidgetItem* item = list_->currentItem();
    const QRect at = item ? list_->visualItemRect(item) : QRect();
    requestMenu(item, list_->viewport()->mapToGlobal(at.bottomLeft() + QPoint(kMargin, 0)));
}

void BrowserPanel::requestMenu(QListWidgetItem* item, const QPoint& globalPos) {
    if (!item || item->data(headerRole).toBool() || !onContextMenu) return;
    list_->setCurrentItem(item);
    const auto [section, row] = entryOf(item);
    onContextMenu(section, row, globalPos);
}

}  // namespace gs
