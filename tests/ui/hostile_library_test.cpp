// The palette library screen against hostile servers in another process (a Python script on the
// loopback): a 2 GiB body with and without a declared length, a drip of one byte a second, a
// redirect loop, a certificate nobody trusts, and a manifest of 10,000 entries. Each ends in its
// state while a heartbeat on the GUI thread measures the longest stall and /proc the peak memory.
#include <time.h>

#include <QElapsedTimer>
#include <QFile>
#include <QListWidget>
#include <QPointer>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>
#include <QTimer>
#include <string_view>

#include "library/library_fetch.h"
#include "library/palette_library.h"
#include "ui/online_library_view_controller.h"
#include "ui_test_support.h"

namespace gs::test {
namespace {

// The drip must outlast the stall timeout (no gap reaches it) and end at the total one.
const OnlineLibraryLimits kLimits{{kManifestFetchLimits.maxBodyBytes, std::chrono::seconds(2), std::chrono::seconds(3)},
                                  {kEntryFetchLimits.maxBodyBytes, std::chrono::seconds(2), std::chrono::seconds(3)}};
const QString kUnreachable = QStringLiteral("Couldn't reach the online library. Check your connection and try again.");
// Under a sanitizer freed memory is held in quarantine and every step is slower, so the limits
// widen; they still catch a body kept whole or a loop that blocks the window.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kSanitizerFactor = 4;
#else
constexpr int kSanitizerFactor = 1;
#endif
constexpr qint64 kMemoryCapKiB = kSanitizerFactor * (64 << 10);  // peak resident growth allowed per case
constexpr double kBusyStallMs = kSanitizerFactor * 100;  // the GUI thread's longest run without an event turn
constexpr double kWallStallMs = kSanitizerFactor * 150;  // the same in wall time, with room for a shared machine

double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

qint64 statusKiB(const QByteArray& key) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(key + ':')) return line.mid(key.size() + 1).trimmed().split(' ').value(0).toLongLong();
    return 0;
}

// Restarts VmHWM from the present resident size (Linux 4.0 and later).
void resetPeakMemory() {
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    if (refs.open(QIODevice::WriteOnly)) refs.write("5");
}

// Ticks every few milliseconds on the GUI thread and keeps the longest gap between two ticks,
// in wall time and in the thread's own CPU time (what it spent busy instead of turning).
struct Heartbeat {
    QTimer timer;
    QElapsedTimer wall;
    double lastWall = 0, lastCpu = 0, worstWall = 0, worstBusy = 0;
    Heartbeat() {
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, [this] { beat(); });
        wall.start();
        lastCpu = threadCpuMs();
        timer.start(5);
    }
    void beat() {
        const double w = double(wall.nsecsElapsed()) / 1e6, c = threadCpuMs();
        worstWall = std::max(worstWall, w - lastWall);
        worstBusy = std::max(worstBusy, c - lastCpu);
        lastWall = w, lastCpu = c;
    }
};

QString makeCertificate(const QString& dir, const QString& name) {
    QProcess openssl;
    openssl.setWorkingDirectory(dir);
    openssl.start(QStringLiteral("openssl"),
                  QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout %1.key "
                                 "-out %1.pem -days 2 -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1")
                      .arg(name)
                      .split(QLatin1Char(' ')));
    return openssl.waitForFinished(20000) && openssl.exitCode() == 0 ? dir + QLatin1Char('/') + name : QString();
}

struct Case {
    const char* behaviour;
    bool trusted;
    int seconds;  // the most the case may take
    friend void PrintTo(const Case& c, std::ostream* os) { *os << c.behaviour << (c.trusted ? "" : " untrusted"); }
};

