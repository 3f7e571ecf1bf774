// A 2048-point forward real FFT in single precision (FFTW) whose result is packed the way the
// analyzer's absolute thresholds expect: 1024 complex values, element 0 holding the DC term in
// its real part and the Nyquist term in its imaginary part, elements 1..1023 holding bins
// 1..1023, every value twice the plain discrete Fourier transform
// X_k = sum_j x_j e^(-2 pi i j k / 2048).
#pragma once

#include <cstddef>
#include <mutex>

struct fftwf_plan_s;

namespace gs {

// FFTW's planner (making and destroying plans) is not thread-safe; everyone in the process who
// makes or destroys a plan holds this mutex. Executing a finished plan needs no lock.
std::mutex& fftwPlannerMutex();

class PackedRealFft {
public:
    static constexpr std::size_t size = 2048;
    static constexpr std::size_t halfSize = size / 2;

    // Makes the plan and its aligned arrays once; failing to make them is fatal.
    PackedRealFft();
    ~PackedRealFft();
    PackedRealFft(const PackedRealFft&) = delete;
    PackedRealFft& operator=(const PackedRealFft&) = delete;

    // The 2048 input samples, written by the caller before each transform.
    float* input() { return input_; }

    // Transforms the input into re and im (halfSize floats each) in the packed layout above.
    // Allocates nothing; one caller at a time per object.
    void forward(float* re, float* im);

private:
    float* input_ = nullptr;
    float* output_ = nullptr;  // halfSize + 1 interleaved complex values
    fftwf_plan_s* plan_ = nullptr;
};

}  // namespace gs
