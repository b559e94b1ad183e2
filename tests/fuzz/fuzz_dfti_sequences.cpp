// Fuzz target: Fourier descriptor programs. The input is a sequence of
// create / set-value / commit / compute / free operations with arbitrary
// parameters and values. The target mirrors every setting the library
// accepted, and before a compute allocates exactly the elements that
// configuration addresses (offsets, strides, distances and transform count
// of each side), so the sanitizers see any access outside them. It also
// checks that elements between the addressed ones keep their values, that
// statuses stay in the documented sets, and, for small complex transforms
// whose output elements are distinct, the result against a naive DFT.
// make_dfti_seeds.py writes the seed corpus in this target's encoding.
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz_input.h"
#include "include/orb_dfti.h"

namespace {

using orb::fuzz::Fail;
using orb::fuzz::Input;

constexpr int64_t kMaxPoints = 4096;     // index-space points per compute
constexpr int64_t kMaxSpan = 1 << 18;    // elements between lowest and highest
constexpr int64_t kMaxCheckPoints = 256; // naive DFT cost bound

struct Config {
    int32_t precision = DftiValueDouble, domain = DftiValueComplex, rank = 1, len[7] = {};
    int32_t placement = DftiValuePlacement43, layout8 = DftiValueLayout39, pack = DftiValuePack54;
    int32_t count = 1, idist = 0, odist = 0, istr[8] = {}, ostr[8] = {};
    double fscale = 1.0, bscale = 1.0;
    bool committed = false;
    bool maybe_committed = false;  // after a setting whose effect on the state is not promised
};

// One side of a compute call: the shape it addresses, in its own elements.
struct Side {
    bool complex = true;  // element = two reals (interleaved) / one per array
    bool split = false;   // separate real and imaginary arrays
    int32_t rank = 1;     // a rank-1 real packed format: n[0] reals
    int64_t n[7] = {}, stride[7] = {}, offset = 0, count = 1, dist = 0;

    int64_t Points() const {  // saturates: only small problems are run
        int64_t p = count;
        for (int k = 0; k < rank && p <= kMaxPoints; ++k) p *= n[k];
        return p;
    }
    // Calls f(element index) for every addressed element, in a fixed order.
    template <typename F>
    void ForEach(F f) const {
        for (int64_t t = 0; t < count; ++t) {
            int64_t idx[7] = {};
            for (int k = 0; k >= 0;) {
                int64_t e = offset + t * dist;
                for (k = 0; k < rank; ++k) e += idx[k] * stride[k];
                f(e);
                for (k = rank - 1; k >= 0 && ++idx[k] >= n[k]; --k) idx[k] = 0;
            }
        }
    }
    void Bounds(int64_t *lo, int64_t *hi) const {
        *lo = *hi = offset;
        for (int k = 0; k < rank; ++k) {
            const int64_t span = (n[k] - 1) * stride[k];
            (span < 0 ? *lo : *hi) += span;
        }
        const int64_t tspan = (count - 1) * dist;
        (tspan < 0 ? *lo : *hi) += tspan;
    }
    // Complex elements addressed in reals (real in-place transforms).
    Side AsReals() const {
        Side s = *this;
        if (complex) {
            s.offset *= 2;
            s.dist *= 2;
            for (int k = 0; k < rank; ++k) s.stride[k] *= 2;
        }
        return s;
    }
    // Output elements must be distinct for the result to be defined.
    bool Injective() const {
        std::vector<int64_t> e;
        ForEach([&](int64_t x) { e.push_back(x); });
        std::sort(e.begin(), e.end());
        return std::adjacent_find(e.begin(), e.end()) == e.end();
    }
};

Side MakeSide(const Config &c, bool conj_even, const int32_t *str, int32_t dist) {
    Side s;
    s.rank = c.rank;
    s.offset = str[0];
    s.count = c.count;
    s.dist = dist;
    for (int k = 0; k < c.rank; ++k) s.n[k] = c.len[k], s.stride[k] = str[k + 1];
    if (c.domain == DftiValueComplex) {
        s.split = c.layout8 == DftiValueLayout42;
    } else if (!conj_even) {
        s.complex = false;
    } else if (c.pack == DftiValuePack57) {
        s.n[c.rank - 1] = c.len[c.rank - 1] / 2 + 1;
    } else {  // packed: rank 1 in reals
        s.complex = false;
        s.rank = 1;
        s.n[0] = c.pack == DftiValuePack54 ? 2 * (int64_t(c.len[0]) / 2 + 1) : c.len[0];
    }
    return s;
}

constexpr double kSentinel = 1234.5;

// Exactly the reals of one array that a set of sides addresses.
template <typename T>
struct Buffer {
    std::vector<T> data;
    std::vector<char> addressed;
    int64_t lo = 0;  // lowest element index
    int width = 1;   // reals per element in this array

