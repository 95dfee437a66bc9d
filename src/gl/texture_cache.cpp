// texture_cache.cpp - the one texture level that the fillers hold locked while they draw.
#include "gl/texture_cache.h"

#include "surfaces/surface_descriptor.h"

#include <kxcoreemb/gl_texture.h>

const KxcGLTexels* KxcGLTextureCache::change(INT32 wanted)
{
    if (!current || wanted < 0 || wanted >= current->getSurfaceCount())
        return nullptr;

    // Another texture may need the memory of the one held; another level of the same one has it already.
    if (current != locked)
        release();
    KxcGLSurface* found = current->lock(wanted);
    release();
    const KxcGLSurfaceDescriptor* descriptor = found ? KxcGLSurfaceDescriptor::of(found) : nullptr;
    if (!descriptor)
        return nullptr;
    locked = current;
    surface = found;
    const UINT32 width = static_cast<UINT32>(descriptor->width), height = static_cast<UINT32>(descriptor->height);
    texels.level = wanted;
    texels.format = descriptor->format;
    texels.palette = static_cast<const UINT16*>(descriptor->pixels);
    texels.texels = texels.palette + (texels.format == KXCSURFACEFORMAT_PALETTE8 ? 256 : 0);
    texels.uMask = width - 1;
    texels.vMask = (height - 1) << 16;
    texels.vShift = 16 - static_cast<UINT32>(__builtin_ctz(width));
    return &texels;
}

void KxcGLTextureCache::release()
{
    if (surface)
        locked->unlock(texels.level);
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
