// host.h - how a program runs the engine: on the desktop with realWinMain, or inside a host of its own that owns the
// display and the loop, with the embedded* functions. The names are plain C, for hosts in other languages.
#pragma once

#include <kxcoreemb/core.h>

extern "C"
{
    /// The whole desktop run: start-up, window, frames until KxcCore::quit, which ends the process.
    /// @param width, height  the screen that the preferences start with, in pixels
    /// @param instance       the module handle; may be null
    /// @param showCommand    how the window is shown first; 0 hides it
    /// @param appInit        makes the game's KxcApp and registers components; not 0 ends the run: a message, code 0
    /// @param appPrefs       may adjust the preferences
    /// @param commandLine    copied; see KxcCore::getCommandlineString
    /// @return 0 when no window can be opened; else the parameter of the last message
    KXC_API int realWinMain(int width, int height, void* instance, int showCommand, long (*appInit)(void),
                            void (*appPrefs)(KxcAppPrefs&), char* commandLine);

    /// Start-up for a host that owns the display and the loop. The frame keeps this size whatever the preferences say.
    KXC_API void embeddedInit(int width, int height, long (*appInit)(void), void (*appPrefs)(KxcAppPrefs&),
                              void* instance);
    /// Runs one frame. @return width x height pixels, R5 G6 B5, top row first, the library's; null before embeddedInit
    KXC_API short* embeddedFrame();
    /// Frees the frame and tears the core down.
    KXC_API void embeddedDeinit();

    // --- input: delivered to the game's KxcInput at once, between frames ---
    KXC_API void embeddedKeyDown(int key);          ///< a virtual-key or KXCKEY_ code; mapped controls follow
    KXC_API void embeddedKeyUp(int key);            ///< likewise
    KXC_API void embeddedControlDown(int control);  ///< a KXCCTRL_ code, delivered as it is
    KXC_API void embeddedControlUp(int control);    ///< likewise
    KXC_API void embeddedPointerDown(int x, int y); ///< in screen pixels
    KXC_API void embeddedPointerMove(int x, int y); ///< likewise
    KXC_API void embeddedPointerUp(int x, int y);   ///< likewise

    /// The place for a host's sound set-up; nothing is needed here.
    KXC_API void embeddedSoundInit();
    /// Takes the next output buffer, for a host that plays or records the sound itself: call it once for every
    /// 2048 / 32000 s that pass. The mixer runs within this call.
    /// @param buffer  receives the samples, as KxcAudio::getAudioFormat tells, at most 8192 bytes; null drops them
    /// @return bytes written; 0 while no output is open, and on the desktop, where the device takes them
    KXC_API int embeddedSoundFrame(void* buffer);
}
