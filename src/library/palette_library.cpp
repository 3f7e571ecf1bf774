#include "palette_library.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QtGlobal>
#include <algorithm>

#include "core/mapfile.h"
#include "library/atomic_file.h"
#include "library/names.h"
#include "library/palette_texts.h"

// The built-in palettes are compiled into this static library; registering them here (outside
// any namespace, as the macro requires) keeps the linker from dropping them.
static void registerBuiltInPalettes() { Q_INIT_RESOURCE(builtin_palettes); }

namespace gs {
namespace {

constexpr int kPaletteColors = 256;
// A valid palette is 256 short lines; even one padded with comments and blank lines stays far
// below this. Anything larger is not read at all.
constexpr qint64 kMaxPaletteFileBytes = 4 * 1024 * 1024;

const QString& mapExtension() {
    static const QString extension = QStringLiteral("map");
    return extension;
}

// The extension after the last dot, lower-cased; a leading dot (".map") starts a hidden name,
// not an extension.
bool hasMapExtension(const QString& fileName) {
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    return dot > 0 && fileName.mid(dot + 1).toLower() == mapExtension();
}

QString nameWithoutExtension(const QString& fileName) {
    return fileName.left(fileName.lastIndexOf(QLatin1Char('.')));
}

bool isUnsafeCharacter(QChar c) {
    static const QString unsafe = QStringLiteral("/\\:*?\"<>|");
    return unsafe.contains(c);
}

bool isTrimmedCharacter(QChar c) {
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') ||
           c == QLatin1Char('\r') || c == QChar(0x0B) || c == QChar(0x0C) || c == QChar(0x85) ||
           c == QChar(0x2028) || c == QChar(0x2029) || c.category() == QChar::Separator_Space;
}

QList<SavedPalette> readFolder(const QString& directory, bool builtIn) {
    QFileInfoList files = QDir(directory).entryInfoList(QDir::Files | QDir::Hidden, QDir::NoSort);
    files.erase(std::remove_if(files.begin(), files.end(),
                               [](const QFileInfo& f) { return !hasMapExtension(f.fileName()); }),
                files.end());
    // Names first, as a file browser sorts "Ember.map" before "Ember (1).map"; the extension's
    // spelling only breaks ties.
    std::sort(files.begin(), files.end(), [](const QFileInfo& a, const QFileInfo& b) {
        const QString nameA = nameWithoutExtension(a.fileName());
        const QString nameB = nameWithoutExtension(b.fileName());
        if (localizedStandardLess(nameA, nameB)) return true;
        if (localizedStandardLess(nameB, nameA)) return false;
        return localizedStandardLess(a.fileName(), b.fileName());
    });
    QList<SavedPalette> palettes;
    for (const QFileInfo& file : files) {
        if (auto colors = readPaletteFile(file.filePath())) {
            palettes.append({nameWithoutExtension(file.fileName()), std::move(*colors), builtIn,
                             file.filePath()});
        }
    }
    return palettes;
}

}  // namespace

std::optional<ColorTable> readPaletteFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    const QByteArray bytes = readAtMost(file, kMaxPaletteFileBytes);
    if (bytes.size() > kMaxPaletteFileBytes) return std::nullopt;
    MapParseResult parsed = parseMap(std::string_view(bytes.constData(), bytes.size()));
    return std::move(parsed.colors);
}

PaletteLibrary& PaletteLibrary::shared() {
    static PaletteLibrary library(
        QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
            QStringLiteral("/Palettes"),
        QStringLiteral(":/BuiltInPalettes"));
    return library;
}

PaletteLibrary::PaletteLibrary(QString userPalettesDirectory, QString builtInPalettesDirectory)
    : userDirectory_(std::move(userPalettesDirectory)),
      builtInDirectory_(std::move(builtInPalettesDirectory)) {
    registerBuiltInPalettes();
}

const QString& PaletteLibrary::userPalettesDirectory() {
    if (!userDirectoryReady_) userDirectoryReady_ = QDir().mkpath(userDirectory_);
    return userDirectory_;
}

