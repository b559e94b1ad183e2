// The last pass of a long row split as n = r * m (fft1d_cache_split.cpp)
// on one block of B gathered columns: each column's r elements times their
// twiddles, the length-r DFT over them with a codelet body, back in place.
// Lanes hold adjacent columns, so no pass shuffles elements between lanes;
// each body loads all it reads before it stores.
// Also the middle of a convolution split the same way (blocked_conv.h): the
// forward column pass, the filter and the inverse column pass on one block
// while it is in registers and the first-level cache.
// And the length-r DFTs across whole rows of the column passes of large
// two-dimensional transforms (engine_row_radix.cpp): each lane a column.
#include <string.h>

#include "dft/engine/two_pass.h"

namespace orb::dft::ORB_KNS {

namespace {

using pack::Pack;

template <int R, int S, class T, int LL>
__attribute__((always_inline)) inline void Column(Cx<T> *c, const Cx<T> *t, int64_t q, T scale) {
    using P = Pack<T, LL>;
    constexpr int64_t B = kTwiddleColumns<T>;
    constexpr int A = twopass::CodeletSplit(R);
    codelet::Body<A, R / A, S, T, P>(
        [&](int j) __attribute__((always_inline)) {
            const P v = P::Load(c + j * B + q);
            return j == 0 ? v : Mul(v, P::Load(t + j * B + q));
        },
        [&](int k, P v) __attribute__((always_inline)) { v.Store(c + k * B + q); }, scale);
}

template <int R, int S, class T>
void Run(Cx<T> *c, const Cx<T> *t, T scale) {
    constexpr int LL = pack::kLanes<T>;
    if (scale == T(1)) {
        for (int64_t q = 0; q < kTwiddleColumns<T>; q += LL) Column<R, S, T, LL>(c, t, q, T(1));
    } else {
        for (int64_t q = 0; q < kTwiddleColumns<T>; q += LL) Column<R, S, T, LL>(c, t, q, scale);
    }
}

// Forward DFT (twiddles w^-(j k) before it), times the filter h, inverse
// DFT (conjugate twiddles after it), for one vector of columns.
template <int R, class T, int LL>
__attribute__((always_inline)) inline void ConvColumn(Cx<T> *c, const Cx<T> *t, const Cx<T> *h, int64_t q) {
    using P = Pack<T, LL>;
    constexpr int64_t B = kTwiddleColumns<T>;
    constexpr int A = twopass::CodeletSplit(R);
    codelet::Body<A, R / A, -1, T, P>(
        [&](int j) __attribute__((always_inline)) {
            const P v = P::Load(c + j * B + q);
            return j == 0 ? v : Mul(v, P::Load(t + j * B + q));
        },
        [&](int k, P v) __attribute__((always_inline)) { Mul(v, P::Load(h + k * B + q)).Store(c + k * B + q); },
        T(1));
    codelet::Body<A, R / A, 1, T, P>(
        [&](int k) __attribute__((always_inline)) { return P::Load(c + k * B + q); },
        [&](int j, P v) __attribute__((always_inline)) {
            (j == 0 ? v : Mul(v, Conj(P::Load(t + j * B + q)))).Store(c + j * B + q);
        },
        T(1));
}

template <int R, class T>
void RunConv(Cx<T> *c, const Cx<T> *t, const Cx<T> *h) {
    constexpr int LL = pack::kLanes<T>;
    for (int64_t q = 0; q < kTwiddleColumns<T>; q += LL) ConvColumn<R, T, LL>(c, t, h, q);
}

// Column c of the rows src + j ss (j < R): the DFT over j, output k times
// tw[k] (Twiddled), stored at dst + k ds + c. Loads before stores, so dst
// may equal src with ds == ss.
template <int R, int S, class T, int LL, bool Twiddled>
__attribute__((always_inline)) inline void RowsColumn(const Cx<T> *src, int64_t ss, Cx<T> *dst, int64_t ds,
                                                      const Cx<T> *tw, int64_t c) {
    using P = Pack<T, LL>;
    constexpr int A = twopass::CodeletSplit(R);
    codelet::Body<A, R / A, S, T, P>(
        [&](int j) __attribute__((always_inline)) { return P::Load(src + j * ss + c); },
        [&](int k, P v) __attribute__((always_inline)) {
            if (Twiddled && k != 0) v = pack::MulConst(v, tw[k].re, tw[k].im);
            v.Store(dst + k * ds + c);
        },
        T(1));
}

// Rows far apart share one set of the first-level cache: a vector's
// worth of each row read or written where it lies would see its line
// evicted before the next vector of the same line came. Blocks of each
// row (1 KiB, 512 bytes for 64 rows) are copied whole to a buffer and back
// instead (Buffered). Rows of an array in the second-level cache, not a
// multiple of 4 KiB apart, are read where they lie: the copies would cost
// more than the misses they save.
template <int R, int S, class T, bool Twiddled, bool Buffered>
void RowsDftLoop(const Cx<T> *src, int64_t ss, Cx<T> *dst, int64_t ds, int64_t ncols, const Cx<T> *tw) {
    constexpr int LL = pack::kLanes<T>;
    int64_t c = 0;
    if constexpr (Buffered) {
        constexpr int64_t W = (R <= 32 ? 1024 : 32768 / R) / int64_t(sizeof(Cx<T>));
        alignas(64) Cx<T> buf[R * W];
        for (; c + W <= ncols; c += W) {
            for (int j = 0; j < R; ++j) memcpy(buf + j * W, src + j * ss + c, sizeof(Cx<T>) * W);
            for (int64_t q = 0; q < W; q += LL) RowsColumn<R, S, T, LL, Twiddled>(buf, W, buf, W, tw, q);
            for (int k = 0; k < R; ++k) memcpy(dst + k * ds + c, buf + k * W, sizeof(Cx<T>) * W);
        }
    }
    for (; c + LL <= ncols; c += LL) RowsColumn<R, S, T, LL, Twiddled>(src, ss, dst, ds, tw, c);
    for (; c < ncols; ++c) RowsColumn<R, S, T, 1, Twiddled>(src, ss, dst, ds, tw, c);
}

template <int R, int S, class T, bool Buffered>
void RunRowsDft(const Cx<T> *src, int64_t ss, Cx<T> *dst, int64_t ds, int64_t ncols, const Cx<T> *tw) {
    if (tw) RowsDftLoop<R, S, T, true, Buffered>(src, ss, dst, ds, ncols, tw);
    else RowsDftLoop<R, S, T, false, Buffered>(src, ss, dst, ds, ncols, tw);
}

// Columns c < W of the rows x + i M (i < LL) as packs whose lanes are the
// rows: whole rows loaded and transposed in registers. Gathering each lane
// with its own load and insert took a quarter of single 2^18's time.
template <class P, int LL, int W, class T>
__attribute__((always_inline)) inline void LoadColumns(const Cx<T> *x, int64_t M, P col[W]) {
    if constexpr (LL == 1) {
        for (int c = 0; c < W; ++c) col[c] = P::Load(x + c);
    } else if constexpr (LL == 2) {
        for (int c = 0; c < W; c += 2) {
            const P a = P::Load(x + c), b = P::Load(x + M + c);
            col[c] = P::Lo(a, b), col[c + 1] = P::Hi(a, b);
        }
    } else {
        static_assert(LL == 4, "one, two or four lanes");
        for (int c = 0; c < W; c += 4) {
            P rows[4];
            for (int i = 0; i < 4; ++i) rows[i] = P::Load(x + i * M + c);
            P::Transpose4(rows);
            for (int i = 0; i < 4; ++i) col[c + i] = rows[i];
        }
    }
}

// The R x R split's last pass on one R x R block (SquareBlockFn). Lanes
// take rows M apart, so no transpose goes through memory; the block is
// computed whole before any store.
template <int R, int S, class T>
void SquareBlock(Cx<T> *x, int64_t M, const Cx<T> *lane, const Cx<T> *leg, T scale) {
    constexpr int LL = pack::kLanes<T>;
    static_assert(R % LL == 0, "whole vectors of rows");
    constexpr int A = twopass::CodeletSplit(R);
    using P = Pack<T, LL>;
    alignas(64) Cx<T> out[R * R];
    for (int k = 0; k < R; k += LL) {
        P col[R];
        LoadColumns<P, LL, R>(x + k * M, M, col);
        codelet::Body<A, R / A, S, T, P>(
            [&](int c) __attribute__((always_inline)) {
                return c == 0 ? col[c] : pack::MulConst(Mul(col[c], P::Load(lane + c * R + k)), leg[c].re, leg[c].im);
            },
            [&](int q, P v) __attribute__((always_inline)) { v.Store(out + q * R + k); }, scale);
    }
    for (int q = 0; q < R; ++q) memcpy(x + q * M, out + q * R, R * sizeof(Cx<T>));
}

// The radices of the splits (fft1d_cache_split.cpp and blocked_conv.h say
// which where).
#define ORB_DFT_TWIDDLE_COLUMNS(X) X(16) X(32) X(64)

// Gathered columns: 16 and 32 only, since a lone row of r = 64 runs as
// 8 x 8 x m.
template <class T, int S>
TwiddleColumnsFn<T> Lookup(int64_t r) {
    if (r == 16) return &Run<16, S, T>;
    if (r == 32) return &Run<32, S, T>;
    return nullptr;
}

}  // namespace

TwiddleColumnsFn<double> TwiddleColumnsD(int64_t r, int sign) {
    return sign < 0 ? Lookup<double, -1>(r) : Lookup<double, 1>(r);
}

template <int R, class T>
RowsDftFn<T> RowsDftOf(int sign, bool buffered) {
    if (buffered) return sign < 0 ? &RunRowsDft<R, -1, T, true> : &RunRowsDft<R, 1, T, true>;
    return sign < 0 ? &RunRowsDft<R, -1, T, false> : &RunRowsDft<R, 1, T, false>;
}

template <int R, class T>
SquareBlockFn<T> SquareBlockOf(int sign) {
    return sign < 0 ? &SquareBlock<R, -1, T> : &SquareBlock<R, 1, T>;
}

// 8 x 8 for the powers of two; 10 x 10 (double: ten columns are five
// vectors) for 100000.
SquareBlockFn<double> SquareBlockD(int64_t r, int sign) {
    return r == 8 ? SquareBlockOf<8, double>(sign) : r == 10 ? SquareBlockOf<10, double>(sign) : nullptr;
}

SquareBlockFn<float> SquareBlockF(int64_t r, int sign) {
    return r == 8 ? SquareBlockOf<8, float>(sign) : nullptr;
}

RowsDftFn<double> RowsDftD(int64_t r, int sign, bool buffered) {
#define ORB_DFT_ROWS_DFT_CASE(R) \
    if (r == R) return RowsDftOf<R, double>(sign, buffered);
    ORB_DFT_ROWS_DFT_CASE(8)
    ORB_DFT_ROWS_DFT_CASE(10)
    ORB_DFT_TWIDDLE_COLUMNS(ORB_DFT_ROWS_DFT_CASE)
#undef ORB_DFT_ROWS_DFT_CASE
    return nullptr;
}

// Single precision runs no split but the 8 x 8 x m one's radix-8 columns.
RowsDftFn<float> RowsDftF(int64_t r, int sign, bool buffered) {
    return r == 8 ? RowsDftOf<8, float>(sign, buffered) : nullptr;
}

ConvColumnsFn<double> ConvColumnsD(int64_t r) {
#define ORB_DFT_CONV_COLUMNS_CASE(R) \
    if (r == R) return &RunConv<R, double>;
    ORB_DFT_TWIDDLE_COLUMNS(ORB_DFT_CONV_COLUMNS_CASE)
#undef ORB_DFT_CONV_COLUMNS_CASE
    return nullptr;
}

}  // namespace orb::dft::ORB_KNS
