// wave.cpp - the sound output in use, and the buffers that all of them have.

#include "platform/wave_buffers.h"

#include <cstring>
#include <new>

const KxcPlatformWave* kxcPlatformWave = &kxcPlatformHeadlessWave;

bool KxcWaveBuffers::open(const KxcPlatformWaveFormat& format, void (*onDone)(void*, INT32, INT32))
{
    close();
    bytes = format.samples * format.channels * (format.bits / 8);
    silence = format.bits == 8 ? 0x80 : 0;
    done = onDone;
    for (UINT8*& buffer : data)
    {
        buffer = new (std::nothrow) UINT8[static_cast<size_t>(bytes)];
        if (!buffer)
        {
            close();
            return false;
        }
        std::memset(buffer, silence, static_cast<size_t>(bytes));
    }
    return true;
}

void KxcWaveBuffers::play(void* played)
{
    UINT8* buffer = data[next];
    if (played)
        std::memcpy(played, buffer, static_cast<size_t>(bytes));
    next ^= 1;
    done(buffer, bytes, silence);
}

void KxcWaveBuffers::close()
{
    delete[] data[0];
    delete[] data[1];
    *this = {};
}
