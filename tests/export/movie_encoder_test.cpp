#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "export/movie_encoder.h"
#include "export/recording.h"
#include "palette_movie_support.h"

namespace gs {
namespace {

// Flat colours land on the BT.709 limited-range values players expect from the tags.
TEST(YuvConverter, UsesTheTaggedBt709LimitedRangeMatrix) {
    const struct {
        const char* name;
        std::uint8_t r, g, b;
        int y, u, v;
    } cases[] = {
        {"black", 0, 0, 0, 16, 128, 128},    {"white", 255, 255, 255, 235, 128, 128},
        {"red", 255, 0, 0, 63, 102, 240},    {"green", 0, 255, 0, 173, 42, 26},
        {"blue", 0, 0, 255, 32, 240, 118},
    };
    for (const auto& c : cases) {
        std::vector<std::uint8_t> bgra;
        for (int i = 0; i < 4 * 2; ++i) bgra.insert(bgra.end(), {c.b, c.g, c.r, 255});
        YuvFrame out(4, 2);
        YuvConverter().convert(bgra.data(), 16, 0, 2, out);
        EXPECT_NEAR(out.plane(0)[0], c.y, 1) << c.name;
        EXPECT_NEAR(out.plane(1)[0], c.u, 1) << c.name;
        EXPECT_NEAR(out.plane(2)[0], c.v, 1) << c.name;
    }
}

// The recording makes frames in bands of rows on several threads; the result must be the whole
// frame converted at once, including the short last band (74 rows: 32, 32, 10).
TEST(MovieFrameMaker, MakesTheWholeFrameConvertedBandByBand) {
    const test::MoviePicture picture = test::moviePictureWithSource("sound", 81, 75, 1.0);
    PaletteCycleFrames frames(picture.snapshot);
    MovieFrameMaker maker(frames, 2);
    std::vector<std::uint8_t> bgra(80 * 74 * 4);
    YuvFrame whole(80, 74), banded(80, 74);
    YuvConverter converter;
    for (const std::int64_t i : {0, 7}) {
        frames.colourFrame(i, bgra.data());
        converter.convert(bgra.data(), 80 * 4, 0, 74, whole);
        maker.make(i, banded);
        for (int p = 0; p < 3; ++p)
            for (int y = 0; y < (p ? 37 : 74); ++y)
                ASSERT_EQ(0, std::memcmp(whole.plane(p) + y * whole.stride(p), banded.plane(p) + y * banded.stride(p),
                                         p ? 40 : 80))
                    << "frame " << i << " plane " << p << " row " << y;
    }
}

}  // namespace
}  // namespace gs
