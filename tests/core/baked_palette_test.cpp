#include <gtest/gtest.h>

#include "core/baked_palette.h"

namespace gs {
namespace {

// 256 entries whose red channel is the index / 256 and whose green steps out of range at the ends.
ColorTable ramp() {
    ColorTable t(256);
    for (int i = 0; i < 256; ++i) t[static_cast<std::size_t>(i)] = {i / 256.0, i == 0 ? -0.5 : (i == 255 ? 1.5 : 0.25), 1.0};
    return t;
}

struct BakeCase {
    double frequency, offset;
    int entry;
    double red;  // expected red of that entry
};

class Bake : public ::testing::TestWithParam<BakeCase> {};

TEST_P(Bake, SamplesTheTableAtTheShiftedRepeatedPosition) {
    const ColorTable baked = bakeColorTable(ramp(), GetParam().frequency, GetParam().offset);
    ASSERT_EQ(baked.size(), 256u);
    EXPECT_DOUBLE_EQ(baked[static_cast<std::size_t>(GetParam().entry)].r, GetParam().red);
}

INSTANTIATE_TEST_SUITE_P(BakedPalette, Bake,
                         ::testing::Values(BakeCase{1, 0, 17, 17 / 256.0},            // the table itself
                                           BakeCase{2, 0, 17, 34 / 256.0},            // twice round
                                           BakeCase{2, 0, 130, 4 / 256.0},            // wrapped
                                           BakeCase{1, 0.25, 0, 64 / 256.0},          // shifted
                                           BakeCase{1, -0.25, 0, 192 / 256.0},        // negative shift
                                           BakeCase{1, -3.75, 0, 64 / 256.0},         // whole turns drop
                                           BakeCase{0.5, 0, 3, 1.5 / 256.0},          // halfway between entries
                                           BakeCase{1, 255.5 / 256, 0, 255 / 512.0},  // the last blends into the first
                                           BakeCase{1, -1e-300, 0, 0.0}));            // a fraction rounding up to 1

TEST(BakedPalette, ClampsChannelsAndKeepsAnEmptyTableEmpty) {
    const ColorTable baked = bakeColorTable(ramp(), 1, 0);
    EXPECT_EQ(baked[0].g, 0.0);
    EXPECT_EQ(baked[255].g, 1.0);
    EXPECT_TRUE(bakeColorTable({}, 2, 0).empty());
    EXPECT_EQ(bakeColorTable({{0.2, 0.4, 0.6}}, 2, 0.3).size(), 256u);
}

}  // namespace
}  // namespace gs
