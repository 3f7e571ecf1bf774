// The options of the render and movie commands: one table that parses, checks and explains
// them, each option marked with the commands that take it.
#include <QFileInfo>
#include <QImageWriter>
#include <QLatin1String>
#include <QLocale>
#include <charconv>
#include <cmath>
#include <vector>

#include "app/cli.h"
#include "core/supersample.h"
#include "core/tuning_fields.h"
#include "explore/palette_motion.h"
#include "library/bookmark.h"

namespace gs {
namespace {

constexpr int kMaxSide = 65535;
// A palette cycle a second at most; at the least one in 50 seconds (1500 frames).
constexpr double kMinMovieSpeed = 0.02, kMaxMovieSpeed = 1.0;

// The commands that take an option, and whether a bookmark already decides what it sets (such
// options are refused beside --link or --bookmark).
enum OptionFlags : unsigned { kRender = 1, kMovie = 2, kBoth = kRender | kMovie, kSetByBookmark = 4 };
using Command = OptionFlags;

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

QString number(double v) { return QString::number(v, 'g', QLocale::FloatingPointShortest); }

// A number within [lower, upper].
double numberIn(const QString& option, const QString& text, double lower, double upper) {
    const auto v = toDouble(text);
    if (!v || !(*v >= lower && *v <= upper))
        throw ArgError{QStringLiteral("%1: expected a number from %2 to %3, got '%4'")
                           .arg(option, number(lower), number(upper), text)};
    return *v;
}

// ---- the options ----

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
    // Wider views would make the shadings' pixel-size arithmetic overflow.
    if (!(v[1] - v[0] <= kMaxViewExtent) || !(v[3] - v[2] <= kMaxViewExtent))
        throw ArgError{QStringLiteral("--view: the view is too large to compute (at most %1 a side)")
                           .arg(number(kMaxViewExtent))};
    o.view = {v[0], v[1], v[2], v[3]};
}

void parseMaxIter(RenderOptions& o, const QString& text) {
    const auto n = toInteger<std::int32_t>(text);
    if (!n || *n < 0)
        throw ArgError{QStringLiteral("--max-iter: expected a whole number from 0 to 2147483647, got '%1'").arg(text)};
    o.maxIter = *n;
}

void parseSeed(RenderOptions& o, const QString& text) {
    const auto n = toInteger<std::uint64_t>(text);
    if (!n) throw ArgError{QStringLiteral("--seed: expected a whole number from 0 to 18446744073709551615, got '%1'").arg(text)};
    o.seed = *n;
}

void parseKernel(RenderOptions& o, const QString& text) {
    if (text == QLatin1String("auto") || text == QLatin1String("simd"))
        o.kernel = KernelKind::simd;
    else if (text == QLatin1String("scalar"))
        o.kernel = KernelKind::scalar;
    else
        throw ArgError{QStringLiteral("--kernel: expected auto, scalar or simd, got '%1'").arg(text)};
}

void parseThreads(RenderOptions& o, const QString& text) {
    const auto n = toInteger<int>(text);
    if (!n || *n < 1 || *n > 1024)
        throw ArgError{QStringLiteral("--threads: expected a whole number from 1 to 1024, got '%1'").arg(text)};
    o.threads = *n;
}

// The picture formats -o takes, by extension, where Qt can write them; PNG without one.
struct PictureFormat {
    const char* extension;
    const char* format;
};
constexpr PictureFormat kPictureFormats[] = {{"png", "png"}, {"jpg", "jpeg"}, {"jpeg", "jpeg"}, {"webp", "webp"}};

bool canWrite(const char* format) {
    return QImageWriter::supportedImageFormats().contains(QByteArray(format));
}

void parseOutput(RenderOptions& o, const QString& path) {
    o.output = path;
    const QString extension = QFileInfo(path).suffix().toLower();
    if (extension.isEmpty() || path == QLatin1String("-")) {
        o.format = "png";
        return;
    }
    QStringList known;
    for (const PictureFormat& f : kPictureFormats) {
        if (!canWrite(f.format)) continue;
        if (extension == QLatin1String(f.extension)) {
            o.format = f.format;
            return;
        }
        known << QLatin1Char('.') + QLatin1String(f.extension);
    }
    throw ArgError{QStringLiteral("-o: cannot write .%1 pictures, only %2").arg(extension, known.join(QStringLiteral(", ")))};
}

void parseMovieOutput(RenderOptions& o, const QString& path) {
    if (path == QLatin1String("-"))
        throw ArgError{QStringLiteral("-o: a movie is written to a file, not to standard output")};
    if (QFileInfo(path).suffix().toLower() != QLatin1String("mov"))
        throw ArgError{QStringLiteral("-o: movies are QuickTime files: expected a name ending in .mov, got '%1'").arg(path)};
    o.output = path;
}

void parseSupersample(RenderOptions& o, const QString& text) {
    const auto n = toInteger<int>(text);
    if (!n || *n < 1 || *n > kMaxSamplesPerSide)
        throw ArgError{QStringLiteral("--supersample: expected a whole number from 1 to %1, got '%2'")
                           .arg(kMaxSamplesPerSide)
                           .arg(text)};
    o.supersample = *n;
}

using Apply = void (*)(RenderOptions&, const QString& value);

// One option: its names, the placeholder of its value (empty for a flag), its help line, what
// it does to the options, the commands that take it and whether a bookmark sets it too.
struct Option {
    QStringList names;
    QString value;
    QString help;
    Apply apply;
    unsigned flags = kBoth;
};

std::vector<Option> makeOptions() {
    constexpr unsigned contradicts = kBoth | kSetByBookmark;
    const ExplorerSettings d;
    const auto s = [](const char* text) { return QString::fromUtf8(text); };
    return {
        {{s("-o"), s("--output")}, s("OUT.png"),
         s("where to write the picture: .png, .jpg or .webp (PNG without an extension, - for "
           "standard output)"),
         parseOutput, kRender},
        {{s("-o"), s("--output")}, s("OUT.mov"),
         s("where to write the movie, a QuickTime file (replaced only once complete)"),
         parseMovieOutput, kMovie},
        {{s("--speed")}, s("S"),
         s("palette cycles a second, %1 to %2 (default %3); the loop lasts 1/S seconds at 30 fps")
             .arg(number(kMinMovieSpeed), number(kMaxMovieSpeed), number(d.animationSpeed)),
         [](RenderOptions& o, const QString& v) {
             o.look.animationSpeed = numberIn(QStringLiteral("--speed"), v, kMinMovieSpeed, kMaxMovieSpeed);
         },
         kMovie},
        {{s("--size")}, s("WxH"), s("picture size in pixels (default 1200x900)"), parseSize},
        {{s("--view")}, s("XMIN,XMAX,YMIN,YMAX"), s("region of the plane (default -2.5,1.5,-1.5,1.5)"),
         parseView, contradicts},
        {{s("--julia")}, s("CRE,CIM"), s("the Julia set for parameter c instead (spans -1.6..1.6)"),
         [](RenderOptions& o, const QString& v) {
             const auto c = toDoubles(QStringLiteral("--julia"), v, 2, "CRE,CIM");
             o.julia = std::make_pair(c[0], c[1]);
         }, contradicts},
        {{s("--max-iter")}, s("N"), s("iteration ceiling (default: rises with the zoom)"), parseMaxIter},
        {{s("--palette")}, s("smooth|random|PATH.map"), s("colours (default smooth)"),
         [](RenderOptions& o, const QString& v) {
             if (v.isEmpty()) throw ArgError{QStringLiteral("--palette: expected smooth, random or a .map file")};
             o.palette = v;
         }, contradicts},
        {{s("--seed")}, s("N"), s("reproducible generated palettes"), parseSeed, contradicts},
        {{s("--save-palette")}, s("OUT.map"), s("also write the palette used"),
         [](RenderOptions& o, const QString& v) { o.savePalette = v; }},
        {{s("--frequency")}, s("F"), s("palette repeats (default %1)").arg(number(d.frequency)),
         [](RenderOptions& o, const QString& v) {
             o.look.frequency = numberIn(QStringLiteral("--frequency"), v, kMinFrequency, kMaxFrequency);
         }, contradicts},
        {{s("--phase")}, s("P"), s("palette start, a fraction of the cycle (default %1)").arg(number(d.cycleOffset)),
         [](RenderOptions& o, const QString& v) {
             o.look.cycleOffset = wrapCycle(numberIn(QStringLiteral("--phase"), v, 0, 1));
         }, contradicts},
        {{s("--dem")}, {}, s("distance-estimation edges"), [](RenderOptions& o, const QString&) { o.look.demEnabled = true; }, contradicts},
        {{s("--glow")}, {}, s("glow"), [](RenderOptions& o, const QString&) { o.look.glowEnabled = true; }, contradicts},
        {{s("--traps")}, {}, s("orbit traps"), [](RenderOptions& o, const QString&) { o.look.trapsEnabled = true; }, contradicts},
        {{s("--relief")}, {}, s("lit 3D relief"), [](RenderOptions& o, const QString&) { o.look.reliefEnabled = true; }, contradicts},
        {{s("--light")}, s("RAWX,RAWY"),
         s("relief light position (default %1,%2)").arg(number(d.reliefLightRawX), number(d.reliefLightRawY)),
         [](RenderOptions& o, const QString& v) {
             const auto l = toDoubles(QStringLiteral("--light"), v, 2, "RAWX,RAWY");
             if (std::abs(l[0]) > kLightRawLimit || std::abs(l[1]) > kLightRawLimit)
                 throw ArgError{QStringLiteral("--light: expected RAWX,RAWY each from %1 to %2, got '%3'")
                                    .arg(number(-kLightRawLimit), number(kLightRawLimit), v)};
             o.look.reliefLightRawX = l[0];
             o.look.reliefLightRawY = l[1];
         }, contradicts},
        {{s("--tuning")}, s("FILE.json"), s("shading parameters: an object with the fourteen keys below"),
         [](RenderOptions& o, const QString& v) { o.tuningPath = v; }, contradicts},
        {{s("--link")}, s("URL"),
         s("show what a glimmerscape:// share link holds: its view, colours, shadings and light"),
         [](RenderOptions& o, const QString& v) { o.link = v; }},
        {{s("--bookmark")}, s("FILE.json"), s("show what a bookmark file holds, as --link does"),
         [](RenderOptions& o, const QString& v) { o.bookmarkPath = v; }},
        {{s("--supersample")}, s("N"),
         s("N x N points a pixel, averaged in linear light: an anti-aliased poster (1 to %1, default 1)")
             .arg(kMaxSamplesPerSide),
         parseSupersample, kRender},
        {{s("--data")}, s("OUT.npy"), s("per-pixel nu, distance, trapDistance as float32 (H, W, 3)"),
         [](RenderOptions& o, const QString& v) { o.dataPath = v; }, kRender},
        {{s("--kernel")}, s("auto|scalar|simd"), s("iteration kernel (default auto)"), parseKernel},
        {{s("--threads")}, s("N"), s("worker threads (default: all cores)"), parseThreads},
        {{s("-h"), s("--help")}, {}, s("this text"), [](RenderOptions& o, const QString&) { o.help = true; }},
    };
}

const std::vector<Option>& options() {
    static const std::vector<Option> table = makeOptions();
    return table;
}

const Option* findOption(const QString& name, Command command) {
    for (const Option& option : options())
        if ((option.flags & command) && option.names.contains(name)) return &option;
    return nullptr;
}

// Applies args[i] (and its value, taken from "--name=value" or the next argument), noting the
// option in `used`; returns the index of the last argument used.
qsizetype applyArgument(RenderOptions& o, const QStringList& args, qsizetype i, Command command,
                        std::vector<const Option*>& used) {
    QString name = args[i];
    std::optional<QString> value;
    if (const qsizetype eq = name.indexOf(QLatin1Char('=')); name.startsWith(QLatin1String("--")) && eq > 0) {
        value = name.mid(eq + 1);
        name = name.left(eq);
    }
    const Option* option = findOption(name, command);
    if (!option) {
        if (!name.startsWith(QLatin1Char('-')))
            throw ArgError{QStringLiteral("unexpected argument '%1'").arg(name)};
        throw ArgError{QStringLiteral("unknown option '%1'").arg(name)};
    }
    used.push_back(option);
    if (option->value.isEmpty()) {
        if (value) throw ArgError{QStringLiteral("%1: takes no value").arg(name)};
        option->apply(o, {});
        return i;
    }
    if (!value) {
        if (i + 1 >= args.size()) throw ArgError{QStringLiteral("%1: missing value").arg(name)};
        value = args[++i];
    }
    option->apply(o, *value);
    return i;
}

// A bookmark holds its own view, colours, shadings, light and tuning: options that would set
// them too are refused rather than silently overridden.
void checkBookmarkOptions(const RenderOptions& o, const std::vector<const Option*>& used) {
    if (o.link && !o.bookmarkPath.isEmpty())
        throw ArgError{QStringLiteral("--link and --bookmark cannot be used together")};
    const QString source = o.link ? QStringLiteral("--link") : QStringLiteral("--bookmark");
    if (!o.link && o.bookmarkPath.isEmpty()) return;
    for (const Option* option : used)
        if (option->flags & kSetByBookmark)
            throw ArgError{QStringLiteral("%1 cannot be used with %2: the bookmark sets it")
                               .arg(option->names.last(), source)};
}


// What the options cannot say one at a time.
void checkCombination(const RenderOptions& o, Command command) {
    if (command == kRender) {
        if (o.output.isEmpty()) throw ArgError{QStringLiteral("missing -o OUT.png")};
        if (o.supersample > 1 && !o.dataPath.isEmpty())
            throw ArgError{QStringLiteral("--data: a supersampled poster has no per-pixel data; "
                                          "leave out --data or --supersample")};
        return;
    }
    if (o.output.isEmpty()) throw ArgError{QStringLiteral("missing -o OUT.mov")};
    if (o.width < 2 || o.height < 2)
        throw ArgError{QStringLiteral("--size: a movie needs at least 2x2 pixels, got %1x%2").arg(o.width).arg(o.height)};
}

std::variant<RenderOptions, QString> parseArguments(const QStringList& args, Command command) {
    RenderOptions o;
    try {
        std::vector<const Option*> used;
        for (qsizetype i = 0; i < args.size(); ++i) i = applyArgument(o, args, i, command, used);
        if (!o.help) {
            checkBookmarkOptions(o, used);
            checkCombination(o, command);
        }
    } catch (const ArgError& e) {
        return e.message;
    }
    return o;
}

QString usage(const QString& head, Command command) {
    QString text = head;
    for (const Option& option : options()) {
        if (!(option.flags & command)) continue;
        QString left = QStringLiteral("  ") + option.names.join(QStringLiteral(", "));
        if (!option.value.isEmpty()) left += QLatin1Char(' ') + option.value;
        text += left.leftJustified(34) + QLatin1Char(' ') + option.help + QLatin1Char('\n');
    }
    text += QStringLiteral("\nTuning keys (--tuning), each a number within its range:\n");
    const ShadingTuning defaults;
    for (const TuningField& f : kTuningFields)
        text += QStringLiteral("  %1 %2 to %3 (default %4)\n")
                    .arg(QString::fromLatin1(f.key).leftJustified(20), number(f.lower), number(f.upper),
                         QString::number(defaults.*f.member, 'g', 6));
    return text;
}

}  // namespace

