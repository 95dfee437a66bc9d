// picture_allocations_test.cpp - surfaces, sprites, images and vector graphics while memory runs out.
#include "allocations/every_allocation.h"

#include <algorithm>
#include <cstring>

namespace
{

typedef std::unique_ptr<KxcGLSurface> Surface;

Surface make(INT32 width, INT32 height, INT32 format)
{
    Surface surface(KxcGLSurface::create(width, height, format));
    surface->clear(0x80402010);
    surface->drawLine(0, 0, width, height, 0xFFFFFFFF);
    return surface;
}

std::vector<UINT32> pixels(KxcGLSurface* surface)
{
    std::vector<UINT32> copy(static_cast<size_t>(surface->getWidth() * surface->getHeight()));
    void* rows = nullptr;
    if (surface->lock(&rows, KXCSURFACEFORMAT_8888, KXCLOCK_READONLY))
        std::copy_n(static_cast<UINT32*>(rows), copy.size(), copy.begin());
    EXPECT_TRUE(rows) << "left locked";
    surface->unlock();
    return copy;
}

/// An operation that draws on a surface, which can be used afterwards whatever happened.
Operation drawing(const char* name, int least, INT32 format, std::function<void(KxcGLSurface*)> draw)
{
    return {name, least, kTolerated,
            [=](Attempt& attempt)
            {
                const Surface target = make(20, 12, format);
                attempt([&] { return draw(target.get()), true; });
                pixels(target.get());
            }};
}

struct Pictures : testing::Test
{
    Engine engine{32, 16, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; }};
    Surface source = make(9, 7, KXCSURFACEFORMAT_8888);

    Pictures()
    {
        kxcUseImageFilterTGA();
        kxcUseImageFilterPCX();
    }
};

constexpr char kTga[] = "//" KXC_TEST_DATA "/images/tga32_rle.tga",
               kMapped[] = "//" KXC_TEST_DATA "/images/tga8_plain.tga",
               kPcx[] = "//" KXC_TEST_DATA "/images/pcx8_netpbm.pcx";

} // namespace

TEST_F(Pictures, SurfacesAndWhatIsMadeOfThem)
{
    KxcGLSurface* const from = source.get();
    const KxcMatrix3 turn = {{{KxcFixed(1), KxcFixed(-1), 0}, {KxcFixed(1), KxcFixed(1), 0}, {0, 0, 1}}};
    const auto toolkit = [&](const char* name, int least, auto make)
    {
        return Operation{name, least, kReported,
                         [=](Attempt& attempt)
                         {
                             Surface result;
                             attempt([&] { return result.reset(make()), result != nullptr; });
                             pixels(from);
                         }};
    };
    failEveryAllocation({
        creation("create", 3, [] { return KxcGLSurface::create(8, 8, KXCSURFACEFORMAT_55X5); }),
        {"lock in another format", 1, kReported,
         [](Attempt& attempt)
         {
             const Surface surface = make(5, 5, KXCSURFACEFORMAT_55X5);
             void* rows = &rows;
             if (attempt([&] { return surface->lock(&rows, KXCSURFACEFORMAT_8888, 0) == 20; }))
                 surface->unlock();
             else
                 EXPECT_EQ(rows, nullptr);
             pixels(surface.get());
         }},
        {"sprite", 5, kTolerated, // does without what makes it faster
         [](Attempt& attempt)
         {
             const Surface pairs = make(19, 7, KXCSURFACEFORMAT_8888);
             for (INT32 x = 0; x < 19; x += 2 + x % 3)
                 pairs->drawFilledRect(x, 0, 2 + x % 3, 7, 0xFF000000u + static_cast<UINT32>(x) * 0x0A0A0A);
             std::unique_ptr<KxcRLESprite> sprite;
             attempt([&] { return sprite.reset(KxcRLESprite::create(pairs.get(), 0xFF000000, 0)), true; });
             const Surface target = make(19, 7, KXCSURFACEFORMAT_55X5), expected = make(19, 7, KXCSURFACEFORMAT_55X5);
             std::unique_ptr<KxcRLESprite> whole(KxcRLESprite::create(pairs.get(), 0xFF000000, 0));
             whole->blitFast55X5(expected.get(), nullptr, 0, 0);
             if (sprite)
             {
                 sprite->blitFast55X5(target.get(), nullptr, 0, 0);
                 EXPECT_EQ(pixels(target.get()), pixels(expected.get()));
             }
         }},
        toolkit("resample", 4, [=] { return KxcGLSurfaceToolkit::resampleSurface(from, 4, 20); }),
        toolkit("transform", 4,
                [=]
                {
                    KxcVector2 origin;
                    return KxcGLSurfaceToolkit::transformSurface(from, turn, origin);
                }),
        toolkit("rotate", 4, [=] { return KxcGLSurfaceToolkit::rotateSurface(from, KxcFixed(1)); }),
        toolkit("skew", 4, [=] { return KxcGLSurfaceToolkit::skewSurface(from, KxcFixed(1), KxcFixed(1)); }),
    });
}

