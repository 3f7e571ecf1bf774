// The picture an auto-explore step replaces in full screen, kept over the fractal view until
// the next picture is complete and faded out then. It is drawn nearest-neighbour, like the
// view itself, over the view's whole area whatever size the view takes meanwhile, and it takes
// no input.
#pragma once

#include <QImage>
#include <QWidget>

namespace gs {

class DissolveOverlay : public QWidget {
    Q_OBJECT

public:
    // A child of `view` covering it, showing a copy of `picture`.
    DissolveOverlay(const QImage& picture, QWidget* view);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QImage picture_;
};

}  // namespace gs
