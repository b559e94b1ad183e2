// Complex and linear-fraction kernels, compiled once per instruction-set
// level on the shared loop frame. *_plain kernels (entry 0) skip the
// control-state handling.
#include "vml/kernels/complex/complex_kernels.h"
#include "vml/kernels/complex/complex_lanes.h"
#include "vml/kernels/complex/complex_ops.h"
#include "vml/kernels/complex/complex_vec.h"
#include "vml/kernels/kernel_frame.h"

namespace ORB_KNS {
namespace {

using namespace vml;

// Entry-0 loop: the scalar operation element by element.
template <class C, class Op> void PlainBinary(int32_t n, const C *a, const C *b, C *y) {
    for (int32_t i = 0; i < n; ++i) {
        C r = Op::Apply(a[i], b[i]);
        if constexpr (kHasFix<Op>)
            if (Op::Bad(a[i], b[i], r)) r = Op::Fix(a[i], b[i]);
        y[i] = r;
    }
}

// One element by the scalar operation, repair included.
template <class Op, class C> inline C ScalarOp(C p, C q) {
    const C r = Op::Apply(p, q);
    return Op::Bad(p, q, r) ? Op::Fix(p, q) : r;
}

// Empty calls, and partially overlapping arrays through the ordered
// element loop; true when that finished the call.
template <class C, class Op> bool DoneElementwise(int32_t n, const C *a, const C *b, C *y) {
    if (n <= 0) return true;
    const size_t bytes = size_t(n) * sizeof *y;
    if (!PartialOverlap(y, a, bytes) && !PartialOverlap(y, b, bytes)) return false;
    DriveBinary<C, Op>(n, a, b, y);
    return true;
}

// The real sum's body over parts, in pieces: it counts them in int32.
template <class R> void PartsAdd(int64_t parts, const R *a, const R *b, R *y) {
    constexpr int64_t kPiece = int64_t(1) << 30;
    for (; parts > kPiece; parts -= kPiece, a += kPiece, b += kPiece, y += kPiece) {
        if constexpr (sizeof(R) == 4) vsAdd_body(int32_t(kPiece), a, b, y);
        else vdAdd_body(int32_t(kPiece), a, b, y);
    }
    if constexpr (sizeof(R) == 4) vsAdd_body(int32_t(parts), a, b, y);
    else vdAdd_body(int32_t(parts), a, b, y);
}

// Complex sums as real sums over the flat arrays of parts, by the real
// kernel's body (unrolled loop, alignment peel, tail). That body takes
// partially overlapping arrays part by part in index order, which gives
// the element loop's results whenever the arrays lie whole elements
// apart; arrays that overlap at a part's offset keep the element loop.
template <class C> void FlatAdd(int32_t n, const C *a, const C *b, C *y) {
    const uintptr_t py = uintptr_t(y);
    if (((py - uintptr_t(a)) | (py - uintptr_t(b))) % sizeof(C) != 0 &&
        DoneElementwise<C, OpCAdd>(n, a, b, y))
        return;
    // Casts rather than &a->real: an empty call may pass null pointers.
    using R = decltype(C::real);
    PartsAdd(2 * int64_t(n), reinterpret_cast<const R *>(a), reinterpret_cast<const R *>(b),
             reinterpret_cast<R *>(y));
}

// Interleaved-lane kernels (products; the single-precision quotient), kL
// elements (two vectors) a step. Lanes::D / Lanes::F compute a vector of
// results in double lanes, Lanes::BadD / BadF mark the lanes the scalar
// operation must see. A step with such a lane stores nothing and is redone
// element by element by the scalar operation, which gives the same bits
// on the good lanes; inputs are still intact then, so y may equal a or b.
template <class C, class Op, class Lanes> void PairLoop(int32_t n, const C *a, const C *b, C *y) {
    using clanes::V;
    using clanes::VF;
    constexpr int32_t L = clanes::kL;
    if (DoneElementwise<C, Op>(n, a, b, y)) return;
    const auto *pa = &a->real, *pb = &b->real;
    auto *py = &y->real;
    int32_t i = 0;
    for (; i + L <= n; i += L) {
        const int32_t k = 2 * i;
        if constexpr (sizeof(C) == 16) {
            const V r0 = Lanes::D(LoadU<V>(pa + k), LoadU<V>(pb + k));
            const V r1 = Lanes::D(LoadU<V>(pa + k + L), LoadU<V>(pb + k + L));
            if (!Any(Lanes::BadD(r0) | Lanes::BadD(r1))) [[likely]] {
                StoreU(py + k, r0);
                StoreU(py + k + L, r1);
                continue;
            }
        } else {
            auto load = [](const float *p) { return __builtin_convertvector(LoadU<VF>(p), V); };
            const V r0 = Lanes::F(load(pa + k), load(pb + k));
            const V r1 = Lanes::F(load(pa + k + L), load(pb + k + L));
            if (!Any(Lanes::BadF(r0) | Lanes::BadF(r1))) [[likely]] {
                StoreU(py + k, __builtin_convertvector(r0, VF));
                StoreU(py + k + L, __builtin_convertvector(r1, VF));
                continue;
            }
        }
        for (int32_t j = i; j < i + L; ++j) y[j] = ScalarOp<Op>(a[j], b[j]);
    }
    for (; i < n; ++i) y[i] = ScalarOp<Op>(a[i], b[i]);
}

// Double-precision quotient and magnitude: vector main path over whole
// vectors of elements, the scalar operation for the tail and for every
// element of a step with a lane the vector path hands back. The body
// stores only a step it trusts whole, so the inputs of a redone step are
// intact (y may equal a or b); partially overlapping arrays take the
// ordered scalar loop.
template <class Out, class Body, class Redo>
void ZLoop(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, Out *y,
           Body body, Redo redo) {
    using cvec::V;
    constexpr int32_t L = cvec::kL;
    const double *pa = &a->real, *pb = &b->real;
    int32_t i = 0;
    for (; i + L <= n; i += L) {
        V ar, ai, br, bi;
        cvec::LoadSplit(pa + 2 * i, &ar, &ai);
        cvec::LoadSplit(pb + 2 * i, &br, &bi);
        if (body(ar, ai, br, bi, y + i)) [[likely]] continue;
        for (int32_t k = i; k < i + L; ++k) y[k] = redo(a[k], b[k]);
    }
    for (; i < n; ++i) y[i] = redo(a[i], b[i]);
}

template <class Op, class VecBody>
void ZBinary(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y,
             VecBody vec) {
    if (DoneElementwise<VmlComplex16, Op>(n, a, b, y)) return;
    ZLoop(n, a, b, y,
          [vec](cvec::V ar, cvec::V ai, cvec::V br, cvec::V bi, VmlComplex16 *out) {
              cvec::V x, z;
              if (!vec(ar, ai, br, bi, &x, &z)) return false;
              cvec::StoreJoin(&out->real, x, z);
              return true;
          },
          [](VmlComplex16 p, VmlComplex16 q) { return ScalarOp<Op>(p, q); });
}

void ZDiv(int32_t n, const VmlComplex16 *a, const VmlComplex16 *b, VmlComplex16 *y) {
    ZBinary<OpCDiv>(n, a, b, y, cvec::Div);
}

void ZAbs(int32_t n, const VmlComplex16 *a, double *y) {
    if (n <= 0) return;
    if (PartialOverlap(y, size_t(n) * sizeof *y, a, size_t(n) * sizeof *a)) {
        for (int32_t i = 0; i < n; ++i) y[i] = OpCAbs::Apply(a[i]);
        return;
    }
    ZLoop(n, a, a, y,
          [](cvec::V re, cvec::V im, cvec::V, cvec::V, double *out) {
              cvec::V r;
              if (!cvec::Abs(re, im, &r)) return false;
              StoreU(out, r);
              return true;
          },
          [](VmlComplex16 p, VmlComplex16) { return OpCAbs::Apply(p); });
}

// The even and the odd lanes of x (a template, so that only the width in
// use is instantiated).
template <class W, class H> inline void EvenOdd(W x, H *even, H *odd) {
    if constexpr (sizeof(W) == 32) {
        *even = __builtin_shufflevector(x, x, 0, 2, 4, 6);
        *odd = __builtin_shufflevector(x, x, 1, 3, 5, 7);
    } else {
        *even = __builtin_shufflevector(x, x, 0, 2);
        *odd = __builtin_shufflevector(x, x, 1, 3);
    }
}

// Single-precision magnitude in double lanes: squares of floats cannot
// overflow or underflow a double, so no scaling and no scalar repair; an
// infinite part wins over a NaN one by a lane select.
void CAbs(int32_t n, const VmlComplex8 *a, float *y) {
    if (n <= 0) return;
    if (PartialOverlap(y, size_t(n) * sizeof *y, a, size_t(n) * sizeof *a)) {
        for (int32_t i = 0; i < n; ++i) y[i] = OpCAbs::Apply(a[i]);
        return;
    }
    using cvec::V;
    constexpr int32_t L = cvec::kL;
    const V inf = cvec::Splat(__builtin_inf());
    int32_t i = 0;
    // L complex floats are one float vector: its even lanes are the real
    // parts, its odd lanes the imaginary ones, widened to L doubles.
    typedef float Half __attribute__((vector_size(L * 4)));
    for (; i + L <= n; i += L) {
        const VecF x = LoadU<VecF>(&a[i].real);
        Half hre, him;
        EvenOdd(x, &hre, &him);
        const V re = __builtin_convertvector(hre, V), im = __builtin_convertvector(him, V);
        const cvec::U infinite = BitCast<cvec::U>(re * re == inf) | BitCast<cvec::U>(im * im == inf);
        const V r = Select(infinite, inf, cvec::SqrtV(re * re + im * im));
        StoreU(y + i, __builtin_convertvector(r, Half));
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
        UnderControl([=] { if (n > 0) DriveUnary<C, R, Op>(n, a, y); });
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
        UnderControl([&] { if (n > 0) body(); });
    }
}

}  // namespace

// The plain (entry 0) kernels keep the scalar loops; the others run the
// vector bodies through the loops above.
#define VML_CPLAIN(cname, zname, Op)                                          \
    void cname##_plain(int32_t n, const VmlComplex8 *a, const VmlComplex8 *b, \
               VmlComplex8 *y) { PlainBinary<VmlComplex8, Op>(n, a, b, y); } \
    void zname##_plain(int32_t n, const VmlComplex16 *a,                     \
                       const VmlComplex16 *b, VmlComplex16 *y) {             \
        PlainBinary<VmlComplex16, Op>(n, a, b, y); }
