// Quad-precision oracle of the root, power and arc-tangent tests, for
// targets without MPFR (the Windows and 32-bit builds): libquadmath's
// 113-bit functions, about 2^-112 relative, well below the ulp of a double.
#include <quadmath.h>

#include "vml_math_oracle.h"

namespace orb::test {

ExactValue Reference(MathFn fn, double a, double b, bool single) {
    const __float128 x = a, y = b;
    __float128 v = 0;
    switch (fn) {
    case MathFn::Sqrt: v = sqrtq(x); break;
    case MathFn::Cbrt: v = cbrtq(x); break;
    case MathFn::InvCbrt: v = 1 / cbrtq(x); break;
    case MathFn::Pow: v = powq(x, y); break;
    case MathFn::Atan2: v = atan2q(x, y); break;
    }
    ExactValue r;
    r.hi = double(v);
    r.lo = 0.0;
    r.scale = 0;
    if (finiteq(v) && v != 0) {
        // Normalise first, so that tiny and huge values keep all their bits.
        int e = 0;
        frexpq(v, &e);
        r.scale = e - 1;
        const __float128 n = ldexpq(v, -r.scale);
        r.hi = double(n);
        r.lo = double(n - r.hi);
    }
    r.rounded = single ? double(float(v)) : double(v);
    return r;
}

}  // namespace orb::test
