// Byte reader shared by the fuzz targets: draws small integers, picks from
// tables of interesting values and yields zeros once the input is used up,
// so every input, however short, is a complete program. The seed corpora
// are encoded for it: a change of how it draws makes them lose their aim.
#ifndef ORB_TESTS_FUZZ_INPUT_H
#define ORB_TESTS_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace orb::fuzz {

class Input {
  public:
    Input(const uint8_t *data, size_t size) : p_(data), end_(data + size) {}

    bool Empty() const { return p_ >= end_; }
    uint8_t Byte() { return p_ < end_ ? *p_++ : 0; }
    uint64_t Bytes(int n) {  // little-endian
        uint64_t v = 0;
        for (int i = 0; i < n; ++i) v |= uint64_t(Byte()) << (8 * i);
        return v;
    }
    int32_t Int32() { return int32_t(uint32_t(Bytes(4))); }
    double Double() {
        const uint64_t v = Bytes(8);
        double d;
        std::memcpy(&d, &v, sizeof d);
        return d;
    }
    // An integer in [lo, hi].
    int32_t Range(int32_t lo, int32_t hi) {
        const uint32_t span = uint32_t(hi - lo) + 1u;
        return lo + int32_t(uint32_t(Bytes(span > 256 ? 2 : 1)) % span);
    }
    bool Flag() { return Byte() & 1; }
    // Mostly a small value in [lo, hi]; one byte value in 16 draws a whole
    // 32-bit integer or one of the caller's edge values.
    int32_t Count(int32_t lo, int32_t hi, std::initializer_list<int32_t> edges = {}) {
        const uint8_t sel = Byte();
        if (sel < 240 || (edges.size() == 0 && sel < 248)) return Range(lo, hi);
        if (sel < 248) return edges.begin()[Byte() % edges.size()];
        return Int32();
    }
    // A finite value in [-1, 1] with an occasional special value.
    double Value() {
        const uint8_t sel = Byte();
        if (sel < 250) return (int(Byte()) - 128) / 128.0 + sel / 4096.0;
        static const double kSpecial[] = {0.0, -0.0, 1e308, -1e308, 4.9e-324,
                                          __builtin_inf(), -__builtin_inf(), __builtin_nan("")};
        return kSpecial[Byte() % 8];
    }

  private:
    const uint8_t *p_, *end_;
};

// FUZZ_TRACE=1 prints each call when replaying one input.
inline const bool g_trace = std::getenv("FUZZ_TRACE") != nullptr;
#define TRACE(...) (orb::fuzz::g_trace ? (void)std::fprintf(stderr, __VA_ARGS__) : (void)0)

// Aborts with a message; the fuzzer reports the input that led here.
[[noreturn]] inline void Fail(const char *what) {
    std::fprintf(stderr, "fuzz invariant broken: %s\n", what);
    std::abort();
}

}  // namespace orb::fuzz

#endif
