// wave_output.cpp - the default device's output: what it asks of the platform, and what it does when a hardware buffer
// was played.
#include "audio/audio_device.h"
#include "core/core_state.h"
#include "platform/platform.h"

#include <kxcoreemb/audio.h>
#include <kxcoreemb/host.h>

#include <atomic>
#include <cstring>

namespace
{

constexpr INT32 kRate = 32000, kFrames = 2048; // of the hardware, whatever rate was asked for
constexpr INT32 kAttempts = 5;
constexpr UINT32 kPauseMs = 500;

// One output for the process. The device is null while it is closed.
std::atomic<KxcAudioDevice*> s_playing{nullptr};
const KxcPlatformWave* s_wave; // the one that was opened

/// On the audio thread.
void onBufferPlayed(void* buffer, INT32 bytes, INT32 silence)
{
    KxcAudioDevice* device = s_playing.load(std::memory_order_acquire);
    if (!device || kxcCore->quitting)
    {
        std::memset(buffer, silence, static_cast<size_t>(bytes)); // what it held is not heard twice
        return;
    }
    device->fillOutput(buffer, bytes);
    device->mixAhead(bytes);
}

} // namespace

KxcAudioFormat KxcAudioDevice::getRecommendedAudioFormat()
{
    return KxcAudioFormat(kRate, KXCAUDIO_16BIT | KXCAUDIO_SIGNED | KXCAUDIO_STEREO, kFrames);
}

KxcAudioFormat KxcAudioDevice::openOutput(const KxcAudioFormat& format)
{
    closeOutput();
    const UINT32 layout = format.flags & (KXCAUDIO_STEREO | KXCAUDIO_16BIT);
    const KxcAudioFormat obtained(kRate, layout | (layout & KXCAUDIO_16BIT ? UINT32(KXCAUDIO_SIGNED) : 0), kFrames);
    s_wave = kxcPlatformWave;
    s_playing.store(this, std::memory_order_release);
    for (INT32 attempt = 0; attempt < kAttempts; ++attempt)
    {
        if (attempt > 0)
            kxcPlatformSleep(kPauseMs);
        if (s_wave->open({kRate, obtained.channels, obtained.bytesPerSample * 8, kFrames}, onBufferPlayed))
            return obtained;
    }
    return KxcAudioFormat(1, 0, 1);
}

void KxcAudioDevice::closeOutput()
{
    if (s_playing.load(std::memory_order_acquire) != this)
        return;
    s_playing.store(nullptr, std::memory_order_release);
    s_wave->close();
}

void kxcAudioStopOutput()
{
    if (kxcCore && kxcCore->audioDevice)
        kxcCore->audioDevice->closeOutput();
}

void kxcAudioFree()
{
    KxcAudioDevice* device = kxcCore->audioDevice;
    if (device)
        device->closeAudio(); // before the audio thread could miss it
    kxcCore->audioDevice = nullptr;
    delete device;
}

void kxcUseAudioDefault()
{
    if (!kxcCore)
        return;
    kxcAudioFree();
    kxcCore->audioDevice = KxcAudioDevice::create();
}

void embeddedSoundInit() {}

int embeddedSoundFrame(void* buffer) { return kxcPlatformHeadlessWavePlay(buffer); }
