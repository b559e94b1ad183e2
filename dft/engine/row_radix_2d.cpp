// The radix-N column passes of large two-dimensional transforms
// (row_radix_2d.h): the rule, the tables and the three steps.
#include "dft/engine/row_radix_2d.h"

#include <omp.h>
#include <string.h>

#include <utility>

#include "dft/engine/engine_memory.h"
#include "dft/engine/power_table.h"

namespace orb::dft {

namespace {

// Arrays past the second-level cache: rows shorter than this keep the
// gathered column passes (the row step would run one short row per call).
constexpr int64_t kMinRow = 256;
// Arrays in the second-level cache: at least this many columns, and this
// many elements in all. 64 x 33 and 256 x 32 ran as fast or faster on the
// codelets over gathered or adjacent columns.
constexpr int64_t kMinCachedColumns = 33;
constexpr int64_t kMinCachedElems = 4096;

// n0 = A * B (A the radix of the strided pass, B of the adjacent groups).
// In one process against the gathered column blocks (AVX2+FMA, one
// thread, ms): 1024 x 1024 10.3 -> 8.0, 1024 x 512 3.7 -> 2.7, 1024 x 256
// 1.7 -> 1.4, 4096 x 256 10.7 -> 6.5; with 16 x 16 past the cache the
// blocks held their own (256 x 512 0.54 against 0.57, 256 x 1024 even) or
// won (256 x 4096 6.5 against 8.4): short columns gather cheaply. In the
// cache (us): 64 x 64 9.1 -> 7.0, 128 x 128 42 -> 35, real 128 x 128 27
// -> 22, real 256 x 256 104 -> 90.
bool SplitOf(int64_t n0, bool cached, int64_t *a, int64_t *b) {
    static constexpr int64_t kSplits[][3] = {{64, 8, 8},     {128, 8, 16},   {256, 16, 16},
                                             {512, 16, 32},  {1024, 32, 32}, {2048, 32, 64},
                                             {4096, 64, 64}};
    for (const auto &row : kSplits)
        if (row[0] == n0 && (row[0] >= 512) != cached) {
            *a = row[1], *b = row[2];
            return true;
        }
    return false;
}

// Whether the real backward transform, out of place past the cache,
// leaves the half spectrum of its column steps in the output array (rows
// of a whole number of complex elements) instead of a scratch array of its
// own: one array less to write and read back. In the cache the scratch
// array costs nothing and the in-place rows' copies do (real 256 x 256:
// 1.2x slower packed).
bool Packs(const EngineProblem &pb, bool overwrite_input, bool cached) {
    return pb.kind == EngineKind::C2R && !overwrite_input && !cached && pb.dims[0].os % 2 == 0 &&
           pb.dims[1].n >= 2;
}

// The rows of the array the column steps of an array in the cache run on,
// in complex elements: the output for the forward kinds; for the real
// backward one the input (in place, or when it may be overwritten) or else
// the scratch array (cols apart; in the cache nothing is packed).
int64_t CachedColumnStride(const EngineProblem &pb, int64_t cols, bool overwrite_input) {
    if (pb.kind != EngineKind::C2R) return pb.dims[0].os;
    return overwrite_input || pb.dims[0].os == 2 * pb.dims[0].is ? pb.dims[0].is : cols;
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

// Row j = j1 + a j2 goes to row j2 + b j1.
inline int64_t Dest(int64_t j, int64_t a, int64_t b) { return j / a + b * (j % a); }

}  // namespace

template <class T>
int RowRadix2D<T>::FormOf(const EngineProblem &pb, const StageKernels &kern, bool overwrite_input) {
    if (sizeof(T) != 8 || pb.rank != 2 || pb.split_in || pb.split_out) return kNone;
    for (int k = 0; k < pb.howmany_rank; ++k)
        if (pb.howmany[k].n != 1) return kNone;
    const EngineDim &d0 = pb.dims[0], &d1 = pb.dims[1];
    const int64_t n0 = d0.n, n1 = d1.n, h = n1 / 2 + 1;
    // Rows apart by at least their length on either side; only the
    // layouts that allow it run in place (RunsInPlace).
    bool layout;
    if (pb.kind == EngineKind::C2C) {
        layout = d0.is >= n1 && d0.os >= n1;
    } else {
        const int64_t re = pb.kind == EngineKind::R2C ? d0.is : d0.os, cx = pb.kind == EngineKind::R2C ? d0.os : d0.is;
        layout = re >= n1 && cx >= h;
    }
    if (!layout || d1.is != 1 || d1.os != 1) return kNone;
    const int64_t cols = pb.kind == EngineKind::C2C ? n1 : h;
    const bool cached = n0 * cols * int64_t(sizeof(Cx<T>)) <= SecondLevelCacheBytes();
    int64_t a = 0, b = 0;
    if (!SplitOf(n0, cached, &a, &b)) return kNone;
    // Rows a multiple of 4 KiB apart share one first-level set: in the
    // cache they keep the gathered blocks (256 x 256 complex: 300 us read
    // where they lie, 210 either way else).
    const bool buffered = !cached;
    if (cached && (cols < kMinCachedColumns || n0 * cols < kMinCachedElems ||
                   CachedColumnStride(pb, cols, overwrite_input) * int64_t(sizeof(Cx<T>)) % 4096 == 0))
        return kNone;
    if (!cached && n1 < kMinRow) return kNone;
    if (!kern.rows_dft_d(a, pb.sign, buffered) || !kern.rows_dft_d(b, pb.sign, buffered)) return kNone;
    return cached ? kInCache : kStreamed;
}

template <class T>
bool RowRadix2D<T>::Suits(const EngineProblem &pb, const StageKernels &kern, bool overwrite_input) {
    return FormOf(pb, kern, overwrite_input) != kNone;
}

template <class T>
RowRadix2D<T> *RowRadix2D<T>::Create(const EngineProblem &pb, const StageKernels &kern, const RealKernels &rkern,
                                     bool overwrite_input) {
    RowRadix2D *p = MemNew<RowRadix2D>();
    if (!p) return nullptr;
    const int64_t n0 = pb.dims[0].n;
    const int form = FormOf(pb, kern, overwrite_input);
    int64_t a = 0, b = 0;
    SplitOf(n0, form == kInCache, &a, &b);
    p->kind_ = pb.kind;
    p->overwrite_ = overwrite_input;
    // Out of place the real backward transform keeps its input: the half
    // spectrum of the column steps goes to the output array when its rows
    // are a whole number of complex elements long.
    p->packed_ = Packs(pb, overwrite_input, form == kInCache);
    const int64_t is = pb.dims[0].is, os = pb.dims[0].os;
    p->in_place_ok_ = pb.kind == EngineKind::C2C   ? is == os
                      : pb.kind == EngineKind::R2C ? is == 2 * os
                                                   : os == 2 * is;
    p->n1_ = pb.dims[1].n, p->a_ = a, p->b_ = b;
    p->cols_ = pb.kind == EngineKind::C2C ? p->n1_ : p->n1_ / 2 + 1;
    p->ldi_ = pb.dims[0].is, p->ldo_ = pb.dims[0].os;
    if constexpr (sizeof(T) == 8) {
        const bool buffered = form == kStreamed;
        p->dft_a_ = kern.rows_dft_d(a, pb.sign, buffered), p->dft_b_ = kern.rows_dft_d(b, pb.sign, buffered);
    }
    if (pb.kind == EngineKind::C2C) p->row_ = Fft1D<T>::Create(p->n1_, pb.sign, kern, true);
    else p->real_ = RealFft1D<T>::Create(p->n1_, pb.sign, kern, rkern, true);
    p->tw_ = MemArray<Cx<T>>(n0);
    p->cycles_ = MemArray<int32_t>(n0);
    PowerTable power;
    if (!p->dft_a_ || !p->dft_b_ || !(p->row_ || p->real_) || !p->tw_ || !p->cycles_ || !power.Init(n0, pb.sign)) {
        MemDelete(p);
        return nullptr;
    }
    for (int64_t j1 = 0; j1 < a; ++j1)
        for (int64_t k2 = 0; k2 < b; ++k2) p->tw_[j1 * b + k2] = power.GetReduced<T>(j1 * k2);
    // A cycle's first row is its smallest.
    for (int64_t j = 0; j < n0; ++j) {
        int64_t k = Dest(j, a, b);
        while (k > j) k = Dest(k, a, b);
        if (k == j) p->cycles_[p->ncycles_++] = int32_t(j);
    }
    return p;
}

template <class T>
RowRadix2D<T>::~RowRadix2D() {
    if (row_) MemDelete(row_);
    if (real_) MemDelete(real_);
    MemFree(tw_);
    MemFree(cycles_);
}

// The row transform's scratch, then two row buffers for the in-place
// cycles.
template <class T>
int64_t RowRadix2D<T>::MemberElems() const {
    return (row_ ? row_->WorkElems() : real_->WorkElems()) + 2 * (n1_ + 8);
}

template <class T>
int64_t RowRadix2D<T>::ArrayElems() const {
    if (kind_ != EngineKind::C2R || overwrite_) return 0;
    return packed_ ? a_ * b_ : a_ * b_ * cols_;
}

// Row j of the source (rows lds of its elements apart) to row Dest(j) of
// out (the forward kinds: in to out; real backward: the column steps'
// array to out).
template <class T>
void RowRadix2D<T>::RowStep(const void *in, int64_t lds, void *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t a = a_, b = b_, n0 = a * b, per = MemberElems(), ldd = ldo_;
    const bool c2r = kind_ == EngineKind::C2R;
    const size_t src_elem = row_ || c2r ? sizeof(Cx<T>) : sizeof(T);
    const size_t src_bytes = row_ ? n1_ * sizeof(Cx<T>) : c2r ? cols_ * sizeof(Cx<T>) : n1_ * sizeof(T);
    auto run = [&](Cx<T> *w, const void *src, int64_t j, int64_t d) {
        if (row_)
            row_->Exec(static_cast<const Cx<T> *>(src) + j * lds, static_cast<Cx<T> *>(out) + d * ldd, w, scale, 1);
        else if (!c2r)
            real_->Forward(static_cast<const T *>(src) + j * lds, static_cast<Cx<T> *>(out) + d * ldd, w, scale, 1);
        else
            real_->Backward(static_cast<const Cx<T> *>(src) + j * lds, static_cast<T *>(out) + d * ldd, w, scale, 1);
    };
    if (in != out) {
        Share(nthreads, n0, [&](int64_t first, int64_t last, int id) {
            for (int64_t j = first; j < last; ++j) run(work + id * per, in, j, Dest(j, a, b));
        });
        return;
    }
    // In place, cycle by cycle: each destination's own source row is kept
    // before the row is overwritten.
    const unsigned char *base = static_cast<const unsigned char *>(in);
    Share(nthreads, ncycles_, [&](int64_t first, int64_t last, int id) {
        Cx<T> *w = work + id * per, *cur = w + (row_ ? row_->WorkElems() : real_->WorkElems()), *next = cur + n1_ + 8;
        for (int64_t c = first; c < last; ++c) {
            const int64_t j0 = cycles_[c];
            int64_t d = Dest(j0, a, b);
            if (d == j0) {
                run(w, in, j0, j0);
                continue;
            }
            memcpy(cur, base + d * lds * src_elem, src_bytes);
            run(w, in, j0, d);
            for (int64_t j = d;; std::swap(cur, next)) {
                d = Dest(j, a, b);
                if (d == j0) {
                    run(w, cur, 0, d);
                    break;
                }
                memcpy(next, base + d * lds * src_elem, src_bytes);
                run(w, cur, 0, d);
                j = d;
            }
        }
    });
}

// Real backward rows whose half spectra lie in the output array itself:
// row j's first cols - 1 elements where output row j starts, its last in
// last[j]. Each cycle of the row permutation keeps the source row of the
// next destination (with its last element) in a buffer before the
// destination is overwritten; fixed rows too go through a buffer.
template <class T>
void RowRadix2D<T>::PackedRowStep(Cx<T> *p, const Cx<T> *last, Cx<T> *work, T scale, int nthreads) const {
    const int64_t a = a_, b = b_, per = MemberElems(), ldp = ldo_ / 2, cols = cols_;
    Share(nthreads, ncycles_, [&](int64_t first, int64_t lastc, int id) {
        Cx<T> *w = work + id * per, *cur = w + real_->WorkElems(), *next = cur + n1_ + 8;
        auto load = [&](Cx<T> *buf, int64_t j) {
            memcpy(buf, p + j * ldp, (cols - 1) * sizeof(Cx<T>));
            buf[cols - 1] = last[j];
        };
        for (int64_t c = first; c < lastc; ++c) {
            const int64_t j0 = cycles_[c];
            load(cur, j0);
            for (int64_t j = j0;; std::swap(cur, next)) {
                const int64_t d = Dest(j, a, b);
                if (d != j0) load(next, d);
                real_->Backward(cur, reinterpret_cast<T *>(p) + d * ldo_, w, scale, 1);
                if (d == j0) break;
                j = d;
            }
        }
    });
}

template <class T>
void RowRadix2D<T>::ColumnSteps(const Cx<T> *src, int64_t lds, Cx<T> *x, int64_t ldx, int64_t cols,
                                 int nthreads) const {
    const int64_t a = a_, b = b_;
    const bool backward = kind_ == EngineKind::C2R;
    // Columns in blocks of 8 over the team: a member's columns depend on
    // no other member's.
    const int64_t blocks = (cols + 7) / 8;
    Share(nthreads, blocks, [&](int64_t b0, int64_t b1, int) {
        const int64_t c0 = 8 * b0, c1 = b1 == blocks ? cols : 8 * b1;
        if (backward) {
            for (int64_t j1 = 0; j1 < a; ++j1)
                dft_b_(src + j1 * lds + c0, a * lds, x + j1 * ldx + c0, a * ldx, c1 - c0, tw_ + j1 * b);
            for (int64_t k2 = 0; k2 < b; ++k2) {
                Cx<T> *g = x + k2 * a * ldx + c0;
                dft_a_(g, ldx, g, ldx, c1 - c0, nullptr);
            }
        } else {
            for (int64_t j1 = 0; j1 < a; ++j1) {
                Cx<T> *g = x + j1 * b * ldx + c0;
                dft_b_(g, ldx, g, ldx, c1 - c0, tw_ + j1 * b);
            }
            for (int64_t k2 = 0; k2 < b; ++k2) {
                Cx<T> *g = x + k2 * ldx + c0;
                dft_a_(g, b * ldx, g, b * ldx, c1 - c0, nullptr);
            }
        }
    });
}

template <class T>
void RowRadix2D<T>::Exec(const void *in, void *out, Cx<T> *work, T scale, int nthreads) const {
    if (kind_ != EngineKind::C2R) {
        RowStep(in, ldi_, out, work, scale, nthreads);
        ColumnSteps(static_cast<Cx<T> *>(out), ldo_, static_cast<Cx<T> *>(out), ldo_, cols_, nthreads);
        return;
    }
    // Real backward: the columns into the scratch array (or in the input,
    // in place or when it may be overwritten), then the real rows out of it.
    const Cx<T> *x = static_cast<const Cx<T> *>(in);
    if (in == out || overwrite_) {
        Cx<T> *a = const_cast<Cx<T> *>(x);
        ColumnSteps(x, ldi_, a, ldi_, cols_, nthreads);
        RowStep(a, ldi_, out, work, scale, nthreads);
        return;
    }
    Cx<T> *a = work + nthreads * MemberElems();
    if (packed_) {
        // The columns but the last into the output array itself (a row of
        // cols - 1 complex elements fills a real row), the last into a
        // scratch column; the rows then run in place.
        Cx<T> *p = static_cast<Cx<T> *>(out);
        ColumnSteps(x, ldi_, p, ldo_ / 2, cols_ - 1, nthreads);
        ColumnSteps(x + cols_ - 1, ldi_, a, 1, 1, 1);
        PackedRowStep(p, a, work, scale, nthreads);
        return;
    }
    ColumnSteps(x, ldi_, a, cols_, cols_, nthreads);
    RowStep(a, cols_, out, work, scale, nthreads);
}

template <class T>
void RowRadix2D<T>::ExecPacked(Cx<T> *out, Cx<T> *last, Cx<T> *work, T scale, int nthreads) const {
    ColumnSteps(out, ldo_ / 2, out, ldo_ / 2, cols_ - 1, nthreads);
    ColumnSteps(last, 1, last, 1, 1, 1);
    PackedRowStep(out, last, work, scale, nthreads);
}

template class RowRadix2D<float>;
template class RowRadix2D<double>;

}  // namespace orb::dft
