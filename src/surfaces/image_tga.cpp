// image_tga.cpp - the TGA filter: colour-mapped and true colour images, plain or run-length encoded.
//
// The pixel depth alone decides what a pixel is: 8 bits are an index, all else is a colour. What a file cannot hold
// (more pixels than its bytes could encode) is refused before anything is allocated.
#include <kxcoreemb/image_loader.h>

#include "core/core_state.h"
#include "surfaces/image_loaders.h"

#include <cstring>
#include <new>

namespace
{

constexpr INT32 kHeaderBytes = 18;
constexpr INT32 kPaletteBytes = 768;
constexpr INT32 kLongestPacket = 128; // pixels

struct Header
{
    INT32 idLength, mapType, imageType, mapFirst, mapLength, mapEntryBits, width, height, depth;
    bool topRowFirst;

    bool mapped() const { return imageType == 1 || imageType == 9; }
    bool trueColor() const { return imageType == 2 || imageType == 10; }
    bool runLength() const { return imageType == 9 || imageType == 10; }
    INT32 pixelBytes() const { return depth / 8; }
    INT64 pixels() const { return static_cast<INT64>(width) * height; }
    bool usable() const { return width > 0 && height > 0 && (depth == 8 || depth == 16 || depth == 24 || depth == 32); }
    /// The fewest bytes that can encode the picture.
    INT64 leastBytes() const
    {
        if (!runLength())
            return pixels() * pixelBytes();
        return (pixels() + kLongestPacket - 1) / kLongestPacket * (1 + pixelBytes());
    }
};

bool readHeader(KxcFile* file, Header& header)
{
    UINT8 bytes[kHeaderBytes];
    if (file->seek(0, 0) != 0 || file->read(bytes, 1, kHeaderBytes) != kHeaderBytes)
        return false;
    header.idLength = bytes[0];
    header.mapType = bytes[1];
    header.imageType = bytes[2];
    header.mapFirst = kxcLittleUINT16(bytes + 3);
    header.mapLength = kxcLittleUINT16(bytes + 5);
    header.mapEntryBits = bytes[7];
    header.width = kxcLittleINT16(bytes + 12);
    header.height = kxcLittleINT16(bytes + 14);
    header.depth = bytes[16];
    header.topRowFirst = (bytes[17] & 0x20) != 0;
    return true;
}

UINT32 red1555(UINT32 word) { return word >> 7 & 0xF8; }
UINT32 green1555(UINT32 word) { return word >> 2 & 0xF8; }
UINT32 blue1555(UINT32 word) { return word << 3 & 0xF8; }

/// Reads the colour map into the palette, or past it when the pixels are colours themselves.
bool readColorMap(KxcImageReader& reader, const Header& header, unsigned char* palette)
{
    if (header.mapType != 1)
        return true;
    const INT32 entryBytes = header.mapEntryBits / 8;
    if (header.mapEntryBits != 16 && header.mapEntryBits != 24 && header.mapEntryBits != 32)
        return header.mapLength == 0;
    if (!header.mapped() || !palette)
        return reader.skip(static_cast<INT64>(entryBytes) * header.mapLength);
    for (INT32 i = header.mapFirst; i < header.mapFirst + header.mapLength; ++i)
    {
        UINT8 bytes[4];
        if (!reader.read(bytes, entryBytes))
            return false;
        if (i >= kPaletteBytes / 3)
            continue;
        const UINT32 word = static_cast<UINT32>(kxcLittleUINT16(bytes));
        palette[3 * i] = static_cast<unsigned char>(entryBytes == 2 ? red1555(word) : bytes[2]);
        palette[3 * i + 1] = static_cast<unsigned char>(entryBytes == 2 ? green1555(word) : bytes[1]);
        palette[3 * i + 2] = static_cast<unsigned char>(entryBytes == 2 ? blue1555(word) : bytes[0]);
    }
    return true;
}

// What a stored pixel of each depth becomes.
struct Depth8
{
    typedef unsigned char Pixel;
    static constexpr INT32 kBytes = 1;
    static Pixel decode(const UINT8* bytes) { return bytes[0]; }
};
struct Depth16
{
    typedef UINT32 Pixel;
    static constexpr INT32 kBytes = 2;
    static Pixel decode(const UINT8* bytes)
    {
        const UINT32 word = static_cast<UINT32>(kxcLittleUINT16(bytes));
        return (word & 0x8000 ? 0xFF000000 : 0) | red1555(word) << 16 | green1555(word) << 8 | blue1555(word);
    }
};
struct Depth24
{
    typedef UINT32 Pixel;
    static constexpr INT32 kBytes = 3;
    static Pixel decode(const UINT8* bytes)
    {
        return 0xFF000000 | static_cast<UINT32>(bytes[2]) << 16 | static_cast<UINT32>(bytes[1]) << 8 | bytes[0];
    }
};
struct Depth32
{
    typedef UINT32 Pixel;
    static constexpr INT32 kBytes = 4;
    static Pixel decode(const UINT8* bytes)
    {
        return static_cast<UINT32>(bytes[3]) << 24 | static_cast<UINT32>(bytes[2]) << 16 |
               static_cast<UINT32>(bytes[1]) << 8 | bytes[0];
    }
};

/// Stores pixels in the order of the file, rows from the top or from the bottom.
template <class Pixel>
class PixelWriter
{
public:
    PixelWriter(Pixel* pixels, const Header& header)
        : m_width(header.width),
          m_left(header.pixels()),
          m_step(header.topRowFirst ? 0 : -2 * INT64(header.width)),
          m_target(pixels + (header.topRowFirst ? 0 : header.pixels() - header.width))
    {
    }
    INT64 left() const { return m_left; }
    void put(Pixel pixel)
    {
        *m_target++ = pixel;
        --m_left;
        if (++m_column == m_width)
        {
            m_column = 0;
            if (m_left > 0)
                m_target += m_step;
        }
    }

private:
    INT32 m_width, m_column = 0;
    INT64 m_left; // pixels
    INT64 m_step; // from the end of a row to the start of the one that follows in the file
    Pixel* m_target;
};

template <class Depth>
bool readPixels(KxcImageReader& reader, const Header& header, typename Depth::Pixel* pixels)
{
    PixelWriter<typename Depth::Pixel> writer(pixels, header);
    UINT8 bytes[4];
    while (writer.left() > 0)
    {
        INT64 count = writer.left();
        bool repeated = false;
        if (header.runLength())
        {
            const INT32 packet = reader.next();
            if (packet < 0)
                return false;
            repeated = packet >= kLongestPacket;
            const INT32 length = (packet & 127) + 1;
            count = length < count ? length : count;
        }
        if (repeated && !reader.read(bytes, Depth::kBytes))
            return false;
        for (; count > 0; --count)
        {
            if (!repeated && !reader.read(bytes, Depth::kBytes))
                return false;
            writer.put(Depth::decode(bytes));
        }
    }
    return true;
}

/// Decodes the whole file. @param palette  768 bytes, or null where the pixels are colours
template <class Depth>
typename Depth::Pixel* decode(KxcFile* file, const Header& header, unsigned char* palette)
{
    KxcImageReader reader(file, kHeaderBytes);
    if ((!header.mapped() && !header.trueColor()) || !reader.skip(header.idLength) ||
        !readColorMap(reader, header, palette) || reader.remaining() < header.leastBytes() ||
        header.pixels() > static_cast<INT64>(PTRDIFF_MAX / sizeof(UINT32)))
        return nullptr;
    typename Depth::Pixel* pixels = new (std::nothrow) typename Depth::Pixel[static_cast<size_t>(header.pixels())];
    if (pixels && readPixels<Depth>(reader, header, pixels))
        return pixels;
    delete[] pixels;
    return nullptr;
}

} // namespace

