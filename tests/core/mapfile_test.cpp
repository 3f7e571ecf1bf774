#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <string>

#include "core/mapfile.h"

namespace gs {

// Readable failures: gtest finds this by argument-dependent lookup.
[[maybe_unused]] static void PrintTo(const aColor& c, std::ostream* out) {
    *out << "(" << c.r << ", " << c.g << ", " << c.b << ")";
}

namespace {

const aColor kDeepBlue{0, 128 / 255.0, 1};
const aColor kFiller{1 / 255.0, 2 / 255.0, 3 / 255.0};

// `first` followed by `count - 1` filler lines "1 2 3", every line ended by `sep`.
std::string mapText(const std::string& first, const std::string& sep = "\n", int count = 256) {
    std::string text = first + sep;
    for (int i = 1; i < count; ++i) text += "1 2 3" + sep;
    return text;
}

// Filler lines ended in turn by every UTF-8 line break, blank lines among them, the last one
// without a break: a break not recognised joins two lines into one that does not read.
std::string everyBreak(const std::string& first) {
    const std::string breaks[] = {"\n",       "\r",           "\r\n",         "\v",       "\f",
                                  "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9", "\n \t\n\n"};
    std::string text = first;
    for (int i = 1; i < 256; ++i) text += breaks[i % 9] + "1 2 3";
    return text;
}

TEST(MapRead, GivesAllColoursInOrder) {
    const struct {
        const char* what;
        std::string text;
        aColor first;
    } cases[] = {{"TrailingComment", mapText("0 128 255 ; deep blue"), kDeepBlue},
                 {"RunsOfSeparators", mapText(" \t0 ,, 128\t,255 , "), kDeepBlue},
                 {"Signs", mapText("-0 +128 +255"), kDeepBlue},
                 {"LongLeadingZeros", mapText("0 +" + std::string(70, '0') + "128 255"), kDeepBlue},
                 {"EveryLineBreak", everyBreak("0 128 255"), kDeepBlue},
                 {"ByteOrderMark", "\xEF\xBB\xBF" + mapText("0 128 255"), kDeepBlue},
                 // A lone 0x85 is not UTF-8, so the file is Latin-1 and its 0x85 bytes end lines.
                 {"Latin1NextLine", mapText("0 128 255", "\x85"), kDeepBlue},
                 {"NotClamped", mapText("256 -5 300"), {256 / 255.0, -5 / 255.0, 300 / 255.0}},
                 {"Int64Limits",
                  mapText("9223372036854775807 -9223372036854775808 0"),
                  {0x1p63 / 255.0, -0x1p63 / 255.0, 0}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const MapParseResult result = parseMap(c.text);
        ASSERT_TRUE(result.colors) << result.error;
        EXPECT_EQ(result.error, "");
        ASSERT_EQ(result.colors->size(), 256u);
        EXPECT_EQ(result.colors->front(), c.first);
        EXPECT_EQ(result.colors->back(), kFiller);
    }
}

TEST(MapRead, RefusesWithAReason) {
    const std::string notNumbers = "expected three whole numbers (red green blue)";
    const struct {
        const char* what;
        std::string text, error;
    } cases[] = {
        {"TooFewLines", mapText("1 2 3", "\n", 255), "expected 256 colour lines, found 255"},
        {"TooManyLines", mapText("1 2 3", "\n", 257), "expected 256 colour lines, found 257"},
        {"TwoFields", "1 2 3\n\n0 128\n" + mapText("1 2 3"), "line 3: " + notNumbers},
        {"CRLFIsOneBreak", "1 2 3\r\n1 2 3\r\n1 2 x\r\n", "line 3: " + notNumbers},
        {"Decimal", mapText("12.5 0 0"), "line 1: " + notNumbers},
        {"Hex", mapText("0x10 0 0"), "line 1: " + notNumbers},
        {"ArabicIndicDigit", mapText("\xD9\xA1 0 0"), "line 1: " + notNumbers},
        {"SemicolonTouchingNumber", mapText("0 128 255;"), "line 1: " + notNumbers},
        {"TooBig", "1 2 3\n\n99999999999999999999 0 0\n", "line 3: number out of range"},
        {"TooSmall", mapText("0 0 -9223372036854775809"), "line 1: number out of range"}};
    for (const auto& c : cases) {
        const MapParseResult result = parseMap(c.text);
        EXPECT_FALSE(result.colors) << c.what;
        EXPECT_EQ(result.error, c.error) << c.what;
    }
}

// 256 reads as 256/255 and is written back as 255.
TEST(MapWrite, RoundsHalvesUpAndClamps) {
    const ColorTable colours{
        {1, 0, 0}, {0, 0.5, 1}, {1.2, -0.1, 0.999}, {1 / 255.0, 256 / 255.0, 0}};
    EXPECT_EQ(writeMap(colours), "255 0 0\n0 128 255\n255 0 255\n1 255 0\n");
}

}  // namespace
}  // namespace gs
