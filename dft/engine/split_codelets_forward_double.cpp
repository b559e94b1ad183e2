// Forward double-precision split-storage codelets and three-pass
// kernels of a level.
#include "dft/engine/split_codelet_rows.h"
#include "dft/engine/split_three_pass.h"

namespace orb::dft::ORB_KNS {

SplitFn<double> ForwardSplitCodeletD(int64_t n) { return codelet::SplitLookup<double, -1>(n); }

SplitPassFn<double> ForwardSplitPassD(int64_t n1, int64_t n2) {
    return splitpass::Lookup<double, -1>(n1, n2);
}

}  // namespace orb::dft::ORB_KNS
