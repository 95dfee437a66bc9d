// main.cpp - svg_viewer: shows SVG drawings, or writes them as PNG files.
#include "picture_file.h"
#include "svg_drawing.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace
{

constexpr INT32 kWindow = 480, kLargestPicture = 4096;
constexpr UINT32 kPaper = 0xFFFFFFFF;

constexpr char kUsage[] = "usage: svg_viewer FILE.svg [--headless --size N --out FILE.png]\n"
                          "\n"
                          "The wheel zooms, a drag moves, Escape ends. --headless writes N x N pixels (256 when not\n"
                          "given), transparent where the drawing is.\n";

struct Options
{
    std::string name, out;
    bool headless = false;
    int size = 256;
};
Options g_options;
SvgFile g_file;

class Viewer : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    Viewer() : m_gl(KxcGL::create(0, 0)), m_view(fitSvg(g_file, kWindow, kWindow))
    {
        KxcCore::setRenderer(this);
        KxcCore::setController(this);
    }
    void onTick() override { KxcCore::sleep(20); }
    void render() override
    {
        KxcGLSurface* screen = m_gl->getSecondary();
        screen->clear(kPaper);
        drawSvg(g_file, screen, m_view);
    }
    void onPointerDown(INT32 x, INT32 y) override { m_x = x, m_y = y; }
    void onPointerMove(INT32 x, INT32 y) override
    {
        m_view = Affine{1, 0, 0, 1, double(x - m_x), double(y - m_y)} * m_view;
        onPointerDown(x, y);
    }
    void onKeyDown(INT32 code) override
    {
        if (code == 27)
            KxcCore::quit();
        if (code == KXCKEY_WHEELUP || code == KXCKEY_WHEELDOWN)
        {
            const double middle = kWindow / 2.0, factor = code == KXCKEY_WHEELUP ? 1.25 : 0.8;
            m_view = Affine{factor, 0, 0, factor, middle - middle * factor, middle - middle * factor} * m_view;
        }
    }

private:
    std::unique_ptr<KxcGL> m_gl;
    Affine m_view;
    INT32 m_x = 0, m_y = 0;
};

long makeViewer()
{
    kxcUseGLDefault();
    kxcUse2DVectorGraphics();
    if (!g_options.headless)
        new Viewer(); // the engine's
    return 0;
}

int writePicture()
{
    embeddedInit(32, 32, makeViewer, nullptr, nullptr);
    bool written = false;
    {
        const std::unique_ptr<KxcGLSurface> picture(
            KxcGLSurface::create(g_options.size, g_options.size, KXCSURFACEFORMAT_PREMUL8888));
        void* pixels = nullptr;
        if (picture)
        {
            picture->clear(0);
            drawSvg(g_file, picture.get(), fitSvg(g_file, g_options.size, g_options.size));
            picture->lock(&pixels, KXCSURFACEFORMAT_8888, KXCLOCK_READONLY);
        }
        written = pixels && kxcWritePicture(g_options.out.c_str(), g_options.size, g_options.size,
                                            static_cast<UINT32*>(pixels), true);
        if (pixels)
            picture->unlock();
    }
    embeddedDeinit();
    return written ? 0 : 1;
}

bool readOptions(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = argv[i];
        if (argument == "--headless")
            g_options.headless = true;
        else if (argument == "--size" && i + 1 < argc)
            g_options.size = std::atoi(argv[++i]);
        else if (argument == "--out" && i + 1 < argc)
            g_options.out = argv[++i];
        else if (argument[0] == '-' || !g_options.name.empty())
            return false;
        else
            g_options.name = argument;
    }
    return !g_options.name.empty() && g_options.size > 0 && g_options.size <= kLargestPicture &&
           (!g_options.headless || !g_options.out.empty());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string(argv[1]) == "--help")
        return std::fputs(kUsage, stdout), 0;
    if (!readOptions(argc, argv))
        return std::fputs(kUsage, stderr), 2;
    const std::string fault = g_file.load(g_options.name);
    if (!fault.empty())
    {
        std::fprintf(stderr, "%s: %s\n", g_options.name.c_str(), fault.c_str());
        return 1;
    }
    for (const std::string& warning : g_file.warnings)
        std::fprintf(stderr, "%s: %s\n", g_options.name.c_str(), warning.c_str());
    if (g_options.headless)
        return writePicture();
    realWinMain(kWindow, kWindow, nullptr, 1, makeViewer, nullptr, nullptr);
    std::fprintf(stderr, "svg_viewer: without a display, use --headless --out FILE.png\n");
    return 1;
}
