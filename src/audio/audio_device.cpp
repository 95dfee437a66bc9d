// audio_device.cpp - the mixer's channels: which sound plays where, and what it is set to.
#include "audio/audio_device.h"

#include <new>

namespace
{

constexpr UINT32 kSerialMask = 0x7FFFFF; // ids have bit 31 clear
constexpr KxcFixed kUnity(1);

KxcFixed atLeastZero(KxcFixed value) { return value < KxcFixed(0) ? KxcFixed(0) : value; }
KxcFixed clampToUnity(KxcFixed value) { return value > kUnity ? kUnity : atLeastZero(value); }
FLOAT32 validRate(FLOAT32 rate) { return rate > 0 ? rate : 0; } // also for what is no number

INT32 setLoop(KxcAudioState& state, INT32 start, INT32 end)
{
    if (start < 0 || start >= end || end > state.format.samples)
        return 0;
    state.loopStart = start;
    state.loopEnd = end;
    return 1;
}

INT32 getLoop(const KxcAudioState& state, INT32& start, INT32& end)
{
    start = state.loopStart;
    end = state.loopEnd;
    return 1;
}

} // namespace

KxcAudioDevice* KxcAudioDevice::create()
{
    KxcAudioDevice* device = new (std::nothrow) KxcAudioDevice;
    if (device)
    {
        device->m_mutex = KxcFairMutex::create();
        device->m_passMutex = KxcFairMutex::create();
        device->m_outputMutex = KxcMutex::create();
    }
    if (device && device->m_mutex && device->m_passMutex && device->m_outputMutex)
        return device;
    delete device;
    return nullptr;
}

KxcAudioDevice::~KxcAudioDevice()
{
    if (m_mutex && m_passMutex && m_outputMutex)
        closeAudio();
    for (INT32 i = 0; i < m_channelCount; ++i)
        stopChannel(m_channels[i]);
    delete[] m_channels;
    delete m_primary;
    delete m_outputMutex;
    delete m_passMutex;
    delete m_mutex;
}

// --- channels --------------------------------------------------------------------------------------------------------

KxcAudioChannel* KxcAudioDevice::find(UINT32 id)
{
    const INT32 index = static_cast<INT32>(id & 0xFF);
    const bool possible = id != 0 && id < kKxcAudioNoId && index < m_channelCount && isUsable();
    return possible && m_channels[index].state.id == id ? &m_channels[index] : nullptr;
}

KxcAudioStream* KxcAudioDevice::streamOf(const KxcAudioChannel& channel)
{
    return channel.state.has(KXCAUDIOSTATE_STREAM) ? static_cast<KxcAudioStream*>(channel.state.data) : nullptr;
}

// Producers are told apart by their mutexes: buffers without samples all have the same data, none.
bool KxcAudioDevice::plays(const KxcAudioChannel& channel, const KxcAudioProducer* producer)
{
    return channel.state.id != kKxcAudioNoId && (!producer || channel.state.mutex == producer->state->mutex);
}

void KxcAudioDevice::markActive(KxcAudioChannel& channel, bool active)
{
    const ptrdiff_t index = &channel - m_channels;
    const UINT64 bit = UINT64(1) << (index % 64);
    UINT64& word = m_active[index / 64];
    word = active ? word | bit : word & ~bit;
    channel.state.set(KXCAUDIOSTATE_ACTIVE, active);
}

void KxcAudioDevice::setActive(KxcAudioChannel& channel, bool active)
{
    if (channel.state.has(KXCAUDIOSTATE_ACTIVE) == active)
        return;
    markActive(channel, active);
    KxcAudioStream* stream = streamOf(channel);
    if (stream && active)
        stream->resume();
    else if (stream)
        stream->pause();
}

KxcAudioStream* KxcAudioDevice::clearChannel(KxcAudioChannel& channel)
{
    KxcAudioStream* stream = channel.state.has(KXCAUDIOSTATE_ACTIVE) ? streamOf(channel) : nullptr;
    delete channel.ring;
    markActive(channel, false);
    const ptrdiff_t index = &channel - m_channels;
    m_pending[index / 64] &= ~(UINT64(1) << (index % 64)); // what takes its place is heard from the next pass on
    channel = {};
    channel.state.reset();
    channel.state.id = kKxcAudioNoId;
    return stream;
}

