// Whole transforms of short lengths as straight-line code, compiled once
// per processor level: n = A*B runs B butterflies of radix A, constant
// twiddles, then A butterflies of radix B, every index and constant known
// at compile time. The plan looks a codelet up once; a call is one
// indirect jump with no loops, tables or scratch.
#include "dft/engine/butterflies.h"
#include "dft/engine/stage_kernels.h"

namespace orb::dft::ORB_KNS {
namespace {

using P1D = pack::Pack<double, 1>;
using P1F = pack::Pack<float, 1>;

template <class T>
struct P1Of;
template <>
struct P1Of<double> {
    using type = P1D;
};
template <>
struct P1Of<float> {
    using type = P1F;
};

// y[k1 + A k2] = scale * sum_j x[j] w_N^(jk), with j = B j1 + j2.
// x and y may be the same array: everything is loaded before any store.
template <int A, int B, int S, class T>
void Whole(const Cx<T> *x, Cx<T> *y, T scale) {
    using P = typename P1Of<T>::type;
    constexpr int N = A * B;
    P u[N];
    bfly::StaticFor<B>([&](auto j2) __attribute__((always_inline)) {
        P a[A];
        bfly::StaticFor<A>([&](auto j1) __attribute__((always_inline)) { a[j1] = P::Load(x + B * j1 + j2); });
        bfly::Butterfly<A, S, T>(a);
        bfly::StaticFor<A>([&](auto k1) __attribute__((always_inline)) {
            u[j2 * A + k1] = bfly::TwiddleConst<N, j2 * k1, S, P, T>(a[k1]);
        });
    });
    bfly::StaticFor<A>([&](auto k1) __attribute__((always_inline)) {
        P b[B];
        bfly::StaticFor<B>([&](auto j2) __attribute__((always_inline)) { b[j2] = u[j2 * A + k1]; });
        bfly::Butterfly<B, S, T>(b);
        bfly::StaticFor<B>([&](auto k2) __attribute__((always_inline)) { (b[k2] * scale).Store(y + k1 + A * k2); });
    });
}

// (n, A, B): the split of every length that has a codelet. Radices are
// powers of two up to 16 or odd numbers (symmetric odd butterflies).
#define ORB_DFT_CODELETS(X)                                                                            \
    X(2, 2, 1) X(3, 3, 1) X(4, 4, 1) X(5, 5, 1) X(6, 2, 3) X(7, 7, 1) X(8, 8, 1) X(9, 3, 3) X(10, 2, 5)  \
    X(11, 11, 1) X(12, 4, 3) X(13, 13, 1) X(14, 2, 7) X(15, 3, 5) X(16, 16, 1) X(18, 2, 9) X(20, 4, 5)   \
    X(24, 8, 3) X(25, 5, 5) X(28, 4, 7) X(32, 8, 4) X(36, 4, 9) X(40, 8, 5) X(48, 16, 3) X(56, 8, 7)     \
    X(60, 4, 15) X(64, 8, 8)

template <class T>
SmallFn<T> Lookup(int64_t n, int sign) {
    switch (n) {
#define ORB_DFT_CODELET_CASE(N, A, B) \
    case N: return sign < 0 ? &Whole<A, B, -1, T> : &Whole<A, B, 1, T>;
        ORB_DFT_CODELETS(ORB_DFT_CODELET_CASE)
#undef ORB_DFT_CODELET_CASE
    default: return nullptr;
    }
}

}  // namespace

SmallFn<double> SmallCodeletD(int64_t n, int sign) { return Lookup<double>(n, sign); }
SmallFn<float> SmallCodeletF(int64_t n, int sign) { return Lookup<float>(n, sign); }

}  // namespace orb::dft::ORB_KNS
