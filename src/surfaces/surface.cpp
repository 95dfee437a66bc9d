// surface.cpp - surfaces and their descriptors: making them, opening their pixels, colour keys.

#include <kxcoreemb/surface.h>

#include "core/core_state.h"
#include "gl/device.h"
#include "surfaces/surface_descriptor.h"

#include <new>

static_assert(static_cast<UINT32>(KXCSURFACEFLAG_READONLY) == KXCLOCK_READONLY, "lock() keeps the flag as it is");

static constexpr INT32 kUnlocked = KxcGLSurfaceDescriptor::kUnlocked, kPaletteBytes = 256 * sizeof(UINT16);

/// The bytes of a store, or 0.
INT32 KxcGLSurfaceDescriptor::storeSize(INT32 width, INT32 height, INT32 format)
{
    if (width < 1 || height < 1 || format < 1 || format >= KXCSURFACEFORMAT_COUNT)
        return 0;
    // The product of the sizes fits 62 bits, and every byte of a store has to be reachable by an INT32.
    const INT64 pixels = static_cast<INT64>(width) * height;
    const INT64 limit = (INT32_MAX - kPaletteBytes) / static_cast<INT64>(kxcSurfaceFormats[format].bytesPerPixel);
    if (pixels > limit)
        return 0;
    const INT32 palette = format == KXCSURFACEFORMAT_PALETTE8 ? kPaletteBytes : 0;
    return static_cast<INT32>(pixels) * static_cast<INT32>(kxcSurfaceFormats[format].bytesPerPixel) + palette;
}

KxcGLSurfaceDescriptor* KxcGLSurfaceDescriptor::create(INT32 width, INT32 height, INT32 format, void* pixels)
{
    if (format == KXCSURFACEFORMAT_DEFAULT)
        format = KXCSURFACEFORMAT_55X5;
    if (storeSize(width, height, format) == 0)
        return nullptr;
    KxcGLSurfaceDescriptor* descriptor = new (std::nothrow) KxcGLSurfaceDescriptor();
    if (descriptor == nullptr)
        return nullptr;
    descriptor->pixels = pixels;
    descriptor->format = format;
    descriptor->lockFormat = kUnlocked;
    descriptor->width = width;
    descriptor->height = height;
    return descriptor;
}

KxcGLSurfaceDescriptor* KxcGLSurfaceDescriptor::create(INT32 width, INT32 height, INT32 format)
{
    KxcGLSurfaceDescriptor* descriptor = create(width, height, format, nullptr);
    if (descriptor == nullptr)
        return nullptr;
    descriptor->pixels = new (std::nothrow) UINT8[static_cast<size_t>(storeSize(width, height, descriptor->format))];
    descriptor->ownsPixels = 1;
    if (descriptor->pixels != nullptr)
        return descriptor;
    destroy(descriptor);
    return nullptr;
}

void KxcGLSurfaceDescriptor::destroy(KxcGLSurfaceDescriptor* descriptor)
{
    if (descriptor == nullptr)
        return;
    delete[] static_cast<UINT8*>(descriptor->lockBuffer);
    if (descriptor->ownsPixels)
        delete[] static_cast<UINT8*>(descriptor->pixels);
    delete descriptor;
}

KxcGLSurface* KxcGLSurfaceDescriptor::createSurface(INT32 width, INT32 height, INT32 format, void* pixels, UINT32 flags)
{
    KxcGLSurface* surface = new (std::nothrow) KxcGLSurface;
    if (surface == nullptr)
        return nullptr;
    surface->m_surface = create(width, height, format, pixels);
    if (surface->m_surface == nullptr)
    {
        delete surface;
        return nullptr;
    }
    surface->m_surface->flags = flags;
    return surface;
}

KxcGLSurface::KxcGLSurface() : m_surface(nullptr) {}
KxcGLSurface::~KxcGLSurface() { KxcGLSurfaceDescriptor::destroy(m_surface); }

INT32 KxcGLSurface::init(INT32 width, INT32 height, INT32 format)
{
    m_surface = KxcGLSurfaceDescriptor::create(width, height, format);
    return m_surface != nullptr;
}

