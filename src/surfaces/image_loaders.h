// image_loaders.h - what the image filters share: bytes read through a buffer, the name's extension, teardown.
#pragma once

#include <kxcoreemb/file.h>

/// Deletes every registered filter; part of the core's teardown.
void kxcImageLoadersFree();

/// Whether the text after the name's last "." is the extension, ignoring case.
bool kxcImageHasExtension(const char* name, const char* extension);

/// Reads a part of a file from front to back, a buffer at a time.
class KxcImageReader
{
public:
    /// Starts at position begin; the part ends bytesAtEnd before the end of the file.
    KxcImageReader(KxcFile* file, INT32 begin, INT32 bytesAtEnd = 0);

    INT64 remaining() const { return m_left + (m_end - m_position); } ///< bytes up to the end of the part
    bool skip(INT64 bytes);                                           ///< false past the end
    bool read(UINT8* bytes, INT32 count);                             ///< false, and some bytes undefined, past the end

    /// The next byte, 0..255; -1 past the end.
    INT32 next()
    {
        if (m_position == m_end && !refill())
            return -1;
        return m_buffer[m_position++];
    }

private:
    bool refill();

    KxcFile* m_file;
    INT64 m_left = 0; // bytes of the part that were not read from the file yet
    INT32 m_position = 0, m_end = 0;
    UINT8 m_buffer[4096];
};

inline INT32 kxcLittleINT16(const UINT8* bytes) { return static_cast<INT16>(bytes[0] | bytes[1] << 8); }
inline INT32 kxcLittleUINT16(const UINT8* bytes) { return bytes[0] | bytes[1] << 8; }
