// MPFR oracle of the root, power and arc-tangent tests (192-bit values).
#include "vml_math_oracle.h"

#include <mpfr.h>

#include <cmath>

namespace orb::test {

ExactValue Reference(MathFn fn, double a, double b, bool single) {
    mpfr_t v, x, y;
    mpfr_inits2(192, v, x, y, (mpfr_ptr)0);
    mpfr_set_d(x, a, MPFR_RNDN);
    mpfr_set_d(y, b, MPFR_RNDN);
    switch (fn) {
    case MathFn::Sqrt: mpfr_sqrt(v, x, MPFR_RNDN); break;
    case MathFn::Cbrt: mpfr_cbrt(v, x, MPFR_RNDN); break;
    case MathFn::InvCbrt:
        mpfr_cbrt(v, x, MPFR_RNDN);
        mpfr_ui_div(v, 1, v, MPFR_RNDN);
        break;
    case MathFn::Pow: mpfr_pow(v, x, y, MPFR_RNDN); break;
    case MathFn::Atan2: mpfr_atan2(v, x, y, MPFR_RNDN); break;
    }
    ExactValue r;
    r.hi = mpfr_get_d(v, MPFR_RNDN);
    r.lo = 0.0;
    r.scale = 0;
    if (mpfr_regular_p(v)) {
        // Normalise first, so that tiny and huge values keep all their bits.
        r.scale = static_cast<int>(mpfr_get_exp(v)) - 1;
        mpfr_mul_2si(x, v, -r.scale, MPFR_RNDN);
        r.hi = mpfr_get_d(x, MPFR_RNDN);
        mpfr_sub_d(x, x, r.hi, MPFR_RNDN);
        r.lo = mpfr_get_d(x, MPFR_RNDN);
    }
    r.rounded = single ? (double)mpfr_get_flt(v, MPFR_RNDN) : mpfr_get_d(v, MPFR_RNDN);
    mpfr_clears(v, x, y, (mpfr_ptr)0);
    return r;
}

}  // namespace orb::test
