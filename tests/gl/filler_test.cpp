// filler_test.cpp - every filler against a formula, pixel by pixel, and which fillers a registration makes available.
#include "filler_support.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

namespace
{

constexpr INT32 kWidth = 80, kHeight = 48;
#ifdef KXC_EMULATED // where the formulas take long
constexpr int kTriangles = 12;
#else
constexpr int kTriangles = 40;
#endif

/// An engine with a device that has no fillers, and one triangle to draw.
struct Fillers : testing::Test
{
    Engine engine{kWidth, kHeight, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; }};
    std::unique_ptr<KxcGL> gl{KxcGL::create(100, 0)};
    std::minstd_rand random{1};
    KxcVector4 vertices[3] = {};
    KxcGLTriangle triangle = {};
    INT32 width = kWidth, height = kHeight; // of the target

    INT32 below(INT32 n) { return static_cast<INT32>(random() >> 4) % n; }
    INT32 between(INT32 a, INT32 b) { return a + static_cast<INT32>((INT64(random()) * (INT64(b) - a)) >> 31); }

    void place(int i, INT32 x, INT32 y) // 16.16
    {
        vertices[i].x = KxcFixed::fromRaw(x);
        vertices[i].y = KxcFixed::fromRaw(y);
        triangle.corners.vertex[i] = i;
    }
    void makeTriangle(int shape)
    {
        const INT32 centerX = between(-0x80000, (width + 8) << 16), centerY = between(-0x80000, (height + 8) << 16);
        const INT32 reach = shape == 0 ? 60 << 16 : shape == 1 ? 2 << 16 : shape == 2 ? 9 << 16 : 9000 << 16;
        for (int i = 0; i < 3; ++i)
        {
            const INT32 x = centerX + between(-reach, reach), y = centerY + between(-reach, reach);
            const INT32 whole = shape == 2 ? ~0xFFFF : ~0; // corners on pixels, edges often level
            place(i, (shape == 4 ? x / 8000 + y : x) & whole, (shape == 4 ? y : y) & whole); // 4: a sliver
            vertices[i].w = KxcFixed::fromRaw(below(12) ? between(0x8000, 0x200000) : below(2) * 0x7FFFFFFF);
            triangle.corners.u[i] = KxcFixed::fromRaw(between(-0x50000, 5 << 16) >> (2 * below(4)));
            triangle.corners.v[i] = KxcFixed::fromRaw(between(-0x50000, 5 << 16) >> (2 * below(4)));
            triangle.corners.color[i] = 0;
            for (int c = 0; c < 4; ++c)
                triangle.corners.color[i] |= UINT32(below(3) ? below(256) : 255 * below(2)) << 8 * c;
        }
    }
    /// Draws the triangle over noise. @return whether it shows; fails where that is not what the formulas say
    bool compare(const FillerKind& kind, const std::vector<reference::Picture>& pictures, const std::string& what)
    {
        std::vector<UINT16> noise(static_cast<size_t>(width * height));
        for (UINT16& pixel : noise)
            pixel = static_cast<UINT16>(random() >> 8);
        setFrame(noise);
        kind.registered()(&triangle, vertices);
        std::vector<UINT16> expected = noise;
        reference::draw(kind, triangle, vertices, pictures, width, height, expected);
        const std::vector<UINT16> got = frame();
        const auto wrong = std::mismatch(got.begin(), got.end(), expected.begin());
        if (wrong.first != got.end())
            ADD_FAILURE() << kind.name << ", " << what << ": pixel " << (wrong.first - got.begin()) % width << ", "
                          << (wrong.first - got.begin()) / width << " is " << std::hex << *wrong.first << ", not "
                          << *wrong.second;
        return expected != noise;
    }
    std::vector<UINT16> frame()
    {
        void* pixels;
        gl->getSecondary()->lock(&pixels, 0, 0);
        const UINT16* first = static_cast<UINT16*>(pixels);
        gl->getSecondary()->unlock();
        return {first, first + width * height};
    }
    void setFrame(const std::vector<UINT16>& picture)
    {
        void* pixels;
        gl->getSecondary()->lock(&pixels, 0, 0);
        std::copy(picture.begin(), picture.end(), static_cast<UINT16*>(pixels));
        gl->getSecondary()->unlock();
    }
};

} // namespace

