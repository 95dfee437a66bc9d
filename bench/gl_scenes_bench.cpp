// gl_scenes_bench.cpp - whole frames of the 3D renderer at 640 x 480, from vertices to pixels.
//
// S1 to S4 draw 100 quads of the screen's size, one texel to a pixel at the bottom edge: what a pixel costs. S5 and S5T
// draw 20,000 lit triangles of 20 pixels each, sorted: what a triangle costs. S6 is what every frame pays besides,
// next to the memset and the memcpy of as many bytes. "pixels" counts overdraw; it and "triangles" are a second's
// worth.
#include "core/core_state.h"
#include "gl/device.h"

#include <kxcoreemb/kxcoreemb.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace
{

constexpr INT32 kWidth = 640, kHeight = 480, kTexture = 256, kLayers = 100;
constexpr double kNear = 1, kFar = 64;

struct Vertex
{
    KxcVector3 position, normal;
    UINT32 color;
    KxcVector2 texture;
};
constexpr INT32 kFormat = KXCGLVERTEX_POSITION | KXCGLVERTEX_NORMAL | KXCGLVERTEX_COLOR | KXCGLVERTEX_TEXTURE1;

/// In eye space: (x * z, y * z, z) lies at (x, y) of a screen that reaches from -1 to 1, y upwards.
struct Mesh
{
    std::vector<Vertex> vertices;
    std::vector<UINT16> indices; // a list; counter-clockwise is in front
    double pixels;
};

/// @param zTop, zBottom  where they differ, the quads recede like a floor and their texture needs perspective
Mesh quads(double zTop, double zBottom, UINT32 alpha, bool white)
{
    Mesh mesh = {{}, {}, double(kWidth) * kHeight * kLayers};
    const double repeats = double(kWidth) / kTexture;
    UINT32 color = 0;
    for (INT32 layer = 0; layer < kLayers; ++layer)
    {
        for (INT32 corner = 0; corner < 4; ++corner) // top left, bottom left, bottom right, top right
        {
            const bool top = corner == 0 || corner == 3;
            const double x = corner < 2 ? -1 : 1, y = top ? 1 : -1, z = top ? zTop : zBottom;
            color = color * 1664525 + 1013904223;
            const UINT32 rgb = white ? 0xFFFFFF : 0x606060 + (color >> 8 & 0x7F7F7F);
            mesh.vertices.push_back({{x * z, y * z, z},
                                     {0, 0, -1},
                                     alpha << 24 | rgb,
                                     {repeats * (x * z / zBottom + 1) / 2 + layer * 0.01,
                                      (top ? 0 : repeats * kHeight / kWidth) + layer * 0.01}});
        }
        for (INT32 corner : {0, 1, 2, 0, 2, 3})
            mesh.indices.push_back(static_cast<UINT16>(4 * layer + corner));
    }
    return mesh;
}

/// Two bumpy grids, one over the other, of 100 x 50 cells.
Mesh grids()
{
    constexpr INT32 kColumns = 100, kRows = 50;
    constexpr double kWide = 1.706, kHigh = 1.526; // on the screen
    Mesh mesh = {{}, {}, 2 * (kWide / 2 * kWidth) * (kHigh / 2 * kHeight)};
    for (INT32 layer = 0; layer < 2; ++layer)
    {
        struct Point
        {
            double x, y, z;
        };
        const auto point = [&](double column, double row)
        {
            const double z = 4 + 0.25 * std::sin(column * 0.31 + layer) * std::cos(row * 0.47);
            const double x = (layer ? 1 - kWide : -1) + kWide * column / kColumns;
            const double y = (layer ? -1 : 1 - kHigh) + kHigh * row / kRows;
            return Point{x * z, y * z, z};
        };
        const INT32 first = static_cast<INT32>(mesh.vertices.size());
        for (INT32 row = 0; row <= kRows; ++row)
            for (INT32 column = 0; column <= kColumns; ++column)
            {
                const Point p = point(column, row), right = point(column + 0.01, row), up = point(column, row + 0.01);
                const Point a = {right.x - p.x, right.y - p.y, right.z - p.z}, b = {up.x - p.x, up.y - p.y, up.z - p.z};
                const Point n = {b.y * a.z - b.z * a.y, b.z * a.x - b.x * a.z, b.x * a.y - b.y * a.x}; // to the eye
                const double length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
                mesh.vertices.push_back({{p.x, p.y, p.z},
                                         {n.x / length, n.y / length, n.z / length},
                                         0xFFFFFFFF,
                                         {2.0 * column / kColumns, 2.0 * row / kRows}});
            }
        for (INT32 row = 0; row < kRows; ++row)
            for (INT32 column = 0; column < kColumns; ++column)
            {
                const INT32 low = first + row * (kColumns + 1) + column, high = low + kColumns + 1;
                for (INT32 corner : {low, low + 1, high + 1, low, high + 1, high})
                    mesh.indices.push_back(static_cast<UINT16>(corner));
            }
    }
    return mesh;
}

/// 55X5 tiles under noise.
struct Tiles : KxcGLTextureBuilder
{
    Tiles() : KxcGLTextureBuilder(2, KXCTEXTURE_UNSHARED) {}
    INT32 getSurfaceCount() override { return 1; }
    void getSurfaceParams(INT32, INT32& width, INT32& height, INT32& format) override
    {
        width = height = kTexture;
        format = KXCSURFACEFORMAT_55X5;
    }
    INT32 fillSurface(INT32, void* texels, KxcGLComplexSurfaceResource*) override
    {
        UINT32 seed = 12345;
        for (UINT32 i = 0; i < kTexture * kTexture; ++i)
        {
            const UINT32 x = i % kTexture, y = i / kTexture, noise = (seed = seed * 1664525 + 1013904223) >> 29;
            const UINT32 tile = (((x ^ y) >> 3) & 1 ? 20 : 8) + noise;
            static_cast<UINT16*>(texels)[i] = static_cast<UINT16>(tile << 11 | (tile / 2 + x / 32) << 6 | y / 12);
        }
        return 1;
    }
    INT32 sameClassEquals(KxcGLTextureBuilder*) override { return 0; }
};

struct Engine
{
    Engine()
    {
        embeddedInit(
            kWidth, kHeight, nullptr, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; }, nullptr);
        kxcUseGLDefault();
        gl.reset(KxcGL::create(0, 0));
    }
    ~Engine()
    {
        gl.reset();
        embeddedDeinit();
    }
    std::unique_ptr<KxcGL> gl;
};

