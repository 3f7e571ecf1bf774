// Whole-file writes: regular files are replaced in one step; FIFOs and devices are written in
// place and never replaced; folders and missing folders are refused with a reason.
#include "library/atomic_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <thread>
#include <tuple>
#include <vector>

#include "library_test_support.h"

namespace gs {
namespace {

// Reads a FIFO (opened without blocking) until its writer has come and gone, for at most ten
// seconds: a FIFO replaced by a file never gets a writer.
QByteArray drainFifo(int fd) {
    QByteArray got;
    char buffer[65536];
    for (int tries = 0; tries < 1000; ++tries) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 10) <= 0) continue;
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) got.append(buffer, n), tries = 0;
        if (n == 0 && !got.isEmpty()) break;  // the writer closed it
        if (n == 0) ::usleep(10000);          // no writer yet
    }
    return got;
}

TEST(AtomicFile, WritesIntoAFifoWithoutReplacingIt) {
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("pipe"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const int fd = ::open(QFile::encodeName(fifo).constData(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(fd, 0);
    QByteArray read;
    std::thread reader([&] { read = drainFifo(fd); });
    const QByteArray bytes(200000, 'g');  // more than a pipe holds: the writer waits for the reader
    QString why;
    EXPECT_TRUE(writeFileAtomically(fifo, bytes, &why)) << why.toStdString();
    reader.join();
    ::close(fd);
    EXPECT_EQ(read.size(), bytes.size());
    struct stat after {};
    ASSERT_EQ(::stat(QFile::encodeName(fifo).constData(), &after), 0);
    EXPECT_TRUE(S_ISFIFO(after.st_mode));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System),
              QStringList{QStringLiteral("pipe")});  // no temporary file left beside it
}

// A capped read gives the whole file up to the limit and one byte more beyond it, from a regular
// file (sized up front) and from a pipe (read in chunks), wherever the file's position is.
TEST(AtomicFile, ReadsAtMostOneByteBeyondTheLimit) {
    QTemporaryDir dir;
    const QString path = dir.filePath("f");
    const QByteArray big(200 * 1024, 'x');
    for (const auto& [size, limit, skip, expected] : {std::tuple{10, 10, 0, 10},
                                                      {11, 10, 0, 11},
                                                      {200 * 1024, 150 * 1024, 0, 150 * 1024 + 1},
                                                      {200 * 1024, 300 * 1024, 0, 200 * 1024},
                                                      {20, 10, 5, 11}}) {
        ASSERT_TRUE(writeFileAtomically(path, big.first(size)));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        file.seek(skip);
        EXPECT_EQ(readAtMost(file, limit).size(), expected) << size << " bytes, limit " << limit;
    }
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    std::thread writer([&] {
        const std::vector<char> piece(100 * 1024, 'y');
        for (int i = 0; i < 3; ++i) (void)!::write(fds[1], piece.data(), piece.size());
        ::close(fds[1]);
    });
    QFile pipe;
    ASSERT_TRUE(pipe.open(fds[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
    EXPECT_EQ(readAtMost(pipe, 250 * 1024).size(), 250 * 1024 + 1);
    EXPECT_EQ(readAtMost(pipe, 250 * 1024).size(), 50 * 1024 - 1);  // the rest, to its end
    writer.join();
}

TEST(AtomicFile, ReplacesRegularFilesAndRefusesWhatItCannotWrite) {
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("a.txt"));
    ASSERT_TRUE(writeFileAtomically(file, "old"));
    ASSERT_TRUE(writeFileAtomically(file, "new"));
    EXPECT_EQ(test::readAll(file), QByteArray("new"));

    QString why;
    EXPECT_FALSE(writeFileAtomically(dir.path(), "x", &why));
    EXPECT_EQ(why.toStdString(), "it is a folder");
    EXPECT_FALSE(
        writeFileAtomically(dir.filePath(QStringLiteral("no/such/folder/b.txt")), "x", &why));
    EXPECT_FALSE(why.isEmpty());
}

// On a full disk the buffered bytes fail only when the file is flushed at commit; the old file
// must stay, not be replaced by an empty one. A file size limit of 0 fails every write the same.
TEST(AtomicFile, AFullDiskKeepsTheOldFile) {
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("a.txt"));
    ASSERT_TRUE(writeFileAtomically(file, "old"));
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const rlimit full{0, saved.rlim_max};
    const auto previous = signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
    QString why;
    const bool written = writeFileAtomically(file, "new", &why);
    setrlimit(RLIMIT_FSIZE, &saved);
    signal(SIGXFSZ, previous);
    EXPECT_FALSE(written);
    EXPECT_FALSE(why.isEmpty());
    EXPECT_EQ(test::readAll(file), QByteArray("old"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("a.txt")});
}

}  // namespace
}  // namespace gs
