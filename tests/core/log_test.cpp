// log_test.cpp - the logger's and the profiler's output, byte by byte.
#include "support/engine.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

UINT32 g_now;

/// Runs in a folder of its own, on a clock that the test drives.
struct Log : testing::Test
{
    Log()
    {
        std::filesystem::create_directories(folder);
        std::filesystem::current_path(folder);
        g_now = 1000;
        kxcPlatformClockHook = [] { return g_now; };
        embeddedInit(32, 16, nullptr, nullptr, nullptr);
    }
    ~Log() override
    {
        embeddedDeinit();
        kxcPlatformClockHook = nullptr;
        std::filesystem::current_path(home);
        std::filesystem::remove_all(folder);
    }
    static std::string content(const std::string& name)
    {
        std::ifstream file(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static std::string name() { return "KxcLogger_" + std::to_string(INT32(kxcPlatformThreadId())) + ".txt"; }
    /// What was logged behind the legend.
    static std::string logged()
    {
        const std::string all = content(name());
        const size_t start = all.find("start -------------------\r\n\r\n");
        return start == std::string::npos ? all : all.substr(start + 29);
    }
    static size_t files()
    {
        return size_t(std::distance(std::filesystem::directory_iterator("."), std::filesystem::directory_iterator()));
    }

    std::filesystem::path home = std::filesystem::current_path();
    std::filesystem::path folder = std::filesystem::temp_directory_path() / ("kxc_log" + std::to_string(getpid()));
};

typedef KxcLogger Logger;
constexpr auto flags(UINT32 bits) { return Logger::KXCLOGFLAGS(bits); }

} // namespace

TEST_F(Log, BeginsWithALegendAndTagsIndentsAndMasks)
{
    Logger::setMask(Logger::KXCLOG_ERROR | Logger::KXCLOG_INDENT);
    Logger::log("not this", Logger::KXCLOG_INFO);
    EXPECT_EQ(files(), 0u);
    std::ofstream(name()) << "of an earlier run";
    Logger::undent();
    Logger::indent();
    Logger::log("first", flags(Logger::KXCLOG_ERROR | Logger::KXCLOG_INFO));
    Logger::undent(); // masked
    Logger::setMask(0xFFFFFFFF);
    Logger::indent();
    Logger::log("\x80\x7F", 2, Logger::KXCLOG_DATA);
    Logger::undent();
    Logger::undent();
    Logger::undent();
    Logger::log("", flags(0x30));
    Logger::log(nullptr, Logger::KXCLOG_CRITICAL);
    Logger::log(nullptr, 5, Logger::KXCLOG_FLOW);
    Logger::log("untyped", flags(256));
    Logger::log("nothing lets it through", flags(0));
    EXPECT_EQ(content(name()), "-------------------------------------------------\r\n"
                               "[I] General info\r\n[D] General data\r\n[F] Program flow info\r\n"
                               "[E] Error\r\n[W] Warning\r\n[!] Critical error\r\n"
                               "\r\n------------------- log start -------------------\r\n\r\n"
                               "  [I]first\r\n"
                               "    [D]0xffffff80 0x7f \r\n"
                               "[W]\r\n[!]\r\n[F]\r\n[]untyped\r\n");
}

TEST_F(Log, StopsForGoodBehindTheSizeLimit)
{
    Logger::log("one", Logger::KXCLOG_INFO);
    const UINT32 size = UINT32(content(name()).size());
    EXPECT_EQ(Logger::getFileSizeLimit(), 0xFFFFFFFF);
    Logger::setFileSizeLimit(size);
    Logger::log("two", Logger::KXCLOG_INFO); // the file is not longer than the limit yet
    Logger::log("three", Logger::KXCLOG_INFO);
    Logger::setFileSizeLimit(0);
    Logger::log("four", Logger::KXCLOG_INFO);
    EXPECT_EQ(logged(), "[I]one\r\n[I]two\r\n!!!! File size limit exceeded, log no longer written !!!!\r\n");
}

TEST_F(Log, KeepsThreadsApartAndLeavesOutTheEleventh)
{
    std::vector<std::thread> threads;
    std::atomic<INT32> left{0}, go{0};
    for (INT32 i = 0; i < 12; ++i)
        threads.emplace_back(
            [&, i]
            {
                ++go;
                while (go < 12)
                    std::this_thread::yield(); // so that all are alive at once, and their ids differ
                Logger::setLogLevel(i + 10);
                Logger::log("mine", Logger::KXCLOG_INFO);
                if (Logger::getLogLevel() == 3)
                {
                    ++left;
                    Logger::setMask(0);
                    Logger::setFileSizeLimit(7);
                    Logger::indent();
                    Logger::undent();
                    EXPECT_EQ(Logger::getMask(), 0xFFFFFFFF);
                    EXPECT_EQ(Logger::getFileSizeLimit(), 0xFFFFFFFF);
                }
                else
                {
                    EXPECT_EQ(Logger::getLogLevel(), i + 10);
                    EXPECT_EQ(logged(), "[I]mine\r\n");
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(left, 2);
    EXPECT_EQ(files(), 10u);
}

TEST_F(Log, KeepsItsLastLineWhenTheProcessIsKilled)
{
    const pid_t child = fork();
    if (child == 0)
    {
        Logger::log("before", Logger::KXCLOG_INFO);
        Logger::log("the end", Logger::KXCLOG_CRITICAL);
        std::raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_EQ(files(), 1u);
    const std::string all = content(std::filesystem::directory_iterator(".")->path().string());
    EXPECT_EQ(all.substr(all.size() - 23), "[I]before\r\n[!]the end\r\n");
}

TEST_F(Log, TimesEventsAndFrames)
{
    typedef KxcProfiler Profiler;
    Profiler::addEvent("too early");
    Profiler::frameEvent(1);
    Profiler::resetEvent("a", "b");
    EXPECT_EQ(Profiler::getEventLog(), nullptr);
    Profiler::initEventLog();
    const char* const text = Profiler::getEventLog();
    ASSERT_STREQ(text, "");
    Profiler::frameEvent(1); // within the window's first millisecond
    EXPECT_STREQ(text, "");
    g_now += 7;
    Profiler::addEvent("drawn ");
    EXPECT_STREQ(text, "    7\ndrawn ");
    g_now += 13;
    Profiler::initEventLog(); // changes nothing any more
    Profiler::frameEvent(0);
    EXPECT_STREQ(text, "    7\ndrawn    13\ntotal    20\nFPS      50");
    g_now += 5;
    Profiler::resetEvent(nullptr, "x");
    EXPECT_STREQ(text, "");
    g_now += 12345;
    Profiler::resetEvent("now ", "begins");
    EXPECT_STREQ(text, "now 12345\nbegins");
    Profiler::resetEvent(nullptr, nullptr);
    for (INT32 frame = 2; frame <= 50; ++frame) // the fiftieth ends the window
    {
        g_now += 10;
        Profiler::frameEvent(1);
    }
    Profiler::resetEvent(nullptr, nullptr);
    g_now += 100;
    Profiler::frameEvent(1);
    EXPECT_STREQ(text, "FPS    10");

    for (INT32 i = 0; i < 300; ++i)
        Profiler::addEvent("as long as it takes");
    EXPECT_EQ(std::string(text).size(), 1023u);
    Profiler::resetEvent(std::string(2000, 'x').c_str(), "y");
    EXPECT_EQ(std::string(text), std::string(1023, 'x'));
}

TEST_F(Log, WritesTheSamplersSamples)
{
    typedef KxcProfiler Profiler;
    Profiler::pauseSampler();
    Profiler::endSampler();
    const std::string path = "//" + (folder / "a.bin").string();
    Profiler::startSampler(path.c_str(), 1);
    KxcSampler* const sampler = kxcCore->sampler;
    ASSERT_NE(sampler, nullptr);
    EXPECT_EQ(sampler->paused, 1);
    Profiler::resumeSampler();
    EXPECT_EQ(sampler->paused, 0);
    Profiler::pauseSampler();
    EXPECT_EQ(sampler->paused, 1);
    sampler->samples[0] = 0x44434241;
    sampler->samples[1] = 0x48474645;
    sampler->count = 2;
    Profiler::startSampler("//no such folder/b.bin", 0);
    EXPECT_EQ(content("a.bin"), "ABCDEFGH");
    Profiler::endSampler();
    EXPECT_EQ(kxcCore->sampler, nullptr);
}
