// The palette commands of the window and the palette browser, with every dialog answered by the
// test: apply, save, duplicate, rename, delete, share, import from disk.
#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QLabel>
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

// The window with an empty palette folder; every dialog is recorded and answered as set.
struct Palettes : ::testing::Test, AnsweredDialogs {
    Explorer e;
    QStringList picked;  // what the file dialog returns
    std::vector<OpenFilesRequest> pickers;

    Palettes() {
        QDir(folder()).removeRecursively();
        QDir().mkpath(folder());
        install(e.c());
        e.c().presentOpenFiles = [this](const OpenFilesRequest& r, std::function<void(const QStringList&)> onChosen) {
            pickers.push_back(r);
            onChosen(picked);
        };
        e.c().refreshPaletteCaches();
    }
    static QString folder() { return PaletteLibrary::shared().userPalettesDirectory(); }
    MacViewController& c() { return e.c(); }
    SavedPalette save(const QString& name, const ColorTable& colors) {
        writeFile(folder() + QLatin1Char('/') + name + QStringLiteral(".map"), mapText(colors));
        c().refreshPaletteCaches();
        for (const SavedPalette& p : c().userPalettesCache())
            if (p.name == name) return p;
        ADD_FAILURE() << "no palette " << name.toStdString();
        return {};
    }
    QStringList userNames() {
        QStringList names;
        for (const SavedPalette& p : PaletteLibrary::shared().loadUserPalettes()) names << p.name;
        return names;
    }
    // The browser's rows as "TITLE" for a section and the name for an entry.
    QStringList browserRows() {
        QStringList rows;
        const QListWidget* list = c().paletteBrowser()->list();
        for (int i = 0; i < list->count(); ++i) rows << list->item(i)->text();
        return rows;
    }
};

TEST_F(Palettes, ApplyingResetsTheColouringStopsTheFlightAndKeepsTheBrowserOpen) {
    c().useRandomColors();
    e.view().onFrequencyShiftBegan();
    e.view().onFrequencyShiftChanged(0, 0.5);
    e.view().onPaletteShiftBegan();
    e.view().onPaletteShiftChanged(0.3);
    c().toggleAutoAction();
    ASSERT_NE(c().frequency(), 2.0);
    ASSERT_NE(c().cycleOffset(), 0.0);
    c().showPaletteBrowser();
    ASSERT_TRUE(e.settle());
    const QImage before = e.view().makeImage().copy();
    const QList<SavedPalette>& builtIn = c().builtInPalettesCache();
    const auto fire = std::find_if(builtIn.begin(), builtIn.end(), [](const SavedPalette& p) { return p.name == QStringLiteral("Fire"); });
    ASSERT_NE(fire, builtIn.end());
    c().paletteBrowser()->setCurrentEntry(0, int(fire - builtIn.begin()));
    QTest::keyClick(c().paletteBrowser()->list(), Qt::Key_Return);
    EXPECT_EQ(*c().colorTable(), fire->colors);
    EXPECT_EQ(c().paletteMode(), PaletteMode::smooth);
    EXPECT_EQ(c().frequency(), 2.0);
    EXPECT_EQ(c().cycleOffset(), 0.0);
    EXPECT_EQ(c().currentPaletteName(), QStringLiteral("Fire"));
    EXPECT_FALSE(c().currentBookmarkName());
    EXPECT_FALSE(c().autoEnabled());
    EXPECT_TRUE(c().paletteBrowser()->isOpen());
    ASSERT_TRUE(e.settle());
    EXPECT_NE(e.view().makeImage(), before);  // recoloured
}

