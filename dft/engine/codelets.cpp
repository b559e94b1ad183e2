// Codelet and two-pass lookup of a level by direction; the kernels
// themselves are in one file per precision and direction
// (codelets_<direction>_<type>.cpp, two_pass_<direction>_<type>.cpp).
#include "dft/engine/two_pass.h"

namespace orb::dft::ORB_KNS {

SmallFn<double> SmallCodeletD(int64_t n, int sign) { return sign < 0 ? ForwardCodeletD(n) : BackwardCodeletD(n); }
SmallFn<float> SmallCodeletF(int64_t n, int sign) { return sign < 0 ? ForwardCodeletF(n) : BackwardCodeletF(n); }
TwoPassFn<double> TwoPassD(int64_t n1, int64_t n2, int sign) {
    return sign < 0 ? ForwardTwoPassD(n1, n2) : BackwardTwoPassD(n1, n2);
}
TwoPassFn<float> TwoPassF(int64_t n1, int64_t n2, int sign) {
    return sign < 0 ? ForwardTwoPassF(n1, n2) : BackwardTwoPassF(n1, n2);
}

}  // namespace orb::dft::ORB_KNS
