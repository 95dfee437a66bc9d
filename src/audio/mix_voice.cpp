// mix_voice.cpp - one sound, block by block: reads runs of samples up to the next end into a block, then mixes the
// block. Nothing here is done per sample.
#include "audio/mix_voice.h"

#include "audio/mix_kernels.h"

#include <cstring>

namespace
{

UINT8* sampleAt(void* samples, UINT32 flags, INT32 index)
{
    const size_t bytes = size_t(flags & KXCAUDIO_16BIT ? 2 : 1) * (flags & KXCAUDIO_STEREO ? 2 : 1);
    return static_cast<UINT8*>(samples) + bytes * static_cast<size_t>(index);
}

/// How many samples can be taken before the playhead reaches `limit`, which lies ahead of it.
INT32 samplesUntil(const KxcAudioState& voice, INT32 limit, INT32 wanted)
{
    if (voice.step == 0)
        return wanted;
    const INT64 distance = static_cast<INT64>(limit - voice.playhead) * 65536 - voice.fraction;
    const INT64 samples = (distance + voice.step - 1) / voice.step;
    return samples < wanted ? static_cast<INT32>(samples) : wanted;
}

/// Moves the playhead past an end. @return false when the sound is over
bool advance(KxcAudioState& voice, INT32 samples)
{
    const UINT64 steps = voice.fraction + static_cast<UINT64>(voice.step) * static_cast<UINT32>(samples);
    INT64 playhead = voice.playhead + static_cast<INT64>(steps >> 16);
    voice.fraction = static_cast<UINT32>(steps & 0xFFFF);
    if (playhead >= voice.loopEnd)
    {
        if (!voice.has(KXCAUDIO_LOOP | KXCAUDIOSTATE_STREAM))
            return false;
        playhead = voice.loopStart + (playhead - voice.loopEnd) % (voice.loopEnd - voice.loopStart);
    }
    voice.playhead = static_cast<INT32>(playhead);
    return true;
}

/// Reads up to `wanted` samples, as many as lie before the next end.
INT32 readRun(const KxcAudioState& voice, KxcMixKernels::Resample resample, bool linear, INT16* block, INT32 wanted)
{
    const INT32 last = voice.format.samples - 1;
    INT32 limit = voice.loopEnd;
    if (voice.playhead >= limit) // the end was moved before it: one sample is heard before that takes effect
        limit = voice.playhead + 1, wanted = 1;
    KxcMixSource source = {sampleAt(voice.data, voice.format.flags, voice.playhead), voice.fraction, voice.step};
    alignas(4) UINT8 lastAndFirst[2 * 4 + kKxcMixSlack];
    if (linear && voice.playhead == last)
    {
        const size_t bytes = voice.bytesPerSample();
        std::memcpy(lastAndFirst, source.samples, bytes);
        std::memcpy(lastAndFirst + bytes, voice.data, bytes);
        source.samples = lastAndFirst;
    }
    else if (linear && limit > last)
        limit = last;
    const INT32 samples = samplesUntil(voice, limit, wanted);
    resample(block, source, samples);
    return samples;
}

} // namespace

void kxcMixSilence(const KxcMixRegion& region)
{
    const bool biased = !(region.flags & KXCAUDIO_SIGNED), wide = region.flags & KXCAUDIO_16BIT;
    INT32 position = region.position;
    for (INT32 left = region.count; left > 0;)
    {
        const INT32 piece = left < region.length - position ? left : region.length - position;
        UINT8* bytes = sampleAt(region.samples, region.flags, position);
        const ptrdiff_t size = sampleAt(region.samples, region.flags, position + piece) - bytes;
        std::memset(bytes, biased && !wide ? 0x80 : 0, static_cast<size_t>(size));
        for (ptrdiff_t i = 0; biased && wide && i < size / 2; ++i)
            reinterpret_cast<UINT16*>(bytes)[i] = 0x8000;
        left -= piece;
        position = 0;
    }
}

bool kxcMixVoice(KxcAudioState& voice, const KxcMixRegion& region, UINT32 quality)
{
    if (quality > 1)
        return true;
    if (!voice.data || voice.loopEnd <= voice.loopStart || voice.playhead >= voice.format.samples)
        return voice.has(KXCAUDIO_LOOP); // there is nothing to hear, and nothing that could end a loop
    const KxcMixKernels& kernels = kxcMixKernels();
    const UINT32 layout = KxcMixKernels::layout(voice.format.flags);
    const INT32 panning = voice.panning.raw() < 0 ? 0 : voice.panning.raw() > 65536 ? 65536 : voice.panning.raw();
    const KxcMixGain gain = {voice.volume.raw(), 65536 - panning, panning};
    const KxcMixKernels::Resample resample = kernels.resample[quality][layout];
    const auto& mixes = gain.volume > 65536 ? kernels.mixLoud : kernels.mix;
    const KxcMixKernels::Mix mix = mixes[voice.format.channels - 1][KxcMixKernels::layout(region.flags)];

    alignas(64) INT16 block[kKxcMixBlock * 2];
    INT32 position = region.position;
    bool goesOn = true;
    for (INT32 left = region.count; left > 0 && goesOn;)
    {
        INT32 wanted = left < region.length - position ? left : region.length - position;
        wanted = wanted < kKxcMixBlock ? wanted : kKxcMixBlock;
        INT32 read = 0;
        while (read < wanted && goesOn)
        {
            const INT32 run =
                readRun(voice, resample, quality == 1, block + read * voice.format.channels, wanted - read);
            read += run;
            goesOn = advance(voice, run);
        }
        mix(sampleAt(region.samples, region.flags, position), block, read, gain);
        left -= read;
        position += read;
        position = position < region.length ? position : 0;
    }
    return goesOn;
}
