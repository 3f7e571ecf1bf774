// Share links: reading never fails without a reason, and what reads makes a link that reads back
// the same bookmark.
#include "fuzz_support.h"
#include "library/share_link.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    QString why;
    const auto bookmark = readLink(QString::fromUtf8(fuzz::bytes(data, size)), &why);
    if (!bookmark) {
        if (why.isEmpty()) fuzz::broken("a refused link gave no reason");
        return 0;
    }
    const auto link = makeLink(*bookmark);
    if (!link) fuzz::broken("a bookmark read from a link makes no link");
    if (readLink(*link) != bookmark) fuzz::broken("a made link reads back differently");
    return 0;
}
