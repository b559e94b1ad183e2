/* orb_custom public interface: Vector mathematics.
 * Compiles as C99 and as C++.
 *
 * Every function applies one elementwise operation to n elements of
 * contiguous arrays and returns nothing; the outcome is in the output array
 * and in the calling thread's vector-math status word.
 *
 *   n < 0                 -> parameter 1 reported, status -1, nothing written
 *   n == 0                -> returns at once; nothing checked or changed
 *   a required pointer 0  -> its position reported, status -2
 *   exceptional element   -> the special result is written, the element is
 *                            reported with status 1..4 (see VmlErrorContext)
 *                            and processing continues
 *   vsLinearFrac/vdLinearFrac with accuracy code != 3 -> status 1000
 *                            (results are the same in every mode)
 *
 * The status word of a thread is not cleared by a successful call that runs
 * in the calling thread; a call split among threads (n >= 100 and more than
 * one vector-math thread allowed) always ends with the status of that call.
 *
 * Mode word (per thread; the process-wide initial value comes from the
 * environment variable ORB_VML_MODE, a C number such as 0x1A02, else 0x1A02):
 *   bits 0-3   accuracy code 1, 2, 3
 *   bits 8-15  error actions: 0x0100 ignore (exactly), 0x0200 set errno,
 *              0x0400 print, 0x0800 raise the floating-point flag,
 *              0x1000 call the error callback
 *   bits 18-21 denormal control: 0x00280000 flushes subnormal inputs and
 *              results to zero inside the kernels, anything else keeps them
 *
 * Accuracy of the kernels:
 *   Add Sub Mul Div Sqr Abs: the correctly rounded IEEE result in every mode.
 *   Round: nearest integer, halfway cases away from zero.
 *   Div reports status 2 when the divisor is +-0 and the dividend finite
 *   (including 0/0); no report when an operand is infinite or NaN.
 *   Every kernel, the plain level-0 loops and the 32-bit builds included,
 *   computes with SSE2 instructions, which round to the element precision
 *   by themselves: no x87 code runs, so the x87 control word (precision and
 *   rounding fields) is neither read nor changed. Inside a kernel the
 *   rounding mode is round-to-nearest whatever the caller's MXCSR says.
 *   Complex Mul, MulByConj, Div, Abs: within 2 ulp of the exact result in
 *   each component (double-precision Div within 1.5 ulp, cancelling
 *   numerators included) for finite operands, without spurious overflow or
 *   underflow anywhere in the format's range (scaled evaluation). Infinite
 *   and NaN parts follow C99 Annex G: a product or quotient with an infinite
 *   operand part is an infinity even if the other part is NaN; x/0 with
 *   x != 0 is an infinity; finite/infinite is a zero; |z| is +inf if either
 *   part is infinite, else NaN if either part is NaN. Complex functions
 *   never report.
 *   Arrays: an output may be one of the inputs (in place). For the
 *   arithmetic, LinearFrac and the complex functions an output that
 *   overlaps an input without starting at the same address gets the results
 *   of the element-by-element loop in order; for the root, power and
 *   arc-tangent functions such a call is not supported (results are
 *   unspecified).
 *   LinearFrac: (scalea*a+shifta)/(scaleb*b+shiftb); with scaleb == 0 the
 *   division is replaced by a multiplication (may differ in the last bit);
 *   with scalea == 0 the result is shifta/(scaleb*b+shiftb). Never reports.
 */
#ifndef ORB_VML_H
#define ORB_VML_H

#ifdef __cplusplus
extern "C" {
#endif

#define ORB_VML_API

/* Complex elements: real part first. */
typedef struct VmlComplex8 { float real; float imag; } VmlComplex8;
typedef struct VmlComplex16 { double real; double imag; } VmlComplex16;

/* Record passed to the error callback. Single-precision values are widened
 * to double; the *_im fields are filled by the complex functions only. */
typedef struct VmlErrorContext {
    int code;            /* status being reported */
    int index;           /* position of the element in the whole array */
    double arg1;         /* first argument */
    double arg2;         /* second argument (= arg1 for one argument) */
    double res1;         /* first result, as computed */
    double res2;         /* second result (= res1 for one result) */
    char func_name[64];  /* exported function's name */
    int func_name_len;
    int reserved;
    double arg1_im;
    double arg2_im;
    double res1_im;
    double res2_im;
} VmlErrorContext;

/* Non-zero return: handled, no default action, the result arrays keep the
 * computed values. Zero: the (possibly changed) res1/res2 are written back
 * and the default actions of the mode run. Must be reentrant. */
typedef int (*VmlErrorCallback)(VmlErrorContext *context);

#define ORB_VML_UNARY(name, T) ORB_VML_API void name(int n, const T *a, T *y);
#define ORB_VML_BINARY(name, T) \
    ORB_VML_API void name(int n, const T *a, const T *b, T *y);

ORB_VML_BINARY(vsAdd, float)
ORB_VML_BINARY(vdAdd, double)
ORB_VML_BINARY(vsSub, float)
ORB_VML_BINARY(vdSub, double)
ORB_VML_BINARY(vsMul, float)
ORB_VML_BINARY(vdMul, double)
ORB_VML_BINARY(vsDiv, float)
ORB_VML_BINARY(vdDiv, double)
ORB_VML_UNARY(vsSqr, float)
ORB_VML_UNARY(vdSqr, double)
ORB_VML_UNARY(vsAbs, float)
ORB_VML_UNARY(vdAbs, double)
ORB_VML_UNARY(vsRound, float)
ORB_VML_UNARY(vdRound, double)
ORB_VML_UNARY(vsSqrt, float)
ORB_VML_UNARY(vdSqrt, double)
ORB_VML_UNARY(vsCbrt, float)
ORB_VML_UNARY(vdCbrt, double)
ORB_VML_UNARY(vsInvCbrt, float)
ORB_VML_UNARY(vdInvCbrt, double)
ORB_VML_BINARY(vsAtan2, float)
ORB_VML_BINARY(vdAtan2, double)
ORB_VML_BINARY(vcAdd, VmlComplex8)
ORB_VML_BINARY(vzAdd, VmlComplex16)
ORB_VML_BINARY(vcMul, VmlComplex8)
ORB_VML_BINARY(vzMul, VmlComplex16)
ORB_VML_BINARY(vcMulByConj, VmlComplex8)
ORB_VML_BINARY(vzMulByConj, VmlComplex16)
ORB_VML_BINARY(vcDiv, VmlComplex8)
ORB_VML_BINARY(vzDiv, VmlComplex16)

/* y = a^b with a scalar exponent b. */
ORB_VML_API void vsPowx(int n, const float *a, float b, float *y);
ORB_VML_API void vdPowx(int n, const double *a, double b, double *y);
/* y = |a| of complex a. */
ORB_VML_API void vcAbs(int n, const VmlComplex8 *a, float *y);
ORB_VML_API void vzAbs(int n, const VmlComplex16 *a, double *y);
/* y = (scalea*a + shifta) / (scaleb*b + shiftb). */
ORB_VML_API void vsLinearFrac(int n, const float *a, const float *b,
                              float scalea, float shifta, float scaleb,
                              float shiftb, float *y);
ORB_VML_API void vdLinearFrac(int n, const double *a, const double *b,
                              double scalea, double shifta, double scaleb,
                              double shiftb, double *y);

#undef ORB_VML_UNARY
#undef ORB_VML_BINARY
#undef ORB_VML_API

#ifdef __cplusplus
}
#endif

#endif
