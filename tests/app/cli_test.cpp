#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTextStream>
#include <cmath>
#include <cstring>
#include <tuple>

#include "app/cli.h"
#include "app/progress.h"
#include "core/mapfile.h"
#include "core/tuning_fields.h"
#include "library/share_link.h"

namespace gs {
namespace {

struct CliRun {
    int status;
    QString out, err;
};

CliRun run(const QStringList& args) {
    QString out, err;
    QTextStream o(&out), e(&err);
    const int status = runCommandLine(args, o, e);
    return {status, out, err};
}

void writeText(const QString& path, const QByteArray& text) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(text);
}

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

class CliTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path(const char* name) const { return dir.filePath(QLatin1String(name)); }
};

struct BadArgs {
    const char* name;
    QStringList args;
    const char* message;  // the whole error line
    const char* command = "render";
};
void PrintTo(const BadArgs& c, std::ostream* os) { *os << c.name; }

class CliRejects : public CliTest, public ::testing::WithParamInterface<BadArgs> {};

TEST_P(CliRejects, WithOneLineAndStatusTwo) {
    const QString command = QLatin1String(GetParam().command);
    const CliRun r = run(QStringList{command} + GetParam().args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, QStringLiteral("glimmerscape: %1 (see glimmerscape %2 --help)\n")
                         .arg(QLatin1String(GetParam().message), command));
}

const QString kOut = QStringLiteral("/tmp/never-written.png");

