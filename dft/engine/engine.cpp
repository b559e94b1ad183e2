// The engine's plan: a problem becomes a short list of passes, each a
// one-dimensional transform along one dimension repeated over every other
// dimension and batch index. Rows are gathered into contiguous scratch
// (or used in place when already contiguous), transformed, and scattered;
// with several threads the rows of a pass, or the stages of a single long
// row, are shared out.
#include "dft/engine/engine.h"

#include <omp.h>
#include <string.h>

#include <algorithm>
#include <atomic>

#include "dft/engine/engine_internal.h"
#include "dft/engine/engine_memory.h"
#include "dft/engine/fft1d.h"
#include "dft/engine/real_kernels.h"
#include "dft/engine/row_radix_2d.h"
#include "dft/engine/split_kernels.h"

namespace orb::dft {
namespace {

enum Buf { kIn = 0, kOut = 1, kTemp = 2 };

constexpr int kMaxLoops = 9;

struct Pass {
    EngineKind kind;  // transform along this pass's dimension
    int64_t n;        // logical length
    int64_t is, os;   // strides along it (source units / destination units)
    int nloop = 0;
    int64_t ln[kMaxLoops], lis[kMaxLoops], los[kMaxLoops];
    int src, dst;
    bool scaled;
    int block = 1;  // columns transformed together (adjacent along the innermost loop)
    bool direct = false;  // complex rows read and written in place: no row buffers
    bool codelet_direct = false;  // a codelet runs the rows or columns where they lie
    bool real_codelet = false;    // a real pass whose codelet runs its rows where they lie
    bool split_codelet = false;   // a split codelet runs the rows or columns on the caller's parts
    bool block_as_rows = false;   // a gathered block runs column by column, not interleaved
};

// Columns spanning more than this whose stride is a multiple of 4 KiB run
// through a contiguous copy: every element of such a column falls in the
// same cache set (a 64^3 array ran at half speed read in place).
constexpr int64_t kCodeletDirectSpan = 256 * 1024;

// Adjacent columns gathered together by a column pass: at least 8, more
// for short columns, up to 128 KiB of them or 64 columns. Each row of the
// array then gives the gather a run of up to 1 KiB instead of 128 bytes
// (for an outer dimension, each row another page). In process against
// blocks of 8 (AVX2+FMA, double, 2 MiB second-level cache), time ratios:
// 128^3 C2R 0.77-0.81, complex 128^3 0.90, 256^2 C2R 0.87-0.90, complex
// 256^2 0.90, 64^3 C2R 0.80-1.0 (noisy), 128^3 R2C 0.96; 1024-point
// columns keep 8 (1024^2 0.98-1.02).
constexpr int64_t kColumnBlock = 8;
constexpr int64_t kColumnBlockBytes = 128 * 1024;
constexpr int64_t kColumnBlockMax = 64;

// Strided double columns up to this size with a two-pass kernel run it one
// gathered column at a time where a vector holds two complex doubles: in
// process against the interleaved stages (AVX2+FMA, n x (n/2+1) columns of
// the real 2-D transforms) 72 0.75, 100 0.85, 120 0.77, 128 0.82-0.92, 192
// 0.87, 240 0.87, 256 0.77-0.87, 384 0.91 of the time (AVX alike); 480-512
// 0.97-1.05, 768 and 1000 1.3x slower, one complex double a vector 1.0-1.1x
// slower, single precision (four complex floats a vector) 1.2-1.4x slower.
constexpr int64_t kBlockAsRowsMaxBytes = 6 * 1024;

// Rows below this size run interleaved in blocks (vectorised across rows).
// From it a block of rows and its copies outgrow the L2 cache: 100 double
// rows of 4096 ran at 0.55-0.6 of FFTW's speed interleaved, 0.8-0.95 one
// row at a time; at the size itself (100 rows of double 2048 or single
// 4096) 0.73-0.77 and 0.41-0.50 interleaved, 0.99-1.11 and 0.83-0.98 one
// row at a time on the stages (where the second-level cache holds 512
// KiB). Lengths with a two-pass kernel run one row at a time at any size:
// rows of a 256 x 256 transform gathered eight at a time ran at 0.64 of
// FFTW's speed, 0.83 alone.
constexpr int64_t kInterleaveMaxRowBytes = 32 * 1024;

// Contiguous rows from 4 KiB whose whole batch stays in the caches run one
// at a time even below that size: a row and its work fit the first-level
// cache, where a block of eight and its copies spill to the second. In-
// process against the blocks, AVX2+FMA, batches of 64 to 192 rows: double
// 1024 0.51-0.66 of the time, single 1000 0.61, single 600 0.72-0.83 (up to
// 800 rows), double 384 0.83; from about 4 MiB of rows streaming from
// memory the blocks win (double 1024 x 256: blocks 1.2-1.5x faster, single
// 600 x 1600 1.14x), as the copies read eight rows in order. Where the
// second-level cache holds 1 MiB or more rows run alone at any batch size:
// there (2 MiB of it) batches of 8-16 MiB streaming from memory took, one
// row at a time against the blocks, double 1024 0.64-0.68, single 600-2000
// 0.64-0.75 of the time, other lengths 0.99-1.05.
constexpr int64_t kRowAloneMinBytes = 4 * 1024;
constexpr int64_t kRowsAloneMaxBatchBytes = 2 * 1024 * 1024;
constexpr int64_t kRowsAloneAnyBatchSecondLevel = 1024 * 1024;

// A lone real row from this length runs faster as the half-length complex
// codelet (vectorised inside the row) plus the vectorised pair step than
// as the scalar real codelet: at 32, 1.15 against 0.70 of FFTW's speed
// (AVX2); rows in a batch still take the real codelet, a vector's worth
// at a time (1.57 against 0.95 for 1000 x 32).
constexpr int64_t kLoneRealCodeletBelow = 32;

// A single row long enough to split its stages over threads.
constexpr int64_t kThreadedRowMin = 1 << 14;

// Largest slab (the last two dimensions at one index of the outer ones)
// whose first two passes run together, slab by slab, while it stays in
// the second-level cache: a 128^3 array then crosses memory twice instead
// of three times (complex 128^3 3-9% faster, 64^3 within noise).
constexpr int64_t kSlabMaxBytes = 1 << 20;

struct Side {
    void *re;
    void *im;  // null for an interleaved or real side
};

template <class T>
struct PlanT {
    EngineProblem pb;
    const StageKernels *kern;
    const RealKernels *rkern;
    const SplitKernels *skern;
    int npass = 0;
    Pass pass[8];
    Fft1D<T> *c[8] = {};
    RealFft1D<T> *r[8] = {};
    R2CFn<T> r2c[8] = {};  // real passes with a codelet (no RealFft1D then)
    C2RFn<T> c2r[8] = {};
    SplitFn<T> sc[8] = {};  // split passes with a split codelet
    SplitPassFn<T> sp[8] = {};        // split rows with a split three-pass kernel
    const Cx<T> *sp_tw[8] = {};       // and its twiddles
    int64_t temp_elems = 0;  // complex scratch array for C2R with rank > 1
    int64_t row_elems = 0;   // per-thread row scratch (complex elements)
    int team = 1;            // threads that run rows at once
    // Passes slab_pass and slab_pass + 1 (the last two dimensions) run slab
    // by slab over this many slabs (0: pass by pass). The second writes only
    // what the first wrote for the same slab, so in place this order is as
    // safe as pass by pass.
    int64_t slabs = 0;
    int slab_pass = 0;
    // Double slabs of 64, 128 or 256 rows: each slab's two passes run as
    // one 2-D transform with radix column passes (row_radix_2d.h).
    RowRadix2D<T> *slab2d = nullptr;
    // Real backward 3-D out of place with such slabs: passes npass and
    // npass + 1 (npack = 2) take the outer dimension from the input into
    // the output array itself, as complex rows of h - 1 elements, and into
    // a column of the scratch for the last bin of each row; the slabs then
    // run in place there (RowRadix2D::ExecPacked). One array less crosses
    // memory than through the scratch array.
    int npack = 0;
    // Short contiguous complex rows with a straight-line codelet: Execute
    // hands all rows to it (no workspace, no pass loop).
    SmallFn<T> solo = nullptr;
    // Rows, their distances, and (real codelets) the element strides.
    int64_t solo_rows = 1, solo_is = 0, solo_os = 0, solo_us = 1, solo_vs = 1;
    // The same for a lone real pass with a codelet (any strides).
    R2CFn<T> solo_r2c = nullptr;
    C2RFn<T> solo_c2r = nullptr;
    // A lone contiguous row without a codelet for the whole call: Execute
    // calls its Fft1D or RealFft1D directly (no pass loop).
    bool solo_row = false;
    // A large 2-D double transform whose columns run as radix passes
    // across whole rows: Execute hands it the whole call, and the plan has
    // no passes (row_radix_2d.h).
    RowRadix2D<T> *radix2d = nullptr;
    // Workspace kept with the plan for large problems, lent to one Execute
    // at a time (a concurrent caller allocates its own).
    void *cache = nullptr;
    int64_t cache_bytes = 0;
    mutable std::atomic<bool> cache_busy{false};

