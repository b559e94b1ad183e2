// Real-to-complex double-precision codelets of a level.
#include "dft/engine/real_codelets.h"

namespace orb::dft::ORB_KNS {

R2CFn<double> R2CCodeletD(int64_t n) { return rcodelet::LookupR2C<double>(n); }

}  // namespace orb::dft::ORB_KNS
