// Sound mode: the microphone's loudness, pitch, treble and bass move the palette, the glow and
// the relief of the picture on screen, on the animation's 1/30 s tick, without a new render.
#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

#include "sound/microphone_permission.h"
#include "sound/sound_analyzer.h"
#include "ui/mac_view_controller.h"

namespace gs {

void MacViewController::buildSoundAnalyzer(std::unique_ptr<AudioInput> input) {
    soundAnalyzer_ = new SoundAnalyzer(std::move(input), this);
    soundAnalyzer_->onInterrupted = [this] { switchSoundMode(false); };
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
        if (!soundAnalyzer_->start()) {
            refreshControls();  // the Sound control says why
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
}

// One tick of sound mode: the four sound terms follow the latest analysis, then the picture is
// coloured again from its stored data.
void MacViewController::soundTickStep(double dt) {
    soundState_ = soundTick(soundState_, soundAnalyzer_->latestMetrics(), settings_.soundTuning, dt);
    requestRecolor();
}

}  // namespace gs