void KxcAudioDevice::stopChannel(KxcAudioChannel& channel)
{
    if (KxcAudioStream* stream = clearChannel(channel))
        stream->stop();
}

bool KxcAudioDevice::rebuildChannels(INT32 count)
{
    KxcAudioChannel* channels = new (std::nothrow) KxcAudioChannel[static_cast<size_t>(count)]();
    if (!channels)
        return false;
    for (INT32 i = 0; i < m_channelCount; ++i)
        stopChannel(m_channels[i]);
    delete[] m_channels;
    m_channels = channels;
    m_channelCount = count;
    m_cursor = 0;
    for (INT32 i = 0; i < count; ++i)
        stopChannel(m_channels[i]);
    return true;
}

/// A free channel from the cursor on; else the last one that holds a less important sound, else the first that holds
/// one as important; else null.
KxcAudioChannel* KxcAudioDevice::allocate(UINT16 priority)
{
    const auto next = [this] { m_cursor = m_cursor + 1 < m_channelCount ? m_cursor + 1 : 0; };
    KxcAudioChannel* victim = nullptr;
    for (INT32 i = 0; i < m_channelCount; ++i, next())
    {
        KxcAudioChannel& channel = m_channels[m_cursor];
        if (!channel.state.has(KXCAUDIOSTATE_ACTIVE))
        {
            next();
            return &channel;
        }
        if (channel.state.priority > priority || (channel.state.priority == priority && !victim))
            victim = &channel;
    }
    next();
    return victim;
}

UINT32 KxcAudioDevice::nextId(INT32 index)
{
    do
        m_serial = (m_serial + 1) & kSerialMask;
    while (m_serial == 0);
    return m_serial << 8 | static_cast<UINT32>(index);
}

template <class F>
INT32 KxcAudioDevice::forEach(const KxcAudioProducer* producer, F f)
{
    INT32 found = 0;
    for (INT32 i = 0; i < m_channelCount && isUsable(); ++i)
        if (plays(m_channels[i], producer))
        {
            f(m_channels[i]);
            found = 1;
        }
    return found;
}

template <class R, class F>
R KxcAudioDevice::ofProducer(KxcAudioProducer* producer, R neutral, F f)
{
    if (!producer || !producer->state)
        return neutral;
    DeviceHold hold(*this);
    return f(*producer->state);
}

template <class R, class F>
R KxcAudioDevice::ofSound(UINT32 id, R neutral, F f)
{
    DeviceHold hold(*this);
    KxcAudioChannel* channel = find(id);
    return channel ? f(channel->state) : neutral;
}

// --- playing ---------------------------------------------------------------------------------------------------------

void* KxcAudioDevice::lock(KxcAudioProducer* producer)
{
    if (!producer || !producer->state)
        return nullptr;
    producer->state->mutex->lock();
    return producer->state->has(KXCAUDIOSTATE_STREAM) ? nullptr : producer->state->data;
}

void KxcAudioDevice::unlock(KxcAudioProducer* producer)
{
    if (producer && producer->state)
        producer->state->mutex->unlock();
}

UINT32 KxcAudioDevice::play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume, KxcFixed panning,
                            UINT16 priority)
{
    if (!producer || !producer->state)
        return 0;
    VoiceHold hold(m_mutex);
    KxcAudioChannel* channel = isUsable() ? allocate(priority) : nullptr;
    if (!channel)
        return 0;
    KxcAudioStream* replaced = clearChannel(*channel);
    KxcAudioState& state = channel->state;
    state = *producer->state; // its priority, too
    state.id = nextId(static_cast<INT32>(channel - m_channels));
    state.format.samplingRate = validRate(rate);
    state.volume = atLeastZero(volume);
    state.panning = clampToUnity(panning);
    // A length that was set may reach beyond the memory, or lie before the loop.
    state.format.samples = state.format.samples < state.capacity ? state.format.samples : state.capacity;
    state.loopEnd = state.loopEnd < state.format.samples ? state.loopEnd : state.format.samples;
    state.loopStart = state.loopStart < state.loopEnd ? state.loopStart : 0;
    markActive(*channel, true);
    const UINT32 id = state.id;
    if (replaced)
        replaced->stop(); // which may do to the new sound what it likes
    KxcAudioStream* stream = state.id == id ? streamOf(*channel) : nullptr;
    if (stream)
        stream->play();
    return id;
}