// Saving stores the table as it is under the trimmed name and replaces a palette of that name;
// a blank name stores nothing; a name whose file cannot be written says so.
TEST_F(Palettes, SaveCurrentStoresAndReplacesByName) {
    typed = QStringLiteral("  Ember\t");
    c().saveCurrentPalette();
    ASSERT_EQ(prompts.size(), 1u);
    EXPECT_EQ(prompts[0].title, QStringLiteral("Save Current Palette"));
    EXPECT_EQ(prompts[0].placeholder, QStringLiteral("Palette Name"));
    EXPECT_EQ(prompts[0].acceptButton, QStringLiteral("Save"));
    c().newRandomPalette();
    const ColorTable second = *c().colorTable();
    typed = QStringLiteral("Ember");
    c().saveCurrentPalette();
    EXPECT_EQ(userNames(), QStringList{QStringLiteral("Ember")});
    EXPECT_EQ(c().userPalettesCache().at(0).colors.size(), 256u);
    EXPECT_EQ(c().currentPaletteName(), QStringLiteral("Ember"));
    QFile ember(folder() + QStringLiteral("/Ember.map"));
    ASSERT_TRUE(ember.open(QIODevice::ReadOnly));
    EXPECT_EQ(ember.readAll(), mapText(second));
    typed = QStringLiteral("   ");
    c().saveCurrentPalette();
    QDir(folder()).mkdir(QStringLiteral("Blocked.map"));  // a folder where the file would go
    typed = QStringLiteral("Blocked");
    c().saveCurrentPalette();
    EXPECT_EQ(alerts, (std::vector<AlertText>{{QStringLiteral("Couldn't Save"),
                                                QStringLiteral("There was a problem saving this palette to disk. "
                                                               "Check available storage and try again.")}}));
    EXPECT_EQ(userNames(), QStringList{QStringLiteral("Ember")});
}

struct ChangeCase {
    const char* label;
    bool rename;         // else duplicate
    const char* typed;   // the name entered for "Ember" (beside "Dune")
    QStringList after;   // the user's palettes afterwards
    QString alertTitle;  // empty: none
};
void PrintTo(const ChangeCase& c, std::ostream* os) { *os << c.label; }

class PaletteChanges : public Palettes, public ::testing::WithParamInterface<ChangeCase> {};

TEST_P(PaletteChanges, RefuseTakenNamesAndOtherwiseChangeTheFolder) {
    const ChangeCase& t = GetParam();
    const SavedPalette ember = save(QStringLiteral("Ember"), flat(0.2));
    save(QStringLiteral("Dune"), flat(0.6));
    typed = QString::fromUtf8(t.typed);
    t.rename ? c().renamePalette(ember) : c().duplicatePalette(ember);
    ASSERT_EQ(prompts.size(), 1u);
    EXPECT_EQ(prompts[0].text, t.rename ? QStringLiteral("Ember") : QStringLiteral("Ember copy"));
    EXPECT_EQ(userNames(), t.after);
    EXPECT_EQ(c().userPalettesCache().size(), t.after.size());  // the caches follow
    if (t.alertTitle.isEmpty()) {
        EXPECT_TRUE(alerts.empty());
    } else {
        ASSERT_EQ(alerts.size(), 1u);
        EXPECT_EQ(alerts[0].title, t.alertTitle);
        EXPECT_EQ(alerts[0].message, QStringLiteral("A palette named “Dune” already exists."));
    }
}

const QString kDune = QStringLiteral("Dune"), kEmber = QStringLiteral("Ember");
INSTANTIATE_TEST_SUITE_P(
    Cases, PaletteChanges,
    ::testing::Values(ChangeCase{"duplicate", false, "Ember copy", {kDune, kEmber, QStringLiteral("Ember copy")}, {}},
                      ChangeCase{"duplicateClash", false, " Dune ", {kDune, kEmber}, QStringLiteral("Couldn't Duplicate")},
                      ChangeCase{"duplicateBlank", false, "  ", {kDune, kEmber}, {}},
                      ChangeCase{"rename", true, "Cinder", {QStringLiteral("Cinder"), kDune}, {}},
                      ChangeCase{"renameClash", true, "Dune", {kDune, kEmber}, QStringLiteral("Couldn't Rename")},
                      ChangeCase{"renameUnchanged", true, "Ember ", {kDune, kEmber}, {}}),
    [](const auto& info) { return std::string(info.param.label); });

