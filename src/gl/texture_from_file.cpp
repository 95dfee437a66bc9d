// texture_from_file.cpp - textures from image files.
#include <kxcoreemb/gl_texture.h>

#include "core/core_state.h"
#include "surfaces/surface_descriptor.h"

#include <kxcoreemb/image_loader.h>
#include <kxcoreemb/string_toolkit.h>

#include <new>

namespace
{

constexpr INT32 kKind = 1;
constexpr INT32 kMips = KXCTEXTURE_POINTMIP | KXCTEXTURE_LINEARMIP;

INT32 countLevels(INT32 width, INT32 height)
{
    INT32 count = 0;
    for (; width > 1 && height >= 2; width /= 2, height /= 2)
        ++count;
    return count ? count : 1;
}

} // namespace

KxcGLTextureFromFile::KxcGLTextureFromFile(INT32 flags, UINT32 colorKey)
    : KxcGLTextureBuilder(kKind, flags),
      m_colorKey(colorKey)
{
}

KxcGLTextureFromFile::~KxcGLTextureFromFile() { delete[] m_name; }

KxcGLTexture* KxcGLTextureFromFile::create(const char* name, INT32 flags, UINT32 colorKey)
{
    KxcGLTextureFromFile* builder = name ? new (std::nothrow) KxcGLTextureFromFile(flags, colorKey) : nullptr;
    if (!builder)
        return nullptr;
    builder->m_name = KxcStringToolkit::copy(name);
    if (builder->m_name)
        loadTextureInfo(builder);
    KxcGLTexture* texture =
        builder->m_width > 0 && builder->m_height > 0 ? KxcGLTexture::create(builder, flags) : nullptr;
    if (!texture)
        delete builder;
    return texture;
}

void KxcGLTextureFromFile::loadTextureInfo(KxcGLTextureFromFile* builder)
{
    KxcGLTextureFromFile& b = *builder;
    for (KxcGLTexture* texture = kxcCore ? kxcCore->textures : nullptr; texture; texture = texture->getNext())
        if (texture->getBuilder()->equals(builder)) // never one that is not to be shared
        {
            const KxcGLTextureFromFile& same = *static_cast<KxcGLTextureFromFile*>(texture->getBuilder());
            b.m_width = same.m_width;
            b.m_height = same.m_height;
            b.m_levels = same.m_levels;
            b.m_format = same.m_format;
            return;
        }

    INT32 hasAlpha, isPaletted;
    KxcImageLoader::loadImageInfo(b.m_name, &b.m_width, &b.m_height, &hasAlpha, &isPaletted);
    if (!isPaletted || hasAlpha || (b.m_flags & KXCTEXTURE_COLORKEY))
        b.m_flags &= ~KXCTEXTURE_PALETTED;
    if ((b.m_flags & KXCTEXTURE_PALETTED) && (b.m_flags & KXCTEXTURE_LINEARMIP))
        b.m_flags = (b.m_flags & ~KXCTEXTURE_LINEARMIP) | KXCTEXTURE_POINTMIP; // indices cannot be averaged
    b.m_format = hasAlpha || (b.m_flags & KXCTEXTURE_COLORKEY) ? KXCSURFACEFORMAT_5515
                 : b.m_flags & KXCTEXTURE_PALETTED             ? KXCSURFACEFORMAT_PALETTE8
                                                               : KXCSURFACEFORMAT_55X5;
    b.m_levels = b.m_flags & kMips ? countLevels(b.m_width, b.m_height) : 1;
}

INT32 KxcGLTextureFromFile::getSurfaceCount() { return m_levels; }

void KxcGLTextureFromFile::getSurfaceParams(INT32 level, INT32& width, INT32& height, INT32& format)
{
    width = m_width >> level;
    height = m_height >> level;
    format = m_format;
}

INT32 KxcGLTextureFromFile::fillSurface(INT32 level, void* texels, KxcGLComplexSurfaceResource* resource)
{
    if (level == 0)
    {
        // The file may have changed since the texture took its size from it.
        INT32 width, height;
        KxcImageLoader::loadImageInfo(m_name, &width, &height, nullptr, nullptr);
        const INT32 pitch = static_cast<INT32>(kxcSurfaceFormats[m_format].bytesPerPixel) * m_width;
        if (width != m_width || height != m_height ||
            !KxcImageLoader::loadImageToBuffer(m_name, texels, pitch, m_format))
            return 0;
        if (m_flags & KXCTEXTURE_COLORKEY)
        {
            const UINT32 key = KxcPixelConverter::convert(m_colorKey, KXCSURFACEFORMAT_X888, m_format);
            const UINT32 clear = KxcPixelConverter::convert(0, KXCSURFACEFORMAT_8888, m_format);
            UINT16* texel = static_cast<UINT16*>(texels);
            for (INT32 i = 0; i < m_width * m_height; ++i)
                if (texel[i] == key)
                    texel[i] = static_cast<UINT16>(clear);
        }
        return 1;
    }

    KxcGLSurface* source = resource->lock(level - 1);
    if (!source)
        return 0;
    const bool point = (m_flags & KXCTEXTURE_POINTMIP) != 0;
    if (m_format == KXCSURFACEFORMAT_55X5)
        (point ? KxcGLTexture::filterMapPointSample55X5 : KxcGLTexture::filterMapLinear55X5)(source, texels);
    else if (m_format == KXCSURFACEFORMAT_5515)
        (point ? KxcGLTexture::filterMapPointSample5515 : KxcGLTexture::filterMapLinear5515)(source, texels);
    else if (point)
        KxcGLTexture::filterMapPointSamplePal55X5(source, texels);
    resource->unlock(level - 1);
    return 1;
}

INT32 KxcGLTextureFromFile::sameClassEquals(KxcGLTextureBuilder* other)
{
    return KxcStringToolkit::compareIgnoreCase(m_name, static_cast<KxcGLTextureFromFile*>(other)->m_name) == 0;
}
