// surface_line.cpp - lines, one pixel thick or smooth.
//
// End points are clipped in 16.16 to the centres of the outermost pixels, so that what is left steps inside the surface
// and needs no test per pixel. Coordinates are worked on in 64 bits: a surface may be wider than 16.16 can express.

#include <kxcoreemb/surface.h>

#include "surfaces/pixel_fill.h"
#include "surfaces/surface_descriptor.h"

namespace
{

constexpr INT64 kOne = 0x10000;

struct Point
{
    INT64 x, y; // 16.16
};

/// a + (b - a) x part / whole, of which the quotient is truncated toward zero; part is between 0 and whole.
INT64 between(INT64 a, INT64 b, INT64 part, INT64 whole)
{
    // Differences have up to 32 bits: their product fits 64 only without a sign.
    const UINT64 ratioPart = static_cast<UINT64>(part < 0 ? -part : part);
    const UINT64 ratioWhole = static_cast<UINT64>(whole < 0 ? -whole : whole);
    const UINT64 distance = static_cast<UINT64>(b < a ? a - b : b - a);
    const INT64 step = static_cast<INT64>(distance * ratioPart / ratioWhole);
    return b < a ? a - step : a + step;
}

/// Moves the end that lies below `low` onto it. @return false when both do
bool clipLow(INT64& u1, INT64& v1, INT64& u2, INT64& v2, INT64 low)
{
    if (u1 < low && u2 < low)
        return false;
    if (u1 < low)
    {
        v1 = between(v1, v2, low - u1, u2 - u1);
        u1 = low;
    }
    else if (u2 < low)
    {
        v2 = between(v2, v1, low - u2, u1 - u2);
        u2 = low;
    }
    return true;
}

bool clipHigh(INT64& u1, INT64& v1, INT64& u2, INT64& v2, INT64 high)
{
    u1 = -u1;
    u2 = -u2;
    const bool visible = clipLow(u1, v1, u2, v2, -high);
    u1 = -u1;
    u2 = -u2;
    return visible;
}

/// Clips to 0..width - 1 and 0..height - 1. @return false when nothing is left
bool clip(Point& a, Point& b, INT32 width, INT32 height)
{
    return clipLow(a.x, a.y, b.x, b.y, 0) && clipHigh(a.x, a.y, b.x, b.y, (width - 1) * kOne) &&
           clipLow(a.y, a.x, b.y, b.x, 0) && clipHigh(a.y, a.x, b.y, b.x, (height - 1) * kOne);
}

/// A line of pixels as memory: how many there are, and the distances, in pixels, along its two axes.
struct Steps
{
    void* first;
    INT32 major, minor; // the extents; 16.16 coordinates reach no further than 32767
    ptrdiff_t majorStep, minorStep;
};

template <class Color>
void drawSteps(const Steps& s, Color color)
{
    typename Color::Pixel* pixel = static_cast<typename Color::Pixel*>(s.first);
    INT32 error = 2 * s.minor - s.major;
    for (INT32 left = s.major;; --left)
    {
        *pixel = color(*pixel);
        if (left == 0)
            return; // the next one may lie outside
        pixel += s.majorStep;
        if (error > 0)
        {
            error -= 2 * s.major;
            pixel += s.minorStep;
        }
        error += 2 * s.minor;
    }
}

template <INT32 kFormat>
void drawSteps(const Steps& steps, UINT32 color)
{
    // Lines mix 8888 as they mix X888: the alpha stays.
    constexpr INT32 kMix = kFormat == KXCSURFACEFORMAT_8888 ? KXCSURFACEFORMAT_X888 : kFormat;
    if ((color >> 24) == 0xFF)
        drawSteps(steps,
                  ColorSet<typename PixelFormat<kFormat>::Pixel>{convertPixel<KXCSURFACEFORMAT_8888, kFormat>(color)});
    else
        drawSteps(steps, ColorMix<kMix>(color));
}

void drawSteps(INT32 format, const Steps& steps, UINT32 color)
{
    switch (format)
    {
#define KXC_CASE(Format) \
    case Format:         \
        return drawSteps<Format>(steps, color);
        KXC_FOR_EACH_PIXEL_FORMAT(KXC_CASE)
#undef KXC_CASE
    default:
        return;
    }
}

/// The pixels of a smooth line by major and minor coordinate, which are x and y or change places.
class SmoothPixels
{
public:
    SmoothPixels(const KxcGLSurfaceDescriptor& surface, UINT32 color, bool steep)
        : m_pixels(static_cast<UINT16*>(surface.pixels)),
          m_color(color),
          m_major(steep ? surface.width : 1),
          m_minor(steep ? 1 : surface.width),
          m_minorSize(steep ? surface.width : surface.height)
    {
    }
    /// Mixes the two pixels beside the exact minor coordinate. @param gap  0..1 in 16.16: how much of the column counts
    void drawPair(INT64 major, INT64 minor, INT64 gap) const
    {
        const INT64 fraction = minor & 0xFFFF;
        draw(major, minor >> 16, ((kOne - fraction) * gap) >> 16);
        draw(major, (minor >> 16) + 1, (fraction * gap) >> 16);
    }

private:
    void draw(INT64 major, INT64 minor, INT64 coverage) const
    {
        if (minor < 0 || minor >= m_minorSize) // a border's neighbour
            return;
        UINT16& pixel = m_pixels[major * m_major + minor * m_minor];
        pixel = ColorMix16<KXCSURFACEFORMAT_55X5>(m_color, static_cast<UINT32>((coverage + 1024) >> 11))(pixel);
    }

