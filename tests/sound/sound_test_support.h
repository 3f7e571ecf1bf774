// The event loop the analyzer's queued hand-overs need, made once for the whole test program.
#pragma once

#include <QCoreApplication>

namespace gs {

inline QCoreApplication& testApplication() {
    static int argc = 1;
    static char name[] = "sound_tests";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return app;
}

}  // namespace gs
