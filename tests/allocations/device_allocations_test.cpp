// device_allocations_test.cpp - the renderer's devices, frames and textures, and the mixer, while memory runs out.
#include "allocations/every_allocation.h"
#include "audio/audio_support.h"
#include "gl/device.h"

#include <kxcoreemb/gl_fillers.h>

namespace
{

constexpr char kImage[] = "//" KXC_TEST_DATA "/images/tga24_runs.tga";

struct Vertex
{
    KxcFixed x, y, z;
    UINT32 color;
    KxcFixed u, v;
};
constexpr INT32 kFormat = KXCGLVERTEX_POSITION | KXCGLVERTEX_COLOR | KXCGLVERTEX_TEXTURE1;

/// A checkerboard of 16 x 16 and its smaller levels.
struct Checkers : KxcGLTextureBuilder
{
    Checkers() : KxcGLTextureBuilder(7, 0) {}
    INT32 getSurfaceCount() override { return 2; }
    void getSurfaceParams(INT32 level, INT32& width, INT32& height, INT32& format) override
    {
        width = height = 16 >> level;
        format = KXCSURFACEFORMAT_55X5;
    }
    INT32 fillSurface(INT32 level, void* texels, KxcGLComplexSurfaceResource*) override
    {
        std::fill_n(static_cast<UINT16*>(texels), (16 >> level) * (16 >> level), UINT16(0xF800));
        return 1;
    }
    INT32 sameClassEquals(KxcGLTextureBuilder*) override { return 0; }
};

struct Counting : KxcGLCustomRenderCallback
{
    INT32 rendered = 0;
    void render(const KxcGLCustomItem*, INT32) override { ++rendered; }
};

struct Devices : testing::Test
{
    std::unique_ptr<Engine> engine;
    Devices() { restart(); }
    void restart()
    {
        engine.reset();
        engine = std::make_unique<Engine>(64, 48, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; });
        kxcUseImageFilterTGA();
        kxcUseGLDefault();
        kxcUseGLDefaultFSAA();
        kxcUseGLDefaultUpsample();
        kxcUseGLZBuffer();
    }
    static std::vector<std::pair<UINT32, const char*>> all()
    {
        std::vector<std::pair<UINT32, const char*>> ids;
        for (const KxcGLDeviceInfo* info = KxcGL::getDeviceInfo(); info; info = info->next)
            ids.emplace_back(info->deviceId, info->name);
        return ids;
    }
};

void setUp(KxcGL& gl)
{
    gl.setViewport({0, 0, 64, 48, 0, 1});
    gl.setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NONE);
    gl.setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GOURAUD);
}

} // namespace

TEST_F(Devices, AreMadeReplacedAndForgotten)
{
    for (const auto& [id, name] : all())
        failEveryAllocation({
            creation(name, 4, [id = id] { return KxcGL::create(id, 0); }),
            {"instead of another", 4, kReported,
             [id = id](Attempt& attempt)
             {
                 const std::unique_ptr<KxcGL> gl(KxcGL::create(0, 0));
                 if (!attempt([&] { return gl->recreate(id, 0) == 1; }))
                 {
                     EXPECT_EQ(KxcGL::getCurrentDeviceInfo(), nullptr);
                     EXPECT_EQ(gl->recreate(id, 0), 1);
                 }
             }},
        });
}

TEST_F(Devices, RenderFrames)
{
    const std::unique_ptr<KxcGLTexture> texture(KxcGLTexture::create(new Checkers, 0));
    ASSERT_TRUE(texture);
    const auto frame = [&](const char* name, int least, UINT32 id, Expectation expectation, auto render)
    {
        return Operation{name, least, expectation,
                         [&, id, render](Attempt& attempt)
                         {
                             const std::unique_ptr<KxcGL> gl(KxcGL::create(id, 0));
                             kxcGLUseDefaults();
                             setUp(*gl);
                             gl->setTexture(texture.get());
                             const auto whole = [&]
                             {
                                 gl->beginRender();
                                 const INT32 status = render(*gl);
                                 gl->endRender();
                                 kxcCore->device->present();
                                 EXPECT_TRUE(status == 0 || status == -4) << status;
                                 return status == 0;
                             };
                             attempt(whole);
                             EXPECT_TRUE(whole());
                         }};
    };
    constexpr INT32 kCount = 3 * 300;
    std::vector<Vertex> vertices;
    for (INT32 i = 0; i < kCount; ++i)
        vertices.push_back(
            {KxcFixed(i * 7 % 3 - 1), KxcFixed(i * 5 % 7) / 3 - 1, KxcFixed(i % 5) / 6, 0xFF00FF00u, 0, 1});
    const std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), kCount));
    std::copy(vertices.begin(), vertices.end(), static_cast<Vertex*>(buffer->lock(0)));
    buffer->unlock();
    const auto triangles = [&](KxcGL& gl)
    { return gl.renderPrimitive(buffer.get(), KXCGLPRIMITIVE_LIST, 0, kCount, 0, kCount - 1, nullptr); };
    const auto sprites = [](KxcGL& gl)
    {
        gl.setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_TEXTURE);
        INT32 status = 0;
        for (INT32 i = 0; i < 300 && status == 0; ++i)
            status = gl.drawSprite2d(i % 64, i % 48, KxcFixed(1) / 2, 8, 8, 0, 0, 1, 1, nullptr, 0xFFFFFFFF);
        return status;
    };
    for (const auto& [id, name] : all())
    {
        SCOPED_TRACE(name);
        if (std::string("Stub") == name)
            continue; // draws nothing
        failEveryAllocation(
            {frame("triangles", 3, id, kReported, triangles), frame("sprites", 3, id, kReported, sprites)});
    }
}

