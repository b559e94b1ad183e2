// Case runner for the descriptor interface: lays logical complex data out
// as a caller would (strides, negative strides, padding, batches, split
// storage, in place), configures, commits and computes through the public
// API, and compares with the long-double oracle; and the oracle's views
// that several descriptor tests share (real input, every axis, CE formats).
#ifndef ORB_TESTS_DFT_DFTI_LAYOUT_H
#define ORB_TESTS_DFT_DFTI_LAYOUT_H

#include <cstdint>
#include <string>
#include <vector>

#include "engine_oracle.h"

namespace orb::dft::test {

struct ApiCase {
    std::string name;
    bool is_double = true;
    std::vector<int32_t> lengths;  // caller's order, last fastest
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
};

struct ApiOutcome {
    int32_t commit = -1, compute = -1;
    double error = 1.0, tolerance = 0.0;
    bool stray_write = false;
};

ApiOutcome RunApiCase(const ApiCase &c);

// Forward with scale 1 then backward with scale 1/N returns the input.
double RoundTripError(bool is_double, const std::vector<int32_t> &lengths, bool split);

// RandomComplex with the imaginary parts zeroed.
std::vector<LCx> RandomReal(int64_t count, uint64_t seed);
// The naive transform along every axis of a row-major array.
std::vector<LCx> NaiveAll(std::vector<LCx> x, const std::vector<int64_t> &shape, int sign);
// The conjugate-even bins z of a length-n real transform as the format
// stores them, as reals (CCE and CCS list re, im of each element).
std::vector<long double> Listing(int32_t format, const std::vector<LCx> &z, int64_t n);

}  // namespace orb::dft::test

#endif
