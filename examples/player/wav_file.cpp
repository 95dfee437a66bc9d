// wav_file.cpp - finds format and samples in a WAV file, and checks both against what the file really holds.
#include "wav_file.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr UINT16 kPcm = 1, kExtensible = 0xFFFE;
// The identifier of PCM in extensible formats, behind its first two bytes, which say the same as the tag.
constexpr UINT8 kGuidTail[] = {0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};

UINT32 get(const UINT8* bytes, INT32 count)
{
    UINT32 value = 0;
    for (INT32 i = 0; i < count; ++i)
        value |= static_cast<UINT32>(bytes[i]) << (8 * i);
    return value;
}

} // namespace

bool WavFile::open(const std::string& name, std::string& error)
{
    return open(KxcFile::open(name.c_str(), "rb", KXCFILE_DEFAULT), error);
}

bool WavFile::open(KxcFile* file, std::string& error)
{
    m_file.reset(file);
    m_format = KxcAudioFormat();
    m_position = 0;
    error = "cannot be opened";
    return m_file && readChunks(error);
}

bool WavFile::readFormat(UINT32 bytes, std::string& error)
{
    UINT8 f[40] = {};
    const INT32 known = static_cast<INT32>(std::min<UINT32>(bytes, sizeof f));
    if (bytes < 16 || m_file->read(f, 1, known) != known)
    {
        error = "its format chunk is too short";
        return false;
    }
    UINT32 tag = get(f, 2);
    const UINT32 channels = get(f + 2, 2), rate = get(f + 4, 4), block = get(f + 12, 2), bits = get(f + 14, 2);
    if (tag == kExtensible && bytes >= 40 && std::memcmp(f + 26, kGuidTail, sizeof kGuidTail) == 0)
        tag = get(f + 24, 2);
    if (tag != kPcm)
        error = "its samples are compressed (format " + std::to_string(tag) + "); save it as PCM";
    else if ((bits != 8 && bits != 16) || channels < 1 || channels > 2)
        error = "it has " + std::to_string(channels) + " channels of " + std::to_string(bits) +
                " bits; save it with 1 or 2 channels of 8 or 16 bits";
    else if (rate == 0 || block != channels * bits / 8)
        error = "its format contradicts itself: " + std::to_string(rate) + " Hz, " + std::to_string(block) +
                " bytes for a sample of " + std::to_string(channels) + " x " + std::to_string(bits) + " bits";
    else
    {
        const UINT32 layout = channels == 2 ? UINT32(KXCAUDIO_STEREO) : 0;
        m_format = KxcAudioFormat(static_cast<FLOAT32>(rate),
                                  layout | (bits == 16 ? KXCAUDIO_16BIT | KXCAUDIO_SIGNED : 0u), 0);
        return true;
    }
    return false;
}

bool WavFile::readChunks(std::string& error)
{
    if (m_file->seek(0, 2) != 0)
        return false;
    const UINT32 size = static_cast<UINT32>(std::max<INT32>(m_file->tell(), 0));
    UINT8 head[12] = {};
    m_file->seek(0, 0);
    if (m_file->read(head, 1, 12) != 12 || std::memcmp(head, "RIFF", 4) != 0 || std::memcmp(head + 8, "WAVE", 4) != 0)
    {
        error = "it is no WAV file";
        return false;
    }
    for (UINT32 place = 12; m_start == 0 || m_format.samples == 0;)
    {
        if (place > size - 8 || size < 8)
        {
            error = bytesPerSample() == 0 ? "it has no format chunk" : "it has no data chunk";
            return false;
        }
        m_file->seek(static_cast<INT32>(place), 0);
        if (m_file->read(head, 1, 8) != 8)
            return false;
        const UINT32 bytes = get(head + 4, 4);
        place += 8;
        if (bytes > size - place)
        {
            error = "its chunk \"" + std::string(reinterpret_cast<char*>(head), 4) + "\" should have " +
                    std::to_string(bytes) + " bytes, but the file ends after " + std::to_string(size - place) +
                    "; copy it again";
            return false;
        }
        if (std::memcmp(head, "fmt ", 4) == 0 && !readFormat(bytes, error))
            return false;
        if (std::memcmp(head, "data", 4) == 0)
        {
            if (bytesPerSample() == 0)
            {
                error = "its samples come before their format";
                return false;
            }
            m_start = static_cast<INT32>(place);
            m_format.samples = static_cast<INT32>(bytes) / bytesPerSample();
            break; // an empty one, too
        }
        place += bytes + (bytes & 1);
    }
    rewind();
    return true;
}

void WavFile::rewind()
{
    m_file->seek(m_start, 0);
    m_position = 0;
}

INT32 WavFile::read(void* samples, INT32 count)
{
    const INT32 got = m_file->read(samples, bytesPerSample(), std::min(count, m_format.samples - m_position));
    m_position += got;
    return got;
}
