// sdl2_wave_test.cpp - the output through SDL's disk driver, whose device can be made to fail.
#include "audio_support.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <unistd.h>

namespace
{

std::atomic<INT32> buffersDone;

void countUp(void* buffer, INT32 bytes, INT32)
{
    const INT32 number = ++buffersDone;
    std::fill_n(static_cast<INT16*>(buffer), bytes / 2, static_cast<INT16>(number));
}

struct SDL2Wave : testing::Test
{
    SDL2Wave()
    {
        buffersDone = 0;
        setenv("SDL_AUDIODRIVER", "disk", 1);
        std::filesystem::remove(file);
    }
    ~SDL2Wave() override
    {
        kxcPlatformSDL2Wave.close();
        std::filesystem::remove(file);
    }
    static INT32 open() { return kxcPlatformSDL2Wave.open({32000, 2, 16, 2048}, countUp); }
    static void waitFor(INT32 buffers)
    {
        for (INT32 tries = 0; tries < 2000 && buffersDone < buffers; ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ASSERT_GE(buffersDone, buffers);
    }
    const std::string file = testing::TempDir() + "kxc_sdl2_wave" + std::to_string(getpid()); // tests run side by side
};

} // namespace

TEST_F(SDL2Wave, PlaysTwoSilentBuffersAndThenEveryOneInOrder)
{
    setenv("SDL_DISKAUDIOFILE", file.c_str(), 1);
    setenv("SDL_DISKAUDIODELAY", "1", 1);
    ASSERT_EQ(open(), 1);
    waitFor(20);
    kxcPlatformSDL2Wave.close();
    const INT32 done = buffersDone;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(buffersDone, done) << "nothing is asked for after closing";
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> played{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    ASSERT_GE(played.size(), size_t(10 * 8192));
    // SDL may have played silence of its own before the output was ready.
    std::vector<INT16> numbers(played.size() / 2);
    std::memcpy(numbers.data(), played.data(), played.size());
    const size_t first = static_cast<size_t>(std::find(numbers.begin(), numbers.end(), 1) - numbers.begin());
    EXPECT_GE(first, size_t(2 * 4096));
    EXPECT_EQ(first % 4096, 0u);
    for (size_t i = first; i < numbers.size(); ++i)
        ASSERT_EQ(numbers[i], static_cast<INT32>((i - first) / 4096) + 1) << "number " << i;
}

TEST_F(SDL2Wave, KeepsTheClockWhenTheDeviceGoesAndFindsTheNextOne)
{
    // A link, because the environment may not change any more once SDL's thread reads it.
    const std::string device = file + ".device", next = device + ".next";
    std::filesystem::remove(device);
    std::filesystem::remove(next);
    std::filesystem::create_symlink("/dev/full", device); // opens well, and fails with the first buffer
    std::filesystem::create_symlink(file, next);
    setenv("SDL_DISKAUDIOFILE", device.c_str(), 1);
    unsetenv("SDL_DISKAUDIODELAY");
    ASSERT_EQ(open(), 1);
    std::filesystem::rename(next, device);
    const auto start = std::chrono::steady_clock::now();
    waitFor(16);
    const bool triedAgain = std::filesystem::exists(file);
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed, std::chrono::milliseconds(800)) << "64 ms for each";
    EXPECT_FALSE(triedAgain && passed < std::chrono::milliseconds(1900)) << "two seconds have to pass";
    waitFor(48);
    ASSERT_TRUE(std::filesystem::exists(file));
    EXPECT_GT(std::filesystem::file_size(file), 8192u);
    kxcPlatformSDL2Wave.close();
    std::filesystem::remove(device);
}

TEST_F(SDL2Wave, WithoutADriverFailsAndLeavesNothingBehind)
{
    setenv("SDL_AUDIODRIVER", "none of this name", 1);
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(SDL_WasInit(SDL_INIT_AUDIO), 0u);
    kxcPlatformSDL2Wave.close();
}
