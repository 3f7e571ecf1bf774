#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "core/render_rows.h"

namespace gs {
namespace {

TEST(RenderRows, CurrentRenderRunsEveryRowOnce) {
    RenderGenerations generations;
    const RenderTicket ticket = generations.start(1);
    std::vector<std::atomic<int>> runs(500);
    EXPECT_TRUE(forEachCurrentRow(500, ticket, [&](int row) { runs[static_cast<std::size_t>(row)]++; }));
    for (const auto& r : runs) EXPECT_EQ(r.load(), 1);
    // A ticket without a generation sequence is always current.
    std::atomic<int> count{0};
    EXPECT_TRUE(forEachCurrentRow(7, RenderTicket{}, [&](int) { ++count; }));
    EXPECT_EQ(count, 7);
}

TEST(RenderRows, SupersededRenderStopsTakingRows) {
    RenderGenerations generations;
    const RenderTicket old = generations.start(1);
    std::atomic<int> ran{0};
    // A newer render starts while the tenth row is computed: the workers finish the rows they
    // hold and take no more.
    const bool complete = forEachCurrentRow(100000, old, [&](int) {
        if (ran.fetch_add(1) == 9) generations.start(2);
    });
    EXPECT_FALSE(complete);
    EXPECT_LT(ran.load(), 100);
    EXPECT_FALSE(old.current());
    EXPECT_TRUE(generations.start(3).current());
    // A render started after the newer one already finished its rows is not current either.
    EXPECT_FALSE(forEachCurrentRow(3, old, [](int) {}));
}

}  // namespace
}  // namespace gs
