// kernels.h - chooses among tables of loops that were compiled more than once, for the machine that the program runs
// on.
#pragma once

#if defined(KXC_KERNELS_AVX2)
inline bool kxcMachineHasAVX2()
{
    __builtin_cpu_init(); // a loop may be wanted before the program's constructors are through
    return __builtin_cpu_supports("avx2");
}
#define KXC_FASTEST_KERNELS(name) (kxcMachineHasAVX2() ? name##AVX2 : name##Base)
#else
#define KXC_FASTEST_KERNELS(name) (name##Base)
#endif
