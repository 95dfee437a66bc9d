// image_filler.cpp - paints with an image in its place, and with a tile that repeats itself.

#include <kxcoreemb/fixed_math.h>
#include <kxcoreemb/primitive_fillers.h>

#include "vector/scaled.h"

#include <algorithm>
#include <new>

namespace
{

/// Parts of 256 of the way from c0 to c1, in all four channels.
UINT32 between(UINT32 c0, UINT32 c1, UINT32 weight)
{
    const UINT32 redBlue = (c0 & 0x00FF00FF) * (256 - weight) + (c1 & 0x00FF00FF) * weight;
    const UINT32 alphaGreen = (c0 >> 8 & 0x00FF00FF) * (256 - weight) + (c1 >> 8 & 0x00FF00FF) * weight;
    return (redBlue >> 8 & 0x00FF00FF) | (alphaGreen & 0xFF00FF00);
}

/// Positions in a pattern that repeats itself after `period`, all with 32 fraction bits and from 0 up.
UINT64 wrapped(INT64 position, UINT64 period)
{
    const INT64 rest = position % static_cast<INT64>(period);
    return static_cast<UINT64>(rest < 0 ? rest + static_cast<INT64>(period) : rest);
}

/// count x step, wrapped; by doubling, as the product may have more than 64 bits.
UINT64 wrappedProduct(INT32 count, INT64 step, UINT64 period)
{
    UINT64 power = wrapped(count < 0 ? -step : step, period), sum = 0;
    for (UINT32 bits = count < 0 ? 0u - static_cast<UINT32>(count) : static_cast<UINT32>(count); bits != 0; bits >>= 1)
    {
        if (bits & 1)
            sum = (sum + power) % period;
        power = 2 * power % period;
    }
    return sum;
}

/// Averages over areas: each of the smaller picture's pixels is the mean of what it covers of the larger one.
void reduce(const UINT32* source, INT32 width, INT32 height, UINT32* target, INT32 toWidth, INT32 toHeight)
{
    // In units in which a pixel of the source is toWidth x toHeight, one of the target width x height.
    const INT64 area = static_cast<INT64>(width) * height;
    for (INT64 y = 0; y < toHeight; ++y)
        for (INT64 x = 0; x < toWidth; ++x)
        {
            UINT64 sums[4] = {};
            const INT64 left = x * width, right = left + width, top = y * height, bottom = top + height;
            for (INT64 sy = top / toHeight; sy * toHeight < bottom; ++sy)
            {
                const INT64 rows = std::min(bottom, (sy + 1) * toHeight) - std::max(top, sy * toHeight);
                for (INT64 sx = left / toWidth; sx * toWidth < right; ++sx)
                {
                    const INT64 columns = std::min(right, (sx + 1) * toWidth) - std::max(left, sx * toWidth);
                    const UINT32 pixel = source[sy * width + sx];
                    for (UINT32 channel = 0; channel < 4; ++channel)
                        sums[channel] +=
                            static_cast<UINT64>(pixel >> (8 * channel) & 0xFF) * static_cast<UINT64>(rows * columns);
                }
            }
            UINT32 mean = 0;
            for (UINT32 channel = 0; channel < 4; ++channel)
                mean |= static_cast<UINT32>((sums[channel] + static_cast<UINT64>(area) / 2) / static_cast<UINT64>(area))
                        << (8 * channel);
            target[y * toWidth + x] = mean;
        }
}

} // namespace

// The image

KxcPrimitiveDrawImageFiller* KxcPrimitiveDrawImageFiller::create(KxcGLSurface* image, INT32 x, INT32 y)
{
    auto* const filler = new (std::nothrow) KxcPrimitiveDrawImageFiller;
    if (filler)
    {
        filler->setImage(image);
        filler->setFillOffset(x, y);
    }
    return filler;
}

void KxcPrimitiveDrawImageFiller::setImage(KxcGLSurface* image) { m_image = image; }

void KxcPrimitiveDrawImageFiller::setFillOffset(INT32 x, INT32 y)
{
    m_x = x;
    m_y = y;
}

void KxcPrimitiveDrawImageFiller::initFill()
{
    void* pixels = nullptr;
    m_pitch = m_image ? m_image->lock(&pixels, KXCSURFACEFORMAT_DEFAULT, KXCLOCK_READONLY) : 0;
    m_pixels = static_cast<UINT8*>(pixels);
    m_width = m_pixels ? m_image->getWidth() : 0;
    m_height = m_pixels ? m_image->getHeight() : 0;
    m_format = m_pixels ? m_image->getFormat() : KXCSURFACEFORMAT_DEFAULT;
}

void KxcPrimitiveDrawImageFiller::deinitFill()
{
    if (m_pixels)
        m_image->unlock();
    m_pixels = nullptr;
    m_width = m_height = 0;
}

