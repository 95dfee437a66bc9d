// mix_kernels.cpp - chooses the mixer's loops for the machine that the program runs on.

#include "audio/mix_kernels.h"

#include "core/kernels.h"

const KxcMixKernels& kxcMixKernels()
{
    static const KxcMixKernels& kernels = KXC_FASTEST_KERNELS(kxcMixKernels);
    return kernels;
}
