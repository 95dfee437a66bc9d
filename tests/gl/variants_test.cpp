// variants_test.cpp - the device variants: what they present, where they map the pointer, what they log, how they
// compare depths.
#include "files/file_support.h"
#include "filler_support.h"

#include <kxcoreemb/gl_fillers.h>

#include <cmath>

namespace
{

UINT32 g_now;

struct Blank : KxcRenderer
{
};

void useAll()
{
    kxcUseGLDefaultProfiler();
    kxcUseGLDefault();
    kxcUseGLDefaultFSAA();
    kxcUseGLDefaultUpsample();
    kxcUseGLZBuffer();
}
enum Id : UINT32 // as useAll() registers them
{
    kStub = 100,
    kProfiler,
    kReference,
    kFSAA,
    kUpsample,
    kZBuffer
};

struct Picture
{
    INT32 width, height;
    std::vector<UINT16> pixels;

    UINT16& at(INT32 x, INT32 y) { return pixels[static_cast<size_t>(y * width + x)]; }
};

Picture read(KxcGLSurface* surface)
{
    void* pixels;
    surface->lock(&pixels, 0, 0);
    const UINT16* first = static_cast<UINT16*>(pixels);
    surface->unlock();
    const INT32 width = surface->getWidth(), height = surface->getHeight();
    return {width, height, {first, first + width * height}};
}

void write(KxcGLSurface* surface, const Picture& picture)
{
    void* pixels;
    ASSERT_EQ(surface->lock(&pixels, 0, 0), 2 * picture.width);
    std::copy(picture.pixels.begin(), picture.pixels.end(), static_cast<UINT16*>(pixels));
    surface->unlock();
}

/// The screen after a frame.
std::vector<UINT16> presented()
{
    Blank renderer;
    KxcCore::setRenderer(&renderer);
    const UINT16* screen = reinterpret_cast<UINT16*>(embeddedFrame());
    KxcCore::setRenderer(nullptr);
    return {screen, screen + kxcCore->screenWidth * kxcCore->screenHeight};
}

Picture averaged(Picture frame)
{
    Picture result = {frame.width / 2, frame.height / 2, {}};
    for (INT32 y = 0; y < result.height; ++y)
        for (INT32 x = 0; x < result.width; ++x)
        {
            UINT32 pixel = 0;
            for (const auto& [shift, mask] : {std::pair<int, UINT32>{11, 31}, {5, 63}, {0, 31}})
            {
                UINT32 sum = 0;
                for (INT32 i = 0; i < 4; ++i)
                    sum += frame.at(2 * x + i % 2, 2 * y + i / 2) >> shift & mask;
                pixel |= sum / 4 << shift;
            }
            result.pixels.push_back(static_cast<UINT16>(pixel));
        }
    return result;
}

Picture enlarged(Picture frame, INT32 width, INT32 height)
{
    Picture result = {width, height, {}};
    for (INT32 y = 0; y < height; ++y)
        for (INT32 x = 0; x < width; ++x)
            result.pixels.push_back(frame.at(x * frame.width / width, y * frame.height / height));
    return result;
}

/// The frame that draws triangles whose vertices are on the screen already.
struct ScreenVertex
{
    KxcFixed x, y, z, w;
    UINT32 color;
};
void render(KxcGL& gl, const std::vector<ScreenVertex>& vertices)
{
    const INT32 count = static_cast<INT32>(vertices.size());
    const std::unique_ptr<KxcGLVertexBuffer> buffer(KxcGLVertexBuffer::create(
        KXCGLVERTEX_POSITION | KXCGLVERTEX_RECIPROCALW | KXCGLVERTEX_COLOR, sizeof(ScreenVertex), count));
    std::memcpy(buffer->lock(0), vertices.data(), vertices.size() * sizeof(ScreenVertex));
    gl.beginRender();
    EXPECT_EQ(gl.renderPrimitive(buffer.get(), KXCGLPRIMITIVE_LIST, 0, count, 0, count - 1, nullptr), 0);
    gl.endRender();
}

} // namespace

