// audio_test.cpp - playing, channels and ids, what sounds can be set to, and what reaches the output.
#include "audio_support.h"

#include "audio/audio_device.h"
#include "audio/mix_model.h"
#include "support/failing_new.h"

#include <gtest/gtest.h>

#include <random>

namespace
{

constexpr KxcFixed kHalf = KxcFixed::fromRaw(0x8000);

INT32 left(const std::vector<INT16>& played, size_t sample) { return played[sample * 2]; }
INT32 right(const std::vector<INT16>& played, size_t sample) { return played[sample * 2 + 1]; }

} // namespace

TEST(Audio, WithoutADeviceEveryCallIsNeutral)
{
    for (INT32 core = 0; core < 2; ++core)
    {
        std::unique_ptr<Engine> engine(core ? new Engine : nullptr);
        Sound sound(KxcAudioBuffer::create(8000, 0, 10, KxcFixed(1)));
        INT32 start = 5, end = 6;
        EXPECT_EQ(KxcAudio::play(sound.get()), 0u);
        EXPECT_EQ(KxcAudio::lock(sound.get()), nullptr);
        KxcAudio::unlock(sound.get());
        EXPECT_EQ(KxcAudio::getPlayhead(0x100), -1);
        EXPECT_EQ(KxcAudio::getVolume(sound.get()), KxcFixed(0));
        EXPECT_EQ(KxcAudio::getLoopOffsets(sound.get(), start, end) + KxcAudio::setVolume(sound.get(), 1), 0);
        EXPECT_EQ(KxcAudio::getAudioFormat().samples + KxcAudio::setAudioFormat(nullptr, 8, 1).samples, 0);
        EXPECT_EQ(embeddedSoundFrame(nullptr), 0);
    }
}

TEST(Audio, TheOutputRunsAt32000HzWithTheWidthThatWasAskedFor)
{
    Engine engine;
    kxcUseDefaults();
    const struct
    {
        UINT32 asked, obtained;
        INT32 bytes;
    } kFormats[] = {{0xF07, 0xE00, 8192}, {0x200, 0xA00, 4096}, {0x800, 0x000, 2048}, {0x400, 0x400, 4096}};
    for (const auto& f : kFormats)
    {
        KxcAudioFormat asked(44100, f.asked, 7);
        const KxcAudioFormat obtained = KxcAudio::setAudioFormat(&asked, 4, 1);
        EXPECT_EQ(obtained.flags, f.obtained);
        EXPECT_EQ(obtained.samplingRate, 32000);
        EXPECT_EQ(obtained.samples, 2048);
        EXPECT_EQ(KxcAudio::getAudioFormat().flags, f.obtained);
        std::vector<UINT8> played(8192, 0x11);
        EXPECT_EQ(embeddedSoundFrame(played.data()), f.bytes);
        EXPECT_EQ(played[0], f.obtained & KXCAUDIO_16BIT ? 0 : 0x80) << "silence first";
    }
    EXPECT_EQ(KxcAudio::getRecommendedAudioFormat().flags, 0xE00u);
    EXPECT_EQ(KxcAudio::setAudioFormat(nullptr, 1000, 9).flags, 0xE00u);
    EXPECT_EQ(KxcAudio::getChannelCount(), 256);
    EXPECT_EQ(kxcCore->audioDevice->getQuality(), 0u);
    EXPECT_EQ(kxcCore->audioDevice->setQuality(1), 1);
    EXPECT_EQ(kxcCore->audioDevice->getQuality(), 1u);
    EXPECT_EQ(KxcAudio::setChannelCount(0) + KxcAudio::setChannelCount(257), 0);
    EXPECT_EQ(KxcAudio::setChannelCount(3), 1);
    EXPECT_EQ(KxcAudio::getChannelCount(), 3);
    EXPECT_EQ(KxcAudio::closeAudio() + KxcAudio::getAudioFormat().samples, 1);
    EXPECT_EQ(kxcCore->audioDevice->getLastAudioFormat().flags, 0xE00u);
}

