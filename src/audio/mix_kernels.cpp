// mix_kernels.cpp - chooses the mixer's loops for the machine that the program runs on.

#include "audio/mix_kernels.h"

static const KxcMixKernels& choose()
{
#if defined(KXC_MIX_KERNELS_AVX2)
    __builtin_cpu_init(); // the first sound may be mixed before the program's constructors are through
    if (__builtin_cpu_supports("avx2"))
        return kxcMixKernelsAVX2;
#endif
    return kxcMixKernelsBase;
}

const KxcMixKernels& kxcMixKernels()
{
    static const KxcMixKernels& kernels = choose();
    return kernels;
}
