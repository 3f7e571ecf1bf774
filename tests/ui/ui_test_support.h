// Helpers of the window tests: synthetic input events and waiting on the event loop.
#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QListWidget>
#include <QMenu>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QSettings>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <vector>

#include "fake_microphone.h"
#include "library/bookmark_library.h"
#include "library/palette_library.h"
#include "ui/alerts.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

// Readable failures for Qt strings and alert texts.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
namespace gs {
inline void PrintTo(const AlertText& a, std::ostream* os) {
    *os << '{' << a.title.toStdString() << " | " << a.message.toStdString() << '}';
}
}  // namespace gs

namespace gs::test {

// Sanitizer builds run the engine several times slower, so they wait longer.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kTimeoutMs = 100000;
#else
constexpr int kTimeoutMs = 20000;
#endif

inline bool waitFor(const std::function<bool()>& done, int timeoutMs = kTimeoutMs) {
    return QTest::qWaitFor(done, timeoutMs);
}

inline void mouse(QWidget* w, QEvent::Type type, QPointF pos, Qt::MouseButton button,
                  Qt::MouseButtons held, Qt::KeyboardModifiers mods = Qt::NoModifier) {
    QMouseEvent e(type, pos, w->mapToGlobal(pos), button, held, mods);
    QCoreApplication::sendEvent(w, &e);
}

// Press at `from`, move through `to` in a few steps, release there.
inline void drag(QWidget* w, QPointF from, QPointF to, Qt::MouseButton button,
                 Qt::KeyboardModifiers mods = Qt::NoModifier) {
    mouse(w, QEvent::MouseButtonPress, from, button, button, mods);
    for (int i = 1; i <= 4; ++i)
        mouse(w, QEvent::MouseMove, from + (to - from) * (i / 4.0), Qt::NoButton, button, mods);
    mouse(w, QEvent::MouseButtonRelease, to, button, Qt::NoButton, mods);
}

inline void click(QWidget* w, QPointF at, Qt::MouseButton button = Qt::LeftButton) {
    mouse(w, QEvent::MouseButtonPress, at, button, button);
    mouse(w, QEvent::MouseButtonRelease, at, button, Qt::NoButton);
}

inline void gesture(QWidget* w, Qt::NativeGestureType type, QPointF pos, double value = 0,
                    QPointF delta = {}, int fingers = 2) {
    QNativeGestureEvent e(type, QPointingDevice::primaryPointingDevice(), fingers, pos, pos,
                          w->mapToGlobal(pos), value, delta);
    QCoreApplication::sendEvent(w, &e);
}

// A touchpad pinch at `pos` whose scale runs 1 -> scale.
inline void pinch(QWidget* w, QPointF pos, double scale) {
    gesture(w, Qt::BeginNativeGesture, pos);
    gesture(w, Qt::ZoomNativeGesture, pos, 0.0);
    gesture(w, Qt::ZoomNativeGesture, pos, scale - 1.0);
    gesture(w, Qt::EndNativeGesture, pos);
}

inline void wheel(QWidget* w, QPoint angleDelta, QPoint pixelDelta = {},
                  Qt::ScrollPhase phase = Qt::NoScrollPhase) {
    const QPointF pos(w->width() / 2.0, w->height() / 2.0);
    QWheelEvent e(pos, w->mapToGlobal(pos), pixelDelta, angleDelta, Qt::NoButton, Qt::NoModifier,
                  phase, false);
    QCoreApplication::sendEvent(w, &e);
}

// Forgets every stored preference, so that a window starts from the defaults.
inline void clearPreferences() {
    QSettings(QSettings::NativeFormat, QSettings::UserScope, "glimmerscape", "glimmerscape").clear();
}

// As a fixture's first member: the window that follows starts from the default preferences.
struct ClearedPreferences {
    ClearedPreferences() { clearPreferences(); }
};

// A menu's entries, separators left out.
inline QStringList actionTexts(const QMenu& menu) {
    QStringList texts;
    for (const QAction* a : menu.actions())
        if (!a->isSeparator()) texts << a->text();
    return texts;
}

// A list's rows as shown, and a click on one of them.
inline QStringList listTexts(const QListWidget& list) {
    QStringList texts;
    for (int i = 0; i < list.count(); ++i) texts << list.item(i)->text();
    return texts;
}
inline void clickRow(QListWidget& list, int row) {
    const QPoint at = list.visualItemRect(list.item(row)).center();
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, at);
}

