// sprites_bench.cpp - encoded sprites beside the blits that they spare, and pictures in another size. Items are pixels.

#include "pixel_scene.h"

#include <kxcoreemb/rle_sprite.h>
#include <kxcoreemb/surface_toolkit.h>

#include <benchmark/benchmark.h>

namespace
{

using Scene = PixelScene;

/// All sprites of the scene, encoded; counted as the pixels of their whole pictures, like drawSprites.
void drawEncoded(benchmark::State& state, INT32 sourceFormat, INT32 targetFormat, bool keyed, INT32 type, INT32 value)
{
    const Scene& scene = Scene::get();
    std::vector<std::unique_ptr<KxcRLESprite>> sprites;
    for (const auto& pixels : scene.sprites)
    {
        const auto surface = Scene::surface(pixels, Scene::kSprite, sourceFormat, keyed);
        sprites.emplace_back(keyed ? KxcRLESprite::create(surface.get(), 0x00FFFFFF, Scene::kKey)
                                   : KxcRLESprite::create(surface.get(), 0xFF000000, 0));
    }
    const auto screen = Scene::surface(scene.picture, Scene::kWidth, targetFormat);
    for (auto _ : state)
        for (const Scene::Draw& draw : scene.draws)
            sprites[static_cast<size_t>(draw.kind)]->blit(screen.get(), nullptr, draw.x, draw.y, type, value);
    state.SetItemsProcessed(state.iterations() * scene.drawnPixels);
}

void encode(benchmark::State& state)
{
    const Scene& scene = Scene::get();
    const auto surface = Scene::surface(scene.sprites[0], Scene::kSprite, KXCSURFACEFORMAT_8888);
    for (auto _ : state)
        delete KxcRLESprite::create(surface.get(), 0xFF000000, 0);
    state.SetItemsProcessed(state.iterations() * Scene::kSprite * Scene::kSprite);
}

/// To the whole size; items are pixels of the result.
void doubleBilinear(benchmark::State& state, INT32 format)
{
    const Scene& scene = Scene::get();
    const auto whole = Scene::surface(scene.picture, Scene::kWidth, format);
    const std::unique_ptr<KxcGLSurface> source(
        KxcGLSurfaceToolkit::resampleSurface(whole.get(), Scene::kWidth / 2, Scene::kHeight / 2));
    for (auto _ : state)
        delete KxcGLSurfaceToolkit::resampleSurface(source.get(), Scene::kWidth, Scene::kHeight);
    state.SetItemsProcessed(state.iterations() * Scene::kWidth * Scene::kHeight);
}

/// Items are pixels of the source.
void average(benchmark::State& state, INT32 format, INT32 divisor)
{
    const auto source = Scene::surface(Scene::get().picture, Scene::kWidth, format);
    for (auto _ : state)
        delete KxcGLSurfaceToolkit::resampleSurface(source.get(), Scene::kWidth / divisor, Scene::kHeight / divisor);
    state.SetItemsProcessed(state.iterations() * Scene::kWidth * Scene::kHeight);
}

void rotate(benchmark::State& state, INT32 format)
{
    const auto source = Scene::surface(Scene::get().picture, Scene::kWidth, format);
    const KxcMatrix3 m = {{{0.8, 0.6, 0}, {-0.6, 0.8, 0}, {0, 0, 1}}};
    KxcVector2 origin;
    for (auto _ : state)
        delete KxcGLSurfaceToolkit::transformSurface(source.get(), m, origin);
    state.SetItemsProcessed(state.iterations() * Scene::kWidth * Scene::kHeight);
}

void dither(benchmark::State& state, INT32 method)
{
    const auto surface = Scene::surface(Scene::get().picture, Scene::kWidth, KXCSURFACEFORMAT_X888);
    for (auto _ : state)
        KxcGLSurfaceToolkit::ditherSurface(surface.get(), 0x011F1F1F, method);
    state.SetItemsProcessed(state.iterations() * Scene::kWidth * Scene::kHeight);
}

} // namespace

BENCHMARK_CAPTURE(drawEncoded, keyed16, 8, 8, true, KXCBLEND_NONE, 0);
BENCHMARK_CAPTURE(drawEncoded, soft16, 4, 8, false, KXCBLEND_NONE, 0);
BENCHMARK_CAPTURE(drawEncoded, softAlpha16, 4, 8, false, KXCBLEND_ALPHA, Scene::kAlpha);
BENCHMARK_CAPTURE(drawEncoded, softAdd16, 4, 8, false, KXCBLEND_ADD, Scene::kAlpha);
BENCHMARK_CAPTURE(drawEncoded, softTo565, 4, 1, false, KXCBLEND_NONE, 0);
BENCHMARK_CAPTURE(drawEncoded, softTo32, 4, 2, false, KXCBLEND_NONE, 0);
BENCHMARK(encode);
BENCHMARK_CAPTURE(doubleBilinear, 16, KXCSURFACEFORMAT_55X5);
BENCHMARK_CAPTURE(doubleBilinear, 32, KXCSURFACEFORMAT_X888);
BENCHMARK_CAPTURE(average, half16, KXCSURFACEFORMAT_55X5, 2);
BENCHMARK_CAPTURE(average, half32, KXCSURFACEFORMAT_X888, 2);
BENCHMARK_CAPTURE(average, seventh32, KXCSURFACEFORMAT_X888, 7);
BENCHMARK_CAPTURE(rotate, 16, KXCSURFACEFORMAT_55X5);
BENCHMARK_CAPTURE(rotate, 32, KXCSURFACEFORMAT_X888);
BENCHMARK_CAPTURE(dither, ordered, KXCDITHER_ORDERED);
BENCHMARK_CAPTURE(dither, diffusion, KXCDITHER_ERRORDIFFUSION);
