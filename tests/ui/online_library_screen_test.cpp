// The online library screens against a real HTTPS server on the loopback: the load states,
// selection by keyboard and mouse, imports and their alerts, the count reported on close. The
// library beneath them is tested against hostile servers on its own; the screen with the window
// drawing, in another process, in hostile_library_test.cpp.
#include <QAbstractButton>
#include <QListWidget>
#include <QPointer>
#include <QTemporaryDir>

#include "library/bookmark_library.h"
#include "library/palette_library.h"
#include "support/https_test_server.h"
#include "ui/online_library_view_controller.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

const QString kPalettes = QStringLiteral("/Glimmerscape/Palettes/");
const QString kBookmarks = QStringLiteral("/Glimmerscape/Bookmarks/");
const QString kUnreachable = QStringLiteral("Couldn't reach the online library. Check your connection and try again.");

// One collection per (id, names); every entry's file is "<name>.map" in the folder "<id>".
QByteArray paletteManifest(const QList<std::pair<QString, QStringList>>& collections) {
    QStringList parts;
    for (const auto& [id, names] : collections) {
        QStringList items;
        for (const QString& name : names)
            items << QStringLiteral(R"({"name":"%1","file":"%1.map","swatch":["#ff8000","0080ff"]})").arg(name);
        parts << QStringLiteral(R"({"id":"%1","title":"%1 title","path":"%1","credit":"by %1","palettes":[%2]})")
                     .arg(id, items.join(QLatin1Char(',')));
    }
    return QStringLiteral(R"({"manifestVersion":1,"collections":[%1]})").arg(parts.join(QLatin1Char(','))).toUtf8();
}

QByteArray mapBody() { return QByteArray("9 9 9\n").repeated(256); }

struct Screens : ::testing::Test {
    HttpsTestServer server;
    QWidget host;
    QTemporaryDir home;
    PaletteLibrary store{home.filePath("Palettes"), QString()};
    QPointer<OnlineLibraryScreen> screen;
    std::vector<AlertText> alerts;
    std::optional<int> reported;

    Screens() {
        host.resize(900, 640);
        host.show();
    }
    template <class Controller, class Model>
    void open(std::unique_ptr<Model> model) {
        screen = new Controller(std::move(model), &host);
        screen->presentAlert = [this](const AlertText& a) { alerts.push_back(a); };
        screen->onFinishedImporting = [this](int n) { reported = n; };
        screen->open();
    }
    // Opens the palette screen, its manifest served as given (none: as the test arranged).
    void openPalettes(const QByteArray& manifest = {}) {
        if (!manifest.isEmpty()) server.serve(kPalettes + "manifest.json", manifest);
        open<OnlinePaletteLibraryViewController>(std::make_unique<OnlinePaletteLibrary>(
            libraryBaseUrl(server.origin(), LibraryKind::palettes), paletteStoreStep(store), kShortLimits));
    }
    bool settled() { return waitFor([&] { return !screen->isLoadingIndicated(); }, 5000); }
    QStringList rows() const { return listTexts(*screen->list()); }
    void key(Qt::Key k) { QTest::keyClick(screen->list(), k); }
    // Imports what is selected and waits for the alert.
    AlertText import() {
        const std::size_t before = alerts.size();
        QTest::keyClick(screen->importButton(), Qt::Key_Space);
        EXPECT_TRUE(screen->isImportingIndicated());
        EXPECT_TRUE(waitFor([&] { return alerts.size() > before; }, 5 * static_cast<int>(kShortTotal.count())));
        EXPECT_FALSE(screen->isImportingIndicated());
        return alerts.size() > before ? alerts.back() : AlertText{};
    }
};

TEST_F(Screens, AFailureOffersTryAgainAndTheLibraryListsItsCollectionsInOrder) {
    server.answer(kPalettes + "manifest.json", Answer::hangUp);
    openPalettes();
    EXPECT_TRUE(screen->isLoadingIndicated());
    ASSERT_TRUE(settled());
    EXPECT_EQ(screen->statusText(), kUnreachable);
    EXPECT_TRUE(screen->isRetryOffered());
    EXPECT_FALSE(screen->list()->isVisible());
    EXPECT_FALSE(screen->importButton()->isVisible());

    server.serve(kPalettes + "manifest.json", R"({"manifestVersion":2,"collections":[]})");
    QTest::keyClick(screen->retryButton(), Qt::Key_Space);
    EXPECT_TRUE(screen->isLoadingIndicated() && !screen->isRetryOffered());
    ASSERT_TRUE(settled());
    EXPECT_EQ(screen->statusText(), "This library is empty right now.");

    server.serve(kPalettes + "manifest.json", paletteManifest({{"warm", {"Ember", "Dune"}}, {"cool", {"Frost"}}}));
    screen->handleRetry();
    ASSERT_TRUE(settled());
    EXPECT_EQ(rows(), (QStringList{"warm title", "Ember", "Dune", "cool title", "Frost"}));
    EXPECT_TRUE(screen->list()->isVisible() && screen->list()->hasFocus());
    EXPECT_EQ(screen->statusText(), QString());
    EXPECT_EQ(screen->creditText(), "by warm · by cool");
    EXPECT_EQ(screen->selectionText(), "0 SELECTED");
    EXPECT_FALSE(screen->importButton()->isEnabled());
}

// Two collections share a file name: both can be selected, with Space or a click, and the three
// imports (one of which fails) store the other two. Escape closes the screen and reports what
// this visit imported.
TEST_F(Screens, SelectionAcrossCollectionsImportsAndCloseReportsTheVisit) {
    ASSERT_TRUE(store.save("Ember", ColorTable(256)));
    server.serve(kPalettes + "a/Ember.map", mapBody());
    server.serve(kPalettes + "b/Ember.map", mapBody());
    server.answer(kPalettes + "a/Gone.map", Answer::hangUp);
    openPalettes(paletteManifest({{"a", {"Ember", "Gone"}}, {"b", {"Ember"}}}));
    ASSERT_TRUE(settled());
    key(Qt::Key_Space);                                     // a/Ember
    key(Qt::Key_Down);
    key(Qt::Key_Return);                                    // a/Gone
    key(Qt::Key_Down);                                      // over the title "b title"
    key(Qt::Key_Space);                                     // b/Ember
    EXPECT_EQ(screen->selectionText(), "3 SELECTED");
    clickRow(*screen->list(), 4);
    EXPECT_EQ(screen->selectionText(), "2 SELECTED");
    clickRow(*screen->list(), 4);
    EXPECT_TRUE(screen->importButton()->isEnabled());

    EXPECT_EQ(import(), (AlertText{"Imported 2 of 3", "1 couldn't be downloaded — check your connection and try again."}));
    EXPECT_EQ(screen->selectionText(), "0 SELECTED");
    EXPECT_EQ(store.loadUserPalettes().size(), 3);
    QTest::keyClick(screen, Qt::Key_Escape);
    EXPECT_EQ(reported, 2);
    EXPECT_TRUE(waitFor([&] { return screen.isNull(); }, 2000));  // the screen is gone with its model
}

// The bookmark screen shows each entry's zoom and stores through the bookmark file, named after
// the entry and numbered when taken; a body that is not a bookmark counts as failed.
TEST_F(Screens, TheBookmarkScreenShowsZoomsAndStoresBookmarks) {
    Bookmark spiral;
    spiral.name = "Stored Name";
    spiral.xmin = -0.75, spiral.xmax = -0.74, spiral.ymin = 0.1, spiral.ymax = 0.1075;
    spiral.paletteColors.colors = ColorTable(256, aColor{0.2, 0.4, 0.6});
    server.serve(kBookmarks + "deep/spiral.json", encodeBookmark(spiral));
    server.serve(kBookmarks + "deep/broken.json", "{\"name\": \"Broken\"}");
    server.serve(kBookmarks + "manifest.json", R"({"manifestVersion":1,"collections":[
        {"id":"deep","title":"Deep","path":"deep","bookmarks":[
          {"name":"Spiral","file":"spiral.json","xmin":-0.75,"xmax":-0.74,"swatch":["102030"]},
          {"name":"Broken","file":"broken.json","xmin":-2,"xmax":2,"swatch":[]}]}]})");
    BookmarkLibrary bookmarks(home.filePath("Bookmarks.json"));
    open<OnlineBookmarkLibraryViewController>(std::make_unique<OnlineBookmarkLibrary>(
        libraryBaseUrl(server.origin(), LibraryKind::bookmarks), bookmarkStoreStep(bookmarks), kShortLimits));
    ASSERT_TRUE(settled());
    EXPECT_EQ(rows(), (QStringList{"Deep", "Spiral", "Broken"}));
    EXPECT_EQ(screen->list()->item(1)->toolTip(), "Spiral · 400.0×");
    key(Qt::Key_Space);
    EXPECT_EQ(import(), (AlertText{"Imported", "1 bookmark added to My Bookmarks."}));
    for (Qt::Key k : {Qt::Key_Space, Qt::Key_Down, Qt::Key_Space}) key(k);
    EXPECT_EQ(import().title, "Imported 1 of 2");
    const QList<Bookmark> stored = bookmarks.loadUserBookmarks();
    ASSERT_EQ(stored.size(), 2);
    EXPECT_EQ(stored[1].name, "Spiral (1)");
    EXPECT_EQ(stored[0].paletteColors, spiral.paletteColors);
    screen->handleClose();
    EXPECT_EQ(reported, 2);
}

}  // namespace
}  // namespace gs::test
