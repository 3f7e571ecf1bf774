// The online libraries against a real HTTPS server on the loopback.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTest>
#include <QTemporaryDir>
#include <QTimer>

#include "library_test_support.h"
#include "support/https_test_server.h"
#include "library/bookmark_library.h"
#include "library/online_library.h"
#include "library/palette_library.h"

namespace gs {
namespace {

using test::Answer;
using Entries = QStringList;  // palette names; each one's file is "<name>.map"

const QString kBase = QStringLiteral("/Glimmerscape/Palettes/");

QByteArray mapBody() { return QByteArray("9 9 9\n").repeated(256); }

// A manifest with one collection per id (its folder named after it), in order.
QByteArray manifest(const QList<std::pair<QString, Entries>>& collections) {
    QStringList parts;
    for (const auto& [id, names] : collections) {
        QStringList items;
        for (const QString& name : names)
            items << QStringLiteral(R"({"name":"%1","file":"%1.map","swatch":["#ff8000","ff8000","?"]})")
                         .arg(name);
        parts << QStringLiteral(R"({"id":"%1","title":"%1 title","path":"%1","credit":"by %1","palettes":[%2]})")
                     .arg(id, items.join(QLatin1Char(',')));
    }
    return QStringLiteral(R"({"manifestVersion":1,"collections":[%1]})")
        .arg(parts.join(QLatin1Char(',')))
        .toUtf8();
}

class OnlineLibraryTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.ready());
        library.onImportFinished = [this](const AlertText& alert) { alerts.push_back(alert); };
    }

    void load(const QByteArray& manifestBody) {
        server.serve(kBase + QStringLiteral("manifest.json"), manifestBody);
        library.load();
        ASSERT_TRUE(QTest::qWaitFor([&] { return library.loadState().phase != LoadState::Phase::loading; }, 5000));
    }

    // Selects every entry, imports, and waits for the result alert.
    AlertText importAll() {
        for (const auto& section : library.sections())
            for (const auto& item : section)
                if (!library.isSelected(item)) library.toggleSelection(item);
        const std::size_t before = alerts.size();
        library.importSelected();
        EXPECT_TRUE(QTest::qWaitFor([&] { return alerts.size() > before; }, 5 * static_cast<int>(test::kShortTotal.count())));
        return alerts.size() > before ? alerts.back() : AlertText{};
    }

    test::HttpsTestServer server;
    QTemporaryDir home;
    PaletteLibrary store{home.filePath(QStringLiteral("Palettes")), QString()};
    OnlinePaletteLibrary library{libraryBaseUrl(server.origin(), LibraryKind::palettes), paletteStoreStep(store),
                                 test::kShortLimits};
    std::vector<AlertText> alerts;
};

TEST_F(OnlineLibraryTest, LoadsCollectionsInOrderWithSwatchesAndCredits) {
    load(manifest({{QStringLiteral("warm"), {QStringLiteral("Ember"), QStringLiteral("Dune")}},
                   {QStringLiteral("cool"), {QStringLiteral("Frost")}}}));
    EXPECT_EQ(library.loadState(), LoadState::loaded());
    ASSERT_EQ(library.sections().size(), 2u);
    EXPECT_EQ(library.sections()[0][1].entry.name, QStringLiteral("Dune"));
    EXPECT_EQ(library.sections()[1][0].collection.title, QStringLiteral("cool title"));
    const aColor orange{1.0, 128 / 255.0, 0.0};
    EXPECT_EQ(library.sections()[1][0].preview, (std::vector<aColor>{orange, orange, {0.5, 0.5, 0.5}}));
    EXPECT_EQ(library.creditLine(), QStringLiteral("by warm · by cool"));
    EXPECT_EQ(library.statusText(), QString());
}

TEST_F(OnlineLibraryTest, AFailedManifestCanBeRetried) {
    const QString unreachable =
        QStringLiteral("Couldn't reach the online library. Check your connection and try again.");
    server.answer(kBase + QStringLiteral("manifest.json"), Answer::hangUp);
    library.load();
    ASSERT_TRUE(QTest::qWaitFor([&] { return library.loadState() == LoadState::failed(unreachable); }, 5000));
    EXPECT_EQ(library.statusText(), unreachable);
    load("<html>not a manifest</html>");
    EXPECT_EQ(library.loadState(), LoadState::failed(unreachable));
    load(R"({"manifestVersion":7,"collections":[]})");
    EXPECT_EQ(library.loadState(), LoadState::loaded());
    EXPECT_EQ(library.statusText(), QStringLiteral("This library is empty right now."));
}

