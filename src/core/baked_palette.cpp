#include "baked_palette.h"

#include <cmath>

#include "shading.h"

namespace gs {

ColorTable bakeColorTable(const ColorTable& table, double frequency, double cycleOffset) {
    if (table.empty()) return {};
    ColorTable baked(kBakedTableSize);
    for (int i = 0; i < kBakedTableSize; ++i) {
        const double p = cycleOffset + frequency * i / kBakedTableSize;
        double fraction = p - std::trunc(p);
        if (fraction < 0) fraction += 1.0;
        // sampleColor is the on-screen lookup: the same blend, wrap and clamp.
        baked[static_cast<std::size_t>(i)] = sampleColor(table.data(), table.size(), fraction);
    }
    return baked;
}

}  // namespace gs