    // False when the sides together span too many elements to allocate
    // (each side is small, but an in-place real pair may lie far apart).
    bool Cover(std::initializer_list<const Side *> sides) {
        int64_t l = INT64_MAX, h = INT64_MIN, a, b;
        for (const Side *s : sides) s->Bounds(&a, &b), l = std::min(l, a), h = std::max(h, b);
        if (h - l >= 4 * kMaxSpan) return false;
        lo = l;
        data.assign(size_t(h - l + 1) * width, T(kSentinel));
        addressed.assign(data.size(), 0);
        for (const Side *s : sides)
            s->ForEach([&](int64_t e) { std::fill_n(&addressed[size_t((e - lo) * width)], width, 1); });
        return true;
    }
    T *Base() { return data.data() - lo * width; }
    T &At(int64_t e, int w = 0) { return data[size_t((e - lo) * width + w)]; }
    void CheckGaps() const {
        for (size_t i = 0; i < data.size(); ++i)
            if (!addressed[i] && data[i] != T(kSentinel)) Fail("wrote between addressed elements");
    }
};

// Input values come from a small generator seeded by the program, so a
// short input still gives varied data; one element may be made special.
struct Values {
    uint32_t state;
    int special_at, index = 0;
    double Next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        if (index++ == special_at) return state & 1 ? __builtin_inf() : __builtin_nan("");
        return (state % 2001) / 1000.0 - 1.0;
    }
};

template <typename T>
std::complex<long double> Load(Buffer<T> &re, Buffer<T> *im, int64_t e) {
    return {re.At(e), im ? im->At(e) : re.At(e, 1)};
}

// Naive multi-dimensional DFT in long double of every transform.
template <typename T>
void CheckComplex(const Config &c, bool forward, const Side &os, const std::vector<std::complex<long double>> &x,
                  Buffer<T> &ore, Buffer<T> *oim) {
    const double scale = forward ? c.fscale : c.bscale;
    const long double sign = forward ? -1.0L : 1.0L, pi = 3.141592653589793238462643383279502884L;
    std::vector<int64_t> outs;
    os.ForEach([&](int64_t e) { outs.push_back(e); });
    const int64_t per = int64_t(outs.size()) / c.count;
    const double eps = sizeof(T) == 8 ? 1e-13 : 2e-5;
    for (int64_t t = 0; t < c.count; ++t) {
        long double norm = 0;
        for (int64_t j = 0; j < per; ++j) norm += std::abs(x[t * per + j]);
        for (int64_t k = 0; k < per; ++k) {
            std::complex<long double> sum = 0;
            for (int64_t j = 0; j < per; ++j) {
                // Phase sum_d j_d k_d / n_d from the mixed-radix digits.
                long double phase = 0;
                for (int64_t d = c.rank - 1, jj = j, kk = k; d >= 0; jj /= c.len[d], kk /= c.len[d], --d)
                    phase += (long double)((jj % c.len[d]) * (kk % c.len[d]) % c.len[d]) / c.len[d];
                sum += x[t * per + j] * std::polar(1.0L, sign * 2 * pi * phase);
            }
            const std::complex<long double> got = Load(ore, oim, outs[size_t(t * per + k)]);
            const long double tol = eps * (norm * std::fabs(scale) + 1e-30L) * (1 + std::log2((double)per));
            if (std::abs(got - sum * (long double)scale) > tol) Fail("complex result differs from the naive DFT");
        }
    }
}

