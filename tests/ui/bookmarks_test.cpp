// Bookmarks in the window: saving, duplicating, renaming and deleting through the alerts,
// applying a bookmark, the browser, and share links copied, pasted and received.
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLabel>
#include <QListWidget>
#include <QMenu>

#include "core/baked_palette.h"
#include "library/bookmark_library.h"
#include "library/preferences.h"
#include "library/share_link.h"
#include "ui/bookmark_thumbnails.h"
#include "ui/bookmarks_browser.h"
#include "ui/browser_panel.h"
#include "ui/julia_view.h"
#include "fake_microphone.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

QStringList names(const QList<Bookmark>& bookmarks) {
    QStringList out;
    for (const Bookmark& b : bookmarks) out << b.name;
    return out;
}

// A bookmark of its own look: exactly packable colours, edges and relief on, a light, no sound.
Bookmark place(const QString& name, double xmin = -0.8, std::optional<ShadingTuning> tuning = {}) {
    Bookmark b;
    b.name = name;
    b.xmin = xmin;
    b.xmax = xmin + 0.08;
    b.ymin = 0.1;
    b.ymax = 0.16;
    for (int i = 0; i < 256; ++i) b.paletteColors.colors.push_back({i / 255.0, (255 - i) / 255.0, 0.2});
    b.demEnabled = b.reliefEnabled = true;
    b.reliefLightRawX = 0.3;
    b.reliefLightRawY = -0.1;
    b.tuning = tuning;
    return b;
}

// The explorer with every bookmark dialog answered by the test, and no bookmarks of the user's.
struct Bookmarks : ::testing::Test, AnsweredDialogs {
    std::unique_ptr<Explorer> e;
    FakeMicrophone* microphone = new FakeMicrophone;  // owned by the window

    Bookmarks() {
        QFile::remove(BookmarkLibrary::shared().fileURL());
        e = std::make_unique<Explorer>(std::unique_ptr<AudioInput>(microphone));
        install(e->c());
        e->c().refreshBookmarkCaches();
    }
    MacViewController& c() { return e->c(); }
    QStringList mine() { return names(c().userBookmarksCache()); }
    void save(const QString& name) {
        typed = name;
        c().saveCurrentLocation();
    }
    void store(const QList<Bookmark>& list) {
        ASSERT_TRUE(BookmarkLibrary::shared().saveUserBookmarks(list));
        c().refreshBookmarkCaches();
    }
};

TEST_F(Bookmarks, SavingNumbersTakenNamesAndIgnoresBlankOnes) {
    save(QStringLiteral("  Spiral\t"));
    ASSERT_EQ(prompts.size(), 1u);
    const NamePrompt& p = prompts[0];
    EXPECT_EQ(QStringList({p.title, p.placeholder, p.text, p.acceptButton}),
              QStringList({"Save Current Location", "Name", "", "Save"}));
    save(QStringLiteral("Spiral"));
    save(QStringLiteral("Spiral"));
    save(QStringLiteral(" \t "));
    EXPECT_EQ(mine(), (QStringList{"Spiral", "Spiral (1)", "Spiral (2)"}));
    EXPECT_EQ(c().currentBookmarkName(), QStringLiteral("Spiral (2)"));
    EXPECT_EQ(c().bookmarkStatusText(), QStringLiteral("Spiral (2)\n1.0×"));
    EXPECT_EQ(c().fullScreenStatusLine(), QStringLiteral("CURRENTLY VIEWING: Spiral (2)  (1.0×)"));
    EXPECT_TRUE(alerts.empty());
}

// What is kept is what is on screen: the table baked with the palette's repeat and shift, the
// switches and the light; the tuning only when it is not the default one.
TEST_F(Bookmarks, TheSavedRecordHoldsTheViewAsShown) {
    ShadingTuning tuned;
    tuned.glowRadius = 3;
    c().applyBookmark(place(QStringLiteral("Tuned"), -0.7, tuned));
    c().toggleGlow();
    save(QStringLiteral("Kept"));
    ASSERT_EQ(mine(), QStringList{"Kept"});
    const Bookmark kept = c().userBookmarksCache()[0];
    EXPECT_EQ(kept.xmin, -0.7);
    EXPECT_EQ(kept.tuning, tuned);
    EXPECT_TRUE(kept.glowEnabled && kept.demEnabled && kept.reliefEnabled && !kept.trapsEnabled);
    EXPECT_EQ(kept.reliefLightRawX, 0.3);
    const ColorTable baked = bakeColorTable(*c().colorTable(), c().frequency(), c().cycleOffset());
    EXPECT_EQ(packColorBytes(kept.paletteColors.colors), packColorBytes(baked));

    c().applyBookmark(place(QStringLiteral("Plain")));
    save(QStringLiteral("Untuned"));
    EXPECT_FALSE(c().userBookmarksCache()[1].tuning.has_value());
}

