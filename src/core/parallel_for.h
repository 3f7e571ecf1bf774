// tbb::parallel_for as ThreadSanitizer should see it. oneTBB's library is not built with the
// sanitizer, so the hand-over of chunks to its worker threads and the wait for them happen where
// the sanitizer cannot see. In a ThreadSanitizer build each chunk therefore acquires what the
// calling thread did before the loop, and the caller acquires what every chunk did once the loop
// is over. Chunks never acquire from one another, so races between workers are still reported.
// In every other build this is tbb::parallel_for itself. executeIn does the same for
// tbb::task_arena::execute, which may run its function on one of the arena's threads.
#pragma once

#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <utility>

#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void* addr);
extern "C" void __tsan_release(void* addr);
#endif

namespace gs {

template <class Range, class Body, class... Options>
void parallelFor(const Range& range, const Body& body, Options&&... options) {
#if defined(__SANITIZE_THREAD__)
    char started = 0, finished = 0;
    __tsan_release(&started);
    tbb::parallel_for(
        range,
        [&](const Range& chunk) {
            __tsan_acquire(&started);
            body(chunk);
            __tsan_release(&finished);
        },
        std::forward<Options>(options)...);
    __tsan_acquire(&finished);
#else
    tbb::parallel_for(range, body, std::forward<Options>(options)...);
#endif
}

template <class Fn>
void executeIn(tbb::task_arena& arena, const Fn& fn) {
#if defined(__SANITIZE_THREAD__)
    char handedOver = 0;
    __tsan_release(&handedOver);
    arena.execute([&] {
        __tsan_acquire(&handedOver);
        fn();
        __tsan_release(&handedOver);
    });
    __tsan_acquire(&handedOver);
#else
    arena.execute(fn);
#endif
}

}  // namespace gs
