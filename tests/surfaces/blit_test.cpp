// blit_test.cpp - the drawImage family against a plain description of one pixel at a time.

#include <kxcoreemb/surface.h>

#include "support/pixel_reference.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>

namespace
{

using reference::Noise;

struct Blit
{
    INT32 x = 0, y = 0;
    KxcRectangle rect;
    INT64 width = 0, height = 0; // 0: unscaled
    INT32 type = 0, value = 0;
    UINT32 flags = 0;
};

/// A surface, and what its pixels should be.
struct Picture
{
    INT32 width, height, format;
    std::unique_ptr<KxcGLSurface> surface;
    std::vector<UINT32> pixels; // indices, where paletted
    std::vector<UINT16> palette;
    bool keyed = false;
    UINT32 key = 0;

    Picture(INT32 w, INT32 h, INT32 f, Noise& noise, bool withKey = false)
        : width(w),
          height(h),
          format(f),
          surface(KxcGLSurface::create(w, h, f)),
          keyed(withKey)
    {
        key = noise.next(); // whose top byte does not count
        surface->setColorKey(static_cast<INT32>(key));
        surface->enableColorKey(keyed);
        UINT8* store = open();
        if (format == KXCSURFACEFORMAT_PALETTE8)
        {
            for (INT32 i = 0; i < 256; ++i)
                palette.push_back(static_cast<UINT16>(noise.next()));
            palette[0] = static_cast<UINT16>(KxcPixelConverter::convert(key, KXCSURFACEFORMAT_X888, 8));
            memcpy(store, palette.data(), 512);
        }
        for (INT32 i = 0; i < w * h; ++i)
        {
            UINT32 pixel = noise.pixel(format);
            if (format == KXCSURFACEFORMAT_PALETTE8)
                store[512 + i] = static_cast<UINT8>(pixel &= 0xFF);
            else if (keyed && noise.next() % 4 == 0)
                pixel = KxcPixelConverter::convert(key, KXCSURFACEFORMAT_X888, format);
            if (reference::is16Bit(format))
                reinterpret_cast<UINT16*>(store)[i] = static_cast<UINT16>(pixel);
            else if (format != KXCSURFACEFORMAT_PALETTE8)
                reinterpret_cast<UINT32*>(store)[i] = pixel;
            pixels.push_back(pixel);
        }
        surface->unlock();
    }

    UINT8* open() const
    {
        void* store = nullptr;
        surface->lock(&store, 0, 0);
        return static_cast<UINT8*>(store);
    }

