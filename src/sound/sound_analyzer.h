// The microphone analyzer the explorer owns: starts and stops the audio input, analyses every
// buffer on the input's thread and publishes the latest result whole under a lock, which the
// GUI thread polls once per animation tick.
#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <mutex>

#include "sound/audio_input.h"
#include "sound/sound_analysis.h"

namespace gs {

class SoundAnalyzer final : public QObject {
public:
    using Metrics = SoundMetrics;

    // Analyses what input delivers; without one, the system's audio capture (AudioCapture).
    explicit SoundAnalyzer(std::unique_ptr<AudioInput> input = nullptr, QObject* parent = nullptr);
    ~SoundAnalyzer() override;

    // Starts listening. True when running afterwards, also when it already was (nothing new is
    // opened then); false when the input could not start, with failureReason() saying why.
    bool start();
    // Stops listening and forgets the adaptation: peaks, floors, smoothed loudness and the
    // latest result go back to their initial values. Does nothing unless running.
    void stop();
    bool isRunning() const { return isRunning_; }

    // The latest result, copied whole under the lock: rms 0, no pitch, treble 0, bass 0 until
    // the first buffer and after a stop. Any thread.
    Metrics latestMetrics() const;

    // Why the last start failed, in plain words; empty after a successful one.
    const QString& failureReason() const { return failureReason_; }

    // Called on the GUI thread, after the analyzer has stopped itself, when the input was lost
    // while running. Set by the owner.
    std::function<void()> onInterrupted;

    // The input was lost: while running, stop and then call onInterrupted from the event loop.
    // Nothing while stopped. Any thread; the work happens on the GUI thread.
    void handleInterruption();

    // Analyses one buffer and publishes its result. Called on the input's thread.
    void analyzeBuffer(const float* samples, std::size_t count, double sampleRate);

private:
    void publish(const Metrics& metrics);

    std::unique_ptr<AudioInput> input_;
    SoundAnalysis analysis_;  // touched only by the input's thread while running, and by stop
    bool isRunning_ = false;
    mutable std::mutex lock_;  // guards latest_ only
    Metrics latest_;
    QString failureReason_;
};

}  // namespace gs
