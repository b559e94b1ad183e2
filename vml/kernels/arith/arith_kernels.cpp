// Real arithmetic kernels, compiled once per instruction-set level: the
// level's vector type carries the work (four vectors per step; the first
// and the last vector of a call also cover the elements before the
// output's vector boundary and after the last whole step, unless one of
// them holds a division that reports), scalar code calls shorter than one
// vector, partially overlapping arrays, and the division's elements where
// a repeated vector may not run.
// The *_plain kernels (table entry 0, reachable only by the level
// override) are single loops without control-state handling.
#include "vml/kernels/arith/arith_kernels.h"
#include "vml/kernels/arith/arith_ops.h"
#include "vml/kernels/arith/simd.h"
#include "vml/kernels/kernel_frame.h"

namespace ORB_KNS {
namespace {

using namespace vml;

// Element by element in index order: the meaning of partially overlapping
// arrays, the level-0 loop, calls shorter than a vector, and the division's
// peel and tail. Never vectorized: the vector loops serve every case
// without overlap already, and a second copy behind run-time overlap tests
// would only cost registers at the head of every kernel.
#if defined(__clang__)
#define ORB_NO_VECTORIZE _Pragma("clang loop vectorize(disable)")
#else
#define ORB_NO_VECTORIZE
#endif
template <class T, class Op>
void OrderedRange(int32_t first, int32_t last, const T *a, const T *b, T *y) {
    ORB_NO_VECTORIZE
    for (int32_t i = first; i < last; ++i) {
        const T x = a[i], z = b[i];
        y[i] = Op::Apply(x, z);
        if constexpr (Op::kReports)
            if (Op::Flag(x, z)) Op::Report(i, a, b, y);
    }
}
template <class T, class Op>
void OrderedLoop(int32_t n, const T *a, const T *b, T *y) {
    OrderedRange<T, Op>(0, n, a, b, y);
}
// A vector step that may have to report runs element by element, so the
// main loop never keeps its vectors in memory for a report.
template <class T, class Op>
__attribute__((noinline)) void ReportingStep(int32_t first, int32_t last, const T *a,
                                             const T *b, T *y) {
    OrderedRange<T, Op>(first, last, a, b, y);
}

// One unaligned vector over [at, at + W) that overlaps elements done by
// other steps (the peel's first vector, the one ending at n): the ones it
// repeats get the same bits again, which only holds while the output does
// not overwrite an input, and, for an op that reports, while no lane of it
// may have to (a report would come twice, or out of order). False when it
// did nothing.
template <class T, class Op, bool One>
inline bool OverlappedStep(int32_t at, const T *a, const T *b, T *y) {
    using V = typename Vec<T>::V;
    if (y == a || y == b) return false;
    const V va = LoadU<V>(a + at);
    V vb;
    if constexpr (One) vb = va;
    else vb = LoadU<V>(b + at);
    if constexpr (Op::kReports)
        if (Any(Op::Suspect(vb))) return false;
    StoreU(y + at, Op::Apply(va, vb));
    return true;
}

// The whole vector steps from `start` on (elements before it are done
// already); returns the first element not done, less than W from n.
// Inputs of a step are loaded before its stores, so y may equal a or b.
// One-input kernels (One) load their input once: the second load of the
// same vector would make an L1-resident call bound by the load ports.
template <class T, class Op, bool One, bool Aligned>
int32_t VectorSteps(int32_t n, const T *a, const T *b, T *y, int32_t start) {
    using V = typename Vec<T>::V;
    constexpr int32_t W = Vec<T>::kLanes;
    auto store = [](T *p, V v) {
        if constexpr (Aligned) StoreA(p, v);
        else StoreU(p, v);
    };
    constexpr int32_t U = 4;  // vectors per step: loop overhead off the store port
    // Pointer-width index and bound: no sign extension in the loops.
    const intptr_t m = n;
    intptr_t i = start;
    for (; i <= m - U * W; i += U * W) {
        V va[U], vb[U];
        for (int32_t j = 0; j < U; ++j) {
            va[j] = LoadU<V>(a + i + j * W);
            if constexpr (One) vb[j] = va[j];
            else vb[j] = LoadU<V>(b + i + j * W);
        }
        if constexpr (Op::kReports) {
            auto suspect = Op::Suspect(vb[0]);
            for (int32_t j = 1; j < U; ++j) suspect = suspect | Op::Suspect(vb[j]);
            if (Any(suspect)) [[unlikely]] {
                ReportingStep<T, Op>(int32_t(i), int32_t(i + U * W), a, b, y);
                continue;
            }
        }
        V vr[U];
        for (int32_t j = 0; j < U; ++j) vr[j] = Op::Apply(va[j], vb[j]);
        for (int32_t j = 0; j < U; ++j) {
            store(y + i + j * W, vr[j]);
            KeepStoreOrder();
        }
    }
    for (; i <= m - W; i += W) {
        const V va = LoadU<V>(a + i);
        V vb;
        if constexpr (One) vb = va;
        else vb = LoadU<V>(b + i);
        if constexpr (Op::kReports) {
            if (Any(Op::Suspect(vb))) [[unlikely]] {
                ReportingStep<T, Op>(int32_t(i), int32_t(i + W), a, b, y);
                continue;
            }
        }
        store(y + i, Op::Apply(va, vb));
    }
    return int32_t(i);
}

// Whole vector steps, then the last few elements as one vector ending at n.
template <class T, class Op, bool One, bool Aligned>
void VectorLoop(int32_t n, const T *a, const T *b, T *y, int32_t start) {
    constexpr int32_t W = Vec<T>::kLanes;
    const int32_t i = VectorSteps<T, Op, One, Aligned>(n, a, b, y, start);
    if (i < n && n >= W && OverlappedStep<T, Op, One>(n - W, a, b, y)) [[likely]] return;
    OrderedRange<T, Op>(i, n, a, b, y);
}

// n >= W: the call's first and last vectors are computed before anything
// is stored, so they see the original inputs even in place, and stored
// after the aligned steps, which gives the elements those did too the same
// bits again. No scalar peel or tail is left: at n = 100 those cost more
// than the vector work. Nor does a load wait for a store: when the arrays
// sit at one offset in their pages (as large allocations do), a vector
// repeated after a step's stores would wait for them (a division step's
// results come late; vdDiv n = 100 took 49 ns against 36). An op that
// reports runs this way only when neither of those vectors may report (a
// repeated report would come twice); false when it did nothing.
template <class T, class Op, bool One>
bool Bracketed(int32_t n, const T *a, const T *b, T *y) {
    using V = typename Vec<T>::V;
    constexpr int32_t W = Vec<T>::kLanes;
    V ha = LoadU<V>(a), ta = LoadU<V>(a + n - W), hb = ha, tb = ta;
    if constexpr (!One) hb = LoadU<V>(b), tb = LoadU<V>(b + n - W);
    if constexpr (Op::kReports)
        if (Any(Op::Suspect(hb) | Op::Suspect(tb))) return false;
    const V head = Op::Apply(ha, hb), tail = Op::Apply(ta, tb);
    // Peel up to the output's vector boundary (the head covers it): no
    // store then splits a cache line, and inputs placed like the output
    // load aligned too.
    if (uintptr_t(y) % sizeof(T) == 0)
        VectorSteps<T, Op, One, true>(
            n, a, b, y, int32_t((0 - uintptr_t(y)) % kVecBytes / sizeof(T)));
    else
        VectorSteps<T, Op, One, false>(n, a, b, y, 0);
    StoreU(y + n - W, tail);
    StoreU(y, head);
    return true;
}

// The call's work once the control bits are set.
template <class T, class Op, bool One = false>
inline void Elementwise(int32_t n, const T *a, const T *b, T *y) {
    if (n <= 0) return;
    const size_t bytes = size_t(n) * sizeof(T);
    if (PartialOverlap(y, a, bytes) || PartialOverlap(y, b, bytes)) {
        OrderedLoop<T, Op>(n, a, b, y);
        return;
    }
    if (n >= Vec<T>::kLanes && Bracketed<T, Op, One>(n, a, b, y)) return;
    if constexpr (!Op::kReports) {
        OrderedLoop<T, Op>(n, a, b, y);
        return;
    }
    // A division whose first or last vector may report: elements are
    // stored in index order up to each report, so the vectors that repeat
    // elements only where no lane can report and the output overwrites no
    // input.
    if (const uintptr_t off = uintptr_t(y) & (kVecBytes - 1); off == 0) {
        VectorLoop<T, Op, One, true>(n, a, b, y, 0);
    } else if (off % sizeof(T) == 0 && n >= 4 * Vec<T>::kLanes) {
        // The peel is one unaligned vector where it may be: up to seven
        // scalar divisions cost more than the call's whole main loop at
        // n = 100.
        const int32_t peel = int32_t((kVecBytes - off) / sizeof(T));
        if (!OverlappedStep<T, Op, One>(0, a, b, y)) OrderedLoop<T, Op>(peel, a, b, y);
        VectorLoop<T, Op, One, true>(n, a, b, y, peel);
    } else {
        VectorLoop<T, Op, One, false>(n, a, b, y, 0);
    }
}

}  // namespace

// Each export's body (no control-word frame, out of line: the framed
// kernel reaches it by a tail call), the framed kernel and the plain loop.
#define VML_BIN_ONE(name, T, Op)                                               \
    __attribute__((noinline)) void name##_body(int32_t n, const T *a, const T *b, T *y) { \
        Elementwise<T, Op>(n, a, b, y); }                                      \
    void name(int32_t n, const T *a, const T *b, T *y) {                       \
        Framed<name##_body>(n, a, b, y); }                                     \
    void name##_plain(int32_t n, const T *a, const T *b, T *y) {               \
        OrderedLoop<T, Op>(n, a, b, y); }
#define VML_BIN(sname, dname, Op) VML_BIN_ONE(sname, float, Op) VML_BIN_ONE(dname, double, Op)
// One-input kernels run the same loops with the input passed twice.
#define VML_UN_ONE(name, T, Op)                                                \
    __attribute__((noinline)) void name##_body(int32_t n, const T *a, T *y) {  \
        Elementwise<T, Op, true>(n, a, a, y); }                                \
    void name(int32_t n, const T *a, T *y) { Framed<name##_body>(n, a, y); }   \
    void name##_plain(int32_t n, const T *a, T *y) { OrderedLoop<T, Op>(n, a, a, y); }
#define VML_UN(sname, dname, Op) VML_UN_ONE(sname, float, Op) VML_UN_ONE(dname, double, Op)

VML_BIN(vsAdd, vdAdd, OpAdd)
VML_BIN(vsSub, vdSub, OpSub)
VML_BIN(vsMul, vdMul, OpMul)
VML_BIN(vsDiv, vdDiv, OpDiv)
VML_UN(vsSqr, vdSqr, OpSqr)
VML_UN(vsAbs, vdAbs, OpAbs)
VML_UN(vsRound, vdRound, OpRound)

}  // namespace ORB_KNS
