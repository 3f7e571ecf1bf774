// The online bookmark screen against a real HTTPS server on the loopback: each entry's zoom,
// imports through the bookmark file, and the count reported on close. The palette screen's
// failure and Try Again are hostile_library_test.cpp's, selecting and importing from the
// keyboard the end-to-end palettes script's, and the load states, their texts and counting
// failed imports the library's own tests.
#include <QAbstractButton>
#include <QListWidget>
#include <QPointer>
#include <QTemporaryDir>

#include "library/bookmark_library.h"
#include "support/https_test_server.h"
#include "ui/online_library_view_controller.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

const QString kBookmarks = QStringLiteral("/Glimmerscape/Bookmarks/");

struct Screens : ::testing::Test {
    HttpsTestServer server;
    QWidget host;
    QTemporaryDir home;
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
    EXPECT_EQ(import().title, "Imported");
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
