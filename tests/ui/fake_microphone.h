// A microphone for the window tests: starts when told to, counts its starts and delivers what
// the test plays into it.
#pragma once

#include <cmath>
#include <functional>
#include <vector>

#include "sound/audio_input.h"

namespace gs::test {

struct FakeMicrophone final : AudioInput {
    bool fail = false;
    int starts = 0;
    BufferHandler deliver;
    std::function<void()> lost;
    bool start(BufferHandler onBuffer, std::function<void()> onLost, QString& reason) override {
        if (fail) {
            reason = QStringLiteral("No microphone or other audio input was found.");
            return false;
        }
        ++starts;
        deliver = std::move(onBuffer);
        lost = std::move(onLost);
        return true;
    }
    void stop() override { deliver = nullptr, lost = nullptr; }
    // A 440 Hz tone of the given amplitude (0: silence); a loud one has loudness and a pitch.
    void play(float amplitude) {
        std::vector<float> tone(2048);
        for (std::size_t i = 0; i < tone.size(); ++i) tone[i] = amplitude * float(std::sin(0.0576 * double(i)));
        deliver(tone.data(), tone.size(), 48000.0);
    }
    void playLoudTone() { play(0.8f); }
};

}  // namespace gs::test
