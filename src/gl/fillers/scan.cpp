// scan.cpp - what all fillers share: a triangle's edges, its render target, its texture's level.
#include "gl/fillers/scan.h"

#include "core/core_state.h"
#include "gl/device.h"
#include "surfaces/surface_descriptor.h"

#include <kxcoreemb/gl_texture.h>

#include <algorithm>

namespace kxcScan
{

static constexpr INT64 kLeastW = 655; // 0.01, for a w of 0

/// a * b >> kPerspectiveShift without losing the high bits of the product.
static INT64 multiplyHigh(INT64 a, INT64 b)
{
    constexpr INT64 kLow = (INT64(1) << kPerspectiveShift) - 1;
    return add(multiply(a >> kPerspectiveShift, b), multiply(a & kLow, b) >> kPerspectiveShift);
}

bool Scan::begin(const KxcGLTriangle::Corners& record, const KxcVector4* vertices)
{
    // Sorted by counting, without jumps: which way they would go is anybody's guess.
    const INT32* vertex = record.vertex;
    const KxcFixed a = vertices[vertex[0]].y, b = vertices[vertex[1]].y, c = vertices[vertex[2]].y;
    const int bAboveA = b < a, cAboveA = c < a, cAboveB = c < b;
    order[bAboveA + cAboveA] = 0;
    order[1 - bAboveA + cAboveB] = 1;
    order[2 - cAboveA - cAboveB] = 2;
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
        edge.inverse = (INT64(1) << 32) / std::max(height, kOne);
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

Target::Target() : surface(nullptr), pixels(nullptr), width(0), height(0)
{
    KxcGLSurface* target = kxcCore && kxcCore->device ? kxcCore->device->getSecondary() : nullptr;
    KxcGLSurfaceDescriptor* descriptor = target ? KxcGLSurfaceDescriptor::of(target) : nullptr;
    if (!descriptor || descriptor->format != KXCSURFACEFORMAT_55X5)
        return;
    pixels = static_cast<UINT16*>(descriptor->lockOwn());
    if (!pixels)
        return;
    surface = descriptor;
    width = descriptor->width;
    height = descriptor->height;
}

Target::~Target()
{
    if (surface)
        surface->unlockOwn();
}

const KxcGLTexels* findTexels(INT32 level, INT32 format)
{
    KxcGLTextureCache& cache = kxcCore->textureCache;
    const KxcGLTexels* texels = cache.request(level);
    if (!texels)
        texels = cache.request(0);
    return texels && texels->format == format ? texels : nullptr;
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
