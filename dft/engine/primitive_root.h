// Modular powers and the smallest primitive root of a prime: the index
// maps of Rader's convolutions, complex and real.
#ifndef ORB_DFT_ENGINE_PRIMITIVE_ROOT_H
#define ORB_DFT_ENGINE_PRIMITIVE_ROOT_H

#include <stdint.h>

namespace orb::dft {

// b^e mod p for p < 2^31 (products fit in 64 bits).
inline int64_t PowMod(int64_t b, int64_t e, int64_t p) {
    int64_t r = 1;
    b %= p;
    for (; e > 0; e >>= 1) {
        if (e & 1) r = r * b % p;
        b = b * b % p;
    }
    return r;
}

// Smallest primitive root of the prime p < 2^31.
inline int64_t PrimitiveRoot(int64_t p) {
    int64_t q[32];
    int nq = 0;
    int64_t m = p - 1;
    for (int64_t d = 2; m > 1; ++d) {
        if (d * d > m) d = m;
        if (m % d == 0) {
            q[nq++] = d;
            while (m % d == 0) m /= d;
        }
    }
    for (int64_t g = 2;; ++g) {
        bool ok = true;
        for (int i = 0; i < nq && ok; ++i) ok = PowMod(g, (p - 1) / q[i], p) != 1;
        if (ok) return g;
    }
}

}  // namespace orb::dft

#endif
