// toolkit_test.cpp - pictures resized, turned, skewed and dithered, against plain formulas and what must not change.

#include <kxcoreemb/surface_toolkit.h>

#include "support/engine.h"
#include "support/pixel_reference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <memory>

namespace
{

using Surface = std::unique_ptr<KxcGLSurface>;
using Toolkit = KxcGLSurfaceToolkit;
using Pixels = std::vector<UINT32>;

/// A surface whose pixels are these 8888 ones, converted.
Surface paint(INT32 width, INT32 height, INT32 format, const std::function<UINT32(INT32, INT32)>& f)
{
    Surface surface(KxcGLSurface::create(width, height, format));
    void* pixels = nullptr;
    surface->lock(&pixels, 0, 0);
    for (INT32 i = 0; i < width * height; ++i)
    {
        const UINT32 pixel = reference::convert(f(i % width, i / width), KXCSURFACEFORMAT_8888, format);
        memcpy(static_cast<UINT8*>(pixels) + static_cast<size_t>(i) * kxcSurfaceFormats[format].bytesPerPixel, &pixel,
               kxcSurfaceFormats[format].bytesPerPixel);
    }
    surface->unlock();
    return surface;
}

/// In another format, where that is not 0.
Pixels pixelsOf(KxcGLSurface& surface, INT32 format = 0)
{
    Pixels result;
    void* pixels = nullptr;
    surface.lock(&pixels, format, KXCLOCK_READONLY);
    const INT32 opened = format ? format : surface.getFormat();
    for (INT32 i = 0; i < surface.getWidth() * surface.getHeight(); ++i)
        result.push_back(reference::is16Bit(opened) ? static_cast<UINT16*>(pixels)[i]
                                                    : static_cast<UINT32*>(pixels)[i]);
    surface.unlock();
    return result;
}

UINT32 noise(INT32 x, INT32 y) // opaque; 8888
{
    return static_cast<UINT32>(x * 7919 + y * 104729 + x * y * 31) * 2654435761u | 0xFF000000;
}
UINT32 softNoise(INT32 x, INT32 y) { return noise(x, y) ^ (static_cast<UINT32>(x * 37 + y * 11) << 24); }

UINT32& channel(reference::Channels& c, INT32 i)
{
    return i == 0 ? c.red : i == 1 ? c.green : i == 2 ? c.blue : c.alpha;
}

/// f(channel values of `count` pixels) for each channel of a working format.
template <class F>
UINT32 combine(const Pixels& pixels, INT32 work, F f)
{
    std::vector<reference::Channels> all;
    for (UINT32 pixel : pixels)
        all.push_back(reference::unpack(pixel, work));
    reference::Channels result = {};
    for (INT32 i = 0; i < 4; ++i)
    {
        std::vector<double> values;
        for (reference::Channels& c : all)
            values.push_back(channel(c, i));
        channel(result, i) = static_cast<UINT32>(f(values));
    }
    return reference::pack(result, work);
}

/// The picture at a point (16.16), mixed from the four around it; what is outside counts as 0, or as the border.
UINT32 bilinear(const Pixels& p, INT32 width, INT32 height, INT32 work, INT64 u, INT64 v, bool border)
{
    const INT64 x = u >> 16, y = v >> 16;
    const auto weight = [work](INT64 at)
    {
        return work == 8 ? static_cast<double>(((at & 0xFFFF) + 1024) >> 11) / 32
                         : static_cast<double>(((at & 0xFFFF) + 128) >> 8) / 256;
    };
    const auto at = [&](INT64 px, INT64 py) -> UINT32
    {
        if (border)
        {
            px = std::min<INT64>(px, width - 1);
            py = std::min<INT64>(py, height - 1);
        }
        return px < 0 || py < 0 || px >= width || py >= height ? 0 : p[static_cast<size_t>(py * width + px)];
    };
    const double wx = weight(u), wy = weight(v);
    return combine(
        {at(x, y), at(x + 1, y), at(x, y + 1), at(x + 1, y + 1)}, work,
        [=](const std::vector<double>& c)
        { return std::floor((c[0] * (1 - wx) + c[1] * wx) * (1 - wy) + (c[2] * (1 - wx) + c[3] * wx) * wy + 0.5); });
}

UINT32 bigger(UINT32 a, UINT32 b) { return a > b ? a : b; }

/// The largest difference of a channel.
UINT32 distance(UINT32 a, UINT32 b, INT32 format)
{
    const reference::Channels c = reference::unpack(a, format), d = reference::unpack(b, format);
    const auto apart = [](UINT32 e, UINT32 f) { return e > f ? e - f : f - e; };
    return bigger(bigger(apart(c.red, d.red), apart(c.green, d.green)),
                  bigger(apart(c.blue, d.blue), apart(c.alpha, d.alpha)));
}

} // namespace

