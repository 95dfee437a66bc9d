// span_kernels.h - the loops over pixels that vector shapes need beside those of surfaces/pixel_kernels.h.
//
// As there: written once in span_kernels.inc, compiled for the base machine and, on x86-64, for AVX2; both give the
// same bits.
#pragma once

#include <kxcoreemb/base.h>

struct KxcSpanKernels
{
    /// Lays `added`, which is premultiplied, over pixels of X888 or PREMUL8888: added + pixel x keep / 255.
    void (*mix32)(UINT32* target, INT32 count, UINT32 added, UINT32 keep);
    /// Replaces positions of 24 fraction bits by colours: between entries t >> 16 and the next of a table, both & mask.
    void (*lookUp)(UINT32* positions, INT32 count, const UINT32* table, UINT32 mask);
};

/// The fastest table that this machine runs.
const KxcSpanKernels& kxcSpanKernels();
/// The table of the base machine, which all others equal bit by bit.
extern const KxcSpanKernels kxcSpanKernelsBase;
#if defined(KXC_KERNELS_AVX2)
extern const KxcSpanKernels kxcSpanKernelsAVX2;
#endif
