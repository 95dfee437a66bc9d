// zbuffer_device.cpp - the variant with a depth for every pixel, which untextured, opaque Gouraud triangles heed.
//
// What is kept of a depth is q = 2^38 / w, which changes linearly across the screen: the larger, the nearer, and 0 is
// farther than everything. Each triangle writes where its q is larger than what is there.
#include "gl/devices/variant.h"
#include "gl/fillers/scan.h"

#include <cstring>

namespace
{

using kxcScan::add;
using kxcScan::multiply;
using kxcScan::scale;

/// From the left edge to the right one, in 64 bits.
enum Value
{
    kRed,
    kGreen,
    kBlue, // 8.16
    kDepth,
    kValues
};
constexpr INT64 kChannelLimit = 256 << 16;
constexpr INT64 kLeastW = 655;       // 0.01, for a w of 0
constexpr INT64 kDepthEnd = 1 << 30; // q stays below
constexpr int kDepthFraction = 12;   // bits of q behind the point: distant triangles have few before it
constexpr INT64 kDepthLimit = kDepthEnd << kDepthFraction;

class ZBufferDevice final : public KxcGLDevice
{
public:
    using KxcGLDevice::KxcGLDevice;
    ~ZBufferDevice() override { ZBufferDevice::deinitialize(); }

    INT32 setRenderTarget(KxcGLSurface*) override { return 0; } // other surfaces have no depths
    INT32 clear(INT32 color, KxcFixed depth, INT32 flags) override;
    INT32 initialize() override;
    void deinitialize() override;
    KxcGLFiller fillerOf(const KxcGLFiller& entry) override;
    /// Draws a Gouraud triangle where it is nearer than what was drawn before.
    virtual void fillGouraud(const KxcGLTriangle* triangle, const KxcVector4* vertices);

private:
    void clearDepths();

    UINT32* m_depths = nullptr; // owned: of each pixel of the frame
};

/// One row of a triangle.
struct Row
{
    INT64 value[kValues], gradient[kValues]; // at the current pixel, from pixel to pixel

    bool staysInRange(INT64 count) const
    {
        INT64 channels = 0;
        for (int i = kRed; i <= kBlue; ++i)
            channels |= value[i] | add(value[i], multiply(gradient[i], count - 1));
        const INT64 depth = value[kDepth] | add(value[kDepth], multiply(gradient[kDepth], count - 1));
        return channels >= 0 && channels < kChannelLimit && depth >= 0 && depth < kDepthLimit;
    }

    /// Draws pixels whose values all stay in range, without a jump for each: the compiler makes vectors of them.
    void drawInRange(UINT16* pixels, UINT32* depths, INT32 count) const
    {
        UINT64 q = static_cast<UINT64>(value[kDepth]);
        UINT32 r = static_cast<UINT32>(value[kRed]), g = static_cast<UINT32>(value[kGreen]),
               b = static_cast<UINT32>(value[kBlue]);
        const UINT64 qStep = static_cast<UINT64>(gradient[kDepth]);
        const UINT32 rStep = static_cast<UINT32>(gradient[kRed]), gStep = static_cast<UINT32>(gradient[kGreen]),
                     bStep = static_cast<UINT32>(gradient[kBlue]);
        for (INT32 x = 0; x < count; ++x)
        {
            const UINT32 color = r >> 19 << 11 | g >> 19 << 6 | b >> 19, old = depths[x], oldColor = pixels[x];
            const INT32 depth = static_cast<INT32>(q >> kDepthFraction);
            const bool nearer = static_cast<INT32>(old) < depth;
            depths[x] = nearer ? static_cast<UINT32>(depth) : old;
            pixels[x] = static_cast<UINT16>(nearer ? color : oldColor);
            q += qStep, r += rStep, g += gStep, b += bStep;
        }
    }

