// The JSON manifests of the online libraries of palettes and bookmarks. Keys are the field
// names; every key is required except `credit` and `license`. Nothing is checked beyond the
// types: duplicate ids or files, empty swatches and unknown versions are kept as they are.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

#include "core/palette.h"

namespace gs {

struct RemotePaletteEntry {
    QString name;        // shown, and the name it is imported under
    QString file;        // the ".map" file in the collection's folder
    QStringList swatch;  // preview stops, "rrggbb" with an optional leading "#"
};

struct RemoteCollection {
    QString id;     // stable; part of the selection keys
    QString title;  // the section title
    QString path;   // the collection's folder below the library's base URL
    std::optional<QString> credit;
    std::optional<QString> license;
    QList<RemotePaletteEntry> palettes;
};

struct RemotePaletteManifest {
    qint64 manifestVersion = 0;
    QList<RemoteCollection> collections;
};

struct RemoteBookmarkEntry {
    QString name;
    QString file;  // one bookmark as a JSON object, in the collection's folder
    double xmin = 0;
    double xmax = 0;  // with xmin, the width that gives the entry's zoom text
    QStringList swatch;
};

struct RemoteBookmarkCollection {
    QString id;
    QString title;
    QString path;
    std::optional<QString> credit;
    std::optional<QString> license;
    QList<RemoteBookmarkEntry> bookmarks;
};

struct RemoteBookmarkManifest {
    qint64 manifestVersion = 0;
    QList<RemoteBookmarkCollection> collections;
};

// Empty when the bytes are not a JSON object of the shape above (a key missing or of the wrong
// type, `manifestVersion` not a whole number, a non-finite `xmin` or `xmax`).
std::optional<RemotePaletteManifest> decodeRemotePaletteManifest(const QByteArray& json);
std::optional<RemoteBookmarkManifest> decodeRemoteBookmarkManifest(const QByteArray& json);

// The colour of one swatch stop: one leading "#" dropped, the rest read as a hexadecimal number,
// red from bits 16-23, green 8-15, blue 0-7, each / 255. A stop that is not a hexadecimal
// number of at most 64 bits is drawn mid grey (0.5, 0.5, 0.5): it neither passes for a real
// black stop nor leaves a hole in the preview.
aColor swatchColor(const QString& stop);
std::vector<aColor> swatchColors(const QStringList& swatch);

// The zoom factor a bookmark entry's cell shows: 4 / (xmax - xmin), or 1 when that width is not
// a finite, positive, normal number.
double remoteBookmarkZoom(const RemoteBookmarkEntry& entry);

}  // namespace gs
