// wave_buffers.h - the two hardware buffers of an output; part of its backends.
#pragma once

#include "platform/platform.h"

struct KxcWaveBuffers
{
    UINT8* data[2]; // owned; null while closed
    INT32 bytes;    // of each
    INT32 silence;  // the byte it consists of
    INT32 next;     // the one that is played next
    void (*done)(void* buffer, INT32 bytes, INT32 silence);

    /// @return false when memory runs out
    bool open(const KxcPlatformWaveFormat& format, void (*done)(void* buffer, INT32 bytes, INT32 silence));
    void play(void* played); ///< copies the next one out, unless null, and has it filled again
    void close();            ///< safe twice
};
