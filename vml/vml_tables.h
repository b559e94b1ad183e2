/* Dispatch tables of the vector-math exports.
 *
 * Every export owns a VmlKernelTable (32 kernel pointers) and a VmlCostTable
 * (32 floats), indexed by slot = ExtCpuLevel + 10 * (accuracy code - 1):
 * entries 0-9 serve accuracy code 1, 10-19 code 2, 20-29 code 3, 30-31 are
 * null/zero. Entry 0 of a block is the plain loop only the level override 0
 * selects.
 *
 * How a table is assembled: the kernels of a family are compiled once per
 * instruction-set level (orb_level_kernels), and the family's source defines
 *     extern "C++" const <KernelType> vml_kernels_<export>[32];
 *     extern "C++" const float        vml_costs_<export>[32];
 * The frame (vml_entries.cpp) only reads these arrays.
 *
 * The root, power and arc-tangent exports (vsSqrt vdSqrt vsCbrt vdCbrt
 * vsInvCbrt vdInvCbrt vsPowx vdPowx vsAtan2 vdAtan2) get their rows from the
 * directories vml/kernels/roots, vml/kernels/pow and vml/kernels/atan2. Each
 * of those directories, when it has a CMakeLists.txt, is added by
 * vml/CMakeLists.txt and must define the arrays of its exports below (kernel
 * and cost rows). While a directory has no CMakeLists.txt, the scalar
 * reference kernels of vml/kernels/fallback/<dir>_fallback.cpp fill its rows
 * instead; nobody edits those fallback files, they simply stop being built.
 */
#ifndef ORB_VML_TABLES_H
#define ORB_VML_TABLES_H

#include "vml/vml_frame.h"

#define VML_TABLE_SIZE 32

#ifdef __cplusplus
/* X-macro of the arithmetic exports: (name, kernel type). */
#define VML_ARITH_KERNELS(X)                                   \
    X(vsAdd, VmlBinaryKernelS) X(vdAdd, VmlBinaryKernelD)      \
    X(vsSub, VmlBinaryKernelS) X(vdSub, VmlBinaryKernelD)      \
    X(vsMul, VmlBinaryKernelS) X(vdMul, VmlBinaryKernelD)      \
    X(vsDiv, VmlBinaryKernelS) X(vdDiv, VmlBinaryKernelD)      \
    X(vsSqr, VmlUnaryKernelS) X(vdSqr, VmlUnaryKernelD)        \
    X(vsAbs, VmlUnaryKernelS) X(vdAbs, VmlUnaryKernelD)        \
    X(vsRound, VmlUnaryKernelS) X(vdRound, VmlUnaryKernelD)

/* X-macro of the complex exports but the linear fraction. */
#define VML_COMPLEX_ARITH_KERNELS(X)                                   \
    X(vcAdd, VmlBinaryKernelC) X(vzAdd, VmlBinaryKernelZ)              \
    X(vcMul, VmlBinaryKernelC) X(vzMul, VmlBinaryKernelZ)              \
    X(vcMulByConj, VmlBinaryKernelC) X(vzMulByConj, VmlBinaryKernelZ)  \
    X(vcDiv, VmlBinaryKernelC) X(vzDiv, VmlBinaryKernelZ)              \
    X(vcAbs, VmlAbsKernelC) X(vzAbs, VmlAbsKernelZ)

/* Exports whose kernels also come without the control-word frame, in a
 * second table vml_bodies_<export> of the same layout: the entries run
 * those directly when the control bits need no change, so a short call
 * reads the thread's record and the control word once. */
#define VML_BODY_KERNELS(X) VML_ARITH_KERNELS(X) VML_COMPLEX_ARITH_KERNELS(X)

/* X-macro of every export: (name, kernel type). */
#define VML_FOR_EACH_EXPORT(X)                                 \
    VML_ARITH_KERNELS(X)                                       \
    X(vsSqrt, VmlUnaryKernelS) X(vdSqrt, VmlUnaryKernelD)      \
    X(vsCbrt, VmlUnaryKernelS) X(vdCbrt, VmlUnaryKernelD)      \
    X(vsInvCbrt, VmlUnaryKernelS) X(vdInvCbrt, VmlUnaryKernelD) \
    X(vsPowx, VmlPowxKernelS) X(vdPowx, VmlPowxKernelD)        \
    X(vsAtan2, VmlBinaryKernelS) X(vdAtan2, VmlBinaryKernelD)  \
    X(vsLinearFrac, VmlLinearFracKernelS)                      \
    X(vdLinearFrac, VmlLinearFracKernelD)                      \
    X(vcAdd, VmlBinaryKernelC) X(vzAdd, VmlBinaryKernelZ)      \
    X(vcMul, VmlBinaryKernelC) X(vzMul, VmlBinaryKernelZ)      \
    X(vcMulByConj, VmlBinaryKernelC)                           \
    X(vzMulByConj, VmlBinaryKernelZ)                           \
    X(vcDiv, VmlBinaryKernelC) X(vzDiv, VmlBinaryKernelZ)      \
    X(vcAbs, VmlAbsKernelC) X(vzAbs, VmlAbsKernelZ)

#define VML_DECLARE_TABLES(name, type)                                  \
    extern const type vml_kernels_##name[VML_TABLE_SIZE] ORB_HIDDEN;    \
    extern const float vml_costs_##name[VML_TABLE_SIZE] ORB_HIDDEN;
VML_FOR_EACH_EXPORT(VML_DECLARE_TABLES)
#undef VML_DECLARE_TABLES
#define VML_DECLARE_BODIES(name, type) \
    extern const type vml_bodies_##name[VML_TABLE_SIZE] ORB_HIDDEN;
VML_BODY_KERNELS(VML_DECLARE_BODIES)
#undef VML_DECLARE_BODIES

/* The fixed cost values at levels 1 and 9. */
namespace orb::vml {
constexpr float kCostLevel1 = 3.0f;
constexpr float kCostLevel9[3] = {2.0f, 3.0f, 1.0f};
}  // namespace orb::vml
#endif

#endif
