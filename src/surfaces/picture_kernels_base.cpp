// picture_kernels_base.cpp - the loops for every machine of the kind that the library is built for, and the choice of a
// table.

#include "core/kernels.h"
#include "surfaces/picture_kernels.inc"

constexpr KxcPictureKernels kxcPictureKernelsBase = makeKernels();

const KxcPictureKernels& kxcPictureKernels()
{
    static const KxcPictureKernels& kernels = KXC_FASTEST_KERNELS(kxcPictureKernels);
    return kernels;
}