TEST(Toolkit, EnlargedPicturesAreMixedAsTheFormulaTellsAndKeepTheirCorners)
{
    for (INT32 format : {8, 2, 10})
        for (const auto& [from, to] : {std::pair<INT32, INT32>{2, 3}, {1, 4}, {5, 5}, {7, 30}, {20, 39}, {33, 300}})
        {
            const INT32 tall = from + 1, high = to + 2;
            const Surface source = paint(from, tall, format, softNoise);
            const Surface result(Toolkit::resampleSurface(source.get(), to, high));
            ASSERT_TRUE(result && result->getWidth() == to && result->getHeight() == high &&
                        result->getFormat() == format);
            const Pixels p = pixelsOf(*source), r = pixelsOf(*result);
            const auto position = [](INT32 i, INT32 oldSize, INT32 size) -> INT64 {
                return size == 1       ? 0
                       : i == size - 1 ? INT64{oldSize - 1} << 16
                                       : i * ((INT64{oldSize - 1} << 16) / (size - 1));
            };
            for (INT32 i = 0; i < to * high; ++i)
                ASSERT_EQ(r[static_cast<size_t>(i)], bilinear(p, from, tall, format, position(i % to, from, to),
                                                              position(i / to, tall, high), true))
                    << "format " << format << ", " << from << " to " << to << ", pixel " << i;
            EXPECT_TRUE(r.front() == p.front() && r.back() == p.back() &&
                        r[static_cast<size_t>(to - 1)] == p[static_cast<size_t>(from - 1)]);
        }
}

TEST(Toolkit, ShrunkPicturesAreAveragesOfTheAreaThatEachPixelCovers)
{
    for (INT32 format : {8, 2, 10})
        for (const auto& [from, to] : {std::pair<INT32, INT32>{8, 4}, {9, 9}, {10, 3}, {70, 69}, {300, 1}, {100, 37}})
        {
            const INT32 tall = 2 * from, high = std::max(to / 2, 1);
            const Surface source = paint(from, tall, format, softNoise);
            const Surface result(Toolkit::resampleSurface(source.get(), to, high));
            ASSERT_TRUE(result && result->getWidth() == to && result->getHeight() == high);
            const Pixels p = pixelsOf(*source), r = pixelsOf(*result);
            for (INT32 i = 0; i < to * high; ++i)
            {
                // Every pixel weighed by its overlap with the footprint, in 256ths.
                Pixels covered;
                std::vector<double> weights;
                double area = 0;
                const INT64 left = INT64{i % to} * from * 256 / to, right = (INT64{i % to} + 1) * from * 256 / to;
                const INT64 top = INT64{i / to} * tall * 256 / high, bottom = (INT64{i / to} + 1) * tall * 256 / high;
                for (INT64 y = top / 256; y * 256 < bottom; ++y)
                    for (INT64 x = left / 256; x * 256 < right; ++x)
                    {
                        const INT64 w = std::min(right, x * 256 + 256) - std::max(left, x * 256);
                        const INT64 h = std::min(bottom, y * 256 + 256) - std::max(top, y * 256);
                        covered.push_back(p[static_cast<size_t>(y * from + x)]);
                        weights.push_back(static_cast<double>(w * h));
                        area += weights.back();
                    }
                const UINT32 expected = combine(covered, format,
                                                [&](const std::vector<double>& c)
                                                {
                                                    double sum = 0;
                                                    for (size_t k = 0; k < c.size(); ++k)
                                                        sum += c[k] * weights[k];
                                                    return std::floor(sum / area + 0.5);
                                                });
                ASSERT_EQ(r[static_cast<size_t>(i)], expected)
                    << format << ", " << from << " to " << to << ", pixel " << i;
            }
        }
}

