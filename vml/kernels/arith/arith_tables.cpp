// Kernel and cost tables of the real arithmetic exports.
#include "vml/kernels/arith/arith_kernels.h"
#include "vml/kernels/table_rows.h"

#define VML_ARITH_TABLE(name, type) \
    const type vml_kernels_##name[VML_TABLE_SIZE] = VML_KERNEL_TABLE(name);
VML_ARITH_KERNELS(VML_ARITH_TABLE)

// Relative cost per element (units of the dynamic thread rule).
#define VML_ADD_COSTS VML_COST_ROW(2.6f, 1.85f, 3.24f, 4.4f, 1.63f, 1.57f, 0.94f, 0.76f)
const float vml_costs_vsAdd[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vdAdd[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vsSub[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vdSub[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vsMul[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vdMul[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vsSqr[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vdSqr[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vsAbs[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vdAbs[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vsRound[VML_TABLE_SIZE] = VML_ADD_COSTS;
const float vml_costs_vdRound[VML_TABLE_SIZE] = VML_ADD_COSTS;
#define VML_DIV_COSTS VML_COST_ROW(31.18f, 9.0f, 12.68f, 14.41f, 9.52f, 7.9f, 6.03f, 5.17f)
const float vml_costs_vsDiv[VML_TABLE_SIZE] = VML_DIV_COSTS;
const float vml_costs_vdDiv[VML_TABLE_SIZE] = VML_DIV_COSTS;
