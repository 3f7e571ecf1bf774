#include "cli.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <unistd.h>

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <charconv>
#include <chrono>
#include <cmath>
#include <memory>
#include <new>

#include "app/npy.h"
#include "core/frame.h"
#include "core/mapfile.h"
#include "core/palette.h"
#include "library/atomic_file.h"
#include "library/tuning_json.h"

namespace gs {
namespace {

constexpr int kMaxSide = 65535;

struct ArgError {
    QString message;
};

// ---- number parsing: the whole text must be the number ----

std::optional<double> toDouble(const QString& text) {
    const QByteArray b = text.trimmed().toLatin1();
    double v = 0;
    const auto [end, ec] = std::from_chars(b.data(), b.data() + b.size(), v);
    if (b.isEmpty() || ec != std::errc() || end != b.data() + b.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

template <class Int>
std::optional<Int> toInteger(const QString& text) {
    const QByteArray b = text.trimmed().toLatin1();
    Int v = 0;
    const auto [end, ec] = std::from_chars(b.data(), b.data() + b.size(), v);
    if (b.isEmpty() || ec != std::errc() || end != b.data() + b.size()) return std::nullopt;
    return v;
}

std::vector<double> toDoubles(const QString& option, const QString& text, int count,
                              const char* shape) {
    const QStringList parts = text.split(QLatin1Char(','));
    std::vector<double> values;
    for (const QString& p : parts)
        if (auto v = toDouble(p)) values.push_back(*v);
    if (parts.size() != count || static_cast<int>(values.size()) != count)
        throw ArgError{QStringLiteral("%1: expected %2 (finite numbers), got '%3'")
                           .arg(option, QLatin1String(shape), text)};
    return values;
}

double wrapUnit(double v) {
    double w = v - std::trunc(v);
    return w < 0 ? w + 1 : w;
}

// ---- options ----

void parseSize(RenderOptions& o, const QString& text) {
    const QStringList parts = text.split(QLatin1Char('x'));
    std::optional<int> w, h;
    if (parts.size() == 2) {
        w = toInteger<int>(parts[0]);
        h = toInteger<int>(parts[1]);
    }
    if (!w || !h || *w < 1 || *h < 1)
        throw ArgError{QStringLiteral("--size: expected WIDTHxHEIGHT in whole pixels of at least 1, got '%1'").arg(text)};
    if (*w > kMaxSide || *h > kMaxSide)
        throw ArgError{QStringLiteral("--size: %1x%2 is too large to allocate (at most %3 pixels a side)")
                           .arg(*w).arg(*h).arg(kMaxSide)};
    o.width = *w;
    o.height = *h;
}

void parseView(RenderOptions& o, const QString& text) {
    const auto v = toDoubles(QStringLiteral("--view"), text, 4, "XMIN,XMAX,YMIN,YMAX");
    if (!(v[0] < v[1])) throw ArgError{QStringLiteral("--view: xmin must be less than xmax")};
    if (!(v[2] < v[3])) throw ArgError{QStringLiteral("--view: ymin must be less than ymax")};
    if (!std::isfinite(v[1] - v[0]) || !std::isfinite(v[3] - v[2]))
        throw ArgError{QStringLiteral("--view: the view is too wide to compute")};
    o.view = {v[0], v[1], v[2], v[3]};
}

double requireNumber(const QString& option, const QString& text) {
    if (auto v = toDouble(text)) return *v;
    throw ArgError{QStringLiteral("%1: expected a finite number, got '%2'").arg(option, text)};
}

const QStringList kValueOptions = {
    QStringLiteral("-o"),        QStringLiteral("--output"),       QStringLiteral("--size"),
    QStringLiteral("--view"),    QStringLiteral("--julia"),        QStringLiteral("--max-iter"),
    QStringLiteral("--palette"), QStringLiteral("--seed"),         QStringLiteral("--save-palette"),
    QStringLiteral("--frequency"), QStringLiteral("--phase"),      QStringLiteral("--light"),
    QStringLiteral("--tuning"),  QStringLiteral("--data"),         QStringLiteral("--kernel"),
    QStringLiteral("--threads")};

// Applies one option that takes a value (one of kValueOptions).
void applyValueOption(RenderOptions& o, const QString& name, const QString& value) {
    if (name == QLatin1String("-o") || name == QLatin1String("--output")) {
        o.output = value;
    } else if (name == QLatin1String("--size")) {
        parseSize(o, value);
    } else if (name == QLatin1String("--view")) {
        parseView(o, value);
    } else if (name == QLatin1String("--julia")) {
        const auto c = toDoubles(name, value, 2, "CRE,CIM");
        o.julia = std::make_pair(c[0], c[1]);
    } else if (name == QLatin1String("--max-iter")) {
        const auto n = toInteger<std::int32_t>(value);
        if (!n || *n < 0)
            throw ArgError{QStringLiteral("--max-iter: expected a whole number from 0 to 2147483647, got '%1'").arg(value)};
        o.maxIter = *n;
    } else if (name == QLatin1String("--palette")) {
        if (value.isEmpty()) throw ArgError{QStringLiteral("--palette: expected smooth, random or a .map file")};
        o.palette = value;
    } else if (name == QLatin1String("--seed")) {
        const auto n = toInteger<std::uint64_t>(value);
        if (!n) throw ArgError{QStringLiteral("--seed: expected a whole number from 0 to 18446744073709551615, got '%1'").arg(value)};
        o.seed = *n;
    } else if (name == QLatin1String("--save-palette")) {
        o.savePalette = value;
    } else if (name == QLatin1String("--frequency")) {
        o.frequency = requireNumber(name, value);
    } else if (name == QLatin1String("--phase")) {
        o.phase = wrapUnit(requireNumber(name, value));
    } else if (name == QLatin1String("--light")) {
        const auto l = toDoubles(name, value, 2, "RAWX,RAWY");
        o.lightX = l[0];
        o.lightY = l[1];
    } else if (name == QLatin1String("--tuning")) {
        o.tuningPath = value;
    } else if (name == QLatin1String("--data")) {
        o.dataPath = value;
    } else if (name == QLatin1String("--kernel")) {
        if (value == QLatin1String("auto") || value == QLatin1String("simd"))
            o.kernel = KernelKind::simd;
        else if (value == QLatin1String("scalar"))
            o.kernel = KernelKind::scalar;
        else
            throw ArgError{QStringLiteral("--kernel: expected auto, scalar or simd, got '%1'").arg(value)};
    } else if (name == QLatin1String("--threads")) {
        const auto n = toInteger<int>(value);
        if (!n || *n < 1 || *n > 1024)
            throw ArgError{QStringLiteral("--threads: expected a whole number from 1 to 1024, got '%1'").arg(value)};
        o.threads = *n;
    }
}

bool applyFlag(RenderOptions& o, const QString& name) {
    if (name == QLatin1String("--dem")) o.dem = true;
    else if (name == QLatin1String("--glow")) o.glow = true;
    else if (name == QLatin1String("--traps")) o.traps = true;
    else if (name == QLatin1String("--relief")) o.relief = true;
    else if (name == QLatin1String("--help") || name == QLatin1String("-h")) o.help = true;
    else return false;
    return true;
}

// ---- rendering ----

struct Failure {
    QString message;
};

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

ShadingTuning loadTuning(const RenderOptions& o) {
    if (o.tuningPath.isEmpty()) return {};
    QString why;
    const auto t = decodeShadingTuning(readWholeFile(o.tuningPath, QStringLiteral("tuning")), &why);
    if (!t) throw Failure{QStringLiteral("'%1' is not a valid shading tuning: %2").arg(o.tuningPath, why)};
    return *t;
}

// Refuses sizes whose buffers would not fit in this machine's memory.
void checkMemory(const RenderOptions& o) {
    const double bytesPerPixel = 4 + 12 + 4 + (o.relief ? 4 : 0) + 4;  // + PNG encoding copy
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

    ColourInputs colour;
    colour.table = table;
    colour.frequency = o.frequency;
    colour.cycleOffset = o.phase;
    colour.dem = o.dem;
    colour.glow = o.glow;
    colour.traps = o.traps;
    colour.relief = o.relief;
    colour.tuning = loadTuning(o);
    colour.light = lightVector(o.lightX, o.lightY);

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

std::variant<RenderOptions, QString> parseRenderArguments(const QStringList& args) {
    RenderOptions o;
    try {
        for (qsizetype i = 0; i < args.size(); ++i) {
            QString name = args[i];
            std::optional<QString> inlineValue;
            if (const qsizetype eq = name.indexOf(QLatin1Char('=')); name.startsWith(QLatin1String("--")) && eq > 0) {
                inlineValue = name.mid(eq + 1);
                name = name.left(eq);
            }
            if (!inlineValue && applyFlag(o, name)) continue;
            if (!kValueOptions.contains(name)) {
                if (!name.startsWith(QLatin1Char('-')))
                    throw ArgError{QStringLiteral("unexpected argument '%1'").arg(name)};
                throw ArgError{QStringLiteral("unknown option '%1'").arg(name)};
            }
            if (!inlineValue && i + 1 >= args.size())
                throw ArgError{QStringLiteral("%1: missing value").arg(name)};
            applyValueOption(o, name, inlineValue ? *inlineValue : args[i + 1]);
            if (!inlineValue) ++i;
        }
    } catch (const ArgError& e) {
        return e.message;
    }
    if (!o.help && o.output.isEmpty()) return QStringLiteral("missing -o OUT.png");
    return o;
}

QString renderUsage() {
    return QStringLiteral(
        "Usage: glimmerscape render [options] -o OUT.png\n"
        "Renders a picture of the Mandelbrot set (or a Julia set) without a display.\n\n"
        "  -o, --output OUT.png     where to write the picture\n"
        "  --size WxH               picture size in pixels (default 1200x900)\n"
        "  --view XMIN,XMAX,YMIN,YMAX  region of the plane (default -2.5,1.5,-1.5,1.5)\n"
        "  --julia CRE,CIM          the Julia set for parameter c instead (spans -1.6..1.6)\n"
        "  --max-iter N             iteration ceiling (default: rises with the zoom)\n"
        "  --palette smooth|random|PATH.map   colours (default smooth)\n"
        "  --seed N                 reproducible generated palettes\n"
        "  --save-palette OUT.map   also write the palette used\n"
        "  --frequency F            palette repeats (default 2.0)\n"
        "  --phase P                palette start, a fraction of the cycle (default 0)\n"
        "  --dem --glow --traps --relief   exterior shadings\n"
        "  --light RAWX,RAWY        relief light position (default -0.5,-0.5)\n"
        "  --tuning FILE.json       shading parameters (an object with all fourteen keys)\n"
        "  --data OUT.npy           per-pixel nu, distance, trapDistance as float32 (H, W, 3)\n"
        "  --kernel auto|scalar|simd    iteration kernel (default auto)\n"
        "  --threads N              worker threads (default: all cores)\n"
        "  --help                   this text\n");
}

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
