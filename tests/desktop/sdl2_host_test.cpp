// sdl2_host_test.cpp - SDL's keys and events as window messages, on SDL's display without a screen.

#include "platform/platform.h"
#include "platform/sdl2/sdl2_keys.h"

#define SDL_MAIN_HANDLED
#include <SDL.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace
{
SDL_Keysym keyOf(SDL_Scancode scancode, int mod = 0, SDL_Keycode sym = 0)
{
    SDL_Keysym key = {};
    key.scancode = scancode;
    key.sym = sym;
    key.mod = static_cast<Uint16>(mod);
    return key;
}

// The documented names and values of the virtual keys that a keyboard has.
const struct
{
    const char* name;
    UINT32 value;
    SDL_Scancode scancodes[3];
    int mod;
} kVirtualKeys[] = {
    {"VK_CANCEL", 0x03, {SDL_SCANCODE_CANCEL}, 0},
    {"VK_BACK", 0x08, {SDL_SCANCODE_BACKSPACE}, 0},
    {"VK_TAB", 0x09, {SDL_SCANCODE_TAB}, 0},
    {"VK_CLEAR", 0x0C, {SDL_SCANCODE_CLEAR, SDL_SCANCODE_KP_5}, 0},
    {"VK_RETURN", 0x0D, {SDL_SCANCODE_RETURN, SDL_SCANCODE_KP_ENTER}, 0},
    {"VK_SHIFT", 0x10, {SDL_SCANCODE_LSHIFT, SDL_SCANCODE_RSHIFT}, 0},
    {"VK_CONTROL", 0x11, {SDL_SCANCODE_LCTRL, SDL_SCANCODE_RCTRL}, 0},
    {"VK_MENU", 0x12, {SDL_SCANCODE_LALT, SDL_SCANCODE_RALT}, 0},
    {"VK_PAUSE", 0x13, {SDL_SCANCODE_PAUSE}, 0},
    {"VK_CAPITAL", 0x14, {SDL_SCANCODE_CAPSLOCK}, 0},
    {"VK_ESCAPE", 0x1B, {SDL_SCANCODE_ESCAPE}, 0},
    {"VK_SPACE", 0x20, {SDL_SCANCODE_SPACE}, 0},
    {"VK_PRIOR", 0x21, {SDL_SCANCODE_PAGEUP, SDL_SCANCODE_KP_9}, 0},
    {"VK_NEXT", 0x22, {SDL_SCANCODE_PAGEDOWN, SDL_SCANCODE_KP_3}, 0},
    {"VK_END", 0x23, {SDL_SCANCODE_END, SDL_SCANCODE_KP_1}, 0},
    {"VK_HOME", 0x24, {SDL_SCANCODE_HOME, SDL_SCANCODE_KP_7}, 0},
    {"VK_LEFT", 0x25, {SDL_SCANCODE_LEFT, SDL_SCANCODE_KP_4}, 0},
    {"VK_UP", 0x26, {SDL_SCANCODE_UP, SDL_SCANCODE_KP_8}, 0},
    {"VK_RIGHT", 0x27, {SDL_SCANCODE_RIGHT, SDL_SCANCODE_KP_6}, 0},
    {"VK_DOWN", 0x28, {SDL_SCANCODE_DOWN, SDL_SCANCODE_KP_2}, 0},
    {"VK_UP with Shift", 0x26, {SDL_SCANCODE_KP_8}, KMOD_NUM | KMOD_LSHIFT},
    {"VK_SNAPSHOT", 0x2C, {SDL_SCANCODE_PRINTSCREEN}, 0},
    {"VK_INSERT", 0x2D, {SDL_SCANCODE_INSERT, SDL_SCANCODE_KP_0}, 0},
    {"VK_DELETE", 0x2E, {SDL_SCANCODE_DELETE, SDL_SCANCODE_KP_PERIOD}, 0},
    {"VK_HELP", 0x2F, {SDL_SCANCODE_HELP}, 0},
    {"0", 0x30, {SDL_SCANCODE_0}, 0},
    {"1", 0x31, {SDL_SCANCODE_1}, 0},
    {"9", 0x39, {SDL_SCANCODE_9}, 0},
    {"A", 0x41, {SDL_SCANCODE_A}, 0},
    {"Z", 0x5A, {SDL_SCANCODE_Z}, 0},
    {"VK_LWIN", 0x5B, {SDL_SCANCODE_LGUI}, 0},
    {"VK_RWIN", 0x5C, {SDL_SCANCODE_RGUI}, 0},
    {"VK_APPS", 0x5D, {SDL_SCANCODE_APPLICATION}, 0},
    {"VK_SLEEP", 0x5F, {SDL_SCANCODE_SLEEP}, 0},
    {"VK_NUMPAD0", 0x60, {SDL_SCANCODE_KP_0}, KMOD_NUM},
    {"VK_NUMPAD1", 0x61, {SDL_SCANCODE_KP_1}, KMOD_NUM},
    {"VK_NUMPAD9", 0x69, {SDL_SCANCODE_KP_9}, KMOD_NUM},
    {"VK_MULTIPLY", 0x6A, {SDL_SCANCODE_KP_MULTIPLY}, 0},
    {"VK_ADD", 0x6B, {SDL_SCANCODE_KP_PLUS}, 0},
    {"VK_SUBTRACT", 0x6D, {SDL_SCANCODE_KP_MINUS}, 0},
    {"VK_DECIMAL", 0x6E, {SDL_SCANCODE_KP_PERIOD}, KMOD_NUM},
    {"VK_DIVIDE", 0x6F, {SDL_SCANCODE_KP_DIVIDE}, 0},
    {"VK_F1", 0x70, {SDL_SCANCODE_F1}, 0},
    {"VK_F12", 0x7B, {SDL_SCANCODE_F12}, 0},
    {"VK_F13", 0x7C, {SDL_SCANCODE_F13}, 0},
    {"VK_F24", 0x87, {SDL_SCANCODE_F24}, 0},
    {"VK_NUMLOCK", 0x90, {SDL_SCANCODE_NUMLOCKCLEAR}, 0},
    {"VK_SCROLL", 0x91, {SDL_SCANCODE_SCROLLLOCK}, 0},
    {"VK_BROWSER_BACK", 0xA6, {SDL_SCANCODE_AC_BACK}, 0},
    {"VK_BROWSER_FORWARD", 0xA7, {SDL_SCANCODE_AC_FORWARD}, 0},
    {"VK_BROWSER_REFRESH", 0xA8, {SDL_SCANCODE_AC_REFRESH}, 0},
    {"VK_BROWSER_STOP", 0xA9, {SDL_SCANCODE_AC_STOP}, 0},
    {"VK_BROWSER_SEARCH", 0xAA, {SDL_SCANCODE_AC_SEARCH}, 0},
    {"VK_BROWSER_FAVORITES", 0xAB, {SDL_SCANCODE_AC_BOOKMARKS}, 0},
    {"VK_BROWSER_HOME", 0xAC, {SDL_SCANCODE_AC_HOME, SDL_SCANCODE_WWW}, 0},
    {"VK_VOLUME_MUTE", 0xAD, {SDL_SCANCODE_MUTE, SDL_SCANCODE_AUDIOMUTE}, 0},
    {"VK_VOLUME_DOWN", 0xAE, {SDL_SCANCODE_VOLUMEDOWN}, 0},
    {"VK_VOLUME_UP", 0xAF, {SDL_SCANCODE_VOLUMEUP}, 0},
    {"VK_MEDIA_NEXT_TRACK", 0xB0, {SDL_SCANCODE_AUDIONEXT}, 0},
    {"VK_MEDIA_PREV_TRACK", 0xB1, {SDL_SCANCODE_AUDIOPREV}, 0},
    {"VK_MEDIA_STOP", 0xB2, {SDL_SCANCODE_AUDIOSTOP}, 0},
    {"VK_MEDIA_PLAY_PAUSE", 0xB3, {SDL_SCANCODE_AUDIOPLAY}, 0},
    {"VK_LAUNCH_MAIL", 0xB4, {SDL_SCANCODE_MAIL}, 0},
    {"VK_LAUNCH_MEDIA_SELECT", 0xB5, {SDL_SCANCODE_MEDIASELECT}, 0},
    {"VK_LAUNCH_APP2", 0xB7, {SDL_SCANCODE_CALCULATOR}, 0},
    {"VK_OEM_1", 0xBA, {SDL_SCANCODE_SEMICOLON}, 0},
    {"VK_OEM_PLUS", 0xBB, {SDL_SCANCODE_EQUALS}, 0},
    {"VK_OEM_COMMA", 0xBC, {SDL_SCANCODE_COMMA}, 0},
    {"VK_OEM_MINUS", 0xBD, {SDL_SCANCODE_MINUS}, 0},
    {"VK_OEM_PERIOD", 0xBE, {SDL_SCANCODE_PERIOD}, 0},
    {"VK_OEM_2", 0xBF, {SDL_SCANCODE_SLASH}, 0},
    {"VK_OEM_3", 0xC0, {SDL_SCANCODE_GRAVE}, 0},
    {"VK_OEM_4", 0xDB, {SDL_SCANCODE_LEFTBRACKET}, 0},
    {"VK_OEM_5", 0xDC, {SDL_SCANCODE_BACKSLASH, SDL_SCANCODE_NONUSHASH}, 0},
    {"VK_OEM_6", 0xDD, {SDL_SCANCODE_RIGHTBRACKET}, 0},
    {"VK_OEM_7", 0xDE, {SDL_SCANCODE_APOSTROPHE}, 0},
    {"VK_OEM_102", 0xE2, {SDL_SCANCODE_NONUSBACKSLASH}, 0},
};
} // namespace

