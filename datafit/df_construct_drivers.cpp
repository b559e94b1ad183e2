// The construction drivers of one instruction-set level: each picks a
// kernel by layout, partition kind and boundary variant. Compiled once per
// level: wider vectors and fused products speed up the independent work
// around the recurrences (widths, slopes, coefficients, divisions).
#include <array>
#include <utility>

#include "datafit/df_akima_streaming_kernel.h"
#include "datafit/df_c2_streaming_kernel.h"
#include "datafit/df_construct_drivers.h"
#include "datafit/df_spline_kernels.h"
#include "datafit/df_subbotin_kernel.h"
#include "datafit/df_task.h"

namespace orb::df::ORB_KNS {
namespace {

using Kernel = int (*)(const DfTask *);

// Layout index: 0 point by point, 1 per function; -1 for an unknown hint.
int LayoutIndex(int64_t yhint) {
    if (yhint == 32) return 0;
    if (yhint == 0 || yhint == 16 || yhint == 128) return 1;
    return -1;
}
int PartitionIndex(const DfTask *t) { return (t->xhint & 4) ? 1 : 0; }

// bc_type -> boundary variant; -1 unknown.
int BoundaryVariant(int64_t bc_type) {
    switch (bc_type) {
    case 1: return 0;
    case 2: return 1;
    case 12: return 2;
    case 36: return 3;
    case 24: return 4;
    case 48: return 5;
    case 64: return 6;
    default: return -1;
    }
}

// Table of 28 kernels at partition*7 + layout*14 + variant.
template <template <class, int, bool, int> class K, class T, size_t... I>
constexpr std::array<Kernel, 28> MakeTable(std::index_sequence<I...>) {
    return {K<T, static_cast<int>(I / 14), (I / 7) % 2 == 1, static_cast<int>(I % 7)>::fn...};
}
template <template <class, int, bool, int> class K, class T>
constexpr std::array<Kernel, 28> Table28() {
    return MakeTable<K, T>(std::make_index_sequence<28>());
}

template <class T, int L, bool U, int V> struct C2 { static constexpr Kernel fn = CubicC2Kernel<T, L, U, V>; };
template <class T, int L, bool U, int V> struct C2S { static constexpr Kernel fn = CubicC2Streaming<L, U, V>; };
template <class T, int L, bool U, int V> struct Ty0 { static constexpr Kernel fn = CubicType0Kernel<T, L, U, V>; };
template <class T, int L, bool U, int V> struct Ty3 { static constexpr Kernel fn = CubicLocalKernel<T, L, U, V, 3>; };
template <class T, int L, bool U, int V> struct Ty4 { static constexpr Kernel fn = CubicLocalKernel<T, L, U, V, 4>; };
template <class T, int L, bool U, int V> struct Ty5 { static constexpr Kernel fn = CubicLocalKernel<T, L, U, V, 5>; };
template <class T, int L, bool U, int V> struct Quad {
    static constexpr Kernel fn = V == 6 ? nullptr : QuadraticKernel<T, L, U, (V == 6 ? 0 : V)>;
};
template <class T, int L, bool U, int V> struct Subbotin { static constexpr Kernel fn = SubbotinKernel<T, L, U, V>; };

template <class T>
int LinearDriver(const DfTask *t, int64_t s_format, int64_t method) {
    if (s_format != 0 || method != 0) return DfStatusUnsupportedMethod;
    if (t->nx < 2) return DfStatusBadPartitionSize;
    int layout = LayoutIndex(t->yhint);
    if (layout < 0) return DfStatusBadFunctionHint;
    static constexpr Kernel kernels[4] = {LinearKernel<T, 0, false>, LinearKernel<T, 0, true>,
                                          LinearKernel<T, 1, false>, LinearKernel<T, 1, true>};
    return kernels[layout * 2 + PartitionIndex(t)](t);
}

template <class T>
int QuadraticDriver(const DfTask *t, int64_t, int64_t) {
    int layout = LayoutIndex(t->yhint);
    if (layout < 0) return DfStatusBadFunctionHint;
    if (t->splineType != 0 && t->splineType != 1) return DfStatusUnsupportedMethod;
    if (t->splineType == 1 && !(t->icType & 8)) return DfStatusBadInternalConditionType;
    int variant = BoundaryVariant(t->bcType);
    if (variant < 0) return DfStatusBadBoundaryConditionType;
    if (EndHasValue(variant) && !t->bc) return DfStatusNullBoundaryConditions;
    if (t->nx < 2) return DfStatusBadPartitionSize;
    const int index = PartitionIndex(t) * 7 + layout * 14 + variant;
    if (t->splineType == 1) {
        static constexpr std::array<Kernel, 28> knots = Table28<Subbotin, T>();
        return knots[index](t);
    }
    if (variant == 6) return DfStatusBadBoundaryConditionType;
    static constexpr std::array<Kernel, 28> table = Table28<Quad, T>();
    return table[index](t);
}

template <class T, int Type>
int CubicDriver(const DfTask *t, int64_t s_format, int64_t method) {
    if (s_format != 0 || method != 0) return DfStatusUnsupportedMethod;
    if (t->nx < 3) return DfStatusBadPartitionSize;
    int layout = LayoutIndex(t->yhint);
    if (layout < 0) return DfStatusBadFunctionHint;
    int variant = BoundaryVariant(t->bcType);
    if (variant < 0) return DfStatusBadBoundaryConditionType;
    bool needs_values = EndHasValue(variant) || (variant == 6 && (Type == 0 || Type == 3));
    if (needs_values && !t->bc) return DfStatusNullBoundaryConditions;
    const int index = PartitionIndex(t) * 7 + layout * 14 + variant;
    if constexpr (Type == 2 && sizeof(T) == 8) {
        // One function: two sweeps through its own coefficient block beat
        // a factorisation kept in scratch for sharing.
        if (FunctionCount(t) == 1 && !(variant == 6 && t->nx < 4)) {
            static constexpr std::array<Kernel, 28> streaming = Table28<C2S, T>();
            return streaming[index](t);
        }
    }
    if constexpr (Type == 5 && sizeof(T) == 8) {
        if (FunctionCount(t) == 1) {  // every boundary code gives the same spline
            static constexpr Kernel akima[4] = {AkimaStreaming<0, false>, AkimaStreaming<0, true>,
                                                AkimaStreaming<1, false>, AkimaStreaming<1, true>};
            return akima[layout * 2 + PartitionIndex(t)](t);
        }
    }
    static constexpr std::array<Kernel, 28> table =
        Type == 2 ? Table28<C2, T>() : Type == 0 ? Table28<Ty0, T>()
        : Type == 3 ? Table28<Ty3, T>() : Type == 4 ? Table28<Ty4, T>() : Table28<Ty5, T>();
    return table[index](t);
}

}  // namespace

const ConstructDriverSet kDriversD = {LinearDriver<double>, QuadraticDriver<double>,
                                      CubicDriver<double, 0>, CubicDriver<double, 2>,
                                      CubicDriver<double, 3>, CubicDriver<double, 4>,
                                      CubicDriver<double, 5>};
const ConstructDriverSet kDriversS = {LinearDriver<float>, QuadraticDriver<float>,
                                      CubicDriver<float, 0>, CubicDriver<float, 2>,
                                      CubicDriver<float, 3>, CubicDriver<float, 4>,
                                      CubicDriver<float, 5>};

}  // namespace orb::df::ORB_KNS
