// The user's "Bookmarks.json" array: decoding, sorting by name, and writing it back.
#include "fuzz_support.h"
#include "library/bookmark_library.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    auto bookmarks = decodeBookmarks(fuzz::bytes(data, size));
    if (!bookmarks) return 0;
    sortBookmarksByName(*bookmarks);
    const QByteArray json = encodeBookmarks(*bookmarks);
    if (json.isEmpty()) fuzz::broken("a decoded array cannot be encoded");
    if (decodeBookmarks(json) != bookmarks) fuzz::broken("an encoded array decodes differently");
    return 0;
}
