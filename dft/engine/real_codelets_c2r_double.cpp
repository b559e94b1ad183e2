// Complex-to-real double-precision codelets of a level.
#include "dft/engine/real_codelets.h"

namespace orb::dft::ORB_KNS {

C2RFn<double> C2RCodeletD(int64_t n) { return rcodelet::LookupC2R<double>(n); }

}  // namespace orb::dft::ORB_KNS
