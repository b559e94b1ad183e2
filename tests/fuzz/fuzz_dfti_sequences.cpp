// Fuzz target: Fourier descriptor programs. The input is a sequence of
// create / set-value / commit / compute / free operations with arbitrary
// parameters and values. The target mirrors every setting the library
// accepted, and before a compute allocates exactly the elements that
// configuration addresses (offsets, strides, distances and transform count
// of each side), so the sanitizers see any access outside them. It also
// checks that elements between the addressed ones keep their values, that
// statuses stay in the documented sets, and, for small complex transforms
// whose output elements are distinct, the result against a naive DFT.
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
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
    int32_t precision = DftiValueDouble, domain = DftiValueComplex, rank = 1;
    int32_t len[7] = {};
    int32_t placement = DftiValuePlacement43, layout8 = DftiValueLayout39;
    int32_t layout10 = DftiValueLayout40, pack = DftiValuePack54;
    int32_t count = 1, idist = 0, odist = 0;
    int32_t istr[8] = {}, ostr[8] = {};
    double fscale = 1.0, bscale = 1.0;
    bool committed = false;
    bool maybe_committed = false;  // after a setting whose effect on the state is not promised

    void DefaultStrides() {
        int32_t s = 1;
        istr[0] = ostr[0] = 0;
        for (int k = rank - 1; k >= 0; --k) {
            istr[k + 1] = ostr[k + 1] = s;
            s = int32_t(int64_t(s) * len[k]);  // the library's stored default
        }
    }
};

// One side of a compute call: the shape it addresses, in its own elements.
struct Side {
    bool complex = true;   // element = two reals (interleaved) / one per array
    bool split = false;    // separate real and imaginary arrays
    bool packed = false;   // rank-1 real packed format: positions 0..P-1
    int64_t packed_len = 0;
    int32_t rank = 1;
    int64_t n[7] = {};
    int64_t stride[7] = {};
    int64_t offset = 0, count = 1, dist = 0;

    int64_t Points() const {
        // Saturates: only small problems are run.
        int64_t p = count;
        if (packed) return p * packed_len;
        for (int k = 0; k < rank && p <= kMaxPoints; ++k) p *= n[k];
        return p;
    }
    // Calls f(element index) for every addressed element, in a fixed order.
    template <typename F>
    void ForEach(F f) const {
        const int r = packed ? 1 : rank;
        const int64_t len0 = packed ? packed_len : 0;
        int64_t idx[7] = {};
        for (int64_t t = 0; t < count; ++t) {
            std::fill(idx, idx + 7, 0);
            for (;;) {
                int64_t e = offset + t * dist;
                for (int k = 0; k < r; ++k) e += idx[k] * stride[k];
                f(e);
                int k = r - 1;
                for (; k >= 0; --k) {
                    int64_t lim = packed ? len0 : n[k];
                    if (++idx[k] < lim) break;
                    idx[k] = 0;
                }
                if (k < 0) break;
            }
        }
    }
    void Bounds(int64_t *lo, int64_t *hi) const {
        const int r = packed ? 1 : rank;
        *lo = *hi = offset;
        for (int k = 0; k < r; ++k) {
            int64_t span = ((packed ? packed_len : n[k]) - 1) * stride[k];
            (span < 0 ? *lo : *hi) += span;
        }
        int64_t tspan = (count - 1) * dist;
        (tspan < 0 ? *lo : *hi) += tspan;
    }
};

