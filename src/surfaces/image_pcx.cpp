// image_pcx.cpp - the PCX filter: 256 colours in one plane, run-length encoded line by line, palette at the end.
#include <kxcoreemb/image_loader.h>

#include "core/core_state.h"
#include "surfaces/image_loaders.h"

#include <cstring>
#include <new>

namespace
{

constexpr INT32 kHeaderBytes = 128;
constexpr INT32 kPaletteBytes = 768;
constexpr INT32 kPaletteMark = 12;                 // the byte before the palette
constexpr INT32 kTrailerBytes = kPaletteBytes + 1; // mark and palette
constexpr INT32 kLongestRun = 63;

struct Header
{
    INT32 version, bitsPerPixel, planes, bytesPerLine;
    INT32 width, height; // 0 when the file is not a PCX image, or an empty one

    bool decodable() const
    {
        return width > 0 && height > 0 && version >= 5 && bitsPerPixel == 8 && planes == 1 && bytesPerLine >= width;
    }
    /// The fewest bytes that can encode the picture: runs, and a literal where a line leaves one byte.
    INT64 leastBytes() const
    {
        const INT32 rest = bytesPerLine % kLongestRun;
        return static_cast<INT64>(height) * (2 * (bytesPerLine / kLongestRun) + (rest < 2 ? rest : 2));
    }
};

bool readHeader(KxcFile* file, Header& header)
{
    UINT8 bytes[kHeaderBytes];
    if (file->seek(0, 0) != 0 || file->read(bytes, 1, kHeaderBytes) != kHeaderBytes || bytes[0] != 10 || bytes[2] != 1)
        return false;
    header.version = bytes[1];
    header.bitsPerPixel = bytes[3];
    header.width = kxcLittleINT16(bytes + 8) - kxcLittleINT16(bytes + 4) + 1;
    header.height = kxcLittleINT16(bytes + 10) - kxcLittleINT16(bytes + 6) + 1;
    if (header.width <= 0 || header.height <= 0)
        header.width = header.height = 0;
    header.planes = bytes[65];
    header.bytesPerLine = kxcLittleUINT16(bytes + 66);
    return true;
}

/// Decodes one line; what lies beyond the width is dropped, and a run ends with its line.
bool readLine(KxcImageReader& reader, const Header& header, unsigned char* indices)
{
    for (INT32 x = 0; x < header.bytesPerLine;)
    {
        INT32 value = reader.next(), count = 1;
        if ((value & 0xC0) == 0xC0)
        {
            count = value & 0x3F;
            value = reader.next();
        }
        if (value < 0)
            return false;
        for (; count > 0 && x < header.bytesPerLine; --count, ++x)
            if (x < header.width)
                indices[x] = static_cast<unsigned char>(value);
    }
    return true;
}

unsigned char* readIndices(KxcFile* file, const Header& header)
{
    KxcImageReader reader(file, kHeaderBytes, kTrailerBytes);
    if (reader.remaining() < header.leastBytes())
        return nullptr;
    const size_t width = static_cast<size_t>(header.width), height = static_cast<size_t>(header.height);
    if (height > PTRDIFF_MAX / width)
        return nullptr;
    unsigned char* indices = new (std::nothrow) unsigned char[width * height];
    for (size_t y = 0; indices && y < height; ++y)
        if (!readLine(reader, header, indices + y * width))
        {
            delete[] indices;
            indices = nullptr;
        }
    return indices;
}

unsigned char* readPalette(KxcFile* file)
{
    if (file->seek(-kTrailerBytes, 2) != 0 || file->getChar() != kPaletteMark)
        return nullptr;
    unsigned char* palette = new (std::nothrow) unsigned char[kPaletteBytes];
    if (palette && file->read(palette, 1, kPaletteBytes) == kPaletteBytes)
        return palette;
    delete[] palette;
    return nullptr;
}

} // namespace

KxcImageLoadFilterPCX::KxcImageLoadFilterPCX() { registerImageLoader(this); }

INT32 KxcImageLoadFilterPCX::validateImage(char const* name, KxcFile* file)
{
    Header header;
    return kxcImageHasExtension(name, "PCX") && readHeader(file, header) && header.width != 0;
}

void KxcImageLoadFilterPCX::getImageInfo(char const*, KxcFile* file, INT32* width, INT32* height, INT32* hasAlpha,
                                         INT32* isPaletted)
{
    Header header;
    const bool valid = readHeader(file, header);
    if (width)
        *width = valid ? header.width : 0;
    if (height)
        *height = valid ? header.height : 0;
    if (hasAlpha)
        *hasAlpha = 0;
    if (isPaletted)
        *isPaletted = 1;
}

void KxcImageLoadFilterPCX::getImagePaletted(char const*, KxcFile* file, unsigned char** palette,
                                             unsigned char** indices)
{
    *palette = *indices = nullptr;
    Header header;
    if (!readHeader(file, header) || !header.decodable())
        return;
    unsigned char* colors = readPalette(file);
    *indices = colors ? readIndices(file, header) : nullptr;
    if (*indices)
        *palette = colors;
    else
        delete[] colors;
}

void kxcUseImageFilterPCX()
{
    if (kxcCore)
        new (std::nothrow) KxcImageLoadFilterPCX(); // registers itself; the core deletes it
}
