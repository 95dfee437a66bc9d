// surface_draw_test.cpp - clears, fills and lines in every format, against plain formulas; lines from anywhere.

#include <kxcoreemb/surface.h>

#include "support/pixel_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace
{

/// What a fill (or a line) makes of a pixel.
UINT32 laidOver(UINT32 pixel, UINT32 color, INT32 format, bool line)
{
    using namespace reference;
    const Channels c = unpack(color, 4);
    if (c.alpha == 255)
        return convert(color, 4, format);
    const Channels bits = layout(format).bits;
    Channels p = unpack(pixel, format);
    if (c.alpha == 0)
        return pixel;
    if (is16Bit(format))
    {
        const UINT32 w = c.alpha * 32 / 255, green = format == 8 ? 6 : bits.green;
        const auto mix = [w](UINT32 d, UINT32 s) { return (d * (32 - w) + s * w) / 32; };
        p.red = mix(p.red, resize(c.red, 8, 5));
        p.green = resize(mix(resize(p.green, bits.green, green), resize(c.green, 8, green)), green, bits.green);
        p.blue = mix(p.blue, resize(c.blue, 8, 5));
        return pack(p, format);
    }
    const UINT32 keep = 255 - c.alpha;
    if (format == 4 && !line)
    {
        const UINT32 alpha = 255 - divide255((255 - p.alpha) * keep), k = 65025 / alpha;
        const UINT32 e = divide255(divide255(p.alpha * keep) * k);
        const auto over = [&](UINT32 d, UINT32 s) { return divide255(d * e) + divide255(divide255(s * c.alpha) * k); };
        return pack({over(p.red, c.red), over(p.green, c.green), over(p.blue, c.blue), alpha}, 4);
    }
    const auto mix = [&](UINT32 d, UINT32 s, UINT32 width)
    { return divide255(d * keep) + divide255(resize(s, 8, width) * c.alpha); };
    const UINT32 colored = pack(
        {mix(p.red, c.red, bits.red), mix(p.green, c.green, bits.green), mix(p.blue, c.blue, bits.blue), 0}, format);
    const UINT32 colors = pack({(1u << bits.red) - 1, (1u << bits.green) - 1, (1u << bits.blue) - 1, 0}, format);
    const UINT32 kept = format == 2 || format == 10 ? ~colors : layout(format).bits.alpha ? 0x80000000 : 0;
    return (pixel & (format == 4 ? 0xFF000000 : kept)) | colored;
}

/// A surface of noise, and its pixels by column and row.
struct Canvas
{
    INT32 width, height, format;
    std::unique_ptr<KxcGLSurface> surface;
    std::vector<UINT32> before;

    Canvas(INT32 w, INT32 h, INT32 f, bool blank = false)
        : width(w),
          height(h),
          format(f),
          surface(KxcGLSurface::create(w, h, f))
    {
        reference::Noise noise;
        void* store = nullptr;
        surface->lock(&store, 0, 0);
        for (INT32 i = 0; i < w * h; ++i)
            if (reference::is16Bit(f))
                static_cast<UINT16*>(store)[i] = static_cast<UINT16>(blank ? 0 : noise.next());
            else
                static_cast<UINT32*>(store)[i] = blank ? 0 : noise.next();
        surface->unlock();
        before = pixels();
    }
    std::vector<UINT32> pixels() const
    {
        void* store = nullptr;
        surface->lock(&store, 0, 0);
        std::vector<UINT32> result;
        for (INT32 i = 0; i < width * height; ++i)
            result.push_back(reference::is16Bit(format) ? static_cast<UINT16*>(store)[i]
                                                        : static_cast<UINT32*>(store)[i]);
        surface->unlock();
        return result;
    }
};

} // namespace

