// Declarations of the arithmetic kernels of one level namespace (X-macro),
// so the tables list k_generic::vdAdd ... k_avx2::vdAdd without copies.
#ifndef ORB_VML_ARITH_KERNELS_H
#define ORB_VML_ARITH_KERNELS_H

#include <type_traits>

#include "vml/vml_tables.h"  // VML_ARITH_KERNELS

#define VML_DECLARE_KERNEL(name, type) \
    std::remove_pointer_t<type> name; std::remove_pointer_t<type> name##_plain;

// The kernel without its control-word frame (vml_tables.h).
#define VML_DECLARE_BODY(name, type) std::remove_pointer_t<type> name##_body;

#define VML_DECLARE_LEVEL(ns, LIST) namespace ns { LIST(VML_DECLARE_KERNEL) }
#define VML_DECLARE_LEVEL_BODIES(ns, LIST) namespace ns { LIST(VML_DECLARE_BODY) }

VML_DECLARE_LEVEL(k_generic, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL(k_sse2, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL(k_sse42, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL(k_avx, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL(k_avx2, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_generic, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_sse2, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_sse42, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_avx, VML_ARITH_KERNELS)
VML_DECLARE_LEVEL_BODIES(k_avx2, VML_ARITH_KERNELS)

#endif
