// kernels.h - chooses among tables of loops that were compiled more than once, for the machine that the program runs
// on.
#pragma once

#if defined(KXC_KERNELS_AVX2)
#include <cpuid.h>

/// Whether machine and system know AVX2. What the compiler's own question links knows every processor by name.
inline bool kxcMachineHasAVX2()
{
    constexpr unsigned kSystemSaves = bit_OSXSAVE | bit_AVX, kVectorState = 6; // registers of 128 and 256 bits
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d) || (c & kSystemSaves) != kSystemSaves)
        return false;
    unsigned low = 0, high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (low & kVectorState) == kVectorState && __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & bit_AVX2);
}
#define KXC_FASTEST_KERNELS(name) (kxcMachineHasAVX2() ? name##AVX2 : name##Base)
#else
#define KXC_FASTEST_KERNELS(name) (name##Base)
#endif