TEST_F(Pictures, WhatIsDrawnOnSurfaces)
{
    KxcGLSurface* const from = source.get();
    const std::shared_ptr<KxcRLESprite> sprite(KxcRLESprite::create(from, 0xFF000000, 0));
    const auto dither = [](INT32 method)
    { return [method](KxcGLSurface* on) { KxcGLSurfaceToolkit::ditherSurface(on, 0x01030303, method); }; };
    for (const INT32 format : {KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_565, KXCSURFACEFORMAT_1555})
        failEveryAllocation({
            drawing("image", 0, format, [=](KxcGLSurface* on) { on->drawImage(from, 1, 1); }),
            drawing("scaled", 0, format,
                    [=](KxcGLSurface* on) { on->drawImageBlend(from, -2, 3, 30, 5, KXCBLEND_ALPHA, 99); }),
            drawing("turned", 0, format,
                    [=](KxcGLSurface* on) { on->drawImageTransformBlend(from, 0, 0, KXCBLEND_ADD, 200, 7); }),
            drawing("rectangle and lines", 0, format,
                    [=](KxcGLSurface* on)
                    {
                        on->drawFilledRect(1, 1, 9, 9, 0x80FFFFFF);
                        on->drawLine(0, 0, 9, 9, 0x80FFFFFF);
                        on->drawAALine(0, 9, 9, 0, 0x00FFFFFF);
                    }),
            drawing("sprite", 0, format, [=](KxcGLSurface* on) { sprite->blit(on, nullptr, 2, 2, KXCBLEND_MUL, 77); }),
            drawing("dither by errors", 1, format, dither(KXCDITHER_ERRORDIFFUSION)),
            drawing("dither by a pattern", 0, format, dither(KXCDITHER_ORDERED)),
        });
    failEveryAllocation({drawing("dither", 2, KXCSURFACEFORMAT_8888, dither(KXCDITHER_ERRORDIFFUSION))});
}

TEST_F(Pictures, ImagesFromFiles)
{
    for (const char* name : {kTga, kMapped, kPcx})
    {
        SCOPED_TRACE(name);
        const bool paletted = name != kTga;
        failEveryAllocation({
            creation("load", 6, [=] { return KxcImageLoader::load(name, 0); }),
            creation("load, converted", 6, [=] { return KxcImageLoader::load(name, KXCSURFACEFORMAT_PREMUL8888); }),
            {"8888", 2, kReported,
             [=](Attempt& attempt)
             {
                 std::unique_ptr<UINT32[]> image;
                 attempt([&] { return image.reset(KxcImageLoader::loadImage8888(name)), image != nullptr; });
             }},
            {"information", 2, kReported,
             [=](Attempt& attempt)
             {
                 INT32 width = 9, height = 9;
                 attempt([&] { return KxcImageLoader::loadImageInfo(name, &width, &height, nullptr, nullptr), width; });
                 EXPECT_EQ(width == 0, height == 0);
             }},
            {"paletted", 2, paletted ? kReported : kTolerated,
             [=](Attempt& attempt)
             {
                 unsigned char *palette, *indices;
                 attempt(
                     [&]
                     {
                         KxcImageLoader::loadImagePaletted(name, &palette, &indices);
                         return !paletted || palette;
                     });
                 EXPECT_EQ(!palette, !indices);
                 delete[] palette;
                 delete[] indices;
             }},
            {"resource surface", 6, kReported,
             [=](Attempt& attempt)
             {
                 std::unique_ptr<KxcGLResourceSurface> surface;
                 void* rows;
                 attempt(
                     [&]
                     {
                         surface.reset(KxcGLResourceSurface::create(name, 0, 0));
                         return surface && surface->lock(&rows, 0, 0) != 0;
                     });
                 if (attempt.worked())
                     surface->unlock();
                 if (surface) // loads as soon as there is memory again
                 {
                     EXPECT_NE(surface->lock(&rows, 0, 0), 0);
                     surface->unlock();
                 }
             }},
        });
    }
}

