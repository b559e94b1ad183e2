// Whole transforms of short lengths as straight-line code, compiled once
// per processor level: n = A*B runs B butterflies of radix A, constant
// twiddles, then A butterflies of radix B, every index and constant known
// at compile time. The plan looks a codelet up once; a call is one
// indirect jump with no tables or scratch. A batch of rows runs a vector's
// worth of rows at once (lane c holds row c); a lone row is vectorised
// inside itself when the lane count divides A and B. Elements of a row are
// xs (input) and ys (output) apart, so a codelet also runs the columns of a
// multi-dimensional array where they lie.
//
// Each (precision, direction) set is its own translation unit: clang's
// time grows much faster than the code (the AVX2 level as one file took
// about 8 minutes, each quarter alone under half a minute).
#ifndef ORB_DFT_ENGINE_CODELET_ROWS_H
#define ORB_DFT_ENGINE_CODELET_ROWS_H

#include <array>

#include "dft/engine/butterflies.h"
#include "dft/engine/stage_kernels.h"

namespace orb::dft::ORB_KNS {

// Codelet for length n in one direction (null when n has none).
SmallFn<double> ForwardCodeletD(int64_t n);
SmallFn<double> BackwardCodeletD(int64_t n);
SmallFn<float> ForwardCodeletF(int64_t n);
SmallFn<float> BackwardCodeletF(int64_t n);

namespace codelet {

using pack::kLanes;
using pack::Pack;

// out[k] = scale * sum_j in[j] w_N^(jk) through bfly::TwoFactor's split
// N = A B. Everything is loaded before anything is stored, so in may equal
// out.
template <int A, int B, int S, class T, class P, class LoadF, class StoreF>
__attribute__((always_inline)) inline void Body(LoadF load, StoreF store, T scale) {
    bfly::TwoFactor<A, B, S, T, P>(load, [&](int k, P v) __attribute__((always_inline)) { store(k, v * scale); });
}

// Lanes (a power of two up to the vector's) that divide both A and B.
template <class T, int A, int B>
constexpr int RowLanes() {
    int l = kLanes<T>;
    while (l > 1 && (A % l != 0 || B % l != 0)) l /= 2;
    return l;
}

// Lanes (a power of two up to the vector's) that divide B: a lone row's
// first butterflies run across that many of its B columns; radix-B rows
// left over when they do not divide A run on scalars (30 = 5 x 6 and
// 50 = 5 x 10 measured 1.7x and 3.2x faster so than as scalars throughout).
template <class T, int B>
constexpr int ColumnLanes() {
    int l = kLanes<T>;
    while (l > 1 && B % l != 0) l /= 2;
    return l;
}

// Whether a batch of contiguous rows runs a vector's worth of rows at once
// (lane c holds row c) rather than one row at a time on RowVec. Double
// rows of 32 and 64 points go one at a time: a vector of rows keeps twice
// as many vectors live, which spill. 1000 rows, AVX2+FMA and AVX: 5-35%
// faster (64: 0.92-1.00 -> 1.06-1.35 of FFTW's speed, 32: 0.86-1.40 ->
// 0.99-1.54).
template <int A, int B, class T>
constexpr bool RowsAcrossLanes() {
    return !(sizeof(T) == 8 && (A * B == 32 || A * B == 64) && ColumnLanes<T, B>() > 1);
}

// Twiddles w_N^((j0 + c) k) for lanes c < LL.
template <int N, int k, int j0, int S, class T, int LL>
inline constexpr std::array<Cx<T>, LL> kLaneTwiddles = [] {
    std::array<Cx<T>, LL> w{};
    for (int c = 0; c < LL; ++c) {
        const long long e = (long long)(j0 + c) * k;
        w[c] = {T(bfly::CosTurn(e, N)), T(S * bfly::SinTurn(e, N))};
    }
    return w;
}();

// out[c] lane i = in[i] lane c, for LL x LL complex numbers.
template <int LL, class P>
__attribute__((always_inline)) inline void Transpose(const P *in, P *out) {
    if constexpr (LL == 1) {
        out[0] = in[0];
    } else if constexpr (LL == 2) {
        out[0] = P::Lo(in[0], in[1]);
        out[1] = P::Hi(in[0], in[1]);
    } else {
        static_assert(LL == 4, "lane count");
        // Complex numbers are float pairs: interleave pairs, then halves.
        auto t0 = __builtin_shufflevector(in[0].v, in[1].v, 0, 1, 8, 9, 2, 3, 10, 11);
        auto t1 = __builtin_shufflevector(in[0].v, in[1].v, 4, 5, 12, 13, 6, 7, 14, 15);
        auto t2 = __builtin_shufflevector(in[2].v, in[3].v, 0, 1, 8, 9, 2, 3, 10, 11);
        auto t3 = __builtin_shufflevector(in[2].v, in[3].v, 4, 5, 12, 13, 6, 7, 14, 15);
        out[0].v = __builtin_shufflevector(t0, t2, 0, 1, 2, 3, 8, 9, 10, 11);
        out[1].v = __builtin_shufflevector(t0, t2, 4, 5, 6, 7, 12, 13, 14, 15);
        out[2].v = __builtin_shufflevector(t1, t3, 0, 1, 2, 3, 8, 9, 10, 11);
        out[3].v = __builtin_shufflevector(t1, t3, 4, 5, 6, 7, 12, 13, 14, 15);
    }
}

// One row with LL > 1: the radix-A butterflies run LL at a time (lanes
// over j2, contiguous loads), LL x LL blocks are transposed in registers,
// the radix-B butterflies run LL at a time (lanes over k1, contiguous
// stores), the last A % LL of them one at a time. All loads precede all
// stores.
template <int A, int B, int S, class T, int LL>
void RowVec(const Cx<T> *x, Cx<T> *y, T scale) {
    using PV = Pack<T, LL>;
    constexpr int N = A * B, G = B / LL, H = A / LL, R = A % LL;
    PV u[G][A];
    bfly::StaticFor<G>([&](auto g) __attribute__((always_inline)) {
        PV a[A];
        bfly::StaticFor<A>([&](auto j1) __attribute__((always_inline)) { a[j1] = PV::Load(x + B * j1 + g * LL); });
        bfly::Butterfly<A, S, T>(a);
        bfly::StaticFor<A>([&](auto k1) __attribute__((always_inline)) {
            if constexpr (k1 == 0) u[g][k1] = a[k1];
            else u[g][k1] = Mul(a[k1], PV::Load(kLaneTwiddles<N, k1, g * LL, S, T, LL>.data()));
        });
    });
    bfly::StaticFor<H>([&](auto h) __attribute__((always_inline)) {
        PV b[B];
        bfly::StaticFor<G>([&](auto g) __attribute__((always_inline)) { Transpose<LL>(&u[g][h * LL], &b[g * LL]); });
        bfly::Butterfly<B, S, T>(b);
        bfly::StaticFor<B>([&](auto k2) __attribute__((always_inline)) { (b[k2] * scale).Store(y + h * LL + A * k2); });
    });
    bfly::StaticFor<R>([&](auto r) __attribute__((always_inline)) {
        using P1 = Pack<T, 1>;
        constexpr int k1 = H * LL + r;
        P1 b[B];
        bfly::StaticFor<G>([&](auto g) __attribute__((always_inline)) {
            bfly::StaticFor<LL>([&](auto c) __attribute__((always_inline)) {
                b[g * LL + c] = {u[g][k1].v[2 * c], u[g][k1].v[2 * c + 1]};
            });
        });
        bfly::Butterfly<B, S, T>(b);
        bfly::StaticFor<B>([&](auto k2) __attribute__((always_inline)) { (b[k2] * scale).Store(y + k1 + A * k2); });
    });
}

// One contiguous row (the lone transform of a plan), first and on its own
// so that it costs no set-up of the batch loops.
template <int A, int B, int S, class T>
__attribute__((always_inline)) inline void OneRow(const Cx<T> *x, Cx<T> *y, T scale) {
    constexpr int LL = ColumnLanes<T, B>();
    if constexpr (LL > 1) {
        RowVec<A, B, S, T, LL>(x, y, scale);
    } else {
        using P1 = Pack<T, 1>;
        Body<A, B, S, T, P1>([&](int j) __attribute__((always_inline)) { return P1::Load(x + j); },
                             [&](int k, P1 v) __attribute__((always_inline)) { v.Store(y + k); }, scale);
    }
}

// Forward transforms of rows that are not contiguous (columns of an array,
// strided rows). Element j > 0 of a row is read at xr + j xs and element 0
// at x, so that a caller can pass a row reversed (xr = x + n xs, xs
// negated): the forward transform of x_((n - j) mod n) is the backward
// transform of x. Both directions thus share one compiled body, which
// takes a third off the codelets' compile time at no measurable cost (the
// strides are run-time values either way); contiguous rows keep kernels
// per direction, whose element offsets are constants.
template <int A, int B, class T>
__attribute__((noinline)) void ForwardRows(const Cx<T> *x, const Cx<T> *xr, Cx<T> *y, T scale, int64_t rows,
                                           int64_t xd, int64_t yd, int64_t xs, int64_t ys) {
    constexpr int L = kLanes<T>;
    constexpr int S = -1;
    int64_t r = 0;
    if constexpr (L > 1) {
        using PV = Pack<T, L>;
        if (xd == 1 && yd == 1) {
            // Adjacent columns: a vector holds element j of L columns.
            for (; r + L <= rows; r += L) {
                const Cx<T> *x0 = x + r, *xj = xr + r;
                Cx<T> *yr = y + r;
                Body<A, B, S, T, PV>(
                    [&](int j) __attribute__((always_inline)) { return j == 0 ? PV::Load(x0) : PV::Load(xj + j * xs); },
                    [&](int k, PV v) __attribute__((always_inline)) { v.Store(yr + k * ys); }, scale);
            }
        }
    }
    using P1 = Pack<T, 1>;
    for (; r < rows; ++r) {
        const Cx<T> *x0 = x + r * xd, *xj = xr + r * xd;
        Cx<T> *yr = y + r * yd;
        Body<A, B, S, T, P1>(
            [&](int j) __attribute__((always_inline)) { return j == 0 ? P1::Load(x0) : P1::Load(xj + j * xs); },
            [&](int k, P1 v) __attribute__((always_inline)) { v.Store(yr + k * ys); }, scale);
    }
}

// Rows in direction S through the shared forward body.
template <int A, int B, int S, class T>
__attribute__((always_inline)) inline void DirectedRows(const Cx<T> *x, Cx<T> *y, T scale, int64_t rows, int64_t xd,
                                                        int64_t yd, int64_t xs, int64_t ys) {
    if constexpr (S < 0) {
        ForwardRows<A, B, T>(x, x, y, scale, rows, xd, yd, xs, ys);
    } else {
        ForwardRows<A, B, T>(x, x + A * B * xs, y, scale, rows, xd, yd, -xs, ys);
    }
}

template <int A, int B, int S, class T>
void Rows(const Cx<T> *x, Cx<T> *y, T scale, int64_t rows, int64_t xd, int64_t yd, int64_t xs, int64_t ys) {
    if (rows == 1 && xs == 1 && ys == 1) {
        OneRow<A, B, S, T>(x, y, scale);
        return;
    }
    constexpr int L = kLanes<T>;
    constexpr int LL = ColumnLanes<T, B>();
    if (L > 1 && xs == 1 && ys == 1) {
        int64_t r = 0;
        if constexpr (L > 1 && RowsAcrossLanes<A, B, T>()) {
            // Contiguous rows: lane c holds row c.
            using PV = Pack<T, L>;
            for (; r + L <= rows; r += L) {
                const Cx<T> *xr = x + r * xd;
                Cx<T> *yr = y + r * yd;
                Body<A, B, S, T, PV>([&](int j) __attribute__((always_inline)) { return PV::Gather(xr + j, xd); },
                                     [&](int k, PV v) __attribute__((always_inline)) { v.Scatter(yr + k, yd); },
                                     scale);
            }
        }
        if constexpr (LL > 1) {
            for (; r < rows; ++r) RowVec<A, B, S, T, LL>(x + r * xd, y + r * yd, scale);
        } else if (r < rows) {
            DirectedRows<A, B, S, T>(x + r * xd, y + r * yd, scale, rows - r, xd, yd, xs, ys);
        }
        return;
    }
    DirectedRows<A, B, S, T>(x, y, scale, rows, xd, yd, xs, ys);
}

// (n, A, B): the split of every length that has a codelet. Radices are
// powers of two up to 16, odd primes, or products of those (split again at
// compile time); B even where n allows it, so that a lone row runs on
// vectors (6, 10, 14 and 18 with B = 2 measured 1.5-4x faster than with
// B odd), and A too where it can be.
#define ORB_DFT_CODELETS(X)                                                                             \
    X(2, 2, 1) X(3, 3, 1) X(4, 2, 2) X(5, 5, 1) X(6, 3, 2) X(7, 7, 1) X(8, 4, 2) X(9, 3, 3) X(10, 5, 2)   \
    X(11, 11, 1) X(12, 2, 6) X(13, 13, 1) X(14, 7, 2) X(15, 3, 5) X(16, 4, 4) X(18, 9, 2) X(20, 2, 10)    \
    X(24, 4, 6) X(25, 5, 5) X(28, 2, 14) X(30, 5, 6) X(32, 8, 4) X(36, 6, 6) X(40, 4, 10) X(48, 8, 6)   \
    X(50, 5, 10) X(56, 4, 14) X(60, 6, 10) X(64, 8, 8)

// ForwardRows of every length, for the element type ORB_DFT_ROWS_TYPE:
// explicitly instantiated by the forward codelets' unit
// (ORB_DFT_ROWS_KEYWORD = template) and declared to the backward one
// (extern template), which so compiles none of its own.
#define ORB_DFT_FORWARD_ROWS(N, A, B)                                                                     \
    ORB_DFT_ROWS_KEYWORD void ForwardRows<A, B, ORB_DFT_ROWS_TYPE>(                                        \
        const Cx<ORB_DFT_ROWS_TYPE> *, const Cx<ORB_DFT_ROWS_TYPE> *, Cx<ORB_DFT_ROWS_TYPE> *, ORB_DFT_ROWS_TYPE, \
        int64_t, int64_t, int64_t, int64_t, int64_t);

template <class T, int S>
SmallFn<T> Lookup(int64_t n) {
    switch (n) {
#define ORB_DFT_CODELET_CASE(N, A, B) \
    case N: return &Rows<A, B, S, T>;
        ORB_DFT_CODELETS(ORB_DFT_CODELET_CASE)
#undef ORB_DFT_CODELET_CASE
    default: return nullptr;
    }
}

}  // namespace codelet
}  // namespace orb::dft::ORB_KNS

#endif
