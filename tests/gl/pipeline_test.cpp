// pipeline_test.cpp - states, transformation, lighting, clipping, culling, sorting and sprites, seen through fillers
// that write down what they are given.
#include "gl/device.h"
#include "support/engine.h"
#include "support/failing_new.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace
{

struct Drawn
{
    KxcVector4 corners[3];
    KxcGLTriangle::Corners data;
};
std::vector<Drawn> g_drawn;

void record(const KxcGLTriangle* triangle, const KxcVector4* vertices)
{
    Drawn drawn = {{}, triangle->corners};
    for (int i = 0; i < 3; ++i)
        drawn.corners[i] = vertices[triangle->corners.vertex[i]];
    g_drawn.push_back(drawn);
}

struct Vertex
{
    KxcFixed x, y, z, nx, ny, nz;
    UINT32 color;
    KxcFixed u, v;
};
constexpr INT32 kFormat = KXCGLVERTEX_POSITION | KXCGLVERTEX_NORMAL | KXCGLVERTEX_COLOR | KXCGLVERTEX_TEXTURE1;

Vertex at(double x, double y, double z, UINT32 color = 0, double u = 0, double v = 0)
{
    return {KxcFixed(x), KxcFixed(y), KxcFixed(z), KxcFixed(0), KxcFixed(0),
            KxcFixed(1), color,       KxcFixed(u), KxcFixed(v)};
}

struct Pipeline : testing::Test
{
    Pipeline() : engine(200, 100), gl(KxcGL::create(100, 0))
    {
        for (auto& row : kxcCore->fillers)
            for (auto& column : row)
                for (KxcGLFiller& filler : column)
                    filler = record;
        gl->setViewport({0, 0, 200, 100, 7, 8});
        gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NONE);
        gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GOURAUD);
        // clip w = view z, clip z from 0 at z = 1 to w far away
        KxcMatrix4 projection = {};
        projection.m[0][0] = projection.m[1][1] = projection.m[2][2] = projection.m[2][3] = KxcFixed(1);
        projection.m[3][2] = KxcFixed(-1);
        gl->setMatrix(KXCGLMATRIX_PROJECTION, projection);
    }
    /// Renders vertices as one frame. @return what was drawn, in that order
    const std::vector<Drawn>& frame(const std::vector<Vertex>& vertices, INT32 type = KXCGLPRIMITIVE_LIST,
                                    bool optimized = false, KxcGLTriangleInfoBuffer* info = nullptr)
    {
        const INT32 count = INT32(vertices.size());
        const std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), count));
        std::memcpy(buffer->lock(0), vertices.data(), vertices.size() * sizeof(Vertex));
        EXPECT_EQ(optimized ? buffer->optimize() : 0, 0);
        g_drawn.clear();
        gl->beginRender();
        EXPECT_EQ(gl->renderPrimitive(buffer.get(), type, 0, count, 0, count - 1, info), 0);
        gl->endRender();
        return g_drawn;
    }
    Engine engine;
    std::unique_ptr<KxcGL> gl;
};

void expectNear(KxcFixed actual, double expected, double tolerance = 0.02)
{
    EXPECT_NEAR(static_cast<double>(actual), expected, tolerance);
}

} // namespace

