// Complex and linear-fraction kernels, compiled once per instruction-set
// level on the shared loop frame. *_plain kernels (entry 0) skip the
// control-state handling.
#include "vml/kernels/complex/complex_kernels.h"
#include "vml/kernels/complex/complex_ops.h"
#include "vml/kernels/kernel_frame.h"

namespace ORB_KNS {
namespace {

using namespace vml;

template <class C, class Op, bool Plain>
void Binary(int32_t n, const C *a, const C *b, C *y) {
    if constexpr (Plain) {
        for (int32_t i = 0; i < n; ++i) {
            C r = Op::Apply(a[i], b[i]);
            if constexpr (kHasFix<Op>)
                if (Op::Bad(a[i], b[i], r)) r = Op::Fix(a[i], b[i]);
            y[i] = r;
        }
    } else {
        ControlGuard guard;
        if (n > 0) DriveBinary<C, Op>(n, a, b, y);
    }
}

struct AbsC8 { static float Apply(VmlComplex8 a) { return OpCAbs::Apply(a); } };
struct AbsC16 { static double Apply(VmlComplex16 a) { return OpCAbs::Apply(a); } };

template <class C, class R, class Op, bool Plain>
void Abs(int32_t n, const C *a, R *y) {
    if constexpr (Plain) {
        for (int32_t i = 0; i < n; ++i) y[i] = Op::Apply(a[i]);
    } else {
        ControlGuard guard;
        if (n > 0) DriveUnary<C, R, Op>(n, a, y);
    }
}

// The three cases are chosen once per call from the scalars.
template <class T, bool Plain>
void LinearFrac(int32_t n, const T *a, const T *b, T sa, T ta, T sb, T tb,
                T *y) {
    auto body = [&] {
        if (sb == T(0)) {
            const T p = sa / tb, q = ta / tb, r = T(1) / tb;
            if (UsableNormal(p) && UsableNormal(q)) {
                for (int32_t i = 0; i < n; ++i) y[i] = a[i] * p + q;
            } else {
                for (int32_t i = 0; i < n; ++i) y[i] = (sa * a[i] + ta) * r;
            }
        } else if (sa == T(0)) {
            for (int32_t i = 0; i < n; ++i) y[i] = ta / (sb * b[i] + tb);
        } else {
            for (int32_t i = 0; i < n; ++i)
                y[i] = (sa * a[i] + ta) / (sb * b[i] + tb);
        }
    };
    if constexpr (Plain) {
        body();
    } else {
        ControlGuard guard;
        if (n > 0) body();
    }
}

}  // namespace

#define VML_CBIN(cname, zname, Op)                                            \
    void cname(int32_t n, const VmlComplex8 *a, const VmlComplex8 *b,        \
               VmlComplex8 *y) { Binary<VmlComplex8, Op, false>(n, a, b, y); } \
    void zname(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b,      \
               VmlComplex16 *y) { Binary<VmlComplex16, Op, false>(n, a, b, y); } \
    void cname##_plain(int32_t n, const VmlComplex8 *a, const VmlComplex8 *b, \
               VmlComplex8 *y) { Binary<VmlComplex8, Op, true>(n, a, b, y); } \
    void zname##_plain(int32_t n, const VmlComplex16 *a,                     \
                       const VmlComplex16 *b, VmlComplex16 *y) {             \
        Binary<VmlComplex16, Op, true>(n, a, b, y); }

VML_CBIN(vcAdd, vzAdd, OpCAdd)
VML_CBIN(vcMul, vzMul, OpCMul<false>)
VML_CBIN(vcMulByConj, vzMulByConj, OpCMul<true>)
VML_CBIN(vcDiv, vzDiv, OpCDiv)

void vcAbs(int32_t n, const VmlComplex8 *a, float *y) { Abs<VmlComplex8, float, AbsC8, false>(n, a, y); }
void vzAbs(int32_t n, const VmlComplex16 *a, double *y) { Abs<VmlComplex16, double, AbsC16, false>(n, a, y); }
void vcAbs_plain(int32_t n, const VmlComplex8 *a, float *y) { Abs<VmlComplex8, float, AbsC8, true>(n, a, y); }
void vzAbs_plain(int32_t n, const VmlComplex16 *a, double *y) { Abs<VmlComplex16, double, AbsC16, true>(n, a, y); }

#define VML_LF(name, T, Plain)                                                \
    void name(int32_t n, const T *a, const T *b, T sa, T ta, T sb, T tb, T *y) { \
        LinearFrac<T, Plain>(n, a, b, sa, ta, sb, tb, y); }
VML_LF(vsLinearFrac, float, false)
VML_LF(vdLinearFrac, double, false)
VML_LF(vsLinearFrac_plain, float, true)
VML_LF(vdLinearFrac_plain, double, true)

}  // namespace ORB_KNS