INSTANTIATE_TEST_SUITE_P(
    Arguments, CliRejects,
    ::testing::Values(
        BadArgs{"unknown", {"--sparkle", "-o", kOut}, "unknown option '--sparkle'"},
        BadArgs{"stray", {"extra", "-o", kOut}, "unexpected argument 'extra'"},
        BadArgs{"missing_output", {"--dem"}, "missing -o OUT.png"},
        BadArgs{"missing_value", {"-o", kOut, "--size"}, "--size: missing value"},
        BadArgs{"size_zero", {"--size", "0x10", "-o", kOut},
                "--size: expected WIDTHxHEIGHT in whole pixels of at least 1, got '0x10'"},
        BadArgs{"size_garbage", {"--size=12by9", "-o", kOut},
                "--size: expected WIDTHxHEIGHT in whole pixels of at least 1, got '12by9'"},
        BadArgs{"size_huge", {"--size", "100000x100000", "-o", kOut},
                "--size: 100000x100000 is too large to allocate (at most 65535 pixels a side)"},
        BadArgs{"size_overflow", {"--size", "99999999999x2", "-o", kOut},
                "--size: expected WIDTHxHEIGHT in whole pixels of at least 1, got '99999999999x2'"},
        BadArgs{"view_order", {"--view", "1,-1,-1,1", "-o", kOut}, "--view: xmin must be less than xmax"},
        BadArgs{"view_equal_y", {"--view", "-1,1,0.5,0.5", "-o", kOut}, "--view: ymin must be less than ymax"},
        BadArgs{"view_count", {"--view", "-1,1,0", "-o", kOut},
                "--view: expected XMIN,XMAX,YMIN,YMAX (finite numbers), got '-1,1,0'"},
        BadArgs{"view_nan", {"--view", "nan,1,0,1", "-o", kOut},
                "--view: expected XMIN,XMAX,YMIN,YMAX (finite numbers), got 'nan,1,0,1'"},
        BadArgs{"view_huge", {"--view", "0,1e300,0,1", "-o", kOut},
                "--view: the view is too large to compute (at most 1e+290 a side)"},
        BadArgs{"frequency", {"--frequency", "2.0x", "-o", kOut}, "--frequency: expected a number from 0.1 to 8, got '2.0x'"},
        BadArgs{"frequency_zero", {"--frequency=0", "-o", kOut}, "--frequency: expected a number from 0.1 to 8, got '0'"},
        BadArgs{"frequency_negative", {"--frequency", "-2", "-o", kOut}, "--frequency: expected a number from 0.1 to 8, got '-2'"},
        BadArgs{"phase", {"--phase", "1.5", "-o", kOut}, "--phase: expected a number from 0 to 1, got '1.5'"},
        BadArgs{"light", {"--light", "0.9,0", "-o", kOut}, "--light: expected RAWX,RAWY each from -0.85 to 0.85, got '0.9,0'"},
        BadArgs{"flag_value", {"--glow=yes", "-o", kOut}, "--glow: takes no value"},
        BadArgs{"max_iter", {"--max-iter", "-3", "-o", kOut},
                "--max-iter: expected a whole number from 0 to 2147483647, got '-3'"},
        BadArgs{"kernel", {"--kernel", "gpu", "-o", kOut}, "--kernel: expected auto, scalar or simd, got 'gpu'"},
        BadArgs{"threads", {"--threads", "0", "-o", kOut},
                "--threads: expected a whole number from 1 to 1024, got '0'"},
        BadArgs{"julia", {"--julia", "0.3", "-o", kOut}, "--julia: expected CRE,CIM (finite numbers), got '0.3'"},
        BadArgs{"link_and_view", {"--view", "-1,1,-1,1", "--link", "glimmerscape://x", "-o", kOut},
                "--view cannot be used with --link: the bookmark sets it"},
        BadArgs{"bookmark_and_flag", {"--bookmark", "b.json", "--relief", "-o", kOut},
                "--relief cannot be used with --bookmark: the bookmark sets it"},
        BadArgs{"bookmark_and_seed", {"-o", kOut, "--seed=4", "--bookmark=b.json"},
                "--seed cannot be used with --bookmark: the bookmark sets it"},
        BadArgs{"link_and_bookmark", {"--link", "glimmerscape://x", "--bookmark", "b.json", "-o", kOut},
                "--link and --bookmark cannot be used together"},
        BadArgs{"supersample", {"--supersample", "5", "-o", kOut}, "--supersample: expected a whole number from 1 to 4, got '5'"},
        BadArgs{"poster_data", {"--supersample", "2", "--data", "d.npy", "-o", kOut},
                "--data: a supersampled poster has no per-pixel data; leave out --data or --supersample"},
        BadArgs{"render_speed", {"--speed", "0.5", "-o", kOut}, "unknown option '--speed'"},
        BadArgs{"movie_slow", {"--speed", "0.01", "-o", "m.mov"}, "--speed: expected a number from 0.02 to 1, got '0.01'", "movie"},
        BadArgs{"movie_fast", {"--speed=1.5", "-o", "m.mov"}, "--speed: expected a number from 0.02 to 1, got '1.5'", "movie"},
        BadArgs{"movie_output", {"-o", "m.mp4"}, "-o: movies are QuickTime files: expected a name ending in .mov, got 'm.mp4'", "movie"},
        BadArgs{"movie_stdout", {"-o", "-"}, "-o: a movie is written to a file, not to standard output", "movie"},
        BadArgs{"movie_missing_output", {"--glow"}, "missing -o OUT.mov", "movie"},
        BadArgs{"movie_tiny", {"--size", "1x9", "-o", "m.mov"}, "--size: a movie needs at least 2x2 pixels, got 1x9", "movie"},
        BadArgs{"movie_data", {"--data", "d.npy", "-o", "m.mov"}, "unknown option '--data'", "movie"},
        BadArgs{"movie_link_and_view", {"--link", "glimmerscape://x", "--view", "-1,1,-1,1", "-o", "m.mov"},
                "--view cannot be used with --link: the bookmark sets it", "movie"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(CliTest, ExplainsItselfWithoutADisplay) {
    EXPECT_EQ(run({QStringLiteral("paint")}).status, 2);
    EXPECT_TRUE(run({QStringLiteral("--version")}).out.startsWith(QLatin1String("glimmerscape 0.")));
    EXPECT_TRUE(run({QStringLiteral("--help")}).out.contains(QLatin1String("glimmerscape render --help")));
    const CliRun help = run({QStringLiteral("render"), QStringLiteral("--help")});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.contains(QLatin1String("--max-iter N")));
    EXPECT_TRUE(help.out.contains(QLatin1String("\n  trapSharpness        0.15 to 2 (default 0.45)\n")));
    for (const TuningField& f : kTuningFields)  // every tuning key on a line of its own
        EXPECT_TRUE(help.out.contains(QStringLiteral("\n  %1 ").arg(QString::fromLatin1(f.key).leftJustified(20)))) << f.key;
    // Each command lists its own options only.
    const CliRun movie = run({QStringLiteral("movie"), QStringLiteral("--help")});
    EXPECT_EQ(movie.status, 0);
    for (const char* own : {"--speed S", "-o, --output OUT.mov", "--julia CRE,CIM", "--tuning FILE.json"})
        EXPECT_TRUE(movie.out.contains(QLatin1String(own))) << own;
    for (const char* other : {"--data", "--supersample", "OUT.png"}) EXPECT_FALSE(movie.out.contains(QLatin1String(other))) << other;
    EXPECT_TRUE(help.out.contains(QLatin1String("--supersample N")));
    EXPECT_FALSE(help.out.contains(QLatin1String("--speed")));
}

// The command line's choice between itself and the window, and whether a window can open.
TEST(CliStartup, ChoosesTheWindowOnlyWhereOneCanOpen) {
    EXPECT_FALSE(wantsCommandLine({}));
    EXPECT_FALSE(wantsCommandLine({"-platform", "offscreen"}));
    for (const char* first : {"render", "--help", "-h", "--version", "paint", "link"}) EXPECT_TRUE(wantsCommandLine({first}));
    for (const char* link : {"glimmerscape://bookmark?v=1", "GlimmerScape://bookmark", " glimmerscape:x"})
        EXPECT_FALSE(wantsCommandLine({link})) << link;
    const std::tuple<QStringList, QStringList, bool> cases[] = {  // arguments, environment, can open
        {{}, {}, false},
        {{}, {"DISPLAY=:0"}, true},
        {{}, {"WAYLAND_DISPLAY=wayland-0"}, true},
        {{}, {"QT_QPA_PLATFORM=offscreen"}, true},
        {{}, {"QT_QPA_PLATFORM=xcb", "WAYLAND_DISPLAY=wayland-0"}, false},
        {{}, {"QT_QPA_PLATFORM=wayland;xcb", "DISPLAY=:1"}, true},
        {{"-platform", "offscreen"}, {"QT_QPA_PLATFORM=xcb"}, true},
        {{"-platform", "xcb:nomitshm"}, {}, false},
        {{"-display", ":3"}, {}, true},
    };
    for (const auto& [args, variables, available] : cases) {
        QProcessEnvironment env;
        for (const QString& v : variables) env.insert(v.section(QLatin1Char('='), 0, 0), v.section(QLatin1Char('='), 1));
        EXPECT_EQ(windowSystemAvailable(args, env), available) << variables.join(' ').toStdString();
    }
}

TEST(CliProgress, ShowsOnATerminalAfterASecondAndClearsItsLine) {
    for (const bool terminal : {false, true}) {
        QString text;
        QTextStream stream(&text);
        ProgressBar bar(stream, terminal);
        bar.update(0.3, 0.5);
        EXPECT_TRUE(text.isEmpty());  // nothing in the first second
        bar.update(0.5, 1.2);
        bar.finish();
        EXPECT_EQ(text.startsWith(QLatin1String("\rRendering [###############...............]  50%\r ")), terminal);
    }
}

TEST_F(CliTest, BadFilesFailWithOneLine) {
    QByteArray map;
    for (int i = 0; i < 256; ++i) map += i == 11 ? "12 oops 3\n" : "1 2 3\n";
    writeText(path("bad.map"), map);
    writeText(path("tuning.json"), R"({"curve": 1})");
    QByteArray sharp = R"({"curve":1,"demThickness":0,"demSoftness":2,"glowStrength":0.9,"glowRadius":0.8,"glowDim":0.8,)"
                       R"("glowTint":0,"trapReach":0.4,"trapSharpness":-1,"trapGlint":0.35,"reliefHeight":1,)"
                       R"("reliefShadow":0,"reliefShine":1,"reliefEdgeCalm":0.6})";
    writeText(path("sharp.json"), sharp);
    const QString out = path("out.png");
    struct Case {
        QStringList args;
        QString prefix;
    };
    const Case cases[] = {
        {{"--palette", path("bad.map")}, QStringLiteral("glimmerscape: '%1' is not a valid 256-colour .map palette: line 12").arg(path("bad.map"))},
        {{"--palette", path("missing.map")}, QStringLiteral("glimmerscape: cannot read palette '%1'").arg(path("missing.map"))},
        {{"--tuning", path("tuning.json")}, QStringLiteral("glimmerscape: '%1' is not a valid shading tuning: missing key \"demThickness\"").arg(path("tuning.json"))},
        {{"--tuning", path("sharp.json"), "--traps"}, QStringLiteral("glimmerscape: '%1': trapSharpness must be from 0.15 to 2, got -1\n").arg(path("sharp.json"))},
    };
    for (const Case& c : cases) {
        const CliRun r = run(QStringList{"render", "--size", "8x6", "-o", out} + c.args);
        EXPECT_EQ(r.status, 1) << c.args.join(' ').toStdString();
        EXPECT_TRUE(r.err.startsWith(c.prefix)) << r.err.toStdString();
        EXPECT_EQ(r.err.count(QLatin1Char('\n')), 1);
        EXPECT_FALSE(QFile::exists(out));
    }
    const CliRun unwritable = run({"render", "--size", "8x6", "-o", path("no/such/dir/out.png")});
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_TRUE(unwritable.err.startsWith(QStringLiteral("glimmerscape: cannot write '%1'").arg(path("no/such/dir/out.png"))));
}

// The render's report, then the palette's seed, then the writing, each on its own line; the
// printed seed makes the same picture again.
TEST_F(CliTest, RendersTheHomeViewAndSaysHowToMakeItAgain) {
    const CliRun r = run({"render", "--size", "160x120", "-o", path("home.png")});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    const QStringList lines = r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3) << r.out.toStdString();
    EXPECT_TRUE(lines[0].startsWith(QLatin1String("Rendered 160x120 in "))) << r.out.toStdString();
    const QString seed = lines[1].section(QLatin1Char(' '), 3, 3);
    EXPECT_EQ(lines[1], QStringLiteral("Palette: smooth, seed %1 (--seed %1 makes it again)").arg(seed));
    EXPECT_TRUE(lines[2].startsWith(QStringLiteral("Wrote %1 (PNG, ").arg(path("home.png"))));
    EXPECT_TRUE(r.err.isEmpty());  // 4:3 like the view: no note
    ASSERT_EQ(run({"render", "--size", "160x120", "--seed", seed, "-o", path("again.png")}).status, 0);
    EXPECT_EQ(QImage(path("again.png")), QImage(path("home.png")));
    const QImage image(path("home.png"));
    ASSERT_EQ(image.size(), QSize(160, 120));
    // The main cardioid (around -0.25) is black; far outside is coloured.
    const QColor inside = image.pixelColor(90, 60);  // c = -0.25
    EXPECT_EQ(inside, QColor(0, 0, 0));
    const QColor outside = image.pixelColor(2, 2);
    EXPECT_NE(outside, QColor(0, 0, 0));
    EXPECT_EQ(outside.alpha(), 255);
}

TEST_F(CliTest, KernelsAndSavedPalettesReproduceTheSamePicture) {
    const QStringList base = {"render", "--size", "97x61", "--view", "-0.76,-0.72,0.1,0.13",
                              "--dem", "--glow", "--traps", "--relief"};
    ASSERT_EQ(run(base + QStringList{"--seed", "3", "--save-palette", path("p.map"), "--kernel", "scalar", "-o", path("a.png")}).status, 0);
    ASSERT_EQ(run(base + QStringList{"--seed", "3", "--kernel", "simd", "-o", path("b.png")}).status, 0);
    EXPECT_EQ(readAll(path("a.png")), readAll(path("b.png")));
    // A palette read back from its .map file is the same to within 1/510 per channel, so the
    // picture is close but need not be identical; it must at least render.
    ASSERT_EQ(run(base + QStringList{"--palette", path("p.map"), "-o", path("c.png")}).status, 0);
    EXPECT_EQ(QImage(path("c.png")).size(), QSize(97, 61));
    EXPECT_TRUE(parseMap(readAll(path("p.map")).toStdString()).colors.has_value());
}

TEST_F(CliTest, WritesPerPixelDataAsNumpy) {
    ASSERT_EQ(run({"render", "--size", "5x3", "--max-iter", "50", "-o", path("d.png"), "--data", path("d.npy")}).status, 0);
    const QByteArray npy = readAll(path("d.npy"));
    ASSERT_GE(npy.size(), 10);
    EXPECT_EQ(npy.left(8), QByteArray("\x93NUMPY\x01\x00", 8));
    const int headerLength = static_cast<unsigned char>(npy[8]) | (static_cast<unsigned char>(npy[9]) << 8);
    EXPECT_EQ((10 + headerLength) % 64, 0);
    const QByteArray header = npy.mid(10, headerLength);
    EXPECT_TRUE(header.contains("'descr': '<f4'"));
    EXPECT_TRUE(header.contains("'fortran_order': False"));
    EXPECT_TRUE(header.contains("'shape': (3, 5, 3)"));
    ASSERT_EQ(npy.size(), 10 + headerLength + 5 * 3 * 3 * 4);
    // Pixel (row 1, column 2) is x = -2.5 + 0.8 * 2 = -0.9, y = 0.5: escapes, so nu < 50.
    float nu = 0;
    std::memcpy(&nu, npy.constData() + 10 + headerLength + (1 * 5 + 2) * 12, 4);
    EXPECT_GT(nu, 0.0f);
    EXPECT_LT(nu, 50.0f);
}

// The extension names the format; a picture whose proportions differ from its region's by more
// than 1 % is still made, with a note.
TEST_F(CliTest, WritesTheFormatOfTheExtensionAndNotesStretching) {
    const std::pair<const char*, QByteArray> formats[] = {
        {"a.png", "\x89PNG"}, {"a.JPG", "\xff\xd8\xff"}, {"noextension", "\x89PNG"}, {"a.webp", "RIFF"}};
    for (const auto& [name, magic] : formats) {
        ASSERT_EQ(run({"render", "--size", "40x30", "-o", path(name)}).status, 0) << name;
        EXPECT_TRUE(readAll(path(name)).startsWith(magic)) << name;
    }
    const CliRun tiff = run({"render", "-o", path("a.tiff")});
    EXPECT_EQ(tiff.status, 2);
    EXPECT_TRUE(tiff.err.startsWith(QLatin1String("glimmerscape: -o: cannot write .tiff pictures, only .png"))) << tiff.err.toStdString();

    EXPECT_TRUE(run({"render", "--size", "40x30", "--view", "-1,1,-0.745,0.745", "-o", path("b.png")}).err.isEmpty());
    const CliRun wide = run({"render", "--size", "64x36", "-o", path("c.png")});
    EXPECT_EQ(wide.err, QStringLiteral("glimmerscape: note: the view's proportions (1.333) differ from the "
                                       "picture's (1.778); the picture is stretched\n"));
    EXPECT_EQ(QImage(path("c.png")).size(), QSize(64, 36));
}

TEST_F(CliTest, RendersAJuliaSet) {
    ASSERT_EQ(run({"render", "--size", "64x64", "--julia", "0,0", "--max-iter", "100", "-o", path("j.png")}).status, 0);
    const QImage image(path("j.png"));
    // c = 0: the unit disc is interior (black) in a picture spanning -1.6..1.6.
    EXPECT_EQ(image.pixelColor(32, 32), QColor(0, 0, 0));
    EXPECT_NE(image.pixelColor(1, 1), QColor(0, 0, 0));
}

// A bookmark renders exactly as the same view, colours and look given option by option: its
// table at frequency 2 and phase 0, its shadings, light and tuning. A link carries no tuning.
class CliBookmark : public CliTest {
protected:
    Bookmark bookmark;
    ColorTable colours;

    CliBookmark() {
        for (int i = 0; i < 256; ++i)
            colours.push_back({i / 255.0, ((i * 7) % 256) / 255.0, (255 - i) / 255.0});
        bookmark = {QStringLiteral("Seahorse"), -0.76, -0.72, 0.1, 0.13, {colours}, true, true, 0.3, -0.2,
                    true, false, true, ShadingTuning{}};
        bookmark.tuning->glowRadius = 2.5;
        writeText(path("b.json"), encodeBookmark(bookmark));
        writeText(path("p.map"), QByteArray::fromStdString(writeMap(colours)));
        writeText(path("t.json"), R"({"curve":1,"demThickness":0,"demSoftness":2,"glowStrength":0.9,"glowRadius":2.5,)"
                                  R"("glowDim":0.8,"glowTint":0,"trapReach":0.4,"trapSharpness":0.45,"trapGlint":0.35,)"
                                  R"("reliefHeight":1,"reliefShadow":0,"reliefShine":1,"reliefEdgeCalm":0.6})");
    }
    // The same picture asked for option by option.
    QByteArray explicitRender(const char* name, const QStringList& extra) {
        const QStringList args = {"render", "--size", "60x45", "--view", "-0.76,-0.72,0.1,0.13", "--palette",
                                  path("p.map"), "--frequency", "2", "--dem", "--relief", "--glow",
                                  "--light", "0.3,-0.2", "-o", path(name)};
        EXPECT_EQ(run(args + extra).status, 0);
        return readAll(path(name));
    }
};

TEST_F(CliBookmark, RendersTheFileAndItsLinkAsTheSameOptionsWould) {
    const CliRun fromFile = run({"render", "--bookmark", path("b.json"), "--size", "60x45", "--kernel", "scalar",
                                 "--threads", "1", "-o", path("file.png"), "--data", path("file.npy")});
    ASSERT_EQ(fromFile.status, 0) << fromFile.err.toStdString();
    EXPECT_EQ(readAll(path("file.png")), explicitRender("same.png", {"--tuning", path("t.json")}));
    EXPECT_TRUE(QFile::exists(path("file.npy")));

    const CliRun printed = run({"link", path("b.json")});
    ASSERT_EQ(printed.status, 0) << printed.err.toStdString();
    EXPECT_EQ(printed.out, *makeLink(bookmark) + QLatin1Char('\n'));
    const CliRun fromLink = run({"render", "--link", printed.out.trimmed(), "--size", "60x45", "-o", path("link.png")});
    ASSERT_EQ(fromLink.status, 0) << fromLink.err.toStdString();
    EXPECT_EQ(readAll(path("link.png")), explicitRender("untuned.png", {}));

    // The movie command takes the same bookmark: its frame count and size are its own.
    const CliRun movie = run({"movie", "--bookmark", path("b.json"), "--size", "60x45", "--speed", "1", "-o", path("b.mov")});
    ASSERT_EQ(movie.status, 0) << movie.err.toStdString();
    EXPECT_TRUE(movie.out.contains(QStringLiteral("(30 frames at 30 fps, 1.00 s, 60x44, "))) << movie.out.toStdString();
}

TEST_F(CliBookmark, ALinkOrFileThatDoesNotReadFailsWithOneLineSayingWhy) {
    writeText(path("short.json"), encodeBookmark(bookmark).replace("\"xmin\"", "\"xmim\""));
    bookmark.xmax = 1e300;
    writeText(path("huge.json"), encodeBookmark(bookmark));
    const QString out = path("never.png");
    const std::pair<QStringList, QString> cases[] = {
        {{"render", "--link", "glimmerscape://bookmark?v=2", "-o", out},
         "glimmerscape: the link does not hold a bookmark: "},
        {{"render", "--bookmark", path("short.json"), "-o", out},
         QStringLiteral("glimmerscape: '%1' is not a valid bookmark: missing key \"xmin\"\n").arg(path("short.json"))},
        {{"render", "--bookmark", path("missing.json"), "-o", out},
         QStringLiteral("glimmerscape: cannot read bookmark '%1': ").arg(path("missing.json"))},
        {{"render", "--bookmark", path("huge.json"), "-o", out},
         "glimmerscape: the bookmark's view is too large to compute (at most 1e+290 a side)\n"},
        {{"render", "--bookmark", "/dev/zero", "-o", out},
         "glimmerscape: '/dev/zero' is not a valid bookmark: larger than a bookmark can be\n"},
        {{"link", path("short.json")}, QStringLiteral("glimmerscape: '%1' is not a valid bookmark: ").arg(path("short.json"))},
    };
    for (const auto& [args, prefix] : cases) {
        const CliRun r = run(args);
        EXPECT_EQ(r.status, 1) << args.join(' ').toStdString();
        EXPECT_TRUE(r.err.startsWith(prefix)) << r.err.toStdString();
        EXPECT_EQ(r.err.count(QLatin1Char('\n')), 1) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty());
    }
    EXPECT_FALSE(QFile::exists(out));
    EXPECT_EQ(run({"link"}).status, 2);
    EXPECT_EQ(run({"link", "a.json", "b.json"}).status, 2);
}

