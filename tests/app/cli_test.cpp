#include "app/cli.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTextStream>
#include <cmath>
#include <cstring>
#include <tuple>

#include "app/progress.h"
#include "core/mapfile.h"
#include "core/tuning_fields.h"
#include "export/export_test_support.h"
#include "library/share_link.h"
#include "library/tuning_json.h"

namespace gs {
namespace {

using namespace Qt::StringLiterals;

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

// Every way the arguments can be wrong ends with one line naming the command's help and status 2:
// one case for each kind of refusal (fuzz_command_line checks that every refusal says why and
// that nothing out of range is taken). A case without -o gets one, unless it is about the
// missing output.
TEST_F(CliTest, RejectsBadArgumentsWithOneLineAndStatusTwo) {
    const struct {
        const char* args;  // the command, then its arguments, split at blanks
        const char* message;
    } cases[] = {
        {"render --sparkle", "unknown option '--sparkle'"},
        {"render extra", "unexpected argument 'extra'"},
        {"render --dem", "missing -o OUT.png"},
        {"render -o never.png --size", "--size: missing value"},
        {"render --size 100000x100000",
         "--size: 100000x100000 is too large to allocate (at most 65535 pixels a side)"},
        {"render --size 99999999999x2",
         "--size: expected WIDTHxHEIGHT in whole pixels of at least 1, got '99999999999x2'"},
        {"render --view 1,-1,-1,1", "--view: xmin must be less than xmax"},
        {"render --view -1,1,0",
         "--view: expected XMIN,XMAX,YMIN,YMAX (finite numbers), got '-1,1,0'"},
        {"render --view 0,1e300,0,1",
         "--view: the view is too large to compute (at most 1e+290 a side)"},
        {"render --frequency 2.0x", "--frequency: expected a number from 0.1 to 8, got '2.0x'"},
        {"render --frequency=0", "--frequency: expected a number from 0.1 to 8, got '0'"},
        {"render --phase 1.5", "--phase: expected a number from 0 to 1, got '1.5'"},
        {"render --light 0.9,0",
         "--light: expected RAWX,RAWY each from -0.85 to 0.85, got '0.9,0'"},
        {"render --glow=yes", "--glow: takes no value"},
        {"render --max-iter -3",
         "--max-iter: expected a whole number from 0 to 2147483647, got '-3'"},
        {"render --kernel gpu", "--kernel: expected auto, scalar or simd, got 'gpu'"},
        {"render --view -1,1,-1,1 --link glimmerscape://x",
         "--view cannot be used with --link: the bookmark sets it"},
        {"render --link glimmerscape://x --bookmark b.json",
         "--link and --bookmark cannot be used together"},
        {"render --supersample 2 --data d.npy",
         "--data: a supersampled poster has no per-pixel data; leave out --data or --supersample"},
        {"render --speed 0.5", "unknown option '--speed'"},
        {"movie -o m.mp4",
         "-o: movies are QuickTime files: expected a name ending in .mov, got 'm.mp4'"},
        {"movie -o -", "-o: a movie is written to a file, not to standard output"},
        {"movie --size 1x9", "--size: a movie needs at least 2x2 pixels, got 1x9"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        QStringList args = QString::fromUtf8(c.args).split(u' ');
        const QString message = QString::fromUtf8(c.message);
        if (!args.contains("-o") && !message.startsWith("missing -o"))
            args << "-o" << (args[0] == "movie" ? path("never.mov") : path("never.png"));
        const CliRun r = run(args);
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.err,
                  u"glimmerscape: %1 (see glimmerscape %2 --help)\n"_s.arg(message, args[0]));
    }
}

TEST_F(CliTest, ExplainsItselfWithoutADisplay) {
    EXPECT_EQ(run({"paint"}).status, 2);
    const CliRun help = run({"render", "--help"}), movie = run({"movie", "--help"});
    EXPECT_EQ(help.status + movie.status, 0);
    EXPECT_TRUE(help.out.contains("\n  trapSharpness        0.15 to 2 (default 0.45)\n"));
    for (const TuningField& f : kTuningFields)  // every tuning key on a line of its own
        EXPECT_TRUE(
            help.out.contains(u"\n  %1 "_s.arg(QString::fromLatin1(f.key).leftJustified(20))));
    // Each command lists its own options only.
    for (const char* own : {"--max-iter N", "--supersample N"}) EXPECT_TRUE(help.out.contains(own));
    EXPECT_FALSE(help.out.contains("--speed"));
    for (const char* own : {"--speed S", "-o, --output OUT.mov", "--julia CRE,CIM"})
        EXPECT_TRUE(movie.out.contains(own)) << own;
    for (const char* other : {"--data", "--supersample", "OUT.png"})
        EXPECT_FALSE(movie.out.contains(other)) << other;
}

// The command line's choice between itself and the window, and whether a window can open.
TEST(CliStartup, ChoosesTheWindowOnlyWhereOneCanOpen) {
    EXPECT_FALSE(wantsCommandLine({}));
    EXPECT_FALSE(wantsCommandLine({"-platform", "offscreen"}));
    for (const char* first : {"render", "--help", "-h", "--version", "paint", "link"})
        EXPECT_TRUE(wantsCommandLine({first}));
    for (const char* link :
         {"glimmerscape://bookmark?v=1", "GlimmerScape://bookmark", " glimmerscape:x"})
        EXPECT_FALSE(wantsCommandLine({link})) << link;
    // Arguments, environment, whether a window can open.
    const std::tuple<QStringList, QStringList, bool> cases[] = {
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
        for (const QString& v : variables) env.insert(v.section(u'=', 0, 0), v.section(u'=', 1));
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
        EXPECT_EQ(text.startsWith("\rRendering [###############...............]  50%\r "_L1),
                  terminal);
    }
}

// The render's report, then the palette's seed, then the writing, each on its own line; the
// printed seed makes the same picture again. A Julia set renders too.
TEST_F(CliTest, RendersTheHomeViewAndSaysHowToMakeItAgain) {
    const CliRun r = run({"render", "--size", "160x120", "-o", path("home.png")});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3) << r.out.toStdString();
    EXPECT_TRUE(lines[0].startsWith("Rendered 160x120 in ")) << r.out.toStdString();
    const QString seed = lines[1].section(' ', 3, 3);
    EXPECT_EQ(lines[1], u"Palette: smooth, seed %1 (--seed %1 makes it again)"_s.arg(seed));
    EXPECT_TRUE(lines[2].startsWith(u"Wrote %1 (PNG, "_s.arg(path("home.png"))));
    EXPECT_TRUE(r.err.isEmpty());  // 4:3 like the view: no note
    ASSERT_EQ(run({"render", "--size", "160x120", "--seed", seed, "-o", path("again.png")}).status,
              0);
    const QImage image(path("home.png"));
    EXPECT_EQ(QImage(path("again.png")), image);
    ASSERT_EQ(image.size(), QSize(160, 120));
    // The main cardioid (around c = -0.25) is black; far outside is coloured and opaque.
    EXPECT_EQ(image.pixelColor(90, 60), QColor(0, 0, 0));
    EXPECT_NE(image.pixelColor(2, 2), QColor(0, 0, 0));
    EXPECT_EQ(image.pixelColor(2, 2).alpha(), 255);

