/* orb_custom public interface: Fourier transforms (descriptor interface).
 * Compiles as C99 and as C++.
 *
 * Life of a descriptor
 *   DftiCreateDescriptor(&h, DftiValueDouble, DftiValueComplex, 1, n);
 *   DftiSetValue(h, DftiParamPlacement, DftiValuePlacement44);   (optional settings)
 *   DftiCommitDescriptor(h);
 *   DftiComputeForward(h, in, out);   (any number of times)
 *   DftiFreeDescriptor(&h);
 * Every function returns a status (DftiStatusNoError = 0 on success).
 *
 * Directions and scaling
 *   Forward:  y[k] = fscale * sum_j x[j] exp(-2 pi i j k / n)
 *   Backward: y[k] = bscale * sum_j x[j] exp(+2 pi i j k / n)
 *   For several dimensions the sum runs over every dimension. There is no
 *   implicit normalisation: set DftiParamBackwardScale to 1/N for a round trip
 *   that returns the input. Every length >= 1 is supported, rank 1 to 7.
 *
 * Settings (DftiSetValue(handle, parameter, value); value type in brackets)
 *   DftiParamForwardScale (4), DftiParamBackwardScale (5)          [double]
 *   DftiParamTransformCount (7)                             [int]
 *   DftiParamLayout8 (8): DftiValueLayout39 (39) interleaved,
 *       DftiValueLayout42 (42) separate real and imaginary arrays    [int]
 *   DftiParamLayout9 (9): DftiValueLayout42 (42) only               [int]
 *   DftiParamLayout10 (10): DftiValueLayout39 (39) or
 *       DftiValueLayout40 (40, default: a real array in a packed format);
 *       setting 39 also sets DftiParamPackFormat to DftiValuePack57    [int]
 *   DftiParamPlacement (11): DftiValuePlacement43 (43, default), DftiValuePlacement44 (44)
 *   DftiParamInputStrides (12), DftiParamOutputStrides (13)  [pointer to rank+1
 *       ints: {offset, stride of dimension 1, ..., stride of dimension
 *       rank}, caller's order, last dimension fastest by default]
 *   DftiParamInputDistance (14), DftiParamOutputDistance (15)          [int]
 *   DftiParamPolicy (17): DftiValuePolicy51 (51) or DftiValuePolicy52 (52); recorded
 *   DftiParamOrdering (18): DftiValueOrdering48 (48) or, complex only,
 *       DftiValueOrdering49 (49)                              [int]
 *   DftiParamName (20)          [const char *, first 10 bytes kept]
 *   DftiParamPackFormat (21): DftiValuePack54 (CCS), DftiValuePack55 (PACK), DftiValuePack56 (PERM), CCE (57)
 *   DftiParamUserThreadCount (26): how many caller threads may compute
 *       with one descriptor at once; above 1 the plan is single-threaded
 *       and safe to share                                         [int]
 *   DftiParamThreadLimit (27): threads per call when not 0 (0: the
 *       library's Fourier-domain thread count); negative: status 3  [int]
 *   Any integer-valued DftiSetValue (accepted or not) uncommits the
 *   descriptor; setting strides or a different scale drops the plan.
 *   Recognised values the library does not provide return
 *   DftiStatusUnimplemented (6); unknown or read-only parameters and values
 *   outside the accepted set return DftiStatusInconsistentConfiguration (3).
 *
 * Units
 *   Offsets, strides and distances count elements of the side they describe:
 *   complex elements on a complex side (interleaved: one element is two
 *   reals; split: one element in each of the real and imaginary arrays),
 *   real elements on a real side (also for packed formats). Strides may be
 *   negative: the offset then names the element of index 0 in every
 *   dimension. Strides and distances describe the data of the compute
 *   call: DftiParamInput... the array it reads, DftiParamOutput... the array it
 *   writes. For a real transform the backward input is therefore the
 *   conjugate-even side; reset the strides (and commit) between directions
 *   when the two sides use different layouts.
 *
 * In place
 *   Complex, DftiValuePlacement43: the output overwrites the input with the input
 *   layout (output strides and distance are not used). Real, DftiValuePlacement43:
 *   one buffer, read with the input layout and written with the output
 *   layout; it must be large enough for the larger side (n+2 reals for a
 *   rank-1 CCS or CCE result of length n).
 *
 * Data arguments of DftiComputeForward / DftiComputeBackward
 *   interleaved or real data: in place 1 pointer, out of place 2 (in, out);
 *   DftiValueLayout42 complex data: in place 2 (re, im), out of place 4
 *   (in re, in im, out re, out im).
 *   Out of place the input arrays are only read, for every transform
 *   (the real backward one included): its complex passes work in the
 *   output array where its rows allow, else in a scratch array.
 *
 * Real transforms (domain DftiValueReal)
 *   Forward: n reals -> conjugate-even result; backward: the inverse shape.
 *   Rank 1, DftiParamLayout10 = DftiValueLayout40, formats for
 *   the n/2+1 distinct outputs Z(k) = R(k) + i I(k) (I(0) = 0, and
 *   I(n/2) = 0 for even n):
 *   - DftiValuePack54 (CCS): R0, I0, R1, I1, ..., R(n/2), I(n/2): n+2 reals for even n,
 *     n+1 for odd n. Example n = 4, x = {1, 2, 3, 4}: Z = {10, -2+2i, -2}:
 *     CCS = {10, 0, -2, 2, -2, 0}.
 *   - DftiValuePack55 (PACK): R0, R1, I1, R2, I2, ..., ending with R(n/2) for even n;
 *     n reals. Example n = 4: {10, -2, 2, -2}; n = 3, x = {1, 2, 3}:
 *     Z = {6, -1.5+0.866i}: PACK = {6, -1.5, 0.866}.
 *   - DftiValuePack56 (PERM): even n: R0, R(n/2), R1, I1, ..., R(n/2-1), I(n/2-1);
 *     odd n: PACK order. Example n = 4: {10, -2, -2, 2}.
 *   Speed: a single contiguous row of even length n >= 32 in PERM order is
 *   computed in the caller's array itself, as fast as CCS; PACK's forward
 *   result is PERM's moved down one place (one extra pass over n reals).
 *   Other packed cases go through a scratch copy.
 *   - DftiValuePack57 (CCE, with DftiParamLayout10 = DftiValueLayout39):
 *     n/2+1 complex elements. Example n = 4: {10+0i, -2+2i, -2+0i}.
 *   Rank >= 2 real transforms need DftiValueLayout39 / CCE: the complex
 *   side holds n_last/2+1 elements in the caller's last dimension; a real
 *   packed format at rank >= 2 makes the commit return DftiStatusUnimplemented.
 *   A storage/format pair that contradicts itself (CCE with
 *   DftiValueLayout40, or CCS/PACK/PERM with DftiValueLayout39) makes
 *   the commit return DftiStatusInconsistentConfiguration.
 *
 * Ordering
 *   DftiValueOrdering49 (49) lets the library pick the order of the
 *   forward output and the backward input; this library picks natural
 *   order, so 48 and 49 compute the same results.
 *
 * Sizes
 *   Default strides are 32-bit products of the lengths before each
 *   dimension. When that product exceeds 2^31 - 1 the default wraps, and a
 *   commit that finds a stride still holding its wrapped default returns
 *   DftiStatusLengthOverflow; set the strides explicitly (any 32-bit
 *   strides that keep the elements apart are accepted) to describe such a
 *   layout. A problem of more than 2^56 points (the lengths times the
 *   number of transforms) cannot lie in any memory; its commit also
 *   returns DftiStatusLengthOverflow.
 *
 * Plans
 *   Commit offers the descriptor to five planners in order; the first that
 *   accepts builds the plan (planning is by rules, never by timing runs):
 *   1. split multi-dimensional (DftiValueLayout42, rank >= 2 after
 *      length-1 dimensions are dropped): one rank-1 descriptor per
 *      dimension; the first pass moves the data from input to output and
 *      applies the scale, the other passes work in place on the output.
 *      A pass of length above 10 (or single precision) whose other
 *      dimensions and batches merge into at most two strided runs is one
 *      engine plan; otherwise it goes to the split batch planner.
 *   2. split batch (DftiValueLayout42, rank 1, several transforms): a
 *      rank-1 descriptor under the outermost batch run, which is shared out
 *      over the threads; short lengths (kind 3 below) run the straight-line
 *      kernel over the whole run directly.
 *   3. split 1-D (double, DftiValueLayout42, rank 1, one transform): kernel
 *      kinds chosen by length, from the starting kind 8 downwards:
 *        kind 4  the transform engine on the split arrays (any length); the
 *                scale is folded into the engine plan;
 *        kind 3  straight-line kernels for n <= 10 (AVX2+FMA, AVX or
 *                SSE2-class by CpuLevel), any strides, scale applied inside;
 *                n = 8 with unit strides at AVX2+FMA works on the two
 *                arrays directly, four parts a vector.
 *   4. small cube (complex, interleaved, one transform, scales exactly 1.0,
 *      n x n x n with n <= 10, dense default strides): fully unrolled
 *      three-pass kernels per CpuLevel, in or out of place.
 *   5. general: the transform engine (mixed radix, Rader's and
 *      Bluestein's convolutions for large prime factors, in double
 *      precision run as three passes over one array once it outgrows the
 *      second-level cache, a single long transform beyond that cache split
 *      into rows that fit it, the columns of double 2-D transforms of
 *      64, 128 or 256 rows (inside the second-level cache; also the
 *      slabs of larger arrays) and 512, 1024, 2048 or 4096 rows (beyond
 *      it) as two radix passes across whole rows, four-step beyond the
 *      largest cache, real transforms through a half-length complex
 *      transform, those of
 *      prime length from 97 through Rader's convolution on real data).
 *   A commit that changes planner drops the old plan first; a re-commit
 *   with the same planner keeps its record (and its rank-1 descriptors).
 *   The engine's rules also read the processor's caches (the sizes of
 *   the first-level, second-level and largest caches and the ways of the
 *   first-level data cache, as the processor reports them): one
 *   descriptor may run other kernels on another machine, with results
 *   that agree to rounding, not bit for bit.
 *
 * Threads
 *   The thread count is fixed at commit. Several caller threads may compute
 *   with one committed descriptor at once when DftiParamUserThreadCount
 *   was set to their number before the commit (each call then runs on its
 *   caller's thread). Configuring, committing and freeing are not locked.
 */
