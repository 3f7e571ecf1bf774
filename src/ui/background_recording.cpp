#include "ui/background_recording.h"

#include <QMetaObject>

namespace gs {

BackgroundRecording::BackgroundRecording(QObject* context) : context_(context) { pool_.setMaxThreadCount(1); }

BackgroundRecording::~BackgroundRecording() {
    cancel();
    pool_.waitForDone();
}

// The context outlives the worker (the destructor waits for it), so the worker may post to it.
void BackgroundRecording::start(PaletteAnimationSnapshot snapshot, RecordingOptions options, Progress onProgress,
                                Finished onFinished) {
    cancel_ = std::make_shared<std::atomic<bool>>(false);
    auto cancel = cancel_;
    options.cancel = cancel.get();
    QObject* context = context_;
    options.progress = [context, onProgress](std::int64_t done, std::int64_t count) {
        QMetaObject::invokeMethod(context, [onProgress, done, count] { onProgress(done, count); }, Qt::QueuedConnection);
    };
    pool_.start([snapshot = std::move(snapshot), options = std::move(options), cancel, context,
                 onFinished = std::move(onFinished)] {
        const RecordingResult result = recordPaletteAnimation(snapshot, options);
        QMetaObject::invokeMethod(context, [onFinished, result] { onFinished(result); }, Qt::QueuedConnection);
    });
}

void BackgroundRecording::cancel() {
    if (cancel_) cancel_->store(true);
}

}  // namespace gs
