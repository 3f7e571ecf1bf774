#include "sound/audio_capture.h"

#include <QAudioFormat>
#include <QAudioSource>
#include <QIODevice>
#include <QMediaDevices>
#include <QMetaObject>
#include <QPointer>

#include "sound/frame_chunker.h"

namespace gs {

// Owns the QAudioSource. It is made, read and destroyed in the capture thread: a source made
// on the GUI thread and moved there delivers nothing.
class CaptureWorker final : public QObject {
public:
    // Opens device for mono float at its preferred rate and starts reading. False when the
    // source cannot start. Runs in the capture thread.
    bool open(const QAudioDevice& device, AudioInput::BufferHandler onBuffer,
              std::function<void()> onFailure);
    // Stops and destroys the source. Runs in the capture thread.
    void close();

private:
    void readAvailable();
    void stateChanged(QAudio::State state);

    QAudioSource* source_ = nullptr;
    // The source's own device. The source deletes it when its stream fails (the sound server
    // went away), before any stop, so it is watched rather than trusted.
    QPointer<QIODevice> io_;
    FrameChunker chunker_{AudioCapture::bufferFrames};
    AudioInput::BufferHandler onBuffer_;
    std::function<void()> onFailure_;
    double sampleRate_ = 0;
};

bool CaptureWorker::open(const QAudioDevice& device, AudioInput::BufferHandler onBuffer,
                         std::function<void()> onFailure) {
    QAudioFormat format;
    format.setSampleRate(device.preferredFormat().sampleRate());
    format.setChannelCount(1);
    format.setSampleFormat(QAudioFormat::Float);
    source_ = new QAudioSource(device, format, this);
    io_ = source_->start();
    if (!io_ || source_->error() != QAudio::NoError) {
        close();
        return false;
    }
    sampleRate_ = format.sampleRate();
    onBuffer_ = std::move(onBuffer);
    onFailure_ = std::move(onFailure);
    connect(io_, &QIODevice::readyRead, this, &CaptureWorker::readAvailable);
    connect(source_, &QAudioSource::stateChanged, this, &CaptureWorker::stateChanged);
    return true;
}

void CaptureWorker::close() {
    if (source_) {
        source_->disconnect(this);
        if (io_) io_->disconnect(this);
        source_->stop();
        delete source_;
    }
    source_ = nullptr;
    io_ = nullptr;
    chunker_.clear();
    onBuffer_ = nullptr;
    onFailure_ = nullptr;
}

void CaptureWorker::readAvailable() {
    if (!io_) return;
    const QByteArray bytes = io_->readAll();
    chunker_.push(bytes.constData(), static_cast<std::size_t>(bytes.size()),
                  [this](const float* samples) {
                      onBuffer_(samples, AudioCapture::bufferFrames, sampleRate_);
                  });
}

// A source that stops with an error (the server went away, the stream failed) is lost.
void CaptureWorker::stateChanged(QAudio::State state) {
    if (state == QAudio::StoppedState && source_ && source_->error() != QAudio::NoError &&
        onFailure_)
        onFailure_();
}

qsizetype chooseInputDevice(const QList<QByteArray>& ids, const QByteArray& chosen,
                            const QByteArray& systemDefault) {
    if (ids.isEmpty()) return -1;
    if (!chosen.isEmpty() && ids.contains(chosen)) return ids.indexOf(chosen);
    if (!systemDefault.isEmpty() && ids.contains(systemDefault)) return ids.indexOf(systemDefault);
    return 0;
}

AudioCapture::AudioCapture(QObject* parent) : QObject(parent), worker_(new CaptureWorker) {
    thread_.setObjectName(QStringLiteral("audio capture"));
    worker_->moveToThread(&thread_);
}

AudioCapture::~AudioCapture() {
    stop();
    thread_.quit();
    thread_.wait();
    delete worker_;
}

QList<QAudioDevice> AudioCapture::inputDevices() { return QMediaDevices::audioInputs(); }

QList<AudioInputChoice> AudioCapture::inputChoices() {
    QList<AudioInputChoice> choices;
    for (const QAudioDevice& d : inputDevices()) choices.append({d.id(), d.description()});
    return choices;
}

// The system default comes from the sound server itself; a Qt that does mark a default input
// is asked when the server cannot be.
QAudioDevice AudioCapture::deviceToOpen() const {
    const QList<QAudioDevice> devices = inputDevices();
    QList<QByteArray> ids;
    ids.reserve(devices.size());
    for (const QAudioDevice& d : devices) ids.append(d.id());
    QByteArray systemDefault = pulseDefaultSource();
    if (systemDefault.isEmpty()) systemDefault = QMediaDevices::defaultAudioInput().id();
    const qsizetype at = chooseInputDevice(ids, chosenId_, systemDefault);
    return at < 0 ? QAudioDevice() : devices.at(at);
}

bool AudioCapture::start(BufferHandler onBuffer, std::function<void()> onLost, QString& reason) {
    stop();
    watchDevices();
    const QAudioDevice device = deviceToOpen();
    reason = unusableBecause(device);
    if (!reason.isEmpty()) return false;
    // Reports a loss on the GUI thread; one from an earlier session is ignored there.
    const quint64 session = ++session_;
    const std::function<void()> failed = [this, session] {
        QMetaObject::invokeMethod(this, [this, session] { lost(session); }, Qt::QueuedConnection);
    };
    if (!thread_.isRunning()) thread_.start();
    bool opened = false;
    QMetaObject::invokeMethod(
        worker_, [&] { opened = worker_->open(device, std::move(onBuffer), failed); },
        Qt::BlockingQueuedConnection);
    if (!opened) {
        reason = QStringLiteral("Couldn't open the audio input “%1”.").arg(device.description());
        return false;
    }
    active_ = device;
    onLost_ = std::move(onLost);
    watcher_.watch(device.id(), failed);
    return true;
}

// Why the device cannot be opened at all; empty when it may be.
QString AudioCapture::unusableBecause(const QAudioDevice& device) {
    if (device.isNull()) return QStringLiteral("No microphone or other audio input was found.");
    if (device.preferredFormat().sampleRate() <= 0)
        return QStringLiteral("The audio input “%1” reports no usable sample rate.").arg(device.description());
    return {};
}

void AudioCapture::stop() {
    if (active_.isNull()) return;
    ++session_;
    watcher_.stop();
    QMetaObject::invokeMethod(worker_, [this] { worker_->close(); }, Qt::BlockingQueuedConnection);
    active_ = QAudioDevice();
    onLost_ = nullptr;
}

void AudioCapture::watchDevices() {
    if (devices_) return;
    devices_ = new QMediaDevices(this);
    connect(devices_, &QMediaDevices::audioInputsChanged, this, &AudioCapture::inputsChanged);
}

// The device being listened to has been unplugged or removed (for a Qt that reports it; the
// watcher covers one that does not).
void AudioCapture::inputsChanged() {
    if (!active_.isNull() && !inputDevices().contains(active_)) lost(session_);
}

void AudioCapture::lost(quint64 session) {
    if (active_.isNull() || session != session_) return;
    const std::function<void()> report = onLost_;
    if (report) report();
}

}  // namespace gs
