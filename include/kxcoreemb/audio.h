// audio.h - the mixer: plays producers (audio_producer.h) on up to 256 channels.
//
// Order of calls: kxcUseAudioDefault() registers the device, KxcAudio::setAudioFormat(nullptr, 32, 1) opens the output,
// then play(). A sound is named by its play id, which goes stale when the sound ends: calls with a stale id fail and
// touch no other sound. What a producer is set to holds for the sounds that start after it; what a sound is set to
// holds for that sound, from the next mixing pass on (64 ms with the default device).
#pragma once

#include <kxcoreemb/audio_producer.h>

/// All sound of a game. All static.
///
/// Failure    calls return 0 (a zero volume, an empty format, -1 for a playhead) without a device; those that take an
///            id, or start a sound, also while the output is closed and when the id is stale.
/// Threads    any. While a thread holds a producer by lock(), it must not make other calls here: the mixer may wait for
///            that producer with its own lock held.
class KXC_API KxcAudio
{
public:
    /// Direct access to a buffer's samples: keeps the mixer off them until unlock().
    /// @return the first sample; null for a stream, which is locked all the same, and for a buffer without samples
    static void* lock(KxcAudioProducer* producer);
    static void unlock(KxcAudioProducer* producer); ///< lets the mixer go on

    /// Starts a sound.
    /// @param rate      the producer's samples a second, in Hz  @param panning  clamped to 0..1.0
    /// @param priority  takes a free channel, else that of a sound with this or a larger number
    /// @return the play id, or 0 when there is no channel to take
    static KxcUINT32 play(KxcAudioProducer* producer, KxcFLOAT32 rate, KxcFixed volume, KxcFixed panning,
                          KxcUINT16 priority);

    /// @{
    /// Starts a sound; values that are left out are the producer's. @return the play id, or 0
    static KxcUINT32 play(KxcAudioProducer* producer, KxcFLOAT32 rate, KxcFixed volume, KxcFixed panning);
    static KxcUINT32 play(KxcAudioProducer* producer, KxcFLOAT32 rate, KxcFixed volume);
    static KxcUINT32 play(KxcAudioProducer* producer, KxcFLOAT32 rate);
    static KxcUINT32 play(KxcAudioProducer* producer);
    /// @}

    /// @{
    /// Ends a sound, every sound of a producer, every sound. @return 1 when there was one
    static KxcINT32 stop(KxcUINT32 id);
    static KxcINT32 stopEach(KxcAudioProducer* producer);
    static KxcINT32 stopAll();
    /// @}

    /// @{
    /// Pauses sounds, likewise: one keeps its place and its id, but its channel may be taken.
    static KxcINT32 pause(KxcUINT32 id);
    static KxcINT32 pauseEach(KxcAudioProducer* producer);
    static KxcINT32 pauseAll();
    /// @}

    /// @{
    /// Lets sounds go on, likewise.
    static KxcINT32 resume(KxcUINT32 id);
    static KxcINT32 resumeEach(KxcAudioProducer* producer);
    static KxcINT32 resumeAll();
    /// @}

    static KxcINT32 isPlaying(KxcUINT32 id);   ///< 1: neither paused nor at its end
    static KxcINT32 getPlayhead(KxcUINT32 id); ///< in samples; of a stream, where in its ring it is filled next

    // --- properties: of a producer, for the sounds that it starts; of a sound, for that. Setters return 1 or 0 ---
    static KxcINT32 getSamples(KxcAudioProducer* producer); ///< the length; 0 for streams
    /// Plays no further than this; memory is not resized. Below 0 stores 0.
    static KxcINT32 setSamples(KxcAudioProducer* producer, KxcINT32 samples);

    /// @{
    /// Whether it goes on at its loop's start: 1 or 0.
    static KxcINT32 getLooping(KxcAudioProducer* producer);
    static KxcINT32 getLooping(KxcUINT32 id);
    static KxcINT32 setLooping(KxcAudioProducer* producer, KxcINT32 looping);
    static KxcINT32 setLooping(KxcUINT32 id, KxcINT32 looping);
    /// @}