TEST(SurfaceDraw, FillsAndClearsInEveryFormatByTheColorsAlpha)
{
    for (INT32 format : reference::kFormats)
        for (UINT32 alpha : {0u, 1u, 7u, 8u, 100u, 128u, 200u, 254u, 255u})
            for (UINT32 rgb : {0x000000u, 0xFFFFFFu, 0xC86432u, 0x123457u})
            {
                const UINT32 color = alpha << 24 | rgb;
                const Canvas canvas(40, 30, format);
                const bool topRight = rgb & 1; // reaches one pixel over each edge, the other one further
                if (topRight)
                    canvas.surface->drawFilledRect(15, -1, 26, 20, color);
                else
                    canvas.surface->drawFilledRect(-5, 1, 30, 100, color);
                const std::vector<UINT32> after = canvas.pixels();
                for (INT32 i = 0; i < 40 * 30; ++i)
                {
                    const bool inside = topRight ? i % 40 >= 15 && i / 40 < 19 : i % 40 < 25 && i / 40 >= 1;
                    const UINT32 old = canvas.before[static_cast<size_t>(i)];
                    ASSERT_EQ(after[static_cast<size_t>(i)], inside ? laidOver(old, color, format, false) : old)
                        << "format " << format << ", pixel " << i << std::hex << ", was " << old << ", color " << color;
                }
                canvas.surface->clear(color);
                for (UINT32 pixel : canvas.pixels())
                    ASSERT_EQ(pixel, reference::convert(color, 4, format)) << format;
            }
    const INT32 extremes[] = {INT32_MIN, -1, 0, 1, INT32_MAX};
    const Canvas canvas(5, 5, 8);
    for (INT32 i = 0; i < 5 * 5 * 5 * 5; ++i)
        canvas.surface->drawFilledRect(extremes[i % 5], extremes[i / 5 % 5], extremes[i / 25 % 5], extremes[i / 125],
                                       0x80FFFFFF);
    const std::unique_ptr<KxcGLSurface> paletted(KxcGLSurface::create(4, 4, 7));
    void* store = nullptr;
    paletted->lock(&store, 0, 0);
    memset(store, 1, 512 + 16);
    paletted->unlock();
    paletted->clear(~0u);
    paletted->drawFilledRect(0, 0, 4, 4, ~0u);
    paletted->drawLine(0, 0, 3, 3, ~0u);
    EXPECT_EQ(std::count(static_cast<UINT8*>(store), static_cast<UINT8*>(store) + 528, 1), 528);
}

TEST(SurfaceDraw, DrawsLinesPixelByPixelInEveryFormatByTheColorsAlpha)
{
    reference::Noise noise;
    for (INT32 round = 0; round < 900; ++round)
    {
        const INT32 format = reference::kFormats[static_cast<size_t>(round % 9)];
        const Canvas canvas(32, 24, format);
        const UINT32 color = (round % 2 ? 0xFF000000 : 0x60000000) | 0xC86432;
        INT32 x = noise.between(0, 31), y = noise.between(0, 23);
        const INT32 endX = noise.between(0, 31), endY = round % 5 ? noise.between(0, 23) : y;
        const INT32 half = 0x8000; // fractions are cut off
        canvas.surface->drawLine(KxcFixed::fromRaw(x * 65536 + (x < 31 ? half : 0)), y, endX, endY, color);
        std::vector<UINT32> expected = canvas.before;
        const INT32 dx = std::abs(endX - x), dy = std::abs(endY - y);
        const bool steep = dy > dx;
        const INT32 major = steep ? dy : dx, minor = steep ? dx : dy;
        INT32 error = 2 * minor - major;
        const INT32 stepX = endX < x ? -1 : 1, stepY = endY < y ? -1 : 1;
        for (INT32 i = 0; i <= major; ++i)
        {
            UINT32& pixel = expected[static_cast<size_t>(y * 32 + x)];
            pixel = laidOver(pixel, color, format, true);
            const bool both = error > 0;
            error += both ? 2 * (minor - major) : 2 * minor;
            x += steep && !both ? 0 : stepX;
            y += !steep && !both ? 0 : stepY;
        }
        ASSERT_EQ(canvas.pixels(), expected) << "round " << round << ", format " << format;
    }
}

/// The smallest and largest raw coordinates, those around the border, and noise.
static INT32 anyCoordinate(reference::Noise& noise)
{
    const INT32 special[] = {INT32_MIN, INT32_MAX, -1, 0, 39 * 65536, 39 * 65536 + 1, 40 * 65536, 0x7FFF0000};
    const UINT32 choice = noise.next() % 16;
    return choice < 8 ? special[choice] : static_cast<INT32>(noise.next()) >> (choice % 3 * 5);
}

