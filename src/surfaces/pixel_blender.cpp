// pixel_blender.cpp - the names and the lookups of the blends; pixel_blend.h and the kernels do the work.

#include <kxcoreemb/pixel_blender.h>

#include "surfaces/pixel_blend.h"
#include "surfaces/pixel_kernels.h"

namespace
{

using Kernels = KxcPixelKernels;

/// The functions of a family.
struct Blends
{
    KxcPixelBlender::BlendingFunction pixel[KXCBLEND_COUNT];
    KxcPixelBlender::BufferBlendingFunction buffer[KXCBLEND_COUNT];
};
#define KXC_NAME_BLEND(Type) &KxcPixelBlender::blend##Type##55X5,
#define KXC_NAME_BUFFER_BLEND(Type) &KxcPixelBlender::blendBuffer##Type##55X5,
constexpr Blends kBlends55X5 = {{KXC_FOR_EACH_BLEND_55X5(KXC_NAME_BLEND)},
                                {KXC_FOR_EACH_BLEND_55X5(KXC_NAME_BUFFER_BLEND)}};
#undef KXC_NAME_BLEND
#undef KXC_NAME_BUFFER_BLEND
#define KXC_NAME_BLEND(Type) &KxcPixelBlender::blend##Type##X888,
#define KXC_NAME_BUFFER_BLEND(Type) &KxcPixelBlender::blendBuffer##Type##X888,
constexpr Blends kBlendsX888 = {{KXC_FOR_EACH_BLEND_8888(KXC_NAME_BLEND)},
                                {KXC_FOR_EACH_BLEND_8888(KXC_NAME_BUFFER_BLEND)}};
#undef KXC_NAME_BLEND
#undef KXC_NAME_BUFFER_BLEND
#define KXC_NAME_BLEND(Type) &KxcPixelBlender::blend##Type##Premul8888,
#define KXC_NAME_BUFFER_BLEND(Type) &KxcPixelBlender::blendBuffer##Type##Premul8888,
constexpr Blends kBlendsPremul8888 = {{KXC_FOR_EACH_BLEND_8888(KXC_NAME_BLEND)},
                                      {KXC_FOR_EACH_BLEND_8888(KXC_NAME_BUFFER_BLEND)}};
#undef KXC_NAME_BLEND
#undef KXC_NAME_BUFFER_BLEND

/// The function of a family for a working pair, from `functions` of Blends; null for other pairs.
template <class Functions>
auto choose(INT32 blendSource, INT32 blendTarget, INT32 type, Functions functions)
{
    if (type < 0 || type >= KXCBLEND_COUNT)
        type = KXCBLEND_NONE;
    if (blendSource == KXCSURFACEFORMAT_55X5 && blendTarget == KXCSURFACEFORMAT_55X5)
        return (kBlends55X5.*functions)[type];
    if (blendSource == KXCSURFACEFORMAT_PREMUL8888 && blendTarget == KXCSURFACEFORMAT_X888)
        return (kBlendsX888.*functions)[(type + 1) / 2];
    if (blendSource == KXCSURFACEFORMAT_PREMUL8888 && blendTarget == KXCSURFACEFORMAT_PREMUL8888)
        return (kBlendsPremul8888.*functions)[(type + 1) / 2];
    return decltype(+(kBlends55X5.*functions)[0]){};
}

/// The formats that blend in 55X5 among themselves.
bool blendsAs55X5(INT32 format)
{
    return format == KXCSURFACEFORMAT_565 || format == KXCSURFACEFORMAT_X6X5X5 || format == KXCSURFACEFORMAT_55X5;
}

template <class Table>
__attribute__((noinline)) void blendRun(Table table, INT32 index, void* source, void* destination, UINT32 value,
                                        INT32 count)
{
    (kxcPixelKernels().*table)[index](kxcPixelRow(destination, source, count, value));
}

} // namespace

void KxcPixelBlender::getBlendingFormat(INT32 sourceFormat, INT32 targetFormat, INT32& blendSource, INT32& blendTarget)
{
    const bool known = targetFormat >= 0 && targetFormat < KXCSURFACEFORMAT_COUNT;
    if (known && kxcSurfaceFormats[targetFormat].alphaMask != 0)
        blendSource = blendTarget = KXCSURFACEFORMAT_PREMUL8888;
    else if (blendsAs55X5(sourceFormat) && blendsAs55X5(targetFormat))
        blendSource = blendTarget = KXCSURFACEFORMAT_55X5;
    else
    {
        blendSource = KXCSURFACEFORMAT_PREMUL8888;
        blendTarget = KXCSURFACEFORMAT_X888;
    }
}

