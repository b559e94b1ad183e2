// Rader's convolution on real input (real_rader.h): the plan's tables and
// the forward transform.
#include "dft/engine/real_rader.h"

#include <algorithm>

#include "dft/engine/engine_memory.h"
#include "dft/engine/filter_transform.h"
#include "dft/engine/power_table.h"
#include "dft/engine/primitive_root.h"

namespace orb::dft {

template <class T>
RealRader<T> *RealRader<T>::Create(int64_t p, int sign, const StageKernels &kern, const RealKernels &rkern,
                                   bool lone_row) {
    RealRader *r = MemNew<RealRader>();
    if (!r) return nullptr;
    const int64_t m = p - 1, h = m / 2;
    r->p_ = p, r->h_ = h;
    r->fwd_ = RealFft1D<T>::Create(m, -1, kern, rkern, lone_row);
    r->bwd_ = RealFft1D<T>::Create(m, +1, kern, rkern, lone_row);
    r->half_ = RealFft1D<T>::Create(h, -sign, kern, rkern, lone_row);
    r->perm_ = MemArray<int32_t>(m);
    r->slot_ = MemArray<int32_t>(m);
    // The filter's transform writes all m bins; bins 0..h are used.
    r->filter_ = MemArray<Cx<T>>(m);
    // Its complex FFT of length m serves only the plan (double plans; a
    // single plan's filter is transformed by a double FFT of its own).
    Fft1D<T> *tf = sizeof(T) == 8 ? Fft1D<T>::Create(m, -1, kern) : nullptr;
    bool ok = r->fwd_ && r->bwd_ && r->half_ && r->perm_ && r->slot_ && r->filter_ && (tf || sizeof(T) != 8);
    if (ok) {
        const int64_t g = PrimitiveRoot(p);
        int32_t *pow = r->perm_;
        for (int64_t q = 0, v = 1; q < m; ++q, v = v * g % p) pow[q] = int32_t(v);
        // Slot s of the convolution is the output g^-s = pow[(m - s) mod m].
        for (int64_t s = 0; s < m; ++s) {
            const int64_t k = pow[s == 0 ? 0 : m - s];
            if (sign > 0) r->slot_[k - 1] = int32_t(s);
            else if (k <= h) r->slot_[k - 1] = int32_t(s);  // s >= h: the conjugate of slot s-h
        }
        // Kernel b[s] = w^(g^-s), transformed with the inverse's 1/m folded in.
        ok = TransformFilter(tf, m, kern, 1.0 / double(m), r->filter_, [&](Cx<double> *b) {
            PowerTable power;
            if (!power.Init(p, sign)) return false;
            for (int64_t s = 0; s < m; ++s) b[s] = power.GetReduced<double>(pow[s == 0 ? 0 : m - s]);
            return true;
        });
        // The backward gather reads the stored half of the spectrum: bin
        // g^q, or the conjugate of bin p - g^q, stored plus p.
        if (sign > 0)
            for (int64_t q = 0; q < h; ++q) pow[q] = pow[q] <= h ? pow[q] : int32_t(2 * p - pow[q]);
    }
    if (tf) MemDelete(tf);
    if (!ok) {
        MemDelete(r);
        return nullptr;
    }
    return r;
}

template <class T>
RealRader<T>::~RealRader() {
    if (fwd_) MemDelete(fwd_);
    if (bwd_) MemDelete(bwd_);
    if (half_) MemDelete(half_);
    MemFree(perm_);
    MemFree(slot_);
    MemFree(filter_);
}

// Scratch: two arrays of h+1 complex elements (the real FFTs' inputs and
// outputs, in place), then the real FFTs' own.
template <class T>
int64_t RealRader<T>::WorkElems() const {
    return 2 * h_ + 2 + std::max({fwd_->WorkElems(), bwd_->WorkElems(), half_->WorkElems()});
}

template <class T>
void RealRader<T>::Forward(const T *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t h = h_, m = 2 * h;
    Cx<T> *lo = work, *bins = work + h + 1, *fw = work + 2 * h + 2;
    T *a = reinterpret_cast<T *>(lo);
    // Everything is read from `in` before `out` is written (they may alias).
    const T x0 = in[0];
    for (int64_t q = 0; q < m; ++q) a[q] = in[perm_[q]];
    fwd_->Forward(a, bins, fw, T(1), nthreads);
    // bins[0] is the sum of x[1..p-1].
    const T sum = bins[0].re;
    // Even bins C[2j] = A[2j] B[2j] (j <= h/2) into lo; the odd ones, as
    // -i C[k], in place in bins with the even ones zeroed.
    const Cx<T> *f = filter_;
    for (int64_t k = 0; k <= h; ++k) {
        const Cx<T> x = bins[k], b = f[k];
        const Cx<T> c = {x.re * b.re - x.im * b.im, x.re * b.im + x.im * b.re};
        if (k % 2 == 0) {
            lo[k / 2] = c;
            bins[k] = {T(0), T(0)};
        } else {
            bins[k] = {c.im, -c.re};
        }
    }
    T *t = reinterpret_cast<T *>(lo), *u = reinterpret_cast<T *>(bins);
    half_->Backward(lo, t, fw, T(1), nthreads);
    bwd_->Backward(bins, u, fw, T(1), nthreads);
    const T x0s = x0 * scale;
    for (int64_t k = 1; k <= h; ++k) {
        const int32_t s = slot_[k - 1];
        const int64_t at = s < h ? s : s - h;
        const T im = s < h ? u[at] : -u[at];
        out[k] = {t[at] * scale + x0s, im * scale};
    }
    out[0] = {(x0 + sum) * scale, T(0)};
}

template <class T>
void RealRader<T>::Backward(const Cx<T> *in, T *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t p = p_, h = h_;
    Cx<T> *lo = work, *bins = work + h + 1, *fw = work + 2 * h + 2;
    T *re = reinterpret_cast<T *>(lo), *im = reinterpret_cast<T *>(bins);
    // a[q] = X[g^q] = re[q] + i im[q]; a[q+h] = conj(a[q]).
    const T x0 = in[0].re;
    T sum = 0;
    for (int64_t q = 0; q < h; ++q) {
        const int32_t k = perm_[q];
        const Cx<T> v = k <= h ? in[k] : Cx<T>{in[k - p].re, -in[k - p].im};
        re[q] = v.re, im[q] = v.im, im[q + h] = -v.im;
        sum += v.re;
    }
    // Even bins A[2j] = 2 RFFT_h(re)[j], odd bins A[k] = i RFFT_m(im)[k].
    half_->Forward(re, lo, fw, T(1), nthreads);
    fwd_->Forward(im, bins, fw, T(1), nthreads);
    const Cx<T> *f = filter_;
    for (int64_t k = 0; k <= h; ++k) {
        const Cx<T> x = k % 2 == 0 ? Cx<T>{2 * lo[k / 2].re, 2 * lo[k / 2].im} : Cx<T>{-bins[k].im, bins[k].re};
        const Cx<T> b = f[k];
        bins[k] = {x.re * b.re - x.im * b.im, x.re * b.im + x.im * b.re};
    }
    T *c = reinterpret_cast<T *>(bins);
    bwd_->Backward(bins, c, fw, T(1), nthreads);
    // x[0] + sum over the conjugate pairs of bins 1..p-1.
    out[0] = (x0 + 2 * sum) * scale;
    const T x0s = x0 * scale;
    for (int64_t j = 1; j < p; ++j) out[j] = c[slot_[j - 1]] * scale + x0s;
}

template class RealRader<float>;
template class RealRader<double>;

}  // namespace orb::dft
