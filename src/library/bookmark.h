// A bookmark: one exact render to come back to (viewport, the colour table as it was on screen,
// the shading switches, the relief light and the shading tuning), and its JSON form.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <optional>

#include "core/palette.h"
#include "core/shading.h"

namespace gs {

inline constexpr int kPackedColorCount = 256;
inline constexpr int kPackedColorBytes = 3 * kPackedColorCount;  // r, g, b per colour

// The colour table inside a bookmark: 768 bytes r, g, b, base64 in JSON.
struct PackedColorTable {
    ColorTable colors;
    friend bool operator==(const PackedColorTable&, const PackedColorTable&) = default;
};

// Three bytes per colour, r then g then b: round(c * 255) with halves away from zero, clamped to
// 0..255. A channel that is not a number is fatal (colours are the program's own).
QByteArray packColorBytes(const ColorTable& colors);
// Exactly 768 bytes give 256 colours (each byte / 255.0); any other count gives nothing and the
// error "Expected 768 packed color bytes, got N".
std::optional<ColorTable> unpackColorBytes(const QByteArray& bytes, QString* error = nullptr);

struct Bookmark {
    QString name;
    double xmin = 0, xmax = 0, ymin = 0, ymax = 0;
    PackedColorTable paletteColors;
    bool demEnabled = false;
    bool reliefEnabled = false;
    double reliefLightRawX = 0;
    double reliefLightRawY = 0;
    bool glowEnabled = false;
    bool trapsEnabled = false;
    bool soundEnabled = false;
    std::optional<ShadingTuning> tuning;  // absent: the default tuning applies

    friend bool operator==(const Bookmark&, const Bookmark&) = default;
};

// A bookmark's table is shown at this frequency and cycle offset: its own repeat and shift are
// baked into the table.
inline constexpr double kBookmarkFrequency = 2.0;
inline constexpr double kBookmarkCycleOffset = 0.0;

// 4 / (xmax - xmin), or 1 when that width is not a finite, positive, normal number.
double bookmarkZoomFactor(const Bookmark& b);

// Whether the four edges make a view the explorer can draw: all finite, xmin < xmax,
// ymin < ymax, and the zoom level 4 / width finite. Records that fail are refused on reading.
bool hasDrawableBounds(const Bookmark& b);

// The widest view the explorer computes, in either direction: wider ones would overflow the
// shadings' pixel-size arithmetic.
inline constexpr double kMaxViewExtent = 1e290;

// Drawable bounds that are also at most kMaxViewExtent wide and tall: what the window and the
// command line agree to show. Records from outside that fail are ignored there.
bool hasExplorableBounds(const Bookmark& b);

// The tuning a bookmark is shown with: its own when it keeps every colour a number
// (tuningKeepsColorsFinite), else the defaults, as when it has none.
ShadingTuning bookmarkTuning(const Bookmark& b);

// The JSON object (keys in field order; "tuning" left out when absent). Empty when a number is
// not finite.
QByteArray encodeBookmark(const Bookmark& b);
// "[…]": the records in order. Empty when one of them cannot be encoded.
QByteArray encodeBookmarks(const QList<Bookmark>& bookmarks);

// Every key but "tuning" is required and typed ("paletteColors" a padded base64 string of 768
// bytes); "tuning" may be absent or null; unknown keys are ignored. On failure returns nothing
// and, when error is given, says why in one line.
std::optional<Bookmark> bookmarkFromJson(const QJsonObject& o, QString* error = nullptr);
std::optional<Bookmark> decodeBookmark(const QByteArray& json, QString* error = nullptr);
// A JSON array of records; one bad record fails the whole array.
std::optional<QList<Bookmark>> decodeBookmarks(const QByteArray& json, QString* error = nullptr);

}  // namespace gs
