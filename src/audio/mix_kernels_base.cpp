// mix_kernels_base.cpp - the mixer's loops for every machine of the kind that the library is built for.

#include "audio/mix_kernels.inc"

constexpr KxcMixKernels kxcMixKernelsBase = makeKernels();
