// Stockham stages of the complex FFT, compiled once per processor level.
// One stage reads x[q + s*(p + k*m)] and writes y[q + s*(r*p + t)] times
// w^(p*t); the q loop is vectorised when s holds whole packs, the p loop
// when s == 1. The last stage (m == 1) has no twiddles and applies the
// scale instead.
#include <omp.h>

#include <string.h>

#include <algorithm>

#include "dft/engine/butterflies.h"
#include "dft/engine/stage_kernels.h"

namespace orb::dft::ORB_KNS {
namespace {

using pack::kLanes;
using pack::Pack;
using pack::Reverse;

// One complex double in a 128-bit register, for the SSE2-class build (where
// a vector holds a single complex double): the butterflies then run on
// packed instead of scalar arithmetic.
struct CxD1 {
    typedef double V __attribute__((vector_size(16), aligned(8)));
    V v;
    static CxD1 Load(const Cx<double> *p) {
        CxD1 r;
        memcpy(&r.v, p, sizeof(V));
        return r;
    }
    static CxD1 Bcast(const Cx<double> &w) { return Load(&w); }
    void Store(Cx<double> *p) const { memcpy(p, &v, sizeof(V)); }
    static V Swap(V a) { return __builtin_shufflevector(a, a, 1, 0); }
    __attribute__((always_inline)) friend CxD1 operator+(CxD1 a, CxD1 b) { return {a.v + b.v}; }
    __attribute__((always_inline)) friend CxD1 operator-(CxD1 a, CxD1 b) { return {a.v - b.v}; }
    __attribute__((always_inline)) friend CxD1 operator*(CxD1 a, double k) { return {a.v * k}; }
    __attribute__((always_inline)) friend CxD1 Mul(CxD1 a, CxD1 w) {
        const V re = {w.v[0], w.v[0]}, im = {-w.v[1], w.v[1]};
        return {a.v * re + Swap(a.v) * im};
    }
    // Sign flips by xor, as the vector packs do.
    __attribute__((always_inline)) friend CxD1 MulI(CxD1 a) { return {pack::FlipSigns<true, false>(Swap(a.v))}; }
    __attribute__((always_inline)) friend CxD1 MulNegI(CxD1 a) { return {pack::FlipSigns<false, true>(Swap(a.v))}; }
};

// Single-element pack of the stage loops' remainders (and of every loop
// when a vector holds one complex).
template <class T>
struct OnePack {
    using type = Pack<T, 1>;
};
template <>
struct OnePack<double> {
    using type = CxD1;
};


// What a stage does after its butterflies: twiddle (m > 1), scale (the
// last stage when scale != 1), or nothing. A template argument, so that the
// inner loops carry no test.
enum class Post { kNone, kTwiddle, kScale };

// One butterfly column: a[k] loaded, transformed, twiddled (a[t + 1]
// becomes twiddle(t, a[t + 1])), stored.
template <int R, int S, Post PO, class T, class P, class LoadF, class StoreF, class TwiddleF>
__attribute__((always_inline)) inline void Column(LoadF load, StoreF store_all, TwiddleF twiddle, T scale) {
    P a[R];
    bfly::StaticFor<R>([&](auto k) __attribute__((always_inline)) { a[k] = load(k); });
    bfly::Butterfly<R, S, T>(a);
    if constexpr (PO == Post::kTwiddle) {
        bfly::StaticFor<R - 1>([&](auto t) __attribute__((always_inline)) { a[t + 1] = twiddle(t, a[t + 1]); });
    } else if constexpr (PO == Post::kScale) {
        bfly::StaticFor<R>([&](auto t) __attribute__((always_inline)) { a[t] = a[t] * scale; });
    }
    store_all(a);
}

// Hides a loop index from the optimiser. Without it the compiler turns each
// of a column's 2R leg addresses into its own pointer stepped every
// iteration, more than the registers hold, and spends a third of the loop
// spilling and reloading them; with it each address is an invariant base
// plus the index.
#define ORB_OPAQUE_INDEX(i) __asm__("" : "+r"(i))

// Twiddle w^(p (t+1)) of a stage: t-major for the first stage (s == 1, read
// as vectors over p), p-major for the others (broadcast per p).
inline int64_t TwIndex(int64_t p, int t, int64_t m, int r, bool tmajor) {
    return tmajor ? t * m + p : p * (r - 1) + t;
}

// One vector of a first stage's butterflies (s == 1), columns p..p+L-1,
// legs from load(k): twiddles contiguous in p, outputs interleaved by R
// (pairs of lanes transposed when L == 2, 4 x 4 tiles when L == 4).
template <int R, int S, Post PO, class T, class LoadF>
__attribute__((always_inline)) inline void FirstStageVector(LoadF load, Cx<T> *y, int64_t p, int64_t m,
                                                            const Cx<T> *tw, T scale) {
    constexpr int L = kLanes<T>;
    using PV = Pack<T, L>;
    PV w[R > 1 ? R - 1 : 1];
    if constexpr (PO == Post::kTwiddle)
        for (int t = 0; t < R - 1; ++t) w[t] = PV::Load(tw + t * m + p);
    Column<R, S, PO, T, PV>(
        load,
        [&](PV *a) __attribute__((always_inline)) {
            Cx<T> *yp = y + R * p;
            if constexpr (L == 2) {
                bfly::StaticFor<R / 2>([&](auto h) __attribute__((always_inline)) {
                    PV::Lo(a[2 * h], a[2 * h + 1]).Store(yp + 2 * h);
                    PV::Hi(a[2 * h], a[2 * h + 1]).Store(yp + R + 2 * h);
                });
                if constexpr (R % 2 == 1) a[R - 1].Scatter(yp + R - 1, R);
            } else if constexpr (L == 4 && R % 4 == 0) {
                // Four lanes: 4 x 4 tiles transposed in registers, stored as
                // whole vectors.
                bfly::StaticFor<R / 4>([&](auto h) __attribute__((always_inline)) {
                    PV::Transpose4(a + 4 * h);
                    bfly::StaticFor<4>([&](auto j) __attribute__((always_inline)) {
                        a[4 * h + j].Store(yp + R * j + 4 * h);
                    });
                });
            } else {
                bfly::StaticFor<R>([&](auto t) __attribute__((always_inline)) { a[t].Scatter(yp + t, R); });
            }
        },
        [&](int t, PV a) __attribute__((always_inline)) { return Mul(a, w[t]); }, scale);
}

template <int R, int S, Post PO, class T>
void StageBody(const Cx<T> *x, Cx<T> *y, int64_t m, int64_t s, const Cx<T> *tw, bool tmajor, T scale,
               int64_t p0, int64_t p1, int64_t q0, int64_t q1) {
    constexpr int L = kLanes<T>;
    using PV = Pack<T, L>;
    using P1 = typename OnePack<T>::type;
    constexpr bool twiddled = PO == Post::kTwiddle;
    const int64_t ks = s * m;  // input distance between butterfly legs
    if constexpr (L > 1) {
        if (s == 1 && p1 - p0 >= L) {
            // Vector over p: legs and twiddles contiguous in p.
            int64_t p = p0;
            for (; p + L <= p1; p += L) {
                ORB_OPAQUE_INDEX(p);
                FirstStageVector<R, S, PO, T>([&](int k) __attribute__((always_inline)) { return PV::Load(x + p + k * ks); },
                                              y, p, m, tw, scale);
            }
            p0 = p;
        }
    }
    for (int64_t p = p0; p < p1; ++p) {
        const Cx<T> *xp = x + s * p;
        Cx<T> *yp = y + s * R * p;
        int64_t q = q0;
        if constexpr (L > 1) {
            if (s >= L) {
                // One twiddle for every lane: its parts splatted once per p,
                // so the multiplies in the q loop shuffle only the data.
                typename PV::V wr[R > 1 ? R - 1 : 1], wi[R > 1 ? R - 1 : 1];
                if constexpr (twiddled)
                    for (int t = 0; t < R - 1; ++t) {
                        const Cx<T> w = tw[TwIndex(p, t, m, R, tmajor)];
                        wr[t] = PV::Splat(w.re), wi[t] = PV::Splat(w.im);
                    }
                for (; q + L <= q1; q += L) {
                    ORB_OPAQUE_INDEX(q);
                    Column<R, S, PO, T, PV>(
                        [&](int k) __attribute__((always_inline)) { return PV::Load(xp + q + k * ks); },
                        [&](PV *a) __attribute__((always_inline)) {
                            bfly::StaticFor<R>([&](auto t) __attribute__((always_inline)) { a[t].Store(yp + q + t * s); });
                        },
                        [&](int t, PV a) __attribute__((always_inline)) { return PV::MulParts(a, wr[t], wi[t]); },
                        scale);
                }
            }
        }
        if (q < q1) {
            P1 w[R > 1 ? R - 1 : 1];
            if constexpr (twiddled)
                for (int t = 0; t < R - 1; ++t) w[t] = P1::Bcast(tw[TwIndex(p, t, m, R, tmajor)]);
            for (; q < q1; ++q)
                Column<R, S, PO, T, P1>(
                    [&](int k) __attribute__((always_inline)) { return P1::Load(xp + q + k * ks); },
                    [&](P1 *a) __attribute__((always_inline)) {
                        bfly::StaticFor<R>([&](auto t) __attribute__((always_inline)) { a[t].Store(yp + q + t * s); });
                    },
                    [&](int t, P1 a) __attribute__((always_inline)) { return Mul(a, w[t]); }, scale);
        }
    }
}

template <int R, int S, class T>
void StageFixed(const Cx<T> *x, Cx<T> *y, int64_t m, int64_t s, const Cx<T> *tw, bool tmajor, T scale,
                int64_t p0, int64_t p1, int64_t q0, int64_t q1) {
    if (m > 1) StageBody<R, S, Post::kTwiddle, T>(x, y, m, s, tw, tmajor, scale, p0, p1, q0, q1);
    else if (scale != T(1)) StageBody<R, S, Post::kScale, T>(x, y, m, s, tw, tmajor, scale, p0, p1, q0, q1);
    else StageBody<R, S, Post::kNone, T>(x, y, m, s, tw, tmajor, scale, p0, p1, q0, q1);
}

// Run-time odd radix r (scalar packs; these radices are rare).
template <class T>
void StageGeneric(int r, const Cx<T> *x, Cx<T> *y, int64_t m, int64_t s, const Cx<T> *tw, bool tmajor,
                  const Cx<T> *roots, T scale, int64_t p0, int64_t p1, int64_t q0, int64_t q1) {
    using P1 = Pack<T, 1>;
    P1 a[kMaxGenericRadix], out[kMaxGenericRadix], sd[kMaxGenericRadix];
    const int64_t ks = s * m;
    for (int64_t p = p0; p < p1; ++p) {
        for (int64_t q = q0; q < q1; ++q) {
            for (int k = 0; k < r; ++k) a[k] = P1::Load(x + q + s * p + k * ks);
            bfly::Generic<T>(r, roots, a, out, sd, sd + kMaxGenericRadix / 2);
            if (m > 1) {
                for (int t = 1; t < r; ++t) out[t] = Mul(out[t], P1::Bcast(tw[TwIndex(p, t - 1, m, r, tmajor)]));
            } else if (scale != T(1)) {
                for (int t = 0; t < r; ++t) out[t] = out[t] * scale;
            }
            for (int t = 0; t < r; ++t) out[t].Store(y + q + s * (r * p + t));
        }
    }
}

// The radices with straight-line butterflies (HasFixedButterfly).
#define ORB_FIXED_RADICES(X) X(2) X(3) X(4) X(5) X(7) X(8) X(11) X(13) X(16) X(6) X(10) X(12)

template <int S, class T>
void RunStage(const StagePlan<T> &pl, int i, int64_t vb, const Cx<T> *x, Cx<T> *y, T scale, int64_t p0,
              int64_t p1, int64_t q0, int64_t q1) {
    const StageInfo &st = pl.st[i];
    const Cx<T> *tw = pl.tw + st.tw;
    const int64_t s = st.s * vb;
    const bool tmajor = i == 0;
    switch (st.radix) {
#define ORB_RADIX_CASE(R) \
    case R: StageFixed<R, S, T>(x, y, st.m, s, tw, tmajor, scale, p0, p1, q0, q1); break;
        ORB_FIXED_RADICES(ORB_RADIX_CASE)
#undef ORB_RADIX_CASE
    default:
        StageGeneric<T>(st.radix, x, y, st.m, s, tw, tmajor, pl.tw + st.rtab, scale, p0, p1, q0, q1);
    }
}

// ---- backward real rows: the pair step inside the first stage ----
// The complex row Z of h points a backward real transform runs through
// comes from the half spectrum x: Z[j] = E + u_j D (1 <= j < h), E = x[j] +
// conj x[h-j], D = x[j] - conj x[h-j], u_j from the pair step's table for
// 2j < h, u_(h/2) = -1, u_j = conj u_(h-j) above. The first stage forms
// each leg as it loads it, so Z never crosses memory. Its legs j = p + k m
// (column p of m, k < R) mirror h - j = (R-1-k) m + (m - p): columns p and
// m - p pair up, their legs in reverse order.

// E + u_j D from a = x[j] and b = conj x[h-j].
template <class T>
inline Pack<T, 1> PairStep(Pack<T, 1> a, Pack<T, 1> b, const Cx<T> *u, int64_t h, int64_t j) {
    using P = Pack<T, 1>;
    const P uj = 2 * j < h ? P::Load(u + j) : 2 * j == h ? P{T(-1), T(0)} : Conj(P::Load(u + h - j));
    return (a + b) + Mul(a - b, uj);
}

template <class T>
inline Cx<T> PairedBin(const Cx<T> *x, const Cx<T> *u, int64_t h, int64_t j) {
    using P = Pack<T, 1>;
    Cx<T> z;
    PairStep(P::Load(x + j), Conj(P::Load(x + h - j)), u, h, j).Store(&z);
    return z;
}

// The pair step across a vector of leg k of columns p.. (a) and leg R-1-k
// of the mirrored columns q.. (b, in its own lane order), legs `stride`
// apart: Z for the first (*lo) and, in its lane order, for the second (*hi).
// Legs below h/2 read the table where they lie, the others at their
// mirrors.
template <int R, class T, class PV>
__attribute__((always_inline)) inline void PairLegs(PV a, PV b, const Cx<T> *u, int64_t p, int64_t q, int64_t stride,
                                                    int k, PV *lo, PV *hi) {
    const PV bc = Conj(Reverse(b));
    const PV uk = 2 * k + 1 <= R ? PV::Load(u + p + k * stride) : Conj(Reverse(PV::Load(u + (R - 1 - k) * stride + q)));
    const PV e = a + bc, t = Mul(a - bc, uk);
    *lo = e + t;
    *hi = Reverse(Conj(e - t));
}

// f(p, q) for each vector of columns p..p+L-1 below m/2 (from 1) with its
// mirror q..q+L-1 (q = m - p - (L-1)); returns the first column left to
// the one-by-one path. None where a vector holds one complex number.
template <class T, class F>
__attribute__((always_inline)) inline int64_t ForMirroredVectors(int64_t m, F f) {
    constexpr int L = kLanes<T>;
    int64_t p = 1;
    if constexpr (L > 1)
        for (; 2 * p + 2 * L - 2 < m; p += L) {
            ORB_OPAQUE_INDEX(p);
            f(p, m - p - (L - 1));
        }
    return p;
}

template <int R, int S, class T>
void PairedFirstStage(const Cx<T> *x, const Cx<T> *u, Cx<T> z0, Cx<T> *y, int64_t m, const Cx<T> *tw) {
    using PV = Pack<T, kLanes<T>>;
    const int64_t h = R * m;
    const int64_t p_left = ForMirroredVectors<T>(m, [&](int64_t p, int64_t q) __attribute__((always_inline)) {
        PV zp[R], zq[R];
        bfly::StaticFor<R>([&](auto k) __attribute__((always_inline)) {
            PairLegs<R, T>(PV::Load(x + p + k * m), PV::Load(x + (R - 1 - k) * m + q), u, p, q, m, k, &zp[k],
                           &zq[R - 1 - k]);
        });
        FirstStageVector<R, S, Post::kTwiddle, T>([&](int k) __attribute__((always_inline)) { return zp[k]; }, y, p,
                                                  m, tw, T(1));
        FirstStageVector<R, S, Post::kTwiddle, T>([&](int k) __attribute__((always_inline)) { return zq[k]; }, y, q,
                                                  m, tw, T(1));
    });
    // Column 0 (Z[0] = z0 given), and the columns the vectors left, one by
    // one.
    using P1 = typename OnePack<T>::type;
    const auto column = [&](int64_t c) {
        P1 w[R - 1];
        for (int t = 0; t < R - 1; ++t) w[t] = P1::Bcast(tw[t * m + c]);
        Column<R, S, Post::kTwiddle, T, P1>(
            [&](int k) {
                const Cx<T> z = c + k == 0 ? z0 : PairedBin(x, u, h, c + k * m);
                return P1::Load(&z);
            },
            [&](P1 *a) {
                bfly::StaticFor<R>([&](auto t) __attribute__((always_inline)) { a[t].Store(y + R * c + t); });
            },
            [&](int t, P1 a) { return Mul(a, w[t]); }, T(1));
    };
    column(0);
    for (int64_t c = p_left; c <= m - p_left; ++c) column(c);
}

// out = scale * DFT(Z), Z as above: the first stage into work, the others
// alternating so that the last (twiddle-free, so free to overwrite its own
// input) writes out.
template <int S, class T>
void PairedStages(const StagePlan<T> &pl, const Cx<T> *x, const Cx<T> *u, Cx<T> z0, Cx<T> *out, Cx<T> *work,
                  T scale) {
    const StageInfo &st = pl.st[0];
    switch (st.radix) {
#define ORB_RADIX_CASE(R) \
    case R: PairedFirstStage<R, S, T>(x, u, z0, work, st.m, pl.tw + st.tw); break;
        ORB_FIXED_RADICES(ORB_RADIX_CASE)
#undef ORB_RADIX_CASE
    default: return;  // PairedStagesFit keeps these off
    }
    const Cx<T> *src = work;
    Cx<T> *dst = out;
    const int k = pl.nstages;
    for (int i = 1; i < k; ++i) {
        if (i == k - 1) dst = out;
        RunStage<S, T>(pl, i, 1, src, dst, i == k - 1 ? scale : T(1), 0, pl.st[i].m, 0, pl.st[i].s);
        src = dst;
        dst = dst == out ? work : out;
    }
}

template <class T>
void PairedStagesAny(const StagePlan<T> &pl, const Cx<T> *x, const Cx<T> *u, Cx<T> z0, Cx<T> *out, Cx<T> *work,
                     T scale) {
    if (pl.sign < 0) PairedStages<-1, T>(pl, x, u, z0, out, work, scale);
    else PairedStages<1, T>(pl, x, u, z0, out, work, scale);
}

// ---- forward real rows: the pair step inside the last stage ----
// The spectrum of a real row of 2h points from the FFT Z of the row read as
// h complex numbers: X[j] = f (E + u_j D) (1 <= j < h), E and D from Z as
// above, f = scale / 2. The last stage (m == 1, s = h / R: column q reads
// and writes q + s t, t < R) pairs column q with s - q, whose outputs
// mirror its own in reverse order; it finishes both before it stores, so it
// may run in place.

template <int R, int S, class T>
void PairedLastStage(const Cx<T> *x, Cx<T> *y, int64_t s, const Cx<T> *u, T f, Cx<T> *z0) {
    using PV = Pack<T, kLanes<T>>;
    const int64_t h = R * s;
    const int64_t q_left = ForMirroredVectors<T>(s, [&](int64_t q, int64_t r) __attribute__((always_inline)) {
        PV za[R], zb[R];
        const auto transform = [&](int64_t c, PV *z) __attribute__((always_inline)) {
            Column<R, S, Post::kNone, T, PV>(
                [&](int k) __attribute__((always_inline)) { return PV::Load(x + c + k * s); },
                [&](PV *a) __attribute__((always_inline)) {
                    bfly::StaticFor<R>([&](auto t) __attribute__((always_inline)) { z[t] = a[t]; });
                },
                [&](int, PV a) __attribute__((always_inline)) { return a; }, T(1));
        };
        transform(q, za);
        transform(r, zb);
        bfly::StaticFor<R>([&](auto t) __attribute__((always_inline)) {
            PV lo, hi;
            PairLegs<R, T>(za[t], zb[R - 1 - t], u, q, r, s, t, &lo, &hi);
            (lo * f).Store(y + q + t * s);
            (hi * f).Store(y + r + (R - 1 - t) * s);
        });
    });
    // Column 0 (pairing with itself, t with R - t) and the columns the
    // vectors left, each with its mirror; Z[0] goes back to the caller.
    using P1 = Pack<T, 1>;
    const auto pair = [&](int64_t c) {
        const int64_t c2 = c == 0 ? 0 : s - c;
        P1 z[2][R];
        for (int side = 0; side < (c2 == c ? 1 : 2); ++side)
            Column<R, S, Post::kNone, T, P1>(
                [&](int k) { return P1::Load(x + (side ? c2 : c) + k * s); },
                [&](P1 *a) { for (int t = 0; t < R; ++t) z[side][t] = a[t]; }, [&](int, P1 a) { return a; }, T(1));
        const auto at = [&](int64_t j) { return z[j % s == c ? 0 : 1][j / s]; };
        for (int side = 0; side < (c2 == c ? 1 : 2); ++side)
            for (int t = 0; t < R; ++t) {
                const int64_t j = (side ? c2 : c) + t * s;
                if (j == 0) continue;
                (PairStep(at(j), Conj(at(h - j)), u, h, j) * f).Store(y + j);
            }
        if (c == 0) z[0][0].Store(z0);
    };
    pair(0);
    for (int64_t c = q_left; 2 * c <= s; ++c) pair(c);
}

// out = the spectrum above from in (the real row as h complex numbers; may
// equal out): the stages but the last alternating as a plain call would,
// then the paired last stage into out. *z0 = Z[0], for bins 0 and h.
template <int S, class T>
void PairedForward(const StagePlan<T> &pl, const Cx<T> *in, Cx<T> *out, Cx<T> *work, const Cx<T> *u, T f,
                   Cx<T> *z0) {
    const int k = pl.nstages;
    const Cx<T> *src = in;
    Cx<T> *dst = k % 2 == 1 && in != out ? out : work;
    for (int i = 0; i < k - 1; ++i) {
        RunStage<S, T>(pl, i, 1, src, dst, T(1), 0, pl.st[i].m, 0, pl.st[i].s);
        src = dst;
        dst = dst == out ? work : out;
    }
    switch (pl.st[k - 1].radix) {
#define ORB_RADIX_CASE(R) \
    case R: PairedLastStage<R, S, T>(src, out, pl.st[k - 1].s, u, f, z0); break;
        ORB_FIXED_RADICES(ORB_RADIX_CASE)
#undef ORB_RADIX_CASE
    default: break;  // PairedForwardFn's callers keep these off
    }
}

template <class T>
void PairedForwardAny(const StagePlan<T> &pl, const Cx<T> *in, Cx<T> *out, Cx<T> *work, const Cx<T> *u, T f,
                      Cx<T> *z0) {
    if (pl.sign < 0) PairedForward<-1, T>(pl, in, out, work, u, f, z0);
    else PairedForward<1, T>(pl, in, out, work, u, f, z0);
}

// Share of stage i for thread `id` of `nth`: split p when there are
// enough butterfly groups, else split q in whole packs.
template <class T>
void StageShare(const StageInfo &st, int64_t vb, int id, int nth, int64_t *p0, int64_t *p1, int64_t *q0,
                int64_t *q1) {
    const int64_t s = st.s * vb;
    *p0 = 0, *p1 = st.m, *q0 = 0, *q1 = s;
    if (nth <= 1) return;
    if (st.m >= nth) {
        *p0 = st.m * id / nth;
        *p1 = st.m * (id + 1) / nth;
    } else {
        const int64_t L = kLanes<T>;
        int64_t chunks = (s + L - 1) / L;
        *q0 = std::min(s, chunks * id / nth * L);
        *q1 = std::min(s, chunks * (id + 1) / nth * L);
    }
}

// last_in_place: the last stage writes over its own input (allowed because
// with m == 1 each column reads and writes the same R elements, all loaded
// before any is stored).
template <int S, class T>
void StagesSerial(const StagePlan<T> &pl, int64_t vb, const Cx<T> *src, Cx<T> *dst, Cx<T> *out, Cx<T> *work,
                  T scale, bool last_in_place) {
    const int k = pl.nstages;
    for (int i = 0; i < k; ++i) {
        if (i == k - 1 && last_in_place) dst = out;
        RunStage<S, T>(pl, i, vb, src, dst, i == k - 1 ? scale : T(1), 0, pl.st[i].m, 0, pl.st[i].s * vb);
        src = dst;
        dst = (dst == out) ? work : out;
    }
}

// Kept out of line so that the serial path never touches the OpenMP runtime.
template <int S, class T>
__attribute__((noinline)) void StagesParallel(const StagePlan<T> &pl, int64_t vb, const Cx<T> *src0, Cx<T> *dst0, Cx<T> *out,
                                              Cx<T> *work, T scale, int nthreads, bool last_in_place) {
    const int k = pl.nstages;
#pragma omp parallel num_threads(nthreads)
    {
        const int id = omp_get_thread_num(), nth = omp_get_num_threads();
        const Cx<T> *src = src0;
        Cx<T> *dst = dst0;
        for (int i = 0; i < k; ++i) {
            int64_t p0, p1, q0, q1;
            if (i == k - 1 && last_in_place) dst = out;
            StageShare<T>(pl.st[i], vb, id, nth, &p0, &p1, &q0, &q1);
            RunStage<S, T>(pl, i, vb, src, dst, i == k - 1 ? scale : T(1), p0, p1, q0, q1);
#pragma omp barrier
            src = dst;
            dst = (dst == out) ? work : out;
        }
    }
}

template <int S, class T>
void Exec(const StagePlan<T> &pl, const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads, int64_t vb) {
    const int k = pl.nstages;
    const int64_t total = pl.n * vb;
    if (k == 0) {
        for (int64_t j = 0; j < total; ++j) out[j] = {in[j].re * scale, in[j].im * scale};
        return;
    }
    // Ping-pong so that the last stage writes `out`.
    Cx<T> *dst0 = (k % 2 == 1) ? out : work;
    const Cx<T> *src0 = in;
    bool last_in_place = false;
    if (src0 == dst0) {
        // In place with an odd stage count: the others ping-pong (the first
        // writing `work`) and the last (always m == 1) overwrites its input
        // in `out`, which saves copying the input away first.
        dst0 = work;
        last_in_place = true;
    }
    if (nthreads <= 1) StagesSerial<S, T>(pl, vb, src0, dst0, out, work, scale, last_in_place);
    else StagesParallel<S, T>(pl, vb, src0, dst0, out, work, scale, nthreads, last_in_place);
}

template <class T>
void ExecAny(const StagePlan<T> &pl, const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads,
             int64_t vb) {
    if (pl.sign < 0) Exec<-1, T>(pl, in, out, work, scale, nthreads, vb);
    else Exec<1, T>(pl, in, out, work, scale, nthreads, vb);
}

}  // namespace

void ExecStagesD(const StagePlan<double> &pl, const Cx<double> *in, Cx<double> *out,
                 Cx<double> *work, double scale, int nthreads, int64_t vb) {
    ExecAny<double>(pl, in, out, work, scale, nthreads, vb);
}

void ExecStagesF(const StagePlan<float> &pl, const Cx<float> *in, Cx<float> *out,
                 Cx<float> *work, float scale, int nthreads, int64_t vb) {
    ExecAny<float>(pl, in, out, work, scale, nthreads, vb);
}

// Where a vector holds one complex number the columns are not paired and
// the fused stage ran 1.03-1.08x slower than the separate pair step (SSE2
// class, double): no kernel there.
PairedStagesFn<double> PairedStagesD() {
    if constexpr (kLanes<double> > 1) return &PairedStagesAny<double>;
    else return nullptr;
}

PairedStagesFn<float> PairedStagesF() { return &PairedStagesAny<float>; }

PairedForwardFn<double> PairedForwardD() {
    if constexpr (kLanes<double> > 1) return &PairedForwardAny<double>;
    else return nullptr;
}

// Single precision ran 1.02-1.16x slower paired (AVX2+FMA, 65536 and
// 98304 points): no kernel.
PairedForwardFn<float> PairedForwardF() { return nullptr; }

}  // namespace orb::dft::ORB_KNS