TEST_F(Pipeline, StatesKeepTheirFormsAndRefuseWhatTheyDoNotTake)
{
    INT32 i = -1;
    KxcFixed f(-1);
    const struct
    {
        INT32 id, value, status;
    } sets[] = {{3, 5, -2}, {3, 8, 0},  {5, 0, -2},  {5, 10, 0},  {6, 11, -2}, {7, 2, -2}, {7, 16, 0},
                {13, 7, 0}, {15, 7, 0}, {17, 0, -3}, {-1, 0, -3}, {2, 99, 0},  {0, -5, 0}};
    for (const auto& set : sets)
        EXPECT_EQ(gl->setStateI(set.id, set.value), set.status) << set.id << " = " << set.value;
    EXPECT_EQ(gl->setStateF(7, KxcFixed(8.5)), 0) << "the whole part counts";
    EXPECT_EQ(gl->setStateF(3, KxcFixed(7.9)), -2);
    EXPECT_EQ(gl->getStateF(7, f), 0);
    EXPECT_EQ(f, KxcFixed(8));
    EXPECT_EQ(gl->getStateI(13, i), -3);
    EXPECT_EQ(gl->setStateI(12, 5), 0);
    EXPECT_EQ(gl->getStateI(12, i), 0);
    EXPECT_EQ(i, 5);
    gl->getStateF(12, f);
    EXPECT_EQ(f, KxcFixed(5));
    gl->setStateF(12, KxcFixed(0.5));
    gl->getStateF(12, f);
    EXPECT_EQ(f, KxcFixed(0.5));
    gl->getStateF(16, f);
    EXPECT_EQ(f, KxcFixed(9999));
    gl->setStateI(16, 20);
    gl->getStateF(16, f);
    EXPECT_EQ(f, KxcFixed(20));
    KxcGLLight light = {};
    EXPECT_EQ(gl->setLight(8, light) + gl->getLight(-1, light) + gl->enableLight(8, 1), -9);
    EXPECT_EQ(gl->getLight(7, light), 0);
    EXPECT_EQ(light.colour[2], KxcFixed(1));
    KxcGLMaterial material;
    gl->getMaterial(material);
    EXPECT_EQ(material.diffuse, 0x00FFFFFFu);
    KxcGLViewport viewport;
    gl->getViewport(viewport);
    EXPECT_EQ(viewport.extra2, 8);
    KxcMatrix4 m;
    EXPECT_EQ(gl->getMatrix(4, m), -3);
    EXPECT_EQ(gl->validateBlendMode(5, 6), 0);
    EXPECT_EQ(gl->validateBlendMode(5, 1), -2);
    EXPECT_EQ(gl->getTexture(), nullptr);
}

TEST_F(Pipeline, BlendStatesPickTheRowAndShadingTheSlot)
{
    static int picked;
    const auto mark = [](INT32 row, INT32 slot, KxcGLFiller filler) { kxcCore->fillers[row][0][slot] = filler; };
    mark(0, 2, [](const KxcGLTriangle*, const KxcVector4*) { picked = 2; });
    mark(1, 2, [](const KxcGLTriangle*, const KxcVector4*) { picked = 12; });
    mark(2, 7, [](const KxcGLTriangle*, const KxcVector4*) { picked = 27; });
    mark(3, 1, [](const KxcGLTriangle*, const KxcVector4*) { picked = 31; });
    const auto draw = [this]
    {
        picked = 0;
        frame({at(0, 0, 5), at(1, 0, 5), at(0, 1, 5)});
        return picked;
    };
    EXPECT_EQ(draw(), 2);
    gl->setStateI(5, 5);
    EXPECT_EQ(draw(), 2) << "not a supported pair";
    gl->setStateI(6, 6);
    EXPECT_EQ(draw(), 2) << "blending is off";
    gl->setStateI(4, 1);
    EXPECT_EQ(draw(), 12);
    gl->setStateI(6, 2);
    EXPECT_EQ(draw(), 2) << "no fillers for this pair";
    EXPECT_EQ(gl->setTexture(nullptr), 0);
    EXPECT_EQ(draw(), 12) << "the row of the last supported pair";
    gl->setStateI(5, 2);
    gl->setStateI(2, KXCGLSHADE_GREYSCALEGOURAUD);
    gl->setStateI(8, 1);
    EXPECT_EQ(draw(), 27);
    gl->setStateI(16, 4);
    EXPECT_EQ(draw(), 0) << "too far for perspective correction: the affine slot, which only records";
    gl->setStateI(5, 1);
    gl->setStateI(6, 4);
    gl->setStateI(2, KXCGLSHADE_FLAT);
    EXPECT_EQ(draw(), 31);
    g_drawn.clear();
    gl->setStateI(2, 3);
    EXPECT_EQ(draw() + int(g_drawn.size()), 0) << "an unknown shading draws nothing";
}

