// Complex-to-real single-precision codelets of a level.
#include "dft/engine/real_codelets.h"

namespace orb::dft::ORB_KNS {

C2RFn<float> C2RCodeletF(int64_t n) { return rcodelet::LookupC2R<float>(n); }

}  // namespace orb::dft::ORB_KNS
