// surface_reader.h - a surface's pixels, opened for reading for as long as the reader lives.
#pragma once

#include <kxcoreemb/surface.h>

#include <cstring>
#include <new>

/// Paletted surfaces are read as what their palette makes of them, in a copy.
class KxcSurfaceReader
{
public:
    /// @param surface  null is refused. @param format  to read in; 0 for the surface's own, which counts as 55X5 where
    ///                 it is PALETTE8
    KxcSurfaceReader(KxcGLSurface* surface, INT32 format) : m_surface(surface)
    {
        if (surface == nullptr)
            return;
        const bool paletted = surface->getFormat() == KXCSURFACEFORMAT_PALETTE8;
        m_format = paletted ? INT32{KXCSURFACEFORMAT_55X5} : format != 0 ? format : surface->getFormat();
        void* pixels = nullptr;
        m_pitch = surface->lock(&pixels, paletted ? 0 : format, KXCLOCK_READONLY);
        m_locked = pixels != nullptr;
        m_pixels = static_cast<const UINT8*>(pixels);
        if (m_locked && paletted)
            lookUp();
    }
    ~KxcSurfaceReader()
    {
        delete[] m_copy;
        if (m_locked)
            m_surface->unlock();
    }
    KxcSurfaceReader(const KxcSurfaceReader&) = delete;
    KxcSurfaceReader& operator=(const KxcSurfaceReader&) = delete;

    explicit operator bool() const { return m_pixels != nullptr; } ///< false when refused, or out of memory
    INT32 width() const { return m_surface->getWidth(); }
    INT32 height() const { return m_surface->getHeight(); }
    INT32 format() const { return m_format; }
    const UINT8* row(INT32 y) const { return m_pixels + static_cast<ptrdiff_t>(y) * m_pitch; }

private:
    void lookUp()
    {
        const size_t count = static_cast<size_t>(width()) * static_cast<size_t>(height());
        const UINT8 *palette = m_pixels, *indices = m_pixels + 256 * sizeof(UINT16);
        m_copy = new (std::nothrow) UINT16[count];
        if (m_copy != nullptr)
            for (size_t i = 0; i < count; ++i)
                memcpy(m_copy + i, palette + indices[i] * sizeof(UINT16), sizeof(UINT16));
        m_pixels = reinterpret_cast<const UINT8*>(m_copy);
        m_pitch = width() * static_cast<INT32>(sizeof(UINT16));
    }

    KxcGLSurface* m_surface;
    const UINT8* m_pixels = nullptr;
    UINT16* m_copy = nullptr;
    INT32 m_format = 0, m_pitch = 0;
    bool m_locked = false;
};
