// Naive long-double DFT oracle and the layout-building case runners.
#include "engine_oracle.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include "dft/engine/engine_internal.h"
#include "include/orb_dfti.h"

namespace orb::dft::test {

namespace {

constexpr double kSentinel = 12345.0;

LCx RootL(int sign, int64_t num, int64_t den) {
    num %= den;
    if (num < 0) num += den;
    const long double a = 2.0L * 3.141592653589793238462643383279502884L * (long double)num / (long double)den;
    return {cosl(a), sign * sinl(a)};
}

// Bin k of the DFT of x[0], x[stride], ...; w holds the n roots.
LCx Bin(const LCx *x, int64_t stride, const std::vector<LCx> &w, int64_t k) {
    const int64_t n = (int64_t)w.size();
    LCx s = 0;
    for (int64_t j = 0, idx = 0; j < n; ++j) {
        s += x[j * stride] * w[idx];
        idx += k;
        if (idx >= n) idx -= n;
    }
    return s;
}

int64_t Product(const std::vector<int64_t> &v) {
    int64_t p = 1;
    for (int64_t x : v) p *= x;
    return p;
}

// Row-major strides: innermost `unit`, each outer level spanning the inner
// one plus `pad`; axis `negate` (if any) runs backwards.
std::vector<int64_t> Strides(const std::vector<int64_t> &shape, int64_t unit, int64_t pad, int negate) {
    std::vector<int64_t> s(shape.size());
    int64_t span = std::llabs(unit);
    for (size_t i = shape.size(); i-- > 0;) {
        s[i] = i + 1 == shape.size() ? unit : span + pad;
        span = std::llabs(s[i]) * shape[i];
    }
    if (negate >= 0) s[negate] = -s[negate];
    return s;
}

struct Layout {
    std::vector<int64_t> shape, stride;
    int64_t base = 0, size = 1;  // element 0's offset; elements spanned
    Layout(std::vector<int64_t> sh, std::vector<int64_t> st, int64_t lead = 0)
        : shape(std::move(sh)), stride(std::move(st)), base(lead) {
        int64_t hi = 0;
        for (size_t i = 0; i < shape.size(); ++i) (stride[i] < 0 ? base : hi) += (shape[i] - 1) * std::llabs(stride[i]);
        size = base + hi + 1;
    }
    // Buffer offset of row-major logical index `flat`.
    int64_t Offset(int64_t flat) const {
        int64_t off = base;
        for (size_t i = shape.size(); i-- > 0;) {
            off += (flat % shape[i]) * stride[i];
            flat /= shape[i];
        }
        return off;
    }
};

template <class T>
struct Buffer {
    bool complex = true, split = false;
    std::vector<T> a, b;  // interleaved or real in a; split: re in a, im in b
    Buffer() = default;
    Buffer(int64_t size, bool is_complex, bool is_split)
        : complex(is_complex), split(is_complex && is_split),
          a(size_t(complex && !split ? 2 * size : size), T(kSentinel)), b(size_t(split ? size : 0), T(kSentinel)) {}
    void Put(int64_t off, LCx v) {
        if (!complex) a[off] = T(v.real());
        else if (split) a[off] = T(v.real()), b[off] = T(v.imag());
        else a[2 * off] = T(v.real()), a[2 * off + 1] = T(v.imag());
    }
    LCx Get(int64_t off) const {
        if (!complex) return {a[off], 0};
        if (split) return {a[off], b[off]};
        return {a[2 * off], a[2 * off + 1]};
    }
    // Appends the first `count` elements of `l` to `got`; answers whether
    // anything else in the layout's span changed from the sentinel.
    bool Gather(const Layout &l, int64_t count, std::vector<LCx> &got) const {
        std::vector<char> used(size_t(l.size), 0);
        for (int64_t i = 0; i < count; ++i) {
            got.push_back(Get(l.Offset(i)));
            used[size_t(l.Offset(i))] = 1;
        }
        const LCx untouched(T(kSentinel), complex ? T(kSentinel) : T(0));
        for (int64_t off = 0; off < l.size; ++off)
            if (!used[size_t(off)] && Get(off) != untouched) return true;
        return false;
    }
};

template <class T>
Outcome Run(const Case &c) {
    Outcome out;
    const size_t rank = c.dims.size(), nb = c.batch.size();
    std::vector<int64_t> full = c.batch;  // logical shape: batch then dims
    full.insert(full.end(), c.dims.begin(), c.dims.end());
    std::vector<int64_t> half = full;  // complex side of a real transform
    if (c.kind != EngineKind::C2C) half.back() = half.back() / 2 + 1;
    const bool in_complex = c.kind != EngineKind::R2C, out_complex = c.kind != EngineKind::C2R;
    const std::vector<int64_t> &in_shape = c.kind == EngineKind::C2R ? half : full;
    const std::vector<int64_t> &out_shape = c.kind == EngineKind::R2C ? half : full;

    // Logical input and the expected output.
    const int64_t total = Product(full);
    const uint64_t seed = 0x9e3779b97f4a7c15ull ^ (uint64_t)total;
    const std::vector<LCx> x = c.kind == EngineKind::C2C ? RandomComplex(total, seed) : RandomReal(total, seed);
    std::vector<LCx> spectrum = x;
    const int sign = c.kind == EngineKind::C2R ? 1 : c.kind == EngineKind::R2C ? -1 : c.sign;
    for (size_t ax = nb; ax < full.size(); ++ax) NaiveAxis(spectrum, full, int(ax), c.kind == EngineKind::C2C ? sign : -1);
    auto halve = [&](const std::vector<LCx> &f) {
        std::vector<LCx> h(Product(half));
        const int64_t nl = full.back(), hl = half.back();
        for (int64_t i = 0; i < (int64_t)h.size(); ++i) h[i] = f[(i / hl) * nl + i % hl];
        return h;
    };
    std::vector<LCx> input = x, expect = spectrum;
    if (c.kind == EngineKind::R2C) {
        expect = halve(spectrum);
    } else if (c.kind == EngineKind::C2R) {
        input = halve(spectrum), expect = x;
        for (auto &v : expect) v *= (long double)Product(c.dims);
    }
    for (auto &v : expect) v *= (long double)c.scale;

    // Caller-style layouts.
    const int neg = c.negate_outer && full.size() > 1 ? 0 : -1;
    std::vector<int64_t> si, so;
    if (c.in_place && c.kind == EngineKind::C2C) {
        si = so = Strides(in_shape, c.in_unit, c.pad, neg);
    } else if (c.in_place) {
        // The padded real layout: complex rows and real rows share storage.
        si = so = Strides(half, 1, c.pad, neg);
        for (size_t i = 0; i + 1 < si.size(); ++i) si[i] *= 2;
        if (c.kind == EngineKind::C2R) std::swap(si, so);
    } else {
        si = Strides(in_shape, c.in_unit, c.pad, neg);
        so = Strides(out_shape, c.out_unit, c.pad + 1, neg);
    }
    const Layout li(in_shape, si), lo(out_shape, so);
    Buffer<T> bin(li.size, in_complex, c.split_in), bout;
    for (int64_t i = 0; i < (int64_t)input.size(); ++i) bin.Put(li.Offset(i), input[i]);
    if (!c.in_place) bout = Buffer<T>(lo.size, out_complex, c.split_out);
    else if (out_complex && !c.split_out && (int64_t)bin.a.size() < 2 * lo.size) bin.a.resize(2 * lo.size, T(kSentinel));

    EngineProblem pb;
    pb.kind = c.kind, pb.is_double = c.is_double, pb.sign = sign, pb.rank = int(rank);
    for (size_t j = 0; j < rank; ++j) pb.dims[j] = {c.dims[j], li.stride[nb + j], lo.stride[nb + j]};
    pb.howmany_rank = int(nb);
    for (size_t k = 0; k < nb; ++k) pb.howmany[k] = {c.batch[k], li.stride[k], lo.stride[k]};
    pb.split_in = c.split_in, pb.split_out = c.split_out, pb.scale = c.scale, pb.nthreads = c.nthreads;
    EnginePlan *plan = c.level ? EnginePlanCreateForLevel(pb, c.level, &out.create_status)
                               : EnginePlanCreate(pb, &out.create_status);
    if (!plan) return out;

    // Pointers at element 0 of every dimension, in each side's own units;
    // in place a real side addresses the same storage in reals.
    Buffer<T> &ob = c.in_place ? bin : bout;
    ob.complex = out_complex;
    auto at = [](std::vector<T> &v, int64_t off) -> void * { return v.empty() ? nullptr : v.data() + off; };
    const bool in_il = in_complex && !c.split_in, out_il = out_complex && !c.split_out;
    const std::vector<T> in_a = bin.a, in_b = bin.b;
    out.exec_status = EngineExecute(plan, at(bin.a, (in_il ? 2 : 1) * li.base), at(bin.b, li.base),
                                    at(ob.a, (out_il ? 2 : 1) * lo.base),
                                    out_complex && c.split_out ? at(ob.b, lo.base) : nullptr);
    EnginePlanDestroy(plan);

    std::vector<LCx> got;
    out.stray_write = ob.Gather(lo, (int64_t)expect.size(), got) && !c.in_place;
    out.input_changed = !c.in_place && (bin.a != in_a || bin.b != in_b);
    out.error = RelRms(got, expect);
    out.tolerance = Tolerance(c.is_double, Product(c.dims));
    return out;
}

template <class T>
ApiOutcome RunApi(const ApiCase &c) {
    ApiOutcome out;
    const int32_t rank = int32_t(c.lengths.size());
    std::vector<int64_t> shape{c.count};  // the batch as the outermost axis
    shape.insert(shape.end(), c.lengths.begin(), c.lengths.end());
    const int64_t total = Product(shape), n = total / c.count;
    const int neg = c.negate_axis < 0 ? -1 : c.negate_axis + 1;
    const Layout li(shape, Strides(shape, c.unit_in, c.pad, neg), c.offset_in);
    const Layout lo = c.in_place ? li : Layout(shape, Strides(shape, c.unit_out, c.pad, neg), c.offset_out);
    DftiHandle h = nullptr;
    const int32_t precision = c.is_double ? DftiValueDouble : DftiValueSingle;
    if (rank == 1 ? DftiCreateDescriptor(&h, precision, DftiValueComplex, 1, c.lengths[0])
                  : DftiCreateDescriptor(&h, precision, DftiValueComplex, rank, c.lengths.data()))
        return out;
    auto strides = [](const Layout &l) {  // offset, then the transform axes
        std::vector<int32_t> s{int32_t(l.base)};
        for (size_t i = 1; i < l.stride.size(); ++i) s.push_back(int32_t(l.stride[i]));
        return s;
    };
    const std::vector<int32_t> si = strides(li), so = strides(lo);
    DftiSetValue(h, DftiParamPlacement, c.in_place ? DftiValuePlacement43 : DftiValuePlacement44);
    if (c.split) DftiSetValue(h, DftiParamLayout8, DftiValueLayout42);
    DftiSetValue(h, DftiParamTransformCount, c.count);
    DftiSetValue(h, DftiParamInputDistance, int32_t(li.stride[0]));
    DftiSetValue(h, DftiParamOutputDistance, int32_t(lo.stride[0]));
    DftiSetValue(h, DftiParamInputStrides, si.data());
    DftiSetValue(h, DftiParamOutputStrides, so.data());
    DftiSetValue(h, c.backward ? DftiParamBackwardScale : DftiParamForwardScale, c.scale);
    DftiSetValue(h, DftiParamOrdering, c.ordering);
    DftiSetValue(h, DftiParamUserThreadCount, c.user_threads);
    DftiSetValue(h, DftiParamThreadLimit, c.thread_limit);
    out.commit = DftiCommitDescriptor(h);
    if (out.commit) {
        DftiFreeDescriptor(&h);
        return out;
    }

    const std::vector<LCx> x = RandomComplex(total, 977 + n);
    Buffer<T> bin(li.size, true, c.split), bout(c.in_place ? 0 : lo.size, true, c.split);
    for (int64_t i = 0; i < total; ++i) bin.Put(li.Offset(i), x[i]);
    auto compute = [&](bool backward, Buffer<T> &i, Buffer<T> &o) {
        auto f = backward ? DftiComputeBackward : DftiComputeForward;
        if (c.split) return c.in_place ? f(h, i.a.data(), i.b.data()) : f(h, i.a.data(), i.b.data(), o.a.data(), o.b.data());
        return c.in_place ? f(h, i.a.data()) : f(h, i.a.data(), o.a.data());
    };
    Buffer<T> other_in = bin, other_out = bout;
    out.compute = compute(!c.backward, other_in, other_out);
    if (out.compute == 0) out.compute = compute(c.backward, bin, bout);
    DftiFreeDescriptor(&h);
    if (out.compute) return out;

    std::vector<LCx> want = x, got;
    for (int axis = 1; axis <= rank; ++axis) NaiveAxis(want, shape, axis, c.backward ? 1 : -1);
    for (auto &v : want) v *= (long double)c.scale;
    out.stray_write = (c.in_place ? bin : bout).Gather(lo, total, got) && !c.in_place;
    out.error = RelRms(got, want);
    out.tolerance = Tolerance(c.is_double, n);
    return out;
}

}  // namespace

std::vector<LCx> Roots(int sign, int64_t n) {
    std::vector<LCx> w(n);
    for (int64_t j = 0; j < n; ++j) w[j] = RootL(sign, j, n);
    return w;
}

void NaiveAxis(std::vector<LCx> &a, const std::vector<int64_t> &shape, int axis, int sign) {
    const int64_t n = shape[axis];
    int64_t inner = 1, outer = 1;
    for (size_t i = axis + 1; i < shape.size(); ++i) inner *= shape[i];
    for (int i = 0; i < axis; ++i) outer *= shape[i];
    const std::vector<LCx> w = Roots(sign, n);
    std::vector<LCx> row(n);
    for (int64_t o = 0; o < outer; ++o)
        for (int64_t in = 0; in < inner; ++in) {
            LCx *base = a.data() + o * n * inner + in;
            for (int64_t k = 0; k < n; ++k) row[k] = Bin(base, inner, w, k);
            for (int64_t k = 0; k < n; ++k) base[k * inner] = row[k];
        }
}

std::vector<LCx> NaiveBins(const std::vector<LCx> &x, const std::vector<int64_t> &bins, int sign) {
    const std::vector<LCx> w = Roots(sign, (int64_t)x.size());
    std::vector<LCx> out;
    for (int64_t k : bins) out.push_back(Bin(x.data(), 1, w, k));
    return out;
}

double RelRms(const std::vector<LCx> &got, const std::vector<LCx> &ref) {
    long double num = 0, den = 0;
    for (size_t i = 0; i < got.size(); ++i) {
        num += std::norm(got[i] - ref[i]);
        den += std::norm(ref[i]);
    }
    if (!(num == num)) return std::numeric_limits<double>::infinity();
    if (den == 0) return num == 0 ? 0.0 : 1.0;
    return (double)sqrtl(num / den);
}

double Tolerance(bool is_double, int64_t n) {
    const double eps = is_double ? std::numeric_limits<double>::epsilon() : std::numeric_limits<float>::epsilon();
    double lg = std::log2(double(n));
    return 5.0 * eps * (lg < 1.0 ? 1.0 : lg);
}

std::vector<LCx> RandomComplex(int64_t count, uint64_t seed) {
    std::vector<LCx> v(count);
    uint64_t s = seed | 1;
    auto next = [&]() {
        s ^= s << 13, s ^= s >> 7, s ^= s << 17;
        return (long double)(s >> 11) / (long double)(1ull << 52) - 1.0L;
    };
    for (auto &x : v) {
        long double re = next();
        x = {re, next()};
    }
    return v;
}

std::vector<LCx> RandomReal(int64_t count, uint64_t seed) {
    std::vector<LCx> x = RandomComplex(count, seed);
    for (auto &v : x) v = LCx(v.real(), 0);
    return x;
}

std::vector<LCx> NaiveAll(std::vector<LCx> x, const std::vector<int64_t> &shape, int sign) {
    for (int axis = 0; axis < int(shape.size()); ++axis) NaiveAxis(x, shape, axis, sign);
    return x;
}

std::vector<long double> Listing(int32_t format, const std::vector<LCx> &z, int64_t n) {
    std::vector<long double> v;
    const int64_t h = n / 2;
    if (format == DftiValuePack54 || format == DftiValuePack57) {
        for (int64_t k = 0; k <= h; ++k) v.insert(v.end(), {z[k].real(), z[k].imag()});
        return v;
    }
    v.push_back(z[0].real());
    if (format == DftiValuePack56 && n % 2 == 0 && n > 1) v.push_back(z[h].real());
    for (int64_t k = 1; 2 * k < n; ++k) v.insert(v.end(), {z[k].real(), z[k].imag()});
    if (format == DftiValuePack55 && n % 2 == 0 && n > 1) v.push_back(z[h].real());
    return v;
}

Outcome RunCase(const Case &c) { return c.is_double ? Run<double>(c) : Run<float>(c); }

ApiOutcome RunApiCase(const ApiCase &c) { return c.is_double ? RunApi<double>(c) : RunApi<float>(c); }

void ExpectMatches(const Case &c) {
    const Outcome o = RunCase(c);
    ASSERT_EQ(o.create_status, EngineOk) << c.name;
    ASSERT_EQ(o.exec_status, EngineOk) << c.name;
    EXPECT_LE(o.error, o.tolerance) << c.name;
    EXPECT_FALSE(o.stray_write) << c.name;
    EXPECT_FALSE(o.input_changed) << c.name;
}

void ExpectMatches(const ApiCase &c) {
    const ApiOutcome o = RunApiCase(c);
    ASSERT_EQ(o.commit, 0) << c.name;
    ASSERT_EQ(o.compute, 0) << c.name;
    EXPECT_LE(o.error, o.tolerance) << c.name;
    EXPECT_FALSE(o.stray_write) << c.name;
}

}  // namespace orb::dft::test
