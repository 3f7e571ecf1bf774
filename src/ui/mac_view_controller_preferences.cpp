// The preferences that outlive a launch (advanced mode, animation speed, both tunings) and the
// window's place on the screen.
#include <QCloseEvent>
#include <QShowEvent>
#include <QTimer>

#include "core/tuning_fields.h"
#include "library/preferences.h"
#include "ui/julia_view.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

namespace gs {

// Once, before the first render. A value that is missing or refused keeps the default; a
// tuning that loads is handed to both views and written back at once, so the store then holds
// exactly what is in force, and the amber dot shows whether it is off its defaults. The window
// is then laid out for the mode.
void MacViewController::loadPreferences() {
    const LoadedPreferences loaded = preferences_->load(tuningKeepsColorsFinite);
    isAdvancedMode_ = loaded.advancedMode;
    if (loaded.animationSpeed) settings_.animationSpeed = *loaded.animationSpeed;
    if (loaded.shadingTuning) {
        settings_.tuning = *loaded.shadingTuning;
        fractalView_->tuning = settings_.tuning;
        juliaView_->tuning = settings_.tuning;
        savePreferences();
        refreshAdvancedModeIndicator();
    }
    if (loaded.soundTuning) {
        settings_.soundTuning = *loaded.soundTuning;
        savePreferences();
        refreshAdvancedModeIndicator();
    }
    layoutForMode();
}

void MacViewController::savePreferences() {
    preferences_->save({isAdvancedMode_, settings_.animationSpeed, settings_.tuning,
                        settings_.soundTuning});
}

// The window comes back where it was, and in full screen when it was left there.
void MacViewController::restoreWindowPlace() {
    const QByteArray place = preferences_->windowGeometry();
    if (!place.isEmpty()) restoreGeometry(place);
}

void MacViewController::rememberWindowPlace() {
    preferences_->setWindowGeometry(chromeHidden_ && !windowedPlace_.isEmpty() ? windowedPlace_
                                                                               : saveGeometry());
    preferences_->setWindowFullScreen(chromeHidden_);
    preferences_->sync();
}

void MacViewController::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    QTimer::singleShot(0, this, [this] { receivePendingURL(); });  // once the window is up
    if (placeRestored_ || !isWindow()) return;
    placeRestored_ = true;
    if (preferences_->windowFullScreen())
        QTimer::singleShot(0, this, [this] { if (!chromeHidden_) toggleFullScreen(); });
}

void MacViewController::closeEvent(QCloseEvent* event) {
    cancelRecording();
    if (isWindow()) rememberWindowPlace();
    QWidget::closeEvent(event);
}

}  // namespace gs
