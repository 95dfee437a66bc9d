// pixel_kernels_avx2.cpp - the pixel loops once more, compiled with -mavx2; what is called here runs on such machines
// only.

#include "surfaces/pixel_kernels.inc"

constexpr KxcPixelKernels kxcPixelKernelsAVX2 = makeKernels();
