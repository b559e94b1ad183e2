// Backward double-precision two-pass kernels of a level.
#include "dft/engine/two_pass.h"

namespace orb::dft::ORB_KNS {

TwoPassFn<double> BackwardTwoPassD(int64_t n1, int64_t n2) { return twopass::Lookup<double, 1>(n1, n2); }

}  // namespace orb::dft::ORB_KNS