Side MakeSide(const Config &c, bool conj_even, const int32_t *str, int32_t dist) {
    Side s;
    s.rank = c.rank;
    s.offset = str[0];
    s.count = c.count;
    s.dist = dist;
    for (int k = 0; k < c.rank; ++k) {
        s.n[k] = c.len[k];
        s.stride[k] = str[k + 1];
    }
    if (c.domain == DftiValueComplex) {
        s.split = c.layout8 == DftiValueLayout42;
        return s;
    }
    if (!conj_even) {
        s.complex = false;
        return s;
    }
    if (c.pack == DftiValuePack57) {
        s.n[c.rank - 1] = c.len[c.rank - 1] / 2 + 1;
        return s;
    }
    s.complex = false;
    s.packed = true;
    const int64_t n = c.len[0];
    s.packed_len = c.pack == DftiValuePack54 ? 2 * (n / 2 + 1) : n;
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
    bool Cover(const std::vector<const Side *> &sides) {
        int64_t l = INT64_MAX, h = INT64_MIN;
        for (const Side *s : sides) {
            int64_t a, b;
            s->Bounds(&a, &b);
            l = std::min(l, a);
            h = std::max(h, b);
        }
        if (h - l >= 4 * kMaxSpan) return false;
        lo = l;
        data.assign(size_t(h - l + 1) * width, T(kSentinel));
        addressed.assign(data.size(), 0);
        for (const Side *s : sides)
            s->ForEach([&](int64_t e) {
                for (int w = 0; w < width; ++w) addressed[size_t((e - lo) * width + w)] = 1;
            });
        return true;
    }
    T *Base() { return data.data() - lo * width; }
    T &At(int64_t e, int w) { return data[size_t((e - lo) * width + w)]; }
    void CheckGaps() const {
        for (size_t i = 0; i < data.size(); ++i)
            if (!addressed[i] && data[i] != T(kSentinel)) Fail("wrote between addressed elements");
    }
};

// Input values come from a small generator seeded by the program, so a
// short input still gives varied data; one element may be made special.
struct Values {
    uint32_t state;
    int special_at;
    int index = 0;
    double Next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        if (index++ == special_at) return state & 1 ? __builtin_inf() : __builtin_nan("");
        return (state % 2001) / 1000.0 - 1.0;
    }
};

template <typename T>
void FillInput(Values &v, const Side &s, Buffer<T> &re, Buffer<T> *im) {
    s.ForEach([&](int64_t e) {
        for (int w = 0; w < re.width; ++w) re.At(e, w) = T(v.Next());
        if (im) im->At(e, 0) = T(v.Next());
    });
}

template <typename T>
std::complex<long double> Load(Buffer<T> &re, Buffer<T> *im, int64_t e) {
    if (im) return {re.At(e, 0), im->At(e, 0)};
    return {re.At(e, 0), re.At(e, 1)};
}

// A side of complex elements addressed in reals (real in-place transforms).
Side AsReals(Side s) {
    if (s.complex) {
        s.offset *= 2;
        s.dist *= 2;
        for (int k = 0; k < s.rank; ++k) s.stride[k] *= 2;
    }
    return s;
}

// Output elements must be distinct for the result to be defined.
bool Injective(const Side &s) {
    std::vector<int64_t> e;
    s.ForEach([&](int64_t x) { e.push_back(x); });
    std::sort(e.begin(), e.end());
    return std::adjacent_find(e.begin(), e.end()) == e.end();
}

// Naive multi-dimensional DFT in long double of every transform.
template <typename T>
void CheckComplex(const Config &c, bool forward, const Side &os,
                  const std::vector<std::complex<long double>> &x, Buffer<T> &ore, Buffer<T> *oim) {
    const double scale = forward ? c.fscale : c.bscale;
    const long double sign = forward ? -1.0L : 1.0L;
    std::vector<int64_t> outs;
    os.ForEach([&](int64_t e) { outs.push_back(e); });
    const int64_t per = int64_t(outs.size()) / c.count;
    TRACE("checking %lld x %d points against the naive DFT\n", (long long)per, c.count);
    const long double pi = 3.141592653589793238462643383279502884L;
    const double eps = sizeof(T) == 8 ? 1e-13 : 2e-5;
    for (int64_t t = 0; t < c.count; ++t) {
        long double norm = 0;
        for (int64_t j = 0; j < per; ++j) norm += std::abs(x[t * per + j]);
        for (int64_t k = 0; k < per; ++k) {
            std::complex<long double> sum = 0;
            for (int64_t j = 0; j < per; ++j) {
                // Phase sum_d j_d k_d / n_d from the mixed-radix digits.
                long double phase = 0;
                int64_t jj = j, kk = k;
                for (int d = c.rank - 1; d >= 0; --d) {
                    phase += (long double)((jj % c.len[d]) * (kk % c.len[d]) % c.len[d]) / c.len[d];
                    jj /= c.len[d];
                    kk /= c.len[d];
                }
                sum += x[t * per + j] * std::polar(1.0L, sign * 2 * pi * phase);
            }
            sum *= (long double)scale;
            std::complex<long double> got = Load(ore, oim, outs[size_t(t * per + k)]);
            long double tol = eps * (norm * std::fabs(scale) + 1e-30L) * (1 + std::log2((double)per));
            if (std::abs(got - sum) > tol) Fail("complex result differs from the naive DFT");
        }
    }
}

