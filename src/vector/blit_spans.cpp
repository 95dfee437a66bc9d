// blit_spans.cpp - writes the spans of a row into pixels: a policy for each kind of target and paint.
//
// A policy is made for a row. It has pixel(), for a pixel of a given coverage; run(), for pixels of equal coverage,
// which are most, in `rows` rows that look alike; and below(), itself for a row further down. Runs go to the loops of
// surfaces/pixel_kernels.h. A coverage of 0 leaves a pixel as it is.

#include <kxcoreemb/primitive_draw.h>

#include "surfaces/pixel_blend.h"
#include "surfaces/pixel_kernels.h"
#include "vector/row.h"
#include "vector/span_kernels.h"

namespace
{

/// Runs up to here are quicker written than handed on.
constexpr INT32 kShortRun = 8;

/// A coverage of 0..255 as 0..32, times an opacity of 0..32.
template <bool kOpaque>
UINT32 weight16(UINT32 coverage, UINT32 opacity5)
{
    const UINT32 weight = (coverage + 4) >> 3;
    return kOpaque ? weight : weight * opacity5 >> 5;
}

/// What lies so many bytes further.
template <class Pixel>
Pixel* further(Pixel* pixels, ptrdiff_t bytes)
{
    return reinterpret_cast<Pixel*>(reinterpret_cast<UINT8*>(pixels) + bytes);
}

/// Rows that look alike, and the bytes from one to the next.
struct Rows
{
    INT32 count;
    ptrdiff_t pitch;
};

template <class Pixel>
void fillRun(Pixel* pixels, INT32 count, UINT32 color, const Rows& rows)
{
    if (count <= kShortRun && rows.count == 1)
    {
        for (INT32 i = 0; i < count; ++i)
            pixels[i] = static_cast<Pixel>(color);
        return;
    }
    const auto size = sizeof(Pixel) == 2 ? KxcPixelKernels::k16 : KxcPixelKernels::k32;
    kxcPixelKernels().fill[size]({pixels, rows.pitch, nullptr, 0, count, rows.count, color, 0, nullptr, 0});
}

/// 55X5, and 565 as if it were that.
template <bool kOpaque>
struct Blit16
{
    UINT16* row;
    UINT32 color, opacity5;

    Blit16 below(ptrdiff_t bytes) const { return {further(row, bytes), color, opacity5}; }
    void pixel(INT32 x, UINT32 coverage) const { mix(row[x], weight16<kOpaque>(coverage, opacity5)); }
    void run(INT32 x, INT32 end, UINT32 coverage, const Rows& rows) const
    {
        const UINT32 weight = weight16<kOpaque>(coverage, opacity5);
        if (weight == 32)
            return fillRun(row + x, end - x, color, rows);
        const auto blend = kxcPixelKernels().blendColorRun55X5[KxcPixelKernels::kAlphaRun];
        for (INT32 i = 0; i < rows.count; ++i)
            blend(color, further(row + x, i * rows.pitch), weight, end - x); // which leaves pixels at a weight of 0
    }

private:
    void mix(UINT16& pixel, UINT32 weight) const
    {
        if (weight == 32)
            pixel = static_cast<UINT16>(color);
        else if (weight != 0)
            pixel = static_cast<UINT16>(BlendAlpha55X5::pixel(color, pixel, weight));
    }
};

/// The same in a filler's colours, which have an alpha of their own.
struct Blit16Filled
{
    UINT16* row;
    const UINT32* colors;
    UINT32 opacity5;

