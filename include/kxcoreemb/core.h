// core.h - the engine core: what a game derives from (KxcApp, KxcRenderer, KxcInput), what it sets up (KxcAppPrefs),
// and the facade through which it reaches the engine's services (KxcCore).
//
// Order of a run: the preferences callback fills KxcAppPrefs; the core is built; the game's init function makes its
// KxcApp and calls the kxcUse* registrations it wants; KxcApp::onAppInit; then, frame by frame, KxcApp::onTick and
// KxcRenderer::render; KxcCore::quit ends it with KxcApp::onAppDeinit. Input arrives between frames.
#pragma once

#include <kxcoreemb/base.h>
#include <kxcoreemb/fixed.h>

class KxcCommunicationScheduler;
class KxcPrimitiveDraw;
class KxcPrimitiveTranslator;

/// What a game may adjust before the core is built: eight 32-bit words, zero but for the screen size.
struct KxcAppPrefs
{
    KxcINT32 reserved0;             ///< carried, not read
    KxcINT32 resourceMemoryLimit;   ///< budget of the resource manager, in bytes
    KxcINT32 screenWidth;           ///< of the game screen, in pixels; preset by the host
    KxcINT32 screenHeight;          ///< likewise
    const char* title;              ///< of the window; null keeps the default
    KxcINT32 reserved5;             ///< carried, not read
    KxcINT32 extraMemoryRequired;   ///< bytes that must be obtainable at start-up; 0 or less asks for none
    const char* outOfMemoryMessage; ///< replaces the built-in texts when memory runs out; null keeps them
};
static_assert(sizeof(void*) != 4 || sizeof(KxcAppPrefs) == 32, "eight 32-bit words");

/// Events of KxcApp::onDeviceStateEvent.
enum : KxcINT32
{
    KXCDSE_FOCUSLOST = 1,   ///< the window was deactivated; param 1
    KXCDSE_FOCUSGAINED = 2, ///< the window was activated; param 0
    KXCDSE_CLOSEREQUEST = 4 ///< the user closes the window; param 2
};

/// Engine key codes beside the platform's virtual-key codes.
enum : KxcINT32
{
    KXCKEY_MIDDLEBUTTON = 506, ///< the middle mouse button
    KXCKEY_WHEELDOWN = 512,    ///< the wheel turned toward the user
    KXCKEY_WHEELUP = 513,      ///< the wheel turned away
    KXCKEY_APP1 = 0xD001,      ///< a device's hardware application keys
    KXCKEY_APP2 = 0xD002,
    KXCKEY_APP3 = 0xD003,
    KXCKEY_APP4 = 0xD004,
    KXCKEY_APP5 = 0xD005,
    KXCKEY_APP6 = 0xD006,
    KXCKEY_APP7 = 0xD007,
    KXCKEY_APP8 = 0xD008
};

/// Control codes: what keys mean to a game, through the mapping table. At start-up the arrows are the directions,
/// Return is button 1 and Space button 2; KxcCore::getControlMapping() tells the others.
enum : KxcINT32
{
    KXCCTRL_LEFT = 500,
    KXCCTRL_RIGHT = 501,
    KXCCTRL_UP = 502,
    KXCCTRL_DOWN = 503,
    KXCCTRL_BUTTON1 = 504,
    KXCCTRL_BUTTON2 = 505,
    KXCCTRL_BUTTON3 = 506,
    KXCCTRL_BUTTON4 = 507,
    KXCCTRL_BUTTON5 = 508,
    KXCCTRL_BUTTON6 = 509,
    KXCCTRL_BUTTON7 = 510,
    KXCCTRL_BUTTON8 = 511,
    KXCCTRL_WHEELDOWN = 512,
    KXCCTRL_WHEELUP = 513
};

/// The game. Constructing one registers it with the core, which owns it from then on and deletes it at the end of the
/// run; constructing a second one quits the program.
///
/// Threads    the thread that runs the frames.
class KXC_API KxcApp
{
public:
    KxcApp();
    virtual ~KxcApp();
    virtual void onAppInit();   ///< once, before the first frame
    virtual void onTick();      ///< once a frame, before rendering
    virtual void onAppDeinit(); ///< once, when the program quits
    /// Something happened to the window.
    /// @param event  a KXCDSE_ value  @param param  2: the application is expected to quit, which the base does
    virtual KxcINT32 onDeviceStateEvent(KxcINT32 event, KxcINT32 param, void* data);
};

/// Draws the game, once a frame after KxcApp::onTick. Installed with KxcCore::setRenderer; the game owns it.
///
/// Threads    the thread that runs the frames.
class KXC_API KxcRenderer
{
public:
    virtual void render(); ///< draws the frame into the device's picture
    /// Called after render().
    /// @return 0 to have the active graphics device present its picture; anything else keeps the frame as it is
    virtual KxcINT32 updateScreen(void* data);
    virtual void initRenderer();   ///< when it was installed
    virtual void deinitRenderer(); ///< when another one replaces it; not at the end of the run

protected:
    ~KxcRenderer() = default;
};