    // c = 0: the unit disc is interior in a Julia picture spanning -1.6..1.6.
    ASSERT_EQ(run({"render", "--size", "64x64", "--julia", "0,0", "-o", path("j.png")}).status, 0);
    const QImage julia(path("j.png"));
    EXPECT_EQ(julia.pixelColor(32, 32), QColor(0, 0, 0));
    EXPECT_NE(julia.pixelColor(1, 1), QColor(0, 0, 0));
}

TEST_F(CliTest, KernelsAndSavedPalettesReproduceTheSamePicture) {
    const QStringList base = {"render", "--size", "97x61",   "--view",   "-0.76,-0.72,0.1,0.13",
                              "--dem",  "--glow", "--traps", "--relief", "--seed",
                              "3"};
    ASSERT_EQ(run(base + QStringList{"--save-palette", path("p.map"), "--kernel", "scalar", "-o",
                                     path("a.png")})
                  .status,
              0);
    ASSERT_EQ(run(base + QStringList{"--kernel", "simd", "-o", path("b.png")}).status, 0);
    EXPECT_EQ(readAll(path("a.png")), readAll(path("b.png")));
    // A palette read back from its .map file is the same to within 1/510 per channel, so the
    // picture is close but need not be identical; it must at least render.
    ASSERT_EQ(run(base + QStringList{"--palette", path("p.map"), "-o", path("c.png")}).status, 0);
    EXPECT_EQ(QImage(path("c.png")).size(), QSize(97, 61));
}

// A version 1.0 header padded to 64 bytes, then (row, column, [nu, distance, trap]) floats.
TEST_F(CliTest, WritesPerPixelDataAsNumpy) {
    ASSERT_EQ(run({"render", "--size", "5x3", "--max-iter", "50", "-o", path("d.png"), "--data",
                   path("d.npy")})
                  .status,
              0);
    const QByteArray npy = readAll(path("d.npy"));
    const QByteArray header =
        "{'descr': '<f4', 'fortran_order': False, 'shape': (3, 5, 3), }" + QByteArray(55, ' ');
    EXPECT_EQ(npy.left(128), QByteArray("\x93NUMPY\x01\x00\x76\x00", 10) + header + '\n');
    ASSERT_EQ(npy.size(), 128 + 5 * 3 * 3 * 4);
    // Pixel (row 1, column 2) is x = -2.5 + 0.8 * 2 = -0.9, y = 0.5: escapes, so nu < 50.
    float nu = 0;
    std::memcpy(&nu, npy.constData() + 128 + (1 * 5 + 2) * 12, 4);
    EXPECT_GT(nu, 0.0f);
    EXPECT_LT(nu, 50.0f);
}

// The extension names the format; a picture whose proportions differ from its region's by more
// than 1 % is still made, with a note.
TEST_F(CliTest, WritesTheFormatOfTheExtensionAndNotesStretching) {
    const std::pair<const char*, QByteArray> formats[] = {{"a.png", "\x89PNG"},
                                                          {"a.JPG", "\xff\xd8\xff"},
                                                          {"noextension", "\x89PNG"},
                                                          {"a.webp", "RIFF"}};
    for (const auto& [name, magic] : formats) {
        ASSERT_EQ(run({"render", "--size", "40x30", "-o", path(name)}).status, 0) << name;
        EXPECT_TRUE(readAll(path(name)).startsWith(magic)) << name;
    }
    const CliRun tiff = run({"render", "-o", path("a.tiff")});
    EXPECT_EQ(tiff.status, 2);
    EXPECT_TRUE(tiff.err.startsWith("glimmerscape: -o: cannot write .tiff pictures, only .png"_L1));

    const QStringList narrow = {"--size", "40x30", "--view", "-1,1,-0.745,0.745"};
    EXPECT_TRUE(run(QStringList{"render", "-o", path("b.png")} + narrow).err.isEmpty());
    const CliRun wide = run({"render", "--size", "64x36", "-o", path("c.png")});
    EXPECT_EQ(wide.err,
              "glimmerscape: note: the view's proportions (1.333) differ from the "
              "picture's (1.778); the picture is stretched\n");
    EXPECT_EQ(QImage(path("c.png")).size(), QSize(64, 36));
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
        bookmark = {u"Seahorse"_s, -0.76, -0.72, 0.1,  0.13,  {colours}, true,
                    true,          0.3,   -0.2,  true, false, true,      ShadingTuning{}};
        bookmark.tuning->glowRadius = 2.5;
        writeText(path("b.json"), encodeBookmark(bookmark));
        writeText(path("p.map"), QByteArray::fromStdString(writeMap(colours)));
        writeText(path("t.json"), encodeShadingTuning(*bookmark.tuning));
    }
    // The same picture asked for option by option.
    QByteArray explicitRender(const char* name, const QStringList& extra) {
        const QStringList args = {
            "render",    "--size",      "60x45",       "--view",   "-0.76,-0.72,0.1,0.13",
            "--palette", path("p.map"), "--frequency", "2",        "--dem",
            "--relief",  "--glow",      "--light",     "0.3,-0.2", "-o",
            path(name)};
        EXPECT_EQ(run(args + extra).status, 0);
        return readAll(path(name));
    }
};

