// Lone rows beyond the second-level cache, split as n = r * m: a tiled
// transpose takes x[k r + j] to row j of the scratch (work[j m + k]), the r
// rows of m points run one by one inside the caches into out, and one
// twiddled radix-r pass over the columns (twiddle_columns.cpp) leaves the
// outputs in their final order, in place. The whole row crosses the
// second-level cache three times, where each of the stages' passes (five
// or six at these lengths) crosses it once.
#include <omp.h>
#include <stdint.h>

#include <string.h>

#include <algorithm>

#include "dft/engine/engine_memory.h"
#include "dft/engine/fft1d.h"
#include "dft/engine/power_table.h"
#include "dft/engine/team_run.h"

namespace orb::dft {

namespace {

// Transpose tiles: 8 x 8 elements, so that every cache line read or
// written is used whole (128 bytes of complex doubles).
constexpr int64_t kTile = 8;

// Columns the last pass gathers at a time: 128 bytes of each row. Read in
// place, the r legs of a column lie m elements apart, a multiple of 4 KiB
// for the powers of two: all in one set of the first-level cache, where a
// line was fetched again for every vector of columns (131072 points: the
// pass took 37% of the time, against 18% gathered).
template <class T>
constexpr int64_t kColumns = 128 / int64_t(sizeof(Cx<T>));

// w[j m + k] = x[k r + j] for k in [k0, k1) (multiples of kTile), j < r.
template <class T>
void TransposeRows(const Cx<T> *__restrict x, Cx<T> *__restrict w, int64_t r, int64_t m, int64_t k0, int64_t k1) {
    for (int64_t kb = k0; kb < k1; kb += kTile)
        for (int64_t jb = 0; jb < r; jb += kTile)
            for (int64_t j = jb; j < jb + kTile; ++j)
                for (int64_t k = kb; k < kb + kTile; ++k) w[j * m + k] = x[k * r + j];
}

// Rows of the transpose gathered together where it feeds the rows' FFTs
// directly: a cache line of the input holds one element of each.
template <class T>
constexpr int64_t kRowGroup = 64 / int64_t(sizeof(Cx<T>));

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

}  // namespace

// Rows shorter than this stay on the other rules' plan: the split was
// built and measured with rows of 2048 to 16384 points.
constexpr int64_t kMinRow = 2048;

// The widest radix first: with 64 the rows are shortest and the last pass
// reads fewer, longer runs. AVX2+FMA, 2 MiB second-level cache, FFTW_MEASURE
// time / ours, the stages then r = 16, 32, 64: double 131072 0.74, 0.77,
// 0.84, 0.89; 2^18 0.71, 0.74, 0.78, 0.79; 2^19 0.90, 1.03, 1.10, 1.13;
// 2^20 0.94, 0.79, 0.94, 1.01; in place 131072 0.62, -, 0.64, 0.71; single
// 2^18 0.84, -, 0.87, 0.95, 2^19 1.35, -, 1.54, 1.67. 100000 (r = 20 or 50,
// rows of 5000 or 2000) ran 0.67 against the stages' 0.74.
template <class T>
int64_t CacheSplitRadix(int64_t n, const StageKernels &kern) {
    const int64_t bytes = n * int64_t(sizeof(Cx<T>));
    // A row whose input and output share the second-level cache runs its
    // stages there.
    if (2 * bytes <= SecondLevelCacheBytes()) return 0;
    for (int64_t r : {int64_t(64), int64_t(32), int64_t(16)}) {
        const int64_t m = n / r;
        if (n % r != 0 || m < kMinRow || m % kTile != 0 || m % kColumns<T> != 0) continue;
        TwiddleColumnsFn<T> fn;
        if constexpr (sizeof(T) == 8) fn = kern.twiddle_columns_d(r, -1);
        else fn = kern.twiddle_columns_f(r, -1);
        if (fn) return r;
    }
    return 0;
}

template <class T>
bool Fft1D<T>::BuildCacheSplit(int64_t r) {
    const int64_t m = n_ / r;
    if constexpr (sizeof(T) == 8) split_fn_ = kern_->twiddle_columns_d(r, sign_);
    else split_fn_ = kern_->twiddle_columns_f(r, sign_);
    if (!split_fn_) return false;
    split_r_ = r;
    split_m_ = m;
    split_sub_ = Create(m, sign_, *kern_, true);
    split_tw_ = MemArray<Cx<T>>(n_);
    PowerTable power;
    if (!split_sub_ || !split_tw_ || !power.Init(n_, sign_)) return false;
    // In the order the last pass reads them: for each block of columns,
    // w_n^(j k) for its columns k, row j after row.
    constexpr int64_t B = kColumns<T>;
    for (int64_t k0 = 0; k0 < m; k0 += B)
        for (int64_t j = 0; j < r; ++j)
            for (int64_t c = 0; c < B; ++c) split_tw_[k0 * r + j * B + c] = power.GetReduced<T>(j * (k0 + c));
    return true;
}

// A row's scratch, then r x B gathered columns.
template <class T>
int64_t Fft1D<T>::CacheSplitMember() const {
    return split_sub_->WorkElems() + split_r_ * kColumns<T>;
}

template <class T>
void Fft1D<T>::ExecCacheSplit(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t r = split_r_, m = split_m_;
    const Fft1D *sub = split_sub_;
    // work: the transposed rows when in == out (n: the transpose consumes
    // the input before a row is written), then one member's scratch.
    constexpr int64_t B = kColumns<T>, G = kRowGroup<T>;
    const int64_t row_work = sub->WorkElems();
    auto body = [&](Cx<T> *own, int id, int nth) {
        int64_t lo, hi;
        if (in != out) {
            // Out of place a group of rows is gathered into out and
            // transformed there at once, while it is in the second-level
            // cache (131072 points: a row of 4096 then took 8 us, as alone,
            // against 12.5 read back after a whole transpose).
            Share(r, G, id, nth, &lo, &hi);
            for (int64_t j0 = lo; j0 < hi; j0 += G) {
                GatherRowGroup(in, out, r, m, j0);
                for (int64_t j = j0; j < j0 + G; ++j) sub->Exec(out + j * m, out + j * m, own, T(1), 1);
            }
        } else {
            Share(m, kTile, id, nth, &lo, &hi);
            TransposeRows(in, work, r, m, lo, hi);
            if (nth > 1) {
#pragma omp barrier
            }
            for (int64_t j = r * id / nth; j < r * (id + 1) / nth; ++j)
                sub->Exec(work + j * m, out + j * m, own, T(1), 1);
        }
        if (nth > 1) {
#pragma omp barrier
        }
        Cx<T> *cols = own + row_work;
        Share(m, B, id, nth, &lo, &hi);
        for (int64_t k0 = lo; k0 < hi; k0 += B) {
            for (int64_t j = 0; j < r; ++j) memcpy(cols + j * B, out + j * m + k0, B * sizeof(Cx<T>));
            split_fn_(cols, cols, split_tw_ + k0 * r, B, 0, B, scale);
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
template void Fft1D<float>::ExecCacheSplit(const Cx<float> *, Cx<float> *, Cx<float> *, float, int) const;
template void Fft1D<double>::ExecCacheSplit(const Cx<double> *, Cx<double> *, Cx<double> *, double, int) const;

}  // namespace orb::dft
