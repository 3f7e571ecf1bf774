// The movie command: the picture rendered as the render command would make it, then one
// palette cycle of it recorded as a seamless H.264 loop, with the progress of both on a
// terminal.
#include <oneapi/tbb/global_control.h>
#include <signal.h>

#include <QFileInfo>
#include <atomic>
#include <future>
#include <new>
#include <vector>

#include "app/cli.h"
#include "app/cli_picture.h"
#include "app/progress.h"
#include "core/mapfile.h"
#include "export/recording.h"

namespace gs {
namespace cli {
namespace {

// Raised by SIGINT while the movie is recorded, so that the half-written file is discarded
// rather than left beside the output.
std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

extern "C" void onInterrupt(int) { interrupted.store(true); }

// SIGINT cancels the recording while this lives; the previous handling comes back after.
class InterruptCancels {
public:
    InterruptCancels() {
        interrupted.store(false);
        struct sigaction action {};
        action.sa_handler = onInterrupt;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previous_);
    }
    ~InterruptCancels() { sigaction(SIGINT, &previous_, nullptr); }
    InterruptCancels(const InterruptCancels&) = delete;
    InterruptCancels& operator=(const InterruptCancels&) = delete;

private:
    struct sigaction previous_ {};
};

struct Interrupted {};

PaletteAnimationSnapshot snapshotOf(const RenderOptions& o, const RenderedPicture& picture) {
    if (!o.julia) return snapshotMandelbrotPicture(picture.request, picture.frame, o.look.animationSpeed);
    std::vector<float> counts;
    counts.reserve(picture.frame.data.size());
    for (const PixelExtendedData& d : picture.frame.data) counts.push_back(d.nu);
    return snapshotJuliaPicture(picture.request, counts.data(), o.width, o.height, o.look.animationSpeed);
}

// Records on its own thread while this one shows the progress.
RecordingResult recordWithProgress(const PaletteAnimationSnapshot& snapshot, const QString& path, QTextStream& err,
                                   bool terminal) {
    std::atomic<std::int64_t> framesDone{0};
    RecordingOptions options;
    options.path = path;
    options.cancel = &interrupted;
    options.progress = [&](std::int64_t done, std::int64_t) { framesDone.store(done); };
    const InterruptCancels interrupts;
    const auto start = Clock::now();
    auto work = std::async(std::launch::async, [&] { return recordPaletteAnimation(snapshot, options); });
    ProgressBar bar(err, terminal, QStringLiteral("Recording"));
    while (work.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready)
        bar.update(static_cast<double>(framesDone.load()) / static_cast<double>(snapshot.frameCount), secondsSince(start));
    bar.finish();
    return work.get();
}

// The size of the movie's file, for the report (nothing when it cannot be read).
QString fileSize(const QString& path) {
    const qint64 bytes = QFileInfo(path).size();
    return bytes > 0 ? QStringLiteral(", %1 bytes").arg(bytes) : QString();
}

void movie(const RenderOptions& given, QTextStream& out, QTextStream& err, bool terminal) {
    const PictureSource source = pictureSource(given);
    const RenderOptions& o = source.options;
    // The picture's buffers, the snapshot's copy of its data, the frames' colouring inputs and
    // the pictures in flight, and x264's own (look-ahead and reference frames, about 60 bytes).
    checkMemory(o, 4 + 12 + 8 + 12 + 32 + 5 + 60);
    noteStretching(o, err);
    const MovieSize size = evenMovieSize(o.width, o.height);
    if (size.width != o.width || size.height != o.height)
        err << "glimmerscape: note: the movie is " << size.width << "x" << size.height
            << " (H.264 needs even sides; the picture's last column or row is left out)" << Qt::endl;
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threadCount(o));
    const RenderedPicture picture = renderPicture(source, out, err, terminal, Clock::now());
    if (!o.savePalette.isEmpty()) writeOrFail(o.savePalette, QByteArray::fromStdString(writeMap(*picture.table)));

    const auto start = Clock::now();
    const PaletteAnimationSnapshot snapshot = snapshotOf(o, picture);
    const RecordingResult result = recordWithProgress(snapshot, o.output, err, terminal);
    if (result.status == RecordingResult::Status::cancelled) throw Interrupted{};
    if (result.status == RecordingResult::Status::failed)
        throw Failure{QStringLiteral("cannot record '%1': %2").arg(o.output, result.error)};
    const double seconds = static_cast<double>(snapshot.frameCount) / snapshot.framesPerSecond;
    out << QStringLiteral("Recorded %1 (%2 frames at %3 fps, %4 s, %5x%6%7) in %8")
               .arg(o.output)
               .arg(snapshot.frameCount)
               .arg(snapshot.framesPerSecond)
               .arg(QString::number(seconds, 'f', 2))
               .arg(size.width)
               .arg(size.height)
               .arg(fileSize(o.output), QString::fromStdString(renderTimeText(secondsSince(start))))
        << Qt::endl;
}

}  // namespace
}  // namespace cli

int runMovie(const RenderOptions& options, QTextStream& out, QTextStream& err, bool errIsTerminal) {
    try {
        cli::movie(options, out, err, errIsTerminal);
        return 0;
    } catch (const cli::Failure& f) {
        err << "glimmerscape: " << f.message << Qt::endl;
    } catch (const cli::Interrupted&) {
        err << "glimmerscape: interrupted; '" << options.output << "' was not written" << Qt::endl;
        return 130;
    } catch (const std::bad_alloc&) {
        err << "glimmerscape: " << options.width << "x" << options.height << " is too large to allocate" << Qt::endl;
    }
    return 1;
}

}  // namespace gs