TEST_F(Fillers, DrawWhatTheirFormulasSay)
{
    ASSERT_EQ(fillerKinds().size(), 84u);
    constexpr INT32 kFormats[] = {0, KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_5515, KXCSURFACEFORMAT_PALETTE8};
    for (const FillerKind& kind : fillerKinds())
    {
        kind.use();
        int drawn = 0;
        for (const auto& size : {std::array<INT32, 3>{64, 128, 6}, {256, 16, 2}, {1, 2, 1}})
        {
            NoiseBuilder* builder =
                kind.column() ? new NoiseBuilder(size[0], size[1], size[2], kFormats[kind.column()]) : nullptr;
            const std::unique_ptr<KxcGLTexture> texture(KxcGLTexture::create(builder, 0));
            const auto pictures = builder ? builder->pictures() : std::vector<reference::Picture>();
            kxcCore->textureCache.select(texture.get());
            for (int shape = 0; shape < 5; ++shape)
                for (int i = 0; i < (size[0] == 64 ? kTriangles : 5); ++i)
                {
                    makeTriangle(shape);
                    drawn += compare(kind, pictures,
                                     "texture " + std::to_string(size[0]) + ", shape " + std::to_string(shape));
                    ASSERT_FALSE(HasFailure());
                }
        }
        EXPECT_GT(drawn, kTriangles * 3 / 2) << kind.name;
        kxcCore->textureCache.release();
    }
}

TEST_F(Fillers, DrawOnTargetsOfFewPixels)
{
    constexpr INT32 kFormats[] = {0, KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_5515, KXCSURFACEFORMAT_PALETTE8};
    for (const auto& size : {std::array<INT32, 2>{2, 1}, {2, 30}, {4, 9}, {6, 5}, {10, 3}, {18, 4}, {20, 20}})
    {
        const std::unique_ptr<KxcGLSurface> target(KxcGLSurface::create(size[0], size[1], KXCSURFACEFORMAT_55X5));
        ASSERT_TRUE(gl->setRenderTarget(target.get()));
        width = size[0], height = size[1];
        for (const FillerKind& kind : fillerKinds())
        {
            kind.use();
            NoiseBuilder* builder = kind.column() ? new NoiseBuilder(16, 32, 3, kFormats[kind.column()]) : nullptr;
            const std::unique_ptr<KxcGLTexture> texture(KxcGLTexture::create(builder, 0));
            const auto pictures = builder ? builder->pictures() : std::vector<reference::Picture>();
            kxcCore->textureCache.select(texture.get());
            for (int i = 0; i < 12; ++i)
            {
                makeTriangle(1 + i % 2);
                compare(kind, pictures, "target " + std::to_string(width) + " x " + std::to_string(height));
            }
            kxcCore->textureCache.release();
        }
        ASSERT_FALSE(HasFailure());
        gl->setRenderTarget(nullptr);
    }
}

TEST_F(Fillers, TakeAnyVertexWithoutLeavingTheTarget)
{
    const INT32 extremes[] = {INT32_MIN, INT32_MIN + 1, -0x10000,      -1,       0, 1,
                              0x8000,    kHeight << 16, INT32_MAX - 1, INT32_MAX};
    constexpr INT32 kFormats[] = {0, KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_5515, KXCSURFACEFORMAT_PALETTE8};
    for (const FillerKind& kind : fillerKinds())
    {
        kind.use();
        const std::unique_ptr<KxcGLTexture> texture(
            KxcGLTexture::create(kind.column() ? new NoiseBuilder(64, 64, 3, kFormats[kind.column()]) : nullptr, 0));
        kxcCore->textureCache.select(texture.get());
        for (int i = 0; i < 300; ++i)
        {
            makeTriangle(0);
            for (int corner = 0; corner < 3; ++corner)
            {
                KxcVector4& v = vertices[corner];
                for (KxcFixed* value : {&v.x, &v.y, &v.w, &triangle.corners.u[corner], &triangle.corners.v[corner]})
                    if (below(2))
                        *value = KxcFixed::fromRaw(extremes[below(10)]);
            }
            kind.registered()(&triangle, vertices);
        }
        // Without a texture, with one of another format, or with one that cannot be loaded, nothing is drawn.
        const std::vector<UINT16> before = frame();
        NoiseBuilder* broken = new NoiseBuilder(8, 8, 1, kFormats[kind.column()]);
        broken->works = 0;
        const std::unique_ptr<KxcGLTexture> other(
            KxcGLTexture::create(new NoiseBuilder(8, 8, 1, KXCSURFACEFORMAT_565), 0)),
            unloadable(KxcGLTexture::create(broken, 0));
        makeTriangle(0);
        for (KxcGLTexture* t : {static_cast<KxcGLTexture*>(nullptr), other.get(), unloadable.get()})
        {
            kxcCore->textureCache.select(t);
            if (kind.column())
                kind.registered()(&triangle, vertices);
        }
        EXPECT_EQ(frame(), before);
        if (!unloadable)
            delete broken;
    }
}