    /// Rounding can carry a value out of its range at either end of a row: there pieces shrink to single pixels, which
    /// are clamped.
    void draw(UINT16* pixels, UINT32* depths, INT32 count)
    {
        while (count > 0)
        {
            INT32 length = count;
            while (length > 1 && !staysInRange(length))
                length /= 2;
            Row piece = *this;
            for (int i = 0; i < kValues; ++i)
            {
                const INT64 limit = i == kDepth ? kDepthLimit : kChannelLimit, v = value[i];
                piece.value[i] = v < 0 ? 0 : v < limit ? v : limit - 1;
                value[i] = add(v, multiply(gradient[i], length));
            }
            piece.drawInRange(pixels, depths, length);
            pixels += length;
            depths += length;
            count -= length;
        }
    }
};

INT64 depthOf(KxcFixed w)
{
    const INT64 q = (INT64(1) << 38) / (w.raw() ? w.raw() : kLeastW);
    return (q < 0 ? 0 : q < kDepthEnd ? q : kDepthEnd - 1) << kDepthFraction;
}

void ZBufferDevice::fillGouraud(const KxcGLTriangle* triangle, const KxcVector4* vertices)
{
    kxcScan::Scan scan;
    if (!scan.begin(triangle->corners, vertices))
        return;
    INT64 corners[kValues][3];
    for (int i = 0; i < 3; ++i)
    {
        const int corner = scan.order[i];
        const UINT32 color = triangle->corners.color[corner];
        corners[kRed][i] = (color >> 16 & 255) << 16;
        corners[kGreen][i] = (color >> 8 & 255) << 16;
        corners[kBlue][i] = (color & 255) << 16;
        corners[kDepth][i] = depthOf(vertices[triangle->corners.vertex[corner]].w);
    }
    Row row;
    for (int i = 0; i < kValues; ++i)
        row.gradient[i] = scan.gradient(corners[i]);

    const kxcScan::Target target;
    kxcScan::forEachRow<kValues>(
        scan, corners, target.height,
        [&](INT64 y, INT64 left, INT64 right, INT64 lead, const kxcScan::Slope* values)
        {
            const INT64 from = left > 0 ? left : 0, to = right < target.width ? right : target.width;
            for (int i = 0; i < kValues; ++i)
                row.value[i] =
                    add(add(values[i].value, scale(row.gradient[i], lead)), multiply(row.gradient[i], from - left));
            const INT64 start = y * target.width + from;
            if (from < to)
                row.draw(target.pixels + start, m_depths + start, static_cast<INT32>(to - from));
            return true;
        });
}

void fillDepthTested(const KxcGLTriangle* triangle, const KxcVector4* vertices)
{
    static_cast<ZBufferDevice*>(kxcCore->device)->fillGouraud(triangle, vertices);
}

KxcGLFiller ZBufferDevice::fillerOf(const KxcGLFiller& entry)
{
    const KxcGLFiller* slots = kxcCore->fillers[0][0]; // opaque, untextured
    const bool gouraud = &entry == &slots[2] || &entry == &slots[6];
    const bool tested = gouraud && entry != kxcGLFillNothing && !pipeline.state.isOn(KXCGLSTATE_ORTHOGRAPHIC);
    return tested ? fillDepthTested : entry;
}

INT32 ZBufferDevice::initialize()
{
    if (!KxcGLDevice::initialize())
        return 0;
    m_depths = new (std::nothrow) UINT32[static_cast<size_t>(m_frameWidth) * static_cast<size_t>(m_frameHeight)];
    if (!m_depths)
    {
        ZBufferDevice::deinitialize();
        return 0;
    }
    clearDepths();
    return 1;
}

void ZBufferDevice::deinitialize()
{
    delete[] m_depths;
    m_depths = nullptr;
    KxcGLDevice::deinitialize();
}

INT32 ZBufferDevice::clear(INT32 color, KxcFixed depth, INT32 flags)
{
    clearDepths();
    return KxcGLDevice::clear(color, depth, flags);
}

void ZBufferDevice::clearDepths()
{
    std::memset(m_depths, 0,
                static_cast<size_t>(m_frameWidth) * static_cast<size_t>(m_frameHeight) * sizeof(*m_depths));
}

} // namespace

void kxcUseGLZBuffer()
{
    if (kxcCore)
        KxcGLVariant<ZBufferDevice>::use("ZBuffer", kxcCore->screenWidth, kxcCore->screenHeight, 3579, 0);
}
