// Kernel set by CpuLevel and the kind selector of the split 1-D plan.
#include "dft/split1d/split1d_kernels.h"

namespace orb::dft {

const SplitKernelTable &SplitKernelsForLevel(int level) {
    ORB_DFT_PICK_LEVEL(level, k_, ::SplitKernels());
}

// Lowers the starting kind to the most specialised kind that handles n.
int32_t SplitKernelKind(int32_t n, int32_t start_kind) {
    int32_t kind = start_kind;
    if (kind > kSplitKindEngine) kind = kSplitKindEngine;
    if (kind > kSplitKindStraight && n >= 1 && n <= kSplitStraightMaxN) kind = kSplitKindStraight;
    return kind;
}

}  // namespace orb::dft
