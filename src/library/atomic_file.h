// Whole-file writes that either replace the target completely or leave it untouched.
#pragma once

#include <QByteArray>
#include <QString>

namespace gs {

// Writes bytes to path through a temporary file renamed into place. On failure returns false
// and, when error is given, says why in plain words; an existing file stays as it was.
bool writeFileAtomically(const QString& path, const QByteArray& bytes, QString* error = nullptr);

}  // namespace gs
