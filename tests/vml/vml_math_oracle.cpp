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

double UlpError(const ExactValue &x, double got, bool single) {
    const double bad = 1e300;
    const int prec = single ? 24 : 53;
    const int emin = single ? -126 : -1022;
    if (std::isnan(x.hi)) return std::isnan(got) ? 0.0 : bad;
    if (std::isnan(got)) return bad;
    if (std::isinf(x.rounded) || std::isinf(got))
        return got == x.rounded ? 0.0 : bad;
    if (x.hi == 0.0)
        return (got == 0.0 && std::signbit(got) == std::signbit(x.hi)) ? 0.0 : bad;
    if (got == 0.0 || std::signbit(got) != std::signbit(x.hi)) {
        // Underflow to zero is right only when the exact value rounds to it.
        if (x.rounded == 0.0 && got == 0.0) return 0.0;
    }
    int e = x.scale < emin ? emin : x.scale;  // exponent of the ulp's binade
    long double diff = (std::ldexp((long double)got, -x.scale) - x.hi) - x.lo;
    return (double)std::fabs(std::ldexp(diff, prec - 1 - e + x.scale));
}

}  // namespace orb::test
