#include "sound/sound_analyzer.h"

#include <QMetaObject>
#include <QThread>

#include "sound/audio_capture.h"

namespace gs {

SoundAnalyzer::SoundAnalyzer(std::unique_ptr<AudioInput> input, QObject* parent)
    : QObject(parent), input_(input ? std::move(input) : std::make_unique<AudioCapture>()) {}

SoundAnalyzer::~SoundAnalyzer() { stop(); }

bool SoundAnalyzer::start() {
    if (isRunning_) return true;
    failureReason_.clear();
    const bool started = input_->start(
        [this](const float* samples, std::size_t count, double sampleRate) {
            analyzeBuffer(samples, count, sampleRate);
        },
        [this] { handleInterruption(); }, failureReason_);
    if (!started) return false;
    isRunning_ = true;
    return true;
}

void SoundAnalyzer::stop() {
    if (!isRunning_) return;
    input_->stop();  // no buffer is analysed after this returns
    isRunning_ = false;
    analysis_.reset();
    publish(Metrics{});
}

SoundAnalyzer::Metrics SoundAnalyzer::latestMetrics() const {
    std::lock_guard<std::mutex> guard(lock_);
    return latest_;
}

void SoundAnalyzer::handleInterruption() {
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [this] { handleInterruption(); }, Qt::QueuedConnection);
        return;
    }
    if (!isRunning_) return;
    stop();
    // Posted rather than called, so the owner's handler never runs inside the input's own
    // callback; a queued call to a destroyed analyzer is dropped.
    QMetaObject::invokeMethod(
        this, [this] { if (onInterrupted) onInterrupted(); }, Qt::QueuedConnection);
}

void SoundAnalyzer::analyzeBuffer(const float* samples, std::size_t count, double sampleRate) {
    if (const auto metrics = analysis_.analyze(samples, count, sampleRate)) publish(*metrics);
}

void SoundAnalyzer::publish(const Metrics& metrics) {
    std::lock_guard<std::mutex> guard(lock_);
    latest_ = metrics;
}

}  // namespace gs
