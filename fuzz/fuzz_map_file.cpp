// Fractint ".map" palette files: what parses writes back as text that parses to 256 colours.
#include <string>

#include "core/mapfile.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    const MapParseResult parsed = parseMap(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!parsed.colors) {
        if (parsed.error.empty()) fuzz::broken("a refused file gave no reason");
        return 0;
    }
    if (parsed.colors->size() != 256) fuzz::broken("a parsed file does not hold 256 colours");
    const MapParseResult again = parseMap(writeMap(*parsed.colors));
    if (!again.colors) fuzz::broken("a written file does not parse");
    return 0;
}
