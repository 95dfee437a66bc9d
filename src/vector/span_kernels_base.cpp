// span_kernels_base.cpp - the loops for every machine of the kind that the library is built for, and the choice of a
// table.

#include "vector/span_kernels.inc"

constexpr KxcSpanKernels kxcSpanKernelsBase = makeKernels();

static const KxcSpanKernels& choose()
{
#if defined(KXC_PIXEL_KERNELS_AVX2)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2"))
        return kxcSpanKernelsAVX2;
#endif
    return kxcSpanKernelsBase;
}

const KxcSpanKernels& kxcSpanKernels()
{
    static const KxcSpanKernels& kernels = choose();
    return kernels;
}
