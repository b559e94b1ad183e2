// Picks the small-cube kernel set for a CpuLevel.
#include "dft/smallcube/cube_kernels.h"

namespace orb::dft {

const CubeKernelTable &CubeKernelsForLevel(int level) {
    if (level >= 7) return k_avx2::CubeKernels();
    if (level == 6) return k_avx::CubeKernels();
    return k_sse2::CubeKernels();
}

}  // namespace orb::dft
