// Saves the four kinds of user file over and over, each round carrying its number, so that a test
// can kill this program at any moment and check what is left. Usage: save_loop FOLDER FIRST-ROUND
// The files: FOLDER/Bookmarks.json, FOLDER/Palettes/Round.map, FOLDER/glimmerscape.conf and the
// export in TMPDIR. After every complete round it prints the round's number on its own line.
#include <QCoreApplication>
#include <cstdio>

#include "export/image_export.h"
#include "fault_rounds.h"
#include "library/bookmark_library.h"
#include "library/palette_library.h"
#include "library/preferences.h"

using namespace gs;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fputs("usage: save_loop FOLDER FIRST-ROUND\n", stderr);
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    BookmarkLibrary bookmarks(folder + QStringLiteral("/Bookmarks.json"));
    PaletteLibrary palettes(folder + QStringLiteral("/Palettes"), QString());
    for (qint64 round = QByteArray(argv[2]).toLongLong();; ++round) {
        if (!bookmarks.saveUserBookmarks(test::roundBookmarks(round))) return 1;
        if (!palettes.save(test::kRoundPaletteName, test::roundColors(round))) return 1;
        {
            PreferencesStore preferences(folder + QStringLiteral("/glimmerscape.conf"));
            preferences.save(test::roundPreferences(round));
            preferences.setLibraryUrl(test::roundLibraryUrl(round));
            preferences.sync();
        }
        if (!exportPicture(test::roundPicture(round), test::kRoundExportTime)) return 1;
        std::printf("%lld\n", static_cast<long long>(round));
        std::fflush(stdout);
    }
}
