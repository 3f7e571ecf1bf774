// The online libraries against a real HTTPS server on the loopback.
#include "library/online_library.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "library/bookmark_library.h"
#include "library/palette_library.h"
#include "library_test_support.h"
#include "support/https_test_server.h"

namespace gs {
namespace {

using namespace Qt::StringLiterals;
using test::Answer;

const QString kBase = u"/Glimmerscape/Palettes/"_s;
const int kImportWaitMs = 5 * static_cast<int>(test::kShortTotal.count());

// A manifest with one collection per id (its folder named after it), in order; each palette's
// file is "<name>.map".
QByteArray manifest(const QList<std::pair<QString, QStringList>>& collections) {
    QStringList parts;
    for (const auto& [id, names] : collections) {
        QStringList items;
        for (const QString& name : names)
            items << uR"({"name":"%1","file":"%1.map","swatch":[]})"_s.arg(name);
        parts << uR"({"id":"%1","title":"%1 title","path":"%1","credit":"by %1","palettes":[%2]})"_s
                     .arg(id, items.join(u','));
    }
    return uR"({"manifestVersion":1,"collections":[%1]})"_s.arg(parts.join(u',')).toUtf8();
}

class OnlineLibraryTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.ready());
        library.onImportFinished = [this](const AlertText& alert) { alerts.push_back(alert); };
    }

    void load(const QByteArray& manifestBody) {
        server.serve(kBase + u"manifest.json"_s, manifestBody);
        library.load();
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return library.loadState().phase != LoadState::Phase::loading; }, 5000));
    }

    // Serves a palette file under the library's folder.
    void serveMap(const QString& file) {
        server.serve(kBase + file, QByteArray("9 9 9\n").repeated(256));
    }

    // Selects every entry not yet selected, imports, and waits for the result alert.
    AlertText importAll() {
        for (const auto& section : library.sections())
            for (const auto& item : section)
                if (!library.isSelected(item)) library.toggleSelection(item);
        const std::size_t before = alerts.size();
        library.importSelected();
        EXPECT_TRUE(QTest::qWaitFor([&] { return alerts.size() > before; }, kImportWaitMs));
        return alerts.size() > before ? alerts.back() : AlertText{};
    }

    test::HttpsTestServer server;
    QTemporaryDir home;
    PaletteLibrary store{home.filePath(u"Palettes"_s), QString()};
    OnlinePaletteLibrary library{libraryBaseUrl(server.origin(), LibraryKind::palettes),
                                 paletteStoreStep(store), test::kShortLimits};
    std::vector<AlertText> alerts;
};

TEST_F(OnlineLibraryTest, LoadsCollectionsInOrderWithCredits) {
    load(manifest({{u"warm"_s, {u"Ember"_s, u"Dune"_s}}, {u"cool"_s, {u"Frost"_s}}}));
    EXPECT_EQ(library.loadState(), LoadState::loaded());
    ASSERT_EQ(library.sections().size(), 2u);
    EXPECT_EQ(library.sections()[0][1].entry.name, u"Dune"_s);
    EXPECT_EQ(library.sections()[1][0].collection.title, u"cool title"_s);
    EXPECT_EQ(library.creditLine(), u"by warm · by cool"_s);
    EXPECT_EQ(library.statusText(), QString());
}

TEST_F(OnlineLibraryTest, AFailedManifestCanBeRetried) {
    const QString unreachable =
        u"Couldn't reach the online library. Check your connection and try again."_s;
    server.answer(kBase + u"manifest.json"_s, Answer::hangUp);
    library.load();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return library.loadState() == LoadState::failed(unreachable); }, 5000));
    EXPECT_EQ(library.statusText(), unreachable);
    load("<html>not a manifest</html>");
    EXPECT_EQ(library.loadState(), LoadState::failed(unreachable));
    load(R"({"manifestVersion":7,"collections":[]})");
    EXPECT_EQ(library.loadState(), LoadState::loaded());
    EXPECT_EQ(library.statusText(), u"This library is empty right now."_s);
}

