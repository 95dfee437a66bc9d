// scan.cpp - what all fillers share: a triangle's edges, its render target, its texture's level.
#include "gl/fillers/scan.h"

#include "core/core_state.h"
#include "gl/device.h"
#include "surfaces/surface_descriptor.h"

#include <kxcoreemb/gl_texture.h>

#include <utility>

namespace kxcScan
{

static constexpr INT64 kLeastW = 655; // 0.01, for a w of 0

/// a * b >> kPerspectiveShift without losing the high bits of the product.
static INT64 multiplyHigh(INT64 a, INT64 b)
{
    constexpr INT64 kLow = (INT64(1) << kPerspectiveShift) - 1;
    return add(multiply(a >> kPerspectiveShift, b), multiply(a & kLow, b) >> kPerspectiveShift);
}

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

void Scan::textureCorners(const KxcGLTriangle::Corners& record, INT64* u, INT64* v) const
{
    const KxcGLTexture* texture = kxcCore->textureCache.current;
    for (int i = 0; i < 3; ++i)
    {
        u[i] = multiply(record.u[order[i]].raw(), texture->getPrimarySurfaceWidth());
        v[i] = multiply(record.v[order[i]].raw(), texture->getPrimarySurfaceHeight());
    }
}

void Scan::divideByW(const KxcGLTriangle::Corners& record, const KxcVector4* vertices, INT64* u, INT64* v,
                     INT64* q) const
{
    for (int i = 0; i < 3; ++i)
    {
        const INT64 w = vertices[record.vertex[order[i]]].w.raw();
        q[i] = kOneOverW / ((w ? w : kLeastW) * 32);
        u[i] = multiplyHigh(multiply(u[i], 32), q[i]);
        v[i] = multiplyHigh(multiply(v[i], 32), q[i]);
    }
}

void Scan::gradients(const INT64 (*corners)[3], int count, INT64* results) const
{
    for (int i = 0; i < count; ++i)
        results[i] = gradient(corners[i]);
}

void Slope::begin(const Edge& edge, const INT64* corners, INT64 row)
{
    step = scale(subtract(corners[edge.to], corners[edge.from]), edge.inverse);
    value = add(corners[edge.from], scale(step, edge.lead));
    if (row > edge.first)
        value = add(value, multiply(step, row - edge.first));
}

void beginAll(Slope* slopes, const Edge& edge, const INT64 (*corners)[3], int count, INT64 row)
{
    for (int i = 0; i < count; ++i)
        slopes[i].begin(edge, corners[i], row);
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
    vShift = 16 - static_cast<UINT32>(__builtin_ctz(width));
    return true;
}

bool hasTexture() { return kxcCore && kxcCore->textureCache.current; }

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
