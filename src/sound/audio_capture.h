// Microphone capture with Qt Multimedia: a QAudioSource made and read on its own thread, mono
// float samples at the device's preferred rate, cut into buffers of 2048 frames.
#pragma once

#include <QAudioDevice>
#include <QByteArray>
#include <QList>
#include <QObject>
#include <QThread>

#include "sound/audio_input.h"
#include "sound/pulse_server.h"
#include "sound/sound_input_menu.h"

class QMediaDevices;

namespace gs {

class CaptureWorker;

// The setting that remembers the chosen input's id.
inline constexpr char kInputDeviceSetting[] = "sound/inputDevice";

// Which of the listed inputs to open: the chosen id when it is listed, else the system
// default when it is listed, else the first; -1 when the list is empty.
qsizetype chooseInputDevice(const QList<QByteArray>& ids, const QByteArray& chosen,
                            const QByteArray& systemDefault);

class AudioCapture final : public QObject, public AudioInput {
public:
    static constexpr std::size_t bufferFrames = 2048;  // frames per delivered buffer

    explicit AudioCapture(QObject* parent = nullptr);
    ~AudioCapture() override;

    // The audio inputs the system offers, in its order.
    static QList<QAudioDevice> inputDevices();
    // The same inputs as ids and descriptions, for a menu.
    static QList<AudioInputChoice> inputChoices();

    // The input to listen to from the next start, by QAudioDevice::id(); empty follows the
    // system default. A chosen input that is gone also falls back to the system default.
    void setInputDeviceId(const QByteArray& id) { chosenId_ = id; }
    const QByteArray& inputDeviceId() const { return chosenId_; }

    // The input a start would open now; null when there is none.
    QAudioDevice deviceToOpen() const;
    // The input being listened to; null when stopped.
    const QAudioDevice& activeDevice() const { return active_; }

    bool start(BufferHandler onBuffer, std::function<void()> onLost, QString& reason) override;
    void stop() override;

private:
    static QString unusableBecause(const QAudioDevice& device);
    void watchDevices();
    void inputsChanged();
    void lost(quint64 session);

    QThread thread_;
    CaptureWorker* worker_;  // lives in thread_
    PulseSourceWatcher watcher_;
    QMediaDevices* devices_ = nullptr;
    QByteArray chosenId_;
    QAudioDevice active_;
    std::function<void()> onLost_;
    quint64 session_ = 0;  // tells a stale loss report from a current one
};

}  // namespace gs
