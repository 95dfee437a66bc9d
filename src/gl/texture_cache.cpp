// texture_cache.cpp - the one texture level that the fillers hold locked while they draw.
#include "gl/texture_cache.h"

#include <kxcoreemb/gl_texture.h>

KxcGLSurface* KxcGLTextureCache::change(INT32 wanted)
{
    if (!current || wanted < 0 || wanted >= current->getSurfaceCount())
        return nullptr;

    // Another texture may need the memory of the one held; another level of the same one has it already.
    if (current != locked)
        release();
    KxcGLSurface* found = current->lock(wanted);
    release();
    if (found)
    {
        locked = current;
        level = wanted;
        surface = found;
    }
    return found;
}

void KxcGLTextureCache::release()
{
    if (surface)
        locked->unlock(level);
    surface = nullptr;
    locked = nullptr;
}

void KxcGLTextureCache::forget(KxcGLTexture* texture)
{
    if (locked == texture)
        release();
    if (current == texture)
        current = nullptr;
}
