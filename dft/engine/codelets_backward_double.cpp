// Backward double-precision codelets of a level.
#include "dft/engine/codelet_rows.h"

namespace orb::dft::ORB_KNS {
namespace codelet {
#define ORB_DFT_ROWS_KEYWORD extern template
#define ORB_DFT_ROWS_TYPE double
ORB_DFT_CODELETS(ORB_DFT_FORWARD_ROWS)
#undef ORB_DFT_ROWS_TYPE
#undef ORB_DFT_ROWS_KEYWORD
}  // namespace codelet

SmallFn<double> BackwardCodeletD(int64_t n) { return codelet::Lookup<double, 1>(n); }

}  // namespace orb::dft::ORB_KNS