TEST_F(Palettes, DeleteAsksFirstAndBuiltInsOfferOnlyShareAndDuplicate) {
    const SavedPalette ember = save(QStringLiteral("Ember"), flat(0.2));
    accept = false;
    c().deletePalette(ember);
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].text, (AlertText{QStringLiteral("Delete “Ember”?"), QStringLiteral("This can't be undone.")}));
    EXPECT_EQ(questions[0].acceptButton, QStringLiteral("Delete"));
    EXPECT_TRUE(questions[0].destructive);
    EXPECT_EQ(userNames(), QStringList{kEmber});
    accept = true;
    c().deletePalette(ember);
    EXPECT_TRUE(userNames().isEmpty());
    EXPECT_TRUE(c().userPalettesCache().isEmpty());

    save(QStringLiteral("Ember"), flat(0.2));
    c().showPaletteBrowser();
    const auto menuFor = [&](int section) {
        c().paletteBrowser()->onContextMenu(section, 0, QPoint(10, 10));
        QMenu* menu = c().findChildren<QMenu*>().constLast();
        const QStringList items = actionTexts(*menu);
        menu->close();
        return items;
    };
    EXPECT_EQ(menuFor(0), (QStringList{QStringLiteral("Share…"), QStringLiteral("Duplicate…"),
                                       QStringLiteral("Rename…"), QStringLiteral("Delete")}));
    EXPECT_EQ(menuFor(1), (QStringList{QStringLiteral("Share…"), QStringLiteral("Duplicate…")}));
}

// "Mine" appears with the first palette of the user's own, and the empty note goes.
TEST_F(Palettes, TheBrowserListsMineOnlyWhenThereAreUserPalettes) {
    QStringList builtIn;
    for (const SavedPalette& p : c().builtInPalettesCache()) builtIn << p.name;
    EXPECT_GE(builtIn.size(), 20);
    EXPECT_EQ(browserRows(), QStringList{QStringLiteral("Built-in")} + builtIn);
    const auto note = [&] { return c().paletteBrowser()->findChild<QLabel*>(QStringLiteral("note")); };
    c().showPaletteBrowser();
    ASSERT_TRUE(note());
    EXPECT_TRUE(note()->isVisible());
    EXPECT_EQ(note()->text(),
              QStringLiteral("No saved palettes yet — Save Current… stores whatever's on screen now."));
    typed = QStringLiteral("Mine First");
    c().saveCurrentPalette();
    EXPECT_EQ(browserRows(), QStringList({QStringLiteral("Mine"), QStringLiteral("Mine First"),
                                          QStringLiteral("Built-in")}) + builtIn);
    EXPECT_FALSE(note()->isVisible());
}

// Import asks first above 200 files; files land under numbered names when theirs is taken, and
// one alert reports what was added and what was not a palette.
TEST_F(Palettes, ImportLocalAsksAboveTwoHundredFilesAndReports) {
    QTemporaryDir source;
    const auto file = [&](const QString& name, const QByteArray& bytes) {
        const QString path = source.filePath(name);
        writeFile(path, bytes);
        return path;
    };
    save(QStringLiteral("blue"), flat(0.1));
    picked = {file(QStringLiteral("blue.map"), mapText(flat(0.3))), file(QStringLiteral("notes.txt"), "hello"),
              file(QStringLiteral("red.MAP"), mapText(flat(0.9)))};
    c().importLocalPalettes();
    ASSERT_EQ(pickers.size(), 1u);
    EXPECT_EQ(pickers[0].directory, QDir::homePath());
    EXPECT_EQ(pickers[0].nameFilters.constLast(), QStringLiteral("All files (*)"));
    EXPECT_TRUE(pickers[0].nameFilters.constFirst().contains(QStringLiteral("*.map")));
    EXPECT_TRUE(questions.empty());
    EXPECT_EQ(userNames(), (QStringList{QStringLiteral("blue"), QStringLiteral("blue (1)"), QStringLiteral("red")}));
    EXPECT_EQ(alerts, (std::vector<AlertText>{{QStringLiteral("Imported 2 of 3"),
                                                QStringLiteral("2 palettes added to My Palettes. 1 wasn't a valid "
                                                               "256-color .map file.")}}));

    QStringList many;
    for (int i = 0; i < 201; ++i) many << file(QStringLiteral("p%1.map").arg(i), mapText(flat(i / 255.0)));
    accept = false;
    c().importPaletteFiles(many);
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].text.title, QStringLiteral("Import 201 Palettes?"));
    EXPECT_EQ(questions[0].acceptButton, QStringLiteral("Import"));
    EXPECT_EQ(userNames().size(), 3);
    c().importPaletteFiles(many.mid(1));  // 200: no question
    EXPECT_EQ(questions.size(), 1u);
    EXPECT_EQ(userNames().size(), 203);
    EXPECT_EQ(alerts.back(), (AlertText{QStringLiteral("Imported"), QStringLiteral("200 palettes added to My Palettes.")}));
}

