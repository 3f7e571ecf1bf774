#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "explore/auto_explore.h"

namespace gs {
namespace {

constexpr std::int64_t kMaxIter = 500;

// A 100 x 100 picture entirely inside the set, with escaped pixels added one by one.
struct Picture {
    std::vector<PixelExtendedData> pixels =
        std::vector<PixelExtendedData>(100 * 100, {kMaxIter, 0.0f, 0.0f});

    void escape(int col, int row, float distance, float nu = 10.0f) {
        pixels[static_cast<std::size_t>(row * 100 + col)] = {nu, distance, 0.0f};
    }
    std::size_t candidates() const {
        return boundaryCandidates(pixels.data(), 100, 100, kMaxIter).size();
    }
    std::optional<Viewport> target(const Viewport& v, std::uint64_t seed) const {
        SeededRandom rng(seed);
        return autoExploreTarget(pixels.data(), 100, 100, kMaxIter, v, rng);
    }
};

// A candidate has escaped with a positive distance and lies in columns and rows 15 to 84.
TEST(BoundaryCandidates, EscapedWithPositiveDistanceInColumnsAndRows15To84) {
    const struct {
        int col, row;
        float nu, distance;
        bool candidate;
    } cases[] = {{14, 50, 10, 1e-3f, false}, {15, 50, 10, 1e-3f, true}, {84, 50, 10, 1e-3f, true},
                 {85, 50, 10, 1e-3f, false}, {50, 14, 10, 1e-3f, false}, {50, 15, 10, 1e-3f, true},
                 {50, 84, 10, 1e-3f, true},  {50, 85, 10, 1e-3f, false}, {50, 50, 499.5f, 1e-3f, true},
                 {50, 50, 500, 1e-3f, false},  // did not escape
                 {50, 50, 10, 0.0f, false}};
    for (const auto& c : cases) {
        Picture p;
        p.escape(c.col, c.row, c.distance, c.nu);
        EXPECT_EQ(p.candidates(), c.candidate ? 1u : 0u) << c.col << "," << c.row << " nu " << c.nu << " d " << c.distance;
    }
}

TEST(NearestCandidates, KeepTheFortySmallestLargestFirstAndTiesNeverDisplace) {
    NearestCandidates tied;
    for (std::size_t i = 0; i < 41; ++i) tied.offer({i, 0.5f});
    ASSERT_EQ(tied.held().size(), 40u);
    for (std::size_t i = 0; i < 40; ++i) EXPECT_EQ(tied.held()[i].index, i);  // in their order
    std::vector<int> distances(200);
    std::iota(distances.begin(), distances.end(), 1);
    std::shuffle(distances.begin(), distances.end(), std::mt19937(42));
    NearestCandidates best;
    for (std::size_t i = 0; i < distances.size(); ++i)
        best.offer({i, static_cast<float>(distances[i])});
    ASSERT_EQ(best.held().size(), 40u);
    for (std::size_t i = 0; i < 40; ++i)
        EXPECT_EQ(best.held()[i].distance, static_cast<float>(40 - i));
}

// No escaped pixel gives no target; one gives a view centred on its corner, shrunk by the factor.
TEST(AutoExploreTarget, CentresOnThePixelCornerAndShrinksByTheFactor) {
    Picture p;
    EXPECT_FALSE(p.target(kHomeView, 1).has_value());
    p.escape(20, 30, 1e-3f);
    const Viewport v = p.target(kHomeView, 7).value();
    EXPECT_NEAR(v.centerX(), -2.5 + 20 * 0.04, 1e-12);
    EXPECT_NEAR(v.centerY(), 1.5 - 30 * 0.03, 1e-12);
    const double factor = 4.0 / v.width();
    EXPECT_GE(factor, 1.4 - 1e-12);
    EXPECT_LE(factor, 2.2 + 1e-12);
    EXPECT_NEAR(v.height() * factor, 3.0, 1e-12);  // both axes shrink alike
}

TEST(AutoExploreTarget, SeededPicksAreReproducibleAndVary) {
    Picture p;
    for (int i = 0; i < 60; ++i) p.escape(15 + i, 20 + i / 2, 1e-3f * static_cast<float>(i + 1));
    EXPECT_EQ(p.target(kHomeView, 99), p.target(kHomeView, 99));
    EXPECT_NE(p.target(kHomeView, 99), p.target(kHomeView, 100));
}

// Every step zooms by at least 1.4, so from 1e15 / 1.4 on it cannot stay below 1e15.
TEST(AutoExploreTarget, TooDeepStartsOverAtHome) {
    Picture p;
    p.escape(50, 50, 1e-3f);
    for (double level : {1e15 / 1.39, 1e14}) {
        const double w = kInitialWidth / level;
        const Viewport deep{-0.75, -0.75 + w, 0.1, 0.1 + w * 0.75};
        EXPECT_EQ(p.target(deep, 3) == kHomeView, level > 1e14) << level;
    }
}

}  // namespace
}  // namespace gs
