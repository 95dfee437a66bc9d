// audio_producer.h - what can be played: KxcAudioBuffer holds its samples, KxcAudioStream makes them on demand. Both
// are KxcAudioProducer, which KxcAudio::play (audio.h) takes.
//
// A sample is one moment of sound: two numbers in stereo, left first. Rates are in Hz, volumes 1.0 for unchanged,
// panning 0 (left) to 1.0 (right).
#pragma once

#include <kxcoreemb/base.h>
#include <kxcoreemb/fixed.h>

struct KxcAudioState;

/// Flags of a format.
enum : KxcUINT32
{
    KXCAUDIO_LOOP = 0x100,   ///< at the loop's end go on at its start
    KXCAUDIO_16BIT = 0x200,  ///< 16 bits a number, else 8
    KXCAUDIO_STEREO = 0x400, ///< two numbers a sample, left first, else one
    KXCAUDIO_SIGNED = 0x800  ///< signed numbers, else biased by 0x80 or 0x8000
};

/// How samples are laid out: five 32-bit words, all 0 when empty.
struct KxcAudioFormat
{
    /// The empty format.
    constexpr KxcAudioFormat() : samplingRate(0), flags(0), samples(0), bytesPerSample(0), channels(0) {}
    /// A format. @param rate  in Hz @param formatFlags  KXCAUDIO_ bits @param sampleCount  the length
    constexpr KxcAudioFormat(KxcFLOAT32 rate, KxcUINT32 formatFlags, KxcINT32 sampleCount)
        : samplingRate(rate),
          flags(formatFlags),
          samples(sampleCount),
          bytesPerSample(formatFlags & KXCAUDIO_16BIT ? 2 : 1),
          channels(formatFlags & KXCAUDIO_STEREO ? 2 : 1)
    {
    }

    KxcFLOAT32 samplingRate; ///< in Hz
    KxcUINT32 flags;         ///< KXCAUDIO_ bits
    KxcINT32 samples;        ///< the length
    KxcINT32 bytesPerSample; ///< of one channel: 1 or 2
    KxcINT32 channels;       ///< 1 or 2
};

/// Something that KxcAudio plays, with the rate, volume, panning and priority that its sounds start with.
///
/// Ownership  the caller deletes it, playing or not: its sounds stop.
/// Threads    KxcAudio's calls take it from any thread; deleting it is safe while the mixer runs.
class KXC_API KxcAudioProducer
{
public:
    virtual ~KxcAudioProducer();

    KxcAudioProducer(const KxcAudioProducer&) = delete;
    KxcAudioProducer& operator=(const KxcAudioProducer&) = delete;

protected:
    friend class KxcAudioDevice;
    KxcAudioProducer();
    /// Stores what sounds start with.
    /// @param stream  1 for a KxcAudioStream, which has no samples of its own  @return 0 when memory runs out
    KxcINT32 initialize(KxcAudioFormat format, KxcFixed volume, KxcFixed panning, KxcUINT16 priority, KxcINT32 stream);

    KxcAudioState* state; // owned; null before initialize()
};

/// Samples in memory, played any number of times, also at once.
///
/// Its samples are undefined at first; KxcAudio::lock() gives the memory to write them to.
/// Failure    create() returns null when memory runs out. A buffer of 0 samples plays nothing.
class KXC_API KxcAudioBuffer : public KxcAudioProducer
{
public:
    /// @{
    /// A buffer whose samples are still to be written.
    ///
    /// - format (or rate, flags, samples): its length says how many samples there are; KXCAUDIO_LOOP makes sounds loop
    ///   from the start
    /// - volume: 0 or more; 1.0 is unchanged
    /// - panning: 0 (left) to 1.0; 0.5 when it is left out
    /// - priority: which sound gives way when all channels are taken: the larger number; 255 when it is left out
    ///
    /// @return null when memory runs out
    static KxcAudioBuffer* create(KxcAudioFormat format, KxcFixed volume);
    static KxcAudioBuffer* create(KxcAudioFormat format, KxcFixed volume, KxcFixed panning);
    static KxcAudioBuffer* create(KxcAudioFormat format, KxcFixed volume, KxcFixed panning, KxcUINT16 priority);
    static KxcAudioBuffer* create(KxcFLOAT32 rate, KxcUINT32 flags, KxcINT32 samples, KxcFixed volume);
    static KxcAudioBuffer* create(KxcFLOAT32 rate, KxcUINT32 flags, KxcINT32 samples, KxcFixed volume,
                                  KxcFixed panning);
    static KxcAudioBuffer* create(KxcFLOAT32 rate, KxcUINT32 flags, KxcINT32 samples, KxcFixed volume, KxcFixed panning,
                                  KxcUINT16 priority);
    /// @}

    ~KxcAudioBuffer() override;

protected:
    KxcAudioBuffer();
    KxcINT32 initialize(KxcAudioFormat format, KxcFixed volume, KxcFixed panning, KxcUINT16 priority);
    KxcINT32 initialize(KxcFLOAT32 rate, KxcUINT32 flags, KxcINT32 samples, KxcFixed volume, KxcFixed panning,
                        KxcUINT16 priority);
};

/// Samples made while they play: music that is read ahead, a synthesizer.
///
/// A subclass calls initialize() from its own create(), and overrides fill(). A sound of a stream goes on until it is
/// stopped. Each sound of a stream asks for samples of its own: a stream is meant to be played once at a time.
/// Threads    fill() runs on the audio thread; the notifications run where KxcAudio was called, or on the audio thread
///            when a more important sound takes the channel there. All of them hold the mixer's locks: they may play,
///            pause and stop sounds, but not open or close the output, change the number of channels or delete
///            producers, and never wait for another thread that uses KxcAudio.
/// Ending     a subclass calls KxcAudio::stopEach(this) first thing in its destructor, or before: once that returned,
///            fill() runs no more.
class KXC_API KxcAudioStream : public KxcAudioProducer
{
public:
    ~KxcAudioStream() override;
    virtual void play();   ///< a sound of it started; these four do nothing here
    virtual void stop();   ///< one that was not paused stopped
    virtual void pause();  ///< one paused
    virtual void resume(); ///< one goes on
    /// Writes the next samples, in the stream's format, into a ring: sample i goes to index (start + i) % length.
    /// Every sample is asked for once and in order.
    /// @param data  the ring's memory  @param length  of the ring, in samples  @param count  0..length
    virtual void fill(void* data, KxcINT32 length, KxcINT32 start, KxcINT32 count) = 0;

protected:            // for derived classes
    KxcAudioStream(); ///< initialize() comes next

    /// @{
    /// What create() of a subclass calls first; a format's length does not matter. @return 0 when memory runs out
    KxcINT32 initialize(KxcAudioFormat format, KxcFixed volume, KxcFixed panning, KxcUINT16 priority);
    KxcINT32 initialize(KxcFLOAT32 rate, KxcUINT32 flags, KxcFixed volume, KxcFixed panning, KxcUINT16 priority);
    /// @}
};
