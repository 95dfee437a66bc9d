// audio_device.h - the mixer behind KxcAudio: channels, the primary buffer they are mixed into, and the output.
//
// The primary buffer is a ring in the output's format, of the length of a hardware buffer. When the output has played
// a hardware buffer, the audio thread calls fillOutput(), which copies from the ring's read position, and then
// mixAhead(), which mixes what comes next into the part that was read: the ring stays one hardware buffer ahead.
//
// Locks are taken in this order: the output's (it is being opened or closed), the pass's, the device's, the primary
// buffer's, a producer's. The audio thread never takes the first, so that closing may wait for it.
//
// The mixer holds the pass's lock for a whole pass, and so does every other call for its time: none sees a pass half
// done. Only play() goes without, and the mixer lets it in between two voices: a game that starts a sound waits for a
// voice, not for hundreds. What a pass mixes is settled when it starts, so sounds that were started together are first
// heard together.
#pragma once

#include "audio/audio_state.h"
#include "audio/fair_mutex.h"

#include <kxcoreemb/audio.h>

/// A channel, and for a stream the ring that it is mixed from.
struct KxcAudioChannel
{
    KxcAudioState state;
    KxcAudioBuffer* ring; // owned; made when a stream is first mixed. It is filled up to state.playhead
    INT32 position;       // in the ring: the next sample to be mixed
    UINT32 fraction;      // of the position, 0..65535
    INT32 buffered;       // samples from the position to the playhead
};

/// The default device. Operations are what KxcAudio says of the calls of the same names.
class KxcAudioDevice
{
public:
    static KxcAudioDevice* create(); ///< closed; null when memory runs out
    KxcAudioDevice(const KxcAudioDevice&) = delete;
    KxcAudioDevice& operator=(const KxcAudioDevice&) = delete;

    virtual void* lock(KxcAudioProducer* producer);
    virtual void unlock(KxcAudioProducer* producer);
    virtual UINT32 play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume, KxcFixed panning, UINT16 priority);
    virtual UINT32 play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume, KxcFixed panning);
    virtual UINT32 play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume);
    virtual UINT32 play(KxcAudioProducer* producer, FLOAT32 rate);
    virtual UINT32 play(KxcAudioProducer* producer);
    virtual INT32 stop(UINT32 id);
    virtual INT32 stopEach(KxcAudioProducer* producer);
    virtual INT32 stopAll();
    virtual INT32 pause(UINT32 id);
    virtual INT32 pauseEach(KxcAudioProducer* producer);
    virtual INT32 pauseAll();
    virtual INT32 resume(UINT32 id);
    virtual INT32 resumeEach(KxcAudioProducer* producer);
    virtual INT32 resumeAll();
    virtual INT32 getSamples(KxcAudioProducer* producer);
    virtual INT32 setSamples(KxcAudioProducer* producer, INT32 samples);
    virtual INT32 getLooping(KxcAudioProducer* producer);
    virtual INT32 getLooping(UINT32 id);
    virtual INT32 setLooping(KxcAudioProducer* producer, INT32 looping);
    virtual INT32 setLooping(UINT32 id, INT32 looping);
    virtual INT32 getLoopOffsets(KxcAudioProducer* producer, INT32& start, INT32& end);
    virtual INT32 getLoopOffsets(UINT32 id, INT32& start, INT32& end);
    virtual INT32 setLoopOffsets(KxcAudioProducer* producer, INT32 start, INT32 end);
    virtual INT32 setLoopOffsets(UINT32 id, INT32 start, INT32 end);
    virtual FLOAT32 getSamplingRate(KxcAudioProducer* producer);
    virtual FLOAT32 getSamplingRate(UINT32 id);
    virtual INT32 setSamplingRate(KxcAudioProducer* producer, FLOAT32 rate);
    virtual INT32 setSamplingRate(UINT32 id, FLOAT32 rate);
    virtual KxcFixed getVolume(KxcAudioProducer* producer);
    virtual KxcFixed getVolume(UINT32 id);
    virtual INT32 setVolume(KxcAudioProducer* producer, KxcFixed volume);
    virtual INT32 setVolume(UINT32 id, KxcFixed volume);
    virtual KxcFixed getMasterVolume();
    virtual INT32 setMasterVolume(KxcFixed volume);
    virtual KxcFixed getPanning(KxcAudioProducer* producer);
    virtual KxcFixed getPanning(UINT32 id);
    virtual INT32 setPanning(KxcAudioProducer* producer, KxcFixed panning);
    virtual INT32 setPanning(UINT32 id, KxcFixed panning);
    virtual UINT16 getPriority(KxcAudioProducer* producer);
    virtual UINT16 getPriority(UINT32 id);
    virtual INT32 setPriority(KxcAudioProducer* producer, UINT16 priority);
    virtual INT32 setPriority(UINT32 id, UINT16 priority);
    virtual INT32 getChannelCount();
    virtual INT32 setChannelCount(INT32 channels);
    virtual UINT32 getQuality();
    virtual INT32 setQuality(UINT32 quality); ///< a value above 1 mixes nothing
    virtual INT32 isPlaying(UINT32 id);
    virtual INT32 getPlayhead(UINT32 id);
    virtual KxcAudioFormat getFormat(KxcAudioProducer* producer);

    // The output has played a hardware buffer of so many bytes. Called on the audio thread, in this order.
    virtual void fillOutput(void* data, INT32 bytes); ///< writes what is played next; silence while closed
    virtual void mixAhead(INT32 bytes);               ///< mixes as much as was filled

    virtual KxcAudioFormat getAudioFormat();
    virtual KxcAudioFormat getLastAudioFormat(); ///< also while closed
    virtual KxcAudioFormat setAudioFormat(const KxcAudioFormat* format, INT32 channels, UINT32 quality);
    virtual KxcAudioFormat getRecommendedAudioFormat();
    virtual INT32 openAudio();
    virtual INT32 closeAudio();
    virtual ~KxcAudioDevice();
    virtual INT32 getPrimaryData(KxcAudioBuffer* buffer, INT32 offset, INT32 count);

    // The platform's side (wave_output.cpp): the output's lock is held, the device's is not.
    /// Closes what is open, then tries for two seconds. @return the format obtained; 1 Hz, 1 sample without an output
    virtual KxcAudioFormat openOutput(const KxcAudioFormat& format);
    virtual void closeOutput(); ///< waits for the audio thread

