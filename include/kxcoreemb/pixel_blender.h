// pixel_blender.h - how a source pixel and a destination pixel make a new one.
#pragma once

#include <kxcoreemb/base.h>

/// A way to blend, set off by a blend value 0..255.
enum KXCBLEND : INT32
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

/// F(type) for the types with a function of their own in the 55X5 family, and in the 8888 families.
#define KXC_FOR_EACH_BLEND_55X5(F) \
    F(None) F(Alpha) F(AlphaFast) F(Mul) F(MulFast) F(Add) F(AddFast) F(Invmul) F(InvmulFast)
#define KXC_FOR_EACH_BLEND_8888(F) F(None) F(Alpha) F(Mul) F(Add) F(Invmul)

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
    /// @return the new destination pixel
    typedef UINT32 (*BlendingFunction)(UINT32 source, UINT32 destination, UINT32 value);
    /// Blends `count` pixels of the source into the destination; 0 or less blends nothing.
    typedef void (*BufferBlendingFunction)(void* source, void* destination, UINT32 value, INT32 count);

    /// Chooses the working formats (KXCSURFACEFORMAT_) for blending one surface format onto another.
    static void getBlendingFormat(INT32 sourceFormat, INT32 targetFormat, INT32& blendSource, INT32& blendTarget);
    /// @param type  a KXCBLEND_; any other value stands for KXCBLEND_NONE
    /// @return null when the formats are not a working pair
    static BlendingFunction getBlendingFunction(INT32 blendSource, INT32 blendTarget, INT32 type);
    static BufferBlendingFunction getBufferBlendingFunction(INT32 blendSource, INT32 blendTarget, INT32 type);
    /// @param value  0..255; what lies outside is clamped
    /// @return the value that the functions of the working pair take
    static UINT32 getBlendValue(INT32 blendSource, INT32 blendTarget, INT32 type, INT32 value);

    // blendAlpha55X5, blendBufferAlpha55X5; blendAlphaX888, blendAlphaPremul8888 and so on.
#define KXC_DECLARE_BLEND(Type, Family)                                                 \
    static UINT32 blend##Type##Family(UINT32 source, UINT32 destination, UINT32 value); \
    static void blendBuffer##Type##Family(void* source, void* destination, UINT32 value, INT32 count);
#define KXC_DECLARE_BLEND_55X5(Type) KXC_DECLARE_BLEND(Type, 55X5)
#define KXC_DECLARE_BLEND_8888(Type) KXC_DECLARE_BLEND(Type, X888) KXC_DECLARE_BLEND(Type, Premul8888)
    KXC_FOR_EACH_BLEND_55X5(KXC_DECLARE_BLEND_55X5)
    KXC_FOR_EACH_BLEND_8888(KXC_DECLARE_BLEND_8888)
#undef KXC_DECLARE_BLEND_8888
#undef KXC_DECLARE_BLEND_55X5
#undef KXC_DECLARE_BLEND

    /// Sources with an alpha per pixel: two 16-bit words each, an alpha of 0..32 and a 55X5 colour. The alpha scales
    /// the weight.
    static void blendBufferAlphaXA55X5(void* source, void* destination, UINT32 value, INT32 count);
    static void blendBufferAddXA55X5(void* source, void* destination, UINT32 value, INT32 count);
    static void blendBufferMulXA55X5(void* source, void* destination, UINT32 value, INT32 count);
    static void blendBufferInvmulXA55X5(void* source, void* destination, UINT32 value, INT32 count);

    /// One 55X5 colour for the whole run; a weight of 0 leaves the run untouched.
    static void blendColorToBufferAlpha55X5(UINT32 color, void* destination, UINT32 value, INT32 count);
    static void blendColorToBufferAdd55X5(UINT32 color, void* destination, UINT32 value, INT32 count);
    static void blendColorToBufferMul55X5(UINT32 color, void* destination, UINT32 value, INT32 count);
    static void blendColorToBufferInvmul55X5(UINT32 color, void* destination, UINT32 value, INT32 count);
};