    const Blit16Filled& below(ptrdiff_t) const { return *this; } // there is one row at a time
    void pixel(INT32 x, UINT32 coverage) const { mix(x, weight16<false>(coverage, opacity5)); }
    void run(INT32 x, INT32 end, UINT32 coverage, const Rows&) const
    {
        const UINT32 weight = weight16<false>(coverage, opacity5);
        for (; x < end; ++x)
            mix(x, weight);
    }

private:
    void mix(INT32 x, UINT32 weight) const
    {
        const UINT32 color = colors[x], alpha = (color >> 24) + 4;
        // 0..32, as opacities become; rounded up, so that no sum with the premultiplied colour exceeds its channel.
        const UINT32 cover = (weight * ((alpha * 32 + (alpha >> 3)) >> 8) + 31) >> 5;
        const UINT32 source = convertPixel<KXCSURFACEFORMAT_X888, KXCSURFACEFORMAT_55X5>(color);
        if (cover == 32)
            row[x] = static_cast<UINT16>(source);
        else if (weight != 0) // premultiplied: the colour counts by the weight alone
            row[x] = static_cast<UINT16>(
                packSpread55X5((spread55X5(row[x]) * (32 - cover) + spread55X5(source) * weight) >> 5));
    }
};

/// Four channels in 64 bits, each with room for a product: red and blue below, alpha and green above.
constexpr UINT64 kLaneMask = 0x00FF00FF00FF00FF;
constexpr UINT64 toLanes(UINT32 p) { return (p | static_cast<UINT64>(p) << 24) & kLaneMask; }
/// divide255(channel x weight), in the upper half of each lane.
constexpr UINT64 scaledLanes(UINT64 lanes, UINT32 weight)
{
    const UINT64 t = lanes * weight + 0x0080008000800080;
    return t + (t >> 8 & kLaneMask);
}
constexpr UINT32 fromLanes(UINT64 upperHalves)
{
    const UINT64 lanes = upperHalves >> 8 & kLaneMask;
    return static_cast<UINT32>(lanes | lanes >> 24);
}

/// X888 and PREMUL8888: an opaque colour's alpha is a channel like the others, and X888 takes no notice of it.
struct Blit32
{
    UINT32* row;
    UINT32 color, opacity;

    Blit32 below(ptrdiff_t bytes) const { return {further(row, bytes), color, opacity}; }
    void pixel(INT32 x, UINT32 coverage) const
    {
        // Exact for weights of 0 and 255 too: a test would be wrong as often as right.
        const UINT32 weight = divide255(coverage * opacity);
        row[x] = fromLanes(scaledLanes(toLanes(row[x]), 255 - weight)) + fromLanes(scaledLanes(toLanes(color), weight));
    }
    void run(INT32 x, INT32 end, UINT32 coverage, const Rows& rows) const
    {
        const UINT32 weight = divide255(coverage * opacity);
        if (weight == 255)
            return fillRun(row + x, end - x, color, rows);
        const UINT32 added = scaleChannels(color, weight);
        for (INT32 i = 0; i < rows.count; ++i)
            kxcSpanKernels().mix32(further(row + x, i * rows.pitch), end - x, added, 255 - weight);
    }
};

template <bool kOpaqueTarget>
struct Blit32Filled
{
    UINT32* row;
    UINT32* colors;
    UINT32 opacity;

    const Blit32Filled& below(ptrdiff_t) const { return *this; }
    void pixel(INT32 x, UINT32 coverage) const
    {
        row[x] = BlendAlpha8888<kOpaqueTarget>::pixel(colors[x], row[x], divide255(coverage * opacity));
    }
    void run(INT32 x, INT32 end, UINT32 coverage, const Rows&) const
    {
        const UINT32 weight = divide255(coverage * opacity);
        const KxcPixelKernels& kernels = kxcPixelKernels();
        const auto& blend = kOpaqueTarget ? kernels.blendX888 : kernels.blendPremul8888;
        blend[weight == 255 ? 0 : 1](kxcPixelRow(row + x, colors + x, end - x, weight)); // none copies what is opaque
    }
};

/// Any other format, by way of PREMUL8888.
struct BlitGeneric
{
    UINT8* row;
    const UINT32* colors; // or null: `color` everywhere
    UINT32 color, opacity;
    UINT32 bytesPerPixel;
    KxcPixelConverter::ConversionFunction toPremul, fromPremul;

    BlitGeneric below(ptrdiff_t bytes) const
    {
        BlitGeneric lower = *this;
        lower.row += bytes;
        return lower;
    }
    void pixel(INT32 x, UINT32 coverage) const { mix(x, divide255(coverage * opacity)); }
    void run(INT32 first, INT32 end, UINT32 coverage, const Rows& rows) const
    {
        const UINT32 weight = divide255(coverage * opacity);
        for (INT32 i = 0; i < rows.count; ++i)
            for (INT32 x = first; x < end; ++x)
                below(i * rows.pitch).mix(x, weight);
    }

private:
    void mix(INT32 x, UINT32 weight) const
    {
        const UINT32 source = colors ? colors[x] : color;
        const auto blended = [=](UINT32 pixel)
        { return fromPremul(BlendAlpha8888<false>::pixel(source, toPremul(pixel), weight)); };
        if (weight == 0)
            return;
        if (bytesPerPixel == 2)
        {
            UINT16& pixel = reinterpret_cast<UINT16*>(row)[x];
            pixel = static_cast<UINT16>(blended(pixel));
        }
        else
        {
            UINT32& pixel = reinterpret_cast<UINT32*>(row)[x];
            pixel = blended(pixel);
        }
    }
};

BlitGeneric makeGeneric(UINT8* row, INT32 format, const UINT32* colors, UINT32 color, UINT32 opacity)
{
    return {row,
            colors,
            color,
            opacity,
            kxcSurfaceFormats[format].bytesPerPixel,
            KxcPixelConverter::getConversionFunction(format, KXCSURFACEFORMAT_PREMUL8888),
            KxcPixelConverter::getConversionFunction(KXCSURFACEFORMAT_PREMUL8888, format)};
}

UINT16* as16(UINT8* row) { return reinterpret_cast<UINT16*>(row); }
UINT32* as32(UINT8* row) { return reinterpret_cast<UINT32*>(row); }

} // namespace

