// golden_renderer_test.cpp - frames in three dimensions, as every device presents them.
#include "gl/filler_support.h"
#include "golden/golden.h"

#include <kxcoreemb/gl_fillers.h>

namespace
{

constexpr INT32 kWidth = 160, kHeight = 120;
constexpr INT32 kColumns = 16, kRows = 10;

struct Vertex
{
    KxcVector3 position, normal;
    UINT32 color;
    KxcFixed u, v;
};
constexpr INT32 kFormat = KXCGLVERTEX_POSITION | KXCGLVERTEX_NORMAL | KXCGLVERTEX_COLOR | KXCGLVERTEX_TEXTURE1;

struct GoldenRenderer : testing::Test, KxcRenderer
{
    GoldenRenderer()
    {
        KxcCore::setRenderer(this);
        kxcUseGLDefault();
        useDevice(1);
    }
    ~GoldenRenderer() override { KxcCore::setRenderer(nullptr); }

    void useDevice(UINT32 id, UINT32 flags = 0)
    {
        gl.reset();
        gl.reset(KxcGL::create(id, flags));
        ASSERT_TRUE(gl);
        kxcGLUseDefaults();
        width = KxcCore::getDeviceWidth(), height = KxcCore::getDeviceHeight();
        gl->setViewport({0, 0, width, height, 0, 0});
        KxcMatrix4 m;
        gl->setMatrix(KXCGLMATRIX_PROJECTION,
                      KxcMath::matrixToProjection(m, height, width, KxcFixed(1), KxcFixed(1), 60));
        gl->setStateI(KXCGLSTATE_CLIPPING, 1);
        gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NONE);
        gl->setStateI(KXCGLSTATE_SORTING, KXCGLSORT_FARFIRST);
        shade(KXCGLSHADE_GOURAUD, nullptr, 0);
        gl->clear(0x304050, KxcFixed(0), 0);
    }
    void shade(INT32 shading, KxcGLTexture* texture, INT32 blend)
    {
        constexpr INT32 kFactors[][2] = {{KXCGLFACTOR_ONE, KXCGLFACTOR_ZERO},
                                         {KXCGLFACTOR_SOURCEALPHA, KXCGLFACTOR_INVSOURCEALPHA},
                                         {KXCGLFACTOR_ONE, KXCGLFACTOR_ONE},
                                         {KXCGLFACTOR_ZERO, KXCGLFACTOR_INVSOURCECOLOR}};
        gl->setStateI(KXCGLSTATE_SHADING, shading);
        gl->setStateI(KXCGLSTATE_BLENDING, blend != 0);
        gl->setStateI(KXCGLSTATE_SOURCEBLEND, kFactors[blend][0]);
        gl->setStateI(KXCGLSTATE_DESTBLEND, kFactors[blend][1]);
        gl->setTexture(texture);
    }
    /// A ball, and how often its texture goes round.
    void ball(INT32 x, INT32 y, INT32 z, INT32 radius, INT32 repeats, bool optimized = false)
    {
        Noise noise;
        const std::unique_ptr<KxcGLVertexBuffer> buffer(
            KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), (kColumns + 1) * (kRows + 1)));
        Vertex* vertex = static_cast<Vertex*>(buffer->lock(0));
        for (INT32 row = 0; row <= kRows; ++row)
            for (INT32 column = 0; column <= kColumns; ++column, ++vertex)
            {
                const KxcFixed down = KxcFixed::fromRaw(205887 * row / kRows);        // pi
                const KxcFixed round = KxcFixed::fromRaw(411775 * column / kColumns); // 2 pi
                vertex->normal = {KxcMath::sin(down) * KxcMath::cos(round), KxcMath::cos(down),
                                  KxcMath::sin(down) * KxcMath::sin(round)};
                vertex->position = {vertex->normal.x * radius, vertex->normal.y * radius, vertex->normal.z * radius};
                vertex->color = noise.next();
                vertex->u = KxcFixed(repeats * column) / kColumns, vertex->v = KxcFixed(repeats * row) / kRows;
            }
        buffer->unlock();
        if (optimized)
            buffer->optimize();
        KxcMatrix4 world;
        KxcMath::matrixRotateX(KxcMath::matrixTranslation(world, {x, y, z}), KxcFixed(1));
        gl->setMatrix(KXCGLMATRIX_WORLD, world);
        for (INT32 row = 0; row < kRows; ++row)
        {
            UINT16 strip[2 * (kColumns + 1)];
            for (INT32 i = 0; i < 2 * (kColumns + 1); ++i)
                strip[i] = static_cast<UINT16>((row + i % 2) * (kColumns + 1) + i / 2);
            EXPECT_EQ(gl->renderPrimitiveIndexed(buffer.get(), KXCGLPRIMITIVE_STRIP, 0, strip, 2 * (kColumns + 1), 0,
                                                 (kColumns + 1) * (kRows + 1) - 1, nullptr),
                      0);
        }
    }
    void lights()
    {
        KxcGLLight light = {};
        light.type = KXCGLLIGHT_DIRECTIONAL;
        light.colour[0] = light.colour[1] = KxcFixed::fromRaw(0xA000), light.colour[2] = KxcFixed::fromRaw(0x4000);
        light.direction = {KxcFixed::fromRaw(0x9000), KxcFixed::fromRaw(0x9000), KxcFixed::fromRaw(-0x9000)};
        gl->setLight(0, light);
        light.type = KXCGLLIGHT_POINT;
        light.colour[2] = KxcFixed(1);
        light.position = {-3, 2, 4}, light.range = KxcFixed(20);
        light.attenuation[0] = KxcFixed(1), light.attenuation[1] = light.attenuation[2] = KxcFixed::fromRaw(0x800);
        gl->setLight(1, light);
        gl->enableLight(0, 1), gl->enableLight(1, 1);
        gl->setMaterial({0xC0E0C0A0, 0, 0x00406080, 0x00100804, 0});
        gl->setStateI(KXCGLSTATE_AMBIENT, 0x00800000);
        gl->setStateI(KXCGLSTATE_LIGHTING, 1);
    }
    std::unique_ptr<KxcGLTexture> texture(INT32 format)
    {
        return std::unique_ptr<KxcGLTexture>(KxcGLTexture::create(new NoiseBuilder(64, 32, 5, format), 0));
    }
    /// Balls near and far, one of which the near plane and the screen's edges cut, sprites among them.
    void scene(INT32 shading, KxcGLTexture* picture)
    {
        gl->beginRender();
        for (INT32 blend = 0; blend < 4; ++blend)
        {
            shade(shading, picture, blend);
            for (INT32 perspective : {1, 0})
            {
                gl->setStateI(KXCGLSTATE_PERSPECTIVE, perspective);
                ball(blend * 3 - 5, perspective * 3 - 1, 9 - blend, 2, 1 + blend, perspective);
            }
        }
        ball(1, -2, 3, 3, 2);
        KxcMatrix4 turn;
        const KxcMatrix4* turned = &KxcMath::matrixRotationZ(turn, KxcFixed::fromRaw(0x8000));
        gl->drawSprite2d(40, 30, 0, 33, 21, 0, 0, 1, 1, turned, 0xC0FF8020);
        gl->drawSprite2d2(90, 20, 0, 50, 40, 0, 0, 2, 1, nullptr, 0x80208FF0);
        gl->drawSprite3d(-2, 1, 7, 3, 2, 0, 0, 1, 1, turned, 0xFFFFFFFF);
        gl->drawSprite3dBillboard(2, 1, 6, 2, 2, 0, 0, 1, 1, nullptr, 0x60FFC0A0);
        gl->endRender();
    }
    void expect(const std::string& name)
    {
        Checksum sum;
        sum.add(*gl->getSecondary());
        const UINT16* screen = reinterpret_cast<const UINT16*>(embeddedFrame());
        sum.add(screen, kWidth * kHeight);
        expectGolden(name, sum);
    }

    Engine engine{kWidth, kHeight, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; }};
    std::unique_ptr<KxcGL> gl;
    INT32 width = 0, height = 0;
};

