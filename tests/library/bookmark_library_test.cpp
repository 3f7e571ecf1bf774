#include "library/bookmark_library.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <optional>

#include "library_test_support.h"

namespace gs {
namespace {

using namespace Qt::StringLiterals;

QStringList names(const QList<Bookmark>& bookmarks) {
    QStringList out;
    for (const Bookmark& b : bookmarks) out << b.name;
    return out;
}

class Library : public ::testing::Test {
protected:
    QString path() const { return dir_.filePath(u"Bookmarks.json"_s); }
    BookmarkLibrary library() const { return BookmarkLibrary(path()); }
    void store(const QStringList& names) {
        QList<Bookmark> list;
        for (const QString& n : names) list << test::sampleBookmark(n);
        ASSERT_TRUE(library().saveUserBookmarks(list));
    }

    QTemporaryDir dir_;
};

TEST_F(Library, TheUsersFileLivesInTheDataFolder) {
    const QString expected = test::testHome() + u"/.local/share/glimmerscape/Bookmarks.json"_s;
    EXPECT_EQ(BookmarkLibrary().fileURL(), expected);
    EXPECT_TRUE(QDir(QFileInfo(expected).path()).exists());
}

TEST_F(Library, NamesAreNumberedFromOneAndListedInFileBrowserOrder) {
    store({u"Spot 10"_s, u"spot 2"_s, u"Spot 9"_s});
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(library().add(test::sampleBookmark(library().uniqueName(u"Spiral"_s))));
    EXPECT_EQ(names(library().loadUserBookmarks()),
              (QStringList{u"Spiral"_s, u"Spiral (1)"_s, u"Spiral (2)"_s, u"spot 2"_s, u"Spot 9"_s,
                           u"Spot 10"_s}));
}

// A missing or damaged file reads as no bookmarks. Before the next save replaces a file that
// does not decode, a copy is kept beside the store (only the newest); a blank one, or one that
// decodes, is replaced without a copy.
TEST_F(Library, ADamagedFileReadsAsNoneAndIsKeptBesideItBeforeItIsReplaced) {
    EXPECT_TRUE(library().loadUserBookmarks().isEmpty());
    const QString damaged = path() + u".damaged"_s;
    QByteArray oneBad = encodeBookmarks({test::sampleBookmark()});
    oneBad.replace("\"demEnabled\":true", "\"demEnabled\":1");
    for (const QByteArray& text :
         {QByteArray("{\"name\":"), QByteArray("{}"), oneBad, QByteArray(" \n")}) {
        test::writeAll(path(), text);
        EXPECT_TRUE(library().loadUserBookmarks().isEmpty()) << text.constData();
        ASSERT_TRUE(library().add(test::sampleBookmark()));
        EXPECT_EQ(library().loadUserBookmarks().size(), 1);
        EXPECT_EQ(test::readAll(damaged), text.trimmed().isEmpty() ? oneBad : text);
    }
    ASSERT_TRUE(library().add(test::sampleBookmark(u"Two"_s)));
    EXPECT_EQ(test::readAll(damaged), oneBad);
}

TEST_F(Library, DuplicateAndRenameTellAClashApartFromAStoredChange) {
    store({u"A"_s, u"B"_s});
    const QByteArray before = test::readAll(path());
    EXPECT_EQ(library().duplicate(test::sampleBookmark(u"A"_s), u"B"_s), BookmarkChange::nameTaken);
    EXPECT_EQ(library().rename(u"A"_s, u"B"_s), BookmarkChange::nameTaken);
    EXPECT_EQ(library().rename(u"Z"_s, u"Y"_s), BookmarkChange::notFound);
    EXPECT_EQ(test::readAll(path()), before);

    const Bookmark builtIn = test::sampleBookmark(u"Elephant Valley"_s);
    EXPECT_EQ(library().duplicate(builtIn, u"Elephant Valley"_s), BookmarkChange::done);
    EXPECT_EQ(library().rename(u"A"_s, u"C"_s), BookmarkChange::done);
    EXPECT_TRUE(library().remove(u"B"_s));
    const QList<Bookmark> now = library().loadUserBookmarks();
    EXPECT_EQ(names(now), (QStringList{u"C"_s, u"Elephant Valley"_s}));
    EXPECT_EQ(now[1], builtIn);
}

// Runs the store operation as a user who may not write into the folder (dropping root's rights
// in a child process when the tests run as root); nothing when that was not possible.
std::optional<bool> withoutWriteAccess(const QString& folder,
                                       const std::function<bool()>& operation) {
    QFile::setPermissions(folder,
                          QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther);
    if (geteuid() != 0) return operation();
    const pid_t child = fork();
    if (child == 0) {
        if (setgid(65534) != 0 || setuid(65534) != 0) _exit(2);
        _exit(operation() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) return std::nullopt;
    return WEXITSTATUS(status) == 1;
}

TEST_F(Library, AFailedWriteLeavesTheOldFileIntact) {
    store({u"Kept"_s});
    const QByteArray before = test::readAll(path());
    const auto added = withoutWriteAccess(
        dir_.path(), [&] { return library().add(test::sampleBookmark(u"New"_s)); });
    QFile::setPermissions(dir_.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    ASSERT_TRUE(added.has_value());
    EXPECT_FALSE(*added);
    EXPECT_EQ(test::readAll(path()), before);
    EXPECT_EQ(QDir(dir_.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{u"Bookmarks.json"_s});
}

TEST_F(Library, BuiltInsLeaveOutWhatDoesNotDecodeAndSortByName) {
    const QString folder = dir_.filePath(u"BuiltInBookmarks/"_s);
    const std::pair<const char*, QByteArray> files[] = {
        {"a.json", encodeBookmark(test::sampleBookmark(u"Needle 10"_s))},
        {"b.json", encodeBookmark(test::sampleBookmark(u"needle 9"_s))},
        {"c.json", "{\"name\":\"Broken\"}"},
        {"d.txt", encodeBookmark(test::sampleBookmark(u"Not JSON"_s))}};
    for (const auto& [name, bytes] : files) test::writeAll(folder + QLatin1String(name), bytes);
    EXPECT_EQ(names(loadBuiltInBookmarks(folder)), (QStringList{u"needle 9"_s, u"Needle 10"_s}));
}

}  // namespace
}  // namespace gs
