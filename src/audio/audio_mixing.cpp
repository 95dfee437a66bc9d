// audio_mixing.cpp - the way of the samples: channels into the primary buffer, the primary buffer into the output.
#include "audio/audio_device.h"
#include "audio/mix_voice.h"

#include <cstring>
#include <new>

// --- opening and closing ---------------------------------------------------------------------------------------------

KxcAudioFormat KxcAudioDevice::getAudioFormat()
{
    DeviceHold hold(*this);
    return m_open ? m_format : KxcAudioFormat();
}

KxcAudioFormat KxcAudioDevice::getLastAudioFormat()
{
    DeviceHold hold(*this);
    return m_format;
}

void KxcAudioDevice::setOpen(bool open)
{
    DeviceHold hold(*this);
    m_open = open;
}

bool KxcAudioDevice::makePrimary(const KxcAudioFormat& obtained)
{
    KxcAudioBuffer* primary = KxcAudioBuffer::create(obtained.samplingRate, obtained.flags | KXCAUDIO_LOOP,
                                                     obtained.samples, KxcFixed(1), KxcFixed::fromRaw(0x8000), 0);
    if (!primary)
        return false;
    delete m_primary;
    m_primary = primary;
    m_format = obtained;
    m_read = m_write = 0;
    kxcMixSilence({primary->state->data, obtained.samples, obtained.flags, 0, obtained.samples});
    m_silent = obtained.samples;
    std::memset(m_pending, 0, sizeof m_pending);
    return true;
}

// The platform may have a lock of its own, which it holds while it calls fillOutput(): so the output is opened, as it
// is closed, without the device's. What it plays before all is ready is silence.

KxcAudioFormat KxcAudioDevice::setAudioFormat(const KxcAudioFormat* format, INT32 channels, UINT32 quality)
{
    Hold outputHold(m_outputMutex);
    setOpen(false);
    m_wanted = format ? *format : getRecommendedAudioFormat();
    m_wanted.flags &= ~KXCAUDIOSTATE_BITS;
    m_formatSet = true;
    const KxcAudioFormat obtained = openOutput(m_wanted);
    DeviceHold hold(*this);
    channels = channels < 1 ? 1 : channels > kMostChannels ? kMostChannels : channels;
    if (!makePrimary(obtained) || !rebuildChannels(channels))
        return KxcAudioFormat();
    m_quality = quality <= 1 ? quality : 0;
    m_open = true;
    return m_format;
}

INT32 KxcAudioDevice::openAudio()
{
    Hold outputHold(m_outputMutex);
    if (!m_formatSet)
        return 0;
    setOpen(false);
    const KxcAudioFormat obtained = openOutput(m_wanted);
    DeviceHold hold(*this);
    m_open = makePrimary(obtained) && m_channels;
    return m_open;
}

INT32 KxcAudioDevice::closeAudio()
{
    Hold outputHold(m_outputMutex);
    const INT32 wasOpen = getAudioFormat().samples > 0;
    setOpen(false);
    closeOutput();
    return wasOpen;
}

// --- out of the primary buffer ---------------------------------------------------------------------------------------

INT32 KxcAudioDevice::primaryLength() const { return m_primary ? m_primary->state->format.samples : 0; }

/// Converts `count` samples of another format from a place in the primary buffer on.
void KxcAudioDevice::copyPrimary(void* target, const KxcAudioFormat& format, INT32 count, INT32 position,
                                 KxcFixed volume)
{
    KxcAudioState source = *m_primary->state;
    Hold hold(source.mutex);
    const UINT32 layout = KXCAUDIO_16BIT | KXCAUDIO_STEREO | KXCAUDIO_SIGNED;
    source.step = kxcMixStep(source.format.samplingRate, format.samplingRate);
    if (source.step == 0x10000 && volume == KxcFixed(1) && ((source.format.flags ^ format.flags) & layout) == 0)
    {
        const size_t bytes = source.bytesPerSample();
        const INT32 length = source.format.samples;
        UINT8* to = static_cast<UINT8*>(target);
        for (INT32 copied = 0; copied < count; position = 0)
        {
            const INT32 piece = count - copied < length - position ? count - copied : length - position;
            std::memcpy(to + static_cast<size_t>(copied) * bytes,
                        static_cast<UINT8*>(source.data) + static_cast<size_t>(position) * bytes,
                        static_cast<size_t>(piece) * bytes);
            copied += piece;
        }
        return;
    }
    source.playhead = position;
    source.volume = volume;
    const KxcMixRegion region = {target, count, format.flags, 0, count};
    kxcMixSilence(region); // the first sound that is added to silence replaces it
    kxcMixVoice(source, region, source.step == 0x10000 ? 0 : m_quality); // nothing lies between samples of one rate
}

