// Level table of the real codelets: CpuLevel 2-5 share the SSE2-class
// build, 6 takes AVX and 7 AVX2+FMA (as KernelsForLevel).
#include "dft/engine/real_kernels.h"

namespace orb::dft {

#define ORB_DFT_REAL_SET(lvl)                                                                        \
    constexpr RealKernels kReal_##lvl{&k_##lvl::R2CCodeletD,  &k_##lvl::C2RCodeletD, &k_##lvl::R2CCodeletF, \
                                      &k_##lvl::C2RCodeletF, &k_##lvl::RealSplitD,  &k_##lvl::RealSplitF};
ORB_DFT_KERNEL_LEVELS(ORB_DFT_REAL_SET)
#undef ORB_DFT_REAL_SET

const RealKernels &RealKernelsForLevel(int level) {
    ORB_DFT_PICK_LEVEL(level, kReal_, );
}

}  // namespace orb::dft
