// Entry point. With no arguments (or only Qt's own, such as -platform) it opens the explorer
// window; `glimmerscape render ...` renders from the command line without a display.
#include <QApplication>
#include <QCoreApplication>
#include <QTextStream>
#include <cstring>

#include "app/cli.h"
#include "ui/mac_view_controller.h"
#include "ui/window_style.h"

namespace {

// Commands come first on the command line; Qt's own options all begin with a dash.
bool wantsCommandLine(int argc, char** argv) {
    if (argc < 2) return false;
    const char* first = argv[1];
    return first[0] != '-' || std::strcmp(first, "--help") == 0 || std::strcmp(first, "-h") == 0;
}

int runCommandLine(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("glimmerscape"));
    QTextStream out(stdout), err(stderr);
    return gs::runCommandLine(QCoreApplication::arguments().mid(1), out, err);
}

int runWindow(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("glimmerscape"));
    QApplication::setApplicationDisplayName(QStringLiteral("Glimmerscape"));
    const QStringList rest = QApplication::arguments().mid(1);
    if (!rest.isEmpty()) {  // something Qt did not take: report it as the command line does
        QTextStream out(stdout), err(stderr);
        return gs::runCommandLine(rest, out, err);
    }
    gs::style::applyWindowStyle(app);
    gs::MacViewController window;
    window.show();
    return app.exec();
}

}  // namespace

int main(int argc, char** argv) {
    return wantsCommandLine(argc, argv) ? runCommandLine(argc, argv) : runWindow(argc, argv);
}