TEST(SDL2Keys, EveryKeyHasItsDocumentedVirtualKeyCode)
{
    for (const auto& key : kVirtualKeys)
        for (SDL_Scancode scancode : key.scancodes)
        {
            UINT32 wanted = scancode ? key.value : 0; // an unused place of the list
            EXPECT_EQ(kxcSDL2VirtualKey(keyOf(scancode, key.mod)), wanted) << key.name;
        }
    std::set<UINT32> runs; // letters, digits, keypad digits and function keys: all different, none missing
    for (int scancode = SDL_SCANCODE_A; scancode <= SDL_SCANCODE_0; ++scancode)
        runs.insert(kxcSDL2VirtualKey(keyOf(static_cast<SDL_Scancode>(scancode))));
    for (int scancode = SDL_SCANCODE_KP_1; scancode <= SDL_SCANCODE_KP_PERIOD; ++scancode)
        runs.insert(kxcSDL2VirtualKey(keyOf(static_cast<SDL_Scancode>(scancode), KMOD_NUM)));
    for (int i = 0; i < 12; ++i)
    {
        runs.insert(kxcSDL2VirtualKey(keyOf(static_cast<SDL_Scancode>(SDL_SCANCODE_F1 + i))));
        runs.insert(kxcSDL2VirtualKey(keyOf(static_cast<SDL_Scancode>(SDL_SCANCODE_F13 + i))));
    }
    EXPECT_EQ(runs.size(), 26u + 10 + 11 + 24);
    EXPECT_EQ(kxcSDL2VirtualKey(keyOf(SDL_NUM_SCANCODES)), 0u);
}

