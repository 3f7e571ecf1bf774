#include "recording.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/enumerable_thread_specific.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/task_arena.h>

#include <QUuid>
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <vector>

#include "core/parallel_for.h"
#include "export/temporary_location.h"

namespace gs {
namespace {

// Pictures in flight between the frame maker and the encoder: one being made, one being
// encoded, one waiting, so that neither side waits for the other while both keep pace.
constexpr std::size_t kFramesInFlight = 3;

// The hand-over of pictures between the frame maker (producer) and the encoder thread
// (consumer): free pictures go to the producer, made ones to the consumer, in order.
class FrameHandOver {
public:
    struct Made {
        std::int64_t index;
        YuvFrame* picture;
    };

    explicit FrameHandOver(std::vector<YuvFrame*> pictures) : free_(pictures.begin(), pictures.end()) {}

    // A free picture, or null once the consumer has stopped.
    YuvFrame* takeFree() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return stopped_ || !free_.empty(); });
        if (stopped_) return nullptr;
        YuvFrame* p = free_.front();
        free_.pop_front();
        return p;
    }
    void pushMade(std::int64_t index, YuvFrame* picture) {
        { std::lock_guard lock(mutex_); made_.push_back({index, picture}); }
        changed_.notify_all();
    }
    // The next made frame; nothing once the producer has finished and all are taken.
    std::optional<Made> takeMade() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return closed_ || !made_.empty(); });
        if (made_.empty()) return std::nullopt;
        const Made m = made_.front();
        made_.pop_front();
        return m;
    }
    void giveBack(YuvFrame* picture) {
        { std::lock_guard lock(mutex_); free_.push_back(picture); }
        changed_.notify_all();
    }
    // Producer: no more frames will come.
    void close() {
        { std::lock_guard lock(mutex_); closed_ = true; }
        changed_.notify_all();
    }
    // Consumer: no more frames are wanted.
    void stop() {
        { std::lock_guard lock(mutex_); stopped_ = true; }
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<YuvFrame*> free_;
    std::deque<Made> made_;
    bool closed_ = false, stopped_ = false;
};

RecordingResult failed(const QString& why) {
    RecordingResult r;
    r.status = RecordingResult::Status::failed;
    r.error = why;
    return r;
}

bool cancelled(const RecordingOptions& options) { return options.cancel && options.cancel->load(); }

// The encoder thread's loop: encodes the made frames in order until the producer closes the
// hand-over; on a failure stops the producer and says why.
void encodeFrames(MovieEncoder& encoder, FrameHandOver& handOver, std::int64_t frameCount,
                  const RecordingOptions& options, QString& error) {
    while (const auto frame = handOver.takeMade()) {
        if (cancelled(options)) {
            handOver.stop();
            return;
        }
        const bool encoded = encoder.encode(*frame->picture, &error);
        handOver.giveBack(frame->picture);
        if (!encoded) {
            handOver.stop();
            return;
        }
        if (options.progress) options.progress(frame->index + 1, frameCount);
    }
}

// Makes the frames in order and hands them to the encoder thread; false when cancelled.
bool makeFrames(PaletteCycleFrames& frames, FrameHandOver& handOver, const RecordingOptions& options) {
    MovieFrameMaker maker(frames);
    for (std::int64_t i = 0; i < frames.frameCount(); ++i) {
        if (cancelled(options)) return false;
        YuvFrame* picture = handOver.takeFree();
        if (!picture) return true;  // the encoder failed and says why
        if (!picture->makeWritable()) throw std::bad_alloc();
        maker.make(i, *picture);
        handOver.pushMade(i, picture);
    }
    return true;
}

struct PipelineOutcome {
    bool cancelled = false;
    QString encoderError;  // empty unless the encoder failed
};

