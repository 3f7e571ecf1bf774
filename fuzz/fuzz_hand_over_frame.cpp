// The frame a later start of the program sends to the running window over the local socket.
// A reader judges the bytes as they arrive, so its verdicts must be consistent with arrival:
// a byte more never mends an invalid buffer, a whole frame is incomplete until its last byte and
// invalid after it, and what it decodes encodes to a frame that decodes the same.
#include "app/hand_over_frame.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    const QByteArray received = fuzz::bytes(data, size);
    HandOverMessage message;
    switch (readHandOverFrame(received, &message)) {
    case HandOverFrameStatus::invalid:
        if (readHandOverFrame(received + 'x', &message) != HandOverFrameStatus::invalid)
            fuzz::broken("a byte more mended an invalid frame");
        return 0;
    case HandOverFrameStatus::incomplete:
        if (received.size() >= kHandOverMaxFrame) fuzz::broken("a buffer above the bound is still incomplete");
        return 0;
    case HandOverFrameStatus::complete:
        break;
    }
    if (message.link.contains(QChar(0))) fuzz::broken("a link holds a NUL");
    for (const char c : message.activationToken)
        if (c <= ' ' || c >= '\x7f') fuzz::broken("a token holds an unprintable byte");
    HandOverMessage prefix;
    if (readHandOverFrame(received.first(received.size() - 1), &prefix) != HandOverFrameStatus::incomplete)
        fuzz::broken("a frame without its last byte is not incomplete");
    if (readHandOverFrame(received + '\0', &prefix) != HandOverFrameStatus::invalid)
        fuzz::broken("bytes after a frame are not invalid");
    const QByteArray again = encodeHandOverFrame(message);
    if (again.isEmpty()) return 0;  // invalid UTF-8 grew past the bound when made valid
    HandOverMessage decoded;
    if (readHandOverFrame(again, &decoded) != HandOverFrameStatus::complete || decoded.link != message.link ||
        decoded.activationToken != message.activationToken)
        fuzz::broken("a decoded message does not round-trip");
    return 0;
}
