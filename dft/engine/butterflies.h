// Straight-line DFT butterflies written once as templates over the radix,
// the direction S (-1 forward, +1 backward) and the pack type:
//  - powers of two (2, 4, 8, 16) by compile-time radix-2 splitting with
//    the trivial twiddles (1, i, (1+i)/sqrt 2) special-cased;
//  - odd primes (3, 5, 7, 11, 13) by the symmetric sum/difference form,
//    other composite radices by a split into two butterflies;
//  - any other odd radix at run time from a table of its roots.
#ifndef ORB_DFT_ENGINE_BUTTERFLIES_H
#define ORB_DFT_ENGINE_BUTTERFLIES_H

#include <utility>

#include "dft/engine/cx_pack.h"

namespace orb::dft::bfly {

using pack::MulSI;

// Compile-time sine/cosine of 2*pi*num/den in long double (series on a
// reduced argument), so butterfly constants are exact to the last bit.
constexpr long double kPi = 3.141592653589793238462643383279502884L;

constexpr long double SinSeries(long double x) {
    long double term = x, sum = x;
    for (int k = 1; k < 30; ++k) {
        term *= -x * x / ((2 * k) * (2 * k + 1));
        sum += term;
    }
    return sum;
}
constexpr long double CosSeries(long double x) {
    long double term = 1, sum = 1;
    for (int k = 1; k < 30; ++k) {
        term *= -x * x / ((2 * k - 1) * (2 * k));
        sum += term;
    }
    return sum;
}
// cos and sin of 2*pi*num/den via octant symmetry.
constexpr long double CosTurn(long long num, long long den) {
    num %= den;
    if (num < 0) num += den;
    // cos(2 pi - x) = cos x, then cos(pi - x) = -cos x.
    if (2 * num > den) num = den - num;
    if (4 * num > den) return -CosTurn(den - 2 * num, 2 * den);
    return CosSeries(2 * kPi * num / den);
}
constexpr long double SinTurn(long long num, long long den) {
    // sin(x) = cos(pi/2 - x) = cos(2 pi (den - 4 num) / (4 den))
    return CosTurn(den - 4 * num, 4 * den);
}

#define ORB_BFLY_INLINE __attribute__((always_inline)) inline

template <int N, class F>
ORB_BFLY_INLINE constexpr void StaticFor(F &&f) {
    [&]<int... I>(std::integer_sequence<int, I...>) __attribute__((always_inline)) {
        (f(std::integral_constant<int, I>{}), ...);
    }(std::make_integer_sequence<int, N>{});
}

// x * (c + i s) for packs without a form of their own (pack::MulConst).
template <class P, class T>
ORB_BFLY_INLINE P MulConst(P x, T c, T s) {
    return x * c + MulI(x) * s;
}

// x * exp(S * 2 pi i * t / R), trivial angles without multiplies.
template <int R, int t, int S, class P, class T>
ORB_BFLY_INLINE P TwiddleConst(P x) {
    constexpr int tt = t % R;
    if constexpr (tt == 0) {
        return x;
    } else if constexpr (4 * tt == R) {
        return MulSI<S>(x);
    } else if constexpr (2 * tt == R) {
        return P{} - x;
    } else if constexpr (8 * tt == R || 8 * tt == 3 * R) {
        // (+-1 + S i) / sqrt 2: one add and one multiply a part in
        // scalar code; vector packs take the general form, which fuses.
        constexpr T h = T(0.707106781186547524400844362104849039L);
        if constexpr (!pack::kVectorPack<P>) {
            if constexpr (8 * tt == R) return (x + MulSI<S>(x)) * h;
            else return (MulSI<S>(x) - x) * h;
        } else {
            return MulConst(x, 8 * tt == R ? h : -h, T(S) * h);
        }
    } else {
        constexpr T c = T(CosTurn(tt, R)), s = T(S * SinTurn(tt, R));
        return MulConst(x, c, s);
    }
}

// plus = e + w o and minus = e - w o for w = exp(S 2 pi i t / R): a radix-2
// step after a constant twiddle, fused with it where the twiddle allows:
// +-1 and -+i cost no product, (+-1 + S i) / sqrt 2 with FMA is the sum or
// difference first, then e +- h y as two fused multiply-adds (one
// instruction fewer than the product and the two sums).
template <int R, int t, int S, class T, class P>
ORB_BFLY_INLINE void TwiddledPair(P e, P o, P &plus, P &minus) {
    constexpr int tt = t % R;
    if constexpr (tt == 0) {
        plus = e + o;
        minus = e - o;
    } else if constexpr (R % 2 == 0 && 2 * tt >= R) {
        // w = -exp(S 2 pi i (t - R/2) / R)
        TwiddledPair<R, tt - R / 2, S, T>(e, o, minus, plus);
    } else if constexpr (4 * tt == R) {
        pack::AddSubSI<S>(e, o, plus, minus);
    } else if constexpr (pack::kFused && pack::kVectorPack<P> && (8 * tt == R || 8 * tt == 3 * R)) {
        constexpr T h = T(0.707106781186547524400844362104849039L);
        P up, down;
        pack::AddSubSI<S>(o, o, up, down);
        if constexpr (8 * tt == R) {
            plus = pack::MulAdd(e, up, h);
            minus = pack::MulAdd(e, up, -h);
        } else {
            plus = pack::MulAdd(e, down, -h);
            minus = pack::MulAdd(e, down, h);
        }
    } else {
        const P w = TwiddleConst<R, tt, S, P, T>(o);
        plus = e + w;
        minus = e - w;
    }
}

// In-place DFT of a[0..R-1] for R a power of two, of the inputs times
// w_N^(j K) (none for K = 0): the twiddles of the even half ride down the
// recursion to its radix-2 steps, where TwiddledPair fuses them; the odd
// half takes its own.
template <int R, int S, class T, int N = R, int K = 0, class P>
ORB_BFLY_INLINE void Pow2(P *a) {
    if constexpr (R == 2) {
        const P a0 = a[0], a1 = a[1];
        TwiddledPair<N, K, S, T>(a0, a1, a[0], a[1]);
    } else if constexpr (R > 2) {
        constexpr int H = R / 2;
        P e[H], o[H];
        StaticFor<H>([&](auto k) __attribute__((always_inline)) {
            e[k] = a[2 * k];
            o[k] = TwiddleConst<N, ((2 * k + 1) * K) % N, S, P, T>(a[2 * k + 1]);
        });
        Pow2<H, S, T, N, (2 * K) % N>(e);
        Pow2<H, S, T>(o);
        StaticFor<H>([&](auto t) __attribute__((always_inline)) {
            TwiddledPair<R, t, S, T>(e[t], o[t], a[t], a[t + H]);
        });
    }
}

// In-place DFT of a[0..R-1] for small odd R.
template <int R, int S, class T, class P>
ORB_BFLY_INLINE void Odd(P *a) {
    constexpr int H = (R - 1) / 2;
    P s[H], d[H];
    P y0 = a[0];
    StaticFor<H>([&](auto k) __attribute__((always_inline)) {
        s[k] = a[k + 1] + a[R - 1 - k];
        d[k] = a[k + 1] - a[R - 1 - k];
        y0 = y0 + s[k];
    });
    P out[R];
    out[0] = y0;
    StaticFor<H>([&](auto tm) __attribute__((always_inline)) {
        constexpr int t = tm + 1;
        P c = a[0], u{};
        StaticFor<H>([&](auto km) __attribute__((always_inline)) {
            constexpr int k = km + 1;
            constexpr T cc = T(CosTurn((long long)t * k, R));
            constexpr T ss = T(SinTurn((long long)t * k, R));
            c = pack::MulAdd(c, s[km], cc);
            u = pack::MulAdd(u, d[km], ss);
        });
        pack::AddSubSI<S>(c, u, out[t], out[R - t]);
    });
    StaticFor<R>([&](auto k) __attribute__((always_inline)) { a[k] = out[k]; });
}

constexpr int SmallestFactor(int r) {
    for (int f = 2; f * f <= r; ++f)
        if (r % f == 0) return f;
    return r;
}
constexpr int Gcd(int a, int b) { return b ? Gcd(b, a % b) : a; }
constexpr int InverseMod(int a, int m) {
    for (int x = 1; x < m; ++x)
        if (a * x % m == 1) return x;
    return 0;
}
// First factor of a composite radix: the whole power of its smallest prime
// when the rest is coprime to it (12 = 4 x 3), else the prime (9 = 3 x 3).
constexpr int CompositeSplit(int r) {
    const int p = SmallestFactor(r);
    int a = p;
    while (r % (a * p) == 0) a *= p;
    return a < r ? a : p;
}

template <int R, int S, class T, class P>
ORB_BFLY_INLINE void Butterfly(P *a);

// The DFT of N = A B points as B butterflies of radix A, then A of radix
// B; load(j) gives input j, store(k, v) takes output k, and every load
// comes before the first store. Coprime A and B take the prime-factor
// index maps (j = B j1 + A j2, k = k1 B (B^-1 mod A) + k2 A (A^-1 mod B),
// mod N), under which the DFT is a plain A x B two-dimensional one: no
// twiddles between the butterflies. Otherwise j = B j1 + j2, k = k1 + A k2
// with the constant twiddles w_N^(j2 k1).
template <int A, int B, int S, class T, class P, class LoadF, class StoreF>
ORB_BFLY_INLINE void TwoFactor(LoadF load, StoreF store) {
    constexpr int N = A * B;
    constexpr bool kPrimeFactor = A > 1 && B > 1 && Gcd(A, B) == 1;
    // Radix-B power-of-two butterflies take the twiddles w_N^(j2 k1) as
    // their inputs' (Pow2), which fuses some into their radix-2 steps.
    constexpr bool kPow2Second = !kPrimeFactor && B > 1 && (B & (B - 1)) == 0;
    P u[N];
    StaticFor<B>([&](auto j2) __attribute__((always_inline)) {
        P a[A];
        StaticFor<A>([&](auto j1) __attribute__((always_inline)) {
            a[j1] = load(kPrimeFactor ? (B * j1 + A * j2) % N : B * j1 + j2);
        });
        Butterfly<A, S, T>(a);
        StaticFor<A>([&](auto k1) __attribute__((always_inline)) {
            if constexpr (kPrimeFactor || kPow2Second) u[j2 * A + k1] = a[k1];
            else u[j2 * A + k1] = TwiddleConst<N, j2 * k1, S, P, T>(a[k1]);
        });
    });
    StaticFor<A>([&](auto k1) __attribute__((always_inline)) {
        P b[B];
        StaticFor<B>([&](auto j2) __attribute__((always_inline)) { b[j2] = u[j2 * A + k1]; });
        if constexpr (kPow2Second) Pow2<B, S, T, N, k1>(b);
        else Butterfly<B, S, T>(b);
        StaticFor<B>([&](auto k2) __attribute__((always_inline)) {
            if constexpr (kPrimeFactor)
                store((k1 * B * InverseMod(B % A, A) + k2 * A * InverseMod(A % B, B)) % N, b[k2]);
            else
                store(k1 + A * k2, b[k2]);
        });
    });
}

// In-place DFT of a[0..R-1] for composite R that is not a power of two (the
// symmetric form costs (R-1)^2/2 multiplies, which a split R = 15 or 9
// cuts by a factor of three or so).
template <int R, int S, class T, class P>
ORB_BFLY_INLINE void Composite(P *a) {
    constexpr int A = CompositeSplit(R);
    TwoFactor<A, R / A, S, T, P>([&](int j) __attribute__((always_inline)) { return a[j]; },
                                 [&](int k, P v) __attribute__((always_inline)) { a[k] = v; });
}

template <int R, int S, class T, class P>
ORB_BFLY_INLINE void Butterfly(P *a) {
    if constexpr ((R & (R - 1)) == 0) Pow2<R, S, T>(a);
    else if constexpr (SmallestFactor(R) == R) Odd<R, S, T>(a);
    else Composite<R, S, T>(a);
}

// Run-time odd radix r with roots w[j] = exp(S 2 pi i j / r); a and out
// hold r packs, scratch s/d (r-1)/2 packs each.
template <class T, class P>
inline void Generic(int r, const Cx<T> *w, const P *a, P *out, P *s, P *d) {
    int h = (r - 1) / 2;
    P y0 = a[0];
    for (int k = 1; k <= h; ++k) {
        s[k - 1] = a[k] + a[r - k];
        d[k - 1] = a[k] - a[r - k];
        y0 = y0 + s[k - 1];
    }
    out[0] = y0;
    for (int t = 1; t <= h; ++t) {
        P c = a[0], u{};
        int idx = 0;
        for (int k = 1; k <= h; ++k) {
            idx += t;
            if (idx >= r) idx -= r;
            c = pack::MulAdd(c, s[k - 1], w[idx].re);
            u = pack::MulAdd(u, d[k - 1], w[idx].im);
        }
        // w already carries the direction: u * i gives S i sin terms.
        pack::AddSubSI<1>(c, u, out[t], out[r - t]);
    }
}

}  // namespace orb::dft::bfly

#endif
