// pixel_kernels_base.cpp - the pixel loops for every machine of the kind that the library is built for, and the choice
// of a table.

#include "core/kernels.h"
#include "surfaces/pixel_kernels.inc"

constexpr KxcPixelKernels kxcPixelKernelsBase = makeKernels();

const KxcPixelKernels& kxcPixelKernels()
{
    static const KxcPixelKernels& kernels = KXC_FASTEST_KERNELS(kxcPixelKernels);
    return kernels;
}
