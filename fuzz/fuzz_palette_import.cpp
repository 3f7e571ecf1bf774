// Importing a ".map" file picked on disk: its contents and its own name decide what is stored.
// Input: file name, NUL, contents. A valid palette is stored once, under its safe name, inside
// the user's folder, with the colours it held; anything else is counted as rejected.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <string_view>

#include "core/mapfile.h"
#include "fuzz_support.h"
#include "library/palette_import.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    static QTemporaryDir dir;
    const QByteArray input = fuzz::bytes(data, size);
    const qsizetype nul = input.indexOf('\0');
    const QByteArray fileName = nul < 0 ? input : input.first(nul);
    const QByteArray contents = nul < 0 ? QByteArray() : input.sliced(nul + 1);
    // Only names a folder can hold: one component of at most 255 bytes.
    if (fileName.isEmpty() || fileName.size() > 255 || fileName.contains('/') || fileName == "." || fileName == "..")
        return 0;
    const QString picked = dir.filePath(QStringLiteral("picked/")) + QString::fromUtf8(fileName);
    QDir().mkpath(dir.filePath(QStringLiteral("picked")));
    {
        QFile file(picked);
        if (!file.open(QIODevice::WriteOnly)) return 0;
        file.write(contents);
    }
    const QString folder = dir.filePath(QStringLiteral("Palettes"));
    PaletteLibrary library(folder, folder + QStringLiteral("-none"));
    const PaletteImportCounts counts = importPaletteFiles(library, {picked});
    const auto colors = parseMap(std::string_view(contents.constData(), static_cast<std::size_t>(contents.size()))).colors;
    if (counts.rejected != (colors ? 0 : 1)) fuzz::broken("a file was rejected or taken against its contents");
    const QList<SavedPalette> saved = library.loadUserPalettes();
    if (saved.size() != counts.imported) fuzz::broken("the folder does not hold what was imported");
    if (counts.imported == 1) {
        if (saved.first().name != PaletteLibrary::safeFileName(QFileInfo(picked).completeBaseName()))
            fuzz::broken("an imported palette is not stored under its file's safe name");
        if (QFileInfo(saved.first().filePath).absolutePath() != QFileInfo(folder).absoluteFilePath())
            fuzz::broken("an imported palette was stored outside the user's folder");
        if (parseMap(writeMap(*colors)).colors != saved.first().colors)
            fuzz::broken("an imported palette reads back other colours");
    }
    QFile::remove(picked);
    QDir(folder).removeRecursively();
    return 0;
}
