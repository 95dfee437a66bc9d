// echo_game.cpp - a game that prints every event it gets and shows a picture that encodes each pixel's position.

#include "core/core_state.h" // the frame buffer, which games reach through a graphics device only

#include <kxcoreemb/host.h>

#include <cstdio>

static const INT32 kWidth = 121, kHeight = 83; // odd, so that rows of a screenshot are padded

struct EchoInput : KxcInput
{
    void onPointerDown(INT32 x, INT32 y) override { std::printf("pointer down %d %d\n", x, y); }
    void onPointerMove(INT32 x, INT32 y) override { std::printf("pointer move %d %d\n", x, y); }
    void onPointerUp(INT32 x, INT32 y) override { std::printf("pointer up %d %d\n", x, y); }
    void onKeyDown(INT32 code) override { std::printf("down %d\n", code); }
    void onKeyUp(INT32 code) override { std::printf("up %d\n", code); }
    void onCharEntered(char c) override { std::printf("char %d\n", static_cast<unsigned char>(c)); }
};

struct EchoRenderer : KxcRenderer
{
    void render() override
    {
        UINT16* pixel = kxcCore->frameBuffer;
        for (INT32 y = 0; y < kHeight; ++y)
            for (INT32 x = 0; x < kWidth; ++x)
                *pixel++ = static_cast<UINT16>(x * 2081 + y * 4129);
    }
    INT32 updateScreen(void*) override { return 1; }
};

struct EchoGame : KxcApp
{
    EchoInput input;
    EchoRenderer renderer;
    INT32 frames = 0;

    void onAppInit() override
    {
        KxcCore::setController(&input);
        KxcCore::setRenderer(&renderer);
    }
    void onTick() override
    {
        if (++frames == 3) // two were shown
            std::puts("running");
        KxcCore::sleep(2);
    }
    void onAppDeinit() override { std::puts("deinit"); }
    INT32 onDeviceStateEvent(INT32 event, INT32 param, void* data) override
    {
        std::printf("event %d %d\n", event, param);
        return KxcApp::onDeviceStateEvent(event, param, data);
    }
};

static long appInit()
{
    new EchoGame;
    return 0;
}

static void appPrefs(KxcAppPrefs& prefs) { prefs.title = "Echo"; }

int main()
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    return realWinMain(kWidth, kHeight, nullptr, 1, appInit, appPrefs, nullptr);
}