template <typename T>
void Compute(Input &in, DftiHandle h, const Config &c) {
    const bool forward = in.Flag();
    const bool in_place = c.placement == DftiValuePlacement43;
    const bool real = c.domain == DftiValueReal;
    if (real && c.pack != DftiValuePack57 && c.rank > 1 && c.committed) Fail("packed rank > 1 committed");
    Side is = MakeSide(c, real && !forward, c.istr, c.idist);
    Side os = MakeSide(c, real && forward, in_place && !real ? c.istr : c.ostr,
                       in_place && !real ? c.idist : c.odist);
    if (c.count < 1 || is.Points() > kMaxPoints || os.Points() > kMaxPoints) return;
    for (const Side *s : {&is, &os}) {
        int64_t lo, hi;
        s->Bounds(&lo, &hi);
        if (hi - lo >= kMaxSpan) return;
    }
    const bool split = is.split;
    const int in_width = is.complex && !split ? 2 : 1, out_width = os.complex && !split ? 2 : 1;
    Buffer<T> ire, iim, ore, oim;
    ire.width = in_width;
    ore.width = out_width;
    if (in_place) {
        // Real in place: one array read with the input layout and written
        // with the output layout, both in their own element sizes.
        if (real) {
            ire.width = 1;
            Side is_r = AsReals(is), os_r = AsReals(os);
            Side is_pairs = is_r, os_pairs = os_r;
            // A complex element's imaginary part sits one real further.
            for (Side *s : {&is_pairs, &os_pairs}) s->offset += 1;
            std::vector<const Side *> all = {&is_r, &os_r};
            if (is.complex) all.push_back(&is_pairs);
            if (os.complex) all.push_back(&os_pairs);
            if (!ire.Cover(all)) return;
        } else if (!ire.Cover({&is})) {
            return;
        }
    } else if (!ire.Cover({&is}) || !ore.Cover({&os})) {
        return;
    }
    if (split) {
        iim.width = 1;
        if (!iim.Cover({&is})) return;
        if (!in_place) {
            oim.width = 1;
            if (!oim.Cover({&os})) return;
        }
    }
    // Input values (real in place: through the real-indexed array).
    Values gen{uint32_t(in.Byte()) * 2654435761u + 1u, in.Byte() > 232 ? in.Range(0, 7) : -1};
    const bool finite = gen.special_at < 0;
    std::vector<std::complex<long double>> x;
    if (in_place && real) {
        AsReals(is).ForEach([&](int64_t e) {
            ire.At(e, 0) = T(gen.Next());
            if (is.complex) ire.At(e + 1, 0) = T(gen.Next());
        });
    } else {
        FillInput(gen, is, ire, split ? &iim : nullptr);
        if (!real) is.ForEach([&](int64_t e) { x.push_back(Load(ire, split ? &iim : nullptr, e)); });
    }
    // Occasionally a null data pointer: must be refused.
    const int null_at = in.Byte() > 240 ? in.Range(0, 3) : -1;
    T *a = ire.Base(), *b = nullptr, *p3 = nullptr, *p4 = nullptr;
    if (split) {
        b = iim.Base();
        if (!in_place) {
            p3 = ore.Base();
            p4 = oim.Base();
        }
    } else if (!in_place) {
        b = ore.Base();
    }
    T **slots[4] = {&a, &b, &p3, &p4};
    const int used = split ? (in_place ? 2 : 4) : (in_place ? 1 : 2);
    if (null_at >= 0 && null_at < used) *slots[null_at] = nullptr;
    TRACE("compute %s %s\n", forward ? "forward" : "backward", in_place ? "in place" : "out of place");
    const std::vector<T> before[4] = {ire.data, iim.data, ore.data, oim.data};
    int32_t s = forward ? DftiComputeForward(h, a, b, p3, p4) : DftiComputeBackward(h, a, b, p3, p4);
    if (!c.committed && !c.maybe_committed) {
        if (s != DftiStatusInvalidConfiguration) Fail("uncommitted descriptor: status other than 2");
    } else if (!c.committed) {
        if (s != DftiStatusNoError && s != DftiStatusInvalidConfiguration) Fail("compute status");
    } else if (null_at >= 0 && null_at < used) {
        if (s != DftiStatusInvalidConfiguration) Fail("null data pointer: status other than 2");
    } else if (s != DftiStatusNoError && s != DftiStatusMemoryError) {
        Fail("committed compute failed");
    }
    // A refused compute writes nothing at all (bitwise: inputs may be NaN).
    const std::vector<T> *after[4] = {&ire.data, &iim.data, &ore.data, &oim.data};
    if (s != DftiStatusNoError && s != DftiStatusMemoryError)
        for (int k = 0; k < 4; ++k)
            if (!before[k].empty() && std::memcmp(before[k].data(), after[k]->data(), before[k].size() * sizeof(T)))
                Fail("refused compute wrote data");
    ire.CheckGaps();
    if (split) iim.CheckGaps();
    if (!in_place) {
        ore.CheckGaps();
        if (split) oim.CheckGaps();
    }
    if (s != DftiStatusNoError || real || !finite) return;
    const double scale = forward ? c.fscale : c.bscale;
    if (!std::isfinite(scale) || std::fabs(scale) > 1e6) return;
    if (os.Points() > kMaxCheckPoints || !Injective(os)) return;
    if (in_place && !Injective(is)) return;
    if (in_place)
        CheckComplex(c, forward, is, x, ire, split ? &iim : nullptr);
    else
        CheckComplex(c, forward, os, x, ore, split ? &oim : nullptr);
}

