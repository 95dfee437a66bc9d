// image_test.cpp - pictures that other programs wrote, and files that lie or end early.
#include "support/engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <unistd.h>

namespace
{

typedef std::vector<UINT8> Bytes;

Bytes readAll(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

std::string picture(const char* name) { return std::string(KXC_TEST_DATA "/images/") + name; }

struct Images : testing::Test
{
    Images()
    {
        kxcUseImageFilterTGA();
        kxcUseImageFilterPCX();
        std::filesystem::create_directory(folder);
    }
    ~Images() override { std::filesystem::remove_all(folder); }
    /// Writes a file and names it as KxcFile wants it.
    std::string file(const char* name, const Bytes& bytes)
    {
        const std::string path = folder / name;
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), long(bytes.size()));
        return "//" + path;
    }
    Engine engine{8, 8, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 10000; }};
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("kxc_images" + std::to_string(getpid()));
};

Bytes tga(UINT8 type, UINT16 width, UINT16 height, UINT8 depth, UINT8 descriptor, const Bytes& rest)
{
    Bytes bytes(18 + rest.size());
    bytes[1] = type == 1 || type == 9;
    bytes[2] = type;
    bytes[7] = 24;
    bytes[12] = UINT8(width), bytes[13] = UINT8(width >> 8);
    bytes[14] = UINT8(height), bytes[15] = UINT8(height >> 8);
    bytes[16] = depth;
    bytes[17] = descriptor;
    std::copy(rest.begin(), rest.end(), bytes.begin() + 18);
    return bytes;
}

std::vector<UINT32> load8888(const std::string& name)
{
    INT32 width, height;
    KxcImageLoader::loadImageInfo(name.c_str(), &width, &height, nullptr, nullptr);
    std::unique_ptr<UINT32[]> pixels(KxcImageLoader::loadImage8888(name.c_str()));
    return pixels ? std::vector<UINT32>(pixels.get(), pixels.get() + size_t(width) * size_t(height))
                  : std::vector<UINT32>();
}

/// How many ways of loading a file give something.
int waysThatLoad(const std::string& name)
{
    const std::unique_ptr<UINT32[]> pixels(KxcImageLoader::loadImage8888(name.c_str()));
    unsigned char *palette, *indices;
    KxcImageLoader::loadImagePaletted(name.c_str(), &palette, &indices);
    EXPECT_EQ(palette == nullptr, indices == nullptr);
    const int paletted = palette != nullptr;
    delete[] palette;
    delete[] indices;
    const std::unique_ptr<KxcGLSurface> surface(KxcImageLoader::load(name.c_str(), 0));
    return (pixels != nullptr) + paletted + (surface != nullptr);
}

} // namespace

TEST_F(Images, DecodeAsTheProgramsThatWroteThemDo)
{
    const struct
    {
        const char* name;
        INT32 hasAlpha, isPaletted;
    } pictures[] = {{"tga24_plain.tga", 0, 0},     {"tga24_rle.tga", 0, 0},   {"tga24_topdown.tga", 0, 0},
                    {"tga24_runs.tga", 0, 0},      {"tga32_plain.tga", 1, 0}, {"tga32_rle.tga", 1, 0},
                    {"tga8_plain.tga", 0, 1},      {"tga8_netpbm.tga", 0, 1}, {"tga24_netpbm.tga", 0, 0},
                    {"tga24rle_netpbm.tga", 0, 0}, {"pcx8_magick.pcx", 0, 1}, {"pcx8_netpbm.pcx", 0, 1},
                    {"pcx8_runs.pcx", 0, 1}};
    for (const auto& expected : pictures)
    {
        SCOPED_TRACE(expected.name);
        const std::string path = picture(expected.name), name = "//" + path;
        const Bytes rgba = readAll(path.substr(0, path.size() - 4) + ".rgba");
        INT32 width, height, hasAlpha, isPaletted;
        KxcImageLoader::loadImageInfo(name.c_str(), &width, &height, &hasAlpha, &isPaletted);
        EXPECT_EQ(hasAlpha, expected.hasAlpha);
        EXPECT_EQ(isPaletted, expected.isPaletted);
        const std::vector<UINT32> pixels = load8888(name);
        ASSERT_EQ(pixels.size() * 4, rgba.size());
        ASSERT_GT(pixels.size(), 0u);
        for (size_t i = 0; i < pixels.size(); ++i)
        {
            const UINT8* p = &rgba[i * 4];
            ASSERT_EQ(pixels[i], UINT32(p[3]) << 24 | UINT32(p[0]) << 16 | UINT32(p[1]) << 8 | p[2]) << "pixel " << i;
        }
        for (INT32 format = 0; format <= KXCSURFACEFORMAT_PREMUL8888; ++format)
        {
            const std::unique_ptr<KxcGLSurface> surface(KxcImageLoader::load(name.c_str(), format));
            ASSERT_EQ(surface != nullptr, format != KXCSURFACEFORMAT_PALETTE8 || isPaletted) << format;
            if (!surface)
                continue;
            const INT32 stored = surface->getFormat();
            EXPECT_EQ(stored, format ? format : hasAlpha ? KXCSURFACEFORMAT_5515 : KXCSURFACEFORMAT_55X5);
            void* data;
            surface->lock(&data, 0, KXCLOCK_READONLY);
            const UINT16* words = static_cast<UINT16*>(data);
            for (size_t i = 0; i < pixels.size(); ++i)
            {
                UINT32 pixel, wanted = stored;
                if (stored == KXCSURFACEFORMAT_PALETTE8)
                {
                    pixel = words[static_cast<UINT8*>(data)[512 + i]];
                    wanted = KXCSURFACEFORMAT_55X5;
                }
                else
                    pixel = kxcSurfaceFormats[stored].bytesPerPixel == 2 ? words[i] : static_cast<UINT32*>(data)[i];
                wanted = KxcPixelConverter::convert(pixels[i], KXCSURFACEFORMAT_8888, INT32(wanted));
                ASSERT_EQ(pixel, wanted) << "format " << format << " pixel " << i;
            }
            surface->unlock();
        }
    }
}

