// Entry point. With no arguments (or only Qt's own, such as -platform) it opens the explorer
// window; with a glimmerscape:// link it opens the window showing that link. One window serves
// the user: a later start hands its link to the running window and exits. `glimmerscape render
// ...`, `glimmerscape link ...`, --help and --version run on the command line without a display.
#include <unistd.h>

#include <QApplication>
#include <QCoreApplication>
#include <QProcessEnvironment>
#include <QTextStream>
#include <cstdio>

#include "app/app_id.h"
#include "app/cli.h"
#include "app/single_instance.h"
#include "library/tls_setup.h"
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

// Links handed over by later starts are shown at once, the window brought forward first.
void receiveLaterStarts(gs::SingleInstance& instance, gs::MacViewController& window) {
    QObject::connect(&instance, &gs::SingleInstance::activationRequested, &window,
                     [&window](const QByteArray& token) {
        if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token);  // Wayland lets it come forward
        if (window.isMinimized()) window.showNormal();
        window.raise();
        window.activateWindow();
    });
    QObject::connect(&instance, &gs::SingleInstance::linkReceived, &window,
                     [&window](const QString& link) { window.receiveIncomingURL(link); });
}

int runWindow(int argc, char** argv) {
    // Qt's platform plugins may take the start's activation token out of the environment.
    const QByteArray activationToken = gs::SingleInstance::activationTokenFromEnvironment();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("glimmerscape"));
    QApplication::setApplicationDisplayName(QStringLiteral("Glimmerscape"));
    QGuiApplication::setDesktopFileName(QString::fromLatin1(gs::kApplicationId));
    const QStringList rest = QApplication::arguments().mid(1);
    const bool hasLink = rest.size() == 1 && gs::isShareLinkArgument(rest[0]);
    if (!rest.isEmpty() && !hasLink) {  // something Qt did not take: report it as the command line does
        QTextStream out(stdout), err(stderr);
        return gs::runCommandLine(rest, out, err);
    }
    const QString link = hasLink ? rest[0].trimmed() : QString();
    gs::SingleInstance instance;
    if (instance.start(link, activationToken) == gs::SingleInstance::Outcome::handedOver) return 0;

    gs::style::applyWindowStyle(app);
    gs::MacViewController window;
    if (hasLink) window.pendingIncomingURL = link;  // shown once the window has appeared
    receiveLaterStarts(instance, window);
    window.show();
    return app.exec();
}

}  // namespace

int main(int argc, char** argv) {
    gs::initialiseTls();
    const QStringList args = argumentsOf(argc, argv);
    if (gs::wantsCommandLine(args)) return runCommandLine(argc, argv);
    // Qt would abort without a display: say what to do instead.
    if (!gs::windowSystemAvailable(args, QProcessEnvironment::systemEnvironment())) {
        std::fprintf(stderr, "%s\n", gs::kNoDisplayMessage);
        return 1;
    }
    return runWindow(argc, argv);
}
