// texture.cpp - textures, and the resource that holds the levels which equal textures share.
//
// A resource is made with its first texture and goes with its last. While any level is locked, the resource is
// locked with the resource manager; surfaces have pixels only while their level is.
#include <kxcoreemb/gl_texture.h>

#include "core/core_state.h"
#include "gl/device.h"
#include "surfaces/surface_descriptor.h"

#include <new>

namespace
{

constexpr INT32 kWidestLevel = 256; // what the fillers' addressing reaches

bool isPowerOfTwo(INT32 side) { return side > 0 && (side & (side - 1)) == 0; }

} // namespace

KxcGLTextureBuilder::~KxcGLTextureBuilder() = default;

bool KxcGLTextureBuilder::equals(KxcGLTextureBuilder* other)
{
    return m_kind == other->m_kind && m_flags == other->m_flags && !(m_flags & KXCTEXTURE_UNSHARED) &&
           sameClassEquals(other);
}

// --- levels ----------------------------------------------------------------------------------------------------------

KxcGLComplexSurfaceResource* KxcGLComplexSurfaceResource::create(KxcGLTextureBuilder* builder, INT32 flags)
{
    KxcGLComplexSurfaceResource* resource = new (std::nothrow) KxcGLComplexSurfaceResource();
    if (resource && !resource->init(builder, flags))
    {
        delete resource;
        resource = nullptr;
    }
    return resource;
}

bool KxcGLComplexSurfaceResource::init(KxcGLTextureBuilder* builder, INT32 flags)
{
    const INT32 count = builder->getSurfaceCount();
    if (count < 1)
        return false;
    m_levels = new (std::nothrow) Level[static_cast<size_t>(count)]();
    if (!m_levels)
        return false;
    m_builder = builder;
    INT64 bytes = 0;
    for (; m_count < count; ++m_count)
    {
        INT32 width = 0, height = 0, format = 0;
        builder->getSurfaceParams(m_count, width, height, format);
        if (!isPowerOfTwo(width) || width > kWidestLevel || !isPowerOfTwo(height))
            return false;
        Level& level = m_levels[m_count];
        level.surface = KxcGLSurfaceDescriptor::createSurface(width, height, format, nullptr, 0);
        if (!level.surface)
            return false;
        level.offset = static_cast<UINT32>(bytes);
        bytes += (KxcGLSurfaceDescriptor::storeSize(width, height, level.surface->getFormat()) + 3) & ~3; // aligned
    }
    if (bytes > INT32_MAX)
        return false;
    createResource(static_cast<UINT32>(bytes), static_cast<UINT32>(flags & KXCTEXTURE_RESIDENT));
    return m_handle != -1;
}

KxcGLComplexSurfaceResource::~KxcGLComplexSurfaceResource()
{
    if (m_locks > 0)
        unlockResource();
    for (INT32 i = 0; i < m_count; ++i)
        delete m_levels[i].surface;
    delete[] m_levels;
}

INT32 KxcGLComplexSurfaceResource::getSurfaceFormat() const { return m_count ? m_levels[0].surface->getFormat() : 0; }

KxcGLSurface* KxcGLComplexSurfaceResource::lock(INT32 level)
{
    if (level < 0 || level >= m_count)
        return nullptr;
    if (m_locks == 0)
        m_memory = static_cast<char*>(lockResource());
    if (!m_memory)
        return nullptr;
    ++m_locks;
    Level& l = m_levels[level];
    ++l.locks;
    KxcGLSurfaceDescriptor::of(l.surface)->pixels = m_memory + l.offset;
    return l.surface;
}

INT32 KxcGLComplexSurfaceResource::unlock(INT32 level)
{
    if (level < 0 || level >= m_count || m_levels[level].locks == 0)
        return 0;
    Level& l = m_levels[level];
    if (--l.locks == 0)
        KxcGLSurfaceDescriptor::of(l.surface)->pixels = nullptr;
    if (--m_locks == 0)
    {
        m_memory = nullptr;
        unlockResource();
    }
    return 1;
}

INT32 KxcGLComplexSurfaceResource::callback(void* data)
{
    // The builder may lock levels while it fills others: the memory counts as locked already.
    m_memory = static_cast<char*>(data);
    ++m_locks;
    INT32 filled = m_builder != nullptr;
    for (INT32 i = 0; filled && i < m_count; ++i)
        filled = m_builder->fillSurface(i, m_memory + m_levels[i].offset, this);
    --m_locks;
    m_memory = nullptr;
    return filled;
}

// --- textures
// ---------------------------------------------------------------------------------------------------------

KxcGLTexture* KxcGLTexture::create(KxcGLTextureBuilder* builder, INT32 flags)
{
    if (!kxcCore || !builder)
        return nullptr;
    KxcGLTexture* texture = new (std::nothrow) KxcGLTexture();
    if (!texture)
        return nullptr;
    if (!texture->init(builder, flags))
    {
        delete texture;
        return nullptr;
    }
    if (!(flags & KXCTEXTURE_LAZY))
        texture->preload();
    if (kxcCore->device)
        kxcCore->device->onTextureCreated(texture);
    return texture;
}

bool KxcGLTexture::init(KxcGLTextureBuilder* builder, INT32 flags)
{
    for (KxcGLTexture* other = flags & KXCTEXTURE_UNSHARED ? nullptr : kxcCore->textures; other && !m_resource;
         other = other->m_next)
        if (other->m_builder->equals(builder))
        {
            m_resource = other->m_resource;
            ++m_resource->m_sharers;
            m_glData = other->m_glData;
        }
    if (!m_resource)
        m_resource = KxcGLComplexSurfaceResource::create(builder, flags);
    if (!m_resource)
        return false;
    m_builder = builder;
    builder->getSurfaceParams(0, m_width, m_height, m_texelFormat);
    m_next = kxcCore->textures;
    kxcCore->textures = this;
    return true;
}

KxcGLTexture::~KxcGLTexture()
{
    if (!m_resource)
        return;
    KxcGLTexture* sharer = nullptr;
    if (kxcCore)
    {
        kxcCore->textureCache.forget(this);
        for (KxcGLTexture** link = &kxcCore->textures; *link;)
            if (*link == this)
                *link = m_next;
            else
            {
                sharer = (*link)->m_resource == m_resource ? *link : sharer;
                link = &(*link)->m_next;
            }
    }
    if (--m_resource->m_sharers > 0)
    {
        // The others load their levels with a builder that lives as long as they do.
        if (m_resource->m_builder == m_builder)
            m_resource->m_builder = sharer ? sharer->m_builder : nullptr;
    }
    else
    {
        if (kxcCore && kxcCore->device)
            kxcCore->device->onTextureDestroyed(this);
        delete m_resource;
    }
    delete m_builder;
}

KxcGLSurface* KxcGLTexture::lock(INT32 level) { return m_resource->lock(level); }

INT32 KxcGLTexture::unlock(INT32 level) { return m_resource->unlock(level); }

void KxcGLTexture::preload()
{
    if (lock(0))
        unlock(0);
}

INT32 KxcGLTexture::getSurfaceCount() const { return m_resource->getSurfaceCount(); }

INT32 KxcGLTexture::getSurfaceFormat() const { return m_resource->getSurfaceFormat(); }
