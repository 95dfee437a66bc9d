// sdl2_wave.cpp - the sound output through SDL's audio, and what keeps its clock going when the device fails.
//
// SDL's audio thread asks for a hardware buffer at a time, which is when the one before has been played. A second
// thread, the keeper, watches: a device that went away is looked for again every two seconds (SDL itself asks on for
// buffers until then), and for a device that has fallen silent, as a sound server that was suspended, the keeper plays
// the buffers into nothing, at the pace they would have had.

#include "platform/wave_buffers.h"

#define SDL_MAIN_HANDLED // the game keeps its own main
#include <SDL.h>

#include <cstdio>

namespace
{

constexpr Uint32 kRetryMs = 2000;
constexpr Uint32 kSilentMs = 500; // without a buffer asked for: longer than any device's own buffers last

struct Output
{
    KxcWaveBuffers buffers;   // guarded by turn, and so is the next
    Uint32 lastPlayed;        // when a buffer was asked for last, in SDL's milliseconds
    Uint32 bufferMs;          // how long one lasts
    SDL_mutex* turn;          // one buffer at a time: two devices, or a device and the keeper, may ask at once
    SDL_AudioSpec wanted;     // what every device is opened with
    SDL_AudioDeviceID device; // the keeper's while it runs
    SDL_Thread* keeper;
    SDL_sem* stop;
    bool started; // SDL's audio is initialised
};

Output output;
thread_local bool playing; // this thread is within `done`

void play(void* samples)
{
    playing = true;
    output.buffers.play(samples);
    playing = false;
}

void SDLCALL onSamplesWanted(void*, Uint8* samples, int bytes)
{
    SDL_LockMutex(output.turn);
    output.lastPlayed = SDL_GetTicks();
    if (bytes == output.buffers.bytes)
        play(samples);
    else // SDL was asked for this very length
        SDL_memset(samples, output.buffers.silence, static_cast<size_t>(bytes));
    SDL_UnlockMutex(output.turn);
}

/// Plays into nothing what a silent device should have played by now.
void keepClock()
{
    SDL_LockMutex(output.turn);
    const Uint32 now = SDL_GetTicks();
    static bool silent;
    silent = now - output.lastPlayed >= (silent ? output.bufferMs : kSilentMs);
    while (silent && now - output.lastPlayed >= output.bufferMs)
    {
        output.lastPlayed += output.bufferMs;
        play(nullptr);
    }
    SDL_UnlockMutex(output.turn);
}

/// Opens another device in place of one that went away. The lost one is closed last: until then it keeps the clock.
void replaceDevice()
{
    const SDL_AudioDeviceID found = SDL_OpenAudioDevice(nullptr, 0, &output.wanted, nullptr, 0);
    if (found == 0)
        return;
    SDL_CloseAudioDevice(output.device);
    output.device = found;
    SDL_PauseAudioDevice(found, 0);
}

int SDLCALL keep(void*)
{
    Uint32 lastTry = SDL_GetTicks();
    while (SDL_SemWaitTimeout(output.stop, output.bufferMs) == SDL_MUTEX_TIMEDOUT)
    {
        const bool lost = SDL_GetAudioDeviceStatus(output.device) == SDL_AUDIO_STOPPED;
        if (lost && SDL_GetTicks() - lastTry >= kRetryMs)
        {
            replaceDevice();
            lastTry = SDL_GetTicks();
        }
        keepClock();
    }
    return 0;
}

void closeWave()
{
    if (playing) // the program ends from within `done`: the threads, this one among them, end with it
        return;
    Output& o = output;
    if (o.keeper)
    {
        SDL_SemPost(o.stop);
        SDL_WaitThread(o.keeper, nullptr);
    }
    if (o.device)
        SDL_CloseAudioDevice(o.device);
    o.buffers.close();
    SDL_DestroySemaphore(o.stop);
    SDL_DestroyMutex(o.turn);
    if (o.started)
        SDL_QuitSubSystem(SDL_INIT_AUDIO);
    o = {};
}

INT32 openWave(const KxcPlatformWaveFormat& format, void (*done)(void*, INT32, INT32))
{
    closeWave();
    Output& o = output;
    SDL_SetMainReady();
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1"); // signals are the game's
    o.started = SDL_InitSubSystem(SDL_INIT_AUDIO) == 0;
    o.wanted.freq = format.rate;
    o.wanted.format = format.bits == 8 ? AUDIO_U8 : AUDIO_S16SYS;
    o.wanted.channels = static_cast<Uint8>(format.channels);
    o.wanted.samples = static_cast<Uint16>(format.samples);
    o.wanted.callback = onSamplesWanted;
    o.bufferMs = static_cast<Uint32>(format.samples * 1000 / format.rate);
    if (o.started && o.buffers.open(format, done))
        o.device = SDL_OpenAudioDevice(nullptr, 0, &o.wanted, nullptr, 0); // SDL converts what the device does not do
    if (o.device)
    {
        o.turn = SDL_CreateMutex();
        o.stop = SDL_CreateSemaphore(0);
        o.lastPlayed = SDL_GetTicks();
        if (o.turn && o.stop)
            o.keeper = SDL_CreateThread(keep, "kxcoreemb sound", nullptr);
    }
    if (!o.keeper)
    {
        std::fprintf(stderr, "kxcoreemb: no sound: %s; connect a device, or start a sound server\n", SDL_GetError());
        closeWave();
        return 0;
    }
    SDL_PauseAudioDevice(o.device, 0); // the keeper may have replaced nothing yet: it waits for two seconds
    return 1;
}

} // namespace

const KxcPlatformWave kxcPlatformSDL2Wave = {"sdl2", openWave, closeWave};
