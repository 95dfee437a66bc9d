// pixel_format.h - the pixel formats as types, and the one conversion formula that every pair of them shares.
//
// All of it has internal linkage: the run kernels compile these functions a second time for machines with AVX2, and
// the linker must never hand that code to the rest of the program.
#pragma once

#include <kxcoreemb/pixel_converter.h>

#include <type_traits>

namespace
{

enum PixelChannel
{
    kRed,
    kGreen,
    kBlue,
    kAlpha
};

/// A format of the table, for templates.
template <INT32 kFormat>
struct PixelFormat
{
    static constexpr KxcSurfaceFormatInfo kInfo = kxcSurfaceFormats[kFormat];
    static constexpr bool kHasAlpha = kInfo.alphaMask != 0;
    using Pixel = std::conditional_t<kInfo.bytesPerPixel == 2, UINT16, UINT32>;

    static constexpr UINT32 bits(PixelChannel channel) { return (kInfo.bits >> (channel * 8)) & 0xFF; }
    static constexpr UINT32 shift(PixelChannel channel) { return (kInfo.shifts >> (channel * 8)) & 0xFF; }

    template <PixelChannel kChannel>
    static constexpr UINT32 get(UINT32 pixel)
    {
        return (pixel >> shift(kChannel)) & ((1u << bits(kChannel)) - 1);
    }
};

/// A channel of kFrom bits in kTo bits: the top bits stay, and repeat themselves below where there is room.
template <UINT32 kFrom, UINT32 kTo>
constexpr UINT32 resizeChannel(UINT32 c)
{
    if constexpr (kFrom < kTo)
        return (c << (kTo - kFrom)) | (c >> (2 * kFrom - kTo));
    else
        return c >> (kFrom - kTo);
}

/// A channel in its place in another format: one shift and one mask, and the same again for the bits that repeat where
/// the channel grows. Vector units get through this a third faster than through fields taken out and put back.
template <INT32 kSource, INT32 kTarget, PixelChannel kChannel>
constexpr UINT32 moveChannel(UINT32 p)
{
    constexpr UINT32 kFrom = PixelFormat<kSource>::bits(kChannel), kTo = PixelFormat<kTarget>::bits(kChannel);
    constexpr UINT32 kShift = PixelFormat<kTarget>::shift(kChannel);
    constexpr UINT32 kKept = kFrom < kTo ? kFrom : kTo, kNew = kTo - kKept;
    constexpr UINT32 kFromTop = PixelFormat<kSource>::shift(kChannel) + kFrom, kToTop = kShift + kTo;
    constexpr UINT32 kKeptMask = ((1u << kKept) - 1) << (kToTop - kKept), kNewMask = ((1u << kNew) - 1) << kShift;
    // The one widening that leaves the new low bits zero is X6X5X5 to 8888.
    constexpr bool kRepeats = kNew > 0 && !(kSource == KXCSURFACEFORMAT_X6X5X5 && kTarget == KXCSURFACEFORMAT_8888);

    UINT32 moved = (kFromTop >= kToTop ? p >> (kFromTop - kToTop) : p << (kToTop - kFromTop)) & kKeptMask;
    if constexpr (kRepeats)
    {
        constexpr UINT32 kRepeatTop = kFromTop + kFrom; // as if the channel stood once more below itself
        moved |= (kRepeatTop >= kToTop ? p >> (kRepeatTop - kToTop) : p << (kToTop - kRepeatTop)) & kNewMask;
    }
    return moved;
}

/// c / 255 to the nearest, for 0..65025.
constexpr UINT32 divide255(UINT32 c) { return (c + 128 + ((c + 128) >> 8)) >> 8; }

// Two 8-bit channels travel as a pair: one in bits 23..16 and one in bits 7..0.
constexpr UINT32 kPairMask = 0x00FF00FF;

/// divide255(c * factor) for both channels of a pair; the factor is 0..255.
constexpr UINT32 scalePair(UINT32 pair, UINT32 factor)
{
    const UINT32 t = pair * factor + 0x00800080;
    return ((t + ((t >> 8) & kPairMask)) >> 8) & kPairMask;
}

/// divide255(c * factor) for all four channels.
constexpr UINT32 scaleChannels(UINT32 p, UINT32 factor)
{
    return scalePair(p & kPairMask, factor) | scalePair(p >> 8 & kPairMask, factor) << 8;
}

/// The sum of each channel; beyond 255 it wraps.
constexpr UINT32 addChannels(UINT32 a, UINT32 b)
{
    return (((a & kPairMask) + (b & kPairMask)) & kPairMask) | (((a & ~kPairMask) + (b & ~kPairMask)) & ~kPairMask);
}

// The same for several pixels at once, in a better form than compilers find by themselves: 16-bit lanes hold every
// product and need no masks between them.
#if defined(__AVX2__)
constexpr INT32 kVectorBytes = 32;
#else
constexpr INT32 kVectorBytes = 16;
#endif
typedef UINT32 PixelVector __attribute__((vector_size(kVectorBytes)));
typedef UINT16 PairVector __attribute__((vector_size(kVectorBytes)));
typedef UINT8 ChannelVector __attribute__((vector_size(kVectorBytes)));

inline PixelVector scaleChannels(PixelVector p, PixelVector factor)
{
    const PairVector both = reinterpret_cast<PairVector>(factor | factor << 16);
    const PairVector redBlue = reinterpret_cast<PairVector>(p & kPairMask) * both + 128;
    const PairVector alphaGreen = (reinterpret_cast<PairVector>(p) >> 8) * both + 128;
    return reinterpret_cast<PixelVector>(((redBlue + (redBlue >> 8)) >> 8) |
                                         ((alphaGreen + (alphaGreen >> 8)) & 0xFF00));
}

inline PixelVector addChannels(PixelVector a, PixelVector b)
{
    return reinterpret_cast<PixelVector>(reinterpret_cast<ChannelVector>(a) + reinterpret_cast<ChannelVector>(b));
}

constexpr UINT32 premultiply(UINT32 p) { return scaleChannels(p | 0xFF000000, p >> 24); }

/// 0xFF0000 / alpha: what turns a premultiplied channel back into a straight one, in 16.16.
struct UnpremultiplyTable
{
    UINT32 factor[256];
    constexpr UnpremultiplyTable() : factor()
    {
        for (UINT32 alpha = 1; alpha < 256; ++alpha)
            factor[alpha] = 0xFF0000 / alpha;
    }
};
constexpr UnpremultiplyTable kUnpremultiply;

constexpr UINT32 unpremultiply(UINT32 p)
{
    // The largest product, 255 x 0xFF0000, fits. The factor of 255 is 1.0 and leaves the colour as it is.
    const UINT32 f = kUnpremultiply.factor[p >> 24];
    const UINT32 red = ((p >> 16 & 0xFF) * f) >> 16 & 0xFF;
    const UINT32 green = ((p >> 8 & 0xFF) * f) >> 16 & 0xFF;
    const UINT32 blue = ((p & 0xFF) * f) >> 16 & 0xFF;
    const UINT32 white = p >> 24 ? 0 : 0x00FFFFFF; // nothing is known of a colour behind alpha 0
    return (p & 0xFF000000) | red << 16 | green << 8 | blue | white;
}

template <INT32 kSource, INT32 kTarget>
constexpr UINT32 convertPixel(UINT32 p)
{
    using S = PixelFormat<kSource>;
    using T = PixelFormat<kTarget>;
    if constexpr (kSource == kTarget)
        return p;
    else if constexpr (kSource == KXCSURFACEFORMAT_PREMUL8888 && T::kHasAlpha)
        return convertPixel<KXCSURFACEFORMAT_8888, kTarget>(unpremultiply(p));
    else if constexpr (kTarget == KXCSURFACEFORMAT_PREMUL8888 && kSource == KXCSURFACEFORMAT_8888)
        return premultiply(p);
    else
    {
        const UINT32 color = moveChannel<kSource, kTarget, kRed>(p) | moveChannel<kSource, kTarget, kGreen>(p) |
                             moveChannel<kSource, kTarget, kBlue>(p);
        if constexpr (!T::kHasAlpha)
            return color;
        else if constexpr (!S::kHasAlpha)
            return color | T::kInfo.alphaMask;
        else
        {
            const UINT32 allOrNothing = 0u - S::template get<kAlpha>(p); // of 1 bit of alpha
            if constexpr (kTarget == KXCSURFACEFORMAT_PREMUL8888)
                return (color | T::kInfo.alphaMask) & allOrNothing;
            else if constexpr (S::bits(kAlpha) < T::bits(kAlpha))
                return color | (T::kInfo.alphaMask & allOrNothing);
            else
                return color | moveChannel<kSource, kTarget, kAlpha>(p);
        }
    }
}

/// F(id) for each of the formats that pixels convert between.
#define KXC_FOR_EACH_PIXEL_FORMAT(F) \
    F(KXCSURFACEFORMAT_565)          \
    F(KXCSURFACEFORMAT_X888)         \
    F(KXCSURFACEFORMAT_1555)         \
    F(KXCSURFACEFORMAT_8888)         \
    F(KXCSURFACEFORMAT_X6X5X5)       \
    F(KXCSURFACEFORMAT_1X5X5X5)      \
    F(KXCSURFACEFORMAT_55X5)         \
    F(KXCSURFACEFORMAT_5515)         \
    F(KXCSURFACEFORMAT_PREMUL8888)

} // namespace
