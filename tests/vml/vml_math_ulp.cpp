// Error of a computed result against the oracle's exact value, in units of
// the last place of the element type (shared by both oracles).
#include <cmath>

#include "vml_math_oracle.h"

namespace orb::test {

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
