#include "ui/tuning_panel_view.h"

#include <QAbstractButton>
#include <QPainter>
#include <algorithm>

#include "ui/bracket_controls.h"
#include "ui/bracket_slider_control.h"
#include "ui/tuning_help_card.h"
#include "ui/window_style.h"

namespace gs {

namespace {

constexpr int kMarginX = 14, kTop = 8, kBottom = 8;
constexpr int kTabRowHeight = 24, kTabGap = 6, kTabSpacing = 16;
constexpr int kRowHeight = 24, kRowGap = 3, kColumnGap = 28;
constexpr int kHelpGap = 20;
constexpr int kStandardHelpWidth = 280, kWideHelpWidth = 380;
constexpr int kWideColumnWidth = 420;
constexpr int kOverlayCardWidth = 520, kOverlayCardGap = 10;

QFont tabFont(const QFont& base) {
    QFont f = base;
    f.setPointSizeF(f.pointSizeF() * 0.78);
    f.setLetterSpacing(QFont::PercentageSpacing, 112);
    return f;
}

// One tab of the strip: its name, underlined in the accent colour when selected, muted when
// the effect it shapes is off (its sliders still edit the values kept for it).
class TuningTabButton : public QAbstractButton {
public:
    TuningTabButton(const QString& name, QWidget* parent) : QAbstractButton(parent) {
        setText(name);
        setObjectName(QStringLiteral("tuningTab ") + name);
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_Hover);
        setCursor(Qt::PointingHandCursor);
        setCheckable(true);
        setAccessibleName(name);
    }
    // The hint is made only when the state changes (the panel refreshes on every animation tick).
    void setModeOn(bool on, const std::function<QString()>& offHint) {
        if (on == modeOn_ && known_) return;
        known_ = true;
        modeOn_ = on;
        setToolTip(on ? QString() : offHint());
        update();
    }
    QSize sizeHint() const override {
        const QFontMetrics fm(tabFont(font()));
        return {fm.horizontalAdvance(text()) + 2, kTabRowHeight};
    }

protected:
    void nextCheckState() override {}  // the panel decides which tab is selected
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setFont(tabFont(font()));
        const QFontMetrics fm(p.font());
        const int baseline = (height() + fm.ascent() - fm.descent()) / 2;
        const bool bright = isChecked() || underMouse();
        p.setPen(bright ? style::kTextBright : modeOn_ ? style::kText : style::kCaption);
        p.drawText(1, baseline, text());
        const int underline = baseline + fm.descent() + 2;
        if (isChecked()) p.fillRect(1, underline, fm.horizontalAdvance(text()), 2, style::kAccent);
        else if (hasFocus()) p.fillRect(1, underline, fm.horizontalAdvance(text()), 1, style::kAccent);
    }

private:
    bool modeOn_ = true;
    bool known_ = false;
};

QString offHint(const TuningTab& tab) {
    const QString effect = tab.mode == TuningMode::sound ? QStringLiteral("Sound mode")
                                                         : QString::fromStdString(capitalizedTitle(tab.name));
    return effect + QStringLiteral(" is off: these values are kept and apply when it is on.");
}

}  // namespace

TuningPanelView::Layout TuningPanelView::layoutForWindowWidth(int width) {
    if (width >= kWideFromWidth) return Layout::wide;
    if (width >= kStandardFromWidth) return Layout::standard;
    return Layout::overlay;
}

TuningPanelView::TuningPanelView(std::vector<TuningTab> tabs, QWidget* parent)
    : QWidget(parent), tabs_(std::move(tabs)) {
    setObjectName(QStringLiteral("tuningPanel"));
    buildTabStrip();
    buildSliders();
    setFixedHeight(heightFor(layout_));
}

void TuningPanelView::buildTabStrip() {
    for (std::size_t i = 0; i < tabs_.size(); ++i) {
        auto* tab = new TuningTabButton(QString::fromStdString(tabs_[i].name), this);
        connect(tab, &QAbstractButton::clicked, this, [this, i] { selectTab(static_cast<int>(i)); });
        tabButtons_.push_back(tab);
    }
    resetControl_ = new BracketActionControl(tr("Reset"), this);
    resetControl_->setObjectName(QStringLiteral("tuningReset"));
    resetControl_->setToolTip(tr("Puts this tab's sliders back to their defaults (Reset All puts everything back)"));
    connect(resetControl_, &QAbstractButton::clicked, this, &TuningPanelView::handleReset);
    refreshValues();
}

