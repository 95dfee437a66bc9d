// rle_sprite_test.cpp - what sprites are encoded as, and that they draw what they were made from, pixel by pixel.

#include <kxcoreemb/rle_sprite.h>

#include "support/pixel_reference.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace
{

using Surface = std::unique_ptr<KxcGLSurface>;
using Sprite = std::unique_ptr<KxcRLESprite>;
using Words = std::vector<UINT16>;

constexpr UINT32 kKey = 0xFFFF00FF; // magenta

Surface make(INT32 width, INT32 height, INT32 format) { return Surface(KxcGLSurface::create(width, height, format)); }

/// A surface whose pixels, in its own format, are what f(x, y) tells.
template <class F>
Surface paint(INT32 width, INT32 height, INT32 format, F f)
{
    Surface surface = make(width, height, format);
    void* pixels = nullptr;
    surface->lock(&pixels, 0, 0);
    for (INT32 i = 0; i < width * height; ++i)
    {
        const UINT32 pixel = f(i % width, i / width);
        if (reference::is16Bit(format))
            static_cast<UINT16*>(pixels)[i] = static_cast<UINT16>(pixel);
        else
            static_cast<UINT32*>(pixels)[i] = pixel;
    }
    surface->unlock();
    return surface;
}

std::vector<UINT32> pixelsOf(KxcGLSurface& surface)
{
    std::vector<UINT32> result;
    void* pixels = nullptr;
    surface.lock(&pixels, 0, KXCLOCK_READONLY);
    for (INT32 i = 0; i < surface.getWidth() * surface.getHeight(); ++i)
        result.push_back(reference::is16Bit(surface.getFormat()) ? static_cast<UINT16*>(pixels)[i]
                                                                 : static_cast<UINT32*>(pixels)[i]);
    surface.unlock();
    return result;
}

Words compress(const std::vector<UINT32>& row, UINT32 mask = 0xFFFFFFFF)
{
    Words out(row.size() * 3 + 1);
    const INT32 length = KxcRLESprite::compressLine(reinterpret_cast<const UINT8*>(row.data()), out.data(), mask, kKey,
                                                    static_cast<UINT32>(row.size()), KXCSURFACEFORMAT_8888, 4);
    out.resize(static_cast<size_t>(length));
    return out;
}

/// Runs of transparent, opaque, translucent and equal pixels, of many lengths; 8888.
UINT32 spritePixel(reference::Noise& noise, UINT32& last)
{
    switch (noise.next() % 8)
    {
    case 0:
        return last = 0;
    case 1:
        return last = noise.next() | 0xFF000000;
    case 2:
        return last = noise.next();
    default:
        return last;
    }
}
Surface noisySprite(INT32 width, INT32 height)
{
    reference::Noise noise;
    UINT32 last = 0;
    return paint(width, height, KXCSURFACEFORMAT_8888, [&](INT32, INT32) { return spritePixel(noise, last); });
}

/// What drawing one source pixel makes of a target pixel; alpha is 0..32.
UINT32 drawn(UINT32 color, UINT32 alpha, UINT32 target, INT32 format, INT32 type, INT32 value)
{
    INT32 workSource, workTarget;
    KxcPixelBlender::getBlendingFormat(KXCSURFACEFORMAT_55X5, format, workSource, workTarget);
    const UINT32 v = KxcPixelBlender::getBlendValue(workSource, workTarget, type, value);
    const UINT32 work = reference::convert(target, format, workTarget);
    UINT32 result;
    if (workTarget == KXCSURFACEFORMAT_55X5)
    {
        const bool fast = type != 0 && type % 2 == 0;
        const UINT32 weight = type == KXCBLEND_ALPHAFAST ? 16 : fast || type == 0 ? 32 : v;
        const INT32 slow = type == 0 ? INT32{KXCBLEND_ALPHA} : fast ? type - 1 : type;
        result = alpha * weight / 32 == 0 ? work : reference::blend55X5(slow, color, work, alpha * weight / 32);
    }
    else
    {
        const UINT32 straight =
            reference::convert(color, KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_X888) | (alpha * 255 + 16) / 32 << 24;
        const UINT32 source = reference::convert(straight, KXCSURFACEFORMAT_8888, KXCSURFACEFORMAT_PREMUL8888);
        result = reference::blend8888(type, source, work, v, workTarget == KXCSURFACEFORMAT_X888);
    }
    return reference::convert(result, workTarget, format);
}

struct Pixel
{
    UINT32 color, alpha;
    bool visible;
};
/// A sprite's pixels, decoded by the description of the words.
std::vector<Pixel> decode(const KxcRLESprite& sprite)
{
    std::vector<Pixel> result;
    for (INT32 y = 0; y < sprite.getHeight(); ++y)
    {
        const UINT16* code = sprite.getData() + sprite.getLineTable()[y];
        Pixel last = {};
        INT32 x = 0;
        while (UINT32 word = *code++)
            for (UINT32 i = 0; i < (word & 0x3FFF); ++i, ++x)
            {
                if (word >> 14 == 2)
                    last = {*code++, 32, true};
                else if (word >> 14 == 3)
                {
                    last = {code[1], code[0], true};
                    code += 2;
                }
                result.push_back(word >> 14 == 0 ? Pixel{} : last);
            }
        EXPECT_LE(x, sprite.getWidth());
        for (; x < sprite.getWidth(); ++x)
            result.push_back({});
    }
    return result;
}

} // namespace

