#include "library_fetch.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <memory>

namespace gs {
namespace {

// Qt buffers at most this much of a body ahead of our reading it.
constexpr qint64 kReadAheadBytes = 64 * 1024;

// Errors that a complete HTTP answer carries (4xx and 5xx): its body still counts.
bool isAnswerWithStatus(const QNetworkReply& reply) {
    const QNetworkReply::NetworkError e = reply.error();
    const bool httpLevel = (e >= QNetworkReply::ContentAccessDenied &&
                            e <= QNetworkReply::UnknownContentError) ||
                           (e >= QNetworkReply::InternalServerError &&
                            e <= QNetworkReply::UnknownServerError);
    return e == QNetworkReply::NoError ||
           (httpLevel && reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid());
}

bool isReadableLocation(const QUrl& url) {
    if (!url.isLocalFile()) return url.isValid();
    const QFileInfo file(url.toLocalFile());
    return file.isFile() && file.isReadable();  // no FIFOs or devices that never end
}

QNetworkRequest makeRequest(const QUrl& url, const FetchLimits& limits) {
    QNetworkRequest request(url);
    request.setTransferTimeout(static_cast<int>(limits.stallTimeout.count()));
    // Ask for the body as it is: the cap then counts the bytes that are kept, and a small
    // compressed body cannot unpack into a huge one.
    request.setRawHeader("Accept-Encoding", "identity");
    request.setMaximumRedirectsAllowed(5);
    return request;
}

// The state of one download, shared by its signal handlers.
struct Download {
    QByteArray body;
    qint64 cap = 0;
    bool tooLong = false;
};

void watch(QNetworkReply* reply, const FetchLimits& limits, QObject* context, FetchDone done) {
    auto download = std::make_shared<Download>();
    download->cap = limits.maxBodyBytes;
    const auto refuse = [reply, download] {
        download->tooLong = true;
        reply->abort();
    };
    QObject::connect(reply, &QNetworkReply::metaDataChanged, context, [reply, download, refuse] {
        const QVariant declared = reply->header(QNetworkRequest::ContentLengthHeader);
        if (declared.isValid() && declared.toLongLong() > download->cap) refuse();
    });
    QObject::connect(reply, &QNetworkReply::readyRead, context, [reply, download, refuse] {
        download->body += reply->read(download->cap + 1 - download->body.size());
        if (download->body.size() > download->cap) refuse();
    });
    QObject::connect(reply, &QNetworkReply::finished, context, [reply, download, done] {
        if (!download->tooLong && reply->isOpen())
            download->body += reply->read(download->cap + 1 - download->body.size());
        const bool ok = !download->tooLong && download->body.size() <= download->cap &&
                        !download->body.isEmpty() && isAnswerWithStatus(*reply);
        reply->deleteLater();
        done(ok ? std::optional(std::move(download->body)) : std::nullopt);
    });
    auto* deadline = new QTimer(reply);
    deadline->setSingleShot(true);
    QObject::connect(deadline, &QTimer::timeout, reply, &QNetworkReply::abort);
    deadline->start(limits.totalTimeout);
    // When the caller goes away, its handlers go with it; the download is abandoned.
    QObject::connect(context, &QObject::destroyed, reply, [reply] {
        reply->disconnect();
        reply->abort();
        reply->deleteLater();
    });
}

}  // namespace

QNetworkAccessManager& libraryNetwork() {
    static QPointer<QNetworkAccessManager> manager;
    if (!manager) manager = new QNetworkAccessManager(QCoreApplication::instance());
    return *manager;
}

void LibraryRequest::cancel() {
    if (!reply_) return;
    QObject::disconnect(reply_, nullptr, context_, nullptr);
    reply_->abort();
    reply_->deleteLater();
    reply_.clear();
}

LibraryRequest fetchLibraryFile(const QUrl& url, const FetchLimits& limits, QObject* context,
                                FetchDone done) {
    if (!isReadableLocation(url)) {
        QTimer::singleShot(0, context, [done = std::move(done)] { done(std::nullopt); });
        return {};
    }
    QNetworkReply* reply = libraryNetwork().get(makeRequest(url, limits));
    reply->setReadBufferSize(kReadAheadBytes);
    watch(reply, limits, context, std::move(done));
    return LibraryRequest(reply, context);
}

}  // namespace gs
