// headless_host.cpp - the host without a display: no window opens, and message boxes are lines on stderr.

#include "platform/platform.h"

#include <cstdio>

static INT32 openWindow(INT32 width, INT32 height, const char* title, INT32)
{
    std::fprintf(stderr,
                 "kxcoreemb: no window for \"%s\" (%d x %d): the library was built without SDL2; "
                 "build it with -DKXC_DESKTOP=ON or run the engine with embeddedInit\n",
                 title, width, height);
    return 0;
}

static INT32 nextMessage(KxcPlatformMessage*) { return 0; }

static void present(const UINT16*) {}

static void closeWindow() {}

static void messageBox(const char* text, const char* caption, KxcPlatformIcon)
{
    std::fprintf(stderr, "%s: %s\n", caption, text);
}

const KxcPlatformHost kxcPlatformHeadless = {"headless", openWindow, nextMessage, present, closeWindow, messageBox};