// Small lengths, or one of the edges: lengths whose plans exceed the
// allocation limit below must fail with a status, not a crash.
int32_t Length(Input &in) {
    static const int32_t kEdges[] = {0, -1, 1 << 16, 65537, 1 << 29, INT32_MAX, INT32_MIN, 46341};
    return in.Byte() < 240 ? in.Range(1, 12) : kEdges[in.Byte() % 8];
}

int32_t IntValue(Input &in, int32_t param) {
    switch (param) {
        case DftiParamTransformCount: return in.Count(0, 4, {-1, INT32_MAX, 1 << 20});
        case DftiParamInputDistance:
        case DftiParamOutputDistance: return in.Count(-40, 40, {INT32_MAX, INT32_MIN, 1 << 30});
        case DftiParamUserThreadCount: return in.Count(0, 4, {-1, 64});
        case DftiParamThreadLimit: return in.Count(-1, 4, {INT32_MIN, 16});
        case DftiParamLayout8:
        case DftiParamLayout9:
        case DftiParamLayout10: return in.Byte() < 224 ? in.Range(39, 42) : in.Count(0, 60);
        case DftiParamPlacement: return in.Byte() < 224 ? in.Range(43, 44) : in.Count(0, 60);
        case DftiParamPolicy: return in.Byte() < 224 ? in.Range(51, 52) : in.Count(0, 60);
        case DftiParamOrdering: return in.Byte() < 224 ? in.Range(48, 50) : in.Count(0, 60);
        case DftiParamPackFormat: return in.Byte() < 224 ? in.Range(54, 57) : in.Count(0, 60);
        default: return in.Count(30, 60, {-1, 0, INT32_MAX});
    }
}