template <typename T>
void Compute(Input &in, DftiHandle h, const Config &c) {
    const bool forward = in.Flag(), in_place = c.placement == DftiValuePlacement43;
    const bool real = c.domain == DftiValueReal;
    if (real && c.pack != DftiValuePack57 && c.rank > 1 && c.committed) Fail("packed rank > 1 committed");
    const Side is = MakeSide(c, real && !forward, c.istr, c.idist);
    const Side os = MakeSide(c, real && forward, in_place && !real ? c.istr : c.ostr,
                             in_place && !real ? c.idist : c.odist);
    if (c.count < 1 || is.Points() > kMaxPoints || os.Points() > kMaxPoints) return;
    int64_t lo, hi;
    for (const Side *s : {&is, &os})
        if (s->Bounds(&lo, &hi), hi - lo >= kMaxSpan) return;
    const bool split = is.split;
    Buffer<T> ire, iim, ore, oim;
    ire.width = is.complex && !split ? 2 : 1;
    ore.width = os.complex && !split ? 2 : 1;
    if (in_place && real) {
        // One array read with the input layout and written with the output
        // layout, both in their own element sizes; a complex element's
        // imaginary part sits one real further.
        ire.width = 1;
        const Side is_r = is.AsReals(), os_r = os.AsReals();
        Side is_im = is_r, os_im = os_r;
        is_im.offset += is.complex;
        os_im.offset += os.complex;
        if (!ire.Cover({&is_r, &os_r, &is_im, &os_im})) return;
    } else if (!ire.Cover({&is}) || (!in_place && !ore.Cover({&os}))) {
        return;
    }
    if (split && (!iim.Cover({&is}) || (!in_place && !oim.Cover({&os})))) return;
    // Input values (real in place: through the real-indexed array).
    Values gen{uint32_t(in.Byte()) * 2654435761u + 1u, in.Byte() > 232 ? in.Range(0, 7) : -1};
    const bool finite = gen.special_at < 0;
    std::vector<std::complex<long double>> x;
    if (in_place && real) {
        is.AsReals().ForEach([&](int64_t e) {
            ire.At(e) = T(gen.Next());
            if (is.complex) ire.At(e + 1) = T(gen.Next());
        });
    } else {
        is.ForEach([&](int64_t e) {
            for (int w = 0; w < ire.width; ++w) ire.At(e, w) = T(gen.Next());
            if (split) iim.At(e) = T(gen.Next());
        });
        if (!real) is.ForEach([&](int64_t e) { x.push_back(Load(ire, split ? &iim : nullptr, e)); });
    }
    // Occasionally a null data pointer: must be refused.
    const int null_at = in.Byte() > 240 ? in.Range(0, 3) : -1;
    T *a = ire.Base(), *b = nullptr, *p3 = nullptr, *p4 = nullptr;
    if (split) {
        b = iim.Base();
        if (!in_place) p3 = ore.Base(), p4 = oim.Base();
    } else if (!in_place) {
        b = ore.Base();
    }
    T **slots[4] = {&a, &b, &p3, &p4};
    const int used = split ? (in_place ? 2 : 4) : (in_place ? 1 : 2);
    const bool null_given = null_at >= 0 && null_at < used;
    if (null_given) *slots[null_at] = nullptr;
    TRACE("compute %s %s\n", forward ? "forward" : "backward", in_place ? "in place" : "out of place");
    Buffer<T> *bufs[4] = {&ire, &iim, &ore, &oim};
    std::vector<T> before[4];
    for (int k = 0; k < 4; ++k) before[k] = bufs[k]->data;
    const int32_t s = forward ? DftiComputeForward(h, a, b, p3, p4) : DftiComputeBackward(h, a, b, p3, p4);
    if (!c.committed && !c.maybe_committed) {
        if (s != DftiStatusInvalidConfiguration) Fail("uncommitted descriptor: status other than 2");
    } else if (!c.committed) {
        if (s != DftiStatusNoError && s != DftiStatusInvalidConfiguration) Fail("compute status");
    } else if (null_given) {
        if (s != DftiStatusInvalidConfiguration) Fail("null data pointer: status other than 2");
    } else if (s != DftiStatusNoError && s != DftiStatusMemoryError) {
        Fail("committed compute failed");
    }
    // A refused compute writes nothing at all (bitwise: inputs may be NaN);
    // any compute leaves the gaps alone (unused buffers are empty).
    for (int k = 0; k < 4; ++k) {
        const std::vector<T> &now = bufs[k]->data;
        if (s != DftiStatusNoError && s != DftiStatusMemoryError && !now.empty() &&
            std::memcmp(before[k].data(), now.data(), now.size() * sizeof(T)))
            Fail("refused compute wrote data");
        bufs[k]->CheckGaps();
    }
    const double scale = forward ? c.fscale : c.bscale;
    if (s != DftiStatusNoError || real || !finite || !std::isfinite(scale) || std::fabs(scale) > 1e6) return;
    if (os.Points() > kMaxCheckPoints || !os.Injective() || (in_place && !is.Injective())) return;
    if (in_place) CheckComplex(c, forward, is, x, ire, split ? &iim : nullptr);
    else CheckComplex(c, forward, os, x, ore, split ? &oim : nullptr);
}

