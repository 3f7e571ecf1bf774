#include "export/movie_encoder.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "export/recording.h"
#include "palette_movie_support.h"

namespace gs {
namespace {

// Every compiled vector target converts to the same bytes, the nearest codes to the exact
// BT.709 limited-range values players expect from the movie's tags (luma per pixel, chroma of
// each 2 x 2 block's mean), on a width that leaves a tail to the scalar loop on every target.
TEST(YuvConverter, EveryTargetRoundsTheExactConversion) {
    constexpr int kW = 70, kH = 6;
    std::mt19937 random(12);
    std::vector<std::uint8_t> bgra(kW * kH * 4);
    for (std::uint8_t& byte : bgra) byte = static_cast<std::uint8_t>(random());
    const auto exact = [](double r, double g, double b, int plane) {
        const double y = 0.2126 * r + 0.7152 * g + 0.0722 * b;
        return plane == 0 ? 16 + 219.0 / 255 * y
                          : 128 + 224.0 / 255 * (plane == 1 ? (b - y) / 1.8556 : (r - y) / 1.5748);
    };
    std::vector<std::vector<std::uint8_t>> results;
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        YuvFrame out(kW, kH);
        YuvConverter().convert(bgra.data(), kW * 4, 0, kH, out);
        std::vector<std::uint8_t> bytes;
        for (int p = 0; p < 3; ++p)
            for (int y = 0; y < (p ? kH / 2 : kH); ++y)
                for (int x = 0; x < (p ? kW / 2 : kW); ++x) {
                    const int step = p ? 2 : 1;
                    double r = 0, g = 0, b = 0;
                    for (int dy = 0; dy < step; ++dy)
                        for (int dx = 0; dx < step; ++dx) {
                            const std::uint8_t* px =
                                &bgra[((y * step + dy) * kW + x * step + dx) * 4];
                            b += px[0], g += px[1], r += px[2];
                        }
                    const double n = step * step, want = exact(r / n, g / n, b / n, p);
                    const std::uint8_t got = out.plane(p)[y * out.stride(p) + x];
                    ASSERT_LE(std::abs(got - want), 0.51)
                        << hwy::TargetName(target) << " plane " << p << " at " << x << "," << y;
                    bytes.push_back(got);
                }
        EXPECT_TRUE(results.empty() || bytes == results.front()) << hwy::TargetName(target);
        results.push_back(bytes);
    }
    hwy::SetSupportedTargetsForTest(0);
    EXPECT_GE(results.size(), 2u);
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
                ASSERT_EQ(0, std::memcmp(whole.plane(p) + y * whole.stride(p),
                                         banded.plane(p) + y * banded.stride(p), p ? 40 : 80))
                    << "frame " << i << " plane " << p << " row " << y;
    }
}

}  // namespace
}  // namespace gs