TEST(RLESprite, RowsAreEncodedAsTheFormatTells)
{
    const UINT32 a = 0xFFF80000, b = 0xFF00F800, soft = 0x80F8F8F8;
    EXPECT_EQ(compress(std::vector<UINT32>(10, kKey)), (Words{0x000A, 0}));
    EXPECT_EQ(compress({a, b, b, b}), (Words{0x8002, 0xF800, 0x07C0, 0x4002, 0}));
    EXPECT_EQ(compress({a, b, b}), (Words{0x8003, 0xF800, 0x07C0, 0x07C0, 0})) << "two are no repetition";
    EXPECT_EQ(compress({soft, soft, soft, a}), (Words{0xC001, 16, 0xFFDF, 0x4002, 0x8001, 0xF800, 0}));
    EXPECT_EQ(compress({kKey, a, kKey}), (Words{1, 0x8001, 0xF800, 1, 0}));
    EXPECT_EQ(compress({kKey & 0xFFFFFF}, 0xFFFFFF), (Words{1, 0})) << "the mask leaves out alpha";
    EXPECT_EQ(compress(std::vector<UINT32>(20000, a)), (Words{0x8001, 0xF800, 0x7FFF, 0x4000 + 3616, 0}));
    EXPECT_EQ(compress(std::vector<UINT32>(20000, kKey)), (Words{0x3FFF, 3617, 0}));
    std::vector<UINT32> varied(20000);
    for (size_t i = 0; i < varied.size(); ++i)
        varied[i] = i % 2 ? a : b;
    const Words words = compress(varied);
    EXPECT_TRUE(words.size() == 20003 && words[0] == 0xBFFF && words[16384] == 0x8000 + 3617);
}

TEST(RLESprite, DecodesToWhatTheSurfaceHoldsInEveryFormat)
{
    for (INT32 format : reference::kFormats)
    {
        reference::Noise noise;
        UINT32 last = 0;
        const Surface surface = paint(37, 23, format,
                                      [&](INT32 x, INT32 y)
                                      {
                                          const UINT32 pixel =
                                              x < 3 || y < 2 || x > 33 ? kKey : spritePixel(noise, last);
                                          return reference::convert(pixel, KXCSURFACEFORMAT_8888, format);
                                      });
        const Sprite sprite(KxcRLESprite::create(surface.get(), 0xFFFFFF, kKey));
        ASSERT_TRUE(sprite);
        EXPECT_TRUE(sprite->getXOffset() == 3 && sprite->getYOffset() == 2 && sprite->getWidth() == 31 &&
                    sprite->getHeight() == 21)
            << format;
        const std::vector<UINT32> pixels = pixelsOf(*surface);
        const std::vector<Pixel> decoded = decode(*sprite);
        for (INT32 i = 0; i < 31 * 21; ++i)
        {
            const UINT32 c = reference::convert(pixels[static_cast<size_t>((i / 31 + 2) * 37 + i % 31 + 3)], format, 4);
            const Pixel& p = decoded[static_cast<size_t>(i)];
            ASSERT_EQ(p.visible, (c & 0xF8F8F8) != 0xF800F8) << format << " pixel " << i;
            const UINT32 alpha = ((c >> 24) + 4) * 32;
            ASSERT_TRUE(!p.visible || p.color == reference::convert(c, KXCSURFACEFORMAT_X888, KXCSURFACEFORMAT_55X5));
            ASSERT_TRUE(!p.visible || p.alpha == (alpha + alpha / 256) / 256);
        }
    }
}

