// wav_stream.cpp - the ring between the file and the mixer.
#include "wav_stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

std::unique_ptr<WavStream> WavStream::create(WavFile file, KxcFixed volume, KxcFixed panning)
{
    std::unique_ptr<WavStream> stream(new WavStream);
    if (!stream->init(std::move(file), volume, panning))
        stream.reset();
    return stream;
}

bool WavStream::init(WavFile file, KxcFixed volume, KxcFixed panning)
{
    m_file = std::move(file);
    m_bytes = static_cast<size_t>(m_file.bytesPerSample());
    m_ring.resize(kRing * m_bytes);
    readAhead();
    return initialize(m_file.format(), volume, panning, 0) != 0;
}

void WavStream::readAhead()
{
    for (INT32 rewinds = 0; !m_ended;)
    {
        const UINT32 read = m_read, used = read - m_taken, toEnd = kRing - (read & (kRing - 1));
        const INT32 room = static_cast<INT32>(std::min(kRing - used, toEnd));
        if (room == 0)
            return;
        const INT32 got = m_file.read(slot(read), room);
        m_read = read + static_cast<UINT32>(got);
        if (got == room)
            continue;
        if (m_looping && rewinds++ == 0) // a file that has become unreadable gives nothing, however often
            m_file.rewind();
        else
            m_ended = true;
    }
}

INT32 WavStream::position() const
{
    return samples() > 0 ? static_cast<INT32>(m_taken % static_cast<UINT32>(samples())) : 0;
}

void WavStream::fill(void* data, INT32 length, INT32 start, INT32 count)
{
    const UINT32 taken = m_taken;
    const INT32 there = static_cast<INT32>(std::min(m_read - taken, static_cast<UINT32>(count)));
    UINT8* samples = static_cast<UINT8*>(data);
    for (INT32 i = 0; i < there; ++i)
        std::memcpy(samples + static_cast<size_t>((start + i) % length) * m_bytes, slot(taken + static_cast<UINT32>(i)),
                    m_bytes);
    const int silence = m_file.format().flags & KXCAUDIO_SIGNED ? 0 : 0x80; // signed with 16 bits, unsigned with 8
    for (INT32 i = there; i < count; ++i)
        std::memset(samples + static_cast<size_t>((start + i) % length) * m_bytes, silence, m_bytes);
    m_taken = taken + static_cast<UINT32>(there);
    if (!m_ended)
        m_gaps += count - there;
}