TEST(SurfaceDraw, ClipsLinesFromAnywhereToWhatTheyShowOnTheSurface)
{
    reference::Noise noise;
    INT32 shown = 0;
    for (INT32 round = 0; round < 20000; ++round)
    {
        const Canvas canvas(40, 40, 8, true);
        const KxcFixed x1 = KxcFixed::fromRaw(anyCoordinate(noise)), y1 = KxcFixed::fromRaw(anyCoordinate(noise)),
                       x2 = KxcFixed::fromRaw(anyCoordinate(noise)), y2 = KxcFixed::fromRaw(anyCoordinate(noise));
        const bool smooth = round % 2;
        if (smooth)
            canvas.surface->drawAALine(x1, y1, x2, y2, 0xFFFFFF);
        else
            canvas.surface->drawLine(x1, y1, x2, y2, 0xFFFFFFFF);
        const double ax = FLOAT64(x1), ay = FLOAT64(y1), dx = FLOAT64(x2) - ax, dy = FLOAT64(y2) - ay;
        const double length = std::hypot(dx, dy);
        const std::vector<UINT32> after = canvas.pixels();
        for (INT32 i = 0; i < 1600; ++i)
            if (after[static_cast<size_t>(i)])
            {
                ++shown;
                const double px = i % 40 - ax, py = i / 40 - ay;
                const double off = length < 1 ? std::hypot(px, py) : std::abs(px * dy - py * dx) / length;
                ASSERT_LT(off, 2.0) << "round " << round << ", pixel " << i % 40 << ", " << i / 40;
            }
    }
    EXPECT_GT(shown, 40000); // many of them cross
    const Canvas crossed(40, 40, 8, true);
    crossed.surface->drawLine(-30000, -30000, 30000, 30000, 0xFFFFFFFF);
    const std::vector<UINT32> after = crossed.pixels();
    for (size_t i = 0; i < 1600; ++i)
        ASSERT_EQ(after[i] != 0, i % 41 == 0) << i;
}

TEST(SurfaceDraw, SmoothLinesShareEachColumnBetweenTheTwoNearestPixels)
{
    const Canvas level(12, 8, 8, true);
    level.surface->drawAALine(2, 5, 8, 5, 0xFFFFFF);
    const std::vector<UINT32> row = level.pixels();
    for (size_t x = 0; x < 12; ++x) // the ends count half
    {
        const UINT32 expected = x < 2 || x > 8 ? 0u : x == 2 || x == 8 ? 0x7BCFu : 0xFFDFu;
        ASSERT_EQ(row[5 * 12 + x], expected) << x;
        ASSERT_EQ(row[4 * 12 + x] + row[6 * 12 + x], 0u) << x;
    }
    for (bool steep : {false, true})
        for (bool backward : {false, true})
        {
            const Canvas canvas(64, 64, 8, true);
            KxcFixed a[2] = {2, 5.25}, b[2] = {60, 40.75};
            if (backward)
                std::swap(a, b);
            canvas.surface->drawAALine(a[steep], a[!steep], b[steep], b[!steep], 0xFFFFFF);
            const std::vector<UINT32> after = canvas.pixels();
            for (INT32 major = 3; major < 60; ++major)
            {
                double sum = 0, centre = 0;
                for (INT32 minor = 0; minor < 64; ++minor)
                {
                    const UINT32 red =
                        after[static_cast<size_t>(steep ? major * 64 + minor : minor * 64 + major)] >> 11;
                    sum += red;
                    centre += red * minor;
                }
                ASSERT_NEAR(sum, 31, 1.5) << major;
                ASSERT_NEAR(centre / sum, 5.25 + (major - 2) * 35.5 / 58, 0.07) << major;
            }
        }
    const Canvas other(12, 8, 1);
    other.surface->drawAALine(0, 0, 9, 9, 0xFFFFFF);
    EXPECT_EQ(other.pixels(), other.before) << "only 55X5";
}
