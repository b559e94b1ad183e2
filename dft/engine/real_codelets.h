// Real transforms of short lengths as straight-line code, compiled once per
// processor level like the complex codelets (codelet_rows.h), whose
// two-level body they reuse. Even n = 2h: the n reals read as h complex
// numbers go through the length-h body, and the split into the even and
// odd halves' spectra is fused behind it with constant twiddles (C2R: the
// mirror, fused in front). Odd n, and the rows on scalars of the even
// lengths FullLengthSplit lists: the length-n complex body on real input
// (C2R: on the bins and their mirror images); the zero imaginary parts
// fold away at compile time and the outputs never stored (bins above n/2,
// C2R's imaginary parts) take their arithmetic with them. A batch of
// rows runs a vector's worth at once (lane c holds row c); a lone row runs
// on scalars. No tables, no scratch: the plan looks a codelet up once.
#ifndef ORB_DFT_ENGINE_REAL_CODELETS_H
#define ORB_DFT_ENGINE_REAL_CODELETS_H

#include <initializer_list>

#include "dft/engine/codelet_rows.h"
#include "dft/engine/real_kernels.h"

namespace orb::dft::ORB_KNS::rcodelet {

using pack::kLanes;
using pack::MulSI;
using pack::Pack;

template <class P>
struct Lanes;
template <class T, int L>
struct Lanes<Pack<T, L>> {
    static constexpr int value = L;
};

// The imaginary parts dropped (they do not enter a real signal at the
// bins 0 and n/2).
template <class T>
ORB_BFLY_INLINE Pack<T, 1> RealPart(Pack<T, 1> a) {
    return {a.re, T(0)};
}
template <class T, int L>
ORB_BFLY_INLINE Pack<T, L> RealPart(Pack<T, L> a) {
    Pack<T, L> r{};
    for (int c = 0; c < L; ++c) r.v[2 * c] = a.v[2 * c];
    return r;
}

// Lane c: the complex number (x[c*xd + a], x[c*xd + b]).
template <class P, class T>
ORB_BFLY_INLINE P LoadReals(const T *x, int64_t xd, int64_t a, int64_t b) {
    constexpr int L = Lanes<P>::value;
    if constexpr (L == 1) {
        return {x[a], x[b]};
    } else {
        P r;
        for (int c = 0; c < L; ++c) r.v[2 * c] = x[c * xd + a], r.v[2 * c + 1] = x[c * xd + b];
        return r;
    }
}

// Lane c: x[c*xd + a] (complex).
template <class P, class T>
ORB_BFLY_INLINE P LoadCx(const Cx<T> *x, int64_t xd, int64_t a) {
    if constexpr (Lanes<P>::value == 1) return P::Load(x + a);
    else return P::Gather(x + a, xd);
}

template <class P, class T>
ORB_BFLY_INLINE void StoreCx(P v, Cx<T> *y, int64_t yd, int64_t a) {
    if constexpr (Lanes<P>::value == 1) v.Store(y + a);
    else v.Scatter(y + a, yd);
}

// Lane c: y[c*yd + a] = real part, y[c*yd + b] = imaginary part.
template <class P, class T>
ORB_BFLY_INLINE void StoreReals(P v, T *y, int64_t yd, int64_t a, int64_t b) {
    constexpr int L = Lanes<P>::value;
    if constexpr (L == 1) {
        y[a] = v.re, y[b] = v.im;
    } else {
        for (int c = 0; c < L; ++c) y[c * yd + a] = v.v[2 * c], y[c * yd + b] = v.v[2 * c + 1];
    }
}

template <class P, class T>
ORB_BFLY_INLINE void StoreRe(P v, T *y, int64_t yd, int64_t a) {
    constexpr int L = Lanes<P>::value;
    if constexpr (L == 1) {
        y[a] = v.re;
    } else {
        for (int c = 0; c < L; ++c) y[c * yd + a] = v.v[2 * c];
    }
}

// A lone even row (or one on scalars) may run as the full-length complex
// body instead of the half-length one with its pair step: the zero
// imaginary parts (R2C) or the mirrored half (C2R) then fold into the body
// and no twiddles are applied between the two. Returns its first factor, or
// 0 to keep the half-length form. Chosen per level and precision from
// timings of single rows, ns a transform, half-length -> full-length (same
// process, best of 40 rounds):
//  AVX2+FMA double C2R 6 5.0 -> 4.7, 10 7.8 -> 6.9, 12 10.0 -> 8.5, 14
//   11.6 -> 9.9, 16 12.9 -> 12.3, 20 20.8 -> 18.8, 28 29.6 -> 28.5-29.0;
//   R2C 6 10.5 -> 5.1, 18 20.2 -> 17.8-18.8 (8, 18, 24 C2R and the other
//   R2C lengths 3-40% slower); single C2R 10 10.3 -> 7.2, 12 10.8 -> 8.7,
//   14 14.5 -> 10.9, 16 12.9 -> 12.5, 20 22.1 -> 19.1, 28 34.9 -> 26.0,
//   R2C 18 21.2 -> 17.6;
//  AVX double C2R 6 4.9 -> 4.7, 10 8.1 -> 7.4, 12 10.5 -> 9.0, 20 22.1 ->
//   20.0, 28 38.5 -> 32.5, R2C 6 10.1 -> 5.0, 18 20.0 -> 16.2; single C2R
//   10 8.1 -> 7.4, 14 14.2 -> 11.1, 28 37.6 -> 27.1 (12, 16 and 20 slower);
//  SSE2-class double C2R 10 7.8 -> 6.4, 12 9.0 -> 8.2, 14 13.8 -> 12.2 (6,
//   16 and 28 slower); single C2R 14 16.8 -> 13.2, 20 21.3 -> 19.7, 28 37.0
//   -> 30.9.
template <bool kR2C, class T>
constexpr int FullLengthSplit(int n) {
    constexpr bool dbl = sizeof(T) == 8;
    auto among = [n](std::initializer_list<int> set) {
        for (int m : set)
            if (m == n) return true;
        return false;
    };
    bool full;
    if constexpr (kR2C) full = ORB_KLEVEL >= 7 ? n == 18 || (dbl && n == 6) : ORB_KLEVEL == 6 && dbl && among({6, 18});
    else if constexpr (ORB_KLEVEL >= 7)
        full = dbl ? among({6, 10, 12, 14, 16, 20, 28}) : among({10, 12, 14, 16, 20, 28});
    else if constexpr (ORB_KLEVEL == 6) full = dbl ? among({6, 10, 12, 20, 28}) : among({10, 14, 28});
    else full = dbl ? among({10, 12, 14}) : among({14, 20, 28});
    if (!full) return 0;
    return n == 6 || n == 12 || n == 18 ? 3 : n == 10 ? 5 : n == 14 ? 2 : 4;
}

// R2C of one pack of rows, n = A*B*(2 if even).
//  Even: z = DFT_h(x[2j] + i x[2j+1]); with e = z[k] + conj z[h-k] and
//  d = -i (z[k] - conj z[h-k]) (twice the even and odd halves' spectra),
//  X[k] = (e + w^k d)/2 and X[h-k] = conj(e - w^k d)/2, w = exp(-2 pi i/n).
//  k = 0 gives X[0] and X[h] from the same formula.
template <int N, int A, int B, class T, class P>
ORB_BFLY_INLINE void R2COne(const T *x, Cx<T> *y, T scale, int64_t xd, int64_t yd, int64_t xs, int64_t ys) {
    constexpr int F = Lanes<P>::value == 1 ? FullLengthSplit<true, T>(N) : 0;
    if constexpr (N % 2 == 0 && F == 0) {
        constexpr int H = N / 2;
        static_assert(A * B == H, "split of n/2");
        P z[H];
        codelet::Body<A, B, -1, T, P>(
            [&](int j) __attribute__((always_inline)) { return LoadReals<P>(x, xd, 2 * j * xs, (2 * j + 1) * xs); },
            [&](int k, P v) __attribute__((always_inline)) { z[k] = v; }, T(1));
        const T half = T(0.5) * scale;
        // On scalars X[0] and X[h] directly (the general form spends six
        // operations on imaginary parts that are zero).
        constexpr int K0 = Lanes<P>::value == 1 ? 1 : 0;
        if constexpr (K0 == 1) {
            StoreCx(P{(z[0].re + z[0].im) * scale, T(0)}, y, yd, 0);
            StoreCx(P{(z[0].re - z[0].im) * scale, T(0)}, y, yd, H * ys);
        }
        bfly::StaticFor<H / 2 + 1 - K0>([&](auto km) __attribute__((always_inline)) {
            constexpr int k = km + K0;
            const P a = z[k], b = Conj(z[(H - k) % H]);
            const P e = a + b, t = bfly::TwiddleConst<N, k, -1, P, T>(MulSI<-1>(a - b));
            StoreCx((e + t) * half, y, yd, k * ys);
            if constexpr (H - k != k) StoreCx(Conj(e - t) * half, y, yd, (H - k) * ys);
        });
    } else {
        // Odd n, or even n in full (F): the length-n body on real input.
        constexpr int FA = N % 2 == 0 ? F : A, FB = N / FA;
        static_assert(FA * FB == N, "split of n");
        codelet::Body<FA, FB, -1, T, P>(
            [&](int j) __attribute__((always_inline)) {
                P v{};
                if constexpr (Lanes<P>::value == 1) v.re = x[j * xs];
                else
                    for (int c = 0; c < Lanes<P>::value; ++c) v.v[2 * c] = x[c * xd + j * xs];
                return v;
            },
            [&](int k, P v) __attribute__((always_inline)) {
                if (k <= N / 2) StoreCx(v, y, yd, k * ys);
            },
            scale);
    }
}

// C2R of one pack of rows.
//  Even: Z[k] = s + i w^k d with s = X[k] + conj X[h-k], d = X[k] - conj
//  X[h-k], w = exp(2 pi i/n); Z[h-k] = conj(s - i w^k d); then
//  z = IDFT_h(Z) holds x[2j] + i x[2j+1].
template <int N, int A, int B, class T, class P>
ORB_BFLY_INLINE void C2ROne(const Cx<T> *x, T *y, T scale, int64_t xd, int64_t yd, int64_t xs, int64_t ys) {
    constexpr int F = Lanes<P>::value == 1 ? FullLengthSplit<false, T>(N) : 0;
    if constexpr (N % 2 == 0 && F == 0) {
        constexpr int H = N / 2;
        static_assert(A * B == H, "split of n/2");
        P z[H];
        constexpr int K0 = Lanes<P>::value == 1 ? 1 : 0;
        if constexpr (K0 == 1) z[0] = {x[0].re + x[H * xs].re, x[0].re - x[H * xs].re};
        bfly::StaticFor<H / 2 + 1 - K0>([&](auto km) __attribute__((always_inline)) {
            constexpr int k = km + K0;
            P a = LoadCx<P>(x, xd, k * xs), b = LoadCx<P>(x, xd, (H - k) * xs);
            if constexpr (k == 0) a = RealPart(a), b = RealPart(b);
            b = Conj(b);
            const P s = a + b, t = bfly::TwiddleConst<N, k, 1, P, T>(MulSI<1>(a - b));
            z[k] = s + t;
            if constexpr (k != 0 && H - k != k) z[H - k] = Conj(s - t);
        });
        codelet::Body<A, B, 1, T, P>([&](int j) __attribute__((always_inline)) { return z[j]; },
                                     [&](int k, P v) __attribute__((always_inline)) {
                                         StoreReals(v, y, yd, 2 * k * ys, (2 * k + 1) * ys);
                                     },
                                     scale);
    } else {
        // Odd n, or even n in full (F): the length-n body over the bins and
        // their mirror images (bin n/2 real).
        constexpr int FA = N % 2 == 0 ? F : A, FB = N / FA;
        static_assert(FA * FB == N, "split of n");
        codelet::Body<FA, FB, 1, T, P>(
            [&](int j) __attribute__((always_inline)) {
                if (j == 0 || 2 * j == N) return RealPart(LoadCx<P>(x, xd, j * xs));
                if (2 * j < N) return LoadCx<P>(x, xd, j * xs);
                return Conj(LoadCx<P>(x, xd, (N - j) * xs));
            },
            [&](int k, P v) __attribute__((always_inline)) { StoreRe(v, y, yd, k * ys); }, scale);
    }
}

// One row (or a vector's worth) in either direction: R2C reads reals and
// writes bins, C2R the reverse.
template <bool kR2C, int N, int A, int B, class T, class P, class X, class Y>
ORB_BFLY_INLINE void OneRow(const X *x, Y *y, T scale, int64_t xd, int64_t yd, int64_t xs, int64_t ys) {
    if constexpr (kR2C) R2COne<N, A, B, T, P>(x, y, scale, xd, yd, xs, ys);
    else C2ROne<N, A, B, T, P>(x, y, scale, xd, yd, xs, ys);
}

// Whole vectors of rows; returns the rows done. Out of line, so that a lone
// row's call does not pay for the vector loop's registers.
template <bool kR2C, int N, int A, int B, class T, class X, class Y>
__attribute__((noinline)) int64_t Vectors(const X *x, Y *y, T scale, int64_t rows, int64_t xd, int64_t yd,
                                          int64_t xs, int64_t ys) {
    constexpr int L = kLanes<T>;
    int64_t r = 0;
    for (; r + L <= rows; r += L)
        OneRow<kR2C, N, A, B, T, Pack<T, L>>(x + r * xd, y + r * yd, scale, xd, yd, xs, ys);
    return r;
}

template <bool kR2C, int N, int A, int B, class T, class X, class Y>
void Rows(const X *x, Y *y, T scale, int64_t rows, int64_t xd, int64_t yd, int64_t xs, int64_t ys) {
    // A lone contiguous row with its offsets known at compile time.
    if (rows == 1 && xs == 1 && ys == 1) {
        OneRow<kR2C, N, A, B, T, Pack<T, 1>>(x, y, scale, 0, 0, 1, 1);
        return;
    }
    int64_t r = 0;
    if constexpr (kLanes<T> > 1)
        if (rows >= kLanes<T>) r = Vectors<kR2C, N, A, B, T>(x, y, scale, rows, xd, yd, xs, ys);
    for (; r < rows; ++r) OneRow<kR2C, N, A, B, T, Pack<T, 1>>(x + r * xd, y + r * yd, scale, 0, 0, xs, ys);
}

// (n, A, B): every length with a real codelet; A*B is n/2 for even n and
// n for odd n. Longer rows run on scalars slower than the complex codelet
// (vectorised inside the row) plus the post pass: the straight-line real
// form measured no faster at 60 and 64 and 0.75 and 0.55 times as fast at
// 100 and 128, and took most of the engine's compile time.
#define ORB_DFT_REAL_CODELETS(X)                                                                      \
    X(1, 1, 1) X(2, 1, 1) X(3, 3, 1) X(4, 2, 1) X(5, 5, 1) X(6, 3, 1) X(7, 7, 1) X(8, 2, 2) X(9, 3, 3) \
    X(10, 5, 1) X(11, 11, 1) X(12, 2, 3) X(13, 13, 1) X(14, 7, 1) X(15, 3, 5) X(16, 4, 2) X(18, 3, 3) \
    X(20, 2, 5) X(24, 4, 3) X(28, 2, 7) X(32, 4, 4)

// The rows function of length n in one direction (null without a codelet).
template <bool kR2C, class T, class X, class Y>
auto Lookup(int64_t n) -> void (*)(const X *, Y *, T, int64_t, int64_t, int64_t, int64_t, int64_t) {
    switch (n) {
#define ORB_DFT_REAL_CASE(N, A, B) \
    case N: return &Rows<kR2C, N, A, B, T, X, Y>;
        ORB_DFT_REAL_CODELETS(ORB_DFT_REAL_CASE)
#undef ORB_DFT_REAL_CASE
    default: return nullptr;
    }
}
template <class T>
R2CFn<T> LookupR2C(int64_t n) { return Lookup<true, T, T, Cx<T>>(n); }
template <class T>
C2RFn<T> LookupC2R(int64_t n) { return Lookup<false, T, Cx<T>, T>(n); }

}  // namespace orb::dft::ORB_KNS::rcodelet

#endif
