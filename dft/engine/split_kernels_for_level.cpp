// Level table of the split-storage kernels: CpuLevel 2-5 share the
// SSE2-class build, 6 takes AVX and 7 AVX2+FMA.
#include "dft/engine/split_kernels.h"

namespace orb::dft {

namespace {

#define ORB_DFT_SPLIT_SET(lvl)                                                                              \
    const SplitKernels kSplit_##lvl{&k_##lvl::ForwardSplitCodeletD, &k_##lvl::BackwardSplitCodeletD,       \
                                    &k_##lvl::ForwardSplitPassD,    &k_##lvl::BackwardSplitPassD,          \
                                    &k_##lvl::JoinD,                &k_##lvl::SplitD,                      \
                                    &k_##lvl::JoinF,                &k_##lvl::SplitF,                      \
                                    k_##lvl::SplitLanesD()};
ORB_DFT_KERNEL_LEVELS(ORB_DFT_SPLIT_SET)
#undef ORB_DFT_SPLIT_SET

}  // namespace

const SplitKernels &SplitKernelsForEngine(int level) {
    ORB_DFT_PICK_LEVEL(level, kSplit_, );
}

}  // namespace orb::dft
