#include "sound/packed_fft.h"

#include <fftw3.h>

#include "core/fatal.h"

namespace gs {

std::mutex& fftwPlannerMutex() {
    static std::mutex mutex;
    return mutex;
}

PackedRealFft::PackedRealFft() {
    input_ = fftwf_alloc_real(size);
    output_ = reinterpret_cast<float*>(fftwf_alloc_complex(halfSize + 1));
    if (!input_ || !output_) fatal("cannot allocate the FFT arrays");
    // FFTW_ESTIMATE plans without timing trial runs: quick, and the same plan every time.
    std::lock_guard<std::mutex> planner(fftwPlannerMutex());
    plan_ = fftwf_plan_dft_r2c_1d(static_cast<int>(size), input_,
                                  reinterpret_cast<fftwf_complex*>(output_), FFTW_ESTIMATE);
    if (!plan_) fatal("cannot make the FFT plan");
}

PackedRealFft::~PackedRealFft() {
    {
        std::lock_guard<std::mutex> planner(fftwPlannerMutex());
        fftwf_destroy_plan(plan_);
    }
    fftwf_free(output_);
    fftwf_free(input_);
}

void PackedRealFft::forward(float* re, float* im) {
    fftwf_execute(plan_);
    // FFTW gives the plain transform for bins 0..1024; doubling a float is exact.
    re[0] = 2.0f * output_[0];
    im[0] = 2.0f * output_[2 * halfSize];
    for (std::size_t k = 1; k < halfSize; ++k) {
        re[k] = 2.0f * output_[2 * k];
        im[k] = 2.0f * output_[2 * k + 1];
    }
}

}  // namespace gs
