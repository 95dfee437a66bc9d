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

/// Rows of a sprite to lay over 55X5 pixels; rle_runs.h tells how they are encoded.
struct KxcSpriteRows
{
    void* target;          ///< where the first visible pixel of the first row goes
    ptrdiff_t targetPitch; ///< in bytes
    const void* targetEnd; ///< of the whole picture: vectors may write what is there already up to here
    const UINT16* data;    ///< goes on for 16 words behind the last row
    const INT32* lines;    ///< where in the data the rows start
    INT32 firstColumn, endColumn, rows;
    bool clipped; ///< not all columns are visible
};

/// The pixels of a row that a wider row is mixed from.
struct KxcPixelMix
{
    const INT32 *left, *right; ///< in pixels
    const UINT32* weights;     ///< of the right ones, 0..256
    INT32 count;
};

struct KxcPixelKernels
{
    typedef void (*Kernel)(const KxcPixelBlock& block);
    typedef void (*SampleKernel)(const KxcPixelSamples& samples);
    typedef void (*ColorRun)(UINT32 color, void* destination, UINT32 value, INT32 count);
    typedef void (*SpriteKernel)(const KxcSpriteRows& rows);
    typedef void (*WidenRow)(const void* source, const KxcPixelMix& mix, UINT32* pairs);
    typedef void (*MixRows)(const UINT32* top, const UINT32* bottom, UINT32 weight, void* target, INT32 count);
    typedef void (*SumRow)(const void* source, UINT32 weight, UINT32* sums, INT32 count);
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

    // Runs, as KxcPixelConverter and KxcPixelBlender hand them out; null where formats do not convert.
    KxcPixelConverter::BufferConversionFunction convertRun[KXCSURFACEFORMAT_COUNT][KXCSURFACEFORMAT_COUNT];
    KxcPixelBlender::BufferBlendingFunction blendRun55X5[KXCBLEND_COUNT];
    KxcPixelBlender::BufferBlendingFunction blendRunX888[kBlends8888];
    KxcPixelBlender::BufferBlendingFunction blendRunPremul8888[kBlends8888];
    KxcPixelBlender::BufferBlendingFunction
        blendRunXA55X5[kExtraRuns]; ///< source: alpha word and colour word per pixel
    ColorRun blendColorRun55X5[kExtraRuns];

    // Blocks
    Kernel convert[KXCSURFACEFORMAT_COUNT][KXCSURFACEFORMAT_COUNT]; ///< a copy where both are the same
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
    SpriteKernel layRuns;

    // Rows of the toolkit, from and to 55X5 and 8888; texels.h tells what they work on.
    WidenRow widenRow[kSizes]; ///< pairs: `count` times red and blue, and then `count` times alpha and green
    MixRows mixRows[kSizes];   ///< two of those, and the weight of the lower one, 0..256
    SumRow sumRow[kSizes];     ///< adds weight x channel to `count` sums of blue, then of green, red and alpha
};

/// The fastest table that this machine runs.
const KxcPixelKernels& kxcPixelKernels();
/// The table of the base machine, which all others equal bit by bit.
extern const KxcPixelKernels kxcPixelKernelsBase;
#if defined(KXC_KERNELS_AVX2)
extern const KxcPixelKernels kxcPixelKernelsAVX2;
#endif
