// Scalar reference kernels of Sqrt, Cbrt and InvCbrt: correct elementwise
// results through the C library, with their reports (negative argument of
// Sqrt: status 1; zero argument of InvCbrt: status 2). Built only while
// vml/kernels/roots has no CMakeLists.txt of its own.
#include <cmath>

#include "vml/kernels/fallback/fallback_table.h"
#include "vml/kernels/table_rows.h"

namespace {

template <class T> struct Name;
template <> struct Name<float> {
    static constexpr const char *kSqrt = "vsSqrt", *kInvCbrt = "vsInvCbrt";
};
template <> struct Name<double> {
    static constexpr const char *kSqrt = "vdSqrt", *kInvCbrt = "vdInvCbrt";
};

template <class T> void Sqrt(int32_t n, const T *a, T *y) {
    for (int32_t i = 0; i < n; ++i) {
        const T x = a[i];
        y[i] = std::sqrt(x);
        if (x < T(0)) ServVmlReportError(VmlStatusErrDom, i, a, a, y, y, Name<T>::kSqrt);
    }
}
template <class T> void Cbrt(int32_t n, const T *a, T *y) {
    for (int32_t i = 0; i < n; ++i) y[i] = std::cbrt(a[i]);
}
template <class T> void InvCbrt(int32_t n, const T *a, T *y) {
    for (int32_t i = 0; i < n; ++i) {
        const T x = a[i];
        y[i] = T(1) / std::cbrt(x);
        if (x == T(0)) ServVmlReportError(VmlStatusSing, i, a, a, y, y, Name<T>::kInvCbrt);
    }
}

}  // namespace

const VmlUnaryKernelS vml_kernels_vsSqrt[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(Sqrt<float>);
const VmlUnaryKernelD vml_kernels_vdSqrt[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(Sqrt<double>);
const VmlUnaryKernelS vml_kernels_vsCbrt[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(Cbrt<float>);
const VmlUnaryKernelD vml_kernels_vdCbrt[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(Cbrt<double>);
const VmlUnaryKernelS vml_kernels_vsInvCbrt[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(InvCbrt<float>);
const VmlUnaryKernelD vml_kernels_vdInvCbrt[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(InvCbrt<double>);

#define VML_SQRT_COSTS VML_COST_ROW(156.29f, 41.43f, 19.44f, 22.99f, 13.95f, 9.66f, 12.34f, 8.92f)
const float vml_costs_vsSqrt[VML_TABLE_SIZE] = VML_SQRT_COSTS;
const float vml_costs_vdSqrt[VML_TABLE_SIZE] = VML_SQRT_COSTS;
const float vml_costs_vsCbrt[VML_TABLE_SIZE] = VML_SQRT_COSTS;
const float vml_costs_vdCbrt[VML_TABLE_SIZE] = VML_SQRT_COSTS;
const float vml_costs_vsInvCbrt[VML_TABLE_SIZE] = VML_SQRT_COSTS;
const float vml_costs_vdInvCbrt[VML_TABLE_SIZE] = VML_SQRT_COSTS;