TEST(Variants, TellWhatTheyAreAndAreChosenByPriority)
{
    Engine engine(6, 4);
    useAll();
    const struct
    {
        const char* name;
        INT32 width, height;
        UINT32 capabilities, capabilities2;
        INT32 priority, frameWidth;
    } expected[] = {{"ZBuffer", 6, 4, 3579, 27, 0, 6},         {"DefaultUpsample", 3, 2, 7677, 27, -1, 3},
                    {"DefaultFSAA", 12, 8, 7677, 27, -1, 12},  {"ReferenceARM", 6, 4, 7673, 27, 0, 6},
                    {"DefaultProfiler", 3, 2, 7677, 27, 1, 6}, {"Stub", 6, 4, 1, 0, 0, 6}};
    const KxcGLDeviceInfo* info = KxcGL::getDeviceInfo();
    for (const auto& e : expected)
    {
        EXPECT_STREQ(info->name, e.name);
        EXPECT_EQ(info->width, e.width) << e.name;
        EXPECT_EQ(info->height, e.height) << e.name;
        EXPECT_EQ(info->capabilityMask, e.capabilities) << e.name;
        EXPECT_EQ(info->capabilityMask2, e.capabilities2) << e.name;
        EXPECT_EQ(info->priority, e.priority) << e.name;
        EXPECT_EQ(info->infoFlags1 * 10 + info->infoFlags2 + info->infoValue, 11) << e.name;
        if (e.priority != 1)
        {
            const std::unique_ptr<KxcGL> gl(KxcGL::create(info->deviceId, 0));
            EXPECT_EQ(KxcCore::getDeviceWidth(), e.frameWidth) << e.name;
            int fillers = 0;
            for (const KxcGLFiller& filler : reinterpret_cast<KxcGLFiller(&)[128]>(kxcCore->fillers))
                fillers += filler != kxcGLFillNothing;
            const bool complete = info->deviceId == kReference || info->deviceId == kUpsample;
            EXPECT_EQ(fillers, complete ? 32 + 64 + 8 : 0) << e.name;
        }
        info = info->next;
    }
    std::unique_ptr<KxcGL> gl(KxcGL::create(1, 0));
    EXPECT_STREQ(KxcGL::getCurrentDeviceInfo()->name, "ZBuffer");
    ASSERT_EQ(gl->recreate(kFSAA, 0), 1);
}

TEST(Variants, PresentTheirFramesInEveryOrientationAndMapThePointerThere)
{
    const struct
    {
        UINT32 flags;
        INT32 fsaa[2], upsample[2]; // where the frames have screen position (3, 5)
    } cases[] = {{0, {6, 10}, {1, 2}},
                 {KXCGLCREATE_PORTRAIT, {12 - 10, 6}, {3 - 2, 1}},
                 {KXCGLCREATE_UPSIDEDOWN, {16 - 6, 12 - 10}, {4 - 1, 3 - 2}},
                 {KXCGLCREATE_PORTRAIT | KXCGLCREATE_UPSIDEDOWN, {10, 16 - 6}, {2, 4 - 1}},
                 {KXCGLCREATE_UPSIDEDOWN | KXCGLCREATE_RAWPOINTER, {6, 10}, {1, 2}}};
    std::minstd_rand random(3);
    for (const auto& c : cases)
        for (UINT32 id : {kFSAA, kUpsample})
            for (INT32 odd : {0, 1})
            {
                SCOPED_TRACE(testing::Message() << "variant " << id << ", flags " << std::hex << c.flags);
                Engine engine(8 + odd, 6 + odd);
                useAll();
                std::unique_ptr<KxcGL> gl(KxcGL::create(id, c.flags));
                KxcGLSurface* back = gl->getSecondary();
                Picture frame = read(back);
                for (UINT16& pixel : frame.pixels)
                    pixel = static_cast<UINT16>(random() >> 8);
                write(back, frame);
                EXPECT_EQ(KxcCore::getDeviceWidth(), frame.width);
                EXPECT_EQ(KxcCore::getDeviceHeight(), frame.height);
                INT32 x = 3, y = 5;
                kxcCore->device->mapPointerPosition(x, y);
                const INT32* mapped = id == kFSAA ? c.fsaa : c.upsample;
                EXPECT_TRUE(odd || (x == mapped[0] && y == mapped[1])) << x << ", " << y;
                const std::vector<UINT16> screen = presented();

                const std::unique_ptr<KxcGLSurface> other(KxcGLSurface::create(2, 2, 0));
                EXPECT_EQ(gl->setRenderTarget(other.get()), 1);
                other->clear(0xFFFFFFFF);
                EXPECT_EQ(presented(), screen) << "drawing elsewhere shows nothing";
                EXPECT_EQ(gl->setRenderTarget(nullptr), 1);
                EXPECT_EQ(gl->getSecondary(), back);
                gl->clear(0xFFFFFF, KxcFixed(0), 0);
                for (UINT16 pixel : presented())
                    EXPECT_EQ(pixel, 0xFFFF);

                ASSERT_EQ(gl->recreate(kStub, c.flags), 1); // presents the picture that we expect
                const INT32 width = KxcCore::getDeviceWidth(), height = KxcCore::getDeviceHeight();
                write(gl->getSecondary(), id == kFSAA ? averaged(frame) : enlarged(frame, width, height));
                EXPECT_EQ(presented(), screen);
            }
}