// Two collections share a file name, and their keys tell them apart. Three downloads start
// together (the server answers none before all three have asked); one fails, and with a local
// Ember.map the other two are stored as Ember (1) and Ember (2).
TEST_F(OnlineLibraryTest, ImportsInParallelCountingFailuresAndNumberingTakenNames) {
    ASSERT_TRUE(store.save(QStringLiteral("Ember"), ColorTable(256)));
    server.serve(kBase + QStringLiteral("a/Ember.map"), mapBody());
    server.serve(kBase + QStringLiteral("b/Ember.map"), mapBody());
    server.answer(kBase + QStringLiteral("a/Gone.map"), Answer::hangUp);
    load(manifest({{QStringLiteral("a"), {QStringLiteral("Ember"), QStringLiteral("Gone")}},
                   {QStringLiteral("b"), {QStringLiteral("Ember")}}}));
    server.holdAnswersUntil(4);  // the manifest and the three entries
    ASSERT_EQ(library.sections().size(), 2u);
    ASSERT_EQ(library.sections()[0].size(), 2u);
    const auto& gone = library.sections()[0][1];
    for (const auto& item : {library.sections()[0][0], gone, library.sections()[1][0], gone})
        library.toggleSelection(item);
    EXPECT_EQ(library.selectedKeys(),
              (QSet<QString>{QStringLiteral("a/Ember.map"), QStringLiteral("b/Ember.map")}));
    library.toggleSelection(gone);
    EXPECT_EQ(library.selectionText(), QStringLiteral("3 SELECTED"));

    EXPECT_EQ(importAll(), (AlertText{QStringLiteral("Imported 2 of 3"),
                                      QStringLiteral("1 couldn't be downloaded — check your connection "
                                                     "and try again.")}));
    QStringList names;
    for (const SavedPalette& p : store.loadUserPalettes()) names << p.name;
    EXPECT_EQ(names, (QStringList{QStringLiteral("Ember"), QStringLiteral("Ember (1)"), QStringLiteral("Ember (2)")}));
    EXPECT_FALSE(library.isImporting());
    EXPECT_TRUE(library.selectedKeys().isEmpty());
}

TEST_F(OnlineLibraryTest, ClosingReportsEveryImportOfTheVisit) {
    const Entries first = {QStringLiteral("P1"), QStringLiteral("P2"), QStringLiteral("P3")};
    const Entries second = {QStringLiteral("Q1"), QStringLiteral("Q2"), QStringLiteral("Q3"), QStringLiteral("Q4")};
    for (const QString& name : first + second)
        server.serve(kBase + name.left(1) + QLatin1Char('/') + name + QStringLiteral(".map"), mapBody());
    load(manifest({{QStringLiteral("P"), first}}));
    EXPECT_EQ(importAll(),
              (AlertText{QStringLiteral("Imported"), QStringLiteral("3 palettes added to My Palettes.")}));
    load(manifest({{QStringLiteral("Q"), second}}));
    EXPECT_EQ(importAll().message, QStringLiteral("4 palettes added to My Palettes."));
    int reported = -1;
    library.onFinishedImporting = [&](int total) { reported = total; };
    library.close();
    EXPECT_EQ(reported, 7);
}

// A server that never answers and one that sends more than the cap: the download fails within
// its limits while the event loop keeps running; so does a manifest past its cap.
TEST_F(OnlineLibraryTest, HostileAnswersEndAsFailuresWithoutBlocking) {
    server.serve(kBase + QStringLiteral("a/Ok.map"), mapBody());
    server.answer(kBase + QStringLiteral("a/Silent.map"), Answer::silence);
    server.answer(kBase + QStringLiteral("a/Endless.map"), Answer::endless);
    load(manifest(
        {{QStringLiteral("a"), {QStringLiteral("Ok"), QStringLiteral("Silent"), QStringLiteral("Endless")}}}));
    int ticks = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] { ++ticks; });
    ticker.start(20);
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(importAll().title, QStringLiteral("Imported 1 of 3"));
    EXPECT_LT(clock.elapsed(), 3 * test::kShortTotal.count());
    EXPECT_GE(ticks, clock.elapsed() / 200);  // the event loop kept turning (loose: CI is busy)
    // The client stopped reading at its cap; the server may still have filled the socket
    // buffers, but a client that kept reading would have taken hundreds of megabytes by now.
    EXPECT_LT(server.streamedBytes(), 32 << 20);

    server.answer(kBase + QStringLiteral("manifest.json"), Answer::endless);
    library.load();
    EXPECT_TRUE(QTest::qWaitFor([&] { return library.loadState().phase == LoadState::Phase::failed; }, 3 * static_cast<int>(test::kShortTotal.count())));
}

// The repository's own library folder, as a library on a shared drive.
QUrl repositoryLibrary(LibraryKind kind) {
    const auto origin = parseLibraryOrigin(QUrl::fromLocalFile(QStringLiteral(GS_SOURCE_DIR "/library")).toString());
    EXPECT_TRUE(origin);
    return libraryBaseUrl(origin.value_or(QUrl()), kind);
}

// Loads the library, selects every entry (each one shown to `each`), imports them and returns
// the result alert.
template <class Library, class Each>
AlertText importEverything(Library& library, Each each) {
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
    PaletteLibrary palettes(home.filePath(QStringLiteral("Palettes")), QString());
    OnlinePaletteLibrary paletteLibrary(repositoryLibrary(LibraryKind::palettes), paletteStoreStep(palettes));
    qsizetype entries = 0;
    EXPECT_EQ(importEverything(paletteLibrary, [&](const auto&) { ++entries; }).title, QStringLiteral("Imported"));
    EXPECT_EQ(palettes.loadUserPalettes().size(), entries);

    BookmarkLibrary bookmarks(home.filePath(QStringLiteral("Bookmarks.json")));
    OnlineBookmarkLibrary bookmarkLibrary(repositoryLibrary(LibraryKind::bookmarks), bookmarkStoreStep(bookmarks));
    QHash<QString, std::pair<double, double>> widths;
    const auto width = [&](const auto& item) { widths[item.entry.name] = {item.entry.xmin, item.entry.xmax}; };
    EXPECT_EQ(importEverything(bookmarkLibrary, width).title, QStringLiteral("Imported"));
    const QList<Bookmark> stored = bookmarks.loadUserBookmarks();
    EXPECT_EQ(stored.size(), widths.size());
    for (const Bookmark& b : stored) EXPECT_EQ(widths.value(b.name), std::make_pair(b.xmin, b.xmax)) << b.name.toStdString();
}

}  // namespace
}  // namespace gs