TEST_F(Bookmarks, AFailedWriteSaysSoAndKeepsTheName) {
    save(QStringLiteral("First"));
    const QString file = BookmarkLibrary::shared().fileURL();
    QFile::remove(file);
    ASSERT_TRUE(QDir().mkpath(file));  // a folder where the file should be: no write succeeds
    save(QStringLiteral("Second"));
    QDir(file).removeRecursively();
    EXPECT_EQ(alerts, (std::vector<AlertText>{{"Couldn't Save", "There was a problem saving this bookmark to disk. "
                                                                "Check available storage and try again."}}));
    EXPECT_EQ(c().currentBookmarkName(), QStringLiteral("First"));
}

TEST_F(Bookmarks, DuplicateRenameAndDeleteRefuseClashesAndFollowTheCurrentName) {
    store({place(QStringLiteral("Spot")), place(QStringLiteral("Spiral"))});
    const Bookmark spiral = c().userBookmarksCache()[0];
    c().applyBookmark(spiral);

    typed = QStringLiteral("Spot");
    c().duplicateBookmark(spiral);
    c().renameBookmark(spiral);
    ASSERT_EQ(prompts.size(), 2u);
    EXPECT_EQ(prompts[0].title + u'|' + prompts[0].text + u'|' + prompts[0].acceptButton,
              QStringLiteral("Duplicate Bookmark|Spiral copy|Duplicate"));
    EXPECT_EQ(prompts[1].title + u'|' + prompts[1].text + u'|' + prompts[1].acceptButton,
              QStringLiteral("Rename Bookmark|Spiral|Rename"));
    EXPECT_EQ(alerts, (std::vector<AlertText>{{"Couldn't Duplicate", "A bookmark named “Spot” already exists."},
                                              {"Couldn't Rename", "A bookmark named “Spot” already exists."}}));
    EXPECT_EQ(mine(), (QStringList{"Spiral", "Spot"}));

    typed = QStringLiteral(" Spiral copy ");
    c().duplicateBookmark(spiral);
    typed = QStringLiteral("Coil");
    c().renameBookmark(spiral);
    EXPECT_EQ(mine(), (QStringList{"Coil", "Spiral copy", "Spot"}));
    EXPECT_EQ(c().currentBookmarkName(), QStringLiteral("Coil"));

    c().deleteBookmark(c().userBookmarksCache()[0]);
    ASSERT_EQ(questions.size(), 1u);
    const QuestionText& q = questions[0];
    EXPECT_EQ(q.text.title + u'|' + q.text.message + u'|' + q.acceptButton,
              QStringLiteral("Delete “Coil”?|This can't be undone.|Delete"));
    EXPECT_TRUE(q.destructive);
    EXPECT_EQ(mine(), (QStringList{"Spiral copy", "Spot"}));
    EXPECT_EQ(c().currentBookmarkName(), std::nullopt);
    EXPECT_EQ(c().bookmarkStatusText().section(u'\n', 0, 0), QStringLiteral("Unsaved Location"));
}

