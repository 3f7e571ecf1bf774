// Whole-file writes that either replace the target completely or leave it untouched.
#pragma once

#include <QByteArray>
#include <QString>

class QFile;

namespace gs {

// Writes bytes to path through a temporary file renamed into place. On failure returns false
// and, when error is given, says why in plain words; an existing file stays as it was.
// A target that exists and is not a regular file (a device such as /dev/null, a FIFO) is
// written directly and never replaced, as is "-", standard output; a folder is refused.
bool writeFileAtomically(const QString& path, const QByteArray& bytes, QString* error = nullptr);

// Reads an open file to its end but at most limit + 1 bytes, so that a result longer than
// `limit` tells the caller the file is too long. The buffer grows with what is read: a small
// file does not cost a buffer of the limit's size.
QByteArray readAtMost(QFile& file, qint64 limit);

}  // namespace gs
