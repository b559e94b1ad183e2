// Interpolation and cell-search kernels, compiled once per instruction-set
// level: site expansion, the five search strategies, and evaluation of
// values and derivatives over contiguous chunks of sites per thread.
#include <cmath>
#include <cstring>
#include <limits>

#include <omp.h>

#include "datafit/df_interp_request.h"
#include "service/serv.h"

namespace orb::df::ORB_KNS {
namespace {

constexpr int64_t kBlock = 256;          // sites searched before evaluation
constexpr int64_t kStackSites = 4096;    // expanded uniform sites on the stack
constexpr int64_t kThreadedSites = 8192; // below this one thread is faster

enum Strategy { kUniform = 0, kQuasiUniform = 1, kSorted = 2, kLikelyCell = 3, kBinary = 4 };

// Returns the strategy, or a negative status for inconsistent hints.
int ChooseStrategy(const DfTask *t, int64_t sitehint, const double *datahint) {
    if (t->xhint == 4) return kUniform;
    if (t->xhint == 2) return kQuasiUniform;
    if (sitehint == 64) return kSorted;
    if (!datahint) return kBinary;
    if (datahint[1] == 0.0) return kBinary;
    if (datahint[1] == 1.0 && datahint[4] >= 0.0 && datahint[4] <= static_cast<double>(t->nx))
        return kLikelyCell;
    return DfStatusBadDataHint;
}

// A uniform grid of buckets over [x_0, x_{nx-1}] for many sites on a
// non-uniform partition: first[b] is the number of points whose bucket is
// below b. The bucket of a value is monotone in the value, so a site's cell
// is first[b] plus the points of its own bucket not above it: exact for
// any partition, and O(1) when the points are spread out.
template <class T>
class BucketIndex {
public:
    static constexpr int64_t kStackBuckets = 4096;

    // False when the scratch cannot be had (the caller searches without).
    bool Build(const T *x, int64_t nx) {
        x_ = x;
        nx_ = nx;
        nb_ = nx;
        lo_ = static_cast<double>(x[0]);
        double span = static_cast<double>(x[nx - 1]) - lo_;
        if (!(span > 0.0) || !(span < 1e300)) return false;
        scale_ = static_cast<double>(nb_) / span;
        first_ = stack_;
        if (nb_ + 1 > kStackBuckets) {
            uint64_t bytes = static_cast<uint64_t>(nb_ + 1) * sizeof(int32_t);
            owned_ = bytes > 0xffffff00u ? nullptr
                                         : static_cast<int32_t *>(ServAlloc(static_cast<uint32_t>(bytes), kAlign));
            if (!owned_) return false;
            first_ = owned_;
        }
        int64_t b = 0;
        for (int64_t k = 0; k < nx; ++k)
            for (int64_t bk = Bucket(static_cast<double>(x[k])); b <= bk; ++b) first_[b] = static_cast<int32_t>(k);
        for (; b <= nb_; ++b) first_[b] = static_cast<int32_t>(nx);
        return true;
    }
    ~BucketIndex() { if (owned_) ServFree(owned_); }

