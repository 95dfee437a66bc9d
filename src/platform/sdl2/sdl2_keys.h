// sdl2_keys.h - SDL's keys as the virtual-key codes that games know.
#pragma once

#include <kxcoreemb/base.h>

#include <SDL.h>

/// The virtual-key code of a key under the modifiers it was pressed with; 0 when it has none.
/// Letters and the four signs , - . + follow the keyboard layout, every other key its place on the keyboard.
UINT32 kxcSDL2VirtualKey(const SDL_Keysym& key);

/// The control character that a key types: Enter, Backspace, Tab, Escape, Ctrl with a letter; 0 when it types none.
UINT32 kxcSDL2ControlCharacter(const SDL_Keysym& key);
