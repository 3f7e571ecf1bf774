#include "export/palette_animation.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "core/palette.h"
#include "palette_movie_support.h"

namespace gs {
namespace {

TEST(PaletteAnimationFrameCount, IsOnePaletteCycleAtThirtyFramesASecond) {
    const struct {
        double speed;
        std::int64_t frames;
    } cases[] = {
        {1.0, 30}, {0.02, 1500}, {0.12, 250},  // the default speed: 8.33 s
        {0.7, 43},                             // 42.857... rounds to nearest
        {20.0, 2},                             // 1.5 rounds away from zero, to 2
        {40.0, 2}, {1e6, 2},     {-1.0, 2},    // under 2: still 2
    };
    for (const auto& c : cases) EXPECT_EQ(paletteAnimationFrameCount(c.speed), c.frames) << c.speed;
}

TEST(PaletteAnimationFrameCountDeathTest, ASpeedWithoutAFiniteCountIsAProgrammingError) {
    EXPECT_DEATH(paletteAnimationFrameCount(0.0), "frame count");
    EXPECT_DEATH(paletteAnimationFrameCount(std::numeric_limits<double>::quiet_NaN()),
                 "frame count");
    EXPECT_DEATH(paletteAnimationFrameCount(1e-300), "frame count");  // finite, but no 64-bit count
}

TEST(PaletteAnimationSize, IsRoundedDownToEvenAndNeedsTwoByTwo) {
    EXPECT_EQ(evenMovieSize(801, 601).width + evenMovieSize(801, 601).height, 1400);
    EXPECT_EQ(evenMovieSize(1920, 1080).width, 1920);
    EXPECT_TRUE(PaletteCycleFrames::valid(test::moviePicture("plain", 3, 2, 1.0)));
    EXPECT_FALSE(PaletteCycleFrames::valid(test::moviePicture("plain", 1, 9, 1.0)));  // 0 x 8
    PaletteAnimationSnapshot s = test::moviePicture("plain", 4, 4, 1.0);
    s.height = 2;
    EXPECT_FALSE(PaletteCycleFrames::valid(s));  // data of another size
    s = test::moviePicture("plain", 4, 4, 1.0);
    s.frameCount = 0;
    EXPECT_FALSE(PaletteCycleFrames::valid(s));
}

// Frame i is the picture recoloured with the phase advanced by i / frame count, cropped to
// the even size from the top-left, in BGRA: frame 0 is the picture itself. The snapshot is a
// copy: a new render into the picture after it was taken changes nothing, and sound's values
// (the colour shift, glow intensity and boosted drama of the "sound" scene) stay as they were.
class PaletteCycleFramesTest : public testing::TestWithParam<std::string> {};

TEST_P(PaletteCycleFramesTest, FrameIIsTheRecolourAtPhasePlusIOverCount) {
    constexpr int kW = 81, kH = 61;
    test::MoviePicture picture = test::moviePictureWithSource(GetParam(), kW, kH, 1.0);
    const PaletteAnimationSnapshot& snapshot = picture.snapshot;
    ASSERT_EQ(snapshot.frameCount, 30);
    test::scribbleOver(picture.source);  // a later render: must not reach the movie

    PaletteCycleFrames frames(snapshot);
    ASSERT_EQ(frames.width(), 80);
    ASSERT_EQ(frames.height(), 60);
    std::vector<std::uint8_t> bgra(80 * 60 * 4);
    for (const std::int64_t i : {0, 1, 17, 29, 0}) {
        frames.colourFrame(i, bgra.data());
        EXPECT_EQ(bgra, test::expectedFrame(picture, i)) << GetParam() << " frame " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Scenes, PaletteCycleFramesTest,
                         testing::Values("plain", "sound", "julia"));

}  // namespace
}  // namespace gs