    int64_t Bucket(double v) const {
        double g = (v - lo_) * scale_;
        return !(g >= 1.0) ? 0 : g >= static_cast<double>(nb_ - 1) ? nb_ - 1 : static_cast<int64_t>(g);  // NaN: bucket 0
    }
    int64_t Cell(T site) const {
        const double s = static_cast<double>(site);
        if (!(s >= lo_)) return 0;  // below, or NaN: above no point
        const int64_t b = Bucket(s);
        int64_t c = first_[b], hi = first_[b + 1];
        if (hi - c <= 2) {
            // Branch-free: the point counts of buckets are unpredictable.
            const int64_t last = nx_ - 1;
            c += (c < hi) & (x_[c < last ? c : last] <= site);
            c += (c < hi) & (x_[c < last ? c : last] <= site);
            return c;
        }
        while (c < hi) {  // a crowded bucket: bisect it
            int64_t mid = c + (hi - c) / 2;
            if (x_[mid] <= site) c = mid + 1; else hi = mid;
        }
        return c;
    }

private:
    const T *x_ = nullptr;
    int64_t nx_ = 0, nb_ = 0;
    double lo_ = 0.0, scale_ = 0.0;
    int32_t *first_ = nullptr, *owned_ = nullptr;
    int32_t stack_[kStackBuckets];
};

// The bucket index pays for its O(nx) build when sites are not far fewer
// than partition points.
inline bool WantBuckets(int strategy, int64_t nsite, int64_t nx) {
    return (strategy == kBinary || strategy == kQuasiUniform) && nx > 8 &&
           nsite * 8 >= nx;
}

// Cell of site s: the number of partition points x_k <= s.
template <class T>
class Searcher {
public:
    Searcher(const DfTask *t, int strategy, const double *datahint, const BucketIndex<T> *buckets)
        : x_(static_cast<const T *>(t->x)), nx_(t->nx), strategy_(strategy), buckets_(buckets) {
        if (strategy == kUniform) {
            x0_ = static_cast<double>(x_[0]);
            h_ = (static_cast<double>(x_[1]) - x0_) / static_cast<double>(nx_ - 1);
        } else if (strategy == kQuasiUniform) {
            x0_ = static_cast<double>(x_[0]);
            scale_ = static_cast<double>(nx_ - 1) / (static_cast<double>(x_[nx_ - 1]) - x0_);
        } else if (strategy == kLikelyCell) {
            likely_ = static_cast<int64_t>(datahint[4]);
        }
    }

    // Cells of n sites; the strategy is chosen once per block.
    void Block(const T *site, int64_t n, int64_t *out) {
        if (buckets_) {
            for (int64_t k = 0; k < n; ++k) out[k] = buckets_->Cell(site[k]);
            return;
        }
        switch (strategy_) {
        case kUniform: for (int64_t k = 0; k < n; ++k) out[k] = Uniform(site[k]); break;
        case kBinary: BinaryBlock(site, n, out); break;
        case kSorted: SortedBlock(site, n, out); break;
        default: for (int64_t k = 0; k < n; ++k) out[k] = (*this)(site[k]); break;
        }
    }

    int64_t Uniform(T site) const {
        double s = static_cast<double>(site);
        if (!(s >= x0_)) return 0;
        double q = (s - x0_) / h_;
        if (!(q < static_cast<double>(nx_))) return nx_;
        // Ends given in decreasing order make q negative: stay in 0..nx, and
        // convert only what an integer holds.
        if (!(q > -1.0)) return 0;
        int64_t c = static_cast<int64_t>(q) + 1;
        return c > nx_ ? nx_ : c;
    }

