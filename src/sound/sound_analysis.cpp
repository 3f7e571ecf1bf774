#include "sound/sound_analysis.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace gs {

namespace {

constexpr double kLastBin = static_cast<double>(PackedRealFft::halfSize - 1);
constexpr double kPitchMargin = 0.00005;  // the pitch peak must exceed 3 * vocal mean + this
constexpr double kMinSpan = 0.0001;       // the narrowest floor-to-peak span normalised against

// The bins first = max(trunc(lower / binHz), lowest) and last = min(trunc(upper / binHz), 1023),
// worked out in double so that an extreme sample rate cannot overflow an index.
struct BinSpan {
    double first, last;
    std::size_t firstIndex() const { return static_cast<std::size_t>(first); }
    std::size_t lastIndex() const { return static_cast<std::size_t>(last); }
};
BinSpan binSpan(FrequencyRange range, double binHz, double lowest) {
    return {std::max(std::trunc(range.lower / binHz), lowest),
            std::min(std::trunc(range.upper / binHz), kLastBin)};
}

// Single-precision root mean square of the whole buffer, the sum of squares kept in double.
double rootMeanSquare(const float* samples, std::size_t count) {
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) sum += static_cast<double>(samples[i]) * samples[i];
    return static_cast<double>(static_cast<float>(std::sqrt(sum / static_cast<double>(count))));
}

}  // namespace

double bandEnergy(const PowerSpectrum& power, FrequencyRange range, double binHz) {
    const BinSpan bins = binSpan(range, binHz, 0.0);
    if (bins.last < bins.first) return 0;
    float sum = 0;
    for (std::size_t k = bins.firstIndex(); k <= bins.lastIndex(); ++k) sum += power[k];
    return static_cast<double>(sum) / (bins.last - bins.first + 1);
}

std::optional<double> pitchOf(const PowerSpectrum& power, double vocalEnergy, double binHz) {
    const BinSpan bins = binSpan(SoundAnalysis::vocalRange, binHz, 1.0);
    if (bins.last <= bins.first) return std::nullopt;
    std::size_t best = bins.firstIndex();
    for (std::size_t k = best + 1; k <= bins.lastIndex(); ++k)
        if (power[k] > power[best]) best = k;  // strictly greater: ties keep the lower bin
    if (!(static_cast<double>(power[best]) > 3 * vocalEnergy + kPitchMargin)) return std::nullopt;
    return binHz * static_cast<double>(best);
}

double normalisedLevel(double value, double floor, double peak) {
    return std::min(std::max(value - floor, 0.0) / std::max(peak - floor, kMinSpan), 1.0);
}

SoundAnalysis::SoundAnalysis() {
    for (int n = 0; n < fftSize; ++n)
        window_[static_cast<std::size_t>(n)] = static_cast<float>(
            0.8165 * (1.0 - std::cos(2.0 * std::numbers::pi * n / fftSize)));
}

void SoundAnalysis::transform(const float* samples, std::size_t count) {
    float* frame = fft_.input();
    const std::size_t used = std::min(count, static_cast<std::size_t>(fftSize));
    for (std::size_t i = 0; i < used; ++i) frame[i] = samples[i] * window_[i];
    std::fill(frame + used, frame + fftSize, 0.0f);
    fft_.forward(re_.data(), im_.data());
    for (std::size_t k = 0; k < power_.size(); ++k) power_[k] = re_[k] * re_[k] + im_[k] * im_[k];
}

std::optional<SoundMetrics> SoundAnalysis::analyze(const float* samples, std::size_t count,
                                                   double sampleRate) {
    if (!samples || count == 0 || !(sampleRate > 0) || !std::isfinite(sampleRate))
        return std::nullopt;
    const double rms = rootMeanSquare(samples, count);
    if (!std::isfinite(rms)) return std::nullopt;
    transform(samples, count);
    const double binHz = sampleRate * (1.0 / fftSize);
    const double bass = bandEnergy(power_, bassRange, binHz);
    const double treble = bandEnergy(power_, trebleRange, binHz);
    const double vocal = bandEnergy(power_, vocalRange, binHz);
    // Huge finite samples can still overflow the float spectrum: such a buffer never reaches
    // the adaptive state, which it would poison for good.
    if (!std::isfinite(bass) || !std::isfinite(treble) || !std::isfinite(vocal)) return std::nullopt;
    return adapt(rms, bass, treble, pitchOf(power_, vocal, binHz));
}

// Smoothing, then the peaks, then the floors, then the levels from the updated values.
SoundMetrics SoundAnalysis::adapt(double rms, double bass, double treble,
                                  std::optional<double> pitch) {
    Adaptation& s = state_;
    s.smoothedRms = s.smoothedRms + (rms - s.smoothedRms) * rmsSmoothingFactor;
    s.rmsPeak = std::max(s.rmsPeak * peakDecay, s.smoothedRms);
    s.bassPeak = std::max(s.bassPeak * peakDecay, bass);
    s.treblePeak = std::max(s.treblePeak * peakDecay, treble);
    s.rmsFloor = s.rmsFloor + (s.smoothedRms - s.rmsFloor) * floorAdaptRate;
    s.bassFloor = s.bassFloor + (bass - s.bassFloor) * floorAdaptRate;
    s.trebleFloor = s.trebleFloor + (treble - s.trebleFloor) * floorAdaptRate;
    return SoundMetrics{normalisedLevel(s.smoothedRms, s.rmsFloor, s.rmsPeak), pitch,
                        normalisedLevel(treble, s.trebleFloor, s.treblePeak),
                        normalisedLevel(bass, s.bassFloor, s.bassPeak)};
}

}  // namespace gs
