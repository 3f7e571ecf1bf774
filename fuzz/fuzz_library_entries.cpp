// What an online library's server answers for one entry, stored the way the library stores it:
// a palette body (a ".map" file) and a bookmark body (one JSON record), each under the entry's
// name from the manifest. Input: entry name, NUL, body. What is stored reads back from the
// user's folder or file as exactly one item with the colours or record the body held.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <string_view>

#include "core/mapfile.h"
#include "fuzz_support.h"
#include "library/bookmark_library.h"
#include "library/names.h"
#include "library/online_library.h"
#include "library/palette_library.h"

namespace {

using namespace gs;

void storePalette(const QString& folder, const QByteArray& body, const QString& name) {
    PaletteLibrary library(folder, folder + QStringLiteral("-none"));
    RemotePaletteEntry entry;
    entry.name = name;
    const bool stored = paletteStoreStep(library)(body, entry);
    const QList<SavedPalette> saved = library.loadUserPalettes();
    if (!stored) {
        if (!saved.isEmpty()) fuzz::broken("a refused palette left a file");
        return;
    }
    if (saved.size() != 1) fuzz::broken("a stored palette is not one file of the folder");
    const auto colors = parseMap(std::string_view(body.constData(), static_cast<std::size_t>(body.size()))).colors;
    if (!colors || parseMap(writeMap(*colors)).colors != saved.first().colors)
        fuzz::broken("a stored palette reads back other colours");
    QDir(folder).removeRecursively();
}

void storeBookmark(const QString& file, const QByteArray& body, const QString& name) {
    BookmarkLibrary library(file);
    RemoteBookmarkEntry entry;
    entry.name = name;
    const bool stored = bookmarkStoreStep(library)(body, entry);
    const QList<Bookmark> saved = library.loadUserBookmarks();
    QFile::remove(file);
    if (!stored) {
        if (!saved.isEmpty()) fuzz::broken("a refused bookmark was written");
        return;
    }
    auto expected = decodeBookmark(body);
    if (!expected) fuzz::broken("a bookmark that does not decode was stored");
    expected->name = trimBlanks(name).isEmpty() ? trimBlanks(expected->name) : trimBlanks(name);
    if (saved.size() != 1 || saved.first() != *expected) fuzz::broken("a stored bookmark reads back differently");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static QTemporaryDir dir;
    const QByteArray input = fuzz::bytes(data, size);
    const qsizetype nul = input.indexOf('\0');
    const QString name = QString::fromUtf8(nul < 0 ? input : input.first(nul));
    const QByteArray body = nul < 0 ? QByteArray() : input.sliced(nul + 1);
    storePalette(dir.filePath(QStringLiteral("Palettes")), body, name);
    storeBookmark(dir.filePath(QStringLiteral("Bookmarks.json")), body, name);
    return 0;
}