    int64_t operator()(T site) {
        switch (strategy_) {
        case kUniform:
            return Uniform(site);
        case kQuasiUniform: {
            double g = (static_cast<double>(site) - x0_) * scale_;
            int64_t c = !(g >= 0.0) ? 0 : g >= static_cast<double>(nx_) ? nx_ : static_cast<int64_t>(g) + 1;
            return Gallop(site, c);
        }
        case kSorted:
            prev_ = prev_ < 0 ? Binary(site) : Gallop(site, prev_);
            return prev_;
        case kLikelyCell:
            return Gallop(site, likely_);
        default:
            return Binary(site);
        }
    }

private:
    int64_t Binary(T s) const {
        // Branch-free upper bound over x_0..x_{nx-1}.
        const T *base = x_;
        int64_t n = nx_;
        while (n > 1) {
            int64_t half = n / 2;
            base = (base[half] <= s) ? base + half : base;
            n -= half;
        }
        return (base - x_) + (base[0] <= s ? 1 : 0);
    }
    // Sorted sites: a few steps up from the previous cell, else gallop.
    void SortedBlock(const T *site, int64_t n, int64_t *out) {
        int64_t c = prev_;
        for (int64_t k = 0; k < n; ++k) {
            const T s = site[k];
            if (c < 0) {
                c = Binary(s);
            } else {
                int step = 0;
                while (step < 4 && c < nx_ && x_[c] <= s) { ++c; ++step; }
                if (step == 4 || (c > 0 && !(x_[c - 1] <= s))) c = Gallop(s, c);
            }
            out[k] = c;
        }
        prev_ = c;
    }
    // Eight binary searches in lockstep: their loads are independent, so
    // the memory latency of one step overlaps that of the others.
    void BinaryBlock(const T *site, int64_t n, int64_t *out) const {
        constexpr int kLanes = 8;
        int64_t k = 0;
        for (; k + kLanes <= n; k += kLanes) {
            const T *base[kLanes];
            for (int l = 0; l < kLanes; ++l) base[l] = x_;
            int64_t len = nx_;
            while (len > 1) {
                int64_t half = len / 2;
                for (int l = 0; l < kLanes; ++l)
                    base[l] = (base[l][half] <= site[k + l]) ? base[l] + half : base[l];
                len -= half;
            }
            for (int l = 0; l < kLanes; ++l)
                out[k + l] = (base[l] - x_) + (base[l][0] <= site[k + l] ? 1 : 0);
        }
        for (; k < n; ++k) out[k] = Binary(site[k]);
    }

    // Search outward from cell c with doubling steps, then bisect.
    int64_t Gallop(T s, int64_t c) const {
        const T *x = x_;
        if (c > 0 && !(x[c - 1] <= s)) {  // answer below c
            int64_t hi = c - 1, step = 1, lo = hi - 1;
            while (lo >= 0 && !(x[lo] <= s)) { hi = lo; step *= 2; lo = hi - step; }
            if (lo < 0) lo = -1;
            // x[lo] <= s (or lo = -1), x[hi] > s: answer in (lo, hi].
            while (hi - lo > 1) {
                int64_t mid = lo + (hi - lo) / 2;
                if (x[mid] <= s) lo = mid; else hi = mid;
            }
            return lo + 1;
        }
        if (c < nx_ && x[c] <= s) {  // answer above c
            int64_t lo = c, step = 1, hi = lo + 1;
            while (hi < nx_ && x[hi] <= s) { lo = hi; step *= 2; hi = lo + step; }
            if (hi > nx_) hi = nx_;
            // x[lo] <= s, x[hi] > s (or hi = nx): answer in (lo, hi].
            while (hi - lo > 1) {
                int64_t mid = lo + (hi - lo) / 2;
                if (x[mid] <= s) lo = mid; else hi = mid;
            }
            return lo + 1;
        }
        return c;
    }

