// The last pass of a long row split as n = r * m (fft1d_cache_split.cpp)
// on one block of B gathered columns: each column's r elements times their
// twiddles, the length-r DFT over them with a codelet body, back in place.
// Lanes hold adjacent columns, so no pass shuffles elements between lanes;
// each body loads all it reads before it stores.
// Also the middle of a convolution split the same way (blocked_conv.h): the
// forward column pass, the filter and the inverse column pass on one block
// while it is in registers and the first-level cache.
#include "dft/engine/two_pass.h"

namespace orb::dft::ORB_KNS {

namespace {

using pack::Pack;

template <int R, int S, class T, int LL>
__attribute__((always_inline)) inline void Column(Cx<T> *c, const Cx<T> *t, int64_t q, T scale) {
    using P = Pack<T, LL>;
    constexpr int64_t B = kTwiddleColumns<T>;
    constexpr int A = twopass::CodeletSplit(R);
    codelet::Body<A, R / A, S, T, P>(
        [&](int j) __attribute__((always_inline)) {
            const P v = P::Load(c + j * B + q);
            return j == 0 ? v : Mul(v, P::Load(t + j * B + q));
        },
        [&](int k, P v) __attribute__((always_inline)) { v.Store(c + k * B + q); }, scale);
}

template <int R, int S, class T>
void Run(Cx<T> *c, const Cx<T> *t, T scale) {
    constexpr int LL = pack::kLanes<T>;
    if (scale == T(1)) {
        for (int64_t q = 0; q < kTwiddleColumns<T>; q += LL) Column<R, S, T, LL>(c, t, q, T(1));
    } else {
        for (int64_t q = 0; q < kTwiddleColumns<T>; q += LL) Column<R, S, T, LL>(c, t, q, scale);
    }
}

// Forward DFT (twiddles w^-(j k) before it), times the filter h, inverse
// DFT (conjugate twiddles after it), for one vector of columns.
template <int R, class T, int LL>
__attribute__((always_inline)) inline void ConvColumn(Cx<T> *c, const Cx<T> *t, const Cx<T> *h, int64_t q) {
    using P = Pack<T, LL>;
    constexpr int64_t B = kTwiddleColumns<T>;
    constexpr int A = twopass::CodeletSplit(R);
    codelet::Body<A, R / A, -1, T, P>(
        [&](int j) __attribute__((always_inline)) {
            const P v = P::Load(c + j * B + q);
            return j == 0 ? v : Mul(v, P::Load(t + j * B + q));
        },
        [&](int k, P v) __attribute__((always_inline)) { Mul(v, P::Load(h + k * B + q)).Store(c + k * B + q); },
        T(1));
    codelet::Body<A, R / A, 1, T, P>(
        [&](int k) __attribute__((always_inline)) { return P::Load(c + k * B + q); },
        [&](int j, P v) __attribute__((always_inline)) {
            (j == 0 ? v : Mul(v, Conj(P::Load(t + j * B + q)))).Store(c + j * B + q);
        },
        T(1));
}

template <int R, class T>
void RunConv(Cx<T> *c, const Cx<T> *t, const Cx<T> *h) {
    constexpr int LL = pack::kLanes<T>;
    for (int64_t q = 0; q < kTwiddleColumns<T>; q += LL) ConvColumn<R, T, LL>(c, t, h, q);
}

// The radices the split takes (fft1d_cache_split.cpp says which where).
#define ORB_DFT_TWIDDLE_COLUMNS(X) X(16) X(32) X(64)

template <class T, int S>
TwiddleColumnsFn<T> Lookup(int64_t r) {
#define ORB_DFT_TWIDDLE_COLUMNS_CASE(R) \
    if (r == R) return &Run<R, S, T>;
    ORB_DFT_TWIDDLE_COLUMNS(ORB_DFT_TWIDDLE_COLUMNS_CASE)
#undef ORB_DFT_TWIDDLE_COLUMNS_CASE
    return nullptr;
}

}  // namespace

TwiddleColumnsFn<double> TwiddleColumnsD(int64_t r, int sign) {
    return sign < 0 ? Lookup<double, -1>(r) : Lookup<double, 1>(r);
}

ConvColumnsFn<double> ConvColumnsD(int64_t r) {
#define ORB_DFT_CONV_COLUMNS_CASE(R) \
    if (r == R) return &RunConv<R, double>;
    ORB_DFT_TWIDDLE_COLUMNS(ORB_DFT_CONV_COLUMNS_CASE)
#undef ORB_DFT_CONV_COLUMNS_CASE
    return nullptr;
}

}  // namespace orb::dft::ORB_KNS
