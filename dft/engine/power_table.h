// Exact tables of the powers of a root of unity, shared by the twiddle
// set-up of the stages and the convolution kernels of Rader and Bluestein.
#ifndef ORB_DFT_ENGINE_POWER_TABLE_H
#define ORB_DFT_ENGINE_POWER_TABLE_H

#include <stdint.h>

#include "dft/engine/engine_memory.h"
#include "dft/engine/fft1d.h"

namespace orb::dft {

// Powers of w_n = exp(sign 2 pi i / n) as w^(hi S) * w^lo with S a power
// of two near sqrt(n): two small tables of long double values computed
// directly from sin/cos, one long double product per power (relative error
// near 1e-19, far below the working precision), no recurrences, and planning
// costs about 2 sqrt(n) sine/cosine evaluations.
class PowerTable {
public:
    bool Init(int64_t n, int sign) {
        n_ = n, sign_ = sign;
        while ((int64_t(1) << shift_) * (int64_t(1) << shift_) < n) ++shift_;
        const int64_t s = int64_t(1) << shift_, nh = (n + s - 1) / s;
        lo_ = MemArray<Cx<long double>>(s);
        hi_ = MemArray<Cx<long double>>(nh);
        if (!lo_ || !hi_) return false;
        for (int64_t j = 0; j < s; ++j) lo_[j] = Root<long double>(1, j, n_);
        for (int64_t j = 0; j < nh; ++j) hi_[j] = Root<long double>(1, j * s, n_);
        return true;
    }
    ~PowerTable() {
        MemFree(lo_);
        MemFree(hi_);
    }

    template <class T>
    Cx<T> Get(int64_t j) const {
        j %= n_;
        return GetReduced<T>(j);
    }
    // j already in [0, n).
    template <class T>
    Cx<T> GetReduced(int64_t j) const {
        const Cx<long double> a = hi_[j >> shift_], b = lo_[j & ((int64_t(1) << shift_) - 1)];
        const long double c = a.re * b.re - a.im * b.im, sn = a.re * b.im + a.im * b.re;
        return {T(c), T(sign_ * sn)};
    }

private:
    int64_t n_ = 1;
    int shift_ = 0;
    int sign_ = -1;
    Cx<long double> *lo_ = nullptr, *hi_ = nullptr;
};

}  // namespace orb::dft

#endif
