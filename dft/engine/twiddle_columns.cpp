// The last pass of a long row split as n = r * m (fft1d_cache_split.cpp):
// y holds r transformed rows of m points; for each column k2 it multiplies
// y[j m + k2] by w_n^(j k2), takes the length-r DFT over j with a codelet
// body and stores the outputs at out[k2 + m k], their final places. Lanes
// hold adjacent columns, so no pass shuffles elements between lanes; each
// body loads all it reads before it stores, so out may equal y.
#include "dft/engine/two_pass.h"

namespace orb::dft::ORB_KNS {

namespace {

using pack::Pack;

template <int R, int S, class T, int LL>
__attribute__((always_inline)) inline void Column(const Cx<T> *y, Cx<T> *out, const Cx<T> *tw, int64_t m,
                                                  int64_t k2, T scale) {
    using P = Pack<T, LL>;
    constexpr int A = twopass::CodeletSplit(R);
    codelet::Body<A, R / A, S, T, P>(
        [&](int j) __attribute__((always_inline)) {
            const P v = P::Load(y + j * m + k2);
            return j == 0 ? v : Mul(v, P::Load(tw + j * m + k2));
        },
        [&](int k, P v) __attribute__((always_inline)) { v.Store(out + k2 + m * k); }, scale);
}

// Columns k0 .. k1-1 (multiples of the vector's complex lanes, as m is).
template <int R, int S, class T>
void Run(const Cx<T> *y, Cx<T> *out, const Cx<T> *tw, int64_t m, int64_t k0, int64_t k1, T scale) {
    constexpr int LL = pack::kLanes<T>;
    if (scale == T(1)) {
        for (int64_t k2 = k0; k2 < k1; k2 += LL) Column<R, S, T, LL>(y, out, tw, m, k2, T(1));
    } else {
        for (int64_t k2 = k0; k2 < k1; k2 += LL) Column<R, S, T, LL>(y, out, tw, m, k2, scale);
    }
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

}  // namespace orb::dft::ORB_KNS
