/* Dispatch-table rows of vsSqrt, vdSqrt, vsCbrt, vdCbrt, vsInvCbrt and
 * vdInvCbrt. Single-precision Cbrt and InvCbrt use float-lane flavours at
 * accuracy codes 1 (4 ulp) and 3 (11 bits), vsSqrt an estimate-based
 * flavour at code 3 (22 bits), vdInvCbrt the division-free
 * ones (4 ulp, 26 bits), vdCbrt a division-free one at code 3 (26 bits);
 * everything else is within 1 ulp at every code. Costs are relative per-element times measured by
 * bench/vml_math (same units as the other rows). */
#include "roots_kernels.h"
#include "table_row.h"
#include "vml/vml_tables.h"

const VmlUnaryKernelS vml_kernels_vsSqrt[32] = ORB_VML_KERNEL_ROW(vsSqrt_ha, vsSqrt_ha, vsSqrt_ep);
const VmlUnaryKernelD vml_kernels_vdSqrt[32] = ORB_VML_KERNEL_ROW(vdSqrt_ha, vdSqrt_ha, vdSqrt_ha);
const VmlUnaryKernelS vml_kernels_vsCbrt[32] = ORB_VML_KERNEL_ROW(vsCbrt_la, vsCbrt_ha, vsCbrt_ep);
const VmlUnaryKernelD vml_kernels_vdCbrt[32] = ORB_VML_KERNEL_ROW(vdCbrt_ha, vdCbrt_ha, vdCbrt_ep);
const VmlUnaryKernelS vml_kernels_vsInvCbrt[32] =
    ORB_VML_KERNEL_ROW(vsInvCbrt_la, vsInvCbrt_ha, vsInvCbrt_ep);
const VmlUnaryKernelD vml_kernels_vdInvCbrt[32] =
    ORB_VML_KERNEL_ROW(vdInvCbrt_la, vdInvCbrt_ha, vdInvCbrt_ep);

#include "roots_costs.inc"
