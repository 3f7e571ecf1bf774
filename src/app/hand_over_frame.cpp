#include "app/hand_over_frame.h"

#include <QtEndian>
#include <algorithm>

namespace gs {
namespace {

constexpr int kMagicSize = 4;

// Activation tokens are opaque printable ASCII; anything else is not passed on.
bool isPrintableToken(const QByteArray& token) {
    return std::all_of(token.begin(), token.end(), [](char c) { return c > ' ' && c < '\x7f'; });
}

bool couldBeMagic(const QByteArray& received) {
    const qsizetype n = std::min<qsizetype>(received.size(), kMagicSize);
    return std::equal(received.begin(), received.begin() + n, kHandOverMagic);
}

}  // namespace

QByteArray encodeHandOverFrame(const HandOverMessage& message) {
    QByteArray payload = message.link.toUtf8();
    if (payload.contains('\0')) return {};
    if (!message.activationToken.isEmpty() && isPrintableToken(message.activationToken)) {
        payload += '\0';
        payload += message.activationToken;
    }
    if (payload.size() > kHandOverMaxPayload) return {};
    QByteArray frame(kHandOverMagic, kMagicSize);
    frame.resize(kHandOverHeaderSize);
    qToBigEndian(static_cast<quint32>(payload.size()), frame.data() + kMagicSize);
    return frame + payload;
}

HandOverFrameStatus readHandOverFrame(const QByteArray& received, HandOverMessage* message) {
    if (!couldBeMagic(received)) return HandOverFrameStatus::invalid;
    if (received.size() < kHandOverHeaderSize) return HandOverFrameStatus::incomplete;
    const quint32 length = qFromBigEndian<quint32>(received.constData() + kMagicSize);
    if (length > static_cast<quint32>(kHandOverMaxPayload)) return HandOverFrameStatus::invalid;
    const qsizetype total = kHandOverHeaderSize + static_cast<qsizetype>(length);
    if (received.size() < total) return HandOverFrameStatus::incomplete;
    if (received.size() > total) return HandOverFrameStatus::invalid;

    const QByteArray payload = received.sliced(kHandOverHeaderSize);
    const qsizetype nul = payload.indexOf('\0');
    const QByteArray token = nul < 0 ? QByteArray() : payload.sliced(nul + 1);
    if (!isPrintableToken(token)) return HandOverFrameStatus::invalid;
    message->link = QString::fromUtf8(nul < 0 ? payload : payload.first(nul));
    message->activationToken = token;
    return HandOverFrameStatus::complete;
}

}  // namespace gs