TEST_F(Pipeline, VerticesAreProjectedIntoTheViewportFromEitherLayout)
{
    gl->setViewport({10, 20, 100, 50, 0, 0});
    for (bool optimized : {false, true})
    {
        const auto& drawn = frame({at(0, 0, 4, 0xFF112233, 0.25, 0.5), at(4, 0, 4, 2, 3, 4), at(0, 2, 4, 5, 6, 7)},
                                  KXCGLPRIMITIVE_LIST, optimized);
        ASSERT_EQ(drawn.size(), 1u);
        expectNear(drawn[0].corners[0].x, 60);
        expectNear(drawn[0].corners[0].y, 45);
        expectNear(drawn[0].corners[1].x, 110);
        expectNear(drawn[0].corners[2].y, 45 - 12.5);
        EXPECT_EQ(drawn[0].corners[0].w, KxcFixed(4));
        EXPECT_EQ(drawn[0].corners[0].z, KxcFixed(3));
        EXPECT_EQ(drawn[0].data.color[0], 0xFF112233u);
        EXPECT_EQ(drawn[0].data.u[1], KxcFixed(3));
        EXPECT_EQ(drawn[0].data.v[2], KxcFixed(7));
    }
    gl->setStateI(KXCGLSTATE_ORTHOGRAPHIC, 1);
    gl->setStateI(KXCGLSTATE_PERSPECTIVE, 1);
    const auto& drawn = frame({at(0.5, 0.5, 4), at(1, 0, 4), at(0, 1, 4)});
    expectNear(drawn[0].corners[0].x, 85);
    EXPECT_EQ(drawn[0].data.perspective, 0);
}

TEST_F(Pipeline, ListsStripsAndFansWalkTheirTriangles)
{
    std::vector<Vertex> five;
    for (int i = 0; i < 5; ++i)
        five.push_back(at(std::cos(i), std::sin(i), 5, UINT32(i)));
    const auto walked = [&](INT32 type)
    {
        std::string text;
        gl->setStateI(KXCGLSTATE_SORTING, KXCGLSORT_NONE);
        for (const Drawn& d : frame(five, type))
            text += std::to_string(d.data.color[0]) + std::to_string(d.data.color[1]) +
                    std::to_string(d.data.color[2]) + " ";
        return text;
    };
    EXPECT_EQ(walked(KXCGLPRIMITIVE_LIST), "012 ");
    EXPECT_EQ(walked(KXCGLPRIMITIVE_STRIP), "012 321 234 ");
    EXPECT_EQ(walked(KXCGLPRIMITIVE_FAN), "012 023 034 ");

    const std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), 5));
    std::memcpy(buffer->lock(0), five.data(), sizeof(Vertex) * 5);
    const UINT16 indices[] = {0, 1, 2, 2, 3, 4, 0, 1, 60000};
    g_drawn.clear();
    gl->beginRender();
    EXPECT_EQ(gl->renderPrimitiveIndexed(buffer.get(), 1, 0, indices, 9, 0, 4, nullptr), 0);
    EXPECT_EQ(gl->renderPrimitiveIndexed(buffer.get(), 1, 1, indices, 6, 0, 3, nullptr), 0);
    EXPECT_EQ(gl->renderPrimitiveIndexed(buffer.get(), 1, INT32_MAX, indices, 9, INT32_MIN, INT32_MAX, nullptr), 0);
    EXPECT_EQ(gl->renderPrimitive(buffer.get(), 1, 0, 3, 3, 1, nullptr), 0);
    EXPECT_EQ(gl->renderPrimitive(buffer.get(), 2, 0, 2, 0, 4, nullptr), 0);
    EXPECT_EQ(gl->renderPrimitive(buffer.get(), 5, 0, 3, 0, 4, nullptr), -3);
    EXPECT_EQ(gl->renderPrimitive(nullptr, 1, 0, 3, 0, 4, nullptr), -2);
    gl->endRender();
    EXPECT_EQ(g_drawn.size(), 3u) << "two inside the buffer, one of the second call inside min to max";
}

