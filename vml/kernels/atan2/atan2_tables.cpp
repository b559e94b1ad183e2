/* Dispatch-table rows of vsAtan2 and vdAtan2: within 1 ulp at code 2 (and
 * at every code in single precision); double code 1 takes the plain double
 * flavour (within 4 ulp), code 3 the short-polynomial one (26 bits). Costs measured by bench/vml_math. */
#include "atan2_kernels.h"
#include "../roots/table_row.h"
#include "vml/vml_tables.h"

const VmlBinaryKernelS vml_kernels_vsAtan2[32] = ORB_VML_KERNEL_ROW(vsAtan2_la, vsAtan2_ha, vsAtan2_ep);
const VmlBinaryKernelD vml_kernels_vdAtan2[32] = ORB_VML_KERNEL_ROW(vdAtan2_la, vdAtan2_ha, vdAtan2_ep);

#include "atan2_costs.inc"
