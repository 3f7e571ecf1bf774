// The help card of one tuning slider: its title over what it does, its range and default, and
// what raising and lowering it do, one line each. A click on the card closes it (so does
// Escape, through the window's closing commands).
#pragma once

#include <QFrame>
#include <QStringList>
#include <functional>

#include "explore/tuning_slider.h"

class QLabel;

namespace gs {

class TuningHelpCard : public QFrame {
    Q_OBJECT

public:
    explicit TuningHelpCard(const TuningSliderSpec& info, QWidget* parent = nullptr);

    const QString& title() const { return title_; }
    const QStringList& lines() const { return lines_; }
    // The height the card needs at a width.
    int heightForWidth(int width) const override;
    bool hasHeightForWidth() const override { return true; }

    std::function<void()> onCloseRequested;

protected:
    void paintEvent(class QPaintEvent* event) override;
    void mousePressEvent(class QMouseEvent* event) override;

private:
    QString title_;
    QStringList lines_;
    QLabel* heading_;
    QLabel* text_;
};

}  // namespace gs
