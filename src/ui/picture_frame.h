// Holds a picture centred at its aspect ratio on a black ground, so its region of the plane is
// never stretched (the home view's 4:3, the Julia set's square); an aspect of 0 lets the
// picture fill the frame.
#pragma once

#include <QWidget>

namespace gs {

class PictureFrame : public QWidget {
    Q_OBJECT

public:
    PictureFrame(QWidget* picture, double aspect, QWidget* parent = nullptr);
    void setAspect(double aspect);
    // Places another widget (made a child of the frame) at its own aspect instead; the old one
    // stays a child.
    void setPicture(QWidget* picture, double aspect);
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
