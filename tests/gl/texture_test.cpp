// texture_test.cpp - textures from files and builders: their levels, who shares them, and loading them again.
#include "filler_support.h"
#include "support/failing_new.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace
{

typedef std::vector<UINT8> Bytes;

/// An engine that reads pictures which the test writes, and counts what the device is told.
struct Textures : testing::Test
{
    struct Device : KxcGLDevice
    {
        void onTextureCreated(KxcGLTexture* t) override { created.push_back(t); }
        void onTextureDestroyed(KxcGLTexture* t) override { destroyed.push_back(t); }
        std::vector<KxcGLTexture*> created, destroyed;
    };
    struct Factory : KxcGLDeviceFactory
    {
        KxcGLDevice* createDevice(UINT32) override { return new Device; }
        INT32 fillDeviceInfo(KxcGLDeviceInfo* info) override { return info->priority = 5; }
    };

    Textures()
    {
        kxcUseImageFilterTGA();
        KxcGLDeviceFactory::registerFactory(new Factory);
        std::filesystem::create_directories(folder);
    }
    ~Textures() override { std::filesystem::remove_all(folder); }

    static Device& device() { return *static_cast<Device*>(kxcCore->device); }
    std::string path(const std::string& name) { return "//" + (folder / name).string(); }
    /// Writes a 24-bit picture with colours that tell each pixel, magenta in the corner; 32-bit with every other
    /// pixel transparent; or 8-bit.
    std::string write(const std::string& name, int width, int height, int depth = 24)
    {
        Bytes bytes = {0,
                       UINT8(depth == 8),
                       UINT8(depth == 8 ? 1 : 2),
                       0,
                       0,
                       0,
                       UINT8(depth == 8),
                       24,
                       0,
                       0,
                       0,
                       0,
                       UINT8(width),
                       UINT8(width >> 8),
                       UINT8(height),
                       UINT8(height >> 8),
                       UINT8(depth),
                       0x20};
        for (int i = 0; depth == 8 && i < 768; ++i)
            bytes.push_back(UINT8(i * 7));
        for (int i = 0; i < width * height; ++i)
            for (int c = 0; c < depth / 8; ++c)
                bytes.push_back(c == 3       ? UINT8(i % 2 ? 255 : 0)
                                : depth == 8 ? UINT8(i * 3)
                                : i          ? UINT8((i % width * 8 * (c + 1)) ^ (i / width * 16))
                                             : UINT8(c == 1 ? 0 : 255));
        std::ofstream(folder / name, std::ios::binary).write(reinterpret_cast<char*>(bytes.data()), long(bytes.size()));
        return path(name);
    }
    static std::unique_ptr<KxcGLTexture> load(const std::string& name, INT32 flags = 0, UINT32 key = 0)
    {
        return std::unique_ptr<KxcGLTexture>(KxcGLTextureFromFile::create(name.c_str(), flags, key));
    }
    /// The bytes of a level as it is in memory; empty when it cannot be locked.
    static Bytes content(KxcGLTexture& texture, INT32 level)
    {
        KxcGLSurface* surface = texture.lock(level);
        void* pixels = nullptr;
        Bytes result;
        if (surface && surface->lock(&pixels, 0, KXCLOCK_READONLY))
        {
            const INT32 pixelCount = surface->getWidth() * surface->getHeight();
            const bool paletted = surface->getFormat() == KXCSURFACEFORMAT_PALETTE8;
            result.assign(static_cast<UINT8*>(pixels),
                          static_cast<UINT8*>(pixels) + (paletted ? 512 + pixelCount : 2 * pixelCount));
            surface->unlock();
        }
        EXPECT_EQ(texture.unlock(level), surface ? 1 : 0);
        return result;
    }
    static std::vector<UINT16> texels(KxcGLTexture& texture, INT32 level)
    {
        const Bytes bytes = content(texture, level);
        std::vector<UINT16> result(bytes.size() / 2);
        std::memcpy(result.data(), bytes.data(), bytes.size());
        return result;
    }

    std::filesystem::path folder = std::filesystem::temp_directory_path() / ("kxc_textures" + std::to_string(getpid()));
    Engine engine{32, 16, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 100000; }};
};

} // namespace

