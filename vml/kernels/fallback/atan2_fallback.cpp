// Scalar reference kernels of Atan2 through the C library; no element is
// reported. Built only while vml/kernels/atan2 has no CMakeLists.txt of its
// own.
#include <cmath>

#include "vml/kernels/fallback/fallback_table.h"
#include "vml/kernels/table_rows.h"

namespace {

template <class T> void Atan2(int32_t n, const T *a, const T *b, T *y) {
    for (int32_t i = 0; i < n; ++i) y[i] = std::atan2(a[i], b[i]);
}

}  // namespace

const VmlBinaryKernelS vml_kernels_vsAtan2[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(Atan2<float>);
const VmlBinaryKernelD vml_kernels_vdAtan2[VML_TABLE_SIZE] = VML_FALLBACK_TABLE(Atan2<double>);

#define VML_ATAN2_COSTS VML_COST_ROW(200.0f, 80.0f, 60.0f, 60.0f, 40.0f, 40.0f, 30.0f, 25.0f)
const float vml_costs_vsAtan2[VML_TABLE_SIZE] = VML_ATAN2_COSTS;
const float vml_costs_vdAtan2[VML_TABLE_SIZE] = VML_ATAN2_COSTS;
