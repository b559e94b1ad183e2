// Views of a task's partition and values used by the construction kernels:
// cell widths (explicit or uniform) and the values of one function in
// either layout, read into double precision.
#ifndef ORB_DATAFIT_DF_PARTITION_H
#define ORB_DATAFIT_DF_PARTITION_H

#include <cstdint>

#include "datafit/df_task.h"

namespace orb::df::ORB_KNS {  // one copy per instruction-set level

// Fills h[j] = x_{j+1} - x_j and rh[j] = 1/h_j for j < nx-1. A uniform
// partition holds only its two ends; its width and reciprocal are computed
// once.
template <class T, bool Uniform>
void CellWidths(const DfTask *t, double *h, double *rh) {
    const T *x = static_cast<const T *>(t->x);
    const int64_t cells = t->nx - 1;
    if constexpr (Uniform) {
        double span = static_cast<double>(x[1]) - static_cast<double>(x[0]);
        double w = span / static_cast<double>(cells);
        double rw = static_cast<double>(cells) / span;
        for (int64_t j = 0; j < cells; ++j) { h[j] = w; rh[j] = rw; }
    } else {
        for (int64_t j = 0; j < cells; ++j) {
            h[j] = static_cast<double>(x[j + 1]) - static_cast<double>(x[j]);
            rh[j] = 1.0 / h[j];
        }
    }
}

// Values of function i: layout 1 holds each function contiguously,
// layout 0 point by point (function i at point j is element j*ny + i).
template <class T, int Layout>
struct FunctionValues {
    const T *base;
    int64_t stride;
    FunctionValues(const DfTask *t, int64_t i) {
        if constexpr (Layout == 1) {
            base = static_cast<const T *>(t->yTable[i]);
            stride = 1;
        } else {
            base = static_cast<const T *>(t->yTable[0]) + i;
            stride = FunctionCount(t);
        }
    }
    double operator[](int64_t j) const {
        return static_cast<double>(base[Layout == 1 ? j : j * stride]);  // a known unit stride vectorises
    }
};

}  // namespace orb::df::ORB_KNS

#endif
