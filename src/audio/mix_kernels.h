// mix_kernels.h - the loops that do all work per sample of the mixer.
//
// A voice is mixed in blocks, each in two steps. A Resample kernel reads the source (its width, signedness, channels,
// and the quality choose one of 16) and leaves signed 16-bit samples; narrow ones come shifted left by 8, with zeros
// below. Then a Mix kernel scales, pans, adds and clamps them (chosen by the channels of both sides and by the
// target's width and signedness). An 8-bit target adds the upper bytes of what was scaled with 16 bits: shifting a
// product by 16 and then by 8 is the same as shifting it by 24.
//
// mix_kernels.inc holds the loops. It is compiled for the base machine and, on x86-64, for AVX2 as well;
// kxcMixKernels() chooses a table when it is first asked. Both give the same bits.
#pragma once

#include <kxcoreemb/audio_producer.h>

/// Where reading starts and how it goes on. Frame k interpolates between the source's samples p and p + 1, where
/// p = (fraction + k step) >> 16. Behind the last sample that is used lie kKxcMixSlack readable bytes.
struct KxcMixSource
{
    const void* samples;
    UINT32 fraction; // 0..65535
    UINT32 step;     // 16.16
};
constexpr INT32 kKxcMixSlack = 64;

/// Factors, 16.16, of a voice.
struct KxcMixGain
{
    INT32 volume;      // 0 or more
    INT32 left, right; // of a mono source in a stereo target: 65536 - panning and panning, 0..65536
};

constexpr INT32 kKxcMixBlock = 2048; ///< frames that a Mix kernel takes at once, at most

struct KxcMixKernels
{
    /// Writes count x (source's channels) numbers.
    typedef void (*Resample)(INT16* block, const KxcMixSource& source, INT32 count);
    /// Adds `count` frames, at most kKxcMixBlock of them, to a target.
    typedef void (*Mix)(void* target, const INT16* block, INT32 count, const KxcMixGain& gain);

    Resample resample[2][8]; ///< [quality][format]
    Mix mix[2][8];           ///< [source channels - 1][format]
    Mix mixLoud[2][8];       ///< for volumes above 1.0, whose products are wider

    /// Which of the 8 layouts a format has.
    static constexpr UINT32 layout(UINT32 flags) { return flags >> 9 & 7; }
};
static_assert(KXCAUDIO_16BIT == 1 << 9 && KXCAUDIO_STEREO == 1 << 10 && KXCAUDIO_SIGNED == 1 << 11, "layout() shifts");

extern const KxcMixKernels kxcMixKernelsBase;
extern const KxcMixKernels kxcMixKernelsAVX2; ///< exists where KXC_KERNELS_AVX2 is defined
const KxcMixKernels& kxcMixKernels();         ///< the best for this machine
