// Fractint ".map" palette files: 256 lines of "red green blue" integers 0..255.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "palette.h"

namespace gs {

struct MapParseResult {
    std::optional<ColorTable> colors;  // 256 entries when the text is valid
    std::string error;                 // plain-words reason when it is not, naming the line
};

// Reads the text (UTF-8, or ISO Latin-1 when the bytes are not valid UTF-8). Lines end at any
// line break (LF, CR, CR LF, VT, FF, NEL, LS, PS); blank lines are skipped; there must be exactly
// 256 colour lines; fields split at runs of blanks, tabs and commas; the first three must be
// integers that fit 64 bits (leading + or - allowed); further fields are ignored. Components are
// the integer / 255.0, not clamped.
MapParseResult parseMap(std::string_view bytes);

// One line per colour: round(c * 255) halves away from zero, clamped to 0..255, separated by
// single blanks, each line ending in LF.
std::string writeMap(const ColorTable& colors);

}  // namespace gs
