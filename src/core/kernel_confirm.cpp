#include "kernel_confirm.h"

#include <cmath>

#include "kernel_step.h"

namespace gs::kernel {
namespace {

inline double magnitude(double re, double im) { return std::sqrt(std::fma(re, re, im * im)); }

// One step of z with the kernels' own operations.
inline void stepZ(double& zr, double& zi, double cr, double ci) {
    const double nzr = std::fma(zr, zr, std::fma(-zi, zi, cr));
    zi = std::fma(zr + zr, zi, ci);
    zr = nzr;
}

}  // namespace

void advanceOrbit(double& zr, double& zi, std::int64_t steps, double cr, double ci) {
    for (std::int64_t k = 0; k < steps; ++k) stepZ(zr, zi, cr, ci);
}

Confirmation replayConfirmation(const CycleCandidate& c, std::int64_t step, double cr, double ci) {
    double zr = c.zr, zi = c.zi, br = 1.0, bi = 0.0, tr = c.sr, ti = c.si;
    for (std::int64_t k = c.firstMatch + 1; k <= step; ++k) {
        const double twoRe = zr + zr, twoIm = zi + zi;
        const double nbr = std::fma(br, twoRe, -(bi * twoIm));
        const double nbi = std::fma(br, twoIm, bi * twoRe);
        br = nbr;
        bi = nbi;
        stepZ(zr, zi, cr, ci);
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
