// Sound mode: the microphone's loudness, pitch, treble and bass move the palette, the glow and
// the relief of the picture on screen, on the animation's 1/30 s tick, without a new render.
#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

#include "library/preferences.h"
#include "sound/audio_capture.h"
#include "sound/microphone_permission.h"
#include "sound/sound_analyzer.h"
#include "ui/mac_view_controller.h"
#include "ui/sound_controls.h"

namespace gs {

// Without a given input the analyzer listens to the system's capture, told which input the
// user chose last time.
void MacViewController::buildSoundAnalyzer(std::unique_ptr<AudioInput> input) {
    soundInputId_ = preferences_->soundInputDevice();
    if (!input) {
        auto capture = std::make_unique<AudioCapture>();
        capture->setInputDeviceId(soundInputId_);
        soundCapture_ = capture.get();
        input = std::move(capture);
    }
    soundAnalyzer_ = new SoundAnalyzer(std::move(input), this);
    soundAnalyzer_->onInterrupted = [this] { soundInputLost(); };
    presentMicrophoneAlert = [this] {
        auto* box = new QMessageBox(QMessageBox::NoIcon, QString::fromUtf8(kMicrophoneAlertTitle),
                                    QString::fromUtf8(kMicrophoneAlertMessage), QMessageBox::NoButton, this);
        box->addButton(QString::fromUtf8(kMicrophoneAlertCancel), QMessageBox::RejectRole);
        QPushButton* open = box->addButton(QString::fromUtf8(kMicrophoneAlertOpenSettings), QMessageBox::AcceptRole);
        box->setDefaultButton(open);
        // The desktop's privacy settings, where it has a page for them.
        connect(open, &QPushButton::clicked, this,
                [] { QDesktopServices::openUrl(QUrl(QStringLiteral("settings://privacy"))); });
        box->setAttribute(Qt::WA_DeleteOnClose);
        returnKeyboardAfter(box);
        box->open();
    };
}

void MacViewController::toggleSoundAction() {
    if (soundEnabled_) {
        switchSoundMode(false);
        return;
    }
    switch (microphonePermission()) {
    case MicrophonePermission::granted:
        switchSoundMode(true);
        return;
    case MicrophonePermission::undetermined:
        requestMicrophonePermission(this, [this](bool granted) {
            if (granted)
                switchSoundMode(true);
            else
                presentMicrophoneAlert();
        });
        return;
    case MicrophonePermission::denied:
        presentMicrophoneAlert();
        return;
    }
}

void MacViewController::switchSoundMode(bool on) {
    if (on == soundEnabled_) return;
    if (on) {
        if (!startListening()) {
            refreshControls();  // the Sound control says why
            if (trace_) traceSound();
            return;
        }
        soundEnabled_ = true;
        animateColorsEnabled_ = false;  // the timer is shared; sound mode drives it now
        const SoundSwitchOn s = soundSwitchOn(settings_.glowEnabled, settings_.reliefEnabled, paletteMode_);
        soundGlowStateBeforeSound_ = s.soundGlowStateBeforeSound;
        soundReliefStateBeforeSound_ = s.soundReliefStateBeforeSound;
        settings_.glowEnabled = true;
        settings_.reliefEnabled = true;
        if (s.makeSmoothPalette) {
            paletteMode_ = PaletteMode::smooth;
            regenerate();
        }
        soundState_ = SoundState{};
        startAnimationTimer();
    } else {
        soundEnabled_ = false;
        soundAnalyzer_->stop();
        stopAnimationTimer();
        if (soundGlowStateBeforeSound_) settings_.glowEnabled = *soundGlowStateBeforeSound_;
        if (soundReliefStateBeforeSound_) settings_.reliefEnabled = *soundReliefStateBeforeSound_;
        soundGlowStateBeforeSound_.reset();
        soundReliefStateBeforeSound_.reset();
        soundState_ = SoundState{};
    }
    refreshControls();
    requestRecolor();
    if (trace_) traceSound();
}

bool MacViewController::startListening() {
    if (!soundAnalyzer_->start()) {
        soundProblem_ = soundAnalyzer_->failureReason();
        soundListeningTo_.clear();
        return false;
    }
    soundProblem_.clear();
    soundListeningTo_ = soundCapture_ ? soundCapture_->activeDevice().description() : QString();
    return true;
}

// The new input replaces the old one; the colours keep following the sound from where they
// are. An input that cannot be opened ends sound mode, and the Sound control says why.
void MacViewController::listenAgain() {
    soundAnalyzer_->stop();
    if (!startListening()) {
        switchSoundMode(false);
        return;
    }
    refreshControls();
    if (trace_) traceSound();
}

// The analyzer has already stopped: the input was unplugged, or the sound server went away.
void MacViewController::soundInputLost() {
    soundProblem_ = soundListeningTo_.isEmpty()
                        ? tr("The audio input went away, so sound mode stopped.")
                        : tr("The audio input “%1” went away, so sound mode stopped.").arg(soundListeningTo_);
    soundListeningTo_.clear();
    switchSoundMode(false);
}

void MacViewController::chooseSoundInput(const QByteArray& id) {
    if (id == soundInputId_) return;
    soundInputId_ = id;
    preferences_->setSoundInputDevice(id);
    if (soundCapture_) soundCapture_->setInputDeviceId(id);
    if (soundEnabled_) listenAgain();
}

// One tick of sound mode: the four sound terms and the level meter follow the latest analysis,
// then the picture is coloured again from its stored data.
void MacViewController::soundTickStep(double dt) {
    const SoundAnalyzer::Metrics metrics = soundAnalyzer_->latestMetrics();
    soundState_ = soundTick(soundState_, metrics, settings_.soundTuning, dt);
    soundLevelMeter_->follow(metrics.rms, dt);
    requestRecolor();
}

}  // namespace gs
