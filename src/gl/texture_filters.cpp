// texture_filters.cpp - makes a texture level from the one above it.
#include <kxcoreemb/gl_texture.h>

#include "surfaces/surface_descriptor.h"

#include <cstring>

namespace
{

constexpr size_t kPaletteBytes = 256 * sizeof(UINT16);
constexpr UINT32 kOpaque = 0x20; // 5515

/// The first pixel of a surface of the format, or null.
const char* pixelsOf(const KxcGLSurface* source, INT32 format)
{
    return source->getFormat() == format ? static_cast<char*>(KxcGLSurfaceDescriptor::of(source)->pixels) : nullptr;
}

/// Calls combine with every second texel of every second row, and the row's length; writes what it returns.
template <class Texel, class Combine>
void halve(const KxcGLSurface* source, const char* pixels, void* target, Combine combine)
{
    const ptrdiff_t width = source->getWidth(), height = source->getHeight();
    const Texel* row = reinterpret_cast<const Texel*>(pixels);
    Texel* out = static_cast<Texel*>(target);
    for (ptrdiff_t y = 0; y + 1 < height; y += 2, row += 2 * width)
        for (ptrdiff_t x = 0; x + 1 < width; x += 2)
            *out++ = static_cast<Texel>(combine(row + x, width));
}

template <class Texel>
UINT32 first(const Texel* block, ptrdiff_t)
{
    return *block;
}

/// The average of a block's colours, truncated, and the opacity that all of its texels have.
UINT32 average(const UINT16* block, ptrdiff_t pitch)
{
    const UINT32 a = block[0], b = block[1], c = block[pitch], d = block[pitch + 1];
    const auto sum = [&](int shift)
    { return (a >> shift & 31) + (b >> shift & 31) + (c >> shift & 31) + (d >> shift & 31); };
    return sum(11) / 4 << 11 | sum(6) / 4 << 6 | sum(0) / 4 | (a & b & c & d & kOpaque);
}

void halve16(const KxcGLSurface* source, void* target, INT32 format, UINT32 (*combine)(const UINT16*, ptrdiff_t),
             UINT32 mask)
{
    if (const char* pixels = pixelsOf(source, format))
        halve<UINT16>(source, pixels, target,
                      [=](const UINT16* block, ptrdiff_t pitch) { return combine(block, pitch) & mask; });
}

} // namespace

void KxcGLTexture::filterMapPointSample55X5(KxcGLSurface* source, void* target)
{
    halve16(source, target, KXCSURFACEFORMAT_55X5, first<UINT16>, ~0u);
}

void KxcGLTexture::filterMapLinear55X5(KxcGLSurface* source, void* target)
{
    halve16(source, target, KXCSURFACEFORMAT_55X5, average, ~kOpaque);
}

void KxcGLTexture::filterMapPointSample5515(KxcGLSurface* source, void* target)
{
    halve16(source, target, KXCSURFACEFORMAT_5515, first<UINT16>, ~0u);
}

void KxcGLTexture::filterMapLinear5515(KxcGLSurface* source, void* target)
{
    halve16(source, target, KXCSURFACEFORMAT_5515, average, ~0u);
}

void KxcGLTexture::filterMapPointSamplePal55X5(KxcGLSurface* source, void* target)
{
    const char* pixels = pixelsOf(source, KXCSURFACEFORMAT_PALETTE8);
    if (!pixels)
        return;
    std::memcpy(target, pixels, kPaletteBytes);
    halve<UINT8>(source, pixels + kPaletteBytes, static_cast<char*>(target) + kPaletteBytes, first<UINT8>);
}
