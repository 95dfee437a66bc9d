// mix_kernels_avx2.cpp - the mixer's loops once more, compiled with -mavx2; what is called here runs on such machines
// only.

#include "audio/mix_kernels.inc"

constexpr KxcMixKernels kxcMixKernelsAVX2 = makeKernels();
