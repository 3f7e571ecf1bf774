// Saving the picture on screen as a PNG file in the temporary directory, from where the window
// offers it in a save dialog.
#pragma once

#include <QDateTime>
#include <QImage>
#include <QString>
#include <optional>

namespace gs {

// "Glimmerscape-SECONDS.png": whole seconds since 1970-01-01 UTC, truncated toward zero, in
// decimal, so two exports within one second share the name.
QString imageExportFileName(const QDateTime& now);

// The export's location: that name in QStandardPaths::TempLocation (empty without one).
QString imageExportPath(const QDateTime& now);

// Writes `picture` (the last picture put on screen, at its buffer's pixel size: no re-render,
// no scaling) as a PNG at imageExportPath(now), replacing a file of that name atomically, with
// no metadata of its own. Returns the file's path, or nothing when there is no picture yet
// (a null image) or the file could not be written; failures are silent by design. GUI thread
// or any other: it touches nothing but the file.
std::optional<QString> exportPicture(const QImage& picture,
                                     const QDateTime& now = QDateTime::currentDateTimeUtc());

// Makes `kept` a copy of `shown`, a picture over a live buffer that will change, for an export
// later. Reuses kept's memory when the size and format are unchanged and nobody shares it, so
// keeping every picture of an animation costs one copy each and no allocation.
void keepPictureCopy(QImage& kept, const QImage& shown);

}  // namespace gs
