// Straight-line kernels for one-dimensional transforms of double data held
// as separate real and imaginary arrays (lengths 1..10, any strides), one
// set per instruction level: SSE2-class for CpuLevel 2-5, AVX 6, AVX2+FMA 7.
#ifndef ORB_DFT_SPLIT1D_SPLIT1D_KERNELS_H
#define ORB_DFT_SPLIT1D_SPLIT1D_KERNELS_H

#include <stdint.h>

#include "dft/kernel_levels.h"

namespace orb::dft {

constexpr int kSplitStraightMaxN = 10;

// Transforms n elements read at in_re/in_im[j * is] and written, times
// `scale`, at out_re/out_im[k * os]. In place when the pointers and strides agree.
using SplitKernel = void (*)(const double *in_re, const double *in_im, double *out_re,
                             double *out_im, int64_t is, int64_t os, double scale);

struct SplitKernelTable {
    SplitKernel k[2][kSplitStraightMaxN + 1];  // [backward?][n]
};

#define ORB_DFT_SPLIT_DECLARE(lvl)          \
    namespace k_##lvl {                     \
    const SplitKernelTable &SplitKernels(); \
    }
ORB_DFT_KERNEL_LEVELS(ORB_DFT_SPLIT_DECLARE)
#undef ORB_DFT_SPLIT_DECLARE

const SplitKernelTable &SplitKernelsForLevel(int level);

// Kernel kinds of the split one-dimensional plan. The selector starts from
// kSplitKindStart (no assumption about the length) and lowers the kind while
// a more specialised one fits:
//   4  engine: the transform engine on split arrays, any length; the scale
//      factors are folded into the engine plans, so the plan's own scales
//      stay 1.0
//   3  straight-line kernel of this table (n <= kSplitStraightMaxN); the
//      kernel multiplies by the plan's scale factor
constexpr int32_t kSplitKindStart = 8;
constexpr int32_t kSplitKindEngine = 4;
constexpr int32_t kSplitKindStraight = 3;
int32_t SplitKernelKind(int32_t n, int32_t start_kind);

}  // namespace orb::dft

#endif
