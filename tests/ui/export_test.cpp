// Export from the window: pictures saved through the save dialog, palette animations recorded
// on a worker with their progress, and every way a recording ends.
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <numeric>

#include "export/export_test_support.h"
#include "fake_microphone.h"
#include "ui/julia_view.h"
#include "ui/recording_progress.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

const QString kCouldntRecord = QStringLiteral("Couldn't Record|The palette animation couldn't be created.");

// The explorer with its export dialogs recorded instead of shown: each save dialog's offer,
// each progress display's frames and its cancel, each titled alert.
struct ExportWindow : PrivateTempDir {
    FakeMicrophone* microphone = new FakeMicrophone;
    std::unique_ptr<Explorer> e;
    std::vector<MacViewController::SaveOffer> offers;
    std::function<void(const QString&)> choose;  // the last dialog's answer
    std::vector<std::int64_t> frames;            // the progress shown, frame by frame
    int progressShown = 0;
    bool progressOpen = false;
    std::function<void()> cancel;
    QStringList alerts;  // "title|message"

    struct Progress final : RecordingProgress {
        ExportWindow* w;
        explicit Progress(ExportWindow* window) : w(window) { w->progressOpen = true; }
        ~Progress() override { w->progressOpen = false; }
        void setFramesDone(std::int64_t done, std::int64_t) override { w->frames.push_back(done); }
    };

    void SetUp() override {
        PrivateTempDir::SetUp();
        e = std::make_unique<Explorer>(std::unique_ptr<AudioInput>(microphone));
        install(c());
        c().setAnimationSpeed(1.0);  // 30 frames
    }
    void TearDown() override {
        e.reset();
        PrivateTempDir::TearDown();
    }
    void install(MacViewController& window) {
        window.exportTime = [] { return QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC); };
        window.presentSaveDialog = [this](const MacViewController::SaveOffer& offer, std::function<void(const QString&)> onChosen) {
            offers.push_back(offer);
            choose = std::move(onChosen);
        };
        window.presentRecordingProgress = [this](std::function<void()> onCancel) {
            ++progressShown;
            cancel = std::move(onCancel);
            return std::make_unique<Progress>(this);
        };
        window.presentTitledAlert = [this](const AlertText& alert) { alerts << alert.title + "|" + alert.message; };
    }
    MacViewController& c() { return e->c(); }
    bool recordingEnded() { return !e || waitFor([&] { return !c().isRecordingPaletteAnimation(); }, 120000); }
    QString home(const char* folder) { return QDir::home().filePath(QLatin1String(folder)); }
};

QImage readImage(const QString& path) { return QImage(path).convertToFormat(QImage::Format_RGBX8888); }

// The main picture's file is the end-to-end export script's. A second export within the same
// second (here the Julia picture) takes the same name and replaces the first; the dialog's
// answer gets a copy.
TEST_F(ExportWindow, ASecondExportReplacesTheFirstAndTheUsersChoiceGetsACopy) {
    c().saveImage();
    c().saveJuliaImage();
    ASSERT_EQ(offers.size(), 2u);
    EXPECT_EQ(offers[1].suggestedPath, home("Pictures/Glimmerscape-1700000000.png"));
    EXPECT_EQ(tempFiles(), QStringList{"Glimmerscape-1700000000.png"});
    const QImage julia = c().juliaView()->makeImage().convertToFormat(QImage::Format_RGBX8888);
    EXPECT_EQ(readImage(QDir(tempPath()).filePath("Glimmerscape-1700000000.png")), julia);
    const QString chosen = home("Pictures/mine.png");
    choose(chosen);
    EXPECT_EQ(readImage(chosen), julia);
    EXPECT_TRUE(alerts.isEmpty());
}

