// Fuzz target: the environment parsers as pure functions. The first byte
// picks the parser, the rest is the variable's text. Every result must lie
// in the parser's documented range: reproducibility mode, level overrides,
// thread counts, the per-domain list and the dynamic switch.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_input.h"
#include "service/cpu_detect.h"
#include "service/threads.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char *>(data + 1), size - 1);
    const char *c = text.c_str();  // stops at an embedded NUL, as getenv would
    switch (data[0] % 6) {
        case 0: {
            const int32_t w = orb::ParseCbwr(c);
            if (w < 2 || w > 10) orb::fuzz::Fail("reproducibility mode");
            break;
        }
        case 1: {
            const int v = orb::ParseCpuTypeOverride(c);
            if (v != orb::kOverrideAbsent && (v < 2 || v > 7)) orb::fuzz::Fail("cpu type override");
            break;
        }
        case 2:
            if (const int v = orb::ParseExtLevelOverride(c); v > 9 || v < -48 - 128) orb::fuzz::Fail("level override");
            break;
        case 3: {
            // Only decimal digits give anything but 1; the value saturates.
            const int32_t n = orb::ParseThreadCountText(c, int32_t(text.size()));
            bool digits = !text.empty();
            for (char ch : text) digits &= ch >= '0' && ch <= '9';
            if (n < 0 || (!digits && n != 1)) orb::fuzz::Fail("thread count");
            break;
        }
        case 4: {
            // Domains already set keep their value; new values are >= 1.
            int32_t v[orb::kThreadDomains] = {-1, 3, -1, -1, -1};
            orb::ParseDomainThreadList(c, v);
            for (int32_t x : v)
                if (v[1] != 3 || (x != -1 && x < 1)) orb::fuzz::Fail("domain list");
            break;
        }
        case 5: {
            const int32_t v = orb::ParseDynamicText(c);
            if ((v != 0 && v != 1) || (v == 0 && !std::strstr(c, "FALSE") && !std::strstr(c, "false")))
                orb::fuzz::Fail("dynamic switch");
            break;
        }
    }
    return 0;
}
