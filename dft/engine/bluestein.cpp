// Bluestein's algorithm for a length n without a faster path: with the
// chirp c[j] = exp(sign pi i j^2 / n), X[k] = c[k] sum_j (x[j] c[j])
// conj(c[k-j]), a convolution run cyclically on m >= n points through two
// FFTs of length m against a filter transformed at plan time.
//
// m below 2n-1 is allowed: the filter is laid out for the lags
// -(n-1) .. m-n, so outputs k <= m-n come out exact and only the K = 2n-1-m
// outputs above wrap around. For those, the products that wrapped
// (x[j] c[j] times conj c at lag k-j-m instead of k-j, j < k-(m-n)) are
// corrected afterwards: K(K+1)/2 multiply-adds, which lets a length just
// above a power of two run on it where the next smooth length above 2n-1
// costs more (269 -> 512 with K = 25 rather than 540).
#include <stdint.h>
#include <string.h>

#include "dft/engine/blocked_conv.h"
#include "dft/engine/engine_memory.h"
#include "dft/engine/fft1d.h"
#include "dft/engine/filter_transform.h"
#include "dft/engine/power_table.h"

namespace orb::dft {

namespace {

// Cost of one complex multiply-add of the fix-up, in the units of the FFT
// estimate below (one point of one stage pass).
constexpr double kFixWeight = 3.0;

// Convolution length for n (elements of elem_bytes): the 2^a 3^b 5^c in
// [n, the power of two >= 2n-1] of least estimated cost, two FFTs at m
// times their stage passes each (times 8/7 off the powers of two) plus the
// fix-up of the K = 2n-1-m wrapped outputs. The passes are the plain
// stages' even where a two- or three-pass kernel runs (counting those as
// two or three put 1367 and 2087 single on 4096 points, 1.4x slower).
// Against the measured times of the candidates (AVX2+FMA, both
// precisions) it picks the fastest or one within 5% of it for 269 (512
// points, K = 25), 971 (2048), 1367 (2880 double, 2700 single), 2087
// (4320), 4099 (8640) and 4170 (8640), and 320 (K = 13) for 167, where
// 384 was fastest; a model by m log2 m took 324, 1944, 4096 and 8192
// there, 1.2-1.8x slower for 167, 971 and 2087. Lengths that run in three
// passes (blocked_conv.h) count kBlockedWeight of that: 65539 on 131072
// points took 0.78 of the two FFTs' time.
constexpr double kBlockedWeight = 0.78;

template <class T>
int64_t BluesteinLength(int64_t n, const StageKernels &kern) {
    const int elem_bytes = int(sizeof(Cx<T>));
    int64_t top = 1;
    while (top < 2 * n - 1) top *= 2;
    int64_t best = top;
    double best_cost = 1e300;
    for (int64_t p5 = 1; p5 <= top; p5 *= 5)
        for (int64_t p3 = p5; p3 <= top; p3 *= 3)
            for (int64_t v = p3; v <= top; v *= 2) {
                if (v < n) continue;
                const bool pow2 = (v & (v - 1)) == 0;
                const double k = v < 2 * n - 1 ? double(2 * n - 1 - v) : 0.0;
                const double ffts = 2.0 * double(v) * StagePasses(v, elem_bytes) * (pow2 ? 1.0 : 8.0 / 7.0);
                const double cost = ffts * (BlockedConv<T>::Suits(v, kern) ? kBlockedWeight : 1.0) +
                                    kFixWeight * k * (k + 1) / 2;
                if (cost < best_cost) best = v, best_cost = cost;
            }
    return best;
}

}  // namespace

template <class T>
bool Fft1D<T>::BuildBluestein() {
    blue_ = true;
    const int64_t n = n_, m = BluesteinLength<T>(n, *kern_);
    m_ = m;
    const bool blocked = BlockedConv<T>::Suits(m, *kern_);
    // With the three passes, fwd_ only transforms the filter: plain stages.
    fwd_ = Create(m, -1, *kern_, lone_row_ && !blocked);
    bwd_ = blocked ? nullptr : Create(m, +1, *kern_, lone_row_);
    chirp_ = MemArray<Cx<T>>(n);
    filter_ = MemArray<Cx<T>>(m);
    if (!fwd_ || !(bwd_ || blocked) || !chirp_ || !filter_) return false;
    if (m < 2 * n - 1) {
        wrap_k_ = 2 * n - 1 - m;
        wrap_ = MemArray<Cx<double>>(wrap_k_);
        if (!wrap_) return false;
    }
    const bool ok = TransformFilter(fwd_, m, *kern_, 1.0 / double(m), filter_, [&](Cx<double> *b) {
        PowerTable power;
        if (!power.Init(2 * n, sign_)) return false;
        // Lag l >= 0 at b[l] (l <= m-n), lag -l at b[m-l]; lags beyond
        // n-1 (only when m >= 2n) are never used. j^2 mod 2n by exact
        // integer steps ((j+1)^2 = j^2 + 2j + 1).
        memset(static_cast<void *>(b), 0, size_t(m) * sizeof(Cx<double>));
        for (int64_t j = 0, j2 = 0; j < n; j2 = (j2 + 2 * j + 1) % (2 * n), ++j) {
            const Cx<long double> c = power.GetReduced<long double>(j2);
            chirp_[j] = {T(c.re), T(c.im)};
            const Cx<double> h = {double(c.re), -double(c.im)};
            if (j <= m - n) b[j] = h;
            if (j > 0) b[m - j] = h;
        }
        // conj(c[l]) - conj(c[m-l]) for the wrapped lags, from the exact
        // table (both indices below n).
        for (int64_t t = 0; t < wrap_k_; ++t) {
            const int64_t l = m - n + 1 + t;
            const Cx<long double> u = power.GetReduced<long double>(l * l % (2 * n));
            const Cx<long double> v = power.GetReduced<long double>((m - l) * (m - l) % (2 * n));
            wrap_[wrap_k_ - 1 - t] = {double(u.re - v.re), double(v.im - u.im)};
        }
        return true;
    });
    return ok && (!blocked || AdoptBlockedConv());
}

namespace {

// Scratch for WrapSums at the first double-aligned address from `at`.
Cx<double> *WrapScratch(void *at) {
    const uintptr_t a = (reinterpret_cast<uintptr_t>(at) + alignof(Cx<double>) - 1) & ~uintptr_t(alignof(Cx<double>) - 1);
    return reinterpret_cast<Cx<double> *>(a);
}

}  // namespace

// The products x[j] c[j] that wrapped (j <= q for output m-n+1+q) times
// g_(q-j). Both arrays run forward, the products are formed once, and the
// sums are in double.
template <class T>
void Fft1D<T>::WrapSums(const Cx<T> *in, Cx<double> *xc, Cx<double> *corr) const {
    const int64_t wk = wrap_k_;
    const Cx<T> *c = chirp_;
    for (int64_t j = 0; j < wk; ++j)
        xc[j] = {double(in[j].re) * c[j].re - double(in[j].im) * c[j].im,
                 double(in[j].re) * c[j].im + double(in[j].im) * c[j].re};
    for (int64_t q = 0; q < wk; ++q) {
        const Cx<double> *g = wrap_ + (wk - 1 - q);
        double re = 0, im = 0;
        for (int64_t j = 0; j <= q; ++j) {
            re += xc[j].re * g[j].re - xc[j].im * g[j].im;
            im += xc[j].re * g[j].im + xc[j].im * g[j].re;
        }
        corr[q] = {re, im};
    }
}

template <class T>
void Fft1D<T>::ExecBluestein(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    if (conv_) {
        ExecBluesteinBlocked(in, out, work, scale, nthreads);
        return;
    }
    const int64_t n = n_, m = m_;
    const Cx<T> *c = chirp_;
    // Both FFTs run in place in `a`, as Rader's do: one array less for the
    // caches to hold (double 65539, 100003 and 262147 took 0.73-0.95 of
    // the time of FFTs from a into a second array and back, shorter rows
    // and single precision 0.96-1.0).
    Cx<T> *a = work, *w = work + m;
    kern_->PointMul(in, c, a, n, T(1));
    memset(static_cast<void *>(a + n), 0, size_t(m - n) * sizeof(Cx<T>));
    fwd_->Exec(a, a, w, T(1), nthreads);
    kern_->PointMul(a, filter_, a, m, T(1));
    bwd_->Exec(a, a, w, T(1), nthreads);
    // The wrapped outputs k = m-n+1+q (in is still intact: out is written
    // last).
    const int64_t wk = wrap_k_;
    if (wk > 0) {
        Cx<double> *xc = WrapScratch(w), *corr = xc + wk;
        WrapSums(in, xc, corr);
        for (int64_t q = 0; q < wk; ++q) a[m - n + 1 + q].re += T(corr[q].re), a[m - n + 1 + q].im += T(corr[q].im);
    }
    kern_->PointMul(a, c, out, n, scale);
}

template <class T>
void Fft1D<T>::ExecBluesteinBlocked(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t n = n_, m = m_, wk = wrap_k_, first_wrapped = m - n + 1;
    const Cx<T> *c = chirp_;
    const BlockedConv<T> *conv = conv_;
    Cx<T> *mid = work, *own = work + conv->ArrayElems();
    // The wrapped outputs' sums first: `out` may alias `in`.
    Cx<double> *xc = WrapScratch(own + conv->MemberElems()), *corr = xc + wk;
    if (wk > 0) WrapSums(in, xc, corr);
    Cx<T> bin0;
    conv->Run(
        mid, own, nthreads, T(1), &bin0,
        [&](int64_t, int64_t s) {
            if (s >= n) return Cx<T>{};
            return Cx<T>{in[s].re * c[s].re - in[s].im * c[s].im, in[s].re * c[s].im + in[s].im * c[s].re};
        },
        [=](int id, int nth) {
            const int64_t lo = n * id / nth, hi = n * (id + 1) / nth;
            for (int64_t k = lo; k < hi; ++k) {
                Cx<T> y = mid[conv->Slot(k)];
                if (k >= first_wrapped) y.re += T(corr[k - first_wrapped].re), y.im += T(corr[k - first_wrapped].im);
                out[k] = {(y.re * c[k].re - y.im * c[k].im) * scale, (y.re * c[k].im + y.im * c[k].re) * scale};
            }
        });
}

template bool Fft1D<float>::BuildBluestein();
template bool Fft1D<double>::BuildBluestein();
template void Fft1D<float>::WrapSums(const Cx<float> *, Cx<double> *, Cx<double> *) const;
template void Fft1D<double>::WrapSums(const Cx<double> *, Cx<double> *, Cx<double> *) const;
template void Fft1D<float>::ExecBluesteinBlocked(const Cx<float> *, Cx<float> *, Cx<float> *, float, int) const;
template void Fft1D<double>::ExecBluesteinBlocked(const Cx<double> *, Cx<double> *, Cx<double> *, double, int) const;
template void Fft1D<float>::ExecBluestein(const Cx<float> *, Cx<float> *, Cx<float> *, float, int) const;
template void Fft1D<double>::ExecBluestein(const Cx<double> *, Cx<double> *, Cx<double> *, double, int) const;

}  // namespace orb::dft
