// One window per user: a later start of the program hands its link to the window that is
// already running, over a local socket, and exits.
//
// Use in main, on the GUI thread, before the window is made:
//
//     const QByteArray token = gs::SingleInstance::activationTokenFromEnvironment();
//     QApplication app(argc, argv);
//     gs::SingleInstance instance;
//     if (instance.start(link, token) == gs::SingleInstance::Outcome::handedOver) return 0;
//     // Otherwise this process shows the window. Its own link waits until the window has
//     // appeared; later starts' requests arrive by signal:
//     connect(&instance, &gs::SingleInstance::activationRequested, [&](const QByteArray& t) {
//         if (!t.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", t);  // Wayland lets it come forward
//         window.raise();
//         window.activateWindow();
//     });
//     connect(&instance, &gs::SingleInstance::linkReceived, ...open the link...);
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class QLocalServer;
class QLocalSocket;

namespace gs {

class SingleInstance : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        listening,   // no other instance ran: this one now receives later starts' links
        handedOver,  // a running instance took the link: this process should exit
        standalone,  // no usable socket, or the running instance did not answer in time
    };

    // socketPath: where the socket lives; defaultSocketPath() unless a test says otherwise.
    explicit SingleInstance(QString socketPath = defaultSocketPath(), QObject* parent = nullptr);
    ~SingleInstance() override;

    // $XDG_RUNTIME_DIR/<application id>.socket. Without a usable runtime directory, the same
    // name in a private folder "glimmerscape-<uid>" of the temporary directory, made with
    // owner-only access; empty when no such folder can be had safely.
    static QString defaultSocketPath();

    // What the desktop gave this start to let the running window come to the front:
    // XDG_ACTIVATION_TOKEN (Wayland), else DESKTOP_STARTUP_ID (X11). Read it before the
    // QApplication is made: Qt's platform plugins may take these out of the environment.
    static QByteArray activationTokenFromEnvironment();

    // Hands link and token to a running instance, or, when none answers the socket, clears a
    // socket left by a crashed instance and listens on it. Runs a short local event loop while
    // it waits for the answer. Call once.
    Outcome start(const QString& link, const QByteArray& activationToken = {});

    // How long start() waits for the running instance's answer, and how long a connection may
    // take to deliver its whole message before it is dropped (milliseconds).
    void setTimeouts(int answerMs, int deliveryMs);

Q_SIGNALS:
    // A later start asked for the window to come forward, with its activation token (may be
    // empty). Emitted before linkReceived for the same start.
    void activationRequested(const QByteArray& activationToken);
    // A later start was given this link (raw text from its command line; not yet validated).
    void linkReceived(const QString& link);

private:
    enum class Delivery { delivered, noServer, noAnswer };

    Delivery deliver(const QByteArray& frame);
    Outcome listenOrDeliver(const QByteArray& frame);
    bool listen();
    void acceptConnections();
    void serve(QLocalSocket* socket);

    QString socketPath_;
    QLocalServer* server_ = nullptr;
    int answerMs_ = 3000;
    int deliveryMs_ = 5000;
    int openConnections_ = 0;
};

}  // namespace gs
