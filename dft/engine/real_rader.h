// Rader's convolution for the real transforms of a prime length p (p-1 =
// 2h factoring into the butterflies), with g^h = -1 mod p.
// Forward: the convolution's input a[q] = x[g^q] is real, so its spectrum
// comes from a real FFT of length p-1; its output c obeys c[s+h] =
// conj(c[s]) (the spectrum of real data is conjugate-even), so only
// c[0..h) is needed: its real part, of period h, is the real inverse
// transform of length h of the product's even bins, its imaginary part
// the real inverse transform of length p-1 of the odd bins alone.
// Backward, the transpose: the input a[q] = X[g^q] obeys a[q+h] =
// conj(a[q]), so the even bins of its spectrum are the real transform of
// length h of Re a[0..h), the odd bins that of length p-1 of Im a; the
// output is real, one real inverse transform of length p-1.
// Three real FFTs, about 1.25 complex FFTs of length p-1, in place of two.
#ifndef ORB_DFT_ENGINE_REAL_RADER_H
#define ORB_DFT_ENGINE_REAL_RADER_H

#include <stdint.h>

#include "dft/engine/fft1d.h"

namespace orb::dft {

template <class T>
class RealRader {
public:
    // Null on allocation failure; p must satisfy RealRaderFits. sign -1:
    // Forward only; +1: Backward only.
    static RealRader *Create(int64_t p, int sign, const StageKernels &kern, const RealKernels &rkern,
                             bool lone_row);
    RealRader() = default;  // made by Create only
    ~RealRader();

    int64_t WorkElems() const;
    // out[k] = scale * sum_j in[j] exp(-2 pi i jk / p), k = 0..(p-1)/2.
    // in may alias out (read first).
    void Forward(const T *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const;
    // out[j] = scale * sum_k X[k] exp(2 pi i jk / p) over the
    // conjugate-even X whose bins 0..(p-1)/2 are in (the imaginary part of
    // in[0] ignored); in may alias out.
    void Backward(const Cx<T> *in, T *out, Cx<T> *work, T scale, int nthreads) const;

private:
    int64_t p_ = 0, h_ = 0;
    RealFft1D<T> *fwd_ = nullptr;   // length 2h, forward
    RealFft1D<T> *bwd_ = nullptr;   // length 2h, backward
    RealFft1D<T> *half_ = nullptr;  // length h, backward (Forward) or forward (Backward)
    // Forward: g^q mod p, q < 2h. Backward: for q < h, the bin g^q or, plus
    // p, the bin p - g^q whose conjugate is X[g^q].
    int32_t *perm_ = nullptr;
    // Forward, for output k = 1..h: the slot s of c with X[k] = x[0] +
    // c[s] (s >= h: the conjugate of x[0] + c[s-h]). Backward, for output
    // j = 1..p-1: the slot of c it takes.
    int32_t *slot_ = nullptr;
    // DFT of b[s] = w^(g^-s) over 2h with w = exp(sign 2 pi i / p), over
    // 2h; bins 0..h.
    Cx<T> *filter_ = nullptr;
};

}  // namespace orb::dft

#endif