const struct
{
    const char* name;
    INT32 shading;
} kShadings[] = {{"texture", KXCGLSHADE_TEXTURE},
                 {"flat", KXCGLSHADE_FLAT},
                 {"gouraud", KXCGLSHADE_GOURAUD},
                 {"greyscale", KXCGLSHADE_GREYSCALEGOURAUD}};

} // namespace

TEST_F(GoldenRenderer, ShadingsTexturesBlendsAndSprites)
{
    for (const auto& s : kShadings)
        for (INT32 format :
             {0, INT32{KXCSURFACEFORMAT_55X5}, INT32{KXCSURFACEFORMAT_5515}, INT32{KXCSURFACEFORMAT_PALETTE8}})
        {
            const bool unshaded = s.shading == KXCGLSHADE_TEXTURE;
            if (unshaded ? format == 0 : format == KXCSURFACEFORMAT_5515)
                continue; // no filler is for that
            const std::unique_ptr<KxcGLTexture> picture = format ? texture(format) : nullptr;
            useDevice(1);
            scene(s.shading, picture.get());
            expect(std::string("frame, ") + s.name + ", texture format " + std::to_string(format));
            gl->setTexture(nullptr);
        }
}

TEST_F(GoldenRenderer, LightsStatesAndDevices)
{
    const std::unique_ptr<KxcGLTexture> picture = texture(KXCSURFACEFORMAT_55X5);
    for (const auto& s : kShadings)
    {
        useDevice(1);
        lights();
        scene(s.shading, picture.get());
        expect(std::string("frame, lit, ") + s.name);
    }
    const struct
    {
        const char* name;
        INT32 state, value;
    } kStates[] = {{"wireframe", KXCGLSTATE_WIREFRAME, 1},
                   {"orthographic", KXCGLSTATE_ORTHOGRAPHIC, 1},
                   {"near first", KXCGLSTATE_SORTING, KXCGLSORT_NEARFIRST},
                   {"culled", KXCGLSTATE_CULLING, KXCGLCULL_NEGATIVE},
                   {"perspective limit", KXCGLSTATE_PERSPECTIVELIMIT, 7}};
    for (const auto& s : kStates)
    {
        useDevice(1);
        gl->setStateI(s.state, s.value);
        scene(KXCGLSHADE_GOURAUD, picture.get());
        expect(std::string("frame, ") + s.name);
    }

    kxcUseGLDefaultFSAA();
    kxcUseGLDefaultUpsample();
    kxcUseGLZBuffer();
    for (const KxcGLDeviceInfo* info = KxcGL::getDeviceInfo(); info->next; info = info->next) // but for the stub
        for (UINT32 flags : {0u, KXCGLCREATE_PORTRAIT | 0u, KXCGLCREATE_LANDSCAPE | KXCGLCREATE_UPSIDEDOWN})
        {
            useDevice(info->deviceId, flags);
            lights();
            scene(KXCGLSHADE_GOURAUD, flags == KXCGLCREATE_PORTRAIT ? picture.get() : nullptr);
            expect(std::string("frame, ") + info->name + ", turned " + std::to_string(flags >> 24));
        }
}
