// Level table of the stage kernels: CpuLevel 2-5 share the SSE2-class
// build, 6 takes AVX and 7 AVX2+FMA.
#include "dft/engine/stage_kernels.h"

namespace orb::dft {

#define ORB_DFT_KERNEL_SET(lvl) constexpr StageKernels kSet_##lvl{&k_##lvl::ExecStagesD, &k_##lvl::ExecStagesF, \
                                        &k_##lvl::PairedStagesD, &k_##lvl::PairedStagesF, \
                                        &k_##lvl::PairedForwardD, &k_##lvl::PairedForwardF, \
                                        &k_##lvl::SmallCodeletD, &k_##lvl::SmallCodeletF, \
                                        &k_##lvl::TwoPassD, &k_##lvl::TwoPassF, \
                                        &k_##lvl::PointMulD, &k_##lvl::PointMulF, \
                                        &k_##lvl::TwiddleColumnsD, &k_##lvl::ConvColumnsD, \
                                        &k_##lvl::RowsDftD, &k_##lvl::RowsDftF, \
                                        &k_##lvl::SquareBlockD, &k_##lvl::SquareBlockF};
ORB_DFT_KERNEL_LEVELS(ORB_DFT_KERNEL_SET)
#undef ORB_DFT_KERNEL_SET

const StageKernels &KernelsForLevel(int level) {
    ORB_DFT_PICK_LEVEL(level, kSet_, );
}

}  // namespace orb::dft
