// Picks the small-cube kernel set for a CpuLevel.
#include "dft/smallcube/cube_kernels.h"

namespace orb::dft {

const CubeKernelTable &CubeKernelsForLevel(int level) {
    ORB_DFT_PICK_LEVEL(level, k_, ::CubeKernels());
}

}  // namespace orb::dft
