// Contiguous joins of real and imaginary arrays into interleaved pairs and
// splits back, compiled per level so that they move whole vectors.
#include "dft/engine/cx_pack.h"
#include "dft/engine/pair_copy.h"
#include "dft/engine/split_kernels.h"

namespace orb::dft::ORB_KNS {

void JoinD(const double *re, const double *im, Cx<double> *dst, int64_t n) { pairs::Join(re, im, dst, n); }
void SplitD(const Cx<double> *src, double *re, double *im, int64_t n) { pairs::Split(src, re, im, n); }
void JoinF(const float *re, const float *im, Cx<float> *dst, int64_t n) { pairs::Join(re, im, dst, n); }
void SplitF(const Cx<float> *src, float *re, float *im, int64_t n) { pairs::Split(src, re, im, n); }
int SplitLanesD() { return pack::kVectorBytes / int(sizeof(double)); }

}  // namespace orb::dft::ORB_KNS
