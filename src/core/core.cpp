// core.cpp - builds the core object and takes it down again, and answers for KxcCore.
//
// kxcCoreBuild, kxcCoreStartApplication, frames, then KxcCore::quit (which never returns) or kxcCoreTearDown.
// Whatever the core owns is destroyed in kxcCoreTearDown and nowhere else.
#include "core/core_state.h"

#include "audio/audio_device.h"
#include "core/resource_table.h"
#include "files/cfl_services.h"
#include "gl/device.h"
#include "math/math_tables.h"
#include "net/stream_worker.h"
#include "platform/platform.h"
#include "surfaces/image_loaders.h"

#include <kxcoreemb/cfl.h>
#include <kxcoreemb/cfl_filter.h>
#include <kxcoreemb/communication.h>
#include <kxcoreemb/file.h>
#include <kxcoreemb/gl.h>
#include <kxcoreemb/host.h>
#include <kxcoreemb/image_loader.h>
#include <kxcoreemb/logger.h>
#include <kxcoreemb/memory_manager.h>
#include <kxcoreemb/primitive_translator.h>
#include <kxcoreemb/string_toolkit.h>

#include <new>

namespace
{

constexpr char kPlatformName[] = "Kestrix/Windows";
constexpr INT32 kPlatformId = 0x1000000;
constexpr INT32 kLongestStepMs = 300000; // a longer gap means that the device slept

/// Ends the run when memory is short, with the game's text or the built-in one.
[[noreturn]] void panicOutOfMemory(const char* gameText, size_t bytes)
{
    char text[64];
    KxcStringToolkit::format(text, sizeof(text), "Out of memory. %d KB more required.",
                             static_cast<INT32>(bytes / 1024));
    KxcCore::systemPanic(gameText ? gameText : text);
}

void advanceTick()
{
    const UINT32 now = kxcPlatformMilliseconds();
    const INT32 delta = static_cast<INT32>(now - kxcCore->lastMilliseconds);
    const INT32 step = delta >= 0 && delta <= kLongestStepMs ? delta : 1;
    kxcCore->tick = static_cast<INT32>(static_cast<UINT32>(kxcCore->tick) + static_cast<UINT32>(step));
    kxcCore->tick64 += step;
    kxcCore->lastMilliseconds = now;
}

/// Takes leave of the application, if there is one. An application that quits from its own onAppDeinit is not asked
/// again and not deleted: it is still running.
void endApplication()
{
    static bool leaving = false;
    KxcApp* app = kxcCore->app;
    if (!app)
        return;
    if (leaving)
    {
        kxcCore->app = nullptr;
        return;
    }
    leaving = true;
    app->onAppDeinit();
    delete app;
    leaving = false;
    kxcCore->app = nullptr;
}

/// Ends the thread that calls a game's stream sockets back, before what it calls is gone.
void endStreamWorker()
{
    if (!kxcCore)
        return;
    delete kxcCore->streamWorker;
    kxcCore->streamWorker = nullptr;
}

} // namespace

KxcCoreState* kxcCore = nullptr;
void (*kxcCoreDesktopTearDown)() = nullptr;

void kxcCoreBuild(INT32 width, INT32 height, void (*appPrefs)(KxcAppPrefs&))
{
    KxcAppPrefs prefs = {};
    prefs.screenWidth = width;
    prefs.screenHeight = height;
    if (appPrefs)
        appPrefs(prefs);

    kxcCore = static_cast<KxcCoreState*>(KxcCore::allocateSystemMemory(sizeof(KxcCoreState)));
    if (!kxcCore)
        panicOutOfMemory(prefs.outOfMemoryMessage, sizeof(KxcCoreState));
    kxcCore->alive = 1;
    kxcCore->prefs = prefs;

    if (prefs.extraMemoryRequired > 0)
    {
        void* probe = KxcCore::allocateSystemMemory(prefs.extraMemoryRequired);
        if (!probe)
            panicOutOfMemory(prefs.outOfMemoryMessage, static_cast<size_t>(prefs.extraMemoryRequired));
        KxcCore::freeSystemMemory(probe);
    }

    kxcCore->exclusiveMode = 1;
    kxcCore->fileOpenStrategy = KXCFILE_DISK_FIRST;
    kxcCore->resources = new (std::nothrow) KxcResourceTable(prefs.resourceMemoryLimit);
    kxcCore->mathTables = kxcMathTablesCreate();
    kxcCore->archives = KxcCFL::create();
    kxcCore->logger = KxcLogger::create();
    if (!kxcCore->resources || !kxcCore->mathTables || !kxcCore->archives || !kxcCore->logger)
        panicOutOfMemory(prefs.outOfMemoryMessage, sizeof(KxcMathTables));
    kxcCore->lastMilliseconds = kxcPlatformMilliseconds();
    kxcGLResetFillers();
    KxcCore::resetControlMappings();
}

