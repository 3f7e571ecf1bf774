// A whole settings file, however damaged, read the way the window reads it at start: a file
// holding values the program never writes (@Variant, @DateTime) is set aside whole, and what is
// taken keeps within its range.
#include <QFile>
#include <QTemporaryDir>

#include "fuzz_support.h"
#include "library/library_location.h"
#include "library/preferences.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    static QTemporaryDir dir;
    static unsigned long run = 0;
    // A new name each time: the settings machinery keeps files it has read.
    const QString path = dir.filePath(QStringLiteral("glimmerscape-%1.conf").arg(run++));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) fuzz::broken("cannot write the settings file");
        file.write(fuzz::bytes(data, size));
    }
    {
        const PreferencesStore store(path);
        const LoadedPreferences p = store.load();
        if (p.animationSpeed && !(*p.animationSpeed >= 0.02 && *p.animationSpeed <= 1.0))
            fuzz::broken("a speed outside the range was taken");
        (void)store.windowGeometry();
        (void)store.windowFullScreen();
        (void)store.soundInputDevice();
        (void)parseLibraryOrigin(store.libraryUrl());
    }
    const QByteArray text = fuzz::bytes(data, size);
    if ((text.contains("@Variant(") || text.contains("@DateTime(")) &&
        !(QFile::exists(path + QStringLiteral(".damaged")) && !QFile::exists(path)))
        fuzz::broken("a damaged settings file was not set aside");
    QFile::remove(path);
    QFile::remove(path + QStringLiteral(".damaged"));
    return 0;
}
