// The radix-N column passes of large two-dimensional transforms
// (row_radix_2d.h): the rule, the tables and the three steps.
#include "dft/engine/row_radix_2d.h"

#include <omp.h>
#include <string.h>

#include "dft/engine/engine_memory.h"
#include "dft/engine/power_table.h"

namespace orb::dft {

namespace {

// Rows shorter than this keep the gathered column passes (the row step
// would run one short row per call).
constexpr int64_t kMinRow = 256;

// n0 = r * r. In one process against the gathered column blocks (AVX2+FMA,
// one thread, ms): 1024 x 1024 10.3 -> 8.0, 1024 x 512 3.7 -> 2.7, 1024 x
// 256 1.7 -> 1.4, 4096 x 256 10.7 -> 6.5; with r = 16 the blocks held
// their own (256 x 512 0.54 against 0.57, 256 x 1024 even) or won (256 x
// 4096 6.5 against 8.4): short columns gather cheaply.
int64_t RadixOf(int64_t n0) {
    for (int64_t r : {32, 64})
        if (r * r == n0) return r;
    return 0;
}

// count items over nthreads threads: f(first, last, id).
template <class F>
void Share(int nthreads, int64_t count, F f) {
    if (nthreads <= 1) {
        f(int64_t(0), count, 0);
        return;
    }
#pragma omp parallel num_threads(nthreads)
    {
        const int id = omp_get_thread_num(), nth = omp_get_num_threads();
        f(count * id / nth, count * (id + 1) / nth, id);
    }
}

}  // namespace

template <class T>
bool RowRadix2D<T>::Suits(const EngineProblem &pb, const StageKernels &kern) {
    if (sizeof(T) != 8 || pb.kind != EngineKind::C2C || pb.rank != 2 || pb.split_in || pb.split_out) return false;
    for (int k = 0; k < pb.howmany_rank; ++k)
        if (pb.howmany[k].n != 1) return false;
    const EngineDim &d0 = pb.dims[0], &d1 = pb.dims[1];
    const int64_t r = RadixOf(d0.n);
    return r != 0 && d1.n >= kMinRow && d1.is == 1 && d1.os == 1 && d0.is == d0.os && d0.is >= d1.n &&
           kern.rows_dft_d(r, pb.sign) != nullptr && d0.n * d1.n * int64_t(sizeof(Cx<T>)) > SecondLevelCacheBytes();
}

template <class T>
RowRadix2D<T> *RowRadix2D<T>::Create(const EngineProblem &pb, const StageKernels &kern) {
    RowRadix2D *p = MemNew<RowRadix2D>();
    if (!p) return nullptr;
    const int64_t n0 = pb.dims[0].n, r = RadixOf(n0);
    p->n1_ = pb.dims[1].n, p->radix_ = r, p->ld_ = pb.dims[0].is;
    if constexpr (sizeof(T) == 8) p->group_ = kern.rows_dft_d(r, pb.sign);
    p->row_ = Fft1D<T>::Create(p->n1_, pb.sign, kern, true);
    p->tw_ = MemArray<Cx<T>>(n0);
    PowerTable power;
    if (!p->group_ || !p->row_ || !p->tw_ || !power.Init(n0, pb.sign)) {
        MemDelete(p);
        return nullptr;
    }
    for (int64_t j1 = 0; j1 < r; ++j1)
        for (int64_t k2 = 0; k2 < r; ++k2) p->tw_[j1 * r + k2] = power.GetReduced<T>(j1 * k2);
    return p;
}

template <class T>
RowRadix2D<T>::~RowRadix2D() {
    if (row_) MemDelete(row_);
    MemFree(tw_);
}

// The row transform's scratch, then a row buffer for the in-place swaps.
template <class T>
int64_t RowRadix2D<T>::MemberElems() const {
    return row_->WorkElems() + n1_ + 8;
}

template <class T>
void RowRadix2D<T>::Exec(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t r = radix_, n0 = r * r, n1 = n1_, ld = ld_;
    const int64_t per = MemberElems();
    const bool in_place = in == out;
    // Step 1: row j = j1 + r j2 to row j2 + r j1 (a transpose of the r x r
    // grid of rows: in place, pairs swap).
    Share(nthreads, n0, [&](int64_t first, int64_t last, int id) {
        Cx<T> *w = work + id * per, *buf = w + row_->WorkElems();
        for (int64_t j = first; j < last; ++j) {
            const int64_t d = (j / r) + r * (j % r);
            if (!in_place) {
                row_->Exec(in + j * ld, out + d * ld, w, scale, 1);
            } else if (d == j) {
                row_->Exec(out + j * ld, out + j * ld, w, scale, 1);
            } else if (j < d) {
                memcpy(buf, out + d * ld, size_t(n1) * sizeof(Cx<T>));
                row_->Exec(out + j * ld, out + d * ld, w, scale, 1);
                row_->Exec(buf, out + j * ld, w, scale, 1);
            }
        }
    });
    // Steps 2 and 3 share the columns out in blocks of 8: a member's
    // columns depend on no other member's.
    const int64_t blocks = (n1 + 7) / 8;
    Share(nthreads, blocks, [&](int64_t b0, int64_t b1, int) {
        const int64_t c0 = 8 * b0, c1 = b1 == blocks ? n1 : 8 * b1;
        for (int64_t j1 = 0; j1 < r; ++j1) {
            Cx<T> *g = out + j1 * r * ld + c0;
            group_(g, ld, g, ld, c1 - c0, tw_ + j1 * r);
        }
        for (int64_t k2 = 0; k2 < r; ++k2) {
            Cx<T> *g = out + k2 * ld + c0;
            group_(g, r * ld, g, r * ld, c1 - c0, nullptr);
        }
    });
}

template class RowRadix2D<float>;
template class RowRadix2D<double>;

}  // namespace orb::dft