TEST_F(Pipeline, CullingDropsOneWindingAndTriangleInfoCountsTheDropped)
{
    const std::vector<Vertex> both = {at(0, 0, 5, 1), at(1, 0, 5, 1), at(0, 1, 5, 1),
                                      at(0, 0, 5, 2), at(0, 1, 5, 2), at(1, 0, 5, 2)};
    const std::unique_ptr<KxcGLTriangleInfoBuffer> info(
        KxcGLTriangleInfoBuffer::create(KXCGLTRIANGLEINFO_COLORS | KXCGLTRIANGLEINFO_TEXTURE, 40, 2));
    ASSERT_TRUE(info);
    EXPECT_FALSE(KxcGLTriangleInfoBuffer::create(7, 47, 1));
    UINT32* words = static_cast<UINT32*>(info->lock());
    for (UINT32 i = 0; i < 20; ++i)
        words[i] = 100 + i;
    gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NEGATIVE);
    ASSERT_EQ(frame(both).size(), 1u);
    const UINT32 kept = g_drawn[0].data.color[0];
    gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_POSITIVE);
    ASSERT_EQ(frame(both).size(), 1u);
    EXPECT_EQ(g_drawn[0].data.color[0] + kept, 3u);
    gl->setStateI(KXCGLSTATE_CULLING, kept == 2 ? KXCGLCULL_NEGATIVE : KXCGLCULL_POSITIVE);
    ASSERT_EQ(frame(both, KXCGLPRIMITIVE_LIST, false, info.get()).size(), 1u);
    EXPECT_EQ(g_drawn[0].data.color[1], 111u);
    EXPECT_EQ(g_drawn[0].data.u[2].raw(), 115);
    EXPECT_EQ(g_drawn[0].data.v[0].raw(), 116);
    gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NONE);
    EXPECT_EQ(frame({at(0, 0, 5), at(1, 1, 5), at(2, 2, 5)}).size(), 1u);
}

TEST_F(Pipeline, SortsByDepthBiasAndSubmission)
{
    std::vector<Vertex> many;
    for (int i = 0; i < 700; ++i) // more than the queue has room for at first
        for (int corner = 0; corner < 3; ++corner)
            many.push_back(at(corner, corner == 2, 3 + (i * 37 % 100), UINT32(i)));
    const auto depth = [](const Drawn& d) { return d.corners[0].w; };
    for (INT32 order : {INT32(KXCGLSORT_FARFIRST), INT32(KXCGLSORT_NEARFIRST), INT32(KXCGLSORT_NONE)})
    {
        gl->setStateI(KXCGLSTATE_SORTING, order);
        ASSERT_EQ(frame(many).size(), 700u);
        for (size_t i = 1; i < 700; ++i)
        {
            const KxcFixed before = depth(g_drawn[i - 1]), after = depth(g_drawn[i]);
            if (order == KXCGLSORT_NONE)
                ASSERT_EQ(g_drawn[i].data.color[0], i);
            else if (before == after)
                ASSERT_LT(g_drawn[i - 1].data.color[0], g_drawn[i].data.color[0]) << "equal keys keep their order";
            else
                ASSERT_EQ(before > after, order == KXCGLSORT_FARFIRST);
        }
    }
    const std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), 3));
    std::memcpy(buffer->lock(0), many.data(), 3 * sizeof(Vertex));
    gl->setStateI(KXCGLSTATE_SORTING, KXCGLSORT_NEARFIRST);
    g_drawn.clear();
    gl->beginRender();
    for (INT32 bias : {30, -30, 0})
    {
        gl->setStateI(KXCGLSTATE_SORTBIAS, bias);
        gl->setStateI(KXCGLSTATE_SHADING, bias == 30 ? KXCGLSHADE_FLAT : KXCGLSHADE_GOURAUD);
        gl->renderPrimitive(buffer.get(), 1, 0, 3, 0, 2, nullptr);
    }
    gl->endRender();
    ASSERT_EQ(g_drawn.size(), 3u);
    EXPECT_EQ(g_drawn[2].data.vertex[0], 0) << "the first submitted has the largest bias";
    EXPECT_EQ(g_drawn[0].data.vertex[0], 3);
}

