// gradient_filler.cpp - the stops of gradients and their colour table, and the linear gradient.

#include <kxcoreemb/fixed_math.h>
#include <kxcoreemb/primitive_fillers.h>

#include "vector/gradient_position.h"
#include "vector/scaled.h"
#include "vector/span_kernels.h"

#include <new>

namespace
{

/// Both channels of c0 and c1 that a mask picks, mixed: w of 256 parts of c1.
UINT32 mixPair(UINT32 c0, UINT32 c1, UINT32 w)
{
    return ((c1 & 0x00FF00FF) * w + (c0 & 0x00FF00FF) * (256 - w)) >> 8 & 0x00FF00FF;
}
UINT32 mixColors(UINT32 c0, UINT32 c1, UINT32 w) { return mixPair(c0, c1, w) | mixPair(c0 >> 8, c1 >> 8, w) << 8; }

} // namespace

struct KxcPrimitiveDrawGradientFiller::StopBlock
{
    static constexpr INT32 kStops = 10;
    StopBlock* next;
    Stop stops[kStops];
};

KxcPrimitiveDrawFiller::~KxcPrimitiveDrawFiller() = default;

KxcPrimitiveDrawGradientFiller::KxcPrimitiveDrawGradientFiller()
    : m_stops(nullptr),
      m_freeStops(nullptr),
      m_stopBlocks(nullptr),
      m_colors(),
      m_spread(KXCSPREAD_PAD),
      m_transformationDirty(true),
      m_colorsDirty(true)
{
    KxcMath::matrixIdentity(m_base);
    KxcMath::matrixIdentity(m_transformation);
    KxcMath::matrixIdentity(m_gradientTransformation);
}

KxcPrimitiveDrawGradientFiller::~KxcPrimitiveDrawGradientFiller()
{
    while (m_stopBlocks)
    {
        StopBlock* const next = m_stopBlocks->next;
        delete m_stopBlocks;
        m_stopBlocks = next;
    }
}

void KxcPrimitiveDrawGradientFiller::initFill() { initGradient(); }
void KxcPrimitiveDrawGradientFiller::deinitFill() {}

void KxcPrimitiveDrawGradientFiller::initGradient()
{
    if (m_transformationDirty)
        calculateGradientTransformation();
    if (m_colorsDirty)
        calculateGradientData();
    m_transformationDirty = m_colorsDirty = false;
}

void KxcPrimitiveDrawGradientFiller::addGradientStop(KxcFixed offset, UINT32 color)
{
    if (!m_freeStops && !increaseStopNodeStorage())
        return;
    Stop* const stop = m_freeStops;
    m_freeStops = stop->next;
    stop->offset = offset < KxcFixed(0) ? KxcFixed(0) : offset > KxcFixed(1) ? KxcFixed(1) : offset;
    stop->color = color;
    Stop** place = &m_stops;
    while (*place && (*place)->offset <= stop->offset)
        place = &(*place)->next;
    stop->next = *place;
    *place = stop;
    m_colorsDirty = true;
}

bool KxcPrimitiveDrawGradientFiller::increaseStopNodeStorage()
{
    StopBlock* const block = new (std::nothrow) StopBlock;
    if (!block)
        return false;
    block->next = m_stopBlocks;
    m_stopBlocks = block;
    for (Stop& stop : block->stops)
    {
        stop.next = m_freeStops;
        m_freeStops = &stop;
    }
    return true;
}

void KxcPrimitiveDrawGradientFiller::resetGradient()
{
    while (m_stops)
    {
        Stop* const stop = m_stops;
        m_stops = stop->next;
        stop->next = m_freeStops;
        m_freeStops = stop;
    }
    m_colorsDirty = true;
}

void KxcPrimitiveDrawGradientFiller::setSpreadMethod(INT32 method) { m_spread = method; }

void KxcPrimitiveDrawGradientFiller::setTransformation(const KxcMatrix3& matrix)
{
    m_transformation = matrix;
    m_transformationDirty = true;
}

void KxcPrimitiveDrawGradientFiller::setGradientTransformation(const KxcMatrix3& matrix)
{
    m_gradientTransformation = matrix;
    m_transformationDirty = true;
}

void KxcPrimitiveDrawGradientFiller::setBase(const KxcVector2& origin, const KxcVector2& axis, const KxcVector2& across)
{
    const KxcFixed zero = 0;
    m_base = {{{axis.x, axis.y, zero}, {across.x, across.y, zero}, {origin.x, origin.y, KxcFixed(1)}}};
    m_transformationDirty = true;
}

