// Shared by the library tests: a sample bookmark, and a private HOME for the whole run.
#pragma once

#include <QByteArray>
#include <QString>
#include <ostream>

#include "library/bookmark.h"

namespace gs::test {

// A bookmark with every field set to something other than its default, and 256 distinct colours
// that pack exactly (multiples of 1/255).
Bookmark sampleBookmark(const QString& name = QStringLiteral("Seahorse Valley"));

// The private HOME that every test of this executable runs under (XDG_* folders inside it).
QString testHome();

QByteArray readAll(const QString& path);
void writeAll(const QString& path, const QByteArray& bytes);

}  // namespace gs::test

// Readable failures for Qt strings.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