TEST_F(Images, SixteenBitAndRunsAcrossRowsAndRowOrder)
{
    // one run of three over rows of two, then a raw packet; the last stored row is the top one
    const Bytes packets = {0x82, 0x00, 0x80, 0x00, 0xFF, 0x7F};
    EXPECT_EQ(load8888(file("runs.tga", tga(10, 2, 2, 16, 0, packets))),
              (std::vector<UINT32>{0xFF000000, 0x00F8F8F8, 0xFF000000, 0xFF000000}));
    EXPECT_EQ(load8888(file("runs.TGA", tga(10, 2, 2, 16, 0x20, packets))),
              (std::vector<UINT32>{0xFF000000, 0xFF000000, 0xFF000000, 0x00F8F8F8}));
    // a colour map of 16-bit entries that starts at entry 254 and runs over the end of the palette; an id to skip
    Bytes mapped = tga(1, 2, 1, 8, 0, {'i', 'd', 0x00, 0x7C, 0xE0, 0x03, 0x1F, 0x00, 254, 255});
    mapped[0] = 2, mapped[3] = 254, mapped[5] = 3, mapped[7] = 16;
    EXPECT_EQ(load8888(file("map.tga", mapped)), (std::vector<UINT32>{0xFFF80000, 0xFF00F800}));
    // a colour map in front of true colours is passed over
    Bytes skipped = tga(2, 1, 1, 24, 0, {9, 9, 9, 9, 9, 9, 1, 2, 3});
    skipped[1] = 1, skipped[5] = 2;
    EXPECT_EQ(load8888(file("skip.tga", skipped)), std::vector<UINT32>{0xFF030201});
    mapped[7] = 15;
    EXPECT_EQ(waysThatLoad(file("map15.tga", mapped)), 0);
}

TEST_F(Images, ExtensionDecidesWhoReadsAFile)
{
    const Bytes bytes = tga(2, 1, 1, 24, 0, {1, 2, 3});
    EXPECT_EQ(waysThatLoad(file("a.TgA", bytes)), 2);
    for (const char* name : {"a.tga.bak", "tga", "a.", "a.tgax", "a.pcx"})
        EXPECT_EQ(waysThatLoad(file(name, bytes)), 0) << name;
    EXPECT_EQ(waysThatLoad("no such file.tga"), 0);
    EXPECT_EQ(KxcImageLoader::load(nullptr, 0), nullptr);
}

TEST_F(Images, FilesCutAnywhereOrWithLyingHeadersLoadNothing)
{
    for (const char* name : {"tga24_plain.tga", "tga32_rle.tga", "tga8_netpbm.tga", "pcx8_netpbm.pcx"})
    {
        const Bytes whole = readAll(picture(name));
        const size_t step = whole.size() / 90;
        for (size_t length = 0; length < whole.size(); length += length < 20 ? 1 : step)
            EXPECT_EQ(waysThatLoad(file(name, Bytes(whole.begin(), whole.begin() + long(length)))), 0)
                << name << " cut to " << length;
        for (size_t at = 0; at < 130; ++at) // wherever the damage is, nothing is read out of bounds
            for (UINT8 value : {0x00, 0x7F, 0xFF})
            {
                Bytes damaged = whole;
                damaged[at % whole.size()] = value;
                waysThatLoad(file(name, damaged));
            }
    }
    for (UINT8 type : {0, 3, 11, 32})
        EXPECT_EQ(waysThatLoad(file("type.tga", tga(type, 1, 1, 24, 0, {1, 2, 3, 4}))), 0);
    EXPECT_EQ(waysThatLoad(file("vast.tga", tga(10, 0x7FFF, 0x7FFF, 32, 0, Bytes(1000, 0xFF)))), 0);
    EXPECT_EQ(waysThatLoad(file("below.tga", tga(2, 0xFFFF, 1, 24, 0, Bytes(100, 0)))), 0);
}