class HostileServers : public ::testing::TestWithParam<Case> {
protected:
    void SetUp() override {
        savedClient = QSslConfiguration::defaultConfiguration();
        trusted = makeCertificate(certs.path(), QStringLiteral("trusted"));
        untrusted = makeCertificate(certs.path(), QStringLiteral("untrusted"));
        ASSERT_FALSE(trusted.isEmpty() || untrusted.isEmpty()) << "openssl could not make the certificates";
        QSslConfiguration client = savedClient;
        client.addCaCertificates(QSslCertificate::fromPath(trusted + QStringLiteral(".pem")));
        QSslConfiguration::setDefaultConfiguration(client);
        libraryNetwork().clearConnectionCache();
    }
    void TearDown() override {
        server.kill();
        server.waitForFinished();
        QSslConfiguration::setDefaultConfiguration(savedClient);
        libraryNetwork().clearConnectionCache();
    }
    // Starts the script with one behaviour and returns its origin.
    QUrl start(const Case& c) {
        const QString cert = c.trusted ? trusted : untrusted;
        server.start(QStringLiteral("python3"), {QStringLiteral(GS_TEST_SUPPORT_DIR "/hostile_server.py"),
                                                  cert + QStringLiteral(".pem"), cert + QStringLiteral(".key"),
                                                  QString::fromLatin1(c.behaviour)});
        if (!server.waitForReadyRead(20000)) return {};
        return QUrl(QStringLiteral("https://127.0.0.1:") + QString::fromLatin1(server.readLine().trimmed()));
    }

    QTemporaryDir certs, home;
    QString trusted, untrusted;
    QSslConfiguration savedClient;
    QProcess server;
    QWidget host;
    PaletteLibrary store{home.filePath(QStringLiteral("Palettes")), QString()};
};

TEST_P(HostileServers, EndInTheirStateWithoutStallingOrGrowing) {
    const Case c = GetParam();
    const QUrl origin = start(c);
    ASSERT_TRUE(origin.isValid() && origin.port() > 0) << "the hostile server did not start";
    host.resize(900, 640);
    host.show();
    resetPeakMemory();
    const qint64 before = statusKiB("VmRSS");
    Heartbeat heart;
    QElapsedTimer clock;
    clock.start();
    QPointer<OnlineLibraryScreen> screen = new OnlinePaletteLibraryViewController(
        std::make_unique<OnlinePaletteLibrary>(libraryBaseUrl(origin, LibraryKind::palettes),
                                               paletteStoreStep(store), kLimits),
        &host);
    screen->open();
    ASSERT_TRUE(waitFor([&] { return !screen->isLoadingIndicated(); }, c.seconds * 1000));
    const qint64 elapsed = clock.elapsed();
    if (std::string_view(c.behaviour) == "many" && c.trusted) {
        EXPECT_EQ(screen->list()->count(), 100 + 10000);
        EXPECT_EQ(screen->statusText(), QString());
        for (int i = 0; i < 3; ++i) QTest::keyClick(screen->list(), Qt::Key_Space), QTest::keyClick(screen->list(), Qt::Key_Down);
        EXPECT_EQ(screen->selectionText(), QStringLiteral("3 SELECTED"));
    } else {
        EXPECT_EQ(screen->statusText(), kUnreachable);
        EXPECT_TRUE(screen->isRetryOffered());
    }
    QTest::qWait(50);  // a last few beats after the end
    const qint64 grown = statusKiB("VmHWM") - before;
    std::printf("[ figures  ] %s%s: %lld ms, longest stall %.1f ms busy / %.1f ms wall, peak RSS +%lld KiB\n",
                c.behaviour, c.trusted ? "" : " (untrusted certificate)", static_cast<long long>(elapsed),
                heart.worstBusy, heart.worstWall, static_cast<long long>(grown));
    EXPECT_LT(heart.worstBusy, kBusyStallMs);
    EXPECT_LT(heart.worstWall, kWallStallMs);
    EXPECT_LT(grown, kMemoryCapKiB);
    screen->handleClose();
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileServers,
                         ::testing::Values(Case{"declared", true, 10}, Case{"undeclared", true, 10},
                                           Case{"drip", true, 10}, Case{"loop", true, 10},
                                           Case{"many", false, 10}, Case{"many", true, 20}),
                         [](const auto& info) {
                             return std::string(info.param.behaviour) + (info.param.trusted ? "" : "Untrusted");
                         });

}  // namespace
}  // namespace gs::test
