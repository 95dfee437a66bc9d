// profiler.h - what the core keeps of the profiler.
#pragma once

#include <kxcoreemb/base.h>

class KxcFile;

struct KxcSampler
{
    static constexpr INT32 kBytes = 0x40000;

    INT32 paused, active;
    UINT32* samples; // owned; null when memory ran out: the sampler does nothing then
    INT32 count;     // of the samples in it
    KxcFile* file;   // owned; null when it could not be made
};

struct KxcEventLog
{
    static constexpr INT32 kBytes = 1024;

    char* text;                              // owned; null until it is initialised
    INT32 length;                            // of the text
    INT32 lastEvent, lastFrame, windowStart; // ticks
    INT32 frames;                            // in the window
};

void kxcProfilerFree(); ///< ends the sampler and frees the text
