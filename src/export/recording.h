// Recording a palette animation movie: the whole job, from a snapshot to a finished .mov file.
//
// The window takes the snapshot on the GUI thread (snapshotMandelbrotPicture or
// snapshotJuliaPicture), then runs recordPaletteAnimation on a worker thread; the job touches
// nothing but the snapshot, the file and the callbacks, and reports through them:
//
//   auto snapshot = snapshotMandelbrotPicture(colours, view->frame(), animationSpeed());
//   QThreadPool::globalInstance()->start([this, snapshot] {
//       RecordingOptions options;
//       options.progress = [this](std::int64_t done, std::int64_t total) {
//           QMetaObject::invokeMethod(this, [=] { showProgress(done, total); }, Qt::QueuedConnection);
//       };
//       const RecordingResult result = recordPaletteAnimation(snapshot, options);
//       QMetaObject::invokeMethod(this, [=] { recordingFinished(result); }, Qt::QueuedConnection);
//   });
#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "export/movie_encoder.h"
#include "export/palette_animation.h"

namespace gs {

// The pictures of a recording in the encoder's format. A frame is made in bands of rows, in
// parallel: each band is coloured into a small buffer of its thread's and converted to
// yuv420p while it is still in the cache, so the BGRA picture never goes through memory
// whole.
//
// The encoder works at the same time on all the cores it can use, and x264 spends about four
// times as long on a frame as the making takes; so the making runs on a third of the cores
// (at least one): enough to keep ahead of the encoder, and no more threads to compete with
// it for the cores and the cache (on two cores, a second colouring thread slowed the whole
// recording down).
class MovieFrameMaker {
public:
    static constexpr int kBandRows = 32;  // even: a band holds whole 2 x 2 colour blocks

    // threads: how many may make a frame at once; 0 for a third of the cores.
    explicit MovieFrameMaker(PaletteCycleFrames& frames, int threads = 0);
    ~MovieFrameMaker();
    void make(std::int64_t i, YuvFrame& out);

private:
    struct Bands;  // the threads, and each one's band buffer and converter
    PaletteCycleFrames& frames_;
    std::unique_ptr<Bands> bands_;
};

// "Glimmerscape-<UUID>.mov" in QStandardPaths::TempLocation, a fresh UUID each call (empty
// when there is no temporary directory).
QString paletteAnimationMoviePath();

struct RecordingOptions {
    // Where the movie goes; empty: a new paletteAnimationMoviePath().
    QString path;
    // Encoder settings; the size and frame rate are taken from the snapshot.
    MovieSettings encoder;
    // Called after each frame is encoded, on a thread of the recording (not the caller's):
    // frames done (1 to frame count) and the frame count.
    std::function<void(std::int64_t framesDone, std::int64_t frameCount)> progress;
    // Raised by another thread to stop early; the partial movie is discarded.
    const std::atomic<bool>* cancel = nullptr;
};

struct RecordingResult {
    enum class Status { recorded, failed, cancelled };
    Status status = Status::failed;
    QString path;   // the movie, when recorded; nothing is left there otherwise
    QString error;  // when failed: what went wrong, in plain words
};

// Records one palette cycle of the snapshot as an H.264 .mov, frame i at time i / 30 s. Blocks
// until done; call it on a worker thread. Frames are made (MovieFrameMaker) while earlier ones
// are encoded on a second thread, through a fixed pool of three pictures. Every failure (a
// snapshot with nothing to record, a missing encoder, a refused frame, a full disk, too
// little memory) and a cancellation leave no file behind.
RecordingResult recordPaletteAnimation(const PaletteAnimationSnapshot& snapshot,
                                       const RecordingOptions& options = {});

}  // namespace gs