TEST(Toolkit, OneColourStaysOneColourInEveryFormatAndDirection)
{
    const Engine engine;
    for (INT32 format : reference::kFormats)
        for (UINT32 color : {0xFF000000u, 0xFFFFFFFFu, 0xFF7B92CDu})
        {
            const Surface source = paint(19, 13, format, [=](INT32, INT32) { return color; });
            const UINT32 stored = pixelsOf(*source)[0];
            for (const auto& [width, height] :
                 {std::pair<INT32, INT32>{50, 40}, {7, 5}, {3, 40}, {60, 4}, {19, 13}, {1, 1}})
            {
                const Surface result(Toolkit::resampleSurface(source.get(), width, height));
                ASSERT_TRUE(result && result->getFormat() == format);
                for (UINT32 pixel : pixelsOf(*result))
                    ASSERT_EQ(pixel, format == 1 || format == 5
                                         ? reference::convert(reference::convert(stored, format, 8), 8, format)
                                         : stored)
                        << format << " to " << width << " x " << height;
            }
            const Surface turned(Toolkit::rotateSurface(source.get(), KxcFixed(0.5)));
            ASSERT_TRUE(turned);
            const Pixels t = pixelsOf(*turned, KXCSURFACEFORMAT_8888);
            const UINT32 middle =
                t[static_cast<size_t>(turned->getHeight() / 2 * turned->getWidth() + turned->getWidth() / 2)];
            EXPECT_LE(
                distance(middle, reference::convert(stored, format, KXCSURFACEFORMAT_8888), KXCSURFACEFORMAT_8888), 4u)
                << format;
        }
}

TEST(Toolkit, PalettedPicturesAreReadThroughTheirPaletteAndGive55X5)
{
    const Surface paletted(KxcGLSurface::create(6, 5, KXCSURFACEFORMAT_PALETTE8)), plain(KxcGLSurface::create(6, 5, 8));
    void *store = nullptr, *pixels = nullptr;
    paletted->lock(&store, 0, 0);
    plain->lock(&pixels, 0, 0);
    for (INT32 i = 0; i < 256; ++i)
        static_cast<UINT16*>(store)[i] = static_cast<UINT16>(i * 257 & 0xFFDF);
    for (INT32 i = 0; i < 30; ++i)
    {
        static_cast<UINT8*>(store)[512 + i] = static_cast<UINT8>(i * 91);
        static_cast<UINT16*>(pixels)[i] = static_cast<UINT16*>(store)[i * 91 & 255];
    }
    paletted->unlock();
    plain->unlock();
    KxcVector2 origin;
    const KxcMatrix3 m = {{{0.7, 0.3, 0}, {-0.4, 1.2, 0}, {3, 4, 1}}};
    const std::function<KxcGLSurface*(KxcGLSurface*)> operations[] = {
        [](KxcGLSurface* s) { return Toolkit::resampleSurface(s, 9, 11); },
        [](KxcGLSurface* s) { return Toolkit::resampleSurface(s, KxcFixed(0.5), KxcFixed(2)); },
        [&](KxcGLSurface* s) { return Toolkit::transformSurface(s, m, origin); },
        [](KxcGLSurface* s) { return Toolkit::skewSurface(s, KxcFixed(0.3), KxcFixed(-0.7)); }};
    for (const auto& operation : operations)
    {
        const Surface a(operation(paletted.get())), b(operation(plain.get()));
        ASSERT_TRUE(a && b && a->getFormat() == KXCSURFACEFORMAT_55X5 && a->getWidth() == b->getWidth());
        EXPECT_EQ(pixelsOf(*a), pixelsOf(*b));
    }
    Toolkit::ditherSurface(paletted.get(), 0x01010101, KXCDITHER_ERRORDIFFUSION);
    paletted->lock(&store, 0, 0);
    EXPECT_EQ(static_cast<UINT8*>(store)[512 + 7], 7 * 91 & 255);
}