    const T *x_;
    int64_t nx_;
    int strategy_;
    double x0_ = 0.0, h_ = 0.0, scale_ = 0.0;
    int64_t likely_ = 0, prev_ = -1;
    const BucketIndex<T> *buckets_;
};

// Sites as given, or expanded from the two ends of a uniform set.
template <class T>
struct Sites {
    const T *p = nullptr;
    T *owned = nullptr;
    T stack[kStackSites];
    int Init(const InterpRequest<T> &q) {
        if (q.sitehint != 4) { p = q.site; return DfStatusOk; }
        T *dst = stack;
        if (q.nsite > kStackSites) {
            uint64_t bytes = static_cast<uint64_t>(q.nsite) * sizeof(T);
            owned = bytes > 0xffffff00u ? nullptr
                                        : static_cast<T *>(ServAlloc(static_cast<uint32_t>(bytes), kAlign));
            if (!owned) return DfStatusNoMemory;
            dst = owned;
        }
        double a = static_cast<double>(q.site[0]);
        double d = q.nsite > 1 ? (static_cast<double>(q.site[1]) - a) / static_cast<double>(q.nsite - 1) : 0.0;
        for (int64_t k = 0; k < q.nsite; ++k) dst[k] = static_cast<T>(a + static_cast<double>(k) * d);
        p = dst;
        return DfStatusOk;
    }
    ~Sites() { if (owned) ServFree(owned); }
};

// Out of line: a function holding a parallel region asks the OpenMP
// runtime for the thread's id on entry, serial calls included.
template <class Body>
__attribute__((noinline)) void ChunksParallel(int32_t nt, int64_t nsite, const Body &body) {
#pragma omp parallel num_threads(nt)
    {
        int64_t team = omp_get_num_threads(), me = omp_get_thread_num();
        int64_t b = nsite * me / team, e = nsite * (me + 1) / team;
        body(b, e);
    }
}

// Runs body(begin, end) over contiguous chunks, one per thread.
template <class T, class Body>
void ForChunks(const InterpRequest<T> &q, Body body) {
    int32_t nt = q.nsite >= kThreadedSites && q.threading ? q.threading->threads(ServDomainAll) : 1;
    if (nt > 1 && nt > q.nsite / (kThreadedSites / 2)) nt = static_cast<int32_t>(q.nsite / (kThreadedSites / 2));
    if (nt <= 1) { body(int64_t{0}, q.nsite); return; }
    ChunksParallel(nt, q.nsite, body);
}

template <class T>
int CellSearch(const InterpRequest<T> &q) {
    int strategy = ChooseStrategy(q.task, q.sitehint, q.datahint);
    if (strategy < 0) return strategy;
    Sites<T> sites;
    if (int st = sites.Init(q)) return st;
    BucketIndex<T> index;
    const BucketIndex<T> *buckets = WantBuckets(strategy, q.nsite, q.task->nx) &&
                                            index.Build(static_cast<const T *>(q.task->x), q.task->nx)
                                        ? &index : nullptr;
    ForChunks(q, [&](int64_t b, int64_t e) {
        Searcher<T> find(q.task, strategy, q.datahint, buckets);
        int64_t cells[kBlock];
        for (int64_t kb = b; kb < e; kb += kBlock) {
            int64_t n = kb + kBlock < e ? kBlock : e - kb;
            find.Block(sites.p + kb, n, cells);
            for (int64_t k = 0; k < n; ++k) q.cell[kb + k] = static_cast<int32_t>(cells[k]);
        }
    });
    return DfStatusOk;
}

// ---- evaluation ----

// k! for the Taylor coefficients: derivative k = k! * coefficient k after
// k+1 steps of synthetic division.
constexpr double kFactorial[16] = {1, 1, 2, 6, 24, 120, 720, 5040, 40320, 362880, 3628800,
                                   39916800, 479001600, 6227020800.0, 87178291200.0,
                                   1307674368000.0};

template <class T>
struct Evaluator {
    const InterpRequest<T> &q;
    const DfTask *t;
    int64_t nx, nf, nd;
    int ders[64];
    bool uniform;
    double x0 = 0.0, h = 0.0;
    const T *x;
    const T *knots = nullptr;  // knot-based quadratic: pieces between knots

    explicit Evaluator(const InterpRequest<T> &req) : q(req), t(req.task) {
        nx = t->nx;
        nf = FunctionCount(t);
        nd = 0;
        if (q.ndorder <= 0 || !q.dorder) {
            ders[nd++] = 0;
        } else {
            for (int64_t k = 0; k < q.ndorder && k < 64; ++k)
                if (q.dorder[k] != 0) ders[nd++] = static_cast<int>(k);
        }
        x = static_cast<const T *>(t->x);
        if (t->splineOrder == 3 && t->splineType == 1) knots = static_cast<const T *>(t->ic);
        uniform = (t->xhint & 4) != 0;
        if (uniform) {
            x0 = static_cast<double>(x[0]);
            h = (static_cast<double>(x[1]) - x0) / static_cast<double>(nx - 1);
        }
    }
    double Point(int64_t j) const {
        return uniform ? x0 + static_cast<double>(j) * h : static_cast<double>(x[j]);
    }
    // Knot interval of site s: the number of interior knots t_1..t_{nx-1}
    // at or below it (0..nx-1).
    int64_t KnotInterval(T s) const {
        const T *base = knots + 1;
        int64_t n = nx - 1;
        if (n == 0) return 0;
        while (n > 1) {
            int64_t half = n / 2;
            base = (base[half] <= s) ? base + half : base;
            n -= half;
        }
        return (base - knots - 1) + (base[0] <= s ? 1 : 0);
    }
    T Value(int64_t i, int64_t j) const {
        if (t->yhint == 32) return static_cast<const T *>(t->yTable[0])[j * nf + i];
        return static_cast<const T *>(t->yTable[i])[j];
    }

