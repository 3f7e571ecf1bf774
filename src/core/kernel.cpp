// The scalar escape-time kernel: the reference every other path must match bit for bit.
#include <limits>

#include "kernel.h"
#include "kernel_step.h"

// The scalar kernel is built twice, for baseline x86-64 and for x86-64-v3, so that std::fma
// becomes one instruction where the CPU has it (otherwise it is a correctly rounded library
// call). The results are identical either way. Not under ThreadSanitizer: it instruments the
// resolver that picks a clone, which runs before its runtime is set up.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
#define GS_CLONES [[gnu::target_clones("arch=x86-64-v3", "default")]]
#else
#define GS_CLONES
#endif

namespace gs {
namespace {

inline double magnitude(double re, double im) { return std::sqrt(std::fma(re, re, im * im)); }

[[gnu::always_inline]] inline void orbit(std::int32_t maxIter, EscapeResult& out, double cr,
                                         double ci, double zr, double zi, std::uint64_t& iters) {
    using namespace kernel;
    if (maxIter < 1) {
        setInterior(out, maxIter);
        return;
    }
    double dr = 0.0, di = 0.0;
    double trap = std::numeric_limits<double>::infinity();
    // Cycle detector: checkpoint z and its step, the products A and B, the saved multipliers
    // S (at the first match) and T (at the last confirmation), candidate period, last match.
    double zcr = zr, zci = zi;
    std::int64_t checkpoint = 0;
    double ar = 1.0, ai = 0.0, br = 1.0, bi = 0.0;
    double sr = 0.0, si = 0.0, tr = 0.0, ti = 0.0;
    std::int64_t period = 0, lastMatch = 0;
    int confirmations = 0;

    for (std::int64_t k = 1;; ++k) {
        const double nzr = std::fma(zr, zr, std::fma(-zi, zi, cr));
        const double nzi = std::fma(zr + zr, zi, ci);
        const double x = std::fma(zr, dr, -(zi * di)), y = std::fma(zr, di, zi * dr);
        const double ndr = (x + x) + 1.0;
        const double ndi = y + y;

        const double absRe = std::fabs(nzr), absIm = std::fabs(nzi);
        const double nearAxis = absIm < absRe ? absIm : absRe;
        trap = nearAxis < trap ? nearAxis : trap;

        const double r2 = std::fma(nzr, nzr, nzi * nzi);
        if (r2 >= kBailout) {
            finishEscape(k, maxIter, r2, ndr, ndi, trap, out);
            iters += static_cast<std::uint64_t>(k);
            return;
        }

        const double twoRe = zr + zr, twoIm = zi + zi;
        const double nar = std::fma(ar, twoRe, -(ai * twoIm));
        const double nai = std::fma(ar, twoIm, ai * twoRe);
        ar = nar;
        ai = nai;
        const double nbr = std::fma(br, twoRe, -(bi * twoIm));
        const double nbi = std::fma(br, twoIm, bi * twoRe);
        br = nbr;
        bi = nbi;

        const double ddr = nzr - zcr, ddi = nzi - zci;
        if (std::fma(ddr, ddr, ddi * ddi) < kCloseness && magnitude(ar, ai) < 1.0) {
            bool confirmed = false;
            if (period != 0 && k == lastMatch + period) {
                const bool stable =
                    magnitude(br, bi) < 1.0 &&
                    magnitude(br - tr, bi - ti) <
                        kRelativeTolerance * toleranceBase(magnitude(tr, ti)) &&
                    magnitude(br - sr, bi - si) <
                        kRelativeTolerance * toleranceBase(magnitude(sr, si));
                if (stable) {
                    if (confirmations > 1) {
                        setInterior(out, maxIter);
                        iters += static_cast<std::uint64_t>(k);
                        return;
                    }
                    ++confirmations;
                    tr = br;
                    ti = bi;
                    br = 1.0;
                    bi = 0.0;
                    lastMatch = k;
                    confirmed = true;
                }
            }
            if (!confirmed) {
                confirmations = 0;
                period = k - checkpoint;
                sr = tr = ar;
                si = ti = ai;
                br = 1.0;
                bi = 0.0;
                lastMatch = k;
            }
        }
        if ((k & (k - 1)) == 0) {
            zcr = nzr;
            zci = nzi;
            checkpoint = k;
            ar = 1.0;
            ai = 0.0;
            period = 0;
        }
        zr = nzr;
        zi = nzi;
        dr = ndr;
        di = ndi;
        if (k == maxIter) {
            setInterior(out, maxIter);
            iters += static_cast<std::uint64_t>(k);
            return;
        }
    }
}

[[gnu::always_inline]] inline void mandelbrotOne(std::int32_t maxIter, EscapeResult& out, double x,
                                                 double y, double z0r, double z0i,
                                                 std::uint64_t& iters) {
    if (kernel::cardioidOrBulb(x, y)) {
        kernel::setInterior(out, maxIter);
        return;
    }
    orbit(maxIter, out, x, y, z0r, z0i, iters);
}

}  // namespace

bool inInteriorShortcut(double x, double y) { return kernel::cardioidOrBulb(x, y); }

GS_CLONES void iterateOrbit(std::int32_t maxIter, EscapeResult& out, double cRe, double cIm,
                            double z0Re, double z0Im) {
    std::uint64_t n = 0;
    orbit(maxIter, out, cRe, cIm, z0Re, z0Im, n);
}

GS_CLONES void mandelbrotPoint(std::int32_t maxIter, EscapeResult& out, double cRe, double cIm,
                               double z0Re, double z0Im) {
    std::uint64_t n = 0;
    mandelbrotOne(maxIter, out, cRe, cIm, z0Re, z0Im, n);
}

GS_CLONES void juliaPoint(std::int32_t maxIter, EscapeResult& out, double zRe, double zIm,
                          double cRe, double cIm) {
    std::uint64_t n = 0;
    orbit(maxIter, out, cRe, cIm, zRe, zIm, n);
}

GS_CLONES void mandelbrotPointPair(std::int32_t maxIter, EscapeResult& out1, EscapeResult& out2,
                                   double c1Re, double c1Im, double c2Re, double c2Im, double z0Re,
                                   double z0Im) {
    std::uint64_t n = 0;
    mandelbrotOne(maxIter, out1, c1Re, c1Im, z0Re, z0Im, n);
    mandelbrotOne(maxIter, out2, c2Re, c2Im, z0Re, z0Im, n);
}

GS_CLONES void juliaPointPair(std::int32_t maxIter, EscapeResult& out1, EscapeResult& out2,
                              double z1Re, double z1Im, double z2Re, double z2Im, double cRe,
                              double cIm) {
    std::uint64_t n = 0;
    orbit(maxIter, out1, cRe, cIm, z1Re, z1Im, n);
    orbit(maxIter, out2, cRe, cIm, z2Re, z2Im, n);
}

GS_CLONES void escapeSpanScalar(const SpanInput& in, EscapeResult* out, std::uint64_t* iterations) {
    std::uint64_t n = 0;
    for (std::int64_t i = 0; i < in.count; ++i) {
        if (in.julia)
            orbit(in.maxIter, out[i], in.juliaRe, in.juliaIm, in.xs[i], in.y, n);
        else
            mandelbrotOne(in.maxIter, out[i], in.xs[i], in.y, 0.0, 0.0, n);
    }
    if (iterations) *iterations += n;
}

void escapeSpan(KernelKind kind, const SpanInput& in, EscapeResult* out,
                std::uint64_t* iterations) {
    if (kind == KernelKind::simd)
        escapeSpanSimd(in, out, iterations);
    else
        escapeSpanScalar(in, out, iterations);
}

}  // namespace gs