void KxcAudioDevice::fillOutput(void* data, INT32 bytes)
{
    VoiceHold hold(m_mutex); // passes run on this very thread
    const INT32 bytesPerSample = m_format.bytesPerSample * m_format.channels;
    if (!isUsable() || bytesPerSample == 0)
    {
        const bool biased = bytesPerSample > 0 && !(m_format.flags & KXCAUDIO_SIGNED);
        std::memset(data, biased ? 0x80 : 0, static_cast<size_t>(bytes)); // outputs of 16 bits are signed
        return;
    }
    const INT32 count = bytes / bytesPerSample;
    copyPrimary(data, m_format, count, m_read % primaryLength(), m_masterVolume);
    m_read += count;
}

INT32 KxcAudioDevice::getPrimaryData(KxcAudioBuffer* buffer, INT32 offset, INT32 count)
{
    DeviceHold hold(*this);
    if (!isUsable() || !buffer || !buffer->state || !buffer->state->data || offset < 0 || count < 0)
        return 0;
    Hold primaryHold(m_primary->state->mutex); // before the buffer's: the order of locks
    Hold bufferHold(buffer->state->mutex);
    count = count < buffer->state->capacity ? count : buffer->state->capacity;
    copyPrimary(buffer->state->data, buffer->state->format, count, offset % primaryLength(), KxcFixed(1));
    return 1;
}

// --- into the primary buffer -----------------------------------------------------------------------------------------

bool KxcAudioDevice::isAnyActive() const
{
    UINT64 any = 0;
    for (UINT64 word : m_active)
        any |= word;
    return any != 0;
}

void KxcAudioDevice::mixAhead(INT32)
{
    {
        VoiceHold hold(m_mutex); // without voices there is no pass, and the buffer holds silence already
        if (!isUsable())
            return;
        if (!isAnyActive() && m_silent >= primaryLength())
        {
            m_read %= primaryLength();
            m_write = m_read;
            return;
        }
    }
    DeviceHold hold(*this);
    if (!isUsable())
        return;
    const INT32 length = primaryLength();
    while (m_write < m_read)
    {
        const INT32 count = m_read - m_write < length ? m_read - m_write : length;
        const INT32 position = m_write % length;
        m_write += count; // beforehand: a call that is let in may open the output anew
        mixRegion(position, count);
    }
    if (m_write >= length)
    {
        m_read %= length;
        m_write = m_read;
    }
}

void KxcAudioDevice::mixRegion(INT32 position, INT32 count)
{
    const INT32 length = primaryLength();
    std::memcpy(m_pending, m_active, sizeof m_pending);
    {
        Hold hold(m_primary->state->mutex);
        kxcMixSilence({m_primary->state->data, length, m_format.flags, position, count});
    }
    m_silent = isAnyActive() ? 0 : m_silent + count;
    while (!mixPending(position, count))
        m_mutex->pass();
}

bool KxcAudioDevice::mixPending(INT32 position, INT32 count)
{
    Hold hold(m_primary->state->mutex);
    for (INT32 word = 0; word < kMostChannels / 64; ++word)
        while (const UINT64 bits = m_pending[word])
        {
            if (m_mutex->isAwaited())
                return false;
            m_pending[word] = bits & (bits - 1);
            KxcAudioChannel& channel = m_channels[word * 64 + __builtin_ctzll(bits)];
            if (channel.state.has(KXCAUDIOSTATE_ACTIVE)) // a stream mixed before may have paused it
                mixChannel(channel, position, count);
        }
    return true;
}

