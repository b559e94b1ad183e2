// Tables for the scalar reference kernels that stand in for the root, power
// and arc-tangent kernels until their own directories provide them: the
// same kernel at every level and accuracy.
#ifndef ORB_VML_FALLBACK_TABLE_H
#define ORB_VML_FALLBACK_TABLE_H

#include "vml/vml_tables.h"

#define VML_SAME_10(k) k, k, k, k, k, k, k, k, k, k
#define VML_FALLBACK_TABLE(k) \
    { VML_SAME_10(k), VML_SAME_10(k), VML_SAME_10(k), nullptr, nullptr }

#endif
