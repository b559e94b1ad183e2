// Jobs of the cross-family stress test. Each job is one self-contained piece
// of work through the public entry points whose result is a vector of
// doubles; the test runs every job once on the main thread for the
// reference, then from many threads at once and compares.
#ifndef ORB_TESTS_STRESS_JOBS_H
#define ORB_TESTS_STRESS_JOBS_H

#include <cstdint>
#include <string>
#include <vector>

#include "include/orb_dfti.h"

namespace orb::stress {

struct Outcome {
    std::string error;            // empty when every call returned success
    std::vector<double> values;   // the job's results, in a fixed order
};

// Fourier: a descriptor created, committed, computed both ways and freed.
Outcome FourierJob(int kind, uint32_t seed);
constexpr int kFourierKinds = 4;

// Forward transform with a descriptor shared by all threads.
Outcome SharedFourierJob(DftiHandle shared, int n, uint32_t seed);
DftiHandle MakeSharedDescriptor(int n, int users, int32_t *status);

// Data fitting: a task created, constructed, evaluated and deleted.
Outcome SplineJob(int kind, uint32_t seed);
constexpr int kSplineKinds = 3;

// Vector math under the calling thread's own mode and callback: `lane`
// selects the mode, the callback and which elements divide by zero.
Outcome VectorJob(int lane, uint32_t seed);
// Callback invocations counted per lane (0..kLanes-1).
constexpr int kLanes = 12;
int64_t CallbackCount(int lane);
// Zero divisors a VectorJob of this lane meets.
int ZeroDivisors(int lane);

// Memory: buffers allocated in a short-lived thread of its own pool, filled,
// half released there and half by the caller. Empty error when every byte
// read back what was written.
Outcome MemoryJob(uint32_t seed);

// Returns an error text when the two outcomes differ beyond `rel` (relative
// to the largest magnitude of the reference; 0 asks for identical bits).
std::string Compare(const Outcome &ref, const Outcome &got, double rel);

}  // namespace orb::stress

#endif
