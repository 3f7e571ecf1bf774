#include "atomic_file.h"

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QSaveFile>

namespace gs {
namespace {

bool fail(QString* error, const QString& why) {
    if (error) *error = why;
    return false;
}

// Writes into an open device; false with the reason when not everything got written.
bool writeAll(QFile& file, const QByteArray& bytes, QString* error) {
    if (file.write(bytes) != bytes.size() || !file.flush()) return fail(error, file.errorString());
    return true;
}

bool writeStandardOutput(const QByteArray& bytes, QString* error) {
    QFile out;
    if (!out.open(STDOUT_FILENO, QIODevice::WriteOnly, QFileDevice::DontCloseHandle))
        return fail(error, out.errorString());
    return writeAll(out, bytes, error);
}

// Devices and FIFOs: renaming a file over them would replace them, so they are written in place.
bool writeInPlace(const QString& path, const QByteArray& bytes, QString* error) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) return fail(error, file.errorString());
    return writeAll(file, bytes, error);
}

}  // namespace

bool writeFileAtomically(const QString& path, const QByteArray& bytes, QString* error) {
    if (path == QLatin1String("-")) return writeStandardOutput(bytes, error);
    struct stat target {};
    if (::stat(QFile::encodeName(path).constData(), &target) == 0 && !S_ISREG(target.st_mode)) {
        if (S_ISDIR(target.st_mode)) return fail(error, QStringLiteral("it is a folder"));
        return writeInPlace(path, bytes, error);
    }
    // The explicit flush matters: commit() flushes too, but ignores a failure of that last write
    // (a full disk) and would put a short or empty file in place of the old one.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush() || !file.commit()) {
        const QString why = file.errorString();
        file.cancelWriting();
        return fail(error, why);
    }
    return true;
}

QByteArray readAtMost(QFile& file, qint64 limit) {
    constexpr qint64 kChunk = 64 * 1024;
    // A regular file says its size: one read then takes it whole (one byte more shows whether
    // it grew meanwhile). A pipe or device is read a chunk at a time.
    const qint64 expected = file.isSequential() ? kChunk : std::max<qint64>(file.size() - file.pos(), 0);
    QByteArray bytes = file.read(std::min(expected, limit) + 1);
    while (bytes.size() <= limit) {
        const QByteArray more = file.read(std::min(kChunk, limit + 1 - bytes.size()));
        if (more.isEmpty()) break;
        bytes += more;
    }
    return bytes;
}

}  // namespace gs
