/* Dispatch-table rows of vsAtan2 and vdAtan2: within 1 ulp at code 2 (and
 * at every code in single precision); double codes 1 and 3 take the plain
 * double flavour (within 4 ulp). Costs measured by bench/vml_math. */
#include "atan2_kernels.h"
#include "../roots/table_row.h"
#include "vml/vml_tables.h"

const VmlBinaryKernelS vml_kernels_vsAtan2[32] = ORB_VML_KERNEL_ROW(vsAtan2_ha, vsAtan2_ha, vsAtan2_ha);
const VmlBinaryKernelD vml_kernels_vdAtan2[32] = ORB_VML_KERNEL_ROW(vdAtan2_la, vdAtan2_ha, vdAtan2_la);

#include "atan2_costs.inc"
