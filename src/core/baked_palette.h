// The colour table as the picture shows it, with the palette's repeat and shift folded in: what
// a bookmark keeps, so it looks the same wherever it is opened (at frequency 1, offset 0 it
// is the table itself).
#pragma once

#include "palette.h"

namespace gs {

inline constexpr int kBakedTableSize = 256;

// 256 colours: entry i samples `table` at the fractional part of cycleOffset + frequency * i /
// 256 (a negative fraction plus 1), blending linearly between neighbouring entries, the last
// wrapping to the first, each channel clamped to [0, 1]. An empty table gives an empty result.
// frequency and cycleOffset must be finite (a non-finite position is fatal).
ColorTable bakeColorTable(const ColorTable& table, double frequency, double cycleOffset);

}  // namespace gs