QString PaletteLibrary::safeFileName(const QString& name) {
    QString safe = name;
    for (QChar& c : safe)
        if (isUnsafeCharacter(c)) c = QLatin1Char('-');
    qsizetype begin = 0, end = safe.size();
    while (begin < end && isTrimmedCharacter(safe[begin])) ++begin;
    while (end > begin && isTrimmedCharacter(safe[end - 1])) --end;
    safe = safe.mid(begin, end - begin);
    return safe.isEmpty() ? QStringLiteral("Untitled") : safe;
}

QString PaletteLibrary::filePath(const QString& name) {
    return userPalettesDirectory() + QLatin1Char('/') + safeFileName(name) + QLatin1Char('.') +
           mapExtension();
}

bool PaletteLibrary::nameTaken(const QString& safeName) {
    const QFileInfo file(filePath(safeName));
    return file.exists() || file.isSymLink();
}

QString PaletteLibrary::uniqueFileName(const QString& name) {
    return uniqueName(safeFileName(name), [this](const QString& n) { return nameTaken(n); });
}

std::optional<SavedPalette> PaletteLibrary::save(const QString& name, const ColorTable& colors) {
    if (colors.size() != kPaletteColors) return std::nullopt;
    userDirectoryReady_ = false;  // make the folder again if it went away since
    const QString path = filePath(name);
    const std::string text = writeMap(colors);
    if (!writeFileAtomically(path, QByteArray(text.data(), static_cast<qsizetype>(text.size()))))
        return std::nullopt;
    return SavedPalette{safeFileName(name), colors, false, path};
}

QList<SavedPalette> PaletteLibrary::loadUserPalettes() {
    return readFolder(userPalettesDirectory(), false);
}

QList<SavedPalette> PaletteLibrary::loadBuiltInPalettes() const {
    return readFolder(builtInDirectory_, true);
}

PaletteChange PaletteLibrary::duplicate(const SavedPalette& palette, const QString& newName,
                                        SavedPalette* copy) {
    if (nameTaken(safeFileName(newName))) return PaletteChange::nameTaken;
    auto saved = save(newName, palette.colors);
    if (!saved) return PaletteChange::failed;
    if (copy) *copy = std::move(*saved);
    return PaletteChange::done;
}

// The user palette's file as it was listed (its extension may be spelt "MAP"), else the file
// its name gives.
QString PaletteLibrary::existingFile(const SavedPalette& palette) {
    return palette.filePath.isEmpty() ? filePath(palette.name) : palette.filePath;
}

PaletteChange PaletteLibrary::rename(const SavedPalette& palette, const QString& newName,
                                     SavedPalette* renamed) {
    if (palette.isBuiltIn) return PaletteChange::failed;
    const QString safe = safeFileName(newName);
    if (nameTaken(safe)) return PaletteChange::nameTaken;
    const QString target = filePath(safe);
    if (!QFile::rename(existingFile(palette), target)) return PaletteChange::failed;
    if (renamed) *renamed = SavedPalette{safe, palette.colors, false, target};
    return PaletteChange::done;
}

bool PaletteLibrary::remove(const SavedPalette& palette) {
    return !palette.isBuiltIn && QFile::remove(existingFile(palette));
}

std::optional<QString> PaletteLibrary::shareableFilePath(const SavedPalette& palette) const {
    if (!palette.isBuiltIn) {
        if (palette.filePath.isEmpty()) return std::nullopt;
        return palette.filePath;
    }
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::TempLocation) +
                           QStringLiteral("/glimmerscape-palettes");
    const QString path = folder + QLatin1Char('/') + safeFileName(palette.name) +
                         QLatin1Char('.') + mapExtension();
    const std::string text = writeMap(palette.colors);
    if (!QDir().mkpath(folder) ||
        !writeFileAtomically(path, QByteArray(text.data(), static_cast<qsizetype>(text.size()))))
        return std::nullopt;
    return path;
}

std::vector<PaletteSection> paletteSections(const QList<SavedPalette>& user,
                                            const QList<SavedPalette>& builtIn) {
    std::vector<PaletteSection> sections;
    if (!user.isEmpty()) sections.push_back({paletteTexts::mineSection, user});
    sections.push_back({paletteTexts::builtInSection, builtIn});
    return sections;
}

QString paletteBrowserNote(const QList<SavedPalette>& user) {
    return user.isEmpty() ? paletteTexts::emptyNote : QString();
}

}  // namespace gs
