// Large two-dimensional complex transforms n0 x n1 with n0 = N x N (N =
// 32 or 64), double precision: the column transforms as two radix-N
// passes across whole rows instead of gathered blocks of columns. Rows of
// N^2 points, 16 KiB apart at 1024 x 1024, made each gathered column block
// visit a thousand pages for 128 bytes apiece; across whole rows every
// pass streams them.
//  1. Rows: row j = j1 + N j2 is transformed (and scaled) into output row
//     j2 + N j1, so that each group of N adjacent rows holds one j1.
//  2. Each group: the length-N DFT over its rows, output k2 times
//     w_n0^(j1 k2), in place.
//  3. Each k2: the length-N DFT over the rows k2 + N j1 (N rows apart),
//     in place: output row k2 + N k1 is bin k2 + N k1, the natural order.
// In place, step 1 swaps rows in pairs through a row buffer.
#ifndef ORB_DFT_ENGINE_ROW_RADIX_2D_H
#define ORB_DFT_ENGINE_ROW_RADIX_2D_H

#include <stdint.h>

#include "dft/engine/engine.h"
#include "dft/engine/fft1d.h"

namespace orb::dft {

template <class T>
class RowRadix2D {
public:
    // Whether the problem takes this form: one complex double transform of
    // rank 2, interleaved, rows contiguous and laid out alike on both
    // sides, n0 = N x N with a radix-N kernel, rows of 256 points or more,
    // beyond the second-level cache.
    static bool Suits(const EngineProblem &pb, const StageKernels &kern);
    // Null on allocation failure.
    static RowRadix2D *Create(const EngineProblem &pb, const StageKernels &kern);
    RowRadix2D() = default;  // made by Create only
    ~RowRadix2D();

    // Scratch elements one thread works in.
    int64_t MemberElems() const;
    // out = scale * DFT2(in); in may equal out. work: MemberElems() for
    // each of nthreads threads.
    void Exec(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;

private:
    int64_t n1_ = 0, radix_ = 0, ld_ = 0;
    RowsDftFn<T> group_ = nullptr;  // step 2 (twiddled) and step 3
    Fft1D<T> *row_ = nullptr;
    Cx<T> *tw_ = nullptr;  // w_n0^(j1 k2) at [j1 N + k2]
};

}  // namespace orb::dft

#endif
