// resource_surface.cpp - surfaces whose pixels the resource manager loads from an image file while they are locked.
#include <kxcoreemb/image_loader.h>

#include "surfaces/surface_descriptor.h"

#include <kxcoreemb/resource_manager.h>
#include <kxcoreemb/string_toolkit.h>

#include <new>

/// The pixels of one resource surface, as the resource manager sees them.
class KxcImageResource : public KxcResource
{
public:
    static KxcImageResource* create(const KxcGLSurfaceDescriptor* surface, char const* name, UINT32 flags)
    {
        KxcImageResource* resource = new (std::nothrow) KxcImageResource();
        if (resource && !resource->init(surface, name, flags))
        {
            delete resource;
            resource = nullptr;
        }
        return resource;
    }
    ~KxcImageResource() override { delete[] m_name; }

    INT32 callback(void* data) override
    {
        // The file may have changed since the surface took its size from it.
        INT32 width, height;
        KxcImageLoader::loadImageInfo(m_name, &width, &height, nullptr, nullptr);
        return width == m_surface->width && height == m_surface->height &&
               KxcImageLoader::loadImageToBuffer(m_name, data, m_surface->pitch(), m_surface->format);
    }
    void* lock() { return lockResource(); }
    void unlock() { unlockResource(); }

private:
    INT32 init(const KxcGLSurfaceDescriptor* surface, char const* name, UINT32 flags)
    {
        m_surface = surface;
        m_name = KxcStringToolkit::copy(name);
        const INT32 size = KxcGLSurfaceDescriptor::storeSize(surface->width, surface->height, surface->format);
        if (m_name)
            createResource(static_cast<UINT32>(size), flags);
        return m_handle != -1;
    }

    const KxcGLSurfaceDescriptor* m_surface = nullptr; // the surface's own
    char* m_name = nullptr;                            // owned
};

KxcGLResourceSurface::KxcGLResourceSurface() : m_resource(nullptr) {}

KxcGLResourceSurface::~KxcGLResourceSurface() { delete m_resource; }

KxcGLResourceSurface* KxcGLResourceSurface::create(char const* name, INT32 format, INT32 resourceFlags)
{
    KxcGLResourceSurface* surface = new (std::nothrow) KxcGLResourceSurface();
    if (surface && !surface->init(name, format, resourceFlags))
    {
        delete surface;
        surface = nullptr;
    }
    return surface;
}

INT32 KxcGLResourceSurface::init(char const* name, INT32 format, INT32 resourceFlags)
{
    if (!name)
        return 0;
    INT32 width, height;
    KxcImageLoader::loadImageInfo(name, &width, &height, nullptr, nullptr);
    m_surface = KxcGLSurfaceDescriptor::create(width, height, format, nullptr);
    if (m_surface)
        m_resource = KxcImageResource::create(m_surface, name, static_cast<UINT32>(resourceFlags));
    return m_resource != nullptr;
}

INT32 KxcGLResourceSurface::lock(void** pixels, INT32 format, INT32 flags)
{
    *pixels = nullptr;
    void* store = m_resource->lock();
    if (!store)
        return 0;
    m_surface->pixels = store;
    const INT32 pitch = KxcGLSurface::lock(pixels, format, flags);
    if (!pitch)
    {
        m_surface->pixels = nullptr;
        m_resource->unlock();
    }
    return pitch;
}

void KxcGLResourceSurface::unlock()
{
    KxcGLSurface::unlock();
    m_surface->pixels = nullptr;
    m_resource->unlock();
}
