// sdl2_host.cpp - the desktop window: SDL's events as window messages, and the frame copied to the window's surface.
//
// The window's own surface rather than a renderer: for a picture this small one copy beats the way through a GPU, no
// driver's vertical sync gets into the loop, and it works on every display, remote and virtual ones too.

#include "platform/platform.h"
#include "platform/sdl2/sdl2_keys.h"

#define SDL_MAIN_HANDLED // the game keeps its own main
#include <SDL.h>

#include <cstdio>

namespace
{
struct Window
{
    SDL_Window* window;
    SDL_Cursor* cursor;
    SDL_Surface* frame;                // borrows the pixels of the picture being shown
    bool started;                      // SDL's video is initialised
    UINT8 heldKeys[SDL_NUM_SCANCODES]; // as which virtual key each was pressed: a release names the same one
    KxcPlatformMessage waiting[64];    // one event yields several messages, at most 31 characters
    UINT32 waitingCount, waitingTaken;
};
} // namespace

static Window desktopWindow;

static void push(UINT32 type, UINT32 wParam = 0, UINT32 lParam = 0)
{
    Window& w = desktopWindow;
    if (w.waitingCount < sizeof w.waiting / sizeof w.waiting[0])
        w.waiting[w.waitingCount++] = {type, wParam, lParam};
}

static void pushMouse(UINT32 type, INT32 x, INT32 y, bool leftHeld)
{
    push(type, leftHeld ? UINT32(KXCMSG_LEFTHELD) : 0, static_cast<UINT16>(x) | UINT32(static_cast<UINT16>(y)) << 16);
}

// The characters of UTF-8 text that exist in Latin-1.
static void pushText(const char* text)
{
    const UINT8* byte = reinterpret_cast<const UINT8*>(text);
    for (; *byte; ++byte)
    {
        if (*byte < 0x80)
            push(KXCMSG_CHAR, *byte);
        else if ((*byte == 0xC2 || *byte == 0xC3) && (byte[1] & 0xC0) == 0x80) // U+0080 to U+00FF take two bytes
        {
            push(KXCMSG_CHAR, (*byte & 0x03u) << 6 | (byte[1] & 0x3Fu));
            ++byte;
        }
    }
}

static void pushKeyDown(const SDL_KeyboardEvent& event)
{
    UINT8& held = desktopWindow.heldKeys[event.keysym.scancode];
    if (!event.repeat || !held)
        held = static_cast<UINT8>(kxcSDL2VirtualKey(event.keysym));
    if (held)
        push(KXCMSG_KEYDOWN, held);
    if (UINT32 character = kxcSDL2ControlCharacter(event.keysym))
        push(KXCMSG_CHAR, character);
}

static void pushKeyUp(const SDL_KeyboardEvent& event)
{
    UINT8& held = desktopWindow.heldKeys[event.keysym.scancode];
    if (held)
        push(KXCMSG_KEYUP, held);
    held = 0;
}

static void pushButton(const SDL_MouseButtonEvent& event)
{
    bool down = event.state == SDL_PRESSED;
    if (event.button == SDL_BUTTON_LEFT)
        pushMouse(down ? KXCMSG_LBUTTONDOWN : KXCMSG_LBUTTONUP, event.x, event.y, down);
    else if (event.button == SDL_BUTTON_MIDDLE)
        pushMouse(down ? KXCMSG_MBUTTONDOWN : KXCMSG_MBUTTONUP, event.x, event.y,
                  SDL_GetMouseState(nullptr, nullptr) & SDL_BUTTON_LMASK);
}

static void pushWheel(const SDL_MouseWheelEvent& event)
{
    INT32 notches = event.direction == SDL_MOUSEWHEEL_FLIPPED ? -event.y : event.y;
    for (INT32 i = 0; i < notches; ++i)
        push(KXCMSG_MOUSEWHEEL, 120u << 16);
    for (INT32 i = 0; i > notches; --i)
        push(KXCMSG_MOUSEWHEEL, UINT32(static_cast<UINT16>(-120)) << 16);
}

static void pushWindow(const SDL_WindowEvent& event)
{
    switch (event.event)
    {
    case SDL_WINDOWEVENT_EXPOSED:
        push(KXCMSG_PAINT);
        break;
    case SDL_WINDOWEVENT_FOCUS_GAINED:
        push(KXCMSG_ACTIVATE, 1);
        break;
    case SDL_WINDOWEVENT_FOCUS_LOST:
        push(KXCMSG_ACTIVATE, 0);
        break;
    case SDL_WINDOWEVENT_CLOSE:
        push(KXCMSG_CLOSE);
        break;
    default:
        break;
    }
}

static void pushEvent(const SDL_Event& event)
{
    switch (event.type)
    {
    case SDL_WINDOWEVENT:
        pushWindow(event.window);
        break;
    case SDL_QUIT:
        push(KXCMSG_CLOSE);
        break; // the session ends
    case SDL_APP_TERMINATING:
        push(KXCMSG_DESTROY);
        break; // the system takes the window away without asking
    case SDL_KEYDOWN:
        pushKeyDown(event.key);
        break;
    case SDL_KEYUP:
        pushKeyUp(event.key);
        break;
    case SDL_TEXTINPUT:
        pushText(event.text.text);
        break;
    case SDL_MOUSEMOTION:
        pushMouse(KXCMSG_MOUSEMOVE, event.motion.x, event.motion.y, event.motion.state & SDL_BUTTON_LMASK);
        break;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
        pushButton(event.button);
        break;
    case SDL_MOUSEWHEEL:
        pushWheel(event.wheel);
        break;
    default:
        break;
    }
}

