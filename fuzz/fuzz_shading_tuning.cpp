// A stored shading tuning blob: what decodes encodes to the same values; what is refused says why.
#include "fuzz_support.h"
#include "library/tuning_json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    QString why;
    const auto tuning = decodeShadingTuning(fuzz::bytes(data, size), &why);
    if (!tuning) {
        if (why.isEmpty()) fuzz::broken("a refused shading tuning gave no reason");
        return 0;
    }
    const QByteArray json = encodeShadingTuning(*tuning);
    if (json.isEmpty()) fuzz::broken("a decoded shading tuning cannot be encoded");
    if (decodeShadingTuning(json) != tuning) fuzz::broken("a shading tuning does not round-trip");
    return 0;
}
