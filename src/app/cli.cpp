// The render command: palette, colours and view from the options, one parallel render, the
// files written.
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
#include <cmath>
#include <memory>
#include <new>

#include "app/npy.h"
#include "core/frame.h"
#include "core/mapfile.h"
#include "core/palette.h"
#include "core/tuning_fields.h"
#include "library/atomic_file.h"
#include "library/tuning_json.h"

namespace gs {
namespace {

struct Failure {
    QString message;
};

QString number(double v) { return QString::number(v, 'g', QLocale::FloatingPointShortest); }

QByteArray readWholeFile(const QString& path, const QString& what) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw Failure{QStringLiteral("cannot read %1 '%2': %3").arg(what, path, f.errorString())};
    return f.readAll();
}

void writeOrFail(const QString& path, const QByteArray& bytes) {
    QString why;
    if (!writeFileAtomically(path, bytes, &why))
        throw Failure{QStringLiteral("cannot write '%1': %2").arg(path, why)};
}

ColorTable loadPalette(const RenderOptions& o, RandomSource& rng) {
    if (o.palette == QLatin1String("smooth")) return smoothPalette(rng);
    if (o.palette == QLatin1String("random")) return randomPalette(rng);
    const QByteArray bytes = readWholeFile(o.palette, QStringLiteral("palette"));
    MapParseResult parsed = parseMap(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    if (!parsed.colors)
        throw Failure{QStringLiteral("'%1' is not a valid 256-colour .map palette: %2")
                          .arg(o.palette, QString::fromStdString(parsed.error))};
    return *parsed.colors;
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

// Refuses sizes whose buffers would not fit in this machine's memory.
void checkMemory(const RenderOptions& o) {
    const double bytesPerPixel = 4 + 12 + 4 + (o.look.reliefEnabled ? 4 : 0) + 4;  // + PNG encoding copy
    const double needed = bytesPerPixel * o.width * o.height;
    const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGE_SIZE);
    if (pages > 0 && pageSize > 0 && needed > 0.8 * static_cast<double>(pages) * static_cast<double>(pageSize))
        throw Failure{QStringLiteral("%1x%2 is too large to allocate on this machine").arg(o.width).arg(o.height)};
}

QByteArray encodePng(const Frame& frame) {
    const QImage image(frame.pixels.data(), frame.width, frame.height, frame.width * 4,
                       QImage::Format_RGBA8888);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    if (!writer.write(image)) throw Failure{QStringLiteral("cannot encode the PNG: %1").arg(writer.errorString())};
    return bytes;
}

void render(const RenderOptions& o, QTextStream& out) {
    checkMemory(o);
    std::unique_ptr<RandomSource> rng =
        o.seed ? std::make_unique<SeededRandom>(*o.seed) : makeSystemRandom();
    auto table = std::make_shared<const ColorTable>(loadPalette(o, *rng));
    if (!o.savePalette.isEmpty()) writeOrFail(o.savePalette, QByteArray::fromStdString(writeMap(*table)));

    const ExplorerSettings& look = o.look;
    ColourInputs colour;
    colour.table = table;
    colour.frequency = look.frequency;
    colour.cycleOffset = look.cycleOffset;
    colour.dem = look.demEnabled;
    colour.glow = look.glowEnabled;
    colour.traps = look.trapsEnabled;
    colour.relief = look.reliefEnabled;
    colour.tuning = loadTuning(o);
    colour.light = look.reliefLight();

    const std::int64_t maxIter = o.maxIter ? *o.maxIter : iterationCeiling(o.view);
    const auto start = std::chrono::steady_clock::now();
    RenderRequest request =
        o.julia ? juliaRequest(o.julia->first, o.julia->second, o.width, o.height, colour, maxIter)
                : mandelbrotRequest(o.view, o.width, o.height, colour, maxIter);
    request.kernel = o.kernel;
    const std::size_t threads =
        o.threads > 0 ? static_cast<std::size_t>(o.threads) : static_cast<std::size_t>(tbb::info::default_concurrency());
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    Frame frame;
    renderFrame(request, frame);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    writeOrFail(o.output, encodePng(frame));
    if (!o.dataPath.isEmpty()) writeOrFail(o.dataPath, encodeNpy(frame.data.data(), frame.width, frame.height));
    const QString kernel = o.kernel == KernelKind::scalar
                               ? QStringLiteral("scalar")
                               : QStringLiteral("SIMD %1").arg(QString::fromStdString(simdTargetName()));
    out << QStringLiteral("Rendered %1x%2 in %3 (%4 kernel, %5 threads, max %6 iterations) -> %7")
               .arg(o.width)
               .arg(o.height)
               .arg(QString::fromStdString(renderTimeText(seconds)), kernel)
               .arg(threads)
               .arg(maxIter)
               .arg(o.output)
        << Qt::endl;
}

}  // namespace

int runRender(const RenderOptions& options, QTextStream& out, QTextStream& err) {
    try {
        render(options, out);
        return 0;
    } catch (const Failure& f) {
        err << "glimmerscape: " << f.message << Qt::endl;
    } catch (const std::bad_alloc&) {
        err << "glimmerscape: " << options.width << "x" << options.height
            << " is too large to allocate" << Qt::endl;
    }
    return 1;
}

int runCommandLine(const QStringList& args, QTextStream& out, QTextStream& err) {
    if (args.isEmpty() || args[0] == QLatin1String("--help") || args[0] == QLatin1String("-h")) {
        out << "Usage: glimmerscape render [options] -o OUT.png   (glimmerscape render --help)" << Qt::endl;
        return 0;
    }
    if (args[0] != QLatin1String("render")) {
        err << "glimmerscape: unknown command '" << args[0] << "' (try: glimmerscape render --help)" << Qt::endl;
        return 2;
    }
    const auto parsed = parseRenderArguments(args.mid(1));
    if (const QString* message = std::get_if<QString>(&parsed)) {
        err << "glimmerscape: " << *message << " (see glimmerscape render --help)" << Qt::endl;
        return 2;
    }
    const auto& options = std::get<RenderOptions>(parsed);
    if (options.help) {
        out << renderUsage();
        out.flush();
        return 0;
    }
    return runRender(options, out, err);
}

}  // namespace gs
