// Feeds arbitrary bytes to the bookmark manifest decoder, and what decodes on to the swatch
// colours, zoom factors and entry addresses the library screen derives from it.
#include <cstddef>
#include <cstdint>

#include "library/library_location.h"
#include "library/remote_manifest.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto manifest = gs::decodeRemoteBookmarkManifest(bytes);
    if (!manifest) return 0;
    const QUrl base(QStringLiteral("https://example.org/Glimmerscape/Bookmarks/"));
    for (const gs::RemoteBookmarkCollection& collection : manifest->collections) {
        for (const gs::RemoteBookmarkEntry& entry : collection.bookmarks) {
            (void)gs::swatchColors(entry.swatch);
            (void)gs::remoteBookmarkZoom(entry);
            (void)gs::libraryEntryUrl(base, collection.path, entry.file);
        }
    }
    return 0;
}
