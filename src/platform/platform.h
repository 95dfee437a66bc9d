// platform.h - the seam: all that the library asks of an operating system.
//
// What exists once per system (pages, clock, threads, locks, disk) is plain functions; what is chosen while the
// program runs (the window and its message boxes) is a record of functions. A port implements this file and nothing
// else. Unless a comment says otherwise, a function may be called from any thread and returns null or 0 on failure.
#pragma once

#include <kxcoreemb/base.h>

#include <cstdio>

// --- memory ----------------------------------------------------------------------------------------------------------

/// Zeroed pages that can be read and written, straight from the system; null when it has none left.
void* kxcPlatformAllocatePages(size_t bytes);
void kxcPlatformFreePages(void* pages); ///< accepts null

// --- time ------------------------------------------------------------------------------------------------------------

/// From an arbitrary start, wrapping at 2^32.
UINT32 kxcPlatformMilliseconds();
/// A clock that a test drives by hand; null, the default, for the system's.
extern UINT32 (*kxcPlatformClockHook)();
void kxcPlatformSleep(UINT32 milliseconds);

struct KxcPlatformTime
{
    UINT16 year, month, day, hour, minute, second, millisecond; // month and day count from 1
};
KxcPlatformTime kxcPlatformLocalTime();

// --- process ---------------------------------------------------------------------------------------------------------

[[noreturn]] void kxcPlatformExit(INT32 code); ///< ends the process in the orderly way

/// The full path of the running executable, folders separated by "\"; 0 when it is unknown or does not fit.
INT32 kxcPlatformExecutablePath(char* path, INT32 size);
/// An executable path that a test sets, in the form above; null, the default, for the real one.
extern const char* kxcPlatformExecutablePathHook;

// --- threads and locks -----------------------------------------------------------------------------------------------

struct KxcPlatformThread;
KxcPlatformThread* kxcPlatformThreadStart(INT32 (*function)(void*), void* argument);
INT32 kxcPlatformThreadWait(KxcPlatformThread* thread);   ///< blocks until it ended; its exit code, every time
void kxcPlatformThreadRelease(KxcPlatformThread* thread); ///< lets go of the handle; the thread runs on
[[noreturn]] void kxcPlatformThreadExit(INT32 code);      ///< ends the calling thread
UINT32 kxcPlatformThreadId();                             ///< of the calling thread; never 0xFFFFFFFF

struct KxcPlatformLock; ///< not re-entrant
KxcPlatformLock* kxcPlatformLockCreate();
void kxcPlatformLockDestroy(KxcPlatformLock* lock);
void kxcPlatformLockAcquire(KxcPlatformLock* lock);
void kxcPlatformLockRelease(KxcPlatformLock* lock);

// --- disk ------------------------------------------------------------------------------------------------------------
// Paths may use "\" as well as "/", and may differ in case from the disk: the spelling that exists is used.

/// stdio's open; closed with fclose. @param mode as in stdio
FILE* kxcPlatformFileOpen(const char* path, const char* mode);
INT32 kxcPlatformFileRemove(const char* path); ///< 1 on success, like the next three
INT32 kxcPlatformFileRename(const char* oldPath, const char* newPath);
INT32 kxcPlatformDirectoryCreate(const char* path);
INT32 kxcPlatformDirectoryRemove(const char* path); ///< the directory must be empty

/// The last component of an existing file's or folder's path, spelled as the disk has it.
INT32 kxcPlatformFileNameOnDisk(const char* path, char* name, INT32 size);

struct KxcPlatformSearch;
KxcPlatformSearch* kxcPlatformSearchOpen(const char* directory);
const char*
kxcPlatformSearchNext(KxcPlatformSearch* search);       ///< a name, "." and ".." included; valid until the next call
void kxcPlatformSearchClose(KxcPlatformSearch* search); ///< accepts null

// --- sockets ---------------------------------------------------------------------------------------------------------
// A socket is a number, -1 for none. What fails answers -1 unless a comment says otherwise. An address is a record of
// 16 bytes: the family (UINT16, 2), the port and the IPv4 address in network byte order, eight zeros.

