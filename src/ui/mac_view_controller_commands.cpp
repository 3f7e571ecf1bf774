// The shading toggles and the help window.
#include <QApplication>
#include <QPointer>

#include "ui/help_dialog.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

namespace gs {

namespace {

void flip(bool& flag) { flag = !flag; }

}  // namespace

void MacViewController::toggleDistanceEstimation() {
    flip(settings_.demEnabled);
    refreshControls();
    requestRecolor();
}

void MacViewController::toggleGlow() {
    flip(settings_.glowEnabled);
    refreshControls();
    requestRecolor();
}

void MacViewController::toggleOrbitTraps() {
    flip(settings_.trapsEnabled);
    refreshControls();
    requestRecolor();
}

void MacViewController::toggle3DRelief() {
    flip(settings_.reliefEnabled);
    refreshControls();
    requestRecolor();
}

void MacViewController::showHelp() {
    auto* dialog = findChild<HelpDialog*>();
    if (!dialog) dialog = new HelpDialog(this);
    returnKeyboardAfter(dialog);
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

// When the dialog closes, the window takes the keyboard back (without a window manager nobody
// else gives it back), with the focus where it was.
void MacViewController::returnKeyboardAfter(QDialog* dialog) {
    QPointer<QWidget> focus = QApplication::focusWidget();
    if (!focus || focus->window() != this) focus = fractalView_;
    disconnect(dialog, &QDialog::finished, this, nullptr);
    connect(dialog, &QDialog::finished, this, [this, focus] {
        activateWindow();
        (focus ? focus.data() : fractalView_)->setFocus(Qt::OtherFocusReason);
    });
}

}  // namespace gs