    /// @{
    /// The loop, in samples, the end excluded; a sound that does not loop ends there too.
    /// Setting is refused unless 0 <= start < end <= length.
    static KxcINT32 getLoopOffsets(KxcAudioProducer* producer, KxcINT32& start, KxcINT32& end);
    static KxcINT32 getLoopOffsets(KxcUINT32 id, KxcINT32& start, KxcINT32& end);
    static KxcINT32 setLoopOffsets(KxcAudioProducer* producer, KxcINT32 start, KxcINT32 end);
    static KxcINT32 setLoopOffsets(KxcUINT32 id, KxcINT32 start, KxcINT32 end);
    /// @}

    /// @{
    /// The samples that are played a second, in Hz. Below 0 stores 0: it stands still.
    static KxcFLOAT32 getSamplingRate(KxcAudioProducer* producer);
    static KxcFLOAT32 getSamplingRate(KxcUINT32 id);
    static KxcINT32 setSamplingRate(KxcAudioProducer* producer, KxcFLOAT32 rate);
    static KxcINT32 setSamplingRate(KxcUINT32 id, KxcFLOAT32 rate);
    /// @}

    /// @{
    /// The volume, where 1.0 is unchanged. Below 0 stores 0; above 1.0 amplifies.
    static KxcFixed getVolume(KxcAudioProducer* producer);
    static KxcFixed getVolume(KxcUINT32 id);
    static KxcINT32 setVolume(KxcAudioProducer* producer, KxcFixed volume);
    static KxcINT32 setVolume(KxcUINT32 id, KxcFixed volume);
    /// @}

    /// @{
    /// The panning, from 0, left, to 1.0, right; clamped to that.
    static KxcFixed getPanning(KxcAudioProducer* producer);
    static KxcFixed getPanning(KxcUINT32 id);
    static KxcINT32 setPanning(KxcAudioProducer* producer, KxcFixed panning);
    static KxcINT32 setPanning(KxcUINT32 id, KxcFixed panning);
    /// @}

    /// @{
    /// Which sound gives way when all channels are taken: that with the larger number.
    static KxcUINT16 getPriority(KxcAudioProducer* producer);
    static KxcUINT16 getPriority(KxcUINT32 id);
    static KxcINT32 setPriority(KxcAudioProducer* producer, KxcUINT16 priority);
    static KxcINT32 setPriority(KxcUINT32 id, KxcUINT16 priority);
    /// @}
    static KxcAudioFormat getFormat(KxcAudioProducer* producer); ///< as it was made; empty for null

    // --- the device ---
    static KxcFixed getMasterVolume();                  ///< 1.0 at first
    static KxcINT32 setMasterVolume(KxcFixed volume);   ///< clamped to 0..1.0; from the next output buffer on
    static KxcINT32 getChannelCount();                  ///< how many sounds there can be at once
    static KxcINT32 setChannelCount(KxcINT32 channels); ///< 1..256; all sounds end
    /// Opens the output, which ends all sounds; where it cannot be opened, this takes two seconds.
    /// @param format    what is wanted; null for the recommended one. The default device always runs at 32000 Hz
    /// @param channels  clamped to 1..256
    /// @param quality   0: nearest sample, 1: linear interpolation
    /// @return what was obtained, with the output buffer's length; 1 Hz and 1 sample when there is no output
    static KxcAudioFormat setAudioFormat(KxcAudioFormat* format, KxcINT32 channels, KxcUINT32 quality);
    static KxcAudioFormat getAudioFormat();            ///< the output's; empty while it is closed
    static KxcAudioFormat getRecommendedAudioFormat(); ///< what the platform likes best
    static KxcINT32 openAudio();                       ///< opens with the last format; sounds go on where they were
    static KxcINT32 closeAudio();                      ///< closes the output; sounds keep their channels and places
    /// Copies what was mixed, converted to the buffer's format, for meters and recorders.
    /// @param offset  the first sample, in the mixer's buffer of getAudioFormat().samples, which wraps
    /// @param count   samples of the target; no more than fit are written
    static KxcINT32 getPrimaryData(KxcAudioBuffer* buffer, KxcINT32 offset, KxcINT32 count);
};

/// Registers the default device, closed; one that is registered already is deleted with all its sounds.
KXC_API void kxcUseAudioDefault();