int32_t IntValue(Input &in, int32_t param) {
    auto pick = [&](int32_t lo, int32_t hi) { return in.Byte() < 224 ? in.Range(lo, hi) : in.Count(0, 60); };
    switch (param) {
        case DftiParamTransformCount: return in.Count(0, 4, {-1, INT32_MAX, 1 << 20});
        case DftiParamInputDistance:
        case DftiParamOutputDistance: return in.Count(-40, 40, {INT32_MAX, INT32_MIN, 1 << 30});
        case DftiParamUserThreadCount: return in.Count(0, 4, {-1, 64});
        case DftiParamThreadLimit: return in.Count(-1, 4, {INT32_MIN, 16});
        case DftiParamLayout8:
        case DftiParamLayout9:
        case DftiParamLayout10: return pick(39, 42);
        case DftiParamPlacement: return pick(43, 44);
        case DftiParamPolicy: return pick(51, 52);
        case DftiParamOrdering: return pick(48, 50);
        case DftiParamPackFormat: return pick(54, 57);
        default: return in.Count(30, 60, {-1, 0, INT32_MAX});
    }
}

void Create(Input &in, DftiHandle *h, Config *c) {
    Config n;
    const uint8_t how = in.Byte() % 8;
    n.precision = in.Byte() < 240 ? (in.Flag() ? DftiValueDouble : DftiValueSingle) : in.Range(30, 40);
    n.domain = in.Byte() < 240 ? (in.Flag() ? DftiValueComplex : DftiValueReal) : in.Range(30, 40);
    n.rank = in.Byte() < 240 ? in.Range(1, 3) : in.Range(-1, 9);
    // Small lengths, or one of the edges: lengths whose plans exceed the
    // allocation limit below must fail with a status, not a crash.
    static const int32_t kEdges[] = {0, -1, 1 << 16, 65537, 1 << 29, INT32_MAX, INT32_MIN, 46341};
    for (int32_t &len : n.len) len = in.Byte() < 240 ? in.Range(1, 12) : kEdges[in.Byte() % 8];
    const bool null_out = in.Byte() > 248;
    DftiHandle *out = null_out ? nullptr : h;
    const bool single = n.precision == DftiValueSingle;
    int32_t s;
    if (how < 3)
        s = n.rank == 1 ? DftiCreateDescriptor(out, n.precision, n.domain, 1, n.len[0])
                        : DftiCreateDescriptor(out, n.precision, n.domain, n.rank, n.len);
    else if (how < 5)
        s = single ? DftiCreateDescriptor_s_1d(out, n.domain, n.len[0]) : DftiCreateDescriptor_d_1d(out, n.domain, n.len[0]);
    else
        s = single ? DftiCreateDescriptor_s_md(out, n.domain, n.rank, n.len)
                   : DftiCreateDescriptor_d_md(out, n.domain, n.rank, n.len);
    TRACE("create how=%d prec=%d dom=%d rank=%d len=%d,%d,%d -> %d\n", how, n.precision, n.domain, n.rank,
          n.len[0], n.len[1], n.len[2], s);
    if (how >= 3 && how < 5) n.rank = 1;
    if (how >= 3 && !single) n.precision = DftiValueDouble;
    bool valid = n.rank >= 1 && n.rank <= 7 && (single || n.precision == DftiValueDouble) &&
                 (n.domain == DftiValueComplex || n.domain == DftiValueReal);
    for (int k = 0; k < n.rank && valid; ++k) valid = n.len[k] > 0;
    if (null_out) {
        if (s != DftiStatusInconsistentConfiguration) Fail("create with a null out-pointer");
    } else if (!valid) {
        if (s != DftiStatusInvalidConfiguration || *h) Fail("invalid create accepted");
    } else if (s == DftiStatusMemoryError) {
        if (*h) Fail("failed create left a handle");
    } else if (s != DftiStatusNoError || !*h) {
        Fail("valid create refused");
    } else {
        // Default strides as the library stores them: the last dimension
        // fastest, products wrapped to 32 bits.
        for (int32_t k = n.rank - 1, st = 1; k >= 0; st = int32_t(int64_t(st) * n.len[k--]))
            n.istr[k + 1] = n.ostr[k + 1] = st;
        *c = n;
    }
}