TEST_F(Images, PcxOfOtherKindsTellsItsSizeButLoadsNothing)
{
    INT32 width = 0, height = 0;
    const std::string planes = "//" + picture("pcx24_refused.pcx");
    KxcImageLoader::loadImageInfo(planes.c_str(), &width, &height, nullptr, nullptr);
    EXPECT_EQ(width, 37);
    EXPECT_EQ(height, 21);
    EXPECT_EQ(waysThatLoad(planes), 0);
    Bytes bytes = readAll(picture("pcx8_netpbm.pcx"));
    bytes[bytes.size() - 769] = 11;
    EXPECT_EQ(waysThatLoad(file("mark.pcx", bytes)), 0);
}

TEST_F(Images, BuffersKeepTheirPitchAndRefuseWhatCannotBeStored)
{
    const std::string name =
        file("buffer.tga", tga(2, 2, 2, 24, 0x20, {0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255}));
    UINT16 rows[2][3] = {{1, 1, 1}, {1, 1, 1}};
    EXPECT_EQ(KxcImageLoader::loadImageToBuffer(name.c_str(), nullptr, 6, 0), 0);
    EXPECT_EQ(KxcImageLoader::loadImageToBuffer(name.c_str(), rows, 6, KXCSURFACEFORMAT_PALETTE8), 0);
    EXPECT_EQ(KxcImageLoader::loadImageToBuffer(name.c_str(), rows, 6, 11), 0);
    EXPECT_EQ(KxcImageLoader::loadImageToBuffer(name.c_str(), rows, 5, 0), 0) << "rows would not be aligned";
    ASSERT_EQ(KxcImageLoader::loadImageToBuffer(name.c_str(), rows, 6, 0), 1);
    const UINT16 expected[2][3] = {{0xF800, 0x07C0, 1}, {0x001F, 0xFFDF, 1}};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(rows[i / 3][i % 3], expected[i / 3][i % 3]) << i;
}

TEST_F(Images, ResourceSurfacesLoadOnLockAndComeBackAfterEviction)
{
    const std::string name = file("surface.tga", tga(2, 40, 40, 24, 0x20, Bytes(4800, 255)));
    std::unique_ptr<KxcGLResourceSurface> a(KxcGLResourceSurface::create(name.c_str(), 0, 0));
    std::unique_ptr<KxcGLResourceSurface> b(KxcGLResourceSurface::create(name.c_str(), KXCSURFACEFORMAT_8888, 0));
    const std::unique_ptr<KxcGLResourceSurface> big(
        KxcGLResourceSurface::create(name.c_str(), KXCSURFACEFORMAT_X888, 0));
    ASSERT_TRUE(a && b && big);
    EXPECT_EQ(KxcGLResourceSurface::create(nullptr, 0, 0), nullptr);
    EXPECT_EQ(KxcGLResourceSurface::create("none.tga", 0, 0), nullptr);

    void* pixels;
    EXPECT_EQ(a->lock(&pixels, 0, 0), 80);
    EXPECT_EQ(static_cast<UINT16*>(pixels)[1599], 0xFFDF);
    EXPECT_EQ(a->lock(&pixels, 0, 0), 0);
    EXPECT_EQ(pixels, nullptr);
    EXPECT_EQ(b->lock(&pixels, 0, 0), 160);
    EXPECT_EQ(big->lock(&pixels, 0, 0), 0) << "3200 and 6400 of 10000 bytes are locked";
    a->unlock();
    a->unlock();
    b->unlock();
    b->drawFilledRect(0, 0, 1, 1, 0xFF000000);
    EXPECT_EQ(big->lock(&pixels, 0, 0), 160) << "evicts the larger one";
    big->unlock();

    const std::unique_ptr<KxcGLSurface> target(KxcGLSurface::create(40, 40, KXCSURFACEFORMAT_565));
    target->clear(0);
    target->drawImage(b.get());
    target->lock(&pixels, 0, 0);
    EXPECT_EQ(static_cast<UINT16*>(pixels)[0], 0xFFFF) << "loaded anew";
    target->unlock();

    KxcResourceManager::evictResources();
    file("surface.tga", tga(2, 50, 50, 24, 0x20, Bytes(7500, 255)));
    EXPECT_EQ(a->lock(&pixels, 0, 0), 0) << "the file is no longer the picture that the surface was made for";
}
