// Event-loop helpers shared by the benchmarks that drive the real window offscreen.
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <chrono>
#include <functional>

namespace gs::bench {

using Clock = std::chrono::steady_clock;

// Runs the event loop for ms milliseconds. A precise timer: a coarse one may end a run up to
// 5 % late, which would add animation ticks.
inline void spin(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

// Runs the event loop until done() holds; false after timeoutMs.
inline bool spinUntil(const std::function<bool()>& done, int timeoutMs = 60000) {
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > timeoutMs) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

inline double ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

}  // namespace gs::bench