KxcGLSurface* KxcGLSurface::create(INT32 width, INT32 height, INT32 format)
{
    KxcGLSurface* surface = new (std::nothrow) KxcGLSurface;
    if (surface != nullptr && surface->init(width, height, format))
        return surface;
    delete surface;
    return nullptr;
}

INT32 KxcGLSurface::getWidth() const { return m_surface->width; }
INT32 KxcGLSurface::getHeight() const { return m_surface->height; }
INT32 KxcGLSurface::getFormat() const { return m_surface->format; }
void KxcGLSurface::setColorKey(INT32 color) { m_surface->colorKey = static_cast<UINT32>(color); }
INT32 KxcGLSurface::getColorKey() const { return static_cast<INT32>(m_surface->colorKey); }
void KxcGLSurface::enableColorKey(INT32 enable) { m_surface->colorKeyEnabled = enable != 0; }

/// The pixels of a surface in another format, in new memory; null when the formats do not convert or memory runs out.
static UINT8* convertedCopy(const KxcGLSurfaceDescriptor& surface, INT32 format, bool fill)
{
    if (KxcPixelConverter::getConversionFunction(surface.format, format) == nullptr)
        return nullptr;
    const INT32 size = KxcGLSurfaceDescriptor::storeSize(surface.width, surface.height, format);
    if (size == 0)
        return nullptr;
    UINT8* copy = new (std::nothrow) UINT8[static_cast<size_t>(size)];
    if (copy != nullptr && fill)
        KxcPixelConverter::convertBuffer(surface.pixels, copy, surface.width * surface.height, surface.format, format);
    return copy;
}

INT32 KxcGLSurface::lock(void** pixels, INT32 format, INT32 flags)
{
    KxcGLSurfaceDescriptor& s = *m_surface;
    if (pixels == nullptr)
        return 0;
    *pixels = nullptr;
    if (s.lockFormat != kUnlocked || (s.flags & KXCSURFACEFLAG_LOCKREFUSED) || s.pixels == nullptr)
        return 0;
    if ((s.flags & KXCSURFACEFLAG_DEVICE) && kxcCore != nullptr && kxcCore->device != nullptr)
        kxcCore->device->onSurfaceLock();

    INT32 pitch = s.pitch();
    if (format == KXCSURFACEFORMAT_DEFAULT || format == s.format)
    {
        s.lockFormat = 0;
        *pixels = s.pixels;
    }
    else
    {
        s.lockBuffer = convertedCopy(s, format, (flags & KXCLOCK_DISCARD) == 0);
        if (s.lockBuffer == nullptr)
            return 0;
        s.lockFormat = format;
        *pixels = s.lockBuffer;
        pitch = static_cast<INT32>(kxcSurfaceFormats[format].bytesPerPixel) * s.width;
    }
    s.flags |= static_cast<UINT32>(flags & KXCLOCK_READONLY);
    return pitch;
}

void KxcGLSurface::unlock()
{
    KxcGLSurfaceDescriptor& s = *m_surface;
    if (s.lockFormat == kUnlocked)
        return;
    if (s.lockBuffer != nullptr)
    {
        if ((s.flags & KXCSURFACEFLAG_READONLY) == 0)
            KxcPixelConverter::convertBuffer(s.lockBuffer, s.pixels, s.width * s.height, s.lockFormat, s.format);
        delete[] static_cast<UINT8*>(s.lockBuffer);
        s.lockBuffer = nullptr;
    }
    s.lockFormat = kUnlocked;
    s.flags &= ~static_cast<UINT32>(KXCSURFACEFLAG_READONLY);
}

INT32 KxcGLSurface::lockForDraw()
{
    void* pixels = nullptr;
    return m_surface->lockFormat == kUnlocked && lock(&pixels, m_surface->format, KXCLOCK_DISCARD) != 0;
}

void KxcGLSurface::unlockForDraw() { unlock(); }

INT32 KxcGLSurface::lockForBlit(KxcGLSurface* source)
{
    if (source == nullptr || source->m_surface->lockFormat != kUnlocked || !lockForDraw())
        return 0;
    // A surface drawn onto itself is locked by now, and refuses.
    if (source->lockForDraw())
        return 1;
    unlockForDraw();
    return 0;
}

void KxcGLSurface::unlockForBlit(KxcGLSurface* source)
{
    source->unlockForDraw();
    unlockForDraw();
}
