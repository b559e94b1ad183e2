// Per-level entry points of the complex FFT stage kernels. The kernels are
// one source compiled for an SSE2-class level (CpuLevel 2-5), AVX (6) and
// AVX2+FMA (7); KernelsForLevel picks the set for a level.
#ifndef ORB_DFT_ENGINE_STAGE_KERNELS_H
#define ORB_DFT_ENGINE_STAGE_KERNELS_H

#include "dft/engine/stage_plan.h"
#include "dft/kernel_levels.h"

// Runs the stages of `pl` from `in` to `out` (which may equal `in`), using
// `work` (n*vb elements, distinct from both) for the ping-pong; multiplies
// the result by `scale`; splits each stage over `nthreads` OpenMP threads.
// vb > 1 transforms vb interleaved sequences at once: element j of
// sequence c at [j*vb + c] on both sides (the kernels vectorise across c).
// PairedStages* and PairedForward* give the level's PairedStagesFn and
// PairedForwardFn, or null.
// Straight-line whole transforms of short sequences: row r (r < rows),
// elements xs / ys apart, is y[r*yd + k*ys] = scale * DFT(x[r*xd + j*xs]);
// x may equal y when both sides have the same layout.
// SmallCodelet* returns null for lengths without one.
// TwoPass* runs n = n1*n2 as two passes of codelet bodies (two_pass.h, or
// three_pass.h with n2 split again); null for pairs without a kernel.
// PointMul* is y[j] = x[j] * w[j] * scale for j < n (y may equal x), the
// pointwise passes of the convolution algorithms.
// TwiddleColumnsD is the last pass of a double row split as n = r * m
// (twiddle_columns.cpp); null for radices without one. ConvColumnsD is the
// middle pass of a convolution split that way (blocked_conv.h). RowsDftD
// runs length-r DFTs across whole rows (RowsDftFn), buffered (blocks of
// each row copied to a buffer and back: rows far apart, or 4 KiB apart) or
// where they lie; RowsDftF has radix 8 only (the 8 x 8 x m split's).
// SquareBlock* is the R x R x m split's last pass (SquareBlockFn), R = 8
// (and 10 for double).
#define ORB_DFT_STAGE_DECLS                                                                 \
    void ExecStagesD(const StagePlan<double> &pl, const Cx<double> *in, Cx<double> *out,    \
                     Cx<double> *work, double scale, int nthreads, int64_t vb);                         \
    void ExecStagesF(const StagePlan<float> &pl, const Cx<float> *in, Cx<float> *out,       \
                     Cx<float> *work, float scale, int nthreads, int64_t vb);                          \
    PairedStagesFn<double> PairedStagesD();                                                 \
    PairedStagesFn<float> PairedStagesF();                                                  \
    PairedForwardFn<double> PairedForwardD();                                               \
    PairedForwardFn<float> PairedForwardF();                                                \
    SmallFn<double> SmallCodeletD(int64_t n, int sign);                                     \
    SmallFn<float> SmallCodeletF(int64_t n, int sign);                                      \
    TwoPassFn<double> TwoPassD(int64_t n1, int64_t n2, int sign);                           \
    TwoPassFn<float> TwoPassF(int64_t n1, int64_t n2, int sign);                            \
    void PointMulD(const Cx<double> *x, const Cx<double> *w, Cx<double> *y, int64_t n, double scale); \
    void PointMulF(const Cx<float> *x, const Cx<float> *w, Cx<float> *y, int64_t n, float scale); \
    TwiddleColumnsFn<double> TwiddleColumnsD(int64_t r, int sign);                         \
    ConvColumnsFn<double> ConvColumnsD(int64_t r);                                         \
    RowsDftFn<double> RowsDftD(int64_t r, int sign, bool buffered);                        \
    RowsDftFn<float> RowsDftF(int64_t r, int sign, bool buffered);                         \
    SquareBlockFn<double> SquareBlockD(int64_t r, int sign);                               \
    SquareBlockFn<float> SquareBlockF(int64_t r, int sign);

