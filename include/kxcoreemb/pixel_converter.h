// pixel_converter.h - the pixel formats of every surface, and the conversions of pixels and runs between any two.
#pragma once

#include <kxcoreemb/base.h>

/// A surface's pixel format. Pixels are 8, 16 or 32-bit words in the machine's byte order; the digits of a name are
/// the channel widths from the top bit down: red, green and blue, an alpha in front of them or between, X for unused
/// bits.
enum KXCSURFACEFORMAT : KxcINT32
{
    KXCSURFACEFORMAT_DEFAULT = 0, ///< asks for 55X5
    KXCSURFACEFORMAT_565 = 1,
    KXCSURFACEFORMAT_X888 = 2, ///< bits 31..24 are ignored; conversions write 0 there
    KXCSURFACEFORMAT_1555 = 3,
    KXCSURFACEFORMAT_8888 = 4,     ///< alpha 31..24, not premultiplied
    KXCSURFACEFORMAT_X6X5X5 = 5,   ///< 32 bits: 565 with green moved up to bit 21, so that sums and products have room
    KXCSURFACEFORMAT_1X5X5X5 = 6,  ///< 32 bits: 1555 with green at bit 21 and alpha at bit 31
    KXCSURFACEFORMAT_PALETTE8 = 7, ///< a 512-byte palette of 55X5 colours, then a byte per pixel
    KXCSURFACEFORMAT_55X5 = 8,     ///< the renderer's own: red 15..11, green 10..6, bit 5 zero, blue 4..0
    KXCSURFACEFORMAT_5515 = 9,     ///< 55X5 with alpha in bit 5
    KXCSURFACEFORMAT_PREMUL8888 = 10, ///< 8888 with the colour premultiplied by alpha
    KXCSURFACEFORMAT_COUNT
};

/// Where a format keeps its channels.
struct KxcSurfaceFormatInfo
{
    KxcUINT32 bytesPerPixel; ///< 1, 2 or 4
    KxcUINT32 redMask;       ///< the bits of red
    KxcUINT32 greenMask;     ///< likewise, of green
    KxcUINT32 blueMask;      ///< likewise, of blue
    KxcUINT32 alphaMask;     ///< likewise, of alpha; 0 where there is none
    KxcUINT32 bits;          ///< channel widths, a byte each: red lowest, then green, blue, alpha
    KxcUINT32 shifts;        ///< lowest bit of each channel, packed alike
};

/// One row per KXCSURFACEFORMAT.
inline constexpr KxcSurfaceFormatInfo kxcSurfaceFormats[KXCSURFACEFORMAT_COUNT] = {
    {0, 0, 0, 0, 0, 0, 0},
    {2, 0xF800, 0x7E0, 0x1F, 0, 0x00050605, 0x0000050B},
    {4, 0xFF0000, 0xFF00, 0xFF, 0, 0x00080808, 0x00000810},
    {2, 0x7C00, 0x3E0, 0x1F, 0x8000, 0x01050505, 0x0F00050A},
    {4, 0xFF0000, 0xFF00, 0xFF, 0xFF000000, 0x08080808, 0x18000810},
    {4, 0xF800, 0x7E00000, 0x1F, 0, 0x00050605, 0x0000150B},
    {4, 0x7C00, 0x3E00000, 0x1F, 0x80000000, 0x01050505, 0x1F00150A},
    {1, 0, 0, 0, 0, 0, 0},
    {2, 0xF800, 0x7C0, 0x1F, 0, 0x00050505, 0x0000060B},
    {2, 0xF800, 0x7C0, 0x1F, 0x20, 0x01050505, 0x0500060B},
    {4, 0xFF0000, 0xFF00, 0xFF, 0xFF000000, 0x08080808, 0x18000810},
};

/// @cond
#define KXC_CONVERSIONS_FROM(F, S, A, B, C, D, E, G, H, I) \
    F(S, A) F(S, B) F(S, C) F(S, D) F(S, E) F(S, G) F(S, H) F(S, I)
/// @endcond

