// vector_bench.cpp - vector graphics by scene: KXC_VECTOR_SCENES=FOLDER bench_vector --benchmark_filter=triangles
//
// The folder holds tiger.txt and icons.txt (vector_scene.h tells the format); without it those scenes are skipped. Each
// scene is drawn on PREMUL8888 and on 55X5. An iteration draws all of a scene once; drawings include clearing.
// KXC_VECTOR_PICTURES=FOLDER has "pictures" write the tiger and every fifth icon there, to be compared with others'.
#include "vector_scene.h"

#include "picture_file.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace
{

using namespace vector_scene;

struct Stage
{
    Stage(INT32 size, INT32 format)
    {
        embeddedInit(
            32, 32, []() -> long { return kxcUse2DVectorGraphics(), 0; }, nullptr, nullptr);
        t = KxcCore::getPrimitiveTranslator();
        surface.reset(KxcGLSurface::create(size, size, format));
        surface->clear(0xFFFFFFFF);
        t->setRenderTarget(surface.get());
        t->setStrokeOff();
        t->setFillRule(KXCFILLRULE_NONZERO);
    }
    ~Stage()
    {
        surface.reset();
        embeddedDeinit();
    }
    void fill(const Polygon& polygon)
    {
        t->setFillColor(polygon.color);
        t->beginPath();
        t->moveToAbsolute(polygon.points[0]);
        for (size_t i = 1; i < polygon.points.size(); ++i)
            t->lineToAbsolute(polygon.points[i]);
        t->closePath();
        t->endPath();
    }
    void draw(const Drawing& drawing)
    {
        const double scale = surface->getWidth() / std::max(drawing.width, drawing.height);
        const double x = (surface->getWidth() - drawing.width * scale) / 2 - drawing.x * scale;
        const double y = (surface->getHeight() - drawing.height * scale) / 2 - drawing.y * scale;
        surface->clear(0xFFFFFFFF);
        for (const Path& p : drawing.paths)
        {
            t->setTransformation({{{fixed(scale * p.m[0]), fixed(scale * p.m[1]), 0},
                                   {fixed(scale * p.m[2]), fixed(scale * p.m[3]), 0},
                                   {fixed(scale * p.m[4] + x), fixed(scale * p.m[5] + y), 1}}});
            p.fills ? t->setFillColor(p.fill) : t->setFillOff();
            p.strokes ? t->setStrokeColor(p.stroke) : t->setStrokeOff();
            t->setFillOpacity(p.fillOpacity);
            t->setFillRule(p.rule);
            t->setStrokeOpacity(p.strokeOpacity);
            t->setStrokeWidth(p.width);
            t->setLineCap(p.cap);
            t->setLineJoin(p.join);
            t->setMiterLimit(p.miter);
            t->setDashArray(p.dashes.data(), INT32(p.dashes.size()));
            t->setDashOffset(p.dashOffset);
            add(p.commands);
            t->endPath();
        }
    }
    void add(const std::vector<Command>& commands)
    {
        t->beginPath();
        for (const Command& c : commands)
        {
            const KxcFixed* v = c.v;
            switch (c.op)
            {
                // clang-format off
            case 'M': t->moveToAbsolute(v[0], v[1]); break;
            case 'm': t->moveToRelative(v[0], v[1]); break;
            case 'L': t->lineToAbsolute(v[0], v[1]); break;
            case 'l': t->lineToRelative(v[0], v[1]); break;
            case 'H': t->horizontalLineToAbsolute(v[0]); break;
            case 'h': t->horizontalLineToRelative(v[0]); break;
            case 'V': t->verticalLineToAbsolute(v[0]); break;
            case 'v': t->verticalLineToRelative(v[0]); break;
            case 'C': t->curveToAbsolute(v[0], v[1], v[2], v[3], v[4], v[5]); break;
            case 'c': t->curveToRelative(v[0], v[1], v[2], v[3], v[4], v[5]); break;
            case 'S': t->smoothCurveToAbsolute(v[0], v[1], v[2], v[3]); break;
            case 's': t->smoothCurveToRelative(v[0], v[1], v[2], v[3]); break;
            case 'Q': t->quadraticCurveToAbsolute(v[0], v[1], v[2], v[3]); break;
            case 'q': t->quadraticCurveToRelative(v[0], v[1], v[2], v[3]); break;
            case 'T': t->smoothQuadraticCurveToAbsolute(v[0], v[1]); break;
            case 't': t->smoothQuadraticCurveToRelative(v[0], v[1]); break;
            case 'A': t->ellipticalArcAbsolute(v[0], v[1], v[2], c.flags, v[3], v[4]); break;
            case 'a': t->ellipticalArcRelative(v[0], v[1], v[2], c.flags, v[3], v[4]); break;
            default: t->closePath();
                // clang-format on
            }
        }
    }

    KxcPrimitiveTranslator* t;
    std::unique_ptr<KxcGLSurface> surface;
};

std::vector<Drawing> loadScene(const char* file)
{
    const char* folder = std::getenv("KXC_VECTOR_SCENES");
    return load(std::string(folder ? folder : ".") + "/" + file);
}

void drawings(benchmark::State& state, const char* file)
{
    const std::vector<Drawing> all = loadScene(file);
    if (all.empty())
        return state.SkipWithError("no scene file: set KXC_VECTOR_SCENES to their folder");
    Stage stage(INT32(state.range(1)), INT32(state.range(0)));
    for (auto _ : state)
        for (const Drawing& drawing : all)
            stage.draw(drawing);
    state.SetItemsProcessed(state.iterations() * INT64(all.size()));
}

/// Not a measurement: with KXC_VECTOR_PICTURES it writes PNG files.
void pictures(benchmark::State& state, const char* file, const char* name)
{
    const char* folder = std::getenv("KXC_VECTOR_PICTURES");
    const std::vector<Drawing> all = loadScene(file);
    if (!folder || all.empty())
        return state.SkipWithError("set KXC_VECTOR_SCENES and KXC_VECTOR_PICTURES to their folders");
    const INT32 size = INT32(state.range(1));
    Stage stage(size, INT32(state.range(0)));
    for (auto _ : state)
        for (size_t i = 0; i < all.size(); i += 5)
        {
            stage.draw(all[i]);
            char path[1024];
            std::snprintf(path, sizeof(path), name, folder, int(i));
            void* pixels = nullptr;
            stage.surface->lock(&pixels, KXCSURFACEFORMAT_8888, 0x200);
            if (!kxcWritePicture(path, size, size, static_cast<const UINT32*>(pixels), false))
                state.SkipWithError("a picture cannot be written");
            stage.surface->unlock();
        }
}

void polygons(benchmark::State& state, std::vector<Polygon> (*make)(), UINT8 opacity)
{
    const std::vector<Polygon> all = make();
    Stage stage(kSize, INT32(state.range(0)));
    stage.t->setFillOpacity(opacity);
    for (auto _ : state)
        for (const Polygon& polygon : all)
            stage.fill(polygon);
    state.SetItemsProcessed(state.iterations() * INT64(all.size()));
}

void strokedCubics(benchmark::State& state)
{
    const std::vector<Polygon> all = cubics();
    Stage stage(kSize, INT32(state.range(0)));
    stage.t->setFillOff();
    stage.t->setStrokeWidth(3);
    stage.t->setLineCap(KXCLINECAP_BUTT);
    stage.t->setLineJoin(KXCLINEJOIN_MITER);
    for (auto _ : state)
        for (const Polygon& c : all)
        {
            stage.t->setStrokeColor(c.color);
            stage.t->beginPath();
            stage.t->moveToAbsolute(c.points[0]);
            stage.t->curveToAbsolute(c.points[1], c.points[2], c.points[3]);
            stage.t->endPath();
        }
    state.SetItemsProcessed(state.iterations() * INT64(all.size()));
}

void gradientCircles(benchmark::State& state, bool radial)
{
    const std::vector<KxcVector2> all = circles();
    const KxcVector2 middle = {0, 0}, start = {-100, 0}, end = {100, 0};
    Stage stage(kSize, INT32(state.range(0)));
    std::unique_ptr<KxcPrimitiveDrawGradientFiller> gradient;
    if (radial)
        gradient.reset(KxcPrimitiveDrawRadialGradientFiller::create(middle, middle, 100));
    else
        gradient.reset(KxcPrimitiveDrawLinearGradientFiller::create(start, end));
    gradient->addGradientStop(0, 0xFFFF8000);
    gradient->addGradientStop(fixed(0.5), 0xFF2060FF);
    gradient->addGradientStop(1, 0xFF102010);
    stage.t->setFillGradient(gradient.get());
    const KxcFixed r = 100, k = fixed(55.22847498307936);
    for (auto _ : state)
        for (const KxcVector2& c : all)
        {
            stage.t->setTransformation({{{1, 0, 0}, {0, 1, 0}, {c.x, c.y, 1}}});
            stage.t->beginPath();
            stage.t->moveToAbsolute(r, 0);
            stage.t->curveToAbsolute(r, k, k, r, 0, r);
            stage.t->curveToAbsolute(-k, r, -r, k, -r, 0);
            stage.t->curveToAbsolute(-r, -k, -k, -r, 0, -r);
            stage.t->curveToAbsolute(k, -r, r, -k, r, 0);
            stage.t->closePath();
            stage.t->endPath();
        }
    state.SetItemsProcessed(state.iterations() * INT64(all.size()));
}

void onBothFormats(benchmark::internal::Benchmark* bench)
{
    bench->Arg(KXCSURFACEFORMAT_PREMUL8888)->Arg(KXCSURFACEFORMAT_55X5)->Unit(benchmark::kMillisecond);
}
template <INT32... kSizes>
void atSizes(benchmark::internal::Benchmark* bench)
{
    for (const INT32 format : {INT32(KXCSURFACEFORMAT_PREMUL8888), INT32(KXCSURFACEFORMAT_55X5)})
        (bench->Args({format, kSizes}), ...);
    bench->Unit(benchmark::kMillisecond);
}
template <INT32 kPicture>
void picturesOf(benchmark::internal::Benchmark* bench)
{
    for (const INT32 format : {INT32(KXCSURFACEFORMAT_X888), INT32(KXCSURFACEFORMAT_55X5)})
        bench->Args({format, kPicture})->Iterations(1);
}

BENCHMARK_CAPTURE(drawings, tiger, "tiger.txt")->Apply(atSizes<512>);
BENCHMARK_CAPTURE(drawings, icons, "icons.txt")->Apply(atSizes<32, 256>);
BENCHMARK_CAPTURE(pictures, tiger, "tiger.txt", "%s/tiger_512.png")->Apply(picturesOf<512>);
BENCHMARK_CAPTURE(pictures, icons, "icons.txt", "%s/icon%03d_64.png")->Apply(picturesOf<64>);
BENCHMARK_CAPTURE(polygons, triangles, triangles, 255)->Apply(onBothFormats);
BENCHMARK(strokedCubics)->Apply(onBothFormats);
BENCHMARK_CAPTURE(gradientCircles, linear, false)->Apply(onBothFormats);
BENCHMARK_CAPTURE(gradientCircles, radial, true)->Apply(onBothFormats);
BENCHMARK_CAPTURE(polygons, rectangles, rectangles, 255)->Apply(onBothFormats);
BENCHMARK_CAPTURE(polygons, rectanglesHalf, rectangles, 128)->Apply(onBothFormats);

} // namespace
