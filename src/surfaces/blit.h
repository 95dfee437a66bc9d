// blit.h - drawing a rectangle of one surface onto another: scaled, turned, keyed and blended.
#pragma once

#include <kxcoreemb/base.h>

struct KxcGLSurfaceDescriptor;
struct KxcRectangle;

/// What to draw where, and how. Made as KxcBlit(x, y).part(rect).size(width, height).blend(type, value).turn(flags),
/// where every part but the first may be missing.
struct KxcBlit
{
    enum Scale
    {
        kUnscaled,
        kByWidth, ///< the height follows from the proportions of the whole source surface
        kBySize
    };

    INT32 targetX, targetY;
    const KxcRectangle* rect = nullptr; ///< of the source; null for all of it
    Scale scale = kUnscaled;
    INT32 width = 0, height = 0;
    INT32 blendType = 0, blendValue = 0; ///< a KXCBLEND_, 0..255
    UINT32 transform = 0;                ///< KXCTRANSFORM_ bits

    explicit KxcBlit(INT32 x = 0, INT32 y = 0) : targetX(x), targetY(y) {}
    KxcBlit& part(const KxcRectangle& r)
    {
        rect = &r;
        return *this;
    }
    KxcBlit& size(INT32 w)
    {
        scale = kByWidth;
        width = w;
        return *this;
    }
    KxcBlit& size(INT32 w, INT32 h)
    {
        scale = kBySize;
        width = w;
        height = h;
        return *this;
    }
    KxcBlit& blend(INT32 type, INT32 value)
    {
        blendType = type;
        blendValue = value;
        return *this;
    }
    KxcBlit& turn(UINT32 flags)
    {
        transform = flags;
        return *this;
    }
};

/// Draws onto a target; both surfaces are locked in their own formats and are not the same.
void kxcBlit(const KxcGLSurfaceDescriptor& target, const KxcGLSurfaceDescriptor& source, const KxcBlit& blit);
