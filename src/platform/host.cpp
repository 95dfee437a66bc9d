// host.cpp - the window host in use, and the way of message boxes through it.

#include "platform/platform.h"

const KxcPlatformHost* kxcPlatformHost = &kxcPlatformHeadless;
void (*kxcPlatformMessageBoxHook)(const char* text, const char* caption, KxcPlatformIcon icon);

void kxcPlatformMessageBox(const char* text, const char* caption, KxcPlatformIcon icon)
{
    if (kxcPlatformMessageBoxHook)
        kxcPlatformMessageBoxHook(text, caption, icon);
    else
        kxcPlatformHost->messageBox(text, caption, icon);
}
