#!/usr/bin/env python3
"""Polynomial coefficients of the root and arc-tangent kernels (the power
kernels, code 3 included, use Taylor coefficients and the tables of
pow_tables.py).

Each kernel polynomial is a Chebyshev-node fit (mpmath.chebyfit, 60-digit
working precision) of a smooth, non-vanishing auxiliary function, which is
within a small factor of the minimax polynomial of the same degree; the
coefficients are then rounded to double. The script prints the C++
initialisers and the measured maximum relative error of the rounded
polynomial on a dense grid, so a change of degree can be checked at once.

    python3 tools/accuracy/fit_coefficients.py
"""
import mpmath as mp

mp.mp.dps = 60


def fit(name, f, a, b, degree, var):
    coeffs, err = mp.chebyfit(f, [a, b], degree + 1, error=True)
    dbl = [float(c) for c in coeffs]          # highest power first
    worst = mp.mpf(0)
    for i in range(2001):
        x = a + (b - a) * mp.mpf(i) / 2000
        p = mp.mpf(0)
        for c in dbl:
            p = p * x + mp.mpf(c)
        fx = f(x)
        worst = max(worst, abs((p - fx) / fx))
    print(f"// {name}: degree {degree} in {var} on [{mp.nstr(a, 6)}, {mp.nstr(b, 6)}],"
          f" max rel error 2^{mp.nstr(mp.log(worst, 2), 4)}")
    print("{" + ", ".join(repr(c) for c in reversed(dbl)) + "}  // lowest power first\n")


def cbrt(m):
    return mp.cbrt(m)


def atan_tail(z):     # atan(u) = u + u^3 P(u^2)
    if z == 0:
        return -mp.mpf(1) / 3
    u = mp.sqrt(z)
    return (mp.atan(u) - u) / u**3


fit("cbrt seed", cbrt, mp.mpf(1), mp.mpf(2), 7, "m")
fit("inverse cbrt seed (single, widened)", lambda m: 1 / mp.cbrt(m), mp.mpf(1), mp.mpf(2), 5, "m")
fit("atan tail P", atan_tail, mp.mpf(0), (mp.sqrt(2) - 1)**2, 10, "z = u^2")
fit("atan tail P, double code 3", atan_tail, mp.mpf(0), (mp.sqrt(2) - 1)**2, 4, "z = u^2")
print("ln2 hi/lo, pi parts:")
ln2 = mp.log(2)
hi = float(mp.mpf(int(ln2 * 2**42)) / 2**42)
print(repr(hi), repr(float(ln2 - hi)))
for k, nm in ((1, "pi/4"), (2, "pi/2"), (3, "3pi/4"), (4, "pi")):
    v = mp.pi * k / 4
    h = float(v)
    print(nm, repr(h), repr(float(v - h)))
