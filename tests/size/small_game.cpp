// small_game.cpp - what a game carries that uses the core, surfaces and one filler: a program for sizes.sh to weigh.
//
// With --headless it plays three frames without a display, looks at them, and prints the bytes that the core has
// allocated before the game does.
#include <kxcoreemb/kxcoreemb.h>

#include <cstdio>
#include <cstring>
#include <malloc.h>
#include <memory>

namespace
{

size_t allocatedBytes()
{
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

class SmallGame : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    SmallGame() : m_gl(KxcGL::create(0, 0)) // the device that is always there and has no fillers of its own
    {
        struct Corner
        {
            KxcFixed x, y, z, w;
            UINT32 color;
        };
        static_assert(sizeof(Corner) == 20, "the stride below");
        kxcGLUseFillerGouraud();
        m_corners.reset(
            KxcGLVertexBuffer::create(KXCGLVERTEX_POSITION | KXCGLVERTEX_RECIPROCALW | KXCGLVERTEX_COLOR, 20, 3));
        const Corner corners[3] = {{KxcFixed(60), KxcFixed(20), KxcFixed(0), KxcFixed(1), 0xFFFF0000},
                                   {KxcFixed(20), KxcFixed(100), KxcFixed(0), KxcFixed(1), 0xFF0000FF},
                                   {KxcFixed(100), KxcFixed(100), KxcFixed(0), KxcFixed(1), 0xFF00FF00}};
        if (void* at = m_corners ? m_corners->lock(0) : nullptr)
        {
            memcpy(at, corners, sizeof(corners));
            m_corners->unlock();
        }
        KxcCore::setRenderer(this);
        KxcCore::setController(this);
    }
    void onTick() override { KxcCore::sleep(10); }
    void render() override
    {
        KxcGLSurface* screen = m_gl->getSecondary();
        m_gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GOURAUD);
        m_gl->setViewport({0, 0, screen->getWidth(), screen->getHeight(), 0, 0});
        m_gl->beginRender();
        screen->clear(0xFF203040);
        screen->drawFilledRect(120, 40, 60, 60, 0xFFFFC020);
        m_gl->renderPrimitive(m_corners.get(), KXCGLPRIMITIVE_LIST, 0, 3, 0, 2, nullptr);
        m_gl->endRender();
    }
    void onKeyDown(INT32 code) override
    {
        if (code == 27)
            KxcCore::quit();
    }

private:
    std::unique_ptr<KxcGL> m_gl;
    std::unique_ptr<KxcGLVertexBuffer> m_corners;
};

size_t bytesBefore, bytesOfCore;

long makeGame()
{
    bytesOfCore = allocatedBytes() - bytesBefore;
    return new SmallGame() == nullptr;
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 2 || strcmp(arguments[1], "--headless") != 0)
        return realWinMain(200, 120, nullptr, 1, makeGame, nullptr, nullptr);
    bytesBefore = allocatedBytes();
    embeddedInit(200, 120, makeGame, nullptr, nullptr);
    const short* frame = nullptr;
    for (int i = 0; i < 3; ++i)
        frame = embeddedFrame();
    const auto pixel = [&](int x, int y) { return frame ? static_cast<unsigned short>(frame[y * 200 + x]) : 0u; };
    const bool drawn = pixel(1, 1) == 0x2188 && pixel(150, 70) == 0xFE04 && (pixel(60, 30) & 0xF800) > 0x8000 &&
                       (pixel(97, 98) & 0x07C0) > 0x400 && (pixel(24, 98) & 0x001F) > 0x10;
    if (!drawn)
        printf("pixels: %04X %04X %04X %04X %04X\n", pixel(1, 1), pixel(150, 70), pixel(60, 30), pixel(97, 98),
               pixel(24, 98));
    embeddedDeinit();
    printf("%zu\n", bytesOfCore);
    return drawn ? 0 : 1;
}