// What is left out is the producer's. Holding the lock from here on, a call waits for the mixer once instead of for
// each of its parts.
UINT32 KxcAudioDevice::play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume, KxcFixed panning)
{
    VoiceHold hold(m_mutex);
    return play(producer, rate, volume, panning, getPriority(producer));
}
UINT32 KxcAudioDevice::play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume)
{
    VoiceHold hold(m_mutex);
    return play(producer, rate, volume, getPanning(producer));
}
UINT32 KxcAudioDevice::play(KxcAudioProducer* producer, FLOAT32 rate)
{
    VoiceHold hold(m_mutex);
    return play(producer, rate, getVolume(producer));
}
UINT32 KxcAudioDevice::play(KxcAudioProducer* producer)
{
    VoiceHold hold(m_mutex);
    return play(producer, getSamplingRate(producer));
}

INT32 KxcAudioDevice::stop(UINT32 id)
{
    DeviceHold hold(*this);
    KxcAudioChannel* channel = find(id);
    if (channel)
        stopChannel(*channel);
    return channel != nullptr;
}

INT32 KxcAudioDevice::stopEach(KxcAudioProducer* producer)
{
    if (!producer || !producer->state)
        return 0;
    DeviceHold hold(*this);
    INT32 found = 0; // a closed device's channels, too: the producer may be about to go
    for (INT32 i = 0; i < m_channelCount; ++i)
        if (plays(m_channels[i], producer))
        {
            stopChannel(m_channels[i]);
            found = 1;
        }
    return found && isUsable();
}

INT32 KxcAudioDevice::stopAll()
{
    DeviceHold hold(*this);
    return forEach(nullptr, [this](KxcAudioChannel& channel) { stopChannel(channel); });
}

INT32 KxcAudioDevice::pause(UINT32 id)
{
    DeviceHold hold(*this);
    KxcAudioChannel* channel = find(id);
    if (channel)
        setActive(*channel, false);
    return channel != nullptr;
}

INT32 KxcAudioDevice::pauseEach(KxcAudioProducer* producer)
{
    if (!producer || !producer->state)
        return 0;
    DeviceHold hold(*this);
    return forEach(producer, [this](KxcAudioChannel& channel) { setActive(channel, false); });
}

INT32 KxcAudioDevice::pauseAll()
{
    DeviceHold hold(*this);
    return forEach(nullptr, [this](KxcAudioChannel& channel) { setActive(channel, false); });
}

INT32 KxcAudioDevice::resume(UINT32 id)
{
    DeviceHold hold(*this);
    KxcAudioChannel* channel = find(id);
    if (channel)
        setActive(*channel, true);
    return channel != nullptr;
}

INT32 KxcAudioDevice::resumeEach(KxcAudioProducer* producer)
{
    if (!producer || !producer->state)
        return 0;
    DeviceHold hold(*this);
    return forEach(producer, [this](KxcAudioChannel& channel) { setActive(channel, true); });
}

INT32 KxcAudioDevice::resumeAll()
{
    DeviceHold hold(*this);
    return forEach(nullptr, [this](KxcAudioChannel& channel) { setActive(channel, true); });
}

INT32 KxcAudioDevice::isPlaying(UINT32 id)
{
    return ofSound(id, INT32(0), [](KxcAudioState& state) { return INT32(state.has(KXCAUDIOSTATE_ACTIVE)); });
}

INT32 KxcAudioDevice::getPlayhead(UINT32 id)
{
    return ofSound(id, INT32(-1), [](KxcAudioState& state) { return state.playhead; });
}

// --- what producers and sounds are set to ----------------------------------------------------------------------------

INT32 KxcAudioDevice::getSamples(KxcAudioProducer* producer)
{
    return ofProducer(producer, INT32(0), [](KxcAudioState& state) { return state.format.samples; });
}
INT32 KxcAudioDevice::setSamples(KxcAudioProducer* producer, INT32 samples)
{
    return ofProducer(producer, INT32(0),
                      [=](KxcAudioState& state)
                      {
                          state.format.samples = samples < 0 ? 0 : samples;
                          return 1;
                      });
}