void KxcPrimitiveDrawImageFiller::fill(INT32 xStart, INT32 xEnd, INT32 y, UINT32* buffer)
{
    const auto convert = KxcPixelConverter::getBufferConversionFunction(m_format, KXCSURFACEFORMAT_PREMUL8888);
    const INT64 row = static_cast<INT64>(y) - m_y;
    INT64 left = std::max<INT64>(xStart, m_x), right = std::min<INT64>(xEnd, static_cast<INT64>(m_x) + m_width);
    if (row < 0 || row >= m_height || left >= right || !convert)
        left = right = xEnd;
    std::fill(buffer + xStart, buffer + left, 0u);
    if (left < right)
        convert(m_pixels + row * m_pitch + (left - m_x) * kxcSurfaceFormats[m_format].bytesPerPixel, buffer + left,
                static_cast<INT32>(right - left));
    std::fill(buffer + right, buffer + xEnd, 0u);
}

// The pattern

KxcPrimitiveDrawPatternFiller::KxcPrimitiveDrawPatternFiller()
{
    KxcMath::matrixIdentity(m_transformation);
    KxcMath::matrixIdentity(m_patternTransformation);
}

KxcPrimitiveDrawPatternFiller::~KxcPrimitiveDrawPatternFiller() { delete m_pattern; }

KxcPrimitiveDrawPatternFiller* KxcPrimitiveDrawPatternFiller::create(KxcGLSurface* source, const KxcRectangle& tile)
{
    auto* const filler = new (std::nothrow) KxcPrimitiveDrawPatternFiller;
    if (filler)
        filler->setPattern(source, tile);
    return filler;
}

void KxcPrimitiveDrawPatternFiller::setPattern(KxcGLSurface* source, const KxcRectangle& tile)
{
    m_source = source;
    m_tile = tile;
    m_patternDirty = m_transformationDirty = true;
}

void KxcPrimitiveDrawPatternFiller::setPatternTransformation(const KxcMatrix3& matrix)
{
    m_patternTransformation = matrix;
    m_transformationDirty = true;
}

void KxcPrimitiveDrawPatternFiller::setTransformation(const KxcMatrix3& matrix)
{
    m_transformation = matrix;
    m_transformationDirty = true;
}

void KxcPrimitiveDrawPatternFiller::initFill()
{
    if (m_transformationDirty)
        updateTransformation();
    if (m_patternDirty)
        updatePatternImage();
    m_transformationDirty = m_patternDirty = false;
    void* pixels = nullptr;
    if (m_pattern)
        m_pattern->lock(&pixels, KXCSURFACEFORMAT_DEFAULT, KXCLOCK_READONLY);
    m_pixels = static_cast<const UINT32*>(pixels);
}

void KxcPrimitiveDrawPatternFiller::deinitFill()
{
    if (m_pixels)
        m_pattern->unlock();
    m_pixels = nullptr;
}

/// From pixels to the tile; and, where a pixel covers more than two of the tile's, to a smaller picture of it.
void KxcPrimitiveDrawPatternFiller::updateTransformation()
{
    constexpr INT32 kBits = 32, kLimit = 61;
    const INT32 oldWidth = m_width, oldHeight = m_height;
    KxcScaledTransform inverse = KxcScaledTransform(m_patternTransformation) * KxcScaledTransform(m_transformation);
    m_width = m_height = 0;
    if (inverse.invert() && m_tile.width > 0 && m_tile.height > 0)
    {
        const auto reduced = [&](INT32 size, INT32 column)
        {
            // Pixels of the tile to a pixel of the target, 16 fraction bits: the larger of the two directions.
            const INT64 x = inverse.m[0][column].toFixed(16, 46), y = inverse.m[1][column].toFixed(16, 46);
            const INT64 step = std::max(x < 0 ? -x : x, y < 0 ? -y : y);
            return step <= 0x20000 ? size : std::max<INT32>(1, static_cast<INT32>(INT64(size) * 65536 / step));
        };
        m_width = reduced(m_tile.width, 0);
        m_height = reduced(m_tile.height, 1);
        const auto place = [&](INT32 column, INT32 size, INT32 from, INT64& origin, INT64& stepX, INT64& stepY)
        {
            const KxcScaled scale = KxcScaled(size, 0) / KxcScaled(from, 0), half(1, -1);
            stepX = (inverse.m[0][column] * scale).toFixed(kBits, kLimit);
            stepY = (inverse.m[1][column] * scale).toFixed(kBits, kLimit);
            // A pixel of the smaller picture lies in the middle of those it stands for.
            origin = (inverse.m[2][column] * scale - (KxcScaled(1, 0) - scale) * half).toFixed(kBits, kLimit);
        };
        place(0, m_width, m_tile.width, m_originU, m_stepUX, m_stepUY);
        place(1, m_height, m_tile.height, m_originV, m_stepVX, m_stepVY);
    }
    m_patternDirty |= m_width != oldWidth || m_height != oldHeight;
}

