// Forward single-precision codelets of a level.
#include "dft/engine/codelet_rows.h"

namespace orb::dft::ORB_KNS {

SmallFn<float> ForwardCodeletF(int64_t n) { return codelet::Lookup<float, -1>(n); }

}  // namespace orb::dft::ORB_KNS
