// Serial BLAS-1 kernels, one template per operation for both precisions,
// written against the packed-vector width of the level being compiled
// (simd.h). Included only by kernels.cpp, which is compiled once per level.
// Arrays that are not even element-aligned are legal input and are walked
// element by element, hence the alignment sanitizer is off for them.
#ifndef ORB_BLAS1_KERNELS_IMPL_H
#define ORB_BLAS1_KERNELS_IMPL_H

#include <stdint.h>

#include "blas1/simd.h"

#define ORB_UNALIGNED_OK __attribute__((no_sanitize("alignment")))

namespace orb::blas1::ORB_KNS {

// Start of a strided walk: a negative increment starts at the far end.
template <typename T>
inline T *WalkStart(T *p, int64_t n, int64_t inc) {
    return inc < 0 ? p + (1 - n) * inc : p;
}

template <typename T>
ORB_UNALIGNED_OK void CopyContiguous(int64_t n, const T *x, T *y) {
    using P = Packed<T>;
    constexpr int L = P::kLanes;
    int64_t i = 0;
    if (ElementAligned(y)) {
        int64_t peel = ElementsToBoundary(y);
        if (peel > n) peel = n;
        for (; i < peel; ++i) y[i] = x[i];
        for (; i + 4 * L <= n; i += 4 * L) {
            typename P::V a = P::Load(x + i), b = P::Load(x + i + L);
            typename P::V c = P::Load(x + i + 2 * L), d = P::Load(x + i + 3 * L);
            P::StoreAligned(y + i, a);
            P::StoreAligned(y + i + L, b);
            P::StoreAligned(y + i + 2 * L, c);
            P::StoreAligned(y + i + 3 * L, d);
        }
        for (; i + L <= n; i += L) P::StoreAligned(y + i, P::Load(x + i));
    }
    for (; i < n; ++i) y[i] = x[i];
}

template <typename T>
ORB_UNALIGNED_OK void Copy(const int32_t *np, const T *x, const int32_t *incxp, T *y, const int32_t *incyp) {
    const int64_t n = *np, incx = *incxp, incy = *incyp;
    if (n <= 0) return;
    // Equal unit increments of either sign pair element k with element k.
    if ((incx == 1 && incy == 1) || (incx == -1 && incy == -1)) {
        CopyContiguous(n, x, y);
        return;
    }
    const T *xs = WalkStart(x, n, incx);
    T *ys = WalkStart(y, n, incy);
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) {
        __builtin_prefetch(xs + 4 * incx, 0, 0);
        __builtin_prefetch(ys + 4 * incy, 1, 0);
        T a = xs[0], b = xs[incx], c = xs[2 * incx], d = xs[3 * incx];
        ys[0] = a;
        ys[incy] = b;
        ys[2 * incy] = c;
        ys[3 * incy] = d;
        xs += 4 * incx;
        ys += 4 * incy;
    }
    for (; i < n; ++i, xs += incx, ys += incy) *ys = *xs;
}

template <typename T>
ORB_UNALIGNED_OK void Scal(const int32_t *np, const T *alphap, T *x, const int32_t *incxp) {
    using P = Packed<T>;
    constexpr int L = P::kLanes;
    const int64_t n = *np;
    const T alpha = *alphap;
    if (n <= 0) return;
    // Scale never walks backwards: a negative increment counts as |inc|.
    const int64_t inc = *incxp < 0 ? -int64_t(*incxp) : int64_t(*incxp);
    if (inc != 1) {
        int64_t i = 0;
        for (; i + 2 <= n; i += 2, x += 2 * inc) {
            x[0] *= alpha;
            x[inc] *= alpha;
        }
        if (i < n) x[0] *= alpha;
        return;
    }
    int64_t i = 0;
    if (n >= 8 && ElementAligned(x)) {
        const int64_t peel = ElementsToBoundary(x);
        if (n >= peel + 8) {
            for (; i < peel; ++i) x[i] *= alpha;
            const typename P::V a = P::Splat(alpha);
            for (; i + 4 * L <= n; i += 4 * L) {
                P::StoreAligned(x + i, P::Mul(P::LoadAligned(x + i), a));
                P::StoreAligned(x + i + L, P::Mul(P::LoadAligned(x + i + L), a));
                P::StoreAligned(x + i + 2 * L, P::Mul(P::LoadAligned(x + i + 2 * L), a));
                P::StoreAligned(x + i + 3 * L, P::Mul(P::LoadAligned(x + i + 3 * L), a));
            }
            for (; i + L <= n; i += L) P::StoreAligned(x + i, P::Mul(P::LoadAligned(x + i), a));
        }
    }
    for (; i < n; ++i) x[i] *= alpha;
}

