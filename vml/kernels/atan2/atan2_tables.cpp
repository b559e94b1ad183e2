/* Dispatch-table rows of vsAtan2 and vdAtan2: one flavour, within 1 ulp,
 * at every accuracy code. Costs measured by bench/vml_math. */
#include "atan2_kernels.h"
#include "../roots/table_row.h"
#include "vml/vml_tables.h"

const VmlBinaryKernelS vml_kernels_vsAtan2[32] = ORB_VML_KERNEL_ROW(vsAtan2_ha, vsAtan2_ha, vsAtan2_ha);
const VmlBinaryKernelD vml_kernels_vdAtan2[32] = ORB_VML_KERNEL_ROW(vdAtan2_ha, vdAtan2_ha, vdAtan2_ha);

#include "atan2_costs.inc"
