// One bookmark record (a built-in file, a "--bookmark" file, an online library entry): what
// decodes encodes to JSON that decodes to the same record.
#include "fuzz_support.h"
#include "library/bookmark.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    QString why;
    const auto bookmark = decodeBookmark(fuzz::bytes(data, size), &why);
    if (!bookmark) {
        if (why.isEmpty()) fuzz::broken("a refused record gave no reason");
        return 0;
    }
    const QByteArray json = encodeBookmark(*bookmark);
    if (json.isEmpty()) fuzz::broken("a decoded record cannot be encoded");
    if (decodeBookmark(json) != bookmark) fuzz::broken("an encoded record decodes differently");
    return 0;
}
