// toolkit.h - what the operations of the toolkit share: working formats, and surfaces in the making.
#pragma once

#include "surfaces/picture_kernels.h"
#include "surfaces/pixel_kernels.h"
#include "surfaces/surface_reader.h"
#include "surfaces/texels.h"

#include <kxcoreemb/surface_toolkit.h>

/// The format that an operation reads and writes a surface in.
inline INT32 kxcToolkitFormat(INT32 format)
{
    switch (format)
    {
    case KXCSURFACEFORMAT_565:
    case KXCSURFACEFORMAT_X6X5X5:
    case KXCSURFACEFORMAT_PALETTE8:
    case KXCSURFACEFORMAT_55X5:
        return KXCSURFACEFORMAT_55X5;
    case KXCSURFACEFORMAT_X888:
        return KXCSURFACEFORMAT_X888;
    default:
        return KXCSURFACEFORMAT_PREMUL8888;
    }
}

/// A new surface in its source's format, open for writing in the working format. All of it is to be written.
class KxcToolkitResult
{
public:
    KxcToolkitResult(const KxcGLSurface& source, INT64 width, INT64 height)
    {
        const INT32 format = source.getFormat();
        if (width > INT32_MAX || height > INT32_MAX)
            return;
        m_surface = KxcGLSurface::create(static_cast<INT32>(width), static_cast<INT32>(height),
                                         format == KXCSURFACEFORMAT_PALETTE8 ? INT32{KXCSURFACEFORMAT_55X5} : format);
        void* pixels = nullptr;
        if (m_surface != nullptr)
            m_pitch = m_surface->lock(&pixels, kxcToolkitFormat(format), KXCLOCK_DISCARD);
        m_pixels = static_cast<UINT8*>(pixels);
    }
    ~KxcToolkitResult() { delete m_surface; }
    KxcToolkitResult(const KxcToolkitResult&) = delete;
    KxcToolkitResult& operator=(const KxcToolkitResult&) = delete;

    explicit operator bool() const { return m_pixels != nullptr; } ///< false without memory
    INT32 width() const { return m_surface->getWidth(); }
    INT32 height() const { return m_surface->getHeight(); }
    UINT8* row(INT32 y) const { return m_pixels + static_cast<ptrdiff_t>(y) * m_pitch; }
    void clear() const { memset(m_pixels, 0, static_cast<size_t>(m_pitch) * static_cast<size_t>(height())); }

    /// Closes the surface and hands it over.
    KxcGLSurface* take()
    {
        KxcGLSurface* const surface = m_surface;
        surface->unlock();
        m_surface = nullptr;
        return surface;
    }

private:
    KxcGLSurface* m_surface = nullptr;
    UINT8* m_pixels = nullptr;
    INT32 m_pitch = 0;
};
