// Copy driver: short copies go straight to the serial kernel; long ones
// may be split among the BLAS domain's threads, depending on the
// microarchitecture code and the increments.
#include <cpuid.h>
#include <omp.h>

#include <atomic>
#include <cstdlib>

#include "blas1/blas1.h"
#include "service/platform.h"
#include "service/serv.h"

namespace orb::blas1 {
namespace {

std::atomic<int32_t> g_microarch_code{-1};

bool HasAes() {
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
    return (c >> 25) & 1;
}

int32_t DebugMicroarch() {
    char buf[64];
    uint32_t n = plat::GetEnv("ORB_DEBUG_CPU_MA", buf, sizeof buf);
    return (n == 0 || n >= sizeof buf) ? 0 : std::atoi(buf);
}

template <typename T>
void CopyDriver(const int32_t *n, const T *x, const int32_t *incx, T *y, const int32_t *incy,
                DispatchSlot<CopyFn<T>> &slot) {
    if (*n > kCopySerialLimit) {
        const int32_t code = MicroarchCode();
        const int32_t threads = ServDomainThreads(ServDomainBlas);
        if (threads > 1 && CopySplits(code, *incx, *incy)) {
            CopyThreaded(slot.Resolve(), *n, x, *incx, y, *incy, threads);
            return;
        }
    }
    slot(n, x, incx, y, incy);
}

// Share [lo, lo + count) of a strided vector of n elements.
template <typename T>
T *ShareStart(T *p, int64_t n, int64_t inc, int64_t lo, int64_t count) {
    if (inc >= 0) return p + lo * inc;
    return p + (n - lo - count) * -inc;  // element i sits at (n - 1 - i) * |inc|
}

}  // namespace

int32_t DecideMicroarchCode(bool varel, int32_t cbwr_mode, int32_t cpu_level, bool sse41,
                            bool aes, int32_t debug_ma) {
    const bool unset_or_auto = cbwr_mode == CbwrUnset || cbwr_mode == CbwrAuto;
    if ((!varel && unset_or_auto) || cbwr_mode == CbwrCompatible) return 0;
    switch (cpu_level) {
        case 4:
            return ((sse41 && unset_or_auto) || cbwr_mode >= CbwrSse41) ? 33 : 32;
        case 5:
            if (debug_ma == 64 || debug_ma == 66) return debug_ma;
            return (aes && cbwr_mode == CbwrUnset) ? 66 : 64;
        case 6:
            return 128;
        default:
            return 0;
    }
}

int32_t MicroarchCode() {
    int32_t code = g_microarch_code.load(std::memory_order_relaxed);
    if (code != -1) return code;
    const int32_t level = ServGetCpuLevel();
    code = DecideMicroarchCode(ServIsGenuineVarel() != 0, ServGetCbwrMode(1), level,
                               ServHasSse41() != 0, HasAes(), level == 5 ? DebugMicroarch() : 0);
    g_microarch_code.store(code, std::memory_order_relaxed);
    return code;
}

bool CopySplits(int32_t code, int32_t incx, int32_t incy) {
    if (incy == 0) return false;
    switch (code) {
        case 32: case 33: return true;
        case 64: case 66: case 128: return incx != 0;
        default: return false;
    }
}

template <typename T>
void CopyThreaded(CopyFn<T> kernel, int32_t n, const T *x, int32_t incx, T *y, int32_t incy,
                  int32_t threads) {
#pragma omp parallel num_threads(threads)
    {
        const int64_t team = omp_get_num_threads();
        const int64_t me = omp_get_thread_num();
        const int64_t base = n / team, extra = n % team;
        const int64_t lo = me * base + (me < extra ? me : extra);
        const int32_t count = int32_t(base + (me < extra ? 1 : 0));
        if (count > 0)
            kernel(&count, ShareStart(x, n, incx, lo, count), &incx,
                   ShareStart(y, n, incy, lo, count), &incy);
    }
}

template void CopyThreaded<double>(CopyFn<double>, int32_t, const double *, int32_t, double *,
                                   int32_t, int32_t);
template void CopyThreaded<float>(CopyFn<float>, int32_t, const float *, int32_t, float *,
                                  int32_t, int32_t);

void Dcopy(const int32_t *n, const double *x, const int32_t *incx, double *y, const int32_t *incy) {
    CopyDriver(n, x, incx, y, incy, DcopySlot());
}
void Scopy(const int32_t *n, const float *x, const int32_t *incx, float *y, const int32_t *incy) {
    CopyDriver(n, x, incx, y, incy, ScopySlot());
}

}  // namespace orb::blas1
