// Large two-dimensional transforms n0 x n1 with n0 = N x N (N = 32 or 64),
// double precision, complex and real: the column transforms as two
// radix-N passes across whole rows instead of gathered blocks of columns.
// Rows 16 KiB apart at 1024 x 1024 made each gathered column block visit
// a thousand pages for 128 bytes apiece; across whole rows every pass
// streams them.
// Complex and real forward:
//  1. Rows: row j = j1 + N j2 is transformed (and scaled) into output row
//     j2 + N j1, so that each group of N adjacent rows holds one j1.
//  2. Each group: the length-N DFT over its rows, output k2 times
//     w_n0^(j1 k2), in place.
//  3. Each k2: the length-N DFT over the rows k2 + N j1 (N rows apart),
//     in place: output row k2 + N k1 is bin k2 + N k1, the natural order.
// Real backward, the same steps the other way round: the DFT over the rows
// j1 + N j2 (N apart) times w_n0^(j1 k2) into rows j1 + N k2 (out of
// place into scratch, so that the input survives), the DFT over each
// group of N adjacent rows in place, then the real rows, row j2 + N j1
// transformed into output row j1 + N j2.
// In place the row step swaps rows in pairs through a row buffer.
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
    // interleaved, rows contiguous, n0 = N x N with a radix-N kernel, rows
    // of 256 points or more, beyond the second-level cache; complex rows
    // laid out alike on both sides, real ones either dense (n1 reals, n1/2+1
    // complex) or a real row twice as long as a complex one.
    static bool Suits(const EngineProblem &pb, const StageKernels &kern);
    // Null on allocation failure.
    static RowRadix2D *Create(const EngineProblem &pb, const StageKernels &kern, const RealKernels &rkern);
    RowRadix2D() = default;  // made by Create only
    ~RowRadix2D();

    // Scratch elements one thread works in, and those of the array the
    // real backward transform works in (after the threads' scratch).
    int64_t MemberElems() const;
    int64_t ArrayElems() const;
    // out = scale * DFT2(in); in may equal out (in the layout of a real row
    // twice as long as a complex one, for the real kinds). work:
    // MemberElems() for each of nthreads threads, then ArrayElems().
    void Exec(const void *in, void *out, Cx<T> *work, T scale, int nthreads) const;

private:
    void RowStep(const void *in, int64_t lds, void *out, Cx<T> *work, T scale, int nthreads) const;
    // Steps 2 and 3 (or their transposes) on the complex array at a,
    // rows lda apart; the first of them reads src (rows lds apart).
    void ColumnSteps(const Cx<T> *src, int64_t lds, Cx<T> *a, int64_t lda, int nthreads) const;

    EngineKind kind_ = EngineKind::C2C;
    int64_t n1_ = 0, cols_ = 0, radix_ = 0;
    int64_t ldi_ = 0, ldo_ = 0;  // row strides of in and out, in their elements
    RowsDftFn<T> group_ = nullptr;
    Fft1D<T> *row_ = nullptr;
    RealFft1D<T> *real_ = nullptr;
    Cx<T> *tw_ = nullptr;  // w_n0^(j1 k2) at [j1 N + k2]
};

}  // namespace orb::dft

#endif