    // The piece of each site of a block and the site's offset from the
    // piece's origin, shared by all functions.
    void Locate(int64_t b, int64_t e, const T *s, const int64_t *cells, int64_t *piece, double *off) const {
        for (int64_t k = b; k < e; ++k) {
            int64_t j;
            if (knots) {
                j = KnotInterval(s[k]);
            } else {
                j = cells[k - b] - 1;
                j = j < 0 ? 0 : (j > nx - 2 ? nx - 2 : j);
            }
            piece[k - b] = j * t->splineOrder;
            off[k - b] = static_cast<double>(s[k]) - Point(j);
        }
    }

    // Mode 1: the value alone; 2: value and first derivative; 0: any
    // selection (all derivatives by repeated synthetic division).
    template <int Order, int Mode>
    void Polynomials(int64_t b, int64_t e, const int64_t *piece, const double *off) const {
        const int order = Order > 0 ? Order : (t->splineOrder < 16 ? static_cast<int>(t->splineOrder) : 16);
        // Results of site k, function i start at k*site_step + i*func_step.
        const bool by_site = q.rhint == DfResultSitesFuncsDerivs;
        const int64_t site_step = by_site ? nf * nd : nd, func_step = by_site ? nd : q.nsite * nd;
        double scale[64];
        int dmax = 0;
        for (int64_t d = 0; d < nd; ++d) {
            scale[d] = ders[d] < 16 ? kFactorial[ders[d]] : 0.0;
            dmax = ders[d] > dmax ? ders[d] : dmax;
        }
        const int steps = dmax + 1 < order - 1 ? dmax + 1 : order - 1;
        const int64_t n = e - b;
        for (int64_t i = 0; i < nf; ++i) {
            const T *coeff = static_cast<const T *>(t->coeffTable[i]);
            T *out = q.r + i * func_step + b * site_step;
            for (int64_t k = 0; k < n; ++k, out += site_step) {
                const T *src = coeff + piece[k];
                const double u = off[k];
                if constexpr (Mode == 1) {
                    double acc = static_cast<double>(src[order - 1]);
                    for (int p = order - 2; p >= 0; --p) acc = acc * u + static_cast<double>(src[p]);
                    out[0] = static_cast<T>(acc);
                } else if constexpr (Mode == 2) {
                    double v = static_cast<double>(src[order - 1]), d1 = 0.0;
                    for (int p = order - 2; p >= 0; --p) {
                        d1 = d1 * u + v;
                        v = v * u + static_cast<double>(src[p]);
                    }
                    out[0] = static_cast<T>(v);
                    out[1] = static_cast<T>(d1);
                } else {
                    double c[Order > 0 ? Order : 16];
                    for (int p = 0; p < order; ++p) c[p] = static_cast<double>(src[p]);
                    for (int st = 0; st < steps; ++st)
                        for (int j = order - 2; j >= st; --j) c[j] += u * c[j + 1];
                    for (int64_t d = 0; d < nd; ++d)
                        out[d] = static_cast<T>(ders[d] < order ? c[ders[d]] * scale[d] : 0.0);
                }
            }
        }
    }

