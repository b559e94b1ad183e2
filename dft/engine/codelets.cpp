// Codelet lookup of a level by direction; the codelets themselves are in
// one file per precision and direction (codelets_<direction>_<type>.cpp).
#include "dft/engine/codelet_rows.h"

namespace orb::dft::ORB_KNS {

SmallFn<double> SmallCodeletD(int64_t n, int sign) { return sign < 0 ? ForwardCodeletD(n) : BackwardCodeletD(n); }
SmallFn<float> SmallCodeletF(int64_t n, int sign) { return sign < 0 ? ForwardCodeletF(n) : BackwardCodeletF(n); }

}  // namespace orb::dft::ORB_KNS
