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
    static void unlock(KxcAudioProducer* producer);

    /// Starts a sound. Values that are left out are the producer's.
    /// @param rate      the producer's samples a second, in Hz  @param panning  clamped to 0..1.0
    /// @param priority  takes a free channel, else that of a sound with this or a larger number
    /// @return the play id, or 0 when there is no channel to take
    static UINT32 play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume, KxcFixed panning, UINT16 priority);
    static UINT32 play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume, KxcFixed panning);
    static UINT32 play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume);
    static UINT32 play(KxcAudioProducer* producer, FLOAT32 rate);
    static UINT32 play(KxcAudioProducer* producer);

    // A sound, every sound of a producer, every sound: 1 when there was one.
    static INT32 stop(UINT32 id);
    static INT32 stopEach(KxcAudioProducer* producer);
    static INT32 stopAll();
    static INT32 pause(UINT32 id); ///< it keeps its place and its id, but its channel may be taken
    static INT32 pauseEach(KxcAudioProducer* producer);
    static INT32 pauseAll();
    static INT32 resume(UINT32 id);
    static INT32 resumeEach(KxcAudioProducer* producer);
    static INT32 resumeAll();
    static INT32 isPlaying(UINT32 id);   ///< 1: neither paused nor at its end
    static INT32 getPlayhead(UINT32 id); ///< in samples; of a stream, where in its ring it is filled next

    // Setters return 1 when the value was stored.
    static INT32 getSamples(KxcAudioProducer* producer); ///< the length; 0 for streams
    /// Plays no further than this; memory is not resized. Below 0 stores 0.
    static INT32 setSamples(KxcAudioProducer* producer, INT32 samples);
    static INT32 getLooping(KxcAudioProducer* producer);
    static INT32 getLooping(UINT32 id);
    static INT32 setLooping(KxcAudioProducer* producer, INT32 looping);
    static INT32 setLooping(UINT32 id, INT32 looping);
    /// In samples, the end excluded; a sound that does not loop ends there too.
    static INT32 getLoopOffsets(KxcAudioProducer* producer, INT32& start, INT32& end);
    static INT32 getLoopOffsets(UINT32 id, INT32& start, INT32& end);
    /// Refused unless 0 <= start < end <= length.
    static INT32 setLoopOffsets(KxcAudioProducer* producer, INT32 start, INT32 end);
    static INT32 setLoopOffsets(UINT32 id, INT32 start, INT32 end);
    static FLOAT32 getSamplingRate(KxcAudioProducer* producer);
    static FLOAT32 getSamplingRate(UINT32 id);
    static INT32 setSamplingRate(KxcAudioProducer* producer, FLOAT32 rate); ///< below 0 stores 0: it stands still
    static INT32 setSamplingRate(UINT32 id, FLOAT32 rate);
    static KxcFixed getVolume(KxcAudioProducer* producer);
    static KxcFixed getVolume(UINT32 id);
    static INT32 setVolume(KxcAudioProducer* producer, KxcFixed volume); ///< below 0 stores 0; above 1.0 amplifies
    static INT32 setVolume(UINT32 id, KxcFixed volume);
    static KxcFixed getPanning(KxcAudioProducer* producer);
    static KxcFixed getPanning(UINT32 id);
    static INT32 setPanning(KxcAudioProducer* producer, KxcFixed panning);
    static INT32 setPanning(UINT32 id, KxcFixed panning); ///< clamped to 0..1.0
    static UINT16 getPriority(KxcAudioProducer* producer);
    static UINT16 getPriority(UINT32 id);
    static INT32 setPriority(KxcAudioProducer* producer, UINT16 priority);
    static INT32 setPriority(UINT32 id, UINT16 priority);
    static KxcAudioFormat getFormat(KxcAudioProducer* producer);

    // --- the device ---
    static KxcFixed getMasterVolume();
    static INT32 setMasterVolume(KxcFixed volume); ///< clamped to 0..1.0; from the next output buffer on
    static INT32 getChannelCount();
    static INT32 setChannelCount(INT32 channels); ///< 1..256; all sounds end
    /// Opens the output, which ends all sounds; where it cannot be opened, this takes two seconds.
    /// @param format    what is wanted; null for the recommended one. The default device always runs at 32000 Hz
    /// @param channels  clamped to 1..256
    /// @param quality   0: nearest sample, 1: linear interpolation
    /// @return what was obtained, with the output buffer's length; 1 Hz and 1 sample when there is no output
    static KxcAudioFormat setAudioFormat(KxcAudioFormat* format, INT32 channels, UINT32 quality);
    static KxcAudioFormat getAudioFormat();            ///< the output's; empty while it is closed
    static KxcAudioFormat getRecommendedAudioFormat(); ///< what the platform likes best
    static INT32 openAudio();                          ///< opens with the last format; sounds go on where they were
    static INT32 closeAudio();                         ///< closes the output; sounds keep their channels and places
    /// Copies what was mixed, converted to the buffer's format, for meters and recorders.
    /// @param offset  the first sample, in the mixer's buffer of getAudioFormat().samples, which wraps
    /// @param count   samples of the target; no more than fit are written
    static INT32 getPrimaryData(KxcAudioBuffer* buffer, INT32 offset, INT32 count);
};

/// Registers the default device, closed; one that is registered already is deleted with all its sounds.
KXC_API void kxcUseAudioDefault();
