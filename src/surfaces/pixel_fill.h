// pixel_fill.h - one colour laid over pixels by its alpha: the policies of translucent fills and lines.
//
// Each is made from the colour once and then maps a pixel to its new value. Internal linkage throughout, for the
// reason given in pixel_format.h.
#pragma once

#include "surfaces/pixel_format.h"

namespace
{

/// Sets pixels to a colour that is in their format already.
template <class PixelType>
struct ColorSet
{
    using Pixel = PixelType;
    UINT32 color;
    constexpr Pixel operator()(UINT32) const { return static_cast<Pixel>(color); }
};

/// 16-bit formats: (pixel x (32 - w) + colour x w) / 32 for each channel, in the format's own widths, but that 55X5
/// pixels mix 6 bits of green. An alpha bit stays as it is.
template <INT32 kFormat>
class ColorMix16
{
    using Format = PixelFormat<kFormat>;
    static constexpr UINT32 kGreenBits = kFormat == KXCSURFACEFORMAT_55X5 ? 6 : Format::bits(kGreen);

public:
    using Pixel = UINT16;
    /// @param color  0xAARRGGBB, of which the alpha is not used here. @param weight  0..32
    constexpr ColorMix16(UINT32 color, UINT32 weight)
        : m_keep(static_cast<UINT16>(32 - weight)),
          m_red(static_cast<UINT16>(resizeChannel<8, Format::bits(kRed)>(color >> 16 & 0xFF) * weight)),
          m_green(static_cast<UINT16>(resizeChannel<8, kGreenBits>(color >> 8 & 0xFF) * weight)),
          m_blue(static_cast<UINT16>(resizeChannel<8, Format::bits(kBlue)>(color & 0xFF) * weight))
    {
    }
    constexpr explicit ColorMix16(UINT32 color) : ColorMix16(color, ((color >> 24) << 5) / 255) {}

    constexpr Pixel operator()(UINT16 p) const
    {
        const UINT16 red = mix((p >> Format::shift(kRed)) & 31, m_red);
        UINT16 green = (p >> Format::shift(kGreen)) & ((1 << Format::bits(kGreen)) - 1);
        green = mix(static_cast<UINT16>(resizeChannel<Format::bits(kGreen), kGreenBits>(green)), m_green);
        green = static_cast<UINT16>(green >> (kGreenBits - Format::bits(kGreen)));
        const UINT16 blue = mix(p & 31, m_blue);
        return static_cast<UINT16>((p & Format::kInfo.alphaMask) | red << Format::shift(kRed) |
                                   green << Format::shift(kGreen) | blue);
    }

private:
    constexpr UINT16 mix(UINT16 c, UINT16 added) const { return static_cast<UINT16>(c * m_keep + added) >> 5; }

    UINT16 m_keep;                 // 32 - w
    UINT16 m_red, m_green, m_blue; // colour x w
};

/// X888 and PREMUL8888 (and lines onto 8888): d x (255 - a) / 255 + c x a / 255, rounded one by one. The top byte
/// stays.
class ColorMixX888
{
public:
    using Pixel = UINT32;
    constexpr explicit ColorMixX888(UINT32 color)
        : m_keep(255 - (color >> 24)),
          m_redBlue(scalePair(color & kPairMask, color >> 24)),
          m_green(divide255((color >> 8 & 0xFF) * (color >> 24)))
    {
    }
    constexpr Pixel operator()(UINT32 p) const
    {
        const UINT32 green = divide255((p >> 8 & 0xFF) * m_keep) + m_green;
        return (p & 0xFF000000) | (scalePair(p & kPairMask, m_keep) + m_redBlue) | green << 8;
    }

private:
    UINT32 m_keep, m_redBlue, m_green;
};

/// X6X5X5 and 1X5X5X5: the same with channels of 5 and 6 bits. An alpha bit stays.
template <INT32 kFormat>
class ColorMixSpread
{
    using Format = PixelFormat<kFormat>;

public:
    using Pixel = UINT32;
    constexpr explicit ColorMixSpread(UINT32 color)
        : m_keep(255 - (color >> 24)),
          m_red(divide255(resizeChannel<8, Format::bits(kRed)>(color >> 16 & 0xFF) * (color >> 24))),
          m_green(divide255(resizeChannel<8, Format::bits(kGreen)>(color >> 8 & 0xFF) * (color >> 24))),
          m_blue(divide255(resizeChannel<8, Format::bits(kBlue)>(color & 0xFF) * (color >> 24)))
    {
    }
    constexpr Pixel operator()(UINT32 p) const
    {
        return (p & Format::kInfo.alphaMask) |
               (divide255(Format::template get<kRed>(p) * m_keep) + m_red) << Format::shift(kRed) |
               (divide255(Format::template get<kGreen>(p) * m_keep) + m_green) << Format::shift(kGreen) |
               (divide255(Format::template get<kBlue>(p) * m_keep) + m_blue) << Format::shift(kBlue);
    }

private:
    UINT32 m_keep, m_red, m_green, m_blue;
};

/// 65025 / alpha: divides by an alpha what 255 x 255 stands for 1 in.
struct CoverageTable
{
    UINT32 factor[256];
    constexpr CoverageTable() : factor()
    {
        for (UINT32 alpha = 1; alpha < 256; ++alpha)
            factor[alpha] = 65025 / alpha;
    }
};
constexpr CoverageTable kCoverage;

/// 8888: the colour over the pixel, both with straight alpha. Each colour counts by its share of the joint alpha.
class ColorOver8888
{
public:
    using Pixel = UINT32;
    constexpr explicit ColorOver8888(UINT32 color)
        : m_keep(255 - (color >> 24)),
          m_redBlue(scalePair(color & kPairMask, color >> 24)),
          m_green(divide255((color >> 8 & 0xFF) * (color >> 24)))
    {
    }
    constexpr Pixel operator()(UINT32 p) const
    {
        const UINT32 alpha = 255 - divide255((255 - (p >> 24)) * m_keep); // never 0: the colour's own is not
        const UINT32 k = kCoverage.factor[alpha];
        const UINT32 e = divide255(divide255((p >> 24) * m_keep) * k);
        const UINT32 red = divide255((p >> 16 & 0xFF) * e) + divide255((m_redBlue >> 16) * k);
        const UINT32 green = divide255((p >> 8 & 0xFF) * e) + divide255(m_green * k);
        const UINT32 blue = divide255((p & 0xFF) * e) + divide255((m_redBlue & 0xFF) * k);
        return alpha << 24 | red << 16 | green << 8 | blue;
    }

private:
    UINT32 m_keep, m_redBlue, m_green;
};

/// The policy of a translucent fill of a format.
template <INT32 kFormat>
using ColorMix = std::conditional_t<
    PixelFormat<kFormat>::kInfo.bytesPerPixel == 2, ColorMix16<kFormat>,
    std::conditional_t<kFormat == KXCSURFACEFORMAT_8888, ColorOver8888,
                       std::conditional_t<kFormat == KXCSURFACEFORMAT_X6X5X5 || kFormat == KXCSURFACEFORMAT_1X5X5X5,
                                          ColorMixSpread<kFormat>, ColorMixX888>>>;

} // namespace
