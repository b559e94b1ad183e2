// The vectorised pair step of the even-length real transforms, compiled
// once per level.
#include "dft/engine/real_codelets.h"

namespace orb::dft::ORB_KNS {
namespace {

using pack::kLanes;
using pack::Pack;
using pack::Reverse;

// {x, y} in every lane.
template <class V, class T>
ORB_BFLY_INLINE V Alternate(T x, T y) {
    V r;
    for (int i = 0; i < int(sizeof(V) / sizeof(T)); i += 2) r[i] = x, r[i + 1] = y;
    return r;
}

// L pairs: lanes k..k+L-1 against the mirrored m+L-1..m. The conjugates are
// multiplies by {1, -1}, which fuse into the adds where the level has FMA,
// and the factor S i sits in the table: 10-25% less time than conjugating
// by sign flips and multiplying by S i apart.
template <bool kScaled, class T, int L>
ORB_BFLY_INLINE void PairVec(const Cx<T> *src, Cx<T> *dst, const Cx<T> *u, int64_t k, int64_t m, T f) {
    using P = Pack<T, L>;
    using V = typename P::V;
    const V conj = Alternate<V>(T(1), T(-1));
    const V a = P::Load(src + k).v, r = Reverse(P::Load(src + m)).v;
    const V e = a + r * conj, d = a - r * conj;
    const V t = Mul(P{d}, P::Load(u + k)).v;
    if constexpr (kScaled) {
        P{(e + t) * f}.Store(dst + k);
        Reverse(P{(e - t) * Alternate<V>(f, -f)}).Store(dst + m);
    } else {
        P{e + t}.Store(dst + k);
        Reverse(P{(e - t) * conj}).Store(dst + m);
    }
}

template <class T>
ORB_BFLY_INLINE void PairOne(const Cx<T> *src, Cx<T> *dst, const Cx<T> *u, int64_t k, int64_t m, T f) {
    const Cx<T> a = src[k], b = src[m];
    const T er = a.re + b.re, ei = a.im - b.im, dr = a.re - b.re, di = a.im + b.im;
    const T tr = dr * u[k].re - di * u[k].im, ti = dr * u[k].im + di * u[k].re;
    dst[k] = {(er + tr) * f, (ei + ti) * f};
    dst[m] = {(er - tr) * f, (ti - ei) * f};
}

template <bool kScaled, class T>
void Pairs(const Cx<T> *src, Cx<T> *dst, const Cx<T> *u, int64_t h, T f) {
    constexpr int L = kLanes<T>;
    int64_t k = 1;
    if constexpr (L > 1)
        for (; 2 * k + 2 * L - 2 < h; k += L) PairVec<kScaled, T, L>(src, dst, u, k, h - k - (L - 1), f);
    for (; 2 * k < h; ++k) PairOne<T>(src, dst, u, k, h - k, f);
}

template <class T>
void Split(const Cx<T> *src, Cx<T> *dst, const Cx<T> *u, int64_t h, T f) {
    if (f == T(1)) Pairs<false, T>(src, dst, u, h, f);
    else Pairs<true, T>(src, dst, u, h, f);
}

}  // namespace

RealSplitFn<double> RealSplitD() { return &Split<double>; }
RealSplitFn<float> RealSplitF() { return &Split<float>; }

}  // namespace orb::dft::ORB_KNS
