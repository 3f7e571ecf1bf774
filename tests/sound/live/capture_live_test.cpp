// Capture from a real sound server: run by capture_live.sh under a private PulseAudio whose
// default microphone is a FIFO; each test plays into it with sox.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <atomic>
#include <functional>

#include "sound/audio_capture.h"
#include "sound/sound_analyzer.h"

namespace gs {
namespace {

QByteArray env(const char* name) { return qgetenv(name); }

bool run(const QString& program, const QStringList& arguments, QByteArray* out = nullptr) {
    QProcess p;
    p.start(program, arguments);
    const bool ok = p.waitForFinished(10000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    if (out) *out = p.readAllStandardOutput();
    return ok;
}

// Writes seconds of sound into the microphone at once: sox `synth` arguments, or silence
// when there are none.
void play(double seconds, const QStringList& synth = {}) {
    QStringList args{"-q", "-n", "-r", QString::fromLatin1(env("GS_PULSE_RATE")), "-c", "1", "-e",
                     "floating-point", "-b", "32", "-t", "raw", QString::fromLocal8Bit(env("GS_PULSE_FIFO"))};
    if (synth.isEmpty())
        args << "trim" << "0" << QString::number(seconds);
    else
        args << "synth" << QString::number(seconds) << synth;
    ASSERT_TRUE(run("sox", args));
}

// The capture, counting what it delivers and checking every buffer's shape and thread.
class CountingInput final : public AudioInput {
public:
    AudioCapture capture;
    std::atomic<int> buffers{0}, misshapen{0}, onGuiThread{0};

    bool start(BufferHandler onBuffer, std::function<void()> onLost, QString& reason) override {
        QThread* gui = QThread::currentThread();
        return capture.start(
            [this, gui, onBuffer](const float* s, std::size_t n, double rate) {
                if (n != 2048 || rate != env("GS_PULSE_RATE").toDouble()) ++misshapen;
                if (QThread::currentThread() == gui) ++onGuiThread;
                onBuffer(s, n, rate);
                ++buffers;
            },
            std::move(onLost), reason);
    }
    void stop() override { capture.stop(); }
};

class Live : public ::testing::Test {
protected:
    void SetUp() override {
        if (env("GS_PULSE_FIFO").isEmpty()) GTEST_SKIP() << "run through capture_live.sh";
    }
};

// Silence reads as nothing, a 440 Hz tone lands on its bin (445.3125 Hz at 48 kHz), and
// silence after it brings the loudness back to 0. Every buffer is 2048 frames at the
// source's rate, analysed off the GUI thread.
TEST_F(Live, SilenceToneSilence) {
    auto input = std::make_unique<CountingInput>();
    CountingInput& in = *input;
    SoundAnalyzer analyzer(std::move(input));
    ASSERT_TRUE(analyzer.start()) << analyzer.failureReason().toStdString();

    play(1.0);
    bool allSilent = true;
    ASSERT_TRUE(QTest::qWaitFor([&] {
        allSilent = allSilent && analyzer.latestMetrics() == SoundAnalyzer::Metrics{};
        return in.buffers >= 20;
    }));
    EXPECT_TRUE(allSilent);

    play(1.0, {"sine", "440"});
    ASSERT_TRUE(QTest::qWaitFor([&] { return analyzer.latestMetrics().pitchHz.has_value(); }));
    EXPECT_EQ(analyzer.latestMetrics().pitchHz, 445.3125);
    EXPECT_GT(analyzer.latestMetrics().rms, 0.0);

    play(2.0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return analyzer.latestMetrics().rms == 0.0; }));
    EXPECT_EQ(in.misshapen, 0);
    EXPECT_EQ(in.onGuiThread, 0);
    analyzer.stop();
}

// pactl's module index of the named source.
QByteArray moduleOf(const QByteArray& source) {
    QByteArray list;
    if (!run("pactl", {"list", "short", "modules"}, &list)) return {};
    for (const QByteArray& line : list.split('\n'))
        if (line.contains("source_name=" + source + " ")) return line.split('\t').value(0);
    return {};
}

bool loadSource(const QByteArray& arguments) {
    QStringList args{"load-module", "module-pipe-source"};
    for (const QByteArray& a : arguments.split(' ')) args << QString::fromLocal8Bit(a);
    return run("pactl", args);
}

// Removing the microphone while listening stops the analyzer and tells the GUI thread; with
// no input left, a start fails and says why.
TEST_F(Live, LosingTheMicrophoneInterrupts) {
    SoundAnalyzer analyzer;
    int interruptions = 0;
    analyzer.onInterrupted = [&] { ++interruptions; };
    ASSERT_TRUE(analyzer.start()) << analyzer.failureReason().toStdString();
    const QByteArray source = env("GS_PULSE_SOURCE"), other = env("GS_PULSE_OTHER_SOURCE");
    ASSERT_TRUE(run("pactl", {"unload-module", QString::fromLatin1(moduleOf(source))}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return interruptions == 1; }));
    EXPECT_FALSE(analyzer.isRunning());

    ASSERT_TRUE(run("pactl", {"unload-module", QString::fromLatin1(moduleOf(other))}));
    ASSERT_TRUE(QTest::qWaitFor([] { return AudioCapture::inputDevices().isEmpty(); }));
    EXPECT_FALSE(analyzer.start());
    EXPECT_EQ(analyzer.failureReason(), QStringLiteral("No microphone or other audio input was found."));

    ASSERT_TRUE(loadSource(env("GS_PULSE_OTHER_SOURCE_ARGS")) && loadSource(env("GS_PULSE_SOURCE_ARGS")));
    ASSERT_TRUE(run("pactl", {"set-default-source", QString::fromLatin1(source)}));
    EXPECT_EQ(interruptions, 1);
}

}  // namespace
}  // namespace gs

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
