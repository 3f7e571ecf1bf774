// What the render and movie commands share: the palette, the colours and the one parallel
// render the options describe, and the reporting around them. Internal to the command line.
#pragma once

#include <QByteArray>
#include <QString>
#include <QTextStream>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "app/cli.h"
#include "core/frame.h"

namespace gs::cli {

// A failure reported as one line, with exit status 1.
struct Failure {
    QString message;
};

using Clock = std::chrono::steady_clock;
double secondsSince(Clock::time_point start);

// Refuses sizes whose buffers (bytesPerPixel in all) would not fit in this machine's memory.
void checkMemory(const RenderOptions& o, double bytesPerPixel);

// A picture whose proportions differ from its region's is stretched; says so on err.
void noteStretching(const RenderOptions& o, QTextStream& err);

// The worker threads the options ask for (all cores by default).
std::size_t threadCount(const RenderOptions& o);

struct RenderedPicture {
    std::shared_ptr<const ColorTable> table;
    std::optional<std::uint64_t> seed;  // a generated palette's
    RenderRequest request;
    Frame frame;
};

// The picture the options describe: with --link or --bookmark, the bookmark's view, shadings,
// light and tuning in place of the options' own, and its colours as the palette.
struct PictureSource {
    RenderOptions options;
    std::optional<ColorTable> bookmarkColors;
};

// Reads the bookmark of --link or --bookmark, if any; a bad one is a Failure.
PictureSource pictureSource(const RenderOptions& given);

// Makes the palette and renders the picture (o.supersample points a side per pixel), with a
// progress bar on err when it is a terminal; the caller limits the threads. Then reports the
// render, timed from start, and the palette's seed on out.
RenderedPicture renderPicture(const PictureSource& source, QTextStream& out, QTextStream& err, bool terminal,
                              Clock::time_point start);

void writeOrFail(const QString& path, const QByteArray& bytes);

}  // namespace gs::cli
