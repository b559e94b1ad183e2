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

// Row j = j1 + r j2 <-> row j2 + r j1.
inline int64_t Transposed(int64_t j, int64_t r) { return j / r + r * (j % r); }

}  // namespace

template <class T>
bool RowRadix2D<T>::Suits(const EngineProblem &pb, const StageKernels &kern) {
    if (sizeof(T) != 8 || pb.rank != 2 || pb.split_in || pb.split_out) return false;
    for (int k = 0; k < pb.howmany_rank; ++k)
        if (pb.howmany[k].n != 1) return false;
    const EngineDim &d0 = pb.dims[0], &d1 = pb.dims[1];
    const int64_t r = RadixOf(d0.n), n1 = d1.n, h = n1 / 2 + 1;
    bool layout;
    if (pb.kind == EngineKind::C2C) {
        layout = d0.is == d0.os && d0.is >= n1;
    } else {
        const int64_t re = pb.kind == EngineKind::R2C ? d0.is : d0.os, cx = pb.kind == EngineKind::R2C ? d0.os : d0.is;
        layout = (re == n1 && cx == h) || (re == 2 * cx && cx >= h);
    }
    const int64_t cols = pb.kind == EngineKind::C2C ? n1 : h;
    return r != 0 && layout && n1 >= kMinRow && d1.is == 1 && d1.os == 1 &&
           kern.rows_dft_d(r, pb.sign) != nullptr && d0.n * cols * int64_t(sizeof(Cx<T>)) > SecondLevelCacheBytes();
}

