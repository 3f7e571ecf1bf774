// Entry point. With no arguments (or only Qt's own, such as -platform) it opens the explorer
// window; `glimmerscape render ...`, --help and --version run on the command line without a
// display.
#include <unistd.h>

#include <QApplication>
#include <QCoreApplication>
#include <QProcessEnvironment>
#include <QTextStream>
#include <cstdio>

#include "app/cli.h"
#include "ui/mac_view_controller.h"
#include "ui/window_style.h"

namespace {

QStringList argumentsOf(int argc, char** argv) {
    QStringList args;
    for (int i = 1; i < argc; ++i) args << QString::fromLocal8Bit(argv[i]);
    return args;
}

int runCommandLine(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("glimmerscape"));
    QTextStream out(stdout), err(stderr);
    return gs::runCommandLine(QCoreApplication::arguments().mid(1), out, err,
                              isatty(STDERR_FILENO) == 1);
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
    const QStringList args = argumentsOf(argc, argv);
    if (gs::wantsCommandLine(args)) return runCommandLine(argc, argv);
    // Qt would abort without a display: say what to do instead.
    if (!gs::windowSystemAvailable(args, QProcessEnvironment::systemEnvironment())) {
        std::fprintf(stderr, "%s\n", gs::kNoDisplayMessage);
        return 1;
    }
    return runWindow(argc, argv);
}