TEST(Audio, ASoundIsHeardWherePanningPutsItAndEndsByItself)
{
    AudioEngine engine(8, 0);
    const Sound sound = makeSound({1000, -2000, 3000});
    const UINT32 id = KxcAudio::play(sound.get(), 32000, kHalf);
    ASSERT_NE(id, 0u);
    EXPECT_EQ(KxcAudio::isPlaying(id), 1);
    std::vector<INT16> played;
    for (INT32 i = 0; i < 4; ++i) // two buffers in flight, one mixed ahead
        played = engine.play();
    EXPECT_EQ(right(played, 0), 500);
    EXPECT_EQ(right(played, 1), -1000);
    EXPECT_EQ(right(played, 2), 1500);
    EXPECT_EQ(right(played, 3) | left(played, 0) | left(played, 2), 0);
    EXPECT_EQ(KxcAudio::isPlaying(id), 0);
    EXPECT_EQ(KxcAudio::getPlayhead(id), -1);
    EXPECT_EQ(KxcAudio::stop(id), 0);
}

TEST(Audio, FullScaleSoundsClampAndMasterVolumeScalesTheOutputExactly)
{
    AudioEngine engine(8, 0);
    const Sound high = makeSound({30001, -30001}, 32000, KXCAUDIO_LOOP),
                higher = makeSound({20000, -20000}, 32000, KXCAUDIO_LOOP);
    const UINT32 id = KxcAudio::play(high.get());
    engine.settle();
    EXPECT_EQ(right(engine.play(), 0), 30001);
    KxcAudio::setMasterVolume(kHalf); // what was mixed already, too: it is heard after the two buffers in flight
    engine.play(), engine.play();
    const std::vector<INT16> played = engine.play();
    EXPECT_EQ(right(played, 0), 15000);
    EXPECT_EQ(right(played, 1), -15001);
    KxcAudio::setMasterVolume(KxcFixed(3));
    EXPECT_EQ(KxcAudio::getMasterVolume(), KxcFixed(1));
    KxcAudio::play(higher.get());
    engine.settle();
    EXPECT_EQ(right(engine.play(), 0), 32767);
    EXPECT_EQ(right(engine.play(), 1), -32768);
    KxcAudio::setMasterVolume(KxcFixed(-1));
    EXPECT_EQ(KxcAudio::getMasterVolume(), KxcFixed(0));
    engine.settle();
    EXPECT_EQ(right(engine.play(), 0), 0);
    EXPECT_EQ(KxcAudio::isPlaying(id), 1);
}

TEST(Audio, ChannelsAreGivenAndTakenAsTheRuleSays)
{
    // The rule, written once more, over priorities; -1 is free.
    struct Model
    {
        std::vector<INT32> priorities;
        size_t cursor = 0;
        INT32 take(INT32 priority)
        {
            INT32 victim = -1;
            const size_t count = priorities.size();
            for (size_t i = 0; i < count; ++i)
            {
                const size_t index = cursor;
                cursor = (cursor + 1) % count;
                if (priorities[index] < 0)
                    return static_cast<INT32>(index);
                if (priorities[index] > priority || (priorities[index] == priority && victim < 0))
                    victim = static_cast<INT32>(index);
            }
            cursor = (cursor + 1) % count;
            return victim;
        }
    };
    std::mt19937 random;
    for (INT32 channels : {1, 2, 5, 256})
    {
        AudioEngine engine(channels);
        Model model{std::vector<INT32>(static_cast<size_t>(channels), -1)};
        std::vector<UINT32> ids;
        std::vector<Sound> sounds;
        for (UINT16 priority = 0; priority < 5; ++priority)
            sounds.emplace_back(KxcAudioBuffer::create(8000, KXCAUDIO_LOOP, 10, KxcFixed(1), kHalf, priority));
        for (INT32 step = 0; step < 1200; ++step)
        {
            const INT32 priority = static_cast<INT32>(random() % 5);
            if (random() % 3 == 0 && !ids.empty())
            {
                // Paused sounds count as free; so do those that were stopped.
                const UINT32 id = ids[random() % ids.size()];
                const bool pauses = random() % 2;
                const INT32 wasThere = KxcAudio::getPlayhead(id) >= 0;
                ASSERT_EQ(pauses ? KxcAudio::pause(id) : KxcAudio::stop(id), wasThere);
                if (wasThere)
                    model.priorities[id & 0xFF] = -1;
                continue;
            }
            const INT32 expected = model.take(priority);
            const UINT32 id = KxcAudio::play(sounds[static_cast<size_t>(priority)].get());
            ASSERT_EQ(id == 0 ? -1 : static_cast<INT32>(id & 0xFF), expected) << step;
            if (expected < 0)
                continue;
            model.priorities[static_cast<size_t>(expected)] = priority;
            for (UINT32 earlier : ids)
                ASSERT_NE(id, earlier);
            ids.push_back(id);
        }
    }
}

