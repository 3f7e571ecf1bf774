// Bookmarks in the window: saving, duplicating, renaming and deleting through the alerts,
// applying a bookmark, the browser, and share links copied, pasted and received.
#include <QApplication>
#include <QClipboard>
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
#include "ui_test_support.h"

namespace gs::test {
namespace {

// A bookmark of its own look: exactly packable colours, edges and relief on, a light, no sound.
Bookmark place(const QString& name, double xmin = -0.8, std::optional<ShadingTuning> tuning = {}) {
    ColorTable colors;
    for (int i = 0; i < 256; ++i) colors.push_back({i / 255.0, (255 - i) / 255.0, 0.2});
    return {name, xmin, xmin + 0.08, 0.1, 0.16, {colors}, true, true, 0.3, -0.1, false, false, false, tuning};
}

struct Bookmarks : Collections {
    void save(const QString& name) {
        typed = name;
        c().saveCurrentLocation();
    }
    void store(const QList<Bookmark>& list) {
        ASSERT_TRUE(BookmarkLibrary::shared().saveUserBookmarks(list));
        c().refreshBookmarkCaches();
    }
};

// A taken name is numbered and a blank one saves nothing. (A failed write is the full-disk
// test's.)
TEST_F(Bookmarks, SavingNumbersTakenNamesAndIgnoresBlankOnes) {
    save(QStringLiteral("  Spiral\t"));
    ASSERT_EQ(prompts.size(), 1u);
    EXPECT_EQ(joined(prompts[0]), "Save Current Location|Name||Save");
    save(QStringLiteral("Spiral"));
    save(QStringLiteral("Spiral"));
    save(QStringLiteral(" \t "));
    EXPECT_EQ(bookmarkNames(), (QStringList{"Spiral", "Spiral (1)", "Spiral (2)"}));
    EXPECT_EQ(c().bookmarkStatusText(), QStringLiteral("Spiral (2)\n1.0×"));
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
    ASSERT_EQ(bookmarkNames(), QStringList{"Kept"});
    const Bookmark kept = c().userBookmarksCache()[0];
    EXPECT_EQ(std::tuple(kept.xmin, kept.reliefLightRawX, kept.tuning), std::tuple(-0.7, 0.3, tuned));
    EXPECT_TRUE(kept.glowEnabled && kept.demEnabled && kept.reliefEnabled && !kept.trapsEnabled);
    const ColorTable baked = bakeColorTable(*c().colorTable(), c().frequency(), c().cycleOffset());
    EXPECT_EQ(packColorBytes(kept.paletteColors.colors), packColorBytes(baked));

    c().applyBookmark(place(QStringLiteral("Plain")));
    save(QStringLiteral("Untuned"));
    EXPECT_FALSE(c().userBookmarksCache()[1].tuning.has_value());
}

TEST_F(Bookmarks, DuplicateRenameAndDeleteRefuseClashesAndFollowTheCurrentName) {
    store({place(QStringLiteral("Spot")), place(QStringLiteral("Spiral"))});
    const Bookmark spiral = c().userBookmarksCache()[0];
    c().applyBookmark(spiral);

    typed = QStringLiteral("Spot");
    c().duplicateBookmark(spiral);
    c().renameBookmark(spiral);
    ASSERT_EQ(prompts.size(), 2u);
    EXPECT_EQ(joined(prompts[0]), "Duplicate Bookmark|Name|Spiral copy|Duplicate");
    EXPECT_EQ(joined(prompts[1]), "Rename Bookmark|Name|Spiral|Rename");
    EXPECT_EQ(alerts, (std::vector<AlertText>{{"Couldn't Duplicate", "A bookmark named “Spot” already exists."},
                                              {"Couldn't Rename", "A bookmark named “Spot” already exists."}}));
    EXPECT_EQ(bookmarkNames(), (QStringList{"Spiral", "Spot"}));

    typed = QStringLiteral(" Spiral copy ");
    c().duplicateBookmark(spiral);
    typed = QStringLiteral("Coil");
    c().renameBookmark(spiral);
    EXPECT_EQ(bookmarkNames(), (QStringList{"Coil", "Spiral copy", "Spot"}));
    EXPECT_EQ(c().currentBookmarkName(), QStringLiteral("Coil"));

    c().deleteBookmark(c().userBookmarksCache()[0]);
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(joined(questions[0]), "Delete “Coil”?|This can't be undone.|Delete|destructive");
    EXPECT_EQ(bookmarkNames(), (QStringList{"Spiral copy", "Spot"}));
    EXPECT_EQ(c().currentBookmarkName(), std::nullopt);
    EXPECT_EQ(c().bookmarkStatusText().section(u'\n', 0, 0), QStringLiteral("Unsaved Location"));
}

// Everything the record holds, in one render, as a new view; AUTO and ANIMATE end; the tuning
// is written to the preferences at once; sound follows the record.
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
    EXPECT_EQ(std::tuple(c().paletteMode(), c().frequency(), c().cycleOffset(), c().reliefLightRawX()),
              std::tuple(PaletteMode::smooth, 2.0, 0.0, 0.3));
    EXPECT_TRUE(c().demEnabled() && c().reliefEnabled() && !c().glowEnabled() && !c().trapsEnabled());
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

