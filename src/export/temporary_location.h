// Where exported files are written first: the user's temporary directory.
#pragma once

#include <QString>

namespace gs {

// name inside QStandardPaths::TempLocation, or an empty string when there is no usable
// temporary directory (Qt reports none when $TMPDIR names a directory that does not exist;
// the file must then not land in the working directory instead).
QString temporaryFilePath(const QString& name);

}  // namespace gs
