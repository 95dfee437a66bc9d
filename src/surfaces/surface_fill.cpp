// surface_fill.cpp - clearing surfaces and filling rectangles.

#include <kxcoreemb/surface.h>

#include "core/core_state.h"
#include "gl/device.h"
#include "surfaces/pixel_kernels.h"
#include "surfaces/surface_descriptor.h"

/// The graphics device that fills this surface, or null when that is done here.
static KxcGLDevice* deviceOf(const KxcGLSurfaceDescriptor& surface)
{
    return (surface.flags & KXCSURFACEFLAG_DEVICE) && kxcCore != nullptr ? kxcCore->device : nullptr;
}

/// The rectangle of a locked surface as a block; the pixels are opaque, or laid over what is there, by the colour's
/// alpha.
static void fill(const KxcGLSurfaceDescriptor& surface, INT32 x, INT32 y, INT32 width, INT32 height, UINT32 color,
                 bool opaque)
{
    const KxcPixelKernels& kernels = kxcPixelKernels();
    KxcPixelBlock block{};
    block.targetPitch = surface.pitch();
    block.target = static_cast<UINT8*>(surface.pixels) + y * block.targetPitch + x * surface.bytesPerPixel();
    block.width = width;
    block.height = height;
    block.value = opaque ? KxcPixelConverter::convert(color, KXCSURFACEFORMAT_8888, surface.format) : color;
    if (opaque)
        kernels.fill[surface.bytesPerPixel() == 2 ? KxcPixelKernels::k16 : KxcPixelKernels::k32](block);
    else
        kernels.mix[surface.format](block);
}

void KxcGLSurface::clear(UINT32 color)
{
    if (KxcGLDevice* device = deviceOf(*m_surface))
    {
        device->clear(static_cast<INT32>(color), KxcFixed(0), 0);
        return;
    }
    if (m_surface->format == KXCSURFACEFORMAT_PALETTE8 || !lockForDraw())
        return;
    fill(*m_surface, 0, 0, m_surface->width, m_surface->height, color, true);
    unlockForDraw();
}

void KxcGLSurface::drawFilledRect(INT32 x, INT32 y, INT32 width, INT32 height, UINT32 color)
{
    if (KxcGLDevice* device = deviceOf(*m_surface))
    {
        device->fillRect(x, y, width, height, color);
        return;
    }
    // Edges of the visible part; where a rectangle ends may lie beyond an INT32.
    const INT64 left = x > 0 ? x : 0, top = y > 0 ? y : 0;
    INT64 right = static_cast<INT64>(x) + width, bottom = static_cast<INT64>(y) + height;
    right = right < m_surface->width ? right : m_surface->width;
    bottom = bottom < m_surface->height ? bottom : m_surface->height;
    const bool nothing = left >= right || top >= bottom || (color >> 24) == 0;
    if (nothing || m_surface->format == KXCSURFACEFORMAT_PALETTE8 || !lockForDraw())
        return;
    fill(*m_surface, static_cast<INT32>(left), static_cast<INT32>(top), static_cast<INT32>(right - left),
         static_cast<INT32>(bottom - top), color, (color >> 24) == 0xFF);
    unlockForDraw();
}
