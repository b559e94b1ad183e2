// Plain loops compiled with -O3 for the AVX2 set (the memory-bound limit of
// the arithmetic exports) and std::complex loops (the complex peers).
#include "plain_loops.h"

#include <cmath>
#include <complex>

namespace peer {

template <class T> void Add(int n, const T *a, const T *b, T *y) { for (int i = 0; i < n; ++i) y[i] = a[i] + b[i]; }
template <class T> void Sub(int n, const T *a, const T *b, T *y) { for (int i = 0; i < n; ++i) y[i] = a[i] - b[i]; }
template <class T> void Mul(int n, const T *a, const T *b, T *y) { for (int i = 0; i < n; ++i) y[i] = a[i] * b[i]; }
template <class T> void Div(int n, const T *a, const T *b, T *y) { for (int i = 0; i < n; ++i) y[i] = a[i] / b[i]; }
template <class T> void Sqr(int n, const T *a, T *y) { for (int i = 0; i < n; ++i) y[i] = a[i] * a[i]; }
template <class T> void Abs(int n, const T *a, T *y) { for (int i = 0; i < n; ++i) y[i] = std::fabs(a[i]); }
template <class T> void Round(int n, const T *a, T *y) { for (int i = 0; i < n; ++i) y[i] = std::round(a[i]); }

template <class C> struct Std;
template <> struct Std<VmlComplex8> { using T = std::complex<float>; };
template <> struct Std<VmlComplex16> { using T = std::complex<double>; };

template <class C> void CMul(int n, const C *a, const C *b, C *y) {
    using S = typename Std<C>::T;
    const S *x = reinterpret_cast<const S *>(a), *z = reinterpret_cast<const S *>(b);
    S *o = reinterpret_cast<S *>(y);
    for (int i = 0; i < n; ++i) o[i] = x[i] * z[i];
}
template <class C> void CMulByConj(int n, const C *a, const C *b, C *y) {
    using S = typename Std<C>::T;
    const S *x = reinterpret_cast<const S *>(a), *z = reinterpret_cast<const S *>(b);
    S *o = reinterpret_cast<S *>(y);
    for (int i = 0; i < n; ++i) o[i] = x[i] * std::conj(z[i]);
}
template <class C> void CAdd(int n, const C *a, const C *b, C *y) {
    using S = typename Std<C>::T;
    const S *x = reinterpret_cast<const S *>(a), *z = reinterpret_cast<const S *>(b);
    S *o = reinterpret_cast<S *>(y);
    for (int i = 0; i < n; ++i) o[i] = x[i] + z[i];
}
template <class C> void CDiv(int n, const C *a, const C *b, C *y) {
    using S = typename Std<C>::T;
    const S *x = reinterpret_cast<const S *>(a), *z = reinterpret_cast<const S *>(b);
    S *o = reinterpret_cast<S *>(y);
    for (int i = 0; i < n; ++i) o[i] = x[i] / z[i];
}
template <class C, class R> void CAbs(int n, const C *a, R *y) {
    using S = typename Std<C>::T;
    const S *x = reinterpret_cast<const S *>(a);
    for (int i = 0; i < n; ++i) y[i] = std::abs(x[i]);
}

#define INST(T)                                                         \
    template void Add<T>(int, const T *, const T *, T *);               \
    template void Sub<T>(int, const T *, const T *, T *);               \
    template void Mul<T>(int, const T *, const T *, T *);               \
    template void Div<T>(int, const T *, const T *, T *);               \
    template void Sqr<T>(int, const T *, T *);                          \
    template void Abs<T>(int, const T *, T *);                          \
    template void Round<T>(int, const T *, T *);
INST(float)
INST(double)
template void CMul<VmlComplex8>(int, const VmlComplex8 *, const VmlComplex8 *, VmlComplex8 *);
template void CMul<VmlComplex16>(int, const VmlComplex16 *, const VmlComplex16 *, VmlComplex16 *);
template void CMulByConj<VmlComplex8>(int, const VmlComplex8 *, const VmlComplex8 *, VmlComplex8 *);
template void CMulByConj<VmlComplex16>(int, const VmlComplex16 *, const VmlComplex16 *, VmlComplex16 *);
template void CAdd<VmlComplex8>(int, const VmlComplex8 *, const VmlComplex8 *, VmlComplex8 *);
template void CAdd<VmlComplex16>(int, const VmlComplex16 *, const VmlComplex16 *, VmlComplex16 *);
template void CDiv<VmlComplex8>(int, const VmlComplex8 *, const VmlComplex8 *, VmlComplex8 *);
template void CDiv<VmlComplex16>(int, const VmlComplex16 *, const VmlComplex16 *, VmlComplex16 *);
template void CAbs<VmlComplex8, float>(int, const VmlComplex8 *, float *);
template void CAbs<VmlComplex16, double>(int, const VmlComplex16 *, double *);

}  // namespace peer
