// profiler.h - two cheap measuring aids: a text of timings to draw over the picture, and a buffer of samples.
//
//   KxcProfiler::initEventLog();
//   every frame:
//     KxcProfiler::resetEvent("", "start");          // clears the text
//     simulate();  KxcProfiler::addEvent("simulation\n");
//     render();    KxcProfiler::addEvent("picture\n");
//     KxcProfiler::frameEvent(1);
//     drawText(KxcProfiler::getEventLog());          // "    3\nsimulation\n    9\npicture\nFPS    60"
#pragma once

#include <kxcoreemb/base.h>

/// Called from the game's thread; times are KxcCore::getTick's milliseconds. Without a core, nothing happens.
class KXC_API KxcProfiler
{
public:
    // --- the event log: lines divided by "\n", of at most 1023 characters; what does not fit is cut ---

    static void initEventLog(); ///< makes it, once; it goes with the core. The operations below do nothing before
    static char* getEventLog(); ///< its text; null before initEventLog
    static void addEvent(const char* name); ///< adds the milliseconds since the last event, a line, and the name
    /// Ends a frame: adds the frames a second, averaged over windows of up to 50 frames. Within the first millisecond
    /// of a window nothing is added. @param mode  bit 0: that alone; else the times since the last event and frame, too
    static void frameEvent(KxcINT32 mode);
    /// Clears the text; unless a string is null, writes the prefix, then as addEvent(name). Time starts anew.
    static void resetEvent(const char* prefix, const char* name);

    // --- the sampler: 65536 samples of 32 bits, which what takes samples on a platform stores ---

    /// Begins to sample; the file is made now and written by endSampler(). Ends the sampler that runs.
    /// @param fileName  as for KxcFile::open @param paused  1: until resumeSampler()
    static void startSampler(const char* fileName, KxcINT32 paused);
    static void pauseSampler();  ///< until resumeSampler()
    static void resumeSampler(); ///< samples again
    static void endSampler();    ///< writes the samples as they are in memory, 4 bytes each
};