TEST(SDL2Keys, LettersFollowTheLayoutAndDigitsTheirPlace)
{
    EXPECT_EQ(kxcSDL2VirtualKey(keyOf(SDL_SCANCODE_Q, 0, SDLK_a)), 0x41u);               // French
    EXPECT_EQ(kxcSDL2VirtualKey(keyOf(SDL_SCANCODE_SEMICOLON, 0, SDLK_m)), 0x4Du);       // French
    EXPECT_EQ(kxcSDL2VirtualKey(keyOf(SDL_SCANCODE_M, 0, SDLK_COMMA)), 0xBCu);           // French
    EXPECT_EQ(kxcSDL2VirtualKey(keyOf(SDL_SCANCODE_6, 0, SDLK_MINUS)), 0x36u);           // French
    EXPECT_EQ(kxcSDL2VirtualKey(keyOf(SDL_SCANCODE_RIGHTBRACKET, 0, SDLK_PLUS)), 0xBBu); // German
    EXPECT_EQ(kxcSDL2VirtualKey(keyOf(SDL_SCANCODE_F, 0, 0x430)), 0x46u);                // Russian
}

namespace
{
class SDL2Host : public testing::Test
{
protected:
    void SetUp() override
    {
        setenv("SDL_VIDEODRIVER", "dummy", 1);
        ASSERT_EQ(kxcPlatformSDL2.open(64, 48, "Test", 1), 1);
        EXPECT_EQ(take(), (Messages{{KXCMSG_CREATE, 0, 0}}).front());
        while (take().type)
        {
        }
    }
    void TearDown() override
    {
        kxcPlatformSDL2.close();
        kxcPlatformSDL2.close(); // harmless
        EXPECT_EQ(take().type, 0u);
    }
    struct Message : KxcPlatformMessage
    {
        bool operator==(const Message& other) const { return std::memcmp(this, &other, sizeof other) == 0; }
        friend std::ostream& operator<<(std::ostream& out, const Message& m)
        {
            return out << std::hex << m.type << ":" << m.wParam << ":" << m.lParam;
        }
    };
    using Messages = std::vector<Message>;