    // Sound goes through its own switch: on, it lights glow and relief; off, it must not put
    // back the glow and relief of before over the bookmark's own.
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

// Both browsers: "Mine" comes with the first of the user's own and the empty note goes; the
// user's own offer Rename and Delete too; Return applies the current entry and keeps the browser
// open; Escape closes the explanations, then the browser; Ctrl+B and Ctrl+P open and close them.
TEST_F(Collections, TheBrowsersListMineOfferMenusApplyAndClose) {
    const struct {
        Qt::Key key;
        BrowserPanel* panel;
        QString note;
        std::function<void()> saveMine;
        std::function<std::optional<QString>()> current;
        QStringList escapes;
    } browsers[] = {
        {Qt::Key_B, c().bookmarksBrowser()->panel(),
         "No saved bookmarks yet — Save Current Location captures whatever's on screen now.",
         [&] { c().saveCurrentLocation(); }, [&] { return c().currentBookmarkName(); },
         {"Close Bookmarks Explanations", "Close Bookmarks"}},
        {Qt::Key_P, c().paletteBrowser(), "No saved palettes yet — Save Current… stores whatever's on screen now.",
         [&] { c().saveCurrentPalette(); }, [&] { return c().currentPaletteName(); },
         {"Close Palette Explanations", "Close Palette Browser"}},
    };
    typed = QStringLiteral("Mine 1");
    for (const auto& b : browsers) {
        SCOPED_TRACE(b.escapes.last().toStdString());
        const auto rows = [&] { return listTexts(*b.panel->list()); };
        const auto menu = [&](int section) {
            b.panel->onContextMenu(section, 0, QPoint(10, 10));
            auto* shown = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            const QStringList texts = shown ? actionTexts(*shown) : QStringList();
            if (shown) shown->close();
            return texts;
        };
        QTest::keyClick(&c(), b.key, Qt::ControlModifier);
        ASSERT_TRUE(b.panel->isOpen());
        const auto* note = b.panel->findChild<QLabel*>(QStringLiteral("note"));
        EXPECT_EQ(rows().value(0), "Built-in");
        EXPECT_EQ(note->isVisible() ? note->text() : QString(), b.note);
        b.saveMine();
        EXPECT_EQ(rows().mid(0, 3), (QStringList{"Mine", "Mine 1", "Built-in"}));
        EXPECT_FALSE(note->isVisible());
        EXPECT_EQ(menu(0), (QStringList{"Share…", "Duplicate…", "Rename…", "Delete"}));
        EXPECT_EQ(menu(1), (QStringList{"Share…", "Duplicate…"}));

        b.panel->setCurrentEntry(1, 0);
        QTest::keyClick(b.panel->list(), Qt::Key_Return);
        EXPECT_EQ(b.current(), rows().value(3));
        b.panel->showExplanations();
        EXPECT_EQ(c().offeredEscapeCommands().mid(0, 2), b.escapes);
        EXPECT_TRUE(c().handleEscape());
        EXPECT_TRUE(b.panel->isOpen() && !b.panel->explanationsOpen());
        QTest::keyClick(&c(), b.key, Qt::ControlModifier);
        EXPECT_FALSE(b.panel->isOpen() || b.panel->explanationsOpen());
        QTest::keyClick(&c(), b.key, Qt::ControlModifier);
        EXPECT_TRUE(c().handleEscape());
        EXPECT_FALSE(b.panel->isOpen());
        EXPECT_TRUE(c().offeredEscapeCommands().isEmpty());
    }
}

// The built-ins, at least twelve, can all be shown. The browser's pictures are the engine's own,
// made off the GUI thread for every entry while it is open; requests still waiting are dropped,
// and only listed bookmarks' pictures are kept.
TEST_F(Bookmarks, ThumbnailsAreRenderedWhileTheBrowserIsOpenAndDroppedWhenStale) {
    const QList<Bookmark>& builtIn = c().builtInBookmarksCache();
    EXPECT_GE(builtIn.size(), 12);
    for (const Bookmark& b : builtIn) {
        SCOPED_TRACE(b.name.toStdString());
        EXPECT_TRUE(hasExplorableBounds(b) && b.paletteColors.colors.size() == 256u);
        EXPECT_EQ(bookmarkTuning(b), b.tuning.value_or(ShadingTuning{}));
    }
    store({place(QStringLiteral("Mine"))});
    BookmarkThumbnails* thumbnails = c().bookmarksBrowser()->thumbnails();
    EXPECT_EQ(thumbnails->cachedCount(), 0);
    c().showBookmarksBrowser();
    const qsizetype all = builtIn.size() + 1;
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
// stores nothing. (Add keeping a delivered link is the end-to-end links script's; which links
// read, the share link's own tests and fuzz target.)
TEST_F(Bookmarks, AReceivedLinkIsShownThenOfferedAndCopiedLinksAreWhatIsShown) {
    store({place(QStringLiteral("Bookmark"))});
    Bookmark sent = place(QStringLiteral("  "), -1.2);
    const QString link = *makeLink(sent);
    accept = false;
    c().receiveIncomingURL(link);
    EXPECT_EQ(c().viewport().xmin, -1.2);
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(joined(questions[0]), "Add Bookmark?|Save “Bookmark (1)” to My Bookmarks.|Add");
    EXPECT_EQ(bookmarkNames(), QStringList{"Bookmark"});

    accept = true;
    QGuiApplication::clipboard()->setText(QStringLiteral("\n ") + link + QStringLiteral("  "));
    c().openLinkFromClipboard();
    EXPECT_EQ(bookmarkNames(), (QStringList{"Bookmark", "Bookmark (1)"}));
    EXPECT_EQ(c().currentBookmarkName(), QStringLiteral("Bookmark (1)"));
    QGuiApplication::clipboard()->setText(QStringLiteral("just words"));
    c().openLinkFromClipboard();
    EXPECT_EQ(questions.size(), 2u);

    // Links copied from the window are those of what is shown.
    const Bookmark shared = place(QStringLiteral("Seahorse"));
    c().shareBookmark(shared);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), *makeLink(shared));
    c().copyLinkToCurrentView();
    EXPECT_EQ(readLink(QGuiApplication::clipboard()->text()).value().xmin, -1.2);
    EXPECT_EQ(notices, (QStringList{"Link to “Seahorse” copied to the clipboard",
                                    "Link to this view copied to the clipboard"}));
}

}  // namespace
}  // namespace gs::test
