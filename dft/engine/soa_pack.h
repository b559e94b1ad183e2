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
    // Whether Transpose has a shuffle network for this width.
    static constexpr bool kTransposes = W == 2 || W == 4;
    // v[c] lane i <-> v[i] lane c: rows of W consecutive elements become
    // columns in W loads and 2W shuffles (W = 2 or 4).
    __attribute__((always_inline)) static void Transpose(V *v) {
        if constexpr (W == 2) {
            const V a = v[0], b = v[1];
            v[0] = __builtin_shufflevector(a, b, 0, 2);
            v[1] = __builtin_shufflevector(a, b, 1, 3);
        } else if constexpr (W == 4) {
            const V t0 = __builtin_shufflevector(v[0], v[1], 0, 4, 2, 6);
            const V t1 = __builtin_shufflevector(v[0], v[1], 1, 5, 3, 7);
            const V t2 = __builtin_shufflevector(v[2], v[3], 0, 4, 2, 6);
            const V t3 = __builtin_shufflevector(v[2], v[3], 1, 5, 3, 7);
            v[0] = __builtin_shufflevector(t0, t2, 0, 1, 4, 5);
            v[1] = __builtin_shufflevector(t1, t3, 0, 1, 4, 5);
            v[2] = __builtin_shufflevector(t0, t2, 2, 3, 6, 7);
            v[3] = __builtin_shufflevector(t1, t3, 2, 3, 6, 7);
        }
    }
    // Both parts of w in every lane.
    template <class C>
    static SoaPack Bcast(const C &w) {
        return {V{} + w.re, V{} + w.im};
    }
    // Lane c as the complex number at p[c * stride] (interleaved pairs):
    // two unpacks, four half-vector stores. Only the four-lane packs of the
    // split three-pass kernels use it.
    template <class C>
    __attribute__((always_inline)) void Scatter(C *p, int64_t stride) const {
        static_assert(sizeof(C) == 2 * sizeof(T) && W == 4);
        typedef T H __attribute__((vector_size(2 * sizeof(T)), aligned(sizeof(T))));
        const V lo = __builtin_shufflevector(re, im, 0, 4, 2, 6), hi = __builtin_shufflevector(re, im, 1, 5, 3, 7);
        const H h0 = __builtin_shufflevector(lo, lo, 0, 1), h1 = __builtin_shufflevector(hi, hi, 0, 1);
        const H h2 = __builtin_shufflevector(lo, lo, 2, 3), h3 = __builtin_shufflevector(hi, hi, 2, 3);
        memcpy(p, &h0, sizeof(H));
        memcpy(p + stride, &h1, sizeof(H));
        memcpy(p + 2 * stride, &h2, sizeof(H));
        memcpy(p + 3 * stride, &h3, sizeof(H));
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
