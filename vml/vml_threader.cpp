// The twelve threaders and the dynamic thread count of vector math.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <omp.h>
#include <type_traits>

#include "service/serv.h"
#include "service/threads.h"
#include "vml/vml_tables.h"
#include "vml/vml_threader.h"

namespace {

template <class A> A Advance(A arg, int32_t off) {
    if constexpr (std::is_pointer_v<A>) return arg + off;
    else return arg;
}

template <class A, class... R> const void *FirstArray(A a, R...) {
    return static_cast<const void *>(a);
}

// The team part, kept out of line: a function holding a parallel region
// asks the runtime for its thread number on entry, which the serial path
// must not pay.
template <class K, class... A>
__attribute__((noinline)) void RunTeam(K kernel, int32_t n, int32_t t,
                                       A... args) {
    const VmlErrorCallback callback = ServVmlGetCallback();
    const uint32_t mode = ServVmlGetMode();
    const void *base = FirstArray(args...);
    int32_t shared_status = 0;
#pragma omp parallel num_threads(t)
    {
        ServVmlSetCallback(callback);
        ServThreadStateGet()->vml_mode = mode;  // the caller's word, whole
        ServVmlSetArgBase(base);
        ServVmlSetStatus(0);
        int32_t first, count;
        orb::vml::ChunkOf(n, omp_get_thread_num(), omp_get_num_threads(),
                          &first, &count);
        if (count > 0) kernel(count, Advance(args, first)...);
        const int32_t status = ServVmlGetStatus();
        // Last non-zero writer wins; read after the region's barrier.
        if (status != 0) __atomic_store_n(&shared_status, status, __ATOMIC_RELAXED);
    }
    ServVmlSetArgBase(nullptr);
    ServVmlSetStatus(shared_status);
}

template <class K, class... A>
inline void Run(K kernel, int32_t n, float cost, A... args) {
    // Decided before asking for the thread count, which costs more than a
    // short kernel.
    if (orb::vml::RunsSerial(n, cost)) {
        kernel(n, args...);
        return;
    }
    int32_t t = ServDomainThreads(ServDomainVml);
    if (t > 1 && orb::Dynamic() != 0) ServVmlThreadCount(&t, n, cost);
    if (t <= 1) {
        kernel(n, args...);
        return;
    }
    RunTeam(kernel, n, t, args...);
}

}  // namespace

namespace orb::vml {

std::atomic<float> g_factor{std::numeric_limits<float>::quiet_NaN()};
std::atomic<int32_t> g_serial_below{0};

float FirstProcessFactor() {
    int32_t p = 1, k = 1, s = 0;
    ServTopologyCounts(&p, &k, &s);
    const float f = MachineFactor(p, k, s);
    g_serial_below.store(SerialBound(f, MaxTableCost()), std::memory_order_relaxed);
    g_factor.store(f, std::memory_order_release);
    return f;
}

float MaxTableCost() {
    float m = 0.0f;
#define ORB_MAX_COST(name, type) \
    for (float c : vml_costs_##name) m = std::max(m, c);
    VML_FOR_EACH_EXPORT(ORB_MAX_COST)
#undef ORB_MAX_COST
    return m;
}

int32_t SerialBound(float factor, float max_cost) {
    const double w = double(factor) * double(max_cost);
    if (!(w >= 0.0)) return 0;
    constexpr double kLimit = double(std::numeric_limits<int32_t>::max());
    // The rule's product rounds three times (n to float, two products), by
    // under 2^-23 each in any rounding mode: a 2^-18 margin covers them and
    // this division's rounding.
    const double bound = (1.0 - 0x1p-18) / w;
    return w == 0.0 || bound >= kLimit ? int32_t(kLimit) : int32_t(bound);
}

float MachineFactor(int32_t p, int32_t k, int32_t t) {
    const int32_t n = p * k * (t + 1);
    if (n <= 1) return 0.0f;
    const double a = double((p - 1) * (n / p)) / double(n - 1);
    const double b = double((k - 1) * (t + 1)) / double(n - 1);
    const double h = double(t) / double(n - 1);
    return float(2.0 / (9000.0 * a + 60000.0 * b + 500000.0 * h));
}

}  // namespace orb::vml

extern "C" int32_t ServVmlThreadCount(int32_t *t, int32_t n, float c) {
    const float work = float(n) * c * orb::vml::ProcessFactor();
    int32_t count = int32_t(std::nearbyint(work));
    if (count == 0) count = 1;
    if (count > *t) count = *t;
    *t = count;
    return count;
}

#define ORB_THREADER(name, K, PARAMS, ARGS)                                \
    extern "C" void name(K k, int32_t n, PARAMS, float cost, int32_t) {   \
        Run(k, n, cost, ARGS);                                             \
    }
#define P(...) __VA_ARGS__

ORB_THREADER(orb_vml_serv_threader_s_1i_1o, VmlUnaryKernelS,
             P(const float *a, float *y), P(a, y))
ORB_THREADER(orb_vml_serv_threader_d_1i_1o, VmlUnaryKernelD,
             P(const double *a, double *y), P(a, y))
ORB_THREADER(orb_vml_serv_threader_s_2i_1o, VmlBinaryKernelS,
             P(const float *a, const float *b, float *y), P(a, b, y))
ORB_THREADER(orb_vml_serv_threader_d_2i_1o, VmlBinaryKernelD,
             P(const double *a, const double *b, double *y), P(a, b, y))
ORB_THREADER(orb_vml_serv_threader_c_2i_1o, VmlBinaryKernelC,
             P(const VmlComplex8 *a, const VmlComplex8 *b, VmlComplex8 *y),
             P(a, b, y))
ORB_THREADER(orb_vml_serv_threader_z_2i_1o, VmlBinaryKernelZ,
             P(const VmlComplex16 *a, const VmlComplex16 *b,
               VmlComplex16 *y),
             P(a, b, y))
ORB_THREADER(orb_vml_serv_threader_s_cs_2i_s_1o, VmlPowxKernelS,
             P(const float *a, float b, float *y), P(a, b, y))
ORB_THREADER(orb_vml_serv_threader_d_cd_2i_d_1o, VmlPowxKernelD,
             P(const double *a, double b, double *y), P(a, b, y))
ORB_THREADER(orb_vml_serv_threader_c_1i_s_1o, VmlAbsKernelC,
             P(const VmlComplex8 *a, float *y), P(a, y))
ORB_THREADER(orb_vml_serv_threader_z_1i_d_1o, VmlAbsKernelZ,
             P(const VmlComplex16 *a, double *y), P(a, y))
ORB_THREADER(orb_vml_serv_threader_s_6i_1o, VmlLinearFracKernelS,
             P(const float *a, const float *b, float sa, float ta, float sb,
               float tb, float *y),
             P(a, b, sa, ta, sb, tb, y))
ORB_THREADER(orb_vml_serv_threader_d_6i_1o, VmlLinearFracKernelD,
             P(const double *a, const double *b, double sa, double ta,
               double sb, double tb, double *y),
             P(a, b, sa, ta, sb, tb, y))