    static Message take()
    {
        Message message = {};
        return kxcPlatformSDL2.nextMessage(&message) ? message : Message{};
    }
    static Messages messagesOf(SDL_Event event)
    {
        SDL_PushEvent(&event);
        Messages messages;
        for (Message message = take(); message.type; message = take())
            messages.push_back(message);
        return messages;
    }
    static SDL_Event keyEvent(Uint32 type, SDL_Keysym key, Uint8 repeat = 0)
    {
        SDL_Event event = {};
        event.key.type = type;
        event.key.keysym = key;
        event.key.repeat = repeat;
        return event;
    }
};
} // namespace

TEST_F(SDL2Host, KeysRepeatTypeControlCharactersAndAreReleasedAsTheyWerePressed)
{
    SDL_Keysym enter = keyOf(SDL_SCANCODE_RETURN, 0, SDLK_RETURN);
    Messages pressed = {{KXCMSG_KEYDOWN, 13, 0}, {KXCMSG_CHAR, 13, 0}};
    EXPECT_EQ(messagesOf(keyEvent(SDL_KEYDOWN, enter)), pressed);
    EXPECT_EQ(messagesOf(keyEvent(SDL_KEYDOWN, enter, 1)), pressed);
    EXPECT_EQ(messagesOf(keyEvent(SDL_KEYUP, enter)), (Messages{{KXCMSG_KEYUP, 13, 0}}));

    SDL_Event down = keyEvent(SDL_KEYDOWN, keyOf(SDL_SCANCODE_KP_8, KMOD_NUM));
    EXPECT_EQ(messagesOf(down), (Messages{{KXCMSG_KEYDOWN, 0x68, 0}}));
    EXPECT_EQ(messagesOf(keyEvent(SDL_KEYUP, keyOf(SDL_SCANCODE_KP_8))), (Messages{{KXCMSG_KEYUP, 0x68, 0}}));

    const struct
    {
        SDL_Scancode scancode;
        SDL_Keycode sym;
        int mod;
        UINT32 character;
    } kCases[] = {
        {SDL_SCANCODE_A, SDLK_a, KMOD_LCTRL, 1},           {SDL_SCANCODE_Z, SDLK_z, KMOD_RCTRL | KMOD_SHIFT, 26},
        {SDL_SCANCODE_BACKSPACE, SDLK_BACKSPACE, 0, 8},    {SDL_SCANCODE_BACKSPACE, SDLK_BACKSPACE, KMOD_CTRL, 127},
        {SDL_SCANCODE_RETURN, SDLK_RETURN, KMOD_CTRL, 10}, {SDL_SCANCODE_TAB, SDLK_TAB, 0, 9},
        {SDL_SCANCODE_ESCAPE, SDLK_ESCAPE, 0, 27},         {SDL_SCANCODE_A, SDLK_a, 0, 0}, // comes as text
        {SDL_SCANCODE_Q, SDLK_q, KMOD_CTRL | KMOD_ALT, 0}};
    for (const auto& one : kCases)
        EXPECT_EQ(kxcSDL2ControlCharacter(keyOf(one.scancode, one.mod, one.sym)), one.character) << one.sym;
}

