// wave_output_test.cpp - how the device opens its output, and what it does for a buffer that was played.
#include "audio_support.h"

#include <gtest/gtest.h>

namespace
{

/// An output that opens when it is told to, and remembers.
struct FakeWave
{
    INT32 opens = 0, closes = 0, refusals = 0;
    KxcPlatformWaveFormat format = {};
    void (*done)(void*, INT32, INT32) = nullptr;
} fake;

const KxcPlatformWave kFakeWave = {"fake",
                                   [](const KxcPlatformWaveFormat& format, void (*done)(void*, INT32, INT32)) -> INT32
                                   {
                                       ++fake.opens;
                                       fake.format = format;
                                       fake.done = done;
                                       return fake.refusals-- <= 0;
                                   },
                                   [] { ++fake.closes; }};

struct WaveOutput : testing::Test
{
    WaveOutput()
    {
        fake = {};
        kxcPlatformWave = &kFakeWave;
        kxcUseAudioDefault();
    }
    ~WaveOutput() override
    {
        kxcUseAudioDefault(); // closes it
        kxcPlatformWave = &kxcPlatformHeadlessWave;
    }
    Engine engine;
};

} // namespace

TEST_F(WaveOutput, IsTriedFiveTimesHalfASecondApartAndThenTheDeviceIsOpenButMute)
{
    fake.refusals = 1;
    EXPECT_EQ(KxcAudio::setAudioFormat(nullptr, 4, 1).samples, 2048);
    EXPECT_EQ(fake.opens, 2);
    fake.refusals = 5;
    const UINT32 start = kxcPlatformMilliseconds();
    const KxcAudioFormat none = KxcAudio::setAudioFormat(nullptr, 4, 1);
    EXPECT_GE(kxcPlatformMilliseconds() - start, 2000u);
    EXPECT_EQ(fake.opens, 7);
    EXPECT_EQ(none.samplingRate, 1);
    EXPECT_EQ(none.flags, 0u);
    EXPECT_EQ(none.samples, 1);
    const Sound sound = makeSound({1});
    EXPECT_NE(KxcAudio::play(sound.get()), 0u);
    EXPECT_EQ(KxcAudio::openAudio(), 1);
    EXPECT_EQ(KxcAudio::getAudioFormat().flags, 0xE00u) << "what was asked for, not what was obtained";
}

TEST_F(WaveOutput, IsClosedBeforeItIsOpenedAnewAndWhenTheDeviceGoes)
{
    KxcAudioFormat mono(8000, KXCAUDIO_16BIT, 0);
    KxcAudio::setAudioFormat(nullptr, 4, 1);
    EXPECT_EQ(fake.format.channels * 100 + fake.format.bits, 216);
    KxcAudio::setAudioFormat(&mono, 4, 1);
    EXPECT_EQ(fake.format.channels * 100 + fake.format.bits, 116);
    EXPECT_EQ(fake.format.rate, 32000);
    EXPECT_EQ(fake.opens * 10 + fake.closes, 21);
    kxcUseAudioDefault();
    EXPECT_EQ(fake.closes, 2);
    KxcAudio::setAudioFormat(nullptr, 4, 1);
    embeddedDeinit();
    EXPECT_EQ(fake.closes, 3);
}

TEST_F(WaveOutput, IsSilentOnceTheEngineQuits)
{
    KxcAudio::setAudioFormat(nullptr, 4, 0);
    const Sound sound = makeSound({1234}, 32000, KXCAUDIO_LOOP);
    const UINT32 id = KxcAudio::play(sound.get());
    INT16 buffer[kOutputSamples * 2];
    fake.done(buffer, sizeof buffer, 0);
    fake.done(buffer, sizeof buffer, 0);
    EXPECT_EQ(buffer[1], 1234);
    kxcCore->quitting = 1;
    const INT32 playhead = KxcAudio::getPlayhead(id);
    fake.done(buffer, sizeof buffer, 0);
    EXPECT_EQ(buffer[1], 0);
    EXPECT_EQ(KxcAudio::getPlayhead(id), playhead) << "nothing is mixed any more";
    kxcCore->quitting = 0;
}