bool KxcPrimitiveDrawGradientFiller::invertTransformation(KxcScaledTransform& inverse) const
{
    inverse = KxcScaledTransform(m_base) * KxcScaledTransform(m_gradientTransformation) *
              KxcScaledTransform(m_transformation);
    return inverse.invert();
}

void KxcPrimitiveDrawGradientFiller::calculateGradientData()
{
    const auto premultiplied = [](const Stop& stop) { return KxcPixelConverter::convert8888ToPremul8888(stop.color); };
    const auto position = [](const Stop& stop) { return stop.offset.raw() * 255 >> 16; };
    INT32 filled = 0;
    UINT32 color = 0; // of no stop at all
    if (m_stops)
    {
        color = premultiplied(*m_stops);
        while (filled < position(*m_stops))
            m_colors[filled++] = color;
        for (const Stop* stop = m_stops; stop->next; stop = stop->next)
        {
            const UINT32 next = premultiplied(*stop->next);
            const INT32 end = position(*stop->next), distance = end - position(*stop);
            const UINT32 step = distance > 0 ? 0x10000u / static_cast<UINT32>(distance) << 8 : 0;
            for (UINT32 weight = 0x8000; filled < end; weight += step)
                m_colors[filled++] = mixColors(color, next, (weight + (weight >> 16)) >> 16);
            color = next;
        }
    }
    while (filled < kColors)
        m_colors[filled++] = color;
    for (INT32 i = 0; i < kColors; ++i)
        m_colors[kColors + i] = m_colors[kColors - 1 - i];
}

void KxcPrimitiveDrawGradientFiller::lookUp(UINT32* colors, INT32 count) const
{
    // The entry behind the last one is the first of the mirrored half: padded, the last colour goes on.
    const UINT32 mask = m_spread == KXCSPREAD_REPEAT ? kColors - 1 : 2 * kColors - 1;
    kxcSpanKernels().lookUp(colors, count, m_colors, mask);
}

KxcPrimitiveDrawLinearGradientFiller* KxcPrimitiveDrawLinearGradientFiller::create(const KxcVector2& start,
                                                                                   const KxcVector2& end)
{
    auto* const filler = new (std::nothrow) KxcPrimitiveDrawLinearGradientFiller;
    if (filler)
        filler->setGradientBase(start, end);
    return filler;
}

void KxcPrimitiveDrawLinearGradientFiller::setGradientBase(const KxcVector2& start, const KxcVector2& end)
{
    const KxcVector2 axis = {end.x - start.x, end.y - start.y};
    setBase(start, axis, {-axis.y, axis.x});
}

void KxcPrimitiveDrawLinearGradientFiller::calculateGradientTransformation()
{
    KxcScaledTransform inverse;
    if (!invertTransformation(inverse))
    {
        m_stepX = m_stepY = 0;
        m_origin = kGradientEnd - (kGradientEnd / kColors); // the last entry of the table alone
        return;
    }
    const KxcScaled half(1, -1);
    m_stepX = inverse.m[0][0].toFixed(kGradientBits, kGradientStepLimit);
    m_stepY = inverse.m[1][0].toFixed(kGradientBits, kGradientStepLimit);
    m_origin = (inverse.m[2][0] + (inverse.m[0][0] + inverse.m[1][0]) * half).toFixed(kGradientBits, kGradientLimit);
}

void KxcPrimitiveDrawLinearGradientFiller::fill(INT32 xStart, INT32 xEnd, INT32 y, UINT32* buffer)
{
    const bool pads = m_spread != KXCSPREAD_REFLECT && m_spread != KXCSPREAD_REPEAT;
    INT64 t = m_origin + m_stepX * xStart + m_stepY * y;
    const INT64 last = t + m_stepX * (xEnd - xStart - 1);
    const auto isInside = [](INT64 position) { return position >= 0 && position < kGradientEnd; };
    if (pads && !(isInside(t) && isInside(last)))
        for (INT32 x = xStart; x < xEnd; ++x, t += m_stepX)
            buffer[x] = padGradient(t);
    else
    {
        // Periods divide what 32 bits wrap at.
        UINT32 position = static_cast<UINT32>(t);
        const UINT32 step = static_cast<UINT32>(m_stepX);
        for (INT32 x = xStart; x < xEnd; ++x, position += step)
            buffer[x] = position;
    }
    lookUp(buffer + xStart, xEnd - xStart);
}
