// Kernel and cost tables of the real arithmetic exports.
#include "vml/kernels/arith/arith_kernels.h"
#include "vml/kernels/table_rows.h"

#define VML_ARITH_TABLE(name, type) \
    const type vml_kernels_##name[VML_TABLE_SIZE] = VML_KERNEL_TABLE(name);
VML_ARITH_KERNELS(VML_ARITH_TABLE)
#define VML_ARITH_BODIES(name, type) \
    const type vml_bodies_##name[VML_TABLE_SIZE] = VML_BODY_TABLE(name);
VML_ARITH_KERNELS(VML_ARITH_BODIES)

// Relative cost per element (units of the dynamic thread rule): each row
// holds the measured time of levels 0, 2..8 relative to level 9 of the same
// kernel ("bench_vml costs", n = 4096 in cache), scaled by the fixed
// level-9 value of each accuracy block.
const float vml_costs_vsAdd[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.40f, 1.44f, 1.44f, 1.43f, 1.44f, 1.44f, 1.44f, 1.00f);
const float vml_costs_vdAdd[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.24f, 1.24f, 1.24f, 1.24f, 1.23f, 1.23f, 1.24f, 0.99f);
const float vml_costs_vsSub[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.42f, 1.45f, 1.44f, 1.45f, 1.45f, 1.46f, 1.46f, 1.01f);
const float vml_costs_vdSub[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.24f, 1.25f, 1.25f, 1.24f, 1.24f, 1.25f, 1.25f, 1.00f);
const float vml_costs_vsMul[VML_TABLE_SIZE] =
    VML_COST_RATIOS(2.02f, 2.01f, 2.00f, 1.99f, 2.17f, 2.18f, 2.17f, 1.01f);
const float vml_costs_vdMul[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.24f, 1.24f, 1.24f, 1.23f, 1.23f, 1.23f, 1.24f, 0.98f);
const float vml_costs_vsDiv[VML_TABLE_SIZE] =
    VML_COST_RATIOS(4.90f, 1.94f, 2.05f, 2.04f, 2.05f, 1.93f, 2.06f, 1.00f);
const float vml_costs_vdDiv[VML_TABLE_SIZE] =
    VML_COST_RATIOS(4.17f, 2.00f, 2.00f, 2.00f, 2.00f, 2.00f, 2.00f, 1.00f);
const float vml_costs_vsSqr[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.93f, 2.00f, 2.29f, 2.00f, 2.01f, 1.97f, 2.12f, 1.16f);
const float vml_costs_vdSqr[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.31f, 1.47f, 1.47f, 1.47f, 1.47f, 1.48f, 1.92f, 1.10f);
const float vml_costs_vsAbs[VML_TABLE_SIZE] =
    VML_COST_RATIOS(2.53f, 1.93f, 1.98f, 1.98f, 1.99f, 1.97f, 1.98f, 0.99f);
const float vml_costs_vdAbs[VML_TABLE_SIZE] =
    VML_COST_RATIOS(1.11f, 1.03f, 1.02f, 1.02f, 1.03f, 1.02f, 1.02f, 1.03f);
const float vml_costs_vsRound[VML_TABLE_SIZE] =
    VML_COST_RATIOS(7.20f, 6.81f, 6.96f, 5.19f, 5.19f, 6.39f, 1.47f, 0.58f);
const float vml_costs_vdRound[VML_TABLE_SIZE] =
    VML_COST_RATIOS(8.83f, 9.50f, 8.85f, 8.86f, 8.85f, 8.85f, 2.49f, 1.00f);
