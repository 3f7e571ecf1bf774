#include "support/https_test_server.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QSslKey>
#include <QSslSocket>
#include <cstdlib>

#include "library/library_fetch.h"
#include "library/tls_setup.h"

namespace gs::test {
namespace {

constexpr qint64 kChunk = 16 * 1024;
constexpr qint64 kMostStreamed = 64 << 20;  // an endless answer stops here in any case

// OpenSSL set up as the program sets it up in main(), before any test (or this server's own
// members) reaches Qt's TLS backend: every program that links this server makes HTTPS requests.
[[maybe_unused]] const bool tlsReady = (initialiseTls(), true);

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

void ensureApplication() {
    static int argc = 1;
    static char name[] = "library_tests";
    static char* argv[] = {name, nullptr};
    if (QCoreApplication::instance()) return;
    new QCoreApplication(argc, argv);
    // Deleting the application deletes the network with it, which ends the network's own
    // thread; left to the end of the process, that thread races the static destructors.
    std::atexit([] { delete QCoreApplication::instance(); });
}

HttpsTestServer::HttpsTestServer() {
    ensureApplication();
    QProcess openssl;
    openssl.setWorkingDirectory(dir_.path());
    openssl.start(QStringLiteral("openssl"),
                  QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes "
                                 "-keyout key.pem -out cert.pem -days 2 -subj /CN=127.0.0.1 "
                                 "-addext subjectAltName=IP:127.0.0.1")
                      .split(QLatin1Char(' ')));
    const bool made = openssl.waitForFinished(20000) && openssl.exitCode() == 0;
    const auto certificates = QSslCertificate::fromData(readFile(dir_.filePath(QStringLiteral("cert.pem"))));
    if (!made || certificates.isEmpty()) {
        ADD_FAILURE() << "openssl could not make the test certificate";
        return;
    }
    QSslConfiguration serverConfig = QSslConfiguration::defaultConfiguration();
    serverConfig.setLocalCertificateChain(certificates);
    serverConfig.setPrivateKey(QSslKey(readFile(dir_.filePath(QStringLiteral("key.pem"))), QSsl::Ec));
    server_.setSslConfiguration(serverConfig);
    // The client trusts this certificate from now on; connections made under an earlier one
    // must not be reused.
    QSslConfiguration clientConfig = QSslConfiguration::defaultConfiguration();
    clientConfig.addCaCertificates(certificates);
    QSslConfiguration::setDefaultConfiguration(clientConfig);
    libraryNetwork().clearConnectionCache();

    QObject::connect(&server_, &QTcpServer::pendingConnectionAvailable, &server_, [this] {
        while (auto* socket = static_cast<QSslSocket*>(server_.nextPendingConnection())) {
            QObject::connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QSslSocket::readyRead, socket, [this, socket] {
                // Requests are small and arrive whole: "GET /path HTTP/1.1\r\n…\r\n\r\n".
                const QList<QByteArray> words = socket->readAll().split(' ');
                if (words.size() > 1) received(socket, QUrl::fromPercentEncoding(words[1]));
            });
        }
    });
    ready_ = server_.listen(QHostAddress::LocalHost);
    if (!ready_) ADD_FAILURE() << "the test server could not listen";
}

HttpsTestServer::~HttpsTestServer() {
    server_.close();
    libraryNetwork().clearConnectionCache();
}

void HttpsTestServer::received(QSslSocket* socket, const QString& path) {
    held_.emplace_back(socket, path);
    if (++requests_ < holdUntil_) return;
    for (const auto& [heldSocket, heldPath] : std::exchange(held_, {})) respond(heldSocket, heldPath);
}

void HttpsTestServer::respond(QSslSocket* socket, const QString& path) {
    const Route route = routes_.value(path, {Answer::body, "Not Found"});
    switch (route.answer) {
    case Answer::body:
        socket->write((routes_.contains(path) ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 404 Not Found\r\n") +
                      QByteArray("Content-Length: ") + QByteArray::number(route.body.size()) +
                      "\r\nConnection: close\r\n\r\n" + route.body);
        socket->disconnectFromHost();
        break;
    case Answer::hangUp: socket->abort(); break;
    case Answer::silence: break;
    case Answer::endless:
        socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
        stream(socket);
        break;
    }
}

// Writes a chunk whenever the last has left, until the client hangs up (or, at the latest,
// after kMostStreamed bytes).
void HttpsTestServer::stream(QSslSocket* socket) {
    const qint64 start = streamed_;
    const auto more = [this, socket, start] {
        if (socket->encryptedBytesToWrite() + socket->bytesToWrite() > kChunk) return;
        if (streamed_ - start > kMostStreamed) return;
        socket->write(QByteArray(kChunk, '7'));
        streamed_ += kChunk;
    };
    QObject::connect(socket, &QSslSocket::encryptedBytesWritten, socket, more);
    more();
}

}  // namespace gs::test
