// surface_draw_image.cpp - the drawImage family: what each member leaves out takes its default in KxcBlit.

#include <kxcoreemb/surface.h>

#include "surfaces/blit.h"
#include "surfaces/surface_descriptor.h"

void KxcGLSurface::blit(KxcGLSurface* source, const KxcBlit& blit)
{
    if (!lockForBlit(source))
        return;
    kxcBlit(*m_surface, *source->m_surface, blit);
    unlockForBlit(source);
}

void KxcGLSurface::drawImage(KxcGLSurface* source) { blit(source, KxcBlit()); }

void KxcGLSurface::drawImage(KxcGLSurface* source, INT32 x, INT32 y) { blit(source, KxcBlit(x, y)); }

void KxcGLSurface::drawImage(KxcGLSurface* source, INT32 x, INT32 y, INT32 width)
{
    blit(source, KxcBlit(x, y).size(width));
}

void KxcGLSurface::drawImage(KxcGLSurface* source, INT32 x, INT32 y, INT32 width, INT32 height)
{
    blit(source, KxcBlit(x, y).size(width, height));
}

void KxcGLSurface::drawImage(KxcGLSurface* source, const KxcRectangle& rect) { blit(source, KxcBlit().part(rect)); }

void KxcGLSurface::drawImage(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect)
{
    blit(source, KxcBlit(x, y).part(rect));
}

void KxcGLSurface::drawImage(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, INT32 width)
{
    blit(source, KxcBlit(x, y).part(rect).size(width));
}

void KxcGLSurface::drawImage(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, INT32 width,
                             INT32 height)
{
    blit(source, KxcBlit(x, y).part(rect).size(width, height));
}

void KxcGLSurface::drawImageBlend(KxcGLSurface* source, INT32 type, INT32 value)
{
    blit(source, KxcBlit().blend(type, value));
}

void KxcGLSurface::drawImageBlend(KxcGLSurface* source, INT32 x, INT32 y, INT32 type, INT32 value)
{
    blit(source, KxcBlit(x, y).blend(type, value));
}

void KxcGLSurface::drawImageBlend(KxcGLSurface* source, INT32 x, INT32 y, INT32 width, INT32 type, INT32 value)
{
    blit(source, KxcBlit(x, y).size(width).blend(type, value));
}

void KxcGLSurface::drawImageBlend(KxcGLSurface* source, INT32 x, INT32 y, INT32 width, INT32 height, INT32 type,
                                  INT32 value)
{
    blit(source, KxcBlit(x, y).size(width, height).blend(type, value));
}

void KxcGLSurface::drawImageBlend(KxcGLSurface* source, const KxcRectangle& rect, INT32 type, INT32 value)
{
    blit(source, KxcBlit().part(rect).blend(type, value));
}

void KxcGLSurface::drawImageBlend(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, INT32 type,
                                  INT32 value)
{
    blit(source, KxcBlit(x, y).part(rect).blend(type, value));
}

void KxcGLSurface::drawImageBlend(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, INT32 width,
                                  INT32 type, INT32 value)
{
    blit(source, KxcBlit(x, y).part(rect).size(width).blend(type, value));
}

void KxcGLSurface::drawImageBlend(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, INT32 width,
                                  INT32 height, INT32 type, INT32 value)
{
    blit(source, KxcBlit(x, y).part(rect).size(width, height).blend(type, value));
}

void KxcGLSurface::drawImageTransform(KxcGLSurface* source, UINT32 flags) { blit(source, KxcBlit().turn(flags)); }

void KxcGLSurface::drawImageTransform(KxcGLSurface* source, INT32 x, INT32 y, UINT32 flags)
{
    blit(source, KxcBlit(x, y).turn(flags));
}

void KxcGLSurface::drawImageTransform(KxcGLSurface* source, INT32 x, INT32 y, INT32 width, UINT32 flags)
{
    blit(source, KxcBlit(x, y).size(width).turn(flags));
}

void KxcGLSurface::drawImageTransform(KxcGLSurface* source, INT32 x, INT32 y, INT32 width, INT32 height, UINT32 flags)
{
    blit(source, KxcBlit(x, y).size(width, height).turn(flags));
}

void KxcGLSurface::drawImageTransform(KxcGLSurface* source, const KxcRectangle& rect, UINT32 flags)
{
    blit(source, KxcBlit().part(rect).turn(flags));
}

void KxcGLSurface::drawImageTransform(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, UINT32 flags)
{
    blit(source, KxcBlit(x, y).part(rect).turn(flags));
}

void KxcGLSurface::drawImageTransform(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, INT32 width,
                                      UINT32 flags)
{
    blit(source, KxcBlit(x, y).part(rect).size(width).turn(flags));
}

void KxcGLSurface::drawImageTransform(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, INT32 width,
                                      INT32 height, UINT32 flags)
{
    blit(source, KxcBlit(x, y).part(rect).size(width, height).turn(flags));
}

void KxcGLSurface::drawImageTransformBlend(KxcGLSurface* source, INT32 type, INT32 value, UINT32 flags)
{
    blit(source, KxcBlit().blend(type, value).turn(flags));
}

void KxcGLSurface::drawImageTransformBlend(KxcGLSurface* source, INT32 x, INT32 y, INT32 type, INT32 value,
                                           UINT32 flags)
{
    blit(source, KxcBlit(x, y).blend(type, value).turn(flags));
}

void KxcGLSurface::drawImageTransformBlend(KxcGLSurface* source, INT32 x, INT32 y, INT32 width, INT32 type, INT32 value,
                                           UINT32 flags)
{
    blit(source, KxcBlit(x, y).size(width).blend(type, value).turn(flags));
}

void KxcGLSurface::drawImageTransformBlend(KxcGLSurface* source, INT32 x, INT32 y, INT32 width, INT32 height,
                                           INT32 type, INT32 value, UINT32 flags)
{
    blit(source, KxcBlit(x, y).size(width, height).blend(type, value).turn(flags));
}

void KxcGLSurface::drawImageTransformBlend(KxcGLSurface* source, const KxcRectangle& rect, INT32 type, INT32 value,
                                           UINT32 flags)
{
    blit(source, KxcBlit().part(rect).blend(type, value).turn(flags));
}

void KxcGLSurface::drawImageTransformBlend(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect, INT32 type,
                                           INT32 value, UINT32 flags)
{
    blit(source, KxcBlit(x, y).part(rect).blend(type, value).turn(flags));
}

void KxcGLSurface::drawImageTransformBlend(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect,
                                           INT32 width, INT32 type, INT32 value, UINT32 flags)
{
    blit(source, KxcBlit(x, y).part(rect).size(width).blend(type, value).turn(flags));
}

void KxcGLSurface::drawImageTransformBlend(KxcGLSurface* source, INT32 x, INT32 y, const KxcRectangle& rect,
                                           INT32 width, INT32 height, INT32 type, INT32 value, UINT32 flags)
{
    blit(source, KxcBlit(x, y).part(rect).size(width, height).blend(type, value).turn(flags));
}
