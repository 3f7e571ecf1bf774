// BGRA pictures into yuv420p, BT.709 limited range: the luma of every pixel and the chroma of
// every 2 x 2 block's mean colour, rounded to the nearest code (within 0.006 of a code of the
// exact value before rounding). Each pair of rows is converted on its own, so a picture
// converted band by band (bands of even height) gives the same bytes as converted whole.
#pragma once

#include <cstdint>

namespace gs::yuv {

// Rows `top` and `bottom` of width pixels (B, G, R, A bytes; width even) into their two rows
// of Y and one row of U and of V (width / 2 each).
void bgraRowPairToYuv420(const std::uint8_t* top, const std::uint8_t* bottom, int width, std::uint8_t* yTop,
                         std::uint8_t* yBottom, std::uint8_t* u, std::uint8_t* v);

// The formulas on one pixel (r, g, b: 0..255) and on one block (r4, g4, b4: sums of the four
// pixels, 0..1020), as the vectors compute them.
std::uint8_t lumaOf(int r, int g, int b);
std::uint8_t blueDifferenceOf(int r4, int g4, int b4);
std::uint8_t redDifferenceOf(int r4, int g4, int b4);

}  // namespace gs::yuv
