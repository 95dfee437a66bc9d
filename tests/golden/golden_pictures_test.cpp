// golden_pictures_test.cpp - pixels in two dimensions: conversions, blends, drawing, blits, sprites, the toolkit,
// image files.
#include "golden/golden.h"
#include "support/pixel_reference.h"

namespace
{

using Surface = std::unique_ptr<KxcGLSurface>;

const KxcFixed kHalf = KxcFixed::fromRaw(0x8000);

} // namespace

TEST(GoldenPictures, ConversionsAndBlends)
{
    Checksum conversions;
    for (INT32 source : reference::kFormats)
        for (INT32 target : reference::kFormats)
            conversions.add(*noisySurface(61, 40, source), target);
    expectGolden("conversions", conversions);

    constexpr INT32 kPairs[][2] = {{KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_55X5},
                                   {KXCSURFACEFORMAT_PREMUL8888, KXCSURFACEFORMAT_X888},
                                   {KXCSURFACEFORMAT_PREMUL8888, KXCSURFACEFORMAT_PREMUL8888}};
    for (const auto& [source, target] : kPairs)
    {
        Checksum blends;
        for (INT32 type = 0; type < KXCBLEND_COUNT; ++type)
            for (INT32 value : {0, 1, 100, 254, 255})
            {
                const Surface from = noisySurface(61, 40, source), onto = noisySurface(40, 61, target);
                void *read, *written;
                from->lock(&read, 0, 0);
                onto->lock(&written, 0, 0);
                KxcPixelBlender::getBufferBlendingFunction(source, target, type)(
                    read, written, KxcPixelBlender::getBlendValue(source, target, type, value), 61 * 40);
                onto->unlock();
                from->unlock();
                blends.add(*onto);
            }
        expectGolden("blends onto format " + std::to_string(target), blends);
    }
}

TEST(GoldenPictures, DrawingAndBlits)
{
    for (INT32 format : reference::kFormats)
    {
        Noise noise;
        Checksum drawing, blits;
        const Surface canvas = noisySurface(100, 60, format);
        for (INT32 i = 0; i < 60; ++i)
        {
            const UINT32 color = i % 3 ? noise.next() : noise.next() | 0xFF000000;
            const INT32 rect[] = {noise.between(-20, 90), noise.between(-20, 50), noise.below(30), noise.below(30)};
            const KxcFixed line[] = {noise.fixed(-20, 120), noise.fixed(-20, 80), noise.fixed(-20, 120),
                                     noise.fixed(-20, 80)};
            canvas->drawFilledRect(rect[0], rect[1], rect[2], rect[3], color);
            canvas->drawLine(line[0], line[1], line[2], line[3], color);
            canvas->drawAALine(line[1], line[2], line[3], line[0], color);
        }
        drawing.add(*canvas);
        for (INT32 sourceFormat = 1; sourceFormat < KXCSURFACEFORMAT_COUNT; ++sourceFormat)
        {
            const Surface source = noisySurface(37, 29, sourceFormat);
            const KxcRectangle part = {-3, 5, 30, 40};
            for (UINT32 flags = 0; flags < 16; ++flags)
            {
                source->enableColorKey(flags & 1);
                const INT32 at[] = {noise.between(-20, 80), noise.between(-20, 50)};
                const INT32 size[] = {1 + noise.below(70), 1 + noise.below(70)};
                canvas->drawImageTransform(source.get(), at[1], at[0], flags);
                canvas->drawImageTransformBlend(source.get(), at[0], at[1], part, size[0], size[1],
                                                static_cast<INT32>(flags) % KXCBLEND_COUNT, noise.below(256), flags);
            }
            canvas->drawImage(source.get(), 3, 4, part, 17, 61);
            blits.add(*canvas);
        }
        expectGolden("drawing on format " + std::to_string(format), drawing);
        expectGolden("blits onto format " + std::to_string(format), blits);
    }
}

TEST(GoldenPictures, SpritesAndTheToolkit)
{
    Checksum encoding;
    const Surface picture = noisySurface(90, 31, KXCSURFACEFORMAT_8888);
    const std::unique_ptr<KxcRLESprite> sprite(KxcRLESprite::create(picture.get(), 0xFF000000, 0));
    encoding.add(sprite->getData(), static_cast<size_t>(sprite->getDataLength()));
    encoding.add(sprite->getLineTable(), static_cast<size_t>(sprite->getHeight()));
    expectGolden("sprite encoding", encoding);

    Engine engine; // turning pictures takes sines
    KxcMatrix3 slanted = {};
    slanted.m[0][0] = KxcFixed::fromRaw(0xB000), slanted.m[0][1] = KxcFixed::fromRaw(0x3000);
    slanted.m[1][0] = KxcFixed::fromRaw(-0x5000), slanted.m[1][1] = KxcFixed::fromRaw(0x14000);
    slanted.m[2][0] = slanted.m[2][1] = slanted.m[2][2] = KxcFixed(1);
    for (INT32 format : reference::kFormats)
    {
        Checksum sprites, toolkit;
        const Surface canvas = noisySurface(100, 60, format);
        const KxcRectangle clip = {11, 2, 70, 50};
        for (INT32 type = 0; type < KXCBLEND_COUNT; ++type)
            sprite->blit(canvas.get(), type & 1 ? &clip : nullptr, 12 * type - 30, 7 * type - 10, type, 60 + 20 * type);
        sprite->blitFast55X5(canvas.get(), &clip, 20, 20);
        sprites.add(*canvas);
        expectGolden("sprites on format " + std::to_string(format), sprites);

        KxcVector2 origin = {0, 0};
        for (const auto& [width, height] : {std::pair<INT32, INT32>{33, 91}, {211, 17}})
            toolkit.add(*Surface(KxcGLSurfaceToolkit::resampleSurface(canvas.get(), width, height)));
        toolkit.add(*Surface(KxcGLSurfaceToolkit::transformSurface(canvas.get(), slanted, origin)));
        toolkit.add(origin.x), toolkit.add(origin.y);
        toolkit.add(*Surface(KxcGLSurfaceToolkit::rotateSurface(canvas.get(), KxcFixed(2))));
        toolkit.add(*Surface(KxcGLSurfaceToolkit::skewSurface(canvas.get(), kHalf, -kHalf)));
        for (INT32 method = KXCDITHER_RANDOM; method <= KXCDITHER_ERRORDIFFUSION; ++method)
        {
            const Surface dithered = noisySurface(50, 40, format);
            KxcGLSurfaceToolkit::ditherSurface(dithered.get(), 0x03050709, method);
            toolkit.add(*dithered);
        }
        expectGolden("toolkit on format " + std::to_string(format), toolkit);
    }
}

TEST(GoldenPictures, ImageFiles)
{
    Engine engine(8, 8, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; });
    kxcUseImageFilterTGA();
    kxcUseImageFilterPCX();
    Checksum sum;
    for (const char* name : {"pcx8_magick.pcx", "pcx8_runs.pcx", "tga24_runs.tga", "tga24_topdown.tga", "tga32_rle.tga",
                             "tga8_netpbm.tga"})
        for (INT32 format : reference::kFormats)
        {
            const Surface surface(
                KxcImageLoader::load((std::string("//" KXC_TEST_DATA "/images/") + name).c_str(), format));
            ASSERT_TRUE(surface) << name;
            sum.add(*surface);
        }
    expectGolden("image files", sum);
}
