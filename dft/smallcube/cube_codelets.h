// Straight-line DFT codelets for lengths 2..10 on "lanes" vectors: each
// vector holds W complex numbers (re, im pairs) from W independent lines, so
// one codelet call transforms W lines at once. Twiddles are compile-time
// constants; multiplications by 1, -1 and +-i fold away. Included only by
// the per-level kernel source: everything lives in that level's namespace.
#ifndef ORB_DFT_SMALLCUBE_CUBE_CODELETS_H
#define ORB_DFT_SMALLCUBE_CUBE_CODELETS_H

#include <utility>

namespace orb::dft::ORB_KNS {

// Vector types at namespace scope (GCC rejects dependent vector_size typedefs).
typedef double VD1 __attribute__((vector_size(16)));
typedef double VD2 __attribute__((vector_size(32)));
typedef float VF1 __attribute__((vector_size(8)));
typedef float VF2 __attribute__((vector_size(16)));
typedef float VF4 __attribute__((vector_size(32)));

// Exchange re and im in every complex pair.
#if defined(__clang__)
inline VD1 Swap(VD1 v) { return __builtin_shufflevector(v, v, 1, 0); }
#if defined(__AVX__)
inline VD2 Swap(VD2 v) { return __builtin_shufflevector(v, v, 1, 0, 3, 2); }
inline VF4 Swap(VF4 v) { return __builtin_shufflevector(v, v, 1, 0, 3, 2, 5, 4, 7, 6); }
#endif
inline VF1 Swap(VF1 v) { return __builtin_shufflevector(v, v, 1, 0); }
inline VF2 Swap(VF2 v) { return __builtin_shufflevector(v, v, 1, 0, 3, 2); }
#else
typedef long long MaskD1 __attribute__((vector_size(16)));
typedef long long MaskD2 __attribute__((vector_size(32)));
typedef int MaskF1 __attribute__((vector_size(8)));
typedef int MaskF2 __attribute__((vector_size(16)));
typedef int MaskF4 __attribute__((vector_size(32)));
inline VD1 Swap(VD1 v) { return __builtin_shuffle(v, MaskD1{1, 0}); }
#if defined(__AVX__)
inline VD2 Swap(VD2 v) { return __builtin_shuffle(v, MaskD2{1, 0, 3, 2}); }
inline VF4 Swap(VF4 v) { return __builtin_shuffle(v, MaskF4{1, 0, 3, 2, 5, 4, 7, 6}); }
#endif
inline VF1 Swap(VF1 v) { return __builtin_shuffle(v, MaskF1{1, 0}); }
inline VF2 Swap(VF2 v) { return __builtin_shuffle(v, MaskF2{1, 0, 3, 2}); }
#endif

template <typename V>
constexpr int kLanes = sizeof(V) / sizeof(V{}[0]);

// (a, b, a, b, ...)
template <typename V>
inline V Alternate(double a, double b) {
    V r{};
    for (int i = 0; i < kLanes<V>; ++i) r[i] = i % 2 ? decltype(r[0] + 0)(b) : decltype(r[0] + 0)(a);
    return r;
}

// cos and sin of 2*pi*m/n as constant expressions: exact for multiples of
// pi/4 (they take the integer path), series on [0, pi/4] otherwise.
constexpr long double kPi = 3.141592653589793238462643383279502884L;

constexpr long double SeriesSin(long double x) {
    long double term = x, sum = x;
    for (int k = 1; k < 14; ++k) {
        term *= -x * x / ((2 * k) * (2 * k + 1));
        sum += term;
    }
    return sum;
}
constexpr long double SeriesCos(long double x) {
    long double term = 1, sum = 1;
    for (int k = 1; k < 14; ++k) {
        term *= -x * x / ((2 * k - 1) * (2 * k));
        sum += term;
    }
    return sum;
}

struct Root {
    double c, s;
};

// exp(i * 2*pi*m/n)
constexpr Root UnitRoot(int m, int n) {
    m %= n;
    if (m < 0) m += n;
    // Quadrant q and the remaining angle pi/2 * r / n, r in [0, n).
    const int q = (4 * m) / n, r = 4 * m - q * n;
    long double c = 1, s = 0;
    if (2 * r == n) {
        c = s = 0.70710678118654752440084436210484903928L;
    } else if (r != 0) {
        // Reduce to [0, pi/4]: beyond it use the complementary angle.
        const bool flip = 2 * r > n;
        const long double x = kPi / 2 * (flip ? n - r : r) / n;
        c = flip ? SeriesSin(x) : SeriesCos(x);
        s = flip ? SeriesCos(x) : SeriesSin(x);
    }
    for (int i = 0; i < q; ++i) {  // rotate by pi/2
        long double t = c;
        c = -s;
        s = t;
    }
    return {double(c), double(s)};
}

template <typename V>
inline V Splat(double x) {
    return V{} + decltype(V{}[0] + 0)(x);
}

// i * v
template <typename V>
inline V TimesI(V v) {
    return Swap(v) * Alternate<V>(-1, 1);
}

// v * exp(i * 2*pi*m/n), with the trivial roots folded at compile time.
template <int M, int N, typename V>
inline V Rotate(V v) {
    constexpr Root w = UnitRoot(M, N);
    if constexpr (w.c == 1 && w.s == 0) return v;
    else if constexpr (w.c == -1 && w.s == 0) return -v;
    else if constexpr (w.c == 0 && w.s == 1) return TimesI(v);
    else if constexpr (w.c == 0 && w.s == -1) return -TimesI(v);
    else return v * Splat<V>(w.c) + Swap(v) * Alternate<V>(-w.s, w.s);
}

constexpr int SmallestFactor(int n) {
    for (int f = 2; f * f <= n; ++f)
        if (n % f == 0) return f;
    return n;
}

// Prime length P: pairs j, P-j share the cosine and sine sums.
//   y[k] = x0 + sum_j cos(2 pi jk/P) (x_j + x_{P-j}) + S i sum_j sin(..) (x_j - x_{P-j})
template <int P>
struct PrimeRoots {
    static constexpr int H = (P - 1) / 2;
    struct Table {
        double c[H + 1][H + 1], s[H + 1][H + 1];
    };
    static constexpr Table Make() {
        Table t{};
        for (int k = 1; k <= H; ++k)
            for (int j = 1; j <= H; ++j) {
                const Root w = UnitRoot(j * k, P);
                t.c[k][j] = w.c;
                t.s[k][j] = w.s;
            }
        return t;
    }
    static constexpr Table kTable = Make();
};

template <int P, int S, typename V>
inline void PrimeDft(V *x, V *y) {
    if constexpr (P == 2) {
        y[0] = x[0] + x[1];
        y[1] = x[0] - x[1];
    } else {
        constexpr int H = (P - 1) / 2;
        // b holds the differences with their parts swapped: S i s b is then
        // Swap(b) times (-S s, S s), a product that fuses into the sums
        // (radix 3: six operations instead of seven).
        V a[H + 1], b[H + 1];
        V sum = x[0];
        for (int j = 1; j <= H; ++j) {
            a[j] = x[j] + x[P - j];
            b[j] = Swap(x[j] - x[P - j]);
            sum += a[j];
        }
        y[0] = sum;
        // Loops over compile-time bounds: the compiler unrolls them fully.
        for (int k = 1; k <= H; ++k) {
            V re = x[0];
            for (int j = 1; j <= H; ++j) re += a[j] * Splat<V>(PrimeRoots<P>::kTable.c[k][j]);
            auto rot = [](int j, int kk) {
                const double sn = S * PrimeRoots<P>::kTable.s[kk][j];
                return Alternate<V>(-sn, sn);
            };
            if constexpr (H == 1) {
                y[k] = re + b[1] * rot(1, k);
                y[P - k] = re - b[1] * rot(1, k);
            } else {
                V im = b[1] * rot(1, k);
                for (int j = 2; j <= H; ++j) im += b[j] * rot(j, k);
                y[k] = re + im;
                y[P - k] = re - im;
            }
        }
    }
}

template <int N, int S, typename V>
inline void Dft(V *x, V *y);

// N = N1 * N2: N1-point transforms over j1 (input index N2*j1 + j2), twiddle
// by w_N^(j2*k1), then N2-point transforms; output index k1 + N1*k2.
template <int N1, int N2, int S, typename V, int... J2>
inline void SplitDft(V *x, V *y, std::integer_sequence<int, J2...>) {
    V t[N1 * N2];
    auto column = [&]<int j2>() {
        V in[N1], out[N1];
        for (int j1 = 0; j1 < N1; ++j1) in[j1] = x[N2 * j1 + j2];
        Dft<N1, S>(in, out);
        [&]<int... K1>(std::integer_sequence<int, K1...>) {
            ((t[K1 * N2 + j2] = Rotate<S * j2 * K1, N1 * N2>(out[K1])), ...);
        }(std::make_integer_sequence<int, N1>{});
    };
    (column.template operator()<J2>(), ...);
    for (int k1 = 0; k1 < N1; ++k1) {
        V out[N2];
        Dft<N2, S>(t + k1 * N2, out);
        for (int k2 = 0; k2 < N2; ++k2) y[k1 + N1 * k2] = out[k2];
    }
}

constexpr int Gcd(int a, int b) { return b == 0 ? a : Gcd(b, a % b); }

// m^-1 modulo n (m and n coprime).
constexpr int InverseMod(int m, int n) {
    for (int v = 1; v < n; ++v)
        if (m * v % n == 1) return v;
    return n == 1 ? 0 : -1;
}

// N = N1 * N2 with coprime factors (Good-Thomas): input index
// (N2 j1 + N1 j2) mod N and output index (N2 a k1 + N1 b k2) mod N, with
// a = N2^-1 mod N1 and b = N1^-1 mod N2, turn the transform into N1- and
// N2-point ones with no twiddles between them (6 = 2 x 3, 10 = 2 x 5: the
// rotations were an eighth of the 10-point codelet's operations).
template <int N1, int N2, int S, typename V>
inline void PrimeFactorDft(V *x, V *y) {
    constexpr int N = N1 * N2, a = InverseMod(N2, N1), b = InverseMod(N1, N2);
    V t[N];
    for (int j2 = 0; j2 < N2; ++j2) {
        V in[N1], out[N1];
        for (int j1 = 0; j1 < N1; ++j1) in[j1] = x[(N2 * j1 + N1 * j2) % N];
        Dft<N1, S>(in, out);
        for (int k1 = 0; k1 < N1; ++k1) t[k1 * N2 + j2] = out[k1];
    }
    for (int k1 = 0; k1 < N1; ++k1) {
        V out[N2];
        Dft<N2, S>(t + k1 * N2, out);
        for (int k2 = 0; k2 < N2; ++k2) y[(N2 * a * k1 + N1 * b * k2) % N] = out[k2];
    }
}

// S i v as Swap(v) times (-S, S): written into a sum, the product fuses.
template <int S, typename V>
inline V SignedI() {
    return Alternate<V>(-S, S);
}

// 4 points: two radix-2 steps, the product by S i fused into the last two
// sums (eight operations).
template <int S, typename V>
inline void Radix4(const V *x, V *y) {
    const V p = x[0] + x[2], q = x[0] - x[2], r = x[1] + x[3], t = Swap(x[1] - x[3]);
    y[0] = p + r;
    y[2] = p - r;
    y[1] = q + t * SignedI<S, V>();
    y[3] = q - t * SignedI<S, V>();
}

// 8 points, decimated in frequency: the even outputs are the 4-point
// transform of the sums; the odd ones, of the differences times w8^(S j),
// where the two odd rotations share the factor 1/sqrt(2) and fold it into
// fused sums (26 operations, 28 as a 2 x 4 split).
template <int S, typename V>
inline void Radix8(const V *x, V *y) {
    V a[4], b[4];
    for (int j = 0; j < 4; ++j) a[j] = x[j] + x[j + 4], b[j] = x[j] - x[j + 4];
    V even[4];
    Radix4<S>(a, even);
    for (int k = 0; k < 4; ++k) y[2 * k] = even[k];
    const V h = Splat<V>(0.70710678118654752440084436210484903928);
    const V b2 = Swap(b[2]) * SignedI<S, V>();  // w8^(2S) b2 = S i b2
    const V p = b[0] + b2, q = b[0] - b2;
    const V d = b[1] - b[3], e = Swap(b[1] + b[3]);
    const V z1 = d + e * SignedI<S, V>(), z2 = d - e * SignedI<S, V>();
    y[1] = p + z1 * h;
    y[5] = p - z1 * h;
    y[3] = q - z2 * h;
    y[7] = q + z2 * h;
}

template <int N, int S, typename V>
inline void Dft(V *x, V *y) {
    constexpr int f = SmallestFactor(N);
    if constexpr (N == 1) y[0] = x[0];
    else if constexpr (N == 4) Radix4<S>(x, y);
    else if constexpr (N == 8) Radix8<S>(x, y);
    else if constexpr (f == N) PrimeDft<N, S>(x, y);
    else if constexpr (Gcd(f, N / f) == 1) PrimeFactorDft<f, N / f, S>(x, y);
    else SplitDft<f, N / f, S>(x, y, std::make_integer_sequence<int, N / f>{});
}

}  // namespace orb::dft::ORB_KNS

#endif