enum Options
{
    TEXTURED = 1,
    GOURAUD = 2,
    LIT = 4,
    ALPHA = 8,
    PERSPECTIVE = 16
};

void scene(benchmark::State& state, const Mesh& mesh, INT32 options)
{
    const Engine engine;
    KxcGL& gl = *engine.gl;
    KxcMatrix4 projection = {};
    projection.m[0][0] = projection.m[1][1] = projection.m[2][3] = KxcFixed(1);
    projection.m[2][2] = kFar / (kFar - kNear);
    projection.m[3][2] = -kFar * kNear / (kFar - kNear);
    gl.setMatrix(KXCGLMATRIX_PROJECTION, projection);
    gl.setViewport({0, 0, kWidth, kHeight, 0, 0});
    gl.setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NEGATIVE);
    gl.setStateI(KXCGLSTATE_CLIPPING, 1);
    gl.setStateI(KXCGLSTATE_SORTING, KXCGLSORT_FARFIRST);
    gl.setStateI(KXCGLSTATE_PERSPECTIVE, options & PERSPECTIVE ? 1 : 0);
    gl.setStateI(KXCGLSTATE_SHADING, options & GOURAUD ? KXCGLSHADE_GOURAUD : KXCGLSHADE_TEXTURE);
    if (options & ALPHA)
    {
        gl.setStateI(KXCGLSTATE_BLENDING, 1);
        gl.setStateI(KXCGLSTATE_SOURCEBLEND, KXCGLFACTOR_SOURCEALPHA);
        gl.setStateI(KXCGLSTATE_DESTBLEND, KXCGLFACTOR_INVSOURCEALPHA);
    }
    if (options & LIT)
    {
        KxcGLLight light = {};
        light.type = KXCGLLIGHT_DIRECTIONAL;
        for (KxcFixed& part : light.colour)
            part = 1;
        light.direction = {0.303, 0.505, -0.808};
        gl.setLight(0, light);
        gl.enableLight(0, 1);
        gl.setStateI(KXCGLSTATE_LIGHTING, 1);
        gl.setStateI(KXCGLSTATE_AMBIENT, 0x1A1A1A);
        gl.setMaterial({0xFFFFFFFF, 0, 0xFFFFFF, 0, 0});
    }
    const std::unique_ptr<KxcGLTexture> texture(options & TEXTURED ? KxcGLTexture::create(new Tiles, 0) : nullptr);
    gl.setTexture(texture.get());
    const INT32 vertices = static_cast<INT32>(mesh.vertices.size()), indices = static_cast<INT32>(mesh.indices.size());
    const std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), vertices));
    std::memcpy(buffer->lock(0), mesh.vertices.data(), mesh.vertices.size() * sizeof(Vertex));
    buffer->optimize();

    for (auto _ : state)
    {
        if (options & LIT)
            gl.clear(0x1A334D, KxcFixed(1), 0);
        gl.beginRender();
        gl.renderPrimitiveIndexed(buffer.get(), KXCGLPRIMITIVE_LIST, 0, mesh.indices.data(), indices, 0, vertices - 1,
                                  nullptr);
        gl.endRender();
    }
    if (kxcCore->device->pipeline.triangleCount() < indices / 3)
        state.SkipWithError("triangles were left out");
    gl.setTexture(nullptr);
    using benchmark::Counter;
    state.counters["pixels"] = Counter(mesh.pixels, Counter::kIsIterationInvariantRate);
    state.counters["triangles"] = Counter(indices / 3, Counter::kIsIterationInvariantRate);
}

