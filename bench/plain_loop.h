// The yardstick for the escape-time kernel: a plain AVX-512 loop, eight pixels per vector,
// that carries z, the derivative and the orbit trap with the kernel's own fused arithmetic and
// refills a lane as soon as its point escapes. It has no cycle detector, so every interior
// point outside the cardioid and the period-2 bulb runs to the ceiling. Its escaped pixels
// match the kernel's results bit for bit (the benchmark checks this before timing).
#pragma once

#include <immintrin.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "core/kernel.h"

namespace gs::bench {

#define GS_AVX512 [[gnu::target("avx512f,avx512dq")]]

struct PlainLanes {
    alignas(64) double zr[8], zi[8], dr[8], di[8], trap[8], cr[8], ci[8], step[8], r2[8];
    std::int64_t pixel[8];
};

// Escape data as the kernel writes it (same formulas), or the interior result at the ceiling.
inline void plainFinish(const PlainLanes& s, int l, std::int32_t maxIter, EscapeResult& out) {
    const auto k = static_cast<std::int64_t>(s.step[l]);
    if (s.r2[l] < 65536.0) {
        out = {static_cast<double>(maxIter), 0.0, 0.0};
        return;
    }
    out.nu = k < maxIter ? static_cast<double>(k + 1) + std::log(std::log(s.r2[l]) * 0.5) / -0.6931471805599453
                         : maxIter - 0.5;
    const double dMag = std::sqrt(std::fma(s.dr[l], s.dr[l], s.di[l] * s.di[l]));
    const double zMag = std::sqrt(s.r2[l]);
    out.distance = std::isfinite(dMag) ? 2.0 * zMag * std::log(zMag) / (dMag + 1e-12) : 0.0;
    out.trapDistance = s.trap[l];
}

// Loads the next pixel that needs iterating into lane l (or parks it when the span is done).
inline void plainLoad(const SpanInput& in, std::int64_t& next, PlainLanes& s, int l,
                      EscapeResult* out) {
    while (next < in.count) {
        const std::int64_t i = next++;
        if (inInteriorShortcut(in.xs[i], in.y)) {
            out[i] = {static_cast<double>(in.maxIter), 0.0, 0.0};
            continue;
        }
        s.zr[l] = s.zi[l] = s.dr[l] = s.di[l] = s.step[l] = s.r2[l] = 0.0;
        s.trap[l] = std::numeric_limits<double>::infinity();
        s.cr[l] = in.xs[i];
        s.ci[l] = in.y;
        s.pixel[l] = i;
        return;
    }
    s.zr[l] = s.zi[l] = s.cr[l] = s.ci[l] = s.dr[l] = s.di[l] = s.step[l] = 0.0;
    s.pixel[l] = -1;
}

// A Mandelbrot span (maxIter >= 1). Returns the iterations made.
GS_AVX512 inline std::uint64_t plainSpan(const SpanInput& in, EscapeResult* out) {
    PlainLanes s;
    std::int64_t next = 0;
    std::uint64_t iterations = 0;
    for (int l = 0; l < 8; ++l) plainLoad(in, next, s, l, out);
    const __m512d one = _mm512_set1_pd(1.0), bailout = _mm512_set1_pd(65536.0);
    const __m512d ceiling = _mm512_set1_pd(in.maxIter);
    __m512d zr = _mm512_load_pd(s.zr), zi = _mm512_load_pd(s.zi), dr = _mm512_load_pd(s.dr),
            di = _mm512_load_pd(s.di), trap = _mm512_load_pd(s.trap), cr = _mm512_load_pd(s.cr),
            ci = _mm512_load_pd(s.ci), step = _mm512_load_pd(s.step);
    int active = 0;
    for (int l = 0; l < 8; ++l) active += s.pixel[l] >= 0;
    while (active > 0) {
        step = _mm512_add_pd(step, one);
        const __m512d twoRe = _mm512_add_pd(zr, zr);
        const __m512d nzr = _mm512_fmadd_pd(zr, zr, _mm512_fnmadd_pd(zi, zi, cr));
        const __m512d nzi = _mm512_fmadd_pd(twoRe, zi, ci);
        const __m512d x = _mm512_fmsub_pd(zr, dr, _mm512_mul_pd(zi, di));
        const __m512d y = _mm512_fmadd_pd(zr, di, _mm512_mul_pd(zi, dr));
        dr = _mm512_add_pd(_mm512_add_pd(x, x), one);
        di = _mm512_add_pd(y, y);
        // (the masked forms avoid GCC 12's false uninitialised warning on the unmasked ones)
        trap = _mm512_mask_min_pd(trap, 0xFF, trap, _mm512_mask_range_pd(nzr, 0xFF, nzr, nzi, 0x0A));
        const __m512d r2 = _mm512_fmadd_pd(nzr, nzr, _mm512_mul_pd(nzi, nzi));
        zr = nzr;
        zi = nzi;
        const __mmask8 done = _mm512_cmp_pd_mask(r2, bailout, _CMP_GE_OQ) |
                              _mm512_cmp_pd_mask(step, ceiling, _CMP_EQ_OQ);
        if (__builtin_expect(done == 0, 1)) continue;
        _mm512_store_pd(s.zr, zr), _mm512_store_pd(s.zi, zi), _mm512_store_pd(s.dr, dr);
        _mm512_store_pd(s.di, di), _mm512_store_pd(s.trap, trap), _mm512_store_pd(s.cr, cr);
        _mm512_store_pd(s.ci, ci), _mm512_store_pd(s.step, step), _mm512_store_pd(s.r2, r2);
        for (int l = 0; l < 8; ++l) {
            if (!((done >> l) & 1) || s.pixel[l] < 0) continue;
            iterations += static_cast<std::uint64_t>(s.step[l]);
            plainFinish(s, l, in.maxIter, out[s.pixel[l]]);
            plainLoad(in, next, s, l, out);
            active -= s.pixel[l] < 0;
        }
        zr = _mm512_load_pd(s.zr), zi = _mm512_load_pd(s.zi), dr = _mm512_load_pd(s.dr);
        di = _mm512_load_pd(s.di), trap = _mm512_load_pd(s.trap), cr = _mm512_load_pd(s.cr);
        ci = _mm512_load_pd(s.ci), step = _mm512_load_pd(s.step);
    }
    return iterations;
}

#undef GS_AVX512

}  // namespace gs::bench
