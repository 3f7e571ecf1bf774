#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "core/kernel.h"

namespace gs {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

EscapeResult mandel(std::int32_t maxIter, double x, double y) {
    EscapeResult r;
    mandelbrotPoint(maxIter, r, x, y, 0, 0);
    return r;
}

void expectInterior(const EscapeResult& r, std::int32_t maxIter) {
    EXPECT_EQ(r.nu, static_cast<double>(maxIter));
    EXPECT_EQ(r.distance, 0.0);
    EXPECT_EQ(r.trapDistance, 0.0);
}

std::uint64_t iterationsFor(bool julia, std::int32_t maxIter, double x, double y, double jr = 0,
                            double ji = 0) {
    SpanInput in{maxIter, &x, y, 1, julia, jr, ji};
    EscapeResult r;
    std::uint64_t n = 0;
    escapeSpanScalar(in, &r, &n);
    return n;
}

// Points that come out interior, and the most steps each may take to get there: the cardioid
// and bulb shortcuts, ceilings below one, NaN coordinates, and attracting cycles caught early
// (c = -1 has the 2-cycle {0, -1}, the rabbit c = -0.122 + 0.745i a 3-cycle; a Mandelbrot point
// in the period-3 bulb is not covered by the shortcut).
TEST(KernelScalar, InteriorPointsAndTheStepsTheyTake) {
    const struct {
        const char* what;
        bool julia;
        std::int32_t maxIter;
        double x, y, cr, ci;
        std::uint64_t most;
    } cases[] = {{"cardioid", false, 255, 0, 0, 0, 0, 0},
                 {"period-2 bulb", false, 255, -1, 0, 0, 0, 0},
                 {"ceiling 0", false, 0, 2, 0, 0, 0, 0},
                 {"julia ceiling 0", true, 0, 5, 5, 0, 0, 0},
                 {"nan x", false, 300, kNaN, 0, 0, 0, 300},
                 {"nan y", false, 300, 0.3, kNaN, 0, 0, 300},
                 {"julia nan", true, 300, kNaN, 0, -1, 0, 300},
                 {"basilica 2-cycle", true, 1000000, 0.1, 0.05, -1, 0, 1000},
                 {"rabbit 3-cycle", true, 1000000, 0.05, 0.02, -0.122, 0.745, 5000},
                 {"period-3 bulb", false, 1000000, -0.122, 0.745, 0, 0, 5000}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EscapeResult r;
        if (c.julia) juliaPoint(c.maxIter, r, c.x, c.y, c.cr, c.ci);
        else mandelbrotPoint(c.maxIter, r, c.x, c.y, 0, 0);
        expectInterior(r, c.maxIter);
        EXPECT_LE(iterationsFor(c.julia, c.maxIter, c.x, c.y, c.cr, c.ci), c.most);
    }
    EscapeResult r;  // the shortcut looks only at c, even with a non-zero z0
    mandelbrotPoint(100, r, 0, 0, 5, 5);
    expectInterior(r, 100);
}

TEST(KernelScalar, EscapesOnTheRightStep) {
    // z = 2, 6, 38, 1446: |z|^2 passes 65536 at step 4.
    const EscapeResult r = mandel(255, 2, 0);
    EXPECT_NEAR(r.nu, 5.0 - std::log2(std::log(1446.0)), 1e-12);
    EXPECT_EQ(iterationsFor(false, 255, 2, 0), 4u);
    EXPECT_EQ(r.trapDistance, 0.0);  // the orbit stays on the real axis
    EXPECT_GT(r.distance, 0.0);
    // Escaping on the very last permitted step stays just below the interior value.
    EXPECT_EQ(mandel(4, 2, 0).nu, 3.5);
    expectInterior(mandel(3, 2, 0), 3);
    // Escaping on the first step, off the axes, leaves a finite trap distance.
    EXPECT_EQ(iterationsFor(false, 255, 300, 200), 1u);
    EXPECT_EQ(mandel(255, 300, 200).trapDistance, 200.0);
    EXPECT_TRUE(std::isfinite(mandel(255, 300, 200).distance));
}

TEST(KernelScalar, DerivativeOverflowZeroesDistanceOnly) {
    // On the Julia set of c = -2 the fixed point 2 repels with multiplier 4: a subnormal
    // offset needs ~530 steps to escape while the derivative passes 1e308 first.
    EscapeResult r;
    juliaPoint(5000, r, 2.0, 1e-320, -2.0, 0.0);
    EXPECT_GT(r.nu, 500.0);
    EXPECT_LT(r.nu, 5000.0);
    EXPECT_EQ(r.distance, 0.0);
    EXPECT_TRUE(std::isfinite(r.trapDistance));
}

// A table of regions: every compiled SIMD target must give the scalar kernel's bits.
struct Region {
    std::string name;
    double cx, cy, width;
    std::int32_t maxIter;
    bool julia = false;
    double jr = 0, ji = 0;
    int w = 41, h = 23;  // odd sizes on purpose: lanes are refilled mid-row
};

std::ostream& operator<<(std::ostream& os, const Region& r) { return os << r.name; }

class KernelSimdMatchesScalar : public ::testing::TestWithParam<Region> {};

TEST_P(KernelSimdMatchesScalar, OnEveryTarget) {
    const Region& g = GetParam();
    const double height = g.width * 0.75;
    const double dx = g.width / g.w, dy = height / g.h;
    const double xmin = g.cx - g.width / 2, ymax = g.cy + height / 2;
    std::vector<double> xs(static_cast<std::size_t>(g.w));
    std::vector<EscapeResult> want(xs.size()), got(xs.size());
    const std::int64_t targets = detail::compiledTargets();
    ASSERT_NE(targets, 0);
    int checked = 0;
    for (int row = 0; row < g.h; ++row) {
        for (int col = 0; col < g.w; ++col) xs[static_cast<std::size_t>(col)] = xmin + dx * col;
        if (g.name == "nan_row" && row % 3 == 0) xs[5] = kNaN;
        const double y = (g.name == "nan_row" && row == 1) ? kNaN : ymax - dy * row;
        const SpanInput in{g.maxIter, xs.data(), y, g.w, g.julia, g.jr, g.ji};
        escapeSpanScalar(in, want.data());
        for (std::int64_t t = targets; t != 0; t &= t - 1) {
            const std::int64_t target = t & -t;
            for (const bool replay : {false, true}) {
                std::fill(got.begin(), got.end(), EscapeResult{-1, -1, -1});
                ASSERT_TRUE(detail::escapeSpanOnTarget(target, in, got.data(), replay));
                for (int col = 0; col < g.w; ++col) {
                    const auto i = static_cast<std::size_t>(col);
                    ASSERT_EQ(got[i], want[i])
                        << detail::targetName(target) << (replay ? " (replayed)" : "") << " row "
                        << row << " col " << col << ": nu " << got[i].nu << " vs " << want[i].nu
                        << ", distance " << got[i].distance << " vs " << want[i].distance;
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Regions, KernelSimdMatchesScalar,
    ::testing::Values(
        Region{"home", -0.5, 0.0, 4.0, 255},
        Region{"seahorse_valley", -0.745, 0.1, 0.02, 1000},
        Region{"elephant_valley", 0.275, 0.006, 0.01, 1200},
        Region{"scene_b", -0.743643887037151, 0.131825904205330, 4e-6, 2248},
        Region{"scene_c", -0.743643887037151, 0.131825904205330, 4e-13, 3185},
        Region{"near_1e15", -0.743643887037151, 0.131825904205330, 4e-15, 3919},
        Region{"period_3_bulb", -0.122, 0.745, 0.05, 3000},
        Region{"period_5_bulb", -0.5043, 0.5628, 0.01, 4000},
        Region{"julia_basilica", 0.0, 0.0, 3.2, 2000, true, -1.0, 0.0},
        Region{"julia_rabbit", 0.0, 0.0, 3.2, 2000, true, -0.122, 0.745},
        Region{"julia_dendrite", 0.0, 0.0, 3.2, 500, true, 0.0, 1.0},
        Region{"julia_cusp", 0.0, 0.0, 3.2, 3000, true, 0.25, 0.0},
        Region{"nan_row", -0.5, 0.0, 4.0, 200},
        Region{"ceiling_0", -0.5, 0.0, 4.0, 0},
        Region{"ceiling_1", -0.5, 0.0, 4.0, 1},
        Region{"ceiling_negative", -0.5, 0.0, 4.0, -7},
        Region{"ceiling_2", -1.9, 0.0, 0.5, 2},
        Region{"one_pixel_wide", -0.745, 0.1, 0.02, 800, false, 0, 0, 1, 9},
        // Around the lockstep warm-up (up to 32 steps, only under a higher ceiling) and its
        // blocks of pixels (a long row spans several, with an odd tail).
        Region{"ceiling_32_no_warm_up", -0.5, 0.0, 4.0, 32},
        Region{"ceiling_33_just_above_warm_up", -0.5, 0.0, 4.0, 33},
        Region{"long_rows", -0.745, 0.1, 0.02, 1000, false, 0, 0, 301, 3},
        Region{"julia_long_rows", 0.0, 0.0, 3.2, 600, true, -0.8, 0.156, 301, 3},
        // Attracting cycles of period 1 to 7: matches, confirmations and checkpoints close
        // together, B recovered from A at every due confirmation.
        Region{"julia_attracting_fixed_point", 0.0, 0.0, 3.2, 2000, true, 0.2, 0.3},
        Region{"julia_superattracting_underflow", 0.0, 0.0, 3.2, 1000, true, 0.0, 0.0},
        Region{"julia_slow_2_cycle", 0.0, 0.0, 3.2, 3000, true, -0.7499, 0.0},
        Region{"period_3_airplane", -1.7549, 0.0, 0.01, 3000},
        Region{"period_4_real_axis", -1.3107, 0.0, 0.05, 3000},
        Region{"period_4_off_axis", 0.2822, 0.5301, 0.02, 3000},
        Region{"period_5_off_axis", 0.3795, 0.3346, 0.01, 4000},
        Region{"period_6_real_axis", -1.7729, 0.0, 0.003, 4000},
        Region{"period_7_real_axis", -1.9408, 0.0, 0.001, 4000},
        Region{"period_7_off_axis", 0.3668, 0.1478, 0.004, 4000},
        // Parabolic points: slow convergence, failed and repeated confirmations.
        Region{"julia_near_parabolic", 0.0, 0.0, 3.2, 3000, true, 0.2499, 0.0},
        Region{"parabolic_period_doubling", -1.25, 0.0, 0.01, 4000},
        Region{"parabolic_seahorse_neck", -0.75, 0.01, 0.004, 4000},
        Region{"parabolic_cusp_outside", 0.2505, 0.0, 0.001, 4000},
        Region{"parabolic_period_3_root", -0.125, 0.6495, 0.005, 4000},
        // Orbits that come back close with |A| >= 1 (landing on repelling cycles).
        Region{"misiurewicz_i", 0.0, 1.0, 1e-6, 3000},
        Region{"misiurewicz_minus_2", -2.0, 0.0, 1e-6, 3000},
        Region{"minibrot_with_repelling_returns", -1.7685, 0.0, 0.001, 4000}),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace gs
