#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

#include "library/bookmark_library.h"
#include "library_test_support.h"

namespace gs {
namespace {

QStringList names(const QList<Bookmark>& bookmarks) {
    QStringList out;
    for (const Bookmark& b : bookmarks) out << b.name;
    return out;
}

class Library : public ::testing::Test {
protected:
    QString path() const { return dir_.filePath(QStringLiteral("Bookmarks.json")); }
    BookmarkLibrary library() const { return BookmarkLibrary(path()); }
    void store(const QStringList& names) {
        QList<Bookmark> list;
        for (const QString& n : names) list << test::sampleBookmark(n);
        ASSERT_TRUE(library().saveUserBookmarks(list));
    }

    QTemporaryDir dir_;
};

TEST_F(Library, TheUsersFileLivesInTheDataFolder) {
    const QString expected = test::testHome() + QStringLiteral("/.local/share/glimmerscape/Bookmarks.json");
    EXPECT_EQ(BookmarkLibrary().fileURL(), expected);
    EXPECT_TRUE(QDir(QFileInfo(expected).path()).exists());
}

TEST_F(Library, NamesAreNumberedFromOneAndListedInFileBrowserOrder) {
    store({QStringLiteral("Spot 10"), QStringLiteral("spot 2"), QStringLiteral("Spot 9")});
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(library().add(test::sampleBookmark(library().uniqueName(QStringLiteral("Spiral")))));
    EXPECT_EQ(names(library().loadUserBookmarks()),
              (QStringList{QStringLiteral("Spiral"), QStringLiteral("Spiral (1)"), QStringLiteral("Spiral (2)"),
                           QStringLiteral("spot 2"), QStringLiteral("Spot 9"), QStringLiteral("Spot 10")}));
}

// A missing or damaged file reads as no bookmarks. Before the next save replaces a file that
// does not decode, a copy is kept beside the store (only the newest); a blank one, or one that
// decodes, is replaced without a copy.
TEST_F(Library, ADamagedFileReadsAsNoneAndIsKeptBesideItBeforeItIsReplaced) {
    EXPECT_TRUE(library().loadUserBookmarks().isEmpty());
    const QString damaged = path() + QStringLiteral(".damaged");
    QByteArray oneBad = encodeBookmarks({test::sampleBookmark()});
    oneBad.replace("\"demEnabled\":true", "\"demEnabled\":1");
    for (const QByteArray& text : {QByteArray("{\"name\":"), QByteArray("{}"), oneBad, QByteArray(" \n")}) {
        test::writeAll(path(), text);
        EXPECT_TRUE(library().loadUserBookmarks().isEmpty()) << text.constData();
        ASSERT_TRUE(library().add(test::sampleBookmark()));
        EXPECT_EQ(library().loadUserBookmarks().size(), 1);
        EXPECT_EQ(test::readAll(damaged), text.trimmed().isEmpty() ? QByteArray() : text) << text.constData();
        QFile::remove(damaged);
    }
    test::writeAll(path(), "[{\"name\": \"hand-edited\",");
    ASSERT_TRUE(library().add(test::sampleBookmark(QStringLiteral("One"))));
    ASSERT_TRUE(library().add(test::sampleBookmark(QStringLiteral("Two"))));
    EXPECT_EQ(test::readAll(damaged), QByteArray("[{\"name\": \"hand-edited\","));
    test::writeAll(path(), "not json");
    ASSERT_TRUE(library().remove(QStringLiteral("One")));
    EXPECT_EQ(test::readAll(damaged), QByteArray("not json"));
    EXPECT_TRUE(library().loadUserBookmarks().isEmpty());
}

TEST_F(Library, DuplicateAndRenameTellAClashApartFromAStoredChange) {
    store({QStringLiteral("A"), QStringLiteral("B")});
    const QByteArray before = test::readAll(path());
    EXPECT_EQ(library().duplicate(test::sampleBookmark(QStringLiteral("A")), QStringLiteral("B")), BookmarkChange::nameTaken);
    EXPECT_EQ(library().rename(QStringLiteral("A"), QStringLiteral("B")), BookmarkChange::nameTaken);
    EXPECT_EQ(library().rename(QStringLiteral("Z"), QStringLiteral("Y")), BookmarkChange::notFound);
    EXPECT_EQ(test::readAll(path()), before);

    const Bookmark builtIn = test::sampleBookmark(QStringLiteral("Elephant Valley"));
    EXPECT_EQ(library().duplicate(builtIn, QStringLiteral("Elephant Valley")), BookmarkChange::done);
    EXPECT_EQ(library().rename(QStringLiteral("A"), QStringLiteral("C")), BookmarkChange::done);
    EXPECT_TRUE(library().remove(QStringLiteral("B")));
    const QList<Bookmark> now = library().loadUserBookmarks();
    EXPECT_EQ(names(now), (QStringList{QStringLiteral("C"), QStringLiteral("Elephant Valley")}));
    EXPECT_EQ(now[1], builtIn);
}

// Runs the store operation as a user who may not write into the folder (dropping root's rights
// in a child process when the tests run as root); nothing when that was not possible.
std::optional<bool> withoutWriteAccess(const QString& folder, const std::function<bool()>& operation) {
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther);
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
    store({QStringLiteral("Kept")});
    const QByteArray before = test::readAll(path());
    const auto added = withoutWriteAccess(dir_.path(), [&] { return library().add(test::sampleBookmark(QStringLiteral("New"))); });
    QFile::setPermissions(dir_.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    ASSERT_TRUE(added.has_value());
    EXPECT_FALSE(*added);
    EXPECT_EQ(test::readAll(path()), before);
    EXPECT_EQ(QDir(dir_.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("Bookmarks.json")});
}

TEST_F(Library, BuiltInsLeaveOutWhatDoesNotDecodeAndSortByName) {
    const QString folder = dir_.filePath(QStringLiteral("BuiltInBookmarks"));
    test::writeAll(folder + QStringLiteral("/a.json"), encodeBookmark(test::sampleBookmark(QStringLiteral("Needle 10"))));
    test::writeAll(folder + QStringLiteral("/b.json"), encodeBookmark(test::sampleBookmark(QStringLiteral("needle 9"))));
    test::writeAll(folder + QStringLiteral("/c.json"), "{\"name\":\"Broken\"}");
    test::writeAll(folder + QStringLiteral("/d.txt"), encodeBookmark(test::sampleBookmark(QStringLiteral("Not JSON"))));
    EXPECT_EQ(names(loadBuiltInBookmarks(folder)), (QStringList{QStringLiteral("needle 9"), QStringLiteral("Needle 10")}));
}

}  // namespace
}  // namespace gs
