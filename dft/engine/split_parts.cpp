// Contiguous joins of real and imaginary arrays into interleaved pairs and
// splits back, compiled per level so that they move whole vectors.
#include "dft/engine/cx_pack.h"
#include "dft/engine/split_kernels.h"

namespace orb::dft::ORB_KNS {

namespace {

template <class T>
void Join(const T *__restrict re, const T *__restrict im, Cx<T> *dst, int64_t n) {
    T *__restrict d = reinterpret_cast<T *>(dst);
    for (int64_t j = 0; j < n; ++j) d[2 * j] = re[j], d[2 * j + 1] = im[j];
}

template <class T>
void Split(const Cx<T> *src, T *__restrict re, T *__restrict im, int64_t n) {
    const T *__restrict s = reinterpret_cast<const T *>(src);
    for (int64_t j = 0; j < n; ++j) re[j] = s[2 * j], im[j] = s[2 * j + 1];
}

}  // namespace

void JoinD(const double *re, const double *im, Cx<double> *dst, int64_t n) { Join(re, im, dst, n); }
void SplitD(const Cx<double> *src, double *re, double *im, int64_t n) { Split(src, re, im, n); }
void JoinF(const float *re, const float *im, Cx<float> *dst, int64_t n) { Join(re, im, dst, n); }
void SplitF(const Cx<float> *src, float *re, float *im, int64_t n) { Split(src, re, im, n); }
int SplitLanesD() { return pack::kVectorBytes / int(sizeof(double)); }

}  // namespace orb::dft::ORB_KNS
