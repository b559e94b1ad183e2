// Test oracle for the Fourier transforms: naive DFTs in long double, and
// case runners that lay logical data out as a caller would (strides,
// negative strides, padding, batches, split storage, in place), run the
// engine or the descriptor interface and compare with the oracle.
#ifndef ORB_TESTS_DFT_ENGINE_ORACLE_H
#define ORB_TESTS_DFT_ENGINE_ORACLE_H

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

#include "dft/engine/engine.h"
#include "dft/engine/fft1d.h"

namespace orb::dft::test {

using LCx = std::complex<long double>;

// exp(sign 2 pi i j / n) for j < n.
std::vector<LCx> Roots(int sign, int64_t n);
// Naive DFT along `axis` of a row-major array of the given shape.
void NaiveAxis(std::vector<LCx> &a, const std::vector<int64_t> &shape, int axis, int sign);
// The naive transform along every axis.
std::vector<LCx> NaiveAll(std::vector<LCx> x, const std::vector<int64_t> &shape, int sign);
// Selected bins of a naive 1-D DFT (exact index arithmetic, long double).
std::vector<LCx> NaiveBins(const std::vector<LCx> &x, const std::vector<int64_t> &bins, int sign);
// Relative RMS error of `got` against `ref`.
double RelRms(const std::vector<LCx> &got, const std::vector<LCx> &ref);
// 5 eps log2(n), log2 at least 1.
double Tolerance(bool is_double, int64_t n);
// Deterministic pseudo-random values in [-1, 1); RandomReal has zero
// imaginary parts.
std::vector<LCx> RandomComplex(int64_t count, uint64_t seed);
std::vector<LCx> RandomReal(int64_t count, uint64_t seed);
// The conjugate-even bins z of a length-n real transform as the packed
// format stores them, as reals (CCE and CCS list re, im of each element).
std::vector<long double> Listing(int32_t format, const std::vector<LCx> &z, int64_t n);

// An engine call.
struct Case {
    std::string name{};
    EngineKind kind = EngineKind::C2C;
    bool is_double = true;
    int sign = -1;
    std::vector<int64_t> dims{};   // transform lengths, outermost first
    std::vector<int64_t> batch{};  // howmany lengths (0..2)
    int64_t in_unit = 1, out_unit = 1;  // innermost strides (may be negative)
    int64_t pad = 0;             // extra elements per outer level
    bool negate_outer = false;   // outermost axis stride negated
    bool in_place = false;
    bool split_in = false, split_out = false;
    double scale = 1.0;
    int nthreads = 1;
    int level = 0;               // 0: the process's level
};

struct Outcome {
    int create_status = -1;
    int exec_status = -1;
    double error = 1.0;          // relative RMS
    double tolerance = 0.0;
    bool stray_write = false;    // output buffer changed outside the output
    bool input_changed = false;  // out of place: the input buffer changed
};

Outcome RunCase(const Case &c);
// RunCase with the GoogleTest expectations: created, executed, within
// tolerance, nothing written outside the output.
void ExpectMatches(const Case &c);

// A complex transform through the descriptor interface. The descriptor
// first computes the other direction (scale 1) on a copy of the data, so
// every case also checks that one commit serves both directions.
struct ApiCase {
    std::string name{};
    bool is_double = true;
    std::vector<int32_t> lengths{};  // caller's order, last fastest
    int32_t count = 1;             // number of transforms
    bool in_place = true;
    bool split = false;
    bool backward = false;
    int32_t unit_in = 1, unit_out = 1;  // innermost strides
    int32_t pad = 0;                    // extra elements per outer level and per transform
    int negate_axis = -1;               // caller axis with negated strides
    double scale = 1.0;                 // of the direction computed
    int32_t ordering = 48;
    int32_t user_threads = 1;
    int32_t thread_limit = 0;
    int32_t offset_in = 0, offset_out = 0;  // leading elements before the lowest one used
};

struct ApiOutcome {
    int32_t commit = -1, compute = -1;
    double error = 1.0, tolerance = 0.0;
    bool stray_write = false;
};

ApiOutcome RunApiCase(const ApiCase &c);
void ExpectMatches(const ApiCase &c);

// A plan-rule override for tests, set while the object lives (0, the
// machine's own rule, afterwards).
template <void (*Set)(int64_t)>
class RuleOverride {
public:
    explicit RuleOverride(int64_t value) { Set(value); }
    ~RuleOverride() { Set(0); }
    RuleOverride(const RuleOverride &) = delete;
    RuleOverride &operator=(const RuleOverride &) = delete;
};

// Plans run every factorable length from n points as four-step: the cache
// rule keeps lengths up to the largest cache on the stages, and would
// leave the four-step passes untested on a machine with a large one.
using FourStepFrom = RuleOverride<SetFourStepFromForTesting>;

// Plans assume this many bytes of second-level cache, so that the kernels
// each cache size selects run on any machine.
using SecondLevelCache = RuleOverride<SetSecondLevelCacheForTesting>;

// Plans assume a first-level data cache of this many ways: 8 puts the long
// powers of two on radix-4 stages, 12 and more on the other rules' orders.
using FirstLevelCacheWays = RuleOverride<SetFirstLevelWaysForTesting>;

}  // namespace orb::dft::test

#endif
