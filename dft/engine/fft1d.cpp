// Planning and running of the one-dimensional complex and real transforms:
// factorisation into butterfly radices, twiddle tables, the choice between
// Rader (rader.cpp) and Bluestein (bluestein.cpp), and the even-length
// real pre/post passes.
#include "dft/engine/fft1d.h"

#include <math.h>
#include <omp.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <span>

#include "dft/dfti_descriptor.h"
#include "dft/engine/blocked_conv.h"
#include "dft/engine/engine_memory.h"
#include "dft/engine/power_table.h"
#include "dft/engine/real_rader.h"
#include "dft/engine/team_run.h"

namespace orb::dft {

template <class T>
Cx<T> Root(int sign, int64_t num, int64_t den) {
    num %= den;
    if (num < 0) num += den;
    // Reduce to the first half turn with exact integer arithmetic.
    bool flip = false;
    if (2 * num > den) num = den - num, flip = true;  // conjugate
    const long double pi = 3.141592653589793238462643383279502884L;
    long double c, s;
    if (4 * num <= den) {
        const long double a = 2 * pi * (long double)num / (long double)den;
        c = cosl(a), s = sinl(a);
    } else {
        // angle = pi - b: cos = -cos b, sin = sin b
        const long double b = 2 * pi * (long double)(den - 2 * num) / (long double)(2 * den);
        c = -cosl(b), s = sinl(b);
    }
    if (flip) s = -s;
    return {T(c), T(sign * s)};
}

namespace {

// Radix-2^e2 stages: radix 8, the remainder as 4,4 or 4 or 2.
int PowerOfTwoRadices(int e2, int *radix) {
    int k = 0;
    if (e2 % 3 == 1 && e2 >= 4) radix[k++] = 4, radix[k++] = 4, e2 -= 4;
    if (e2 % 3 == 2) radix[k++] = 4, e2 -= 2;
    while (e2 >= 3) radix[k++] = 8, e2 -= 3;
    if (e2 == 1) radix[k++] = 2;
    return k;
}

// Data beyond the first-level cache pays a pass over memory per stage, so
// the 3s and 5s take factors of two with them (12, 10, 6): 10000 runs as
// four radix-10 stages instead of six, 2^10 3^5 as five radix-12 stages
// instead of nine (measured 1.3-1.7x and 1.5x faster). 20 and 25 spill and
// lost. `quad` asks for a first radix that is a multiple of 4 (four
// complex floats a vector: its outputs then transpose in registers), a
// radix-8 stage when no 12 forms. Returns the count.
int CombinedRadices(int e2, int e3, int e5, bool quad, int *radix) {
    int k = 0;
    if (quad && !(e3 > 0 && e2 >= 2) && e2 >= 2) {
        const int b = e2 >= 3 ? 3 : 2;
        radix[k++] = 1 << b, e2 -= b;
    }
    for (; e3 > 0 && e2 >= 2; --e3, e2 -= 2) radix[k++] = 12;
    for (; e5 > 0 && e2 >= 1; --e5, --e2) radix[k++] = 10;
    for (; e3 > 0 && e2 >= 1; --e3, --e2) radix[k++] = 6;
    k += PowerOfTwoRadices(e2, radix + k);
    for (; e3 > 0; --e3) radix[k++] = 3;
    for (; e5 > 0; --e5) radix[k++] = 5;
    return k;
}

// Data up to this size stays in the first-level cache, where fewer stages
// measured no faster (1000 as 10,10,10 against 8,5,5,5) unless the plain
// order starts with a radix the vector's lanes do not divide: single 2700
// as 12,5,5,3,3 took 0.58-0.66 of the time of 5,5,4,3,3,3, single 1500 and
// 900 (12 first) 0.62-0.68, 450 (10,5,3,3) 0.69-0.85, double 900 and 1500
// 0.74-0.84 (AVX2+FMA; AVX and the SSE2-class build 0.60-0.97).
constexpr int64_t kCombineMinBytes = 32 * 1024;

// Stage orders measured faster than the rule's for their length (both
// precisions, FFTW_MEASURE / ours): 1536 as 12, 8, 16 instead of 8, 8,
// 8, 3 ran 0.83-0.91 against 0.73-0.79 out of place, 1.08-1.12 against
// 0.86-1.02 in place (single 1.12-1.26 against 0.94-1.02) with AVX2+FMA,
// 0.81-0.87 against 0.71-0.74 with AVX. Three stages did not help 384 or
// 768, nor 12, 16, 16 single 3072.
struct StageOrder {
    int64_t n;
    int count, radix[3];
};
constexpr StageOrder kStageOrders[] = {{1536, 3, {12, 8, 16}}};
constexpr bool StageOrdersMultiplyOut() {
    for (const StageOrder &o : kStageOrders) {
        int64_t product = 1;
        for (int i = 0; i < o.count; ++i) product *= o.radix[i];
        if (product != o.n) return false;
    }
    return true;
}
static_assert(StageOrdersMultiplyOut(), "a stage order multiplies out to its length");

// Radices for n in stage order (elements of elem_bytes) by every rule but
// the radix-4 orders below, or false if a prime factor exceeds the largest
// butterfly (then Bluestein takes the whole length). The convolution-length
// model (StagePasses) counts these passes.
bool FactorMixed(int64_t n, int *radix, int *count, int elem_bytes) {
    for (const StageOrder &o : kStageOrders)
        if (o.n == n) {
            std::copy(o.radix, o.radix + o.count, radix);
            *count = o.count;
            return true;
        }
    const int64_t bytes = n * elem_bytes;
    int e2 = 0, e3 = 0, e5 = 0, k = 0;
    int other[kMaxStages], no = 0;
    while (n % 2 == 0) n /= 2, ++e2;
    for (int64_t p = 3; n > 1; p += 2) {
        if (p * p > n) p = n;  // n itself is prime
        while (n % p == 0) {
            if (p > kMaxGenericRadix) return false;
            if (p == 3) ++e3;
            else if (p == 5) ++e5;
            else other[no++] = int(p);
            n /= p;
        }
    }
    k = PowerOfTwoRadices(e2, radix);
    for (int i = 0; i < e3; ++i) radix[k++] = 3;
    for (int i = 0; i < e5; ++i) radix[k++] = 5;
    for (int i = 0; i < no; ++i) radix[k++] = other[i];
    // Largest radix first: the first stage (s == 1) vectorises across its
    // butterflies, later ones across s.
    std::sort(radix, radix + k, [](int a, int b) { return a > b; });
    // Two trailing radix-4 stages: one radix-8 stage moved behind them, so
    // that the last (twiddle-free) stage is the wider one; measured 5-15%
    // faster at 1024 and 8192.
    if (k >= 4 && radix[k - 1] == 4 && radix[k - 2] == 4 && radix[k - 3] == 8)
        std::rotate(radix + k - 3, radix + k - 2, radix + k);
    const bool quad = elem_bytes == 8;
    // The first stage's outputs transpose in registers when its radix is a
    // multiple of the complex numbers a vector holds.
    const int lanes = quad ? 4 : 2;
    if ((bytes > kCombineMinBytes || radix[0] % lanes != 0) && e2 > 0 && e3 + e5 > 0) {
        int mixed[kMaxStages];
        int km = CombinedRadices(e2, e3, e5, quad, mixed);
        for (int i = 0; i < no; ++i) mixed[km++] = other[i];
        if (km < k) {
            std::sort(mixed, mixed + km, [](int a, int b) { return a > b; });
            int *first = std::find_if(mixed, mixed + km, [&](int r) { return r % lanes == 0; });
            if (first != mixed + km) std::rotate(mixed, first, first + 1);
            std::copy(mixed, mixed + km, radix);
            k = km;
        }
    }
    *count = k;
    return true;
}

// Lengths 2^e o (o = 1, 3, 5, 9, 15, ...: 3s and 5s only) with e >= 12 run
// the odd part's stages first (a factor of two joined to the first, 6 or
// 10, for an odd exponent left), then radix-4 stages: pure powers of two
// from 16384 points, the others from 192 KiB of data. Every stage reads
// its R legs n/R elements apart, a multiple of 4 KiB at these lengths, so
// all R legs of a butterfly fall in one set of the 8-way first-level cache:
// with R = 8 or 12 the set is full before the stage's stores and twiddles
// arrive. The radix-4 orders take more passes and measured faster all the
// same, in one process against the orders of the other rules, time ratios:
// AVX2+FMA double 16384 0.54-0.82, 32768 0.67-0.76, 65536 0.78-0.94 (one
// run 1.05), 131072 0.70-0.78, 2^18 0.78, 2^19 0.97, 2^20 0.95, 12288
// 0.60-0.65, 24576 0.52-0.53, 49152 0.56-0.59, 98304 0.68-0.74, 20480
// 0.57, 40960 and 81920 0.81-0.86, 36864 0.73-0.88; single 16384
// 0.55-0.70, 32768 0.65-0.69, 65536 0.96-1.00, 131072 0.75, 2^18-2^20
// 0.81-0.88, 24576 0.79-0.92, 49152 0.87-0.90; in place double
// 16384-131072 0.70-0.92, 12288 and 49152 0.94-1.00; AVX 0.60-0.98, the
// SSE2-class build 0.42-0.96. Below: double 8192 1.23-1.35x and single
// 12288 1.16-1.71x slower, double 4096 1.05-1.09x.
// That was an 8-way 32 KiB cache. With 12 ways or more a radix-8 set fits
// beside its stores and twiddles, and there the other rules' orders ran
// faster (48 KiB 12-way, AVX2+FMA, in one process against the radix-4
// orders, time ratios): double 16384 0.90, 32768 0.91, 65536 0.88, 131072
// 0.76, 2^18 0.70, 2^19 0.79, 2^20 0.75, 12288 0.78, 20480 0.84, 36864
// 0.71, 49152 0.81, 98304 0.79; in place 16384-131072 0.76-0.86; single
// 65536-2^18 0.67-0.93, 24576 0.70, 49152 0.78; real R2C 32768-2^18
// 0.79-0.94.
constexpr int64_t kRadix4PowerFrom = int64_t(1) << 14;
constexpr int64_t kRadix4MixedBytes = 192 * 1024;
constexpr int64_t kRadix8FitsWays = 12;

std::atomic<int64_t> g_first_level_ways{0};

bool RadixFourOrder(int64_t n, int elem_bytes, int *radix, int *count) {
    if (FirstLevelWays() >= kRadix8FitsWays) return false;
    int e2 = 0;
    int64_t odd = n;
    while (odd % 2 == 0) odd /= 2, ++e2;
    if (e2 < 12 || (odd == 1 ? n < kRadix4PowerFrom : n * elem_bytes < kRadix4MixedBytes)) return false;
    int small[kMaxStages], ns = 0;
    for (int p : {3, 5})
        while (odd % p == 0) small[ns++] = p, odd /= p;
    if (odd != 1) return false;
    int k = 0;
    if (e2 % 2 == 1) {
        // An odd exponent: one factor of two joins the first odd radix, or
        // a radix-8 stage leads a pure power of two.
        if (ns > 0) small[0] *= 2, e2 -= 1;
        else radix[k++] = 8, e2 -= 3;
    }
    for (int i = 0; i < ns; ++i) radix[k++] = small[i];
    for (; e2 > 0; e2 -= 2) radix[k++] = 4;
    *count = k;
    return true;
}

// Radices for n in stage order: a radix-4 order where one applies, else
// FactorMixed's.
bool Factor(int64_t n, int *radix, int *count, int elem_bytes = 16) {
    return RadixFourOrder(n, elem_bytes, radix, count) || FactorMixed(n, radix, count, elem_bytes);
}

// A prime n whose n-1 factors into the butterflies: Rader's convolution
// then costs two FFTs of length n-1 against Bluestein's two of length
// >= 2n-1. Its index table is int32.
bool RaderFits(int64_t n) {
    if (n < 3 || n > INT32_MAX) return false;
    for (int64_t d = 2; d * d <= n; ++d)
        if (n % d == 0) return false;
    int radix[kMaxStages], count = 0;
    return Factor(n - 1, radix, &count);
}

// Primes from which the real transforms run Rader's convolution on real
// data. In one process against the full-length complex transform
// (AVX2+FMA, R2C and C2R, time ratios): double 97 0.88-0.91, 257 0.82,
// 641 0.71-0.73, 1009 0.80-0.82, 7681 0.71-0.77, 65537 0.61-0.69, single
// 1009 0.85-0.99, 65537 0.80-0.94; 131 (a half length of 65, odd) within
// noise, 67 (33) 1.15x and single 1.5x slower.
constexpr int64_t kRealRaderFrom = 96;

// A test's override of the four-step rule (a length; 0: none).
std::atomic<int64_t> g_four_step_from{0};

// Whether a length of factorable n runs as four-step: from the bytes where
// its passes stop fitting the largest cache, and never below 2^18 points
// (the shortest the blocked passes were built for).
template <class T>
bool RunsFourStep(int64_t n) {
    if (const int64_t from = g_four_step_from.load(std::memory_order_relaxed); from > 0) return n >= from;
    return n >= (int64_t(1) << 18) && n * int64_t(sizeof(Cx<T>)) >= FourStepBytes();
}

// Splits n = n1 * n2 for the two-pass kernels (two_pass.h) and the
// three-pass ones (three_pass.h, n2 split again inside), best first, 0
// ended: the plan takes the first its level has a kernel for and keeps the
// stages when there is none (the lists in those headers say where each
// measured faster). n1 a multiple of the lanes of a vector, so that
// adjacent columns share one. stages_in_place: in place the stages stay
// (there the three-pass kernels measured no faster, as their first pass
// then writes the scratch and the second reads it back).
struct PassSplit {
    int64_t n, n1[2];
    bool stages_in_place;
};

// Single precision (four complex floats a vector) splits long rows its own
// way, n1 = 64 (a 64-point twiddled pass over 16, 32 or 64 columns): at
// 1024 and 4096 the double rows' splits have no single kernel, and their
// stages measured 15-25% slower alone and 2-3x slower in batches of 100
// rows (interleaved); two_pass.h lists the levels that take each.
const PassSplit *TwoPassSplits(int64_t n, bool single) {
    static constexpr PassSplit kSingle[] = {{1024, {64, 0}, false}, {4096, {64, 0}, false}};
    if (single)
        for (const PassSplit &row : kSingle)
            if (row.n == n) return &row;
    static constexpr PassSplit kSplits[] = {
        {100, {10, 0}, false},  {128, {16, 0}, false},   {256, {16, 0}, false},  {500, {10, 0}, false},
        {512, {8, 32}, false},  {768, {12, 0}, false},   {1000, {20, 0}, false}, {1024, {16, 0}, true},
        {1536, {24, 48}, false}, {2048, {8, 64}, false},
        // Products of two even codelet lengths from 72 to 960 (the AVX2+FMA
        // and SSE2-class levels, some at AVX2+FMA in double only: two_pass.h).
        {72, {12, 0}, false},   {80, {10, 0}, false},   {96, {12, 0}, false},  {120, {12, 0}, false},
        {144, {12, 0}, false},  {160, {16, 0}, false},  {180, {18, 0}, false}, {192, {16, 0}, false},
        {200, {20, 0}, false},  {240, {20, 0}, false},  {288, {24, 0}, false}, {300, {30, 0}, false},
        {320, {16, 0}, false},  {360, {20, 0}, false},  {384, {16, 0}, false}, {400, {20, 0}, false},
        {480, {24, 0}, false},  {600, {20, 0}, false},  {640, {32, 0}, false}, {720, {24, 0}, false},
        {800, {20, 0}, false},  {960, {32, 0}, false}};
    for (const PassSplit &row : kSplits)
        if (row.n == n) return &row;
    return nullptr;
}

// Where the second-level cache holds 1 MiB or more, lone rows of these
// lengths take a split the smaller cache lost with. In process against the
// split or stages the other table gives (AVX2+FMA, 2 MiB second-level
// cache, time ratios): double 4096 as 8 x 32 x 16 0.83-0.90 (in place
// 0.90-0.95), 8192 as 8 x 32 x 32 0.91-0.92 (in place 0.98-1.00); single
// 4096 as 64 x 64 0.94-0.98 (in place 0.90-0.97); real R2C 8192 and 16384
// over them 0.90-0.91. With 512 KiB, 8192 and single 4096 ran 1.2-2x slower
// (double 4096 up to 8% faster); in batches, whose rows stream from
// memory, double 4096 and 8192 ran 1.09-1.26x slower on either cache.
// Double 8640 as 12 x 24 x 30 (three_pass.h) 0.88-0.97, in place alike,
// and Bluestein's 4099 on it 0.92-0.97 (in place 0.92-0.94); not measured
// with the smaller cache or in batches.
constexpr int64_t kLargeSecondLevelBytes = int64_t(1) << 20;

const PassSplit *LargeCacheSplit(int64_t n, bool single) {
    static constexpr PassSplit kDouble[] = {{4096, {8, 0}, false}, {8192, {8, 0}, false}, {8640, {12, 0}, false}};
    static constexpr PassSplit kSingle[] = {{4096, {64, 0}, false}};
    for (const PassSplit &row : single ? std::span<const PassSplit>(kSingle) : std::span<const PassSplit>(kDouble))
        if (row.n == n) return &row;
    return nullptr;
}

std::atomic<int64_t> g_second_level_bytes{0};

// Columns or rows handled together: 128 bytes of each.
template <class T>
constexpr int64_t kBlock = 128 / int64_t(2 * sizeof(T));

}  // namespace

int StagePasses(int64_t n, int elem_bytes) {
    // The convolution-length model was fitted to these passes: a radix-4
    // order takes no longer than the order it replaced, but at 16384 points
    // still longer than 17280's four combined stages (77-103 against 60-83
    // us, double), which its own stage count would have lost to 16384 for
    // 8198.
    int radix[kMaxStages], count = 0;
    return FactorMixed(n, radix, &count, elem_bytes) ? count : 0;
}

int64_t FourStepBytes() {
    // Caches reported under 1 MiB are taken for a failed query.
    const int64_t largest = DftiCacheSize(0);
    return largest >= (int64_t(1) << 20) ? largest : int64_t(32) << 20;
}

int64_t FirstLevelWays() {
    const int64_t set = g_first_level_ways.load(std::memory_order_relaxed);
    return set > 0 ? set : DftiFirstLevelWays();
}

void SetFirstLevelWaysForTesting(int64_t ways) {
    g_first_level_ways.store(ways > 0 ? ways : 0, std::memory_order_relaxed);
}

int64_t SecondLevelCacheBytes() {
    const int64_t set = g_second_level_bytes.load(std::memory_order_relaxed);
    return set > 0 ? set : DftiCacheSize(2);
}

void SetSecondLevelCacheForTesting(int64_t bytes) {
    g_second_level_bytes.store(bytes > 0 ? bytes : 0, std::memory_order_relaxed);
}

void SetFourStepFromForTesting(int64_t n) { g_four_step_from.store(n > 0 ? n : 0, std::memory_order_relaxed); }

template <class T>
Fft1D<T> *Fft1D<T>::Create(int64_t n, int sign, const StageKernels &kern, bool lone_row) {
    Fft1D *f = MemNew<Fft1D>();
    if (!f) return nullptr;
    f->n_ = n;
    f->sign_ = sign;
    f->lone_row_ = lone_row;
    f->kern_ = &kern;
    int radix[kMaxStages], count = 0;
    bool ok;
    if (!Factor(n, radix, &count)) {
        ok = RaderFits(n) ? f->BuildRader() : f->BuildBluestein();
    } else if (const int64_t r = lone_row ? CacheSplitRadix<T>(n, kern) : 0; r > 0) {
        // Before four-step: 8 x 8 x 65536 (double 2^22, 64 MiB) took 51 ms
        // out of place and 45 in place against its 68 and 65.
        ok = f->BuildCacheSplit(r);
    } else if (RunsFourStep<T>(n)) {
        int64_t n1 = 1;
        for (int64_t d = 2; d * d <= n; ++d)
            if (n % d == 0) n1 = d;
        ok = n1 >= 16 ? f->BuildFourStep(n1) : f->BuildStages();
    } else {
        ok = f->BuildStages();
        // The stages stay for interleaved batches; single rows take the codelet.
        if constexpr (sizeof(T) == 8) f->small_ = kern.small_d(n, sign);
        else f->small_ = kern.small_f(n, sign);
        if (ok && !f->small_) ok = f->BuildTwoPass(lone_row);
    }
    if (!ok) {
        MemDelete(f);
        return nullptr;
    }
    return f;
}

template <class T>
bool Fft1D<T>::BuildStages() {
    int radix[kMaxStages], count = 0;
    Factor(n_, radix, &count, int(sizeof(Cx<T>)));
    sp_.n = n_;
    sp_.sign = sign_;
    sp_.nstages = count;
    int64_t total = 0, s = 1;
    for (int i = 0; i < count; ++i) {
        StageInfo &st = sp_.st[i];
        st.radix = radix[i];
        st.s = s;
        st.m = n_ / (s * radix[i]);
        st.tw = total;
        total += st.m > 1 ? st.m * (radix[i] - 1) : 0;
        st.rtab = total;
        if (!HasFixedButterfly(radix[i])) total += radix[i];
        s *= radix[i];
    }
    tw_ = MemArray<Cx<T>>(total > 0 ? total : 1);
    if (!tw_) return false;
    PowerTable power;
    if (!power.Init(n_, sign_)) return false;
    for (int i = 0; i < count; ++i) {
        const StageInfo &st = sp_.st[i];
        const int r = st.radix;
        const int64_t step = n_ / (r * st.m);
        if (st.m > 1)
            for (int64_t p = 0; p < st.m; ++p)
                for (int t = 1; t < r; ++t) {
                    // t-major for the first stage (s == 1), p-major after.
                    const int64_t at = st.s == 1 ? (t - 1) * st.m + p : p * (r - 1) + t - 1;
                    tw_[st.tw + at] = power.Get<T>(p * t * step);
                }
        if (!HasFixedButterfly(r))
            for (int j = 0; j < r; ++j) tw_[st.rtab + j] = Root<T>(sign_, j, r);
    }
    sp_.tw = tw_;
    return true;
}

template <class T>
bool Fft1D<T>::BuildTwoPass(bool lone_row) {
    const bool single = sizeof(T) == 4;
    const PassSplit *tables[2] = {
        lone_row && SecondLevelCacheBytes() >= kLargeSecondLevelBytes ? LargeCacheSplit(n_, single) : nullptr,
        TwoPassSplits(n_, single)};
    const PassSplit *split = nullptr;
    TwoPassFn<T> fn = nullptr;
    int64_t n1 = 0;
    for (const PassSplit *table : tables)
        for (int i = 0; table && i < 2 && table->n1[i] != 0 && !fn; ++i) {
            n1 = table->n1[i];
            if constexpr (sizeof(T) == 8) fn = kern_->two_pass_d(n1, n_ / n1, sign_);
            else fn = kern_->two_pass_f(n1, n_ / n1, sign_);
            split = table;
        }
    if (!fn) return true;  // the stages stay
    const int64_t n2 = n_ / n1;
    // w_n^(j1 k2) = c + i s interleaved, or as {c, c} in the first n
    // entries and {s, s} in the next n (TwoPassInterleavedTwiddles); the
    // three-pass kernels also read w_n2^e = w_n^(n1 e) after those, which
    // two-pass kernels ignore.
    const int64_t entries = TwoPassTwiddleEntries<T>(n_);
    tw2_ = MemArray<Cx<T>>(entries + n2);
    PowerTable power;
    if (!tw2_ || !power.Init(n_, sign_)) return false;
    for (int64_t j1 = 0; j1 < n1; ++j1)
        for (int64_t k2 = 0; k2 < n2; ++k2) {
            const Cx<T> w = power.GetReduced<T>(j1 * k2);
            if (TwoPassInterleavedTwiddles<T>(n_)) {
                tw2_[j1 * n2 + k2] = w;
            } else {
                tw2_[j1 * n2 + k2] = {w.re, w.re};
                tw2_[n_ + j1 * n2 + k2] = {w.im, w.im};
            }
        }
    for (int64_t e = 0; e < n2; ++e) tw2_[entries + e] = power.GetReduced<T>(n1 * e);
    two_ = fn;
    two_out_of_place_only_ = split->stages_in_place;
    n1_ = n1, n2_ = n2;
    return true;
}

template <class T>
bool Fft1D<T>::BuildFourStep(int64_t n1) {
    four_ = true;
    n1_ = n1, n2_ = n_ / n1;
    f1_ = Create(n1_, sign_, *kern_);
    f2_ = Create(n2_, sign_, *kern_);
    tw4_ = MemArray<Cx<T>>(n_);
    if (!f1_ || !f2_ || !tw4_) return false;
    PowerTable power;
    if (!power.Init(n_, sign_)) return false;
    for (int64_t k1 = 0; k1 < n1_; ++k1) {
        Cx<T> *row = tw4_ + k1 * n2_;
        // j2 k1 mod n by exact integer steps.
        for (int64_t j2 = 0, idx = 0; j2 < n2_; ++j2) {
            row[j2] = power.GetReduced<T>(idx);
            idx += k1;
            if (idx >= n_) idx -= n_;
        }
    }
    return true;
}

// Elements one member of the four-step team works in (either path).
template <class T>
int64_t Fft1D<T>::FourStepBuffer() const {
    constexpr int64_t B = kBlock<T>;
    const int64_t w1 = f1_->WorkElems(), w2 = f2_->WorkElems();
    const int64_t blocked = 3 * B * std::max(n1_, n2_);
    const int64_t general = 2 * B * n1_ + B * n2_ + std::max(w1, w2);
    return std::max(blocked, general);
}

template <class T>
__attribute__((noinline)) void Fft1D<T>::ExecFourStep(const Cx<T> *in, Cx<T> *out, Cx<T> *tmp, T scale, int nthreads) const {
    constexpr int64_t B = kBlock<T>;
    const int64_t n1 = n1_, n2 = n2_;
    if (n1 % B == 0 && n2 % B == 0 && f1_->Interleavable() && f2_->Interleavable()) {
        ExecFourStepBlocked(in, out, tmp, scale, nthreads);
        return;
    }
    auto body = [&](Cx<T> *buf, int id, int nth) {
        Cx<T> *cols = buf, *colf = buf + B * n1, *rows = buf + 2 * B * n1, *fw = rows + B * n2;
        // Step 1: column blocks -> FFT over j1 -> twiddle -> tmp[k1 n2 + j2].
        const int64_t nblk1 = (n2 + B - 1) / B;
        for (int64_t blk = nblk1 * id / nth; blk < nblk1 * (id + 1) / nth; ++blk) {
            const int64_t c0 = blk * B, nb = (n2 - c0 < B) ? n2 - c0 : B;
            for (int64_t j1 = 0; j1 < n1; ++j1) {
                const Cx<T> *src = in + j1 * n2 + c0;
                for (int64_t b = 0; b < nb; ++b) cols[b * n1 + j1] = src[b];
            }
            for (int64_t b = 0; b < nb; ++b) f1_->Exec(cols + b * n1, colf + b * n1, fw, T(1), 1);
            for (int64_t k1 = 0; k1 < n1; ++k1) {
                Cx<T> *dst = tmp + k1 * n2 + c0;
                const Cx<T> *w = tw4_ + k1 * n2 + c0;
                for (int64_t b = 0; b < nb; ++b) {
                    const Cx<T> a = colf[b * n1 + k1];
                    dst[b] = {a.re * w[b].re - a.im * w[b].im, a.re * w[b].im + a.im * w[b].re};
                }
            }
        }
        if (nth > 1) {
#pragma omp barrier
        }
        // Step 2: row blocks -> FFT over j2 -> out[k1 + n1 k2].
        const int64_t nblk2 = (n1 + B - 1) / B;
        for (int64_t blk = nblk2 * id / nth; blk < nblk2 * (id + 1) / nth; ++blk) {
            const int64_t r0 = blk * B, nb = (n1 - r0 < B) ? n1 - r0 : B;
            for (int64_t b = 0; b < nb; ++b) f2_->Exec(tmp + (r0 + b) * n2, rows + b * n2, fw, scale, 1);
            for (int64_t k2 = 0; k2 < n2; ++k2) {
                Cx<T> *dst = out + r0 + n1 * k2;
                for (int64_t b = 0; b < nb; ++b) dst[b] = rows[b * n2 + k2];
            }
        }
    };
    RunTeam<T>(nthreads, FourStepBuffer(), tmp + n_, body);
}

// Four-step with both FFT passes run as B interleaved transforms at once
// (vectorised across them, all copies in runs of B elements). The middle
// array is kept in the layout the row pass reads: row k1 = B g + r, column
// j2 at tmp[g B n2 + j2 B + r], so step 1 stores each B x B tile as one
// contiguous block and step 2 reads B whole rows, already interleaved,
// from one contiguous block.
template <class T>
__attribute__((noinline)) void Fft1D<T>::ExecFourStepBlocked(const Cx<T> *in, Cx<T> *out, Cx<T> *tmp, T scale,
                                                             int nthreads) const {
    constexpr int64_t B = kBlock<T>;
    const int64_t n1 = n1_, n2 = n2_;
    const int64_t nmax = n1 > n2 ? n1 : n2;
    // a: gathered columns, b: transformed, w: the stages' ping-pong.
    auto body = [&](Cx<T> *buf, int id, int nth) {
        Cx<T> *a = buf, *b = buf + B * nmax, *w = buf + 2 * B * nmax;
        // Step 1: B adjacent columns -> interleaved FFT over j1 -> twiddle ->
        // tiles of tmp.
        const int64_t nblk1 = n2 / B;
        for (int64_t blk = nblk1 * id / nth; blk < nblk1 * (id + 1) / nth; ++blk) {
            const int64_t c0 = blk * B;
            for (int64_t j1 = 0; j1 < n1; ++j1) memcpy(a + j1 * B, in + j1 * n2 + c0, B * sizeof(Cx<T>));
            f1_->ExecInterleaved(a, b, w, T(1), B);
            for (int64_t g = 0; g < n1 / B; ++g) {
                Cx<T> *tile = tmp + g * B * n2 + c0 * B;
                for (int64_t r = 0; r < B; ++r) {
                    const int64_t k1 = g * B + r;
                    const Cx<T> *src = b + k1 * B, *tw = tw4_ + k1 * n2 + c0;
                    for (int64_t c = 0; c < B; ++c) {
                        const Cx<T> x = src[c], v = tw[c];
                        tile[c * B + r] = {x.re * v.re - x.im * v.im, x.re * v.im + x.im * v.re};
                    }
                }
            }
        }
        if (nth > 1) {
#pragma omp barrier
        }
        // Step 2: B rows (interleaved in tmp) -> FFT over j2 -> out[k1 + n1 k2]
        // in runs of B.
        const int64_t nblk2 = n1 / B;
        for (int64_t g = nblk2 * id / nth; g < nblk2 * (id + 1) / nth; ++g) {
            f2_->ExecInterleaved(tmp + g * B * n2, b, w, scale, B);
            for (int64_t k2 = 0; k2 < n2; ++k2) memcpy(out + g * B + n1 * k2, b + k2 * B, B * sizeof(Cx<T>));
        }
    };
    RunTeam<T>(nthreads, FourStepBuffer(), tmp + n_, body);
}

template <class T>
Fft1D<T>::~Fft1D() {
    MemFree(tw_);
    MemFree(chirp_);
    MemFree(filter_);
    MemFree(wrap_);
    MemFree(perm_);
    MemFree(iperm_);
    if (conv_) MemDelete(conv_);
    if (fwd_) MemDelete(fwd_);
    if (bwd_) MemDelete(bwd_);
    if (f1_) MemDelete(f1_);
    if (f2_) MemDelete(f2_);
    if (split_sub_) MemDelete(split_sub_);
    MemFree(split_tw_);
    MemFree(square_tw_);
    MemFree(tw4_);
    MemFree(tw2_);
}

template <class T>
int64_t Fft1D<T>::WorkElems() const {
    if (four_) return n_ + FourStepBuffer();  // the middle array, then one member's buffers
    // The rows in place, then one member's scratch; without the gather
    // (single precision) one member's share of the 8 x 8 x m passes.
    if (split_sub_) return split_fn_ ? n_ + CacheSplitMember() : SquareSplitMember();
    if (!blue_ && !rader_) return n_;
    // The three passes' array, one member's scratch, then Bluestein's sums.
    if (conv_) return conv_->ArrayElems() + conv_->MemberElems() + (blue_ ? WrapElems() : 0);
    // Both convolutions run their FFTs in place in one array; the FFTs'
    // scratch then holds Bluestein's sums.
    return m_ + std::max({fwd_->WorkElems(), bwd_->WorkElems(), blue_ ? WrapElems() : int64_t(0)});
}

template <class T>
int64_t Fft1D<T>::WrapElems() const {
    return (2 * wrap_k_ * int64_t(sizeof(Cx<double>)) + int64_t(sizeof(Cx<T>)) - 1) / int64_t(sizeof(Cx<T>)) + 1;
}

template <class T>
bool Fft1D<T>::AdoptBlockedConv() {
    conv_ = MemNew<BlockedConv<T>>();
    const bool ok = conv_ && conv_->Build(m_, *kern_, filter_);
    MemDelete(fwd_);
    MemFree(filter_);
    fwd_ = nullptr, filter_ = nullptr;
    return ok;
}

template <class T>
void Fft1D<T>::ExecInterleaved(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int64_t vb) const {
    if constexpr (sizeof(T) == 8) kern_->exec_d(sp_, in, out, work, scale, 1, vb);
    else kern_->exec_f(sp_, in, out, work, scale, 1, vb);
}

template <class T>
void Fft1D<T>::Exec(const Cx<T> *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads) const {
    if (small_) {
        small_(in, out, scale, 1, 0, 0, 1, 1);
        return;
    }
    if (two_ && !(in == out && two_out_of_place_only_)) {
        two_(in, out, work, tw2_, scale);
        return;
    }
    if (four_) {
        ExecFourStep(in, out, work, scale, nthreads);
        return;
    }
    if (split_sub_) {
        ExecCacheSplit(in, out, work, scale, nthreads);
        return;
    }
    if (rader_) {
        ExecRader(in, out, work, scale, nthreads);
        return;
    }
    if (blue_) {
        ExecBluestein(in, out, work, scale, nthreads);
        return;
    }
    if constexpr (sizeof(T) == 8) kern_->exec_d(sp_, in, out, work, scale, nthreads, 1);
    else kern_->exec_f(sp_, in, out, work, scale, nthreads, 1);
}

// ---- real transforms ----

namespace {

// Half spectra (bytes) whose backward transform forms its complex row in
// the output and runs its stages in place there: one array less for the
// second-level cache than through the scratch. AVX2+FMA, 2 MiB, time
// ratios against the scratch: double n = 2^16 0.85-0.87, 2^17 0.94-0.95,
// single 2^17 0.94-0.97, 2^18 0.88-0.91; double 2^14 and 2^15 ran
// 1.00-1.04 (inside the cache), and the lengths above, whose rows split,
// 1.05-1.18x slower in place.
constexpr int64_t kHalfInOutFrom = int64_t(512) << 10, kHalfInOutTo = int64_t(1) << 20;

// Half spectra (bytes) whose single-threaded backward transform forms its
// complex row inside the first stage, where the row would otherwise cross
// the second-level cache once more. Against the pair step apart (in the
// output array from kHalfInOutFrom), time ratios, AVX2+FMA: double n =
// 32768 0.87-0.95, 48000 0.87-0.89, 65536 0.93, 100000 0.89-0.92, 131072
// 0.87, single 65536 0.95-0.98, 131072 0.96, 2^18 0.84; AVX double
// 32768-131072 0.85-0.96; below, inside the cache, double 16384 ran
// 1.00-1.02.
constexpr int64_t kPairedFrom = int64_t(256) << 10;
// The forward transform's pair step, inside the last stage, up to here:
// there the row it reads was just written and is still in the cache. Time
// ratios as above, double: 32768 0.86-0.88, 48000 0.90, 49152 0.88, 60000
// 0.92; from 512 KiB 65536 0.98-1.13, 131072 1.00-1.06.
constexpr int64_t kPairedForwardTo = int64_t(512) << 10;

}  // namespace

template <class T>
RealFft1D<T> *RealFft1D<T>::Create(int64_t n, int sign, const StageKernels &kern, const RealKernels &rkern,
                                   bool lone_row) {
    RealFft1D *r = MemNew<RealFft1D>();
    if (!r) return nullptr;
    r->n_ = n;
    bool ok;
    if (n % 2 == 0) {
        const int64_t h = n / 2;
        r->fft_ = Fft1D<T>::Create(h, sign, kern, lone_row);
        const int64_t entries = RealSplitEntries(h);
        r->w_ = MemArray<Cx<T>>(entries);
        // Roots from two short exact tables: one sine/cosine call per entry
        // made planning a real 2^22 transform take 0.4 s.
        PowerTable roots;
        ok = r->fft_ && r->w_ && roots.Init(n, sign);
        if (ok) {
            for (int64_t k = 0; k < entries; ++k) {
                const Cx<T> w = roots.GetReduced<T>(k);
                r->w_[k] = {-T(sign) * w.im, T(sign) * w.re};  // sign i w^k
            }
            r->split_ = rkern.Split<T>();
            r->half_ = r->fft_->Small();
            const int64_t bytes = h * int64_t(sizeof(Cx<T>));
            r->half_in_out_ = r->fft_->Interleavable() && bytes >= kHalfInOutFrom && bytes <= kHalfInOutTo;
            if (bytes >= kPairedFrom) r->paired_ = r->fft_->Paired();
            if (bytes >= kPairedFrom && bytes < kPairedForwardTo) r->paired_forward_ = r->fft_->PairedForward();
        }
    } else if (RealRaderFits(n)) {
        r->rader_ = RealRader<T>::Create(n, sign, kern, rkern, lone_row);
        ok = r->rader_ != nullptr;
    } else {
        r->fft_ = Fft1D<T>::Create(n, sign, kern);
        ok = r->fft_ != nullptr;
    }
    if (!ok) {
        MemDelete(r);
        return nullptr;
    }
    return r;
}

template <class T>
RealFft1D<T>::~RealFft1D() {
    if (fft_) MemDelete(fft_);
    if (rader_) MemDelete(rader_);
    MemFree(w_);
}

template <class T>
int64_t RealFft1D<T>::WorkElems() const {
    if (rader_) return rader_->WorkElems();
    // Room for the full-length complex buffers plus the FFT's own scratch.
    return 2 * (n_ + 2) + fft_->WorkElems();
}

template <class T>
void RealFft1D<T>::Forward(const T *in, Cx<T> *out, Cx<T> *work, T scale, int nthreads, bool packed_ends) const {
    const int64_t n = n_;
    if (rader_) {
        rader_->Forward(in, out, work, scale, nthreads);
        return;
    }
    Cx<T> *fw = work + 2 * (n + 2);
    if (n % 2 == 1) {
        Cx<T> *z = work, *x = work + (n + 2);
        for (int64_t j = 0; j < n; ++j) x[j] = {in[j], T(0)};
        fft_->Exec(x, z, fw, scale, nthreads);
        for (int64_t k = 0; k <= n / 2; ++k) out[k] = z[k];
        return;
    }
    const int64_t h = n / 2;
    // The real input read as h complex numbers x[2j] + i x[2j+1], its
    // spectrum z formed in `out` and the pair step run over it in place:
    // through a separate buffer the step cost 25-40% more from 2048 points
    // on (one more array competing for the first-level cache).
    Cx<T> *z = out;
    if (paired_forward_ && nthreads <= 1) {
        Cx<T> z0;
        paired_forward_(fft_->Stages(), reinterpret_cast<const Cx<T> *>(in), out, fw, w_, T(0.5) * scale, &z0);
        const T first = (z0.re + z0.im) * scale, middle = (z0.re - z0.im) * scale;
        out[0] = {first, packed_ends ? middle : T(0)};
        if (!packed_ends) out[h] = {middle, T(0)};
        return;
    }
    if (half_) half_(reinterpret_cast<const Cx<T> *>(in), z, T(1), 1, 0, 0, 1, 1);
    else fft_->Exec(reinterpret_cast<const Cx<T> *>(in), z, fw, T(1), nthreads);
    const T half = T(0.5) * scale;
    const Cx<T> z0 = z[0];
    const T first = (z0.re + z0.im) * scale, middle = (z0.re - z0.im) * scale;
    out[0] = {first, packed_ends ? middle : T(0)};
    // e = (a + conj b)/2, o = -i (a - conj b)/2: the even and odd samples'
    // spectra; X[k] = e + w^k o, X[h-k] = conj(e - w^k o).
    split_(z, out, w_, h, half);
    if (h % 2 == 0 && h > 0) {
        // k = h/2 pairs with itself: X = conj(z) (w^k = -i).
        const Cx<T> a = z[h / 2];
        out[h / 2] = {a.re * scale, -a.im * scale};
    }
    if (!packed_ends) out[h] = {middle, T(0)};
}

template <class T>
void RealFft1D<T>::Backward(const Cx<T> *in, T *out, Cx<T> *work, T scale, int nthreads, bool packed_ends) const {
    if (rader_) {
        rader_->Backward(in, out, work, scale, nthreads);
        return;
    }
    const int64_t n = n_;
    Cx<T> *z = work, *fw = work + 2 * (n + 2);
    if (n % 2 == 1) {
        Cx<T> *y = work + (n + 2);
        z[0] = {in[0].re, T(0)};
        for (int64_t k = 1; k <= n / 2; ++k) {
            z[k] = in[k];
            z[n - k] = {in[k].re, -in[k].im};
        }
        fft_->Exec(z, y, fw, scale, nthreads);
        for (int64_t j = 0; j < n; ++j) out[j] = y[j].re;
        return;
    }
    const int64_t h = n / 2;
    // The imaginary parts of X[0] and X[h] do not enter a real signal
    // (both read before z, which may be `in`, is written).
    const T middle = packed_ends ? in[0].im : in[h].re, first = in[0].re;
    if (paired_ && nthreads <= 1) {
        paired_(fft_->Stages(), in, w_, {first + middle, first - middle}, reinterpret_cast<Cx<T> *>(out), z, scale);
        return;
    }
    if (half_in_out_) z = reinterpret_cast<Cx<T> *>(out);
    // Z[k] = (X[k] + conj X[h-k]) + i w^k (X[k] - conj X[h-k]), and
    // Z[h-k] = conj((X[k] + conj X[h-k]) - i w^k (X[k] - conj X[h-k])).
    split_(in, z, w_, h, T(1));
    if (h % 2 == 0 && h > 0) {
        // k = h/2 pairs with itself: Z = 2 conj(X) (w^k = i).
        const Cx<T> a = in[h / 2];
        z[h / 2] = {2 * a.re, -2 * a.im};
    }
    z[0] = {first + middle, first - middle};
    if (half_) half_(z, reinterpret_cast<Cx<T> *>(out), scale, 1, 0, 0, 1, 1);
    else fft_->Exec(z, reinterpret_cast<Cx<T> *>(out), fw, scale, nthreads);
}

bool RealRaderFits(int64_t n) {
    int radix[kMaxStages], count = 0;
    return n >= kRealRaderFrom && !Factor(n, radix, &count) && RaderFits(n);
}

template class Fft1D<float>;
template class Fft1D<double>;
template class RealFft1D<float>;
template class RealFft1D<double>;
template Cx<float> Root<float>(int, int64_t, int64_t);
template Cx<double> Root<double>(int, int64_t, int64_t);
template Cx<long double> Root<long double>(int, int64_t, int64_t);

}  // namespace orb::dft