    template <int Order>
    void Evaluate(int64_t b, int64_t e, const int64_t *piece, const double *off) const {
        if (nd == 1 && ders[0] == 0) Polynomials<Order, 1>(b, e, piece, off);
        else if (nd == 2 && ders[0] == 0 && ders[1] == 1) Polynomials<Order, 2>(b, e, piece, off);
        else Polynomials<Order, 0>(b, e, piece, off);
    }

    // Types 6, 7, 8: straight from the values.
    void FromValues(int64_t b, int64_t e, const T *s, const int64_t *cells) const {
        const int type = static_cast<int>(t->splineType);
        const T nan = std::numeric_limits<T>::quiet_NaN();
        for (int64_t i = 0; i < nf; ++i) {
            for (int64_t k = b; k < e; ++k) {
                int64_t c = cells[k - b];
                bool on_point = c > 0 && static_cast<double>(s[k]) == Point(c - 1);
                T v;
                if (type == 6) {
                    v = on_point ? Value(i, c - 1) : nan;
                } else if (type == 7) {
                    v = Value(i, c > 0 ? c - 1 : 0);
                } else {
                    int64_t idx = on_point ? c - 1 : c;
                    v = Value(i, idx > nx - 1 ? nx - 1 : idx);
                }
                T *out = q.rhint == DfResultSitesFuncsDerivs ? q.r + (k * nf + i) * nd
                                                             : q.r + (i * q.nsite + k) * nd;
                for (int64_t d = 0; d < nd; ++d)
                    out[d] = ders[d] == 0 ? v : (type == 6 ? nan : T(0));
            }
        }
    }
};

template <class T>
int Interpolate(const InterpRequest<T> &q) {
    int strategy = ChooseStrategy(q.task, q.sitehint, q.datahint);
    if (strategy < 0) return strategy;
    Sites<T> sites;
    if (int st = sites.Init(q)) return st;
    Evaluator<T> ev(q);
    const int64_t type = q.task->splineType;
    const bool from_values = type == 6 || type == 7 || type == 8;
    const int64_t order = q.task->splineOrder;
    const bool want_cells = (q.type & 2) != 0;
    BucketIndex<T> index;
    const BucketIndex<T> *buckets = WantBuckets(strategy, q.nsite, q.task->nx) &&
                                            index.Build(static_cast<const T *>(q.task->x), q.task->nx)
                                        ? &index : nullptr;
    ForChunks(q, [&](int64_t b, int64_t e) {
        Searcher<T> find(q.task, strategy, q.datahint, buckets);
        int64_t cells[kBlock], piece[kBlock];
        double off[kBlock];
        for (int64_t kb = b; kb < e; kb += kBlock) {
            int64_t ke = kb + kBlock < e ? kb + kBlock : e;
            find.Block(sites.p + kb, ke - kb, cells);
            if (want_cells)
                for (int64_t k = kb; k < ke; ++k) q.cell[k] = static_cast<int32_t>(cells[k - kb]);
            if (ev.nd == 0) continue;
            if (from_values) {
                ev.FromValues(kb, ke, sites.p, cells);
                continue;
            }
            if (order < 1) continue;
            ev.Locate(kb, ke, sites.p, cells, piece, off);
            if (order == 4) ev.template Evaluate<4>(kb, ke, piece, off);
            else if (order == 2) ev.template Evaluate<2>(kb, ke, piece, off);
            else if (order == 3) ev.template Evaluate<3>(kb, ke, piece, off);
            else ev.template Evaluate<0>(kb, ke, piece, off);
        }
    });
    return DfStatusOk;
}

}  // namespace

int InterpolateD(const InterpRequest<double> &q) { return Interpolate(q); }
int InterpolateS(const InterpRequest<float> &q) { return Interpolate(q); }
int CellSearchD(const InterpRequest<double> &q) { return CellSearch(q); }
int CellSearchS(const InterpRequest<float> &q) { return CellSearch(q); }

}  // namespace orb::df::ORB_KNS