/// Receives the game's input between frames. Installed with KxcCore::setController; the game owns it.
/// A key is delivered first as a key (with the platform's repeats), then as each control that is mapped to it.
///
/// Threads    the thread that runs the frames.
class KXC_API KxcInput
{
public:
    /// @{
    /// A touch or the left mouse button: it goes down, moves while it is down, goes up. @param x, y  in frame pixels
    virtual void onPointerDown(KxcINT32 x, KxcINT32 y);
    virtual void onPointerMove(KxcINT32 x, KxcINT32 y);
    virtual void onPointerUp(KxcINT32 x, KxcINT32 y);
    /// @}
    virtual void onKeyDown(KxcINT32 code);                ///< a virtual-key or KXCKEY_ code
    virtual void onKeyUp(KxcINT32 code);                  ///< likewise
    virtual void onControlDown(KxcINT32 code);            ///< a KXCCTRL_ code
    virtual void onControlUp(KxcINT32 code);              ///< likewise
    virtual void onCharEntered(char character);           ///< text that is typed, a character at a time
    virtual void onJoystickMoved(KxcINT32 x, KxcINT32 y); ///< for devices that have one; nothing here calls it

protected:
    ~KxcInput() = default;
};

/// The processor; both words are 0 on this platform.
struct KxcCPUInfo
{
    KxcINT32 type;  ///< 0
    KxcINT32 speed; ///< 0
};

/// Filled by KxcCore::setExclusiveMode.
struct KxcExclusiveModeSettings
{
    KxcINT32 width;  ///< of the frame, in pixels
    KxcINT32 height; ///< likewise
};

/// The engine's services. All static; before the core is built and after it is gone they answer 0.
///
/// Threads  the thread that runs the frames, unless a member says otherwise.
class KXC_API KxcCore
{
public:
    static KxcApp* getApp(); ///< the application; null before it was made

    /// Takes leave of the current renderer (deinitRenderer) and installs another (initRenderer); null installs none.
    static void setRenderer(KxcRenderer* renderer);
    /// Installs the receiver of input; null drops all input.
    static void setController(KxcInput* controller);

    /// Ends the run: KxcApp::onAppDeinit, teardown, exit code 0. Does not return.
    [[noreturn]] static void quit();
    /// Shows the message in a box, tears the core down and ends the process with exit code 0. Any thread.
    [[noreturn]] static void systemPanic(const char* message);

    /// Milliseconds since the core was built. Never runs backwards; a gap of more than five minutes counts as 1 ms.
    static KxcINT32 getTick();
    static KxcINT64 getTick64();              ///< the same without wrapping after 24 days
    static void sleep(KxcINT32 milliseconds); ///< blocks the calling thread; any thread

    static KxcINT32 getDeviceWidth();  ///< of the active graphics device's frame, else of the screen, in pixels
    static KxcINT32 getDeviceHeight(); ///< likewise

    static KxcINT32 getPlatformId();           ///< 0x1000000
    static const char* getPlatformString();    ///< "Kestrix/Windows"
    static const char* getCommandlineString(); ///< null in an embedded run
    static KxcCPUInfo* getCPUInfo();           ///< the caller deletes it; null when memory runs out
    static KxcFixed getBatteryState();       ///< from 0 up to, not including, 1: here a ramp that repeats every second
    static KxcINT32 getDeviceLocale();       ///< 0
    static KxcINT32 getSilentProfileState(); ///< -1

    /// Stores the mode (1 at start-up) and reports the device's size. @return 1
    static KxcINT32 setExclusiveMode(KxcINT32 mode, KxcExclusiveModeSettings& settings);
    static void setIdleMode(KxcINT32 mode); ///< stores the mode; no effect on this platform
    /// 1: panic when the engine heap is exhausted; else it answers null.
    static void setOutOfMemoryAction(KxcINT32 action);

    static void compactMemory(KxcUINT32 bytes);       ///< no effect on this platform
    static KxcUINT32 getFreePoolMemory();             ///< of the engine heap, in bytes; 0 without one
    static KxcUINT32 getMemoryBlockSize(void* block); ///< KxcMemoryManager::memSize
    /// Zeroed pages from the operating system; null when it has none. Any thread.
    static void* allocateSystemMemory(KxcINT32 bytes);
    static void freeSystemMemory(void* memory); ///< accepts null. Any thread

    static KxcCommunicationScheduler* getCommunicationScheduler(); ///< null until kxcUseNetwork
    static KxcPrimitiveDraw* getPrimitiveDraw();                   ///< null until kxcUse2DVectorGraphics
    static KxcPrimitiveTranslator* getPrimitiveTranslator();       ///< likewise

    /// Adds a resource archive to the engine's directory; its entries override those of earlier ones. @return 1, or 0
    static KxcINT32 openCFL(const char* name);
    static void resetCFLDirectory(); ///< forgets all archives
    /// Sets what KXCFILE_DEFAULT stands for, which is also how archives are found whenever something in them is read:
    /// KXCFILE_CFL_ONLY leaves out those on disk. @param strategy  a KXCFILE_ value; KXCFILE_DISK_FIRST at start-up
    static void setFileOpenStrategy(KxcINT32 strategy);

    /// Adds a (KXCCTRL_ code, key code) pair; a pair is never stored twice.
    static void mapControlCode(KxcINT32 control, KxcINT32 key);
    static void unmapControlCode(KxcINT32 control, KxcINT32 key); ///< its slot becomes free and reads as (-1, -1)
    static KxcUINT32 getControlMappingCount();                    ///< slots, free ones included
    /// (-1, -1) at or beyond the count.
    static void getControlMapping(KxcUINT32 index, KxcINT32& control, KxcINT32& key);
    static void resetControlMappings(); ///< to the 17 default pairs

    /// A touch on the rectangle (its right and bottom edges included) presses the key; the newest button wins.
    static void addScreenButton(const KxcRectangle& rectangle, KxcINT32 key);
    static void resetScreenButtons(); ///< removes all of them
};

/// The usual optional components: the zlib archive filter, the graphics device, the TGA and PCX image loaders, the
/// audio device. Called from a game's init function.
KXC_API void kxcUseDefaults();