TEST_F(Pipeline, ClipsAtEveryPlaneWithoutSeamsAndInterpolates)
{
    EXPECT_EQ(frame({at(20, 0, 5), at(30, 0, 5), at(25, 5, 5)}).size(), 0u) << "beyond one plane";
    ASSERT_EQ(
        frame({at(0, 1, 5, 0xFF000000, 0, 0), at(0, -1, 5, 0xFF000000, 0, 0), at(0, 0, 0, 0xFFFFFFFF, 1, 1)}).size(),
        2u)
        << "the near plane makes a quadrilateral";
    for (const Drawn& d : g_drawn)
        for (int i = 0; i < 3; ++i)
        {
            const double w = double(d.corners[i].w), part = (5 - w) / 5;
            EXPECT_GE(w, 1 - 0.001);
            EXPECT_NEAR(double(d.data.u[i]), part, 0.001);
            EXPECT_NEAR(double(d.data.color[i] & 255), part * 255, 1.01);
        }
    // two triangles that share an edge crossing the left plane, walked in opposite directions
    const Vertex a = at(-9, 1.3, 5.1, 0x10203040, 0.1, 0.2), b = at(1.7, -2.2, 6.3, 0xF0E0D0C0, 0.9, 0.7);
    frame({a, b, at(-9, 3, 5), b, a, at(-9, -3, 5)});
    std::vector<std::pair<INT32, INT32>> onEdge;
    for (const Drawn& d : g_drawn)
        for (int i = 0; i < 3; ++i)
            if (d.corners[i].x == KxcFixed(0))
                onEdge.emplace_back(d.corners[i].y.raw(), INT32(d.data.color[i]));
    std::sort(onEdge.begin(), onEdge.end());
    EXPECT_GE(onEdge.size(), 4u);
    EXPECT_NE(std::adjacent_find(onEdge.begin(), onEdge.end()), onEdge.end()) << "the same point from either side";
    // whatever the size, what comes out lies in the viewport
    UINT32 seed = 1;
    const auto random = [&seed] { return (seed = seed * 1664525u + 1013904223u) >> 8 & 0xFFFF; };
    for (int i = 0; i < 3000; ++i)
    {
        std::vector<Vertex> wild;
        for (int corner = 0; corner < 3; ++corner)
            wild.push_back(
                at(int(random() % 400) - 200, int(random() % 400) - 200, int(random() % 100) - 30, random() * 65537));
        for (const Drawn& d : frame(wild))
            for (const KxcVector4& c : d.corners)
                ASSERT_TRUE(c.x >= KxcFixed(-1) && c.x <= KxcFixed(201) && c.y >= KxcFixed(-1) && c.y <= KxcFixed(101))
                    << double(c.x) << ", " << double(c.y);
    }
}

TEST_F(Pipeline, FramesAllocateUntilTheirArraysHaveGrown)
{
    constexpr INT32 kVertices = 3000;
    const std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), kVertices));
    for (INT32 i = 0; i < kVertices; ++i) // every third triangle is clipped
        static_cast<Vertex*>(buffer->lock(0))[i] = at(i % 3 - 1, i % 9 > 7 ? 9 : i % 2, 5);
    gl->setStateI(KXCGLSTATE_LIGHTING, 1);
    const auto render = [&]
    {
        g_drawn.clear();
        gl->beginRender();
        const INT32 status = gl->renderPrimitive(buffer.get(), KXCGLPRIMITIVE_LIST, 0, kVertices, 0, kVertices - 1, 0);
        gl->endRender();
        return status;
    };
    INT32 failures = 0;
    size_t incomplete = 0;
    for (INT32 status = -4; status != 0; ++failures)
    {
        failAllocationAfter(failures);
        status = render();
        failAllocationAfter(-1);
        ASSERT_TRUE(status == 0 || status == -4) << status;
        incomplete = status != 0 ? std::max(incomplete, g_drawn.size()) : incomplete;
    }
    EXPECT_GT(failures, 2);
    EXPECT_GT(g_drawn.size(), std::max<size_t>(incomplete, kVertices / 3));
    takeLargestAllocation();
    EXPECT_EQ(render(), 0);
    EXPECT_EQ(takeLargestAllocation(), 0u);
}

