// core_test.cpp - a run from preferences to exit: what is called when, and how the engine clock moves.
#include "gl/device.h"
#include "support/engine.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <sys/resource.h>

namespace
{

std::string g_log; // what was called, in order

struct LoggingApp : KxcApp
{
    ~LoggingApp() override { g_log += "~app "; }
    void onAppInit() override { g_log += "init "; }
    void onTick() override { g_log += "tick "; }
    void onAppDeinit() override { g_log += "deinit "; }
};

struct LoggingRenderer : KxcRenderer
{
    const char* name;
    INT32 presented = 0;
    explicit LoggingRenderer(const char* n) : name(n) {}
    void render() override { g_log += std::string("render") + name + " "; }
    INT32 updateScreen(void* data) override { return g_log += data ? "data " : "update ", presented; }
    void initRenderer() override { g_log += std::string("on") + name + " "; }
    void deinitRenderer() override { g_log += std::string("off") + name + " "; }
};

struct LoggingDevice : KxcGLDevice
{
    INT32 clear(INT32, KxcFixed, INT32) override { return 0; }
    void mapPointerPosition(INT32&, INT32&) override {}
    void mapControlCode(INT32&) override {}
    INT32 getFrameWidth() override { return 16; }
    INT32 getFrameHeight() override { return 32; }
    void present() override { g_log += "present "; }
    void fillRect(INT32, INT32, INT32, INT32, UINT32) override {}
    void onSurfaceLock() override {}
};

long makeApp()
{
    g_log += "make ";
    return new LoggingApp() == nullptr;
}

/// Runs in the child of a death test: everything that ends the process goes out on stderr, where it is matched.
void printOnExit()
{
    kxcPlatformMessageBoxHook = [](const char* text, const char* caption, KxcPlatformIcon icon)
    { std::fprintf(stderr, "[%s|%s|%d] ", caption, text, icon); };
    std::atexit([] { std::fprintf(stderr, "%score %s", g_log.c_str(), kxcCore ? "alive" : "gone"); });
}

UINT32 g_now;

} // namespace

TEST(Core, FrameTicksRendersAndPresentsInOrder)
{
    g_log.clear();
    LoggingRenderer a("A"), b("B");
    LoggingDevice device;
    {
        Engine engine(8, 4, nullptr, makeApp);
        EXPECT_NE(KxcCore::getApp(), nullptr);
        KxcCore::setRenderer(&a);
        short* frame = embeddedFrame();
        for (int i = 0; i < 8 * 4; ++i)
            EXPECT_EQ(frame[i], 0) << "a frame that nothing draws into is black";
        kxcCore->device = &device;
        embeddedFrame();
        b.presented = 1;
        KxcCore::setRenderer(&b);
        embeddedFrame();
        KxcCore::setRenderer(nullptr);
        EXPECT_EQ(embeddedFrame(), frame);
        EXPECT_EQ(KxcCore::getDeviceWidth(), 16);
        KxcExclusiveModeSettings settings = {};
        EXPECT_EQ(KxcCore::setExclusiveMode(3, settings), 1);
        EXPECT_EQ(settings.height, 32);
        kxcCore->device = nullptr;
        EXPECT_EQ(KxcCore::getDeviceWidth(), 8);
    }
    EXPECT_EQ(g_log, "make init onA tick renderA update tick renderA update present offA onB tick renderB update offB "
                     "tick deinit ~app ");
    EXPECT_EQ(embeddedFrame(), nullptr) << "without a core there is no frame";
}

TEST(Core, PreferencesReachTheCoreButAnEmbeddedFrameKeepsTheHostsSize)
{
    Engine engine(20, 10,
                  [](KxcAppPrefs& prefs)
                  {
                      EXPECT_EQ(prefs.screenWidth, 20);
                      EXPECT_EQ(prefs.screenHeight, 10);
                      EXPECT_TRUE(!prefs.title && !prefs.outOfMemoryMessage && !prefs.extraMemoryRequired);
                      prefs.screenWidth = 640;
                      prefs.extraMemoryRequired = 1 << 20;
                  });
    EXPECT_EQ(kxcCore->prefs.screenWidth, 640);
    EXPECT_EQ(KxcCore::getDeviceWidth(), 20);
    EXPECT_EQ(KxcCore::getCommandlineString(), nullptr);
    EXPECT_STREQ(KxcCore::getPlatformString(), "Kestrix/Windows");
    EXPECT_EQ(KxcCore::getPlatformId(), 0x1000000);
    EXPECT_EQ(KxcCore::getSilentProfileState(), -1);
    KxcCPUInfo* info = KxcCore::getCPUInfo();
    EXPECT_EQ(info->type | info->speed, 0);
    delete info;
}

TEST(Core, ClockSkipsLongGapsAndNeverRunsBackwards)
{
    g_now = 0xFFFFFFF0; // the system's count is about to wrap
    kxcPlatformClockHook = [] { return g_now; };
    {
        Engine engine;
        const struct
        {
            UINT32 step;
            INT32 tick;
        } steps[] = {{0, 0}, {16, 16}, {300000, 300016}, {300001, 300017}, {UINT32(-5), 300018}, {7, 300025}};
        for (const auto& step : steps)
        {
            g_now += step.step;
            EXPECT_EQ(KxcCore::getTick(), step.tick);
            EXPECT_EQ(KxcCore::getTick64(), step.tick);
        }
        g_now += 974; // 300999
        EXPECT_EQ(KxcCore::getBatteryState().raw(), 999 * 65536 / 1000);
        g_now += 1;
        EXPECT_EQ(KxcCore::getBatteryState().raw(), 0);
        kxcCore->tick = INT32_MAX;
        g_now += 1;
        EXPECT_EQ(KxcCore::getTick(), INT32_MIN) << "the 32-bit tick wraps";
    }
    kxcPlatformClockHook = nullptr;
}