TEST(RLESprite, PalettedSurfacesAreReadThroughTheirPaletteAndEmptyOnesMakeEmptySprites)
{
    const Surface surface = make(3, 2, KXCSURFACEFORMAT_PALETTE8), target = make(8, 8, KXCSURFACEFORMAT_55X5);
    void* store = nullptr;
    surface->lock(&store, 0, 0);
    memset(store, 0, 512 + 6);
    static_cast<UINT16*>(store)[9] = 0x1234 & 0xFFDF;
    static_cast<UINT8*>(store)[512 + 4] = 9;
    surface->unlock();
    const Sprite sprite(KxcRLESprite::create(surface.get(), 0xFFFFFF, 0));
    ASSERT_TRUE(sprite && sprite->getDataLength() == 3);
    EXPECT_TRUE(sprite->getXOffset() == 1 && sprite->getYOffset() == 1 && sprite->getData()[1] == (0x1234 & 0xFFDF));

    const Surface empty = paint(4, 4, KXCSURFACEFORMAT_X888, [](INT32, INT32) { return kKey; });
    const Sprite nothing(KxcRLESprite::create(empty.get(), 0xFFFFFF, kKey));
    ASSERT_TRUE(nothing && nothing->getWidth() == 0 && nothing->getHeight() == 0);
    nothing->blit(target.get(), nullptr, 0, 0, KXCBLEND_NONE, 255);

    KxcRectangle extents;
    void* pixels = nullptr;
    empty->lock(&pixels, 0, 0);
    KxcRLESprite::getExtents(empty.get(), &extents, 0xFFFFFF, kKey);
    EXPECT_TRUE(extents.width == 4 && extents.height == 4) << "what cannot be locked is taken whole";
    EXPECT_FALSE(KxcRLESprite::create(empty.get(), 0xFFFFFF, kKey) || KxcRLESprite::create(nullptr, 0, 0));
}

TEST(RLESprite, DrawsEveryBlendTypeOnEveryFormatAsAModelDoesAndNothingOutsideTheClip)
{
    const Surface source = noisySprite(83, 9);
    const Sprite sprite(KxcRLESprite::create(source.get(), 0xFF000000, 0));
    ASSERT_TRUE(sprite);
    const std::vector<Pixel> decoded = decode(*sprite);
    const INT32 width = sprite->getWidth();
    for (INT32 format : reference::kFormats)
        for (INT32 type = -1; type <= KXCBLEND_COUNT; ++type)
            for (INT32 value : {0, 100, 255})
            {
                reference::Noise noise;
                const Surface target = paint(90, 12, format, [&](INT32, INT32) { return noise.pixel(format); });
                const std::vector<UINT32> before = pixelsOf(*target);
                sprite->blit(target.get(), nullptr, 2, 1, type, value);
                const std::vector<UINT32> after = pixelsOf(*target);
                for (INT32 i = 0; i < 90 * 12; ++i)
                {
                    const INT32 x = i % 90 - 2 - sprite->getXOffset(), y = i / 90 - 1 - sprite->getYOffset();
                    UINT32 expected = before[static_cast<size_t>(i)];
                    UINT32 mask = 0xFFFFFFFF;
                    if (x >= 0 && y >= 0 && x < width && y < sprite->getHeight())
                    {
                        const Pixel& p = decoded[static_cast<size_t>(y * width + x)];
                        const INT32 known = type < 0 || type >= KXCBLEND_COUNT ? 0 : type;
                        if (p.visible)
                            expected = drawn(p.color, p.alpha, expected, format, known, value);
                        if (format == KXCSURFACEFORMAT_55X5 || format == KXCSURFACEFORMAT_X888)
                            mask = format == KXCSURFACEFORMAT_X888 ? 0xFFFFFF : 0xFFDF; // bits that mean nothing
                    }
                    ASSERT_EQ(after[static_cast<size_t>(i)] & mask, expected & mask)
                        << "format " << format << " type " << type << " value " << value << " at " << x << "," << y;
                }
            }
}