TEST_F(Pipeline, ExtremeCoordinatesAndStatesOverflowQuietly)
{
    const INT32 extremes[] = {INT32_MIN, INT32_MIN + 1, -65536, -1, 0, 1, 65536, INT32_MAX};
    KxcMatrix4 identity = {};
    for (int i = 0; i < 4; ++i)
        identity.m[i][i] = KxcFixed(1);
    KxcMatrix4 world = identity;
    for (INT32 viewport : {100, INT32_MAX, INT32_MIN, 0})
        for (INT32 state : {0, INT32(KXCGLSTATE_LIGHTING), INT32(KXCGLSTATE_ORTHOGRAPHIC)})
        {
            gl->setViewport({viewport, viewport, viewport, viewport, 0, 0});
            gl->setStateI(0, state != 0);
            gl->setStateI(KXCGLSTATE_LIGHTING, state == KXCGLSTATE_LIGHTING);
            gl->setStateI(KXCGLSTATE_ORTHOGRAPHIC, state == KXCGLSTATE_ORTHOGRAPHIC);
            gl->enableLight(0, 1);
            KxcGLLight light = {};
            light.type = KXCGLLIGHT_POINT;
            light.range = KxcFixed::fromRaw(INT32_MAX);
            gl->setLight(0, light);
            gl->setMatrix(KXCGLMATRIX_WORLD, world);
            world.m[3][0] = KxcFixed::fromRaw(INT32_MIN);
            std::vector<Vertex> wild;
            for (INT32 x : extremes)
                for (INT32 y : extremes)
                {
                    Vertex v = at(0, 0, 0);
                    v.x = KxcFixed::fromRaw(x), v.y = KxcFixed::fromRaw(y), v.z = KxcFixed::fromRaw(x ^ y);
                    v.nx = v.x;
                    wild.push_back(v);
                }
            frame(wild, KXCGLPRIMITIVE_STRIP);
            frame(wild, KXCGLPRIMITIVE_CUSTOM);
            gl->beginRender();
            gl->drawSprite2d(wild[0].x, wild[0].y, wild[0].z, wild[7].x, wild[63].y, wild[1].x, wild[9].x, wild[20].x,
                             wild[30].x, &world, 0);
            gl->drawSprite3dBillboard(wild[0].x, wild[0].y, wild[0].z, wild[7].x, wild[63].y, wild[1].x, wild[9].x,
                                      wild[20].x, wild[30].x, &world, 0);
            gl->endRender();
        }
}

TEST_F(Pipeline, LightsAddUpAsMaterialAndDistanceSay)
{
    gl->setStateI(KXCGLSTATE_LIGHTING, 1);
    gl->setStateI(KXCGLSTATE_AMBIENT, 0x00800000);
    gl->setMaterial({0x40FFFFFF, 0, 0x00FF0000, 0x00000008, 0});
    const std::vector<Vertex> facing = {at(0, 0, 5), at(1, 0, 5), at(0, 1, 5)}; // normals are (0, 0, 1)
    const auto color = [&] { return frame(facing)[0].data.color[0]; };
    EXPECT_EQ(color(), 0x407F0008u) << "ambient and emissive alone";
    KxcGLLight sun = {};
    sun.type = KXCGLLIGHT_DIRECTIONAL;
    sun.colour[1] = KxcFixed(0.5);
    sun.direction = {KxcFixed(0), KxcFixed(0), KxcFixed(1)};
    gl->setLight(3, sun);
    EXPECT_EQ(color(), 0x407F0008u) << "not enabled";
    gl->enableLight(3, 1);
    EXPECT_EQ(color(), 0x407F7F08u);
    sun.direction.z = KxcFixed(-1);
    gl->setLight(3, sun);
    EXPECT_EQ(color(), 0x407F0008u) << "from behind";
    KxcMatrix4 turn = {};
    turn.m[0][0] = turn.m[3][3] = KxcFixed(1);
    turn.m[1][1] = turn.m[2][2] = KxcFixed(-1);
    turn.m[3][2] = KxcFixed(10);
    gl->setMatrix(KXCGLMATRIX_WORLD, turn);
    EXPECT_EQ(color(), 0x407F7F08u) << "the object turned toward it";
    gl->enableLight(3, 2);
    KxcMatrix4 identity = {};
    for (int i = 0; i < 4; ++i)
        identity.m[i][i] = KxcFixed(1);
    gl->setMatrix(KXCGLMATRIX_WORLD, identity);

    KxcGLLight lamp = {};
    lamp.type = KXCGLLIGHT_POINT;
    lamp.colour[2] = KxcFixed(1);
    lamp.position = {KxcFixed(0), KxcFixed(0), KxcFixed(5)};
    lamp.range = KxcFixed(10);
    gl->setLight(0, lamp);
    gl->enableLight(0, 1);
    EXPECT_EQ(color(), 0x407F00FFu) << "at the vertex itself: not weighted";
    lamp.position.z = KxcFixed(1);
    lamp.attenuation[0] = KxcFixed(0.125); // 4 away, divided by 64: 1/16 by 1/8
    gl->setLight(0, lamp);
    EXPECT_EQ(color(), 0x407F0087u);
    lamp.range = KxcFixed(3.9);
    gl->setLight(0, lamp);
    EXPECT_EQ(color(), 0x407F0008u) << "out of range";
    lamp.range = KxcFixed(150);
    lamp.position.z = KxcFixed(-30000);
    gl->setLight(0, lamp);
    EXPECT_EQ(color(), 0x407F0008u) << "so far that its square does not fit";
}