void SetValue(Input &in, DftiHandle h, Config *c) {
    const int32_t param = in.Byte() < 248 ? in.Range(0, 29) : in.Int32();
    int32_t s;
    bool uncommits = true;
    if (param == DftiParamForwardScale || param == DftiParamBackwardScale) {
        const double v = in.Byte() < 200 ? in.Value() * 4 : in.Double();
        double &cur = param == DftiParamForwardScale ? c->fscale : c->bscale;
        if ((s = DftiSetValue(h, param, v)) != DftiStatusNoError) Fail("scale refused");
        uncommits = !(v == cur && std::signbit(v) == std::signbit(cur));
        cur = v;
    } else if (param == DftiParamInputStrides || param == DftiParamOutputStrides) {
        int32_t str[8];
        for (int k = 0; k <= c->rank; ++k) str[k] = in.Count(-6, 12, {INT32_MAX, INT32_MIN, 1 << 20, -(1 << 20)});
        if ((s = DftiSetValue(h, param, str)) != DftiStatusNoError) Fail("strides refused");
        std::copy(str, str + c->rank + 1, param == DftiParamInputStrides ? c->istr : c->ostr);
    } else if (param == DftiParamName) {
        char name[24];
        const int n = in.Range(0, 23);
        for (int k = 0; k < n; ++k) name[k] = char(in.Range(1, 255));
        name[n] = 0;
        if ((s = DftiSetValue(h, param, name)) != DftiStatusNoError) Fail("name refused");
        uncommits = false;
    } else {
        const int32_t v = IntValue(in, param);
        s = DftiSetValue(h, param, v);
        TRACE("set %d = %d -> %d\n", param, v, s);
        if (s == DftiStatusNoError) {
            switch (param) {
                case DftiParamTransformCount: c->count = v; break;
                case DftiParamLayout8: c->layout8 = v; break;
                case DftiParamLayout10: c->pack = v == DftiValueLayout39 ? DftiValuePack57 : c->pack; break;
                case DftiParamPlacement: c->placement = v; break;
                case DftiParamInputDistance: c->idist = v; break;
                case DftiParamOutputDistance: c->odist = v; break;
                case DftiParamPackFormat: c->pack = v; break;
                default: break;
            }
        } else if (s != DftiStatusInconsistentConfiguration && s != DftiStatusUnimplemented) {
            Fail("set-value status outside 0, 3, 6");
        }
    }
    // Parameters whose value type is not fixed, and unknown ones, may be
    // refused before the state is touched.
    if (param == DftiParamFixed1 || param == DftiParamFixed2 || param == DftiParamFixed23 || param < 0 ||
        param > DftiParamThreadLimit) {
        if (s != DftiStatusInconsistentConfiguration) Fail("untyped parameter accepted");
        c->maybe_committed |= c->committed;
        c->committed = false;
    } else if (uncommits) {
        c->committed = c->maybe_committed = false;
    }
}

void Commit(DftiHandle h, Config *c) {
    const int32_t s = DftiCommitDescriptor(h);
    TRACE("commit -> %d\n", s);
    c->committed = s == DftiStatusNoError;
    c->maybe_committed = false;
    switch (s) {
        case DftiStatusNoError:
        case DftiStatusMemoryError:
        case DftiStatusInvalidConfiguration:
        case DftiStatusInconsistentConfiguration:
        case DftiStatusUnimplemented:
        case DftiStatusUserThreads:
        case DftiStatusLengthOverflow: return;
        default: Fail("commit status");
    }
}

}  // namespace

// Allocations above 2 GiB fail (as on a 32-bit process) instead of ending
// the run: the library must turn them into a status.
extern "C" const char *__asan_default_options() { return "allocator_may_return_null=1:max_allocation_size_mb=2048"; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    DftiHandle h = nullptr;
    Config c;
    for (int step = 0; step < 24 && !in.Empty(); ++step) {
        const uint8_t op = in.Byte() % 8;
        if (!h && op != 7) {
            Create(in, &h, &c);
        } else if (op < 3) {
            SetValue(in, h, &c);
        } else if (op == 3) {
            Commit(h, &c);
        } else if (op < 6) {
            if (c.precision == DftiValueDouble) Compute<double>(in, h, c);
            else Compute<float>(in, h, c);
        } else if (op == 6) {
            if (DftiFreeDescriptor(&h) != DftiStatusNoError || h) Fail("free");
            if (DftiFreeDescriptor(&h) != DftiStatusBadDescriptor) Fail("second free");
        } else if (DftiCommitDescriptor(nullptr) != DftiStatusBadDescriptor ||
                   DftiComputeForward(nullptr, nullptr) != DftiStatusBadDescriptor ||
                   DftiSetValue(nullptr, DftiParamPlacement, 43) != DftiStatusBadDescriptor ||
                   DftiFreeDescriptor(nullptr) != DftiStatusInconsistentConfiguration) {
            Fail("null handle");
        }
    }
    if (h && DftiFreeDescriptor(&h) != DftiStatusNoError) Fail("final free");
    return 0;
}