TEST(Toolkit, TransformsCoverTheMappedCornersAndSampleBackThroughTheInverse)
{
    const KxcMatrix3 matrices[] = {{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}},
                                   {{{2, 0, 0}, {0, 3, 0}, {-5, 7, 1}}},
                                   {{{1, 0.5, 0}, {-0.25, 1, 0}, {0.5, 0.25, 1}}},
                                   {{{0, 2, 0}, {-1, 0, 0}, {0, 0, 1}}},
                                   {{{-1.5, 0, 0}, {0.75, -1, 0}, {100, -100, 1}}}};
    for (INT32 format : {8, 10})
        for (const KxcMatrix3& m : matrices)
        {
            const INT32 width = 23, height = 11;
            const Surface source = paint(width, height, format, softNoise);
            KxcVector2 origin;
            const Surface result(Toolkit::transformSurface(source.get(), m, origin));
            ASSERT_TRUE(result);
            double e[3][2];
            for (INT32 row = 0; row < 3; ++row)
                for (INT32 column = 0; column < 2; ++column)
                    e[row][column] = static_cast<FLOAT64>(m.m[row][column]);
            double low[2] = {1e9, 1e9}, high[2] = {-1e9, -1e9};
            for (INT32 corner = 0; corner < 4; ++corner)
                for (INT32 k = 0; k < 2; ++k)
                {
                    const double at =
                        (corner & 1 ? width - 1 : 0) * e[0][k] + (corner & 2 ? height - 1 : 0) * e[1][k] + e[2][k];
                    low[k] = std::min(low[k], std::floor(at));
                    high[k] = std::max(high[k], std::ceil(at));
                }
            EXPECT_EQ(static_cast<FLOAT64>(origin.x), low[0]);
            EXPECT_EQ(static_cast<FLOAT64>(origin.y), low[1]);
            ASSERT_TRUE(result->getWidth() == high[0] - low[0] + 1 && result->getHeight() == high[1] - low[1] + 1);
            const Pixels p = pixelsOf(*source), r = pixelsOf(*result);
            const double det = e[0][0] * e[1][1] - e[0][1] * e[1][0];
            for (INT32 i = 0; i < static_cast<INT32>(r.size()); ++i)
            {
                const double x = i % result->getWidth() + low[0] - e[2][0],
                             y = i / result->getWidth() + low[1] - e[2][1];
                const double u = (x * e[1][1] - y * e[1][0]) / det, v = (y * e[0][0] - x * e[0][1]) / det;
                const UINT32 expected =
                    bilinear(p, width, height, format, static_cast<INT64>(std::floor(u * 65536 + 0.5)),
                             static_cast<INT64>(std::floor(v * 65536 + 0.5)), false);
                // An inverse in 16.16 may come out on the next weight.
                ASSERT_LE(distance(r[static_cast<size_t>(i)], expected, format), format == 8 ? 2u : 3u) << i;
            }
        }
}

TEST(Toolkit, AQuarterTurnMovesEveryPixelAndWhatShrinksIsAveragedFirst)
{
    const Engine engine;
    const Surface source = paint(9, 6, 8, noise);
    const Surface turned(Toolkit::rotateSurface(source.get(), KxcFixed::fromRaw(102944)));
    ASSERT_TRUE(turned);
    const Pixels p = pixelsOf(*source), t = pixelsOf(*turned);
    ASSERT_TRUE(turned->getWidth() == 6 && turned->getHeight() == 9);
    for (INT32 y = 0; y < 6; ++y)
        for (INT32 x = 0; x < 9; ++x)
            ASSERT_EQ(t[static_cast<size_t>(x * 6 + 5 - y)], p[static_cast<size_t>(y * 9 + x)]);

    // Fine stripes turn grey, and do not come out as some of their lines.
    const Surface stripes = paint(64, 64, 2, [](INT32 x, INT32) { return x & 1 ? 0xFFFFFFFF : 0xFF000000; });
    const KxcMatrix3 quarter = {{{0, 0.25, 0}, {-0.25, 0, 0}, {0, 0, 1}}};
    KxcVector2 origin;
    const Surface small(Toolkit::transformSurface(stripes.get(), quarter, origin));
    ASSERT_TRUE(small && small->getWidth() == 17 && small->getHeight() == 17);
    const Pixels s = pixelsOf(*small);
    for (INT32 y = 2; y < 15; ++y)
        for (INT32 x = 2; x < 15; ++x)
            ASSERT_NEAR(s[static_cast<size_t>(y * 17 + x)] & 0xFF, 128, 2);
}

