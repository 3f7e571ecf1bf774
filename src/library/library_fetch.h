// Downloads for the online libraries: plain GET requests through the program's one
// QNetworkAccessManager, each with a size cap enforced while the body streams in and two
// timeouts, so a hostile or broken server can neither exhaust memory nor keep a request open.
// Everything here runs on the GUI thread; results arrive through its event loop.
#pragma once

#include <QByteArray>
#include <QNetworkReply>
#include <QPointer>
#include <QUrl>
#include <chrono>
#include <functional>
#include <optional>

class QNetworkAccessManager;

namespace gs {

struct FetchLimits {
    qint64 maxBodyBytes = 0;                // a longer body fails as soon as it is seen
    std::chrono::milliseconds stallTimeout;  // no bytes for this long: fail
    std::chrono::milliseconds totalTimeout;  // not complete after this long: fail
};

// A manifest lists a library; even thousands of entries stay far below 4 MiB.
inline constexpr FetchLimits kManifestFetchLimits{4 << 20, std::chrono::seconds(20),
                                                  std::chrono::seconds(60)};
// One palette or bookmark file is a few kilobytes.
inline constexpr FetchLimits kEntryFetchLimits{256 << 10, std::chrono::seconds(20),
                                               std::chrono::seconds(60)};

// The program's network manager, made on first use as a child of the application object.
QNetworkAccessManager& libraryNetwork();

// A download in flight. cancel() ends it without calling its completion.
class LibraryRequest {
public:
    LibraryRequest() = default;
    LibraryRequest(QNetworkReply* reply, QObject* context) : reply_(reply), context_(context) {}
    void cancel();

private:
    QPointer<QNetworkReply> reply_;
    QPointer<QObject> context_;
};

// Called once with the whole body, or with nothing when the request failed, timed out, passed
// the cap or brought no bytes. The status code is not examined: a body that arrives is handed
// on whatever the status, and the caller decides whether it decodes.
using FetchDone = std::function<void(std::optional<QByteArray> body)>;

// Starts a GET of url. `done` runs on the GUI thread through `context`: when context is
// destroyed first, the download is abandoned and done never runs. Only regular files are read
// from file:// addresses.
LibraryRequest fetchLibraryFile(const QUrl& url, const FetchLimits& limits, QObject* context,
                                FetchDone done);

}  // namespace gs
