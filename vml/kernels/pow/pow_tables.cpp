/* Dispatch-table rows of vsPowx and vdPowx: within 1 ulp at codes 1 and 2,
 * the fast flavour (26 bits double, 11 bits single) at code 3. Costs
 * measured by bench/vml_math. */
#include "pow_kernels.h"
#include "../roots/table_row.h"
#include "vml/vml_tables.h"

const VmlPowxKernelS vml_kernels_vsPowx[32] = ORB_VML_KERNEL_ROW(vsPowx_ha, vsPowx_ha, vsPowx_ep);
const VmlPowxKernelD vml_kernels_vdPowx[32] = ORB_VML_KERNEL_ROW(vdPowx_ha, vdPowx_ha, vdPowx_ep);

#include "pow_costs.inc"
