// The render command: palette, colours and view from the options, one parallel render (or a
// supersampled poster), the files written; and the dispatch of the whole command line.
#include "cli.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <unistd.h>

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QLocale>
#include <chrono>
#include <future>
#include <cmath>
#include <memory>
#include <new>

#include "app/cli_picture.h"
#include "app/npy.h"
#include "app/progress.h"
#include "core/frame.h"
#include "core/mapfile.h"
#include "core/palette.h"
#include "core/supersample.h"
#include "core/tuning_fields.h"
#include "library/atomic_file.h"
#include "library/bookmark.h"
#include "library/share_link.h"
#include "library/tuning_json.h"

namespace gs {
namespace cli {
namespace {

QString number(double v) { return QString::number(v, 'g', QLocale::FloatingPointShortest); }

// A bookmark file is a few kilobytes; a bigger one (or an endless device) is not one.
constexpr qint64 kMaxBookmarkFileBytes = 1 << 20;

QByteArray readWholeFile(const QString& path, const QString& what) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw Failure{QStringLiteral("cannot read %1 '%2': %3").arg(what, path, f.errorString())};
    return f.readAll();
}

Bookmark readBookmarkFile(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw Failure{QStringLiteral("cannot read bookmark '%1': %2").arg(path, f.errorString())};
    const QByteArray bytes = readAtMost(f, kMaxBookmarkFileBytes);
    QString why = QStringLiteral("larger than a bookmark can be");
    const auto b = bytes.size() > kMaxBookmarkFileBytes ? std::nullopt : decodeBookmark(bytes, &why);
    if (!b) throw Failure{QStringLiteral("'%1' is not a valid bookmark: %2").arg(path, why)};
    return *b;
}

// The bookmark of --link or --bookmark, when one was given.
std::optional<Bookmark> loadBookmark(const RenderOptions& o) {
    std::optional<Bookmark> b;
    if (o.link) {
        QString why;
        b = readLink(*o.link, &why);
        if (!b) throw Failure{QStringLiteral("the link does not hold a bookmark: %1").arg(why)};
    } else if (!o.bookmarkPath.isEmpty()) {
        b = readBookmarkFile(o.bookmarkPath);
    }
    if (b && !hasExplorableBounds(*b))
        throw Failure{QStringLiteral("the bookmark's view is too large to compute (at most %1 a side)")
                          .arg(number(kMaxViewExtent))};
    return b;
}

// The options with the bookmark's view and look in place of their own: its table shown at
// frequency 2 and phase 0 (its repeat and shift are baked in), its shadings, light and tuning.
RenderOptions showingBookmark(RenderOptions o, const Bookmark& b) {
    o.view = {b.xmin, b.xmax, b.ymin, b.ymax};
    o.look.frequency = kBookmarkFrequency;
    o.look.cycleOffset = kBookmarkCycleOffset;
    o.look.demEnabled = b.demEnabled;
    o.look.glowEnabled = b.glowEnabled;
    o.look.trapsEnabled = b.trapsEnabled;
    o.look.reliefEnabled = b.reliefEnabled;
    o.look.reliefLightRawX = b.reliefLightRawX;
    o.look.reliefLightRawY = b.reliefLightRawY;
    o.look.tuning = bookmarkTuning(b);
    return o;
}

// The palette, and the seed it was generated from (none for a .map file).
struct Palette {
    ColorTable colors;
    std::optional<std::uint64_t> seed;
};

// A generated palette always comes from a known seed, so that the picture can be made again.
Palette loadPalette(const RenderOptions& o) {
    if (o.palette == QLatin1String("smooth") || o.palette == QLatin1String("random")) {
        const std::uint64_t seed = o.seed ? *o.seed : makeSystemRandom()->next();
        SeededRandom rng(seed);
        const PaletteMode mode = o.palette == QLatin1String("smooth") ? PaletteMode::smooth : PaletteMode::random;
        return {generatePalette(mode, rng), seed};
    }
    const QByteArray bytes = readWholeFile(o.palette, QStringLiteral("palette"));
    MapParseResult parsed = parseMap(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    if (!parsed.colors)
        throw Failure{QStringLiteral("'%1' is not a valid 256-colour .map palette: %2")
                          .arg(o.palette, QString::fromStdString(parsed.error))};
    return {*parsed.colors, std::nullopt};
}

// A tuning file must hold all fourteen keys, each within the range of its slider.
ShadingTuning loadTuning(const RenderOptions& o) {
    if (o.tuningPath.isEmpty()) return o.look.tuning;
    QString why;
    const auto t = decodeShadingTuning(readWholeFile(o.tuningPath, QStringLiteral("tuning")), &why);
    if (!t) throw Failure{QStringLiteral("'%1' is not a valid shading tuning: %2").arg(o.tuningPath, why)};
    for (const TuningField& f : kTuningFields) {
        const double v = (*t).*f.member;
        if (!(v >= f.lower && v <= f.upper))
            throw Failure{QStringLiteral("'%1': %2 must be from %3 to %4, got %5")
                              .arg(o.tuningPath, QLatin1String(f.key), number(f.lower), number(f.upper), number(v))};
    }
    return *t;
}

QByteArray encodePicture(const Frame& frame, const QByteArray& format) {
    const QImage image(frame.pixels.data(), frame.width, frame.height, frame.width * 4,
                       QImage::Format_RGBA8888);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    if (format != "png") writer.setQuality(90);
    if (!writer.write(image))
        throw Failure{QStringLiteral("cannot encode the picture: %1").arg(writer.errorString())};
    return bytes;
}

ColourInputs colourInputs(const RenderOptions& o, std::shared_ptr<const ColorTable> table) {
    return o.look.colourInputs(std::move(table), loadTuning(o));
}

// Runs the render on its own thread while this one shows the progress.
void renderWithProgress(const RenderRequest& request, int samplesPerSide, Frame& frame, QTextStream& err,
                        bool terminal, Clock::time_point start) {
    std::atomic<int> rows{0};
    auto work = std::async(std::launch::async, [&] {
        if (samplesPerSide > 1)
            renderSupersampled(request, samplesPerSide, frame, &rows);
        else
            renderFrame(request, frame, &rows);
    });
    ProgressBar bar(err, terminal);
    while (work.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready)
        bar.update(static_cast<double>(rows.load()) / request.height, secondsSince(start));
    bar.finish();
    work.get();  // passes on a failed allocation
}

QString kernelName(KernelKind kernel) {
    return kernel == KernelKind::scalar ? QStringLiteral("scalar")
                                        : QStringLiteral("SIMD %1").arg(QString::fromStdString(simdTargetName()));
}

}  // namespace

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void checkMemory(const RenderOptions& o, double bytesPerPixel) {
    const double needed = bytesPerPixel * o.width * o.height;
    const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGE_SIZE);
    if (pages > 0 && pageSize > 0 && needed > 0.8 * static_cast<double>(pages) * static_cast<double>(pageSize))
        throw Failure{QStringLiteral("%1x%2 is too large to allocate on this machine").arg(o.width).arg(o.height)};
}

void noteStretching(const RenderOptions& o, QTextStream& err) {
    const double region = o.julia ? 1.0 : o.view.width() / o.view.height();
    const double picture = static_cast<double>(o.width) / o.height;
    if (std::abs(region / picture - 1) <= 0.01) return;
    err << "glimmerscape: note: the view's proportions (" << QString::number(region, 'f', 3)
        << ") differ from the picture's (" << QString::number(picture, 'f', 3)
        << "); the picture is stretched" << Qt::endl;
}

std::size_t threadCount(const RenderOptions& o) {
    return o.threads > 0 ? static_cast<std::size_t>(o.threads) : static_cast<std::size_t>(tbb::info::default_concurrency());
}

void writeOrFail(const QString& path, const QByteArray& bytes) {
    QString why;
    if (!writeFileAtomically(path, bytes, &why))
        throw Failure{QStringLiteral("cannot write '%1': %2").arg(path, why)};
}

PictureSource pictureSource(const RenderOptions& given) {
    const std::optional<Bookmark> bookmark = loadBookmark(given);
    if (!bookmark) return {given, std::nullopt};
    return {showingBookmark(given, *bookmark), bookmark->paletteColors.colors};
}

// The render's time covers everything from the palette to the lit picture.
RenderedPicture renderPicture(const PictureSource& source, QTextStream& out, QTextStream& err, bool terminal,
                              Clock::time_point start) {
    const RenderOptions& o = source.options;
    RenderedPicture p;
    Palette palette = source.bookmarkColors ? Palette{*source.bookmarkColors, std::nullopt} : loadPalette(o);
    p.seed = palette.seed;
    p.table = std::make_shared<const ColorTable>(std::move(palette.colors));
    const std::int64_t maxIter = o.maxIter ? *o.maxIter : iterationCeiling(o.view);
    const ColourInputs colour = colourInputs(o, p.table);
    p.request = o.julia ? juliaRequest(o.julia->first, o.julia->second, o.width, o.height, colour, maxIter)
                        : mandelbrotRequest(o.view, o.width, o.height, colour, maxIter);
    p.request.kernel = o.kernel;
    renderWithProgress(p.request, o.supersample, p.frame, err, terminal, start);
    QString samples;
    if (o.supersample > 1) samples = QStringLiteral(", %1 samples a pixel").arg(o.supersample * o.supersample);
    out << QStringLiteral("Rendered %1x%2 in %3 (%4 kernel, %5 threads, max %6 iterations%7)")
               .arg(o.width)
               .arg(o.height)
               .arg(QString::fromStdString(renderTimeText(secondsSince(start))), kernelName(o.kernel))
               .arg(threadCount(o))
               .arg(maxIter)
               .arg(samples)
        << Qt::endl;
    if (p.seed)
        out << QStringLiteral("Palette: %1, seed %2 (--seed %2 makes it again)").arg(o.palette).arg(*p.seed)
            << Qt::endl;
    return p;
}

namespace {

void render(const RenderOptions& given, QTextStream& out, QTextStream& err, bool terminal) {
    const PictureSource source = pictureSource(given);
    const RenderOptions& o = source.options;
    // The buffers, the relief's, and the PNG encoding's copy.
    checkMemory(o, 4 + 12 + 4 + (o.look.reliefEnabled ? 4 : 0) + 4);
    noteStretching(o, err);
    const auto start = Clock::now();
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threadCount(o));
    const RenderedPicture picture = renderPicture(source, out, err, terminal, start);
    const Frame& frame = picture.frame;