using ProfilerLog = Files;

TEST_F(ProfilerLog, HasEveryFillersTrianglesAndEveryFramesTime)
{
    engine.reset();
    g_now = 1000;
    kxcPlatformClockHook = [] { return g_now; };
    engine = std::make_unique<Engine>(32, 16, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; });
    useAll();
    put("kxlog000.dat", "");
    put("kxlog001.dat", "old");
    std::unique_ptr<KxcGL> gl(KxcGL::create(0, KXCGLCREATE_PORTRAIT));
    EXPECT_STREQ(KxcGL::getCurrentDeviceInfo()->name, "DefaultProfiler");
    EXPECT_EQ(KxcCore::getDeviceWidth(), 16);

    std::string expected;
    const auto record = [&](UINT32 id, UINT32 value)
    {
        expected += static_cast<char>(value & 255);
        expected += static_cast<char>(id << 2 | value >> 8);
    };
    for (const auto& [step, value] : {std::pair<UINT32, UINT32>{0, 0}, {16, 16}, {1023, 1023}, {1500, 1023}, {1, 1}})
    {
        g_now += step;
        presented();
        record(0, value);
    }

    // One triangle for each filler: is its record that of its kind, and does the right filler draw it?
    KxcVector4 vertices[3] = {};
    KxcGLTriangle triangle = {};
    const auto place = [&](const INT32(&xy)[6]) // in half pixels
    {
        for (int i = 0; i < 3; ++i)
        {
            vertices[i] = {KxcFixed::fromRaw(xy[2 * i] * 0x8000), KxcFixed::fromRaw(xy[2 * i + 1] * 0x8000),
                           KxcFixed(1), KxcFixed(1)};
            triangle.corners.vertex[i] = i;
        }
    };
    place({0, 0, 30, 4, 3, 29});
    for (int i = 0; i < 3; ++i)
    {
        triangle.corners.color[i] = 0x904080F0u + static_cast<UINT32>(i) * 0x00102008u;
        triangle.corners.u[i] = KxcFixed(i);
        triangle.corners.v[i] = KxcFixed(i * i);
    }
    const UINT32 size = (15 * 14 + 1 * 2) / 2;
    constexpr INT32 kFormats[] = {0, KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_5515};
    for (const FillerKind& kind : fillerKinds())
    {
        if (kind.column() == 3)
        {
            EXPECT_EQ(kind.registered(), kxcGLFillNothing) << kind.name;
            continue;
        }
        const std::unique_ptr<KxcGLTexture> texture(
            KxcGLTexture::create(kind.column() ? new NoiseBuilder(16, 16, 1, kFormats[kind.column()]) : nullptr, 0));
        kxcCore->textureCache.select(texture.get());
        std::vector<UINT16> pictures[2];
        for (std::vector<UINT16>& picture : pictures)
        {
            gl->clear(0x405060, KxcFixed(0), 0);
            kind.registered()(&triangle, vertices);
            picture = read(gl->getSecondary()).pixels;
            kind.use(); // the second time round
        }
        EXPECT_EQ(pictures[0], pictures[1]) << kind.name;
        kxcCore->textureCache.release();
        const int id = kind.column() == 0       ? (kind.shading == "Flat" ? 1 : 2)
                       : kind.shading == "None" ? (kind.texel == "5515" ? 4 : 3)
                       : kind.shading == "Flat" ? 5
                                                : 6;
        const int blend = kind.blend == "Add" ? 10 : kind.blend == "Alpha" ? 20 : kind.blend == "Invmul" ? 30 : 0;
        record(static_cast<UINT32>(id + blend + 4 * kind.perspective), size);
    }

    // Sizes, through the pipeline: half pixels do not count, the sign neither, and there is a largest value.
    ASSERT_EQ(gl->recreate(0, 0), 1);
    EXPECT_EQ(onDisk("kxlog002.dat"), expected);
    expected.clear();
    gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NONE);
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_FLAT);
    const struct
    {
        INT32 halves[6];
        UINT32 size;
    } sizes[] = {{{0, 0, 20, 0, 0, 20}, 50},         {{0, 0, 20, 0, 0, -20}, 50},      {{-1, 0, 20, 0, -1, 20}, 55},
                 {{0, 0, 128, 0, 0, 63}, 32 * 31},   {{0, 0, 132, 0, 0, 62}, 33 * 31}, {{0, 0, 64, 0, 0, 128}, 1023},
                 {{0, 0, 65534, 0, 0, 65534}, 1023}, {{0, 0, 6, 2, 2, 2}, 2}};
    for (const auto& s : sizes)
    {
        place(s.halves);
        std::vector<ScreenVertex> corners;
        for (const KxcVector4& v : vertices)
            corners.push_back({v.x, v.y, v.z, v.w, 0});
        render(*gl, corners);
        record(1, s.size);
    }
    gl.reset();
    EXPECT_EQ(onDisk("kxlog003.dat"), expected);
    EXPECT_EQ(onDisk("kxlog001.dat"), "old");

    kxcPlatformExecutablePathHook = "\\nowhere\\game";
    gl.reset(KxcGL::create(0, 0));
    ASSERT_NE(gl, nullptr) << "also where it cannot log";
    presented();
    gl.reset();
    engine.reset();
    kxcPlatformClockHook = nullptr;
}

