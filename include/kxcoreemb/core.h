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
    INT32 reserved0;                ///< carried, not read
    INT32 resourceMemoryLimit;      ///< budget of the resource manager, in bytes
    INT32 screenWidth;              ///< of the game screen, in pixels; preset by the host
    INT32 screenHeight;             ///< likewise
    const char* title;              ///< of the window; null keeps the default
    INT32 reserved5;                ///< carried, not read
    INT32 extraMemoryRequired;      ///< bytes that must be obtainable at start-up; 0 or less asks for none
    const char* outOfMemoryMessage; ///< replaces the built-in texts when memory runs out; null keeps them
};
static_assert(sizeof(void*) != 4 || sizeof(KxcAppPrefs) == 32, "eight 32-bit words");

/// Events of KxcApp::onDeviceStateEvent.
enum : INT32
{
    KXCDSE_FOCUSLOST = 1,   ///< the window was deactivated; param 1
    KXCDSE_FOCUSGAINED = 2, ///< the window was activated; param 0
    KXCDSE_CLOSEREQUEST = 4 ///< the user closes the window; param 2
};

/// Engine key codes beside the platform's virtual-key codes.
enum : INT32
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

/// Control codes: what keys mean to a game, through the mapping table.
enum : INT32
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
class KXC_API KxcApp
{
public:
    KxcApp();
    virtual ~KxcApp();
    virtual void onAppInit();   ///< once, before the first frame
    virtual void onTick();      ///< once a frame, before rendering
    virtual void onAppDeinit(); ///< once, when the program quits
    /// @param event  a KXCDSE_ value  @param param  2: the application is expected to quit, which the base does
    virtual INT32 onDeviceStateEvent(INT32 event, INT32 param, void* data);
};

/// Draws the game, once a frame after KxcApp::onTick. Installed with KxcCore::setRenderer; the game owns it.
class KXC_API KxcRenderer
{
public:
    virtual void render();
    /// @return 0 to have the active graphics device present its picture; anything else keeps the frame as it is
    virtual INT32 updateScreen(void* data);
    virtual void initRenderer();   ///< when it was installed
    virtual void deinitRenderer(); ///< when another one replaces it; not at the end of the run

protected:
    ~KxcRenderer() = default;
};

/// Receives the game's input between frames. Installed with KxcCore::setController; the game owns it.
/// A key is delivered first as a key (with the platform's repeats), then as each control that is mapped to it.
class KXC_API KxcInput
{
public:
    virtual void onPointerDown(INT32 x, INT32 y); ///< in frame pixels, as in the next two
    virtual void onPointerMove(INT32 x, INT32 y);
    virtual void onPointerUp(INT32 x, INT32 y);
    virtual void onKeyDown(INT32 code); ///< a virtual-key or KXCKEY_ code
    virtual void onKeyUp(INT32 code);
    virtual void onControlDown(INT32 code); ///< a KXCCTRL_ code
    virtual void onControlUp(INT32 code);
    virtual void onCharEntered(char character);
    virtual void onJoystickMoved(INT32 x, INT32 y);

protected:
    ~KxcInput() = default;
};

/// The processor; both words are 0 on this platform.
struct KxcCPUInfo
{
    INT32 type, speed;
};

/// Filled by KxcCore::setExclusiveMode.
struct KxcExclusiveModeSettings
{
    INT32 width, height; ///< the device's size in pixels
};

/// The engine's services. All static; before the core is built and after it is gone they answer 0.
///
/// Threads  the thread that runs the frames, unless a member says otherwise.
class KXC_API KxcCore
{
public:
    static KxcApp* getApp();

    /// Takes leave of the current renderer (deinitRenderer) and installs another (initRenderer); null installs none.
    static void setRenderer(KxcRenderer* renderer);
    /// Installs the receiver of input; null drops all input.
    static void setController(KxcInput* controller);

    /// Ends the run: KxcApp::onAppDeinit, teardown, exit code 0. Does not return.
    [[noreturn]] static void quit();
    /// Shows the message in a box, tears the core down and ends the process with exit code 0. Any thread.
    [[noreturn]] static void systemPanic(const char* message);

    /// Milliseconds since the core was built. Never runs backwards; a gap of more than five minutes counts as 1 ms.
    static INT32 getTick();
    static INT64 getTick64();
    static void sleep(INT32 milliseconds); ///< blocks the calling thread; any thread

    static INT32 getDeviceWidth(); ///< of the active graphics device's frame, else of the screen, in pixels
    static INT32 getDeviceHeight();

    static INT32 getPlatformId(); ///< 0x1000000
    static const char* getPlatformString();
    static const char* getCommandlineString(); ///< null in an embedded run
    static KxcCPUInfo* getCPUInfo();           ///< the caller deletes it; null when memory runs out
    static KxcFixed getBatteryState();    ///< from 0 up to, not including, 1: here a ramp that repeats every second
    static INT32 getDeviceLocale();       ///< 0
    static INT32 getSilentProfileState(); ///< -1

    /// Stores the mode (1 at start-up) and reports the device's size. @return 1
    static INT32 setExclusiveMode(INT32 mode, KxcExclusiveModeSettings& settings);
    static void setIdleMode(INT32 mode);
    static void
    setOutOfMemoryAction(INT32 action); ///< 1: panic when the engine heap is exhausted; else it answers null

    static void compactMemory(UINT32 bytes); ///< no effect on this platform
    static UINT32 getFreePoolMemory();       ///< of the engine heap, in bytes; 0 without one
    static UINT32 getMemoryBlockSize(void* block);
    /// Zeroed pages from the operating system; null when it has none. Any thread.
    static void* allocateSystemMemory(INT32 bytes);
    static void freeSystemMemory(void* memory);

    static KxcCommunicationScheduler* getCommunicationScheduler(); ///< null until kxcUseNetwork
    static KxcPrimitiveDraw* getPrimitiveDraw();                   ///< null until kxcUse2DVectorGraphics
    static KxcPrimitiveTranslator* getPrimitiveTranslator();       ///< likewise

    /// Adds a resource archive to the engine's directory; its entries override those of earlier ones. @return 1, or 0
    static INT32 openCFL(const char* name);
    static void resetCFLDirectory();                 ///< forgets all archives
    static void setFileOpenStrategy(INT32 strategy); ///< a KXCFILE_ value; KXCFILE_DISK_FIRST at start-up

    /// Adds a (KXCCTRL_ code, key code) pair; a pair is never stored twice.
    static void mapControlCode(INT32 control, INT32 key);
    static void unmapControlCode(INT32 control, INT32 key); ///< its slot becomes free and reads as (-1, -1)
    static UINT32 getControlMappingCount();                 ///< slots, free ones included
    static void getControlMapping(UINT32 index, INT32& control, INT32& key); ///< (-1, -1) at or beyond the count
    static void resetControlMappings();                                      ///< to the 17 default pairs

    /// A touch on the rectangle (its right and bottom edges included) presses the key; the newest button wins.
    static void addScreenButton(const KxcRectangle& rectangle, INT32 key);
    static void resetScreenButtons();
};

/// The usual optional components: the zlib archive filter, the graphics device, the TGA and PCX image loaders, the
/// audio device. Called from a game's init function.
KXC_API void kxcUseDefaults();