TEST_F(Pictures, Resources)
{
    struct Words : KxcResource
    {
        INT32 callback(void* data) override { return memset(data, 7, 100), 1; }
        ~Words() override = default;
        INT32 make(UINT32 flags) { return createResource(100, flags), m_handle; }
    };
    failEveryAllocation({
        {"register", 1, kReported,
         [](Attempt& attempt)
         {
             Words words;
             attempt([&] { return words.make(0) > 0; });
         }},
        {"load", 1, kReported,
         [](Attempt& attempt)
         {
             Words words;
             const INT32 handle = words.make(0);
             attempt([&] { return KxcResourceManager::preloadResource(handle) == 1; });
             EXPECT_EQ(KxcResourceManager::queryResource(handle), attempt.worked());
             EXPECT_EQ(KxcResourceManager::preloadResource(handle), 1);
         }},
        {"load all", 1, kTolerated,
         [](Attempt& attempt)
         {
             Words words[3];
             for (Words& each : words)
                 each.make(0);
             attempt([] { return KxcResourceManager::preloadResources(), true; });
             for (Words& each : words)
                 EXPECT_EQ(KxcResourceManager::preloadResource(each.make(0)), 1);
             KxcResourceManager::removeResources();
         }},
    });
}

namespace
{

typedef std::unique_ptr<KxcPrimitiveDrawGradientFiller> Gradient;

/// A path with curves, corners and rows enough to let all arrays grow.
void drawPath(KxcPrimitiveTranslator& t)
{
    t.beginPath();
    t.moveToAbsolute(2, 2);
    for (int i = 0; i < 15; ++i)
        t.lineToAbsolute(2 + 5 * i % 37, 2 + (i % 3) * 13);
    t.curveToAbsolute(30, 1, 1, 30, 39, 29);
    t.ellipticalArcAbsolute(9, 5, KxcFixed(1), KXCARC_SWEEP, 20, 20);
    t.closePath();
    t.moveToAbsolute(5, 5);
    t.lineToAbsolute(33, 6);
    t.endPath();
}

typedef std::function<void(KxcPrimitiveTranslator&)> Settings;

std::vector<UINT32> drawnPath(KxcPrimitiveTranslator& t, KxcPrimitiveDraw& draw, const Settings& set)
{
    const Surface target = make(40, 50, KXCSURFACEFORMAT_55X5);
    target->clear(0xFF000000);
    t.setRenderTarget(target.get());
    t.setRenderer(&draw);
    set(t);
    drawPath(t);
    return pixels(target.get());
}

/// The path, drawn as the settings say. With memory again it looks as if it had never failed.
Operation path(const char* name, int least, const Settings& set)
{
    const std::unique_ptr<KxcPrimitiveTranslator> fresh(KxcPrimitiveTranslator::create());
    const std::unique_ptr<KxcPrimitiveDraw> large(KxcPrimitiveDraw::create(400, 400, 100, 100));
    return {name, least, kTolerated,
            [set, expected = drawnPath(*fresh, *large, set)](Attempt& attempt)
            {
                const Surface target = make(40, 50, KXCSURFACEFORMAT_55X5);
                const std::unique_ptr<KxcPrimitiveTranslator> translator(KxcPrimitiveTranslator::create());
                const std::unique_ptr<KxcPrimitiveDraw> draw(KxcPrimitiveDraw::create(8, 8, 1, 1));
                attempt(
                    [&]
                    {
                        translator->setRenderTarget(target.get());
                        translator->setRenderer(draw.get());
                        set(*translator);
                        drawPath(*translator);
                        return true;
                    });
                EXPECT_TRUE(drawnPath(*translator, *draw, set) == expected) << "what failed is still seen";
            }};
}

} // namespace

