// A palette animation recording on a thread of its own, so that the window never waits for
// it: progress and the result come back through the GUI thread's event loop.
#pragma once

#include <QThreadPool>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "export/recording.h"

namespace gs {

class BackgroundRecording {
public:
    using Progress = std::function<void(std::int64_t framesDone, std::int64_t frameCount)>;
    using Finished = std::function<void(const RecordingResult& result)>;

    // Reports go to context's thread; context must outlive this object (its owner, say).
    explicit BackgroundRecording(QObject* context);
    // Cancels a recording still running and waits for it to stop (its file is discarded).
    ~BackgroundRecording();
    BackgroundRecording(const BackgroundRecording&) = delete;
    BackgroundRecording& operator=(const BackgroundRecording&) = delete;

    // Records the snapshot with `options` (their progress and cancel are set here). onProgress
    // runs after each frame and onFinished once at the end, both on the context's thread. One
    // recording at a time: the caller waits for onFinished before starting another.
    void start(PaletteAnimationSnapshot snapshot, RecordingOptions options, Progress onProgress,
               Finished onFinished);
    // Asks the running recording to stop; it finishes as cancelled, leaving no file.
    void cancel();

private:
    QObject* context_;
    QThreadPool pool_;
    std::shared_ptr<std::atomic<bool>> cancel_;
};

}  // namespace gs
