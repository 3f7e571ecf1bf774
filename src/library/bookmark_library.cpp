#include "bookmark_library.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <algorithm>

#include "atomic_file.h"
#include "bookmark_texts.h"
#include "names.h"

namespace gs {
namespace {

const QString kFileName = QStringLiteral("Bookmarks.json");

std::optional<QByteArray> readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    return file.readAll();
}

// A file that is there but does not read as bookmarks is copied to "<file>.damaged" before it
// is replaced, so that a hand edit gone wrong or a half-copied file can still be mended. Only
// the newest such copy is kept. False when the file cannot be read or its copy not written:
// then it must not be replaced either.
bool keepDamagedFile(const QString& path) {
    QFile file(path);
    if (!file.exists()) return true;
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QByteArray bytes = file.readAll();
    if (bytes.trimmed().isEmpty() || decodeBookmarks(bytes)) return true;
    return writeFileAtomically(path + QStringLiteral(".damaged"), bytes);
}

bool hasName(const QList<Bookmark>& bookmarks, const QString& name) {
    return std::any_of(bookmarks.begin(), bookmarks.end(), [&](const Bookmark& b) { return b.name == name; });
}

}  // namespace

BookmarkLibrary::BookmarkLibrary(const QString& filePath) : filePath_(filePath) {}

BookmarkLibrary& BookmarkLibrary::shared() {
    static BookmarkLibrary library;
    return library;
}

QString BookmarkLibrary::fileURL() const {
    if (filePath_.isEmpty()) {
        const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
        filePath_ = QDir(folder).filePath(kFileName);
    }
    QDir().mkpath(QFileInfo(filePath_).absolutePath());
    return filePath_;
}

QList<Bookmark> BookmarkLibrary::loadUserBookmarks() const {
    const auto bytes = readFile(fileURL());
    if (!bytes) return {};
    auto bookmarks = decodeBookmarks(*bytes);
    if (!bookmarks) return {};
    sortBookmarksByName(*bookmarks);
    return *bookmarks;
}

bool BookmarkLibrary::saveUserBookmarks(const QList<Bookmark>& bookmarks) const {
    const QByteArray json = encodeBookmarks(bookmarks);
    const QString path = fileURL();
    return !json.isEmpty() && keepDamagedFile(path) && writeFileAtomically(path, json);
}

QString BookmarkLibrary::uniqueName(const QString& proposed) const {
    const QList<Bookmark> mine = loadUserBookmarks();
    return gs::uniqueName(proposed, [&](const QString& name) { return hasName(mine, name); });
}

bool BookmarkLibrary::add(const Bookmark& bookmark) const {
    QList<Bookmark> bookmarks = loadUserBookmarks();
    bookmarks.append(bookmark);
    return saveUserBookmarks(bookmarks);
}

BookmarkChange BookmarkLibrary::duplicate(const Bookmark& original, const QString& newName) const {
    QList<Bookmark> bookmarks = loadUserBookmarks();
    if (hasName(bookmarks, newName)) return BookmarkChange::nameTaken;
    Bookmark copy = original;
    copy.name = newName;
    bookmarks.append(copy);
    return saveUserBookmarks(bookmarks) ? BookmarkChange::done : BookmarkChange::writeFailed;
}

BookmarkChange BookmarkLibrary::rename(const QString& oldName, const QString& newName) const {
    QList<Bookmark> bookmarks = loadUserBookmarks();
    const auto it = std::find_if(bookmarks.begin(), bookmarks.end(), [&](const Bookmark& b) { return b.name == oldName; });
    if (it == bookmarks.end()) return BookmarkChange::notFound;
    if (newName == oldName) return BookmarkChange::done;
    if (hasName(bookmarks, newName)) return BookmarkChange::nameTaken;
    it->name = newName;
    return saveUserBookmarks(bookmarks) ? BookmarkChange::done : BookmarkChange::writeFailed;
}

bool BookmarkLibrary::remove(const QString& name) const {
    QList<Bookmark> bookmarks = loadUserBookmarks();
    bookmarks.removeIf([&](const Bookmark& b) { return b.name == name; });
    return saveUserBookmarks(bookmarks);
}

void sortBookmarksByName(QList<Bookmark>& bookmarks) {
    std::stable_sort(bookmarks.begin(), bookmarks.end(),
                     [](const Bookmark& a, const Bookmark& b) { return localizedStandardLess(a.name, b.name); });
}

QList<BookmarkSection> bookmarkSections(const QList<Bookmark>& mine, const QList<Bookmark>& builtIn) {
    QList<BookmarkSection> sections;
    if (!mine.isEmpty()) sections.append({bookmark_texts::kMineSection, mine});
    sections.append({bookmark_texts::kBuiltInSection, builtIn});
    return sections;
}

QList<Bookmark> loadBuiltInBookmarks(const QString& folder) {
    QList<Bookmark> bookmarks;
    const QDir dir(folder);
    for (const QString& entry : dir.entryList(QDir::Files, QDir::Name)) {
        if (!entry.endsWith(QLatin1String(".json"))) continue;
        const auto bytes = readFile(dir.filePath(entry));
        if (auto b = bytes ? decodeBookmark(*bytes) : std::nullopt) bookmarks.append(std::move(*b));
    }
    sortBookmarksByName(bookmarks);
    return bookmarks;
}

}  // namespace gs