void clear(benchmark::State& state)
{
    const Engine engine;
    for (auto _ : state)
        engine.gl->clear(0x1A334D, KxcFixed(1), 0);
    state.SetBytesProcessed(state.iterations() * 2 * kWidth * kHeight);
}

void present(benchmark::State& state)
{
    const Engine engine;
    for (auto _ : state)
        kxcCore->device->present();
    state.SetBytesProcessed(state.iterations() * 2 * kWidth * kHeight);
}

void plain(benchmark::State& state, bool copy)
{
    std::vector<UINT16> from(kWidth * kHeight, 1), to(kWidth * kHeight);
    for (auto _ : state)
    {
        copy ? std::memcpy(to.data(), from.data(), 2 * kWidth * kHeight)
             : std::memset(to.data(), 0x33, 2 * kWidth * kHeight);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 2 * kWidth * kHeight);
}

const Mesh &floors = *new Mesh(quads(2, 6, 255, false)), &whiteFloors = *new Mesh(quads(2, 6, 255, true)),
           &walls = *new Mesh(quads(4, 4, 255, false)), &glass = *new Mesh(quads(2, 6, 128, true)),
           &grid = *new Mesh(grids());

BENCHMARK_CAPTURE(scene, S1, floors, TEXTURED | GOURAUD | PERSPECTIVE);
BENCHMARK_CAPTURE(scene, S1P, whiteFloors, TEXTURED | PERSPECTIVE);
BENCHMARK_CAPTURE(scene, S2, walls, TEXTURED | GOURAUD);
BENCHMARK_CAPTURE(scene, S3, walls, GOURAUD);
BENCHMARK_CAPTURE(scene, S4, glass, TEXTURED | ALPHA | PERSPECTIVE);
BENCHMARK_CAPTURE(scene, S5, grid, GOURAUD | LIT);
BENCHMARK_CAPTURE(scene, S5T, grid, TEXTURED | GOURAUD | LIT | PERSPECTIVE);
BENCHMARK(clear)->Name("S6/clear");
BENCHMARK_CAPTURE(plain, memset, false)->Name("S6/memset");
BENCHMARK(present)->Name("S6/present");
BENCHMARK_CAPTURE(plain, memcpy, true)->Name("S6/memcpy");

} // namespace