TEST_F(Pictures, Paths)
{
    kxcUse2DVectorGraphics();
    const Surface image = make(12, 12, KXCSURFACEFORMAT_8888), small = make(2, 2, KXCSURFACEFORMAT_565);
    const std::unique_ptr<KxcPrimitiveDrawImageFiller> picture(KxcPrimitiveDrawImageFiller::create(image.get(), 3, 3));
    const std::unique_ptr<KxcPrimitiveDrawPatternFiller> pattern(
        KxcPrimitiveDrawPatternFiller::create(image.get(), {1, 1, 7, 5}));
    const Gradient gradient(KxcPrimitiveDrawLinearGradientFiller::create({0, 0}, {40, 40}));
    gradient->addGradientStop(0, 0xFFFF0000);
    gradient->addGradientStop(1, 0xFF0000FF);
    const KxcFixed dashes[2] = {2, 1};
    const auto strokes = [&](INT32 style)
    {
        return [=](KxcPrimitiveTranslator& t)
        {
            t.setStrokeColor(0xFFFFFF);
            t.setStrokeWidth(3);
            t.setLineCap(style);
            t.setLineJoin(style);
            t.setDashArray(dashes, style == 0 ? 0 : 2);
        };
    };
    failEveryAllocation({
        creation("translator", 2, [] { return KxcPrimitiveTranslator::create(); }),
        creation("rasteriser", 4, [] { return KxcPrimitiveDraw::create(64, 64, 10, 10); }),
        creation("points", 1, [] { return KxcPrimitiveDrawPointSet::create(100); }),
        creation("lines", 1, [] { return KxcPrimitiveDrawLineSet::create(100); }),
        creation("primitives", 1, [] { return KxcPrimitiveDrawIndexedPrimitiveSet::create(100); }),
        creation("half circle", 2,
                 [] { return KxcPrimitiveDrawIndexedPrimitive::createHalfCircle(0, 50, 50, 0, 0, 1, 0, 100); }),
        creation("linear gradient", 1,
                 [] {
                     return KxcPrimitiveDrawLinearGradientFiller::create({0, 0}, {9, 9});
                 }),
        creation("radial gradient", 1,
                 [] {
                     return KxcPrimitiveDrawRadialGradientFiller::create({5, 5}, {6, 5}, KxcFixed(4));
                 }),
        creation("image filler", 1, [&] { return KxcPrimitiveDrawImageFiller::create(image.get(), 1, 1); }),
        creation("pattern filler", 1,
                 [&] {
                     return KxcPrimitiveDrawPatternFiller::create(image.get(), {0, 0, 5, 5});
                 }),
        {"gradient stops", 2, kTolerated,
         [](Attempt& attempt)
         {
             const Gradient stops(KxcPrimitiveDrawLinearGradientFiller::create({0, 0}, {9, 9}));
             attempt(
                 [&]
                 {
                     for (int i = 0; i < 15; ++i)
                         stops->addGradientStop(KxcFixed(i) / 15, 0xFF000000u + static_cast<UINT32>(i));
                     return true;
                 });
         }},
        {"grid", 3, kReported,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcPrimitiveDraw> draw(KxcPrimitiveDraw::create(8, 8, 1, 1));
             attempt([&] { return draw->resize(500, 700) != 0; });
             EXPECT_NE(draw->resize(500, 700), 0);
         }},
        path("fill", 8, [](KxcPrimitiveTranslator& t) { t.setFillColor(0xFF8040); }),
        path("butt strokes", 8, strokes(KXCLINECAP_BUTT)),
        path("round dashes", 12, strokes(KXCLINECAP_ROUND)),
        path("square dashes", 12, strokes(KXCLINECAP_SQUARE)),
        path("gradient", 8, [&](KxcPrimitiveTranslator& t) { t.setFillGradient(gradient.get()); }),
        path("image", 8, [&](KxcPrimitiveTranslator& t) { t.setFillImage(picture.get()); }),
        path("pattern", 8,
             [&](KxcPrimitiveTranslator& t)
             {
                 pattern->setPattern(image.get(), {1, 1, 7, 5}); // reads it again
                 t.setFillPattern(pattern.get());
             }),
    });
}
