// What the save loop writes in each round and how a test reads the round back from each file.
// Every file of round n carries n throughout, so a file that is partly one round and partly
// another, or cut short, reads as nothing.
#pragma once

#include <QDateTime>
#include <QImage>
#include <QList>
#include <QString>
#include <optional>

#include "library/bookmark.h"
#include "library/preferences.h"

namespace gs::test {

inline const QString kRoundPaletteName = QStringLiteral("Round");
inline const QDateTime kRoundExportTime = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
inline constexpr int kRoundBookmarkCount = 12;

// Rounds are told apart modulo 65536, the two bytes a colour carries.
inline aColor roundColor(qint64 round) {
    return {double(round & 0xff) / 255.0, double((round >> 8) & 0xff) / 255.0, 7 / 255.0};
}
inline ColorTable roundColors(qint64 round) { return ColorTable(256, roundColor(round)); }

inline QList<Bookmark> roundBookmarks(qint64 round) {
    QList<Bookmark> list;
    for (int i = 0; i < kRoundBookmarkCount; ++i) {
        Bookmark b;
        b.name = QStringLiteral("Round %1 #%2").arg(round).arg(i, 2, 10, QLatin1Char('0'));
        b.xmin = -2.0 + i * 0.01, b.xmax = 1.0, b.ymin = -1.5, b.ymax = 1.5;
        b.paletteColors.colors = roundColors(round);
        list.append(b);
    }
    return list;
}

inline PreferenceValues roundPreferences(qint64 round) {
    PreferenceValues v;
    v.advancedMode = round % 2 == 1;
    v.animationSpeed = 0.02 + double(round % 9000) / 10000.0;
    v.shadingTuning.curve = 1.0 + double(round % 1000) / 1000.0;
    v.soundTuning.spin = double(round % 1000) / 1000.0;
    return v;
}
inline QString roundLibraryUrl(qint64 round) { return QStringLiteral("https://example.org/round/%1").arg(round); }

inline QImage roundPicture(qint64 round) {
    QImage picture(48, 32, QImage::Format_RGB32);
    const aColor c = roundColor(round);
    picture.fill(QColor::fromRgbF(float(c.r), float(c.g), float(c.b)));
    return picture;
}

}  // namespace gs::test
