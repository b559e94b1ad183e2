/* The power-by-scalar loop: the vector core for regular operands, a scalar
 * pass for zero, infinite and NaN bases, and the reports (1 for a negative
 * base with a non-integer exponent, 2 for a zero base with a negative
 * exponent, 3 for an overflow from finite operands). */
#ifndef ORB_VML_KERNELS_POW_LOOP_H
#define ORB_VML_KERNELS_POW_LOOP_H

#include "../roots/kernel_loop.h"
#include "pow_core.h"
#include "pow_float.h"

ORB_VMK_BEGIN

/* The handler reads the second argument as b2[i]; the exponent is one
 * scalar, so hand it a base pointer that makes b2[i] that scalar. */
template <typename T> inline const T *scalar_as_array(const T *b, int32_t i) {
    return reinterpret_cast<const T *>(reinterpret_cast<uintptr_t>(b) -
                                       static_cast<uintptr_t>(i) * sizeof(T));
}

/* Elements [from, to) through the double-lane core (Fast: pow_fast),
 * indices of the reports relative to a. */
template <int W, typename T, bool Fast>
inline void powx_range(int32_t from, int32_t to, const T *a, const T &b, T *y,
                       const PowExponent &pe, const char *name) {
    const double bd = b;
    /* Results of at least this magnitude are infinite once stored as T. */
    const double inf_from = sizeof(T) == 4 ? 0x1.ffffffp127 : kInf;
    for (int32_t i = from; i < to; i += W) {
        int rem = to - i < W ? to - i : W;
        VD<W> va = load_part<W, T>(a + i, rem);
        VI<W> special = (VI<W>)(va == 0.0) | ~(VI<W>)(vabs<W>(va) < kInf);
        Out<W> o = pow_main<W, sizeof(T) == 4 && !Fast, Fast>(select<W>(special, splat<W>(1.0), va), pe);
        VI<W> over = (VI<W>)(vabs<W>(o.r) >= inf_from);
        store_part<W, T>(y + i, o.r, rem);
        if (__builtin_expect(!any<W>(special | o.report | over), 1)) continue;
        for (int l = 0; l < rem; ++l) {
            int code = 0;
            if (special[l])
                y[i + l] = static_cast<T>(pow_special(va[l], pe, bd, &code));
            else if (o.report[l])
                code = 1;
            else if (over[l])
                code = 3;
            if (code) report(code, i + l, a, scalar_as_array(&b, i + l), y, name);
        }
    }
}

/* Fast: the code-3 flavour (pow_fast on double lanes; single precision on
 * float lanes at the vector levels, blocks with a lane outside its range
 * going through the accurate single core). */
template <int W, typename T, bool Fast = false>
inline void powx_loop(int32_t n, const T *a, T b, T *y, const char *name) {
    const double bd = b;
    const PowExponent pe = pow_exponent(bd);
    if (!pe.regular) {
        for (int32_t i = 0; i < n; ++i) {
            int code;
            y[i] = static_cast<T>(pow_special(a[i], pe, bd, &code));
            if (code) report(code, i, a, scalar_as_array(&b, i), y, name);
        }
        return;
    }
    if constexpr (Fast && sizeof(T) == 4 && W > 1) {
        constexpr int F = W >= 4 ? 8 : 4;
        using P = FloatPow<F>;
        const float bf = static_cast<float>(pe.b);
        int32_t i = 0;
        for (; i + F <= n; i += F) {
            typename P::V v;
            memcpy(&v, a + i, sizeof v);
            typename P::V r;
            if (__builtin_expect(P::eval(v, bf, pe, r), 1))
                memcpy(y + i, &r, sizeof r);
            else
                powx_range<W, T, false>(i, i + F, a, b, y, pe, name);
        }
        if (i < n) powx_range<W, T, false>(i, n, a, b, y, pe, name);
        return;
    }
    powx_range<W, T, Fast>(0, n, a, b, y, pe, name);
}

ORB_VMK_END

#endif
