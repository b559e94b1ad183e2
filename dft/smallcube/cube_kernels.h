// Small-cube kernels: complete n x n x n complex transforms (n <= 10, dense
// unit-stride layout, no scaling), one straight-line set per instruction
// level. The SSE2-class set serves CpuLevel 2-5, AVX 6, AVX2+FMA 7.
#ifndef ORB_DFT_SMALLCUBE_CUBE_KERNELS_H
#define ORB_DFT_SMALLCUBE_CUBE_KERNELS_H

#include "dft/kernel_levels.h"

namespace orb::dft {

constexpr int kCubeMaxN = 10;

// in and out may be equal (in place). Arrays hold n^3 complex elements of
// the precision the kernel was picked for, element (i2, i1, i0) at
// i0 + n*i1 + n*n*i2.
using CubeKernel = void (*)(const void *in, void *out);

struct CubeKernelTable {
    CubeKernel k[2][2][kCubeMaxN + 1];  // [single?][backward?][n]
};

#define ORB_DFT_CUBE_DECLARE(lvl) \
    namespace k_##lvl {           \
    const CubeKernelTable &CubeKernels(); \
    }
ORB_DFT_KERNEL_LEVELS(ORB_DFT_CUBE_DECLARE)
#undef ORB_DFT_CUBE_DECLARE

// The set for a CpuLevel (2..7).
const CubeKernelTable &CubeKernelsForLevel(int level);

// The kernel for one transform, or null for n outside 1..kCubeMaxN.
inline CubeKernel CubeKernelFor(int level, bool single, bool backward, int n) {
    if (n < 1 || n > kCubeMaxN) return nullptr;
    return CubeKernelsForLevel(level).k[single][backward][n];
}

}  // namespace orb::dft

#endif
