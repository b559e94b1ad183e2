// The eight-point split-storage transform with unit strides at AVX2+FMA,
// computed on the parts as they lie: a vector holds four real (or four
// imaginary) parts, so no element is gathered into (re, im) pairs. One
// radix-2 step across the two halves, the twiddles per lane, and a
// four-point transform along the lanes of each result, whose outputs come
// out in an order that two in-lane unpacks turn into natural order.
#ifndef ORB_DFT_SPLIT1D_SPLIT_EIGHT_SOA_H
#define ORB_DFT_SPLIT1D_SPLIT_EIGHT_SOA_H

#if defined(__AVX2__) && defined(__FMA__)
#include <immintrin.h>

namespace orb::dft::ORB_KNS {

// Four-point transforms along the lanes of (vr, vi), results in lane
// order 0, 2, 1, 3: the first step pairs lanes j and j + 2 across the
// halves, the second pairs neighbours, lanes 2-3 taking their partner from
// the other part (the multiply by +-i).
template <int S>
__attribute__((always_inline)) inline void LaneFour(__m256d vr, __m256d vi, __m256d &xr, __m256d &xi) {
    const __m256d halves = _mm256_setr_pd(1, 1, -1, -1);
    const __m256d sign_r = _mm256_setr_pd(1, -1, -S, S), sign_i = _mm256_setr_pd(1, -1, S, -S);
    const __m256d tr = _mm256_fmadd_pd(vr, halves, _mm256_permute2f128_pd(vr, vr, 1));
    const __m256d ti = _mm256_fmadd_pd(vi, halves, _mm256_permute2f128_pd(vi, vi, 1));
    const __m256d hr = _mm256_permute_pd(tr, 0xf), hi = _mm256_permute_pd(ti, 0xf);
    xr = _mm256_fmadd_pd(_mm256_blend_pd(hr, hi, 0xc), sign_r, _mm256_movedup_pd(tr));
    xi = _mm256_fmadd_pd(_mm256_blend_pd(hi, hr, 0xc), sign_i, _mm256_movedup_pd(ti));
}

// All inputs are loaded before the first store, so any overlap of the
// four arrays (in place included) is safe.
template <int S>
inline void SplitEightSoa(const double *in_re, const double *in_im, double *out_re, double *out_im,
                          double scale) {
    const __m256d x0r = _mm256_loadu_pd(in_re), x1r = _mm256_loadu_pd(in_re + 4);
    const __m256d x0i = _mm256_loadu_pd(in_im), x1i = _mm256_loadu_pd(in_im + 4);
    const double h = 0.70710678118654752440;  // w8^c for lanes c = 0..3
    const __m256d wr = _mm256_setr_pd(1, h, 0, -h), wi = _mm256_setr_pd(0, S * h, S, S * h);
    const __m256d dr = _mm256_sub_pd(x0r, x1r), di = _mm256_sub_pd(x0i, x1i);
    __m256d er, ei, odd_r, odd_i;  // outputs 0 4 2 6 and 1 5 3 7
    LaneFour<S>(_mm256_add_pd(x0r, x1r), _mm256_add_pd(x0i, x1i), er, ei);
    LaneFour<S>(_mm256_fmsub_pd(dr, wr, _mm256_mul_pd(di, wi)), _mm256_fmadd_pd(dr, wi, _mm256_mul_pd(di, wr)),
                odd_r, odd_i);
    __m256d lo_r = _mm256_unpacklo_pd(er, odd_r), hi_r = _mm256_unpackhi_pd(er, odd_r);
    __m256d lo_i = _mm256_unpacklo_pd(ei, odd_i), hi_i = _mm256_unpackhi_pd(ei, odd_i);
    if (scale != 1.0) {
        const __m256d s = _mm256_set1_pd(scale);
        lo_r = _mm256_mul_pd(lo_r, s), hi_r = _mm256_mul_pd(hi_r, s);
        lo_i = _mm256_mul_pd(lo_i, s), hi_i = _mm256_mul_pd(hi_i, s);
    }
    _mm256_storeu_pd(out_re, lo_r), _mm256_storeu_pd(out_re + 4, hi_r);
    _mm256_storeu_pd(out_im, lo_i), _mm256_storeu_pd(out_im + 4, hi_i);
}

}  // namespace orb::dft::ORB_KNS

#endif
#endif
