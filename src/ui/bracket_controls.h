// The window's controls, drawn as a label between square brackets: "[ Glow ]". Toggles light
// their brackets when on; actions light them while pressed. All take keyboard focus (Tab) and
// are operated with Space, Enter or Return as well as the mouse.
#pragma once

#include <QAbstractButton>

namespace gs {

class BracketControl : public QAbstractButton {
    Q_OBJECT

public:
    explicit BracketControl(const QString& label, QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    // Whether the brackets show the accent colour.
    virtual bool lit() const { return isDown(); }
    // Whether the control is drawn dimmed: disabled, or (for some) still clickable but idle.
    virtual bool dimmed() const { return !isEnabled(); }
};

// An on/off state. Clicking only asks for the command; the controller sets the shown state
// afterwards (setChecked), so a toggle whose command keeps it on stays on.
class BracketToggleControl : public BracketControl {
    Q_OBJECT

public:
    explicit BracketToggleControl(const QString& label, QWidget* parent = nullptr);

protected:
    void nextCheckState() override {}
    bool lit() const override { return isChecked() || isDown(); }
};

class BracketActionControl : public BracketControl {
    Q_OBJECT

public:
    using BracketControl::BracketControl;
};

// Back or forward through the zoom history; dimmed while its stack is empty.
class ZoomHistoryControl : public BracketControl {
    Q_OBJECT

public:
    enum class Direction { backward, forward };
    ZoomHistoryControl(const QString& label, Direction direction, QWidget* parent = nullptr);
    void setAvailable(bool available);
    bool isAvailable() const { return available_; }

protected:
    bool dimmed() const override { return !available_; }

private:
    bool available_ = false;
};

}  // namespace gs