TEST_F(ExportWindow, RequestsBeforeTheFirstPictureDuringARenderOrARecordingAreIgnored) {
    {
        MacViewController fresh;  // never shown: no layout, no picture
        install(fresh);
        fresh.saveImage();
        fresh.saveJuliaImage();
        fresh.recordPaletteAnimationAction();
        fresh.recordJuliaPaletteAnimation();
        EXPECT_TRUE(offers.empty() && progressShown == 0 && tempFiles().isEmpty());
    }
    c().render();
    c().recordPaletteAnimationAction();
    c().recordJuliaPaletteAnimation();
    EXPECT_FALSE(c().isRecordingPaletteAnimation());
    ASSERT_TRUE(e->settle());
    JuliaView* julia = c().juliaView();
    ColourInputs colours;
    colours.table = c().colorTable();
    julia->requestRender(juliaRequest(0, 0, julia->bufferWidth(), julia->bufferHeight(), colours, 100));
    c().recordJuliaPaletteAnimation();  // while the Julia picture is being computed
    EXPECT_FALSE(c().isRecordingPaletteAnimation());
    ASSERT_TRUE(waitFor([&] { return !julia->isComputing(); }));
    c().recordJuliaPaletteAnimation();
    EXPECT_TRUE(c().isRecordingPaletteAnimation());
    c().recordPaletteAnimationAction();
    c().recordJuliaPaletteAnimation();
    EXPECT_EQ(progressShown, 1);
    ASSERT_TRUE(recordingEnded());
    EXPECT_EQ(offers.size(), 1u);
}

// One cycle at speed 1 is 30 frames: the progress moves after each and closes at the end, and
// the movie is offered in the Videos folder (the chosen copy is made as a picture's is). The
// frames themselves, and that they keep the sound's colours of the moment the recording began,
// are the export tests'.
TEST_F(ExportWindow, ARecordingShowsItsProgressAndIsOfferedAsAMovie) {
    c().recordPaletteAnimationAction();
    ASSERT_TRUE(c().isRecordingPaletteAnimation());
    ASSERT_TRUE(recordingEnded());
    ASSERT_EQ(offers.size(), 1u);
    EXPECT_EQ(offers[0].suggestedPath, home("Videos/Glimmerscape-1700000000.mov"));
    EXPECT_FALSE(progressOpen);
    std::vector<std::int64_t> oneToThirty(30);
    std::iota(oneToThirty.begin(), oneToThirty.end(), 1);
    EXPECT_EQ(frames, oneToThirty);
    EXPECT_EQ(tempFiles().size(), 1);
}

// A failure (each kind is the recording's own test) says so once; failures, cancels, closing the
// window and destroying it (it waits for the worker, which stops) leave no file and offer none.
TEST_F(ExportWindow, EveryEndOtherThanSuccessLeavesNoFile) {
    const struct {
        const char* how;
        std::function<void()> arrange;    // before the recording starts
        std::function<void()> interrupt;  // once it has made its first frame
        bool alert;
    } cases[] = {
        {"refused frame", [&] { c().recordingEncoder.refuseFrame = 3; }, {}, true},
        {"cancelled", {}, [&] { cancel(); }, false},
        {"window closed", {}, [&] { c().close(); }, false},
        {"window destroyed", {}, [&] { e.reset(); }, false},  // the last: no window after it
    };
    c().setAnimationSpeed(0.1);  // 300 frames: long enough to be stopped on the way
    for (const auto& k : cases) {
        SCOPED_TRACE(k.how);
        alerts.clear();
        offers.clear();
        frames.clear();
        c().recordingEncoder = MovieSettings{};
        if (k.arrange) k.arrange();
        c().recordPaletteAnimationAction();
        ASSERT_TRUE(c().isRecordingPaletteAnimation());
        if (k.interrupt) {
            ASSERT_TRUE(waitFor([&] { return !frames.empty(); }));
            k.interrupt();
            EXPECT_FALSE(progressOpen);  // at once, before the worker has stopped
        }
        ASSERT_TRUE(recordingEnded());
        EXPECT_FALSE(progressOpen);
        EXPECT_EQ(alerts, k.alert ? QStringList{kCouldntRecord} : QStringList{});
        EXPECT_TRUE(offers.empty());
        EXPECT_EQ(tempFiles(), QStringList{});
    }
}

}  // namespace
}  // namespace gs::test