TEST_F(SDL2Host, TextArrivesAsItsLatin1Characters)
{
    SDL_Event event = {};
    event.type = SDL_TEXTINPUT;
    std::strcpy(event.text.text, "a\xC2\xA1\xC3\xBF\xC4\x80\xE2\x82\xAC\xF0\x9F\x98\x80z"); // a, 161, 255, others, z
    EXPECT_EQ(messagesOf(event),
              (Messages{{KXCMSG_CHAR, 'a', 0}, {KXCMSG_CHAR, 161, 0}, {KXCMSG_CHAR, 255, 0}, {KXCMSG_CHAR, 'z', 0}}));
    std::memcpy(event.text.text, "ab\xC3", 4); // cut in the middle of a character
    EXPECT_EQ(messagesOf(event).size(), 2u);
}

TEST_F(SDL2Host, TheMouseKeepsItsSignAndTheWheelItsDirection)
{
    SDL_Event event = {};
    event.type = SDL_MOUSEMOTION;
    event.motion.x = -3;
    event.motion.y = 300;
    EXPECT_EQ(messagesOf(event), (Messages{{KXCMSG_MOUSEMOVE, 0, 0x012CFFFDu}}));
    event.motion.state = SDL_BUTTON_LMASK | SDL_BUTTON_RMASK;
    EXPECT_EQ(messagesOf(event), (Messages{{KXCMSG_MOUSEMOVE, KXCMSG_LEFTHELD, 0x012CFFFDu}}));

    event = {};
    event.type = SDL_MOUSEWHEEL;
    event.wheel.y = 2;
    EXPECT_EQ(messagesOf(event), (Messages(2, {KXCMSG_MOUSEWHEEL, 120u << 16, 0})));
    event.wheel.direction = SDL_MOUSEWHEEL_FLIPPED;
    event.wheel.y = 1;
    EXPECT_EQ(messagesOf(event), (Messages{{KXCMSG_MOUSEWHEEL, 0xFF880000u, 0}}));
    event.wheel.y = 1000000000;
    EXPECT_LT(messagesOf(event).size(), 100u);
}

TEST_F(SDL2Host, TheWindowReportsItsStates)
{
    const struct
    {
        Uint32 type;
        Uint8 windowEvent;
        Messages messages;
    } kCases[] = {{SDL_WINDOWEVENT, SDL_WINDOWEVENT_CLOSE, {{KXCMSG_CLOSE, 0, 0}}},
                  {SDL_WINDOWEVENT, SDL_WINDOWEVENT_FOCUS_GAINED, {{KXCMSG_ACTIVATE, 1, 0}}},
                  {SDL_WINDOWEVENT, SDL_WINDOWEVENT_FOCUS_LOST, {{KXCMSG_ACTIVATE, 0, 0}}},
                  {SDL_WINDOWEVENT, SDL_WINDOWEVENT_EXPOSED, {{KXCMSG_PAINT, 0, 0}}},
                  {SDL_WINDOWEVENT, SDL_WINDOWEVENT_MOVED, {}},
                  {SDL_QUIT, 0, {{KXCMSG_CLOSE, 0, 0}}},
                  {SDL_APP_TERMINATING, 0, {{KXCMSG_DESTROY, 0, 0}}}};
    for (const auto& one : kCases)
    {
        SDL_Event event = {};
        event.type = one.type;
        event.window.event = one.windowEvent;
        EXPECT_EQ(messagesOf(event), one.messages) << one.type << " " << int(one.windowEvent);
    }
    std::vector<UINT16> pixels(64 * 48, 0x1234);
    kxcPlatformSDL2.present(pixels.data());
}

TEST(SDL2HostWithoutADisplay, OpenFailsWithTheReason)
{
    setenv("SDL_VIDEODRIVER", "none such", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(kxcPlatformSDL2.open(64, 48, "Test", 1), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("none such"), std::string::npos);
    KxcPlatformMessage message;
    EXPECT_EQ(kxcPlatformSDL2.nextMessage(&message), 0);
    kxcPlatformSDL2.present(nullptr);
    kxcPlatformSDL2.close();
}
