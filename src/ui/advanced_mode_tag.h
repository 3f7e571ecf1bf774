// The small tag that switches the tuning panel on and off: "ADVANCED" leads into advanced
// mode, "‹ STANDARD MODE" back out of it. Outside advanced mode an amber dot beside it says
// that some tuning values are off their defaults and still applied.
#pragma once

#include <QAbstractButton>

namespace gs {

class AdvancedModeTag : public QAbstractButton {
    Q_OBJECT

public:
    static const QString kHelpText;

    explicit AdvancedModeTag(QWidget* parent = nullptr);
    // Shows the label for the way into advanced mode, or the way back.
    void setAdvanced(bool advanced);
    void setDotShown(bool shown);
    bool isDotShown() const { return dotShown_; }
    // Where the dot is drawn, in the tag's coordinates.
    QRect dotRect() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool dotShown_ = false;
};

}  // namespace gs