    /// Draws pixel by pixel what the surface should show. @return how many
    INT64 draw(const Picture& s, Blit b)
    {
        if (format == KXCSURFACEFORMAT_PALETTE8 || b.rect.width < 1 || b.rect.height < 1)
            return 0;
        const INT64 left = std::max(b.rect.x, 0), top = std::max(b.rect.y, 0);
        const INT64 sw = std::min<INT64>(INT64{b.rect.x} + b.rect.width, s.width) - left;
        const INT64 sh = std::min<INT64>(INT64{b.rect.y} + b.rect.height, s.height) - top;
        if (sw < 1 || sh < 1)
            return 0;
        const bool quarter = (b.flags & 4) != 0;
        const INT64 uw = quarter ? sh : sw, uh = quarter ? sw : sh;
        const INT64 tw = b.width ? b.width : uw, th = b.width ? b.height : uh;
        if (tw < 1 || th < 1)
            return 0;
        const UINT32 mirrors = b.flags & 8 ? b.flags ^ 3 : b.flags;
        const INT32 from = s.palette.empty() ? s.format : INT32{KXCSURFACEFORMAT_55X5};
        INT32 workSource = 0, workTarget = 0;
        KxcPixelBlender::getBlendingFormat(from, format, workSource, workTarget);
        const auto blend = KxcPixelBlender::getBlendingFunction(workSource, workTarget, b.type);
        const UINT32 value = KxcPixelBlender::getBlendValue(workSource, workTarget, b.type, b.value);
        const UINT32 keyPixel = KxcPixelConverter::convert(s.key, KXCSURFACEFORMAT_X888, from);
        const INT64 du = uw * 0x10000 / tw, dv = uh * 0x10000 / th;
        for (INT32 y = std::max(b.y, 0); y < std::min<INT64>(b.y + th, height); ++y)
            for (INT32 x = std::max(b.x, 0); x < std::min<INT64>(b.x + tw, width); ++x)
            {
                INT64 u = ((x - INT64{b.x}) * du) >> 16, v = ((y - INT64{b.y}) * dv) >> 16;
                u = mirrors & 1 ? uw - 1 - u : u;
                v = mirrors & 2 ? uh - 1 - v : v;
                const INT64 sx = left + (quarter ? sw - 1 - v : u), sy = top + (quarter ? u : v);
                UINT32 pixel = s.pixels[static_cast<size_t>(sy * s.width + sx)];
                if (!s.palette.empty())
                    pixel = s.palette[pixel];
                if (s.keyed && (from == KXCSURFACEFORMAT_X888 ? (pixel ^ keyPixel) << 8 == 0 : pixel == keyPixel))
                    continue;
                UINT32& d = pixels[static_cast<size_t>(y * width + x)];
                d = KxcPixelConverter::convert(blend(KxcPixelConverter::convert(pixel, from, workSource),
                                                     KxcPixelConverter::convert(d, format, workTarget), value),
                                               workTarget, format);
            }
        return std::max<INT64>(0, std::min<INT64>(b.x + tw, width) - std::max(b.x, 0)) *
               std::max<INT64>(0, std::min<INT64>(b.y + th, height) - std::max(b.y, 0));
    }

    testing::AssertionResult shown() const
    {
        const UINT8* store = open();
        for (size_t i = 0; i < pixels.size(); ++i)
        {
            const UINT32 pixel = format == KXCSURFACEFORMAT_PALETTE8 ? store[512 + i]
                                 : reference::is16Bit(format)        ? reinterpret_cast<const UINT16*>(store)[i]
                                                                     : reinterpret_cast<const UINT32*>(store)[i];
            if (pixel != pixels[i])
            {
                surface->unlock();
                return testing::AssertionFailure()
                       << "pixel " << i % static_cast<size_t>(width) << ", " << i / static_cast<size_t>(width) << " is "
                       << std::hex << pixel << " and should be " << pixels[i];
            }
        }
        surface->unlock();
        return testing::AssertionSuccess();
    }
};

} // namespace

TEST(Blit, DrawsEveryPixelAsDescribedForRandomFormatsRectanglesScalesTurnsKeysAndBlends)
{
    Noise noise;
    INT64 drawn = 0;
    for (INT32 round = 0; round < 15000; ++round)
    {
        const INT32 extent = noise.next() % 50 == 1 ? 700 : 36; // the wide ones cross strips of the engine
        const INT32 from = noise.between(1, 10), to = noise.between(1, 10);
        Picture source(noise.between(1, extent), noise.between(1, 36), round % 3 ? from : 8, noise, noise.next() & 1);
        Picture target(noise.between(1, extent), noise.between(1, 36), round % 3 ? to : 8, noise);
        Blit b;
        b.rect = {noise.between(-5, source.width / 2), noise.between(-5, source.height / 2),
                  noise.between(-1, source.width + 5), noise.between(-1, source.height + 5)};
        if (noise.next() % 2)
            b.rect = {0, 0, source.width, source.height};
        b.x = noise.between(-source.width / 2, target.width / 2);
        b.y = noise.between(-source.height / 2, target.height / 2);
        b.type = noise.between(-1, 9);
        b.value = noise.between(0, 255);
        b.flags = noise.next() % 4 ? noise.next() & 15 : 0;
        if (noise.next() % 5 < 3)
            target.surface->drawImageTransformBlend(source.surface.get(), b.x, b.y, b.rect, b.type, b.value, b.flags);
        else
        {
            b.width = noise.between(1, 2 * extent);
            b.height = noise.between(0, 80);
            target.surface->drawImageTransformBlend(source.surface.get(), b.x, b.y, b.rect, static_cast<INT32>(b.width),
                                                    static_cast<INT32>(b.height), b.type, b.value, b.flags);
        }
        drawn += target.draw(source, b);
        ASSERT_TRUE(target.shown()) << "round " << round << ": " << source.width << " x " << source.height
                                    << " of format " << source.format << (source.keyed ? " keyed" : "") << " onto "
                                    << target.width << " x " << target.height << " of format " << target.format
                                    << ", type " << b.type << ", flags " << b.flags;
        ASSERT_TRUE(source.shown());
    }
    EXPECT_GT(drawn, 600000);
}

