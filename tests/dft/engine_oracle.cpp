// Naive long-double DFT oracle and the layout-building case runner.
#include "engine_oracle.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "dft/engine/engine_internal.h"

namespace orb::dft::test {

namespace {

LCx RootL(int sign, int64_t num, int64_t den) {
    num %= den;
    if (num < 0) num += den;
    const long double a = 2.0L * 3.141592653589793238462643383279502884L * (long double)num / (long double)den;
    return {cosl(a), sign * sinl(a)};
}

int64_t Product(const std::vector<int64_t> &v) {
    int64_t p = 1;
    for (int64_t x : v) p *= x;
    return p;
}

// Strides (in elements) for a shape: innermost `unit`, each outer level
// spanning the inner one plus `pad`.
std::vector<int64_t> Strides(const std::vector<int64_t> &shape, int64_t unit, int64_t pad, bool negate_outer) {
    std::vector<int64_t> s(shape.size());
    int64_t span = std::llabs(unit);
    for (size_t i = shape.size(); i-- > 0;) {
        if (i + 1 == shape.size()) {
            s[i] = unit;
        } else {
            s[i] = span + pad;
        }
        span = std::llabs(s[i]) * shape[i];
    }
    if (negate_outer && shape.size() > 1) s[0] = -s[0];
    return s;
}

struct Layout {
    std::vector<int64_t> shape, stride;
    int64_t base = 0, size = 1;
    void Finish() {
        base = 0;
        int64_t hi = 0;
        for (size_t i = 0; i < shape.size(); ++i) {
            if (stride[i] < 0) base += -(shape[i] - 1) * stride[i];
            else hi += (shape[i] - 1) * stride[i];
        }
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
    bool complex, split;
    std::vector<T> a, b;  // interleaved/real in a; split: re in a, im in b
    void Alloc(const Layout &l, bool is_complex, bool is_split, T fill) {
        complex = is_complex, split = is_split;
        const int64_t n = (complex && !split) ? 2 * l.size : l.size;
        a.assign(n, fill);
        if (split) b.assign(l.size, fill);
    }
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
    std::vector<LCx> x = RandomComplex(total, 0x9e3779b97f4a7c15ull ^ (uint64_t)total);
    if (c.kind != EngineKind::C2C)
        for (auto &v : x) v = {v.real(), 0};
    std::vector<LCx> spec = x;
    const int sign = c.kind == EngineKind::C2R ? 1 : c.kind == EngineKind::R2C ? -1 : c.sign;
    for (size_t ax = nb; ax < full.size(); ++ax) NaiveAxis(spec, full, int(ax), c.kind == EngineKind::C2C ? sign : -1);
    auto halve = [&](const std::vector<LCx> &f) {
        std::vector<LCx> h(Product(half));
        const int64_t nl = full.back(), hl = half.back();
        for (int64_t i = 0; i < (int64_t)h.size(); ++i) h[i] = f[(i / hl) * nl + i % hl];
        return h;
    };
    std::vector<LCx> input, expect;
    if (c.kind == EngineKind::C2C) {
        input = x, expect = spec;
    } else if (c.kind == EngineKind::R2C) {
        input = x, expect = halve(spec);
    } else {
        input = halve(spec), expect = x;
        const long double n = (long double)Product(c.dims);
        for (auto &v : expect) v *= n;
    }
    for (auto &v : expect) v *= (long double)c.scale;

    // Caller-style layouts.
    Layout li, lo;
    li.shape = in_shape, lo.shape = out_shape;
    if (c.in_place && c.kind == EngineKind::C2C) {
        li.stride = lo.stride = Strides(in_shape, c.in_unit, c.pad, c.negate_outer);
    } else if (c.in_place) {
        // The padded real layout: complex rows and real rows share storage.
        lo.stride = Strides(half, 1, c.pad, c.negate_outer);
        li.stride = lo.stride;
        for (size_t i = 0; i + 1 < li.stride.size(); ++i) li.stride[i] *= 2;
        if (c.kind == EngineKind::C2R) std::swap(li.stride, lo.stride);
    } else {
        li.stride = Strides(in_shape, c.in_unit, c.pad, c.negate_outer);
        lo.stride = Strides(out_shape, c.out_unit, c.pad + 1, c.negate_outer);
    }
    li.Finish(), lo.Finish();
    const T sentinel = T(12345.0);
    Buffer<T> bin, bout;
    bin.Alloc(li, in_complex, in_complex && c.split_in, sentinel);
    for (int64_t i = 0; i < (int64_t)input.size(); ++i) bin.Put(li.Offset(i), input[i]);
    if (!c.in_place) bout.Alloc(lo, out_complex, out_complex && c.split_out, sentinel);
    else if (out_complex && !c.split_out && (int64_t)bin.a.size() < 2 * lo.size) bin.a.resize(2 * lo.size, sentinel);

    EngineProblem pb;
    pb.kind = c.kind, pb.is_double = c.is_double, pb.sign = sign, pb.rank = int(rank);
    for (size_t j = 0; j < rank; ++j) pb.dims[j] = {c.dims[j], li.stride[nb + j], lo.stride[nb + j]};
    pb.howmany_rank = int(nb);
    for (size_t k = 0; k < nb; ++k) pb.howmany[k] = {c.batch[k], li.stride[k], lo.stride[k]};
    pb.split_in = c.split_in, pb.split_out = c.split_out, pb.scale = c.scale, pb.nthreads = c.nthreads;
    EnginePlan *plan = c.level ? EnginePlanCreateForLevel(pb, c.level, &out.create_status)
                               : EnginePlanCreate(pb, &out.create_status);
    if (!plan) return out;

    // Pointers at element 0 of every dimension, in each side's own units.
    auto ptr = [](std::vector<T> &v, const Layout &l, bool cplx_interleaved) -> void * {
        if (v.empty()) return nullptr;
        return v.data() + (cplx_interleaved ? 2 : 1) * l.base;
    };
    Buffer<T> &ob = c.in_place ? bin : bout;
    const bool in_il = in_complex && !c.split_in, out_il = out_complex && !c.split_out;
    void *ire = ptr(bin.a, li, in_il), *iim = ptr(bin.b, li, false);
    void *ore, *oim;
    if (c.in_place) {
        // Same storage; a real side addresses it in reals.
        ore = bin.a.data() + (out_il ? 2 : 1) * lo.base;
        oim = c.split_out ? ptr(bin.b, lo, false) : nullptr;
        ob.complex = out_complex;
    } else {
        ore = ptr(bout.a, lo, out_il), oim = ptr(bout.b, lo, false);
    }
    out.exec_status = EngineExecute(plan, ire, iim, ore, oim);
    EnginePlanDestroy(plan);

    std::vector<LCx> got(expect.size());
    std::vector<char> used(lo.size, 0);
    for (int64_t i = 0; i < (int64_t)got.size(); ++i) {
        const int64_t off = lo.Offset(i);
        got[i] = ob.Get(off);
        used[off] = 1;
    }
    if (!c.in_place) {
        for (int64_t off = 0; off < lo.size; ++off) {
            if (used[off]) continue;
            LCx v = ob.Get(off);
            if (v.real() != sentinel || (out_complex && v.imag() != sentinel)) out.stray_write = true;
        }
    }
    out.error = RelRms(got, expect);
    int64_t n = Product(c.dims);
    out.tolerance = Tolerance(c.is_double, n);
    return out;
}

}  // namespace

void NaiveAxis(std::vector<LCx> &a, const std::vector<int64_t> &shape, int axis, int sign) {
    const int64_t n = shape[axis];
    int64_t inner = 1, outer = 1;
    for (size_t i = axis + 1; i < shape.size(); ++i) inner *= shape[i];
    for (int i = 0; i < axis; ++i) outer *= shape[i];
    std::vector<LCx> w(n), row(n);
    for (int64_t j = 0; j < n; ++j) w[j] = RootL(sign, j, n);
    for (int64_t o = 0; o < outer; ++o)
        for (int64_t in = 0; in < inner; ++in) {
            LCx *base = a.data() + o * n * inner + in;
            for (int64_t k = 0; k < n; ++k) {
                LCx s = 0;
                int64_t idx = 0;
                for (int64_t j = 0; j < n; ++j) {
                    s += base[j * inner] * w[idx];
                    idx += k;
                    if (idx >= n) idx -= n;
                }
                row[k] = s;
            }
            for (int64_t k = 0; k < n; ++k) base[k * inner] = row[k];
        }
}

std::vector<LCx> NaiveBins(const std::vector<LCx> &x, const std::vector<int64_t> &bins, int sign) {
    const int64_t n = (int64_t)x.size();
    std::vector<LCx> w(n), out;
    for (int64_t j = 0; j < n; ++j) w[j] = RootL(sign, j, n);
    for (int64_t k : bins) {
        LCx s = 0;
        int64_t idx = 0;
        for (int64_t j = 0; j < n; ++j) {
            s += x[j] * w[idx];
            idx += k;
            if (idx >= n) idx -= n;
        }
        out.push_back(s);
    }
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

Outcome RunCase(const Case &c) { return c.is_double ? Run<double>(c) : Run<float>(c); }

}  // namespace orb::dft::test
