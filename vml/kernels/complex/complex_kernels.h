// Declarations of the complex and linear-fraction kernels of one level
// namespace (X-macro), as for the arithmetic kernels.
#ifndef ORB_VML_COMPLEX_KERNELS_H
#define ORB_VML_COMPLEX_KERNELS_H

#include "vml/kernels/arith/arith_kernels.h"

#define VML_COMPLEX_KERNELS(X)                                         \
    VML_COMPLEX_ARITH_KERNELS(X)                                       \
    X(vsLinearFrac, VmlLinearFracKernelS)                              \
    X(vdLinearFrac, VmlLinearFracKernelD)

VML_DECLARE_LEVEL(k_generic, VML_COMPLEX_KERNELS)
VML_DECLARE_LEVEL(k_sse2, VML_COMPLEX_KERNELS)
VML_DECLARE_LEVEL(k_sse42, VML_COMPLEX_KERNELS)
VML_DECLARE_LEVEL(k_avx, VML_COMPLEX_KERNELS)
VML_DECLARE_LEVEL(k_avx2, VML_COMPLEX_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_generic, VML_COMPLEX_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_sse2, VML_COMPLEX_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_sse42, VML_COMPLEX_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_avx, VML_COMPLEX_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_avx2, VML_COMPLEX_ARITH_KERNELS)

#endif