template <class T>
RowRadix2D<T> *RowRadix2D<T>::Create(const EngineProblem &pb, const StageKernels &kern, const RealKernels &rkern) {
    RowRadix2D *p = MemNew<RowRadix2D>();
    if (!p) return nullptr;
    const int64_t n0 = pb.dims[0].n, r = RadixOf(n0);
    p->kind_ = pb.kind;
    p->n1_ = pb.dims[1].n, p->radix_ = r;
    p->cols_ = pb.kind == EngineKind::C2C ? p->n1_ : p->n1_ / 2 + 1;
    p->ldi_ = pb.dims[0].is, p->ldo_ = pb.dims[0].os;
    if constexpr (sizeof(T) == 8) p->group_ = kern.rows_dft_d(r, pb.sign);
    if (pb.kind == EngineKind::C2C) p->row_ = Fft1D<T>::Create(p->n1_, pb.sign, kern, true);
    else p->real_ = RealFft1D<T>::Create(p->n1_, pb.sign, kern, rkern, true);
    p->tw_ = MemArray<Cx<T>>(n0);
    PowerTable power;
    if (!p->group_ || !(p->row_ || p->real_) || !p->tw_ || !power.Init(n0, pb.sign)) {
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
    if (real_) MemDelete(real_);
    MemFree(tw_);
}

// The row transform's scratch, then a row buffer for the in-place swaps.
template <class T>
int64_t RowRadix2D<T>::MemberElems() const {
    return (row_ ? row_->WorkElems() : real_->WorkElems()) + n1_ + 8;
}

template <class T>
int64_t RowRadix2D<T>::ArrayElems() const {
    return kind_ == EngineKind::C2R ? radix_ * radix_ * cols_ : 0;
}

// Row j of the source (rows lds of its elements apart) to row
// Transposed(j) of out (the forward kinds: in to out; real backward: the
// column steps' array to out).
template <class T>
void RowRadix2D<T>::RowStep(const void *in, int64_t lds, void *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t r = radix_, n0 = r * r, per = MemberElems(), ldd = ldo_;
    const bool c2r = kind_ == EngineKind::C2R;
    const bool in_place = in == out;
    Share(nthreads, n0, [&](int64_t first, int64_t last, int id) {
        Cx<T> *w = work + id * per, *buf = w + (row_ ? row_->WorkElems() : real_->WorkElems());
        auto one = [&](const void *src, int64_t j, int64_t d) {
            if (row_)
                row_->Exec(static_cast<const Cx<T> *>(src) + j * lds, static_cast<Cx<T> *>(out) + d * ldd, w, scale, 1);
            else if (!c2r)
                real_->Forward(static_cast<const T *>(src) + j * lds, static_cast<Cx<T> *>(out) + d * ldd, w, scale, 1);
            else
                real_->Backward(static_cast<const Cx<T> *>(src) + j * lds, static_cast<T *>(out) + d * ldd, w, scale, 1);
        };
        for (int64_t j = first; j < last; ++j) {
            const int64_t d = Transposed(j, r);
            if (!in_place) {
                one(in, j, d);
            } else if (d == j) {
                one(in, j, j);
            } else if (j < d) {
                // Row d's source is in the way of row j's result: kept first.
                const size_t bytes = row_ ? n1_ * sizeof(Cx<T>) : c2r ? cols_ * sizeof(Cx<T>) : n1_ * sizeof(T);
                const unsigned char *at = static_cast<const unsigned char *>(in) + d * lds * (row_ || c2r ? sizeof(Cx<T>) : sizeof(T));
                memcpy(buf, at, bytes);
                one(in, j, d);
                one(buf, 0, j);
            }
        }
    });
}

template <class T>
void RowRadix2D<T>::ColumnSteps(const Cx<T> *src, int64_t lds, Cx<T> *a, int64_t lda, int nthreads) const {
    const int64_t r = radix_, cols = cols_;
    const bool backward = kind_ == EngineKind::C2R;
    // Columns in blocks of 8 over the team: a member's columns depend on
    // no other member's.
    const int64_t blocks = (cols + 7) / 8;
    Share(nthreads, blocks, [&](int64_t b0, int64_t b1, int) {
        const int64_t c0 = 8 * b0, c1 = b1 == blocks ? cols : 8 * b1;
        if (backward) {
            for (int64_t j1 = 0; j1 < r; ++j1)
                group_(src + j1 * lds + c0, r * lds, a + j1 * lda + c0, r * lda, c1 - c0, tw_ + j1 * r);
            for (int64_t k2 = 0; k2 < r; ++k2) {
                Cx<T> *g = a + k2 * r * lda + c0;
                group_(g, lda, g, lda, c1 - c0, nullptr);
            }
        } else {
            for (int64_t j1 = 0; j1 < r; ++j1) {
                Cx<T> *g = a + j1 * r * lda + c0;
                group_(g, lda, g, lda, c1 - c0, tw_ + j1 * r);
            }
            for (int64_t k2 = 0; k2 < r; ++k2) {
                Cx<T> *g = a + k2 * lda + c0;
                group_(g, r * lda, g, r * lda, c1 - c0, nullptr);
            }
        }
    });
}

template <class T>
void RowRadix2D<T>::Exec(const void *in, void *out, Cx<T> *work, T scale, int nthreads) const {
    if (kind_ != EngineKind::C2R) {
        RowStep(in, ldi_, out, work, scale, nthreads);
        ColumnSteps(static_cast<Cx<T> *>(out), ldo_, static_cast<Cx<T> *>(out), ldo_, nthreads);
        return;
    }
    // Real backward: the columns into the scratch array (or in place),
    // then the real rows out of it.
    const Cx<T> *x = static_cast<const Cx<T> *>(in);
    if (in == out) {
        Cx<T> *a = static_cast<Cx<T> *>(out);
        ColumnSteps(x, ldi_, a, ldi_, nthreads);
        RowStep(a, ldi_, out, work, scale, nthreads);
        return;
    }
    Cx<T> *a = work + nthreads * MemberElems();
    ColumnSteps(x, ldi_, a, cols_, nthreads);
    RowStep(a, cols_, out, work, scale, nthreads);
}

template class RowRadix2D<float>;
template class RowRadix2D<double>;

}  // namespace orb::dft
