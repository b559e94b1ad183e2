// Processor-level decision logic as pure functions of raw CPUID/XGETBV
// register values and environment texts, so that every path (other
// vendors, missing CPUID, each level, each override and reproducibility
// mode) can be exercised without the hardware.
#ifndef ORB_SERVICE_CPU_DETECT_H
#define ORB_SERVICE_CPU_DETECT_H

#include <stdint.h>

namespace orb {

struct CpuidSnapshot {
    bool has_cpuid = true;
    uint32_t vendor_ebx = 0, vendor_edx = 0, vendor_ecx = 0;  // leaf 0
    uint32_t leaf1_ecx = 0, leaf1_edx = 0;
    uint32_t leaf7_ebx = 0;    // leaf 7 subleaf 0 (0 when absent)
    uint32_t ext1_ecx = 0;     // leaf 0x80000001 (0 when absent)
    uint64_t xcr0 = 0;         // XGETBV(0); 0 when OSXSAVE is clear
};

// The processor's registers, read now.
CpuidSnapshot ReadCpuidSnapshot();

// Registers of a processor with the given vendor string and feature level
// (2..7 as CpuLevel, 41 for an SSE4.1-only part, 0 for none): for tests.
CpuidSnapshot SyntheticSnapshot(const char vendor[13], int level);

bool SnapIsGenuineVarel(const CpuidSnapshot &s);
bool SnapHasAvx2Set(const CpuidSnapshot &s);
bool SnapHasAvx(const CpuidSnapshot &s);
bool SnapHasSse42(const CpuidSnapshot &s);
bool SnapHasSse41(const CpuidSnapshot &s);
bool SnapHasSsse3(const CpuidSnapshot &s);
bool SnapHasSse3(const CpuidSnapshot &s);
bool SnapHasSse2(const CpuidSnapshot &s);

// Hardware level 2..7, or kNoUsableLevel when not even SSE2 is present.
constexpr int kNoUsableLevel = -1;
int DetectHardwareLevel(const CpuidSnapshot &s);

// "ORB_DEBUG_CPU_TYPE": text null when unset. Returns 2..7 or -6.
constexpr int kOverrideAbsent = -6;
int ParseCpuTypeOverride(const char *text);

// "ORB_CBWR": the stored word, 0 when text is null (unset), else 2..10.
int32_t ParseCbwr(const char *text);

// Mode as readers see it: 1 for unset, else the stored word's low six bits.
inline int32_t CbwrModeFromWord(int32_t word) { return word == 0 ? 1 : (word & 0x3F); }

// CpuLevel from the hardware level, override and reproducibility mode.
int DecideCpuLevel(int hardware, int override_level, int32_t cbwr_mode, bool varel);

// The extended-level override text (null when unset): returns the forced
// level, or kExtOverrideAbsent when it does not force one.
constexpr int kExtOverrideAbsent = -1;
int ParseExtLevelOverride(const char *text);

// ExtCpuLevel from the registers and reproducibility mode, or
// kNoUsableLevel when the processor lacks SSE2.
int DecideExtLevel(const CpuidSnapshot &s, int32_t cbwr_mode);

}  // namespace orb

#endif
