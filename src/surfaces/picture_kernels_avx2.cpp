// picture_kernels_avx2.cpp - the loops once more, compiled with -mavx2; what is called here runs on such machines only.

#include "surfaces/picture_kernels.inc"

constexpr KxcPictureKernels kxcPictureKernelsAVX2 = makeKernels();
