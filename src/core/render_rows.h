// Rows of a render computed in parallel on oneTBB's pool, and dropped as soon as nobody will see
// them: every render has a generation, the thread that starts renders publishes the newest one,
// and a worker checks before each row that its render is still the newest. A superseded render
// therefore stops within a row's time instead of running to the end beside the new one.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace gs {

// A render's claim to the workers: current while no newer generation has started. Cheap to
// copy; workers may check it from any thread.
struct RenderTicket {
    std::shared_ptr<const std::atomic<std::int64_t>> newest;  // null: always current
    std::int64_t generation = 0;

    bool current() const {
        return !newest || newest->load(std::memory_order_acquire) == generation;
    }
};

// The newest generation of one sequence of renders (one view's), shared with their workers.
class RenderGenerations {
public:
    // Called by the thread that starts renders, for each new one: older tickets stop being
    // current.
    RenderTicket start(std::int64_t generation) {
        newest_->store(generation, std::memory_order_release);
        return {newest_, generation};
    }

private:
    std::shared_ptr<std::atomic<std::int64_t>> newest_ =
        std::make_shared<std::atomic<std::int64_t>>(-1);
};

// Calls rowFn(row) for rows 0 to height - 1 in parallel on oneTBB's pool, while the ticket is
// current: a worker that finds it superseded before a row takes no more rows (rows already
// started finish). Returns whether every row ran. rowFn runs on oneTBB's workers and the
// calling thread.
bool forEachCurrentRow(int height, const RenderTicket& ticket, const std::function<void(int)>& rowFn);

}  // namespace gs