TEST_F(Textures, TakeFormatAndLevelsFromTheImageAndTheFlags)
{
    const std::string rgb = write("rgb.tga", 64, 64), rgba = write("rgba.tga", 16, 8, 32),
                      map = write("map.tga", 64, 32, 8);
    const struct
    {
        std::string name;
        INT32 flags, format, levels;
    } cases[] = {
        {rgb, 0, KXCSURFACEFORMAT_55X5, 1},
        {rgb, KXCTEXTURE_LINEARMIP, KXCSURFACEFORMAT_55X5, 6},
        {rgb, KXCTEXTURE_COLORKEY, KXCSURFACEFORMAT_5515, 1},
        {rgb, KXCTEXTURE_PALETTED | KXCTEXTURE_POINTMIP, KXCSURFACEFORMAT_55X5, 6},
        {rgba, KXCTEXTURE_PALETTED, KXCSURFACEFORMAT_5515, 1},
        {rgba, KXCTEXTURE_POINTMIP, KXCSURFACEFORMAT_5515, 3},
        {map, 0, KXCSURFACEFORMAT_55X5, 1},
        {map, KXCTEXTURE_PALETTED, KXCSURFACEFORMAT_PALETTE8, 1},
        {map, KXCTEXTURE_PALETTED | KXCTEXTURE_LINEARMIP, KXCSURFACEFORMAT_PALETTE8, 5},
        {map, KXCTEXTURE_PALETTED | KXCTEXTURE_COLORKEY, KXCSURFACEFORMAT_5515, 1},
        {write("thin.tga", 1, 8), KXCTEXTURE_POINTMIP, KXCSURFACEFORMAT_55X5, 1},
        {write("flat.tga", 256, 1), KXCTEXTURE_LINEARMIP, KXCSURFACEFORMAT_55X5, 1},
    };
    for (const auto& c : cases)
    {
        const auto texture = load(c.name, c.flags);
        ASSERT_TRUE(texture) << c.name;
        EXPECT_EQ(texture->getTexelFormat(), c.format) << c.name << " " << std::hex << c.flags;
        EXPECT_EQ(texture->getSurfaceFormat(), c.format);
        EXPECT_EQ(texture->getSurfaceCount(), c.levels) << c.name << " " << std::hex << c.flags;
        for (INT32 level = 0; level < c.levels; ++level)
        {
            KxcGLSurface* surface = texture->lock(level);
            ASSERT_TRUE(surface);
            EXPECT_EQ(surface->getWidth(), texture->getPrimarySurfaceWidth() >> level);
            EXPECT_EQ(surface->getHeight(), texture->getPrimarySurfaceHeight() >> level);
            EXPECT_EQ(texture->unlock(level), 1);
        }
        for (INT32 level : {-1, c.levels})
        {
            EXPECT_EQ(texture->lock(level), nullptr);
            EXPECT_EQ(texture->unlock(level), 0);
        }
    }
    for (const auto& size : {std::array<int, 2>{48, 64}, {64, 48}, {512, 64}})
        EXPECT_FALSE(load(write("odd.tga", size[0], size[1]))) << size[0] << " x " << size[1];
    EXPECT_FALSE(load(path("missing.tga")));
    EXPECT_EQ(KxcGLTextureFromFile::create(nullptr, 0, 0), nullptr);
    EXPECT_EQ(kxcCore->textures, nullptr);
}

TEST_F(Textures, MakeSmallerLevelsByPickingOrAveragingTexels)
{
    const std::string files[] = {write("rgb.tga", 16, 8), write("rgba.tga", 16, 8, 32), write("map.tga", 16, 8, 8)};
    for (const std::string& name : files)
        for (INT32 mip : {KXCTEXTURE_POINTMIP, KXCTEXTURE_LINEARMIP})
        {
            const auto texture = load(name, mip | KXCTEXTURE_PALETTED);
            const bool paletted = texture->getTexelFormat() == KXCSURFACEFORMAT_PALETTE8;
            for (INT32 level = 1; level < texture->getSurfaceCount(); ++level)
            {
                const size_t width = static_cast<size_t>(16 >> level), height = static_cast<size_t>(8 >> level);
                if (paletted)
                {
                    const Bytes above = content(*texture, level - 1), below = content(*texture, level);
                    EXPECT_TRUE(std::equal(above.begin(), above.begin() + 512, below.begin()));
                    for (size_t i = 0; i < width * height; ++i)
                        EXPECT_EQ(below[512 + i], above[512 + i / width * 4 * width + i % width * 2]);
                    continue;
                }
                const std::vector<UINT16> above = texels(*texture, level - 1), below = texels(*texture, level);
                for (size_t y = 0; y < height; ++y)
                    for (size_t x = 0; x < width; ++x)
                    {
                        const UINT16* block = &above[y * 4 * width + 2 * x];
                        int r = 0, g = 0, b = 0, opaque = 0;
                        for (size_t i : {size_t(0), size_t(1), 2 * width, 2 * width + 1})
                        {
                            r += block[i] / 2048, g += block[i] / 64 % 32, b += block[i] % 32;
                            opaque += block[i] / 32 % 2;
                        }
                        const int average = r / 4 * 2048 + g / 4 * 64 + opaque / 4 * 32 + b / 4;
                        EXPECT_EQ(below[y * width + x], mip == KXCTEXTURE_POINTMIP ? *block : average)
                            << name << " level " << level << " at " << x << ", " << y;
                    }
            }
        }
    const std::unique_ptr<KxcGLSurface> foreign(KxcGLSurface::create(2, 2, KXCSURFACEFORMAT_8888));
    UINT16 untouched = 7;
    KxcGLTexture::filterMapLinear55X5(foreign.get(), &untouched);
    EXPECT_EQ(untouched, 7);
}

