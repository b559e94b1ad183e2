// Shared description of one complex FFT of length n as a list of Stockham
// stages, built by the plan code and run by the per-level kernels.
#ifndef ORB_DFT_ENGINE_STAGE_PLAN_H
#define ORB_DFT_ENGINE_STAGE_PLAN_H

#include <stdint.h>

namespace orb::dft {

template <class T>
struct Cx {
    T re, im;
};

// Stage of radix r over current length r*m with stride s (s*r*m == n):
// reads x[q + s*(p + k*m)], writes y[q + s*(r*p + t)] times w^(p*t).
struct StageInfo {
    int radix;
    int64_t m, s;
    int64_t tw;    // offset of this stage's twiddles w^(p t): at [p*(r-1) + t-1],
                   // or at [(t-1)*m + p] for the first stage (s == 1)
    int64_t rtab;  // generic radix only: offset of w_r^j, j < r
};

constexpr int kMaxStages = 64;

template <class T>
struct StagePlan {
    int64_t n = 1;
    int sign = -1;
    int nstages = 0;
    StageInfo st[kMaxStages];
    const Cx<T> *tw = nullptr;  // twiddles of every stage
};

// Radices with straight-line butterflies; any other prime factor up to
// kMaxGenericRadix goes through the generic odd-radix butterfly.
constexpr int kMaxGenericRadix = 61;

constexpr bool HasFixedButterfly(int r) {
    return r == 2 || r == 3 || r == 4 || r == 5 || r == 7 || r == 8 || r == 11 || r == 13 ||
           r == 16 || r == 6 || r == 10 || r == 12;
}

}  // namespace orb::dft

#endif