KxcImageLoadFilterTGA::KxcImageLoadFilterTGA() { registerImageLoader(this); }

INT32 KxcImageLoadFilterTGA::validateImage(char const* name, KxcFile* file)
{
    Header header;
    return kxcImageHasExtension(name, "TGA") && readHeader(file, header) && header.width != 0;
}

void KxcImageLoadFilterTGA::getImageInfo(char const*, KxcFile* file, INT32* width, INT32* height, INT32* hasAlpha,
                                         INT32* isPaletted)
{
    Header header;
    const bool usable = readHeader(file, header) && header.usable();
    if (width)
        *width = usable ? header.width : 0;
    if (height)
        *height = usable ? header.height : 0;
    if (hasAlpha)
        *hasAlpha = usable && header.depth == 32;
    if (isPaletted)
        *isPaletted = usable && header.depth == 8;
}

UINT32* KxcImageLoadFilterTGA::getImage8888(char const* name, KxcFile* file)
{
    Header header;
    if (!readHeader(file, header) || !header.usable())
        return nullptr;
    switch (header.depth)
    {
    case 16:
        return decode<Depth16>(file, header, nullptr);
    case 24:
        return decode<Depth24>(file, header, nullptr);
    case 32:
        return decode<Depth32>(file, header, nullptr);
    default:
        return KxcImageLoader::getImage8888(name, file);
    }
}

void KxcImageLoadFilterTGA::getImagePaletted(char const*, KxcFile* file, unsigned char** palette,
                                             unsigned char** indices)
{
    *palette = *indices = nullptr;
    Header header;
    if (!readHeader(file, header) || !header.usable() || header.depth != 8)
        return;
    unsigned char* colors = new (std::nothrow) unsigned char[kPaletteBytes]();
    *indices = colors ? decode<Depth8>(file, header, colors) : nullptr;
    if (*indices)
        *palette = colors;
    else
        delete[] colors;
}

void kxcUseImageFilterTGA()
{
    if (kxcCore)
        new (std::nothrow) KxcImageLoadFilterTGA(); // registers itself; the core deletes it
}
