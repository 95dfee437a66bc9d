// texture_cache.h - the one texture level that the fillers hold locked while they draw.
#pragma once

#include <kxcoreemb/base.h>

class KxcGLSurface;
class KxcGLTexture;

/// Keeps the level that was drawn last locked, so that a run of triangles with one texture locks it once.
///
/// select() before a triangle, request() from its filler, release() after the last triangle. All zero is empty.
struct KxcGLTextureCache
{
    KxcGLTexture* current; ///< that the next triangle shows; null for none
    KxcGLTexture* locked;  ///< that surface belongs to
    INT32 level;           ///< of it
    KxcGLSurface* surface; ///< null while nothing is locked

    void select(KxcGLTexture* texture) { current = texture; }
    /// The level of the current texture, locked. @return null where there is no such level or it cannot be loaded
    KxcGLSurface* request(INT32 wanted)
    {
        return surface && current == locked && wanted == level ? surface : change(wanted);
    }
    void release();
    void forget(KxcGLTexture* texture); ///< it is about to be destroyed

private:
    KxcGLSurface* change(INT32 wanted);
};
