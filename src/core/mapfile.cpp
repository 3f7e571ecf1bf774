// Reading and writing Fractint ".map" palette text.
#include "mapfile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <vector>

#include "fatal.h"

namespace gs {
namespace {

constexpr std::size_t kMapColours = 256;
constexpr char32_t kByteOrderMark = 0xFEFF;

// The shape of a UTF-8 sequence as its first byte announces it.
struct SequenceStart {
    std::size_t length = 0;  // bytes in the sequence; 0 for a byte that cannot start one
    char32_t payload = 0;    // the code point bits the first byte carries
    char32_t smallest = 0;   // the lowest code point that needs this many bytes
};

SequenceStart classifyLead(unsigned char lead) {
    if (lead < 0x80) return {1, lead, 0};
    if ((lead & 0xE0) == 0xC0) return {2, lead & 0x1Fu, 0x80};
    if ((lead & 0xF0) == 0xE0) return {3, lead & 0x0Fu, 0x800};
    if ((lead & 0xF8) == 0xF0) return {4, lead & 0x07u, 0x10000};
    return {};
}

// Decodes the UTF-8 sequence starting at bytes[i] into cp and returns its length, or 0 when it
// is malformed (truncated, overlong, a surrogate or beyond U+10FFFF).
std::size_t decodeUtf8At(std::string_view bytes, std::size_t i, char32_t& cp) {
    const SequenceStart start = classifyLead(static_cast<unsigned char>(bytes[i]));
    if (start.length == 0 || bytes.size() - i < start.length) return 0;
    cp = start.payload;
    for (std::size_t k = 1; k < start.length; ++k) {
        const auto next = static_cast<unsigned char>(bytes[i + k]);
        if ((next & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (next & 0x3Fu);
    }
    const bool surrogate = cp >= 0xD800 && cp <= 0xDFFF;
    return cp < start.smallest || cp > 0x10FFFF || surrogate ? 0 : start.length;
}

bool decodeUtf8(std::string_view bytes, std::u32string& text) {
    text.clear();
    text.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        char32_t cp = 0;
        const std::size_t length = decodeUtf8At(bytes, i, cp);
        if (length == 0) return false;
        text.push_back(cp);
        i += length;
    }
    return true;
}

// UTF-8 when the bytes are valid UTF-8, otherwise ISO Latin-1 (every byte is one character).
// A leading byte-order mark, as some editors write, is dropped.
std::u32string decodeText(std::string_view bytes) {
    std::u32string text;
    if (decodeUtf8(bytes, text)) {
        if (!text.empty() && text.front() == kByteOrderMark) text.erase(0, 1);
        return text;
    }
    text.clear();
    text.reserve(bytes.size());
    for (char byte : bytes) text.push_back(static_cast<unsigned char>(byte));
    return text;
}

bool isLineBreak(char32_t c) {
    return c == U'\n' || c == U'\r' || c == 0x0B || c == 0x0C || c == 0x85 || c == 0x2028 ||
           c == 0x2029;
}

bool isBlank(char32_t c) { return c == U' ' || c == U'\t'; }

bool isFieldSeparator(char32_t c) { return isBlank(c) || c == U','; }

// Every line of the text, CR LF counting as one break; the part after the last break is a line.
std::vector<std::u32string_view> splitLines(std::u32string_view text) {
    std::vector<std::u32string_view> lines;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isLineBreak(text[i])) continue;
        lines.push_back(text.substr(start, i - start));
        if (text[i] == U'\r' && i + 1 < text.size() && text[i + 1] == U'\n') ++i;
        start = i + 1;
    }
    lines.push_back(text.substr(start));
    return lines;
}

bool isBlankLine(std::u32string_view line) { return std::all_of(line.begin(), line.end(), isBlank); }

// The first three non-empty pieces of a line between runs of blanks, tabs and commas; how many
// there were, up to three (the rest of a line is never read).
std::size_t firstThreeFields(std::u32string_view line, std::u32string_view (&fields)[3]) {
    std::size_t count = 0;
    std::size_t i = 0;
    while (i < line.size() && count < 3) {
        while (i < line.size() && isFieldSeparator(line[i])) ++i;
        const std::size_t start = i;
        while (i < line.size() && !isFieldSeparator(line[i])) ++i;
        if (i > start) fields[count++] = line.substr(start, i - start);
    }
    return count;
}

enum class NumberStatus { ok, notWhole, outOfRange };

// A decimal integer with an optional leading + or -, fitting 64 bits.
NumberStatus readWholeNumber(std::u32string_view field, std::int64_t& value) {
    std::string ascii;  // a short number fits the string's inline buffer: no allocation
    for (char32_t c : field) {
        if (c > 0x7F) return NumberStatus::notWhole;
        ascii.push_back(static_cast<char>(c));
    }
    std::string_view digits = ascii;
    if (digits.starts_with('+')) {
        digits.remove_prefix(1);
        if (digits.empty() || digits.front() < '0' || digits.front() > '9') {
            return NumberStatus::notWhole;
        }
    }
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (stop != end) return NumberStatus::notWhole;
    if (error == std::errc::result_out_of_range) return NumberStatus::outOfRange;
    return error == std::errc{} ? NumberStatus::ok : NumberStatus::notWhole;
}

// Reads one colour line into out; on failure returns what is wrong with it.
std::optional<std::string> readColourLine(std::u32string_view line, aColor& out) {
    std::u32string_view fields[3];
    if (firstThreeFields(line, fields) < 3) return "expected three whole numbers (red green blue)";
    double* channels[3] = {&out.r, &out.g, &out.b};
    for (std::size_t i = 0; i < 3; ++i) {
        std::int64_t value = 0;
        switch (readWholeNumber(fields[i], value)) {
        case NumberStatus::notWhole: return "expected three whole numbers (red green blue)";
        case NumberStatus::outOfRange: return "number out of range";
        case NumberStatus::ok: break;
        }
        *channels[i] = static_cast<double>(value) / 255.0;
    }
    return std::nullopt;
}

MapParseResult failure(std::string why) { return {std::nullopt, std::move(why)}; }

// One component as the integer 0..255 written to a file.
int componentByte(double component) {
    if (std::isnan(component)) fatal("palette colour component is not a number");
    return static_cast<int>(std::clamp(std::round(component * 255.0), 0.0, 255.0));
}

}  // namespace

MapParseResult parseMap(std::string_view bytes) {
    const std::u32string text = decodeText(bytes);
    const auto lines = splitLines(text);
    ColorTable colours;
    colours.reserve(kMapColours);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (isBlankLine(lines[i])) continue;
        aColor colour;
        if (auto why = readColourLine(lines[i], colour)) {
            return failure("line " + std::to_string(i + 1) + ": " + *why);
        }
        colours.push_back(colour);
    }
    if (colours.size() != kMapColours) {
        return failure("expected 256 colour lines, found " + std::to_string(colours.size()));
    }
    return {std::move(colours), {}};
}

std::string writeMap(const ColorTable& colors) {
    std::string text;
    text.reserve(colors.size() * 12);
    for (const aColor& c : colors) {
        text += std::to_string(componentByte(c.r)) + ' ' + std::to_string(componentByte(c.g)) +
                ' ' + std::to_string(componentByte(c.b)) + '\n';
    }
    return text;
}

}  // namespace gs
