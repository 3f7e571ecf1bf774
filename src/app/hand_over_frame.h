// The message a second start of the program sends to the running one over the local socket:
// one frame of "GSH1", the payload's length as a 32-bit big-endian number, and the payload,
// which is the link in UTF-8, a NUL byte and the desktop's activation token (argv entries and
// environment values cannot hold a NUL). The receiver answers a whole, valid frame with one
// acknowledgement byte.
#pragma once

#include <QByteArray>
#include <QString>

namespace gs {

struct HandOverMessage {
    QString link;                // as given on the command line; empty when there was none
    QByteArray activationToken;  // XDG_ACTIVATION_TOKEN or DESKTOP_STARTUP_ID; may be empty
};

inline constexpr char kHandOverMagic[] = "GSH1";
inline constexpr int kHandOverHeaderSize = 8;
// Bounds a frame far above any share link (about 1.3 kB) so that no sender can make the
// receiver buffer more.
inline constexpr int kHandOverMaxPayload = 64 * 1024;
inline constexpr int kHandOverMaxFrame = kHandOverHeaderSize + kHandOverMaxPayload;
inline constexpr char kHandOverAck = '\x06';

// The frame for a message, or an empty array when it would exceed the bound.
QByteArray encodeHandOverFrame(const HandOverMessage& message);

enum class HandOverFrameStatus { incomplete, complete, invalid };

// Judges the bytes received so far on one connection. A buffer that can no longer become a
// valid frame (wrong magic, a length above the bound, bytes after the frame) is invalid; on
// complete, message holds the decoded frame.
HandOverFrameStatus readHandOverFrame(const QByteArray& received, HandOverMessage* message);

}  // namespace gs
