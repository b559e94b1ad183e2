// Lone rows beyond the second-level cache, split as n = r * m: row j of
// the split is x[k r + j] (k < m), gathered a few rows at a time (to out,
// or to the scratch in place) and transformed at once inside the caches;
// then one twiddled radix-r pass over blocks of columns
// (twiddle_columns.cpp) writes the outputs in their final order. The whole
// row crosses the second-level cache three times, where each of the
// stages' passes (five or six at these lengths) crosses it once. With
// r = 64 (and 100 for double) the split runs as R x R x m instead (R = 8,
// 10), without the scratch array in place (ExecSquareSplit).
#include <omp.h>
#include <stdint.h>
#include <string.h>

#include "dft/engine/engine_memory.h"
#include "dft/engine/fft1d.h"
#include "dft/engine/power_table.h"
#include "dft/engine/team_run.h"

namespace orb::dft {

namespace {

// Rows gathered together from the input: two cache lines of the input hold
// one element of each, the pair the second-level cache fetches together.
// Against one line (131072 and 2^18 points, AVX2+FMA, time ratios in one
// process): 0.92-0.95 and 0.95-0.97 out of place; with four lines the
// group's rows, a multiple of 4 KiB apart, outnumbered the ways of the
// first-level cache (1.2x slower). Prefetching the input 8 or 32 elements
// ahead made no difference.
template <class T>
constexpr int64_t kRowGroup = 128 / int64_t(sizeof(Cx<T>));

// w[j m + k] = x[k r + j] for j in [j0, j0 + kRowGroup), k < m.
template <class T>
void GatherRowGroup(const Cx<T> *__restrict x, Cx<T> *__restrict w, int64_t r, int64_t m, int64_t j0) {
    constexpr int64_t G = kRowGroup<T>;
    for (int64_t k = 0; k < m; ++k)
        for (int64_t q = 0; q < G; ++q) w[(j0 + q) * m + k] = x[k * r + j0 + q];
}

// [lo, hi) of `count` items (a multiple of `unit`) for member id of nth, in
// whole units.
void Share(int64_t count, int64_t unit, int id, int nth, int64_t *lo, int64_t *hi) {
    const int64_t units = count / unit;
    *lo = units * id / nth * unit;
    *hi = units * (id + 1) / nth * unit;
}

// Rows from 2048 to 8192 points. With rows of 16384 (2^20 points), out
// of place ran 0.90 of the stages' time but in place 1.13x slower, and a
// plan does not know which it will run; with 32768 (2^21) out of place
// 1.2x and in place 1.8x slower.
constexpr int64_t kMinRow = 2048, kMaxRow = 8192;
// The R x R x m split transforms its rows where they lie, so they may be
// longer, to the longest measured: m = 65536, double 2^22 (AVX2+FMA,
// against the stages: double 2^20 7.9 ms against 10.0 out of place, 7.3
// against 9.2 in place, 2^21 18.2 against 24.3; single 2^20 3.4 against
// 5.3, 2^21 8.4 against 10.5; against four-step: double 2^22 51 and 45
// against 68 and 65, 3 2^20 27 and 23 against 37 and 33, single 2^22 21
// against 24.5).
constexpr int64_t kMaxSquareRow = 65536;

// The R x R x m split: r = R^2, R = 8, or 10 for double (100000 = 10 x 10
// x 1000 took 475 us against 625 on its stages, whose five radix-10
// passes each cross the second-level cache; AVX2+FMA). Its rows may also
// be shorter: from 1000 points, the second-level cache rule deciding
// (81920, 98304, 120000 out of place 0.67-0.78 of the stages' time).
int64_t SquareRadixOf(int64_t r) {
    return r == 64 ? 8 : r == 100 ? 10 : 0;
}
constexpr int64_t kMinSquareRow = 1000;

}  // namespace

// The widest radix first: with 64 the rows are shortest. AVX2+FMA, 2 MiB
// second-level cache, FFTW_MEASURE time / ours, the stages then r = 16,
// 32, 64: double 131072 0.74, 0.77, 0.84, 0.89; 2^18 0.71, 0.74, 0.78,
// 0.79; 2^19 0.90, 1.03, 1.10, 1.13. In one process against the stages
// (r = 64, time ratios): 131072 0.80 out of place, 0.92 in place; 2^18
// 0.87 and 0.97; 2^19 0.80 and 0.98. 100000 (r = 20 or 50, rows of 5000 or 2000)
// ran 0.67 against the stages' 0.74.
template <class T>
int64_t CacheSplitRadix(int64_t n, const StageKernels &kern) {
    const int64_t bytes = n * int64_t(sizeof(Cx<T>));
    // A row whose input and output share the second-level cache runs its
    // stages there.
    if (2 * bytes <= SecondLevelCacheBytes()) return 0;
    // 100 before 64 where both divide: 640000, 800000, 10^6 and 1.6 10^6
    // took 3.8, 5.2, 7.4 and 13.9 ms out of place against 4.0, 5.7, 9.9
    // and 17.6 (r = 64, the last on its stages).
    for (int64_t r : {int64_t(100), int64_t(64), int64_t(32), int64_t(16)}) {
        const int64_t m = n / r, R = SquareRadixOf(r);
        if (n % r != 0 || m < (R ? kMinSquareRow : kMinRow) || m > (R ? kMaxSquareRow : kMaxRow)) continue;
        if (R) {
            if (kern.RowsDft<T>(R, -1, false) && kern.SquareBlock<T>(R, -1)) return r;
            continue;
        }
        // Single precision has the 8 x 8 x m passes only: gathered rows and
        // one radix-64 pass ran 2^18 0.88 of the stages' time back to back
        // but 1.05x slower in the benchmark, whose rounds alternate with
        // FFTW's.
        if constexpr (sizeof(T) == 8)
            if (m % kTwiddleColumns<T> == 0 && kern.twiddle_columns_d(r, -1)) return r;
    }
    return 0;
}

template <class T>
bool Fft1D<T>::BuildCacheSplit(int64_t r) {
    const int64_t m = n_ / r;
    split_r_ = r;
    split_m_ = m;
    const int64_t R = SquareRadixOf(r);
    // The R x R split runs its rows interleaved, as plain stages: made as a
    // lone row, a row of 65536 points on a smaller second-level cache
    // would split again and have none.
    split_sub_ = Create(m, sign_, *kern_, R == 0);
    PowerTable power;
    if (!split_sub_ || !power.Init(n_, sign_)) return false;
    if (R > 0) {
        square_dif_ = kern_->RowsDft<T>(R, sign_, false);
        square_block_ = kern_->SquareBlock<T>(R, sign_);
        square_tw_ = MemArray<Cx<T>>(m * R + R * R);
        if (!square_dif_ || !square_block_ || !square_tw_ || !split_sub_->Interleavable()) return false;
        // w_(n/R)^(b k) = w_n^(R b k) for the column blocks b < m, k < R;
        // then w_n^(c k) for c, k < R. The last pass's w_n^(c (k + R b)) is
        // their product: a table of n of them streamed with the data cost
        // 80-95 us of 131072's 760-790.
        for (int64_t b = 0; b < m; ++b)
            for (int64_t k = 0; k < R; ++k) square_tw_[b * R + k] = power.GetReduced<T>(R * b * k);
        for (int64_t c = 0; c < R; ++c)
            for (int64_t k = 0; k < R; ++k) square_tw_[m * R + c * R + k] = power.GetReduced<T>(c * k);
        return true;
    }
    if constexpr (sizeof(T) == 8) {
        split_fn_ = kern_->twiddle_columns_d(r, sign_);
        split_tw_ = MemArray<Cx<T>>(n_);
        if (!split_fn_ || !split_tw_) return false;
        // In the order the last pass reads them: for each block of columns,
        // w_n^(j k) for its columns k, row j after row.
        constexpr int64_t B = kTwiddleColumns<T>;
        for (int64_t k0 = 0; k0 < m; k0 += B)
            for (int64_t j = 0; j < r; ++j)
                for (int64_t c = 0; c < B; ++c) split_tw_[k0 * r + j * B + c] = power.GetReduced<T>(j * (k0 + c));
        return true;
    }
    return false;
}

// A row's scratch, then r x B gathered columns.
template <class T>
int64_t Fft1D<T>::CacheSplitMember() const {
    return split_sub_->WorkElems() + split_r_ * kTwiddleColumns<T>;
}

// One member's chunk (R m elements): the interleaved stages' other array.
template <class T>
int64_t Fft1D<T>::SquareSplitMember() const {
    return SquareRadixOf(split_r_) * split_m_;
}

// n = R M, M = R m, x[M a + R b + c] (a, c < R, b < m; R = 8 or 10):
//  1. for each b, the radix-R DFT over a (legs M apart, R adjacent
//     columns c), output k times w_M^(b k), at M k + R b + c of out (the
//     input's places in place);
//  2. each chunk k of M elements holds R sequences of m (column c, R
//     apart), transformed there by the interleaved stages (vectors across
//     the sequences). Gathered as rows, transformed in the
//     first-level cache and put back, they took 131072 points 730 us out
//     of place against 620, 610 in place against 530 (2^18 1590 and 1490
//     against 1280 and 1130; single 2^18 745 and 725 against 710 and 625);
//  3. then Y_c[k + R b] (the M-point DFT of x[R j + c]) lies at
//     M k + R b + c: for each b the R x R block times w_n^(c (k + R b)),
//     the radix-R DFT over c, gives X[k + R b + M q] at M q + R b + k.
// Every pass after the first writes the places it read, so the data never
// leave the output array. Against the gathered rows and one radix-64 pass
// below (step 2 then gathering too; AVX2+FMA, one thread): in place, where
// those go through the scratch array, 131072 points 875-930 us against
// 625-680, 2^18 1990-2050 against 1500-1550 (the caches held twice as much
// and the last pass wrote lines it had not read); out of place 131072 777
// against 680, 2^18 1813 against 1475, 2^19 3647 against 3544.
template <class T>
void Fft1D<T>::ExecSquareSplit(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t R = SquareRadixOf(split_r_), m = split_m_, M = R * m;
    const Fft1D *sub = split_sub_;
    auto body = [&](Cx<T> *own, int id, int nth) {
        int64_t lo, hi;
        Share(m, 1, id, nth, &lo, &hi);
        for (int64_t b = lo; b < hi; ++b) square_dif_(in + R * b, M, out + R * b, M, R, square_tw_ + R * b);
        if (nth > 1) {
#pragma omp barrier
        }
        Share(R, 1, id, nth, &lo, &hi);
        for (int64_t k = lo; k < hi; ++k) {
            Cx<T> *chunk = out + k * M;
            sub->ExecInterleaved(chunk, chunk, own, T(1), R);
        }
        if (nth > 1) {
#pragma omp barrier
        }
        Share(m, 1, id, nth, &lo, &hi);
        for (int64_t b = lo; b < hi; ++b) square_block_(out + R * b, M, square_tw_ + R * m, square_tw_ + R * b, scale);
    };
    RunTeam<T>(nthreads, SquareSplitMember(), work, body);
}

template <class T>
void Fft1D<T>::ExecCacheSplit(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    if (square_dif_) {
        ExecSquareSplit(in, out, work, scale, nthreads);
        return;
    }
    const int64_t r = split_r_, m = split_m_;
    const Fft1D *sub = split_sub_;
    // The rows go to out, or in place to the scratch (work: n elements,
    // then one member's scratch): every input is read before out is
    // written. A group of rows is gathered and transformed at once, while
    // it is in the second-level cache (131072 points: a row of 4096 then
    // took 8 us, as alone, against 12.5 read back after a whole transpose).
    constexpr int64_t B = kTwiddleColumns<T>, G = kRowGroup<T>;
    const int64_t row_work = sub->WorkElems();
    Cx<T> *rows = in == out ? work : out;
    auto body = [&](Cx<T> *own, int id, int nth) {
        int64_t lo, hi;
        Share(r, G, id, nth, &lo, &hi);
        for (int64_t j0 = lo; j0 < hi; j0 += G) {
            GatherRowGroup(in, rows, r, m, j0);
            for (int64_t j = j0; j < j0 + G; ++j) sub->Exec(rows + j * m, rows + j * m, own, T(1), 1);
        }
        if (nth > 1) {
#pragma omp barrier
        }
        // The last pass gathers 128 bytes of each row (kTwiddleColumns).
        // Read in place, the r legs of a column lie m elements apart, a
        // multiple of 4 KiB for the powers of two: all in one set of the
        // first-level cache, where a line was fetched again for every
        // vector of columns (131072 points: the pass took 37% of the time,
        // against 18% gathered).
        Cx<T> *cols = own + row_work;
        Share(m, B, id, nth, &lo, &hi);
        for (int64_t k0 = lo; k0 < hi; k0 += B) {
            for (int64_t j = 0; j < r; ++j) memcpy(cols + j * B, rows + j * m + k0, B * sizeof(Cx<T>));
            split_fn_(cols, split_tw_ + k0 * r, scale);
            for (int64_t k = 0; k < r; ++k) memcpy(out + k * m + k0, cols + k * B, B * sizeof(Cx<T>));
        }
    };
    RunTeam<T>(nthreads, CacheSplitMember(), work + n_, body);
}

template int64_t CacheSplitRadix<float>(int64_t, const StageKernels &);
template int64_t CacheSplitRadix<double>(int64_t, const StageKernels &);
template bool Fft1D<float>::BuildCacheSplit(int64_t);
template bool Fft1D<double>::BuildCacheSplit(int64_t);
template int64_t Fft1D<float>::CacheSplitMember() const;
template int64_t Fft1D<double>::CacheSplitMember() const;
template int64_t Fft1D<float>::SquareSplitMember() const;
template int64_t Fft1D<double>::SquareSplitMember() const;
template void Fft1D<float>::ExecSquareSplit(const Cx<float> *, Cx<float> *, Cx<float> *, float, int) const;
template void Fft1D<double>::ExecSquareSplit(const Cx<double> *, Cx<double> *, Cx<double> *, double, int) const;
template void Fft1D<float>::ExecCacheSplit(const Cx<float> *, Cx<float> *, Cx<float> *, float, int) const;
template void Fft1D<double>::ExecCacheSplit(const Cx<double> *, Cx<double> *, Cx<double> *, double, int) const;

}  // namespace orb::dft