TEST(Blit, TakesEveryExtremeOfItsArgumentsWithoutLeavingThePixels)
{
    Noise noise;
    const INT32 extremes[] = {INT32_MIN, INT32_MIN + 1, -65536, -3, 0, 2, 65535, INT32_MAX - 1, INT32_MAX};
    const auto any = [&] { return extremes[noise.next() % 9]; };
    const Picture source(9, 7, 8, noise);
    Picture target(11, 13, 8, noise);
    for (INT32 round = 0; round < 20000; ++round)
    {
        Blit b;
        b.x = any();
        b.y = any();
        b.rect = round % 2 ? KxcRectangle{any(), any(), any(), any()} : KxcRectangle{0, 0, 9, 7};
        b.width = any();
        b.height = any();
        b.value = any();
        b.flags = static_cast<UINT32>(any());
        target.surface->drawImageTransformBlend(source.surface.get(), b.x, b.y, b.rect, static_cast<INT32>(b.width),
                                                static_cast<INT32>(b.height), any(), b.value, b.flags);
    }
    for (INT32 x : extremes) // with the only size that the height follows from
        target.surface->drawImage(source.surface.get(), x, x, INT32_MAX);
    Picture fresh(11, 13, 8, noise);
    Blit b;
    b.x = b.y = -0x40000000;
    b.rect = {0, 0, 9, 7};
    b.width = b.height = INT32_MAX; // the middle of an enormous picture
    fresh.surface->drawImage(source.surface.get(), b.x, b.y, b.rect, INT32_MAX, INT32_MAX);
    fresh.draw(source, b);
    EXPECT_TRUE(fresh.shown());
}

