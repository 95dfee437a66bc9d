// wav_stream.h - plays a WAV file that is too long to be held in memory.
#pragma once

#include "wav_file.h"

#include <atomic>
#include <vector>

/// The game's thread reads ahead into a ring; fill() takes from it, on the audio thread, and never waits for a disk.
///
/// Each side moves a counter of its own, so no lock is needed. What is not there in time is silence, and counted.
class WavStream : public KxcAudioStream
{
public:
    static std::unique_ptr<WavStream> create(WavFile file, KxcFixed volume, KxcFixed panning);
    ~WavStream() override { KxcAudio::stopEach(this); }

    void readAhead(); ///< as far as there is room: call it every frame
    void setLooping(bool looping) { m_looping = looping; }
    INT32 position() const; ///< in samples, of what the mixer took last
    INT32 samples() const { return m_file.format().samples; }
    bool ended() const { return m_ended && m_taken >= m_read; }
    INT32 gaps() const { return m_gaps; } ///< samples that were not there in time

    void fill(void* data, INT32 length, INT32 start, INT32 count) override;

private:
    static constexpr UINT32 kRing = 1 << 16; // samples: 1.4 s at 48000 Hz

    bool init(WavFile file, KxcFixed volume, KxcFixed panning);
    UINT8* slot(UINT32 sample) { return m_ring.data() + (sample & (kRing - 1)) * m_bytes; }

    WavFile m_file;
    size_t m_bytes = 0; // of a sample
    std::vector<UINT8> m_ring;
    std::atomic<UINT32> m_read{0}, m_taken{0}; // samples in all, modulo 2^32: the game's counter, fill()'s
    std::atomic<INT32> m_gaps{0};
    std::atomic<bool> m_ended{false}; // the file was read to its end
    bool m_looping = false;
};
