// The general planner's out-of-cache test: whether a transform's working
// set outgrows the caches, with allowances for lengths whose factors the
// kernels handle in cache-friendly passes.
#include "dft/dfti_descriptor.h"

namespace orb::dft {

namespace {

int64_t Strip(int64_t b, const int *factors, int count) {
    for (int i = 0; i < count; ++i)
        while (b % factors[i] == 0) b /= factors[i];
    return b;
}

}  // namespace

bool DftiIsLargeProblem(const DftiDescriptor *d, int64_t c1, int64_t c2) {
    if (c1 < 32768) c1 = 32768;
    if (c2 < 1048576) c2 = 1048576;
    const int64_t n = d->work_n;
    int64_t b = 16 * n;  // bytes of one complex double row
    if (d->work_rank <= 1) {
        // Decided on the n-by-n square a length-n transform factors into.
        // n * b > c2, without the product (n may reach 2^31 - 1).
        if (b > c2 / n) return true;
    } else {
        for (int32_t i = 1; i < d->work_rank; ++i) {
            const int64_t len = d->work_dims.rows[i].n;
            if (b > c2 / len) return true;
            b *= len;
        }
    }
    if (b < c1) return false;
    if (b < 2 * c1) {
        static const int f[] = {2, 3, 5, 7, 9, 11};
        if (Strip(b, f, 6) < 11) return false;
    }
    if (b < 3 * c1) {
        static const int f[] = {2, 3, 5};
        if (Strip(b, f, 3) < 5) return false;
    }
    if (b >= 4 * c1) return true;
    static const int f[] = {2, 3};
    return Strip(b, f, 2) != 1;
}

}  // namespace orb::dft
