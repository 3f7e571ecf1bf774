#include "render_rows.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/task_group.h>

#include "core/parallel_for.h"

namespace gs {

bool forEachCurrentRow(int height, const RenderTicket& ticket, const std::function<void(int)>& rowFn) {
    tbb::task_group_context context;
    std::atomic<bool> dropped{false};
    parallelFor(
        tbb::blocked_range<int>(0, height),
        [&](const tbb::blocked_range<int>& rows) {
            for (int row = rows.begin(); row != rows.end(); ++row) {
                if (!ticket.current()) {
                    dropped.store(true, std::memory_order_relaxed);
                    context.cancel_group_execution();  // the other workers take no new chunks
                    return;
                }
                rowFn(row);
            }
        },
        tbb::auto_partitioner(), context);
    return !dropped.load(std::memory_order_relaxed) && ticket.current();
}

}  // namespace gs