KxcAudioFormat KxcAudioDevice::getFormat(KxcAudioProducer* producer)
{
    return ofProducer(producer, KxcAudioFormat(), [](KxcAudioState& state) { return state.format; });
}

/// The four operations of a property: of producers and of sounds, get and set.
#define KXC_AUDIO_PROPERTY(Name, Type, neutral, Read, Store)                                            \
    Type KxcAudioDevice::get##Name(KxcAudioProducer* producer)                                          \
    {                                                                                                   \
        return ofProducer(producer, Type(neutral), [](KxcAudioState& state) -> Type { return Read; });  \
    }                                                                                                   \
    Type KxcAudioDevice::get##Name(UINT32 id)                                                           \
    {                                                                                                   \
        return ofSound(id, Type(neutral), [](KxcAudioState& state) -> Type { return Read; });           \
    }                                                                                                   \
    INT32 KxcAudioDevice::set##Name(KxcAudioProducer* producer, Type value)                             \
    {                                                                                                   \
        return ofProducer(producer, INT32(0), [=](KxcAudioState& state) -> INT32 { return Store, 1; }); \
    }                                                                                                   \
    INT32 KxcAudioDevice::set##Name(UINT32 id, Type value)                                              \
    {                                                                                                   \
        return ofSound(id, INT32(0), [=](KxcAudioState& state) -> INT32 { return Store, 1; });          \
    }

KXC_AUDIO_PROPERTY(Looping, INT32, 0, state.has(KXCAUDIO_LOOP), state.set(KXCAUDIO_LOOP, value != 0))
KXC_AUDIO_PROPERTY(SamplingRate, FLOAT32, 0, state.format.samplingRate, state.format.samplingRate = validRate(value))
KXC_AUDIO_PROPERTY(Volume, KxcFixed, 0, state.volume, state.volume = atLeastZero(value))
KXC_AUDIO_PROPERTY(Panning, KxcFixed, 0, state.panning, state.panning = clampToUnity(value))
KXC_AUDIO_PROPERTY(Priority, UINT16, 0, state.priority, state.priority = value)
#undef KXC_AUDIO_PROPERTY

INT32 KxcAudioDevice::getLoopOffsets(KxcAudioProducer* producer, INT32& start, INT32& end)
{
    return ofProducer(producer, INT32(0), [&](KxcAudioState& state) { return getLoop(state, start, end); });
}
INT32 KxcAudioDevice::getLoopOffsets(UINT32 id, INT32& start, INT32& end)
{
    return ofSound(id, INT32(0), [&](KxcAudioState& state) { return getLoop(state, start, end); });
}
INT32 KxcAudioDevice::setLoopOffsets(KxcAudioProducer* producer, INT32 start, INT32 end)
{
    return ofProducer(producer, INT32(0), [=](KxcAudioState& state) { return setLoop(state, start, end); });
}
INT32 KxcAudioDevice::setLoopOffsets(UINT32 id, INT32 start, INT32 end)
{
    return ofSound(id, INT32(0), [=](KxcAudioState& state) { return setLoop(state, start, end); });
}

// --- the device ------------------------------------------------------------------------------------------------------

KxcFixed KxcAudioDevice::getMasterVolume()
{
    DeviceHold hold(*this);
    return m_masterVolume;
}

INT32 KxcAudioDevice::setMasterVolume(KxcFixed volume)
{
    DeviceHold hold(*this);
    m_masterVolume = clampToUnity(volume);
    return 1;
}

INT32 KxcAudioDevice::getChannelCount()
{
    DeviceHold hold(*this);
    return m_channelCount;
}

INT32 KxcAudioDevice::setChannelCount(INT32 channels)
{
    DeviceHold hold(*this);
    return channels >= 1 && channels <= kMostChannels && isUsable() && rebuildChannels(channels);
}

UINT32 KxcAudioDevice::getQuality()
{
    DeviceHold hold(*this);
    return m_quality;
}

INT32 KxcAudioDevice::setQuality(UINT32 quality)
{
    DeviceHold hold(*this);
    m_quality = quality;
    return 1;
}
