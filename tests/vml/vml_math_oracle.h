// Oracle of the root, power and arc-tangent tests: the exact value of
// a function as a double-double, and the error of a computed result in
// units of the last place of the element type.
#ifndef ORB_TESTS_VML_MATH_ORACLE_H
#define ORB_TESTS_VML_MATH_ORACLE_H

#include <cmath>

namespace orb::test {

enum class MathFn { Sqrt, Cbrt, InvCbrt, Pow, Atan2 };

struct ExactValue {
    double hi, lo;    // exact = (hi + lo) 2^scale to about 2^-106, hi in [1, 2)
                      // (hi carries the special values, with scale 0)
    int scale;
    double rounded;   // exact rounded to the element type, widened
};

// a and b are element values (b: exponent of Pow, x of Atan2).
ExactValue Reference(MathFn fn, double a, double b, bool single);

// |got - exact| in ulps of the element type; 0 for a matching special
// value (NaN, signed zero, infinity or correct overflow), 1e300 otherwise.
inline double UlpError(const ExactValue &x, double got, bool single) {
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

#endif
