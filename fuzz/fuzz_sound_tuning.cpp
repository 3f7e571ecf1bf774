// A stored sound tuning blob: what decodes encodes to the same values; what is refused says why.
#include "fuzz_support.h"
#include "library/tuning_json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    QString why;
    const auto tuning = decodeSoundTuning(fuzz::bytes(data, size), &why);
    if (!tuning) {
        if (why.isEmpty()) fuzz::broken("a refused sound tuning gave no reason");
        return 0;
    }
    const QByteArray json = encodeSoundTuning(*tuning);
    if (json.isEmpty()) fuzz::broken("a decoded sound tuning cannot be encoded");
    if (decodeSoundTuning(json) != tuning) fuzz::broken("a sound tuning does not round-trip");
    return 0;
}
