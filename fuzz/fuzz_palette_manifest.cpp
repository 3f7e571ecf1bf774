// Feeds arbitrary bytes to the palette manifest decoder, and what decodes on to the swatch
// colours and entry addresses the library screen derives from it.
#include <cstddef>
#include <cstdint>

#include "library/library_location.h"
#include "library/remote_manifest.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto manifest = gs::decodeRemotePaletteManifest(bytes);
    if (!manifest) return 0;
    const QUrl base(QStringLiteral("https://example.org/Glimmerscape/Palettes/"));
    for (const gs::RemoteCollection& collection : manifest->collections) {
        for (const gs::RemotePaletteEntry& entry : collection.palettes) {
            (void)gs::swatchColors(entry.swatch);
            (void)gs::libraryEntryUrl(base, collection.path, entry.file);
        }
    }
    return 0;
}
