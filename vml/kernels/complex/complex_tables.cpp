// Kernel and cost tables of the complex and linear-fraction exports.
#include "vml/kernels/complex/complex_kernels.h"
#include "vml/kernels/table_rows.h"

#define VML_COMPLEX_TABLE(name, type) \
    const type vml_kernels_##name[VML_TABLE_SIZE] = VML_KERNEL_TABLE(name);
VML_COMPLEX_KERNELS(VML_COMPLEX_TABLE)

// Relative cost per element, measured as for the arithmetic rows.
const float vml_costs_vcAdd[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.03f, 1.01f, 1.02f, 1.02f, 1.02f, 1.02f, 1.02f, 1.00f);
const float vml_costs_vzAdd[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.48f, 1.21f, 1.21f, 1.21f, 1.21f, 1.21f, 1.21f, 1.00f);
const float vml_costs_vcMul[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.04f, 0.99f, 1.09f, 0.99f, 1.44f, 1.19f, 1.01f, 1.04f);
const float vml_costs_vzMul[VML_TABLE_SIZE] =
    VML_COST_RATIOS(6.63f, 8.63f, 8.17f, 15.59f, 8.13f, 8.24f, 8.04f, 7.85f);
const float vml_costs_vcMulByConj[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.06f, 1.01f, 1.01f, 1.00f, 1.00f, 1.02f, 1.14f, 1.00f);
const float vml_costs_vzMulByConj[VML_TABLE_SIZE] =
    VML_COST_RATIOS(6.08f, 7.46f, 7.42f, 7.55f, 7.49f, 7.43f, 7.53f, 7.15f);
const float vml_costs_vcDiv[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.25f, 0.98f, 0.98f, 1.09f, 1.03f, 0.99f, 0.96f, 0.95f);
const float vml_costs_vzDiv[VML_TABLE_SIZE] =
    VML_COST_RATIOS(12.74f, 4.67f, 3.95f, 4.03f, 3.98f, 4.10f, 3.56f, 1.91f);
const float vml_costs_vcAbs[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.03f, 1.03f, 0.97f, 1.03f, 0.99f, 1.02f, 0.92f, 1.03f);
const float vml_costs_vzAbs[VML_TABLE_SIZE] =
    VML_COST_RATIOS(12.31f, 4.50f, 4.07f, 4.16f, 4.15f, 4.07f, 3.35f, 2.08f);

// Linear fraction: the same kernel in every block; level 9 costs 1.0 in all.
#define VML_LF_ROW(...) {VML_COST_RATIO_BLOCK(__VA_ARGS__, 1.0f), VML_COST_RATIO_BLOCK(__VA_ARGS__, 1.0f), \
                         VML_COST_RATIO_BLOCK(__VA_ARGS__, 1.0f), 0.0f, 0.0f}
const float vml_costs_vsLinearFrac[VML_TABLE_SIZE] =
    VML_LF_ROW(1.50f, 1.51f, 1.51f, 1.50f, 1.51f, 1.51f, 1.62f, 1.00f);
const float vml_costs_vdLinearFrac[VML_TABLE_SIZE] =
    VML_LF_ROW(2.01f, 2.01f, 2.00f, 2.01f, 2.01f, 2.00f, 2.00f, 1.00f);
