// The command line, without a display: `glimmerscape render [options] -o OUT.png` makes a
// picture, `glimmerscape movie [options] -o OUT.mov` records one palette cycle of it.
#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
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

// The options of both commands; each command takes the ones its help lists.
struct RenderOptions {
    QString output;                      // -o, required
    QByteArray format = "png";           // the picture's format, from the output's extension
    int width = 1200, height = 900;      // --size
    Viewport view = kHomeView;           // --view
    std::optional<std::pair<double, double>> julia;  // --julia CRE,CIM
    std::optional<std::int32_t> maxIter;             // --max-iter; default: the budget rule
    QString palette = QStringLiteral("smooth");      // smooth | random | path to a .map
    std::optional<std::uint64_t> seed;               // --seed
    QString savePalette;                             // --save-palette
    // Frequency, phase, shadings, light, tuning and the movie's speed (--speed): the explorer's
    // defaults unless given.
    ExplorerSettings look;
    QString tuningPath;                   // --tuning: replaces look.tuning when rendering
    QString dataPath;                     // --data
    int supersample = 1;                  // --supersample: points a side per pixel, 1 to 4
    KernelKind kernel = KernelKind::simd; // --kernel (auto picks the SIMD dispatcher)
    int threads = 0;                      // --threads; 0: all cores
    // A bookmark to show instead of view, palette and look: a share link (--link) or a
    // bookmark file (--bookmark); at most one of the two.
    std::optional<QString> link;
    QString bookmarkPath;
    bool help = false;
};

// Parses the arguments after "render" or "movie". On failure returns a one-line message.
std::variant<RenderOptions, QString> parseRenderArguments(const QStringList& args);
std::variant<RenderOptions, QString> parseMovieArguments(const QStringList& args);

// The help texts, made from the tables of options and of tuning keys.
QString renderUsage();
QString movieUsage();
QString programUsage();

// Renders as the options say and writes the files, reporting the render and the writing to
// out (to err when the picture goes to standard output); notes and errors go to err as one
// line each. A progress bar goes to err when it is a terminal. Returns the process exit
// status (0 success, 1 failure).
int runRender(const RenderOptions& options, QTextStream& out, QTextStream& err,
              bool errIsTerminal = false);

// Records the movie as the options say: the picture is rendered once, then recoloured for
// every frame of one palette cycle and encoded; the output appears only when it is complete.
// Reports as runRender does, with the progress of both steps on a terminal. Returns 0
// success, 1 failure, 130 when interrupted (SIGINT).
int runMovie(const RenderOptions& options, QTextStream& out, QTextStream& err, bool errIsTerminal = false);

// The whole command line (argv without the program name). Exit status: 0 success, 1 a failed
// render or write, 2 bad arguments.
int runCommandLine(const QStringList& args, QTextStream& out, QTextStream& err,
                   bool errIsTerminal = false);

// `glimmerscape link FILE.json`: prints the share link of a bookmark file. Exit status: 0
// success, 1 a file that does not read as a bookmark, 2 bad arguments.
int runLinkCommand(const QStringList& args, QTextStream& out, QTextStream& err);

// Whether the arguments ask for the command line rather than the window: a command first, or
// --help, -h, --version. Qt's own options (-platform, -style…) and a share link open the window.
bool wantsCommandLine(const QStringList& args);

// Whether a program argument is a glimmerscape:// link (the scheme in any case) for the window
// to open rather than a command.
bool isShareLinkArgument(const QString& argument);

// Whether Qt can open a window: the platform named by -platform or QT_QPA_PLATFORM needs no
// display server, or the one it needs (X11 for xcb, Wayland; either by default) is set.
bool windowSystemAvailable(const QStringList& args, const QProcessEnvironment& env);

// The one line printed when the window cannot open.
inline constexpr const char* kNoDisplayMessage =
    "glimmerscape: no display; `glimmerscape render` makes pictures without one";

}  // namespace gs
