// The advanced tuning panel: a band under the picture with a strip of six tabs, the selected
// tab's sliders in two columns, a reset label for that tab, and the help card of the slider
// whose name was clicked. Its layout follows the window's width:
//   overlay   narrow windows: the band holds only the tabs and sliders; the help card is laid
//             over the lower edge of the picture, above the slider that asked for it;
//   standard  the help card has a column of its own at the right end of the band;
//   wide      as standard, with the sliders held to a comfortable length and the whole band
//             centred under the picture.
// Values are read and written through the tab's slider sliders only.
#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>
#include <vector>

#include "explore/tuning_slider.h"

class QAbstractButton;

namespace gs {

class BracketSliderControl;
class TuningHelpCard;

class TuningPanelView : public QWidget {
    Q_OBJECT

public:
    enum class Layout { standard, wide, overlay };
    static constexpr int kStandardFromWidth = 1100;  // window widths
    static constexpr int kWideFromWidth = 1600;
    static Layout layoutForWindowWidth(int width);

    explicit TuningPanelView(std::vector<TuningTab> tabs, QWidget* parent = nullptr);

    const std::vector<TuningTab>& tabs() const { return tabs_; }
    int selectedIndex() const { return selectedIndex_; }
    // Shows the sliders of another tab (and closes the help card).
    void selectTab(int index);
    // The sliders of the selected tab, in table order.
    const std::vector<BracketSliderControl*>& sliders() const { return sliders_; }
    QAbstractButton* tabButton(int index) const { return tabButtons_.at(static_cast<std::size_t>(index)); }
    QAbstractButton* resetControl() const { return resetControl_; }
    Layout currentLayout() const { return layout_; }

    // The help card of the selected tab's slider at sliderIndex; null when none is shown.
    void showHelp(int sliderIndex);
    void hideHelp();
    TuningHelpCard* helpCard() const;

    // The reset label: the selected tab's enabled sliders back to their defaults.
    void handleReset();
    // Every slider reads its value and enabled state again; the tabs show which effects are on.
    void refreshValues();

    std::function<void(const TuningSliderSpec& info)> onRequestNumericEntry;
    std::function<void()> onHelpChanged;  // a help card was shown or removed

protected:
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Areas {
        QRect tabRow, sliders, help;  // help is empty in the overlay layout
        int columnWidth = 0;
    };
    Areas areasFor(Layout layout) const;
    int heightFor(Layout layout) const;
    void buildTabStrip();
    void buildSliders();
    void chooseLayout();
    void placeChildren();
    void placeHelpCard();

    std::vector<TuningTab> tabs_;
    int selectedIndex_ = 0;
    Layout layout_ = Layout::overlay;
    std::vector<QAbstractButton*> tabButtons_;
    QAbstractButton* resetControl_ = nullptr;
    std::vector<BracketSliderControl*> sliders_;
    QPointer<TuningHelpCard> helpCard_;
    int helpSlider_ = -1;  // the slider whose card is shown
};

}  // namespace gs