TEST_F(Textures, MakeTheKeyColourTransparent)
{
    const std::string name = write("rgb.tga", 8, 8);
    const auto plain = load(name), keyed = load(name, KXCTEXTURE_COLORKEY, 0x00FF00FF);
    const std::vector<UINT16> p = texels(*plain, 0), k = texels(*keyed, 0);
    ASSERT_EQ(p[0], 0xF81F);
    for (size_t i = 0; i < p.size(); ++i)
        EXPECT_EQ(k[i], p[i] == 0xF81F ? 0 : p[i] | 0x20) << i;
}

TEST_F(Textures, ShareLevelsWhereNameAndFlagsAreEqual)
{
    const std::unique_ptr<KxcGL> gl(KxcGL::create(0, 0));
    const std::string name = write("same.tga", 16, 16), upper = path("SAME.tga");
    auto first = load(name, KXCTEXTURE_LINEARMIP | KXCTEXTURE_PALETTED);
    first->setGLData(42);
    auto second = load(upper, KXCTEXTURE_LINEARMIP | KXCTEXTURE_PALETTED);
    auto own = load(name, KXCTEXTURE_LINEARMIP | KXCTEXTURE_UNSHARED), other = load(name, KXCTEXTURE_POINTMIP);
    ASSERT_TRUE(first && second && own && other);
    EXPECT_EQ(device().created.size(), 4u);
    EXPECT_EQ(kxcCore->textures, other.get()) << "newest first";
    EXPECT_EQ(second->getGLData(), 42);
    EXPECT_EQ(own->getGLData(), 0);
    KxcGLSurface* level = first->lock(1);
    EXPECT_EQ(second->lock(1), level);
    EXPECT_NE(own->lock(1), level);
    EXPECT_NE(other->lock(1), level);
    EXPECT_TRUE(own->unlock(1) && other->unlock(1));
    EXPECT_EQ(first->unlock(1), 1);
    void* pixels;
    EXPECT_EQ(level->lock(&pixels, 0, 0), 16) << "the other lock still holds";
    level->unlock();
    EXPECT_EQ(second->unlock(1), 1);
    EXPECT_EQ(second->unlock(1), 0);
    EXPECT_EQ(level->lock(&pixels, 0, 0), 0);

    // A third takes size and levels from the first, whose flags were corrected to its own.
    auto third = load(name, KXCTEXTURE_LINEARMIP);
    EXPECT_EQ(third->getPrimarySurfaceWidth() + third->getSurfaceCount(), 16 + first->getSurfaceCount());
    EXPECT_EQ(third->lock(1), first->lock(1));
    EXPECT_TRUE(third->unlock(1) && first->unlock(1));
    third.reset();

    // The one whose builder made the levels goes; the other has them loaded again, by its own builder.
    const std::vector<UINT16> before = texels(*second, 1);
    first.reset();
    EXPECT_TRUE(device().destroyed.empty());
    KxcResourceManager::evictResources();
    std::filesystem::rename(folder / "same.tga", folder / "SAME.tga");
    EXPECT_EQ(texels(*second, 1), before);
    KxcGLTexture* last = second.get();
    second.reset();
    EXPECT_EQ(device().destroyed, std::vector<KxcGLTexture*>{last});
}

