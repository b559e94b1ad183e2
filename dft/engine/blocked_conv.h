// Cyclic convolution of length m = r * M against a fixed filter in three
// passes over one array, for the convolutions of Rader and Bluestein whose
// arrays outgrow the second-level cache. Two FFTs of length m with a
// pointwise product between them cross memory nine or more times; here
// the forward rows (with the input's gather), the columns (forward pass,
// filter, inverse pass on one block in the first-level cache) and the
// inverse rows cross it once each. The spectrum is never put in order:
// the filter is laid out the way the column pass meets it.
//
// Row j < r of the array is x[k r + j] (k < M). With w = exp(-2 pi i / m)
// and f = K + M t:
//   X[f] = sum_j w_r^(t j) w^(K j) sum_k w_M^(K k) x[k r + j],
// and the inverse runs the same steps backwards with conjugate roots.
#ifndef ORB_DFT_ENGINE_BLOCKED_CONV_H
#define ORB_DFT_ENGINE_BLOCKED_CONV_H

#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "dft/engine/engine_memory.h"
#include "dft/engine/fft1d.h"
#include "dft/engine/power_table.h"
#include "dft/engine/team_run.h"

namespace orb::dft {

template <class T>
class BlockedConv {
public:
    static constexpr int64_t B = kTwiddleColumns<T>;  // columns of one block

    // The radix r for m points (0: none). Double precision only: the column
    // kernels are built for it. Rows from kMinRow points, so that each row's
    // FFT is a lone row's kernel in the caches.
    static int64_t Radix(int64_t m, const StageKernels &kern) {
        if constexpr (sizeof(T) != 8) return 0;
        for (int64_t r : {int64_t(64), int64_t(32), int64_t(16)}) {
            const int64_t rows = m / r;
            if (m % r == 0 && rows >= kMinRow && rows % B == 0 && kern.conv_columns_d(r)) return r;
        }
        return 0;
    }

    // Whether a convolution of m points runs here: where its array and the
    // scratch outgrow the second-level cache. AVX2+FMA, 2 MiB, FFTW_MEASURE
    // time / ours for Rader's primes, two FFTs then three passes: 40961
    // (640 KiB) 2.26 and 1.87, 65537 1.79 and 1.98, 114689 1.45 and 2.04,
    // 163841 1.99 and 2.79, 786433 2.33 and 2.44.
    static bool Suits(int64_t m, const StageKernels &kern) {
        return Radix(m, kern) != 0 && 2 * m * int64_t(sizeof(Cx<T>)) >= SecondLevelCacheBytes();
    }

    // filter: the kernel's spectrum in natural order (m points, forward
    // sign -1, any scale folded in). False on allocation failure or when m
    // has no radix.
    bool Build(int64_t m, const StageKernels &kern, const Cx<T> *filter) {
        r_ = Radix(m, kern);
        if (r_ == 0) return false;
        if constexpr (sizeof(T) == 8) fn_ = kern.conv_columns_d(r_);
        rows_ = m / r_, ld_ = rows_ + B;
        fwd_ = Fft1D<T>::Create(rows_, -1, kern, true);
        bwd_ = Fft1D<T>::Create(rows_, +1, kern, true);
        tw_ = MemArray<Cx<T>>(m);
        filt_ = MemArray<Cx<T>>(m);
        PowerTable power;
        if (!fwd_ || !bwd_ || !tw_ || !filt_ || !power.Init(m, -1)) return false;
        // Block after block of columns, in the order the column pass reads:
        // row j's twiddles w^(j K), and bin K + M t of the filter in row t.
        for (int64_t k0 = 0; k0 < rows_; k0 += B)
            for (int64_t j = 0; j < r_; ++j)
                for (int64_t c = 0; c < B; ++c) {
                    tw_[k0 * r_ + j * B + c] = power.GetReduced<T>(j * (k0 + c));
                    filt_[k0 * r_ + j * B + c] = filter[k0 + c + rows_ * j];
                }
        return true;
    }

    ~BlockedConv() {
        if (fwd_) MemDelete(fwd_);
        if (bwd_) MemDelete(bwd_);
        MemFree(tw_);
        MemFree(filt_);
    }

