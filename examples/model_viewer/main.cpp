// main.cpp - model_viewer: shows any Wavefront OBJ model, lit and textured, with the software renderer.
//
// Drag turns the model, the wheel moves it, W draws wires, P switches perspective correction, B shows back faces,
// Escape ends. --headless draws one frame into a PNG file instead.
#include "obj_file.h"
#include "picture_file.h"
#include "raw_name.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace
{

constexpr INT32 kWidth = 480, kHeight = 360;
constexpr UINT32 kBackground = 0x283848;
constexpr size_t kLargestChunk = 60000; // vertices of a buffer: indices have 16 bits

constexpr char kUsage[] =
    "usage: model_viewer FILE.obj [TEXTURE.tga|.pcx] [--two-sided] [--turn DEGREES]\n"
    "                    [--headless --out FILE.png]\n"
    "\n"
    "Drag turns the model, the wheel moves it, W draws wires, P switches perspective correction,\n"
    "B shows back faces, Escape ends. Textures have sides of powers of two, up to 256 wide.\n";

struct Options
{
    std::string model, texture, out;
    bool headless = false, twoSided = false;
    int turn = 30;
};
Options g_options;
Model g_model;

KxcFixed radians(int degrees) { return KxcFixed::fromRaw(degrees * 1144); }

/// A part of the model that 16-bit indices reach.
struct Chunk
{
    std::unique_ptr<KxcGLVertexBuffer> vertices;
    std::vector<UINT16> indices;
};

class Viewer : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    Viewer() : m_gl(KxcGL::create(0, 0)), m_yaw(radians(g_options.turn)), m_pitch(radians(-20))
    {
        if (!g_options.texture.empty())
            m_texture.reset(KxcGLTextureFromFile::create(rawName(g_options.texture).c_str(), KXCTEXTURE_LINEARMIP, 0));
        if (!g_options.texture.empty() && !m_texture)
            std::fprintf(stderr,
                         "%s: no texture: it must be a TGA or PCX picture whose sides are powers of two, at most 256 "
                         "wide\n",
                         g_options.texture.c_str());
        m_ready = m_gl && (m_texture || g_options.texture.empty()) && split();
        if (!m_ready)
            return;
        setUp();
        KxcCore::setRenderer(this);
        KxcCore::setController(this);
    }
    bool ready() const { return m_ready; } ///< false when something is missing; the reason is on stderr

    void onAppInit() override
    {
        if (!m_ready && !g_options.headless)
            KxcCore::quit();
    }
    void onTick() override { KxcCore::sleep(g_options.headless ? 0 : 10); }
    void render() override;
    void onPointerDown(INT32 x, INT32 y) override { m_heldX = x, m_heldY = y; }
    void onPointerMove(INT32 x, INT32 y) override
    {
        m_yaw -= radians(x - m_heldX);
        m_pitch -= radians(y - m_heldY);
        onPointerDown(x, y);
    }
    void onKeyDown(INT32 code) override;

private:
    struct Vertex
    {
        KxcVector3 position, normal;
        KxcVector2 texture;
    };
    bool split();
    void setUp();
    void toggle(INT32 state, INT32 on, INT32 off)
    {
        INT32 value;
        m_gl->getStateI(state, value);
        m_gl->setStateI(state, value == on ? off : on);
    }

    bool m_ready = false;
    std::unique_ptr<KxcGL> m_gl;
    std::unique_ptr<KxcGLTexture> m_texture;
    std::vector<Chunk> m_chunks;
    KxcFixed m_yaw, m_pitch, m_distance = KxcFixed(2.4);
    INT32 m_heldX = 0, m_heldY = 0;
};

/// Copies the model into vertex buffers.
bool Viewer::split()
{
    size_t corner = 0;
    while (corner < g_model.corners.size())
    {
        std::vector<INT32> places(g_model.vertices.size(), -1); // in the chunk
        std::vector<Vertex> vertices;
        Chunk chunk;
        for (; corner < g_model.corners.size() && vertices.size() + 3 <= kLargestChunk; corner += 3)
            for (size_t k = 0; k < 3; ++k)
            {
                INT32& place = places[g_model.corners[corner + k]];
                if (place < 0)
                {
                    const Model::Vertex& v = g_model.vertices[g_model.corners[corner + k]];
                    place = INT32(vertices.size());
                    // The renderer looks along z, a model is made to be looked at from there.
                    vertices.push_back({{v.position[0], v.position[1], -v.position[2]},
                                        {v.normal[0], v.normal[1], -v.normal[2]},
                                        {v.texture[0], v.texture[1]}});
                }
                chunk.indices.push_back(UINT16(place));
            }
        chunk.vertices.reset(KxcGLVertexBuffer::create(KXCGLVERTEX_POSITION | KXCGLVERTEX_NORMAL | KXCGLVERTEX_TEXTURE1,
                                                       sizeof(Vertex), INT32(vertices.size())));
        if (!chunk.vertices)
            return false;
        std::copy(vertices.begin(), vertices.end(), static_cast<Vertex*>(chunk.vertices->lock(0)));
        chunk.vertices->unlock();
        if (chunk.vertices->optimize() != 0)
            return false;
        m_chunks.push_back(std::move(chunk));
    }
    return true;
}

