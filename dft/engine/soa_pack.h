// A pack of W complex numbers held as one vector of real parts and one of
// imaginary parts, with the operations of cx_pack.h's packs so that the
// butterflies run on it unchanged. Complex products need no lane shuffles.
#ifndef ORB_DFT_ENGINE_SOA_PACK_H
#define ORB_DFT_ENGINE_SOA_PACK_H

#include <stdint.h>
#include <string.h>

namespace orb::dft::pack {

template <class T, int W>
struct SoaPack {
    typedef T V __attribute__((vector_size(W * sizeof(T)), aligned(sizeof(T))));
    V re, im;

    static V Load(const T *p) {
        V v;
        memcpy(&v, p, sizeof(V));
        return v;
    }
    static void Store(T *p, V v) { memcpy(p, &v, sizeof(V)); }
    // Lanes p[0], p[stride], ...
    static V Gather(const T *p, int64_t stride) {
        V v;
        for (int i = 0; i < W; ++i) v[i] = p[i * stride];
        return v;
    }
    static void Scatter(T *p, int64_t stride, V v) {
        for (int i = 0; i < W; ++i) p[i * stride] = v[i];
    }
    __attribute__((always_inline)) friend SoaPack operator+(SoaPack a, SoaPack b) { return {a.re + b.re, a.im + b.im}; }
    __attribute__((always_inline)) friend SoaPack operator-(SoaPack a, SoaPack b) { return {a.re - b.re, a.im - b.im}; }
    __attribute__((always_inline)) friend SoaPack operator*(SoaPack a, T k) { return {a.re * k, a.im * k}; }
    __attribute__((always_inline)) friend SoaPack Mul(SoaPack a, SoaPack w) {
        return {a.re * w.re - a.im * w.im, a.re * w.im + a.im * w.re};
    }
    __attribute__((always_inline)) friend SoaPack MulI(SoaPack a) { return {-a.im, a.re}; }
    __attribute__((always_inline)) friend SoaPack MulNegI(SoaPack a) { return {a.im, -a.re}; }
};

}  // namespace orb::dft::pack

#endif
