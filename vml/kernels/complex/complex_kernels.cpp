// Complex and linear-fraction kernels, compiled once per instruction-set
// level on the shared loop frame. *_plain kernels (entry 0) skip the
// control-state handling.
#include "vml/kernels/complex/complex_kernels.h"
#include "vml/kernels/complex/complex_ops.h"
#include "vml/kernels/complex/complex_vec.h"
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

// Double-precision quotient and magnitude: vector main path over whole
// vectors of elements, the scalar operation for the lanes it hands back and
// for the tail. Inputs of a step are read before its stores (y may equal a
// or b); partially overlapping arrays take the ordered scalar loop.
template <class Out, class Body, class Redo>
void ZLoop(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, Out *y,
           Body body, Redo redo) {
    using cvec::V;
    constexpr int32_t L = cvec::kL;
    const double *pa = &a->real, *pb = &b->real;
    int32_t i = 0;
    for (; i + L <= n; i += L) {
        V ar, ai, br, bi;
        cvec::Split(LoadU<V>(pa + 2 * i), LoadU<V>(pa + 2 * i + L), &ar, &ai);
        cvec::Split(LoadU<V>(pb + 2 * i), LoadU<V>(pb + 2 * i + L), &br, &bi);
        const cvec::U bad = body(ar, ai, br, bi, y + i);
        if (Any(bad))
            for (int32_t k = 0; k < L; ++k)
                if (bad[k]) y[i + k] = redo(VmlComplex16{ar[k], ai[k]}, VmlComplex16{br[k], bi[k]});
    }
    for (; i < n; ++i) y[i] = redo(a[i], b[i]);
}

template <class Op, class VecBody>
void ZBinary(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y,
             VecBody vec) {
    ControlGuard guard;
    if (n <= 0) return;
    const size_t bytes = size_t(n) * sizeof *y;
    if (PartialOverlap(y, a, bytes) || PartialOverlap(y, b, bytes)) {
        DriveBinary<VmlComplex16, Op>(n, a, b, y);
        return;
    }
    ZLoop(n, a, b, y,
          [vec](cvec::V ar, cvec::V ai, cvec::V br, cvec::V bi, VmlComplex16 *out) {
              cvec::V x, z, lo, hi;
              const cvec::U bad = vec(ar, ai, br, bi, &x, &z);
              cvec::Join(x, z, &lo, &hi);
              StoreU(&out->real, lo);
              StoreU(&out->real + cvec::kL, hi);
              return bad;
          },
          [](VmlComplex16 p, VmlComplex16 q) {
              const VmlComplex16 r = Op::Apply(p, q);
              return Op::Bad(p, q, r) ? Op::Fix(p, q) : r;
          });
}

void ZDiv(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) {
    ZBinary<OpCDiv>(n, a, b, y, cvec::Div);
}
template <bool Conj>
void ZMul(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) {
    ZBinary<OpCMul<Conj>>(n, a, b, y, cvec::Mul<Conj>);
}

void ZAbs(int32_t n, const VmlComplex16 *a, double *y) {
    ControlGuard guard;
    if (n <= 0) return;
    if (PartialOverlap(y, a, size_t(n) * sizeof *y)) {
        for (int32_t i = 0; i < n; ++i) y[i] = OpCAbs::Apply(a[i]);
        return;
    }
    ZLoop(n, a, a, y,
          [](cvec::V re, cvec::V im, cvec::V, cvec::V, double *out) {
              cvec::V r;
              const cvec::U bad = cvec::Abs(re, im, &r);
              StoreU(out, r);
              return bad;
          },
          [](VmlComplex16 p, VmlComplex16) { return OpCAbs::Apply(p); });
}

// Single-precision magnitude in double lanes: squares of floats cannot
// overflow or underflow a double, so no scaling and no scalar repair; an
// infinite part wins over a NaN one by a lane select.
void CAbs(int32_t n, const VmlComplex8 *a, float *y) {
    ControlGuard guard;
    if (n <= 0) return;
    if (PartialOverlap(y, a, size_t(n) * sizeof *a)) {
        for (int32_t i = 0; i < n; ++i) y[i] = OpCAbs::Apply(a[i]);
        return;
    }
    using cvec::V;
    constexpr int32_t L = cvec::kL;
    const V inf = cvec::Splat(__builtin_inf());
    int32_t i = 0;
    for (; i + L <= n; i += L) {
        V re, im;
        for (int32_t k = 0; k < L; ++k) {
            re[k] = a[i + k].real;
            im[k] = a[i + k].imag;
        }
        const cvec::U infinite = BitCast<cvec::U>(re * re == inf) | BitCast<cvec::U>(im * im == inf);
        const V r = Select(infinite, inf, cvec::SqrtV(re * re + im * im));
        float out[L];
        for (int32_t k = 0; k < L; ++k) out[k] = float(r[k]);
        memcpy(y + i, out, sizeof out);
    }
    for (; i < n; ++i) y[i] = OpCAbs::Apply(a[i]);
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
VML_CBIN(vcMul, vzMulScalar, OpCMul<false>)
VML_CBIN(vcMulByConj, vzMulByConjScalar, OpCMul<true>)
void vzMul(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) { ZMul<false>(n, a, b, y); }
void vzMulByConj(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) {
    ZMul<true>(n, a, b, y);
}
void vzMul_plain(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) {
    vzMulScalar_plain(n, a, b, y);
}
void vzMulByConj_plain(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) {
    vzMulByConjScalar_plain(n, a, b, y);
}
VML_CBIN(vcDiv, vzDivScalar, OpCDiv)
void vzDiv(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) { ZDiv(n, a, b, y); }
void vzDiv_plain(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) {
    vzDivScalar_plain(n, a, b, y);
}

void vcAbs(int32_t n, const VmlComplex8 *a, float *y) { CAbs(n, a, y); }
void vzAbs(int32_t n, const VmlComplex16 *a, double *y) { ZAbs(n, a, y); }
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
