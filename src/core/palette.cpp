// Random draws and the two palette generators.
#include "palette.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <random>
#include <utility>

#include "fatal.h"

namespace gs {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::uint64_t kTwoTo53 = std::uint64_t{1} << 53;
constexpr std::uint64_t kLow53Bits = kTwoTo53 - 1;
constexpr double kTwoToMinus53 = 0x1p-53;

// One step of xoshiro256**: returns the next word and advances the state.
std::uint64_t xoshiroNext(std::uint64_t (&s)[4]) {
    const std::uint64_t result = std::rotl(s[1] * 5, 7) * 9;
    const std::uint64_t t = s[1] << 17;
    s[2] ^= s[0];
    s[3] ^= s[1];
    s[1] ^= s[2];
    s[0] ^= s[3];
    s[2] ^= t;
    s[3] = std::rotl(s[3], 45);
    return result;
}

std::uint64_t splitmix64(std::uint64_t& x) {
    std::uint64_t z = (x += 0x9e3779b97f4a7c15);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
}

// xoshiro256** whose state comes straight from the operating system's entropy.
class SystemRandom final : public RandomSource {
public:
    SystemRandom() {
        std::random_device device;
        for (auto& word : s_) {
            const std::uint64_t high = device();
            word = (high << 32) | static_cast<std::uint32_t>(device());
        }
        // The all-zero state is the generator's one fixed point.
        if ((s_[0] | s_[1] | s_[2] | s_[3]) == 0) s_[0] = 1;
    }
    std::uint64_t next() override { return xoshiroNext(s_); }

private:
    std::uint64_t s_[4];
};

void requireCount(int n) {
    if (n < 0) fatal("palette size is negative");
}

double wrapDegrees(double h) {
    h = std::fmod(h, 360.0);
    return h < 0 ? h + 360.0 : h;
}

detail::PaletteStop drawStop(RandomSource& rng) {
    detail::PaletteStop stop;
    stop.pos = randomClosed(rng, 0.0, 1.0);
    stop.h = randomHalfOpen(rng, 0.0, 360.0);
    stop.s = randomClosed(rng, 0.7, 1.0);
    stop.v = randomClosed(rng, 0.7, 1.0);
    return stop;
}

// Sorts the stops along the cycle and closes it: the last stop takes the first one's colour.
void pinEnds(std::vector<detail::PaletteStop>& stops) {
    std::stable_sort(stops.begin(), stops.end(),
                     [](const auto& x, const auto& y) { return x.pos < y.pos; });
    auto& first = stops.front();
    auto& last = stops.back();
    first.pos = 0.0;
    last.pos = 1.0;
    last.h = first.h;
    last.s = first.s;
    last.v = first.v;
}

// Index of the segment holding t: the first j with stop j <= t <= stop j+1, or -1 if none.
std::ptrdiff_t segmentAt(const std::vector<detail::PaletteStop>& stops, double t) {
    for (std::size_t j = 0; j + 1 < stops.size(); ++j) {
        if (stops[j].pos <= t && t <= stops[j + 1].pos) return static_cast<std::ptrdiff_t>(j);
    }
    return -1;
}

// The colour at t between stops a and b, cosine-eased so it lingers near each key colour.
aColor blend(const detail::PaletteStop& a, const detail::PaletteStop& b, double t) {
    const double span = b.pos - a.pos;
    const double f = span > 0 ? (t - a.pos) / span : 0.0;
    const double w = (1.0 - std::cos(std::numbers::pi * f)) / 2.0;
    const double h = detail::interpolateHue(a.h, b.h, w);
    const double s = a.s + (b.s - a.s) * w;
    const double v = a.v + (b.v - a.v) * w;
    return detail::hsvToRgb(h, s, v);
}

}  // namespace

SeededRandom::SeededRandom(std::uint64_t seed) {
    for (auto& word : s_) word = splitmix64(seed);
}

std::uint64_t SeededRandom::next() { return xoshiroNext(s_); }