/// F(source, target) for each ordered pair of different formats; paletted pixels are never converted.
#define KXC_FOR_EACH_CONVERSION(F)                                                          \
    KXC_CONVERSIONS_FROM(F, 565, X888, 1555, 8888, X6X5X5, 1X5X5X5, 55X5, 5515, Premul8888) \
    KXC_CONVERSIONS_FROM(F, X888, 565, 1555, 8888, X6X5X5, 1X5X5X5, 55X5, 5515, Premul8888) \
    KXC_CONVERSIONS_FROM(F, 1555, 565, X888, 8888, X6X5X5, 1X5X5X5, 55X5, 5515, Premul8888) \
    KXC_CONVERSIONS_FROM(F, 8888, 565, X888, 1555, X6X5X5, 1X5X5X5, 55X5, 5515, Premul8888) \
    KXC_CONVERSIONS_FROM(F, X6X5X5, 565, X888, 1555, 8888, 1X5X5X5, 55X5, 5515, Premul8888) \
    KXC_CONVERSIONS_FROM(F, 1X5X5X5, 565, X888, 1555, 8888, X6X5X5, 55X5, 5515, Premul8888) \
    KXC_CONVERSIONS_FROM(F, 55X5, 565, X888, 1555, 8888, X6X5X5, 1X5X5X5, 5515, Premul8888) \
    KXC_CONVERSIONS_FROM(F, 5515, 565, X888, 1555, 8888, X6X5X5, 1X5X5X5, 55X5, Premul8888) \
    KXC_CONVERSIONS_FROM(F, Premul8888, 565, X888, 1555, 8888, X6X5X5, 1X5X5X5, 55X5, 5515)

/// Converts single pixels and runs of pixels between any two formats but PALETTE8.
///
/// Channels   narrowing keeps the top bits; widening repeats them, so that 0 and the maximum stay what they are (the
///            one exception: X6X5X5 to 8888 leaves the new low bits 0). A missing alpha becomes opaque; of 8 bits of
///            alpha the top one survives in 1.
/// Premul     to it, colours are multiplied by alpha / 255, rounded. From it, formats without alpha get the colour as
///            it is stored (as if composed over black); the others get it divided by alpha, and white where alpha is 0.
/// Memory     runs of 16 and 32-bit pixels are aligned to their pixel; nothing is allocated.
/// Threads    any; there is no state.
class KXC_API KxcPixelConverter
{
public:
    typedef KxcUINT32 (*ConversionFunction)(KxcUINT32 pixel); ///< converts one pixel
    /// Converts `count` pixels; 0 or less converts nothing. Runs may not overlap, except that formats of one size can
    /// be converted in place.
    typedef void (*BufferConversionFunction)(void* source, void* target, KxcINT32 count);

    /// Converts one pixel. @return it, or 0 where getConversionFunction() answers null
    static KxcUINT32 convert(KxcUINT32 pixel, KxcINT32 sourceFormat, KxcINT32 targetFormat);
    /// Converts a run of pixels; does nothing where getBufferConversionFunction() answers null.
    static void convertBuffer(void* source, void* target, KxcINT32 count, KxcINT32 sourceFormat, KxcINT32 targetFormat);

    /// @{
    /// The function that converts pixels, or runs of them, from one format to another; chosen once, called often.
    /// @return null when a format is unknown, 0 or PALETTE8; for equal formats the identity
    static ConversionFunction getConversionFunction(KxcINT32 sourceFormat, KxcINT32 targetFormat);
    static BufferConversionFunction getBufferConversionFunction(KxcINT32 sourceFormat, KxcINT32 targetFormat);
    /// @}

    static KxcUINT32 copyPixel(KxcUINT32 pixel); ///< the identity

    /// @{
    /// Copies a run of 16-bit or 32-bit pixels.
    static void copyBuffer16(void* source, void* target, KxcINT32 count);
    static void copyBuffer32(void* source, void* target, KxcINT32 count);
    /// @}

    /// @cond
#define KXC_DECLARE_CONVERSION(Source, Target)                     \
    static KxcUINT32 convert##Source##To##Target(KxcUINT32 pixel); \
    static void convertBuffer##Source##To##Target(void* source, void* target, KxcINT32 count);
    /// @endcond
    /// @{
    /// What the lookups above choose from, by name: convert565ToX888, convertX888To565, convert1555ToPremul8888,
    /// convertPremul8888To5515 and so on for pixels, convertBuffer565ToX888 and so on for runs.
    KXC_FOR_EACH_CONVERSION(KXC_DECLARE_CONVERSION)
    /// @}
#undef KXC_DECLARE_CONVERSION
};
