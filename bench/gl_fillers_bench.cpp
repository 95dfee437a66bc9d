// gl_fillers_bench.cpp - what a filler costs: a pixel of a large triangle, and a whole small one.
//
// The large triangles are the two halves of a 640 x 480 screen, as one texel to a pixel; the small ones have about 20
// pixels, and those of "setup" lie between two rows and have none: what is left is what a triangle costs besides.
// perspective: w from 2 to 6 down the screen. "pixels" and "triangles" are a second's worth.
#include "core/core_state.h"
#include "gl/device.h"

#include <kxcoreemb/kxcoreemb.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

namespace
{

constexpr INT32 kWidth = 640, kHeight = 480, kTexture = 256;

struct Texels : KxcGLTextureBuilder
{
    explicit Texels(INT32 f) : KxcGLTextureBuilder(2, KXCTEXTURE_UNSHARED), format(f) {}
    INT32 getSurfaceCount() override { return 1; }
    void getSurfaceParams(INT32, INT32& width, INT32& height, INT32& f) override
    {
        width = height = kTexture;
        f = format;
    }
    INT32 fillSurface(INT32, void* texels, KxcGLComplexSurfaceResource*) override
    {
        UINT32 seed = 12345;
        const INT32 bytes = format == KXCSURFACEFORMAT_PALETTE8 ? kTexture * kTexture + 512 : 2 * kTexture * kTexture;
        for (INT32 i = 0; i < bytes; ++i)
            static_cast<UINT8*>(texels)[i] = static_cast<UINT8>((seed = seed * 1664525 + 1013904223) >> 24);
        return 1;
    }
    INT32 sameClassEquals(KxcGLTextureBuilder*) override { return 0; }
    INT32 format;
};

struct Scene
{
    Scene(INT32 format, bool perspective, INT32 columns, INT32 rows)
    {
        embeddedInit(
            kWidth, kHeight, nullptr, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; }, nullptr);
        gl.reset(KxcGL::create(100, 0));
        kxcGLUseDefaults();
        texture.reset(KxcGLTexture::create(format ? new Texels(format) : nullptr, 0));
        kxcCore->textureCache.select(texture.get());
        for (INT32 row = 0; row <= rows; ++row)
            for (INT32 column = 0; column <= columns; ++column)
            {
                const KxcFixed w = perspective ? KxcFixed(2) + KxcFixed(4) * row / rows : KxcFixed(4);
                vertices.push_back({KxcFixed(kWidth) * column / columns, KxcFixed(kHeight) * row / rows, w, w});
            }
        for (INT32 row = 0; row < rows; ++row)
            for (INT32 column = 0; column < columns; ++column)
            {
                const INT32 corner = row * (columns + 1) + column;
                add(corner, corner + 1, corner + columns + 2);
                add(corner, corner + columns + 2, corner + columns + 1);
            }
    }
    ~Scene()
    {
        kxcCore->textureCache.release();
        texture.reset();
        gl.reset();
        embeddedDeinit();
    }
    void add(INT32 a, INT32 b, INT32 c)
    {
        KxcGLTriangle triangle = {};
        const INT32 corners[] = {a, b, c};
        for (int i = 0; i < 3; ++i)
        {
            const KxcVector4& v = vertices[static_cast<size_t>(corners[i])];
            triangle.corners.vertex[i] = corners[i];
            triangle.corners.u[i] = v.x / kTexture;
            triangle.corners.v[i] = v.y / kTexture;
            triangle.corners.color[i] = 0x80406080u + UINT32(corners[i]) * 0x102030u % 0x7F7F7Fu;
        }
        triangles.push_back(triangle);
    }

    std::unique_ptr<KxcGL> gl;
    std::unique_ptr<KxcGLTexture> texture;
    std::vector<KxcVector4> vertices;
    std::vector<KxcGLTriangle> triangles;
};

struct Filler
{
    const char* name;
    int blend, texture, slot;
};
constexpr Filler kFillers[] = {
    {"Flat", 0, 0, 1},
    {"Gouraud (S3)", 0, 0, 2},
    {"GreyscaleGouraud", 0, 0, 3},
    {"FlatAlpha", 1, 0, 1},
    {"GouraudAdd", 2, 0, 2},
    {"Texture", 0, 1, 0},
    {"TextureGouraud (S2)", 0, 1, 2},
    {"TexturePerspective (S1P)", 0, 1, 4},
    {"TexturePerspectiveGouraud (S1)", 0, 1, 6},
    {"TexturePerspectiveAlpha (S4)", 1, 1, 4},
    {"TexturePerspective5515", 0, 2, 4},
    {"TexturePerspectiveAddPal55X5", 2, 3, 4},
    {"TextureGouraudInvmul", 3, 1, 2},
};
constexpr INT32 kFormats[] = {0, KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_5515, KXCSURFACEFORMAT_PALETTE8};

void fill(benchmark::State& state, const Filler& which, INT32 columns, INT32 rows, bool betweenRows)
{
    Scene scene(kFormats[which.texture], which.slot >= 4, columns, rows);
    const KxcGLFiller filler = kxcCore->fillers[which.blend][which.texture][which.slot];
    for (KxcVector4& vertex : scene.vertices)
        if (betweenRows)
            vertex.y = KxcFixed::fromRaw(0x644000 + (vertex.y.raw() & 0x7FFF));
    for (auto _ : state)
        for (const KxcGLTriangle& triangle : scene.triangles)
            filler(&triangle, scene.vertices.data());
    using benchmark::Counter;
    state.counters["pixels"] = Counter(kWidth * kHeight, Counter::kIsIterationInvariantRate);
    state.counters["triangles"] = Counter(double(scene.triangles.size()), Counter::kIsIterationInvariantRate);
}

const bool kRegistered = []
{
    for (const Filler& filler : kFillers)
    {
        const std::string name = filler.name;
        benchmark::RegisterBenchmark(("large/" + name).c_str(), [=](auto& s) { fill(s, filler, 1, 1, false); });
        benchmark::RegisterBenchmark(("small/" + name).c_str(), [=](auto& s) { fill(s, filler, 100, 77, false); });
        benchmark::RegisterBenchmark(("setup/" + name).c_str(), [=](auto& s) { fill(s, filler, 100, 77, true); });
    }
    return true;
}();

} // namespace
