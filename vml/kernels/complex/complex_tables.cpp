// Kernel and cost tables of the complex and linear-fraction exports.
#include "vml/kernels/complex/complex_kernels.h"
#include "vml/kernels/table_rows.h"

#define VML_COMPLEX_TABLE(name, type) \
    const type vml_kernels_##name[VML_TABLE_SIZE] = VML_KERNEL_TABLE(name);
VML_COMPLEX_KERNELS(VML_COMPLEX_TABLE)

// Relative cost per element (units of the dynamic thread rule).
#define VML_CADD_COSTS VML_COST_ROW(5.2f, 3.7f, 6.5f, 8.8f, 3.3f, 3.1f, 1.9f, 1.5f)
#define VML_CMUL_COSTS VML_COST_ROW(12.0f, 8.0f, 8.0f, 8.0f, 6.0f, 6.0f, 4.0f, 3.0f)
#define VML_CDIV_COSTS VML_COST_ROW(40.0f, 25.0f, 25.0f, 25.0f, 20.0f, 20.0f, 12.0f, 9.0f)
#define VML_CABS_COSTS VML_COST_ROW(20.0f, 12.0f, 12.0f, 12.0f, 10.0f, 10.0f, 6.0f, 5.0f)
const float vml_costs_vcAdd[VML_TABLE_SIZE] = VML_CADD_COSTS;
const float vml_costs_vzAdd[VML_TABLE_SIZE] = VML_CADD_COSTS;
const float vml_costs_vcMul[VML_TABLE_SIZE] = VML_CMUL_COSTS;
const float vml_costs_vzMul[VML_TABLE_SIZE] = VML_CMUL_COSTS;
const float vml_costs_vcMulByConj[VML_TABLE_SIZE] = VML_CMUL_COSTS;
const float vml_costs_vzMulByConj[VML_TABLE_SIZE] = VML_CMUL_COSTS;
const float vml_costs_vcDiv[VML_TABLE_SIZE] = VML_CDIV_COSTS;
const float vml_costs_vzDiv[VML_TABLE_SIZE] = VML_CDIV_COSTS;
const float vml_costs_vcAbs[VML_TABLE_SIZE] = VML_CABS_COSTS;
const float vml_costs_vzAbs[VML_TABLE_SIZE] = VML_CABS_COSTS;

// Linear fraction: the same kernel in every block; level 9 costs 1.0 in all.
#define VML_LF_BLOCK VML_COST_BLOCK(666.666f, 111.111f, 111.111f, 111.111f, 13.53f, 10.26f, 6.05f, 6.05f, 1.0f)
const float vml_costs_vsLinearFrac[VML_TABLE_SIZE] = {VML_LF_BLOCK, VML_LF_BLOCK, VML_LF_BLOCK, 0.0f, 0.0f};
const float vml_costs_vdLinearFrac[VML_TABLE_SIZE] = {VML_LF_BLOCK, VML_LF_BLOCK, VML_LF_BLOCK, 0.0f, 0.0f};
