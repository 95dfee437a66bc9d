// span_kernels_avx2.cpp - the loops once more, compiled with -mavx2; what is called here runs on such machines only.

#include "vector/span_kernels.inc"

constexpr KxcSpanKernels kxcSpanKernelsAVX2 = makeKernels();