TEST(Toolkit, SkewsShiftRowsAndThenColumnsByWholeAndBrokenPixels)
{
    for (INT32 format : {8, 2, 10})
        for (double skew : {0.0, 1.0, 0.375, -0.375, -2.25})
            for (bool columns : {false, true})
            {
                const INT32 width = 11, height = 7, lines = columns ? width : height;
                const Surface source = paint(width, height, format, softNoise);
                const Surface result(
                    Toolkit::skewSurface(source.get(), columns ? 0 : KxcFixed(skew), columns ? KxcFixed(skew) : 0));
                ASSERT_TRUE(result);
                const INT32 added = static_cast<INT32>(std::ceil(std::fabs(skew) * lines));
                ASSERT_TRUE(result->getWidth() == width + (columns ? 0 : added) &&
                            result->getHeight() == height + (columns ? added : 0));
                const Pixels p = pixelsOf(*source), r = pixelsOf(*result);
                for (INT32 i = 0; i < static_cast<INT32>(r.size()); ++i)
                {
                    const INT32 x = i % result->getWidth(), y = i / result->getWidth(), line = columns ? x : y;
                    const double offset = skew * line + (skew < 0 ? -skew * lines : 0);
                    // Sampled backwards, the weights are those of the pixel before.
                    const double whole = std::floor(offset), part = offset - whole;
                    const double at = (columns ? y : x) - whole - (part > 0 ? 1 : 0) + (part > 0 ? 1 - part : 0);
                    const INT64 along = static_cast<INT64>(at * 65536), across = INT64{line} << 16;
                    ASSERT_EQ(r[static_cast<size_t>(i)], bilinear(p, width, height, format, columns ? across : along,
                                                                  columns ? along : across, false))
                        << format << " skew " << skew << " at " << x << "," << y;
                }
            }
    const Surface source = paint(8, 8, 8, noise);
    const Surface copy(Toolkit::skewSurface(source.get(), 0, 0)), both(Toolkit::skewSurface(source.get(), 1, -1));
    EXPECT_EQ(pixelsOf(*copy), pixelsOf(*source));
    EXPECT_TRUE(both && both->getWidth() == 16 && both->getHeight() == 24);
}

TEST(Toolkit, DithersAsAModelDoesAndTheSameEveryTime)
{
    static const INT32 kOrdered[16] = {0, 136, 34, 170, 204, 68, 238, 102, 51, 187, 17, 153, 255, 119, 221, 85};
    for (INT32 format : {4, 2, 8, 1})
        for (UINT32 levels : {0x011F1F1Fu, 0x010F0F0Fu, 0xFF070703u, 0x01020105u})
            for (INT32 method = 0; method < 4; ++method)
            {
                const INT32 width = 21, height = 9;
                const Surface surface = paint(width, height, format, softNoise);
                Pixels expected = pixelsOf(*surface);
                UINT32 seed = 1243984373;
                std::vector<INT32> errors(static_cast<size_t>((width + 2) * (height + 1) * 4));
                for (INT32 i = 0; i < width * height; ++i)
                {
                    const INT32 x = i % width, y = i / width;
                    seed = (seed * 1103515245 + 12345) & 0x80FFFFFF;
                    const UINT32 pixel = reference::convert(expected[static_cast<size_t>(i)], format, 4);
                    UINT32 result = 0;
                    for (INT32 c = 0; c < 4; ++c)
                    {
                        const INT32 top = static_cast<INT32>(levels >> (c * 8) & 255), amplitude = 127 / top;
                        const INT32 n =
                            method == 1 ? static_cast<INT32>(seed >> 16 & 255) : kOrdered[(x & 3) * 4 + (y & 3)];
                        const auto error = [&](INT32 ex, INT32 ey) -> INT32&
                        { return errors[static_cast<size_t>(((y + ey) * (width + 2) + x + ex + 1) * 4 + c)]; };
                        INT32 v = static_cast<INT32>(pixel >> (c * 8) & 255);
                        if (method == 1 || method == 2)
                            v += static_cast<INT32>(reference::divide255(static_cast<UINT32>(amplitude * n * 2))) -
                                 amplitude;
                        if (method == 3)
                            v += error(0, 0);
                        const INT32 clamped = std::max(0, std::min(255, v));
                        INT32 q;
                        if (levels == 0x011F1F1F || levels == 0x010F0F0F)
                            q = c == 3                 ? clamped / 128 * 255
                                : levels == 0x011F1F1F ? clamped / 8 * 8 + clamped / 32
                                                       : clamped / 16 * 17;
                        else
                            q = static_cast<INT32>(reference::divide255(static_cast<UINT32>(clamped * top))) * 255 /
                                top;
                        const INT32 e = v - q;
                        error(1, 0) += 7 * e / 16;
                        error(-1, 1) += 3 * e / 16;
                        error(0, 1) += 5 * e / 16;
                        error(1, 1) += e - 15 * e / 16;
                        result |= static_cast<UINT32>(q) << (c * 8);
                    }
                    expected[static_cast<size_t>(i)] = reference::convert(result, 4, format);
                }
                Toolkit::ditherSurface(surface.get(), levels, method);
                ASSERT_EQ(pixelsOf(*surface), expected)
                    << "format " << format << " levels " << std::hex << levels << " method " << method;
            }
    const Surface surface = paint(16, 16, 8, noise);
    const Pixels before = pixelsOf(*surface);
    Toolkit::ditherSurface(surface.get(), 0x011F1F1F, KXCDITHER_NONE); // as many levels as there are
    Toolkit::ditherSurface(surface.get(), 0x01010101, 4);
    Toolkit::ditherSurface(surface.get(), 0x01010101, -1);
    Toolkit::ditherSurface(surface.get(), 0x00010101, KXCDITHER_RANDOM);
    Toolkit::ditherSurface(nullptr, 0x01010101, KXCDITHER_NONE);
    EXPECT_EQ(pixelsOf(*surface), before);
    // Black and white keep the picture's brightness.
    const Surface grey = paint(64, 64, 2, [](INT32, INT32) { return 0xFF404040u; });
    Toolkit::ditherSurface(grey.get(), 0x01010101, KXCDITHER_ERRORDIFFUSION);
    INT32 white = 0;
    for (UINT32 pixel : pixelsOf(*grey))
        white += (pixel & 0xFF) == 0xFF;
    EXPECT_NEAR(white, 64 * 64 / 4, 60);
}

