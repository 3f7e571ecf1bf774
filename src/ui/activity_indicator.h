// A small spinning arc that says "working": shown while something runs in the background. It
// only turns (and only wakes the event loop) while started and visible.
#pragma once

#include <QWidget>

class QTimer;

namespace gs {

class ActivityIndicator : public QWidget {
    Q_OBJECT

public:
    explicit ActivityIndicator(QWidget* parent = nullptr, int diameter = 18);
    void startAnimating();
    void stopAnimating();
    bool isAnimating() const { return animating_; }
    QSize sizeHint() const override { return {diameter_, diameter_}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void step();

    int diameter_;
    bool animating_ = false;
    int angle_ = 0;
    QTimer* timer_;
};

}  // namespace gs
