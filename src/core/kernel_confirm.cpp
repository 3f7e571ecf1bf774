#include "kernel_confirm.h"

#include <cmath>

#include "kernel_step.h"

namespace gs::kernel {
namespace {

inline double magnitude(double re, double im) { return std::sqrt(std::fma(re, re, im * im)); }

}  // namespace

Confirmation replayConfirmation(const CycleCandidate& c, std::int64_t step, double cr, double ci) {
    double zr = c.zr, zi = c.zi, br = 1.0, bi = 0.0, tr = c.sr, ti = c.si;
    for (std::int64_t k = c.firstMatch + 1; k <= step; ++k) {
        const double twoRe = zr + zr, twoIm = zi + zi;
        const double nbr = std::fma(br, twoRe, -(bi * twoIm));
        const double nbi = std::fma(br, twoIm, bi * twoRe);
        const double nzr = std::fma(zr, zr, std::fma(-zi, zi, cr));
        const double nzi = std::fma(twoRe, zi, ci);
        br = nbr;
        bi = nbi;
        zr = nzr;
        zi = nzi;
        if (k < step && (k - c.firstMatch) % c.period == 0) {  // an earlier confirmation
            tr = br;
            ti = bi;
            br = 1.0;
            bi = 0.0;
        }
    }
    const bool stable =
        magnitude(br, bi) < 1.0 &&
        magnitude(br - tr, bi - ti) < kRelativeTolerance * toleranceBase(magnitude(tr, ti)) &&
        magnitude(br - c.sr, bi - c.si) < kRelativeTolerance * toleranceBase(magnitude(c.sr, c.si));
    return {stable, br, bi};
}

}  // namespace gs::kernel
