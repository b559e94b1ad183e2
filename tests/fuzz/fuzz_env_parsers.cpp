// Fuzz target: the environment parsers as pure functions. The first byte
// picks the parser, the rest is the variable's text. Every result must lie
// in the parser's documented range.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "service/cpu_detect.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    std::string text(reinterpret_cast<const char *>(data + 1), size - 1);
    const char *c = text.c_str();  // stops at an embedded NUL, as getenv would
    switch (data[0] % 3) {
        case 0: {
            int32_t w = orb::ParseCbwr(c);
            if (w < 2 || w > 10) std::abort();
            break;
        }
        case 1: {
            int v = orb::ParseCpuTypeOverride(c);
            if (v != orb::kOverrideAbsent && (v < 2 || v > 7)) std::abort();
            break;
        }
        case 2: {
            int v = orb::ParseExtLevelOverride(c);
            if (v > 9 || v < -48 - 128) std::abort();
            break;
        }
    }
    return 0;
}