void kxcCoreStartApplication(INT32 width, INT32 height, long (*appInit)(void))
{
    kxcCore->screenWidth = width;
    kxcCore->screenHeight = height;
    if (width > 0 && height > 0)
    {
        const UINT64 pixels = static_cast<UINT64>(width) * static_cast<UINT64>(height);
        if (pixels <= PTRDIFF_MAX / sizeof(UINT16))
            kxcCore->frameBuffer = new (std::nothrow) UINT16[static_cast<size_t>(pixels)]();
        if (!kxcCore->frameBuffer)
            panicOutOfMemory(kxcCore->prefs.outOfMemoryMessage, static_cast<size_t>(pixels * sizeof(UINT16)));
    }

    if (!kxcCFLRegisterNone())
        panicOutOfMemory(kxcCore->prefs.outOfMemoryMessage, sizeof(KxcCFLFilterNone));
    kxcGLRegisterStub();
    if (appInit && appInit() != 0)
    {
        kxcPlatformMessageBox("Application init returned non-zero value", kPlatformName, KXCICON_STOP);
        kxcPlatformExit(0);
    }
    if (kxcCore->app)
        kxcCore->app->onAppInit();
}

void kxcCoreTearDown()
{
    if (!kxcCore)
        return;
    endApplication();
    endStreamWorker();
    kxcProfilerFree();
    kxcGLFree();
    kxcInputFree();
    kxcCFLFiltersFree();
    delete kxcCore->archives;
    kxcCFLMakersFree();
    kxcImageLoadersFree();
    delete kxcCore->mathTables;
    kxcAudioFree();
    delete kxcCore->resources;
    delete kxcCore->scheduler;
    delete kxcCore->logger;
    delete kxcCore->primitiveDraw;
    delete kxcCore->primitiveTranslator;
    delete[] kxcCore->commandLine;
    delete[] kxcCore->frameBuffer;
    kxcCore->alive = 0;
    delete kxcCore->memory; // last: what was destroyed before may have lived there
    KxcCore::freeSystemMemory(kxcCore);
    kxcCore = nullptr;
}

KxcApp* KxcCore::getApp() { return kxcCore ? kxcCore->app : nullptr; }

void KxcCore::setRenderer(KxcRenderer* renderer)
{
    if (!kxcCore)
        return;
    if (kxcCore->renderer)
        kxcCore->renderer->deinitRenderer();
    kxcCore->renderer = renderer;
    if (renderer)
        renderer->initRenderer();
}

void KxcCore::setController(KxcInput* controller)
{
    if (kxcCore)
        kxcCore->controller = controller;
}

void KxcCore::quit()
{
    if (kxcCore)
    {
        kxcCore->quitting = 1;
        endApplication();
    }
    if (kxcCoreDesktopTearDown)
        kxcCoreDesktopTearDown();
    endStreamWorker();
    kxcPlatformSocketsStop();
    embeddedDeinit();
    kxcPlatformExit(0);
}

void KxcCore::systemPanic(const char* message)
{
    kxcPlatformMessageBox(message ? message : "", kPlatformName, KXCICON_STOP);
    kxcCoreTearDown();
    kxcPlatformExit(0);
}

INT32 KxcCore::getTick()
{
    if (!kxcCore)
        return 0;
    advanceTick();
    return kxcCore->tick;
}

INT64 KxcCore::getTick64()
{
    if (!kxcCore)
        return 0;
    advanceTick();
    return kxcCore->tick64;
}

void KxcCore::sleep(INT32 milliseconds)
{
    if (milliseconds > 0)
        kxcPlatformSleep(static_cast<UINT32>(milliseconds));
}