protected:
    static constexpr INT32 kMostChannels = 256;
    typedef KxcHold<KxcMutex> Hold;
    typedef KxcHold<KxcFairMutex> VoiceHold; // of the device's lock alone, as play() takes it

    /// Holds the device's lock while no pass runs. A call from within another one, of a stream, has what that one has.
    struct DeviceHold
    {
        explicit DeviceHold(KxcAudioDevice& device)
            : pass(device.m_mutex->isMine() ? nullptr : device.m_passMutex),
              voices(device.m_mutex)
        {
        }
        KxcHold<KxcFairMutex> pass, voices;
    };

    KxcAudioDevice() = default;

    // Channels (audio_device.cpp); the device's lock is held.
    bool isUsable() const { return m_open && !m_suspended; }
    KxcAudioChannel* find(UINT32 id); // null when it is stale or nothing is open
    KxcAudioChannel* allocate(UINT16 priority);
    UINT32 nextId(INT32 index);
    bool rebuildChannels(INT32 count);                      // ends all sounds
    KxcAudioStream* clearChannel(KxcAudioChannel& channel); // the stream that is to be told, or null
    void stopChannel(KxcAudioChannel& channel);
    void setActive(KxcAudioChannel& channel, bool active); // tells a stream
    void markActive(KxcAudioChannel& channel, bool active);
    static bool plays(const KxcAudioChannel& channel, const KxcAudioProducer* producer); // or any sound, with null
    static KxcAudioStream* streamOf(const KxcAudioChannel& channel);                     // null for other sounds
    // f(channel) for every sound, of a producer or of all. @return 1 when there was one
    template <class F>
    INT32 forEach(const KxcAudioProducer* producer, F f);
    // f(state) under the device's lock; `neutral` without such a producer or sound
    template <class R, class F>
    R ofProducer(KxcAudioProducer* producer, R neutral, F f);
    template <class R, class F>
    R ofSound(UINT32 id, R neutral, F f);

    void setOpen(bool open); // takes the device's lock

    // Mixing (audio_mixing.cpp); the device's lock is held.
    bool makePrimary(const KxcAudioFormat& obtained); // of the output; empty
    bool isAnyActive() const;
    void mixRegion(INT32 position, INT32 count);
    bool mixPending(INT32 position, INT32 count); // @return false when play() waits and more is to be mixed
    void mixChannel(KxcAudioChannel& channel, INT32 position, INT32 count);
    bool fillRing(KxcAudioChannel& channel, KxcAudioBuffer*& ring, INT32 count);
    bool growRing(KxcAudioChannel& channel, KxcAudioBuffer*& ring, INT64 samples);
    void copyPrimary(void* target, const KxcAudioFormat& format, INT32 count, INT32 position, KxcFixed volume);
    INT32 primaryLength() const;

    bool m_open = false, m_suspended = false;
    bool m_formatSet = false;
    INT32 m_channelCount = 0, m_cursor = 0; // the cursor: where the search for a channel starts
    UINT32 m_quality = 0;
    KxcFixed m_masterVolume{1};
    KxcAudioFormat m_wanted;               // what was asked for last; the output's lock guards it and m_formatSet
    KxcAudioFormat m_format;               // the output's
    KxcAudioChannel* m_channels = nullptr; // owned
    UINT64 m_active[kMostChannels / 64] = {};
    UINT64 m_pending[kMostChannels / 64] = {}; // what the pass that runs is still to mix
    KxcFairMutex* m_passMutex = nullptr;       // owned
    KxcFairMutex* m_mutex = nullptr;           // owned: the device's lock
    KxcMutex* m_outputMutex = nullptr;         // owned
    KxcAudioBuffer* m_primary = nullptr;       // owned
    INT32 m_read = 0, m_write = 0;             // in the primary buffer, in samples; read - write are to be mixed
    INT32 m_silent = 0;                        // samples before m_write that hold silence
    UINT32 m_serial = 0;                       // of the last play id, 23 bits
};

/// Closes the output of the registered device, if there is one.
void kxcAudioStopOutput();
/// Deletes the registered device; part of the core's teardown.
void kxcAudioFree();
