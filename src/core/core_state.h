// core_state.h - the one object that every engine service hangs from, and the steps by which hosts run it.
#pragma once

#include "core/profiler.h"
#include "gl/texture_cache.h"
#include "gl/triangle.h"

#include <kxcoreemb/core.h>

#include <atomic>

class KxcAudioDevice;
class KxcCFL;
class KxcCFLMaker;
class KxcCFLResourceFilter;
class KxcGLDevice;
class KxcGLDeviceFactory;
class KxcImageLoader;
class KxcLogger;
class KxcMemoryManager;
class KxcResourceTable;
class KxcStreamWorker;
struct KxcGLDeviceInfo;
struct KxcMathTables;

/// One mapping slot; (-1, -1) when free.
struct KxcControlMapping
{
    INT32 control, key;
};

struct KxcScreenButton
{
    KxcScreenButton* next; // older
    KxcRectangle rectangle;
    INT32 key;
};

/// The core object, made of zeroed pages by kxcCoreBuild. Members are destroyed by kxcCoreTearDown.
struct KxcCoreState
{
    INT32 alive;                 // 1 while it exists
    std::atomic<INT32> quitting; // 1 from KxcCore::quit on; the audio thread reads it
    KxcAppPrefs prefs;

    KxcApp* app;                 // owned
    KxcRenderer* renderer;       // the game's
    KxcInput* controller;        // the game's
    KxcAudioDevice* audioDevice; // owned; null until kxcUseAudioDefault
    KxcMemoryManager* memory;    // owned; null until kxcUseMemoryManager
    KxcResourceTable* resources; // owned
    KxcMathTables* mathTables;   // owned

    KxcGLDevice* device;                      // owned: the active graphics device; null until a game creates one
    KxcGLDeviceFactory* deviceFactories;      // owned: newest first
    const KxcGLDeviceInfo* deviceInfos;       // owned: newest first
    const KxcGLDeviceInfo* currentDeviceInfo; // one of them, or null
    KxcGLFillerTables fillers;                // those that were registered
    KxcGLTexture* textures;                   // the game's: all that live, newest first
    KxcGLTextureCache textureCache;           // what the fillers read texels through

    KxcCFLResourceFilter* archiveFilters; // owned: newest first
    KxcCFL* archives;                     // owned: the merged archive directory; null when there is none
    KxcCFLMaker* archiveMakers;           // owned: those that did not finish
    INT32 fileOpenStrategy;
    KxcImageLoader* imageLoaders; // owned: newest first

    KxcCommunicationScheduler* scheduler; // owned: null until kxcUseNetwork
    KxcStreamWorker* streamWorker;        // owned: null until a stream socket asks for it
    KxcPrimitiveDraw* primitiveDraw;
    KxcPrimitiveTranslator* primitiveTranslator;

    KxcControlMapping* controlMappings; // owned
    UINT32 controlMappingCapacity, controlMappingCount;
    KxcScreenButton* screenButtons; // owned, newest first
    KxcScreenButton* heldButton;    // one of them, or null

    KxcEventLog eventLog; // the profiler's
    KxcSampler* sampler;  // owned: likewise; null while none runs
    KxcLogger* logger;    // owned

    UINT32 lastMilliseconds;
    INT32 tick;
    INT64 tick64;

    INT32 exclusiveMode, outOfMemoryAction, idleMode;
    char* commandLine; // owned

    UINT16* frameBuffer; // owned: screenWidth x screenHeight pixels as the host sees them
    INT32 screenWidth, screenHeight;
};

/// The core; null before it is built and after it is torn down.
extern KxcCoreState* kxcCore;

/// Fills the preferences and builds the core; panics when memory is short.
void kxcCoreBuild(INT32 width, INT32 height, void (*appPrefs)(KxcAppPrefs&));
/// Makes the frame buffer (width x height pixels), registers the built-in components, runs the game's init function.
void kxcCoreStartApplication(INT32 width, INT32 height, long (*appInit)(void));
void kxcCoreTearDown();
/// What the desktop wants done when the program quits, before the core is torn down; null when there is no desktop.
extern void (*kxcCoreDesktopTearDown)();

// Input routing (input.cpp)
enum KxcPointerState : INT32
{
    KXCPOINTER_UP = -1,
    KXCPOINTER_MOVE = 0,
    KXCPOINTER_DOWN = 1
};
void kxcInputKey(INT32 code, bool down);
void kxcInputPointer(INT32 x, INT32 y, KxcPointerState state);
void kxcInputFree(); ///< the mapping table and the screen buttons