TEST_F(Pipeline, CustomItemsAndPretransformedVerticesKeepTheirPlaces)
{
    struct Log : KxcGLCustomRenderCallback
    {
        void render(const KxcGLCustomItem* item, INT32 data) override { items.emplace_back(*item, data); }
        std::vector<std::pair<KxcGLCustomItem, INT32>> items;
    } log;
    gl->setCustomCallback(&log);
    gl->setCustomCallbackData(42);
    frame({at(0, 0, 3, 0xFF000001), at(0, 0, 9, 0xFF000002), at(50, 0, 5, 0xFF000003)}, KXCGLPRIMITIVE_CUSTOM);
    ASSERT_EQ(log.items.size(), 3u);
    EXPECT_EQ(log.items[0].first.color, 0xFF000002u) << "the farthest first";
    EXPECT_EQ(log.items[0].second, 42);
    expectNear(log.items[0].first.x, 100);
    EXPECT_GT(double(log.items[1].first.x), 1000) << "outside the view, and not drawn to its edge";

    struct Flat
    {
        KxcFixed x, y, z, rhw;
        UINT32 color;
    };
    const std::unique_ptr<KxcGLVertexBuffer> buffer(
        KxcGLVertexBuffer::create(KXCGLVERTEX_POSITION | KXCGLVERTEX_RECIPROCALW | KXCGLVERTEX_COLOR, sizeof(Flat), 3));
    Flat* flat = static_cast<Flat*>(buffer->lock(0));
    for (INT32 i = 0; i < 3; ++i)
        flat[i] = {KxcFixed(1000 + i), KxcFixed(-7), KxcFixed(0), KxcFixed(i + 1), UINT32(i)};
    g_drawn.clear();
    gl->beginRender();
    EXPECT_EQ(gl->renderPrimitive(buffer.get(), KXCGLPRIMITIVE_CUSTOM, 0, 3, 0, 2, nullptr), -3);
    EXPECT_EQ(gl->renderPrimitive(buffer.get(), KXCGLPRIMITIVE_LIST, 0, 3, 0, 2, nullptr), 0);
    gl->endRender();
    ASSERT_EQ(g_drawn.size(), 1u);
    EXPECT_EQ(g_drawn[0].corners[2].x, KxcFixed(1002));
    EXPECT_EQ(g_drawn[0].corners[2].w, KxcFixed(3));
}

