// scan.cpp - what all fillers share: a triangle's edges, its render target, its texture's level.
#include "gl/fillers/scan.h"

#include "core/core_state.h"
#include "gl/device.h"
#include "surfaces/surface_descriptor.h"

#include <kxcoreemb/gl_texture.h>

#include <utility>

namespace kxcScan
{

bool Scan::begin(const KxcGLTriangle& triangle, const KxcVector4* vertices)
{
    const INT32* vertex = triangle.corners.vertex;
    INT32 top = 0, middle = 1, bottom = 2;
    const auto sort = [&](INT32& upper, INT32& lower)
    {
        if (vertices[vertex[upper]].y > vertices[vertex[lower]].y)
            std::swap(upper, lower);
    };
    sort(top, middle);
    sort(middle, bottom);
    sort(top, middle);
    order[0] = top, order[1] = middle, order[2] = bottom;
    for (int i = 0; i < 3; ++i)
    {
        x[i] = vertices[vertex[order[i]]].x.raw();
        y[i] = vertices[vertex[order[i]]].y.raw();
    }
    if (y[0] == y[2])
        return false;
    ratio = (y[1] - y[0]) * kOne / (y[2] - y[0]);
    width = x[0] + scale(x[2] - x[0], ratio) - x[1];
    if (width == 0)
        return false;
    longOnRight = width > 0;
    if (width > -kOne && width < kOne)
        width = longOnRight ? kOne : -kOne;

    static constexpr INT32 kFrom[] = {0, 0, 1}, kTo[] = {2, 1, 2};
    for (int i = 0; i < 3; ++i)
    {
        Edge& edge = edges[i];
        edge.from = kFrom[i];
        edge.to = kTo[i];
        edge.first = ceil(y[edge.from]);
        edge.end = ceil(y[edge.to]);
        edge.lead = edge.first * kOne - y[edge.from];
        const INT64 height = y[edge.to] - y[edge.from];
        edge.inverse = height <= kOne ? kOne : (INT64(1) << 32) / height;
    }
    return true;
}

Target::Target() : surface(kxcCore && kxcCore->device ? kxcCore->device->getSecondary() : nullptr), width(0), height(0)
{
    void* store = nullptr;
    if (surface && surface->getFormat() == KXCSURFACEFORMAT_55X5 && surface->lock(&store, 0, 0))
    {
        width = surface->getWidth();
        height = surface->getHeight();
    }
    pixels = static_cast<UINT16*>(store);
}

Target::~Target()
{
    if (width)
        surface->unlock();
}

bool Level::open(INT32 wanted, INT32 format)
{
    level = wanted;
    KxcGLSurface* surface = kxcCore->textureCache.request(wanted);
    if (!surface)
    {
        level = 0;
        surface = kxcCore->textureCache.request(0);
    }
    if (!surface || surface->getFormat() != format)
        return false;
    const UINT32 width = static_cast<UINT32>(surface->getWidth()), height = static_cast<UINT32>(surface->getHeight());
    const bool paletted = format == KXCSURFACEFORMAT_PALETTE8;
    palette = static_cast<const UINT16*>(KxcGLSurfaceDescriptor::of(surface)->pixels);
    texels = palette + (paletted ? 256 : 0);
    uMask = width - 1;
    vMask = (height - 1) << 16;
    vShift = 16;
    for (UINT32 w = width; w > 1; w /= 2)
        --vShift;
    return true;
}

bool textureSize(INT32& width, INT32& height)
{
    KxcGLTexture* texture = kxcCore ? kxcCore->textureCache.current : nullptr;
    if (!texture)
        return false;
    width = texture->getPrimarySurfaceWidth();
    height = texture->getPrimarySurfaceHeight();
    return true;
}

INT32 chooseLevel(INT64 du, INT64 dv)
{
    du = du < 0 ? subtract(0, du) : du;
    dv = dv < 0 ? subtract(0, dv) : dv;
    const INT64 texels = ceil(du > dv ? du : dv);
    INT32 level = 0;
    while (level < 31 && texels > INT64(2) << level)
        ++level;
    return level;
}

} // namespace kxcScan
