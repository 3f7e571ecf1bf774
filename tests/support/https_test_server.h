// An HTTPS server on the loopback for the online library tests of the library and of the window.
// Its certificate is made by openssl for each server and trusted by the program's network while
// the server lives.
#pragma once

#include <QHash>
#include <QSslServer>
#include <QTemporaryDir>
#include <QUrl>
#include <chrono>

#include "library/online_library.h"

class QSslSocket;

namespace gs::test {

// Short download limits, so that hostile answers end within a second; under a sanitizer every
// step is several times slower, and an import meant to succeed must not run into them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr auto kShortStall = std::chrono::milliseconds(1200), kShortTotal = std::chrono::milliseconds(4000);
#else
inline constexpr auto kShortStall = std::chrono::milliseconds(300), kShortTotal = std::chrono::milliseconds(1000);
#endif
inline const OnlineLibraryLimits kShortLimits{{64 << 10, kShortStall, kShortTotal}, {4 << 10, kShortStall, kShortTotal}};

// How the server answers a path; a path it does not know gets 404 "Not Found".
enum class Answer {
    body,     // 200 with the body and its length
    hangUp,   // drops the connection without a word
    silence,  // keeps the connection open and never answers
    endless,  // streams bytes without a length until the client gives up
};

class HttpsTestServer {
public:
    HttpsTestServer();
    ~HttpsTestServer();

    bool ready() const { return ready_; }
    QUrl origin() const { return QUrl(QStringLiteral("https://127.0.0.1:%1").arg(server_.serverPort())); }

    void serve(const QString& path, const QByteArray& body) { routes_[path] = {Answer::body, body}; }
    void answer(const QString& path, Answer answer) { routes_[path] = {answer, {}}; }
    // Holds every answer until this many requests have arrived, to prove they run in parallel.
    void holdAnswersUntil(int requests) { holdUntil_ = requests; }
    // How much the endless answers have sent in all before their clients gave up.
    qint64 streamedBytes() const { return streamed_; }

private:
    struct Route {
        Answer answer;
        QByteArray body;
    };
    void received(QSslSocket* socket, const QString& path);
    void respond(QSslSocket* socket, const QString& path);
    void stream(QSslSocket* socket);

    QTemporaryDir dir_;
    QSslServer server_;
    bool ready_ = false;
    QHash<QString, Route> routes_;
    int requests_ = 0;
    int holdUntil_ = 0;
    qint64 streamed_ = 0;
    std::vector<std::pair<QSslSocket*, QString>> held_;
};

// The QCoreApplication that networking needs, made once per test program.
void ensureApplication();

}  // namespace gs::test