QString runTool(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(60000);
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

int channel(const QImage& image, int x, int y, int c) {
    const QRgb p = image.pixel(x, y);
    return c == 0 ? qRed(p) : c == 1 ? qGreen(p) : qBlue(p);
}

// One cycle at speed 0.5 of an odd-sized picture: round(30 / 0.5) = 60 frames of H.264 at 30
// fps, the even part of the picture from the top-left, whose first frame is the picture the
// render command makes with the same options.
TEST_F(CliTest, RecordsOnePaletteCycleOfWhatRenderWouldMake) {
    const QStringList look = {"--size", "161x121", "--dem", "--glow", "--traps", "--seed", "3"};
    const CliRun r = run(QStringList{"movie", "--speed", "0.5", "-o", path("m.mov")} + look);
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.err, "glimmerscape: note: the movie is 160x120 (H.264 needs even sides; the picture's last "
                     "column or row is left out)\n");
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines[2].startsWith(QStringLiteral("Recorded %1 (60 frames at 30 fps, 2.00 s, 160x120, ").arg(path("m.mov"))))
        << lines[2].toStdString();
    EXPECT_EQ(runTool("ffprobe", {"-v", "error", "-select_streams", "v:0", "-count_frames", "-show_entries",
                                  "stream=codec_name,width,height,r_frame_rate,nb_read_frames", "-of", "csv=p=0",
                                  path("m.mov")}),
              "h264,160,120,30/1,60");

    runTool("ffmpeg", {"-v", "error", "-i", path("m.mov"), "-frames:v", "1", "-sws_flags",
                       "bicubic+accurate_rnd+full_chroma_int", path("first.png")});
    const QImage first(path("first.png"));
    ASSERT_EQ(first.size(), QSize(160, 120));
    // Within the yuv420p round trip of the still, and nearer to it than to the next frame's phase.
    const auto differenceTo = [&](const char* phase) {
        const QString still = path("still.png");
        EXPECT_EQ(run(QStringList{"render", "--phase", phase, "-o", still} + look).status, 0);
        const QImage image(still);
        double sum = 0;
        for (int y = 0; y < 120; ++y)
            for (int x = 0; x < 160; ++x)
                for (int c = 0; c < 3; ++c) sum += std::abs(channel(first, x, y, c) - channel(image, x, y, c));
        return sum / (160 * 120 * 3);
    };
    const double own = differenceTo("0"), next = differenceTo("0.0166667");
    EXPECT_LT(own, 4.0);
    EXPECT_GT(next, 2 * own);

    const CliRun unwritable = run({"movie", "--size", "8x6", "-o", path("missing/m.mov")});
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_TRUE(unwritable.err.startsWith(QStringLiteral("glimmerscape: cannot record '%1': cannot create ").arg(path("missing/m.mov"))))
        << unwritable.err.toStdString();
    EXPECT_EQ(unwritable.err.count('\n'), 1);
}