    ~PlanT() {
        MemFree(cache);
        if (radix2d) MemDelete(radix2d);
        if (slab2d) MemDelete(slab2d);
        for (int i = 0; i < 8; ++i) {
            if (c[i]) MemDelete(c[i]);
            if (r[i]) MemDelete(r[i]);
        }
    }
};

}  // namespace

struct EnginePlan {
    bool is_double;
    void *impl;
    // Set when the whole transform is one straight-line call (an interleaved
    // or real codelet over all rows): EngineExecute jumps to it with no
    // workspace and no pass loop.
    int (*direct)(const void *impl, const void *in, void *out) = nullptr;
};

namespace {

// Elements from one row buffer of the scratch to the next (input copy,
// output, work): a row and its two guard elements, then a gap, so that the
// buffers do not start at one offset in their pages. Rows of a power-of-
// two length otherwise read one buffer and write the next at addresses
// equal in their low 12 bits, where a load waits for the older store:
// split 2048-point rows (joined, transformed, split back) took 13 us
// against 7.3-7.6 with the gap, FFTW's split plan 4.8-6.
constexpr int64_t RowPitch(int64_t n) { return n + 2 + 64; }

// ---- building ----

void AddLoop(Pass &p, int64_t n, int64_t is, int64_t os) {
    if (n == 1) return;
    p.ln[p.nloop] = n, p.lis[p.nloop] = is, p.los[p.nloop] = os;
    ++p.nloop;
}

// Neighbouring loops that step through memory as one (the outer stride
// is the inner count times the inner stride on both sides) become one
// loop: the rows of an 8x8x8 real array are 64 rows of one codelet call,
// not 8 calls of 8, and short columns gather into longer blocks.
void MergeLoops(Pass &p) {
    int k = 0;
    for (int i = 1; i < p.nloop; ++i) {
        if (p.lis[k] == p.ln[i] * p.lis[i] && p.los[k] == p.ln[i] * p.los[i]) {
            p.ln[k] *= p.ln[i], p.lis[k] = p.lis[i], p.los[k] = p.los[i];
        } else {
            ++k;
            p.ln[k] = p.ln[i], p.lis[k] = p.lis[i], p.los[k] = p.los[i];
        }
    }
    if (p.nloop > 0) p.nloop = k + 1;
}

template <class T>
bool BuildPasses(PlanT<T> &pl) {
    const EngineProblem &pb = pl.pb;
    const int r = pb.rank;
    const EngineDim *d = pb.dims;
    const int64_t h = d[r - 1].n / 2 + 1;  // complex length of a real last dimension
    auto clen = [&](int j) { return (pb.kind != EngineKind::C2C && j == r - 1) ? h : d[j].n; };
    auto add = [&](EngineKind kind, int dim, int src, int dst, const int64_t *sis, const int64_t *sos,
                   const int64_t *his, const int64_t *hos, bool scaled) {
        Pass &p = pl.pass[pl.npass++];
        p.kind = kind, p.n = d[dim].n, p.src = src, p.dst = dst, p.scaled = scaled;
        p.is = sis[dim], p.os = sos[dim];
        for (int k = 0; k < pb.howmany_rank; ++k) AddLoop(p, pb.howmany[k].n, his[k], hos[k]);
        for (int j = 0; j < r; ++j)
            if (j != dim) AddLoop(p, clen(j), sis[j], sos[j]);
        MergeLoops(p);
    };
    int64_t is[7], os[7], his[2], hos[2];
    for (int j = 0; j < r; ++j) is[j] = d[j].is, os[j] = d[j].os;
    for (int k = 0; k < pb.howmany_rank; ++k) his[k] = pb.howmany[k].is, hos[k] = pb.howmany[k].os;

    if (pb.kind != EngineKind::C2R) {
        add(pb.kind, r - 1, kIn, kOut, is, os, his, hos, true);
        for (int j = r - 2; j >= 0; --j) add(EngineKind::C2C, j, kOut, kOut, os, os, hos, hos, false);
    } else if (r == 1) {
        add(EngineKind::C2R, 0, kIn, kOut, is, os, his, hos, true);
    } else {
        // The complex dimensions are transformed into a contiguous scratch
        // array first, so the caller's input stays untouched: the outer
        // dimensions first, so that the last two passes (the slab passes
        // below) run together slab by slab, the mirror of the forward order.
        int64_t ts[7], ths[2], stride = 1;
        for (int j = r - 1; j >= 0; --j) ts[j] = stride, stride *= clen(j);
        for (int k = pb.howmany_rank - 1; k >= 0; --k) ths[k] = stride, stride *= pb.howmany[k].n;
        pl.temp_elems = stride;
        add(EngineKind::C2C, 0, kIn, kTemp, is, ts, his, ths, false);
        for (int j = 1; j <= r - 2; ++j) add(EngineKind::C2C, j, kTemp, kTemp, ts, ts, ths, ths, false);
        add(EngineKind::C2R, r - 1, kTemp, kOut, ts, os, ths, hos, true);
        pl.slab_pass = pl.npass - 2;
    }
    if (r >= 3) {
        int64_t slabs = 1;
        for (int k = 0; k < pb.howmany_rank; ++k) slabs *= pb.howmany[k].n;
        for (int j = 0; j < r - 2; ++j) slabs *= d[j].n;
        const int64_t slab_bytes = clen(r - 1) * d[r - 2].n * int64_t(pb.is_double ? 16 : 8);
        // An array that fits the cache whole gains nothing and pays a call
        // per slab.
        if (slabs > 1 && slab_bytes <= kSlabMaxBytes && slabs * slab_bytes > kSlabMaxBytes) pl.slabs = slabs;
        if (pl.slabs > 0 && !pb.split_in && !pb.split_out) {
            // The slab as a problem of its own: from the input to the output,
            // or (real backward) from the scratch array, which it may
            // overwrite, to the output.
            const bool c2r = pb.kind == EngineKind::C2R;
            EngineProblem sp;
            sp.kind = pb.kind, sp.is_double = pb.is_double, sp.sign = pb.sign, sp.rank = 2, sp.scale = pb.scale;
            for (int j = 0; j < 2; ++j) {
                const int dim = r - 2 + j;
                // The scratch array's rows are h complex elements apart.
                sp.dims[j] = {d[dim].n, c2r ? (j == 0 ? h : 1) : d[dim].is, d[dim].os};
            }
            if (RowRadix2D<T>::Suits(sp, *pl.kern, c2r)) {
                pl.slab2d = RowRadix2D<T>::Create(sp, *pl.kern, *pl.rkern, c2r);
                if (!pl.slab2d) return false;
            }
            // Rows of the output a multiple of 4 KiB apart as complex would
            // share one first-level set in the slab's column steps.
            if (pl.slab2d && c2r && r == 3 && pb.howmany_rank == 0 && d[0].os % 2 == 0 && d[1].os % 2 == 0 &&
                d[1].os / 2 * int64_t(sizeof(Cx<T>)) % 4096 != 0 && h >= 2) {
                // Output strides as complex elements: the output array for
                // the first h - 1 columns, the scratch column for the last.
                const int64_t pos[2] = {d[0].os / 2, d[1].os / 2}, sos[2] = {d[1].n, 1};
                for (int part = 0; part < 2; ++part) {
                    const int64_t *o = part == 0 ? pos : sos;
                    Pass &p = pl.pass[pl.npass + part];
                    p.kind = EngineKind::C2C, p.n = d[0].n, p.src = kIn, p.dst = part == 0 ? kOut : kTemp;
                    p.scaled = false, p.is = is[0], p.os = o[0];
                    AddLoop(p, d[1].n, is[1], o[1]);
                    if (part == 0) AddLoop(p, h - 1, is[2], 1);
                    MergeLoops(p);
                }
                pl.npack = 2;
            }
        }
    }
    for (int i = 0; i < pl.npass + pl.npack; ++i) {
        const Pass &p = pl.pass[i];
        const int sign = pb.kind == EngineKind::R2C ? -1 : pb.kind == EngineKind::C2R ? 1 : pb.sign;
        int64_t need;
        int64_t pass_rows = 1;
        for (int k = 0; k < p.nloop; ++k) pass_rows *= p.ln[k];
        if (p.kind == EngineKind::C2C) {
            pl.c[i] = Fft1D<T>::Create(p.n, sign, *pl.kern, pass_rows == 1);
            if (!pl.c[i]) return false;
            // Column passes: gather a few adjacent columns at once so that
            // every cache line read serves several transforms.
            Pass &pm = pl.pass[i];
            const int64_t row_bytes = pm.n * int64_t(sizeof(Cx<T>));
            const int64_t rows = pass_rows;
            // (Split storage keeps the blocks: it joins and splits whole blocks.)
            const bool rows_alone = pm.is == 1 && pm.os == 1 && !pb.split_in && !pb.split_out &&
                                    row_bytes >= kRowAloneMinBytes &&
                                    (rows * row_bytes <= kRowsAloneMaxBatchBytes ||
                                     SecondLevelCacheBytes() >= kRowsAloneAnyBatchSecondLevel);
            if (pm.nloop > 0 && pm.n > 1 && pl.c[i]->Interleavable() && !pl.c[i]->HasTwoPass() &&
                row_bytes < kInterleaveMaxRowBytes && !rows_alone) {
                // Short rows: several rows interleaved run as one vector
                // transform.
                pm.block = int(pm.ln[pm.nloop - 1] < kColumnBlock ? pm.ln[pm.nloop - 1] : kColumnBlock);
            } else if (pm.nloop > 0 && pm.n > 1 && (pm.is != 1 || pm.os != 1)) {
                const int64_t nl = pm.ln[pm.nloop - 1], ls = pm.lis[pm.nloop - 1], lo = pm.los[pm.nloop - 1];
                const int64_t ais = pm.is < 0 ? -pm.is : pm.is, aos = pm.os < 0 ? -pm.os : pm.os;
                const int64_t als = ls < 0 ? -ls : ls, alo = lo < 0 ? -lo : lo;
                const int64_t columns = std::clamp(kColumnBlockBytes / row_bytes, kColumnBlock, kColumnBlockMax);
                if (nl > 1 && als < ais && alo < aos && pm.n <= (int64_t(1) << 16))
                    pm.block = int(nl < columns ? nl : columns);
                pm.block_as_rows = pm.block > 1 && sizeof(T) == 8 && pl.skern->lanes_d >= 2 &&
                                   pl.c[i]->HasTwoPass() && row_bytes <= kBlockAsRowsMaxBytes;
            }
            const bool ssplit = (pm.src == kIn && pb.split_in) || (pm.src == kOut && pb.split_out);
            const bool dsplit = pm.dst == kOut && pb.split_out;
            pm.direct = pm.block == 1 && pm.is == 1 && pm.os == 1 && !ssplit && !dsplit;
            const int64_t ib = (pm.is < 0 ? -pm.is : pm.is) * int64_t(sizeof(Cx<T>));
            const int64_t ob = (pm.os < 0 ? -pm.os : pm.os) * int64_t(sizeof(Cx<T>));
            const bool aliased = std::max(ib, ob) * pm.n > kCodeletDirectSpan && (ib % 4096 == 0 || ob % 4096 == 0);
            pm.codelet_direct = pm.nloop > 0 && pl.c[i]->Small() && !ssplit && !dsplit && !aliased;
            // Split on both sides with at least a vector's worth of rows: the
            // split codelet reads and writes the parts where they lie (a join
            // of the block to pairs and a split back cost more than the
            // transform; rows of 32 and 64 doubles join one row at a time
            // inside the codelet, in the first-level cache).
            // Same cache-set rule with the parts' element size.
            const int64_t pib = ib / 2, pob = ob / 2;
            const bool part_aliased =
                std::max(pib, pob) * pm.n > kCodeletDirectSpan && (pib % 4096 == 0 || pob % 4096 == 0);
            if (ssplit && dsplit && pm.nloop > 0 && pm.ln[pm.nloop - 1] >= pl.skern->lanes_d && !part_aliased)
                pl.sc[i] = pl.skern->template Codelet<T>(p.n, sign);
            if (pl.sc[i]) {
                pm.split_codelet = true;
                pm.block = int(std::min<int64_t>(pm.ln[pm.nloop - 1], 1 << 20));
                need = 0;
            } else if (pm.codelet_direct) {
                // A codelet takes the whole innermost loop in one call, in place.
                pm.block = int(std::min<int64_t>(pm.ln[pm.nloop - 1], 1 << 20));
                need = 0;
            } else {
                need = pm.direct ? pl.c[i]->WorkElems() : 2 * pm.block * RowPitch(p.n) + pm.block * pl.c[i]->WorkElems();
                // Contiguous split rows of a three-pass length: the passes
                // read and write the parts (no join and split copies).
                int64_t n1, n2;
                if (ssplit && dsplit && pm.block == 1 && pm.is == 1 && pm.os == 1 &&
                    pl.c[i]->TwoPassFactors(&n1, &n2, &pl.sp_tw[i]))
                    pl.sp[i] = pl.skern->template Pass<T>(n1, n2, sign);
            }
        } else {
            Pass &pm = pl.pass[i];
            // The codelets read and write interleaved complex elements only.
            const bool split = p.kind == EngineKind::R2C ? pb.split_out : (pm.src == kIn && pb.split_in);
            if (!split && (pm.nloop > 0 || p.n < kLoneRealCodeletBelow)) {
                if (p.kind == EngineKind::R2C) pl.r2c[i] = pl.rkern->template R2C<T>(p.n);
                else pl.c2r[i] = pl.rkern->template C2R<T>(p.n);
            }
            if (pl.r2c[i] || pl.c2r[i]) {
                // Short rows: the whole innermost loop in one call.
                pm.real_codelet = true;
                pm.block = pm.nloop > 0 ? int(std::min<int64_t>(pm.ln[pm.nloop - 1], 1 << 20)) : 1;
                need = 0;
            } else {
                pl.r[i] = RealFft1D<T>::Create(p.n, sign, *pl.kern, *pl.rkern, pass_rows == 1);
                if (!pl.r[i]) return false;
                need = 2 * RowPitch(p.n) + pl.r[i]->WorkElems();
            }
        }
        if (need > pl.row_elems) pl.row_elems = need;
    }
    if (pl.slab2d) pl.row_elems = std::max(pl.row_elems, pl.slab2d->MemberElems());
    return true;
}

// ---- running ----

// dst[j*dj + c*dc] = src[j*sj + c*sc] for j < n, c < nb. Adjacent columns
// on both sides (the column passes of multi-dimensional transforms) copy a
// whole block row as vectors: the element-wise loop cost more instructions
// than the columns' FFT stages.
template <class T>
void CopyBlock(const Cx<T> *__restrict src, int64_t sj, int64_t sc, Cx<T> *__restrict dst, int64_t dj, int64_t dc,
               int64_t n, int64_t nb) {
    if (sc == 1 && dc == 1 && nb == kColumnBlock) {
        for (int64_t j = 0; j < n; ++j) {
            Cx<T> row[kColumnBlock];
            memcpy(row, src + j * sj, sizeof(row));
            memcpy(dst + j * dj, row, sizeof(row));
        }
        return;
    }
    if (sc == 1 && dc == 1) {
        for (int64_t j = 0; j < n; ++j) memcpy(dst + j * dj, src + j * sj, size_t(nb) * sizeof(Cx<T>));
        return;
    }
    for (int64_t j = 0; j < n; ++j)
        for (int64_t c = 0; c < nb; ++c) dst[j * dj + c * dc] = src[j * sj + c * sc];
}

// Split storage <-> interleaved pairs, dst[j*dj + c*dc] from the parts at
// [j*sj + c*sc] (and back); contiguous columns go through the level's
// vector join and split.
template <class T>
void JoinParts(const SplitKernels &sk, const T *__restrict re, const T *__restrict im, int64_t sj, int64_t sc,
               Cx<T> *__restrict dst, int64_t dj, int64_t dc, int64_t n, int64_t nb) {
    if (sj == 1 && dj == 1) {
        for (int64_t c = 0; c < nb; ++c) sk.Join<T>(re + c * sc, im + c * sc, dst + c * dc, n);
    } else {
        for (int64_t j = 0; j < n; ++j)
            for (int64_t c = 0; c < nb; ++c) dst[j * dj + c * dc] = {re[j * sj + c * sc], im[j * sj + c * sc]};
    }
}
template <class T>
void SplitParts(const SplitKernels &sk, const Cx<T> *__restrict src, int64_t sj, int64_t sc, T *__restrict re,
                T *__restrict im, int64_t dj, int64_t dc, int64_t n, int64_t nb) {
    if (sj == 1 && dj == 1) {
        for (int64_t c = 0; c < nb; ++c) sk.Split<T>(src + c * sc, re + c * dc, im + c * dc, n);
    } else {
        for (int64_t j = 0; j < n; ++j)
            for (int64_t c = 0; c < nb; ++c)
                re[j * dj + c * dc] = src[j * sj + c * sc].re, im[j * dj + c * dc] = src[j * sj + c * sc].im;
    }
}

template <class T>
void GatherComplex(const SplitKernels &sk, const Side &s, bool split, int64_t off, int64_t st, int64_t n, Cx<T> *dst) {
    if (split) {
        JoinParts<T>(sk, static_cast<const T *>(s.re) + off, static_cast<const T *>(s.im) + off, st, 0, dst, 1, 0, n,
                     1);
    } else {
        CopyBlock<T>(static_cast<const Cx<T> *>(s.re) + off, st, 0, dst, 1, 0, n, 1);
    }
}

template <class T>
void ScatterComplex(const SplitKernels &sk, const Side &s, bool split, int64_t off, int64_t st, int64_t n,
                    const Cx<T> *src) {
    if (split) {
        SplitParts<T>(sk, src, 1, 0, static_cast<T *>(s.re) + off, static_cast<T *>(s.im) + off, st, 0, n, 1);
    } else {
        CopyBlock<T>(src, 1, 0, static_cast<Cx<T> *>(s.re) + off, st, 0, n, 1);
    }
}

template <class T>
void RunRow(const PlanT<T> &pl, int pi, const Side &src, bool ssplit, int64_t soff, const Side &dst,
            bool dsplit, int64_t doff, Cx<T> *scratch, int nthreads) {
    const Pass &p = pl.pass[pi];
    const int64_t n = p.n, h = n / 2 + 1;
    const T scale = p.scaled ? T(pl.pb.scale) : T(1);
    const int64_t pitch = RowPitch(n);
    Cx<T> *a = scratch, *b = scratch + pitch, *work = p.direct ? scratch : scratch + 2 * pitch;
    if (p.kind == EngineKind::C2C && pl.sp[pi]) {
        // Its work is the row scratch: the second pass reads it back.
        pl.sp[pi](static_cast<const T *>(src.re) + soff, static_cast<const T *>(src.im) + soff,
                  static_cast<T *>(dst.re) + doff, static_cast<T *>(dst.im) + doff, scratch, pl.sp_tw[pi], scale);
    } else if (p.kind == EngineKind::C2C) {
        const Cx<T> *x;
        if (!ssplit && p.is == 1) {
            x = static_cast<const Cx<T> *>(src.re) + soff;
        } else {
            GatherComplex<T>(*pl.skern, src, ssplit, soff, p.is, n, a);
            x = a;
        }
        const bool direct = !dsplit && p.os == 1;
        Cx<T> *y = direct ? static_cast<Cx<T> *>(dst.re) + doff : b;
        const Fft1D<T> *f = pl.c[pi];
        f->Exec(x, y, work, scale, nthreads);
        if (!direct) ScatterComplex<T>(*pl.skern, dst, dsplit, doff, p.os, n, b);
    } else if (p.kind == EngineKind::R2C) {
        const T *x;
        if (p.is == 1) {
            x = static_cast<const T *>(src.re) + soff;
        } else {
            T *ar = reinterpret_cast<T *>(a);
            const T *s = static_cast<const T *>(src.re) + soff;
            for (int64_t j = 0; j < n; ++j) ar[j] = s[j * p.is];
            x = ar;
        }
        const bool direct = !dsplit && p.os == 1;
        Cx<T> *y = direct ? static_cast<Cx<T> *>(dst.re) + doff : b;
        pl.r[pi]->Forward(x, y, work, scale, nthreads, pl.pb.packed_ends);
        if (!direct) ScatterComplex<T>(*pl.skern, dst, dsplit, doff, p.os, h, b);
    } else {
        const Cx<T> *x;
        if (!ssplit && p.is == 1) {
            x = static_cast<const Cx<T> *>(src.re) + soff;
        } else {
            GatherComplex<T>(*pl.skern, src, ssplit, soff, p.is, h, a);
            x = a;
        }
        const bool direct = p.os == 1;
        T *y = direct ? static_cast<T *>(dst.re) + doff : reinterpret_cast<T *>(b);
        pl.r[pi]->Backward(x, y, work, scale, nthreads, pl.pb.packed_ends);
        if (!direct) {
            T *o = static_cast<T *>(dst.re) + doff;
            for (int64_t j = 0; j < n; ++j) o[j * p.os] = y[j];
        }
    }
}

// `nb` adjacent columns of a complex pass (neighbours along the innermost
// loop): gathered row by row, transformed, scattered row by row.
template <class T>
void RunColumns(const PlanT<T> &pl, int pi, const Side &src, bool ssplit, int64_t soff, const Side &dst, bool dsplit,
                int64_t doff, int64_t nb, Cx<T> *scratch) {
    const Pass &p = pl.pass[pi];
    const int64_t n = p.n, ls = p.lis[p.nloop - 1], lo = p.los[p.nloop - 1];
    const T scale = p.scaled ? T(pl.pb.scale) : T(1);
    Cx<T> *a = scratch, *b = scratch + p.block * (n + 2), *work = scratch + 2 * p.block * (n + 2);
    const Fft1D<T> *f = pl.c[pi];
    const SmallFn<T> small = f->Small();
    if (p.codelet_direct) {
        // Short rows or columns: the codelet reads and writes them where they lie.
        small(static_cast<const Cx<T> *>(src.re) + soff, static_cast<Cx<T> *>(dst.re) + doff, scale, nb, ls, lo, p.is,
              p.os);
        return;
    }
    // Element j of column c: at [j*nb + c] when interleaved (the stage
    // kernels vectorise across c), else [c*(n+2) + j] (a codelet takes the
    // gathered columns as rows).
    const bool il = f->Interleavable() && !small && !p.block_as_rows;
    const int64_t sj = il ? nb : 1, sc = il ? 1 : n + 2;
    if (ssplit) {
        JoinParts<T>(*pl.skern, static_cast<const T *>(src.re) + soff, static_cast<const T *>(src.im) + soff, p.is,
                     ls, a, sj, sc, n, nb);
    } else {
        CopyBlock<T>(static_cast<const Cx<T> *>(src.re) + soff, p.is, ls, a, sj, sc, n, nb);
    }
    if (il) {
        f->ExecInterleaved(a, b, work, scale, nb);
    } else if (small) {
        small(a, b, scale, nb, sc, sc, 1, 1);
    } else {
        for (int64_t c = 0; c < nb; ++c) f->Exec(a + c * sc, b + c * sc, work, scale, 1);
    }
    if (dsplit) {
        SplitParts<T>(*pl.skern, b, sj, sc, static_cast<T *>(dst.re) + doff, static_cast<T *>(dst.im) + doff, p.os,
                      lo, n, nb);
    } else {
        CopyBlock<T>(b, sj, sc, static_cast<Cx<T> *>(dst.re) + doff, p.os, lo, n, nb);
    }
}

// Rows of one pass shared over the team; out of line so that serial calls
// never touch the OpenMP runtime.
// Where row `row` of pass p starts on its source (*so) and destination
// (*dof), in their elements.
inline void RowOffsets(const Pass &p, int64_t row, int64_t *so, int64_t *dof) {
    *so = 0, *dof = 0;
    for (int k = p.nloop - 1; k >= 0; --k) {
        const int64_t i = row % p.ln[k];
        row /= p.ln[k];
        *so += i * p.lis[k], *dof += i * p.los[k];
    }
}

template <class T>
void RunRowRange(const PlanT<T> &pl, int pi, const Side *bufs, const bool *split, int64_t r0, int64_t r1,
                 Cx<T> *scratch) {
    const Pass &p = pl.pass[pi];
    const int64_t nl = p.nloop > 0 ? p.ln[p.nloop - 1] : 1;
    for (int64_t row = r0; row < r1;) {
        int64_t so, dof;
        RowOffsets(p, row, &so, &dof);
        int64_t nb = p.block;
        if (nb > 1) {
            nb = std::min(nb, nl - row % nl);
            nb = std::min(nb, r1 - row);
        }
        // A blocked pass stays blocked for a lone remaining row: its
        // workspace may be sized for the block path only.
        if (p.split_codelet) {
            const T scale = p.scaled ? T(pl.pb.scale) : T(1);
            const Side &s = bufs[p.src], &d = bufs[p.dst];
            pl.sc[pi](static_cast<const T *>(s.re) + so, static_cast<const T *>(s.im) + so,
                      static_cast<T *>(d.re) + dof, static_cast<T *>(d.im) + dof, scale, nb, p.lis[p.nloop - 1],
                      p.los[p.nloop - 1], p.is, p.os);
        } else if (p.real_codelet) {
            const T scale = p.scaled ? T(pl.pb.scale) : T(1);
            const int64_t ld = p.nloop > 0 ? p.lis[p.nloop - 1] : 0, lo = p.nloop > 0 ? p.los[p.nloop - 1] : 0;
            if (pl.r2c[pi])
                pl.r2c[pi](static_cast<const T *>(bufs[p.src].re) + so, static_cast<Cx<T> *>(bufs[p.dst].re) + dof,
                           scale, nb, ld, lo, p.is, p.os);
            else
                pl.c2r[pi](static_cast<const Cx<T> *>(bufs[p.src].re) + so, static_cast<T *>(bufs[p.dst].re) + dof,
                           scale, nb, ld, lo, p.is, p.os);
        } else if (p.block > 1) {
            RunColumns<T>(pl, pi, bufs[p.src], split[p.src], so, bufs[p.dst], split[p.dst], dof, nb, scratch);
        } else {
            RunRow<T>(pl, pi, bufs[p.src], split[p.src], so, bufs[p.dst], split[p.dst], dof, scratch, 1);
        }
        row += nb;
    }
}

// Items 0 .. count-1 (rows or slabs) shared over up to pl.team threads:
// run(i0, i1, scratch) per member, each with its own row workspace.
template <class T, class Run>
__attribute__((noinline)) void ShareOut(const PlanT<T> &pl, int64_t count, Cx<T> *scratch, Run run) {
    const int team = int(count < pl.team ? count : pl.team);
#pragma omp parallel num_threads(team)
    {
        const int id = omp_get_thread_num(), nth = omp_get_num_threads();
        run(count * id / nth, count * (id + 1) / nth, scratch + id * pl.row_elems);
    }
}

template <class T>
int64_t PassRows(const Pass &p) {
    int64_t rows = 1;
    for (int k = 0; k < p.nloop; ++k) rows *= p.ln[k];
    return rows;
}

// Runs pass `pi`; `scratch` holds pl.team row workspaces of row_elems each.
template <class T>
void RunPass(const PlanT<T> &pl, int pi, const Side *bufs, const bool *split, Cx<T> *scratch) {
    const Pass &p = pl.pass[pi];
    const int64_t rows = PassRows<T>(p);
    const int nth = pl.pb.nthreads;
    if (nth <= 1 || (rows == 1 && p.n < kThreadedRowMin)) {
        RunRowRange<T>(pl, pi, bufs, split, 0, rows, scratch);
        return;
    }
    if (rows == 1) {
        RunRow<T>(pl, pi, bufs[p.src], split[p.src], 0, bufs[p.dst], split[p.dst], 0, scratch, nth);
        return;
    }
    ShareOut<T>(pl, rows, scratch, [&](int64_t r0, int64_t r1, Cx<T> *own) {
        RunRowRange<T>(pl, pi, bufs, split, r0, r1, own);
    });
}

// Slabs s0 .. s1-1: each slab's rows of pass 0, then its rows of pass 1
// (the outer indices vary slowest in both passes' row order).
template <class T>
void RunSlabRange(const PlanT<T> &pl, const Side *bufs, const bool *split, int64_t s0, int64_t s1, Cx<T> *scratch) {
    const int p0 = pl.slab_pass, p1 = p0 + 1;
    const int64_t r0 = PassRows<T>(pl.pass[p0]) / pl.slabs, r1 = PassRows<T>(pl.pass[p1]) / pl.slabs;
    if (pl.slab2d) {
        // A slab starts where the first row of each of its passes does. In
        // place the slabs share one layout (complex rows alike, or real rows
        // two complex ones long): the two passes too run only there.
        const Pass &a = pl.pass[p0], &b = pl.pass[p1];
        const size_t in_elem = pl.pb.kind == EngineKind::R2C ? sizeof(T) : sizeof(Cx<T>);
        const size_t out_elem = pl.pb.kind == EngineKind::C2R ? sizeof(T) : sizeof(Cx<T>);
        for (int64_t s = s0; s < s1; ++s) {
            int64_t so, dof, unused;
            RowOffsets(a, s * r0, &so, &unused);
            RowOffsets(b, s * r1, &unused, &dof);
            const void *src = static_cast<const unsigned char *>(bufs[a.src].re) + so * in_elem;
            void *dst = static_cast<unsigned char *>(bufs[b.dst].re) + dof * out_elem;
            pl.slab2d->Exec(src, dst, scratch, T(pl.pb.scale), 1);
        }
        return;
    }
    for (int64_t s = s0; s < s1; ++s) {
        RunRowRange<T>(pl, p0, bufs, split, s * r0, (s + 1) * r0, scratch);
        RunRowRange<T>(pl, p1, bufs, split, s * r1, (s + 1) * r1, scratch);
    }
}

template <class T>
void RunSlabs(const PlanT<T> &pl, const Side *bufs, const bool *split, Cx<T> *scratch) {
    if (pl.team <= 1) {
        RunSlabRange<T>(pl, bufs, split, 0, pl.slabs, scratch);
        return;
    }
    ShareOut<T>(pl, pl.slabs, scratch, [&](int64_t s0, int64_t s1, Cx<T> *own) {
        RunSlabRange<T>(pl, bufs, split, s0, s1, own);
    });
}

// The packed real backward 3-D transform (PlanT::npack): the outer
// dimension's two passes, then each slab in place in the output.
template <class T>
void RunPacked(const PlanT<T> &pl, const void *in, void *out, Cx<T> *temp) {
    const int64_t n0 = pl.pb.dims[0].n, n1 = pl.pb.dims[1].n, h = pl.pb.dims[2].n / 2 + 1;
    const bool split[3] = {false, false, false};
    const Side bufs[3] = {{const_cast<void *>(in), nullptr}, {out, nullptr}, {temp, nullptr}};
    // The last column's pass starts at that column of the input.
    const Side last[3] = {{const_cast<Cx<T> *>(static_cast<const Cx<T> *>(in)) + (h - 1) * pl.pb.dims[2].is, nullptr},
                          {out, nullptr}, {temp, nullptr}};
    Cx<T> *scratch = temp + pl.temp_elems;
    RunPass<T>(pl, pl.npass, bufs, split, scratch);
    RunPass<T>(pl, pl.npass + 1, last, split, scratch);
    const int64_t slab = pl.pb.dims[0].os / 2;
    auto run = [&](int64_t s0, int64_t s1, Cx<T> *own) {
        for (int64_t s = s0; s < s1; ++s)
            pl.slab2d->ExecPacked(static_cast<Cx<T> *>(out) + s * slab, temp + s * n1, own, T(pl.pb.scale), 1);
    };
    if (pl.team <= 1) run(0, n0, scratch);
    else ShareOut<T>(pl, n0, scratch, run);
}

template <class T>
int64_t WorkspaceBytes(const PlanT<T> &pl) {
    return (pl.temp_elems + pl.team * pl.row_elems) * int64_t(sizeof(Cx<T>));
}

// The direct calls: the codelet reads and writes the caller's arrays.
template <class T>
int DirectComplex(const void *impl, const void *in, void *out) {
    const auto &pl = *static_cast<const PlanT<T> *>(impl);
    pl.solo(static_cast<const Cx<T> *>(in), static_cast<Cx<T> *>(out), T(pl.pb.scale), pl.solo_rows, pl.solo_is,
            pl.solo_os, 1, 1);
    return EngineOk;
}

template <class T>
int DirectR2C(const void *impl, const void *in, void *out) {
    const auto &pl = *static_cast<const PlanT<T> *>(impl);
    pl.solo_r2c(static_cast<const T *>(in), static_cast<Cx<T> *>(out), T(pl.pb.scale), pl.solo_rows, pl.solo_is,
                pl.solo_os, pl.solo_us, pl.solo_vs);
    return EngineOk;
}

template <class T>
int DirectC2R(const void *impl, const void *in, void *out) {
    const auto &pl = *static_cast<const PlanT<T> *>(impl);
    pl.solo_c2r(static_cast<const Cx<T> *>(in), static_cast<T *>(out), T(pl.pb.scale), pl.solo_rows, pl.solo_is,
                pl.solo_os, pl.solo_us, pl.solo_vs);
    return EngineOk;
}

// Kept out of line: its workspace frame would otherwise be set up before
// EngineExecute's direct call.
template <class T>
__attribute__((noinline)) int Execute(const PlanT<T> &pl, const void *in_re, const void *in_im, void *out_re,
                                      void *out_im) {
    Side bufs[3] = {{const_cast<void *>(in_re), const_cast<void *>(in_im)}, {out_re, out_im}, {nullptr, nullptr}};
    const bool cin = pl.pb.kind != EngineKind::R2C, cout = pl.pb.kind != EngineKind::C2R;
    bool split[3] = {cin && pl.pb.split_in, cout && pl.pb.split_out, false};
    // Workspace: the stack for small problems, else the plan's own buffer
    // when no other call holds it, else a fresh allocation.
    const int64_t bytes = pl.cache_bytes;
    alignas(64) unsigned char local[16384];
    void *heap = nullptr, *ws = nullptr;
    bool borrowed = false;
    if (bytes <= int64_t(sizeof(local))) {
        ws = local;
    } else {
        bool expected = false;
        if (pl.cache && pl.cache_busy.compare_exchange_strong(expected, true, std::memory_order_acquire)) {
            ws = pl.cache, borrowed = true;
        } else {
            ws = heap = MemRaw(bytes);
            if (!ws) return EngineNoMemory;
        }
    }
    Cx<T> *temp = static_cast<Cx<T> *>(ws);
    bufs[kTemp].re = temp;
    if (pl.radix2d && (in_re != out_re || pl.radix2d->RunsInPlace())) {
        pl.radix2d->Exec(in_re, out_re, temp, T(pl.pb.scale), pl.pb.nthreads);
    } else if (pl.solo_row) {
        const T scale = T(pl.pb.scale);
        Cx<T> *work = temp + 2 * RowPitch(pl.pass[0].n);  // where RunRow puts it
        const bool ends = pl.pb.packed_ends;
        if (pl.pb.kind == EngineKind::C2C)
            pl.c[0]->Exec(static_cast<const Cx<T> *>(in_re), static_cast<Cx<T> *>(out_re), temp, scale, 1);
        else if (pl.pb.kind == EngineKind::R2C)
            pl.r[0]->Forward(static_cast<const T *>(in_re), static_cast<Cx<T> *>(out_re), work, scale, 1, ends);
        else
            pl.r[0]->Backward(static_cast<const Cx<T> *>(in_re), static_cast<T *>(out_re), work, scale, 1, ends);
    } else if (pl.npack && in_re != out_re) {
        RunPacked<T>(pl, in_re, out_re, temp);
    } else {
        for (int i = 0; i < pl.npass; ++i) {
            if (pl.slabs > 0 && i == pl.slab_pass) {
                RunSlabs<T>(pl, bufs, split, temp + pl.temp_elems);
                ++i;
            } else {
                RunPass<T>(pl, i, bufs, split, temp + pl.temp_elems);
            }
        }
    }
    if (borrowed) pl.cache_busy.store(false, std::memory_order_release);
    MemFree(heap);
    return EngineOk;
}

bool ValidProblem(const EngineProblem &pb) {
    if (pb.rank < 1 || pb.rank > 7 || pb.howmany_rank < 0 || pb.howmany_rank > 2) return false;
    if (pb.nthreads < 1) return false;
    for (int j = 0; j < pb.rank; ++j)
        if (pb.dims[j].n < 1) return false;
    for (int k = 0; k < pb.howmany_rank; ++k)
        if (pb.howmany[k].n < 1) return false;
    if (pb.kind == EngineKind::R2C && pb.sign != -1) return false;
    if (pb.kind == EngineKind::C2R && pb.sign != 1) return false;
    if (pb.kind == EngineKind::C2C && pb.sign != 1 && pb.sign != -1) return false;
    return true;
}

template <class T>
EnginePlan *Create(const EngineProblem &pb, int level, int *status) {
    PlanT<T> *pl = MemNew<PlanT<T>>();
    EnginePlan *plan = MemNew<EnginePlan>();
    if (!pl || !plan) {
        MemDelete(pl);
        MemDelete(plan);
        *status = EngineNoMemory;
        return nullptr;
    }
    pl->pb = pb;
    pl->kern = &KernelsForLevel(level);
    pl->rkern = &RealKernelsForLevel(level);
    pl->skern = &SplitKernelsForEngine(level);
    const bool radix2d = RowRadix2D<T>::Suits(pb, *pl->kern);
    if (radix2d) pl->radix2d = RowRadix2D<T>::Create(pb, *pl->kern, *pl->rkern);
    // A layout the radix form cannot run in place keeps the passes for
    // calls with in == out.
    const bool passes = !radix2d || (pl->radix2d && !pl->radix2d->RunsInPlace());
    if ((radix2d && !pl->radix2d) || (passes && !BuildPasses<T>(*pl))) {
        MemDelete(pl);
        MemDelete(plan);
        *status = EngineNoMemory;
        return nullptr;
    }
    // Rows of a pass run on up to nthreads threads, each with its own row
    // workspace; a single long row uses one workspace.
    pl->team = pb.nthreads;
    const Pass &p0 = pl->pass[0];
    if (pl->npass == 1 && p0.kind == EngineKind::C2C && p0.is == 1 && p0.os == 1 && !pb.split_in &&
        !pb.split_out && p0.nloop <= 1 && (pb.nthreads == 1 || p0.nloop == 0) && pl->c[0]->Small()) {
        pl->solo = pl->c[0]->Small();
        if (p0.nloop == 1) pl->solo_rows = p0.ln[0], pl->solo_is = p0.lis[0], pl->solo_os = p0.los[0];
    }
    pl->solo_row = pl->npass == 1 && (pl->r[0] || pl->c[0]) && p0.nloop == 0 && p0.is == 1 && p0.os == 1 &&
                   !pb.split_in && !pb.split_out && (pb.nthreads == 1 || p0.n < kThreadedRowMin);
    if (pl->npass == 1 && p0.real_codelet && p0.nloop <= 1 && (pb.nthreads == 1 || p0.nloop == 0)) {
        // One call of the codelet is the whole transform.
        pl->solo_r2c = pl->r2c[0], pl->solo_c2r = pl->c2r[0];
        pl->solo_us = p0.is, pl->solo_vs = p0.os;
        if (p0.nloop == 1) pl->solo_rows = p0.ln[0], pl->solo_is = p0.lis[0], pl->solo_os = p0.los[0];
    }
    // Packed ends: one real row that runs where it lies (the lone-row call,
    // or the row pass when its stages are shared over threads).
    const bool lone_real_row = pl->npass == 1 && pl->r[0] && p0.nloop == 0 && p0.is == 1 && p0.os == 1;
    if (pb.packed_ends && !(lone_real_row && p0.n % 2 == 0)) {
        MemDelete(pl);
        MemDelete(plan);
        *status = EngineInvalid;
        return nullptr;
    }
    pl->cache_bytes = std::max(
        pl->radix2d ? (pl->radix2d->MemberElems() * pb.nthreads + pl->radix2d->ArrayElems()) * int64_t(sizeof(Cx<T>))
                    : 0,
        passes ? WorkspaceBytes(*pl) : 0);
    if (pl->cache_bytes > 16384) pl->cache = MemRaw(pl->cache_bytes);  // optional: Execute copes without
    plan->is_double = pb.is_double;
    plan->impl = pl;
    plan->direct = pl->solo ? &DirectComplex<T>
                   : pl->solo_r2c ? &DirectR2C<T>
                   : pl->solo_c2r ? &DirectC2R<T>
                                  : nullptr;
    *status = EngineOk;
    return plan;
}

}  // namespace

EnginePlan *EnginePlanCreateForLevel(const EngineProblem &problem, int level, int *status) {
    int dummy;
    if (!status) status = &dummy;
    if (!ValidProblem(problem)) {
        *status = EngineInvalid;
        return nullptr;
    }
    return problem.is_double ? Create<double>(problem, level, status) : Create<float>(problem, level, status);
}

EnginePlan *EnginePlanCreate(const EngineProblem &problem, int *status) {
    return EnginePlanCreateForLevel(problem, ServGetCpuLevel(), status);
}

int EngineExecute(const EnginePlan *plan, const void *in_re, const void *in_im, void *out_re, void *out_im) {
    if (!plan || !in_re || !out_re) return EngineInvalid;
    if (plan->direct) return plan->direct(plan->impl, in_re, out_re);
    if (plan->is_double) {
        const auto &pl = *static_cast<const PlanT<double> *>(plan->impl);
        if ((pl.pb.split_in && pl.pb.kind != EngineKind::R2C && !in_im) ||
            (pl.pb.split_out && pl.pb.kind != EngineKind::C2R && !out_im))
            return EngineInvalid;
        return Execute<double>(pl, in_re, in_im, out_re, out_im);
    }
    const auto &pl = *static_cast<const PlanT<float> *>(plan->impl);
    if ((pl.pb.split_in && pl.pb.kind != EngineKind::R2C && !in_im) ||
        (pl.pb.split_out && pl.pb.kind != EngineKind::C2R && !out_im))
        return EngineInvalid;
    return Execute<float>(pl, in_re, in_im, out_re, out_im);
}

void EnginePlanDestroy(EnginePlan *plan) {
    if (!plan) return;
    if (plan->is_double) MemDelete(static_cast<PlanT<double> *>(plan->impl));
    else MemDelete(static_cast<PlanT<float> *>(plan->impl));
    MemDelete(plan);
}

}  // namespace orb::dft
