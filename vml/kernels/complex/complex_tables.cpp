// Kernel and cost tables of the complex and linear-fraction exports.
#include "vml/kernels/complex/complex_kernels.h"
#include "vml/kernels/table_rows.h"

#define VML_COMPLEX_TABLE(name, type) \
    const type vml_kernels_##name[VML_TABLE_SIZE] = VML_KERNEL_TABLE(name);
VML_COMPLEX_KERNELS(VML_COMPLEX_TABLE)
#define VML_COMPLEX_BODIES(name, type) \
    const type vml_bodies_##name[VML_TABLE_SIZE] = VML_BODY_TABLE(name);
VML_COMPLEX_ARITH_KERNELS(VML_COMPLEX_BODIES)

// Relative cost per element, measured as for the arithmetic rows.
const float vml_costs_vcAdd[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.35f, 1.18f, 1.19f, 1.19f, 1.19f, 1.18f, 1.18f, 1.02f);
const float vml_costs_vzAdd[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.07f, 1.07f, 1.07f, 1.07f, 1.07f, 1.07f, 1.07f, 1.00f);
const float vml_costs_vcMul[VML_TABLE_SIZE] =
    VML_COST_RATIOS(2.19f, 1.96f, 1.87f, 1.88f, 1.88f, 1.87f, 1.68f, 1.00f);
const float vml_costs_vzMul[VML_TABLE_SIZE] =
    VML_COST_RATIOS(17.72f, 5.89f, 5.91f, 5.85f, 5.91f, 5.85f, 5.67f, 2.86f);
const float vml_costs_vcMulByConj[VML_TABLE_SIZE] =
    VML_COST_RATIOS(2.14f, 2.00f, 1.93f, 1.92f, 1.92f, 1.92f, 1.74f, 1.00f);
const float vml_costs_vzMulByConj[VML_TABLE_SIZE] =
    VML_COST_RATIOS(9.85f, 5.70f, 5.76f, 5.61f, 5.61f, 5.60f, 5.47f, 2.76f);
const float vml_costs_vcDiv[VML_TABLE_SIZE] =
    VML_COST_RATIOS(2.03f, 1.86f, 1.83f, 1.83f, 1.84f, 1.83f, 1.83f, 1.01f);
const float vml_costs_vzDiv[VML_TABLE_SIZE] =
    VML_COST_RATIOS(20.21f, 6.99f, 7.00f, 7.01f, 10.16f, 7.00f, 7.01f, 1.94f);
const float vml_costs_vcAbs[VML_TABLE_SIZE] =
    VML_COST_RATIOS(2.81f, 2.10f, 1.37f, 1.36f, 1.37f, 1.36f, 1.23f, 1.00f);
const float vml_costs_vzAbs[VML_TABLE_SIZE] =
    VML_COST_RATIOS(14.93f, 2.89f, 2.55f, 2.53f, 2.63f, 2.58f, 2.52f, 1.38f);

// Linear fraction: the same kernel in every block; level 9 costs 1.0 in all.
#define VML_LF_ROW(...) {VML_COST_RATIO_BLOCK(__VA_ARGS__, 1.0f), VML_COST_RATIO_BLOCK(__VA_ARGS__, 1.0f), \
                         VML_COST_RATIO_BLOCK(__VA_ARGS__, 1.0f), 0.0f, 0.0f}
const float vml_costs_vsLinearFrac[VML_TABLE_SIZE] =
    VML_LF_ROW(1.50f, 1.51f, 1.51f, 1.50f, 1.51f, 1.51f, 1.62f, 1.00f);
const float vml_costs_vdLinearFrac[VML_TABLE_SIZE] =
    VML_LF_ROW(2.01f, 2.01f, 2.00f, 2.01f, 2.01f, 2.00f, 2.00f, 1.00f);