// Share puts the file on the clipboard as a file URL and as its path; a built-in is first
// written to a real file.
TEST_F(Palettes, SharePutsTheFileOnTheClipboard) {
    const SavedPalette ember = save(QStringLiteral("Ember"), flat(0.2));
    for (const SavedPalette& palette : {ember, c().builtInPalettesCache().at(0)}) {
        SCOPED_TRACE(palette.name.toStdString());
        c().sharePalette(palette);
        const QMimeData* data = QGuiApplication::clipboard()->mimeData();
        ASSERT_TRUE(data);
        const QString path = data->text();
        EXPECT_FALSE(path.startsWith(QLatin1Char(':')));  // a real file, not the built-in resource
        EXPECT_EQ(data->urls(), QList<QUrl>{QUrl::fromLocalFile(path)});
        EXPECT_EQ(readPaletteFile(path), std::optional(palette.colors));
        EXPECT_EQ(QFileInfo(path).fileName(), palette.name + QStringLiteral(".map"));
        EXPECT_EQ(notices.constLast(), QStringLiteral("“%1.map” is on the clipboard — paste the file into a folder "
                                                      "or a message, or its path as text.").arg(palette.name));
    }
}

// Escape closes the explanations first, then the browser; the control and Ctrl+P toggle it.
TEST_F(Palettes, EscapeClosesTheExplanationsThenTheBrowser) {
    c().togglePaletteBrowser();
    c().paletteBrowser()->showExplanations();
    EXPECT_EQ(c().offeredEscapeCommands(),
              (QStringList{QStringLiteral("Close Palette Explanations"), QStringLiteral("Close Palette Browser")}));
    EXPECT_TRUE(c().handleEscape());
    EXPECT_EQ(c().offeredEscapeCommands(), QStringList{QStringLiteral("Close Palette Browser")});
    EXPECT_TRUE(c().handleEscape());
    EXPECT_FALSE(c().paletteBrowser()->isOpen());
    QTest::keyClick(&c(), Qt::Key_P, Qt::ControlModifier);
    EXPECT_TRUE(c().paletteBrowser()->isOpen());
    QTest::keyClick(&c(), Qt::Key_P, Qt::ControlModifier);
    EXPECT_FALSE(c().paletteBrowser()->isOpen());
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
    auto* bookmarks = c().findChild<OnlineBookmarkLibraryViewController*>();
    ASSERT_TRUE(bookmarks);
    bookmarks->handleClose();
    c().showOnlinePaletteLibrary();
    auto* screen = c().findChild<OnlinePaletteLibraryViewController*>();
    ASSERT_TRUE(screen);
    screen->presentAlert = [](const AlertText&) {};
    ASSERT_TRUE(waitFor([&] { return screen->list()->isVisible(); }, 5000));
    screen->toggleEntry(0, 0);
    screen->handleImportSelected();
    ASSERT_TRUE(waitFor([&] { return !screen->isImportingIndicated(); }, 5000));
    EXPECT_TRUE(c().userPalettesCache().isEmpty());
    screen->handleClose();
    qunsetenv("GLIMMERSCAPE_LIBRARY_URL");
    EXPECT_EQ(userNames(), QStringList{QStringLiteral("Lagoon")});
    EXPECT_EQ(browserRows().mid(0, 2), (QStringList{QStringLiteral("Mine"), QStringLiteral("Lagoon")}));
}

}  // namespace
}  // namespace gs::test
