// audio_threads_test.cpp - the game's thread and the output's: sounds start, change, stop and go while others are
// mixed.
#include "audio_support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

namespace
{

/// Plays buffer after buffer for as long as it lives.
class Clock
{
public:
    Clock() : m_thread([this] { run(); }) {}
    ~Clock()
    {
        m_ends = true;
        m_thread.join();
    }

    INT32 passes() const { return m_passes; }

private:
    void run()
    {
        INT16 played[kOutputSamples * 2];
        while (!m_ends)
        {
            kxcPlatformHeadlessWavePlay(played);
            ++m_passes;
        }
    }
    std::atomic<INT32> m_passes{0};
    std::atomic<bool> m_ends{false};
    std::thread m_thread;
};

} // namespace

TEST(AudioThreads, SoundsStartChangeAndGoWhileTheOutputMixes)
{
    AudioEngine engine(6);
    std::vector<Sound> sounds(4);
    std::vector<std::unique_ptr<CountingStream>> streams(2);
    std::vector<UINT32> ids(16);
    std::mt19937 random;
    INT32 started = 0;
    {
        Clock clock;
        for (INT32 step = 0; step < 4000 || clock.passes() < 200; ++step)
        {
            Sound& sound = sounds[random() % sounds.size()];
            std::unique_ptr<CountingStream>& stream = streams[random() % streams.size()];
            UINT32& id = ids[random() % ids.size()];
            switch (random() % 12)
            {
            case 0:
                sound.reset();
                sound = makeSound(std::vector<INT16>(1 + random() % 3000, 77), static_cast<FLOAT32>(random() % 60000),
                                  random() % 2 ? UINT32(KXCAUDIO_LOOP) : 0);
                break;
            case 1:
                stream.reset();
                stream = CountingStream::create(static_cast<FLOAT32>(random() % 60000));
                stream->onFill = [](CountingStream& s)
                {
                    if (s.made > 20000)
                        KxcAudio::stopEach(&s);
                };
                break;
            case 2:
            case 3:
                id = KxcAudio::play(sound.get());
                started += id != 0;
                break;
            case 4:
                id = KxcAudio::play(stream.get());
                started += id != 0;
                break;
            case 5:
                KxcAudio::stop(id);
                break;
            case 6:
                if (void* samples = KxcAudio::lock(sound.get()))
                    std::memset(samples, static_cast<int>(random() % 256), 2);
                KxcAudio::unlock(sound.get());
                break;
            case 7:
                KxcAudio::setSamplingRate(id, static_cast<FLOAT32>(random() % 90000));
                KxcAudio::setVolume(id, KxcFixed::fromRaw(static_cast<INT32>(random() % 0x20000)));
                break;
            case 8:
                KxcAudio::pause(id);
                break;
            case 9:
                KxcAudio::resumeAll();
                break;
            case 10:
                KxcAudio::setLoopOffsets(id, static_cast<INT32>(random() % 100), static_cast<INT32>(random() % 3000));
                KxcAudio::setMasterVolume(KxcFixed::fromRaw(static_cast<INT32>(random() % 0x10000)));
                break;
            default:
                KxcAudio::isPlaying(id);
                if (random() % 64 == 0)
                    KxcAudio::setChannelCount(static_cast<INT32>(1 + random() % 10));
            }
        }
    }
    EXPECT_GT(started, 100);
}

TEST(AudioThreads, ACallWaitsForThePassThatRunsAndNotForMore)
{
    AudioEngine engine(256);
    const Sound sound = makeSound(std::vector<INT16>(5000, 1), 22050, KXCAUDIO_LOOP);
    for (INT32 i = 0; i < 256; ++i)
        KxcAudio::play(sound.get());
    Clock clock;
    while (clock.passes() == 0)
        std::this_thread::yield();
    INT32 late = 0;
    for (INT32 i = 0; i < 100; ++i)
    {
        const INT32 before = clock.passes();
        KxcAudio::setMasterVolume(KxcFixed(1));
        late += clock.passes() - before > 2;
    }
    // Some calls lose the processor before they get to the lock. A lock that the mixer could take again at once would
    // let most of them wait.
    EXPECT_LT(late, 30);
}

TEST(AudioThreads, PlayIsLetInBetweenTwoVoicesAndItsSoundStartsWithTheNextPass)
{
    static std::atomic<bool> fills{false};
    static CountingStream* starting;
    AudioEngine engine;
    std::unique_ptr<CountingStream> first = CountingStream::create(32000), second = CountingStream::create(32000),
                                    third = CountingStream::create(32000);
    starting = third.get();
    first->onFill = [](CountingStream&)
    {
        fills = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // the other thread comes to the lock
    };
    second->onFill = [](CountingStream& stream) { stream.id = starting->told == "play "; };
    KxcAudio::play(first.get());
    KxcAudio::play(second.get());
    std::thread game(
        [&]
        {
            while (!fills)
                std::this_thread::yield();
            KxcAudio::play(third.get());
        });
    AudioEngine::play();
    game.join();
    EXPECT_EQ(second->id, 1u) << "play() waited for the second voice, too";
    EXPECT_EQ(third->made, 0);
    AudioEngine::play();
    EXPECT_GT(third->made, 0);
}