void KxcAudioDevice::mixChannel(KxcAudioChannel& channel, INT32 position, INT32 count)
{
    KxcAudioState& state = channel.state;
    Hold hold(state.mutex);
    const KxcMixRegion region = {m_primary->state->data, primaryLength(), m_format.flags, position, count};
    state.step = kxcMixStep(state.format.samplingRate, m_format.samplingRate);
    if (!state.has(KXCAUDIOSTATE_STREAM))
    {
        if (!kxcMixVoice(state, region, m_quality))
            stopChannel(channel);
        return;
    }
    // The stream may stop its own sound, or start another one in its channel, while it fills the ring: so the ring is
    // taken out of the channel for that time.
    const UINT32 id = state.id;
    KxcAudioBuffer* ring = channel.ring;
    channel.ring = nullptr;
    const bool filled = fillRing(channel, ring, count);
    if (state.id != id)
    {
        delete ring;
        return;
    }
    channel.ring = ring;
    if (!filled || !state.has(KXCAUDIOSTATE_ACTIVE))
        return;
    KxcAudioState voice = *ring->state;
    voice.playhead = channel.position;
    voice.fraction = channel.fraction;
    voice.step = state.step;
    voice.volume = state.volume;
    voice.panning = state.panning;
    kxcMixVoice(voice, region, m_quality);
    const UINT64 advance = channel.fraction + static_cast<UINT64>(state.step) * static_cast<UINT32>(count);
    channel.buffered -= static_cast<INT32>(advance >> 16);
    channel.position = static_cast<INT32>((static_cast<UINT64>(channel.position) + (advance >> 16)) %
                                          static_cast<UINT32>(ring->state->format.samples));
    channel.fraction = static_cast<UINT32>(advance & 0xFFFF);
}

/// Has a stream fill its ring with what `count` output samples take. @return false without memory for a ring
bool KxcAudioDevice::fillRing(KxcAudioChannel& channel, KxcAudioBuffer*& ring, INT32 count)
{
    KxcAudioState& state = channel.state;
    // All that the position passes, and the sample after the last position when it lies between two.
    const UINT64 last = channel.fraction + static_cast<UINT64>(state.step) * static_cast<UINT32>(count - 1);
    const INT64 passed = static_cast<INT64>((last + state.step + 0xFFFF) >> 16);
    const INT64 read = static_cast<INT64>(last >> 16) + 1 + ((last & 0xFFFF) != 0 && m_quality == 1);
    const INT64 wanted = passed > read ? passed : read;
    if (wanted <= channel.buffered)
        return true;
    if (!growRing(channel, ring, wanted))
        return false;
    const INT32 length = ring->state->format.samples, start = state.playhead;
    const INT32 needed = static_cast<INT32>(wanted) - channel.buffered;
    state.playhead = static_cast<INT32>((static_cast<INT64>(start) + needed) % length);
    channel.buffered += needed;
    static_cast<KxcAudioStream*>(state.data)->fill(ring->state->data, length, start, needed);
    return true;
}

/// Makes sure that the ring holds so many samples. A larger one begins with what the old one still held.
bool KxcAudioDevice::growRing(KxcAudioChannel& channel, KxcAudioBuffer*& ring, INT64 samples)
{
    constexpr INT64 kGranule = 1024; // so that a rate that varies a little does not replace it
    if (ring && ring->state->format.samples >= samples)
        return true;
    const INT64 length = (samples + kGranule - 1) / kGranule * kGranule;
    const KxcAudioFormat& format = channel.state.format;
    const UINT32 flags = (format.flags & ~KXCAUDIOSTATE_BITS) | KXCAUDIO_LOOP;
    KxcAudioBuffer* grown = length > INT32_MAX ? nullptr
                                               : KxcAudioBuffer::create(format.samplingRate, flags,
                                                                        static_cast<INT32>(length), KxcFixed(1));
    if (!grown)
        return false;
    const size_t bytes = grown->state->bytesPerSample();
    for (INT32 i = 0; i < channel.buffered; ++i)
        std::memcpy(static_cast<UINT8*>(grown->state->data) + static_cast<size_t>(i) * bytes,
                    static_cast<UINT8*>(ring->state->data) +
                        static_cast<size_t>((static_cast<INT64>(channel.position) + i) % ring->state->format.samples) *
                            bytes,
                    bytes);
    delete ring;
    ring = grown;
    channel.position = 0;
    channel.state.playhead = channel.buffered;
    return true;
}