TEST(RLESprite, IsCutByEveryClipRectangleAsItsPixelsAre)
{
    const Surface source = noisySprite(70, 3);
    const Sprite sprite(KxcRLESprite::create(source.get(), 0xFF000000, 0));
    ASSERT_TRUE(sprite);
    const auto ground = [](INT32 x, INT32 y) { return static_cast<UINT32>(x * 97 + y * 1031) & 0xFFDF; };
    const Surface whole = paint(300, 20, KXCSURFACEFORMAT_55X5, ground);
    for (INT32 type : {INT32{KXCBLEND_NONE}, INT32{KXCBLEND_ADD}})
        for (INT32 x = -75; x < 75; ++x)
            for (INT32 clipX : {-10, 0, 13, 31})
                for (INT32 clipWidth : {1, 5, 40, 1000})
                {
                    const Surface target = paint(64, 4, KXCSURFACEFORMAT_55X5, ground);
                    const Surface unclipped =
                        paint(300, 4, KXCSURFACEFORMAT_55X5, [&](INT32 ux, INT32 uy) { return ground(ux - 100, uy); });
                    const KxcRectangle clip = {clipX, 0, clipWidth, 2};
                    sprite->blit(target.get(), &clip, x, 0, type, 90);
                    sprite->blit(unclipped.get(), nullptr, x + 100, 0, type, 90);
                    const std::vector<UINT32> actual = pixelsOf(*target), all = pixelsOf(*unclipped);
                    for (INT32 i = 0; i < 64 * 4; ++i)
                    {
                        const INT32 px = i % 64, py = i / 64;
                        const bool inside = px >= clipX && px < clipX + clipWidth && py < 2;
                        ASSERT_EQ(actual[static_cast<size_t>(i)],
                                  inside ? all[static_cast<size_t>(py * 300 + px + 100)] : ground(px, py))
                            << "x " << x << " clip " << clipX << "+" << clipWidth << " at " << px << "," << py;
                    }
                }
    INT32 first, end, left, firstRow, endRow, top;
    sprite->setXOffset(5);
    sprite->setYOffset(-1);
    const KxcRectangle clip = {0, 0, 20, 20};
    EXPECT_EQ(sprite->initBlit(&clip, 0, -8, first, end, left, firstRow, endRow, top), 1);
    EXPECT_TRUE(first == 3 && end == 23 && left == -3 && firstRow == 1 && top == -1);
    EXPECT_EQ(sprite->initBlit(&clip, 0, INT32_MAX, first, end, left, firstRow, endRow, top), 0);
    EXPECT_EQ(sprite->initBlit(nullptr, 0, -8, first, end, left, firstRow, endRow, top), 1);
    EXPECT_EQ(first, 0);
}

