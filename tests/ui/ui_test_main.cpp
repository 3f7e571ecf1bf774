// The window tests need a QApplication; without a display they use the offscreen platform. Each
// run keeps its settings and data in a fresh temporary home, never the user's.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(name, home.path().toUtf8() + "/" + name);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("glimmerscape"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
