#include "image_export.h"

#include <QBuffer>
#include <QImageWriter>
#include <QSaveFile>
#include <algorithm>
#include <cstring>

#include "export/temporary_location.h"

namespace gs {

QString imageExportFileName(const QDateTime& now) {
    // Whole seconds, truncated toward zero (also before 1970, where integer division of the
    // milliseconds truncates and flooring would not).
    const qint64 seconds = now.toMSecsSinceEpoch() / 1000;
    return QStringLiteral("Glimmerscape-") + QString::number(seconds) + QStringLiteral(".png");
}

QString imageExportPath(const QDateTime& now) { return temporaryFilePath(imageExportFileName(now)); }

std::optional<QString> exportPicture(const QImage& picture, const QDateTime& now) {
    if (picture.isNull()) return std::nullopt;
    const QString path = imageExportPath(now);
    if (path.isEmpty()) return std::nullopt;
    // Encoded in memory first: libpng meeting a failed write (a full disk) jumps out of Qt's
    // writer and leaks its row buffer.
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!QImageWriter(&buffer, "png").write(picture)) return std::nullopt;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return std::nullopt;
    // commit() would ignore a failed write of the buffered tail (a full disk) and keep a cut file.
    if (file.write(png) != png.size() || !file.flush()) {
        file.cancelWriting();
        return std::nullopt;
    }
    if (!file.commit()) return std::nullopt;
    return path;
}

void keepPictureCopy(QImage& kept, const QImage& shown) {
    if (shown.isNull()) {
        kept = QImage();
        return;
    }
    if (kept.size() != shown.size() || kept.format() != shown.format() || !kept.isDetached())
        kept = QImage(shown.size(), shown.format());
    if (kept.isNull()) return;  // no memory for it: the export will find nothing
    const auto rowBytes = static_cast<std::size_t>(std::min(kept.bytesPerLine(), shown.bytesPerLine()));
    for (int y = 0; y < shown.height(); ++y) std::memcpy(kept.scanLine(y), shown.constScanLine(y), rowBytes);
}

}  // namespace gs
