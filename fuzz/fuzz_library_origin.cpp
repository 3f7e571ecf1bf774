// The online library's addresses: the origin a user configures (setting or environment), and
// the entry addresses made from a server's manifest (a collection's path and an entry's file).
// Input: origin, NUL, path, NUL, file. An entry address never leaves its library's folder and
// never gains a query or a fragment from what the server sent.
#include <QByteArrayList>

#include "fuzz_support.h"
#include "library/library_location.h"

namespace {

using namespace gs;

void checkEntry(const QUrl& base, const QString& path, const QString& file) {
    const QUrl entry = libraryEntryUrl(base, path, file);
    if (!entry.isValid()) return;
    if (entry.scheme() != base.scheme() || entry.host() != base.host() || entry.port() != base.port())
        fuzz::broken("an entry address left the library's server");
    if (entry.hasQuery() || entry.hasFragment()) fuzz::broken("an entry address gained a query or fragment");
    const QString basePath = base.path(QUrl::FullyDecoded);
    const QString entryPath = entry.path(QUrl::FullyDecoded);
    if (!entryPath.startsWith(basePath)) fuzz::broken("an entry address left the library's folder");
    for (const QString& part : entryPath.mid(basePath.size()).split(QLatin1Char('/')))
        if (part == QLatin1String("..") || part == QLatin1String(".")) fuzz::broken("an entry address climbs");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayList parts = fuzz::bytes(data, size).split('\0');
    const auto origin = parseLibraryOrigin(QString::fromUtf8(parts[0]));
    if (!origin) return 0;
    const QString scheme = origin->scheme().toLower();
    if (scheme != QLatin1String("https") && scheme != QLatin1String("http") && scheme != QLatin1String("file"))
        fuzz::broken("an origin of another scheme was taken");
    if (origin->hasQuery() || origin->hasFragment()) fuzz::broken("an origin with a query or fragment was taken");
    const QString path = parts.size() > 1 ? QString::fromUtf8(parts[1]) : QString();
    const QString file = parts.size() > 2 ? QString::fromUtf8(parts[2]) : QString();
    for (const LibraryKind kind : {LibraryKind::palettes, LibraryKind::bookmarks}) {
        const QUrl base = libraryBaseUrl(*origin, kind);
        if (!base.path().endsWith(QLatin1Char('/'))) fuzz::broken("a library folder without its slash");
        if (!libraryManifestUrl(base).path().endsWith(QLatin1String("/manifest.json")))
            fuzz::broken("a manifest address without its name");
        checkEntry(base, path, file);
    }
    return 0;
}