// Two collections share a file name, and their keys tell them apart. Three downloads start
// together (the server answers none before all three have asked); one fails, and with a local
// Ember.map the other two are stored as Ember (1) and Ember (2). Closing reports every import
// of the visit.
TEST_F(OnlineLibraryTest, ImportsInParallelCountingFailuresAndNumberingTakenNames) {
    ASSERT_TRUE(store.save(u"Ember"_s, ColorTable(256)));
    serveMap(u"a/Ember.map"_s);
    serveMap(u"b/Ember.map"_s);
    server.answer(kBase + u"a/Gone.map"_s, Answer::hangUp);
    load(manifest({{u"a"_s, {u"Ember"_s, u"Gone"_s}}, {u"b"_s, {u"Ember"_s}}}));
    server.holdAnswersUntil(4);  // the manifest and the three entries
    ASSERT_EQ(library.sections().size(), 2u);
    ASSERT_EQ(library.sections()[0].size(), 2u);
    const auto& gone = library.sections()[0][1];
    for (const auto& item : {library.sections()[0][0], gone, library.sections()[1][0], gone})
        library.toggleSelection(item);
    EXPECT_EQ(library.selectedKeys(), (QSet<QString>{u"a/Ember.map"_s, u"b/Ember.map"_s}));
    library.toggleSelection(gone);
    EXPECT_EQ(library.selectionText(), u"3 SELECTED"_s);

    EXPECT_EQ(importAll(),
              (AlertText{u"Imported 2 of 3"_s,
                         u"1 couldn't be downloaded — check your connection and try again."_s}));
    QStringList names;
    for (const SavedPalette& p : store.loadUserPalettes()) names << p.name;
    EXPECT_EQ(names, (QStringList{u"Ember"_s, u"Ember (1)"_s, u"Ember (2)"_s}));
    EXPECT_FALSE(library.isImporting());
    EXPECT_TRUE(library.selectedKeys().isEmpty());

    serveMap(u"c/P1.map"_s);
    load(manifest({{u"c"_s, {u"P1"_s}}}));
    EXPECT_EQ(importAll(), (AlertText{u"Imported"_s, u"1 palette added to My Palettes."_s}));
    int reported = -1;
    library.onFinishedImporting = [&](int total) { reported = total; };
    library.close();
    EXPECT_EQ(reported, 3);
}

// A server that never answers and one that sends more than the cap: the download fails within
// its limits while the event loop keeps running; so does a manifest past its cap.
TEST_F(OnlineLibraryTest, HostileAnswersEndAsFailuresWithoutBlocking) {
    serveMap(u"a/Ok.map"_s);
    server.answer(kBase + u"a/Silent.map"_s, Answer::silence);
    server.answer(kBase + u"a/Endless.map"_s, Answer::endless);
    load(manifest({{u"a"_s, {u"Ok"_s, u"Silent"_s, u"Endless"_s}}}));
    int ticks = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] { ++ticks; });
    ticker.start(20);
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(importAll().title, u"Imported 1 of 3"_s);
    EXPECT_LT(clock.elapsed(), 3 * test::kShortTotal.count());
    EXPECT_GE(ticks, clock.elapsed() / 200);  // the event loop kept turning (loose: CI is busy)
    // The client stopped reading at its cap; the server may still have filled the socket
    // buffers, but a client that kept reading would have taken hundreds of megabytes by now.
    EXPECT_LT(server.streamedBytes(), 32 << 20);

    server.answer(kBase + u"manifest.json"_s, Answer::endless);
    library.load();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return library.loadState().phase == LoadState::Phase::failed; }, kImportWaitMs));
}

// Loads the repository's own library folder (as a library on a shared drive), selects every
// entry (each one shown to `each`), imports them and returns the result alert.
template <class Library, class Store, class Each>
AlertText importEverything(LibraryKind kind, Store store, Each each) {
    const auto origin =
        parseLibraryOrigin(QUrl::fromLocalFile(GS_SOURCE_DIR "/library"_L1).toString());
    EXPECT_TRUE(origin);
    Library library(libraryBaseUrl(origin.value_or(QUrl()), kind), std::move(store));
    std::optional<AlertText> alert;
    library.onImportFinished = [&](const AlertText& a) { alert = a; };
    library.load();
    EXPECT_TRUE(QTest::qWaitFor([&] { return library.loadState() == LoadState::loaded(); }, 5000));
    EXPECT_GE(library.sections().size(), 2u);
    for (const auto& section : library.sections())
        for (const auto& item : section) library.toggleSelection(item), each(item);
    library.importSelected();
    EXPECT_TRUE(QTest::qWaitFor([&] { return alert.has_value(); }, 10000));
    library.onImportFinished = nullptr;
    return alert.value_or(AlertText{});
}

// Our own content decodes and every entry it lists imports: each palette, and each bookmark
// at the width its entry gives for the zoom text.
TEST(OnlineLibraryContent, EveryEntryOfTheRepositoryFolderImports) {
    test::ensureApplication();
    QTemporaryDir home;
    PaletteLibrary palettes(home.filePath(u"Palettes"_s), QString());
    qsizetype entries = 0;
    EXPECT_EQ(
        importEverything<OnlinePaletteLibrary>(LibraryKind::palettes, paletteStoreStep(palettes),
                                               [&](const auto&) { ++entries; })
            .title,
        u"Imported"_s);
    EXPECT_EQ(palettes.loadUserPalettes().size(), entries);

    BookmarkLibrary bookmarks(home.filePath(u"Bookmarks.json"_s));
    QHash<QString, std::pair<double, double>> widths;
    const auto width = [&](const auto& item) {
        widths[item.entry.name] = {item.entry.xmin, item.entry.xmax};
    };
    EXPECT_EQ(importEverything<OnlineBookmarkLibrary>(LibraryKind::bookmarks,
                                                      bookmarkStoreStep(bookmarks), width)
                  .title,
              u"Imported"_s);
    const QList<Bookmark> stored = bookmarks.loadUserBookmarks();
    EXPECT_EQ(stored.size(), widths.size());
    for (const Bookmark& b : stored)
        EXPECT_EQ(widths.value(b.name), std::make_pair(b.xmin, b.xmax)) << b.name.toStdString();
}

}  // namespace
}  // namespace gs
