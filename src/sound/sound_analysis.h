// Live audio to four numbers the picture can follow: a loudness, a pitch, a treble energy and a
// bass energy, the three energies normalised to 0..1 against adaptive floors and decaying
// peaks. Plain C++ on FFTW; one object analyses one stream of buffers.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "sound/packed_fft.h"

namespace gs {

// One analysed buffer, published whole.
struct SoundMetrics {
    double rms = 0;                 // normalised loudness, 0..1
    std::optional<double> pitchHz;  // pitch estimate in Hz; absent when there is no clear peak
    double trebleEnergy = 0;        // normalised treble energy, 0..1
    double bassEnergy = 0;          // normalised bass energy, 0..1

    friend bool operator==(const SoundMetrics&, const SoundMetrics&) = default;
};

// A closed range of frequencies in Hz.
struct FrequencyRange {
    double lower = 0, upper = 0;
};

// The power spectrum's bins: 1024 floats, bin k at k * binHz (bin 0 holds DC² + Nyquist²).
using PowerSpectrum = std::array<float, PackedRealFft::halfSize>;

// The mean power of the bins trunc(lower / binHz) .. trunc(upper / binHz) (held within 0..1023),
// summed in single precision in ascending order and divided in double; 0 when the range holds
// no bin.
double bandEnergy(const PowerSpectrum& power, FrequencyRange range, double binHz);

// The strongest bin between max(trunc(80 / binHz), 1) and min(trunc(1000 / binHz), 1023) (the
// lower bin on ties), in Hz without interpolation, when it stands clearly above the mean vocal
// energy (peak > 3 * vocalEnergy + 0.00005). Absent when that range holds fewer than two bins.
std::optional<double> pitchOf(const PowerSpectrum& power, double vocalEnergy, double binHz);

// Where value lies between floor and peak, clipped to 0..1; a span under 0.0001 counts as 0.0001.
double normalisedLevel(double value, double floor, double peak);

class SoundAnalysis {
public:
    static constexpr FrequencyRange vocalRange{80, 1000};
    static constexpr FrequencyRange bassRange{60, 250};
    static constexpr FrequencyRange trebleRange{2000, 8000};
    static constexpr int fftSize = 2048;
    static constexpr unsigned log2n = 11;
    static constexpr double floorAdaptRate = 0.01;      // share of the distance a floor moves per buffer
    static constexpr double rmsSmoothingFactor = 0.35;  // share of the distance smoothedRms moves
    static constexpr double peakDecay = 0.985;          // factor on every peak per buffer

    // The adaptive state: decaying peaks, slowly following floors and the smoothed loudness.
    struct Adaptation {
        double rmsPeak = 0.02, bassPeak = 0.001, treblePeak = 0.001;
        double rmsFloor = 0.001, bassFloor = 0.0002, trebleFloor = 0.0002;
        double smoothedRms = 0;
        friend bool operator==(const Adaptation&, const Adaptation&) = default;
    };

    SoundAnalysis();

    // Analyses one buffer of count mono samples taken at sampleRate Hz and adapts the state.
    // Loudness covers every sample; the spectrum the first 2048, windowed, zero-padded when the
    // buffer is shorter. Returns nothing, and leaves the state alone, for an empty buffer, a
    // sample rate that is not a positive finite number, or samples that are not finite.
    // Allocates nothing.
    std::optional<SoundMetrics> analyze(const float* samples, std::size_t count, double sampleRate);

    // Back to the initial peaks, floors and smoothed loudness.
    void reset() { state_ = Adaptation{}; }

    const Adaptation& adaptation() const { return state_; }
    // The power spectrum of the last analysed buffer.
    const PowerSpectrum& power() const { return power_; }
    // The normalised periodic Hann window, 0.8165 * (1 - cos(2 pi n / 2048)).
    const std::array<float, fftSize>& window() const { return window_; }

private:
    void transform(const float* samples, std::size_t count);
    SoundMetrics adapt(double rms, double bass, double treble, std::optional<double> pitch);

    PackedRealFft fft_;
    std::array<float, fftSize> window_;
    PowerSpectrum re_{}, im_{}, power_{};
    Adaptation state_;
};

}  // namespace gs
