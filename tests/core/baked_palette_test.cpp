#include <gtest/gtest.h>

#include "core/baked_palette.h"

namespace gs {
namespace {

// Red is the index / 256; green steps out of [0, 1] at both ends.
ColorTable ramp() {
    ColorTable t;
    for (int i = 0; i < 256; ++i) t.push_back({i / 256.0, i == 0 ? -0.5 : (i == 255 ? 1.5 : 0.25), 1.0});
    return t;
}

TEST(BakedPalette, SamplesTheTableAtTheShiftedRepeatedPosition) {
    struct Case {
        double frequency, offset;
        std::size_t entry;
        double red;
    };
    for (const Case& c : {Case{1, 0, 17, 17 / 256.0}, Case{2, 0, 130, 4 / 256.0}, Case{1, -0.25, 0, 192 / 256.0},
                          Case{1, -3.75, 0, 64 / 256.0}, Case{0.5, 0, 3, 1.5 / 256.0},
                          Case{1, 255.5 / 256, 0, 255 / 512.0},  // the last entry blends into the first
                          Case{1, -1e-300, 0, 0.0}}) {           // a fraction that rounds up to 1
        const ColorTable baked = bakeColorTable(ramp(), c.frequency, c.offset);
        ASSERT_EQ(baked.size(), 256u);
        EXPECT_DOUBLE_EQ(baked[c.entry].r, c.red) << c.frequency << " " << c.offset << " " << c.entry;
    }
    const ColorTable same = bakeColorTable(ramp(), 1, 0);
    EXPECT_EQ(same[0].g, 0.0);
    EXPECT_EQ(same[255].g, 1.0);
    EXPECT_TRUE(bakeColorTable({}, 2, 0).empty());
}

}  // namespace
}  // namespace gs
