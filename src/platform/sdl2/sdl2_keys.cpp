// sdl2_keys.cpp - one table from SDL's scancodes to virtual-key codes, and the keys that do not fit in it.

#include "platform/sdl2/sdl2_keys.h"

struct KeyPair
{
    SDL_Scancode scancode;
    UINT8 key;
};

// Left and right modifiers share the general code, as window messages report them. Letters, digits, function keys and
// keypad digits run in order and are filled in below.
static constexpr KeyPair kKeyPairs[] = {
    {SDL_SCANCODE_CANCEL, 0x03},
    {SDL_SCANCODE_BACKSPACE, 0x08},
    {SDL_SCANCODE_TAB, 0x09},
    {SDL_SCANCODE_CLEAR, 0x0C},
    {SDL_SCANCODE_RETURN, 0x0D},
    {SDL_SCANCODE_RETURN2, 0x0D},
    {SDL_SCANCODE_KP_ENTER, 0x0D},
    {SDL_SCANCODE_LSHIFT, 0x10},
    {SDL_SCANCODE_RSHIFT, 0x10},
    {SDL_SCANCODE_LCTRL, 0x11},
    {SDL_SCANCODE_RCTRL, 0x11},
    {SDL_SCANCODE_LALT, 0x12},
    {SDL_SCANCODE_RALT, 0x12},
    {SDL_SCANCODE_PAUSE, 0x13},
    {SDL_SCANCODE_CAPSLOCK, 0x14},
    {SDL_SCANCODE_LANG1, 0x15},          // Hangul
    {SDL_SCANCODE_INTERNATIONAL2, 0x15}, // Kana
    {SDL_SCANCODE_LANG2, 0x19},          // Hanja
    {SDL_SCANCODE_ESCAPE, 0x1B},
    {SDL_SCANCODE_INTERNATIONAL4, 0x1C}, // convert
    {SDL_SCANCODE_INTERNATIONAL5, 0x1D}, // do not convert
    {SDL_SCANCODE_MODE, 0x1F},
    {SDL_SCANCODE_SPACE, 0x20},
    {SDL_SCANCODE_PAGEUP, 0x21},
    {SDL_SCANCODE_PAGEDOWN, 0x22},
    {SDL_SCANCODE_END, 0x23},
    {SDL_SCANCODE_HOME, 0x24},
    {SDL_SCANCODE_LEFT, 0x25},
    {SDL_SCANCODE_UP, 0x26},
    {SDL_SCANCODE_RIGHT, 0x27},
    {SDL_SCANCODE_DOWN, 0x28},
    {SDL_SCANCODE_SELECT, 0x29},
    {SDL_SCANCODE_EXECUTE, 0x2B},
    {SDL_SCANCODE_PRINTSCREEN, 0x2C},
    {SDL_SCANCODE_INSERT, 0x2D},
    {SDL_SCANCODE_DELETE, 0x2E},
    {SDL_SCANCODE_HELP, 0x2F},
    {SDL_SCANCODE_LGUI, 0x5B},
    {SDL_SCANCODE_RGUI, 0x5C},
    {SDL_SCANCODE_APPLICATION, 0x5D},
    {SDL_SCANCODE_MENU, 0x5D},
    {SDL_SCANCODE_SLEEP, 0x5F},
    {SDL_SCANCODE_KP_MULTIPLY, 0x6A},
    {SDL_SCANCODE_KP_PLUS, 0x6B},
    {SDL_SCANCODE_SEPARATOR, 0x6C},
    {SDL_SCANCODE_KP_MINUS, 0x6D},
    {SDL_SCANCODE_KP_PERIOD, 0x6E},
    {SDL_SCANCODE_KP_DIVIDE, 0x6F},
    {SDL_SCANCODE_NUMLOCKCLEAR, 0x90},
    {SDL_SCANCODE_SCROLLLOCK, 0x91},
    {SDL_SCANCODE_KP_EQUALS, 0x92},
    {SDL_SCANCODE_AC_BACK, 0xA6},
    {SDL_SCANCODE_AC_FORWARD, 0xA7},
    {SDL_SCANCODE_AC_REFRESH, 0xA8},
    {SDL_SCANCODE_AC_STOP, 0xA9},
    {SDL_SCANCODE_AC_SEARCH, 0xAA},
    {SDL_SCANCODE_AC_BOOKMARKS, 0xAB},
    {SDL_SCANCODE_AC_HOME, 0xAC},
    {SDL_SCANCODE_WWW, 0xAC},
    {SDL_SCANCODE_MUTE, 0xAD},
    {SDL_SCANCODE_AUDIOMUTE, 0xAD},
    {SDL_SCANCODE_VOLUMEDOWN, 0xAE},
    {SDL_SCANCODE_VOLUMEUP, 0xAF},
    {SDL_SCANCODE_AUDIONEXT, 0xB0},
    {SDL_SCANCODE_AUDIOPREV, 0xB1},
    {SDL_SCANCODE_AUDIOSTOP, 0xB2},
    {SDL_SCANCODE_AUDIOPLAY, 0xB3},
    {SDL_SCANCODE_MAIL, 0xB4},
    {SDL_SCANCODE_MEDIASELECT, 0xB5},
    {SDL_SCANCODE_COMPUTER, 0xB6},
    {SDL_SCANCODE_CALCULATOR, 0xB7},
    {SDL_SCANCODE_SEMICOLON, 0xBA},
    {SDL_SCANCODE_EQUALS, 0xBB},
    {SDL_SCANCODE_COMMA, 0xBC},
    {SDL_SCANCODE_MINUS, 0xBD},
    {SDL_SCANCODE_PERIOD, 0xBE},
    {SDL_SCANCODE_SLASH, 0xBF},
    {SDL_SCANCODE_GRAVE, 0xC0},
    {SDL_SCANCODE_KP_COMMA, 0xC2}, // the Brazilian keypad's thousands sign
    {SDL_SCANCODE_LEFTBRACKET, 0xDB},
    {SDL_SCANCODE_BACKSLASH, 0xDC},
    {SDL_SCANCODE_NONUSHASH, 0xDC},
    {SDL_SCANCODE_INTERNATIONAL3, 0xDC}, // Yen
    {SDL_SCANCODE_RIGHTBRACKET, 0xDD},
    {SDL_SCANCODE_APOSTROPHE, 0xDE},
    {SDL_SCANCODE_NONUSBACKSLASH, 0xE2},
    {SDL_SCANCODE_INTERNATIONAL1, 0xE2}, // Ro
    {SDL_SCANCODE_CRSEL, 0xF7},
    {SDL_SCANCODE_EXSEL, 0xF8},
};