namespace orb::dft {

template <class T>
using SmallFn = void (*)(const Cx<T> *x, Cx<T> *y, T scale, int64_t rows, int64_t xd, int64_t yd, int64_t xs,
                         int64_t ys);
// y = scale * DFT(x) with x == y allowed; tw and work as two_pass.h says.
template <class T>
using TwoPassFn = void (*)(const Cx<T> *x, Cx<T> *y, Cx<T> *work, const Cx<T> *tw, T scale);
// The last pass of a row split as n = r * m on one gathered block of
// kTwiddleColumns<T> columns (r rows of them, c[j B + q]): each column
// times its twiddles t[j B + q], then the length-r DFT over j, times scale,
// back in place.
template <class T>
constexpr int64_t kTwiddleColumns = 128 / int64_t(2 * sizeof(T));
// The stages of a backward real transform's complex row Z of pl.n points,
// with the pair step that forms Z from the half spectrum x inside the first
// stage (stage_kernels.cpp): out = scale * DFT(Z), Z[0] = z0, u the pair
// step's table; work holds pl.n elements, x may equal out. For plans of two
// or more stages whose first has a fixed butterfly; one thread.
template <class T>
using PairedStagesFn = void (*)(const StagePlan<T> &pl, const Cx<T> *x, const Cx<T> *u, Cx<T> z0, Cx<T> *out,
                                Cx<T> *work, T scale);
// The stages of a forward real transform of 2 pl.n points, the real row
// read as pl.n complex numbers (in, may equal out), with the pair step that
// turns their FFT Z into the half spectrum inside the last stage: out[j] =
// bin j times 2f (0 < j < pl.n), *z0 = Z[0] (bins 0 and pl.n are the
// caller's); u the pair step's table, work pl.n elements. Same plans as
// PairedStagesFn.
template <class T>
using PairedForwardFn = void (*)(const StagePlan<T> &pl, const Cx<T> *in, Cx<T> *out, Cx<T> *work, const Cx<T> *u,
                                 T f, Cx<T> *z0);
template <class T>
using TwiddleColumnsFn = void (*)(Cx<T> *c, const Cx<T> *t, T scale);
// The same block through a cyclic convolution's middle: the forward radix-r
// pass (twiddles t before it, sign -1), times the filter h (laid out as
// c), the inverse radix-r pass (conjugate twiddles after it), in place.
template <class T>
using ConvColumnsFn = void (*)(Cx<T> *c, const Cx<T> *t, const Cx<T> *h);
// For every column c < ncols: the r elements src[j ss + c] (j < r), their
// DFT over j, output k times tw[k] (none when tw is null), stored at
// dst[k ds + c]. dst may equal src when ds == ss.
template <class T>
using RowsDftFn = void (*)(const Cx<T> *src, int64_t ss, Cx<T> *dst, int64_t ds, int64_t ncols, const Cx<T> *tw);
// The last pass of the R x R x m split on one R x R block, in place:
// element (k, c) at x[k M + c] times lane[R c + k] leg[c], the length-R DFT
// over c times scale, output q of lane k at x[q M + k].
template <class T>
using SquareBlockFn = void (*)(Cx<T> *x, int64_t M, const Cx<T> *lane, const Cx<T> *leg, T scale);
// Twiddle layout of the two-pass kernels of n points of T: w_n^(j1 k2) =
// c + i s interleaved from 16 KiB of data (n entries), below that as
// {c, c} and {s, s} in two tables of n (the multiply then shuffles only
// the data). From there the duplicated tables (32-64 KiB) crowded the data
// out of the first-level cache: single 2048 and 4096 and double 1024-2048
// ran 5-25% faster with the interleaved table (single 2048 1-2% slower at
// the SSE2-class level), shorter rows up to 7% slower.
template <class T>
constexpr bool TwoPassInterleavedTwiddles(int64_t n) {
    return n * int64_t(sizeof(Cx<T>)) >= 16384;
}
template <class T>
constexpr int64_t TwoPassTwiddleEntries(int64_t n) {
    return TwoPassInterleavedTwiddles<T>(n) ? n : 2 * n;
}

#define ORB_DFT_DECLARE_LEVEL(lvl) \
    namespace k_##lvl {            \
    ORB_DFT_STAGE_DECLS            \
    }
ORB_DFT_KERNEL_LEVELS(ORB_DFT_DECLARE_LEVEL)
#undef ORB_DFT_DECLARE_LEVEL

struct StageKernels {
    decltype(&k_sse2::ExecStagesD) exec_d;
    decltype(&k_sse2::ExecStagesF) exec_f;
    decltype(&k_sse2::PairedStagesD) paired_d;
    decltype(&k_sse2::PairedStagesF) paired_f;
    decltype(&k_sse2::PairedForwardD) paired_forward_d;
    decltype(&k_sse2::PairedForwardF) paired_forward_f;
    decltype(&k_sse2::SmallCodeletD) small_d;
    decltype(&k_sse2::SmallCodeletF) small_f;
    decltype(&k_sse2::TwoPassD) two_pass_d;
    decltype(&k_sse2::TwoPassF) two_pass_f;
    decltype(&k_sse2::PointMulD) point_mul_d;
    decltype(&k_sse2::PointMulF) point_mul_f;
    decltype(&k_sse2::TwiddleColumnsD) twiddle_columns_d;
    decltype(&k_sse2::ConvColumnsD) conv_columns_d;
    decltype(&k_sse2::RowsDftD) rows_dft_d;
    decltype(&k_sse2::RowsDftF) rows_dft_f;
    decltype(&k_sse2::SquareBlockD) square_block_d;
    decltype(&k_sse2::SquareBlockF) square_block_f;

    template <class T>
    RowsDftFn<T> RowsDft(int64_t r, int sign, bool buffered) const {
        if constexpr (sizeof(T) == 8) return rows_dft_d(r, sign, buffered);
        else return rows_dft_f(r, sign, buffered);
    }
    template <class T>
    SquareBlockFn<T> SquareBlock(int64_t r, int sign) const {
        if constexpr (sizeof(T) == 8) return square_block_d(r, sign);
        else return square_block_f(r, sign);
    }

    template <class T>
    void PointMul(const Cx<T> *x, const Cx<T> *w, Cx<T> *y, int64_t n, T scale) const {
        if constexpr (sizeof(T) == 8) point_mul_d(x, w, y, n, scale);
        else point_mul_f(x, w, y, n, scale);
    }
};

// Kernel set for a CpuLevel (2..7); other levels get the SSE2-class set.
const StageKernels &KernelsForLevel(int level);

}  // namespace orb::dft

#endif
