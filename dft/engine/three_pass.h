// Complex transforms of n = n1 * n2 with n2 = a * b (all three lengths with
// a codelet) as the two passes of two_pass.h, the first of which runs its
// length-n2 column transforms as two steps of codelet bodies through a
// scratch that stays in the first-level cache:
//  i.  for each j_a < a, the length-b DFT over j_b of the columns'
//      x[j1 + n1 (j_a + a j_b)] into s[j_a b + k_b];
//  ii. for each k_b, s[j_a b + k_b] times w_n2^(j_a k_b), the length-a DFT
//      over j_a, each lane stored straight into its row of Y at k_b + b k_a
//      (two half-vector stores cost less than transposing through s again).
// Lanes hold L adjacent columns throughout, so neither step shuffles. Against
// the stages the data crosses the second-level cache twice instead of three
// to five times.
#ifndef ORB_DFT_ENGINE_THREE_PASS_H
#define ORB_DFT_ENGINE_THREE_PASS_H

#include "dft/engine/two_pass.h"

namespace orb::dft::ORB_KNS::threepass {

using pack::Pack;
using twopass::CodeletSplit;

// Pass 1 for the columns j1 onwards that a pack P holds: their
// length-(A*B) transforms into the rows of y. twb[e] = w_(A B)^e; s holds
// A*B packs; load(e) gives the pack of input elements e onwards
// (interleaved pairs, joined from split parts as they are read, or the
// parts themselves as split lanes).
template <int N1, int A, int B, int S, class T, class P, class Load>
__attribute__((always_inline)) inline void BlockColumns(Load load, Cx<T> *y, const Cx<T> *twb, P *s, int64_t j1) {
    constexpr int M = A * B;
    for (int ja = 0; ja < A; ++ja) {
        const int64_t xa = j1 + N1 * ja;
        P *sa = s + ja * B;
        codelet::Body<CodeletSplit(B), B / CodeletSplit(B), S, T, P>(
            [&](int j) __attribute__((always_inline)) { return load(xa + N1 * A * j); },
            [&](int k, P v) __attribute__((always_inline)) { sa[k] = v; }, T(1));
    }
    for (int kb = 0; kb < B; ++kb) {
        // ja * kb < A * B: the plain power table serves every slot.
        codelet::Body<CodeletSplit(A), A / CodeletSplit(A), S, T, P>(
            [&](int ja) __attribute__((always_inline)) {
                const P v = s[ja * B + kb];
                return ja == 0 ? v : Mul(v, P::Bcast(twb[ja * kb]));
            },
            [&](int ka, P v) __attribute__((always_inline)) { v.Scatter(y + j1 * M + kb + B * ka, M); }, T(1));
    }
}

// out = scale * DFT(x); tw holds w_n^(j1 k2) as two_pass.h's Run reads it,
// then w_n2^e (e < n2) after those entries; work holds n elements (used only when
// x == out).
template <int N1, int A, int B, int S, class T>
void Run(const Cx<T> *x, Cx<T> *out, Cx<T> *work, const Cx<T> *tw, T scale) {
    constexpr int M = A * B;
    constexpr int LL = codelet::RowLanes<T, N1, M>();
    Pack<T, LL> s[M];
    Cx<T> *y = x == out ? work : out;
    const Cx<T> *twb = tw + TwoPassTwiddleEntries<T>(N1 * M);
    auto load = [x](int64_t e) __attribute__((always_inline)) { return Pack<T, LL>::Load(x + e); };
    for (int64_t j1 = 0; j1 < N1; j1 += LL) BlockColumns<N1, A, B, S, T>(load, y, twb, s, j1);
    twopass::TwiddledPass<N1, M, S, T>(y, out, tw, scale);
}

// (n1, a, b) with a three-pass kernel: the splits TwoPassSplits offers
// where they measured faster than the stages, complex double with AVX2+FMA
// (and AVX for 768 and 1536, below): 1024 (16 x 8 x 8) 10-25% faster out of
// place, no faster in place (it keeps the stages there); 2048 (8 x 16 x 16)
// 10-20% faster out of place and in place. 4096 (8 x 32 x 16) gained up to
// 8% alone but lost 20% in a batch of 100 rows, which come from memory
// rather than cache (its first pass reads 8 rows of 512 points scattered
// over the whole row), so it keeps the stages; as 16 x 16 x 16 or
// 32 x 16 x 8 it was 5-20% slower; single precision 10% slower, also when
// step ii transposes through s instead (a 4-lane pack stores as four
// pieces).
//
// Where the second-level cache holds 512 KiB, the twiddle table counts
// (then duplicated, 2n entries): 8192 as 8 x 32 x 32 (256 KiB of twiddles besides
// 256 KiB of data) ran at half the stages' speed there, against 12% faster
// with a larger cache; 8 x 32 x 32, 32 x 16 x 16 and 16 x 16 x 32 were all
// 1.6-2.2x slower, so 8192 keeps the stages. 2048 as 32 x 8 x 8, which had
// measured 30% faster than the stages on the larger cache (8 x 16 x 16
// close behind), ran 5-15% slower than them on the smaller one, where
// 8 x 16 x 16 was 10-20% faster than both.
//
// 1536 (24 x 8 x 8) and 768 (12 x 8 x 8, the half of a real 1536), with
// AVX as well, against the stages (12, 8, 16 and 12, 8, 8) in the same
// process, microseconds a transform: AVX2+FMA 1536 4.3-5.2 -> 3.1-3.8 (in
// place 4.3-5.1 -> 3.3-4.4), 768 1.8-2.5 -> 1.2-1.6 (in place 1.8 -> 1.3);
// AVX 1536 3.7-5.5 -> 3.3, 768 2.3-2.4 -> 1.6-1.7. 1536 as 12 x 16 x 8 ran
// close behind; as 6 x 16 x 16, and 768 as 6 x 16 x 8, 10-20% slower. At
// 16384 none of 16 x 32 x 32, 32 x 16 x 32 and 32 x 32 x 16 beat the
// stages.
// 512 as 8 x 8 x 8 (AVX2+FMA, double) against the two-pass 32 x 16, in one
// process, ns a transform: 569-705 -> 543-643 out of place, 569 -> 542 in
// place. 1024 as 32 x 32 (two-pass), 8 x 16 x 8 or 4 x 16 x 16, and 2048
// as 32 x 8 x 8 or 16 x 8 x 16, measured within noise of the splits they
// would replace or slower.
// The AVX2+FMA level also builds 4096 (8 x 32 x 16), 8192 (8 x 32 x 32)
// and 8640 (12 x 24 x 30, Bluestein's length for 4099) for lone rows where
// the second-level cache holds 1 MiB or more (fft1d.cpp's
// LargeCacheSplit). 8640 against its stages in one process, time ratios:
// 0.95-0.97 on an idle machine, 0.88 with another process busy (in place
// alike); in one run each, 16 x 18 x 30 and 8 x 30 x 36 0.95-0.98,
// 10 x 24 x 36 0.96-1.03, 20 x 18 x 24 0.78-0.94, 24 x 18 x 20 and
// 18 x 20 x 24 1.03-1.07.
#if ORB_KLEVEL >= 7
#define ORB_DFT_THREE_PASS(X) \
    X(16, 8, 8) X(8, 16, 16) X(24, 8, 8) X(12, 8, 8) X(8, 32, 16) X(8, 32, 32) X(8, 8, 8) X(12, 24, 30)
#elif ORB_KLEVEL == 6
#define ORB_DFT_THREE_PASS(X) X(24, 8, 8) X(12, 8, 8)
#else
#define ORB_DFT_THREE_PASS(X)
#endif

template <class T, int S>
TwoPassFn<T> Lookup(int64_t n1, int64_t n2) {
#define ORB_DFT_THREE_PASS_CASE(N1, A, B) \
    if (sizeof(T) == 8 && n1 == N1 && n2 == A * B) return &Run<N1, A, B, S, T>;
    ORB_DFT_THREE_PASS(ORB_DFT_THREE_PASS_CASE)
#undef ORB_DFT_THREE_PASS_CASE
    return twopass::Lookup<T, S>(n1, n2);
}

}  // namespace orb::dft::ORB_KNS::threepass

#endif
