// producer.cpp - what can be played: the record of a producer, and the memory of a buffer.
#include "audio/audio_state.h"
#include "audio/mix_kernels.h"

#include <kxcoreemb/audio.h>

#include <new>

// Whole cache lines: the mixer's vectors cross none of their borders.
static constexpr std::align_val_t kAlignment{64};

static void* allocateSamples(UINT64 bytes)
{
    if (bytes == 0 || bytes > PTRDIFF_MAX - kKxcMixSlack)
        return nullptr;
    return operator new[](static_cast<size_t>(bytes) + kKxcMixSlack, kAlignment, std::nothrow);
}

static void freeSamples(void* samples) { operator delete[](samples, kAlignment); }

void KxcAudioState::reset()
{
    *this = {};
    panning = KxcFixed::fromRaw(0x8000);
    volume = KxcFixed(0);
    priority = kKxcAudioLowestPriority;
}

KxcAudioProducer::KxcAudioProducer() : state(nullptr) {}

KxcAudioProducer::~KxcAudioProducer()
{
    if (!state)
        return;
    KxcAudio::stopEach(this); // from here on the mixer does not know it
    if (!state->has(KXCAUDIOSTATE_STREAM))
        freeSamples(state->data);
    delete state->mutex;
    delete state;
}

INT32 KxcAudioProducer::initialize(KxcAudioFormat format, KxcFixed volume, KxcFixed panning, UINT16 priority,
                                   INT32 stream)
{
    KxcAudioState* made = state ? nullptr : new (std::nothrow) KxcAudioState;
    if (!made)
        return 0;
    made->reset();
    made->mutex = KxcMutex::create();
    // Made anew from rate and flags: the layout words of a caller's record may say anything.
    made->format = KxcAudioFormat(format.samplingRate, format.flags & ~(KXCAUDIOSTATE_BITS & ~KXCAUDIO_LOOP),
                                  stream || format.samples < 0 ? 0 : format.samples);
    made->volume = volume;
    made->panning = panning;
    made->priority = priority;
    if (stream)
        made->format.flags |= KXCAUDIOSTATE_STREAM;
    const UINT64 bytes = static_cast<UINT64>(made->format.samples) * made->bytesPerSample();
    made->data = allocateSamples(bytes);
    if (!made->mutex || (bytes > 0 && !made->data))
    {
        delete made->mutex;
        freeSamples(made->data);
        delete made;
        return 0;
    }
    made->capacity = made->loopEnd = made->format.samples;
    state = made;
    return 1;
}

KxcAudioBuffer::KxcAudioBuffer() = default;
KxcAudioBuffer::~KxcAudioBuffer() = default;

INT32 KxcAudioBuffer::initialize(KxcAudioFormat format, KxcFixed volume, KxcFixed panning, UINT16 priority)
{
    return KxcAudioProducer::initialize(format, volume, panning, priority, 0);
}

INT32 KxcAudioBuffer::initialize(FLOAT32 rate, UINT32 flags, INT32 samples, KxcFixed volume, KxcFixed panning,
                                 UINT16 priority)
{
    return initialize(KxcAudioFormat(rate, flags, samples), volume, panning, priority);
}

static constexpr KxcFixed kCentre = KxcFixed::fromRaw(0x8000);

KxcAudioBuffer* KxcAudioBuffer::create(KxcAudioFormat format, KxcFixed volume)
{
    return create(format, volume, kCentre, kKxcAudioLowestPriority);
}

KxcAudioBuffer* KxcAudioBuffer::create(KxcAudioFormat format, KxcFixed volume, KxcFixed panning)
{
    return create(format, volume, panning, kKxcAudioLowestPriority);
}

KxcAudioBuffer* KxcAudioBuffer::create(KxcAudioFormat format, KxcFixed volume, KxcFixed panning, UINT16 priority)
{
    KxcAudioBuffer* buffer = new (std::nothrow) KxcAudioBuffer;
    if (buffer && !buffer->initialize(format, volume, panning, priority))
    {
        delete buffer;
        buffer = nullptr;
    }
    return buffer;
}

KxcAudioBuffer* KxcAudioBuffer::create(FLOAT32 rate, UINT32 flags, INT32 samples, KxcFixed volume)
{
    return create(KxcAudioFormat(rate, flags, samples), volume);
}

KxcAudioBuffer* KxcAudioBuffer::create(FLOAT32 rate, UINT32 flags, INT32 samples, KxcFixed volume, KxcFixed panning)
{
    return create(KxcAudioFormat(rate, flags, samples), volume, panning);
}

KxcAudioBuffer* KxcAudioBuffer::create(FLOAT32 rate, UINT32 flags, INT32 samples, KxcFixed volume, KxcFixed panning,
                                       UINT16 priority)
{
    return create(KxcAudioFormat(rate, flags, samples), volume, panning, priority);
}

KxcAudioStream::KxcAudioStream() = default;
KxcAudioStream::~KxcAudioStream() = default;

void KxcAudioStream::play() {}
void KxcAudioStream::stop() {}
void KxcAudioStream::pause() {}
void KxcAudioStream::resume() {}

INT32 KxcAudioStream::initialize(KxcAudioFormat format, KxcFixed volume, KxcFixed panning, UINT16 priority)
{
    if (!KxcAudioProducer::initialize(format, volume, panning, priority, 1))
        return 0;
    state->data = this;
    return 1;
}

INT32 KxcAudioStream::initialize(FLOAT32 rate, UINT32 flags, KxcFixed volume, KxcFixed panning, UINT16 priority)
{
    return initialize(KxcAudioFormat(rate, flags, 0), volume, panning, priority);
}
