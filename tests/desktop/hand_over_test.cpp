#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QLocalServer>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include "app/hand_over_frame.h"
#include "app/single_instance.h"

namespace gs {
namespace {

QByteArray header(quint32 length) {
    QByteArray bytes(kHandOverMagic, 4);
    bytes.resize(kHandOverHeaderSize);
    qToBigEndian(length, bytes.data() + 4);
    return bytes;
}

TEST(HandOverFrame, RefusesWhatCannotBecomeAFrame) {
    const QByteArray cases[] = {
        "X",                                             // wrong magic, seen at the first byte
        QByteArray("GSH2") + header(1).sliced(4) + "a",  // another protocol version
        header(kHandOverMaxPayload + 1),                 // a length above the bound
        header(0xffffffffu),
    };
    for (const QByteArray& bytes : cases) {
        HandOverMessage got;
        EXPECT_EQ(readHandOverFrame(bytes, &got), HandOverFrameStatus::invalid)
            << bytes.toHex().constData();
    }
}

TEST(HandOverFrame, EncoderKeepsWithinTheBound) {
    const QString longest(kHandOverMaxPayload, u'a');
    EXPECT_EQ(encodeHandOverFrame({longest, {}}).size(), kHandOverMaxFrame);
    EXPECT_TRUE(encodeHandOverFrame({longest + u'a', {}}).isEmpty());
    HandOverMessage got;  // an unusable token is left out rather than spoiling the frame
    ASSERT_EQ(readHandOverFrame(encodeHandOverFrame({QStringLiteral("l"), "bad token"}), &got),
              HandOverFrameStatus::complete);
    EXPECT_TRUE(got.activationToken.isEmpty());
}

// A first instance listening on a socket in a temporary folder; later starts run in this
// process too and reach it over the real socket.
class HandOver : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path = dir.filePath(QStringLiteral("hand-over.socket"));
    SingleInstance first{path};
    QSignalSpy activations{&first, &SingleInstance::activationRequested};
    QSignalSpy links{&first, &SingleInstance::linkReceived};
    int answerMs = 2000;

    void startFirst() { ASSERT_EQ(first.start(QString()), SingleInstance::Outcome::listening); }
    SingleInstance::Outcome startAnother(const QString& link, const QByteArray& token = {}) {
        SingleInstance another(path);
        another.setTimeouts(answerMs, 2000);
        return another.start(link, token);
    }
    void connectRaw(QLocalSocket& socket) {
        socket.connectToServer(path);
        ASSERT_TRUE(socket.waitForConnected(1000));
    }
};

// A socket file left by a crash (bound, then gone without removing it) is cleared; later starts
// hand their link to the first, and a start without a link only brings the window forward.
TEST_F(HandOver, LaterStartsHandTheirLinkToTheFirst) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(path);
    std::copy(name.begin(), name.end(), address.sun_path);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::close(fd);

    startFirst();
    const QString link = QStringLiteral("glimmerscape://bookmark?v=1&name=Seahorse");
    EXPECT_EQ(startAnother(link, "token-1"), SingleInstance::Outcome::handedOver);
    EXPECT_EQ(startAnother(QString()), SingleInstance::Outcome::handedOver);
    ASSERT_EQ(activations.size(), 2);
    EXPECT_EQ(activations[0][0].toByteArray(), "token-1");
    ASSERT_EQ(links.size(), 1);
    EXPECT_EQ(links[0][0].toString(), link);
}

TEST_F(HandOver, WithoutAnAnswerTheStartRunsAlone) {
    QLocalServer mute;  // alive, but never reads
    ASSERT_TRUE(mute.listen(path));
    answerMs = 200;
    EXPECT_EQ(startAnother(QStringLiteral("glimmerscape://x")),
              SingleInstance::Outcome::standalone);
    EXPECT_EQ(SingleInstance(QString()).start(QString()), SingleInstance::Outcome::standalone);
}

TEST_F(HandOver, AFrameTrickledByteByByteArrives) {
    startFirst();
    QLocalSocket slow;
    connectRaw(slow);
    for (const char byte : encodeHandOverFrame({QStringLiteral("glimmerscape://slow"), {}})) {
        slow.putChar(byte);
        slow.flush();
        QTest::qWait(1);
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return slow.bytesAvailable() > 0; }, 2000));
    EXPECT_EQ(slow.read(1), QByteArray(1, kHandOverAck));
    ASSERT_EQ(links.size(), 1);
    EXPECT_EQ(links[0][0].toString(), QStringLiteral("glimmerscape://slow"));
}

// Senders that break the protocol are cut off without a signal, and the instance goes on
// serving proper starts.
TEST_F(HandOver, HostileSendersAreCutOffAndTheReceiverStaysWell) {
    first.setTimeouts(300, 300);
    startFirst();
    const std::pair<const char*, QByteArray> senders[] = {
        {"another protocol", "GET / HTTP/1.1\r\n\r\n"},
        {"bytes after the frame",
         encodeHandOverFrame({QStringLiteral("glimmerscape://z"), {}}) + "more"},
        {"half a frame, then silence", header(100) + "half of it"}};
    for (const auto& [what, bytes] : senders) {
        SCOPED_TRACE(what);
        QLocalSocket hostile;
        connectRaw(hostile);
        hostile.write(bytes);
        hostile.flush();
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return hostile.state() == QLocalSocket::UnconnectedState; }, 3000));
        EXPECT_EQ(hostile.read(1), QByteArray());  // never acknowledged
    }
    EXPECT_EQ(activations.size(), 0);
    EXPECT_EQ(startAnother(QStringLiteral("glimmerscape://y")),
              SingleInstance::Outcome::handedOver);
}

}  // namespace
}  // namespace gs