std::variant<RenderOptions, QString> parseRenderArguments(const QStringList& args) {
    return parseArguments(args, kRender);
}

std::variant<RenderOptions, QString> parseMovieArguments(const QStringList& args) {
    return parseArguments(args, kMovie);
}

QString renderUsage() {
    return usage(QStringLiteral("Usage: glimmerscape render [options] -o OUT.png\n"
                                "Renders a picture of the Mandelbrot set (or a Julia set) without a display.\n\n"),
                 kRender);
}

QString movieUsage() {
    return usage(QStringLiteral("Usage: glimmerscape movie [options] --speed S -o OUT.mov\n"
                                "Records one palette cycle of a picture as a seamless H.264 loop at 30 frames a\n"
                                "second, without a display: the picture is rendered once (as render would make\n"
                                "it, cropped to even sides), then only its colours move. The frame count is\n"
                                "round(30 / S), at least 2.\n\n"),
                 kMovie);
}

QString programUsage() {
    return QStringLiteral(
        "Usage: glimmerscape [Qt options]                 opens the explorer window\n"
        "       glimmerscape glimmerscape://bookmark?…    opens a share link in the window\n"
        "       glimmerscape render [options] -o OUT      makes a picture without a display\n"
        "       glimmerscape movie [options] -o OUT.mov   records a palette-cycle loop without one\n"
        "       glimmerscape link FILE.json               prints the share link of a bookmark file\n"
        "       glimmerscape --version                    prints the version\n\n"
        "glimmerscape render --help and glimmerscape movie --help list their options.\n");
}