#ifndef ORB_DFTI_H
#define ORB_DFTI_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct DftiDescriptor *DftiHandle;

/* Status numbers (texts: messages 761 + status of the message table). */
enum {
    DftiStatusNoError = 0,
    DftiStatusMemoryError = 1,
    DftiStatusInvalidConfiguration = 2,
    DftiStatusInconsistentConfiguration = 3,
    DftiStatusThreadingError = 4,
    DftiStatusBadDescriptor = 5,
    DftiStatusUnimplemented = 6,
    DftiStatusInternalError = 7,
    DftiStatusUserThreads = 8,
    DftiStatusLengthOverflow = 9,
    DftiStatusIncorrectStatus = 10
};

/* Configuration parameters. */
enum {
    DftiParamFixed0 = 0,
    DftiParamFixed1 = 1,
    DftiParamFixed2 = 2,
    DftiParamFixed3 = 3,
    DftiParamForwardScale = 4,
    DftiParamBackwardScale = 5,
    DftiParamReserved6 = 6,
    DftiParamTransformCount = 7,
    DftiParamLayout8 = 8,
    DftiParamLayout9 = 9,
    DftiParamLayout10 = 10,
    DftiParamPlacement = 11,
    DftiParamInputStrides = 12,
    DftiParamOutputStrides = 13,
    DftiParamInputDistance = 14,
    DftiParamOutputDistance = 15,
    DftiParamReserved16 = 16,
    DftiParamPolicy = 17,
    DftiParamOrdering = 18,
    DftiParamFixed19 = 19,
    DftiParamName = 20,
    DftiParamPackFormat = 21,
    DftiParamFixed22 = 22,
    DftiParamFixed23 = 23,
    DftiParamReserved24 = 24,
    DftiParamReserved25 = 25,
    DftiParamUserThreadCount = 26,
    DftiParamThreadLimit = 27
};

