// ThreadSanitizer after a QProcess: a worker thread and the main thread take turns writing the
// same memory, handed over by a std::atomic (release on hand-over, acquire on pick-up), so every
// access is ordered. Run as it is, ThreadSanitizer is silent. With an argument, the main thread
// starts `true` through QProcess once, between two of its turns, and ThreadSanitizer reports the
// worker's next access as a race with the main thread's write before the child started.
//
// Qt 6.4 starts a child with a raw clone(CLONE_VM | CLONE_VFORK): the child runs in the
// parent's memory until it execs, and its calls through the sanitizer's interceptors change the
// parent's state behind its back (the sanitizer turns vfork into fork, but never sees this
// clone). The export tests therefore start ffmpeg and ffprobe with posix_spawn
// (tests/support/run_program.h); with that instead of QProcess the report goes away.
//
//   g++ -std=c++20 -O1 -g -fsanitize=thread -fPIC $(pkg-config --cflags Qt6Core) \
//       tools/sanitizers/qprocess_clone_race.cpp -o /tmp/qprocess_clone_race $(pkg-config --libs Qt6Core)
//   /tmp/qprocess_clone_race        # no report
//   /tmp/qprocess_clone_race child  # "WARNING: ThreadSanitizer: data race"
#include <QProcess>
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

std::vector<int> shared(1000);
std::atomic<int> turn{0};  // 0: the main thread's, 1: the worker's, 2: stop

void startChild() {
    QProcess child;
    child.start(QStringLiteral("true"), {});
    child.waitForFinished(60000);
}

}  // namespace

int main(int argc, char**) {
    std::thread worker([] {
        for (;;) {
            int t;
            while ((t = turn.load(std::memory_order_acquire)) == 0) std::this_thread::yield();
            if (t == 2) return;
            for (int& v : shared) v += 1;
            turn.store(0, std::memory_order_release);
        }
    });
    for (int round = 0; round < 3; ++round) {
        for (int& v : shared) v += 1;
        if (argc > 1 && round == 1) startChild();
        turn.store(1, std::memory_order_release);
        while (turn.load(std::memory_order_acquire) != 0) std::this_thread::yield();
    }
    turn.store(2, std::memory_order_release);
    worker.join();
    std::printf("%d\n", shared[0]);
}
