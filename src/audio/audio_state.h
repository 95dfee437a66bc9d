// audio_state.h - what is known of a sound: a producer's record holds what its sounds start with, a channel's record,
// copied from there, what one sound is doing.
#pragma once

#include <kxcoreemb/audio_producer.h>
#include <kxcoreemb/thread.h>

/// Bits that a state's flags hold beside those of the format.
enum : UINT32
{
    KXCAUDIOSTATE_ACTIVE = 0x001, ///< the channel is mixed
    KXCAUDIOSTATE_STREAM = 0x004, ///< data is a KxcAudioStream
    KXCAUDIOSTATE_BITS = 0x107    ///< what is no part of an output format
};

constexpr UINT32 kKxcAudioNoId = 0x80000000u; ///< the id in a channel that plays nothing
constexpr UINT16 kKxcAudioLowestPriority = 255;

struct KxcAudioState
{
    UINT32 id;        // the play id
    INT32 playhead;   // of a stream: where its ring is filled next
    UINT32 step;      // 16.16, source samples for each output sample
    UINT32 fraction;  // of the playhead, 0..65535
    INT32 loopStart;  // in samples
    INT32 loopEnd;    // likewise; where the sound ends, too
    void* data;       // the samples, or the KxcAudioStream
    KxcFixed volume;  // 0 or more
    KxcFixed panning; // 0..1.0 in channels
    UINT16 priority;  // smaller is more important
    KxcAudioFormat format;
    KxcMutex* mutex; // guards the samples; the producer's
    INT32 capacity;  // samples that data has room for

    void reset();
    bool has(UINT32 flag) const { return (format.flags & flag) != 0; }
    void set(UINT32 flag, bool on) { format.flags = on ? format.flags | flag : format.flags & ~flag; }
    size_t bytesPerSample() const { return static_cast<size_t>(format.bytesPerSample * format.channels); }
};
