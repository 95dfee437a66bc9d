// surface_descriptor.h - what a surface is made of: for the code that creates surfaces over stores of its own, or
// decides how they meet the graphics device.
#pragma once

#include <kxcoreemb/surface.h>

enum KxcGLSurfaceFlags : UINT32
{
    KXCSURFACEFLAG_DEVICE = 1,       ///< the graphics device draws into it: clear and drawFilledRect go there
    KXCSURFACEFLAG_DEVICESOURCE = 2, ///< the device finishes before the surface is read as a blit source
    KXCSURFACEFLAG_LOCKREFUSED = 4,  ///< lock() answers 0
    KXCSURFACEFLAG_READONLY = 0x200, ///< the current lock writes nothing back; the same bit as KXCLOCK_READONLY
};

struct KxcGLSurfaceDescriptor
{
    UINT32 flags;
    void* pixels;     ///< the store; null while a resource's store is not there
    void* lockBuffer; ///< owned: the converted copy of a lock in a foreign format
    INT32 format;     ///< a KXCSURFACEFORMAT_, never 0
    INT32 lockFormat; ///< kUnlocked, 0 locked in the own format, else the foreign format
    UINT32 colorKey;  ///< 0x00RRGGBB
    INT32 colorKeyEnabled;
    INT32 width, height;
    UINT32 reserved[2]; ///< zero
    INT32 ownsPixels;   ///< 1: the store goes with the descriptor, by delete[] of unsigned char

    /// With a new store of undefined contents. @return null for a size or format that is refused, or without memory
    static KxcGLSurfaceDescriptor* create(INT32 width, INT32 height, INT32 format);
    /// Over the caller's store, which may be null and is not freed. It holds storeSize() bytes, aligned to a pixel.
    static KxcGLSurfaceDescriptor* create(INT32 width, INT32 height, INT32 format, void* pixels);
    /// A surface over the caller's store, for example a frame buffer; the caller deletes the surface.
    static KxcGLSurface* createSurface(INT32 width, INT32 height, INT32 format, void* pixels, UINT32 flags);
    static void destroy(KxcGLSurfaceDescriptor* descriptor); ///< null is fine
    static KxcGLSurfaceDescriptor* of(const KxcGLSurface* surface) { return surface->m_surface; }

    /// The bytes of a store, palette included; 0 when the size or format is refused or they exceed 2^31 - 1.
    static INT32 storeSize(INT32 width, INT32 height, INT32 format);

    static constexpr INT32 kUnlocked = -1;
    /// Locks the store as it is, for code that draws often: without telling the device. @return null when refused
    void* lockOwn()
    {
        if (lockFormat != kUnlocked || (flags & KXCSURFACEFLAG_LOCKREFUSED))
            return nullptr;
        lockFormat = pixels ? 0 : kUnlocked;
        return pixels;
    }
    void unlockOwn() { lockFormat = kUnlocked; } ///< after lockOwn() only

    INT32 bytesPerPixel() const { return static_cast<INT32>(kxcSurfaceFormats[format].bytesPerPixel); }
    INT32 pitch() const { return bytesPerPixel() * width; }
};
