// Test oracle for the transform engine: naive DFTs in long double and a
// case runner that lays logical data out in a caller-style buffer (strides,
// negative strides, padding, batches, split storage, in place), runs the
// engine and compares with the oracle.
#ifndef ORB_TESTS_DFT_ENGINE_ORACLE_H
#define ORB_TESTS_DFT_ENGINE_ORACLE_H

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

#include "dft/engine/engine.h"

namespace orb::dft::test {

using LCx = std::complex<long double>;

// Naive DFT along `axis` of a row-major array of the given shape.
void NaiveAxis(std::vector<LCx> &a, const std::vector<int64_t> &shape, int axis, int sign);
// Selected bins of a naive 1-D DFT (exact index arithmetic, long double).
std::vector<LCx> NaiveBins(const std::vector<LCx> &x, const std::vector<int64_t> &bins, int sign);
// Relative RMS error of `got` against `ref`.
double RelRms(const std::vector<LCx> &got, const std::vector<LCx> &ref);
// 5 eps log2(n), log2 at least 1.
double Tolerance(bool is_double, int64_t n);
// Deterministic pseudo-random values in [-1, 1).
std::vector<LCx> RandomComplex(int64_t count, uint64_t seed);

struct Case {
    std::string name;
    EngineKind kind = EngineKind::C2C;
    bool is_double = true;
    int sign = -1;
    std::vector<int64_t> dims;   // transform lengths, outermost first
    std::vector<int64_t> batch;  // howmany lengths (0..2)
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
};

Outcome RunCase(const Case &c);

}  // namespace orb::dft::test

#endif
