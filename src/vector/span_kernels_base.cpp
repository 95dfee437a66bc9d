// span_kernels_base.cpp - the loops for every machine of the kind that the library is built for, and the choice of a
// table.

#include "core/kernels.h"
#include "vector/span_kernels.inc"

constexpr KxcSpanKernels kxcSpanKernelsBase = makeKernels();

const KxcSpanKernels& kxcSpanKernels()
{
    static const KxcSpanKernels& kernels = KXC_FASTEST_KERNELS(kxcSpanKernels);
    return kernels;
}
