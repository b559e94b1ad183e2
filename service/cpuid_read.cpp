// Reads the processor's CPUID leaves and XCR0 into a snapshot.
#include <cpuid.h>

#include "service/cpu_detect.h"

namespace orb {
namespace {

bool CpuidAvailable() {
#if defined(__x86_64__)
    return true;  // every x86-64 processor has CPUID
#elif defined(__i386__)
    // CPUID exists when the ID bit (21) of EFLAGS can be toggled.
    unsigned long before, after;
    __asm__ volatile(
        "pushfl\n\t"
        "pushfl\n\t"
        "popl %0\n\t"
        "movl %0, %1\n\t"
        "xorl $0x200000, %0\n\t"
        "pushl %0\n\t"
        "popfl\n\t"
        "pushfl\n\t"
        "popl %0\n\t"
        "popfl\n\t"
        : "=&r"(after), "=&r"(before)
        :
        : "cc");
    return ((after ^ before) & 0x200000) != 0;
#else
    return false;
#endif
}

uint64_t ReadXcr0() {
    uint32_t lo, hi;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (uint64_t(hi) << 32) | lo;
}

}  // namespace

CpuidSnapshot ReadCpuidSnapshot() {
    CpuidSnapshot s;
    if (!CpuidAvailable()) {
        s.has_cpuid = false;
        return s;
    }
    unsigned a, b, c, d;
    __cpuid(0, a, b, c, d);
    const unsigned max_leaf = a;
    s.vendor_ebx = b;
    s.vendor_edx = d;
    s.vendor_ecx = c;
    if (max_leaf >= 1) {
        __cpuid(1, a, b, c, d);
        s.leaf1_ecx = c;
        s.leaf1_edx = d;
    }
    if (max_leaf >= 7) {
        __cpuid_count(7, 0, a, b, c, d);
        s.leaf7_ebx = b;
    }
    __cpuid(0x80000000u, a, b, c, d);
    if (a >= 0x80000001u) {
        __cpuid(0x80000001u, a, b, c, d);
        s.ext1_ecx = c;
    }
    if ((s.leaf1_ecx >> 27) & 1u) s.xcr0 = ReadXcr0();
    return s;
}

}  // namespace orb