void TuningPanelView::buildSliders() {
    for (BracketSliderControl* old : sliders_) delete old;
    sliders_.clear();
    const TuningTab& tab = tabs_.at(static_cast<std::size_t>(selectedIndex_));
    for (std::size_t i = 0; i < tab.sliders.size(); ++i) {
        auto* slider = new BracketSliderControl(tab.sliders[i], this);
        slider->setObjectName(QStringLiteral("tuningSlider ") + QString::fromStdString(tab.sliders[i].title));
        const int index = static_cast<int>(i);
        slider->onChange = [slider](double value) {
            if (slider->info().set) slider->info().set(value);
        };
        slider->onRequestHelp = [this, index] { showHelp(index); };
        slider->onRequestNumericEntry = [this, slider] {
            if (onRequestNumericEntry) onRequestNumericEntry(slider->info());
        };
        slider->show();
        sliders_.push_back(slider);
    }
    for (std::size_t i = 0; i < tabButtons_.size(); ++i)
        tabButtons_[i]->setChecked(static_cast<int>(i) == selectedIndex_);
    placeChildren();
}

void TuningPanelView::selectTab(int index) {
    if (index < 0 || index >= static_cast<int>(tabs_.size()) || index == selectedIndex_) return;
    hideHelp();
    selectedIndex_ = index;
    buildSliders();
}

void TuningPanelView::handleReset() {
    resetTuningTab(tabs_.at(static_cast<std::size_t>(selectedIndex_)));
    refreshValues();
}

void TuningPanelView::refreshValues() {
    for (BracketSliderControl* slider : sliders_) slider->refresh();
    for (std::size_t i = 0; i < tabButtons_.size(); ++i) {
        const TuningTab& tab = tabs_[i];
        static_cast<TuningTabButton*>(tabButtons_[i])->setModeOn(!tab.isModeOn || tab.isModeOn(),
                                                                  [&tab] { return offHint(tab); });
    }
}

// --- Help card -------------------------------------------------------------------------------

void TuningPanelView::showHelp(int sliderIndex) {
    if (sliderIndex < 0 || sliderIndex >= static_cast<int>(sliders_.size())) return;
    hideHelp();
    const bool docked = layout_ != Layout::overlay;
    auto* card = new TuningHelpCard(sliders_[static_cast<std::size_t>(sliderIndex)]->info(),
                                    docked || !parentWidget() ? this : parentWidget());
    card->onCloseRequested = [this] { hideHelp(); };
    helpCard_ = card;
    helpSlider_ = sliderIndex;
    placeHelpCard();
    card->show();
    card->raise();
    update();
    if (onHelpChanged) onHelpChanged();
}

TuningHelpCard* TuningPanelView::helpCard() const { return helpCard_; }

// The card may be the one asking (a click on it): it goes on the next pass of the event loop.
void TuningPanelView::hideHelp() {
    if (!helpCard_) return;
    helpCard_->hide();
    helpCard_->deleteLater();
    helpCard_ = nullptr;
    helpSlider_ = -1;
    update();
    if (onHelpChanged) onHelpChanged();
}

void TuningPanelView::placeHelpCard() {
    if (!helpCard_) return;
    const Areas a = areasFor(layout_);
    if (!a.help.isEmpty()) {
        helpCard_->setGeometry(a.help);
        return;
    }
    // Over the picture, just above the band, starting at the column of the slider that asked.
    const int width = std::min(a.sliders.width(), kOverlayCardWidth);
    const int column = helpSlider_ % 2;
    const int left = std::min(a.sliders.x() + column * (a.columnWidth + kColumnGap), a.sliders.right() + 1 - width);
    const int height = helpCard_->heightForWidth(width);
    QPoint at(left, -height - kOverlayCardGap);
    if (helpCard_->parentWidget() != this) at = mapTo(helpCard_->parentWidget(), at);
    helpCard_->setGeometry(at.x(), std::max(at.y(), 0), width, height);
}

// --- Layout ----------------------------------------------------------------------------------