TEST_F(Pipeline, SpritesAreCutAtTheViewportOrThePlanes)
{
    const auto sprite2d = [this](double x, double y, double w, double h)
    {
        g_drawn.clear();
        gl->beginRender();
        EXPECT_EQ(gl->drawSprite2d2(KxcFixed(x), KxcFixed(y), KxcFixed(1), KxcFixed(w), KxcFixed(h), KxcFixed(0),
                                    KxcFixed(0), KxcFixed(1), KxcFixed(1), nullptr, 0x11223344),
                  0);
        gl->endRender();
        KxcFixed right(-1000);
        for (const Drawn& d : g_drawn)
            for (const KxcVector4& c : d.corners)
                right = c.x > right ? c.x : right;
        return double(right);
    };
    EXPECT_EQ(sprite2d(0, 0, 16, 8), 16);
    ASSERT_EQ(g_drawn.size(), 2u);
    EXPECT_EQ(g_drawn[1].data.color[2], 0x11223344u);
    EXPECT_EQ(sprite2d(190, 0, 20, 8), 199) << "cut at the last column";
    for (const Drawn& d : g_drawn)
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(double(d.data.u[i]), (double(d.corners[i].x) - 190) / 20, 0.001);
    EXPECT_EQ(sprite2d(-30, 0, 20, 8), -1000);

    const auto corners3d = [this](bool billboard)
    {
        g_drawn.clear();
        gl->beginRender();
        const auto draw = billboard ? &KxcGL::drawSprite3dBillboard : &KxcGL::drawSprite3d;
        (gl.get()->*draw)(KxcFixed(0), KxcFixed(0), KxcFixed(0), KxcFixed(2), KxcFixed(2), KxcFixed(0), KxcFixed(0),
                          KxcFixed(1), KxcFixed(1), nullptr, 1);
        gl->endRender();
        return g_drawn.size();
    };
    KxcMatrix4 view = {}; // looks along x, five away
    view.m[0][2] = view.m[1][1] = view.m[3][3] = KxcFixed(1);
    view.m[2][0] = KxcFixed(-1);
    view.m[3][2] = KxcFixed(5);
    gl->setMatrix(KXCGLMATRIX_VIEW, view);
    EXPECT_EQ(corners3d(true), 2u);
    for (const Drawn& d : g_drawn)
        for (const KxcVector4& c : d.corners)
            expectNear(c.w, 6);
    EXPECT_GT(corners3d(false), 0u);
    KxcFixed least(100), most(0);
    for (const Drawn& d : g_drawn)
        for (const KxcVector4& c : d.corners)
            least = c.w < least ? c.w : least, most = c.w > most ? c.w : most;
    expectNear(most - least, 2);
}

TEST_F(Pipeline, WireframeDrawsEdgesInTheFirstColour)
{
    gl->setStateI(KXCGLSTATE_WIREFRAME, 1);
    gl->clear(0, KxcFixed(0), 0);
    frame({at(-1, -1, 2, 0x00FF0000), at(1, -1, 2, 0x0000FF00), at(-1, 1, 2, 0x000000FF)});
    EXPECT_TRUE(g_drawn.empty());
    void* pixels;
    gl->getSecondary()->lock(&pixels, 0, KXCLOCK_READONLY);
    const UINT16* p = static_cast<UINT16*>(pixels);
    EXPECT_EQ(p[50 * 200 + 50], 0xF800);
    EXPECT_EQ(p[75 * 200 + 100], 0xF800);
    EXPECT_EQ(p[60 * 200 + 60], 0) << "not filled";
    gl->getSecondary()->unlock();
}

TEST(VertexBuffer, LaysOutItsComponentsAndRefusesTooSmallStrides)
{
    Engine engine;
    std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(0x1 | 0x4 | 0x8 | 0x20, 36, 10));
    EXPECT_EQ(buffer->offsetOf(KXCGLVERTEX_NORMAL), 12);
    EXPECT_EQ(buffer->offsetOf(KXCGLVERTEX_COLOR), 24);
    EXPECT_EQ(buffer->offsetOf(KXCGLVERTEX_TEXTURE1), 28);
    EXPECT_EQ(buffer->offsetOf(KXCGLVERTEX_TEXTURE2), -1);
    EXPECT_NE(buffer->lock(0), nullptr);
    EXPECT_EQ(buffer->optimize() | buffer->optimize() | buffer->unlock(), 0);
    EXPECT_EQ(buffer->lock(0), nullptr);
    buffer.reset(KxcGLVertexBuffer::create(0x2 | 0x8, 8, 3));
    EXPECT_EQ(buffer->offsetOf(KXCGLVERTEX_RECIPROCALW), 0);
    EXPECT_EQ(buffer->offsetOf(KXCGLVERTEX_COLOR), 4);
    EXPECT_EQ(KxcGLVertexBuffer::create(1, 11, 3), nullptr);
    EXPECT_EQ(KxcGLVertexBuffer::create(1, 12, -1), nullptr);
    EXPECT_EQ(KxcGLVertexBuffer::create(1, INT32_MAX, INT32_MAX), nullptr);
    buffer.reset(KxcGLVertexBuffer::create(1, 12, 0));
    EXPECT_EQ(buffer->optimize(), 0);
}
