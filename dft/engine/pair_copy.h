// Real and imaginary arrays joined into interleaved pairs and split back,
// as plain loops the compiler vectorises at each level (whole-vector
// shuffles and stores); in the level's namespace like every kernel.
#ifndef ORB_DFT_ENGINE_PAIR_COPY_H
#define ORB_DFT_ENGINE_PAIR_COPY_H

#include <stdint.h>
#include <string.h>

#include "dft/engine/cx_pack.h"
#include "dft/engine/stage_plan.h"

namespace orb::dft::ORB_KNS::pairs {

template <class T>
__attribute__((always_inline)) inline void Join(const T *__restrict re, const T *__restrict im, Cx<T> *dst,
                                                int64_t n) {
    T *__restrict d = reinterpret_cast<T *>(dst);
    int64_t j = 0;
    if constexpr (sizeof(T) == 8 && pack::kVectorBytes == 32) {
        // In-lane interleave, then the lanes' halves: four shuffles for two
        // vectors of pairs (the compiler's own sequence took six).
        typedef T V __attribute__((vector_size(32), aligned(8)));
        for (; j + 4 <= n; j += 4) {
            V a, b;
            memcpy(&a, re + j, sizeof a);
            memcpy(&b, im + j, sizeof b);
            const V lo = __builtin_shufflevector(a, b, 0, 4, 2, 6), hi = __builtin_shufflevector(a, b, 1, 5, 3, 7);
            const V p0 = __builtin_shufflevector(lo, hi, 0, 1, 4, 5), p1 = __builtin_shufflevector(lo, hi, 2, 3, 6, 7);
            memcpy(d + 2 * j, &p0, sizeof p0);
            memcpy(d + 2 * j + 4, &p1, sizeof p1);
        }
    }
    for (; j < n; ++j) d[2 * j] = re[j], d[2 * j + 1] = im[j];
}

template <class T>
__attribute__((always_inline)) inline void Split(const Cx<T> *src, T *__restrict re, T *__restrict im, int64_t n) {
    const T *__restrict s = reinterpret_cast<const T *>(src);
    for (int64_t j = 0; j < n; ++j) re[j] = s[2 * j], im[j] = s[2 * j + 1];
}

}  // namespace orb::dft::ORB_KNS::pairs

#endif