struct KeyTable
{
    UINT8 keys[SDL_NUM_SCANCODES];

    constexpr void fill(SDL_Scancode first, SDL_Scancode last, UINT8 firstKey)
    {
        for (int scancode = first; scancode <= last; ++scancode)
            keys[scancode] = static_cast<UINT8>(firstKey + (scancode - first));
    }
};

static constexpr KeyTable makeKeyTable()
{
    KeyTable table = {};
    for (const KeyPair& pair : kKeyPairs)
        table.keys[pair.scancode] = pair.key;
    table.fill(SDL_SCANCODE_A, SDL_SCANCODE_Z, 'A');
    table.fill(SDL_SCANCODE_1, SDL_SCANCODE_9, '1');
    table.fill(SDL_SCANCODE_0, SDL_SCANCODE_0, '0');
    table.fill(SDL_SCANCODE_KP_1, SDL_SCANCODE_KP_9, 0x61);
    table.fill(SDL_SCANCODE_KP_0, SDL_SCANCODE_KP_0, 0x60);
    table.fill(SDL_SCANCODE_F1, SDL_SCANCODE_F12, 0x70);
    table.fill(SDL_SCANCODE_F13, SDL_SCANCODE_F24, 0x7C);
    return table;
}
static constexpr KeyTable kKeyTable = makeKeyTable();

// What the keypad's 1 to 9, 0 and decimal point mean while Num Lock is off.
static constexpr UINT8 kNavigation[] = {0x23, 0x28, 0x22, 0x25, 0x0C, 0x27, 0x24, 0x26, 0x21, 0x2D, 0x2E};
static_assert(SDL_SCANCODE_KP_PERIOD - SDL_SCANCODE_KP_1 + 1 == sizeof kNavigation);

static bool isDigitRow(SDL_Scancode scancode) { return scancode >= SDL_SCANCODE_1 && scancode <= SDL_SCANCODE_0; }

UINT32 kxcSDL2VirtualKey(const SDL_Keysym& key)
{
    if (key.scancode >= SDL_NUM_SCANCODES)
        return 0;
    // Shift turns the keypad's digits back into navigation, as it does on the systems these codes come from.
    bool digits = (key.mod & KMOD_NUM) && !(key.mod & KMOD_SHIFT);
    if (!digits && key.scancode >= SDL_SCANCODE_KP_1 && key.scancode <= SDL_SCANCODE_KP_PERIOD)
        return kNavigation[key.scancode - SDL_SCANCODE_KP_1];
    if (!isDigitRow(key.scancode)) // whose codes stay digits where the layout types signs without Shift
    {
        if (key.sym >= SDLK_a && key.sym <= SDLK_z)
            return static_cast<UINT32>(key.sym - SDLK_a + 'A');
        switch (key.sym)
        {
        case SDLK_PLUS:
            return 0xBB;
        case SDLK_COMMA:
            return 0xBC;
        case SDLK_MINUS:
            return 0xBD;
        case SDLK_PERIOD:
            return 0xBE;
        default:
            break;
        }
    }
    return kKeyTable.keys[key.scancode];
}

UINT32 kxcSDL2ControlCharacter(const SDL_Keysym& key)
{
    if (key.mod & KMOD_ALT)
        return 0;
    bool control = key.mod & KMOD_CTRL;
    switch (kxcSDL2VirtualKey(key))
    {
    case 0x08:
        return control ? 0x7F : '\b';
    case 0x09:
        return control ? 0 : '\t';
    case 0x0D:
        return control ? '\n' : '\r';
    case 0x1B:
        return 0x1B;
    default:
        break;
    }
    return control && key.sym >= SDLK_a && key.sym <= SDLK_z ? static_cast<UINT32>(key.sym - SDLK_a + 1) : 0;
}
