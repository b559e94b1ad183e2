// Per-level entry points of the straight-line real transforms of short
// lengths (real_codelets.h), and the table that picks a level's set.
#ifndef ORB_DFT_ENGINE_REAL_KERNELS_H
#define ORB_DFT_ENGINE_REAL_KERNELS_H

#include "dft/engine/stage_kernels.h"

namespace orb::dft {

// Rows r < rows of a real transform of length n: R2C reads n reals
// x[r*xd + j*xs] and writes the n/2+1 bins y[r*yd + k*ys] (complex
// elements); C2R reads n/2+1 complex elements and writes n reals. Strides
// count each side's own elements. Every row is read before it is written,
// so the padded in-place layout works.
template <class T>
using R2CFn = void (*)(const T *x, Cx<T> *y, T scale, int64_t rows, int64_t xd, int64_t yd, int64_t xs,
                       int64_t ys);
template <class T>
using C2RFn = void (*)(const Cx<T> *x, T *y, T scale, int64_t rows, int64_t xd, int64_t yd, int64_t xs,
                       int64_t ys);

// The pair step of an even-length real transform on the half-length
// complex spectrum (R2C after the FFT, S = -1; C2R before it, S = +1): for
// 1 <= k < h-k, with a = src[k], b = conj src[h-k], e = a + b and
// t = u[k] (a - b), u[k] = S i w^k: dst[k] = (e + t) f, dst[h-k] =
// conj(e - t) f. Each pair is read before it is written, so dst may be src.
template <class T>
using RealSplitFn = void (*)(const Cx<T> *src, Cx<T> *dst, const Cx<T> *u, int64_t h, T f);

// Entries of the pair step's table u (every k with 2k < h).
constexpr int64_t RealSplitEntries(int64_t h) { return (h + 1) / 2; }

// Codelets: null for lengths without one.
#define ORB_DFT_REAL_DECLS                             \
    R2CFn<double> R2CCodeletD(int64_t n);             \
    C2RFn<double> C2RCodeletD(int64_t n);             \
    R2CFn<float> R2CCodeletF(int64_t n);              \
    C2RFn<float> C2RCodeletF(int64_t n);              \
    RealSplitFn<double> RealSplitD();                 \
    RealSplitFn<float> RealSplitF();

#define ORB_DFT_DECLARE_REAL_LEVEL(lvl) \
    namespace k_##lvl {                 \
    ORB_DFT_REAL_DECLS                  \
    }
ORB_DFT_KERNEL_LEVELS(ORB_DFT_DECLARE_REAL_LEVEL)
#undef ORB_DFT_DECLARE_REAL_LEVEL

struct RealKernels {
    decltype(&k_sse2::R2CCodeletD) r2c_d;
    decltype(&k_sse2::C2RCodeletD) c2r_d;
    decltype(&k_sse2::R2CCodeletF) r2c_f;
    decltype(&k_sse2::C2RCodeletF) c2r_f;
    decltype(&k_sse2::RealSplitD) split_d;
    decltype(&k_sse2::RealSplitF) split_f;

    template <class T>
    R2CFn<T> R2C(int64_t n) const {
        if constexpr (sizeof(T) == 8) return r2c_d(n);
        else return r2c_f(n);
    }
    template <class T>
    C2RFn<T> C2R(int64_t n) const {
        if constexpr (sizeof(T) == 8) return c2r_d(n);
        else return c2r_f(n);
    }
    template <class T>
    RealSplitFn<T> Split() const {
        if constexpr (sizeof(T) == 8) return split_d();
        else return split_f();
    }
};

// Set for a CpuLevel, as KernelsForLevel picks the complex ones.
const RealKernels &RealKernelsForLevel(int level);

}  // namespace orb::dft

#endif
