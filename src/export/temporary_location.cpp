#include "temporary_location.h"

#include <QDir>
#include <QStandardPaths>

namespace gs {

QString temporaryFilePath(const QString& name) {
    const QString dir = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    return dir.isEmpty() ? QString() : QDir(dir).filePath(name);
}

}  // namespace gs
