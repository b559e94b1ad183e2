// The pointwise product of the convolution algorithms (Bluestein's chirps
// and filter, Rader's filter), compiled once per level so that it runs on
// the level's vectors: y[j] = x[j] * w[j] * scale, y may equal x.
#include "dft/engine/cx_pack.h"
#include "dft/engine/stage_kernels.h"

namespace orb::dft::ORB_KNS {
namespace {

using pack::kLanes;
using pack::Pack;

template <class T>
void PointMul(const Cx<T> *x, const Cx<T> *w, Cx<T> *y, int64_t n, T scale) {
    constexpr int L = kLanes<T>;
    int64_t j = 0;
    if constexpr (L > 1)
        for (; j + 2 * L <= n; j += 2 * L) {
            using P = Pack<T, L>;
            const P a = Mul(P::Load(x + j), P::Load(w + j)), b = Mul(P::Load(x + j + L), P::Load(w + j + L));
            (a * scale).Store(y + j);
            (b * scale).Store(y + j + L);
        }
    for (; j < n; ++j) (Mul(Pack<T, 1>::Load(x + j), Pack<T, 1>::Load(w + j)) * scale).Store(y + j);
}

}  // namespace

void PointMulD(const Cx<double> *x, const Cx<double> *w, Cx<double> *y, int64_t n, double scale) {
    PointMul(x, w, y, n, scale);
}
void PointMulF(const Cx<float> *x, const Cx<float> *w, Cx<float> *y, int64_t n, float scale) {
    PointMul(x, w, y, n, scale);
}

}  // namespace orb::dft::ORB_KNS
