// The convolution filters of Rader and Bluestein: built and transformed in
// double precision whatever the plan's type, then rounded once.
#ifndef ORB_DFT_ENGINE_FILTER_TRANSFORM_H
#define ORB_DFT_ENGINE_FILTER_TRANSFORM_H

#include <stdint.h>

#include "dft/engine/engine_memory.h"
#include "dft/engine/fft1d.h"

namespace orb::dft {

// filter = scale * DFT_m(b) for the b that fill(b) writes (m points; false
// from fill fails the build). A double plan reuses its own forward FFT of
// length m, `fwd`, instead of planning a second one.
template <class T, class Fill>
bool TransformFilter(const Fft1D<T> *fwd, int64_t m, const StageKernels &kern, double scale, Cx<T> *filter,
                     Fill fill) {
    const Fft1D<double> *dfwd;
    Fft1D<double> *own = nullptr;
    if constexpr (sizeof(T) == 8) dfwd = fwd;
    else dfwd = own = Fft1D<double>::Create(m, -1, kern);
    // A four-step FFT wants more than m elements of scratch.
    Cx<double> *b = dfwd ? MemArray<Cx<double>>(2 * m + dfwd->WorkElems()) : nullptr;
    bool ok = b && fill(b);
    if (ok) {
        dfwd->Exec(b, b + m, b + 2 * m, scale, 1);
        for (int64_t j = 0; j < m; ++j) filter[j] = {T(b[m + j].re), T(b[m + j].im)};
    }
    if (own) MemDelete(own);
    MemFree(b);
    return ok;
}

}  // namespace orb::dft

#endif
