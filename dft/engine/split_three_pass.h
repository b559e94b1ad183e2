// The three-pass kernels of three_pass.h on split storage: the first pass
// reads the two input arrays (on packs of split lanes, or joining its packs
// as it loads them) and writes interleaved rows of the scratch Y; the
// second pass runs as before on Y and stores each vector's real and
// imaginary halves straight into the two output arrays. Y is always the
// caller's work array (n elements), so in place needs nothing else. The
// two-pass lengths keep the join and split copies: on the parts their first
// pass (lanes stored pair by pair) measured slower at 256 (0.78-0.83 of
// FFTW against 0.83-0.92).
#ifndef ORB_DFT_ENGINE_SPLIT_THREE_PASS_H
#define ORB_DFT_ENGINE_SPLIT_THREE_PASS_H

#include "dft/engine/soa_pack.h"
#include "dft/engine/split_kernels.h"
#include "dft/engine/three_pass.h"

namespace orb::dft::ORB_KNS::splitpass {

using pack::Pack;

template <class T>
constexpr int kW = pack::kVectorBytes / int(sizeof(T));

// Second pass for outputs k2 .. k2+LL-1 (of every k1), as
// twopass::TwiddledColumns but stored into the two parts.
template <int N1, int N2, int S, class T, int LL>
__attribute__((always_inline)) inline void SplitSecond(const Cx<T> *y, T *out_re, T *out_im, const Cx<T> *tw,
                                                       int64_t k2, T scale) {
    twopass::TwiddledColumnsTo<N1, N2, S, T, LL>(
        y, tw, k2, scale, [&](int64_t k, Pack<T, LL> v) __attribute__((always_inline)) {
            if constexpr (LL == 1) {
                out_re[k] = v.re;
                out_im[k] = v.im;
            } else {
                v.StoreParts(out_re + k, out_im + k);
            }
        });
}

// Whether the first pass runs on packs of split lanes (four columns a pair
// of vectors). With 256-bit vectors the 8-point steps fit the registers
// either way; in one process against the joined loads, time ratios, 1024
// (16 x 8 x 8) took 0.90-0.97, 768 and 1536 0.82-1.06 (most runs near
// 0.95), 512 (8 x 8 x 8, two blocks of columns) 1.04-1.07.
template <class T>
constexpr bool SoaFirstPass(int n1) {
    return kW<T> == 4 && n1 % 4 == 0 && n1 > 8;
}

// Three passes, n = N1 * A * B; tw as three_pass.h's Run reads it, w_(A B)^e
// after its w_n entries. The first pass runs on packs of split lanes where
// SoaFirstPass says so, else it is the interleaved one, its packs joined
// from the parts as they are loaded (Pack::LoadParts: one shuffle a pack).
// Split lanes in one 64-point column body instead of two steps of 8 kept
// twice as many vectors live and spilled: 1024 took 2.6 us, against 1.4
// interleaved.
template <int N1, int A, int B, int S, class T>
void ThreePass(const T *xr, const T *xi, T *out_re, T *out_im, Cx<T> *work, const Cx<T> *tw, T scale) {
    constexpr int M = A * B;
    constexpr int LL = codelet::RowLanes<T, N1, M>();
    using P = Pack<T, LL>;
    const Cx<T> *twb = tw + TwoPassTwiddleEntries<T>(N1 * M);
    if constexpr (SoaFirstPass<T>(N1)) {
        // Split lanes: neither the loads nor the twiddle products shuffle;
        // each output pack is interleaved by two unpacks into its rows.
        using Q = pack::SoaPack<T, kW<T>>;
        Q s[M];
        auto load = [xr, xi](int64_t e) __attribute__((always_inline)) { return Q{Q::Load(xr + e), Q::Load(xi + e)}; };
        for (int64_t j1 = 0; j1 < N1; j1 += kW<T>) threepass::BlockColumns<N1, A, B, S, T>(load, work, twb, s, j1);
    } else {
        P s[M];
        auto load = [xr, xi](int64_t e) __attribute__((always_inline)) { return P::LoadParts(xr + e, xi + e); };
        for (int64_t j1 = 0; j1 < N1; j1 += LL) threepass::BlockColumns<N1, A, B, S, T>(load, work, twb, s, j1);
    }
    // A scale of 1 (the usual forward transform) multiplies nothing.
    if (scale == T(1)) {
        for (int64_t k2 = 0; k2 < M; k2 += LL) SplitSecond<N1, M, S, T, LL>(work, out_re, out_im, tw, k2, T(1));
    } else {
        for (int64_t k2 = 0; k2 < M; k2 += LL) SplitSecond<N1, M, S, T, LL>(work, out_re, out_im, tw, k2, scale);
    }
}

// Three-pass column blocks up to this many points keep their scratch in
// the first-level cache (2048's 256-point blocks stay interleaved).
constexpr int kMaxSplitM = 64;

// The splits of this level's three-pass list whose first factor holds
// whole vectors of columns (null for the others; levels below AVX2 have
// none).
template <class T, int S>
SplitPassFn<T> Lookup([[maybe_unused]] int64_t n1, [[maybe_unused]] int64_t n2) {
#define ORB_DFT_SPLIT_THREE_CASE(N1, A, B)                      \
    if constexpr (N1 % kW<T> == 0 && A * B <= kMaxSplitM) {     \
        if (n1 == N1 && n2 == A * B) return &ThreePass<N1, A, B, S, T>; \
    }
    ORB_DFT_THREE_PASS(ORB_DFT_SPLIT_THREE_CASE)
#undef ORB_DFT_SPLIT_THREE_CASE
    return nullptr;
}

}  // namespace orb::dft::ORB_KNS::splitpass

#endif
