// Holds the fractal view centred at a fixed aspect ratio on a black ground, so the home view's
// 4:3 region is never stretched; an aspect of 0 lets the view fill the frame.
#pragma once

#include <QWidget>

namespace gs {

class PictureFrame : public QWidget {
    Q_OBJECT

public:
    PictureFrame(QWidget* picture, double aspect, QWidget* parent = nullptr);
    void setAspect(double aspect);
    // Places another widget (made a child of the frame) instead; the old one stays a child.
    void setPicture(QWidget* picture);
    double aspect() const { return aspect_; }
    // The largest rectangle of the aspect that fits `area`, centred in it.
    static QRect fitted(const QRect& area, double aspect);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void place();

    QWidget* picture_;
    double aspect_;
};

}  // namespace gs
