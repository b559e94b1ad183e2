/* The two-argument arc-tangent loop: the vector core for finite operands
 * not both zero, a scalar pass for the rest. Nothing is reported. */
#ifndef ORB_VML_KERNELS_ATAN2_LOOP_H
#define ORB_VML_KERNELS_ATAN2_LOOP_H

#include "../roots/kernel_loop.h"
#include "atan2_core.h"
#include "atan2_float.h"

ORB_VMK_BEGIN

/* The evaluation a kernel uses: the double-double core (double, code 2),
 * the plain double one with the long polynomial (double, code 1) or with
 * the short one (single code 2), the select-free short one (double code
 * 3), or float lanes with the long (single code 1) or short polynomial
 * (single code 3). */
enum class AtanPath { Accurate, Plain, Short, Fast, Float, FloatShort };

template <int W, typename T, AtanPath Path>
inline void atan2_loop(int32_t n, const T *a, const T *b, T *y) {
    /* Float: single precision on float lanes at the vector levels, the
     * short double evaluation in the plain loops. */
    if constexpr (Path == AtanPath::Float && W > 1) return atan2_float_loop<W, false>(n, a, b, y);
    if constexpr (Path == AtanPath::FloatShort && W > 1) return atan2_float_loop<W, true>(n, a, b, y);
    for (int32_t i = 0; i < n; i += W) {
        int rem = n - i < W ? n - i : W;
        VD<W> va = load_part<W, T>(a + i, rem), vb = load_part<W, T>(b + i, rem);
        VI<W> special;
        VD<W> r;
        if constexpr (Path == AtanPath::Accurate) {
            special = atan2_special_lanes<W>(va, vb);
            const VD<W> one = splat<W>(1.0);
            r = atan2_main<W>(select<W>(special, one, va), select<W>(special, one, vb));
        } else if constexpr (Path == AtanPath::Fast) {
            r = atan2_fast<W>(va, vb);
            special = (VI<W>)(r != r);
        } else {
            /* The plain quotients come out NaN exactly for the lanes
             * that need the scalar path (a NaN, two zeros, two
             * infinities); one zero or one infinity gives u = 0 and the
             * right angle. */
            r = atan2_plain<W, sizeof(T) == 8, Path != AtanPath::Plain>(va, vb);
            special = (VI<W>)(r != r);
        }
        if (__builtin_expect(any<W>(special), 0)) {
            for (int l = 0; l < W; ++l)
                if (special[l]) r[l] = atan2_special(va[l], vb[l]);
        }
        store_part<W, T>(y + i, r, rem);
    }
}

ORB_VMK_END

#endif
