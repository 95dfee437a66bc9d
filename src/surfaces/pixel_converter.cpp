// pixel_converter.cpp - the names and the lookups of the conversions; pixel_format.h and the kernels do the work.

#include <kxcoreemb/pixel_converter.h>

#include "surfaces/pixel_format.h"
#include "surfaces/pixel_kernels.h"

#include <cstring>

namespace
{

// The formats by the names that functions bear.
constexpr INT32 kFormat565 = KXCSURFACEFORMAT_565, kFormatX888 = KXCSURFACEFORMAT_X888,
                kFormat1555 = KXCSURFACEFORMAT_1555, kFormat8888 = KXCSURFACEFORMAT_8888,
                kFormatX6X5X5 = KXCSURFACEFORMAT_X6X5X5, kFormat1X5X5X5 = KXCSURFACEFORMAT_1X5X5X5,
                kFormat55X5 = KXCSURFACEFORMAT_55X5, kFormat5515 = KXCSURFACEFORMAT_5515,
                kFormatPremul8888 = KXCSURFACEFORMAT_PREMUL8888;

// Two tables, so that a program carries the functions that it asks for.
template <class Function>
struct Functions
{
    Function of[KXCSURFACEFORMAT_COUNT][KXCSURFACEFORMAT_COUNT];
};

constexpr Functions<KxcPixelConverter::ConversionFunction> makeConversions()
{
    Functions<KxcPixelConverter::ConversionFunction> f{};
#define KXC_ADD_CONVERSION(Source, Target) \
    f.of[kFormat##Source][kFormat##Target] = KxcPixelConverter::convert##Source##To##Target;
    KXC_FOR_EACH_CONVERSION(KXC_ADD_CONVERSION)
#undef KXC_ADD_CONVERSION
#define KXC_ADD_IDENTITY(Format) f.of[Format][Format] = KxcPixelConverter::copyPixel;
    KXC_FOR_EACH_PIXEL_FORMAT(KXC_ADD_IDENTITY)
#undef KXC_ADD_IDENTITY
    return f;
}
constexpr auto kConversions = makeConversions();

constexpr Functions<KxcPixelConverter::BufferConversionFunction> makeBufferConversions()
{
    Functions<KxcPixelConverter::BufferConversionFunction> f{};
#define KXC_ADD_CONVERSION(Source, Target) \
    f.of[kFormat##Source][kFormat##Target] = KxcPixelConverter::convertBuffer##Source##To##Target;
    KXC_FOR_EACH_CONVERSION(KXC_ADD_CONVERSION)
#undef KXC_ADD_CONVERSION
#define KXC_ADD_IDENTITY(Format) \
    f.of[Format][Format] =       \
        sizeof(PixelFormat<Format>::Pixel) == 2 ? KxcPixelConverter::copyBuffer16 : KxcPixelConverter::copyBuffer32;
    KXC_FOR_EACH_PIXEL_FORMAT(KXC_ADD_IDENTITY)
#undef KXC_ADD_IDENTITY
    return f;
}
constexpr auto kBufferConversions = makeBufferConversions();

bool inTable(INT32 source, INT32 target)
{
    return source >= 0 && source < KXCSURFACEFORMAT_COUNT && target >= 0 && target < KXCSURFACEFORMAT_COUNT;
}

__attribute__((noinline)) void convertRun(void* source, void* target, INT32 count, INT32 sourceFormat,
                                          INT32 targetFormat)
{
    kxcPixelKernels().convert[sourceFormat][targetFormat](kxcPixelRow(target, source, count));
}

template <class Pixel>
void copy(const void* source, void* target, INT32 count)
{
    if (count > 0)
        memmove(target, source, static_cast<size_t>(count) * sizeof(Pixel));
}

} // namespace

UINT32 KxcPixelConverter::convert(UINT32 pixel, INT32 sourceFormat, INT32 targetFormat)
{
    const ConversionFunction function = getConversionFunction(sourceFormat, targetFormat);
    return function ? function(pixel) : 0;
}

void KxcPixelConverter::convertBuffer(void* source, void* target, INT32 count, INT32 sourceFormat, INT32 targetFormat)
{
    // Not by getBufferConversionFunction, which brings all of its functions along.
    if (!inTable(sourceFormat, targetFormat) || kxcPixelKernels().convert[sourceFormat][targetFormat] == nullptr)
        return;
    if (sourceFormat != targetFormat)
        convertRun(source, target, count, sourceFormat, targetFormat);
    else
        (kxcSurfaceFormats[sourceFormat].bytesPerPixel == 2 ? copyBuffer16 : copyBuffer32)(source, target, count);
}

KxcPixelConverter::ConversionFunction KxcPixelConverter::getConversionFunction(INT32 sourceFormat, INT32 targetFormat)
{
    return inTable(sourceFormat, targetFormat) ? kConversions.of[sourceFormat][targetFormat] : nullptr;
}

KxcPixelConverter::BufferConversionFunction KxcPixelConverter::getBufferConversionFunction(INT32 sourceFormat,
                                                                                           INT32 targetFormat)
{
    return inTable(sourceFormat, targetFormat) ? kBufferConversions.of[sourceFormat][targetFormat] : nullptr;
}

UINT32 KxcPixelConverter::copyPixel(UINT32 pixel) { return pixel; }

void KxcPixelConverter::copyBuffer16(void* source, void* target, INT32 count) { copy<UINT16>(source, target, count); }

void KxcPixelConverter::copyBuffer32(void* source, void* target, INT32 count) { copy<UINT32>(source, target, count); }

#define KXC_DEFINE_CONVERSION(Source, Target)                                                          \
    UINT32 KxcPixelConverter::convert##Source##To##Target(UINT32 pixel)                                \
    {                                                                                                  \
        return convertPixel<kFormat##Source, kFormat##Target>(pixel);                                  \
    }                                                                                                  \
    void KxcPixelConverter::convertBuffer##Source##To##Target(void* source, void* target, INT32 count) \
    {                                                                                                  \
        convertRun(source, target, count, kFormat##Source, kFormat##Target);                           \
    }
KXC_FOR_EACH_CONVERSION(KXC_DEFINE_CONVERSION)
