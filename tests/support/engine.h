// engine.h - runs the engine headless inside a test, and collects what it would have shown in message boxes.
#pragma once

#include "core/core_state.h"
#include "platform/platform.h"

#include <kxcoreemb/kxcoreemb.h>

#include <string>
#include <vector>

/// The message boxes since the last clear(), as "caption: text".
inline std::vector<std::string>& shownMessages()
{
    static std::vector<std::string> messages;
    return messages;
}

/// An engine without an application, for as long as it lives.
struct Engine
{
    explicit Engine(int width = 32, int height = 16, void (*appPrefs)(KxcAppPrefs&) = nullptr,
                    long (*appInit)(void) = nullptr)
    {
        shownMessages().clear();
        kxcPlatformMessageBoxHook = [](const char* text, const char* caption, KxcPlatformIcon)
        { shownMessages().push_back(std::string(caption) + ": " + text); };
        embeddedInit(width, height, appInit, appPrefs, nullptr);
    }
    ~Engine()
    {
        embeddedDeinit();
        kxcPlatformMessageBoxHook = nullptr;
    }
};