void Create(Input &in, DftiHandle *h, Config *c) {
    Config n;
    const uint8_t how = in.Byte() % 8;
    n.precision = in.Byte() < 240 ? (in.Flag() ? DftiValueDouble : DftiValueSingle) : in.Range(30, 40);
    n.domain = in.Byte() < 240 ? (in.Flag() ? DftiValueComplex : DftiValueReal) : in.Range(30, 40);
    n.rank = in.Byte() < 240 ? in.Range(1, 3) : in.Range(-1, 9);
    for (int k = 0; k < 7; ++k) n.len[k] = Length(in);
    const bool null_out = in.Byte() > 248;
    DftiHandle *out = null_out ? nullptr : h;
    int32_t s;
    if (how < 3)
        s = n.rank == 1 ? DftiCreateDescriptor(out, n.precision, n.domain, 1, n.len[0])
                        : DftiCreateDescriptor(out, n.precision, n.domain, n.rank, n.len);
    else if (how < 5)
        s = n.precision == DftiValueSingle ? DftiCreateDescriptor_s_1d(out, n.domain, n.len[0])
                                           : DftiCreateDescriptor_d_1d(out, n.domain, n.len[0]);
    else
        s = n.precision == DftiValueSingle ? DftiCreateDescriptor_s_md(out, n.domain, n.rank, n.len)
                                           : DftiCreateDescriptor_d_md(out, n.domain, n.rank, n.len);
    TRACE("create how=%d prec=%d dom=%d rank=%d len=%d,%d,%d -> %d\n", how, n.precision,
          n.domain, n.rank, n.len[0], n.len[1], n.len[2], s);
    if (how >= 3 && how < 5) n.rank = 1;
    if (how >= 3 && n.precision != DftiValueSingle) n.precision = DftiValueDouble;
    bool valid = !null_out && n.rank >= 1 && n.rank <= 7 &&
                 (n.precision == DftiValueSingle || n.precision == DftiValueDouble) &&
                 (n.domain == DftiValueComplex || n.domain == DftiValueReal);
    for (int k = 0; k < n.rank && valid; ++k) valid = n.len[k] > 0;
    if (null_out) {
        if (s != DftiStatusInconsistentConfiguration) Fail("create with a null out-pointer");
        return;
    }
    if (!valid) {
        if (s != DftiStatusInvalidConfiguration || *h) Fail("invalid create accepted");
        return;
    }
    if (s == DftiStatusMemoryError) {
        if (*h) Fail("failed create left a handle");
        return;
    }
    if (s != DftiStatusNoError || !*h) Fail("valid create refused");
    n.DefaultStrides();
    *c = n;
}

