// texture_cache.h - the one texture level that the fillers hold locked while they draw.
#pragma once

#include <kxcoreemb/base.h>

class KxcGLSurface;
class KxcGLTexture;

/// A level's texels, as the fillers read them: from 16.16 coordinates u and v in texels of the level, the index is
/// ((v & vMask) >> vShift) + (u >> 16 & uMask).
struct KxcGLTexels
{
    INT32 level, format;
    const UINT16* palette; ///< PALETTE8
    const void* texels;    ///< UINT16; PALETTE8: UINT8
    UINT32 uMask, vMask, vShift;
};

/// Keeps the level that was drawn last locked, so that a run of triangles with one texture locks it once.
///
/// select() before a triangle, request() from its filler, release() after the last triangle. All zero is empty.
struct KxcGLTextureCache
{
    KxcGLTexture* current; ///< that the next triangle shows; null for none
    KxcGLTexture* locked;  ///< that surface belongs to
    KxcGLSurface* surface; ///< null while nothing is locked
    KxcGLTexels texels;    ///< of that surface

    void select(KxcGLTexture* texture) { current = texture; }
    /// The level of the current texture, locked. @return null where there is no such level or it cannot be loaded
    const KxcGLTexels* request(INT32 wanted)
    {
        return surface && current == locked && wanted == texels.level ? &texels : change(wanted);
    }
    void release();
    void forget(KxcGLTexture* texture); ///< it is about to be destroyed

private:
    const KxcGLTexels* change(INT32 wanted);
};