INT32 kxcPlatformSocketsStart(); ///< once per run, before any other use of the network
void kxcPlatformSocketsStop();

/// What the system calls a KXCSOCKET_ index, 0 to 20; -1 for any other.
INT32 kxcPlatformSocketValue(INT32 index);

/// Arguments are the system's, from kxcPlatformSocketValue; so are those of options and commands.
INT32 kxcPlatformSocketOpen(INT32 family, INT32 type, INT32 protocol);
void kxcPlatformSocketClose(INT32 socket); ///< accepts -1
INT32 kxcPlatformSocketBind(INT32 socket, const void* address);
INT32 kxcPlatformSocketListen(INT32 socket, INT32 backlog);
INT32 kxcPlatformSocketAccept(INT32 socket); ///< the new connection's socket
/// @return 0 when connected; 1 when that takes longer and the socket does not wait: once it is writable, ask for the
/// end
INT32 kxcPlatformSocketConnect(INT32 socket, const void* address);
INT32 kxcPlatformSocketConnectEnd(INT32 socket); ///< 0 when connected
/// Bytes sent or received. Receiving answers 0 at the end of a stream; a peer that is gone is an error, not a signal.
INT32 kxcPlatformSocketSend(INT32 socket, const char* data, INT32 length, INT32 flags);
INT32 kxcPlatformSocketReceive(INT32 socket, char* buffer, INT32 length, INT32 flags);
INT32 kxcPlatformSocketSendTo(INT32 socket, const char* data, INT32 length, INT32 flags, const void* address);
INT32 kxcPlatformSocketReceiveFrom(INT32 socket, char* buffer, INT32 length, INT32 flags, void* address);
INT32 kxcPlatformSocketGetOption(INT32 socket, INT32 level, INT32 option, void* value, INT32* length);
INT32 kxcPlatformSocketSetOption(INT32 socket, INT32 level, INT32 option, const void* value, INT32 length);
INT32 kxcPlatformSocketControl(INT32 socket, INT32 command, UINT32* argument);
INT32 kxcPlatformSocketLocalAddress(INT32 socket, void* address);
INT32 kxcPlatformSocketPeerAddress(INT32 socket, void* address);
INT32 kxcPlatformSocketWouldWait(); ///< 1 when the calling thread's last call failed only because it may not wait

struct KxcPlatformSocketWatch
{
    INT32 socket;     ///< -1 is never ready
    INT32 forWriting; ///< 0: until there is something to read, or the end, or an error
    INT32 ready;      ///< filled in
};
/// Blocks until one is ready or the time is over; below 0 there is no limit. @return how many are; 0 when time is over
INT32 kxcPlatformSocketWait(KxcPlatformSocketWatch* watches, INT32 count, INT32 timeoutMs);

// Names. Looking one up may take seconds. 1 on success, else 0.
INT32 kxcPlatformHostAddress(const char* name, UINT32* address); ///< the first, in network byte order
INT32 kxcPlatformHostNameOf(UINT32 address, char* name, INT32 size);
INT32 kxcPlatformHostName(char* name, INT32 size); ///< of this host

// --- window and message boxes ----------------------------------------------------------------------------------------

/// What a window reports. Parameters are packed as the comment says; keys are virtual-key codes (VK_*).
enum KxcPlatformMessageType : UINT32
{
    KXCMSG_CREATE = 0x0001,      ///< the window exists, nothing was shown yet
    KXCMSG_DESTROY = 0x0002,     ///< the window is gone
    KXCMSG_ACTIVATE = 0x0006,    ///< low word of wParam: 0 deactivated, else activated
    KXCMSG_PAINT = 0x000F,       ///< its content must be shown again
    KXCMSG_CLOSE = 0x0010,       ///< the user wants to close it
    KXCMSG_QUIT = 0x0012,        ///< the program is to end with wParam
    KXCMSG_KEYDOWN = 0x0100,     ///< wParam: key; repeats while the key is held
    KXCMSG_KEYUP = 0x0101,       ///< wParam: key
    KXCMSG_CHAR = 0x0102,        ///< wParam: character
    KXCMSG_MOUSEMOVE = 0x0200,   ///< lParam: x in the low word, y in the high word; wParam: KXCMSG_LEFTHELD or 0
    KXCMSG_LBUTTONDOWN = 0x0201, ///< as above, and so are the next three
    KXCMSG_LBUTTONUP = 0x0202,
    KXCMSG_MBUTTONDOWN = 0x0207,
    KXCMSG_MBUTTONUP = 0x0208,
    KXCMSG_MOUSEWHEEL = 0x020A, ///< high word of wParam: signed, positive when turned away from the user
};
enum : UINT32
{
    KXCMSG_LEFTHELD = 1 ///< wParam of the mouse messages: the left button is held
};

