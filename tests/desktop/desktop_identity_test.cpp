#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <sys/stat.h>
#include <unistd.h>

#include "app/app_id.h"
#include "app/single_instance.h"

namespace gs {
namespace {

QString readText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The launcher, the AppStream component, the icon, the build's install rules and the scheme
// registration must all name the application as the program does, or desktops cannot match
// the running window to its launcher and icon.
TEST(DesktopIdentity, OneApplicationIdEverywhere) {
    const QString id = QString::fromLatin1(kApplicationId);
    EXPECT_EQ(id, QStringLiteral(GS_CMAKE_APP_ID));
    const QString data = QStringLiteral(GS_DATA_DIR) + u'/';
    EXPECT_TRUE(readText(data + id + ".desktop").contains("\nIcon=" + id + '\n'));
    const QString metainfo = readText(data + id + ".metainfo.xml");
    EXPECT_TRUE(metainfo.contains("<id>" + id + "</id>"));
    EXPECT_TRUE(metainfo.contains("<launchable type=\"desktop-id\">" + id + ".desktop<"));
    EXPECT_TRUE(QFile::exists(data + "icons/hicolor/scalable/apps/" + id + ".svg"));
    EXPECT_TRUE(readText(data + "register-scheme.sh").contains("\nid=" + id + '\n'));
}

int groupOrOtherAccess(const QString& path) {
    struct stat info {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return static_cast<int>(info.st_mode & 077);
}

class SocketPlace : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(temp.isValid());
        qputenv("TMPDIR", QFile::encodeName(temp.path()));
    }
    void TearDown() override {
        restore("XDG_RUNTIME_DIR", runtimeDir);
        restore("TMPDIR", tmpDir);
    }
    static void restore(const char* name, const QByteArray& value) {
        if (value.isNull()) qunsetenv(name); else qputenv(name, value);
    }

    QByteArray runtimeDir = qgetenv("XDG_RUNTIME_DIR"), tmpDir = qgetenv("TMPDIR");
    QTemporaryDir temp;
    QString privateDir = temp.filePath("glimmerscape-" + QString::number(::geteuid()));
    QString socketName = QString::fromLatin1(kApplicationId) + ".socket";
};

TEST_F(SocketPlace, IsInTheRuntimeDirectoryWhenThereIsOne) {
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(temp.path()));
    EXPECT_EQ(SingleInstance::defaultSocketPath(), temp.filePath(socketName));
}

TEST_F(SocketPlace, FallsBackToAPrivateFolderOfTheUser) {
    for (const char* runtime : {"", "relative/run", "/nonexistent/run"}) {
        qputenv("XDG_RUNTIME_DIR", runtime);
        EXPECT_EQ(SingleInstance::defaultSocketPath(), privateDir + u'/' + socketName) << runtime;
        EXPECT_EQ(groupOrOtherAccess(privateDir), 0) << runtime;
    }
    qunsetenv("XDG_RUNTIME_DIR");
    ::chmod(QFile::encodeName(privateDir).constData(), 0755);
    EXPECT_EQ(SingleInstance::defaultSocketPath(), privateDir + u'/' + socketName);
    EXPECT_EQ(groupOrOtherAccess(privateDir), 0);  // tightened again
}

TEST_F(SocketPlace, RefusesAFolderThatIsALink) {
    qunsetenv("XDG_RUNTIME_DIR");
    ASSERT_TRUE(QDir(temp.path()).mkdir("elsewhere"));
    ASSERT_TRUE(QFile::link(temp.filePath("elsewhere"), privateDir));
    EXPECT_EQ(SingleInstance::defaultSocketPath(), QString());
}

}  // namespace
}  // namespace gs