KxcPixelBlender::BlendingFunction KxcPixelBlender::getBlendingFunction(INT32 blendSource, INT32 blendTarget, INT32 type)
{
    return choose(blendSource, blendTarget, type, &Blends::pixel);
}

KxcPixelBlender::BufferBlendingFunction KxcPixelBlender::getBufferBlendingFunction(INT32 blendSource, INT32 blendTarget,
                                                                                   INT32 type)
{
    return choose(blendSource, blendTarget, type, &Blends::buffer);
}

UINT32 KxcPixelBlender::getBlendValue(INT32 blendSource, INT32, INT32 type, INT32 value)
{
    const UINT32 v = value < 0 ? 0 : value > 255 ? 255 : static_cast<UINT32>(value);
    if (blendSource == KXCSURFACEFORMAT_55X5)
    {
        const UINT32 t = (v + 4) * 32; // 255 gives 32 and 0 gives 0
        return (t + (t >> 8)) >> 8;
    }
    switch (type)
    {
    case KXCBLEND_ALPHAFAST:
        return 127;
    case KXCBLEND_MULFAST:
    case KXCBLEND_ADDFAST:
    case KXCBLEND_INVMULFAST:
        return 255;
    default:
        return v;
    }
}

constexpr INT32 kTypeNone = KXCBLEND_NONE, kTypeAlpha = KXCBLEND_ALPHA, kTypeAlphaFast = KXCBLEND_ALPHAFAST,
                kTypeMul = KXCBLEND_MUL, kTypeMulFast = KXCBLEND_MULFAST, kTypeAdd = KXCBLEND_ADD,
                kTypeAddFast = KXCBLEND_ADDFAST, kTypeInvmul = KXCBLEND_INVMUL, kTypeInvmulFast = KXCBLEND_INVMULFAST;

#define KXC_DEFINE_BLEND(Name, Policy, Table, index)                                                    \
    UINT32 KxcPixelBlender::blend##Name(UINT32 source, UINT32 destination, UINT32 value)                \
    {                                                                                                   \
        return Policy::pixel(source, destination, value);                                               \
    }                                                                                                   \
    void KxcPixelBlender::blendBuffer##Name(void* source, void* destination, UINT32 value, INT32 count) \
    {                                                                                                   \
        blendRun(&Kernels::Table, index, source, destination, value, count);                            \
    }

#define KXC_DEFINE_55X5(Type) KXC_DEFINE_BLEND(Type##55X5, Blend##Type##55X5, blend55X5, kType##Type)
KXC_FOR_EACH_BLEND_55X5(KXC_DEFINE_55X5)

#define KXC_DEFINE_8888(Type)                                                                  \
    KXC_DEFINE_BLEND(Type##X888, Blend##Type##8888 < true >, blendX888, (kType##Type + 1) / 2) \
    KXC_DEFINE_BLEND(Type##Premul8888, Blend##Type##8888 < false >, blendPremul8888, (kType##Type + 1) / 2)
KXC_FOR_EACH_BLEND_8888(KXC_DEFINE_8888)

#define KXC_DEFINE_EXTRA(Type)                                                                                       \
    void KxcPixelBlender::blendBuffer##Type##XA55X5(void* source, void* destination, UINT32 value, INT32 count)      \
    {                                                                                                                \
        kxcPixelKernels().blendRunXA55X5[Kernels::k##Type##Run](source, destination, value, count);                  \
    }                                                                                                                \
    void KxcPixelBlender::blendColorToBuffer##Type##55X5(UINT32 color, void* destination, UINT32 value, INT32 count) \
    {                                                                                                                \
        kxcPixelKernels().blendColorRun55X5[Kernels::k##Type##Run](color, destination, value, count);                \
    }
KXC_DEFINE_EXTRA(Alpha)
KXC_DEFINE_EXTRA(Add)
KXC_DEFINE_EXTRA(Mul)
KXC_DEFINE_EXTRA(Invmul)