/* Configuration values. */
enum {
    DftiValueCommitted = 30,
    DftiValueUncommitted = 31,
    DftiValueComplex = 32,
    DftiValueReal = 33,
    DftiValueSingle = 35,
    DftiValueDouble = 36,
    DftiValueLayout39 = 39, /* interleaved complex elements */
    DftiValueLayout40 = 40, /* conjugate-even side as a real packed array */
    DftiValueLayout41 = 41,
    DftiValueLayout42 = 42, /* separate real and imaginary arrays */
    DftiValuePlacement43 = 43, /* output over the input */
    DftiValuePlacement44 = 44, /* separate output */
    DftiValueOrdering48 = 48,
    DftiValueOrdering49 = 49,
    DftiValueOrdering50 = 50,
    DftiValuePolicy51 = 51,
    DftiValuePolicy52 = 52,
    DftiValueFixed53 = 53,
    DftiValuePack54 = 54, /* CCS */
    DftiValuePack55 = 55, /* PACK */
    DftiValuePack56 = 56, /* PERM */
    DftiValuePack57 = 57  /* CCE */
};

/* precision (35/36), domain (32/33), rank (1..7), then the length (rank 1,
 * a 32-bit int) or a pointer to rank lengths (rank > 1). */
int32_t DftiCreateDescriptor(DftiHandle *handle, int32_t precision,
                             int32_t domain, int32_t rank, ...);
int32_t DftiCreateDescriptor_d_1d(DftiHandle *handle, int32_t domain, int32_t length);
int32_t DftiCreateDescriptor_s_1d(DftiHandle *handle, int32_t domain, int32_t length);
int32_t DftiCreateDescriptor_d_md(DftiHandle *handle, int32_t domain, int32_t rank,
                                  const int32_t *lengths);
int32_t DftiCreateDescriptor_s_md(DftiHandle *handle, int32_t domain, int32_t rank,
                                  const int32_t *lengths);
/* parameter, then one value of the parameter's type (see above). */
int32_t DftiSetValue(DftiHandle handle, int32_t parameter, ...);
int32_t DftiCommitDescriptor(DftiHandle handle);
/* then the data pointers (see "Data arguments"). */
int32_t DftiComputeForward(DftiHandle handle, ...);
int32_t DftiComputeBackward(DftiHandle handle, ...);
/* frees the descriptor and nulls *handle */
int32_t DftiFreeDescriptor(DftiHandle *handle);

#ifdef __cplusplus
}
#endif

#endif
