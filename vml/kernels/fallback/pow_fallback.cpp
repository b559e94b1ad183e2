// Scalar reference kernels of Powx (a^b, scalar b) through the C library:
// status 1 for a NaN from non-NaN operands (negative base, non-integer b),
// status 2 for a zero base with a negative exponent, status 3 for an
// infinite result from finite operands. Built only while vml/kernels/pow
// has no CMakeLists.txt of its own.
#include <cmath>

#include "vml/kernels/fallback/fallback_table.h"
#include "vml/kernels/table_rows.h"

namespace {

template <class T> struct Name;
template <> struct Name<float> { static constexpr const char *k = "vsPowx"; };
template <> struct Name<double> { static constexpr const char *k = "vdPowx"; };

template <class T> void Powx(int32_t n, const T *a, T b, T *y) {
    for (int32_t i = 0; i < n; ++i) {
        const T x = a[i];
        const T r = std::pow(x, b);
        y[i] = r;
        int32_t code = 0;
        if (std::isnan(r) && !std::isnan(x) && !std::isnan(b)) code = VmlStatusErrDom;
        else if (x == T(0) && b < T(0)) code = VmlStatusSing;
        else if (std::isinf(r) && std::isfinite(x) && std::isfinite(b)) code = VmlStatusOverflow;
        if (code) ServVmlReportError(code, i, a, a, y, y, Name<T>::k);
    }
}

}  // namespace

const VmlPowxKernelS vml_kernels_vsPowx[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(Powx<float>);
const VmlPowxKernelD vml_kernels_vdPowx[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(Powx<double>);

#define VML_POWX_COSTS VML_COST_ROW(359.43f, 119.05f, 83.77f, 95.2f, 48.57f, 46.72f, 40.11f, 27.46f)
const float vml_costs_vsPowx[VML_TABLE_SIZE] = VML_POWX_COSTS;
const float vml_costs_vdPowx[VML_TABLE_SIZE] = VML_POWX_COSTS;
