// The cycle detector's confirmation step, replayed exactly: for the SIMD kernel, which does not
// carry the running product B (the product of 2z since the last match) from step to step and
// usually decides a confirmation on an estimate of B instead (kernel_simd.cpp).
#pragma once

#include <cstdint>

namespace gs::kernel {

// What a lane knows about its candidate cycle when a confirmation is due.
struct CycleCandidate {
    double zr = 0, zi = 0;        // z at the first match, where a replay starts
    double sr = 0, si = 0;        // A at the first match (S)
    std::int64_t firstMatch = 0;  // step of the first match
    std::int64_t period = 0;      // confirmations fall at firstMatch + period, + 2 * period, ...
};

struct Confirmation {
    bool stable = false;  // the three tests hold: the confirmation counts
    double br = 0, bi = 0;  // B, the multiplier the next confirmation is compared with
};

// Moves z on by `steps` iterations of the orbit of c, with the kernels' own operations: from a
// checkpoint's z to a later step's, bit for bit.
void advanceOrbit(double& zr, double& zi, std::int64_t steps, double cr, double ci);

// The confirmation due at `step` for a lane of parameter c, exactly as the scalar kernel makes
// it: the orbit is run again from the first match with the scalar kernel's operations in its
// order, B restarting at each earlier confirmation (which all held, or there would be no
// candidate), so B and the compared multiplier T come out bit for bit.
Confirmation replayConfirmation(const CycleCandidate& cand, std::int64_t step, double cr,
                                double ci);

}  // namespace gs::kernel
