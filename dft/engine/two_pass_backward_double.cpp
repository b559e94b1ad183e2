// Backward double-precision two- and three-pass kernels of a level.
#include "dft/engine/three_pass.h"

namespace orb::dft::ORB_KNS {

TwoPassFn<double> BackwardTwoPassD(int64_t n1, int64_t n2) { return threepass::Lookup<double, 1>(n1, n2); }

}  // namespace orb::dft::ORB_KNS
