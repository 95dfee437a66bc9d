// main.cpp - a game to begin with: a picture that the arrow keys or a click move. Escape ends it.
//
//   my_game             plays in a window
//   my_game --headless  plays some frames without a display, and checks what they show
#include <kxcoreemb/kxcoreemb.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace
{

constexpr INT32 kWidth = 320, kHeight = 240; // of the screen, in pixels
constexpr INT32 kSize = 32;                  // of the picture
constexpr INT32 kSpeed = 3;                  // pixels a frame
constexpr INT32 kFrameMs = 16;
constexpr INT32 kKeyEscape = 27, kKeyRight = 39; // virtual-key codes
constexpr UINT32 kGround = 0xFF203040, kSkin = 0xFFFFC020, kInk = 0xFF402000;

class Game : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    Game() : m_gl(KxcGL::create(0, 0)), m_picture(KxcGLSurface::create(kSize, kSize, 0))
    {
        KxcCore::setRenderer(this);
        KxcCore::setController(this);
        if (m_picture) // a face; KxcImageLoader::load("face.tga", 0) would read one from a file
        {
            m_picture->clear(kSkin);
            m_picture->drawFilledRect(8, 8, 4, 8, kInk);
            m_picture->drawFilledRect(20, 8, 4, 8, kInk);
            m_picture->drawFilledRect(8, 22, 16, 3, kInk);
        }
    }
    bool ready() const { return m_gl && m_picture; }

    void onTick() override
    {
        m_x += (m_right - m_left) * kSpeed;
        m_y += (m_down - m_up) * kSpeed;
    }
    void render() override
    {
        KxcGLSurface* screen = m_gl->getSecondary();
        screen->clear(kGround);
        screen->drawImage(m_picture.get(), m_x, m_y);
    }

    void onControlDown(INT32 code) override { hold(code, 1); }
    void onControlUp(INT32 code) override { hold(code, 0); }
    void onPointerDown(INT32 x, INT32 y) override { m_x = x - kSize / 2, m_y = y - kSize / 2; }
    void onKeyDown(INT32 code) override
    {
        if (code == kKeyEscape)
            KxcCore::quit();
    }

private:
    void hold(INT32 code, INT32 held)
    {
        switch (code)
        {
        case KXCCTRL_LEFT:
            m_left = held;
            break;
        case KXCCTRL_RIGHT:
            m_right = held;
            break;
        case KXCCTRL_UP:
            m_up = held;
            break;
        case KXCCTRL_DOWN:
            m_down = held;
            break;
        default:
            break;
        }
    }

    std::unique_ptr<KxcGL> m_gl; // the graphics device, and with it the surface that is shown
    std::unique_ptr<KxcGLSurface> m_picture;
    INT32 m_x = (kWidth - kSize) / 2, m_y = (kHeight - kSize) / 2;
    INT32 m_left = 0, m_right = 0, m_up = 0, m_down = 0; // 1 while held
};

/// In the window a frame is followed by a pause: the engine has no frame limiter.
class WindowGame : public Game
{
public:
    void onTick() override
    {
        Game::onTick();
        KxcCore::sleep(kFrameMs);
    }
};

template <class Kind>
long makeGame()
{
    kxcUseDefaults();              // archives, TGA and PCX pictures, the 3D renderer, sound
    const Kind* game = new Kind(); // the engine deletes it at the end
    return game->ready() ? 0 : 1;
}

void setPreferences(KxcAppPrefs& prefs) { prefs.title = "My game"; }

/// Whether the next frame shows the picture with its corner at (left, top), and the ground around it.
bool shownAt(INT32 left, INT32 top)
{
    const short* frame = embeddedFrame();
    const auto pixel = [&](INT32 x, INT32 y) { return frame[(top + y) * kWidth + left + x]; };
    const short skin = pixel(0, 0), ink = pixel(8, 8), ground = frame[0];
    return skin != ground && ink != skin && ink != ground && pixel(kSize - 1, kSize - 1) == skin &&
           pixel(23, 24) == ink && pixel(-1, 0) == ground && pixel(0, -1) == ground && pixel(kSize, 0) == ground &&
           pixel(0, kSize) == ground;
}

int fail(const char* what)
{
    std::fprintf(stderr, "my_game: %s\n", what);
    return 1;
}

long g_fault = 0;
long makeTestedGame() // an init function that fails ends the program with exit code 0: no test would notice
{
    g_fault = makeGame<Game>();
    return 0;
}

int playHeadless()
{
    embeddedInit(kWidth, kHeight, makeTestedGame, setPreferences, nullptr);
    if (g_fault != 0)
        return fail("the game cannot start");
    if (!shownAt(144, 104))
        return fail("the picture is not in the middle of the screen");
    embeddedKeyDown(kKeyRight);
    for (INT32 frame = 1; frame <= 10; ++frame)
        if (!shownAt(144 + frame * kSpeed, 104))
            return fail("the picture does not follow the key");
    embeddedKeyUp(kKeyRight);
    if (!shownAt(144 + 10 * kSpeed, 104))
        return fail("the picture goes on when the key is let go");
    embeddedPointerDown(100, 50);
    if (!shownAt(84, 34))
        return fail("the picture does not come to where the pointer is");
    std::puts("my_game: all frames show what they should");
    embeddedKeyDown(kKeyEscape); // ends the program, with exit code 0
    return fail("Escape does not end the game");
}

} // namespace

int main(int argc, char** argv)
{
    if (kxcGetVersion() / 100 != KXC_VERSION / 100)
        return fail("the library is of another version than the headers that the game was built with");
    if (argc == 2 && std::strcmp(argv[1], "--headless") == 0)
        return playHeadless();
    if (argc != 1)
        return fail("usage: my_game [--headless]");
    realWinMain(kWidth, kHeight, nullptr, 1, makeGame<WindowGame>, setPreferences, nullptr);
    return fail("no window can be opened; try --headless"); // a run that opened one ended inside
}
