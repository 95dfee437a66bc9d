// pixels_bench.cpp - the paths that games lean on: sprites, conversions, scaling and fills. Items are pixels.

#include "pixel_scene.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace
{

using Scene = PixelScene;

/// All sprites of the scene, each drawn by one call.
void drawSprites(benchmark::State& state, INT32 sourceFormat, INT32 targetFormat, bool keyed, INT32 type, INT32 value)
{
    const Scene& scene = Scene::get();
    std::vector<std::unique_ptr<KxcGLSurface>> sprites;
    for (const auto& pixels : scene.sprites)
        sprites.push_back(Scene::surface(pixels, Scene::kSprite, sourceFormat, keyed));
    const auto screen = Scene::surface(scene.picture, Scene::kWidth, targetFormat);
    for (auto _ : state)
        for (const Scene::Draw& draw : scene.draws)
            screen->drawImageBlend(sprites[static_cast<size_t>(draw.kind)].get(), draw.x, draw.y, type, value);
    state.SetItemsProcessed(state.iterations() * scene.drawnPixels);
}

/// The same rows by memcpy: what copying could reach.
void memcpyRows16(benchmark::State& state)
{
    const Scene& scene = Scene::get();
    std::vector<UINT16> screen(Scene::kWidth * Scene::kHeight), sprite(Scene::kSprite * Scene::kSprite * Scene::kKinds);
    for (auto _ : state)
        for (const Scene::Draw& draw : scene.draws)
        {
            const INT32 left = std::max(draw.x, 0), right = std::min(draw.x + Scene::kSprite, Scene::kWidth);
            for (INT32 y = std::max(draw.y, 0); y < std::min(draw.y + Scene::kSprite, Scene::kHeight); ++y)
                memcpy(&screen[static_cast<size_t>(y * Scene::kWidth + left)],
                       &sprite[static_cast<size_t>((draw.kind * Scene::kSprite + y - draw.y) * Scene::kSprite + left -
                                                   draw.x)],
                       static_cast<size_t>(right - left) * sizeof(UINT16));
            benchmark::ClobberMemory();
        }
    state.SetItemsProcessed(state.iterations() * scene.drawnPixels);
}

void convertPicture(benchmark::State& state, INT32 sourceFormat, INT32 targetFormat)
{
    const Scene& scene = Scene::get();
    const INT32 count = static_cast<INT32>(scene.picture.size());
    std::vector<UINT32> source(scene.picture), target(scene.picture.size());
    KxcPixelConverter::convertBuffer(source.data(), target.data(), count, KXCSURFACEFORMAT_8888, sourceFormat);
    source = target;
    for (auto _ : state)
    {
        KxcPixelConverter::convertBuffer(source.data(), target.data(), count, sourceFormat, targetFormat);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void doubleSize(benchmark::State& state, INT32 format)
{
    const Scene& scene = Scene::get();
    std::vector<UINT32> half;
    for (INT32 y = 0; y < Scene::kHeight; y += 2)
        for (INT32 x = 0; x < Scene::kWidth; x += 2)
            half.push_back(scene.picture[static_cast<size_t>(y * Scene::kWidth + x)] | 0xFF000000);
    const auto source = Scene::surface(half, Scene::kWidth / 2, format);
    const auto screen = Scene::surface(scene.picture, Scene::kWidth, format);
    for (auto _ : state)
        screen->drawImage(source.get(), 0, 0, Scene::kWidth, Scene::kHeight);
    state.SetItemsProcessed(state.iterations() * Scene::kWidth * Scene::kHeight);
}

void fillRectangles(benchmark::State& state, INT32 format, UINT32 alpha)
{
    const Scene& scene = Scene::get();
    const auto screen = Scene::surface(scene.picture, Scene::kWidth, format);
    for (auto _ : state)
        for (const KxcRectangle& r : scene.fills)
            screen->drawFilledRect(r.x, r.y, r.width, r.height, alpha << 24 | 0xC86432);
    state.SetItemsProcessed(state.iterations() * scene.filledPixels);
}

/// Lines from the middle to every tenth pixel of the border, each some 300 pixels long.
void drawLines(benchmark::State& state, bool smooth, UINT32 alpha)
{
    const auto screen = Scene::surface(Scene::get().picture, Scene::kWidth, KXCSURFACEFORMAT_55X5);
    INT64 pixels = 0;
    for (auto _ : state)
        for (INT32 x = 0; x < Scene::kWidth; x += 10)
        {
            if (smooth)
                screen->drawAALine(320, 240, x, 0, 0xC86432);
            else
                screen->drawLine(320, 240, x, 0, alpha << 24 | 0xC86432);
            pixels += std::max(std::abs(x - 320), 240);
        }
    state.SetItemsProcessed(pixels);
}

} // namespace

BENCHMARK(memcpyRows16);
BENCHMARK_CAPTURE(drawSprites, copy16, 8, 8, false, KXCBLEND_NONE, 0);
BENCHMARK_CAPTURE(drawSprites, keyed16, 8, 8, true, KXCBLEND_NONE, 0);
BENCHMARK_CAPTURE(drawSprites, alpha16, 8, 8, false, KXCBLEND_ALPHA, Scene::kAlpha);
BENCHMARK_CAPTURE(drawSprites, half16, 8, 8, false, KXCBLEND_ALPHAFAST, 0);
BENCHMARK_CAPTURE(drawSprites, keyedAlpha16, 8, 8, true, KXCBLEND_ALPHA, Scene::kAlpha);
BENCHMARK_CAPTURE(drawSprites, add16, 8, 8, false, KXCBLEND_ADDFAST, 0);
BENCHMARK_CAPTURE(drawSprites, mul16, 8, 8, false, KXCBLEND_MUL, Scene::kAlpha);
BENCHMARK_CAPTURE(drawSprites, over32, 10, 2, false, KXCBLEND_NONE, 0);
BENCHMARK_CAPTURE(drawSprites, over32to16, 10, 8, false, KXCBLEND_NONE, 0);
BENCHMARK_CAPTURE(convertPicture, 8888to565, 4, 1);
BENCHMARK_CAPTURE(convertPicture, 565to8888, 1, 4);
BENCHMARK_CAPTURE(convertPicture, premultiply, 4, 10);
BENCHMARK_CAPTURE(convertPicture, unpremultiply, 10, 4);
BENCHMARK_CAPTURE(doubleSize, nearest16, 8);
BENCHMARK_CAPTURE(doubleSize, nearest32, 2);
BENCHMARK_CAPTURE(fillRectangles, opaque16, 8, 255);
BENCHMARK_CAPTURE(fillRectangles, opaque32, 2, 255);
BENCHMARK_CAPTURE(fillRectangles, translucent16, 8, Scene::kAlpha);
BENCHMARK_CAPTURE(fillRectangles, translucent32, 2, Scene::kAlpha);
BENCHMARK_CAPTURE(fillRectangles, translucent8888, 4, Scene::kAlpha);
BENCHMARK_CAPTURE(drawLines, opaque, false, 255);
BENCHMARK_CAPTURE(drawLines, translucent, false, Scene::kAlpha);
BENCHMARK_CAPTURE(drawLines, smooth, true, 255);