TEST_F(Fillers, DrawNeighbouringTrianglesWithoutGapsOrOverlaps)
{
    kxcGLUseFillerFlatAdd(); // counts: 8 is one step of a channel
    const KxcGLFiller add = kxcCore->fillers[2][0][1];
    constexpr int kColumns = 9, kRows = 7;
    for (int round = 0; round < 20; ++round)
    {
        setFrame(std::vector<UINT16>(kWidth * kHeight, 0));
        INT32 x[kRows + 1][kColumns + 1], y[kRows + 1][kColumns + 1];
        for (int row = 0; row <= kRows; ++row)
            for (int column = 0; column <= kColumns; ++column)
            {
                const bool inside = row > 0 && row < kRows && column > 0 && column < kColumns;
                x[row][column] = column * (kWidth << 16) / kColumns + (inside ? between(-0x18000, 0x18000) : 0);
                y[row][column] = row * (kHeight << 16) / kRows + (inside ? between(-0x18000, 0x18000) : 0);
            }
        for (int row = 0; row < kRows; ++row)
            for (int column = 0; column < kColumns; ++column)
                for (int half = 0; half < 2; ++half)
                {
                    const int r[2][3] = {{0, 0, 1}, {0, 1, 1}}, c[2][3] = {{0, 1, 1}, {0, 1, 0}};
                    for (int i = 0; i < 3; ++i)
                    {
                        const int rr = row + r[half][i], cc = column + c[half][i];
                        place(i, x[rr][cc], y[rr][cc]);
                        triangle.corners.color[i] = 0xFF080808;
                    }
                    add(&triangle, vertices);
                }
        EXPECT_EQ(frame(), std::vector<UINT16>(kWidth * kHeight, 1 << 11 | 1 << 6 | 1));
    }
}

TEST_F(Fillers, AreDrawnOnlyWhereTheyWereRegistered)
{
    std::set<KxcGLFiller> distinct;
    for (const FillerKind& kind : fillerKinds())
    {
        kxcGLResetFillers();
        kind.use();
        kind.use();
        std::set<int> slots = {kind.slot()};
        if (!kind.column())
            slots.insert(kind.slot() + 4);
        if (!kind.column() && kind.shading == "Flat")
            slots.insert({0, 4});
        for (int row = 0; row < 4; ++row)
            for (int column = 0; column < 4; ++column)
                for (int slot = 0; slot < 8; ++slot)
                {
                    const bool its = row == kind.row() && column == kind.column() && slots.count(slot);
                    EXPECT_EQ(kxcCore->fillers[row][column][slot] == kxcGLFillNothing, !its)
                        << kind.name << " in " << row << ", " << column << ", " << slot;
                }
        distinct.insert(kind.registered());
    }
    EXPECT_EQ(distinct.size(), 84u);

    kxcGLUseDefaults();
    int empty = 0;
    for (int i = 0; i < 4 * 4 * 8; ++i)
        empty += kxcCore->fillers[i / 32][i / 8 % 4][i % 8] == kxcGLFillNothing;
    EXPECT_EQ(empty, 4 * 6) << "5515 textures are not shaded";
    gl->recreate(100, 0);
    EXPECT_EQ(kxcCore->fillers[0][0][0], kxcGLFillNothing) << "a new device starts without";
    embeddedDeinit();
    kxcGLUseDefaults(); // without a core: harmless
}