    // Scratch of one member of a team (the caller's own for a serial call):
    // a row's FFT's, one row, then one block of columns.
    int64_t MemberElems() const { return RowWork() + rows_ + r_ * B; }

    // Where element s of the convolution lies in the array.
    int64_t Slot(int64_t s) const { return (s % r_) * ld_ + s / r_; }

    // Elements of the array Run works in.
    int64_t ArrayElems() const { return r_ * ld_; }

    // mid (ArrayElems) = scale * m * IDFT(filter * DFT(x)), element s at
    // Slot(s), where x[s] = at(Slot(s), s) (the position lets a gather read
    // its indices in sequence); *bin0 = DFT(x)[0]. own: MemberElems
    // elements for the serial call. Then each member of the team calls
    // done(id, members) once all of mid is written, to read its share of
    // the results. (Scattering the results from the last rows instead
    // measured 1.1x slower for Rader's 65537 than gathering them
    // afterwards.)
    template <class At, class Done>
    void Run(Cx<T> *mid, Cx<T> *own, int nthreads, T scale, Cx<T> *bin0, At at, Done done) const {
        const int64_t r = r_, rows = rows_, ld = ld_;
        auto body = [&](Cx<T> *buf, int id, int nth) {
            // Each row goes through the scratch, so that its FFT runs out of
            // place (in place some lengths fall back from their kernels).
            Cx<T> *row = buf + RowWork(), *cols = row + rows;
            for (int64_t j = r * id / nth; j < r * (id + 1) / nth; ++j) {
                for (int64_t k = 0; k < rows; ++k) row[k] = at(j * ld + k, k * r + j);
                fwd_->Exec(row, mid + j * ld, buf, T(1), 1);
            }
            if (nth > 1) {
#pragma omp barrier
            }
            // Columns: B of each row gathered (in place, the legs of a column
            // lie a multiple of 4 KiB apart for the powers of two), through
            // the middle, and back.
            for (int64_t k0 = rows / B * id / nth * B; k0 < rows / B * (id + 1) / nth * B; k0 += B) {
                for (int64_t j = 0; j < r; ++j) memcpy(cols + j * B, mid + j * ld + k0, B * sizeof(Cx<T>));
                if (k0 == 0) {
                    Cx<T> s{};
                    for (int64_t j = 0; j < r; ++j) s.re += cols[j * B].re, s.im += cols[j * B].im;
                    *bin0 = s;
                }
                fn_(cols, tw_ + k0 * r, filt_ + k0 * r);
                for (int64_t j = 0; j < r; ++j) memcpy(mid + j * ld + k0, cols + j * B, B * sizeof(Cx<T>));
            }
            if (nth > 1) {
#pragma omp barrier
            }
            for (int64_t j = r * id / nth; j < r * (id + 1) / nth; ++j) {
                bwd_->Exec(mid + j * ld, row, buf, scale, 1);
                memcpy(mid + j * ld, row, size_t(rows) * sizeof(Cx<T>));
            }
            if (nth > 1) {
#pragma omp barrier
            }
            done(id, nth);
        };
        RunTeam<T>(nthreads, MemberElems(), own, body);
    }

private:
    int64_t RowWork() const { return std::max(fwd_->WorkElems(), bwd_->WorkElems()); }

    // At 65537, rows of 1024, 2048 and 4096 points (r = 64, 32, 16) ran
    // within noise of one another (1.81-1.95 of FFTW's speed).
    static constexpr int64_t kMinRow = 2048;

    int64_t r_ = 0, rows_ = 0;
    // Elements from row to row: a block more than a row, so that a
    // column's legs do not share a set of the first-level cache.
    int64_t ld_ = 0;
    ConvColumnsFn<T> fn_ = nullptr;
    Fft1D<T> *fwd_ = nullptr, *bwd_ = nullptr;  // the rows' FFTs
    Cx<T> *tw_ = nullptr, *filt_ = nullptr;       // both in the column pass's order
};

}  // namespace orb::dft

#endif
