// Real-to-complex single-precision codelets of a level.
#include "dft/engine/real_codelets.h"

namespace orb::dft::ORB_KNS {

R2CFn<float> R2CCodeletF(int64_t n) { return rcodelet::LookupR2C<float>(n); }

}  // namespace orb::dft::ORB_KNS
