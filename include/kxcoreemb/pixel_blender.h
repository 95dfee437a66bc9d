// pixel_blender.h - how a source pixel and a destination pixel make a new one.
#pragma once

#include <kxcoreemb/base.h>

/// A way to blend, set off by a blend value 0..255.
enum KXCBLEND : KxcINT32
{
    KXCBLEND_NONE = 0,      ///< copies; sources with alpha are composited by it
    KXCBLEND_ALPHA = 1,     ///< mixes by the value
    KXCBLEND_ALPHAFAST = 2, ///< mixes half and half
    KXCBLEND_MUL = 3,       ///< multiplies, faded in by the value
    KXCBLEND_MULFAST = 4,
    KXCBLEND_ADD = 5, ///< adds the source times the value, saturating
    KXCBLEND_ADDFAST = 6,
    KXCBLEND_INVMUL = 7, ///< multiplies by the source's complement, faded in by the value
    KXCBLEND_INVMULFAST = 8,
    KXCBLEND_COUNT
};

/// Blends pixels in one of three pairs of working formats: 55X5 onto 55X5, PREMUL8888 onto X888, and PREMUL8888 onto
/// PREMUL8888. Pixels of other formats are converted there and back.
///
/// Values     the 55X5 family takes a weight of 0..32, the 8888 families take 0..255: getBlendValue() makes either.
///            Values beyond give colours that mean nothing.
/// Colours    PREMUL8888 pixels have no channel above their alpha; where one has, the result wraps at 256. What is
///            blended onto X888 gets 0xFF in bits 31..24.
/// Memory     runs are aligned to their pixels; the destination may be the source, and may not overlap it otherwise.
/// Threads    any; there is no state.
class KXC_API KxcPixelBlender
{
public:
    /// Blends one pixel. @return the new destination pixel
    typedef KxcUINT32 (*BlendingFunction)(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    /// Blends `count` pixels of the source into the destination; 0 or less blends nothing.
    typedef void (*BufferBlendingFunction)(void* source, void* destination, KxcUINT32 value, KxcINT32 count);

    /// Chooses the working formats (KXCSURFACEFORMAT_) for blending one surface format onto another.
    static void getBlendingFormat(KxcINT32 sourceFormat, KxcINT32 targetFormat, KxcINT32& blendSource,
                                  KxcINT32& blendTarget);

    /// @{
    /// The function that blends pixels, or runs of them, of a working pair; chosen once, called often.
    /// @param type  a KXCBLEND_; any other value stands for KXCBLEND_NONE
    /// @return null when the formats are not a working pair
    static BlendingFunction getBlendingFunction(KxcINT32 blendSource, KxcINT32 blendTarget, KxcINT32 type);
    static BufferBlendingFunction getBufferBlendingFunction(KxcINT32 blendSource, KxcINT32 blendTarget, KxcINT32 type);
    /// @}

    /// Translates a blend value. @param value  0..255; what lies outside is clamped
    /// @return the value that the functions of the working pair take
    static KxcUINT32 getBlendValue(KxcINT32 blendSource, KxcINT32 blendTarget, KxcINT32 type, KxcINT32 value);

    // --- what the lookups choose from, by name: single pixels, then runs ---

    /// @{
    /// Blends a 55X5 pixel onto another one. @param value  a weight of 0..32
    static KxcUINT32 blendNone55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendAlpha55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendAlphaFast55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendMul55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendMulFast55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendAdd55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendAddFast55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendInvmul55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendInvmulFast55X5(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    /// @}

    /// @{
    /// Blends a run of 55X5 pixels onto another one. @param value  a weight of 0..32
    static void blendBufferNone55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAlpha55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAlphaFast55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferMul55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferMulFast55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAdd55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAddFast55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferInvmul55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferInvmulFast55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    /// @}

    /// @{
    /// Blends a PREMUL8888 pixel onto an X888 one. @param value  0..255
    static KxcUINT32 blendNoneX888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendAlphaX888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendMulX888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendAddX888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendInvmulX888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    /// @}

    /// @{
    /// Blends a run of PREMUL8888 pixels onto X888 ones. @param value  0..255
    static void blendBufferNoneX888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAlphaX888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferMulX888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAddX888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferInvmulX888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    /// @}

    /// @{
    /// Blends a PREMUL8888 pixel onto another one. @param value  0..255
    static KxcUINT32 blendNonePremul8888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendAlphaPremul8888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendMulPremul8888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendAddPremul8888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    static KxcUINT32 blendInvmulPremul8888(KxcUINT32 source, KxcUINT32 destination, KxcUINT32 value);
    /// @}

    /// @{
    /// Blends a run of PREMUL8888 pixels onto another one. @param value  0..255
    static void blendBufferNonePremul8888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAlphaPremul8888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferMulPremul8888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAddPremul8888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferInvmulPremul8888(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    /// @}

    /// @{
    /// Sources with an alpha per pixel: two 16-bit words each, an alpha of 0..32 and a 55X5 colour. The alpha scales
    /// the weight.
    static void blendBufferAlphaXA55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferAddXA55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferMulXA55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendBufferInvmulXA55X5(void* source, void* destination, KxcUINT32 value, KxcINT32 count);
    /// @}

    /// @{
    /// One 55X5 colour for the whole run; a weight of 0 leaves the run untouched.
    static void blendColorToBufferAlpha55X5(KxcUINT32 color, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendColorToBufferAdd55X5(KxcUINT32 color, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendColorToBufferMul55X5(KxcUINT32 color, void* destination, KxcUINT32 value, KxcINT32 count);
    static void blendColorToBufferInvmul55X5(KxcUINT32 color, void* destination, KxcUINT32 value, KxcINT32 count);
    /// @}
};
