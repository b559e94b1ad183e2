// Two-dimensional transforms n0 x n1 with n0 = A x B, double precision,
// complex and real: the column transforms as two radix passes across whole
// rows instead of gathered blocks of columns.
//  - Arrays past the second-level cache, n0 = 512 .. 4096 (16 x 32 ..
//    64 x 64): rows 16 KiB apart at 1024 x 1024 made each gathered column
//    block visit a thousand pages for 128 bytes apiece; across whole rows
//    every pass streams them.
//  - Arrays in the second-level cache, n0 = 64, 128, 256 (8 x 8, 8 x 16,
//    16 x 16): each pass reads and writes every element once where it
//    lies, two columns to a vector, where the gathered blocks copied each
//    column to a row and back.
// Complex and real forward:
//  1. Rows: row j = j1 + A j2 is transformed (and scaled) into output row
//     j2 + B j1, so that each group of B adjacent rows holds one j1.
//  2. Each group: the length-B DFT over its rows, output k2 times
//     w_n0^(j1 k2), in place.
//  3. Each k2: the length-A DFT over the rows k2 + B j1 (B rows apart),
//     in place: output row k2 + B k1 is bin k2 + B k1, the natural order.
// Real backward, the same steps the other way round: the length-B DFT over
// the rows j1 + A j2 (A apart) times w_n0^(j1 k2) into rows j1 + A k2
// (out of place into scratch, so that the input survives), the length-A
// DFT over each group of A adjacent rows in place, then the real rows,
// row k1 + A k2 transformed into output row k2 + B k1.
// In place the row step follows the cycles of its row permutation through
// two row buffers.
#ifndef ORB_DFT_ENGINE_ROW_RADIX_2D_H
#define ORB_DFT_ENGINE_ROW_RADIX_2D_H

#include <stdint.h>

#include "dft/engine/engine.h"
#include "dft/engine/fft1d.h"

namespace orb::dft {

template <class T>
class RowRadix2D {
public:
    // Whether the problem takes this form: one double transform of rank 2,
    // interleaved, rows contiguous, n0 = A x B with both kernels; past the
    // second-level cache rows of 256 points or more, in it 33 columns or
    // more, 4096 elements or more, and rows not a multiple of 4 KiB apart
    // (row_radix_2d.cpp has the measurements); rows at least their length
    // apart on both sides.
    static bool Suits(const EngineProblem &pb, const StageKernels &kern, bool overwrite_input = false);
    // Null on allocation failure. overwrite_input: the real backward
    // transform may work in its input (a scratch array of the caller's)
    // instead of an array of its own.
    static RowRadix2D *Create(const EngineProblem &pb, const StageKernels &kern, const RealKernels &rkern,
                              bool overwrite_input = false);
    RowRadix2D() = default;  // made by Create only
    ~RowRadix2D();

    // Whether in may equal out: complex rows alike on both sides, a real
    // row twice as long as a complex one. Other layouts run out of place
    // only (the caller runs them some other way in place).
    bool RunsInPlace() const { return in_place_ok_; }
    // Scratch elements one thread works in, and those of the array the
    // real backward transform works in (after the threads' scratch).
    int64_t MemberElems() const;
    int64_t ArrayElems() const;
    // out = scale * DFT2(in); in may equal out where RunsInPlace(); in is
    // left as it
    // was unless in == out or the plan may overwrite it. work:
    // MemberElems() for each of nthreads threads, then ArrayElems().
    void Exec(const void *in, void *out, Cx<T> *work, T scale, int nthreads) const;

    // Real backward, in place in the output array: the half spectrum's
    // first cols - 1 columns in the output rows (out as complex, rows
    // half a real row apart), its last column in last[] (one element a
    // row; overwritten).
    void ExecPacked(Cx<T> *out, Cx<T> *last, Cx<T> *work, T scale, int nthreads) const;

private:
    enum { kNone, kStreamed, kInCache };
    static int FormOf(const EngineProblem &pb, const StageKernels &kern, bool overwrite_input);
    void RowStep(const void *in, int64_t lds, void *out, Cx<T> *work, T scale, int nthreads) const;
    // Steps 2 and 3 (or their transposes) on the complex array at x,
    // rows ldx apart; the first of them reads src (rows lds apart).
    void ColumnSteps(const Cx<T> *src, int64_t lds, Cx<T> *x, int64_t ldx, int64_t cols, int nthreads) const;
    void PackedRowStep(Cx<T> *p, const Cx<T> *last, Cx<T> *work, T scale, int nthreads) const;

    EngineKind kind_ = EngineKind::C2C;
    int64_t n1_ = 0, cols_ = 0, a_ = 0, b_ = 0;
    int64_t ldi_ = 0, ldo_ = 0;  // row strides of in and out, in their elements
    bool overwrite_ = false;     // the real backward transform works in its input
    bool packed_ = false;        // ... or out of place in its output array
    bool in_place_ok_ = false;
    RowsDftFn<T> dft_a_ = nullptr, dft_b_ = nullptr;  // lengths A and B
    // In place: the first row of each cycle of the row permutation.
    int32_t *cycles_ = nullptr;
    int64_t ncycles_ = 0;
    Fft1D<T> *row_ = nullptr;
    RealFft1D<T> *real_ = nullptr;
    Cx<T> *tw_ = nullptr;  // w_n0^(j1 k2) at [j1 B + k2]
};

}  // namespace orb::dft

#endif
