#include "budget.h"

#include <cmath>
#include <charconv>
#include <string_view>

#include "fatal.h"

namespace gs {
namespace {

// v with `decimals` digits after the point, as "%.Nf" writes it in the C locale: the status
// texts read the same under every desktop locale.
std::string fixed(double v, int decimals) {
    char buf[400];  // the longest double (about 1.8e308) with its decimals
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::fixed, decimals);
    if (ec != std::errc()) fatal("status number does not fit its buffer");
    return std::string(buf, end);
}

// Decimal digits and the minus sign written as superscripts; other characters stay.
std::string superscript(std::string_view text) {
    static constexpr std::string_view kDigits[] = {"⁰", "¹", "²", "³", "⁴",
                                                   "⁵", "⁶", "⁷", "⁸", "⁹"};
    std::string out;
    for (char c : text) {
        if (c >= '0' && c <= '9')
            out += kDigits[c - '0'];
        else if (c == '-')
            out += "⁻";
        else
            out += c;
    }
    return out;
}

}  // namespace

double zoomLevel(const Viewport& v, double initialWidth) { return initialWidth / v.width(); }

double pixelSizeFor(const Viewport& v, std::int64_t bufferWidth) {
    return v.width() / static_cast<double>(bufferWidth);
}

std::int64_t iterationCeiling(const Viewport& v, double initialWidth) {
    // fmax is IEEE maxNum: a NaN ratio gives 1.
    const double t = std::log2(std::fmax(initialWidth / v.width(), 1.0)) * 100.0 + 255.0;
    if (!std::isfinite(t) || t >= 9223372036854775808.0 || t < -9223372036854775808.0)
        fatal("iteration ceiling is not a finite 64-bit value");
    const auto ceiling = static_cast<std::int64_t>(t);
    return ceiling < kIterationCap ? ceiling : kIterationCap;
}

bool zoomWithinLimit(double newWidth, double initialWidth) {
    const double zoom = initialWidth / newWidth;
    return std::isfinite(zoom) && zoom < kMaxZoomFactor;
}

std::string zoomText(double zoom) {
    if (zoom < 1000.0) return fixed(zoom, 1) + "×";
    const double exponent = std::trunc(std::log10(zoom));
    const double mantissa = zoom / std::pow(10.0, exponent);
    return fixed(mantissa, 1) + "×10" + superscript(fixed(exponent, 0)) + "×";
}

std::string centerText(const Viewport& v) {
    const double y = v.centerY();
    return fixed(v.centerX(), 4) + (y >= 0 ? "+" : "") + fixed(y, 4) + "i";
}

std::string iterationsText(std::int64_t maxIterations) { return std::to_string(maxIterations); }

std::string renderTimeText(double seconds) { return fixed(seconds, 2) + "s"; }

}  // namespace gs
