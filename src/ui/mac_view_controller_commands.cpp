// The shading toggles and the help window.
#include "ui/help_dialog.h"
#include "ui/mac_view_controller.h"

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
    if (!dialog) {
        dialog = new HelpDialog(this);
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

}  // namespace gs
