// wav_file.h - reads WAV files with PCM samples: 8 or 16 bits, mono or stereo, any rate.
//
// A file is a list of chunks: an id, a length, the content, padded to an even length. "fmt " tells the layout of the
// samples in "data"; what else there is is skipped. Lengths are believed when the file is that long.
#pragma once

#include <kxcoreemb/kxcoreemb.h>

#include <memory>
#include <string>

struct CloseFile
{
    void operator()(KxcFile* file) const { file->close(); }
};

class WavFile
{
public:
    /// @param name   as KxcFile::open takes it, so on disk or in an archive
    /// @param error  receives what is wrong, without the name
    bool open(const std::string& name, std::string& error);
    bool open(KxcFile* file, std::string& error); ///< takes the file over, which may be null

    KxcAudioFormat format() const { return m_format; } ///< as KxcAudioBuffer::create takes it
    INT32 bytesPerSample() const { return m_format.bytesPerSample * m_format.channels; }

    void rewind();                          ///< to the first sample
    INT32 read(void* samples, INT32 count); ///< @return samples read; fewer at the end

private:
    bool readChunks(std::string& error);
    bool readFormat(UINT32 bytes, std::string& error);

    std::unique_ptr<KxcFile, CloseFile> m_file;
    KxcAudioFormat m_format;
    INT32 m_start = 0, m_position = 0; // of the data in the file, in bytes; in samples
};
