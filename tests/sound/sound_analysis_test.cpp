// The analysis checked against numbers worked out here independently: a direct O(n²) DFT in
// double for the packed layout and its factor two, and band limits computed by hand.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <optional>
#include <vector>

#include "sound/sound_analysis.h"

namespace gs {
namespace {

constexpr std::size_t kN = 2048;
constexpr double kTwoPi = 2 * std::numbers::pi;

// Twice the plain DFT of a 2048-sample frame, packed: DC and Nyquist share element 0.
struct Packed {
    std::vector<double> re = std::vector<double>(kN / 2), im = std::vector<double>(kN / 2);
};
Packed referenceTransform(const std::vector<double>& x) {
    std::vector<double> c(kN), s(kN);
    for (std::size_t m = 0; m < kN; ++m) {
        c[m] = std::cos(kTwoPi * static_cast<double>(m) / kN);
        s[m] = std::sin(kTwoPi * static_cast<double>(m) / kN);
    }
    Packed p;
    for (std::size_t k = 0; k <= kN / 2; ++k) {
        std::complex<double> sum;
        for (std::size_t j = 0; j < kN; ++j) sum += x[j] * std::complex<double>(c[j * k % kN], -s[j * k % kN]);
        if (k == 0) p.re[0] = 2 * sum.real();
        else if (k == kN / 2) p.im[0] = 2 * sum.real();
        else p.re[k] = 2 * sum.real(), p.im[k] = 2 * sum.imag();
    }
    return p;
}

// The frame the analysis should transform: the first 2048 samples (zeros past the end) under
// the unit-mean-square periodic Hann window.
std::vector<double> windowedFrame(const std::vector<float>& samples) {
    std::vector<double> x(kN, 0.0);
    for (std::size_t i = 0; i < std::min(kN, samples.size()); ++i) {
        const auto w = static_cast<float>(0.8165 * (1 - std::cos(kTwoPi * static_cast<double>(i) / kN)));
        x[i] = static_cast<double>(samples[i] * w);
    }
    return x;
}

std::vector<float> tone(double hz, double fs, std::size_t n, double amplitude = 0.5) {
    std::vector<float> v(n);
    for (std::size_t i = 0; i < n; ++i)
        v[i] = static_cast<float>(amplitude * std::sin(kTwoPi * hz * static_cast<double>(i) / fs));
    return v;
}

// Buffers shorter and longer than the transform: the spectrum is the windowed first 2048
// samples (zero-padded, window not re-centred), the loudness covers the whole buffer. A DC
// offset and a Nyquist tone fill the bin that the packed transform shares between them.
class BufferLength : public ::testing::TestWithParam<std::size_t> {};

TEST_P(BufferLength, SpectrumTakesTheFirst2048SamplesLoudnessAll) {
    const std::size_t n = GetParam();
    std::vector<float> samples = tone(1000, 48000, n, 0.5);
    for (std::size_t i = 0; i < n; ++i) samples[i] += (i % 2 ? 0.2f : -0.1f) * (i < kN ? 1.0f : 0.25f);
    SoundAnalysis a;
    ASSERT_TRUE(a.analyze(samples.data(), n, 48000).has_value());
    const Packed want = referenceTransform(windowedFrame(samples));
    for (std::size_t k = 0; k < kN / 2; ++k) {
        const double power = want.re[k] * want.re[k] + want.im[k] * want.im[k];
        ASSERT_NEAR(a.power()[k], power, 1e-3 + 1e-5 * power) << "bin " << k;
    }
    double sum = 0;
    for (float v : samples) sum += static_cast<double>(v) * v;
    const double rms = std::sqrt(sum / static_cast<double>(n));
    EXPECT_NEAR(a.adaptation().smoothedRms, 0.35 * rms, 1e-7);
}

INSTANTIATE_TEST_SUITE_P(Lengths, BufferLength, ::testing::Values(512, 2048, 4096));

TEST(SoundAnalysis, SilenceFromTheStartReadsZeroAndFloorsSink) {
    SoundAnalysis a;
    const std::vector<float> silence(kN, 0.0f);
    for (int i = 0; i < 100; ++i) {
        const auto m = a.analyze(silence.data(), silence.size(), 48000);
        ASSERT_TRUE(m.has_value());
        ASSERT_EQ(*m, SoundMetrics{});
    }
    EXPECT_EQ(a.adaptation().smoothedRms, 0.0);
    EXPECT_LT(a.adaptation().rmsFloor, SoundAnalysis::Adaptation{}.rmsFloor);
}

// A held tone reads full scale until the climbing floor comes within the minimum span of the
// level, then fades to nothing: sustained sound stops counting.
TEST(SoundAnalysis, SteadyToneFadesAsTheFloorClimbs) {
    SoundAnalysis a;
    const std::vector<float> t = tone(187.5, 48000, kN);  // exactly bin 8: bass, steady
    std::vector<SoundMetrics> m;  // 3000 buffers: two minutes at 48 kHz
    for (int i = 0; i < 3000; ++i) m.push_back(a.analyze(t.data(), t.size(), 48000).value());
    EXPECT_GT(m[0].rms, 0.99);  // the first loud buffer is the loudest yet
    EXPECT_EQ(m[200].bassEnergy, 1.0);
    EXPECT_EQ(m[200].rms, 1.0);
    EXPECT_LT(m[2999].bassEnergy, 0.01);
    EXPECT_LT(m[2999].rms, 0.01);
    EXPECT_EQ(m[2999].pitchHz, 187.5);  // the pitch does not fade
}

// At 150 Hz the vocal range starts beyond the last bin: no pitch while bass still reports. At
// 2.048 MHz the vocal range is the single bin 1: no pitch either, while the bands report.
TEST(SoundAnalysis, PitchNeedsTwoVocalBins) {
    const struct {
        double fs, toneHz;
        bool bass, treble;
    } cases[] = {{150, 65, true, false}, {2048000, 500, true, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fs);
        SoundAnalysis a;
        const std::vector<float> t = tone(c.toneHz, c.fs, kN);
        const auto m = a.analyze(t.data(), t.size(), c.fs);
        ASSERT_TRUE(m.has_value());
        EXPECT_FALSE(m->pitchHz.has_value());
        EXPECT_EQ(m->bassEnergy > 0, c.bass);
        EXPECT_EQ(m->trebleEnergy > 0, c.treble);
    }
}

// Inputs the analysis refuses without touching its state.
TEST(SoundAnalysis, RefusesBuffersItCannotUse) {
    SoundAnalysis a;
    const std::vector<float> t = tone(440, 48000, kN);
    a.analyze(t.data(), t.size(), 48000);
    const SoundAnalysis::Adaptation before = a.adaptation();
    for (float bad : {NAN, INFINITY, 1e30f}) {
        std::vector<float> b = t;
        b[700] = bad;
        EXPECT_FALSE(a.analyze(b.data(), b.size(), 48000)) << bad;
    }
    for (double fs : {0.0, -48000.0, double(NAN), double(INFINITY)})
        EXPECT_FALSE(a.analyze(t.data(), t.size(), fs)) << fs;
    EXPECT_FALSE(a.analyze(t.data(), 0, 48000));
    EXPECT_FALSE(a.analyze(nullptr, 2048, 48000));
    EXPECT_EQ(a.adaptation(), before);
}

// One unit of power in a single bin: the band sees it (over its width) only inside its limits,
// worked out by hand.
TEST(BandEnergy, CoversItsBinsInclusive) {
    const struct {
        double fs;
        FrequencyRange range;
        int first, last;
    } cases[] = {{48000, SoundAnalysis::bassRange, 2, 10},    {48000, SoundAnalysis::trebleRange, 85, 341},
                 {48000, SoundAnalysis::vocalRange, 3, 42},
                 {8000, SoundAnalysis::trebleRange, 512, 1023},  // held at 1023
                 {2048000, SoundAnalysis::bassRange, 0, 0}};     // one bin
    for (const auto& c : cases) {
        const double width = c.last - c.first + 1;
        for (int k : {c.first - 1, c.first, c.last, c.last + 1}) {
            if (k < 0 || k > 1023) continue;
            PowerSpectrum p{};
            p[static_cast<std::size_t>(k)] = 1.0f;
            const bool inside = k >= c.first && k <= c.last;
            EXPECT_EQ(bandEnergy(p, c.range, c.fs / 2048), inside ? 1.0 / width : 0.0) << c.fs << " bin " << k;
        }
    }
    // At 100 Hz the treble band starts at bin 40960, past the last: no bin, no energy.
    PowerSpectrum p;
    p.fill(1.0f);
    EXPECT_EQ(bandEnergy(p, SoundAnalysis::trebleRange, 100.0 / 2048), 0.0);
}

// At 48 kHz the search runs over bins 3..42 against 3 × the mean of those 40 bins + 0.00005.
TEST(PitchOf, SearchTiesAndThreshold) {
    const struct {
        int bin;
        float power;
        float tie;  // the same power two bins higher when non-zero
        std::optional<double> want;
    } cases[] = {{10, 6e-5f, 0, 234.375},         // 6e-5 > 3 × 6e-5 / 40 + 5e-5
                 {10, 5e-5f, 0, std::nullopt},    // not above the threshold
                 {10, 1.0f, 1.0f, 234.375},       // a tie keeps the lower bin
                 {3, 1.0f, 0, 70.3125},           // first bin, below 80 Hz
                 {2, 1.0f, 0, std::nullopt},      // below the search
                 {42, 1.0f, 0, 984.375},          // last bin
                 {43, 1.0f, 0, std::nullopt}};    // above it
    const double binHz = 23.4375;
    for (const auto& c : cases) {
        PowerSpectrum p{};
        p[static_cast<std::size_t>(c.bin)] = c.power;
        if (c.tie > 0) p[static_cast<std::size_t>(c.bin + 2)] = c.tie;
        EXPECT_EQ(pitchOf(p, bandEnergy(p, SoundAnalysis::vocalRange, binHz), binHz), c.want) << c.bin << " " << c.power;
    }
}

// Between floor and peak; a peak at the floor spans 0.0001.
TEST(NormalisedLevel, LiesBetweenFloorAndPeak) {
    for (auto [value, floor, peak, want] : {std::array<double, 4>{0.5, 0.1, 0.9, 0.5}, {0.05, 0.1, 0.9, 0.0},
                                            {0.00025, 0.0002, 0.0002, 0.5}, {0.0003001, 0.0002, 0.0002, 1.0}})
        EXPECT_DOUBLE_EQ(normalisedLevel(value, floor, peak), want) << value;
}

}  // namespace
}  // namespace gs
