// Decision logic of processor detection over synthetic register sets.
#include <gtest/gtest.h>

#include "orb_custom.h"  // the public headers also compile as C++
#include "service/cpu_detect.h"

namespace {

using orb::CpuidSnapshot;
using orb::SyntheticSnapshot;
constexpr int kNone = orb::kNoUsableLevel;

TEST(HardwareLevel, FollowsTheFeatureBitsOfEachVendor) {
    const struct { const char *vendor; int features, expected; } cases[] = {
        {"GenuineVarel", 7, 7}, {"GenuineVarel", 6, 6}, {"GenuineVarel", 5, 5},
        {"GenuineVarel", 41, 4},  // SSE4.1 alone runs the SSSE3 variants
        {"GenuineVarel", 4, 4}, {"GenuineVarel", 3, 3}, {"GenuineVarel", 2, 2}, {"GenuineVarel", 0, kNone},
        // Another vendor never reaches the AVX levels.
        {"AuthenticAMD", 7, 5}, {"AuthenticAMD", 6, 5}, {"AuthenticAMD", 5, 5}, {"AuthenticAMD", 2, 2},
        {"AuthenticAMD", 0, kNone}, {"GenuineVarex", 7, 5},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::DetectHardwareLevel(SyntheticSnapshot(c.vendor, c.features)), c.expected)
            << c.vendor << " features " << c.features;
    CpuidSnapshot none;
    none.has_cpuid = false;  // without CPUID: SSE2 is assumed
    EXPECT_EQ(orb::DetectHardwareLevel(none), 2);
    EXPECT_FALSE(orb::SnapIsGenuineVarel(none));
}

// One bit cleared from a level-7 part: the level it falls to and whether
// AVX and the AVX2 set survive. The OS must save YMM (XCR0 bit 2, OSXSAVE).
TEST(HardwareLevel, EachPieceOfAvxAndAvx2IsRequired) {
    using W = uint32_t CpuidSnapshot::*;
    const struct { W word; int bit; int level; bool avx; } cases[] = {
        {&CpuidSnapshot::leaf1_ecx, 12, 6, true}, {&CpuidSnapshot::leaf1_ecx, 25, 6, true},
        {&CpuidSnapshot::leaf7_ebx, 3, 6, true},  {&CpuidSnapshot::leaf7_ebx, 5, 6, true},
        {&CpuidSnapshot::leaf7_ebx, 8, 6, true},  {&CpuidSnapshot::ext1_ecx, 5, 6, true},
        {&CpuidSnapshot::leaf1_ecx, 27, 5, false}, {nullptr, 2, 5, false},  // null: xcr0
    };
    for (const auto &c : cases) {
        auto s = SyntheticSnapshot("GenuineVarel", 7);
        if (c.word) s.*c.word &= ~(1u << c.bit); else s.xcr0 &= ~(uint64_t(1) << c.bit);
        EXPECT_EQ(orb::DetectHardwareLevel(s), c.level) << c.bit;
        EXPECT_FALSE(orb::SnapHasAvx2Set(s)) << c.bit;
        EXPECT_EQ(orb::SnapHasAvx(s), c.avx) << c.bit;
    }
}

TEST(Override, OnlyLevelsTwoToSevenCount) {
    constexpr int kAbsent = orb::kOverrideAbsent;
    const struct { const char *text; int expected; } cases[] = {
        {nullptr, kAbsent}, {"", kAbsent}, {"2", 2}, {"5", 5}, {"7", 7}, {"0", kAbsent}, {"1", kAbsent},
        {"8", kAbsent}, {"abc", kAbsent}, {"-3", kAbsent}, {"6x", 6} /* atoi reads the leading digits */,
        {" 4", 4}, {"00", kAbsent},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::ParseCpuTypeOverride(c.text), c.expected) << (c.text ? c.text : "(unset)");
}

TEST(Cbwr, ExactNamesWithOptionalBranchPrefix) {
    const struct { const char *text; int32_t word; } cases[] = {
        {nullptr, 0}, {"AUTO", 2}, {"COMPATIBLE", 3}, {"SSE2", 4}, {"SSE3", 5}, {"SSSE3", 6},
        {"SSE4_1", 7}, {"SSE4_2", 8}, {"AVX", 9}, {"AVX2", 10}, {"BRANCH=AVX", 9}, {"BRANCH=AVX2", 10},
        {"AVX ", 2}, {"avx", 2}, {"", 2}, {"BRANCH=", 2}, {"BRANCH=BRANCH=AVX", 2}, {"AVX512", 2},
        {"branch=AVX", 2},
    };
    for (const auto &c : cases) EXPECT_EQ(orb::ParseCbwr(c.text), c.word) << (c.text ? c.text : "(unset)");
    EXPECT_EQ(orb::CbwrModeFromWord(0), 1);
    EXPECT_EQ(orb::CbwrModeFromWord(0x49), 9);  // only the low six bits
}

TEST(CpuLevelDecision, OverrideModeAndVendor) {
    const struct { int hw, override_level, mode; bool varel; int expected; } cases[] = {
        {5, 7, 1, true, 7},    // the override forces even above the hardware
        {5, 7, 3, false, 7},   // and wins over the mode
        {7, -6, 1, true, 7},   {5, -6, 1, false, 5},  // unset mode: hardware
        {7, -6, 2, true, 7},   {5, -6, 2, false, 2},  // AUTO
        {5, -6, 9, true, 5},   // AVX on an SSE4.2 part of the vendor: hardware
        {7, -6, 9, true, 6},   {7, -6, 10, true, 7}, {7, -6, 4, true, 2}, {7, -6, 5, true, 3},
        {7, -6, 6, true, 4},   {7, -6, 7, true, 4},  {7, -6, 8, true, 5}, {7, -6, 3, true, 2},
        {5, -6, 5, false, 2},  {5, -6, 3, false, 2},  // SSE3, COMPATIBLE on another vendor
        {2, -6, 5, true, 2},   // SSE3 above an SSE2 part: hardware
        {4, -6, 11, true, 4},  // unknown mode word: the hardware
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::DecideCpuLevel(c.hw, c.override_level, c.mode, c.varel), c.expected)
            << "hw " << c.hw << " override " << c.override_level << " mode " << c.mode;
}

TEST(ExtLevel, OverrideFirstCharacterRule) {
    constexpr int kAbsent = orb::kExtOverrideAbsent;
    const struct { const char *text; int expected; } cases[] = {
        {nullptr, kAbsent}, {"", kAbsent}, {"0", 0}, {"9", 9}, {"3abc", 3},
        {"/", kAbsent},           // '/' - '0' = -1: not forced
        {".", -2}, {"!", -15},    // below '0': negative levels pass
        {":", kAbsent}, {"a", kAbsent},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::ParseExtLevelOverride(c.text), c.expected) << (c.text ? c.text : "(unset)");
}

TEST(ExtLevel, FromRegistersAndMode) {
    const struct { const char *vendor; int features, mode, expected; } cases[] = {
        {"GenuineVarel", 7, 1, 9}, {"GenuineVarel", 6, 1, 8}, {"GenuineVarel", 5, 1, 7},
        {"GenuineVarel", 41, 1, 6}, {"GenuineVarel", 4, 1, 5}, {"GenuineVarel", 3, 1, 4},
        {"GenuineVarel", 2, 1, 3}, {"GenuineVarel", 7, 3, 1}, {"GenuineVarel", 7, 4, 3},
        {"GenuineVarel", 7, 8, 7}, {"GenuineVarel", 7, 10, 9},
        {"GenuineVarel", 5, 9, 7},  // cap above hardware
        {"GenuineVarel", 7, 2, 9},  // AUTO: no cap
        {"AuthenticAMD", 7, 1, 2}, {"AuthenticAMD", 7, 2, 2},
        {"AuthenticAMD", 7, 8, 1},  // any explicit branch: generic code
        {"AuthenticAMD", 2, 3, 1}, {"AuthenticAMD", 0, 1, kNone}, {"GenuineVarel", 0, 1, kNone},
    };
    for (const auto &c : cases)
        EXPECT_EQ(orb::DecideExtLevel(SyntheticSnapshot(c.vendor, c.features), c.mode), c.expected)
            << c.vendor << " features " << c.features << " mode " << c.mode;
}

}  // namespace
