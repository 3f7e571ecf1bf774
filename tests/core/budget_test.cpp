#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>

#include "core/budget.h"

namespace gs {
namespace {

Viewport centredOn(double cx, double cy, double width) {
    return {cx - width / 2, cx + width / 2, cy - width * 0.375, cy + width * 0.375};
}

TEST(BudgetCeiling, FollowsTheZoom) {
    const std::pair<double, std::int64_t> cases[] = {{4.0, 255},           // home
                                                     {8.0, 255},           // wider: ratio raised to 1
                                                     {2.0, 355},           // one halving: +100
                                                     {4.0 / 1024, 1255},   // ten halvings
                                                     {4.0 / 4.9e15, 5467},  // just inside the zoom limit
                                                     {4e-30, 8000}};       // capped
    for (auto [w, ceiling] : cases) EXPECT_EQ(iterationCeiling(Viewport{0, w, 0, w * 0.75}), ceiling) << w;
    EXPECT_DEATH(iterationCeiling(Viewport{1.0, 1.0, 0.0, 1.0}), "iteration ceiling");
}

TEST(BudgetZoom, LevelAndALimitStrictAtFiveTimesTenToTheFifteen) {
    EXPECT_EQ(zoomLevel(centredOn(0, 0, 1.6)), 2.5);
    EXPECT_TRUE(zoomWithinLimit(4.0 / 4.9e15));
    for (double width : {4.0 / 5e15, 4.0 / 6e15, 0.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(zoomWithinLimit(width)) << width;
}

// The status texts are the same in every locale; the comma-decimal one shows that they do not
// go through the C library's locale-dependent formatting.
class BudgetStatus : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!std::setlocale(LC_ALL, GetParam()))
            GTEST_SKIP() << GetParam() << " is not installed here (make deps generates it)";
        char probe[8];
        std::snprintf(probe, sizeof probe, "%.1f", 0.5);
        if (std::string_view(GetParam()) != "C") {
            ASSERT_STREQ(probe, "0,5");
        }
    }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

TEST_P(BudgetStatus, TextsFollowTheirFormatsInEveryLocale) {
    const std::pair<std::string, const char*> cases[] = {
        {zoomText(1.0), "1.0×"},
        {zoomText(999.9), "999.9×"},
        {zoomText(1000.0), "1.0×10³×"},
        {zoomText(123456.0), "1.2×10⁵×"},
        {zoomText(4.2e15), "4.2×10¹⁵×"},
        {centerText(centredOn(-0.75, 0.1, 1)), "-0.7500+0.1000i"},
        {centerText(centredOn(-0.75, -0.1, 1)), "-0.7500-0.1000i"},
        {centerText(kHomeView), "-0.5000+0.0000i"},
        {iterationsText(1255), "1255"},
        {renderTimeText(0.4249), "0.42s"},
        {renderTimeText(12.0), "12.00s"},
    };
    for (const auto& [text, want] : cases) EXPECT_EQ(text, want);
}

INSTANTIATE_TEST_SUITE_P(Locales, BudgetStatus, ::testing::Values("C", "de_DE.UTF-8"),
                         [](const auto& info) { return info.index == 0 ? "C" : "German"; });

}  // namespace
}  // namespace gs
