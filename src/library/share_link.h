// Share links: a whole bookmark but its shading tuning in one glimmerscape:// link.
//   glimmerscape://bookmark?v=1&xmin=…&xmax=…&ymin=…&ymax=…&pal=…&name=…&modes=…&lx=…&ly=…
// pal: the 768 packed colour bytes in URL-safe base64 without padding (1024 characters);
// modes: the five switches as lower-case hexadecimal bits (1 edges, 2 relief, 4 glow, 8 traps,
// 16 sound); numbers: the shortest decimal text that reads back to the same double.
#pragma once

#include <QString>
#include <optional>

#include "bookmark.h"

namespace gs {

// The name a link without one (or with only blanks) gives its bookmark.
inline const QString kLinkDefaultName = QStringLiteral("Bookmark");

// The link of a bookmark; nothing when it cannot carry it (not exactly 256 colours, a number
// that is not finite, or edges that do not make a view).
std::optional<QString> makeLink(const Bookmark& bookmark);

// The bookmark a link carries, with no tuning. Anything malformed gives nothing; when why is
// given it then says what was wrong in one line (the window ignores it, the command line
// prints it). Blanks around the whole link are ignored.
std::optional<Bookmark> readLink(const QString& link, QString* why = nullptr);

}  // namespace gs
