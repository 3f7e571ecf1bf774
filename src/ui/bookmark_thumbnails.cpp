#include "ui/bookmark_thumbnails.h"

#include <QCryptographicHash>
#include <QMetaObject>
#include <algorithm>
#include <cmath>
#include <mutex>

#include "core/frame.h"

namespace gs {

struct BookmarkThumbnails::Queue {
    std::mutex mutex;
    std::deque<Job> jobs;
    QByteArray current;  // the key being rendered; empty when none
    bool draining = false;
};

QImage renderBookmarkThumbnail(const Bookmark& b, QSize size) {
    ColourInputs colour;
    colour.table = std::make_shared<const ColorTable>(b.paletteColors.colors);
    colour.frequency = kBookmarkFrequency;
    colour.cycleOffset = kBookmarkCycleOffset;
    colour.dem = b.demEnabled;
    colour.glow = b.glowEnabled;
    colour.traps = b.trapsEnabled;
    colour.relief = b.reliefEnabled;
    colour.tuning = bookmarkTuning(b);
    colour.light = lightVector(b.reliefLightRawX, b.reliefLightRawY);
    const Viewport view{b.xmin, b.xmax, b.ymin, b.ymax};
    Frame frame;
    renderFrame(mandelbrotRequest(view, size.width(), size.height(), colour), frame);
    return QImage(frame.pixels.data(), frame.width, frame.height, frame.width * 4, QImage::Format_RGBA8888)
        .copy();
}

BookmarkThumbnails::BookmarkThumbnails(QObject* parent)
    : QObject(parent), queue_(std::make_shared<Queue>()) {
    pool_.setMaxThreadCount(1);  // one picture at a time; each render is parallel inside
}

BookmarkThumbnails::~BookmarkThumbnails() {
    dropPending();
    pool_.waitForDone();
}

QSize BookmarkThumbnails::sizeFor(const Bookmark& b) {
    const double aspect = (b.xmax - b.xmin) / (b.ymax - b.ymin);
    const double height = std::isfinite(aspect) && aspect > 0 ? kWidth / aspect : kWidth;
    return {kWidth, static_cast<int>(std::lround(std::clamp(height, kWidth / 4.0, double(kWidth))))};
}

QByteArray BookmarkThumbnails::keyOf(const Bookmark& b) {
    Bookmark unnamed = b;
    unnamed.name.clear();
    return QCryptographicHash::hash(encodeBookmark(unnamed), QCryptographicHash::Sha1);
}

void BookmarkThumbnails::request(const QList<Bookmark>& bookmarks) {
    listed_.clear();
    std::deque<Job> jobs;
    for (const Bookmark& b : bookmarks) {
        const QByteArray key = keyOf(b);
        if (listed_.contains(key)) continue;
        listed_.insert(key);
        if (!cache_.contains(key) && hasExplorableBounds(b)) jobs.push_back({key, b});
    }
    cache_.removeIf([this](const auto& entry) { return !listed_.contains(entry.key()); });
    std::lock_guard lock(queue_->mutex);
    std::erase_if(jobs, [&](const Job& job) { return job.key == queue_->current; });
    queue_->jobs = std::move(jobs);
    if (queue_->draining || queue_->jobs.empty()) return;
    queue_->draining = true;
    pool_.start([this] { drain(); });
}

void BookmarkThumbnails::dropPending() {
    std::lock_guard lock(queue_->mutex);
    queue_->jobs.clear();
}

// On the worker: renders the waiting jobs one by one until none is left.
void BookmarkThumbnails::drain() {
    for (;;) {
        Job job;
        {
            std::lock_guard lock(queue_->mutex);
            queue_->current.clear();
            if (queue_->jobs.empty()) {
                queue_->draining = false;
                return;
            }
            job = std::move(queue_->jobs.front());
            queue_->jobs.pop_front();
            queue_->current = job.key;
        }
        const QImage picture = renderBookmarkThumbnail(job.bookmark, sizeFor(job.bookmark));
        QMetaObject::invokeMethod(this, [this, key = job.key, picture] { deliver(key, picture); },
                                  Qt::QueuedConnection);
    }
}

void BookmarkThumbnails::deliver(const QByteArray& key, const QImage& picture) {
    if (!listed_.contains(key)) return;  // its bookmark left the list while it was rendered
    cache_.insert(key, picture);
    if (onReady) onReady(key, picture);
}

}  // namespace gs
