// The analyzer's life cycle over a scripted audio input: starting, stopping, and losing the
// input while listening.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>

#include <cmath>
#include <numbers>
#include <thread>
#include <vector>

#include "sound/sound_analyzer.h"

namespace gs {
namespace {

// The event loop the analyzer's queued hand-overs need, made once for the test program.
QCoreApplication& testApplication() {
    static int argc = 1;
    static char name[] = "sound_tests";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return app;
}

class ScriptedInput final : public AudioInput {
public:
    int starts = 0, stops = 0;
    bool fail = false;
    BufferHandler onBuffer;
    std::function<void()> onLost;

    bool start(BufferHandler buffer, std::function<void()> lost, QString& reason) override {
        ++starts;
        if (fail) {
            reason = QStringLiteral("No microphone or other audio input was found.");
            return false;
        }
        onBuffer = std::move(buffer);
        onLost = std::move(lost);
        return true;
    }
    void stop() override {
        ++stops;
        onBuffer = nullptr;
    }
};

std::vector<float> loudTone() {
    std::vector<float> v(2048);
    for (std::size_t i = 0; i < v.size(); ++i)
        v[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 440 * static_cast<double>(i) / 48000));
    return v;
}

class SoundAnalyzerTest : public ::testing::Test {
protected:
    void SetUp() override {
        testApplication();
        auto input = std::make_unique<ScriptedInput>();
        in = input.get();
        analyzer = std::make_unique<SoundAnalyzer>(std::move(input));
        analyzer->onInterrupted = [this] {
            ++interruptions;
            interruptedOnGuiThread = QThread::currentThread() == testApplication().thread();
        };
    }
    void deliver(const std::vector<float>& samples) {
        in->onBuffer(samples.data(), samples.size(), 48000);
    }

    ScriptedInput* in = nullptr;
    std::unique_ptr<SoundAnalyzer> analyzer;
    int interruptions = 0;
    bool interruptedOnGuiThread = false;
};

TEST_F(SoundAnalyzerTest, StartTwiceOpensTheInputOnceAFailedStartStaysStoppedAndSaysWhy) {
    EXPECT_TRUE(analyzer->start());
    EXPECT_TRUE(analyzer->start());
    EXPECT_EQ(in->starts, 1);
    EXPECT_TRUE(analyzer->isRunning());
    EXPECT_TRUE(analyzer->failureReason().isEmpty());
    analyzer->stop();
    in->fail = true;
    EXPECT_FALSE(analyzer->start());
    EXPECT_FALSE(analyzer->isRunning());
    EXPECT_EQ(analyzer->failureReason(), QStringLiteral("No microphone or other audio input was found."));
    analyzer->stop();
    EXPECT_EQ(in->stops, 1);  // only the first, running one
}

// A stop forgets the adaptation: after a restart the same buffer reads as it did the first time.
TEST_F(SoundAnalyzerTest, StopResetsLatestAndAdaptation) {
    const std::vector<float> tone = loudTone(), quiet(2048, 0.01f);
    ASSERT_TRUE(analyzer->start());
    deliver(quiet);
    const SoundAnalyzer::Metrics first = analyzer->latestMetrics();
    for (int i = 0; i < 20; ++i) deliver(tone);
    ASSERT_EQ(analyzer->latestMetrics().pitchHz, 445.3125);
    analyzer->stop();
    EXPECT_EQ(in->stops, 1);
    EXPECT_EQ(analyzer->latestMetrics(), SoundAnalyzer::Metrics{});
    ASSERT_TRUE(analyzer->start());
    deliver(quiet);
    EXPECT_EQ(analyzer->latestMetrics(), first);
}

// The input's report of a lost device stops the analyzer on the GUI thread and tells it once,
// whichever thread reports; a report while stopped does nothing.
TEST_F(SoundAnalyzerTest, AnInterruptionStopsThenTellsTheGuiThreadOnce) {
    ASSERT_TRUE(analyzer->start());
    deliver(loudTone());
    in->onLost();
    EXPECT_FALSE(analyzer->isRunning());
    EXPECT_EQ(in->stops, 1);
    EXPECT_EQ(analyzer->latestMetrics(), SoundAnalyzer::Metrics{});
    EXPECT_EQ(interruptions, 0);  // posted, not called from inside the input's report
    QCoreApplication::processEvents();
    EXPECT_EQ(interruptions, 1);
    EXPECT_TRUE(interruptedOnGuiThread);
    in->onLost();
    QCoreApplication::processEvents();
    EXPECT_EQ(interruptions, 1);

    ASSERT_TRUE(analyzer->start());
    interruptedOnGuiThread = false;
    std::thread audio([this] { in->onLost(); });
    audio.join();
    EXPECT_TRUE(analyzer->isRunning());  // nothing changes off the GUI thread
    for (int i = 0; i < 2; ++i) QCoreApplication::processEvents();
    EXPECT_FALSE(analyzer->isRunning());
    EXPECT_EQ(interruptions, 2);
    EXPECT_TRUE(interruptedOnGuiThread);
}

TEST_F(SoundAnalyzerTest, AnalyzerGoneBeforeTheNoticeRunsIsNotCalled) {
    ASSERT_TRUE(analyzer->start());
    in->onLost();
    analyzer.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(interruptions, 0);
}

}  // namespace
}  // namespace gs