// --supersample 1 is the plain render to the byte; 2 changes the picture only where it has
// edges (pixels whose neighbourhood varies), and there it does.
TEST_F(CliTest, SupersampledPostersSmoothOnlyTheEdges) {
    const QStringList look = {"--size", "120x90", "--glow", "--dem", "--seed", "8"};
    ASSERT_EQ(run(QStringList{"render", "-o", path("plain.png")} + look).status, 0);
    ASSERT_EQ(run(QStringList{"render", "--supersample", "1", "-o", path("one.png")} + look).status, 0);
    EXPECT_EQ(readAll(path("one.png")), readAll(path("plain.png")));
    const CliRun two = run(QStringList{"render", "--supersample", "2", "-o", path("two.png")} + look);
    ASSERT_EQ(two.status, 0);
    EXPECT_TRUE(two.out.contains(", 4 samples a pixel)\n")) << two.out.toStdString();
    const QImage plain(path("plain.png")), poster(path("two.png"));
    int changed = 0;
    for (int y = 2; y < 88; ++y)
        for (int x = 2; x < 118; ++x) {
            int variation = 0, difference = 0;
            for (int c = 0; c < 3; ++c) {
                difference = std::max(difference, std::abs(channel(poster, x, y, c) - channel(plain, x, y, c)));
                for (int dy = -2; dy <= 2; ++dy)
                    for (int dx = -2; dx <= 2; ++dx)
                        variation = std::max(variation, std::abs(channel(plain, x + dx, y + dy, c) - channel(plain, x, y, c)));
            }
            if (difference > 10) ++changed;
            if (variation <= 32) {
                EXPECT_LE(difference, 1) << "a smooth pixel changed at " << x << "," << y;
            }
        }
    EXPECT_GT(changed, 0);
}

}  // namespace
}  // namespace gs