void KxcPrimitiveDrawPatternFiller::updatePatternImage()
{
    delete m_pattern;
    m_pattern = nullptr;
    void* locked = nullptr;
    const INT32 pitch =
        m_source && m_width > 0 ? m_source->lock(&locked, KXCSURFACEFORMAT_DEFAULT, KXCLOCK_READONLY) : 0;
    if (!locked)
        return;
    KxcGLSurface* tile = KxcGLSurface::create(m_tile.width, m_tile.height, KXCSURFACEFORMAT_PREMUL8888);
    const INT32 format = m_source->getFormat();
    const auto convert = KxcPixelConverter::getBufferConversionFunction(format, KXCSURFACEFORMAT_PREMUL8888);
    void* pixels = nullptr;
    if (tile && convert && tile->lock(&pixels, KXCSURFACEFORMAT_DEFAULT, KXCLOCK_DISCARD))
    {
        UINT32* const target = static_cast<UINT32*>(pixels);
        std::fill(target, target + static_cast<size_t>(m_tile.width) * static_cast<size_t>(m_tile.height), 0u);
        // The part of the tile that lies on the source.
        const INT64 left = std::max(m_tile.x, 0), top = std::max(m_tile.y, 0);
        const INT64 right = std::min<INT64>(INT64(m_tile.x) + m_tile.width, m_source->getWidth());
        const INT64 bottom = std::min<INT64>(INT64(m_tile.y) + m_tile.height, m_source->getHeight());
        for (INT64 y = top; y < bottom && left < right; ++y)
            convert(static_cast<UINT8*>(locked) + y * pitch + left * kxcSurfaceFormats[format].bytesPerPixel,
                    target + (y - m_tile.y) * m_tile.width + (left - m_tile.x), static_cast<INT32>(right - left));
        m_pattern = tile;
        if (m_width != m_tile.width || m_height != m_tile.height)
        {
            m_pattern = KxcGLSurface::create(m_width, m_height, KXCSURFACEFORMAT_PREMUL8888);
            void* smaller = nullptr;
            if (m_pattern && m_pattern->lock(&smaller, KXCSURFACEFORMAT_DEFAULT, KXCLOCK_DISCARD))
            {
                reduce(target, m_tile.width, m_tile.height, static_cast<UINT32*>(smaller), m_width, m_height);
                m_pattern->unlock();
            }
        }
        tile->unlock();
    }
    if (tile != m_pattern)
        delete tile;
    m_source->unlock();
}

void KxcPrimitiveDrawPatternFiller::fill(INT32 xStart, INT32 xEnd, INT32 y, UINT32* buffer)
{
    if (!m_pixels)
    {
        std::fill(buffer + xStart, buffer + xEnd, 0u);
        return;
    }
    const UINT64 periodU = static_cast<UINT64>(m_width) << 32, periodV = static_cast<UINT64>(m_height) << 32;
    const UINT64 stepU = wrapped(m_stepUX, periodU), stepV = wrapped(m_stepVX, periodV);
    UINT64 u = (wrapped(m_originU, periodU) + wrappedProduct(xStart, m_stepUX, periodU) +
                wrappedProduct(y, m_stepUY, periodU)) %
               periodU;
    UINT64 v = (wrapped(m_originV, periodV) + wrappedProduct(xStart, m_stepVX, periodV) +
                wrappedProduct(y, m_stepVY, periodV)) %
               periodV;
    for (INT32 x = xStart; x < xEnd; ++x)
    {
        const UINT32 column = static_cast<UINT32>(u >> 32), row = static_cast<UINT32>(v >> 32);
        const UINT32 right = column + 1 < static_cast<UINT32>(m_width) ? column + 1 : 0;
        const UINT32 below = row + 1 < static_cast<UINT32>(m_height) ? row + 1 : 0;
        const UINT32* const upper = m_pixels + static_cast<size_t>(row) * static_cast<size_t>(m_width);
        const UINT32* const lower = m_pixels + static_cast<size_t>(below) * static_cast<size_t>(m_width);
        const UINT32 weightU = static_cast<UINT32>(u >> 24) & 0xFF, weightV = static_cast<UINT32>(v >> 24) & 0xFF;
        buffer[x] = between(between(upper[column], upper[right], weightU),
                            between(lower[column], lower[right], weightU), weightV);
        u += stepU;
        u -= u >= periodU ? periodU : 0;
        v += stepV;
        v -= v >= periodV ? periodV : 0;
    }
}
