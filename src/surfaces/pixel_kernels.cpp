// pixel_kernels.cpp - chooses the pixel loops for the machine that the program runs on.

#include "surfaces/pixel_kernels.h"

static const KxcPixelKernels& choose()
{
#if defined(KXC_PIXEL_KERNELS_AVX2)
    __builtin_cpu_init(); // the first picture may be drawn before the program's constructors are through
    if (__builtin_cpu_supports("avx2"))
        return kxcPixelKernelsAVX2;
#endif
    return kxcPixelKernelsBase;
}

const KxcPixelKernels& kxcPixelKernels()
{
    static const KxcPixelKernels& kernels = choose();
    return kernels;
}
