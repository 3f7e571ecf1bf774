// The shading toggles and the help window.
#include "ui/help_dialog.h"
#include "ui/mac_view_controller.h"

namespace gs {

namespace {

void flip(bool& flag) { flag = !flag; }

}  // namespace

void MacViewController::toggleDistanceEstimation() {
    flip(demEnabled_);
    refreshControls();
    requestRecolor();
}

void MacViewController::toggleGlow() {
    flip(glowEnabled_);
    refreshControls();
    requestRecolor();
}

void MacViewController::toggleOrbitTraps() {
    flip(trapsEnabled_);
    refreshControls();
    requestRecolor();
}

void MacViewController::toggle3DRelief() {
    flip(reliefEnabled_);
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