TEST_F(CliBookmark, RendersTheFileAndItsLinkAsTheSameOptionsWould) {
    const CliRun fromFile = run({"render", "--bookmark", path("b.json"), "--size", "60x45",
                                 "--kernel", "scalar", "--threads", "1", "-o", path("file.png")});
    ASSERT_EQ(fromFile.status, 0) << fromFile.err.toStdString();
    EXPECT_EQ(readAll(path("file.png")), explicitRender("same.png", {"--tuning", path("t.json")}));

    const CliRun printed = run({"link", path("b.json")});
    ASSERT_EQ(printed.status, 0) << printed.err.toStdString();
    EXPECT_EQ(printed.out, *makeLink(bookmark) + u'\n');
    const CliRun fromLink =
        run({"render", "--link", printed.out.trimmed(), "--size", "60x45", "-o", path("link.png")});
    ASSERT_EQ(fromLink.status, 0) << fromLink.err.toStdString();
    EXPECT_EQ(readAll(path("link.png")), explicitRender("untuned.png", {}));

    // The movie command takes the same bookmark: its frame count and even size are its own, and
    // its first frame is the picture the render made (within the yuv420p round trip), nearer to
    // it than the next frame is.
    const CliRun movie = run({"movie", "--bookmark", path("b.json"), "--size", "60x45", "--speed",
                              "1", "-o", path("b.mov")});
    ASSERT_EQ(movie.status, 0) << movie.err.toStdString();
    EXPECT_TRUE(movie.out.contains(
        u"\nRecorded %1 (30 frames at 30 fps, 1.00 s, 60x44, "_s.arg(path("b.mov"))))
        << movie.out.toStdString();
    EXPECT_EQ(movie.err,
              "glimmerscape: note: the movie is 60x44 (H.264 needs even sides; the picture's "
              "last column or row is left out)\n");
    const auto frames = test::decodeMovie(path("b.mov"), QSize(60, 44));
    ASSERT_EQ(frames.size(), 30u);
    const double own = test::meanDifference(frames[0], QImage(path("file.png")));
    EXPECT_LT(own, 3.5);
    EXPECT_GT(test::meanDifference(frames[1], QImage(path("file.png"))), 2 * own);
}