TEST(Toolkit, RefusedArgumentsAndMissingMemoryGiveNullAndLeaveTheSourceUnlocked)
{
    const Surface source = paint(20, 10, 1, noise);
    KxcVector2 origin;
    const auto transform = [&](KxcFixed a, KxcFixed b, KxcFixed c, KxcFixed d, KxcFixed x) {
        return Surface(Toolkit::transformSurface(source.get(), {{{a, b, 0}, {c, d, 0}, {x, 0, 1}}}, origin));
    };
    for (INT32 size : {0, -1, INT32_MIN})
        EXPECT_FALSE(Toolkit::resampleSurface(source.get(), size, 5) ||
                     Toolkit::resampleSurface(source.get(), 5, size));
    EXPECT_FALSE(Toolkit::resampleSurface(source.get(), INT32_MAX, INT32_MAX) ||
                 Toolkit::resampleSurface(nullptr, 5, 5) ||
                 Toolkit::resampleSurface(source.get(), KxcFixed(0.01), KxcFixed(1)) ||
                 Toolkit::resampleSurface(source.get(), KxcFixed(-1), KxcFixed(1)));
    EXPECT_FALSE(transform(1, 2, 2, 4, 0) || transform(0, 0, 0, 1, 0) || transform(KxcFixed(0.001), 0, 0, 1, 0) ||
                 transform(1, 0, 0, 1, -32768).get() == nullptr || transform(-32768, 0, 0, 32767, -32768));
    EXPECT_TRUE(transform(KxcFixed(0.01), 0, 0, 1, 0)) << "less than a pixel is one";
    EXPECT_FALSE(Toolkit::skewSurface(source.get(), 32767, -32768) || Toolkit::rotateSurface(source.get(), 1))
        << "without a core";
    EXPECT_FALSE(Toolkit::skewSurface(nullptr, 1, 1) || Toolkit::rotateSurface(nullptr, 1) ||
                 Toolkit::transformSurface(nullptr, {}, origin));

    void* pixels = nullptr;
    ASSERT_NE(source->lock(&pixels, 0, 0), 0);
    EXPECT_FALSE(Toolkit::resampleSurface(source.get(), 5, 5)) << "locked";
    source->unlock();
}