TEST(Audio, AStaleIdTouchesNoOtherSound)
{
    AudioEngine engine(1);
    const Sound sound = makeSound({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 32000, KXCAUDIO_LOOP);
    const UINT32 old = KxcAudio::play(sound.get());
    const UINT32 id = KxcAudio::play(sound.get());
    for (UINT32 stale : {old, 0u, 0x80000000u, id | 0x80000000u, id + 1})
    {
        EXPECT_EQ(KxcAudio::stop(stale) + KxcAudio::pause(stale) + KxcAudio::resume(stale), 0);
        EXPECT_EQ(KxcAudio::setVolume(stale, 0) + KxcAudio::setLooping(stale, 0) + KxcAudio::isPlaying(stale), 0);
        EXPECT_EQ(KxcAudio::getPlayhead(stale), -1);
    }
    EXPECT_EQ(KxcAudio::isPlaying(id), 1);
    EXPECT_EQ(KxcAudio::getVolume(id), KxcFixed(1));
    EXPECT_EQ(KxcAudio::stop(id), 1);
    EXPECT_EQ(KxcAudio::isPlaying(id), 0);
    EXPECT_EQ(KxcAudio::stop(0), 0) << "no id is 0, whatever a free channel holds";
    EXPECT_EQ(KxcAudio::stopAll() + KxcAudio::stopEach(sound.get()), 0);
}

TEST(Audio, WhatASoundIsSetToIsClampedAndStaysItsOwn)
{
    AudioEngine engine;
    const Sound sound = makeSound(std::vector<INT16>(100, 1), 8000);
    const UINT32 id = KxcAudio::play(sound.get(), 11025, KxcFixed(-2), KxcFixed(7), 3);
    INT32 start = 0, end = 0;
    EXPECT_EQ(KxcAudio::getVolume(id), KxcFixed(0));
    EXPECT_EQ(KxcAudio::getPanning(id), KxcFixed(1));
    EXPECT_EQ(KxcAudio::getSamplingRate(id), 11025);
    EXPECT_EQ(KxcAudio::getPriority(id), 255) << "the producer's: what was asked for only chose the channel";
    EXPECT_EQ(KxcAudio::setVolume(id, KxcFixed(9)) + KxcAudio::setPanning(id, KxcFixed(-1)), 2);
    EXPECT_EQ(KxcAudio::getVolume(id), KxcFixed(9));
    EXPECT_EQ(KxcAudio::getPanning(id), KxcFixed(0));
    EXPECT_EQ(KxcAudio::setSamplingRate(id, -5) + KxcAudio::setPriority(id, 9) + KxcAudio::setLooping(id, 7), 3);
    EXPECT_EQ(KxcAudio::getSamplingRate(id), 0);
    EXPECT_EQ(KxcAudio::getPriority(id), 9);
    EXPECT_EQ(KxcAudio::getLooping(id), 1);
    const INT32 kOffsets[][3] = {{0, 100, 1}, {5, 6, 1}, {5, 5, 0}, {-1, 10, 0}, {0, 101, 0}, {100, 100, 0}};
    for (const auto& o : kOffsets)
        EXPECT_EQ(KxcAudio::setLoopOffsets(id, o[0], o[1]), o[2]) << o[0];
    EXPECT_EQ(KxcAudio::getLoopOffsets(id, start, end), 1);
    EXPECT_EQ(start * 1000 + end, 5006);

    // The producer kept what it had, and is set apart from its sounds.
    EXPECT_EQ(KxcAudio::getVolume(sound.get()), KxcFixed(1));
    EXPECT_EQ(KxcAudio::getLooping(sound.get()) + KxcAudio::getSamples(sound.get()), 100);
    KxcAudio::setVolume(sound.get(), KxcFixed(-4));
    KxcAudio::setSamplingRate(sound.get(), -4);
    EXPECT_EQ(KxcAudio::getVolume(sound.get()), KxcFixed(0));
    EXPECT_EQ(KxcAudio::getSamplingRate(sound.get()), 0);
    EXPECT_EQ(KxcAudio::getVolume(id), KxcFixed(9));
    EXPECT_EQ(KxcAudio::setPanning(sound.get(), KxcFixed(3)) + KxcAudio::setPriority(sound.get(), 7) +
                  KxcAudio::setLooping(sound.get(), 5),
              3);
    EXPECT_EQ(KxcAudio::getPanning(sound.get()), KxcFixed(1));
    EXPECT_EQ(KxcAudio::getPriority(sound.get()) + KxcAudio::getLooping(sound.get()), 8);
    EXPECT_EQ(KxcAudio::getFormat(sound.get()).samples, 100);
    EXPECT_EQ(KxcAudio::setLoopOffsets(sound.get(), 3, 8), 1);
    EXPECT_EQ(KxcAudio::getLoopOffsets(sound.get(), start, end), 1);
    EXPECT_EQ(start * 1000 + end, 3008);
    EXPECT_EQ(KxcAudio::pauseEach(sound.get()) + KxcAudio::isPlaying(id), 1);
    EXPECT_EQ(KxcAudio::resumeEach(sound.get()) + KxcAudio::isPlaying(id), 2);
    KxcAudio::setLooping(sound.get(), 0);
    EXPECT_EQ(KxcAudio::setSamples(sound.get(), -3) + KxcAudio::getSamples(sound.get()), 1);
    KxcAudio::setSamples(sound.get(), 1000000); // more than there is: plays what there is
    EXPECT_EQ(KxcAudio::setLoopOffsets(sound.get(), 500, 1000000), 1);
    const UINT32 longer = KxcAudio::play(sound.get(), 1e9f);
    engine.play();
    EXPECT_EQ(KxcAudio::isPlaying(longer), 0);
}

TEST(Audio, PausingKeepsThePlaceAndClosingKeepsTheSounds)
{
    AudioEngine engine(8, 0);
    std::vector<INT16> ramp(5000);
    for (size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = static_cast<INT16>(i);
    const Sound sound = makeSound(ramp), other = makeSound(ramp);
    const UINT32 id = KxcAudio::play(sound.get()), otherId = KxcAudio::play(other.get());
    engine.play();
    EXPECT_EQ(KxcAudio::getPlayhead(id), 2048);
    EXPECT_EQ(KxcAudio::pauseEach(sound.get()), 1);
    EXPECT_EQ(KxcAudio::isPlaying(id) * 2 + KxcAudio::isPlaying(otherId), 1);
    engine.play();
    EXPECT_EQ(KxcAudio::getPlayhead(id), 2048);
    EXPECT_EQ(KxcAudio::getPlayhead(otherId), 4096);
    EXPECT_EQ(KxcAudio::closeAudio(), 1);
    EXPECT_EQ(KxcAudio::getPlayhead(id), -1);
    EXPECT_EQ(KxcAudio::play(sound.get()), 0u);
    EXPECT_TRUE(engine.play().empty());
    EXPECT_EQ(KxcAudio::openAudio(), 1);
    EXPECT_EQ(KxcAudio::resumeAll(), 1);
    EXPECT_EQ(KxcAudio::getPlayhead(id), 2048);
    engine.play();
    EXPECT_EQ(KxcAudio::getPlayhead(id), 4096);
    EXPECT_EQ(KxcAudio::isPlaying(otherId), 0);
}

TEST(Audio, DeletingABufferStopsAllItsSoundsAlsoOnAClosedDevice)
{
    AudioEngine engine;
    Sound sound = makeSound(std::vector<INT16>(100, 1000), 32000, KXCAUDIO_LOOP), empty = makeSound({}),
          none = makeSound({});
    const UINT32 first = KxcAudio::play(sound.get()), second = KxcAudio::play(sound.get());
    const UINT32 silent = KxcAudio::play(none.get());
    ASSERT_NE(silent, 0u);
    empty.reset(); // has no samples either, but is another one
    EXPECT_EQ(KxcAudio::isPlaying(silent), 1);
    engine.play();
    EXPECT_EQ(KxcAudio::isPlaying(silent), 0) << "nothing to play is an end at once";
    EXPECT_EQ(KxcAudio::isPlaying(first) + KxcAudio::isPlaying(second), 2);
    sound.reset();
    EXPECT_EQ(KxcAudio::isPlaying(first) + KxcAudio::isPlaying(second), 0);
    Sound late = makeSound({1}, 32000, KXCAUDIO_LOOP);
    KxcAudio::play(late.get());
    KxcAudio::closeAudio();
    late.reset();
    KxcAudio::openAudio();
    engine.play();
    kxcUseAudioDefault(); // replaces an open device
    EXPECT_EQ(KxcAudio::getAudioFormat().samples, 0);
}

TEST(Audio, PrimaryDataIsConvertedToTheBuffersFormat)
{
    AudioEngine engine(8, 0);
    const Sound sound = makeSound({1000, 2000, -3000}, 32000, KXCAUDIO_LOOP);
    KxcAudio::play(sound.get());
    engine.play();
    Sound same(KxcAudioBuffer::create(32000, 0xE00, 5, KxcFixed(1))),
        bytes(KxcAudioBuffer::create(32000, 0, 5, KxcFixed(1)));
    EXPECT_EQ(KxcAudio::getPrimaryData(same.get(), 2047, 100), 1) << "no more than fits";
    const INT16* numbers = static_cast<INT16*>(KxcAudio::lock(same.get()));
    EXPECT_EQ(numbers[1], 2000) << "sample 2047, in the right channel";
    EXPECT_EQ(numbers[3], 1000) << "then sample 0";
    EXPECT_EQ(numbers[7], -3000);
    KxcAudio::unlock(same.get());
    EXPECT_EQ(KxcAudio::getPrimaryData(bytes.get(), 0, 3), 1);
    const UINT8* mono = static_cast<UINT8*>(KxcAudio::lock(bytes.get()));
    EXPECT_EQ(mono[0], 0x80 + (1000 >> 9)) << "the average of both sides, in the upper byte";
    EXPECT_EQ(mono[2], 0x80 + (-3000 >> 9));
    KxcAudio::unlock(bytes.get());
    EXPECT_EQ(KxcAudio::getPrimaryData(same.get(), -1, 1) + KxcAudio::getPrimaryData(nullptr, 0, 1), 0);
}

TEST(Audio, WithoutMemoryForTheDeviceThereIsNoSoundAndNoHarm)
{
    AudioEngine engine;
    Sound huge(KxcAudioBuffer::create(8000, 0xE00, 0x7FFFFFFF, KxcFixed(1)));
    failAllocationAfter(0);
    kxcUseAudioDefault();
    failAllocationAfter(-1);
    EXPECT_EQ(KxcAudio::setAudioFormat(nullptr, 8, 1).samples, 0);
}

// --- streams ---------------------------------------------------------------------------------------------------------

TEST(AudioStream, IsAskedForEverySampleOnceAndHeardWithoutAGap)
{
    for (UINT32 quality : {0u, 1u})
        for (FLOAT32 rate : {32000.0f, 22050.0f, 44100.0f, 8000.0f, 100.0f, 31999.0f, 96000.0f})
        {
            AudioEngine engine(4, quality);
            const std::unique_ptr<CountingStream> stream = CountingStream::create(rate);
            KxcAudio::play(stream.get());
            engine.settle();
            // The same samples, all in memory, in the model.
            std::vector<INT16> all(40 * 2048 * 3 + 2);
            for (size_t i = 0; i < all.size(); ++i)
                all[i] = static_cast<INT16>(i & 0x7FFF);
            KxcAudioState voice;
            voice.reset();
            voice.format = KxcAudioFormat(rate, 0xA00, static_cast<INT32>(all.size()));
            voice.data = all.data(), voice.volume = voice.panning = KxcFixed(1), voice.loopEnd = voice.format.samples;
            voice.step = kxcMixStep(rate, 32000);
            for (INT32 pass = 0; pass < 35; ++pass)
            {
                std::vector<INT16> expected(kOutputSamples * 2);
                model::mixVoice(voice, {expected.data(), kOutputSamples, 0xE00, 0, kOutputSamples}, quality);
                ASSERT_EQ(engine.play(), expected) << rate << " Hz, quality " << quality << ", pass " << pass;
            }
            EXPECT_TRUE(stream->inOrder);
            EXPECT_LE(stream->made, static_cast<INT64>(38 * 2048 * rate / 32000) + 3) << "no further than needed";
        }
}

TEST(AudioStream, LosesNothingWhenItsRateChangesAndItsRingGrows)
{
    AudioEngine engine(4, 0);
    const std::unique_ptr<CountingStream> stream = CountingStream::create(8000);
    const UINT32 id = KxcAudio::play(stream.get());
    std::mt19937 random;
    INT32 last = 0;
    for (INT32 pass = 0; pass < 60; ++pass)
    {
        const std::vector<INT16> played = engine.play();
        for (size_t i = 0; i < played.size() / 2 && pass >= 3; ++i)
        {
            const INT32 sample = right(played, i);
            ASSERT_TRUE(((sample - last) & 0x7FFF) <= 3) << "pass " << pass << ": " << last << " then " << sample;
            last = sample;
        }
        KxcAudio::setSamplingRate(id, pass % 10 == 9 ? 0 : static_cast<FLOAT32>(random() % 90000));
    }
    EXPECT_TRUE(stream->inOrder);
}

TEST(AudioStream, IsToldWhatHappensToItsSound)
{
    AudioEngine engine(1);
    const std::unique_ptr<CountingStream> stream = CountingStream::create(8000);
    const Sound sound = makeSound({1, 2, 3});
    UINT32 id = KxcAudio::play(stream.get());
    EXPECT_EQ(KxcAudio::lock(stream.get()), nullptr);
    KxcAudio::unlock(stream.get());
    KxcAudio::pause(id);
    KxcAudio::pauseAll();
    KxcAudio::resume(id);
    KxcAudio::stop(id);
    EXPECT_EQ(stream->told, "play pause resume stop ");
    stream->told.clear();
    KxcAudio::play(stream.get());
    KxcAudio::play(sound.get()); // takes the only channel
    EXPECT_EQ(stream->told, "play stop ");
    EXPECT_EQ(KxcAudio::setLoopOffsets(id, 0, 1) + KxcAudio::getSamples(stream.get()), 0);
}

TEST(AudioStream, MayStopOrReplaceItsOwnSoundWhileItIsFilled)
{
    AudioEngine engine(1);
    const std::unique_ptr<CountingStream> stream = CountingStream::create(32000);
    stream->onFill = [](CountingStream& s) { KxcAudio::stop(s.id); };
    stream->id = KxcAudio::play(stream.get());
    engine.play();
    EXPECT_EQ(KxcAudio::isPlaying(stream->id), 0);
    stream->onFill = [](CountingStream& s)
    {
        s.onFill = nullptr;
        s.id = KxcAudio::play(&s);
    };
    stream->id = KxcAudio::play(stream.get());
    const UINT32 first = stream->id;
    engine.play();
    EXPECT_NE(stream->id, first);
    EXPECT_EQ(KxcAudio::isPlaying(stream->id), 1);
    engine.play();
}

TEST(AudioStream, WithoutMemoryForItsRingIsSilentAndAskedForNothing)
{
    AudioEngine engine(1);
    const std::unique_ptr<CountingStream> stream = CountingStream::create(32000);
    const UINT32 id = KxcAudio::play(stream.get());
    KxcAudio::setSamplingRate(id, 3e38f); // 2^16 samples for each that is heard: 2^27 a pass, which there may be
    failAllocationAfter(0);
    engine.play();
    failAllocationAfter(-1);
    EXPECT_EQ(stream->made, 0);
    KxcAudio::setSamplingRate(id, 32000);
    engine.play();
    EXPECT_EQ(stream->made, 2048);
}