// A palette, tuning, bookmark or link that does not read fails with one line saying why and
// writes nothing; so does an output that cannot be written.
TEST_F(CliBookmark, FilesAndLinksThatDoNotReadFailWithOneLineSayingWhy) {
    QByteArray map = QByteArray("1 2 3\n").repeated(256);
    writeText(path("bad.map"), map.replace(66, 1, "oops"));  // line 12 starts at 66
    writeText(path("tuning.json"), R"({"curve": 1})");
    ShadingTuning sharp;
    sharp.trapSharpness = -1;
    writeText(path("sharp.json"), encodeShadingTuning(sharp));
    writeText(path("short.json"), encodeBookmark(bookmark).replace("\"xmin\"", "\"xmim\""));
    bookmark.xmax = 1e300;
    writeText(path("huge.json"), encodeBookmark(bookmark));
    const QString out = path("never.png");
    const auto render = [&](const QStringList& args) {
        return QStringList{"render", "-o", out} + args;
    };
    const std::pair<QStringList, QString> cases[] = {
        {render({"--palette", path("bad.map")}),
         u"'%1' is not a valid 256-colour .map palette: line 12"_s.arg(path("bad.map"))},
        {render({"--palette", path("missing.map")}),
         u"cannot read palette '%1'"_s.arg(path("missing.map"))},
        {render({"--tuning", path("tuning.json")}),
         u"'%1' is not a valid shading tuning: missing key \"demThickness\""_s.arg(
             path("tuning.json"))},
        {render({"--tuning", path("sharp.json"), "--traps"}),
         u"'%1': trapSharpness must be from 0.15 to 2, got -1\n"_s.arg(path("sharp.json"))},
        {render({"--link", "glimmerscape://bookmark?v=2"}),
         u"the link does not hold a bookmark: "_s},
        {render({"--bookmark", path("short.json")}),
         u"'%1' is not a valid bookmark: missing key \"xmin\"\n"_s.arg(path("short.json"))},
        {render({"--bookmark", path("huge.json")}),
         u"the bookmark's view is too large to compute (at most 1e+290 a side)\n"_s},
        {render({"--bookmark", "/dev/zero"}),
         u"'/dev/zero' is not a valid bookmark: larger than a bookmark can be\n"_s},
        {{"render", "--size", "8x6", "-o", path("no/dir/out.png")},
         u"cannot write '%1'"_s.arg(path("no/dir/out.png"))},
        {{"movie", "--size", "8x6", "-o", path("no/m.mov")},
         u"cannot record '%1': cannot create "_s.arg(path("no/m.mov"))},
    };
    for (const auto& [args, why] : cases) {
        const CliRun r = run(args);
        EXPECT_EQ(r.status, 1) << args.join(' ').toStdString();
        EXPECT_TRUE(r.err.startsWith(u"glimmerscape: "_s + why)) << r.err.toStdString();
        EXPECT_EQ(r.err.count('\n'), 1) << r.err.toStdString();
        EXPECT_TRUE(!args.contains(out) || r.out.isEmpty()) << r.out.toStdString();
    }
    EXPECT_FALSE(QFile::exists(out));
    EXPECT_EQ(run({"link"}).status, 2);
    EXPECT_EQ(run({"link", "a.json", "b.json"}).status, 2);
}

