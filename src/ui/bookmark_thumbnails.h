// Small pictures of bookmarks for the browser. They are rendered one at a time on a worker
// thread with the engine that draws the window (the bookmark's table at frequency 2 and phase 0,
// its shadings, light and tuning) and kept while their bookmarks are listed. Requests that are
// still waiting when the list changes or the browser closes are dropped unrendered.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QList>
#include <QObject>
#include <QSet>
#include <QThreadPool>
#include <deque>
#include <functional>
#include <memory>

#include "library/bookmark.h"

namespace gs {

// The picture of a bookmark's view at `size`, as the window would show it there. Any thread.
QImage renderBookmarkThumbnail(const Bookmark& bookmark, QSize size);

class BookmarkThumbnails : public QObject {
    Q_OBJECT

public:
    static constexpr int kWidth = 144;  // twice the browser's preview, for sharp high-DPI screens

    explicit BookmarkThumbnails(QObject* parent = nullptr);
    // Waits for the picture being rendered, if any; nothing more starts.
    ~BookmarkThumbnails() override;

    // kWidth wide, as tall as the view's proportions make it (between a quarter of it and
    // square).
    static QSize sizeFor(const Bookmark& bookmark);
    // What tells two bookmarks' pictures apart: everything but the name.
    static QByteArray keyOf(const Bookmark& bookmark);

    // The picture of the bookmark, or a null image while it is not made.
    QImage cached(const Bookmark& bookmark) const { return cache_.value(keyOf(bookmark)); }
    // Queues the pictures of these bookmarks that are not made yet, in order, in place of any
    // still waiting; the pictures of bookmarks no longer listed are forgotten.
    void request(const QList<Bookmark>& bookmarks);
    // Drops every request still waiting.
    void dropPending();
    // Pictures made and not yet forgotten.
    qsizetype cachedCount() const { return cache_.size(); }

    // A picture is ready (GUI thread).
    std::function<void(const QByteArray& key, const QImage& picture)> onReady;

private:
    struct Job {
        QByteArray key;
        Bookmark bookmark;
    };
    // Shared with the worker: the waiting jobs and the key being rendered.
    struct Queue;

    void drain();
    void deliver(const QByteArray& key, const QImage& picture);

    std::shared_ptr<Queue> queue_;
    QHash<QByteArray, QImage> cache_;
    QSet<QByteArray> listed_;  // the keys of the last request
    QThreadPool pool_;
};

}  // namespace gs
