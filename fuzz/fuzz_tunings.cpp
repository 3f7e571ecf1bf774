// The two tuning blobs kept in the preferences, decoded from the same bytes; what decodes
// encodes to the same values.
#include "fuzz_support.h"
#include "library/tuning_json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace gs;
    const QByteArray blob = fuzz::bytes(data, size);
    if (const auto t = decodeShadingTuning(blob); t && decodeShadingTuning(encodeShadingTuning(*t)) != t)
        fuzz::broken("a shading tuning does not round-trip");
    if (const auto t = decodeSoundTuning(blob); t && decodeSoundTuning(encodeSoundTuning(*t)) != t)
        fuzz::broken("a sound tuning does not round-trip");
    return 0;
}
