// The vectorised pair step of the even-length real transforms, compiled
// once per level.
#include "dft/engine/real_codelets.h"

namespace orb::dft::ORB_KNS {
namespace {

using pack::kLanes;
using pack::MulSI;
using pack::Pack;

// Lanes in reverse order (the mirrored index block h-k-L+1 .. h-k).
template <class T, int L>
ORB_BFLY_INLINE Pack<T, L> Reverse(Pack<T, L> a) {
    if constexpr (L == 1) return a;
    else if constexpr (L == 2) return {__builtin_shufflevector(a.v, a.v, 2, 3, 0, 1)};
    else return {__builtin_shufflevector(a.v, a.v, 6, 7, 4, 5, 2, 3, 0, 1)};
}

template <int S, class T, class P>
ORB_BFLY_INLINE void Pair(const Cx<T> *src, Cx<T> *dst, const Cx<T> *w, int64_t k, int64_t m, T f) {
    const P a = P::Load(src + k), b = Conj(Reverse(P::Load(src + m)));
    const P e = a + b, t = Mul(P::Load(w + k), MulSI<S>(a - b));
    ((e + t) * f).Store(dst + k);
    Reverse(Conj(e - t) * f).Store(dst + m);
}

template <int S, class T>
void Split(const Cx<T> *src, Cx<T> *dst, const Cx<T> *w, int64_t h, T f) {
    constexpr int L = kLanes<T>;
    int64_t k = 1;
    if constexpr (L > 1)
        for (; 2 * k + 2 * L - 2 < h; k += L) Pair<S, T, Pack<T, L>>(src, dst, w, k, h - k - (L - 1), f);
    for (; 2 * k < h; ++k) Pair<S, T, Pack<T, 1>>(src, dst, w, k, h - k, f);
}

}  // namespace

RealSplitFn<double> RealSplitD(int sign) { return sign < 0 ? &Split<-1, double> : &Split<1, double>; }
RealSplitFn<float> RealSplitF(int sign) { return sign < 0 ? &Split<-1, float> : &Split<1, float>; }

}  // namespace orb::dft::ORB_KNS