void SetValue(Input &in, DftiHandle h, Config *c) {
    const int32_t param = in.Byte() < 248 ? in.Range(0, 29) : in.Int32();
    int32_t s;
    bool uncommits = true;
    switch (param) {
        case DftiParamForwardScale:
        case DftiParamBackwardScale: {
            double v = in.Byte() < 200 ? in.Value() * 4 : in.Double();
            s = DftiSetValue(h, param, v);
            double &cur = param == DftiParamForwardScale ? c->fscale : c->bscale;
            uncommits = !(v == cur && std::signbit(v) == std::signbit(cur));
            if (s == DftiStatusNoError) cur = v;
            else Fail("scale refused");
            break;
        }
        case DftiParamInputStrides:
        case DftiParamOutputStrides: {
            int32_t str[8];
            for (int k = 0; k <= c->rank; ++k)
                str[k] = in.Count(-6, 12, {INT32_MAX, INT32_MIN, 1 << 20, -(1 << 20)});
            s = DftiSetValue(h, param, str);
            if (s == DftiStatusNoError)
                std::copy(str, str + c->rank + 1, param == DftiParamInputStrides ? c->istr : c->ostr);
            else Fail("strides refused");
            break;
        }
        case DftiParamName: {
            char name[24];
            int n = in.Range(0, 23);
            for (int k = 0; k < n; ++k) name[k] = char(in.Range(1, 255));
            name[n] = 0;
            s = DftiSetValue(h, param, name);
            uncommits = false;
            if (s != DftiStatusNoError) Fail("name refused");
            break;
        }
        default: {
            int32_t v = IntValue(in, param);
            s = DftiSetValue(h, param, v);
            TRACE("set %d = %d -> %d\n", param, v, s);
            if (s != DftiStatusNoError) break;
            switch (param) {
                case DftiParamTransformCount: c->count = v; break;
                case DftiParamLayout8: c->layout8 = v; break;
                case DftiParamLayout10:
                    c->layout10 = v;
                    if (v == DftiValueLayout39) c->pack = DftiValuePack57;
                    break;
                case DftiParamPlacement: c->placement = v; break;
                case DftiParamInputDistance: c->idist = v; break;
                case DftiParamOutputDistance: c->odist = v; break;
                case DftiParamPackFormat: c->pack = v; break;
                default: break;
            }
        }
    }
    if (s != DftiStatusNoError && s != DftiStatusInconsistentConfiguration &&
        s != DftiStatusUnimplemented)
        Fail("set-value status outside 0, 3, 6");
    // Parameters whose value type is not fixed, and unknown ones, may be
    // refused before the state is touched.
    const bool untyped = param == DftiParamFixed1 || param == DftiParamFixed2 ||
                         param == DftiParamFixed23 || param < 0 || param > DftiParamThreadLimit;
    if (untyped) {
        if (s != DftiStatusInconsistentConfiguration) Fail("untyped parameter accepted");
        c->maybe_committed |= c->committed;
        c->committed = false;
    } else if (uncommits) {
        c->committed = c->maybe_committed = false;
    }
}

void Commit(DftiHandle h, Config *c) {
    int32_t s = DftiCommitDescriptor(h);
    TRACE("commit -> %d\n", s);
    switch (s) {
        case DftiStatusNoError: c->committed = true; c->maybe_committed = false; return;
        case DftiStatusMemoryError:
        case DftiStatusInvalidConfiguration:
        case DftiStatusInconsistentConfiguration:
        case DftiStatusUnimplemented:
        case DftiStatusUserThreads:
        case DftiStatusLengthOverflow: c->committed = c->maybe_committed = false; return;
        default: Fail("commit status");
    }
}

}  // namespace

// Allocations above 2 GiB fail (as on a 32-bit process) instead of ending
// the run: the library must turn them into a status.
extern "C" const char *__asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=2048";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    DftiHandle h = nullptr;
    Config c;
    for (int step = 0; step < 24 && !in.Empty(); ++step) {
        const uint8_t op = in.Byte() % 8;
        if (!h && op != 7) {
            Create(in, &h, &c);
            continue;
        }
        switch (op) {
            case 0: case 1: case 2: SetValue(in, h, &c); break;
            case 3: Commit(h, &c); break;
            case 4: case 5:
                if (c.precision == DftiValueDouble) Compute<double>(in, h, c);
                else Compute<float>(in, h, c);
                break;
            case 6: {
                if (DftiFreeDescriptor(&h) != DftiStatusNoError || h) Fail("free");
                if (DftiFreeDescriptor(&h) != DftiStatusBadDescriptor) Fail("second free");
                break;
            }
            case 7:
                if (DftiCommitDescriptor(nullptr) != DftiStatusBadDescriptor ||
                    DftiComputeForward(nullptr, nullptr) != DftiStatusBadDescriptor ||
                    DftiSetValue(nullptr, DftiParamPlacement, 43) != DftiStatusBadDescriptor ||
                    DftiFreeDescriptor(nullptr) != DftiStatusInconsistentConfiguration)
                    Fail("null handle");
                break;
        }
    }
    if (h && DftiFreeDescriptor(&h) != DftiStatusNoError) Fail("final free");
    return 0;
}
