// pixel_kernels.cpp - chooses the pixel loops for the machine that the program runs on.

#include "surfaces/pixel_kernels.h"

#include "core/kernels.h"

const KxcPixelKernels& kxcPixelKernels()
{
    static const KxcPixelKernels& kernels = KXC_FASTEST_KERNELS(kxcPixelKernels);
    return kernels;
}
