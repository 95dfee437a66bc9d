// main.cpp - kxview: shows a TGA or PCX picture in a window, writes it as PNG or BMP, or tells what it is.
//
// In the window: drag or the arrow keys move the picture, the wheel or + and - zoom, 0 resets, Escape ends.
#include "picture_file.h"
#include "raw_name.h"

#include <kxcoreemb/kxcoreemb.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace
{

constexpr char kUsage[] = "usage: kxview FILE [--info] [--out FILE.png|FILE.bmp]\n"
                          "\n"
                          "Shows a TGA or PCX picture in a window: drag or arrow keys move it, wheel or + and - zoom,\n"
                          "0 resets, Escape ends.\n"
                          "  --info      tell size and kind, open no window\n"
                          "  --out FILE  write the picture as PNG or BMP, open no window\n";

constexpr INT32 kSmallestWindow = 160, kLargestWindowWidth = 1200, kLargestWindowHeight = 800;
constexpr INT32 kMargin = 16, kCheck = 8, kStep = 16;

// Virtual-key codes.
enum : INT32
{
    KEY_ESCAPE = 27,
    KEY_0 = '0',
    KEY_ADD = 107,
    KEY_SUBTRACT = 109,
    KEY_PLUS = 187,
    KEY_MINUS = 189
};

std::string g_path, g_title; // what the command line names
INT32 g_width, g_height;     // of the picture

INT32 clampSize(INT32 size, INT32 largest)
{
    return size < kSmallestWindow ? kSmallestWindow : size > largest ? largest : size;
}

/// The window: the picture over a chequered ground, moved and zoomed by the user.
class Viewer : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    Viewer() : m_gl(KxcGL::create(0, 0)), m_picture(KxcImageLoader::load(g_path.c_str(), KXCSURFACEFORMAT_PREMUL8888))
    {
        KxcCore::setRenderer(this);
        KxcCore::setController(this);
    }
    bool ready() const { return m_gl && m_picture; }

    void onTick() override { KxcCore::sleep(10); }

    void render() override
    {
        KxcGLSurface* screen = m_gl->getSecondary();
        const INT32 width = screen->getWidth(), height = screen->getHeight();
        for (INT32 y = 0; y < height; y += kCheck)
            for (INT32 x = 0; x < width; x += kCheck)
                screen->drawFilledRect(x, y, kCheck, kCheck, (x / kCheck + y / kCheck) % 2 ? 0xFF808080 : 0xFF989898);
        const INT32 shownWidth = scaled(g_width), shownHeight = scaled(g_height);
        screen->drawImageBlend(m_picture.get(), (width - shownWidth) / 2 + m_x, (height - shownHeight) / 2 + m_y,
                               shownWidth, shownHeight, KXCBLEND_NONE, 0);
    }

    void onPointerDown(INT32 x, INT32 y) override { m_heldX = x, m_heldY = y; }
    void onPointerMove(INT32 x, INT32 y) override
    {
        m_x += x - m_heldX, m_y += y - m_heldY;
        onPointerDown(x, y);
    }
    void onKeyDown(INT32 code) override
    {
        switch (code)
        {
        case KEY_ESCAPE:
            KxcCore::quit();
        case KEY_ADD:
        case KEY_PLUS:
        case KXCKEY_WHEELUP:
            m_zoom += m_zoom < 5;
            break;
        case KEY_SUBTRACT:
        case KEY_MINUS:
        case KXCKEY_WHEELDOWN:
            m_zoom -= m_zoom > -5;
            break;
        case KEY_0:
            m_zoom = m_x = m_y = 0;
            break;
        default:
            break;
        }
    }
    void onControlDown(INT32 code) override
    {
        m_x += code == KXCCTRL_LEFT ? kStep : code == KXCCTRL_RIGHT ? -kStep : 0;
        m_y += code == KXCCTRL_UP ? kStep : code == KXCCTRL_DOWN ? -kStep : 0;
    }

private:
    INT32 scaled(INT32 size) const
    {
        const INT32 result = m_zoom < 0 ? size >> -m_zoom : size > (INT32_MAX >> 8) ? size : size << m_zoom;
        return result > 0 ? result : 1;
    }

    std::unique_ptr<KxcGL> m_gl;
    std::unique_ptr<KxcGLSurface> m_picture;
    INT32 m_x = 0, m_y = 0, m_zoom = 0; // powers of two
    INT32 m_heldX = 0, m_heldY = 0;
};

long makeViewer()
{
    kxcUseDefaults();
    Viewer* viewer = new Viewer();
    return viewer->ready() ? 0 : 1;
}

void registerFilters(KxcAppPrefs&) {}

int show()
{
    const auto preferences = [](KxcAppPrefs& prefs) { prefs.title = g_title.c_str(); };
    realWinMain(clampSize(g_width + 2 * kMargin, kLargestWindowWidth),
                clampSize(g_height + 2 * kMargin, kLargestWindowHeight), nullptr, 1, makeViewer, preferences, nullptr);
    std::fprintf(stderr, "kxview: without a display, use --info or --out\n");
    return 1;
}

void tell(const std::string& name, INT32 hasAlpha, INT32 isPaletted)
{
    std::printf("%s: %d x %d pixels, %s\n", name.c_str(), g_width, g_height,
                isPaletted ? "256 colours"
                : hasAlpha ? "true colour with alpha"
                           : "true colour");
}

} // namespace

int main(int argc, char** argv)
{
    std::string name, out;
    bool info = false;
    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = argv[i];
        if (argument == "--help" || argument == "-h")
            return std::fputs(kUsage, stdout), 0;
        if (argument == "--info")
            info = true;
        else if (argument == "--out" && i + 1 < argc)
            out = argv[++i];
        else if (argument[0] != '-' && name.empty())
            name = argument;
        else
            return std::fputs(kUsage, stderr), 2;
    }
    if (name.empty())
        return std::fputs(kUsage, stderr), 2;

    g_path = rawName(name);
    g_title = name + " - kxview";
    embeddedInit(
        1, 1, [] { return kxcUseDefaults(), 0L; }, registerFilters, nullptr);
    INT32 hasAlpha, isPaletted;
    KxcImageLoader::loadImageInfo(g_path.c_str(), &g_width, &g_height, &hasAlpha, &isPaletted);
    const std::unique_ptr<UINT32[]> pixels(g_width > 0 ? KxcImageLoader::loadImage8888(g_path.c_str()) : nullptr);
    embeddedDeinit();
    if (!pixels)
    {
        std::fprintf(stderr, "%s: no picture: the file is missing, damaged, or not a TGA or PCX file of a known kind\n",
                     name.c_str());
        return 1;
    }
    if (info)
        tell(name, hasAlpha, isPaletted);
    if (!out.empty() && !kxcWritePicture(out.c_str(), g_width, g_height, pixels.get(), hasAlpha != 0))
        return 1;
    return info || !out.empty() ? 0 : show();
}
