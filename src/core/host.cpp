// host.cpp - the entry points of a program that owns the display and the loop, and the frame cycle that every host
// runs.
#include <kxcoreemb/host.h>

#include "core/core_state.h"
#include "gl/device.h"
#include "platform/platform.h"

#include <kxcoreemb/communication.h>

void embeddedInit(int width, int height, long (*appInit)(void), void (*appPrefs)(KxcAppPrefs&), void*)
{
    if (kxcCore)
        return;
    if (!kxcPlatformSocketsStart())
        KxcCore::quit();
    kxcCoreBuild(width, height, appPrefs);
    kxcCoreStartApplication(width, height, appInit);
}

short* embeddedFrame()
{
    if (!kxcCore)
        return nullptr;
    KxcCore::getTick();
    if (kxcCore->app)
        kxcCore->app->onTick();
    if (kxcCore->scheduler)
        kxcCore->scheduler->runScheduler();
    if (KxcRenderer* renderer = kxcCore->renderer)
    {
        renderer->render();
        if (renderer->updateScreen(nullptr) == 0 && kxcCore->device)
            kxcCore->device->present();
    }
    return reinterpret_cast<short*>(kxcCore->frameBuffer);
}

void embeddedDeinit() { kxcCoreTearDown(); }

void embeddedKeyDown(int key) { kxcInputKey(key, true); }

void embeddedKeyUp(int key) { kxcInputKey(key, false); }

void embeddedControlDown(int control)
{
    if (kxcCore && kxcCore->controller)
        kxcCore->controller->onControlDown(control);
}

void embeddedControlUp(int control)
{
    if (kxcCore && kxcCore->controller)
        kxcCore->controller->onControlUp(control);
}

void embeddedPointerDown(int x, int y) { kxcInputPointer(x, y, KXCPOINTER_DOWN); }

void embeddedPointerMove(int x, int y) { kxcInputPointer(x, y, KXCPOINTER_MOVE); }

void embeddedPointerUp(int x, int y) { kxcInputPointer(x, y, KXCPOINTER_UP); }
