// Sound mode's controls: the Sound toggle with its level meter and the input menu beside it,
// and the tooltip that says what it listens to, or why it could not.
#include <QActionGroup>
#include <QHBoxLayout>
#include <QMenu>
#include <cstdio>

#include "sound/audio_capture.h"
#include "sound/sound_analyzer.h"
#include "ui/bracket_controls.h"
#include "ui/mac_view_controller.h"
#include "ui/sound_controls.h"

namespace gs {

QWidget* MacViewController::buildSoundRow(QWidget* parent) {
    auto* row = new QWidget(parent);
    row->setObjectName(QStringLiteral("soundRow"));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    soundToggle_ = new BracketToggleControl(tr("Sound"), row);
    soundInputButton_ = new SoundInputButton(row);
    soundInputButton_->setObjectName(QStringLiteral("soundInputButton"));
    auto* menu = new QMenu(soundInputButton_);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { fillSoundInputMenu(menu); });
    soundInputButton_->setMenu(menu);
    soundLevelMeter_ = new SoundLevelMeter(row);
    soundLevelMeter_->setObjectName(QStringLiteral("soundLevelMeter"));
    soundLevelMeter_->hide();
    layout->addWidget(soundToggle_);
    layout->addWidget(soundInputButton_);
    layout->addSpacing(6);
    layout->addWidget(soundLevelMeter_, 0, Qt::AlignVCenter);
    return row;
}

// Listed afresh each time the menu opens, so a microphone plugged in meanwhile is there.
void MacViewController::fillSoundInputMenu(QMenu* menu) {
    menu->clear();
    qDeleteAll(menu->findChildren<QActionGroup*>(Qt::FindDirectChildrenOnly));
    auto* group = new QActionGroup(menu);
    const QList<AudioInputChoice> inputs = listSoundInputs ? listSoundInputs() : AudioCapture::inputChoices();
    for (const SoundInputMenuEntry& entry : soundInputMenuEntries(inputs, soundInputId_)) {
        QString label = entry.label;
        QAction* action = menu->addAction(label.replace(QLatin1Char('&'), QStringLiteral("&&")));
        action->setCheckable(true);
        action->setChecked(entry.checked);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, id = entry.id] { chooseSoundInput(id); });
        if (entry.id.isEmpty()) menu->addSeparator();
    }
    if (inputs.isEmpty()) menu->addAction(tr("No audio input found"))->setEnabled(false);
}

QString MacViewController::soundToolTip() const {
    const QString keys = QStringLiteral(" (Ctrl+Shift+M)");
    if (soundEnabled_)
        return (soundListeningTo_.isEmpty() ? tr("Listening") : tr("Listening to “%1”").arg(soundListeningTo_)) + keys;
    const QString what = tr("Colours follow the sound of the microphone") + keys;
    return soundProblem_.isEmpty() ? what : soundProblem_ + QLatin1Char('\n') + what;
}

// The toggles' checked state is set with the others; this adds what only sound mode shows.
void MacViewController::refreshSoundControls() {
    const QString tip = soundToolTip();
    soundToggle_->setToolTip(tip);
    if (fullScreenSoundToggle_) fullScreenSoundToggle_->setToolTip(tip);
    if (!soundEnabled_) soundLevelMeter_->reset();
    soundLevelMeter_->setVisible(soundEnabled_);
}

// GLIMMERSCAPE_TRACE=1: one line on stdout each time sound mode starts, stops or fails to
// start, with the input listened to or the reason.
void MacViewController::traceSound() const {
    if (soundEnabled_)
        std::printf("sound on input=%s\n", qPrintable(soundListeningTo_));
    else
        std::printf("sound off reason=%s\n", qPrintable(soundProblem_));
    std::fflush(stdout);
}

}  // namespace gs
