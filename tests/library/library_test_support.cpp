#include "library_test_support.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

namespace gs::test {
namespace {

// Points HOME and the XDG folders at a fresh directory before any test runs, so no test reads
// or writes the real user's settings or bookmarks.
class PrivateHome : public ::testing::Environment {
public:
    void SetUp() override {
        const QString home = dir_.path();
        const auto set = [&](const char* name, const QString& relative) {
            const QString path = QDir(home).filePath(relative);
            QDir().mkpath(path);
            setenv(name, QFile::encodeName(path).constData(), 1);
        };
        set("HOME", QStringLiteral("."));
        set("XDG_CONFIG_HOME", QStringLiteral(".config"));
        set("XDG_DATA_HOME", QStringLiteral(".local/share"));
        set("XDG_CACHE_HOME", QStringLiteral(".cache"));
        QCoreApplication::setApplicationName(QStringLiteral("glimmerscape"));
        QCoreApplication::setOrganizationName(QString());
    }
    QString path() const { return dir_.path(); }

private:
    QTemporaryDir dir_;
};

PrivateHome* const home =
    static_cast<PrivateHome*>(::testing::AddGlobalTestEnvironment(new PrivateHome));

}  // namespace

QString testHome() { return home->path(); }

Bookmark sampleBookmark(const QString& name) {
    Bookmark b;
    b.name = name;
    b.xmin = -0.7500000000000002;
    b.xmax = -0.7400000000000001;
    b.ymin = 0.1;
    b.ymax = 0.1075;
    for (int i = 0; i < 256; ++i)
        b.paletteColors.colors.push_back({i / 255.0, (255 - i) / 255.0, (i * 7 % 256) / 255.0});
    b.demEnabled = b.reliefEnabled = b.trapsEnabled = true;
    b.reliefLightRawX = -0.5;
    b.reliefLightRawY = 1e-05;
    ShadingTuning t;
    t.glowStrength = 1.25;
    b.tuning = t;
    return b;
}

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

}  // namespace gs::test
