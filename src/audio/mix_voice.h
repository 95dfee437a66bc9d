// mix_voice.h - adds one sound to a region of samples: runs over loops and ends between the kernels' inner loops.
#pragma once

#include "audio/audio_state.h"

/// A region of a ring of samples.
struct KxcMixRegion
{
    void* samples;
    INT32 length;   // of the ring, in samples
    UINT32 flags;   // of its format
    INT32 position; // where the region starts, below length
    INT32 count;    // samples in it
};

/// 0, or the middle of unsigned numbers.
void kxcMixSilence(const KxcMixRegion& region);

/// Adds the sound from its playhead on, with its step, volume and panning, and moves the playhead.
/// @param quality  0: nearest sample, 1: linear interpolation, else nothing is added
/// @return false when the sound came to its end
bool kxcMixVoice(KxcAudioState& voice, const KxcMixRegion& region, UINT32 quality);

/// source rate / target rate, 16.16, truncated; within 32 bits, and 0 where that is no number. Rates are the only
/// floating-point numbers of the mixer; this is done once for each sound and pass.
inline UINT32 kxcMixStep(FLOAT32 sourceRate, FLOAT32 targetRate)
{
    if (!(sourceRate > 0) || !(targetRate > 0))
        return 0;
    const FLOAT64 step = static_cast<FLOAT64>(sourceRate) / targetRate * 65536.0;
    return step < 4294967295.0 ? static_cast<UINT32>(step) : 0xFFFFFFFFu;
}
