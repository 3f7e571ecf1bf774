// Importing ".map" files picked on disk into the user's palette folder.
#pragma once

#include <QStringList>

#include "library/palette_library.h"

namespace gs {

struct PaletteImportCounts {
    int imported = 0;  // read, valid and written
    int rejected = 0;  // unreadable or not a valid 256-colour palette
};

// Imports the files in the order given: each is read (UTF-8, else ISO Latin-1) and parsed; a
// valid one is stored under the unique file name its own name gives ("blue.map" beside an
// existing "blue.map" becomes "blue (1).map"). A failed write counts as neither.
PaletteImportCounts importPaletteFiles(PaletteLibrary& library, const QStringList& paths);

}  // namespace gs