// Everything the record holds, in one render, as a new view; AUTO and ANIMATE end; the tuning
// is written to the preferences at once.
TEST_F(Bookmarks, ApplyingShowsEverythingTheRecordHolds) {
    ShadingTuning tuned;
    tuned.curve = 1.7;
    const Viewport before = c().viewport();
    c().toggleAutoAction();
    c().toggleAnimateColors();
    c().toggleOrbitTraps();
    const std::int64_t generation = c().renderGeneration();
    c().applyBookmark(place(QStringLiteral("Valley"), -0.75, tuned));
    EXPECT_EQ(c().renderGeneration(), generation + 1);
    EXPECT_FALSE(c().autoEnabled() || c().animateColorsEnabled() || c().animationTimerRunning());
    EXPECT_EQ(c().viewport(), (Viewport{-0.75, -0.75 + 0.08, 0.1, 0.16}));
    EXPECT_EQ(*c().colorTable(), place(QString()).paletteColors.colors);
    EXPECT_EQ(c().paletteMode(), PaletteMode::smooth);
    EXPECT_EQ(std::make_pair(c().frequency(), c().cycleOffset()), std::make_pair(2.0, 0.0));
    EXPECT_TRUE(c().demEnabled() && c().reliefEnabled() && !c().glowEnabled() && !c().trapsEnabled());
    EXPECT_EQ(c().reliefLightRawX(), 0.3);
    for (const ShadingTuning& t : {c().tuning(), e->view().tuning, c().juliaView()->tuning}) EXPECT_EQ(t, tuned);
    EXPECT_EQ(PreferencesStore().load().shadingTuning, tuned);
    EXPECT_EQ(c().fullScreenStatusLine(), QStringLiteral("CURRENTLY VIEWING: Valley  (50.0×)"));
    ASSERT_TRUE(e->settle());

    // Without a tuning, or with one that cannot colour, the defaults apply.
    ShadingTuning broken;
    broken.demSoftness = 0;
    for (const std::optional<ShadingTuning>& t : {std::optional<ShadingTuning>(), std::optional(broken)}) {
        c().applyBookmark(place(QStringLiteral("Other"), -0.7, t));
        EXPECT_EQ(c().tuning(), ShadingTuning{});
    }
    c().zoomBackAction();
    c().zoomBackAction();
    EXPECT_EQ(c().viewport(), before);
    EXPECT_EQ(c().currentBookmarkName(), std::nullopt);
}

// Sound goes through its own switch: on, it lights glow and relief; off, it must not put back
// the glow and relief of before over the bookmark's own.
TEST_F(Bookmarks, SoundFollowsTheBookmarkWithoutUndoingItsShadings) {
    Bookmark loud = place(QStringLiteral("Loud"));
    loud.soundEnabled = true;
    loud.reliefEnabled = false;
    c().applyBookmark(loud);
    EXPECT_TRUE(c().soundEnabled() && c().glowEnabled() && c().reliefEnabled());
    EXPECT_EQ(microphone->starts, 1);
    c().applyBookmark(place(QStringLiteral("Quiet")));
    EXPECT_FALSE(c().soundEnabled() || c().glowEnabled());
    EXPECT_TRUE(c().reliefEnabled());
    ASSERT_TRUE(e->settle());
}

TEST_F(Bookmarks, TheBuiltInsAreAtLeastTwelveThatCanAllBeShown) {
    const QList<Bookmark>& builtIn = c().builtInBookmarksCache();
    EXPECT_GE(builtIn.size(), 12);
    for (const Bookmark& b : builtIn) {
        EXPECT_TRUE(hasExplorableBounds(b)) << b.name.toStdString();
        EXPECT_EQ(b.paletteColors.colors.size(), 256u);
        EXPECT_EQ(bookmarkTuning(b), b.tuning.value_or(ShadingTuning{})) << b.name.toStdString();
    }
}

// "Mine" only with bookmarks of the user's; their menu adds Rename and Delete; Escape closes
// the explanations, then the browser.
TEST_F(Bookmarks, TheBrowserListsSectionsOffersMenusAndClosesWithEscape) {
    BookmarksBrowser* browser = c().bookmarksBrowser();
    c().showBookmarksBrowser();
    ASSERT_EQ(browser->sections().size(), 1);
    EXPECT_EQ(browser->sections()[0].title, QStringLiteral("Built-in"));
    auto noteShown = [&] {
        for (const QLabel* label : browser->panel()->findChildren<QLabel*>())
            if (label->isVisible() && label->text() == QStringLiteral("No saved bookmarks yet — Save Current Location "
                                                                      "captures whatever's on screen now."))
                return true;
        return false;
    };
    EXPECT_TRUE(noteShown());
    save(QStringLiteral("Mine 1"));
    ASSERT_EQ(browser->sections().size(), 2);
    EXPECT_EQ(browser->sections()[0].title, QStringLiteral("Mine"));
    EXPECT_FALSE(noteShown());

    auto texts = [&](int section) {
        return actionTexts(*std::unique_ptr<QMenu>(browser->contextMenu(section, 0, nullptr)));
    };
    EXPECT_EQ(texts(0), (QStringList{"Share…", "Duplicate…", "Rename…", "Delete"}));
    EXPECT_EQ(texts(1), (QStringList{"Share…", "Duplicate…"}));

    QListWidget* list = browser->panel()->list();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(3)).center());
    EXPECT_EQ(c().currentBookmarkName(), browser->sections()[1].bookmarks[0].name);

    browser->panel()->showExplanations();
    EXPECT_EQ(c().offeredEscapeCommands().mid(0, 2), (QStringList{"Close Bookmarks Explanations", "Close Bookmarks"}));
    EXPECT_TRUE(c().handleEscape());
    EXPECT_TRUE(browser->isOpen());
    EXPECT_FALSE(browser->explanationsOpen());
    EXPECT_TRUE(c().handleEscape());
    EXPECT_FALSE(browser->isOpen());
    EXPECT_TRUE(c().offeredEscapeCommands().isEmpty());
}