template <typename T>
inline T Magnitude(T v) {
    return __builtin_fabs(v);
}

// Index of maximum. The running maximum m starts at |x[0]| and is replaced
// only by a strictly greater magnitude, so the first of equal magnitudes
// wins and a NaN in x[0] (never exceeded) gives 1. The contiguous path
// finds the maximum of a block with packed max first and looks for its
// first position only when it beats m: the same answer as the plain walk.
// (A NaN inside a block may hide that block's maximum; results with NaNs
// past the first element are unspecified.)
template <typename T>
ORB_UNALIGNED_OK int32_t Iamax(const int32_t *np, const T *x, const int32_t *incxp) {
    using P = Packed<T>;
    constexpr int L = P::kLanes;
    constexpr int64_t kBlock = 512;  // elements per packed pass, a multiple of 4 * L
    const int64_t n = *np, inc = *incxp;
    if (n <= 0 || inc <= 0) return 0;
    if (n == 1) return 1;
    T m = Magnitude(x[0]);
    int64_t k = 0;
    if (inc != 1) {
        // Strided: four independent running maxima per block instead of one
        // compare-and-branch chain, then the block's first maximum.
        int64_t i = 1;
        while (i + 4 <= n) {
            const int64_t len = n - i < kBlock ? (n - i) / 4 * 4 : kBlock;
            const T *b = x + i * inc;
            T a0 = 0, a1 = 0, a2 = 0, a3 = 0;
            for (int64_t j = 0; j < len; j += 4) {
                T v0 = Magnitude(b[j * inc]), v1 = Magnitude(b[(j + 1) * inc]);
                T v2 = Magnitude(b[(j + 2) * inc]), v3 = Magnitude(b[(j + 3) * inc]);
                a0 = v0 > a0 ? v0 : a0;
                a1 = v1 > a1 ? v1 : a1;
                a2 = v2 > a2 ? v2 : a2;
                a3 = v3 > a3 ? v3 : a3;
            }
            a0 = a1 > a0 ? a1 : a0;
            a2 = a3 > a2 ? a3 : a2;
            const T block_max = a2 > a0 ? a2 : a0;
            if (block_max > m) {
                for (int64_t j = 0; j < len; ++j) {
                    if (Magnitude(b[j * inc]) == block_max) {
                        m = block_max;
                        k = i + j;
                        break;
                    }
                }
            }
            i += len;
        }
        for (const T *p = x + i * inc; i < n; ++i, p += inc) {
            T v = Magnitude(*p);
            if (v > m) { m = v; k = i; }
        }
        return int32_t(k + 1);
    }
    int64_t i = 1;
    if (ElementAligned(x)) {
        int64_t peel = 1 + ElementsToBoundary(x + 1);
        if (peel > n) peel = n;
        for (; i < peel; ++i) {
            T v = Magnitude(x[i]);
            if (v > m) { m = v; k = i; }
        }
        while (i + 4 * L <= n) {
            int64_t len = n - i < kBlock ? (n - i) / (4 * L) * (4 * L) : kBlock;
            const T *b = x + i;
            typename P::V m0 = P::Abs(P::LoadAligned(b)), m1 = P::Abs(P::LoadAligned(b + L));
            typename P::V m2 = P::Abs(P::LoadAligned(b + 2 * L)), m3 = P::Abs(P::LoadAligned(b + 3 * L));
            for (int64_t j = 4 * L; j < len; j += 4 * L) {
                m0 = P::Max(m0, P::Abs(P::LoadAligned(b + j)));
                m1 = P::Max(m1, P::Abs(P::LoadAligned(b + j + L)));
                m2 = P::Max(m2, P::Abs(P::LoadAligned(b + j + 2 * L)));
                m3 = P::Max(m3, P::Abs(P::LoadAligned(b + j + 3 * L)));
            }
            T block_max = P::HorizontalMax(P::Max(P::Max(m0, m1), P::Max(m2, m3)));
            if (block_max > m) {
                // The walk would end on the first position of block_max.
                const typename P::V target = P::Splat(block_max);
                for (int64_t j = 0; j < len; j += L) {
                    int mask = P::EqualMask(P::Abs(P::LoadAligned(b + j)), target);
                    if (mask) {
                        m = block_max;
                        k = i + j + __builtin_ctz(unsigned(mask));
                        break;
                    }
                }
            }
            i += len;
        }
    }
    for (; i < n; ++i) {
        T v = Magnitude(x[i]);
        if (v > m) { m = v; k = i; }
    }
    return int32_t(k + 1);
}

}  // namespace orb::blas1::ORB_KNS

#endif