struct KxcPlatformMessage
{
    UINT32 type, wParam, lParam;
};

enum KxcPlatformIcon
{
    KXCICON_STOP,
    KXCICON_EXCLAMATION
};

/// A window, its input and its message boxes. Called on the frame thread, message boxes from any.
struct KxcPlatformHost
{
    const char* name; ///< "sdl2", "headless"
    /// Opens a window whose client area measures width x height pixels, shown unless visible is 0.
    /// @return 0, with the reason on stderr, without a display
    INT32 (*open)(INT32 width, INT32 height, const char* title, INT32 visible);
    /// Takes the next waiting message; 0 when there is none. Never blocks.
    INT32 (*nextMessage)(KxcPlatformMessage* message);
    /// Shows width x height pixels in R5 G6 B5, top row first; the caller keeps the buffer.
    void (*present)(const UINT16* pixels);
    void (*close)(); ///< safe after a failed open, and twice
    void (*messageBox)(const char* text, const char* caption, KxcPlatformIcon icon); ///< blocks until dismissed
};

extern const KxcPlatformHost kxcPlatformHeadless; ///< no window: open fails; message boxes go to stderr
extern const KxcPlatformHost kxcPlatformSDL2;     ///< exists in desktop builds
extern const KxcPlatformHost* kxcPlatformHost;    ///< the one in use; headless until the desktop starts

/// Shows a message box through the host in use, or hands it to the hook when a test set one.
void kxcPlatformMessageBox(const char* text, const char* caption, KxcPlatformIcon icon);
extern void (*kxcPlatformMessageBoxHook)(const char* text, const char* caption, KxcPlatformIcon icon);

// --- sound -----------------------------------------------------------------------------------------------------------

/// Numbers of 16 bits are signed, of 8 bits unsigned; two channels lie interleaved, left first.
struct KxcPlatformWaveFormat
{
    INT32 rate;     ///< samples a second
    INT32 channels; ///< 1 or 2
    INT32 bits;     ///< 8 or 16
    INT32 samples;  ///< length of a hardware buffer
};

/// An output for sound. Two hardware buffers are in flight: while one is being played, the other one is filled.
struct KxcPlatformWave
{
    const char* name; ///< "sdl2", "headless"
    /// Starts to play; both buffers hold silence at first. Whenever one has been played, `done` is called, on an audio
    /// thread, to write what is played after the other one. When the device goes away later, the calls go on at the
    /// same pace, and the output looks for a device from time to time.
    /// @param done  a buffer, its bytes, and the byte that silence consists of
    /// @return 0, with the reason on stderr, when there is no such output
    INT32 (*open)(const KxcPlatformWaveFormat& format, void (*done)(void* buffer, INT32 bytes, INT32 silence));
    /// Stops, after a call of `done` that is running: hold no lock that it waits for. From within `done` (the program
    /// is ending there) it returns at once. Safe after a failed open, and twice.
    void (*close)();
};

extern const KxcPlatformWave kxcPlatformHeadlessWave; ///< plays only what kxcPlatformHeadlessWavePlay takes
extern const KxcPlatformWave kxcPlatformSDL2Wave;     ///< exists in desktop builds
extern const KxcPlatformWave* kxcPlatformWave;        ///< the one to open; headless until the desktop starts

/// The clock of the headless output, driven by hand: plays one hardware buffer, `done` included, on the calling thread.
/// @param played  receives its samples; may be null  @return bytes; 0 while that output is not open
INT32 kxcPlatformHeadlessWavePlay(void* played);
