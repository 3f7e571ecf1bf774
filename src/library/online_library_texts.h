// The texts of the online library screens.
#pragma once

#include <QString>

#include "library/library_location.h"
#include "library/palette_texts.h"

namespace gs::onlineLibraryTexts {

inline const QString unreachable =
    QStringLiteral("Couldn't reach the online library. Check your connection and try again.");
inline const QString tryAgainButton = QStringLiteral("TRY AGAIN");
inline const QString empty = QStringLiteral("This library is empty right now.");
inline const QString importSelectedButton = QStringLiteral("IMPORT SELECTED");
inline const QString creditSeparator = QStringLiteral(" · ");

// "3 SELECTED"
QString selectedCount(qsizetype selected);

// The alert after an import: all arrived, or how many of how many and how many failed.
AlertText importReport(LibraryKind kind, int imported, int failed);

}  // namespace gs::onlineLibraryTexts