template <class Blit>
void KxcPrimitiveDraw::blitSpans(const Blit& blit)
{
    const KxcPrimitiveSpan* const spans = m_row->spans.items();
    const UINT8* const coverage = m_row->loRes;
    const Rows rows = {m_rows, m_pitch};
    for (INT32 i = 0, count = m_row->spans.count(); i < count; ++i)
    {
        const KxcPrimitiveSpan& span = spans[i];
        for (INT32 y = 0; y < rows.count; ++y)
        {
            const Blit lower = blit.below(y * rows.pitch);
            for (INT32 x = span.start; x < span.end; ++x)
                lower.pixel(x, coverage[x]);
        }
        if (span.interior != 0 && i + 1 < count && span.end < spans[i + 1].start)
            blit.run(span.end, spans[i + 1].start, static_cast<UINT32>(span.interior), rows);
    }
}

void KxcPrimitiveDraw::blitSpan16(UINT8* row, INT32) { blitSpans(Blit16<true>{as16(row), m_color16, 32}); }
void KxcPrimitiveDraw::blitSpan16Alpha(UINT8* row, INT32)
{
    blitSpans(Blit16<false>{as16(row), m_color16, m_opacity5});
}
void KxcPrimitiveDraw::blitSpan16Filled(UINT8* row, INT32)
{
    blitSpans(Blit16Filled{as16(row), m_row->colors, m_opacity5});
}
void KxcPrimitiveDraw::blitSpan32Alpha(UINT8* row, INT32) { blitSpans(Blit32{as32(row), m_color, m_opacity}); }
void KxcPrimitiveDraw::blitSpan32Filled(UINT8* row, INT32)
{
    blitSpans(Blit32Filled<true>{as32(row), m_row->colors, m_opacity});
}
void KxcPrimitiveDraw::blitSpan32ARGBAlpha(UINT8* row, INT32) { blitSpans(Blit32{as32(row), m_color, m_opacity}); }
void KxcPrimitiveDraw::blitSpan32ARGBFilled(UINT8* row, INT32)
{
    blitSpans(Blit32Filled<false>{as32(row), m_row->colors, m_opacity});
}
void KxcPrimitiveDraw::blitSpanGenericAlpha(UINT8* row, INT32)
{
    blitSpans(makeGeneric(row, m_format, nullptr, m_color, m_opacity));
}
void KxcPrimitiveDraw::blitSpanGenericFilled(UINT8* row, INT32)
{
    blitSpans(makeGeneric(row, m_format, m_row->colors, 0, m_opacity));
}

KxcPrimitiveDraw::BlitFunction KxcPrimitiveDraw::getBlitFunction(INT32 format) const
{
    const bool filled = m_filler != nullptr;
    if (m_opacity == 0)
        return nullptr;
    switch (format)
    {
    case KXCSURFACEFORMAT_565:
    case KXCSURFACEFORMAT_55X5:
        if (m_opacity5 == 0)
            return nullptr;
        return filled             ? &KxcPrimitiveDraw::blitSpan16Filled
               : m_opacity5 == 32 ? &KxcPrimitiveDraw::blitSpan16
                                  : &KxcPrimitiveDraw::blitSpan16Alpha;
    case KXCSURFACEFORMAT_X888:
        return filled ? &KxcPrimitiveDraw::blitSpan32Filled : &KxcPrimitiveDraw::blitSpan32Alpha;
    case KXCSURFACEFORMAT_PREMUL8888:
        return filled ? &KxcPrimitiveDraw::blitSpan32ARGBFilled : &KxcPrimitiveDraw::blitSpan32ARGBAlpha;
    default:
        if (!KxcPixelConverter::getConversionFunction(format, KXCSURFACEFORMAT_PREMUL8888))
            return nullptr; // paletted, or no format at all
        return filled ? &KxcPrimitiveDraw::blitSpanGenericFilled : &KxcPrimitiveDraw::blitSpanGenericAlpha;
    }
}
