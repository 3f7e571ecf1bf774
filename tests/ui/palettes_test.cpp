// The palette commands of the window and the palette browser, with every dialog answered by the
// test: apply, save, duplicate, rename, delete, share, import from disk.
#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QListWidget>
#include <QMimeData>
#include <QTemporaryDir>

#include "core/mapfile.h"
#include "library/palette_library.h"
#include "support/https_test_server.h"
#include "ui/browser_panel.h"
#include "ui/online_library_view_controller.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

ColorTable flat(double v) { return ColorTable(256, aColor{v, v, v}); }

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

QByteArray mapText(const ColorTable& colors) { return QByteArray::fromStdString(writeMap(colors)); }

const QString kDune = QStringLiteral("Dune"), kEmber = QStringLiteral("Ember");

struct Palettes : Collections {
    // Writes a palette file into the user's folder and returns it as the window lists it.
    SavedPalette save(const QString& name, const ColorTable& colors) {
        writeFile(paletteFolder() + QLatin1Char('/') + name + QStringLiteral(".map"), mapText(colors));
        c().refreshPaletteCaches();
        for (const SavedPalette& p : c().userPalettesCache())
            if (p.name == name) return p;
        ADD_FAILURE() << "no palette " << name.toStdString();
        return {};
    }
    // The browser's rows: a section's title, then its entries' names.
    QStringList browserRows() { return listTexts(*c().paletteBrowser()->list()); }
};

// That the picture takes the palette's colours is the end-to-end palettes script's.
TEST_F(Palettes, ApplyingResetsTheColouringStopsTheFlightAndKeepsTheBrowserOpen) {
    c().useRandomColors();
    e->view().onFrequencyShiftBegan();
    e->view().onFrequencyShiftChanged(0, 0.5);
    e->view().onPaletteShiftBegan();
    e->view().onPaletteShiftChanged(0.3);
    c().toggleAutoAction();
    ASSERT_TRUE(c().frequency() != 2.0 && c().cycleOffset() != 0.0);
    c().showPaletteBrowser();
    const QList<SavedPalette>& builtIn = c().builtInPalettesCache();
    const auto fire = std::find_if(builtIn.begin(), builtIn.end(), [](const SavedPalette& p) { return p.name == QStringLiteral("Fire"); });
    ASSERT_NE(fire, builtIn.end());
    c().paletteBrowser()->setCurrentEntry(0, int(fire - builtIn.begin()));
    QTest::keyClick(c().paletteBrowser()->list(), Qt::Key_Return);
    EXPECT_EQ(*c().colorTable(), fire->colors);
    EXPECT_EQ(std::tuple(c().paletteMode(), c().frequency(), c().cycleOffset(), c().currentPaletteName()),
              std::tuple(PaletteMode::smooth, 2.0, 0.0, std::optional(QStringLiteral("Fire"))));
    EXPECT_TRUE(!c().currentBookmarkName() && !c().autoEnabled() && c().paletteBrowser()->isOpen());
    c().newRandomPalette();  // a new table is no longer the named palette
    EXPECT_FALSE(c().currentPaletteName());
    ASSERT_TRUE(e->settle());
}

// Saving stores the table as it is under the trimmed name and replaces a palette of that name.
// (A save that fails is the full-disk test's.)
TEST_F(Palettes, SaveCurrentStoresAndReplacesByName) {
    typed = QStringLiteral("  Ember\t");
    c().saveCurrentPalette();
    ASSERT_EQ(prompts.size(), 1u);
    EXPECT_EQ(joined(prompts[0]), "Save Current Palette|Palette Name||Save");
    c().newRandomPalette();
    const ColorTable second = *c().colorTable();
    typed = QStringLiteral("Ember");
    c().saveCurrentPalette();
    EXPECT_EQ(paletteNames(), QStringList{kEmber});
    EXPECT_EQ(c().currentPaletteName(), kEmber);
    QFile ember(paletteFolder() + QStringLiteral("/Ember.map"));
    ASSERT_TRUE(ember.open(QIODevice::ReadOnly));
    EXPECT_EQ(ember.readAll(), mapText(second));
}

// Duplicate and rename offer a name, say when the one entered is taken and otherwise change the
// folder and the cache; delete asks first. Which names clash is the palette library's test.
TEST_F(Palettes, DuplicateRenameAndDeleteOfferANameRefuseATakenOneAndAskFirst) {
    const SavedPalette ember = save(kEmber, flat(0.2));
    save(kDune, flat(0.6));
    typed = QStringLiteral(" Dune ");
    c().duplicatePalette(ember);
    c().renamePalette(ember);
    typed = QStringLiteral("Cinder");
    c().renamePalette(ember);
    ASSERT_EQ(prompts.size(), 3u);
    EXPECT_EQ(QStringList({prompts[0].text, prompts[1].text}), QStringList({"Ember copy", kEmber}));
    ASSERT_EQ(alerts.size(), 2u);
    EXPECT_EQ(QStringList({alerts[0].title, alerts[1].title}), QStringList({"Couldn't Duplicate", "Couldn't Rename"}));
    EXPECT_EQ(paletteNames(), (QStringList{"Cinder", kDune}));
    EXPECT_EQ(c().userPalettesCache().size(), 2);
    accept = false;  // deleting asks first
    c().deletePalette(c().userPalettesCache().at(0));
    EXPECT_TRUE(questions.size() == 1u && questions[0].destructive);
    EXPECT_EQ(paletteNames().size(), 2);
}

