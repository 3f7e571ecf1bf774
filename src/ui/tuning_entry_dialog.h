// Asks for an exact value of one tuning slider: "Enter a value from … to …." with a text field
// and the buttons "Cancel" and "Set". A number outside the range is brought to its nearer end;
// text that is not a number is refused and the dialog stays open to correct it.
#pragma once

#include <QDialog>
#include <functional>

#include "explore/tuning_slider.h"

class QLabel;
class QLineEdit;

namespace gs {

class TuningEntryDialog : public QDialog {
    Q_OBJECT

public:
    // current: the value shown in the field at first (selected, so typing replaces it).
    TuningEntryDialog(const TuningSliderSpec& info, double current, QWidget* parent = nullptr);

    QLineEdit* field() const { return field_; }
    // What "Set" does: applies the typed number, clamped, and closes; false (and the dialog
    // stays open with a hint) when the text is not a number.
    bool submit();

    std::function<void(double)> onSet;

private:
    TuningSliderSpec slider_;
    QLineEdit* field_;
    QLabel* refusal_;
};

}  // namespace gs
