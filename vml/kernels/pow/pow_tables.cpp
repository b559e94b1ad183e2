/* Dispatch-table rows of vsPowx and vdPowx: one flavour, within 1 ulp, at
 * every accuracy code. Costs measured by bench/vml_math. */
#include "pow_kernels.h"
#include "../roots/table_row.h"
#include "vml/vml_tables.h"

const VmlPowxKernelS vml_kernels_vsPowx[32] = ORB_VML_KERNEL_ROW(vsPowx_ha, vsPowx_ha, vsPowx_ha);
const VmlPowxKernelD vml_kernels_vdPowx[32] = ORB_VML_KERNEL_ROW(vdPowx_ha, vdPowx_ha, vdPowx_ha);

#include "pow_costs.inc"
