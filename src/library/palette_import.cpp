#include "palette_import.h"

#include <QFileInfo>

namespace gs {

PaletteImportCounts importPaletteFiles(PaletteLibrary& library, const QStringList& paths) {
    PaletteImportCounts counts;
    for (const QString& path : paths) {
        const auto colors = readPaletteFile(path);
        if (!colors) {
            ++counts.rejected;
            continue;
        }
        const QString name = library.uniqueFileName(QFileInfo(path).completeBaseName());
        if (library.save(name, *colors)) ++counts.imported;
    }
    return counts;
}

}  // namespace gs