namespace
{

struct ZBuffer : testing::Test
{
    static constexpr INT32 kWidth = 64, kHeight = 48;

    ZBuffer()
    {
        useAll();
        gl.reset(KxcGL::create(kZBuffer, 0));
        gl->setViewport({0, 0, kWidth, kHeight, 0, 0});
        gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NONE);
        gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GOURAUD);
        gl->setStateI(KXCGLSTATE_SORTING, KXCGLSORT_NONE);
    }
    /// Everything at one depth. @return the pixel in the middle
    UINT16 cover(double w, UINT32 color)
    {
        const KxcFixed edge(100), zero(0), depth(w);
        render(*gl, {{-edge, -edge, zero, depth, color},
                     {edge * KxcFixed(3), -edge, zero, depth, color},
                     {-edge, edge * KxcFixed(3), zero, depth, color}});
        return read(gl->getSecondary()).at(kWidth / 2, kHeight / 2);
    }

    Engine engine{kWidth, kHeight};
    std::unique_ptr<KxcGL> gl;
};
constexpr UINT32 kRed = 0xFFFF0000, kGreen = 0xFF00FF00, kBlue = 0xFF0000FF;
constexpr UINT16 kRed55X5 = 0xF800, kGreen55X5 = 0x07C0, kBlue55X5 = 0x001F;

} // namespace

