// The arguments of `render` and `movie` (the input split at NUL bytes into arguments), parsed
// only, never run: whatever parses keeps every value within what the renderer accepts, and
// whatever is refused says why.
#include <QByteArrayList>
#include <QProcessEnvironment>
#include <QStringList>
#include <cmath>

#include "app/cli.h"
#include "core/shading.h"
#include "core/supersample.h"
#include "explore/palette_motion.h"
#include "fuzz_support.h"
#include "library/bookmark.h"

namespace {

using namespace gs;

bool within(double v, double lower, double upper) { return v >= lower && v <= upper; }

// What both commands promise of the options they return.
void checkCommon(const RenderOptions& o) {
    if (o.output.isEmpty()) fuzz::broken("options without an output");
    if (!within(o.width, 1, 65535) || !within(o.height, 1, 65535)) fuzz::broken("a size out of range");
    const Viewport& v = o.view;
    if (!(v.xmin < v.xmax) || !(v.ymin < v.ymax)) fuzz::broken("a view with crossed edges");
    if (!(v.xmax - v.xmin <= kMaxViewExtent) || !(v.ymax - v.ymin <= kMaxViewExtent))
        fuzz::broken("a view too large to compute");
    if (o.julia && (!std::isfinite(o.julia->first) || !std::isfinite(o.julia->second)))
        fuzz::broken("a Julia parameter that is not finite");
    if (o.maxIter && *o.maxIter < 0) fuzz::broken("a negative iteration ceiling");
    if (o.palette.isEmpty()) fuzz::broken("an empty palette name");
    if (!within(o.supersample, 1, kMaxSamplesPerSide)) fuzz::broken("a supersampling out of range");
    if (o.threads != 0 && !within(o.threads, 1, 1024)) fuzz::broken("a thread count out of range");
    if (!within(o.look.frequency, kMinFrequency, kMaxFrequency)) fuzz::broken("a frequency out of range");
    if (!(o.look.cycleOffset >= 0 && o.look.cycleOffset < 1)) fuzz::broken("a phase outside the cycle");
    if (!within(o.look.reliefLightRawX, -kLightRawLimit, kLightRawLimit) ||
        !within(o.look.reliefLightRawY, -kLightRawLimit, kLightRawLimit))
        fuzz::broken("a light out of range");
    if (o.link && !o.bookmarkPath.isEmpty()) fuzz::broken("both a link and a bookmark file");
}

void checkRender(const std::variant<RenderOptions, QString>& parsed) {
    if (const auto* why = std::get_if<QString>(&parsed)) {
        if (why->isEmpty()) fuzz::broken("render refused its arguments without a reason");
        return;
    }
    const RenderOptions& o = std::get<RenderOptions>(parsed);
    if (o.help) return;
    checkCommon(o);
    if (o.supersample > 1 && !o.dataPath.isEmpty()) fuzz::broken("per-pixel data of a supersampled poster");
}

void checkMovie(const std::variant<RenderOptions, QString>& parsed) {
    if (const auto* why = std::get_if<QString>(&parsed)) {
        if (why->isEmpty()) fuzz::broken("movie refused its arguments without a reason");
        return;
    }
    const RenderOptions& o = std::get<RenderOptions>(parsed);
    if (o.help) return;
    checkCommon(o);
    if (o.width < 2 || o.height < 2) fuzz::broken("a movie smaller than 2x2");
    if (!o.output.endsWith(QLatin1String(".mov"), Qt::CaseInsensitive)) fuzz::broken("a movie not written to .mov");
    if (!within(o.look.animationSpeed, 0.02, 1.0)) fuzz::broken("a movie speed out of range");
    if (o.supersample != 1 || !o.dataPath.isEmpty()) fuzz::broken("a movie took a render-only option");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The help texts take no input: make them once so the sanitizers see them too.
    if (!gs::renderUsage().startsWith(QLatin1String("Usage: glimmerscape render")) ||
        !gs::movieUsage().startsWith(QLatin1String("Usage: glimmerscape movie")) ||
        !gs::programUsage().startsWith(QLatin1String("Usage: glimmerscape")))
        gs::fuzz::broken("a usage text lost its first line");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QStringList args;
    for (const QByteArray& part : gs::fuzz::bytes(data, size).split('\0')) args << QString::fromUtf8(part);
    checkRender(gs::parseRenderArguments(args));
    checkMovie(gs::parseMovieArguments(args));
    // The first look main takes at the arguments: window or command line, and whether a window
    // system is there to open one.
    (void)gs::wantsCommandLine(args);
    (void)gs::isShareLinkArgument(args.first());
    QProcessEnvironment env;
    env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0"));
    (void)gs::windowSystemAvailable(args, env);
    return 0;
}