TEST(Core, FacadeIsNeutralWithoutACore)
{
    EXPECT_EQ(KxcCore::getApp(), nullptr);
    EXPECT_EQ(KxcCore::getTick(), 0);
    EXPECT_EQ(KxcCore::getDeviceWidth(), 0);
    EXPECT_EQ(KxcCore::openCFL("x"), 0);
    EXPECT_EQ(KxcCore::getControlMappingCount(), 0u);
    KxcCore::setRenderer(nullptr);
    KxcCore::mapControlCode(1, 2);
    embeddedKeyDown(1);
    embeddedPointerDown(1, 1);
    embeddedControlUp(1);
    EXPECT_EQ(KxcResourceManager::createResource(nullptr, 1), -1);
    KxcApp unregistered;
    EXPECT_EQ(KxcCore::getApp(), nullptr);
}

TEST(Core, SystemMemoryIsZeroedAndReusable)
{
    EXPECT_EQ(KxcCore::allocateSystemMemory(0), nullptr);
    EXPECT_EQ(KxcCore::allocateSystemMemory(-1), nullptr);
    for (INT32 bytes : {1, 4096, 1 << 20})
    {
        char* memory = static_cast<char*>(KxcCore::allocateSystemMemory(bytes));
        ASSERT_NE(memory, nullptr);
        for (INT32 i = 0; i < bytes; ++i)
            ASSERT_EQ(memory[i], 0);
        std::memset(memory, 1, static_cast<size_t>(bytes));
        KxcCore::freeSystemMemory(memory);
    }
    KxcCore::freeSystemMemory(nullptr);
}

using CoreDeathTest = testing::Test;

TEST(CoreDeathTest, QuitDeinitialisesTheApplicationAndExitsWithZero)
{
    g_log.clear();
    EXPECT_EXIT((printOnExit(), embeddedInit(8, 8, makeApp, nullptr, nullptr), KxcCore::quit()),
                testing::ExitedWithCode(0), "make init deinit ~app core gone");
    EXPECT_EXIT((printOnExit(), embeddedInit(8, 8, makeApp, nullptr, nullptr),
                 KxcCore::getApp()->onDeviceStateEvent(KXCDSE_CLOSEREQUEST, 2, nullptr)),
                testing::ExitedWithCode(0), "make init deinit ~app core gone");
    EXPECT_EXIT((printOnExit(), embeddedInit(8, 8, makeApp, nullptr, nullptr), new LoggingApp()),
                testing::ExitedWithCode(0), "make init deinit ~app core gone")
        << "a second application ends the run";
}

TEST(CoreDeathTest, ApplicationThatQuitsWhileLeavingStillEndsTheProcess)
{
    struct Stubborn : KxcApp
    {
        void onAppDeinit() override { g_log += "again ", KxcCore::quit(); }
    };
    g_log.clear();
    EXPECT_EXIT((printOnExit(), embeddedInit(8, 8, nullptr, nullptr, nullptr), new Stubborn(), KxcCore::quit()),
                testing::ExitedWithCode(0), "^again core gone");
}

TEST(CoreDeathTest, PanicShowsItsMessageAndTearsDown)
{
    g_log.clear();
    EXPECT_EXIT((printOnExit(), embeddedInit(8, 8, makeApp, nullptr, nullptr), KxcCore::systemPanic("boom")),
                testing::ExitedWithCode(0), "\\[Kestrix/Windows\\|boom\\|0\\] make init deinit ~app core gone");
    EXPECT_EXIT((printOnExit(), KxcCore::systemPanic("early")), testing::ExitedWithCode(0), "early.*core gone");
}

TEST(CoreDeathTest, FailingInitFunctionIsReportedWithoutTeardown)
{
    g_log.clear();
    EXPECT_EXIT((printOnExit(), embeddedInit(
                                    8, 8, []() -> long { return makeApp() + 5; }, nullptr, nullptr)),
                testing::ExitedWithCode(0),
                "\\[Kestrix/Windows\\|Application init returned non-zero value\\|0\\] make core alive");
}

// Sanitizers need the address space themselves; the emulator does not limit it.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(KXC_EMULATED)
TEST(CoreDeathTest, StartUpMemoryProbePanicsWithTheGamesTextOrItsOwn)
{
    const auto start = [](void (*prefs)(KxcAppPrefs&))
    {
        printOnExit();
        const rlimit limit = {512 << 20, 512 << 20};
        setrlimit(RLIMIT_AS, &limit);
        embeddedInit(8, 8, nullptr, prefs, nullptr);
    };
    EXPECT_EXIT(start([](KxcAppPrefs& prefs) { prefs.extraMemoryRequired = 0x40000400; }), testing::ExitedWithCode(0),
                "Out of memory. 1048577 KB more required.\\|0\\] core gone");
    EXPECT_EXIT(start(
                    [](KxcAppPrefs& prefs)
                    {
                        prefs.extraMemoryRequired = 0x40000000;
                        prefs.outOfMemoryMessage = "Close something.";
                    }),
                testing::ExitedWithCode(0), "\\|Close something.\\|0\\] core gone");
}
#endif
