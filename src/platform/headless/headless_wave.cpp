// headless_wave.cpp - the sound output without a device: its hardware buffers are played when they are asked for.

#include "platform/wave_buffers.h"

static KxcWaveBuffers buffers;

static INT32 openWave(const KxcPlatformWaveFormat& format, void (*done)(void*, INT32, INT32))
{
    return buffers.open(format, done);
}

static void closeWave() { buffers.close(); }

const KxcPlatformWave kxcPlatformHeadlessWave = {"headless", openWave, closeWave};

INT32 kxcPlatformHeadlessWavePlay(void* played)
{
    if (!buffers.data[0])
        return 0;
    const INT32 bytes = buffers.bytes;
    buffers.play(played);
    return bytes;
}
