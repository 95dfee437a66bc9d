// pixel_kernels_base.cpp - the pixel loops for every machine of the kind that the library is built for.

#include "surfaces/pixel_kernels.inc"

constexpr KxcPixelKernels kxcPixelKernelsBase = makeKernels();
