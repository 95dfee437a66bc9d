// mix_model.h - what mixing one sound means, a sample at a time: the formula that the mixer's loops are judged by.
#pragma once

#include "audio/mix_voice.h"

#include <algorithm>
#include <cstring>

namespace model
{

/// A number as it lies in memory, as a signed one of its width.
inline INT64 load(const void* samples, UINT32 flags, size_t index)
{
    if (flags & KXCAUDIO_16BIT)
    {
        UINT16 number;
        std::memcpy(&number, static_cast<const UINT8*>(samples) + index * 2, 2);
        return static_cast<INT16>(flags & KXCAUDIO_SIGNED ? number : number ^ 0x8000);
    }
    const UINT8 number = static_cast<const UINT8*>(samples)[index];
    return static_cast<INT8>(flags & KXCAUDIO_SIGNED ? number : number ^ 0x80);
}

inline void add(void* samples, UINT32 flags, size_t index, INT64 value)
{
    const bool wide = flags & KXCAUDIO_16BIT;
    const INT64 most = wide ? 32767 : 127;
    const INT64 sum = std::clamp(load(samples, flags, index) + value, -most - 1, most);
    const UINT32 stored = static_cast<UINT32>(sum) ^ (flags & KXCAUDIO_SIGNED ? 0 : wide ? 0x8000 : 0x80);
    std::memcpy(static_cast<UINT8*>(samples) + index * (wide ? 2 : 1), &stored, wide ? 2 : 1); // little-endian
}

/// As kxcMixVoice.
inline bool mixVoice(KxcAudioState& voice, const KxcMixRegion& region, UINT32 quality)
{
    const UINT32 from = voice.format.flags, to = region.flags;
    const bool wide = from & KXCAUDIO_16BIT, targetWide = to & KXCAUDIO_16BIT;
    const size_t channels = from & KXCAUDIO_STEREO ? 2 : 1, targetChannels = to & KXCAUDIO_STEREO ? 2 : 1;
    const INT64 volume = voice.volume.raw(), pan = voice.panning.raw();
    for (INT32 i = 0; i < region.count; ++i)
    {
        INT64 v[2];
        for (size_t c = 0; c < channels; ++c)
        {
            const size_t next = static_cast<size_t>((voice.playhead + 1) % voice.format.samples);
            const INT64 s0 = load(voice.data, from, static_cast<size_t>(voice.playhead) * channels + c);
            const INT64 s1 = load(voice.data, from, next * channels + c);
            const INT64 fraction = voice.fraction;
            INT64 sample = quality == 1 ? (s0 * (65535 - fraction) + s1 * fraction) >> 16 : s0;
            if (!wide && targetWide)
                sample *= 256;
            v[c] = (sample * volume) >> (wide && !targetWide ? 24 : 16);
        }
        const size_t index = static_cast<size_t>((region.position + i) % region.length) * targetChannels;
        if (channels == targetChannels)
            for (size_t c = 0; c < channels; ++c)
                add(region.samples, to, index + c, v[c]);
        else if (channels == 2)
            add(region.samples, to, index, (v[0] >> 1) + (v[1] >> 1));
        else
        {
            add(region.samples, to, index, ((65536 - pan) * v[0]) >> 16);
            add(region.samples, to, index + 1, (pan * v[0]) >> 16);
        }
        const UINT64 sum = static_cast<UINT64>(voice.fraction) + voice.step;
        INT64 playhead = voice.playhead + static_cast<INT64>(sum >> 16);
        voice.fraction = static_cast<UINT32>(sum & 0xFFFF);
        if (playhead >= voice.loopEnd)
        {
            if (!voice.has(KXCAUDIO_LOOP))
                return false;
            while (playhead >= voice.loopEnd)
                playhead -= voice.loopEnd - voice.loopStart;
        }
        voice.playhead = static_cast<INT32>(playhead);
    }
    return true;
}

} // namespace model
