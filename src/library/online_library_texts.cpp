#include "online_library_texts.h"

namespace gs::onlineLibraryTexts {

QString selectedCount(qsizetype selected) {
    return QString::number(selected) + QStringLiteral(" SELECTED");
}

AlertText importReport(LibraryKind kind, int imported, int failed) {
    if (failed > 0) {
        return {QStringLiteral("Imported ") + QString::number(imported) + QStringLiteral(" of ") +
                    QString::number(qint64(imported) + failed),
                QString::number(failed) +
                    QStringLiteral(" couldn't be downloaded — check your connection and try again.")};
    }
    const bool palettes = kind == LibraryKind::palettes;
    const QString noun = palettes ? QStringLiteral(" palette") : QStringLiteral(" bookmark");
    return {QStringLiteral("Imported"),
            QString::number(imported) + noun + (imported == 1 ? QString() : QStringLiteral("s")) +
                (palettes ? QStringLiteral(" added to My Palettes.")
                          : QStringLiteral(" added to My Bookmarks."))};
}

}  // namespace gs::onlineLibraryTexts