// A dialog's texts in one line, "title|…|button"; a destructive question ends in "|destructive".
inline QString joined(const NamePrompt& p) {
    return QStringList{p.title, p.placeholder, p.text, p.acceptButton}.join(u'|');
}
inline QString joined(const QuestionText& q) {
    return QStringList{q.text.title, q.text.message, q.acceptButton}.join(u'|') + (q.destructive ? "|destructive" : "");
}

// The window's dialogs recorded and answered by the test: name prompts get `typed` (none:
// cancelled), questions get `accept`.
struct AnsweredDialogs {
    std::optional<QString> typed;
    bool accept = true;
    std::vector<NamePrompt> prompts;
    std::vector<QuestionText> questions;
    std::vector<AlertText> alerts;
    QStringList notices;

    void install(MacViewController& c) {
        c.presentTextPrompt = [this](const NamePrompt& p, std::function<void(const QString&)> onAccept) {
            prompts.push_back(p);
            if (typed) onAccept(*typed);
        };
        c.presentQuestion = [this](const QuestionText& q, std::function<void()> onAccept) {
            questions.push_back(q);
            if (accept) onAccept();
        };
        c.presentTitledAlert = [this](const AlertText& a) { alerts.push_back(a); };
        c.presentNotice = [this](const QString& text) { notices << text; };
    }
};

// A shown explorer window at its minimum size, first picture complete; alerts are recorded
// instead of shown.
struct Explorer {
    std::unique_ptr<MacViewController> window;
    QStringList alerts;
    QStringList confirmations;
    bool answerYes = false;

    // soundInput: what sound mode listens to (none: the system's capture).
    explicit Explorer(std::unique_ptr<AudioInput> soundInput = nullptr)
        : window(std::make_unique<MacViewController>(nullptr, std::move(soundInput))) {
        window->presentAlert = [this](const QString& m) { alerts << m; };
        window->presentConfirmation = [this](const QString& m, std::function<void()> onYes) {
            confirmations << m;
            if (answerYes) onYes();
        };
        window->resize(window->minimumSize());
        window->show();
        EXPECT_TRUE(settle());
    }
    MacViewController& c() { return *window; }
    MandelbrotView& view() { return *window->mandelbrotView(); }
    QPointF centre() { return {view().width() / 2.0, view().height() / 2.0}; }
    // No render is running or queued, none of a stale render's rows is still to come, and the
    // recolour queue is empty.
    bool settle() {
        return waitFor([this] {
            return !window->isRendering() && window->workersIdle() && !window->recolorPending();
        }) && (QCoreApplication::processEvents(), true);
    }
};

// The explorer listening to a fake microphone, every dialog answered by the test (the file
// picker returns `picked`), and none of the user's own bookmarks or palettes.
struct Collections : ::testing::Test, AnsweredDialogs {
    FakeMicrophone* microphone = new FakeMicrophone;  // owned by the window
    std::unique_ptr<Explorer> e;
    QStringList picked;
    std::vector<OpenFilesRequest> pickers;

    Collections() {
        QFile::remove(BookmarkLibrary::shared().fileURL());
        QDir(paletteFolder()).removeRecursively();
        QDir().mkpath(paletteFolder());
        e = std::make_unique<Explorer>(std::unique_ptr<AudioInput>(microphone));
        install(c());
        c().presentOpenFiles = [this](const OpenFilesRequest& r, std::function<void(const QStringList&)> onChosen) {
            pickers.push_back(r);
            onChosen(picked);
        };
        c().refreshBookmarkCaches();
        c().refreshPaletteCaches();
    }
    MacViewController& c() { return e->c(); }
    static QString paletteFolder() { return PaletteLibrary::shared().userPalettesDirectory(); }
    // The names of the user's bookmarks as the window holds them, and of their palettes as stored.
    QStringList bookmarkNames() {
        QStringList names;
        for (const Bookmark& b : c().userBookmarksCache()) names << b.name;
        return names;
    }
    static QStringList paletteNames() {
        QStringList names;
        for (const SavedPalette& p : PaletteLibrary::shared().loadUserPalettes()) names << p.name;
        return names;
    }
};

}  // namespace gs::test
