// What the analyzer needs from an audio capture: mono float buffers with their sample rate,
// delivered on the capture's own thread, and word when the input is lost.
#pragma once

#include <QString>

#include <cstddef>
#include <functional>

namespace gs {

class AudioInput {
public:
    // Called on the capture's thread for every buffer: count mono samples at sampleRate Hz.
    using BufferHandler = std::function<void(const float* samples, std::size_t count, double sampleRate)>;

    virtual ~AudioInput() = default;

    // Opens the input and starts delivering buffers to onBuffer. onLost runs on the GUI thread
    // when the input goes away while started (the device vanished, the source failed); it is
    // never called after stop. On failure returns false with a reason in plain words, the kind
    // a tooltip can show, and delivers nothing. Called on the GUI thread.
    virtual bool start(BufferHandler onBuffer, std::function<void()> onLost, QString& reason) = 0;

    // Stops delivering: when it returns, onBuffer is not running and will not run again.
    // Harmless when not started. Called on the GUI thread.
    virtual void stop() = 0;
};

}  // namespace gs