INT32 KxcCore::getDeviceWidth()
{
    if (!kxcCore)
        return 0;
    return kxcCore->device ? kxcCore->device->getFrameWidth() : kxcCore->screenWidth;
}

INT32 KxcCore::getDeviceHeight()
{
    if (!kxcCore)
        return 0;
    return kxcCore->device ? kxcCore->device->getFrameHeight() : kxcCore->screenHeight;
}

INT32 KxcCore::getPlatformId() { return kPlatformId; }

const char* KxcCore::getPlatformString() { return kPlatformName; }

const char* KxcCore::getCommandlineString() { return kxcCore ? kxcCore->commandLine : nullptr; }

KxcCPUInfo* KxcCore::getCPUInfo() { return new (std::nothrow) KxcCPUInfo(); }

KxcFixed KxcCore::getBatteryState() { return KxcFixed(getTick64() % 1000) / KxcFixed(1000); }

INT32 KxcCore::getDeviceLocale() { return 0; }

INT32 KxcCore::getSilentProfileState() { return -1; }

INT32 KxcCore::setExclusiveMode(INT32 mode, KxcExclusiveModeSettings& settings)
{
    if (kxcCore)
        kxcCore->exclusiveMode = mode;
    settings.width = getDeviceWidth();
    settings.height = getDeviceHeight();
    return 1;
}

void KxcCore::setIdleMode(INT32 mode)
{
    if (kxcCore)
        kxcCore->idleMode = mode;
}

void KxcCore::setOutOfMemoryAction(INT32 action)
{
    if (kxcCore)
        kxcCore->outOfMemoryAction = action;
}

void KxcCore::compactMemory(UINT32) {}

UINT32 KxcCore::getFreePoolMemory() { return KxcMemoryManager::getFreeMemory(); }

UINT32 KxcCore::getMemoryBlockSize(void* block) { return KxcMemoryManager::memSize(block); }

void* KxcCore::allocateSystemMemory(INT32 bytes)
{
    return bytes > 0 ? kxcPlatformAllocatePages(static_cast<size_t>(bytes)) : nullptr;
}

void KxcCore::freeSystemMemory(void* memory) { kxcPlatformFreePages(memory); }

KxcCommunicationScheduler* KxcCore::getCommunicationScheduler() { return kxcCore ? kxcCore->scheduler : nullptr; }

KxcPrimitiveDraw* KxcCore::getPrimitiveDraw() { return kxcCore ? kxcCore->primitiveDraw : nullptr; }

KxcPrimitiveTranslator* KxcCore::getPrimitiveTranslator() { return kxcCore ? kxcCore->primitiveTranslator : nullptr; }

INT32 KxcCore::openCFL(const char* name) { return kxcCore ? kxcCore->archives->openLibrary(name) : 0; }

void KxcCore::resetCFLDirectory()
{
    KxcCFL* fresh = kxcCore ? KxcCFL::create() : nullptr;
    if (!fresh)
        return;
    delete kxcCore->archives;
    kxcCore->archives = fresh;
}

void KxcCore::setFileOpenStrategy(INT32 strategy)
{
    if (kxcCore)
        kxcCore->fileOpenStrategy = strategy;
}

KxcApp::KxcApp()
{
    if (!kxcCore)
        return;
    if (kxcCore->app)
        KxcCore::quit();
    kxcCore->app = this;
}

KxcApp::~KxcApp()
{
    if (kxcCore && kxcCore->app == this)
        kxcCore->app = nullptr;
}

void KxcApp::onAppInit() {}

void KxcApp::onTick() {}

void KxcApp::onAppDeinit() {}

INT32 KxcApp::onDeviceStateEvent(INT32, INT32 param, void*)
{
    if (param == 2)
        KxcCore::quit();
    return 0;
}

void KxcRenderer::render() {}

INT32 KxcRenderer::updateScreen(void*) { return 0; }

void KxcRenderer::initRenderer() {}

void KxcRenderer::deinitRenderer() {}

void kxcUseDefaults()
{
    kxcUseCFLFilterZlib();
    kxcUseGLDefault();
    kxcUseImageFilterPCX();
    kxcUseImageFilterTGA();
    kxcUseAudioDefault();
}