// Makes the frames on this thread (and its helpers) while a second thread encodes them,
// through a pool of pictures made once, until every frame is encoded, the encoder fails or
// the recording is cancelled.
PipelineOutcome runPipeline(PaletteCycleFrames& frames, MovieEncoder& encoder, const RecordingOptions& options) {
    std::vector<std::unique_ptr<YuvFrame>> pool;
    std::vector<YuvFrame*> pictures;
    for (std::size_t k = 0; k < kFramesInFlight; ++k) {
        pool.push_back(std::make_unique<YuvFrame>(frames.width(), frames.height()));
        pictures.push_back(pool.back().get());
    }
    FrameHandOver handOver(pictures);
    PipelineOutcome outcome;
    std::thread encoding([&] { encodeFrames(encoder, handOver, frames.frameCount(), options, outcome.encoderError); });
    try {
        outcome.cancelled = !makeFrames(frames, handOver, options);
    } catch (...) {
        handOver.close();
        encoding.join();
        throw;
    }
    handOver.close();
    encoding.join();
    return outcome;
}

RecordingResult record(const PaletteAnimationSnapshot& snapshot, const RecordingOptions& options,
                       const QString& path) {
    PaletteCycleFrames frames(snapshot);
    MovieSettings settings = options.encoder;
    settings.width = frames.width();
    settings.height = frames.height();
    settings.framesPerSecond = snapshot.framesPerSecond;
    QString error;
    std::unique_ptr<MovieEncoder> encoder = MovieEncoder::open(path, settings, &error);
    if (!encoder) return failed(error);
    const PipelineOutcome outcome = runPipeline(frames, *encoder, options);
    if (!outcome.encoderError.isEmpty()) return failed(outcome.encoderError);
    if (outcome.cancelled || cancelled(options)) return {RecordingResult::Status::cancelled, {}, {}};
    if (!encoder->finish(&error)) return failed(error);
    return {RecordingResult::Status::recorded, path, {}};
}

}  // namespace

struct MovieFrameMaker::Bands {
    struct Band {
        PictureBuffer<std::uint8_t> bgra;
        YuvConverter converter;
    };
    explicit Bands(int threads) : arena(threads) {}
    tbb::task_arena arena;
    tbb::enumerable_thread_specific<Band> perThread;
};

MovieFrameMaker::MovieFrameMaker(PaletteCycleFrames& frames, int threads)
    : frames_(frames),
      bands_(std::make_unique<Bands>(threads > 0 ? threads : (tbb::info::default_concurrency() + 2) / 3)) {}
MovieFrameMaker::~MovieFrameMaker() = default;

void MovieFrameMaker::make(std::int64_t i, YuvFrame& out) {
    const int height = frames_.height();
    const int bands = (height + kBandRows - 1) / kBandRows;
    const std::size_t bandBytes = static_cast<std::size_t>(frames_.width()) * 4 * kBandRows;
    const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(frames_.width()) * 4;
    executeIn(bands_->arena, [&] {
        parallelFor(tbb::blocked_range<int>(0, bands), [&](const tbb::blocked_range<int>& range) {
            Bands::Band& band = bands_->perThread.local();
            if (band.bgra.size() != bandBytes) band.bgra.assign(bandBytes, 0);
            for (int b = range.begin(); b != range.end(); ++b) {
                const int row = b * kBandRows, count = std::min(kBandRows, height - row);
                frames_.colourRows(i, row, count, band.bgra.data(), stride);
                band.converter.convert(band.bgra.data(), stride, row, count, out);
            }
        });
    });
}

QString paletteAnimationMoviePath() {
    return temporaryFilePath(QStringLiteral("Glimmerscape-") + QUuid::createUuid().toString(QUuid::WithoutBraces) +
                             QStringLiteral(".mov"));
}

RecordingResult recordPaletteAnimation(const PaletteAnimationSnapshot& snapshot,
                                       const RecordingOptions& options) {
    if (!PaletteCycleFrames::valid(snapshot))
        return failed(QStringLiteral("the picture is too small or has no data to record"));
    const QString path = options.path.isEmpty() ? paletteAnimationMoviePath() : options.path;
    if (path.isEmpty()) return failed(QStringLiteral("there is no temporary directory to record into"));
    try {
        return record(snapshot, options, path);
    } catch (const std::bad_alloc&) {
        return failed(QStringLiteral("not enough memory to record a %1 x %2 movie").arg(snapshot.width).arg(snapshot.height));
    }
}

}  // namespace gs