bool wantsCommandLine(const QStringList& args) {
    if (args.isEmpty()) return false;
    const QString& first = args.first();
    if (isShareLinkArgument(first)) return false;
    return !first.startsWith(QLatin1Char('-')) || first == QLatin1String("--help") ||
           first == QLatin1String("-h") || first == QLatin1String("--version");
}

bool isShareLinkArgument(const QString& argument) {
    return argument.trimmed().startsWith(QLatin1String("glimmerscape:"), Qt::CaseInsensitive);
}

bool windowSystemAvailable(const QStringList& args, const QProcessEnvironment& env) {
    QString platform = env.value(QStringLiteral("QT_QPA_PLATFORM"));
    bool x11 = !env.value(QStringLiteral("DISPLAY")).isEmpty();
    const bool wayland = !env.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty();
    for (qsizetype i = 0; i + 1 < args.size(); ++i) {
        if (args[i] == QLatin1String("-platform") || args[i] == QLatin1String("--platform"))
            platform = args[i + 1];
        if (args[i] == QLatin1String("-display") || args[i] == QLatin1String("--display")) x11 = true;
    }
    if (platform.isEmpty()) return x11 || wayland;
    for (const QString& candidate : platform.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString name = candidate.section(QLatin1Char(':'), 0, 0);
        if (name == QLatin1String("xcb")) {
            if (x11) return true;
        } else if (name.startsWith(QLatin1String("wayland"))) {
            if (wayland) return true;
        } else {
            return true;  // offscreen, minimal, vnc, eglfs…: no display server needed
        }
    }
    return false;
}

}  // namespace gs