    const auto writing = Clock::now();
    const QByteArray bytes = encodePicture(frame, o.format);
    writeOrFail(o.output, bytes);
    if (!o.savePalette.isEmpty()) writeOrFail(o.savePalette, QByteArray::fromStdString(writeMap(*picture.table)));
    if (!o.dataPath.isEmpty()) writeOrFail(o.dataPath, encodeNpy(frame.data.data(), frame.width, frame.height));
    out << QStringLiteral("Wrote %1 (%2, %3 bytes) in %4")
               .arg(o.output == QLatin1String("-") ? QStringLiteral("standard output") : o.output,
                    QString::fromLatin1(o.format.toUpper()))
               .arg(bytes.size())
               .arg(QString::fromStdString(renderTimeText(secondsSince(writing))))
        << Qt::endl;
}

}  // namespace
}  // namespace cli

int runRender(const RenderOptions& options, QTextStream& out, QTextStream& err, bool errIsTerminal) {
    QTextStream& report = options.output == QLatin1String("-") ? err : out;  // stdout holds the picture
    try {
        cli::render(options, report, err, errIsTerminal);
        return 0;
    } catch (const cli::Failure& f) {
        err << "glimmerscape: " << f.message << Qt::endl;
    } catch (const std::bad_alloc&) {
        err << "glimmerscape: " << options.width << "x" << options.height
            << " is too large to allocate" << Qt::endl;
    }
    return 1;
}

