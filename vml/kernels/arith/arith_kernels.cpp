// Real arithmetic kernels, compiled once per instruction-set level. The
// loop shape is the shared frame; the compiler vectorizes the blocked main
// loop with the level's instruction set. The *_plain kernels (table entry
// 0, reachable only by the level override) are single loops without
// control-state handling.
#include "vml/kernels/arith/arith_kernels.h"
#include "vml/kernels/arith/arith_ops.h"
#include "vml/kernels/kernel_frame.h"

namespace ORB_KNS {
namespace {

template <class T, class Op>
void Binary(int32_t n, const T *a, const T *b, T *y) {
    vml::ControlGuard guard;
    if (n <= 0) return;
    vml::DriveBinary<T, Op>(n, a, b, y);
}
template <class T, class Op> void Unary(int32_t n, const T *a, T *y) {
    vml::ControlGuard guard;
    if (n <= 0) return;
    vml::DriveUnary<T, T, Op>(n, a, y);
}
template <class T, class Op>
void BinaryPlain(int32_t n, const T *a, const T *b, T *y) {
    for (int32_t i = 0; i < n; ++i) {
        const T x = a[i], z = b[i];
        y[i] = Op::Apply(x, z);
        if constexpr (Op::kReports)
            if (Op::Flag(x, z)) Op::Report(i, a, b, y);
    }
}
template <class T, class Op> void UnaryPlain(int32_t n, const T *a, T *y) {
    for (int32_t i = 0; i < n; ++i) y[i] = Op::Apply(a[i]);
}

}  // namespace

#define VML_BIN(sname, dname, Op, PlainOp)                                  \
    void sname(int32_t n, const float *a, const float *b, float *y) {      \
        Binary<float, Op>(n, a, b, y); }                                    \
    void dname(int32_t n, const double *a, const double *b, double *y) {   \
        Binary<double, Op>(n, a, b, y); }                                   \
    void sname##_plain(int32_t n, const float *a, const float *b,          \
                       float *y) { BinaryPlain<float, PlainOp>(n, a, b, y); } \
    void dname##_plain(int32_t n, const double *a, const double *b,        \
                       double *y) { BinaryPlain<double, PlainOp>(n, a, b, y); }
#define VML_UN(sname, dname, Op, PlainOp)                                   \
    void sname(int32_t n, const float *a, float *y) {                      \
        Unary<float, Op>(n, a, y); }                                        \
    void dname(int32_t n, const double *a, double *y) {                    \
        Unary<double, Op>(n, a, y); }                                       \
    void sname##_plain(int32_t n, const float *a, float *y) {              \
        UnaryPlain<float, PlainOp>(n, a, y); }                              \
    void dname##_plain(int32_t n, const double *a, double *y) {            \
        UnaryPlain<double, PlainOp>(n, a, y); }

using namespace vml;
VML_BIN(vsAdd, vdAdd, OpAdd, OpAdd)
VML_BIN(vsSub, vdSub, OpSub, OpSub)
VML_BIN(vsMul, vdMul, OpMul, OpMul)
VML_BIN(vsDiv, vdDiv, OpDiv, OpDiv)
VML_UN(vsSqr, vdSqr, OpSqr, OpSqr)
VML_UN(vsAbs, vdAbs, OpAbs, OpAbsPlain)
VML_UN(vsRound, vdRound, OpRound, OpRound)

}  // namespace ORB_KNS
