// Rader's algorithm for a prime length p whose p-1 factors into the
// butterfly radices. With g a primitive root mod p, inputs x[g^q] and
// outputs X[g^-r] are related by a cyclic convolution of length p-1:
//   X[g^-r] = x[0] + sum_q x[g^q] w^(g^(r-q)),   w = exp(sign 2 pi i / p),
// run as two FFTs of length p-1 against a kernel transformed at plan time,
// or, where the convolution's array outgrows the second-level cache, as
// three passes over it (blocked_conv.h).
#include <stdint.h>

#include "dft/engine/blocked_conv.h"
#include "dft/engine/engine_memory.h"
#include "dft/engine/fft1d.h"
#include "dft/engine/filter_transform.h"
#include "dft/engine/power_table.h"
#include "dft/engine/primitive_root.h"

namespace orb::dft {

template <class T>
bool Fft1D<T>::BuildRader() {
    rader_ = true;
    const int64_t p = n_, m = p - 1;
    m_ = m;
    const bool blocked = BlockedConv<T>::Suits(m, *kern_);
    // With the three passes, fwd_ only transforms the filter: plain stages.
    fwd_ = Create(m, -1, *kern_, lone_row_ && !blocked);
    bwd_ = blocked ? nullptr : Create(m, +1, *kern_, lone_row_);
    perm_ = MemArray<int32_t>(m);
    iperm_ = MemArray<int32_t>(m);
    filter_ = MemArray<Cx<T>>(m);
    if (!fwd_ || !(bwd_ || blocked) || !perm_ || !iperm_ || !filter_) return false;
    // perm_[k] = g^k mod p. Slot k of the convolution is the output
    // g^-k = g^(m-k) = perm_[(m-k) mod m]; the outputs are gathered from
    // the slots rather than scattered to them, as random writes measured
    // twice the cost of random reads.
    const int64_t g = PrimitiveRoot(p);
    for (int64_t k = 0, v = 1; k < m; ++k, v = v * g % p) perm_[k] = int32_t(v);
    for (int64_t k = 0; k < m; ++k) iperm_[perm_[k] - 1] = int32_t(k == 0 ? 0 : m - k);
    // Kernel b[s] = w^(g^-s), transformed in double precision whatever T is,
    // with the 1/(p-1) of the inverse folded in.
    const bool ok = TransformFilter(fwd_, m, *kern_, 1.0 / double(m), filter_, [&](Cx<double> *b) {
        PowerTable power;
        if (!power.Init(p, sign_)) return false;
        for (int64_t s = 0; s < m; ++s) b[s] = power.GetReduced<double>(perm_[s == 0 ? 0 : m - s]);
        return true;
    });
    if (!ok || !blocked) return ok;
    // Both index tables then name positions in the convolution's array: the
    // outputs' slots, and the inputs in the order the gather reads them.
    int32_t *order = AdoptBlockedConv() ? MemArray<int32_t>(conv_->ArrayElems()) : nullptr;
    if (!order) return false;
    for (int64_t j = 0; j < m; ++j) iperm_[j] = int32_t(conv_->Slot(iperm_[j]));
    for (int64_t s = 0; s < m; ++s) order[conv_->Slot(s)] = perm_[s];
    MemFree(perm_);
    perm_ = order;
    return true;
}

template <class T>
void Fft1D<T>::ExecRaderBlocked(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    const int64_t m = m_;
    const int32_t *perm = perm_, *iperm = iperm_;
    // Everything is read from `in` before `out` is written (they may alias).
    const Cx<T> x0 = in[0];
    Cx<T> sum{};
    Cx<T> *mid = work;
    // x[0] joins every output.
    const Cx<T> x0s = {x0.re * scale, x0.im * scale};
    conv_->Run(
        mid, work + conv_->ArrayElems(), nthreads, scale, &sum, [&](int64_t at, int64_t) { return in[perm[at]]; },
        [=](int id, int nth) {
            const int64_t lo = m * id / nth, hi = m * (id + 1) / nth;
            for (int64_t j = lo; j < hi; ++j) out[j + 1] = {mid[iperm[j]].re + x0s.re, mid[iperm[j]].im + x0s.im};
        });
    // Bin 0 is the sum of x[1..p-1].
    out[0] = {(x0.re + sum.re) * scale, (x0.im + sum.im) * scale};
}

template <class T>
void Fft1D<T>::ExecRader(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    if (conv_) {
        ExecRaderBlocked(in, out, work, scale, nthreads);
        return;
    }
    const int64_t m = m_;
    const int32_t *perm = perm_;
    // Both FFTs run in place in `a`: one array less for the caches to hold.
    Cx<T> *a = work, *w = work + m;
    // Everything is read from `in` before `out` is written (they may alias).
    const Cx<T> x0 = in[0];
    for (int64_t k = 0; k < m; ++k) a[k] = in[perm[k]];
    fwd_->Exec(a, a, w, T(1), nthreads);
    // a[0] is the sum of x[1..p-1]. Adding x[0] to every output of the
    // unnormalised inverse is adding it to bin 0 of its input.
    const Cx<T> sum = a[0];
    kern_->PointMul(a, filter_, a, m, T(1));
    a[0].re += x0.re, a[0].im += x0.im;
    bwd_->Exec(a, a, w, scale, nthreads);
    out[0] = {(x0.re + sum.re) * scale, (x0.im + sum.im) * scale};
    const int32_t *iperm = iperm_;
    for (int64_t j = 0; j < m; ++j) out[j + 1] = a[iperm[j]];
}

template bool Fft1D<float>::BuildRader();
template bool Fft1D<double>::BuildRader();
template void Fft1D<float>::ExecRaderBlocked(const Cx<float> *, Cx<float> *, Cx<float> *, float, int) const;
template void Fft1D<double>::ExecRaderBlocked(const Cx<double> *, Cx<double> *, Cx<double> *, double, int) const;
template void Fft1D<float>::ExecRader(const Cx<float> *, Cx<float> *, Cx<float> *, float, int) const;
template void Fft1D<double>::ExecRader(const Cx<double> *, Cx<double> *, Cx<double> *, double, int) const;

}  // namespace orb::dft
