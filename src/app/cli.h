// The command-line renderer: `glimmerscape render [options] -o OUT.png`, without a display.
#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>
#include <cstdint>
#include <optional>
#include <variant>

#include "core/budget.h"
#include "core/kernel.h"
#include "explore/explorer_settings.h"

namespace gs {

struct RenderOptions {
    QString output;                      // -o, required
    int width = 1200, height = 900;      // --size
    Viewport view = kHomeView;           // --view
    std::optional<std::pair<double, double>> julia;  // --julia CRE,CIM
    std::optional<std::int32_t> maxIter;             // --max-iter; default: the budget rule
    QString palette = QStringLiteral("smooth");      // smooth | random | path to a .map
    std::optional<std::uint64_t> seed;               // --seed
    QString savePalette;                             // --save-palette
    // Frequency, phase, shadings, light and tuning: the explorer's defaults unless given.
    ExplorerSettings look;
    QString tuningPath;                   // --tuning: replaces look.tuning when rendering
    QString dataPath;                     // --data
    KernelKind kernel = KernelKind::simd; // --kernel (auto picks the SIMD dispatcher)
    int threads = 0;                      // --threads; 0: all cores
    bool help = false;
};

// Parses the arguments after "render". On failure returns a one-line message.
std::variant<RenderOptions, QString> parseRenderArguments(const QStringList& args);

// The help text, made from the table of options.
QString renderUsage();

// Renders as the options say and writes the files. Prints the render time to out; errors go to
// err as one line. Returns the process exit status (0 success, 1 failure).
int runRender(const RenderOptions& options, QTextStream& out, QTextStream& err);

// The whole command line (argv without the program name). Exit status: 0 success, 1 a failed
// render or write, 2 bad arguments.
int runCommandLine(const QStringList& args, QTextStream& out, QTextStream& err);

}  // namespace gs