TEST_F(ZBuffer, TestsOpaqueGouraudTrianglesOnceTheirFillerIsRegistered)
{
    EXPECT_EQ(cover(2, kRed), 0) << "no filler";
    kxcGLUseFillerGouraud();
    EXPECT_EQ(cover(2, kRed), kRed55X5);
    EXPECT_EQ(cover(3, kGreen), kRed55X5) << "it is behind";
    EXPECT_EQ(cover(2, kGreen), kRed55X5) << "it is not nearer";
    EXPECT_EQ(cover(-1, kGreen), kRed55X5) << "behind the eye";
    EXPECT_EQ(cover(1.99, kGreen), kGreen55X5);
    EXPECT_EQ(cover(0.001, kBlue), kBlue55X5);
    EXPECT_EQ(cover(0.01, kRed), kBlue55X5) << "depths do not wrap where they are too near to be told";
    gl->clear(0, KxcFixed(0), 0);
    EXPECT_EQ(cover(30000, kGreen), kGreen55X5) << "clearing the picture clears the depths";
    gl->getSecondary()->clear(0xFF000000);
    EXPECT_EQ(cover(32767, kRed), kRed55X5) << "by any way";
    EXPECT_EQ(cover(0, kBlue), kBlue55X5) << "0 counts as the least w";

    gl->clear(0, KxcFixed(0), 0);
    cover(2, kRed);
    kxcGLUseFillerFlat();
    kxcGLUseFillerGouraudAdd();
    kxcGLUseFillerGreyscaleGouraud();
    gl->setStateI(KXCGLSTATE_PERSPECTIVE, 1); // the other slot
    EXPECT_EQ(cover(9, kGreen), kRed55X5);
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GREYSCALEGOURAUD);
    EXPECT_EQ(cover(9, kBlue), 0xFFDF) << "not tested";
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_FLAT);
    EXPECT_EQ(cover(9, kGreen), kGreen55X5) << "not tested";
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GOURAUD);
    gl->setStateI(KXCGLSTATE_BLENDING, 1);
    gl->setStateI(KXCGLSTATE_SOURCEBLEND, KXCGLFACTOR_ONE);
    gl->setStateI(KXCGLSTATE_DESTBLEND, KXCGLFACTOR_ONE);
    EXPECT_EQ(cover(9, kBlue), kGreen55X5 | 30) << "not tested; alpha 255 is 31 of 32 here";
    gl->setStateI(KXCGLSTATE_BLENDING, 0);
    gl->setStateI(KXCGLSTATE_ORTHOGRAPHIC, 1);
    EXPECT_EQ(cover(9, kBlue), kBlue55X5) << "not tested";
    gl->setStateI(KXCGLSTATE_ORTHOGRAPHIC, 0);
    EXPECT_EQ(cover(3, kGreen), kBlue55X5) << "they left no depths, nor took any away";
    EXPECT_EQ(cover(1.5, kGreen), kGreen55X5);

    const std::unique_ptr<KxcGLSurface> other(KxcGLSurface::create(kWidth, kHeight, 0));
    KxcGLSurface* back = gl->getSecondary();
    EXPECT_EQ(gl->setRenderTarget(other.get()) + gl->setRenderTarget(nullptr), 0);
    EXPECT_EQ(gl->getSecondary(), back);
}

