// Backward double-precision codelets of a level.
#include "dft/engine/codelet_rows.h"

namespace orb::dft::ORB_KNS {

SmallFn<double> BackwardCodeletD(int64_t n) { return codelet::Lookup<double, 1>(n); }

}  // namespace orb::dft::ORB_KNS
