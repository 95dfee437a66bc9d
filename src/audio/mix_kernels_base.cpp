// mix_kernels_base.cpp - the mixer's loops for every machine of the kind that the library is built for, and the choice
// of a table.

#include "audio/mix_kernels.inc"
#include "core/kernels.h"

constexpr KxcMixKernels kxcMixKernelsBase = makeKernels();

const KxcMixKernels& kxcMixKernels()
{
    static const KxcMixKernels& kernels = KXC_FASTEST_KERNELS(kxcMixKernels);
    return kernels;
}
