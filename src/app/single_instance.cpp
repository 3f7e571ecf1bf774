#include "app/single_instance.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QTimer>
#include <cerrno>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "app/app_id.h"
#include "app/hand_over_frame.h"

namespace gs {
namespace {

// Connections read at the same time; more are closed at once, so a flood cannot pile up.
constexpr int kMaxOpenConnections = 8;
constexpr int kConnectMs = 1000;

QString socketFileName() {
    return QString::fromLatin1(kApplicationId) + QStringLiteral(".socket");
}

// A folder only this user can enter: made when missing; refused when it is a symbolic link,
// not a folder, or someone else's. Our own folder with looser permissions is tightened.
bool ensurePrivateDir(const QString& dir) {
    const QByteArray path = QFile::encodeName(dir);
    if (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST) return false;
    struct stat info;
    if (::lstat(path.constData(), &info) != 0) return false;
    if (!S_ISDIR(info.st_mode) || info.st_uid != ::geteuid()) return false;
    return (info.st_mode & 077) == 0 || ::chmod(path.constData(), 0700) == 0;
}

}  // namespace

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent), socketPath_(std::move(socketPath)) {}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultSocketPath() {
    const QString runtimeDir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QDir::isAbsolutePath(runtimeDir) && QFileInfo(runtimeDir).isDir())
        return runtimeDir + u'/' + socketFileName();
    const QString privateDir =
        QDir::tempPath() + QStringLiteral("/glimmerscape-") + QString::number(::geteuid());
    return ensurePrivateDir(privateDir) ? privateDir + u'/' + socketFileName() : QString();
}

QByteArray SingleInstance::activationTokenFromEnvironment() {
    const QByteArray token = qgetenv("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qgetenv("DESKTOP_STARTUP_ID") : token;
}

void SingleInstance::setTimeouts(int answerMs, int deliveryMs) {
    answerMs_ = answerMs;
    deliveryMs_ = deliveryMs;
}

SingleInstance::Outcome SingleInstance::start(const QString& link,
                                              const QByteArray& activationToken) {
    if (socketPath_.isEmpty()) return Outcome::standalone;
    // A link too long to send is no link: the running window still comes forward.
    QByteArray frame = encodeHandOverFrame({link, activationToken});
    if (frame.isEmpty()) frame = encodeHandOverFrame({QString(), activationToken});

    // Starts racing each other queue on a lock beside the socket, so exactly one listens and
    // the others find it. Without the lock (an odd file system) the start goes on regardless.
    QLockFile lock(socketPath_ + QStringLiteral(".lock"));
    lock.tryLock(answerMs_);
    return listenOrDeliver(frame);
}

SingleInstance::Outcome SingleInstance::listenOrDeliver(const QByteArray& frame) {
    switch (deliver(frame)) {
    case Delivery::delivered: return Outcome::handedOver;
    case Delivery::noAnswer: return Outcome::standalone;
    case Delivery::noServer: break;
    }
    return listen() ? Outcome::listening : Outcome::standalone;
}

SingleInstance::Delivery SingleInstance::deliver(const QByteArray& frame) {
    QLocalSocket socket;
    socket.connectToServer(socketPath_);
    if (!socket.waitForConnected(kConnectMs)) {
        // A full backlog means an instance that is alive but not accepting.
        return socket.error() == QLocalSocket::SocketTimeoutError ? Delivery::noAnswer
                                                                  : Delivery::noServer;
    }
    socket.write(frame);
    socket.flush();

    // The running instance may live in this very thread (tests), so wait in an event loop.
    QEventLoop loop;
    connect(&socket, &QLocalSocket::readyRead, &loop, &QEventLoop::quit);
    connect(&socket, &QLocalSocket::disconnected, &loop, &QEventLoop::quit);
    QTimer::singleShot(answerMs_, &loop, &QEventLoop::quit);
    if (socket.bytesAvailable() == 0) loop.exec();
    char answer = 0;
    return socket.getChar(&answer) && answer == kHandOverAck ? Delivery::delivered
                                                             : Delivery::noAnswer;
}

bool SingleInstance::listen() {
    // Nobody answered: a socket file still there was left by an instance that crashed.
    QLocalServer::removeServer(socketPath_);
    auto server = std::make_unique<QLocalServer>(this);
    if (!server->listen(socketPath_)) return false;
    connect(server.get(), &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
    server_ = server.release();
    return true;
}

void SingleInstance::acceptConnections() {
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
        if (openConnections_ >= kMaxOpenConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        serve(socket);
    }
}

// Reads one frame from the connection, at most one frame's worth of bytes plus one. A sender
// that stalls is cut off after the delivery time; one that sends anything but a valid frame
// is cut off at once. Only a whole, valid frame is answered and passed on.
void SingleInstance::serve(QLocalSocket* socket) {
    ++openConnections_;
    connect(socket, &QObject::destroyed, this, [this] { --openConnections_; });
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    QTimer::singleShot(deliveryMs_, socket, [socket] { socket->abort(); });
    socket->setReadBufferSize(kHandOverMaxFrame + 1);

    auto received = std::make_shared<QByteArray>();
    connect(socket, &QLocalSocket::readyRead, this, [this, socket, received] {
        *received += socket->read(kHandOverMaxFrame + 1 - received->size());
        HandOverMessage message;
        switch (readHandOverFrame(*received, &message)) {
        case HandOverFrameStatus::incomplete: return;
        case HandOverFrameStatus::invalid: socket->abort(); return;
        case HandOverFrameStatus::complete: break;
        }
        disconnect(socket, &QLocalSocket::readyRead, this, nullptr);
        socket->putChar(kHandOverAck);
        socket->flush();
        socket->disconnectFromServer();
        Q_EMIT activationRequested(message.activationToken);
        if (!message.link.isEmpty()) Q_EMIT linkReceived(message.link);
    });
}

}  // namespace gs