TEST_F(Textures, AreLoadedAgainAfterTheyWereEvicted)
{
    const auto texture = load(write("a.tga", 64, 64), KXCTEXTURE_LINEARMIP);
    const std::vector<UINT16> before = texels(*texture, 3);
    ASSERT_FALSE(before.empty());
    texture->lock(0);
    KxcResourceManager::evictResources();
    EXPECT_NE(texture->lock(2), nullptr) << "locked levels stay";
    EXPECT_TRUE(texture->unlock(0) && texture->unlock(2));
    KxcResourceManager::evictResources();
    EXPECT_EQ(texels(*texture, 3), before);
    KxcResourceManager::evictResources();
    write("a.tga", 32, 32);
    EXPECT_EQ(texture->lock(0), nullptr) << "another size than when the texture was made";
    std::filesystem::remove(folder / "a.tga");
    EXPECT_EQ(texture->lock(0), nullptr);
    write("a.tga", 64, 64);
    EXPECT_EQ(texels(*texture, 3), before);

    const auto lazy = load(write("lazy.tga", 8, 8), KXCTEXTURE_LAZY);
    std::filesystem::remove(folder / "lazy.tga");
    EXPECT_EQ(lazy->lock(0), nullptr);
    const auto resident = load(write("resident.tga", 8, 8), KXCTEXTURE_RESIDENT);
    std::filesystem::remove(folder / "resident.tga");
    KxcResourceManager::evictResources();
    EXPECT_NE(resident->lock(0), nullptr);
    const auto large = load(write("large.tga", 256, 256));
    ASSERT_TRUE(large);
    EXPECT_EQ(large->lock(0), nullptr) << "more than the budget";
}

TEST_F(Textures, ComeFromAnyBuilderWhoseLevelsCanBeDrawn)
{
    const auto create = [](INT32 width, INT32 height, INT32 levels, INT32 format)
    {
        NoiseBuilder* builder = new NoiseBuilder(width, height, levels, format);
        KxcGLTexture* texture = KxcGLTexture::create(builder, KXCTEXTURE_UNSHARED);
        if (!texture)
            delete builder; // still ours
        return std::unique_ptr<KxcGLTexture>(texture);
    };
    for (INT32 format : {KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_PALETTE8})
    {
        const auto texture = create(4, 4, 3, format); // down to 1 x 1
        ASSERT_TRUE(texture);
        for (INT32 level = 0; level < 3; ++level)
            EXPECT_EQ(content(*texture, level), static_cast<NoiseBuilder*>(texture->getBuilder())->content(level));
    }
    EXPECT_FALSE(create(512, 4, 1, KXCSURFACEFORMAT_55X5));
    EXPECT_FALSE(create(4, 4, 4, KXCSURFACEFORMAT_55X5)) << "a level of nothing";
    EXPECT_FALSE(create(4, 4, 0, KXCSURFACEFORMAT_55X5));
    EXPECT_FALSE(create(4, 4, 1, 99));
    EXPECT_FALSE(create(256, 1 << 24, 1, KXCSURFACEFORMAT_55X5));
    EXPECT_EQ(KxcGLTexture::create(nullptr, 0), nullptr);

    // The cache keeps one level locked, and lets go of a texture that is deleted.
    auto texture = create(8, 8, 2, KXCSURFACEFORMAT_55X5);
    KxcGLTextureCache& cache = kxcCore->textureCache;
    cache.select(texture.get());
    const KxcGLTexels* texels = cache.request(1);
    ASSERT_TRUE(texels);
    EXPECT_EQ(cache.request(2), nullptr);
    EXPECT_EQ(cache.request(1), texels);
    EXPECT_EQ(texels->uMask, 3u);
    EXPECT_EQ(texture->unlock(1), 1) << "held once";
    EXPECT_TRUE(texture->lock(1));
    ASSERT_TRUE(cache.request(0));
    EXPECT_EQ(texels->uMask, 7u);
    EXPECT_EQ(texture->unlock(1), 0) << "let go";
    texture.reset();
    EXPECT_EQ(cache.request(0), nullptr);
    cache.release();

    // Devices are told of the textures that are there, and take their words with them.
    texture = create(8, 8, 2, KXCSURFACEFORMAT_55X5);
    KxcGL* gl = KxcGL::create(0, 0);
    EXPECT_EQ(device().created, std::vector<KxcGLTexture*>{texture.get()});
    texture->setGLData(3);
    delete gl;
    EXPECT_EQ(texture->getGLData(), 0);
    embeddedDeinit(); // the texture outlives the core
}

TEST_F(Textures, GiveUpCleanlyWithoutMemory)
{
    const std::string name = write("a.tga", 16, 8);
    const std::vector<UINT16> expected = texels(*load(name, KXCTEXTURE_LINEARMIP), 1);
    INT32 failures = 0, lateFailures = 0;
    for (bool complete = false; !complete; ++failures)
    {
        failAllocationAfter(failures);
        const std::unique_ptr<KxcGLTexture> made = load(name, KXCTEXTURE_LINEARMIP | KXCTEXTURE_LAZY);
        complete = made && made->lock(1);
        failAllocationAfter(-1);
        if (complete)
        {
            EXPECT_EQ(made->unlock(1), 1);
        }
        if (!made)
            continue;
        EXPECT_EQ(texels(*made, 1), expected); // loaded as soon as there is memory again
        lateFailures += !complete;
    }
    EXPECT_GT(failures, 5);
    EXPECT_GT(lateFailures, 0);
}
