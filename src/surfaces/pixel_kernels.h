// pixel_kernels.h - the loops that do all work per pixel of conversions, blends, blits and fills.
//
// pixel_kernels.inc holds them, written once as templates for the compiler to vectorise. It is compiled for the base
// machine and, on x86-64, for AVX2 as well; kxcPixelKernels() chooses a table when it is first asked. Both give the
// same bits. Kernels work on blocks, so that small sprites pay for one call and not for one call per row.
#pragma once

#include <kxcoreemb/pixel_blender.h>
#include <kxcoreemb/pixel_converter.h>

/// F(type) for the types with a function of their own in the 55X5 family, and in the 8888 families.
#define KXC_FOR_EACH_BLEND_55X5(F) \
    F(None) F(Alpha) F(AlphaFast) F(Mul) F(MulFast) F(Add) F(AddFast) F(Invmul) F(InvmulFast)
#define KXC_FOR_EACH_BLEND_8888(F) F(None) F(Alpha) F(Mul) F(Add) F(Invmul)

/// A rectangle of pixels to work on. Pitches are in bytes and may be negative; blocks overlap only where they are
/// equal.
struct KxcPixelBlock
{
    void* target;
    ptrdiff_t targetPitch;
    const void* source;
    ptrdiff_t sourcePitch;
    INT32 width, height; ///< in pixels; width x height fits 31 bits
    UINT32 value;        ///< a blend value; a fill's colour
    UINT32 key;          ///< source pixels of this value leave the target as it is (keyed kernels)
    const void* keyed;   ///< the pixels that are compared with the key, where the source is no longer what it was
    ptrdiff_t keyedPitch;
};

/// `count` pixels as a block; none below 1.
constexpr KxcPixelBlock kxcPixelRow(void* target, const void* source, INT32 count, UINT32 value = 0)
{
    return {target, 0, source, 0, count > 0 ? count : 0, 1, value, 0, nullptr, 0};
}

/// Takes pixels from anywhere in a picture: target pixel (i, j) = source[columns[i] + ((v + j dv) >> 16) x rowStep].
struct KxcPixelSamples
{
    void* target;
    ptrdiff_t targetPitch; ///< in bytes
    const void* source;
    const UINT16* palette; ///< of the 8-bit kernel, which writes 16-bit colours
    const INT32* columns;  ///< in pixels, `width` of them
    ptrdiff_t rowStep;     ///< in pixels
    INT64 v, dv;           ///< 16.16
    INT32 width, height;
};

struct KxcPixelKernels
{
    typedef void (*Kernel)(const KxcPixelBlock& block);
    typedef void (*SampleKernel)(const KxcPixelSamples& samples);
    typedef void (*ColorRun)(UINT32 color, void* destination, UINT32 value, INT32 count);
    enum Size
    {
        k16,
        k32,
        kSizes
    };
    enum ExtraRun
    {
        kAlphaRun,
        kAddRun,
        kMulRun,
        kInvmulRun,
        kExtraRuns
    };
    static constexpr INT32 kBlends8888 = (KXCBLEND_COUNT + 1) / 2; ///< none, alpha, mul, add, invmul: (type + 1) / 2

    Kernel convert[KXCSURFACEFORMAT_COUNT][KXCSURFACEFORMAT_COUNT]; ///< a copy where both are the same, else null
                                                                    ///< where formats do not convert
    Kernel blend55X5[KXCBLEND_COUNT];
    Kernel blendKeyed55X5[KXCBLEND_COUNT]; ///< compares the source with the key
    Kernel blendX888[kBlends8888];
    Kernel blendPremul8888[kBlends8888];
    Kernel select[kSizes][kSizes];      ///< [target and source][keyed]: copies where `keyed` is not the key
    Kernel selectX888[kSizes];          ///< [target and source]: `keyed` is X888, whose top byte does not count
    Kernel fill[kSizes];                ///< with the value
    Kernel mix[KXCSURFACEFORMAT_COUNT]; ///< lays the value, 0xAARRGGBB, over the target; alpha 1..254
    SampleKernel sample[kSizes];
    SampleKernel samplePalette;

    // Runs, as KxcPixelBlender hands them out
    KxcPixelBlender::BufferBlendingFunction
        blendRunXA55X5[kExtraRuns]; ///< source: alpha word and colour word per pixel
    ColorRun blendColorRun55X5[kExtraRuns];
};

/// The fastest table that this machine runs.
const KxcPixelKernels& kxcPixelKernels();
/// The table of the base machine, which all others equal bit by bit.
extern const KxcPixelKernels kxcPixelKernelsBase;
#if defined(KXC_KERNELS_AVX2)
extern const KxcPixelKernels kxcPixelKernelsAVX2;
#endif
