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

// The launcher, the AppStream component and the build's install rules must all name the
// application as the program does, or desktops cannot match the running window to its launcher
// and icon. Where the icon lands and whom the scheme registration names are checked by
// install_test.sh and register_scheme_test.sh with the build's id.
TEST(DesktopIdentity, OneApplicationIdEverywhere) {
    const QString id = QString::fromLatin1(kApplicationId);
    EXPECT_EQ(id, QStringLiteral(GS_CMAKE_APP_ID));
    const QString data = QStringLiteral(GS_DATA_DIR) + u'/';
    EXPECT_TRUE(readText(data + id + ".desktop").contains("\nIcon=" + id + '\n'));
    const QString metainfo = readText(data + id + ".metainfo.xml");
    EXPECT_TRUE(metainfo.contains("<id>" + id + "</id>"));
    EXPECT_TRUE(metainfo.contains("<launchable type=\"desktop-id\">" + id + ".desktop<"));
}

void restoreEnv(const char* name, const QByteArray& value) {
    if (value.isNull()) qunsetenv(name); else qputenv(name, value);
}

bool isOwnerOnly(const QString& dir) {
    struct stat info {};
    return ::lstat(QFile::encodeName(dir).constData(), &info) == 0 && (info.st_mode & 077) == 0;
}

// The socket lives in the runtime directory; without a usable one, in a private folder of the
// temporary directory that is made (or tightened) to owner-only access, and never through a
// symbolic link someone could have planted there.
TEST(SocketPlace, RuntimeDirectoryOrAPrivateFolder) {
    const QByteArray savedRuntime = qgetenv("XDG_RUNTIME_DIR"), savedTmp = qgetenv("TMPDIR");
    QTemporaryDir temp;
    qputenv("TMPDIR", QFile::encodeName(temp.path()));
    const QString name = QString::fromLatin1(kApplicationId) + ".socket";
    const QString privateDir = temp.filePath("glimmerscape-" + QString::number(::geteuid()));

    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(temp.path()));
    EXPECT_EQ(SingleInstance::defaultSocketPath(), temp.filePath(name));
    for (const char* runtime : {"", "relative/run", "/nonexistent/run"}) {
        qputenv("XDG_RUNTIME_DIR", runtime);
        EXPECT_EQ(SingleInstance::defaultSocketPath(), privateDir + u'/' + name) << runtime;
        EXPECT_TRUE(isOwnerOnly(privateDir)) << runtime;
        ::chmod(QFile::encodeName(privateDir).constData(), 0755);
    }
    ASSERT_TRUE(QDir(privateDir).removeRecursively());
    ASSERT_TRUE(QFile::link(temp.path(), privateDir));
    EXPECT_EQ(SingleInstance::defaultSocketPath(), QString());

    restoreEnv("XDG_RUNTIME_DIR", savedRuntime);
    restoreEnv("TMPDIR", savedTmp);
}

}  // namespace
}  // namespace gs
