// Peers of the vector-math benchmark: plain loops the compiler vectorizes
// for the AVX2 set, and straightforward std::complex loops.
#ifndef ORB_BENCH_VML_PLAIN_LOOPS_H
#define ORB_BENCH_VML_PLAIN_LOOPS_H

#include "orb_vml.h"

namespace peer {
template <class T> void Add(int n, const T *a, const T *b, T *y);
template <class T> void Sub(int n, const T *a, const T *b, T *y);
template <class T> void Mul(int n, const T *a, const T *b, T *y);
template <class T> void Div(int n, const T *a, const T *b, T *y);
template <class T> void Sqr(int n, const T *a, T *y);
template <class T> void Abs(int n, const T *a, T *y);
template <class T> void Round(int n, const T *a, T *y);
template <class C> void CMul(int n, const C *a, const C *b, C *y);
template <class C> void CMulByConj(int n, const C *a, const C *b, C *y);
template <class C> void CAdd(int n, const C *a, const C *b, C *y);
template <class C> void CDiv(int n, const C *a, const C *b, C *y);
template <class C, class R> void CAbs(int n, const C *a, R *y);
}  // namespace peer

#endif
