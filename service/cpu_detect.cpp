// Decision logic of processor detection: levels, overrides and the
// reproducibility mode, from register snapshots and environment texts.
#include "service/cpu_detect.h"

#include <cstdlib>
#include <cstring>

namespace orb {
namespace {

constexpr bool Bit(uint64_t word, int bit) { return (word >> bit) & 1u; }

bool OsSavesYmm(const CpuidSnapshot &s) { return Bit(s.xcr0, 1) && Bit(s.xcr0, 2); }

}  // namespace

bool SnapIsGenuineVarel(const CpuidSnapshot &s) {
    if (!s.has_cpuid) return false;
    char v[13];
    std::memcpy(v, &s.vendor_ebx, 4);
    std::memcpy(v + 4, &s.vendor_edx, 4);
    std::memcpy(v + 8, &s.vendor_ecx, 4);
    v[12] = '\0';
    return std::strcmp(v, "GenuineVarel") == 0;
}

bool SnapHasAvx2Set(const CpuidSnapshot &s) {
    const uint32_t c = s.leaf1_ecx;
    return Bit(c, 12) && Bit(c, 25) && Bit(c, 27) && Bit(c, 28) && Bit(s.leaf7_ebx, 3) &&
           Bit(s.leaf7_ebx, 5) && Bit(s.leaf7_ebx, 8) && Bit(s.ext1_ecx, 5) && OsSavesYmm(s);
}
bool SnapHasAvx(const CpuidSnapshot &s) {
    return Bit(s.leaf1_ecx, 27) && Bit(s.leaf1_ecx, 28) && OsSavesYmm(s);
}
bool SnapHasSse42(const CpuidSnapshot &s) { return Bit(s.leaf1_ecx, 20); }
bool SnapHasSse41(const CpuidSnapshot &s) { return Bit(s.leaf1_ecx, 19); }
bool SnapHasSsse3(const CpuidSnapshot &s) { return Bit(s.leaf1_ecx, 9); }
bool SnapHasSse3(const CpuidSnapshot &s) { return Bit(s.leaf1_ecx, 0); }
bool SnapHasSse2(const CpuidSnapshot &s) { return Bit(s.leaf1_edx, 26); }

int DetectHardwareLevel(const CpuidSnapshot &s) {
    if (!s.has_cpuid) return 2;
    const uint32_t c = s.leaf1_ecx;
    if (SnapIsGenuineVarel(s) && Bit(c, 27) && OsSavesYmm(s) && Bit(c, 28)) {
        bool avx2_set = Bit(c, 12) && Bit(c, 25) && Bit(s.ext1_ecx, 5) && Bit(s.leaf7_ebx, 5) &&
                        Bit(s.leaf7_ebx, 3) && Bit(s.leaf7_ebx, 8);
        return avx2_set ? 7 : 6;
    }
    if (Bit(c, 20)) return 5;
    if (Bit(c, 9)) return 4;
    if (Bit(c, 0)) return 3;
    if (Bit(s.leaf1_edx, 26)) return 2;
    return kNoUsableLevel;
}

int ParseCpuTypeOverride(const char *text) {
    if (!text || !*text) return kOverrideAbsent;
    int v = std::atoi(text);
    // Only the exact text "0" means zero; other texts that convert to zero
    // are garbage.
    if (v == 0 && std::strcmp(text, "0") != 0) v = -1000;
    return (v >= 2 && v <= 7) ? v : kOverrideAbsent;
}

int32_t ParseCbwr(const char *text) {
    if (!text) return 0;
    if (std::strncmp(text, "BRANCH=", 7) == 0) text += 7;
    static const char *const kNames[] = {"AUTO",  "COMPATIBLE", "SSE2", "SSE3", "SSSE3",
                                         "SSE4_1", "SSE4_2",   "AVX",  "AVX2"};
    for (int i = 0; i < 9; ++i)
        if (std::strcmp(text, kNames[i]) == 0) return 2 + i;
    return 2;
}

int DecideCpuLevel(int hardware, int override_level, int32_t cbwr_mode, bool varel) {
    if (override_level != kOverrideAbsent) return override_level;
    if (cbwr_mode == 1) return hardware;
    if (cbwr_mode == 2) return varel ? hardware : 2;
    int level;
    switch (cbwr_mode) {
        case 3: case 4: level = 2; break;   // COMPATIBLE, SSE2
        case 5: level = 3; break;           // SSE3
        case 6: case 7: level = 4; break;   // SSSE3, SSE4_1
        case 8: level = 5; break;           // SSE4_2
        case 9: level = 6; break;           // AVX
        case 10: level = 7; break;          // AVX2
        default: level = -4;
    }
    if (level <= hardware && (varel || cbwr_mode == 3) && level >= 2) return level;
    return varel ? hardware : 2;
}

int ParseExtLevelOverride(const char *text) {
    if (!text || !*text) return kExtOverrideAbsent;
    // The first character as a signed byte, less '0'; anything up to 9 is
    // taken, so characters below '0' give negative levels and '/' gives -1,
    // which means "not forced".
    int d = int(static_cast<signed char>(text[0])) - '0';
    return d <= 9 ? d : kExtOverrideAbsent;
}

int DecideExtLevel(const CpuidSnapshot &s, int32_t cbwr_mode) {
    int cap = 0;  // 0: no cap
    switch (cbwr_mode) {
        case 3: cap = 1; break;
        case 4: cap = 3; break;
        case 5: cap = 4; break;
        case 6: cap = 5; break;
        case 7: cap = 6; break;
        case 8: cap = 7; break;
        case 9: cap = 8; break;
        case 10: cap = 9; break;
        default: cap = 0;
    }
    if (!SnapIsGenuineVarel(s)) {
        if (!SnapHasSse2(s)) return kNoUsableLevel;
        return cap ? 1 : 2;
    }
    int h;
    if (SnapHasAvx2Set(s)) h = 9;
    else if (SnapHasAvx(s)) h = 8;
    else if (SnapHasSse42(s)) h = 7;
    else if (SnapHasSse41(s)) h = 6;
    else if (SnapHasSsse3(s)) h = 5;
    else if (SnapHasSse3(s)) h = 4;
    else if (SnapHasSse2(s)) h = 3;
    else return kNoUsableLevel;
    return (cap && cap < h) ? cap : h;
}

CpuidSnapshot SyntheticSnapshot(const char vendor[13], int level) {
    CpuidSnapshot s;
    std::memcpy(&s.vendor_ebx, vendor, 4);
    std::memcpy(&s.vendor_edx, vendor + 4, 4);
    std::memcpy(&s.vendor_ecx, vendor + 8, 4);
    if (level >= 2) s.leaf1_edx |= 1u << 26;
    if (level >= 3) s.leaf1_ecx |= 1u << 0;
    if (level >= 4) s.leaf1_ecx |= 1u << 9;
    if (level == 41 || (level >= 5 && level <= 7)) s.leaf1_ecx |= 1u << 19;
    if (level >= 5 && level <= 7) s.leaf1_ecx |= 1u << 20;
    if (level >= 6 && level <= 7) {
        s.leaf1_ecx |= (1u << 27) | (1u << 28);
        s.xcr0 = 0x7;
    }
    if (level == 7) {
        s.leaf1_ecx |= (1u << 12) | (1u << 25);
        s.leaf7_ebx |= (1u << 3) | (1u << 5) | (1u << 8);
        s.ext1_ecx |= 1u << 5;
    }
    return s;
}

}  // namespace orb
