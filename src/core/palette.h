// Colour tables and the two palette generators.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace gs {

// One colour, channels nominally in 0..1 (a .map file may carry values outside).
struct aColor {
    double r = 0, g = 0, b = 0;
    friend bool operator==(const aColor&, const aColor&) = default;
};

// The palette: normally 256 entries, index 0 at the start of the cycle.
using ColorTable = std::vector<aColor>;

enum class PaletteMode { smooth = 0, random = 1 };

// A source of 64-bit random words. The program uses the operating system's entropy; tests and
// the command line's --seed inject a seeded one.
class RandomSource {
public:
    virtual ~RandomSource() = default;
    virtual std::uint64_t next() = 0;
};

// A fast 64-bit generator (xoshiro256**) seeded from a 64-bit value through splitmix64.
class SeededRandom final : public RandomSource {
public:
    explicit SeededRandom(std::uint64_t seed);
    std::uint64_t next() override;

private:
    std::uint64_t s_[4];
};

// Seeded once from std::random_device; not reproducible.
std::unique_ptr<RandomSource> makeSystemRandom();

// Draws, exactly as the palette generators need them.
// Half-open [a, b): low 53 bits of one word times 2^-53, scaled; redrawn if it rounds to b.
double randomHalfOpen(RandomSource& rng, double a, double b);
// Closed [a, b]: k uniform in 0..2^53 (Lemire); b when k = 2^53, else a + (b - a) * k * 2^-53.
double randomClosed(RandomSource& rng, double a, double b);
// Uniform integer in 0..n-1 by Lemire's multiply-and-reject; n must be >= 1.
std::uint64_t randomBelow(RandomSource& rng, std::uint64_t n);

// A smooth palette of n colours from 3 to 6 random HSV stops (s, v >= 0.7), cosine-eased, hue
// along the shorter arc, last stop a copy of the first so the cycle closes. n < 1: empty.
ColorTable smoothPalette(RandomSource& rng, int n = 256);
// n unrelated colours, each channel closed-uniform in [0, 1]. n = 0: empty.
ColorTable randomPalette(RandomSource& rng, int n = 256);
// The generator for a mode: random for `random`, smooth otherwise.
ColorTable generatePalette(PaletteMode mode, RandomSource& rng, int n = 256);

// The smooth generator's steps after the draws, reachable for tests.
namespace detail {

// A key colour of a smooth palette: place along the cycle (0..1), hue in degrees, s and v 0..1.
struct PaletteStop {
    double pos = 0, h = 0, s = 0, v = 0;
};

// Builds n colours from stops in the order they were drawn: sorts them by pos (stable), pins the
// first at 0 and the last at 1 and gives the last the first's colour, then eases between them.
// stops must not be empty; n < 1 gives an empty table.
ColorTable smoothFromStops(std::vector<PaletteStop> stops, int n);

// The hue w (0..1) of the way from a to b degrees along the shorter arc, in [0, 360).
double interpolateHue(double a, double b, double w);

// HSV to RGB; h in degrees (wrapped into [0, 360) first), s and v in 0..1.
aColor hsvToRgb(double h, double s, double v);

}  // namespace detail

}  // namespace gs
