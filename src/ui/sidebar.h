// The column beside the picture: the Julia thumbnail above the controls. The thumbnail stays
// square and takes the room the controls leave, between kMinThumbnail and kMaxThumbnail
// points a side, so that on short windows it shrinks instead of covering them.
#pragma once

#include <QWidget>

class QVBoxLayout;

namespace gs {

class Sidebar : public QWidget {
    Q_OBJECT

public:
    static constexpr int kMinThumbnail = 96;
    static constexpr int kMaxThumbnail = 176;

    explicit Sidebar(QWidget* parent = nullptr);
    QVBoxLayout* column() const { return column_; }
    // Puts the thumbnail first in the column (again, after it was shown elsewhere).
    void setThumbnail(QWidget* thumbnail);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void fitThumbnail();

    QVBoxLayout* column_;
    QWidget* thumbnail_ = nullptr;
};

}  // namespace gs
