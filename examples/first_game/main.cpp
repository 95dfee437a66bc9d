// A first game: a square that the arrow keys move and a click sends somewhere else. Escape ends it.
#include <kxcoreemb/kxcoreemb.h>

#include <memory>

class FirstGame : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    FirstGame() : gl(KxcGL::create(0, 0)) // the graphics device, and with it the picture to draw on
    {
        KxcCore::setRenderer(this);
        KxcCore::setController(this);
    }
    void onTick() override { KxcCore::sleep(10); } // the engine has no frame limiter; pacing is the game's
    void render() override
    {
        KxcGLSurface* screen = gl->getSecondary();
        screen->clear(0xFF203040);
        screen->drawFilledRect(x - 10, y - 10, 20, 20, 0xFFFFC020);
    }
    void onControlDown(INT32 code) override
    {
        x += code == KXCCTRL_RIGHT ? 8 : code == KXCCTRL_LEFT ? -8 : 0;
        y += code == KXCCTRL_DOWN ? 8 : code == KXCCTRL_UP ? -8 : 0;
    }
    void onPointerDown(INT32 toX, INT32 toY) override { x = toX, y = toY; }
    void onKeyDown(INT32 code) override
    {
        if (code == 27)
            KxcCore::quit();
    }

private:
    std::unique_ptr<KxcGL> gl;
    INT32 x = 160, y = 120;
};

long makeGame() { return new FirstGame() == nullptr; } // the engine deletes it at the end

int main() { return realWinMain(320, 240, nullptr, 1, makeGame, nullptr, nullptr); }