// Import asks first above 200 files, and one alert reports what was added and what was not a
// palette. The threshold and the texts are the texts table's; numbering taken names is the
// palette library's.
TEST_F(Palettes, ImportLocalAsksAboveTwoHundredFilesAndReports) {
    QTemporaryDir source;
    const auto file = [&](const QString& name, const QByteArray& bytes) {
        const QString path = source.filePath(name);
        writeFile(path, bytes);
        return path;
    };
    save(QStringLiteral("blue"), flat(0.1));
    picked = {file("blue.map", mapText(flat(0.3))), file("notes.txt", "hello"), file("red.MAP", mapText(flat(0.9)))};
    c().importLocalPalettes();
    ASSERT_EQ(pickers.size(), 1u);
    EXPECT_EQ(pickers[0].directory, QDir::homePath());
    EXPECT_TRUE(pickers[0].nameFilters.constFirst().contains("*.map") && questions.empty());
    EXPECT_EQ(paletteNames().size(), 3);
    EXPECT_EQ(alerts, (std::vector<AlertText>{
                          {"Imported 2 of 3", "2 palettes added to My Palettes. 1 wasn't a valid 256-color .map file."}}));

    QStringList many;
    for (int i = 0; i < 201; ++i) many << file(QStringLiteral("p%1.map").arg(i), mapText(flat(i / 255.0)));
    accept = false;
    c().importPaletteFiles(many);
    EXPECT_EQ(questions.size(), 1u);
    EXPECT_EQ(paletteNames().size(), 3);
}

// Share puts the file on the clipboard as a file URL and as its path. (The real file a built-in
// is first written to is the palette library's test.)
TEST_F(Palettes, SharePutsTheFileOnTheClipboard) {
    const SavedPalette ember = save(kEmber, flat(0.2));
    c().sharePalette(ember);
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    ASSERT_TRUE(data);
    const QString path = data->text();
    EXPECT_EQ(data->urls(), QList<QUrl>{QUrl::fromLocalFile(path)});
    EXPECT_EQ(readPaletteFile(path), std::optional(ember.colors));
    EXPECT_EQ(QFileInfo(path).fileName(), QStringLiteral("Ember.map"));
    EXPECT_EQ(notices.constLast(), QStringLiteral("“Ember.map” is on the clipboard — paste the file into a folder "
                                                  "or a message, or its path as text."));
}

// The online libraries open over the window at the configured origin; closing the palette one
// after an import lists the new palette in the browser.
TEST_F(Palettes, TheOnlineLibraryRefreshesTheBrowserWhenItImported) {
    HttpsTestServer server;
    const QString base = QStringLiteral("/Glimmerscape/Palettes/");
    server.serve(base + QStringLiteral("manifest.json"), R"({"manifestVersion":1,"collections":[{"id":"a",
        "title":"A","path":"a","palettes":[{"name":"Lagoon","file":"Lagoon.map","swatch":[]}]}]})");
    server.serve(base + QStringLiteral("a/Lagoon.map"), mapText(flat(0.5)));
    qputenv("GLIMMERSCAPE_LIBRARY_URL", server.origin().toEncoded());
    c().showOnlineBookmarkLibrary();
    ASSERT_TRUE(c().findChild<OnlineBookmarkLibraryViewController*>());
    c().findChild<OnlineBookmarkLibraryViewController*>()->handleClose();
    c().showOnlinePaletteLibrary();
    auto* screen = c().findChild<OnlinePaletteLibraryViewController*>();
    ASSERT_TRUE(screen);
    screen->presentAlert = [](const AlertText&) {};
    ASSERT_TRUE(waitFor([&] { return screen->list()->isVisible(); }, 5000));
    screen->toggleEntry(0, 0);
    screen->handleImportSelected();
    ASSERT_TRUE(waitFor([&] { return !screen->isImportingIndicated(); }, 5000));
    EXPECT_TRUE(c().userPalettesCache().isEmpty());  // until the screen closes
    screen->handleClose();
    qunsetenv("GLIMMERSCAPE_LIBRARY_URL");
    EXPECT_EQ(paletteNames(), QStringList{"Lagoon"});
    EXPECT_EQ(browserRows().mid(0, 2), (QStringList{"Mine", "Lagoon"}));
}

}  // namespace
}  // namespace gs::test