TEST_F(Devices, HoldVerticesAndTextures)
{
    const std::unique_ptr<KxcGL> gl(KxcGL::create(0, 0));
    failEveryAllocation({
        creation("vertices", 2, [] { return KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), 10); }),
        creation("triangle records", 2,
                 [] { return KxcGLTriangleInfoBuffer::create(KXCGLTRIANGLEINFO_COLORS, 12, 10); }),
        {"optimise", 3, kReported,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(kFormat, sizeof(Vertex), 10));
             if (!attempt([&] { return buffer->optimize() == 0; }))
             {
                 EXPECT_TRUE(buffer->lock(0));
             }
             EXPECT_EQ(buffer->optimize(), 0);
         }},
        {"texture", 3, kReported,
         [](Attempt& attempt)
         {
             std::unique_ptr<Checkers> builder(new Checkers);
             std::unique_ptr<KxcGLTexture> texture;
             attempt(
                 [&]
                 { return texture.reset(KxcGLTexture::create(builder.get(), KXCTEXTURE_LAZY)), texture != nullptr; });
             if (texture)
                 builder.release();
         }},
        {"texture's level", 1, kReported,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcGLTexture> texture(KxcGLTexture::create(new Checkers, KXCTEXTURE_LAZY));
             attempt([&] { return texture->lock(1) != nullptr; });
             if (attempt.worked())
                 texture->unlock(1);
             EXPECT_TRUE(texture->lock(0));
             texture->unlock(0);
         }},
        {"texture from a file", 7, kTolerated, // one whose image could not be loaded exists
         [](Attempt& attempt)
         {
             std::unique_ptr<KxcGLTexture> texture;
             attempt(
                 [&]
                 {
                     texture.reset(KxcGLTextureFromFile::create(kImage, KXCTEXTURE_LINEARMIP, 0));
                     return true;
                 });
             if (texture)
             {
                 EXPECT_TRUE(texture->lock(0));
                 texture->unlock(0);
             }
         }},
    });
}

namespace
{

struct Tone : KxcAudioStream
{
    static Tone* create()
    {
        Tone* tone = new (std::nothrow) Tone;
        if (tone && tone->initialize(KxcAudioFormat(16000, KXCAUDIO_16BIT | KXCAUDIO_SIGNED, 0), 1, 0, 0))
            return tone;
        delete tone;
        return nullptr;
    }
    ~Tone() override { KxcAudio::stopEach(this); }
    void fill(void* data, INT32 length, INT32 start, INT32 count) override
    {
        for (INT32 i = 0; i < count; ++i)
            static_cast<INT16*>(data)[(start + i) % length] = 100;
    }
};

} // namespace

TEST_F(Devices, PlaySounds)
{
    // An output that needs no memory: where there is none, opening goes on for two seconds.
    static const KxcPlatformWave kSilent = {
        "silent", [](const KxcPlatformWaveFormat&, void (*)(void*, INT32, INT32)) { return 1; }, [] {}};
    const auto device = [this](const char* name, int least, auto use)
    {
        return Operation{name, least, kTolerated,
                         [=](Attempt& attempt)
                         {
                             restart();
                             kxcPlatformWave = &kSilent;
                             attempt(use);
                             kxcUseAudioDefault();
                             kxcPlatformWave = &kxcPlatformHeadlessWave;
                             KxcAudio::setAudioFormat(nullptr, 4, 1);
                             const Sound sound = makeSound(std::vector<INT16>(100, 5));
                             EXPECT_NE(KxcAudio::play(sound.get()), 0u);
                         }};
    };
    failEveryAllocation({
        device("output", 3,
               []
               {
                   kxcUseAudioDefault();
                   KxcAudio::setAudioFormat(nullptr, 8, 1);
                   KxcAudio::setChannelCount(16);
                   return true;
               }),
    });
    restart();
    kxcUseAudioDefault();
    KxcAudio::setAudioFormat(nullptr, 4, 1);
    failEveryAllocation({
        creation("buffer", 4, [] { return KxcAudioBuffer::create(8000, 0, 100, 1); }),
        creation("stream", 3, [] { return Tone::create(); }),
        {"channels", 1, kTolerated,
         [](Attempt& attempt)
         {
             KxcAudio::setChannelCount(2);
             attempt([] { return KxcAudio::setChannelCount(5), KxcAudio::getChannelCount() == 5; });
             const Sound sound = makeSound(std::vector<INT16>(100, 5));
             EXPECT_NE(KxcAudio::play(sound.get()), 0u) << "there are still channels";
         }},
        {"playing", 1, kTolerated, // what finds no memory is silent
         [](Attempt& attempt)
         {
             const std::unique_ptr<Tone> tone(Tone::create());
             attempt(
                 [&]
                 {
                     KxcAudio::play(tone.get(), 48000);
                     AudioEngine::play();
                     return true;
                 });
             KxcAudio::stopAll();
         }},
    });
}
