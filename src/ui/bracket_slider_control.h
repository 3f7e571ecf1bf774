// One tuning slider: its title on the left, a track, and the formatted value on the right, in
// the dark look of the bracket controls. Dragging follows the pointer absolutely along the
// track; a press on the title asks for help; a double click asks for an exact value. The
// keyboard (arrows, Page Up/Down, Home/End) and assistive technologies move it in twentieths of
// the travel, so a logarithmic slider steps geometrically; Enter asks for an exact value.
#pragma once

#include <QWidget>
#include <functional>

#include "explore/tuning_slider.h"

namespace gs {

class BracketSliderControl : public QWidget {
    Q_OBJECT

public:
    // Geometry in points: the track begins kTrackStart from the left edge and leaves room for
    // the value on the right; a press more than kTouchMargin left of the track asks for help, a
    // press on the track or within kTouchMargin of its ends grabs it.
    static constexpr int kTrackStart = 86;
    static constexpr int kValueWidth = 46;
    static constexpr int kValueGap = 8;
    static constexpr int kMinTrackLength = 20;
    static constexpr int kTouchMargin = 10;

    explicit BracketSliderControl(TuningSliderSpec info, QWidget* parent = nullptr);

    const TuningSliderSpec& info() const { return slider_; }
    double current() const { return current_; }
    bool isSliderEnabled() const { return enabled_; }
    // Reads the value and the enabled state from the info again.
    void refresh();
    // Track length for the present width: max(width - 46 - 8 - 86, 20).
    int trackLength() const;
    // Moves the value by steps twentieths of the travel and reports it (nothing when disabled).
    void stepBy(int steps);
    // Sets a value from outside (assistive technologies), clamped to the range, and reports it.
    void setValueReported(double value);

    std::function<void(double)> onChange;  // each new value, while it is being set
    std::function<void()> onRequestNumericEntry;
    std::function<void()> onRequestHelp;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void dragTo(double x);
    void report(double value);
    void paintTrack(class QPainter& p, int centreY) const;

    TuningSliderSpec slider_;
    double current_ = 0;
    bool enabled_ = true;
    bool dragging_ = false;
    double valueBeforePress_ = 0;  // restored when the press turns out to start a double click
    bool pressMoved_ = false;
    int wheelTravel_ = 0;  // eighths of a degree not yet turned into steps
};

}  // namespace gs