// Each export's body (no control-word frame, out of line: the framed
// kernel reaches it by a tail call) and the framed kernel.
#define VML_CBODY(name, C, ...)                                               \
    __attribute__((noinline)) void name##_body(int32_t n, const C *a, const C *b, \
                                                C *y) { __VA_ARGS__(n, a, b, y); } \
    void name(int32_t n, const C *a, const C *b, C *y) { Framed<name##_body>(n, a, b, y); }
#define VML_CVEC(cname, zname, Run)                      \
    VML_CBODY(cname, VmlComplex8, Run<VmlComplex8>)      \
    VML_CBODY(zname, VmlComplex16, Run<VmlComplex16>)

template <class C> void Mul(int32_t n, const C *a, const C *b, C *y) {
    PairLoop<C, OpCMul<false>, clanes::MulLanes<false>>(n, a, b, y);
}
template <class C> void MulByConj(int32_t n, const C *a, const C *b, C *y) {
    PairLoop<C, OpCMul<true>, clanes::MulLanes<true>>(n, a, b, y);
}

VML_CPLAIN(vcAdd, vzAdd, OpCAdd)
VML_CVEC(vcAdd, vzAdd, FlatAdd)
VML_CPLAIN(vcMul, vzMul, OpCMul<false>)
VML_CVEC(vcMul, vzMul, Mul)
VML_CPLAIN(vcMulByConj, vzMulByConj, OpCMul<true>)
VML_CVEC(vcMulByConj, vzMulByConj, MulByConj)
VML_CPLAIN(vcDiv, vzDiv, OpCDiv)
VML_CBODY(vcDiv, VmlComplex8, PairLoop<VmlComplex8, OpCDiv, clanes::DivLanes>)
VML_CBODY(vzDiv, VmlComplex16, ZDiv)

__attribute__((noinline)) void vcAbs_body(int32_t n, const VmlComplex8 *a, float *y) { CAbs(n, a, y); }
__attribute__((noinline)) void vzAbs_body(int32_t n, const VmlComplex16 *a, double *y) { ZAbs(n, a, y); }
void vcAbs(int32_t n, const VmlComplex8 *a, float *y) { Framed<vcAbs_body>(n, a, y); }
void vzAbs(int32_t n, const VmlComplex16 *a, double *y) { Framed<vzAbs_body>(n, a, y); }
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
