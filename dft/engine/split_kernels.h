// Per-level kernels for complex data held as separate real and imaginary
// arrays: straight-line codelets that read and write the two arrays where
// they lie (vectors hold one part of several rows or columns, so no join
// to interleaved pairs is needed), and the vectorised joins and splits
// between the two arrays and interleaved pairs for everything else.
#ifndef ORB_DFT_ENGINE_SPLIT_KERNELS_H
#define ORB_DFT_ENGINE_SPLIT_KERNELS_H

#include <stdint.h>

#include "dft/engine/stage_plan.h"
#include "dft/kernel_levels.h"

namespace orb::dft {

// Row r (r < rows), elements xs / ys apart: y[r*yd + k*ys] = scale *
// DFT(x[r*xd + j*xs]) on both parts; x may equal y when the layouts agree.
template <class T>
using SplitFn = void (*)(const T *xr, const T *xi, T *yr, T *yi, T scale, int64_t rows, int64_t xd, int64_t yd,
                         int64_t xs, int64_t ys);

// n = n1 * n2 as the three-pass kernels run it, reading and writing split
// parts (contiguous); tw as three_pass.h says, work n elements.
template <class T>
using SplitPassFn = void (*)(const T *xr, const T *xi, T *yr, T *yi, Cx<T> *work, const Cx<T> *tw, T scale);

#define ORB_DFT_SPLIT_DECLS                                                                  \
    SplitFn<double> ForwardSplitCodeletD(int64_t n);                                         \
    SplitFn<double> BackwardSplitCodeletD(int64_t n);                                        \
    SplitPassFn<double> ForwardSplitPassD(int64_t n1, int64_t n2);                           \
    SplitPassFn<double> BackwardSplitPassD(int64_t n1, int64_t n2);                          \
    void JoinD(const double *re, const double *im, Cx<double> *dst, int64_t n);              \
    void SplitD(const Cx<double> *src, double *re, double *im, int64_t n);                  \
    void JoinF(const float *re, const float *im, Cx<float> *dst, int64_t n);                 \
    void SplitF(const Cx<float> *src, float *re, float *im, int64_t n);                     \
    int SplitLanesD();

#define ORB_DFT_DECLARE_SPLIT_LEVEL(lvl) \
    namespace k_##lvl {                  \
    ORB_DFT_SPLIT_DECLS                  \
    }
ORB_DFT_KERNEL_LEVELS(ORB_DFT_DECLARE_SPLIT_LEVEL)
#undef ORB_DFT_DECLARE_SPLIT_LEVEL

struct SplitKernels {
    decltype(&k_sse2::ForwardSplitCodeletD) forward_d;
    decltype(&k_sse2::BackwardSplitCodeletD) backward_d;
    decltype(&k_sse2::ForwardSplitPassD) forward_pass_d;
    decltype(&k_sse2::BackwardSplitPassD) backward_pass_d;
    decltype(&k_sse2::JoinD) join_d;
    decltype(&k_sse2::SplitD) split_d;
    decltype(&k_sse2::JoinF) join_f;
    decltype(&k_sse2::SplitF) split_f;
    int lanes_d;  // rows a double codelet runs per vector

    // Codelet for length n and direction `sign` (null when n has none).
    template <class T>
    SplitFn<T> Codelet(int64_t n, int sign) const {
        if constexpr (sizeof(T) == 8) return sign < 0 ? forward_d(n) : backward_d(n);
        else return nullptr;
    }

    // Three-pass kernel for n1 x n2 (null when the pair has none).
    template <class T>
    SplitPassFn<T> Pass(int64_t n1, int64_t n2, int sign) const {
        if constexpr (sizeof(T) == 8) return sign < 0 ? forward_pass_d(n1, n2) : backward_pass_d(n1, n2);
        else return nullptr;
    }

    // Contiguous n elements: parts -> interleaved pairs, and back.
    template <class T>
    void Join(const T *re, const T *im, Cx<T> *dst, int64_t n) const {
        if constexpr (sizeof(T) == 8) join_d(re, im, dst, n);
        else join_f(re, im, dst, n);
    }
    template <class T>
    void Split(const Cx<T> *src, T *re, T *im, int64_t n) const {
        if constexpr (sizeof(T) == 8) split_d(src, re, im, n);
        else split_f(src, re, im, n);
    }
};

const SplitKernels &SplitKernelsForEngine(int level);

}  // namespace orb::dft

#endif
