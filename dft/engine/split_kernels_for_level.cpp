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
ORB_DFT_SPLIT_SET(sse2)
ORB_DFT_SPLIT_SET(avx)
ORB_DFT_SPLIT_SET(avx2)
#undef ORB_DFT_SPLIT_SET

}  // namespace

const SplitKernels &SplitKernelsForEngine(int level) {
    if (level >= 7) return kSplit_avx2;
    if (level == 6) return kSplit_avx;
    return kSplit_sse2;
}

}  // namespace orb::dft