TuningPanelView::Areas TuningPanelView::areasFor(Layout layout) const {
    const QRect content = rect().adjusted(kMarginX, kTop, -kMarginX, -kBottom);
    Areas a;
    int left = content.x(), slidersWidth = content.width(), helpWidth = 0;
    if (layout == Layout::standard) {
        helpWidth = kStandardHelpWidth;
        slidersWidth = content.width() - helpWidth - kHelpGap;
    } else if (layout == Layout::wide) {
        helpWidth = kWideHelpWidth;
        const int column = std::min((content.width() - helpWidth - kHelpGap - kColumnGap) / 2, kWideColumnWidth);
        slidersWidth = 2 * column + kColumnGap;
        left += (content.width() - slidersWidth - kHelpGap - helpWidth) / 2;
    }
    a.columnWidth = (slidersWidth - kColumnGap) / 2;
    a.tabRow = QRect(left, content.y(), slidersWidth, kTabRowHeight);
    const int slidersTop = content.y() + kTabRowHeight + kTabGap;
    a.sliders = QRect(left, slidersTop, slidersWidth, content.bottom() + 1 - slidersTop);
    if (helpWidth > 0) a.help = QRect(left + slidersWidth + kHelpGap, content.y(), helpWidth, content.height());
    return a;
}

// The band is as tall as the longest tab's sliders, or as the tallest help card it docks.
int TuningPanelView::heightFor(Layout layout) const {
    std::size_t most = 0;
    for (const TuningTab& tab : tabs_) most = std::max(most, tab.sliders.size());
    const int rows = static_cast<int>((most + 1) / 2);
    int content = kTabRowHeight + kTabGap + rows * kRowHeight + (rows - 1) * kRowGap;
    if (layout != Layout::overlay) {
        const int helpWidth = layout == Layout::standard ? kStandardHelpWidth : kWideHelpWidth;
        for (const TuningTab& tab : tabs_)
            for (const TuningSliderSpec& info : tab.sliders) {
                TuningHelpCard card(info);
                card.setFont(font());
                content = std::max(content, card.heightForWidth(helpWidth));
            }
    }
    return kTop + content + kBottom;
}

void TuningPanelView::chooseLayout() {
    const Layout chosen = layoutForWindowWidth(window()->width());
    if (chosen == layout_) return;
    const bool hadHelp = helpCard_;
    const int helpSlider = helpSlider_;
    hideHelp();
    layout_ = chosen;
    setFixedHeight(heightFor(layout_));
    if (hadHelp) showHelp(helpSlider);  // docked or laid over the picture, as the layout wants
}

void TuningPanelView::placeChildren() {
    const Areas a = areasFor(layout_);
    int x = a.tabRow.x();
    for (QAbstractButton* tab : tabButtons_) {
        const int w = tab->sizeHint().width();
        tab->setGeometry(x, a.tabRow.y(), w, a.tabRow.height());
        x += w + kTabSpacing;
    }
    const QSize reset = resetControl_->sizeHint();
    resetControl_->setGeometry(a.tabRow.right() + 1 - reset.width(), a.tabRow.y() + (a.tabRow.height() - reset.height()) / 2,
                               reset.width(), reset.height());
    for (std::size_t i = 0; i < sliders_.size(); ++i) {
        const int row = static_cast<int>(i / 2), column = static_cast<int>(i % 2);
        sliders_[i]->setGeometry(a.sliders.x() + column * (a.columnWidth + kColumnGap),
                                 a.sliders.y() + row * (kRowHeight + kRowGap), a.columnWidth, kRowHeight);
    }
    placeHelpCard();
}

void TuningPanelView::resizeEvent(QResizeEvent*) {
    chooseLayout();
    placeChildren();
}

void TuningPanelView::moveEvent(QMoveEvent*) { placeHelpCard(); }

void TuningPanelView::hideEvent(QHideEvent*) { hideHelp(); }

// The band's ground, a hairline above it, and in the help column a word on what it is for.
void TuningPanelView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), style::kPanel);
    p.fillRect(0, 0, width(), 1, style::kWindow);
    const Areas a = areasFor(layout_);
    if (a.help.isEmpty() || helpCard_) return;
    p.setPen(style::kCaption);
    p.setFont(tabFont(font()));
    p.drawText(a.help.adjusted(12, 8, -12, -8), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap,
               tr("Click a slider's name for its help. Double-click a slider, or press Enter on it, to type "
                  "an exact value."));
}

}  // namespace gs
