// The help window (F1): how every gesture is reached with a touchpad, a mouse and the keyboard.
#pragma once

#include <QDialog>
#include <QString>
#include <vector>

namespace gs {

struct InputMapping {
    QString action, touchpad, mouse, keyboard;
};

// The table shown in the help window (the README carries the same table).
const std::vector<InputMapping>& inputMappings();

class HelpDialog : public QDialog {
    Q_OBJECT

public:
    explicit HelpDialog(QWidget* parent = nullptr);
};

}  // namespace gs
