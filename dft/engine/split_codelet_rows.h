// The codelet bodies of codelet_rows.h run on split storage: a vector holds
// one part of W rows (lane c = row c, gathered) or of W adjacent columns
// (lane c = column c, loaded as it lies); leftover rows run one at a time.
// Contiguous rows of the lengths whose interleaved rows run on vectors
// inside the row are joined into pairs and run that way instead.
#ifndef ORB_DFT_ENGINE_SPLIT_CODELET_ROWS_H
#define ORB_DFT_ENGINE_SPLIT_CODELET_ROWS_H

#include "dft/engine/codelet_rows.h"
#include "dft/engine/pair_copy.h"
#include "dft/engine/soa_pack.h"
#include "dft/engine/split_kernels.h"

namespace orb::dft::ORB_KNS::codelet {

template <class T>
constexpr int kSplitLanes = pack::kVectorBytes / int(sizeof(T));

// W contiguous rows at distances xd and yd: each part read as W x W
// blocks, transposed so that lane c holds row c, transformed, transposed
// back and stored.
template <int A, int B, int S, class T>
__attribute__((always_inline)) inline void TransposedRows(const T *xr, const T *xi, T *yr, T *yi, T scale,
                                                          int64_t xd, int64_t yd) {
    constexpr int W = kSplitLanes<T>, N = A * B;
    using PV = pack::SoaPack<T, W>;
    using V = typename PV::V;
    V sr[N], si[N];
    for (int j = 0; j < N; j += W) {
        for (int c = 0; c < W; ++c) {
            sr[j + c] = PV::Load(xr + c * xd + j);
            si[j + c] = PV::Load(xi + c * xd + j);
        }
        PV::Transpose(sr + j);
        PV::Transpose(si + j);
    }
    Body<A, B, S, T, PV>([&](int j) __attribute__((always_inline)) { return PV{sr[j], si[j]}; },
                         [&](int k, PV v) __attribute__((always_inline)) { sr[k] = v.re, si[k] = v.im; }, scale);
    for (int k = 0; k < N; k += W) {
        PV::Transpose(sr + k);
        PV::Transpose(si + k);
        for (int c = 0; c < W; ++c) {
            PV::Store(yr + c * yd + k, sr[k + c]);
            PV::Store(yi + c * yd + k, si[k + c]);
        }
    }
}

// One contiguous row of a length whose interleaved rows run on vectors
// inside the row (RowsAcrossLanes false): joined into pairs in L1, the
// interleaved row codelet, split back. Lane c = row c on split vectors
// gathered each element on its own and kept twice the vectors live (1000
// rows of 64: 907 instructions a row against 625 here, and 1.6x the time
// of the interleaved batch).
template <int A, int B, int S, class T>
__attribute__((always_inline)) inline void PairedRow(const T *xr, const T *xi, T *yr, T *yi, T scale) {
    constexpr int N = A * B;
    alignas(64) Cx<T> x[N], y[N];
    pairs::Join(xr, xi, x, N);
    OneRow<A, B, S, T>(x, y, scale);
    pairs::Split(y, yr, yi, N);
}

template <int A, int B, int S, class T>
void SplitRows(const T *xr, const T *xi, T *yr, T *yi, T scale, int64_t rows, int64_t xd, int64_t yd, int64_t xs,
               int64_t ys) {
    constexpr int W = kSplitLanes<T>;
    using PV = pack::SoaPack<T, W>;
    int64_t r = 0;
    if (xd == 1 && yd == 1) {
        for (; r + W <= rows; r += W) {
            Body<A, B, S, T, PV>(
                [&](int j) __attribute__((always_inline)) {
                    return PV{PV::Load(xr + r + j * xs), PV::Load(xi + r + j * xs)};
                },
                [&](int k, PV v) __attribute__((always_inline)) {
                    PV::Store(yr + r + k * ys, v.re);
                    PV::Store(yi + r + k * ys, v.im);
                },
                scale);
        }
    } else if constexpr (PV::kTransposes && (A * B) % W == 0 && A * B <= 8) {
        if (xs == 1 && ys == 1) {
            // Contiguous rows: W x W blocks transposed in registers through
            // an L1 scratch instead of element gathers and scatters (1000
            // split rows of 8: 1.48 -> 3.36 of FFTW's speed; at 16 and 64
            // points no faster, their bodies' spills dominate).
            for (; r + W <= rows; r += W) TransposedRows<A, B, S, T>(xr + r * xd, xi + r * xd, yr + r * yd,
                                                                     yi + r * yd, scale, xd, yd);
        }
    } else if constexpr (!RowsAcrossLanes<A, B, T>()) {
        if (xs == 1 && ys == 1)
            for (; r < rows; ++r) PairedRow<A, B, S, T>(xr + r * xd, xi + r * xd, yr + r * yd, yi + r * yd, scale);
    }
    if (!(xd == 1 && yd == 1)) {
        for (; r + W <= rows; r += W) {
            const T *ar = xr + r * xd, *ai = xi + r * xd;
            T *br = yr + r * yd, *bi = yi + r * yd;
            Body<A, B, S, T, PV>(
                [&](int j) __attribute__((always_inline)) {
                    return PV{PV::Gather(ar + j * xs, xd), PV::Gather(ai + j * xs, xd)};
                },
                [&](int k, PV v) __attribute__((always_inline)) {
                    PV::Scatter(br + k * ys, yd, v.re);
                    PV::Scatter(bi + k * ys, yd, v.im);
                },
                scale);
        }
    }
    using P1 = pack::Pack<T, 1>;
    for (; r < rows; ++r) {
        const T *ar = xr + r * xd, *ai = xi + r * xd;
        T *br = yr + r * yd, *bi = yi + r * yd;
        Body<A, B, S, T, P1>([&](int j) __attribute__((always_inline)) { return P1{ar[j * xs], ai[j * xs]}; },
                             [&](int k, P1 v) __attribute__((always_inline)) {
                                 br[k * ys] = v.re;
                                 bi[k * ys] = v.im;
                             },
                             scale);
    }
}

// The lengths with split rows, a subset of the codelets' (same splits):
// each costs compile time at every level, and rows of the others join
// into an interleaved block as before.
#define ORB_DFT_SPLIT_CODELETS(X) X(2, 2, 1) X(4, 2, 2) X(8, 4, 2) X(16, 4, 4) X(32, 8, 4) X(64, 8, 8)

template <class T, int S>
SplitFn<T> SplitLookup(int64_t n) {
    switch (n) {
#define ORB_DFT_SPLIT_CODELET_CASE(N, A, B) \
    case N: return &SplitRows<A, B, S, T>;
        ORB_DFT_SPLIT_CODELETS(ORB_DFT_SPLIT_CODELET_CASE)
#undef ORB_DFT_SPLIT_CODELET_CASE
    default: return nullptr;
    }
}

}  // namespace orb::dft::ORB_KNS::codelet

#endif
