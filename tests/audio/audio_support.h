// audio_support.h - an engine whose sound output is clocked by the test, and sounds to play on it.
#pragma once

#include "support/engine.h"

#include <cstring>
#include <memory>
#include <vector>

constexpr INT32 kOutputSamples = 2048; // of a hardware buffer, at 32000 Hz

/// An engine with the default device, its output open in stereo with 16 bits.
struct AudioEngine : Engine
{
    explicit AudioEngine(INT32 channels = 8, UINT32 quality = 1)
    {
        kxcUseAudioDefault();
        KxcAudio::setAudioFormat(nullptr, channels, quality);
    }
    /// What the output plays next.
    static std::vector<INT16> play()
    {
        std::vector<INT16> played(kOutputSamples * 2);
        played.resize(static_cast<size_t>(kxcPlatformHeadlessWavePlay(played.data())) / 2);
        return played;
    }
    /// Plays what was mixed before, so that the next play() gives what is mixed from now on: the mixer is a buffer
    /// ahead, and two are in flight.
    static void settle()
    {
        for (INT32 i = 0; i < 3; ++i)
            play();
    }
};

typedef std::unique_ptr<KxcAudioBuffer> Sound;

/// 16-bit signed mono samples.
inline Sound makeSound(const std::vector<INT16>& samples, FLOAT32 rate = 32000, UINT32 flags = 0)
{
    Sound sound(KxcAudioBuffer::create(rate, KXCAUDIO_16BIT | KXCAUDIO_SIGNED | flags,
                                       static_cast<INT32>(samples.size()), KxcFixed(1), KxcFixed(1)));
    if (void* memory = KxcAudio::lock(sound.get()))
        std::memcpy(memory, samples.data(), samples.size() * 2);
    KxcAudio::unlock(sound.get());
    return sound;
}

/// A stream whose samples count up (16-bit signed mono, in the right channel), and that notes what it is told.
class CountingStream : public KxcAudioStream
{
public:
    static std::unique_ptr<CountingStream> create(FLOAT32 rate)
    {
        std::unique_ptr<CountingStream> stream(new CountingStream);
        if (!stream->initialize(rate, KXCAUDIO_16BIT | KXCAUDIO_SIGNED, KxcFixed(1), KxcFixed(1), 255))
            stream.reset();
        return stream;
    }
    ~CountingStream() override { KxcAudio::stopEach(this); }
    void play() override { told += "play "; }
    void stop() override { told += "stop "; }
    void pause() override { told += "pause "; }
    void resume() override { told += "resume "; }
    void fill(void* data, INT32 length, INT32 start, INT32 count) override
    {
        const bool sameRing = length == ring || ring == 0; // a larger one starts anew, with what was left
        inOrder = inOrder && (!sameRing || start == next) && count <= length;
        for (INT32 i = 0; i < count; ++i)
            static_cast<INT16*>(data)[(start + i) % length] = static_cast<INT16>(made++ & 0x7FFF);
        next = (start + count) % length;
        ring = length;
        if (onFill)
            onFill(*this);
    }

    std::string told;
    INT64 made = 0;      // samples
    bool inOrder = true; // each request began where the one before ended
    void (*onFill)(CountingStream&) = nullptr;
    UINT32 id = 0;

private:
    INT32 next = 0, ring = 0;
};
