#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "sound/sound_mapping.h"

namespace gs {
namespace {

constexpr double kTick = 1.0 / 30.0;
const SoundMetrics kSilence{};
const SoundMetrics kLoud{1.0, 1000.0, 1.0, 1.0};
const SoundState kExcited{0.12, 0.3, 3.5, 0.6};

// Silence: loudness falls at 2.2 × response per second, glow and drama head back to neutral at
// 6 and 8 × response, and the pitch term holds (no pitch, no new colour); response 0 freezes
// every term.
TEST(SoundTick, OneTickOfSilenceDecaysAtTheResponsesRates) {
    const std::pair<double, SoundState> cases[] = {
        {1.0, {0.12 * (1 - 2.2 / 30), 0.3, 3.5 - 2.5 * 6 / 30, 0.6 * (1 - 8.0 / 30)}},
        {2.0, {0.12 * (1 - 4.4 / 30), 0.3, 3.5 - 2.5 * 12 / 30, 0.6 * (1 - 16.0 / 30)}},
        {0.0, kExcited}};
    for (const auto& [response, want] : cases) {
        SCOPED_TRACE(response);
        SoundTuning t;
        t.response = response;
        const SoundState s = soundTick(kExcited, kSilence, t, kTick);
        EXPECT_DOUBLE_EQ(s.soundVolumeDisplacement, want.soundVolumeDisplacement);
        EXPECT_EQ(s.soundHueAnchorShift, 0.3);
        EXPECT_DOUBLE_EQ(s.soundGlowIntensity, want.soundGlowIntensity);
        EXPECT_DOUBLE_EQ(s.soundReliefDramaBoost, want.soundReliefDramaBoost);
    }
}

TEST(SoundTick, LongSilenceSettlesAtNeutralButKeepsThePitchTerm) {
    SoundState s = kExcited;
    for (int i = 0; i < 30 * 20; ++i) s = soundTick(s, kSilence, SoundTuning{}, kTick);
    EXPECT_NEAR(s.soundVolumeDisplacement, 0.0, 1e-15);
    EXPECT_NEAR(s.soundGlowIntensity, 1.0, 1e-15);
    EXPECT_NEAR(s.soundReliefDramaBoost, 0.0, 1e-15);
    EXPECT_EQ(s.soundHueAnchorShift, 0.3);
}

TEST(SoundTick, LoudnessRisesAtTheAttackRate) {
    const SoundState s = soundTick(SoundState{}, kLoud, SoundTuning{}, kTick);
    EXPECT_DOUBLE_EQ(s.soundVolumeDisplacement, 0.12 * 7 / 30);
    EXPECT_DOUBLE_EQ(s.soundHueAnchorShift, 4.0 / 30);  // the top of the vocal range, hue 1
    EXPECT_DOUBLE_EQ(s.soundGlowIntensity, 1 + 2.5 * 6 / 30);
    EXPECT_DOUBLE_EQ(s.soundReliefDramaBoost, 0.6 * 8 / 30);
}

// A quarter-second step (the longest a tick gives) brings every term exactly to its target
// and no further, whatever the response.
TEST(SoundTick, LongestStepReachesTargetsWithoutOvershoot) {
    for (double response : {1.0, 3.0}) {
        SoundTuning t;
        t.response = response;
        t.sensitivity = 2.0;  // half loudness, treble and bass clip to full
        const SoundMetrics m{0.5, 282.842712474619, 0.5, 0.5};
        const SoundState s = soundTick(SoundState{}, m, t, 0.25);
        EXPECT_EQ(s.soundVolumeDisplacement, 0.12);
        EXPECT_NEAR(s.soundHueAnchorShift, 0.5, 1e-15);  // sqrt(80 × 1000): the middle
        EXPECT_EQ(s.soundGlowIntensity, 3.5);
        EXPECT_EQ(s.soundReliefDramaBoost, 0.6);
    }
}

TEST(SoundTick, GlowFollowsTrebleThroughItsCurve) {
    const SoundState s = soundTick(SoundState{}, SoundMetrics{0, std::nullopt, 0.5, 0}, SoundTuning{}, 0.25);
    EXPECT_DOUBLE_EQ(s.soundGlowIntensity, 1 + 2.5 * std::pow(0.5, 1.6));
}

// A pitch at or below 80 Hz is present and pulls the pitch term towards 0.
TEST(SoundTick, LowPitchPullsThePitchTermDown) {
    const SoundState s = soundTick(kExcited, SoundMetrics{0, 70.3125, 0, 0}, SoundTuning{}, kTick);
    EXPECT_DOUBLE_EQ(s.soundHueAnchorShift, 0.3 * (1 - 4.0 / 30));
}

TEST(SoundTick, NonFiniteTuningLeavesTheTermsAlone) {
    SoundTuning t;
    t.spin = std::numeric_limits<double>::infinity();
    t.hue = std::numeric_limits<double>::quiet_NaN();
    t.glowBoost = std::numeric_limits<double>::infinity();
    t.shockwave = -std::numeric_limits<double>::infinity();
    const SoundState s = soundTick(kExcited, kLoud, t, kTick);
    EXPECT_EQ(s, kExcited);
}

TEST(VocalPitchPosition, IsLogarithmicOver80To1000Hz) {
    for (auto [hz, position] : {std::pair{70.3125, 0.0}, {80.0, 0.0}, {160.0, 0.27443454075003526},
                                {445.3125, 0.6797047070325206}, {1000.0, 1.0}, {4000.0, 1.0}})
        EXPECT_DOUBLE_EQ(vocalPitchPosition(hz), position) << hz;
}

// Switching on keeps the glow and relief flags to restore; the palette turns smooth only when
// relief is being turned on over a random one.
TEST(SoundSwitchOn, SavesFlagsAndDecidesThePalette) {
    const struct {
        bool glow, relief;
        PaletteMode mode;
        bool smooth;
    } cases[] = {{false, true, PaletteMode::random, false}, {true, false, PaletteMode::random, true},
                 {false, false, PaletteMode::random, true}, {false, false, PaletteMode::smooth, false},
                 {true, true, PaletteMode::smooth, false}};
    for (const auto& c : cases)
        EXPECT_EQ(soundSwitchOn(c.glow, c.relief, c.mode), (SoundSwitchOn{c.glow, c.relief, c.smooth}))
            << c.glow << c.relief << int(c.mode);
}

}  // namespace
}  // namespace gs