int runLinkCommand(const QStringList& args, QTextStream& out, QTextStream& err) {
    if (args.size() == 1 && (args[0] == QLatin1String("--help") || args[0] == QLatin1String("-h"))) {
        out << "Usage: glimmerscape link FILE.json\nPrints the glimmerscape:// share link of a bookmark file.\n";
        out.flush();
        return 0;
    }
    if (args.size() != 1) {
        err << "glimmerscape: link: expected one bookmark file (glimmerscape link FILE.json)" << Qt::endl;
        return 2;
    }
    try {
        const auto link = makeLink(cli::readBookmarkFile(args[0]));
        if (!link) throw cli::Failure{QStringLiteral("'%1' cannot be carried by a link").arg(args[0])};
        out << *link << Qt::endl;
        return 0;
    } catch (const cli::Failure& f) {
        err << "glimmerscape: " << f.message << Qt::endl;
    }
    return 1;
}

int runCommandLine(const QStringList& args, QTextStream& out, QTextStream& err, bool errIsTerminal) {
    if (args.isEmpty() || args[0] == QLatin1String("--help") || args[0] == QLatin1String("-h")) {
        out << programUsage();
        out.flush();
        return 0;
    }
    if (args[0] == QLatin1String("--version")) {
        out << "glimmerscape " << GLIMMERSCAPE_VERSION << Qt::endl;
        return 0;
    }
    if (args[0] == QLatin1String("link")) return runLinkCommand(args.mid(1), out, err);
    // Each command: how it reads its arguments, its help, and how it runs.
    struct Command {
        const char* name;
        std::variant<RenderOptions, QString> (*parse)(const QStringList&);
        QString (*usage)();
        int (*run)(const RenderOptions&, QTextStream&, QTextStream&, bool);
    };
    static const Command commands[] = {{"render", parseRenderArguments, renderUsage, runRender},
                                       {"movie", parseMovieArguments, movieUsage, runMovie}};
    for (const Command& command : commands) {
        if (args[0] != QLatin1String(command.name)) continue;
        const auto parsed = command.parse(args.mid(1));
        if (const QString* message = std::get_if<QString>(&parsed)) {
            err << "glimmerscape: " << *message << " (see glimmerscape " << command.name << " --help)" << Qt::endl;
            return 2;
        }
        const auto& options = std::get<RenderOptions>(parsed);
        if (options.help) {
            out << command.usage();
            out.flush();
            return 0;
        }
        return command.run(options, out, err, errIsTerminal);
    }
    err << "glimmerscape: unknown command '" << args[0] << "' (try: glimmerscape --help)" << Qt::endl;
    return 2;
}

}  // namespace gs