TEST(Blit, FillsInWhatEachOverloadLeavesOut)
{
    const KxcRectangle rect = {3, 2, 8, 5};
    constexpr INT32 kX = 4, kY = 1, kWidth = 30, kHeight = 11, kType = KXCBLEND_ADD, kValue = 90;
    constexpr UINT32 kFlags = 6;
    using S = KxcGLSurface;
    // Each list of arguments in each family; the models leave out blend and flags where the family does.
#define KXC_CALLS(...)                                                                             \
    {                                                                                              \
        [=](S* t, S* s) { t->drawImage(s __VA_ARGS__); },                                          \
            [=](S* t, S* s) { t->drawImageBlend(s __VA_ARGS__, kType, kValue); },                  \
            [=](S* t, S* s) { t->drawImageTransform(s __VA_ARGS__, kFlags); },                     \
            [=](S* t, S* s) { t->drawImageTransformBlend(s __VA_ARGS__, kType, kValue, kFlags); }, \
    }
    struct
    {
        std::vector<std::function<void(S*, S*)>> calls;
        bool at, part;
        INT64 width, height;
    } const cases[] = {
        {KXC_CALLS(), false, false, 0, 0},
        {KXC_CALLS(, kX, kY), true, false, 0, 0},
        {KXC_CALLS(, kX, kY, kWidth), true, false, kWidth, 9 * kWidth / 14},
        {KXC_CALLS(, kX, kY, kWidth, kHeight), true, false, kWidth, kHeight},
        {KXC_CALLS(, rect), false, true, 0, 0},
        {KXC_CALLS(, kX, kY, rect), true, true, 0, 0},
        {KXC_CALLS(, kX, kY, rect, kWidth), true, true, kWidth, 9 * kWidth / 14},
        {KXC_CALLS(, kX, kY, rect, kWidth, kHeight), true, true, kWidth, kHeight},
    };
#undef KXC_CALLS
    Noise noise;
    const Picture source(14, 9, 8, noise);
    for (size_t list = 0; list < std::size(cases); ++list)
        for (size_t family = 0; family < 4; ++family)
        {
            Picture target(40, 30, 8, noise);
            Blit b;
            b.x = cases[list].at ? kX : 0;
            b.y = cases[list].at ? kY : 0;
            b.rect = cases[list].part ? rect : KxcRectangle{0, 0, 14, 9};
            b.width = cases[list].width;
            b.height = cases[list].height;
            if (family & 1)
            {
                b.type = kType;
                b.value = kValue;
            }
            b.flags = family & 2 ? kFlags : 0;
            cases[list].calls[family](target.surface.get(), source.surface.get());
            target.draw(source, b);
            EXPECT_TRUE(target.shown()) << "list " << list << ", family " << family;
        }
}

TEST(Blit, ChangesNothingOntoItselfFromNothingOrWhileLocked)
{
    Noise noise;
    Picture target(20, 20, 8, noise), source(20, 20, 8, noise);
    target.surface->drawImage(target.surface.get(), 3, 3);
    target.surface->drawImageTransform(nullptr, 1);
    source.open();
    target.surface->drawImage(source.surface.get());
    source.surface->unlock();
    const UINT8* store = target.open();
    target.surface->drawImage(source.surface.get());
    target.surface->clear(0xFFFFFFFF);
    target.surface->drawFilledRect(0, 0, 9, 9, 0xFFFFFFFF);
    target.surface->drawLine(0, 0, 9, 9, 0xFFFFFFFF);
    target.surface->drawAALine(0, 0, 9, 9, 0xFFFFFF);
    EXPECT_NE(store, nullptr);
    target.surface->unlock();
    EXPECT_TRUE(target.shown());
    target.surface->drawImage(source.surface.get()); // and both are open to drawing afterwards
    target.pixels = source.pixels;
    EXPECT_TRUE(target.shown());
}

TEST(Blit, TurnsAndMirrorsTheWayThatTheirNamesSay)
{
    Noise noise;
    const Picture source(20, 10, 2, noise);
    const auto drawn = [&](UINT32 flags)
    {
        Picture target(20, 20, 8, noise);
        target.surface->clear(0);
        target.surface->drawImageTransform(source.surface.get(), flags);
        const UINT16* store = reinterpret_cast<const UINT16*>(target.open());
        return std::vector<UINT16>(store, store + 400);
    };
    const std::vector<UINT16> turned = drawn(KXCTRANSFORM_ROTATE90);
    EXPECT_EQ(turned[0], KxcPixelConverter::convertX888To55X5(source.pixels[19])) << "the top right corner comes first";
    EXPECT_EQ(turned[19 * 20 + 9], KxcPixelConverter::convertX888To55X5(source.pixels[9 * 20])) << "10 wide, 20 high";
    EXPECT_EQ(turned[10], 0);
    EXPECT_EQ(drawn(KXCTRANSFORM_ROTATE180), drawn(KXCTRANSFORM_MIRRORX | KXCTRANSFORM_MIRRORY));
    EXPECT_EQ(drawn(KXCTRANSFORM_ROTATE270 | KXCTRANSFORM_MIRRORX),
              drawn(KXCTRANSFORM_ROTATE90 | KXCTRANSFORM_MIRRORY));
}