void Viewer::setUp()
{
    m_gl->setViewport({0, 0, KxcCore::getDeviceWidth(), KxcCore::getDeviceHeight(), 0, 0});
    KxcMatrix4 projection;
    KxcMath::matrixToProjection(projection, KxcCore::getDeviceHeight(), KxcCore::getDeviceWidth(), radians(50), 0.1,
                                20);
    m_gl->setMatrix(KXCGLMATRIX_PROJECTION, projection);
    m_gl->setStateI(KXCGLSTATE_LIGHTING, 1);
    m_gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GOURAUD);
    m_gl->setStateI(KXCGLSTATE_PERSPECTIVE, 1);
    m_gl->setStateI(KXCGLSTATE_AMBIENT, 0x505050);
    m_gl->setStateI(KXCGLSTATE_CULLING, g_options.twoSided ? KXCGLCULL_NONE : KXCGLCULL_NEGATIVE);
    m_gl->setMaterial({0xFFFFFFFF, 0, 0xFFFFFF, 0, 0});
    KxcGLLight light = {};
    light.type = KXCGLLIGHT_DIRECTIONAL;
    light.colour[0] = KxcFixed(0.8), light.colour[1] = KxcFixed(0.78), light.colour[2] = KxcFixed(0.7);
    m_gl->setLight(0, light);
    m_gl->enableLight(0, 1);
    m_gl->setTexture(m_texture.get());
}

void Viewer::render()
{
    KxcMatrix4 world, view;
    KxcMath::matrixRotationX(world, m_pitch);
    KxcMath::matrixRotateY(world, m_yaw);
    KxcMath::matrixTranslation(view, {KxcFixed(0), KxcFixed(0), m_distance});
    m_gl->setMatrix(KXCGLMATRIX_WORLD, world);
    m_gl->setMatrix(KXCGLMATRIX_VIEW, view);
    // The light stays with the viewer, from above on the left.
    KxcGLLight light;
    m_gl->getLight(0, light);
    light.direction = {KxcFixed(-0.5), KxcFixed(0.6), KxcFixed(-0.62)};
    m_gl->setLight(0, light);

    m_gl->clear(kBackground, KxcFixed(0), 0);
    m_gl->beginRender();
    for (const Chunk& chunk : m_chunks)
        m_gl->renderPrimitiveIndexed(chunk.vertices.get(), KXCGLPRIMITIVE_LIST, 0, chunk.indices.data(),
                                     INT32(chunk.indices.size()), 0, chunk.vertices->getNumVertices() - 1, nullptr);
    m_gl->endRender();
}

void Viewer::onKeyDown(INT32 code)
{
    switch (code)
    {
    case 27:
        KxcCore::quit();
    case 'W':
        toggle(KXCGLSTATE_WIREFRAME, 1, 0);
        break;
    case 'P':
        toggle(KXCGLSTATE_PERSPECTIVE, 1, 0);
        break;
    case 'B':
        toggle(KXCGLSTATE_CULLING, KXCGLCULL_NONE, KXCGLCULL_NEGATIVE);
        break;
    case KXCKEY_WHEELUP:
        m_distance = m_distance > KxcFixed(1.2) ? m_distance - KxcFixed(0.1) : m_distance;
        break;
    case KXCKEY_WHEELDOWN:
        m_distance = m_distance < KxcFixed(10) ? m_distance + KxcFixed(0.1) : m_distance;
        break;
    default:
        break;
    }
}

Viewer* g_viewer;

long makeViewer()
{
    kxcUseDefaults();
    g_viewer = new Viewer();
    return 0;
}

void setPreferences(KxcAppPrefs& prefs)
{
    prefs.title = g_options.model.c_str();
    prefs.resourceMemoryLimit = 1 << 20;
}

int runHeadless()
{
    embeddedInit(kWidth, kHeight, makeViewer, setPreferences, nullptr);
    if (!g_viewer->ready())
        return embeddedDeinit(), 1;
    const short* frame = embeddedFrame();
    INT32 drawn = 0;
    for (INT32 i = 0; i < kWidth * kHeight; ++i)
        drawn += frame[i] != frame[0];
    const bool written = kxcWriteFrame(g_options.out.c_str(), kWidth, kHeight, frame);
    std::printf("%s: %zu vertices, %zu triangles, %d pixels drawn\n", g_options.model.c_str(), g_model.vertices.size(),
                g_model.corners.size() / 3, drawn);
    embeddedDeinit();
    if (drawn == 0)
        std::fprintf(stderr, "%s: nothing is visible; its faces may be turned inside out: try --two-sided\n",
                     g_options.model.c_str());
    return written && drawn > 0 ? 0 : 1;
}

bool readOptions(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = argv[i];
        if (argument == "--headless")
            g_options.headless = true;
        else if (argument == "--two-sided")
            g_options.twoSided = true;
        else if (argument == "--turn" && i + 1 < argc)
            g_options.turn = std::atoi(argv[++i]) % 360;
        else if (argument == "--out" && i + 1 < argc)
            g_options.out = argv[++i];
        else if (argument[0] == '-')
            return false;
        else if (g_options.model.empty())
            g_options.model = argument;
        else if (g_options.texture.empty())
            g_options.texture = argument;
        else
            return false;
    }
    return !g_options.model.empty() && (!g_options.headless || !g_options.out.empty());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string(argv[1]) == "--help")
        return std::fputs(kUsage, stdout), 0;
    if (!readOptions(argc, argv))
        return std::fputs(kUsage, stderr), 2;
    const std::string fault = g_model.load(g_options.model);
    if (!fault.empty())
    {
        std::fprintf(stderr, "%s: %s\n", g_options.model.c_str(), fault.c_str());
        return 1;
    }
    g_model.fit();
    if (g_options.headless)
        return runHeadless();
    realWinMain(kWidth, kHeight, nullptr, 1, makeViewer, setPreferences, nullptr);
    std::fprintf(stderr, "model_viewer: without a display, use --headless --out FILE.png\n");
    return 1;
}
