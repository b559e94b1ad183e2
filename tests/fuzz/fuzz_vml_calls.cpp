// Fuzz target: vector-math calls with arbitrary n, null or exactly sized
// arrays (sometimes the output over an input), arbitrary mode words,
// callbacks and prior statuses. Checks the status rules of the call frame,
// that refused calls write nothing, that callbacks see indices inside the
// array, and the exactly rounded functions against the scalar operation.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "fuzz_input.h"
#include "include/orb_vml.h"
#include "vml/vml_frame.h"

namespace {

using orb::fuzz::Fail;
using orb::fuzz::Input;

enum Shape { Unary, Binary, CUnary, CBinary, Powx, LinearFrac };
enum Exact { None, Add, Sub, Mul, Div, Sqr, Abs, Round };

struct Fn {
    const char *name;
    Shape shape;
    bool dbl;
    void *fn;
    Exact exact;
};

// Single and double precision of each function, in that order (the seed
// corpus picks functions by index).
#define F(name, shape, dbl, exact) {#name, shape, dbl, reinterpret_cast<void *>(&name), exact}
#define P(s, d, shape, exact) F(s, shape, false, exact), F(d, shape, true, exact)
const Fn kFns[] = {
    P(vsAdd, vdAdd, Binary, Add),       P(vsSub, vdSub, Binary, Sub),       P(vsMul, vdMul, Binary, Mul),
    P(vsDiv, vdDiv, Binary, Div),       P(vsSqr, vdSqr, Unary, Sqr),        P(vsAbs, vdAbs, Unary, Abs),
    P(vsRound, vdRound, Unary, Round),  P(vsSqrt, vdSqrt, Unary, None),     P(vsCbrt, vdCbrt, Unary, None),
    P(vsInvCbrt, vdInvCbrt, Unary, None), P(vsAtan2, vdAtan2, Binary, None), P(vcAdd, vzAdd, CBinary, Add),
    P(vcMul, vzMul, CBinary, None),     P(vcMulByConj, vzMulByConj, CBinary, None),
    P(vcDiv, vzDiv, CBinary, None),     P(vcAbs, vzAbs, CUnary, None),      P(vsPowx, vdPowx, Powx, None),
    P(vsLinearFrac, vdLinearFrac, LinearFrac, None),
};
#undef P
#undef F

thread_local int g_calls, g_bad_context, g_callback_n, g_callback_answer;

int Callback(VmlErrorContext *c) {
    ++g_calls;
    if (c->code < 1 || c->code > 4 || c->index < 0 || c->index >= g_callback_n || c->func_name_len <= 0 ||
        c->func_name_len >= 64 || c->func_name[c->func_name_len] != 0)
        ++g_bad_context;
    return g_callback_answer;
}

template <typename T>
T Expected(Exact e, T a, T b) {
    switch (e) {
        case Add: return a + b;
        case Sub: return a - b;
        case Mul: return a * b;
        case Div: return a / b;
        case Sqr: return a * a;
        case Abs: return std::fabs(a);
        case Round: return std::round(a);
        default: return 0;
    }
}

template <typename Sig>
Sig *As(const Fn &f) { return reinterpret_cast<Sig *>(f.fn); }

template <typename T>
void Run(Input &in, const Fn &f) {
    const int n = in.Count(0, 260, {-1, -7, 0, 1, 100, 99, 101, INT32_MIN});
    // Arrays of a refused call still exist; a count too large to allocate
    // is only ever passed with a null first array.
    const bool huge = n > 1024;
    const size_t len = n > 0 && !huge ? size_t(n) : 4;
    const size_t lanes = (f.shape == CUnary || f.shape == CBinary) ? 2 : 1, out_lanes = f.shape == CUnary ? 1 : lanes;
    std::vector<T> a(len * lanes), b(len * lanes), y(len * out_lanes, T(-77.0));
    for (std::vector<T> *v : {&a, &b})
        for (T &e : *v) e = T(in.Byte() < 230 ? in.Value() * 8 : in.Double());
    const std::vector<T> a0 = a, b0 = b;
    const uint8_t nulls = in.Byte();
    const T *pa = nulls < 12 || huge ? nullptr : a.data();
    const T *pb = nulls >= 12 && nulls < 24 ? nullptr : b.data();
    T *py = nulls >= 24 && nulls < 36 ? nullptr : y.data();
    const bool alias = py && out_lanes == lanes && in.Byte() < 32;
    if (alias) py = a.data();
    const T s1 = T(in.Value()), s2 = T(in.Value()), s3 = T(in.Value()), s4 = T(in.Value());

    uint32_t mode = uint32_t(in.Int32());
    if (in.Byte() < 252) mode &= ~uint32_t(VmlErrPrint);  // keep the output quiet
    ServVmlSetMode(mode);
    const uint32_t effective = ServVmlGetMode();
    const bool callback = in.Flag();
    ServVmlSetCallback(callback ? Callback : nullptr);
    g_callback_answer = in.Flag();
    g_calls = g_bad_context = 0;
    g_callback_n = n;
    static const int kPrior[] = {0, 1, 2, 3, 4, -1, -2, 1000};
    const int prior = kPrior[in.Byte() % 8];
    ServVmlSetStatus(prior);
    TRACE("%s n=%d mode=%#x prior=%d\n", f.name, n, mode, prior);

    using C = std::conditional_t<sizeof(T) == 8, VmlComplex16, VmlComplex8>;
    const C *ca = reinterpret_cast<const C *>(pa), *cb = reinterpret_cast<const C *>(pb);
    switch (f.shape) {
        case Unary: As<void(int, const T *, T *)>(f)(n, pa, py); break;
        case Binary: As<void(int, const T *, const T *, T *)>(f)(n, pa, pb, py); break;
        case CUnary: As<void(int, const C *, T *)>(f)(n, ca, py); break;
        case CBinary: As<void(int, const C *, const C *, C *)>(f)(n, ca, cb, reinterpret_cast<C *>(py)); break;
        case Powx: As<void(int, const T *, T, T *)>(f)(n, pa, s1, py); break;
        case LinearFrac: As<void(int, const T *, const T *, T, T, T, T, T *)>(f)(n, pa, pb, s1, s2, s3, s4, py); break;
    }
    const int status = ServVmlGetStatus();
    ServVmlSetCallback(nullptr);
    const bool needs_b = f.shape == Binary || f.shape == CBinary || f.shape == LinearFrac;
    const bool refused = n < 0 || (n > 0 && (!pa || (needs_b && !pb) || !py));
    if (n == 0 && status != prior) Fail("n = 0 changed the status");
    if (n < 0 && status != -1) Fail("negative n: status");
    if (n > 0 && refused && status != -2) Fail("null pointer: status");
    if (refused || n == 0) {
        for (T v : y)
            if (v != T(-77.0)) Fail("refused call wrote the output");
        if (std::memcmp(a.data(), a0.data(), a.size() * sizeof(T))) Fail("refused call wrote an input");
        return;
    }
    if (!(status == prior || (status >= 0 && status <= 4) || status == 1000)) Fail("status");
    if (g_bad_context) Fail("callback context");
    if (!callback && g_calls) Fail("callback called without being set");
    if (std::memcmp(b.data(), b0.data(), b.size() * sizeof(T))) Fail("second input written");
    if (f.exact == None || (effective & VmlModeDenormMask) == VmlModeDenormFlush) return;
    const T *out = alias ? a.data() : y.data();
    for (size_t i = 0; i < size_t(n) * lanes; ++i) {
        const T want = Expected(f.exact, a0[i], b0[i]);
        if (!(std::isnan(out[i]) && std::isnan(want)) && std::memcmp(&out[i], &want, sizeof want))
            Fail("result not exactly rounded");
    }
}

}  // namespace

// Reports of exceptional elements go to standard output: keep it quiet.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    if (!std::freopen("/dev/null", "w", stdout)) return 0;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    for (int call = 0; call < 8 && !in.Empty(); ++call) {
        const Fn &f = kFns[in.Byte() % std::size(kFns)];
        if (f.dbl) Run<double>(in, f);
        else Run<float>(in, f);
    }
    return 0;
}