TEST_F(ZBuffer, ShowsTheNearestOfIntersectingTrianglesAtEveryPixel)
{
    kxcGLUseFillerGouraud();
    const reference::Kind kind = {"Gouraud", "Gouraud", "None", "None", false};
    constexpr UINT16 kUncovered = 0x20; // no filler sets that bit
    std::minstd_rand random(7);
    const auto below = [&](int n) { return static_cast<int>(random() >> 4) % n; };
    int compared = 0, hidden = 0;
    for (int scene = 0; scene < 60; ++scene)
    {
        std::vector<ScreenVertex> corners;
        // Of each pixel and triangle: the exact 1 / w, and the pixel; 0 where it is not covered
        constexpr size_t kPixels = kWidth * kHeight;
        std::vector<std::vector<double>> depths;
        std::vector<std::vector<UINT16>> pixels;
        while (depths.size() < 12)
        {
            KxcVector4 v[3];
            KxcGLTriangle triangle = {};
            double x[3], y[3], q[3];
            for (int i = 0; i < 3; ++i)
            {
                const double far = scene % 3 == 0 ? 300 : 3;
                v[i] = {KxcFixed(below(9600) / 100.0 - 16), KxcFixed(below(8000) / 100.0 - 16), KxcFixed(0),
                        KxcFixed(1 + far * below(1000) / 1000.0)};
                x[i] = static_cast<double>(v[i].x), y[i] = static_cast<double>(v[i].y);
                q[i] = 1 / static_cast<double>(v[i].w);
                triangle.corners.vertex[i] = i;
                triangle.corners.color[i] = static_cast<UINT32>(random()) & 0xFFFFFF;
            }
            const double area = (x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]);
            if (std::fabs(area) < 300)
                continue; // the gradients of slivers are rough
            for (int i = 0; i < 3; ++i)
                corners.push_back({v[i].x, v[i].y, v[i].z, v[i].w, triangle.corners.color[i]});
            pixels.emplace_back(kPixels, kUncovered);
            reference::draw(kind, triangle, v, {}, kWidth, kHeight, pixels.back());
            depths.emplace_back(kPixels, 0.0);
            for (int i = 0; i < kWidth * kHeight; ++i)
            {
                const double px = i % kWidth, py = i / kWidth;
                const double b = ((px - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (py - y[0])) / area;
                const double c = ((x[1] - x[0]) * (py - y[0]) - (px - x[0]) * (y[1] - y[0])) / area;
                if (pixels.back()[size_t(i)] != kUncovered)
                    depths.back()[size_t(i)] = q[0] + b * (q[1] - q[0]) + c * (q[2] - q[0]);
            }
        }
        gl->clear(0, KxcFixed(0), 0);
        render(*gl, corners);
        const Picture got = read(gl->getSecondary());
        for (size_t i = 0; i < kPixels; ++i)
        {
            size_t nearest = 0;
            for (size_t t = 1; t < depths.size(); ++t)
                nearest = depths[t][i] > depths[nearest][i] ? t : nearest;
            const double q = depths[nearest][i];
            bool matches = q == 0 && got.pixels[i] == 0;
            int candidates = 0, covering = 0;
            for (size_t t = 0; t < depths.size(); ++t)
            {
                covering += depths[t][i] > 0;
                const bool near = depths[t][i] > 0 && depths[t][i] >= q - 0.002;
                candidates += near;
                matches = matches || (near && got.pixels[i] == pixels[t][i]);
            }
            compared += candidates == 1;
            hidden += candidates == 1 && covering > 1;
            ASSERT_TRUE(matches) << "scene " << scene << ", pixel " << i % kWidth << ", " << i / kWidth << ": "
                                 << std::hex << got.pixels[i] << ", not " << pixels[nearest][i];
        }
    }
    EXPECT_GT(compared, 100000);
    EXPECT_GT(hidden, 60000);
}

TEST_F(ZBuffer, TakesAnyVertexWithoutLeavingItsBuffers)
{
    kxcGLUseFillerGouraud();
    const INT32 extremes[] = {INT32_MIN, INT32_MIN + 1, -0x10000,      -1,       0, 1,
                              0x8000,    kHeight << 16, INT32_MAX - 1, INT32_MAX};
    std::minstd_rand random(9);
    const auto any = [&]
    {
        const INT32 extreme = extremes[(random() >> 4) % 10], inside = static_cast<INT32>((random() >> 4) % (64 << 16));
        return KxcFixed::fromRaw(random() >> 7 & 1 ? extreme : inside);
    };
    for (int i = 0; i < 3000; ++i)
    {
        std::vector<ScreenVertex> corners;
        for (int k = 0; k < 3; ++k)
            corners.push_back({any(), any(), any(), any(), static_cast<UINT32>(random())});
        if (i % 50 == 0)
            gl->clear(0, KxcFixed(0), 0);
        render(*gl, corners);
    }
    gl->clear(0, KxcFixed(0), 0);
    EXPECT_EQ(cover(5, kRed), kRed55X5);
}
