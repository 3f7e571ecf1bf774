#include <gtest/gtest.h>

#include <cmath>

#include "sound/sound_mapping.h"

namespace gs {
namespace {

constexpr double kTick = 1.0 / 30.0;
const SoundMetrics kSilence{};
const SoundMetrics kLoud{1.0, 1000.0, 1.0, 1.0};
const SoundState kExcited{0.12, 0.3, 3.5, 0.6};

// One tick: {what, from, the sound, response, sensitivity, seconds, the state after}.
// Silence: loudness falls at 2.2 × response per second, glow and drama head back to neutral at
// 6 and 8 × response, and the pitch term holds (no pitch, no new colour); response 0 freezes
// every term. Sound: loudness rises at 7, the pitch term heads for the pitch's place in the
// vocal range at 4 (a pitch at or below 80 Hz pulls it towards 0), glow follows treble through
// its curve. A quarter-second step (the longest a tick gives) brings every term to its target
// whatever the response; sensitivity 2 takes half loudness, treble and bass to full.
TEST(SoundTick, EachTermMovesAtItsRate) {
    const SoundMetrics halves{0.5, 282.842712474619, 0.5, 0.5};  // sqrt(80 × 1000): the middle
    const struct {
        const char* what;
        SoundState from;
        SoundMetrics sound;
        double response, sensitivity, seconds;
        SoundState want;
    } cases[] = {
        {"silence", kExcited, kSilence, 1, 1, kTick, {0.12 * (1 - 2.2 / 30), 0.3, 3.5 - 2.5 * 6 / 30, 0.6 * (1 - 8.0 / 30)}},
        {"silence, response 2", kExcited, kSilence, 2, 1, kTick,
         {0.12 * (1 - 4.4 / 30), 0.3, 3.5 - 2.5 * 12 / 30, 0.6 * (1 - 16.0 / 30)}},
        {"silence, response 0", kExcited, kSilence, 0, 1, kTick, kExcited},
        {"loud", {}, kLoud, 1, 1, kTick, {0.12 * 7 / 30, 4.0 / 30, 1 + 2.5 * 6 / 30, 0.6 * 8 / 30}},
        {"low pitch", kExcited, {0, 70.3125, 0, 0}, 1, 1, kTick,
         {0.12 * (1 - 2.2 / 30), 0.3 * (1 - 4.0 / 30), 3.5 - 2.5 * 6 / 30, 0.6 * (1 - 8.0 / 30)}},
        {"treble", {}, {0, std::nullopt, 0.5, 0}, 1, 1, 0.25, {0, 0, 1 + 2.5 * std::pow(0.5, 1.6), 0}},
        {"longest step", {}, halves, 1, 2, 0.25, {0.12, 0.5, 3.5, 0.6}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SoundTuning t;
        t.response = c.response;
        t.sensitivity = c.sensitivity;
        const SoundState s = soundTick(c.from, c.sound, t, c.seconds);
        EXPECT_DOUBLE_EQ(s.soundVolumeDisplacement, c.want.soundVolumeDisplacement);
        EXPECT_NEAR(s.soundHueAnchorShift, c.want.soundHueAnchorShift, 1e-15);
        EXPECT_DOUBLE_EQ(s.soundGlowIntensity, c.want.soundGlowIntensity);
        EXPECT_DOUBLE_EQ(s.soundReliefDramaBoost, c.want.soundReliefDramaBoost);
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

TEST(SoundTick, NonFiniteTuningLeavesTheTermsAlone) {
    const SoundTuning t{
        .spin = INFINITY, .hue = NAN, .glowBoost = INFINITY, .shockwave = -INFINITY};
    EXPECT_EQ(soundTick(kExcited, kLoud, t, kTick), kExcited);
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
                 {false, false, PaletteMode::smooth, false}};
    for (const auto& c : cases)
        EXPECT_EQ(soundSwitchOn(c.glow, c.relief, c.mode), (SoundSwitchOn{c.glow, c.relief, c.smooth}))
            << c.glow << c.relief << int(c.mode);
}

}  // namespace
}  // namespace gs
