// Complex transforms of n = n1 * n2 (both lengths with a codelet) as two
// passes over memory, each a loop of straight-line codelet bodies run on
// vectors of L adjacent columns:
//  1. columns: the length-n2 DFT over j2 of x[j1 + n1 j2] for L adjacent
//     j1, L x L blocks transposed in registers, stored as rows
//     Y[j1 n2 + k2] (contiguous vectors; four lanes as 2 x 2 blocks and
//     half-vector stores);
//  2. twiddled columns: Y[j1 n2 + k2] times w_n^(j1 k2) for L adjacent k2,
//     the length-n1 DFT over j1, stored at out[k2 + n2 k1], the final order.
// Y is `out` itself (pass 2 then runs in place: each body loads all it
// reads before it stores) or `work` when in == out. Against the radix-8/4
// stages this reads and writes the data twice instead of three to five
// times, which is what bounds those lengths.
//
// Each (precision, direction) set is its own translation unit, like the
// codelets, and only the pairs the plan's rule asks for are instantiated.
#ifndef ORB_DFT_ENGINE_TWO_PASS_H
#define ORB_DFT_ENGINE_TWO_PASS_H

#include "dft/engine/codelet_rows.h"

namespace orb::dft::ORB_KNS {

// Both passes for n1 x n2 in one direction (null when the pair has none).
TwoPassFn<double> ForwardTwoPassD(int64_t n1, int64_t n2);
TwoPassFn<double> BackwardTwoPassD(int64_t n1, int64_t n2);
TwoPassFn<float> ForwardTwoPassF(int64_t n1, int64_t n2);
TwoPassFn<float> BackwardTwoPassF(int64_t n1, int64_t n2);

namespace twopass {

using pack::Pack;

// First factor A of a codelet length's split n = A * B (0 without one).
constexpr int CodeletSplit(int n) {
#define ORB_DFT_SPLIT_OF(N, A, B) \
    if (n == N) return A;
    ORB_DFT_CODELETS(ORB_DFT_SPLIT_OF)
#undef ORB_DFT_SPLIT_OF
    return 0;
}

// Pass 1 for columns j1 .. j1+LL-1. With more than one lane a vector, each
// group of outputs is stored as soon as the body has produced all of it (a
// bit mask the compiler folds away): the body's last butterflies hand
// outputs over in strides, and holding all N2 of them to the end spilled
// more (single 4096: 221 spill stores and 263 reloads a block of 64 x 4,
// 163 and 225 so; with AVX2+FMA single 1024-4096 0.85-0.98 of the time,
// double 960 and 1000 0.92-0.97). One lane a vector stores the row at the
// end, in order: out of order, double 500 and 1000 ran 5% slower.
template <int N1, int N2, int S, class T, int LL>
__attribute__((always_inline)) inline void Columns(const Cx<T> *x, Cx<T> *y, int64_t j1) {
    using P = Pack<T, LL>;
    static_assert(N2 <= 64, "the ready mask holds 64 outputs");
    constexpr int A = CodeletSplit(N2);
    // Four lanes store pairs: single 128-1024 points ran 10-15% faster so
    // with AVX2+FMA (5-10% with AVX) than through 4 x 4 transposes; two
    // complex doubles a vector stored as halves measured no faster.
    constexpr int G = LL == 4 ? 2 : LL == 1 ? N2 : LL;  // outputs a group
    constexpr uint64_t kGroup = G == 64 ? ~uint64_t(0) : (uint64_t(1) << G) - 1;
    P o[N2];
    uint64_t ready = 0;
    codelet::Body<A, N2 / A, S, T, P>(
        [&](int j) __attribute__((always_inline)) { return P::Load(x + j1 + N1 * j); },
        [&](int k, P v) __attribute__((always_inline)) {
            o[k] = v;
            ready |= uint64_t(1) << k;
            const int g = k - k % G;
            if (((ready >> g) & kGroup) != kGroup) return;
            if constexpr (LL == 4) {
                P::StorePairs(o[g], o[g + 1], y + j1 * N2 + g, N2);
            } else {
                bfly::StaticFor<G / LL>([&](auto b) __attribute__((always_inline)) {
                    P t[LL];
                    codelet::Transpose<LL>(&o[g + b * LL], t);
                    bfly::StaticFor<LL>([&](auto c) __attribute__((always_inline)) {
                        t[c].Store(y + (j1 + c) * N2 + g + b * LL);
                    });
                });
            }
        },
        T(1));
}

// v times the twiddle whose real part fills `re` and imaginary part `im`
// ({c, c} and {s, s} in each complex slot): the tables' duplicated form
// spares the two shuffles a multiply by an interleaved twiddle takes.
template <class P, class T>
__attribute__((always_inline)) inline P DupTableMul(P v, const Cx<T> *re, const Cx<T> *im) {
    if constexpr (pack::kVectorPack<P>) return P::MulParts(v, P::Load(re).v, P::Load(im).v);
    else return pack::MulConst(v, re->re, im->re);
}

// v times w_n^(j1 k2) from the pass's table, in either layout
// (TwoPassInterleavedTwiddles).
template <int N1, int N2, class P, class T>
__attribute__((always_inline)) inline P TwiddleMul(P v, const Cx<T> *tw, int j1, int64_t k2) {
    if constexpr (TwoPassInterleavedTwiddles<T>(N1 * N2)) return Mul(v, P::Load(tw + j1 * N2 + k2));
    else return DupTableMul(v, tw + j1 * N2 + k2, tw + N1 * N2 + j1 * N2 + k2);
}

// Pass 2 for outputs k2 .. k2+LL-1 (of every k1), each pack of outputs
// handed to store(k2 + N2 k1, pack).
template <int N1, int N2, int S, class T, int LL, class Store>
__attribute__((always_inline)) inline void TwiddledColumnsTo(const Cx<T> *y, const Cx<T> *tw, int64_t k2, T scale,
                                                             Store store) {
    using P = Pack<T, LL>;
    constexpr int A = CodeletSplit(N1);
    codelet::Body<A, N1 / A, S, T, P>(
        [&](int j) __attribute__((always_inline)) {
            const P v = P::Load(y + j * N2 + k2);
            return j == 0 ? v : TwiddleMul<N1, N2>(v, tw, j, k2);
        },
        [&](int k, P v) __attribute__((always_inline)) { store(k2 + N2 * k, v); }, scale);
}

// The same, stored in the final order.
template <int N1, int N2, int S, class T, int LL>
__attribute__((always_inline)) inline void TwiddledColumns(const Cx<T> *y, Cx<T> *out, const Cx<T> *tw, int64_t k2,
                                                           T scale) {
    TwiddledColumnsTo<N1, N2, S, T, LL>(
        y, tw, k2, scale, [out](int64_t k, Pack<T, LL> v) __attribute__((always_inline)) { v.Store(out + k); });
}

// Pass 2 over every k2. A scale of 1 (the usual forward transform) is a
// loop of its own that multiplies nothing.
template <int N1, int N2, int S, class T>
void TwiddledPass(const Cx<T> *y, Cx<T> *out, const Cx<T> *tw, T scale) {
    constexpr int LL = codelet::RowLanes<T, N1, N2>();
    if (scale == T(1)) {
        for (int64_t k2 = 0; k2 < N2; k2 += LL) TwiddledColumns<N1, N2, S, T, LL>(y, out, tw, k2, T(1));
    } else {
        for (int64_t k2 = 0; k2 < N2; k2 += LL) TwiddledColumns<N1, N2, S, T, LL>(y, out, tw, k2, scale);
    }
}

// out = scale * DFT(x); w_n^(j1 k2) = c + i s is at tw[j1 n2 + k2], or
// below 16 KiB of data {c, c} there and {s, s} at tw[n + j1 n2 + k2]
// (TwoPassInterleavedTwiddles); work holds n elements (used only when
// x == out).
template <int N1, int N2, int S, class T>
void Run(const Cx<T> *x, Cx<T> *out, Cx<T> *work, const Cx<T> *tw, T scale) {
    constexpr int LL = codelet::RowLanes<T, N1, N2>();
    Cx<T> *y = x == out ? work : out;
    for (int64_t j1 = 0; j1 < N1; j1 += LL) Columns<N1, N2, S, T, LL>(x, y, j1);
    TwiddledPass<N1, N2, S, T>(y, out, tw, scale);
}

// (n1, n2) pairs with a two-pass kernel: the splits TwoPassSplit picks
// (fft1d.cpp), where they measured faster than the stages. With 256-bit
// vectors 1536 and 2048 were 5-10% slower (a 32- or 64-point body spills
// half its vectors), 1024 no faster, 512 4% slower with AVX but up to 7%
// faster with FMA; one complex double a vector (the SSE2-class build) they
// gained 5-15%. 4096 (64 x 64) and 1000 (40 x 25, scalar: 25 takes no
// lanes) were slower at every level.
//
// 500 (10 x 50) and 1000 (20 x 50) against the stages in the same process,
// ns a transform, AVX2+FMA: double 1380-1450 -> 910-1000 and 2630-2750 ->
// 2170-2390, single 930-960 -> 880-890 but 1350-1420 -> 1950-1980 at 1000,
// which keeps its stages; AVX alike (double 1000 2750-3760 -> 2390-3210,
// single 1000 30-40% slower). SSE2-class: double 500 2-16% faster, 1000
// equal within noise; single 1470 -> 900 and 2570 -> 2010.
//
// AVX2+FMA also takes every product of two even codelet lengths from 72 to
// 960 in its list (fft1d.cpp's table); single precision keeps the stages at
// 160, 180, 200, 288, 360, 600 and 960, where these splits ran 0.93-1.20 of
// the stages' time (two complex floats a vector where n1 or n2 is not a
// multiple of four, or a 30-point body). In-process against the stages,
// time ratios, double (single): 72 0.41 (0.67), 80 0.58 (0.73), 96 0.58
// (0.72), 120 0.40 (0.48), 144 0.44 (0.44), 160 0.66, 180 0.46, 192 0.56
// (0.59), 200 0.60, 240 0.62 (0.46), 288 0.53, 300 0.43 (0.62), 320 0.68
// (0.70), 360 0.59, 384 0.64 (0.80), 400 0.73 (0.43), 480 0.65 (0.70), 600
// 0.77, 640 0.72 (0.74), 720 0.53 (0.86), 800 0.81 (0.78), 960 0.67; in
// batches of 64-1000 rows (now one row at a time) 0.37-0.74. The
// SSE2-class build (the default level where the vendor test fails) takes
// the pairs built for both precisions: double 72-800 0.52-0.85, single
// 0.41-0.77 of the stages' time. The AVX level keeps the stages there:
// each pair costs compile time at every level it is built for.
#if ORB_KLEVEL >= 7
#define ORB_DFT_TWO_PASS(X)                                                                                   \
    X(10, 10) X(16, 8) X(16, 16) X(32, 16) X(10, 50) X(12, 6) X(10, 8) X(12, 8) X(12, 10) X(12, 12) X(16, 12) \
    X(20, 12) X(30, 10) X(16, 20) X(16, 24) X(20, 20) X(24, 20) X(32, 20) X(24, 30) X(20, 40)
#define ORB_DFT_TWO_PASS_DOUBLE(X) \
    X(20, 50) X(16, 10) X(18, 10) X(20, 10) X(24, 12) X(20, 18) X(20, 30) X(32, 30)
#elif ORB_KLEVEL == 6
#define ORB_DFT_TWO_PASS(X) X(10, 10) X(16, 8) X(16, 16) X(10, 50)
#define ORB_DFT_TWO_PASS_DOUBLE(X) X(20, 50)
#else
#define ORB_DFT_TWO_PASS(X)                                                                                   \
    X(10, 10) X(16, 8) X(16, 16) X(32, 16) X(48, 32) X(64, 32) X(10, 50) X(20, 50) X(12, 6) X(10, 8) X(12, 8)  \
    X(12, 10) X(12, 12) X(16, 12) X(20, 12) X(30, 10) X(16, 20) X(16, 24) X(20, 20) X(24, 20) X(32, 20)       \
    X(24, 30) X(20, 40)
#define ORB_DFT_TWO_PASS_DOUBLE(X)
#endif
// Single precision only: 1024 (64 x 16), 2048 (64 x 32) and 4096 (64 x 64),
// where four complex floats a vector keep the 64-point bodies' spills
// cheaper than the stages' extra passes. Against the stages in the same
// process (FFTW_MEASURE / ours), AVX2+FMA: 1024 0.69-0.76 -> 0.85-0.87 out
// of place and 0.80-0.83 -> 0.98-1.12 in place, 2048 0.63-0.65 ->
// 0.74-0.79; 32 x 32 and 16 x 64 ran close behind 64 x 16. 4096 as 64 x 64
// had measured 0.70-0.78 -> 0.80-0.89 where the second-level cache is
// larger, but 0.81-0.84 -> 0.63-0.70 (in place 0.91-1.01 -> 0.56-0.85)
// where it holds 512 KiB, and in batches of 100 rows 0.69-0.75 against
// 0.83-0.98 for the stages run one row at a time: it keeps the stages with
// AVX2+FMA. AVX: 1024 and 2048 10-17% faster, 4096 10% faster out of
// place but 10% slower in place, so it keeps the stages there. SSE2-class
// (two complex floats a vector): 1024 and 2048 14-15% faster, 4096 0-12%.
// AVX2+FMA builds 64 x 64 as well, for lone rows where the second-level
// cache holds 1 MiB or more (fft1d.cpp's LargeCacheSplit).
#if ORB_KLEVEL >= 7
#define ORB_DFT_TWO_PASS_SINGLE(X) X(64, 16) X(64, 32) X(64, 64)
#elif ORB_KLEVEL == 6
#define ORB_DFT_TWO_PASS_SINGLE(X) X(64, 16) X(64, 32)
#else
#define ORB_DFT_TWO_PASS_SINGLE(X) X(64, 16) X(64, 64)
#endif

template <class T, int S>
TwoPassFn<T> Lookup(int64_t n1, int64_t n2) {
#define ORB_DFT_TWO_PASS_CASE(N1, N2) \
    if (n1 == N1 && n2 == N2) return &Run<N1, N2, S, T>;
    ORB_DFT_TWO_PASS(ORB_DFT_TWO_PASS_CASE)
    if constexpr (sizeof(T) == 4) {
        ORB_DFT_TWO_PASS_SINGLE(ORB_DFT_TWO_PASS_CASE)
    } else {
        ORB_DFT_TWO_PASS_DOUBLE(ORB_DFT_TWO_PASS_CASE)
    }
#undef ORB_DFT_TWO_PASS_CASE
    return nullptr;
}

}  // namespace twopass
}  // namespace orb::dft::ORB_KNS

#endif