    UINT16* m_pixels;
    UINT32 m_color;
    ptrdiff_t m_major, m_minor; // steps in pixels
    INT32 m_minorSize;
};

/// Wu's algorithm; `a` lies before `b` along the major axis, which is x here.
void drawSmooth(const SmoothPixels& pixels, Point a, Point b)
{
    const INT64 extent = b.x - a.x;
    const INT64 gradient = (b.y - a.y) * kOne / (extent ? extent : 1);

    const INT64 first = (a.x + kOne / 2) >> 16, last = (b.x + kOne / 2) >> 16;
    const INT64 firstMinor = a.y + ((gradient * (first * kOne - a.x)) >> 16);
    const INT64 lastMinor = b.y + ((gradient * (last * kOne - b.x)) >> 16);
    pixels.drawPair(first, firstMinor, kOne - ((a.x + kOne / 2) & 0xFFFF));
    pixels.drawPair(last, lastMinor, (b.x + kOne / 2) & 0xFFFF);
    INT64 minor = firstMinor + gradient;
    for (INT64 major = first + 1; major < last; ++major, minor += gradient)
        pixels.drawPair(major, minor, kOne);
}

} // namespace

void KxcGLSurface::drawLine(KxcFixed x1, KxcFixed y1, KxcFixed x2, KxcFixed y2, UINT32 color)
{
    Point a{x1.raw(), y1.raw()}, b{x2.raw(), y2.raw()};
    const KxcGLSurfaceDescriptor& s = *m_surface;
    if ((color >> 24) == 0 || !clip(a, b, s.width, s.height) || !lockForDraw())
        return;
    const INT32 x = static_cast<INT32>(a.x >> 16), y = static_cast<INT32>(a.y >> 16);
    const INT32 dx = static_cast<INT32>(b.x >> 16) - x, dy = static_cast<INT32>(b.y >> 16) - y;
    const INT32 width = dx < 0 ? -dx : dx, height = dy < 0 ? -dy : dy;
    const ptrdiff_t column = dx < 0 ? -1 : 1, row = dy < 0 ? -s.width : s.width;
    void* first = static_cast<UINT8*>(s.pixels) + (y * s.width + x) * s.bytesPerPixel();
    if (width >= height)
        drawSteps(s.format, {first, width, height, column, row}, color);
    else
        drawSteps(s.format, {first, height, width, row, column}, color);
    unlockForDraw();
}

void KxcGLSurface::drawAALine(KxcFixed x1, KxcFixed y1, KxcFixed x2, KxcFixed y2, UINT32 color)
{
    Point a{x1.raw(), y1.raw()}, b{x2.raw(), y2.raw()};
    const KxcGLSurfaceDescriptor& s = *m_surface;
    if (s.format != KXCSURFACEFORMAT_55X5 || !clip(a, b, s.width, s.height) || !lockForDraw())
        return;
    const INT64 dx = b.x - a.x, dy = b.y - a.y;
    const bool steep = (dx < 0 ? -dx : dx) < (dy < 0 ? -dy : dy);
    if (steep)
    {
        a = {a.y, a.x};
        b = {b.y, b.x};
    }
    if (a.x <= b.x)
        drawSmooth({s, color, steep}, a, b);
    else
        drawSmooth({s, color, steep}, b, a);
    unlockForDraw();
}