// --supersample 1 is the plain render to the byte; 2 makes four samples a pixel of the same view,
// so the poster differs from the plain picture only along edges: about 1 per channel on average
// here, where the same picture moved by a third of a pixel differs by almost 2. (Where exactly
// anti-aliasing may change a pixel is the poster renderer's own test.)
TEST_F(CliTest, SupersampledPostersAreThePlainViewSampledFourTimes) {
    const QStringList look = {"--size", "120x90", "--glow", "--dem", "--seed", "8"};
    const auto render = [&](const char* samples, const char* name) {
        const CliRun r =
            run(QStringList{"render", "--supersample", samples, "-o", path(name)} + look);
        EXPECT_EQ(r.status, 0);
        return r.out;
    };
    ASSERT_EQ(run(QStringList{"render", "-o", path("plain.png")} + look).status, 0);
    render("1", "one.png");
    EXPECT_EQ(readAll(path("one.png")), readAll(path("plain.png")));
    EXPECT_TRUE(render("2", "two.png").contains(", 4 samples a pixel)\n"));
    const QImage plain(path("plain.png")), poster(path("two.png"));
    ASSERT_EQ(poster.size(), plain.size());
    const double difference = test::meanDifference(poster, plain);
    EXPECT_GT(difference, 0.0);
    EXPECT_LT(difference, 1.5);
}

}  // namespace
}  // namespace gs
