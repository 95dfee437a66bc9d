// pixel_pairs_bench.cpp - every pair of formats x every blend x (as it is, keyed, a quarter turn, keyed and scaled).
//
// Games should never meet a pair that falls off a cliff: "slowest" is the slowest way to draw a pair, in pixels a
// second.

#include "pixel_scene.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <string>

namespace
{

using Scene = PixelScene;

constexpr INT32 kSize = 256;

std::vector<UINT32> squareOfPicture()
{
    std::vector<UINT32> pixels;
    for (INT32 y = 0; y < kSize; ++y)
        for (INT32 x = 0; x < kSize; ++x)
            pixels.push_back(Scene::get().picture[static_cast<size_t>(y * Scene::kWidth + x)]);
    return pixels;
}

/// Draws with every blend and way from one format onto another; reports the slowest.
void drawPair(benchmark::State& state)
{
    const INT32 sourceFormat = static_cast<INT32>(state.range(0)), targetFormat = static_cast<INT32>(state.range(1));
    const std::vector<UINT32> pixels = squareOfPicture();
    const auto plain = Scene::surface(pixels, kSize, sourceFormat),
               keyed = Scene::surface(pixels, kSize, sourceFormat, true);
    const auto target = Scene::surface(pixels, kSize, targetFormat);
    const auto draw = [&](INT32 type, INT32 way)
    {
        KxcGLSurface* source = way & 1 ? keyed.get() : plain.get();
        if (way < 2)
            target->drawImageBlend(source, type, 100);
        else if (way == 2)
            target->drawImageTransformBlend(source, type, 100, KXCTRANSFORM_ROTATE90);
        else
            target->drawImageTransformBlend(source, 0, 0, {10, 10, 200, 190}, kSize, kSize, type, 100,
                                            KXCTRANSFORM_MIRRORX);
    };
    double best[KXCBLEND_COUNT][4] = {};
    for (auto _ : state)
        for (INT32 type = 0; type < KXCBLEND_COUNT; ++type)
            for (INT32 way = 0; way < 4; ++way)
            {
                const auto start = std::chrono::steady_clock::now();
                draw(type, way);
                const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
                best[type][way] = std::max(best[type][way], kSize * kSize / seconds.count());
            }
    state.SetItemsProcessed(state.iterations() * KXCBLEND_COUNT * 4 * kSize * kSize);
    state.counters["slowest"] = *std::min_element(&best[0][0], &best[0][0] + KXCBLEND_COUNT * 4);
}

void allPairs(benchmark::internal::Benchmark* bench)
{
    for (INT32 source = 1; source < KXCSURFACEFORMAT_COUNT; ++source)
        for (INT32 target = 1; target < KXCSURFACEFORMAT_COUNT; ++target)
            if (target != KXCSURFACEFORMAT_PALETTE8)
                bench->Args({source, target});
}

} // namespace

BENCHMARK(drawPair)->Apply(allPairs)->Iterations(20)->ArgNames({"from", "to"});
