// The arithmetic shared by the scalar and SIMD kernels: constants, and the work done once when a
// point escapes (logarithms and square roots are taken only there).
//
// Fused products, the same in both kernels (std::fma here, MulAdd/MulSub/NegMulAdd there):
//   z' re = fma(zr, zr, fma(-zi, zi, c re))       z' im = fma(zr + zr, zi, c im)
//   d' re = 2 * fma(zr, dr, -(zi*di)) + 1         d' im = 2 * fma(zr, di, zi*dr)
//     (the doubling is exact, and written as x + x so that it runs on the adders)
//   |z'|^2 = fma(z're, z're, z'im*z'im)
//   A*(2z): re = fma(Ar, 2zr, -(Ai*2zi)), im = fma(Ar, 2zi, Ai*2zr); B likewise
//   |v|   = sqrt(fma(v re, v re, v im*v im)) for every magnitude of the cycle detector
//   cardioid q = fma(a, a, y*y)
// Everything else (the 2 * |z| * ln|z| of the distance, the tolerances) is plain IEEE arithmetic.
#pragma once

#include <cmath>
#include <cstdint>

#include "kernel.h"

namespace gs::kernel {

inline constexpr double kBailout = 65536.0;
inline constexpr double kCloseness = 1e-9;
inline constexpr double kRelativeTolerance = 0.1;
inline constexpr double kToleranceFloor = 1e-9;
inline constexpr double kDerivativeGuard = 1e-12;
inline constexpr double kNegLn2 = -0.6931471805599453;

inline void setInterior(EscapeResult& out, std::int32_t maxIter) {
    out.nu = static_cast<double>(maxIter);
    out.distance = 0.0;
    out.trapDistance = 0.0;
}

// Escape reached at step k with the new z (|z|^2 = r2) and the updated derivative (dr, di).
inline void finishEscape(std::int64_t k, std::int32_t maxIter, double r2, double dr, double di,
                         double trap, EscapeResult& out) {
    if (k < maxIter)
        out.nu = static_cast<double>(k + 1) + std::log(std::log(r2) * 0.5) / kNegLn2;
    else
        out.nu = static_cast<double>(maxIter) - 0.5;
    const double dMag = std::sqrt(std::fma(dr, dr, di * di));
    if (!std::isfinite(dMag)) {
        out.distance = 0.0;
    } else {
        const double zMag = std::sqrt(r2);
        out.distance = 2.0 * zMag * std::log(zMag) / (dMag + kDerivativeGuard);
    }
    out.trapDistance = trap;
}

inline bool cardioidOrBulb(double x, double y) {
    const double a = x - 0.25;
    const double q = std::fma(a, a, y * y);
    if (q * (q + a) < 0.25 * y * y) return true;
    return (x + 1.0) * (x + 1.0) + y * y < 0.0625;
}

// max(m, 1e-9) that takes a NaN magnitude as 1e-9.
inline double toleranceBase(double m) { return m > kToleranceFloor ? m : kToleranceFloor; }

}  // namespace gs::kernel
