// path_test.cpp - how commands become paths: curves, arcs, closing, and what no path should do.
#include "vector_support.h"

#include <gtest/gtest.h>

namespace
{

struct Path : testing::Test
{
    Engine engine;
    Canvas canvas{128, 128};
    KxcPrimitiveTranslator* t = canvas.t;

    void SetUp() override { t->beginPath(); }
    /// The corners of the path, through the only window on it: its start, and the ends of its edges.
    std::vector<Point> corners(int edges)
    {
        std::vector<Point> result;
        KxcVector2 p, d;
        for (int i = 0; i <= edges; ++i)
        {
            t->getEdgeInfo(fixed(double(i) / edges), &p, &d);
            result.push_back({double(p.x), double(p.y)});
        }
        return result;
    }
    /// How many edges there are, told by their directions.
    int countEdges()
    {
        int count = 0;
        KxcVector2 last = vec(0, 0), d;
        for (int i = 0; i < 4096; ++i)
        {
            t->getEdgeInfo(KxcFixed::fromRaw(i * 16), nullptr, &d);
            count += d.x != last.x || d.y != last.y;
            last = d;
        }
        return count;
    }
};

TEST_F(Path, DividesCurvesByTheirLengthOnTheSurface)
{
    const struct
    {
        double scale;
        bool cubic;
        int edges;
    } cases[] = {{1, true, 5}, {10, true, 20}, {100, true, 30}, {1, false, 3}, {10, false, 20}, {100, false, 20}};
    for (const auto& c : cases)
    {
        t->setTransformation(matrix(c.scale, 0, 0, c.scale, 0, 0));
        t->beginPath();
        t->moveToAbsolute(0, 0);
        if (c.cubic)
            t->curveToAbsolute(0, 3, 4, 3, 4, 0); // sides of 10 in all
        else
            t->quadraticCurveToAbsolute(0, 5, 5, 5);
        EXPECT_EQ(countEdges(), c.edges) << c.scale << (c.cubic ? " cubic" : " quadratic");
    }
    t->setTransformation(matrix(10, 0, 0, 10, 0, 0));
    t->setCurveSmoothLength(10); // pixels instead of 5
    t->beginPath();
    t->moveToAbsolute(0, 0);
    t->curveToAbsolute(0, 3, 4, 3, 4, 0);
    EXPECT_EQ(countEdges(), 10);
}

TEST_F(Path, FollowsCurvesAndTheirSmoothContinuations)
{
    t->moveToAbsolute(10, 60);
    t->curveToRelative(0, -40, 40, -40, 40, 0);
    t->smoothCurveToRelative(40, 40, 40, 0);
    KxcVector2 p;
    t->getEdgeInfo(fixed(0.25), &p, nullptr); // half of the first curve, and by symmetry its top
    EXPECT_NEAR(double(p.x), 30, 0.1);
    EXPECT_NEAR(double(p.y), 30, 0.1);
    t->getEdgeInfo(fixed(0.75), &p, nullptr);
    EXPECT_NEAR(double(p.x), 70, 0.1);
    EXPECT_NEAR(double(p.y), 90, 0.1);

    t->beginPath();
    t->moveToAbsolute(10, 60);
    t->quadraticCurveToRelative(20, -40, 40, 0);
    t->smoothQuadraticCurveToRelative(40, 0);
    t->getEdgeInfo(fixed(0.75), &p, nullptr);
    EXPECT_NEAR(double(p.x), 70, 0.1);
    EXPECT_NEAR(double(p.y), 80, 0.1);
}

TEST_F(Path, DrawsArcsOfEverySizeAndDirection)
{
    // Both arcs over each chord make a full ellipse; too small radii grow to half the chord.
    const struct
    {
        double rx, ry, degrees, chord, area;
    } cases[] = {{40, 40, 0, 60, 1600 * M_PI},
                 {50, 25, 30, 40, 1250 * M_PI},
                 {3, 3, 0, 5, 9 * M_PI},
                 {10, 5, 0, 80, 40 * 20 * M_PI},
                 {0.5, 0.5, 0, 0.9, 0.25 * M_PI}};
    for (const auto& c : cases)
        for (const UINT32 sweep : {0u, UINT32(KXCARC_SWEEP)})
        {
            canvas.surface->clear(0xFF000000);
            t->setFillRule(KXCFILLRULE_NONZERO);
            t->beginPath();
            const double left = 64 - c.chord / 2;
            const KxcVector2 radii = vec(c.rx, c.ry);
            t->moveToAbsolute(fixed(left), fixed(64));
            t->ellipticalArcAbsolute(radii, fixed(c.degrees * M_PI / 180), sweep, vec(left + c.chord, 64));
            t->ellipticalArcAbsolute(radii, fixed(c.degrees * M_PI / 180), sweep | KXCARC_LARGE, vec(left, 64));
            t->closePath();
            t->endPath();
            EXPECT_NEAR(canvas.area(), c.area, 0.2 + 0.03 * c.area) << c.rx << " x " << c.ry << ", sweep " << sweep;
        }
}

TEST_F(Path, TakesArcsWithoutARadiusForLinesAndThoseToTheirStartForNothing)
{
    t->moveToAbsolute(10, 10);
    t->ellipticalArcAbsolute(0, 5, 0, 0, 20, 10);
    t->ellipticalArcAbsolute(5, 5, 0, 0, 20, 10);
    EXPECT_EQ(countEdges(), 1);
    EXPECT_NEAR(corners(1)[1].x, 20, 0.01);
}

TEST_F(Path, AddsNothingForLinesToWhereItIs)
{
    KxcVector2 p = vec(-1, -1);
    t->lineToAbsolute(5, 5); // before any move
    t->curveToAbsolute(1, 2, 3, 4, 5, 6);
    t->getEdgeInfo(fixed(0.5), &p, nullptr);
    EXPECT_NEAR(double(p.x), -1, 0);
    t->moveToAbsolute(7, 7);
    t->lineToAbsolute(7, 7);
    t->closePath();
    t->getEdgeInfo(fixed(0.5), &p, nullptr);
    EXPECT_NEAR(double(p.x), -1, 0);

    t->beginPath();
    t->moveToAbsolute(0, 0);
    for (const int corner : {1, 2, 3, 4})
        t->lineToAbsolute(corner == 1 || corner == 2 ? 10 : 0, corner == 2 || corner == 3 ? 10 : 0);
    t->closePath(); // it is closed already
    EXPECT_EQ(countEdges(), 4);
    t->lineToRelative(0, -5); // goes on from the start
    KxcVector2 d;
    t->getEdgeInfo(fixed(1), &p, &d);
    EXPECT_NEAR(double(p.y), -5, 0);
}

TEST_F(Path, TellsPlacesByTheirPartOfTheLength)
{
    t->moveToAbsolute(0, 0);
    t->lineToAbsolute(1, 0);
    t->lineToAbsolute(1, 3);
    KxcVector2 p, d;
    const struct
    {
        double t, x, y, dx, dy;
    } cases[] = {{-1, 0, 0, 1, 0}, {0, 0, 0, 1, 0}, {0.125, 0.5, 0, 1, 0}, {0.5, 1, 1, 0, 3}, {2, 1, 3, 0, 3}};
    for (const auto& c : cases)
    {
        t->getEdgeInfo(fixed(c.t), &p, &d);
        EXPECT_NEAR(double(p.x), c.x, 0.001) << c.t;
        EXPECT_NEAR(double(p.y), c.y, 0.001) << c.t;
        EXPECT_NEAR(double(d.x), c.dx, 0) << c.t;
        EXPECT_NEAR(double(d.y), c.dy, 0) << c.t;
    }
}

TEST_F(Path, DrawsTheSameAgainUntilANewOneBegins)
{
    canvas.add({{10, 10}, {50, 10}, {50, 50}}, false); // left open: filling closes it for itself
    t->endPath();
    const std::vector<UINT32> once = canvas.pixels();
    canvas.surface->clear(0xFF000000);
    t->endPath();
    EXPECT_EQ(canvas.pixels(), once);
    EXPECT_NEAR(canvas.area(), 800, 8);
}

TEST_F(Path, ReachesFarOutsideAndIsRightInside)
{
    // A band across the canvas, its ends as far away as numbers go, magnified up to where 16.16 ends long before.
    for (const double scale : {1.0, 60.0, 3000.0})
    {
        canvas.surface->clear(0xFF000000);
        t->setTransformation(matrix(scale, 0, 0, scale, 64, 64));
        t->beginPath();
        const double half = std::max(20 / scale, 1 / 256.0), far = 30000;
        canvas.add({{-far, -far - half}, {far, far - half}, {far, far + half}, {-far, -far + half}});
        t->endPath();
        for (int i = 8; i < 120; i += 8)
            EXPECT_EQ(canvas.coverage(i, i), 255) << scale << ", " << i;
        if (half * scale < 30)
        {
            EXPECT_EQ(canvas.coverage(100, 30), 0) << scale;
            EXPECT_EQ(canvas.coverage(30, 100), 0) << scale;
        }
    }
}

TEST_F(Path, DrawsWithoutHarmWhateverItIsGiven)
{
    // Any order of commands and any numbers, with every join, cap and dash
    UINT32 state = 1;
    const auto next = [&] { return state = state * 1664525 + 1013904223, state >> 8; };
    const auto number = [&]
    {
        static constexpr INT32 kExtremes[] = {0, 1, -1, INT32_MAX, INT32_MIN, 0x10000, 0x7FFF0000, -0x7FFF0000};
        return KxcFixed::fromRaw(next() % 3 ? static_cast<INT32>(next() % (300 << 16)) : kExtremes[next() % 8]);
    };
    const auto point = [&] { return KxcVector2{number(), number()}; };
    for (int round = 0; round < 400; ++round)
    {
        const KxcFixed dashes[3] = {number(), number(), number()};
        t->setDashArray(dashes, static_cast<INT32>(next() % 4));
        t->setDashOffset(number());
        t->setStrokeColor(0xFFFFFF);
        t->setStrokeWidth(number());
        t->setLineCap(static_cast<INT32>(next() % 4));
        t->setLineJoin(static_cast<INT32>(next() % 4));
        t->setMiterLimit(number());
        t->setAntialiasing(next() % 4 != 0);
        const KxcFixed one(1), zero(0);
        KxcMatrix3 m = {{{number(), number(), zero}, {number(), number(), zero}, {number(), number(), one}}};
        t->setTransformation(next() % 2 ? m : matrix(1, 0, 0, 1, 0, 0));
        t->beginPath();
        for (UINT32 commands = next() % 12; commands > 0; --commands)
            switch (next() % 8)
            {
            case 0:
                t->moveToAbsolute(point());
                break;
            case 1:
                t->curveToRelative(point(), point(), point());
                break;
            case 2:
                t->smoothQuadraticCurveToAbsolute(point());
                break;
            case 3:
                t->ellipticalArcAbsolute(point(), number(), next(), point());
                break;
            case 4:
                t->closePath();
                break;
            case 5:
                t->horizontalLineToRelative(number());
                break;
            default:
                t->lineToAbsolute(point());
            }
        t->endPath();
    }
}

TEST_F(Path, NeedsATargetALockAndARenderer)
{
    canvas.add({{10, 10}, {50, 10}, {50, 50}});
    t->setRenderer(nullptr);
    t->endPath();
    t->setRenderer(canvas.draw);
    void* pixels;
    canvas.surface->lock(&pixels, 0, 0);
    t->endPath();
    canvas.surface->unlock();
    t->setRenderTarget(nullptr);
    t->endPath();
    EXPECT_EQ(canvas.area(), 0);
    EXPECT_EQ(t->getRenderTarget(), nullptr);
}

} // namespace