// The browser's pictures are the engine's own, made off the GUI thread for every entry while
// it is open; requests still waiting are dropped, and only listed bookmarks' pictures are kept.
TEST_F(Bookmarks, ThumbnailsAreRenderedWhileTheBrowserIsOpenAndDroppedWhenStale) {
    store({place(QStringLiteral("Mine"))});
    BookmarkThumbnails* thumbnails = c().bookmarksBrowser()->thumbnails();
    EXPECT_EQ(thumbnails->cachedCount(), 0);
    c().showBookmarksBrowser();
    const qsizetype all = c().builtInBookmarksCache().size() + 1;
    ASSERT_TRUE(waitFor([&] { return thumbnails->cachedCount() == all; }));
    const Bookmark mine = c().userBookmarksCache()[0];
    EXPECT_EQ(thumbnails->cached(mine), renderBookmarkThumbnail(mine, QSize(144, 108)));

    BookmarkThumbnails fresh;
    QList<Bookmark> many;
    for (int i = 0; i < 8; ++i) many << place(QString::number(i), -0.8 + 0.01 * i);
    int made = 0;
    fresh.onReady = [&](const QByteArray&, const QImage&) { ++made; };
    fresh.request(many);
    fresh.dropPending();
    QTest::qWait(400);
    EXPECT_LE(made, 1);  // at most the one already being rendered
    fresh.request(many.mid(0, 2));
    ASSERT_TRUE(waitFor([&] { return fresh.cachedCount() == 2; }));
    fresh.request(many.mid(1, 1));
    EXPECT_EQ(fresh.cachedCount(), 1);
}

// A received link is shown at once, then offered under a free name; Cancel keeps the view and
// stores nothing. What does not read changes nothing and says nothing.
TEST_F(Bookmarks, AReceivedLinkIsShownThenOfferedForKeeping) {
    store({place(QStringLiteral("Bookmark"))});
    Bookmark sent = place(QStringLiteral("  "), -1.2);
    const QString link = *makeLink(sent);
    const Viewport before = c().viewport();
    for (const QString& bad : {QStringLiteral("glimmerscape://Bookmark?v=1"), link + QStringLiteral("&v=2"),
                               QStringLiteral("hello")})
        c().receiveIncomingURL(bad);
    EXPECT_EQ(c().viewport(), before);
    EXPECT_TRUE(questions.empty());

    accept = false;
    c().receiveIncomingURL(link);
    EXPECT_EQ(c().viewport().xmin, -1.2);
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].text.title + u'|' + questions[0].text.message + u'|' + questions[0].acceptButton,
              QStringLiteral("Add Bookmark?|Save “Bookmark (1)” to My Bookmarks.|Add"));
    EXPECT_EQ(mine(), QStringList{"Bookmark"});

    accept = true;
    QGuiApplication::clipboard()->setText(QStringLiteral("\n ") + link + QStringLiteral("  "));
    c().openLinkFromClipboard();
    EXPECT_EQ(mine(), (QStringList{"Bookmark", "Bookmark (1)"}));
    EXPECT_EQ(c().currentBookmarkName(), QStringLiteral("Bookmark (1)"));
    QGuiApplication::clipboard()->setText(QStringLiteral("just words"));
    c().openLinkFromClipboard();
    EXPECT_EQ(questions.size(), 2u);
}

TEST_F(Bookmarks, LinksCopiedFromTheWindowReadBackAsWhatWasShown) {
    const Bookmark shared = place(QStringLiteral("Seahorse"));
    c().shareBookmark(shared);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), *makeLink(shared));
    c().copyLinkToCurrentView();
    const std::optional<Bookmark> view = readLink(QGuiApplication::clipboard()->text());
    ASSERT_TRUE(view);
    EXPECT_EQ(view->name, QStringLiteral("Bookmark"));
    EXPECT_EQ((Viewport{view->xmin, view->xmax, view->ymin, view->ymax}), c().viewport());
    EXPECT_EQ(notices, (QStringList{"Link to “Seahorse” copied to the clipboard",
                                    "Link to this view copied to the clipboard"}));
}

}  // namespace
}  // namespace gs::test