std::unique_ptr<RandomSource> makeSystemRandom() { return std::make_unique<SystemRandom>(); }

std::uint64_t randomBelow(RandomSource& rng, std::uint64_t n) {
    if (n == 0) fatal("random integer drawn from an empty range");
    Wide m = static_cast<Wide>(rng.next()) * n;
    if (static_cast<std::uint64_t>(m) < n) {
        // Words whose low product falls below t would make some results more likely.
        const std::uint64_t t = (0 - n) % n;
        while (static_cast<std::uint64_t>(m) < t) m = static_cast<Wide>(rng.next()) * n;
    }
    return static_cast<std::uint64_t>(m >> 64);
}

double randomHalfOpen(RandomSource& rng, double a, double b) {
    if (!(a < b)) fatal("random value drawn from an empty range");
    for (;;) {
        const double u = static_cast<double>(rng.next() & kLow53Bits) * kTwoToMinus53;
        const double x = a + (b - a) * u;
        if (x != b) return x;
    }
}

double randomClosed(RandomSource& rng, double a, double b) {
    if (!(a <= b)) fatal("random value drawn from an empty range");
    const std::uint64_t k = randomBelow(rng, kTwoTo53 + 1);
    if (k == kTwoTo53) return b;
    return a + (b - a) * (static_cast<double>(k) * kTwoToMinus53);
}

ColorTable smoothPalette(RandomSource& rng, int n) {
    requireCount(n);
    if (n < 1) return {};
    const std::uint64_t count = 3 + randomBelow(rng, 4);
    std::vector<detail::PaletteStop> stops;
    for (std::uint64_t i = 0; i < count; ++i) stops.push_back(drawStop(rng));
    return detail::smoothFromStops(std::move(stops), n);
}

ColorTable randomPalette(RandomSource& rng, int n) {
    requireCount(n);
    ColorTable table;
    table.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        aColor c;
        c.r = randomClosed(rng, 0.0, 1.0);
        c.g = randomClosed(rng, 0.0, 1.0);
        c.b = randomClosed(rng, 0.0, 1.0);
        table.push_back(c);
    }
    return table;
}

ColorTable generatePalette(PaletteMode mode, RandomSource& rng, int n) {
    return mode == PaletteMode::random ? randomPalette(rng, n) : smoothPalette(rng, n);
}

namespace detail {

ColorTable smoothFromStops(std::vector<PaletteStop> stops, int n) {
    requireCount(n);
    if (stops.empty()) fatal("smooth palette without stops");
    if (n < 1) return {};
    pinEnds(stops);
    ColorTable table;
    table.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const double t = static_cast<double>(i) / static_cast<double>(n);
        const std::ptrdiff_t j = segmentAt(stops, t);
        // No segment only happens with a single stop: blend it with itself.
        const auto& a = j < 0 ? stops.front() : stops[static_cast<std::size_t>(j)];
        const auto& b = j < 0 ? stops.back() : stops[static_cast<std::size_t>(j) + 1];
        table.push_back(blend(a, b, t));
    }
    return table;
}

double interpolateHue(double a, double b, double w) {
    double d = std::fmod(b - a, 360.0);
    if (d > 180.0) d -= 360.0;
    if (d < -180.0) d += 360.0;
    return wrapDegrees(a + d * w);
}

aColor hsvToRgb(double h, double s, double v) {
    h = wrapDegrees(h);
    const double c = v * s;
    const double sector = h / 60.0;
    const double sectorMod2 = sector - 2.0 * std::trunc(sector / 2.0);
    const double x = c * (1.0 - std::fabs(sectorMod2 - 1.0));
    const double m = v - c;
    if (h < 60.0) return {m + c, m + x, m};
    if (h < 120.0) return {m + x, m + c, m};
    if (h < 180.0) return {m, m + c, m + x};
    if (h < 240.0) return {m, m + x, m + c};
    if (h < 300.0) return {m + x, m, m + c};
    return {m + c, m, m + x};
}

}  // namespace detail
}  // namespace gs
