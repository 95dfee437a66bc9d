// desktop.cpp - the run of a game in a desktop window: start-up, the message loop, what each message does.
//
// The window stands for a handheld's screen with a border around it. A frame is run whenever the window's content is to
// be painted, and the loop asks for that as fast as it can: pacing is the game's business.

#include "audio/audio_device.h"
#include "core/core_state.h"
#include "core/desktop_picture.h"
#include "platform/platform.h"

#include <kxcoreemb/host.h>
#include <kxcoreemb/image_loader.h>
#include <kxcoreemb/string_toolkit.h>

static constexpr char kDefaultTitle[] = "Kestrix/Windows";
static constexpr UINT32 kScreenshotKey = 0x7B; // F12

static KxcDesktopPicture picture;

static void tearDown()
{
    kxcAudioStopOutput();
    picture.destroy();
    kxcPlatformHost->close();
}

static void paint()
{
    const short* frame = embeddedFrame();
    if (!frame)
        return;
    picture.showFrame(reinterpret_cast<const UINT16*>(frame));
    if (picture.pixels())
        kxcPlatformHost->present(picture.pixels());
}

static void pointer(const KxcPlatformMessage& message, KxcPointerState state)
{
    INT32 x = static_cast<INT16>(message.lParam);
    INT32 y = static_cast<INT16>(message.lParam >> 16);
    if (picture.toScreen(x, y))
        kxcInputPointer(x, y, state);
}

static void close()
{
    if (!kxcCore->app)
        KxcCore::quit();
    kxcCore->app->onDeviceStateEvent(KXCDSE_CLOSEREQUEST, 2, nullptr); // the game may well keep the window
}

static void activate(bool active)
{
    if (!kxcCore->app)
        return;
    if (active)
        kxcCore->app->onDeviceStateEvent(KXCDSE_FOCUSGAINED, 0, nullptr);
    else
        kxcCore->app->onDeviceStateEvent(KXCDSE_FOCUSLOST, 1, nullptr);
}

// The window procedure.
static void dispatch(const KxcPlatformMessage& message)
{
    switch (message.type)
    {
    case KXCMSG_CREATE:
        picture.create();
        break;
    case KXCMSG_DESTROY:
        KxcCore::quit();
    case KXCMSG_ACTIVATE:
        activate((message.wParam & 0xFFFF) != 0);
        break;
    case KXCMSG_PAINT:
        paint();
        break;
    case KXCMSG_CLOSE:
        close();
        break;
    case KXCMSG_KEYDOWN:
        kxcInputKey(static_cast<INT32>(message.wParam), true);
        break;
    case KXCMSG_KEYUP:
        if (message.wParam == kScreenshotKey && kxcCore->frameBuffer)
            kxcDesktopSaveScreenshot(kxcCore->frameBuffer, kxcCore->screenWidth, kxcCore->screenHeight);
        kxcInputKey(static_cast<INT32>(message.wParam), false);
        break;
    case KXCMSG_CHAR:
        if (kxcCore->controller)
            kxcCore->controller->onCharEntered(static_cast<char>(message.wParam));
        break;
    case KXCMSG_MOUSEMOVE:
        if (message.wParam & KXCMSG_LEFTHELD)
            pointer(message, KXCPOINTER_MOVE);
        break;
    case KXCMSG_LBUTTONDOWN:
        pointer(message, KXCPOINTER_DOWN);
        break;
    case KXCMSG_LBUTTONUP:
        pointer(message, KXCPOINTER_UP);
        break;
    case KXCMSG_MBUTTONDOWN:
        kxcInputKey(KXCKEY_MIDDLEBUTTON, true);
        break;
    case KXCMSG_MBUTTONUP:
        kxcInputKey(KXCKEY_MIDDLEBUTTON, false);
        break;
    case KXCMSG_MOUSEWHEEL:
    {
        INT32 key = static_cast<INT16>(message.wParam >> 16) > 0 ? KXCKEY_WHEELUP : KXCKEY_WHEELDOWN;
        kxcInputKey(key, true);
        kxcInputKey(key, false);
        break;
    }
    default:
        break;
    }
}

int realWinMain(int width, int height, void*, int showCommand, long (*appInit)(void), void (*appPrefs)(KxcAppPrefs&),
                char* commandLine)
{
    if (kxcCore)
        return 0;
#ifdef KXC_DESKTOP
    if (kxcPlatformHost == &kxcPlatformHeadless) // a host that was chosen before stays
        kxcPlatformHost = &kxcPlatformSDL2;
    if (kxcPlatformWave == &kxcPlatformHeadlessWave)
        kxcPlatformWave = &kxcPlatformSDL2Wave;
#endif
    kxcCoreDesktopTearDown = tearDown;
    if (!kxcPlatformSocketsStart())
        KxcCore::quit();
    kxcCoreBuild(width, height, appPrefs);
    const INT32 screenWidth = kxcCore->prefs.screenWidth, screenHeight = kxcCore->prefs.screenHeight;
    kxcCore->commandLine = KxcStringToolkit::copy(commandLine);
    kxcUseImageFilterPCX(); // reads the skin
    picture.layOut(screenWidth, screenHeight);
    kxcCoreStartApplication(screenWidth, screenHeight, appInit);

    const char* title = kxcCore->prefs.title ? kxcCore->prefs.title : kDefaultTitle;
    if (!kxcPlatformHost->open(picture.width(), picture.height(), title, showCommand))
    {
        kxcPlatformHost->close();
        return 0; // the core and the application live on
    }
    for (;;)
    {
        KxcPlatformMessage message;
        while (kxcPlatformHost->nextMessage(&message))
        {
            if (message.type == KXCMSG_QUIT)
                return static_cast<int>(message.wParam);
            dispatch(message);
        }
        dispatch({KXCMSG_PAINT, 0, 0});
    }
}