// SDL has no up arrow of its own. X is black, . is white; the tip is the hot spot.
static SDL_Cursor* createUpArrow()
{
    static const char kPicture[] = "    .    "
                                   "   .X.   "
                                   "   .X.   "
                                   "  .XXX.  "
                                   "  .XXX.  "
                                   " .XXXXX. "
                                   " .XXXXX. "
                                   ".XXXXXXX."
                                   ".........";
    const int size = 9, height = 19;
    UINT8 black[height * 2] = {}, opaque[height * 2] = {}; // 16 pixels a row, the leftmost in the highest bit
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < size; ++x)
        {
            char pixel = y < size ? kPicture[y * size + x] : y == height - 1 ? "  .....  "[x] : "  .XXX.  "[x];
            UINT8 bit = static_cast<UINT8>(0x80 >> (x & 7));
            black[y * 2 + x / 8] |= pixel == 'X' ? bit : 0;
            opaque[y * 2 + x / 8] |= pixel != ' ' ? bit : 0;
        }
    return SDL_CreateCursor(black, opaque, 16, height, 4, 0);
}

// Without a display SDL may settle for a driver that draws into memory: right for those who ask for it, no one else.
static bool hasDisplay()
{
    const char* driver = SDL_GetCurrentVideoDriver();
    if (SDL_strcmp(driver, "offscreen") != 0 || SDL_GetHint(SDL_HINT_VIDEODRIVER))
        return true;
    SDL_SetError("there is no display");
    return false;
}

static INT32 openWindow(INT32 width, INT32 height, const char* title, INT32 visible)
{
    Window& w = desktopWindow;
    SDL_SetMainReady();
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");                 // signals are the game's
    SDL_SetHint(SDL_HINT_QUIT_ON_LAST_WINDOW_CLOSE, "0");          // closing is asked for once, by the window's event
    SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1");           // the click that activates the window counts
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0"); // a small window is no reason to stop it
    w.started = SDL_InitSubSystem(SDL_INIT_VIDEO) == 0;
    if (w.started && hasDisplay())
        w.window = SDL_CreateWindow(title, SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, width, height,
                                    visible ? SDL_WINDOW_SHOWN : SDL_WINDOW_HIDDEN);
    // X11 shares memory with the window, which beats the way through its GPU. Others, as Wayland, know only that way.
    if (w.window && SDL_strcmp(SDL_GetCurrentVideoDriver(), "x11") == 0)
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    if (w.window && SDL_GetWindowSurface(w.window)) // made at once: it may take a window of another kind
        w.frame = SDL_CreateRGBSurfaceWithFormatFrom(nullptr, width, height, 16, width * 2, SDL_PIXELFORMAT_RGB565);
    if (!w.frame)
    {
        std::fprintf(stderr, "kxcoreemb: no window for \"%s\" (%d x %d): %s; start it on a desktop, or set DISPLAY\n",
                     title, width, height, SDL_GetError());
        return 0;
    }
    w.cursor = createUpArrow(); // null keeps the display's own
    SDL_SetCursor(w.cursor);
    SDL_StartTextInput();
    push(KXCMSG_CREATE);
    return 1;
}

static INT32 nextMessage(KxcPlatformMessage* message)
{
    Window& w = desktopWindow;
    SDL_Event event;
    while (w.waitingTaken == w.waitingCount) // an event that means nothing here leaves the list empty
    {
        w.waitingTaken = w.waitingCount = 0;
        if (!w.started || !SDL_PollEvent(&event))
            return 0;
        pushEvent(event);
    }
    *message = w.waiting[w.waitingTaken++];
    return 1;
}

static void present(const UINT16* pixels)
{
    Window& w = desktopWindow;
    SDL_Surface* surface = w.window ? SDL_GetWindowSurface(w.window) : nullptr; // made anew when the display changed
    if (!surface)
        return;
    w.frame->pixels = const_cast<UINT16*>(pixels);
    SDL_BlitSurface(w.frame, nullptr, surface, nullptr);
    w.frame->pixels = nullptr;
    SDL_UpdateWindowSurface(w.window);
}

static void closeWindow()
{
    Window& w = desktopWindow;
    SDL_FreeSurface(w.frame);
    SDL_FreeCursor(w.cursor);
    if (w.window)
        SDL_DestroyWindow(w.window);
    if (w.started)
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
    w = {};
}

static void messageBox(const char* text, const char* caption, KxcPlatformIcon icon)
{
    UINT32 flags = icon == KXCICON_STOP ? SDL_MESSAGEBOX_ERROR : SDL_MESSAGEBOX_WARNING;
    if (SDL_ShowSimpleMessageBox(flags, caption, text, desktopWindow.window) != 0)
        kxcPlatformHeadless.messageBox(text, caption, icon);
}

const KxcPlatformHost kxcPlatformSDL2 = {"sdl2", openWindow, nextMessage, present, closeWindow, messageBox};
