// Transform engine: computes batched, strided, multi-dimensional discrete
// Fourier transforms (complex, real-to-complex, complex-to-real) in single
// or double precision. The descriptor layer (dft/) maps a committed
// descriptor onto one EngineProblem; the engine owns every numerical kernel.
//
// Conventions
//  - sign -1: y[k] = sum_j x[j] exp(-2 pi i jk/n); sign +1: exp(+2 pi i jk/n).
//    The result is multiplied by `scale` (no implicit normalisation).
//  - Strides and distances count elements of each side's own type: complex
//    elements on a complex side (interleaved: one element = two reals; split:
//    one element = one real in each of the re and im arrays), real elements
//    on a real side. They may be negative; the pointers given to Execute
//    point at the element of index 0 in every dimension.
//  - R2C: input real, logical lengths dims[i].n; the complex side has
//    dims[rank-1].n/2+1 elements in the last dimension (the other half is
//    implied by conjugate symmetry). C2R is the inverse shape: complex input
//    of that size, real output of the logical size. Only sign -1 is used
//    for R2C and +1 for C2R.
//  - In place (in == out) is allowed when the caller's layout makes it
//    meaningful (equal strides, or the usual padded real layout).
//  - A plan is immutable after EnginePlanCreate: Execute may be called from
//    several threads at once on one plan when the plan was made with
//    nthreads == 1. Scratch memory comes from ServAlloc per call.
#ifndef ORB_DFT_ENGINE_H
#define ORB_DFT_ENGINE_H

#include <stdint.h>

namespace orb::dft {

enum class EngineKind { C2C, R2C, C2R };

struct EngineDim {
    int64_t n;   // length (>= 1)
    int64_t is;  // input stride (transform dims) or input distance (batch dims)
    int64_t os;  // output stride / distance
};

struct EngineProblem {
    EngineKind kind = EngineKind::C2C;
    bool is_double = true;
    int sign = -1;                // -1 forward, +1 backward
    int rank = 1;                 // 1..7
    EngineDim dims[7] = {};       // dims[0] outermost ... dims[rank-1] innermost
    int howmany_rank = 0;         // 0..2 batch loops
    EngineDim howmany[2] = {};
    bool split_in = false;        // complex input stored as separate re/im arrays
    bool split_out = false;       // complex output stored as separate re/im arrays
    double scale = 1.0;
    int nthreads = 1;             // threads the plan may use (>= 1)
    // One real row of even length n, interleaved and contiguous on both
    // sides: the complex side is n reals, element 0 holding {X[0].re,
    // X[n/2].re} and element n/2 absent (the other bins where they always
    // are). EnginePlanCreate fails with EngineInvalid where the plan has no
    // such form (short rows on a codelet).
    bool packed_ends = false;
};

struct EnginePlan;  // opaque

enum EngineStatus { EngineOk = 0, EngineNoMemory = 1, EngineInvalid = 2 };

// Makes a plan; null with *status set on failure.
EnginePlan *EnginePlanCreate(const EngineProblem &problem, int *status);

// Runs the plan. Interleaved sides pass their array in *_re and null in
// *_im; split sides pass both. Returns an EngineStatus.
int EngineExecute(const EnginePlan *plan, const void *in_re, const void *in_im,
                  void *out_re, void *out_im);

void EnginePlanDestroy(EnginePlan *plan);

}  // namespace orb::dft

#endif