TEST(RLESprite, WeightsAreBlendValuesAndTargetsThatRefuseStayAsTheyAre)
{
    const Surface source = noisySprite(20, 5);
    const Sprite sprite(KxcRLESprite::create(source.get(), 0xFF000000, 0));
    ASSERT_TRUE(sprite);
    using Draw = void (KxcRLESprite::*)(KxcGLSurface*, const KxcRectangle*, INT32, INT32, INT32) const;
    const struct
    {
        Draw draw;
        INT32 type;
    } cases[] = {{&KxcRLESprite::blitAdditive, KXCBLEND_ADD},
                 {&KxcRLESprite::blitMultiplicative, KXCBLEND_MUL},
                 {&KxcRLESprite::blitInverseMultiplicative, KXCBLEND_INVMUL}};
    const auto grey = [](INT32, INT32) { return 0x8410 & 0xFFDFu; };
    for (const auto& c : cases)
        for (INT32 weight : {-5, 0, 7, 32, INT32_MAX})
        {
            const Surface a = paint(24, 8, KXCSURFACEFORMAT_55X5, grey), b = paint(24, 8, KXCSURFACEFORMAT_55X5, grey);
            (sprite.get()->*c.draw)(a.get(), nullptr, 1, 1, weight);
            sprite->blit(b.get(), nullptr, 1, 1, c.type, (weight < 0 ? 0 : weight > 32 ? 32 : weight) * 255 >> 5);
            EXPECT_EQ(pixelsOf(*a), pixelsOf(*b)) << c.type << " weight " << weight;
        }
    const Surface locked = paint(24, 8, KXCSURFACEFORMAT_55X5, grey), paletted = make(24, 8, KXCSURFACEFORMAT_PALETTE8);
    void* pixels = nullptr;
    locked->lock(&pixels, 0, 0);
    sprite->blit(locked.get(), nullptr, 0, 0, KXCBLEND_NONE, 0);
    sprite->blit(paletted.get(), nullptr, 0, 0, KXCBLEND_NONE, 0);
    sprite->blit(nullptr, nullptr, 0, 0, KXCBLEND_NONE, 0);
    for (INT32 i = 0; i < 24 * 8; ++i)
        ASSERT_EQ(static_cast<UINT16*>(pixels)[i], grey(0, 0));
}

TEST(RLESprite, TakesOverAnEncodingAndRefusesOneThatLies)
{
    const Surface source = noisySprite(40, 6);
    const Sprite sprite(KxcRLESprite::create(source.get(), 0xFF000000, 0));
    ASSERT_TRUE(sprite);
    const INT32 width = sprite->getWidth(), height = sprite->getHeight(), length = sprite->getDataLength();
    const Sprite copy(KxcRLESprite::create(width, height, 1, 2, sprite->getLineTable(), sprite->getData(), length));
    ASSERT_TRUE(copy && copy->getXOffset() == 1 && copy->getYOffset() == 2 && copy->getData() != sprite->getData());
    EXPECT_EQ(memcmp(copy->getData(), sprite->getData(), static_cast<size_t>(length) * 2), 0);
    for (INT32 shorter = 0; shorter < length; ++shorter)
        EXPECT_FALSE(KxcRLESprite::create(width, height, 0, 0, sprite->getLineTable(), sprite->getData(), shorter));

    const Words lies[] = {{0x0004, 0},         {0x8004, 1, 1, 1, 1, 0}, {0x4001, 0},    {1, 0x4001, 0},
                          {0x8000, 0x4001, 0}, {0xC001, 33, 0, 0},      {0x8003, 1, 1}, {0xC002, 1, 1},
                          {0x8001, 1},         {0x8001, 1, 0x4003, 0}};
    const INT32 line = 0, beyond = 9, below = -1;
    for (const Words& words : lies)
        EXPECT_FALSE(KxcRLESprite::create(3, 1, 0, 0, &line, words.data(), static_cast<INT32>(words.size())))
            << std::hex << words[0];
    const Words good = {0x8001, 1, 0x4002, 0};
    EXPECT_TRUE(Sprite(KxcRLESprite::create(3, 1, 0, 0, &line, good.data(), 4)));
    EXPECT_FALSE(KxcRLESprite::create(3, 1, 0, 0, &beyond, good.data(), 4) ||
                 KxcRLESprite::create(3, 1, 0, 0, &below, good.data(), 4) ||
                 KxcRLESprite::create(-3, 1, 0, 0, &line, good.data(), 4) ||
                 KxcRLESprite::create(3, 1, 0, 0, nullptr, good.data(), 4));

    // Random words are refused, or draw within the picture.
    reference::Noise noise;
    const Surface target = make(30, 3, KXCSURFACEFORMAT_55X5);
    for (INT32 round = 0; round < 20000; ++round)
    {
        Words words(8);
        for (UINT16& word : words)
            word = static_cast<UINT16>(noise.next() & 0xC00F);
        const Sprite random(KxcRLESprite::create(12, 1, 0, 0, &line, words.data(), 8));
        if (random)
            random->blit(target.get(), nullptr, 19 + round % 9, 2, round % 9, 200);
    }
}
